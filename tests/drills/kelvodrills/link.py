"""A link between an instance and the database that can be held, as a network that drops all packets."""

import os
import shutil
import socket
import tempfile
import threading

READ_BYTES = 65536


class Link:
    """Forwards the Unix socket of a PostgreSQL server from a folder of its own. While it is held, no byte passes in any
    direction, and new connections get no answer."""

    def __init__(self, server):
        self._target = os.path.join(server.folder, f".s.PGSQL.{server.port}")
        self.folder = tempfile.mkdtemp(prefix="kelvo-link-")
        self.held = 0  # writes and connections since hold()
        self._passes = threading.Event()
        self._passes.set()
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(os.path.join(self.folder, f".s.PGSQL.{server.port}"))
        self._listener.listen(128)
        threading.Thread(target=self._accept, daemon=True).start()

    def hold(self):
        self.held = 0
        self._passes.clear()

    def release(self):
        self._passes.set()

    def close(self):
        self._listener.close()
        self.release()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _accept(self):
        while True:
            try:
                client = self._listener.accept()[0]
            except OSError:
                return
            threading.Thread(target=self._serve, args=(client,), daemon=True).start()

    def _wait(self):
        if not self._passes.is_set():
            self.held += 1
        self._passes.wait()

    def _serve(self, client):
        self._wait()
        server = socket.socket(socket.AF_UNIX)
        try:
            server.connect(self._target)
        except OSError:
            client.close()
            return
        back = threading.Thread(target=self._pass, args=(server, client), daemon=True)
        back.start()
        self._pass(client, server)
        back.join()
        client.close()
        server.close()

    def _pass(self, source, sink):
        try:
            while data := source.recv(READ_BYTES):
                self._wait()
                sink.sendall(data)
        except OSError:
            pass
        for end in (source, sink):
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

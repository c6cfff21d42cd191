"""A link between console and service that is held, cut or gone when the test says so."""

import socket
import threading

CHUNK = 16 * 1024


class Link:
    """Forwards connections to a service.

    `hold(n)`: from now on, what comes from the given side stops after n more bytes of a connection, until `release`.
    `cut(n)`: once, a connection that has carried n bytes from the given side from now on is reset.
    Holding counts bytes a connection, so the quiet event stream is never held by a few hundred bytes.
    """

    def __init__(self, target):
        host, port = target.rsplit(":", 1)
        self._target = (host, int(port))
        self._lock = threading.Condition()  # guards everything below
        self._allowed = {}  # side: bytes a connection may still carry
        self._cut_after = {}  # side: bytes until a connection is reset
        self._carried = {}  # (connection, side): bytes since the last hold or cut
        self._waiting = 0
        self._cuts = 0
        self._sockets = set()
        self._closed = False
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.address = f"127.0.0.1:{self._listener.getsockname()[1]}"
        threading.Thread(target=self._accept, daemon=True).start()

    def hold(self, side, after):
        with self._lock:
            self._carried.clear()
            self._allowed[side] = after

    def wait_until_held(self, seconds=60):
        """Until a connection has come to its limit."""
        with self._lock:
            if not self._lock.wait_for(lambda: self._waiting > 0, seconds):
                raise AssertionError("nothing came as far as the hold")

    def release(self):
        with self._lock:
            self._allowed.clear()
            self._lock.notify_all()

    def cut(self, side, after):
        with self._lock:
            self._carried.clear()
            self._cut_after[side] = after

    @property
    def cuts(self):
        with self._lock:
            return self._cuts

    def close(self):
        with self._lock:
            self._closed = True
            self._allowed.clear()
            self._lock.notify_all()
            sockets = list(self._sockets)
        self._listener.close()
        for each in sockets:
            end(each)

    def _accept(self):
        while True:
            try:
                console, _ = self._listener.accept()
                service = socket.create_connection(self._target)
            except OSError:
                return
            with self._lock:
                self._sockets |= {console, service}
            for side, source, sink in (("up", console, service), ("down", service, console)):
                threading.Thread(target=self._pump, args=(side, source, sink), daemon=True).start()

    def _pump(self, side, source, sink):
        try:
            while data := source.recv(CHUNK):
                self._pass(side, (source, sink), data, sink)
            sink.shutdown(socket.SHUT_WR)
        except OSError:
            end(source)
            end(sink)

    def _pass(self, side, connection, data, sink):
        key = (connection, side)
        with self._lock:
            self._carried[key] = self._carried.get(key, 0) + len(data)
            if self._carried[key] > self._cut_after.get(side, float("inf")):
                del self._cut_after[side]
                self._cuts += 1
                raise ConnectionResetError
            if self._carried[key] > self._allowed.get(side, float("inf")):
                self._waiting += 1
                self._lock.notify_all()
                self._lock.wait_for(lambda: side not in self._allowed or self._closed)
                self._waiting -= 1
        sink.sendall(data)


def end(connection):
    try:
        connection.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass
    connection.close()

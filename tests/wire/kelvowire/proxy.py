"""A TCP proxy that cuts connections. TLS passes through unchanged, so a client sees only a bad link."""

import socket
import threading


class CuttingProxy:
    """Cuts connection n after `cuts[n]`: ("up" or "down", bytes). Later connections are not cut."""

    def __init__(self, service, cuts=()):
        self._service = service
        self._cuts = list(cuts)
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self.connections = 0
        self.passed_down = []  # Bytes from the service, for each connection.
        self._open = []
        self._lock = threading.Lock()  # Guards connections, passed_down (its length) and _open.
        threading.Thread(target=self._accept, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._listener.close()
        self.cut_all()

    def cut_all(self):
        """Cuts all present connections; new connections are accepted."""
        with self._lock:
            sockets, self._open = self._open, []
        for end in sockets:
            self._shut(end)

    @staticmethod
    def _shut(end):
        try:
            end.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass

    def _accept(self):
        while True:
            try:
                client, _ = self._listener.accept()
            except OSError:
                return
            server = socket.create_connection(("127.0.0.1", self._service.port))
            with self._lock:
                index = self.connections
                self.connections += 1
                self.passed_down.append(0)
                self._open += [client, server]
            way, limit = self._cuts[index] if index < len(self._cuts) else ("", None)
            pairs = (("up", client, server), ("down", server, client))
            for name, source, sink in pairs:
                threading.Thread(target=self._pump, daemon=True,
                                 args=(source, sink, limit if name == way else None,
                                       index if name == "down" else None)).start()

    def _pump(self, source, sink, limit, counted):
        passed = 0
        try:
            while data := source.recv(16384):
                if limit is not None:
                    data = data[:limit - passed]
                sink.sendall(data)
                passed += len(data)
                if counted is not None:
                    self.passed_down[counted] = passed
                if limit is not None and passed >= limit:
                    break
        except OSError:
            pass
        self._shut(source)
        self._shut(sink)

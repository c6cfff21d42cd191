"""A network that shows its own login page."""

import socket
import threading


class LoginPage:
    """A network that answers each connection to `address` with its login page."""

    def __init__(self, address):
        host, port = address.rsplit(":", 1)
        self._listener = socket.create_server((host, int(port)))
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:  # closed
                return
            with connection:
                connection.recv(4096)
                connection.sendall(b"HTTP/1.1 302 Found\r\nLocation: http://login.example/\r\nContent-Length: 0\r\n\r\n")

    def close(self):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()

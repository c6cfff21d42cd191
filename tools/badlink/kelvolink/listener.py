"""Accepts clients. While the listener refuses clients, it keeps the port."""

import asyncio
import socket

from . import sockets

BACKLOG = 128
ACCEPTS_AT_ONCE = 64
PAUSE_SECONDS = 1  # before the next attempt when no descriptor is free


class Listener:
    """Lives on the loop's thread. Calls `arrived` with each client's socket, which `arrived` then owns."""

    def __init__(self, clock, buffer_bytes, arrived, report):
        self._clock, self._buffer_bytes = clock, buffer_bytes
        self._arrived, self._report = arrived, report
        self._socket = None
        self._address = None
        self._pause_task = None
        self._listens = False

    @property
    def address(self):
        return sockets.named(self._address)

    def open(self, host, port):
        """Raises OSError if the address is not free."""
        self._family, _, _, _, self._address = socket.getaddrinfo(
            host, port, type=socket.SOCK_STREAM, flags=socket.AI_PASSIVE)[0]
        self._bind()
        self._address = self._socket.getsockname()
        self.listen()

    def listen(self):
        """Raises OSError if another process has taken the port since `refuse`."""
        if not self._listens:
            if self._socket is None:
                self._bind()
            self._listens = True
            self._socket.listen(BACKLOG)
            self._watch()

    def refuse(self):
        """Closes the listening socket. A second socket keeps the port and does not listen."""
        if self._listens:
            self._close()
            try:
                self._bind()
            except OSError as failure:  # another process has the port; `listen` tries again
                self._report(str(failure))

    def close(self):
        if self._socket is not None:
            self._close()

    def _bind(self):
        made = socket.socket(self._family, socket.SOCK_STREAM)
        try:
            made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            sockets.prepare(made, self._buffer_bytes)  # accepted sockets inherit the buffer sizes
            made.bind(self._address)
        except OSError:
            made.close()
            raise
        self._socket = made

    def _close(self):
        self._listens = False
        if self._pause_task is not None:
            self._pause_task.cancel()
            self._pause_task = None
        asyncio.get_running_loop().remove_reader(self._socket)
        self._socket.close()
        self._socket = None

    def _watch(self):
        asyncio.get_running_loop().add_reader(self._socket, self._accept)

    def _accept(self):
        for _ in range(ACCEPTS_AT_ONCE):
            try:
                client, _ = self._socket.accept()
            except (BlockingIOError, ConnectionAbortedError):
                return
            except OSError as failure:
                self._pause(failure)
                return
            client.setblocking(False)
            sockets.tune(client)
            self._arrived(client)
            if not self._listens:
                return

    def _pause(self, failure):
        """Stops accepting for a second. Otherwise a client that cannot be accepted would keep the loop busy."""
        self._report(str(failure))
        asyncio.get_running_loop().remove_reader(self._socket)
        self._pause_task = asyncio.create_task(self._watch_again())

    async def _watch_again(self):
        await self._clock.sleep_until(self._clock.now() + PAUSE_SECONDS)
        self._pause_task = None
        self._watch()

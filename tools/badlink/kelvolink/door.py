"""Where clients knock. While it is shut they are refused, and the port stays ours."""

import asyncio
import socket

from . import sockets

BACKLOG = 128
AT_A_TIME = 64
REST_SECONDS = 1  # before the next try when descriptors have run out


class Door:
    """Lives on the loop's thread. `arrived` is called with each client's socket and then owns it."""

    def __init__(self, clock, buffer_bytes, arrived, complain):
        self._clock, self._buffer_bytes = clock, buffer_bytes
        self._arrived, self._complain = arrived, complain
        self._socket = None
        self._address = None
        self._rest = None
        self._listens = False

    @property
    def address(self):
        return sockets.named(self._address)

    def open(self, host, port):
        """OSError if the address is not to be had."""
        self._family, _, _, _, self._address = socket.getaddrinfo(
            host, port, type=socket.SOCK_STREAM, flags=socket.AI_PASSIVE)[0]
        self._bind()
        self._address = self._socket.getsockname()
        self.listen()

    def listen(self):
        """OSError if the port was lost while the door was shut."""
        if not self._listens:
            if self._socket is None:
                self._bind()
            self._listens = True
            self._socket.listen(BACKLOG)
            self._watch()

    def shut(self):
        """Closes the listening socket; another one, which does not listen, keeps the port."""
        if self._listens:
            self._close()
            try:
                self._bind()
            except OSError as failure:  # somebody was quicker; perhaps it is free again when it is time to listen
                self._complain(str(failure))

    def close(self):
        if self._socket is not None:
            self._close()

    def _bind(self):
        made = socket.socket(self._family, socket.SOCK_STREAM)
        try:
            made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            sockets.prepare(made, self._buffer_bytes)  # what is accepted inherits it
            made.bind(self._address)
        except OSError:
            made.close()
            raise
        self._socket = made

    def _close(self):
        self._listens = False
        if self._rest is not None:
            self._rest.cancel()
            self._rest = None
        asyncio.get_running_loop().remove_reader(self._socket)
        self._socket.close()
        self._socket = None

    def _watch(self):
        asyncio.get_running_loop().add_reader(self._socket, self._accept)

    def _accept(self):
        for _ in range(AT_A_TIME):
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
        """Without it, a client that cannot be accepted would keep the loop busy."""
        self._complain(str(failure))
        asyncio.get_running_loop().remove_reader(self._socket)
        self._rest = asyncio.create_task(self._watch_again())

    async def _watch_again(self):
        await self._clock.sleep_until(self._clock.now() + REST_SECONDS)
        self._rest = None
        self._watch()

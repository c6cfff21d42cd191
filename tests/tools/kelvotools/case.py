"""A proxy with a fake clock between a client and a service, all on the test's loop."""

import asyncio
import contextlib
import faulthandler
import socket
import struct
import unittest

from kelvolink import scenario as scenarios
from kelvolink.proxy import Proxy

from .clock import FakeClock

GUARD_SECONDS = 120  # ends a test that hangs
PEER_BUFFER_BYTES = 64 * 1024  # else the kernel grows its buffers, by megabytes
MUCH = 4_000_000  # more than all buffers together hold


def rule(do, **keys):
    """The text of a scenario with one rule."""
    lines = [f"{key} = {str(value).lower() if isinstance(value, bool) else repr(value)}" for key, value in keys.items()]
    return "\n".join(["[[rule]]", f"do = '{do}'", *lines, ""])


class RecordingJournal:
    """A journal that keeps the events for the test."""

    def __init__(self, clock):
        self._clock = clock
        self.events = []

    def write(self, did, **what):
        self.events.append({"at": self._clock.now(), "did": did, **what})

    def of(self, did):
        return [event for event in self.events if event["did"] == did]


class Peer:
    """One end of a connection."""

    def __init__(self, reader, writer):
        self._reader, self._writer = reader, writer
        for option in (socket.SO_SNDBUF, socket.SO_RCVBUF):
            writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, option, PEER_BUFFER_BYTES)

    async def send(self, data):
        self._writer.write(data)
        await self._writer.drain()

    async def receive(self, size):
        return await self._reader.readexactly(size)

    async def read_to_end(self):
        """Reads until the end. A reset raises ConnectionResetError."""
        return await self._reader.read()

    async def reset(self):
        """Waits for a reset. Raises AssertionError on bytes or on a normal end."""
        try:
            data = await self._reader.read(1)
        except ConnectionResetError:
            return
        raise AssertionError(f"{data!r} instead of a reset")

    def end(self):
        self._writer.write_eof()

    async def abort(self):
        """Resets the connection."""
        self._writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self._writer.transport.abort()
        with contextlib.suppress(ConnectionError):
            await self._writer.wait_closed()

    async def close(self):
        self._writer.close()
        with contextlib.suppress(ConnectionError):
            await self._writer.wait_closed()


class LinkCase(unittest.IsolatedAsyncioTestCase):
    async def asyncSetUp(self):
        faulthandler.dump_traceback_later(GUARD_SECONDS, exit=True)
        self.addCleanup(faulthandler.cancel_dump_traceback_later)
        self.clock = FakeClock()
        self.journal = RecordingJournal(self.clock)
        self._accepted = asyncio.Queue()
        self._peers = []
        self._server = await asyncio.start_server(self._accept, "127.0.0.1", 0)
        self.service_address = self._server.sockets[0].getsockname()
        self.proxy = None

    async def asyncTearDown(self):
        if self.proxy is not None:
            await self.proxy.close()
            self.assertFalse(self.proxy.failure.done(), self.proxy.failure)
        for peer in self._peers:
            await peer.close()
        self._server.close()
        await self._server.wait_closed()

    def play(self, text, seed=1):
        self.proxy = Proxy(scenarios.parse(text), seed, self.service_address, self.clock, self.journal)
        host, port = self.proxy.open("127.0.0.1", 0).split(":")
        self.address = (host, int(port))

    async def connect(self):
        """Connects a client. Returns the client's and the service's end of the connection."""
        client = await self.connect_client()
        return client, await self._accepted.get()

    async def connect_client(self):
        return self._peer(*await asyncio.open_connection(*self.address))

    async def until(self, is_so):
        while not is_so():
            await asyncio.sleep(0)

    async def until_logged(self, did, times=1):
        """Waits until the proxy has logged `did`. Returns the last such event."""
        await self.until(lambda: len(self.journal.of(did)) >= times)
        return self.journal.of(did)[-1]

    @contextlib.asynccontextmanager
    async def running_clock(self):
        runs = asyncio.create_task(self.clock.run())
        try:
            yield
        finally:
            runs.cancel()
            await asyncio.gather(runs, return_exceptions=True)

    def _accept(self, reader, writer):
        self._accepted.put_nowait(self._peer(reader, writer))

    def _peer(self, reader, writer):
        peer = Peer(reader, writer)
        self._peers.append(peer)
        return peer

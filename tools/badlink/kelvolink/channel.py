"""One direction of a connection: a reader fills the buffer, and a writer empties it."""

import asyncio
import math
import socket

from .buffer import ENDED, RESET, Buffer
from .pace import CHUNK


class Channel:
    """Lives on the loop's thread. The connection owns the sockets and decides when it ends."""

    def __init__(self, name, source, sink, capacity, pace, connection):
        self.name = name
        self.buffer = Buffer(capacity)
        self._source, self._sink = source, sink
        self._pace, self._connection = pace, connection
        self._clock = connection.clock
        self._passes = asyncio.Event()  # clear during a stall
        self._passes.set()
        self._stalled_until = 0.0
        self._drops = False
        self._source_ended, self._sink_ended = False, False
        self._writer = None

    def start(self, spawn):
        spawn(self._read())
        self._writer = spawn(self._write())

    @property
    def is_done(self):
        """Whether no more bytes can pass in this direction."""
        return self._source_ended and (self._sink_ended or self._drops or math.isinf(self._stalled_until))

    def stall(self, until):
        self._stalled_until = max(self._stalled_until, until)
        self._passes.clear()

    def end_stall_if_due(self):
        """Ends a stall whose time has passed. Returns whether a stall ended."""
        if self._passes.is_set() or self._clock.now() < self._stalled_until:
            return False
        self.release()
        return True

    def release(self):
        """Ends any stall."""
        self._stalled_until = 0.0
        self._passes.set()

    def drop(self):
        """From now on, bytes are read and dropped."""
        self._drops = True
        self.buffer.clear()
        if self._writer is not asyncio.current_task():
            self._writer.cancel()

    def truncate(self):
        self.drop()
        self._end_sink()

    async def _read(self):
        loop = asyncio.get_running_loop()
        while not self._source_ended:
            room = CHUNK if self._drops else await self.buffer.room()
            try:
                data = await loop.sock_recv(self._source, min(CHUNK, room))
            except OSError:
                data = None
            self._source_ended = not data
            if not self._drops:
                item = bytearray(data) if data else ENDED if data is not None else RESET
                self.buffer.put(self._pace.due(), item)
        self._connection.end_if_done()

    async def _write(self):
        while not self._stops:
            due, item = await self.buffer.get()
            await self._clock.sleep_until(due)
            if isinstance(item, bytearray):
                await self._pass_on(item)
                continue
            await self._passes.wait()
            if item is RESET:
                self._connection.reset()
            else:
                self._end_sink()
                self._connection.end_if_done()
            return

    @property
    def _stops(self):
        return self._drops or self._connection.is_ending

    async def _pass_on(self, data):
        start = 0
        while start < len(data):
            size, action = self._connection.triggers.next(self.name, min(len(data) - start, self._pace.piece))
            if action is not None:
                self._connection.perform(action, memoryview(data)[start:])
            else:
                await self._pace.throttle(size)
                await self._passes.wait()
            if self._stops:
                return
            if size > 0:
                await self._send(data[start:start + size])
                start += size

    async def _send(self, data):
        try:
            await asyncio.get_running_loop().sock_sendall(self._sink, data)
        except OSError:
            self._connection.reset()  # the sink is closed, so the source gets a reset
        else:
            self.buffer.free(len(data))

    def _end_sink(self):
        self._sink_ended = True
        try:
            self._sink.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # the socket is closed already

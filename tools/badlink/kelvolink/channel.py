"""One direction of a connection: a reader fills the line, a writer empties it."""

import asyncio
import math
import socket

from .line import END, LOST, Line
from .pace import CHUNK


class Channel:
    """Lives on the loop's thread. The sockets belong to the connection, which also decides when all is over."""

    def __init__(self, name, source, sink, capacity, pace, connection):
        self.name = name
        self.line = Line(capacity)
        self._source, self._sink = source, sink
        self._pace, self._connection = pace, connection
        self._clock = connection.clock
        self._passes = asyncio.Event()  # clear while the line is stalled
        self._passes.set()
        self._stalled_until = 0.0
        self._drops = False
        self._source_ended, self._sink_ended = False, False
        self._writer = None

    def start(self, spawn):
        spawn(self._read())
        self._writer = spawn(self._write())

    @property
    def is_over(self):
        """Whether nothing more can come of this direction."""
        return self._source_ended and (self._sink_ended or self._drops or math.isinf(self._stalled_until))

    def stall(self, until):
        self._stalled_until = max(self._stalled_until, until)
        self._passes.clear()

    def lift(self):
        """Ends a stall whose time has come; whether there was one."""
        if self._passes.is_set() or self._clock.now() < self._stalled_until:
            return False
        self.release()
        return True

    def release(self):
        """Ends any stall."""
        self._stalled_until = 0.0
        self._passes.set()

    def drop(self):
        """From now on bytes are read, and that is all."""
        self._drops = True
        self.line.clear()
        if self._writer is not asyncio.current_task():
            self._writer.cancel()

    def truncate(self):
        self.drop()
        self._end_sink()

    async def _read(self):
        loop = asyncio.get_running_loop()
        while not self._source_ended:
            room = CHUNK if self._drops else await self.line.room()
            try:
                data = await loop.sock_recv(self._source, min(CHUNK, room))
            except OSError:
                data = None
            self._source_ended = not data
            if not self._drops:
                item = bytearray(data) if data else END if data is not None else LOST
                self.line.put(self._pace.due(), item)
        self._connection.look()

    async def _write(self):
        while not self._stops:
            due, item = await self.line.get()
            await self._clock.sleep_until(due)
            if isinstance(item, bytearray):
                await self._pass_on(item)
                continue
            await self._passes.wait()
            if item is LOST:
                self._connection.reset()
            else:
                self._end_sink()
                self._connection.look()
            return

    @property
    def _stops(self):
        return self._drops or self._connection.is_ending

    async def _pass_on(self, data):
        start = 0
        while start < len(data):
            size, deed = self._connection.trips.next(self.name, min(len(data) - start, self._pace.piece))
            if deed is not None:
                self._connection.perform(deed, memoryview(data)[start:])
            else:
                await self._pace.pay(size)
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
            self._connection.reset()  # the sink's side has gone, and the source is to know
        else:
            self.line.gone(len(data))

    def _end_sink(self):
        self._sink_ended = True
        try:
            self._sink.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # it has gone by itself

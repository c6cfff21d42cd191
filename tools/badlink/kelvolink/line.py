"""The bytes on their way in one direction: what the air and the modems' queues hold."""

import asyncio
import collections

END = object()  # no more bytes: the source has said so
LOST = object()  # no more bytes: the source has reset the connection


class Line:
    """First in, first out, never more than `capacity` bytes: who sends faster has to wait."""

    def __init__(self, capacity):
        self.capacity = capacity
        self.size = 0
        self._items = collections.deque()
        self._has_room, self._has_items = asyncio.Event(), asyncio.Event()

    async def room(self):
        """How many bytes may be put, at least one."""
        while self.size >= self.capacity:
            self._has_room.clear()
            await self._has_room.wait()
        return self.capacity - self.size

    def put(self, due, item):
        """A bytearray, END or LOST, that arrives at that moment. The last two take no room."""
        self._items.append((due, item))
        self._has_items.set()
        if isinstance(item, bytearray):
            self.size += len(item)

    async def get(self):
        """(due, item). Its bytes take room until they are `gone`."""
        while not self._items:
            self._has_items.clear()
            await self._has_items.wait()
        return self._items.popleft()

    def gone(self, size):
        self.size -= size
        self._has_room.set()

    def clear(self):
        self._items.clear()
        self.gone(self.size)

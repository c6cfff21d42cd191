"""The bytes on the way in one direction."""

import asyncio
import collections

ENDED = object()  # the source has closed its direction
RESET = object()  # the source has reset the connection


class Buffer:
    """A queue of at most `capacity` bytes. A faster sender has to wait."""

    def __init__(self, capacity):
        self.capacity = capacity
        self.size = 0
        self._items = collections.deque()
        self._has_room, self._has_items = asyncio.Event(), asyncio.Event()

    async def room(self):
        """Waits until there is room. Returns the free bytes, at least one."""
        while self.size >= self.capacity:
            self._has_room.clear()
            await self._has_room.wait()
        return self.capacity - self.size

    def put(self, due, item):
        """Adds a bytearray, ENDED or RESET, which arrives at the moment `due`. ENDED and RESET take no room."""
        self._items.append((due, item))
        self._has_items.set()
        if isinstance(item, bytearray):
            self.size += len(item)

    async def get(self):
        """Waits for an item. Returns (due, item). Its bytes take room until `free` is called."""
        while not self._items:
            self._has_items.clear()
            await self._has_items.wait()
        return self._items.popleft()

    def free(self, size):
        self.size -= size
        self._has_room.set()

    def clear(self):
        self._items.clear()
        self.free(self.size)

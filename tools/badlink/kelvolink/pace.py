"""How late and how fast bytes arrive."""

import random

CHUNK = 16 * 1024
PIECES_A_SECOND = 20  # a slow line trickles, it does not come in heaps


class Limiter:
    """A number of bytes a second, of one connection or of all that share it."""

    def __init__(self, bytes_per_second):
        self._rate = bytes_per_second
        self._free = 0.0  # when all that was asked for so far is through
        self.piece = int(max(1, min(CHUNK, bytes_per_second / PIECES_A_SECOND)))

    def reserve(self, size, now):
        """When the last of `size` bytes is through that are sent behind all others."""
        self._free = max(self._free, now) + size / self._rate
        return self._free


class Delay:
    def __init__(self, seconds, jitter_seconds, seed):
        self._seconds, self._jitter = seconds, jitter_seconds
        self._rng = random.Random(seed)

    def draw(self):
        return self._seconds + self._rng.uniform(-self._jitter, self._jitter)


class Pace:
    """Of one direction of one connection. Delays add up, the narrowest limit counts, the order stays."""

    def __init__(self, clock, delays, limiters):
        self._clock, self._delays, self._limiters = clock, delays, limiters
        self.piece = min((limiter.piece for limiter in limiters), default=CHUNK)

    def due(self):
        """When something arrives that is sent now, unless it has to wait for what was sent before."""
        return self._clock.now() + sum(delay.draw() for delay in self._delays)

    async def pay(self, size):
        """Until `size` bytes are through."""
        if self._limiters:
            now = self._clock.now()
            await self._clock.sleep_until(max(limiter.reserve(size, now) for limiter in self._limiters))

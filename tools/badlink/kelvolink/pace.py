"""Delay and bandwidth."""

import random

CHUNK = 16 * 1024
PIECES_A_SECOND = 20  # on a slow link bytes arrive in small pieces


class Limiter:
    """Limits the bytes a second of one connection, or of all connections that share the limiter."""

    def __init__(self, bytes_per_second):
        self._rate = bytes_per_second
        self._free = 0.0  # the moment at which all reserved bytes have passed
        self.piece = int(max(1, min(CHUNK, bytes_per_second / PIECES_A_SECOND)))

    def reserve(self, size, now):
        """Reserves `size` bytes after all earlier ones. Returns the moment at which the last byte has passed."""
        self._free = max(self._free, now) + size / self._rate
        return self._free


class Delay:
    def __init__(self, seconds, jitter_seconds, seed):
        self._seconds, self._jitter = seconds, jitter_seconds
        self._rng = random.Random(seed)

    def draw(self):
        return self._seconds + self._rng.uniform(-self._jitter, self._jitter)


class Pace:
    """The pace of one direction of a connection. Delays add up, the smallest bandwidth counts, the order stays."""

    def __init__(self, clock, delays, limiters):
        self._clock, self._delays, self._limiters = clock, delays, limiters
        self.piece = min((limiter.piece for limiter in limiters), default=CHUNK)

    def due(self):
        """The moment at which bytes sent now arrive. Earlier bytes may delay them further."""
        return self._clock.now() + sum(delay.draw() for delay in self._delays)

    async def throttle(self, size):
        """Waits until `size` bytes have passed all limiters."""
        if self._limiters:
            now = self._clock.now()
            await self._clock.sleep_until(max(limiter.reserve(size, now) for limiter in self._limiters))

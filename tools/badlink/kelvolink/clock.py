"""The only place that knows what time it is; tests put a clock of their own here."""

import asyncio
import time


class Clock:
    """Seconds since it was made."""

    def __init__(self):
        self._start = time.monotonic()

    def now(self):
        return time.monotonic() - self._start

    async def sleep_until(self, moment):
        """Returns at once if that is past; never, if it is infinite."""
        while (left := moment - self.now()) > 0:
            await asyncio.sleep(min(left, 3600))

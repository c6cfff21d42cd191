"""The clock of all other modules. Tests replace it with a fake clock."""

import asyncio
import time


class Clock:
    """Counts seconds since it was created."""

    def __init__(self):
        self._start = time.monotonic()

    def now(self):
        return time.monotonic() - self._start

    async def sleep_until(self, moment):
        """Returns at once if the moment is past. Never returns if the moment is infinite."""
        while (left := moment - self.now()) > 0:
            await asyncio.sleep(min(left, 3600))

"""A fake clock. Its time changes only when the test advances it."""

import asyncio


class FakeClock:
    def __init__(self):
        self._now = 0.0
        self._sleepers = {}  # future: its moment

    def now(self):
        return self._now

    async def sleep_until(self, moment):
        if moment <= self._now:
            return
        sleeper = asyncio.get_running_loop().create_future()
        self._sleepers[sleeper] = moment
        try:
            await sleeper
        finally:
            self._sleepers.pop(sleeper, None)

    def advance_to(self, moment):
        self._now = moment
        for sleeper, due in list(self._sleepers.items()):
            if due <= moment and not sleeper.done():
                sleeper.set_result(None)

    async def until_waited_for(self, moment):
        """Waits until a task sleeps until `moment`."""
        while not any(abs(due - moment) < 1e-6 for due in self._sleepers.values()):
            await asyncio.sleep(0)

    async def run(self):
        """Advances the time to each moment that a task waits for, until `run` is cancelled."""
        while True:
            moments = [due for sleeper, due in self._sleepers.items() if not sleeper.done()]
            finite = [due for due in moments if due != float("inf")]
            if finite:
                self.advance_to(min(finite))
            await asyncio.sleep(0)

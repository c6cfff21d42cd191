"""All connections of one door to one service, under one scenario."""

import asyncio
import collections

from . import deeds, outages
from .connection import Connection
from .door import Door
from .pace import Limiter


class Proxy:
    """Lives on the thread of the loop it is opened on. `close` ends all it has started."""

    def __init__(self, scenario, seed, target, clock, journal):
        self.scenario, self.seed, self.target = scenario, seed, target
        self.clock, self.journal = clock, journal
        self.rules = list(scenario.rules)
        self.connections = set()
        self._count = 0
        self._performed = collections.Counter()  # by the rule's number
        self._limiters = {}  # (rule's number, direction)
        self._tasks = {}  # task: its connection, or None
        self._refused_until = 0.0
        self._greetings = []
        self.failure = asyncio.get_running_loop().create_future()  # set when something goes wrong in here
        self._door = Door(clock, scenario.buffer_bytes, self._arrived,
                          lambda reason: journal.write("overloaded", reason=reason))

    def open(self, host, port):
        """The address that it listens on; OSError if that is not to be had."""
        self._door.open(host, port)
        for outage in self.scenario.outages:
            self._start(outages.play(outage, self))
        return self._door.address

    async def close(self):
        """Resets what is open."""
        self._door.close()
        tasks = list(self._tasks)
        for task in tasks:
            task.cancel()
        await asyncio.gather(*tasks, return_exceptions=True)

    def add_rule(self, rule):
        """For connections to come, and for those that are open as if they had just been opened."""
        self.rules.append(rule)
        for connection in list(self.connections):
            chosen = deeds.chosen([rule], self.seed, connection.number, self.clock.now())
            for deed in deeds.Deed.all_of(chosen):
                connection.add(deed)

    def remove_rule(self, rule):
        """It does nothing more; what it has done already stays."""
        self.rules.remove(rule)

    def release(self):
        """Ends all stalls."""
        for connection in self.connections:
            connection.release()

    def refuse_until(self, moment):
        """Clients that connect before that are refused."""
        if moment > self._refused_until:
            self._refused_until = moment
            self._door.shut()
            self._start(self._admit_at(moment))

    # For connections.

    def greet(self, connection):
        """A connection that can be worked on."""
        self.connections.add(connection)
        for greeting in list(self._greetings):
            greeting(connection)

    def allows(self, rule):
        """Whether a rule may do once more what it does; counts it."""
        if rule not in self.rules:
            return False
        if rule.times is not None and self._performed[rule.number] >= rule.times:
            return False
        self._performed[rule.number] += 1
        return True

    def shared_limiter(self, rule, direction):
        key = (rule.number, direction)
        if key not in self._limiters:
            self._limiters[key] = Limiter(rule.bytes_per_second)
        return self._limiters[key]

    # For outages.

    def on_greeting(self, greeting):
        """Called with each connection from now on; the result ends that."""
        self._greetings.append(greeting)
        return lambda: self._greetings.remove(greeting)

    def _arrived(self, client):
        self._count += 1
        connection = Connection(self._count, client, self)
        self._start(connection.run(), connection)

    def _start(self, work, connection=None):
        task = asyncio.create_task(work)
        self._tasks[task] = connection
        task.add_done_callback(self._ended)

    def _ended(self, task):
        connection = self._tasks.pop(task)
        if connection is not None:
            self.connections.discard(connection)
            connection.abandon()
        if not task.cancelled() and task.exception() is not None and not self.failure.done():
            self.failure.set_result(task.exception())

    async def _admit_at(self, moment):
        await self.clock.sleep_until(moment)
        if moment == self._refused_until:
            self._door.listen()

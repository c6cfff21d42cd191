"""All connections of one listener to one service, with one scenario."""

import asyncio
import collections

from . import actions, outages
from .connection import Connection
from .listener import Listener
from .pace import Limiter


class Proxy:
    """Lives on the thread of the loop on which it was opened. `close` ends all its tasks."""

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
        self._observers = []
        self.failure = asyncio.get_running_loop().create_future()  # set on an error in the proxy itself
        self._listener = Listener(clock, scenario.buffer_bytes, self._arrived,
                          lambda reason: journal.write("overloaded", reason=reason))

    def open(self, host, port):
        """Returns the address that the proxy listens on. Raises OSError if the address is not free."""
        self._listener.open(host, port)
        for outage in self.scenario.outages:
            self._start(outages.play(outage, self))
        return self._listener.address

    async def close(self):
        """Resets the open connections."""
        self._listener.close()
        tasks = list(self._tasks)
        for task in tasks:
            task.cancel()
        await asyncio.gather(*tasks, return_exceptions=True)

    def add_rule(self, rule):
        """Adds a rule for later connections. An open connection counts as opened now."""
        self.rules.append(rule)
        for connection in list(self.connections):
            chosen = actions.chosen([rule], self.seed, connection.number, self.clock.now())
            for action in actions.Action.all_of(chosen):
                connection.add(action)

    def remove_rule(self, rule):
        """Removes a rule. A stall or another effect of the rule stays."""
        self.rules.remove(rule)

    def release(self):
        """Ends all stalls."""
        for connection in self.connections:
            connection.release()

    def refuse_until(self, moment):
        """Refuses clients that connect before `moment`."""
        if moment > self._refused_until:
            self._refused_until = moment
            self._listener.refuse()
            self._start(self._listen_again_at(moment))

    # Called by connections.

    def connection_opened(self, connection):
        """Registers a connection that has reached the service."""
        self.connections.add(connection)
        for observer in list(self._observers):
            observer(connection)

    def allows(self, rule):
        """Whether a rule may act again. Counts its actions."""
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

    # Called by outages.

    def on_opened(self, observer):
        """Calls `observer` with each new connection. Returns a function that ends these calls."""
        self._observers.append(observer)
        return lambda: self._observers.remove(observer)

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
            connection.close_client()
        if not task.cancelled() and task.exception() is not None and not self.failure.done():
            self.failure.set_result(task.exception())

    async def _listen_again_at(self, moment):
        await self.clock.sleep_until(moment)
        if moment == self._refused_until:
            self._listener.listen()

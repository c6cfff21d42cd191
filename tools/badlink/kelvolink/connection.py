"""A connection of a client to the service, from its first moment to its last."""

import asyncio
import math
import socket
import struct

from . import deeds, sockets
from .channel import Channel
from .pace import Delay, Limiter, Pace
from .values import DIRECTIONS

FAREWELL_SECONDS = 2  # how long a cut connection is read, so that the cut is a FIN and no RST


class Connection:
    """Lives on the loop's thread, as long as `run`; owns both sockets.

    The proxy gives it what it shares with others: scenario, seed, rules, clock, journal.
    """

    def __init__(self, number, client, proxy):
        self.number, self.clock = number, proxy.clock
        self.trips = deeds.Trips()
        self._client, self._service = client, None
        self._proxy = proxy
        self._opened = proxy.clock.now()
        self._channels = {}
        self._tasks = set()
        self._ending = asyncio.get_running_loop().create_future()

    async def run(self):
        how = "shutdown"
        try:
            if not await self._reach_service():
                how = "unreachable"
                return
            self._begin()
            how = await self._ending
            await self._end_tasks()
            if how == "cut":
                await self._say_farewell()
        finally:
            await self._end_tasks()
            self._close(is_gentle=how in ("done", "cut"))
            self._log("closed", how=how, up=self.trips.passed(("up",)), down=self.trips.passed(("down",)))

    @property
    def is_ending(self):
        return self._ending.done()

    @property
    def held_bytes(self):
        """What is on its way, by direction."""
        return {name: channel.line.size for name, channel in self._channels.items()}

    def look(self):
        """Ends the connection when there is nothing left to wait for."""
        if all(channel.is_over for channel in self._channels.values()):
            self._end("done")

    def reset(self):
        self._end("reset")

    def add(self, deed):
        """From now on; its bytes and seconds count from now."""
        if deed.bytes_left is not None:
            self.trips.add(deed)
        elif deed.after_seconds > 0:
            self._spawn(self._perform_in_time(deed))
        else:
            self.perform(deed)

    def abandon(self):
        """For one that was ended before it began to run."""
        self._client.close()

    def release(self):
        for channel in self._channels.values():
            channel.release()

    def perform(self, deed, ahead=None):
        """`ahead`: the bytes before which it happens."""
        rule = deed.rule
        if not self.is_ending and self._proxy.allows(rule):
            seconds = deed.seconds if rule.seconds else None
            self._log(rule.do, direction=rule.direction, byte=self.trips.passed(rule.directions), seconds=seconds,
                      bit=deed.bit if rule.do == "corrupt" else None)
            if rule.do == "corrupt":
                ahead[0] ^= 1 << deed.bit
            else:
                self._suffer(rule.do, rule.directions, deed.seconds)
        if rule.repeat and deed.bytes_left is not None:
            deed.draw()

    def strike(self, what, seconds):
        """What an outage does to both directions."""
        self._log(what, direction="both", byte=self.trips.passed(DIRECTIONS),
                  seconds=round(seconds, 6) if math.isfinite(seconds) else None)
        self._suffer(what, DIRECTIONS, seconds)

    def _suffer(self, what, directions, seconds):
        channels = [self._channels[direction] for direction in directions if direction in self._channels]
        until = self.clock.now() + seconds
        if what in ("cut", "reset"):
            self._end(what)
        elif what == "stall":
            for channel in channels:
                channel.stall(until)
            self._spawn(self._lift(channels, until))
        elif what == "half-open":
            for channel in channels:
                channel.drop()
            self._spawn(self._reset_at(until))
        elif what == "truncate":
            for channel in channels:
                channel.truncate()
        elif what == "refuse":
            self._proxy.refuse_until(until)
        self.look()

    async def _reach_service(self):
        try:
            self._service = await sockets.connect(self._proxy.target, self._proxy.scenario.buffer_bytes)
            return True
        except OSError as failure:
            self._log("unreachable", reason=str(failure))
            return False

    def _begin(self):
        rules = list(deeds.chosen(self._proxy.rules, self._proxy.seed, self.number, self._opened))
        happenings = deeds.Deed.all_of(rules)
        self._log("opened", plan=[deed.plan() for deed in happenings])
        for name, source, sink in (("up", self._client, self._service), ("down", self._service, self._client)):
            pace = self._pace(name, [(rule, rng) for rule, rng in rules if name in rule.directions])
            self._channels[name] = Channel(name, source, sink, self._proxy.scenario.buffer_bytes, pace, self)
        for channel in self._channels.values():
            channel.start(self._spawn)
        for deed in happenings:
            self.add(deed)
        self._proxy.greet(self)

    def _pace(self, direction, rules):
        delays, limiters = [], []
        for rule, rng in rules:
            if rule.do == "delay":
                seed = f"{self._proxy.seed}/{self.number}/{rule.number}/{direction}"
                delays.append(Delay(rule.seconds.draw(rng), rule.jitter_seconds, seed))
            elif rule.do == "bandwidth":
                limiters.append(self._proxy.shared_limiter(rule, direction) if rule.shared
                                else Limiter(rule.bytes_per_second))
        return Pace(self.clock, delays, limiters)

    async def _perform_in_time(self, deed):
        moment = self.clock.now()
        while True:
            moment += deed.after_seconds
            await self.clock.sleep_until(moment)
            self.perform(deed)
            if not deed.rule.repeat:
                return
            moment += deed.seconds
            deed.draw()

    async def _lift(self, channels, moment):
        await self.clock.sleep_until(moment)
        lifted = [channel.name for channel in channels if channel.lift()]
        if lifted:
            self._log("resume", direction="both" if len(lifted) == 2 else lifted[0])

    async def _reset_at(self, moment):
        await self.clock.sleep_until(moment)
        self.reset()

    def _spawn(self, work):
        task = asyncio.create_task(work)
        self._tasks.add(task)
        task.add_done_callback(self._task_ended)
        return task

    def _task_ended(self, task):
        self._tasks.discard(task)
        if not task.cancelled() and task.exception() is not None and not self.is_ending:
            self._ending.set_exception(task.exception())

    def _end(self, how):
        if not self.is_ending:
            self._ending.set_result(how)

    async def _end_tasks(self):
        tasks = list(self._tasks)
        for task in tasks:
            task.cancel()
        await asyncio.gather(*tasks, return_exceptions=True)

    async def _say_farewell(self):
        for each in (self._client, self._service):
            try:
                each.shutdown(socket.SHUT_WR)
            except OSError:
                pass  # it has gone by itself
        drains = asyncio.gather(*(sockets.drain(each) for each in (self._client, self._service)))
        limit = asyncio.create_task(self.clock.sleep_until(self.clock.now() + FAREWELL_SECONDS))
        try:
            await asyncio.wait((drains, limit), return_when=asyncio.FIRST_COMPLETED)
        finally:
            drains.cancel()
            limit.cancel()
            await asyncio.gather(drains, limit, return_exceptions=True)

    def _close(self, is_gentle):
        for each in (self._client, self._service):
            if each is not None:
                if not is_gentle:
                    each.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                each.close()

    def _log(self, did, **what):
        self._proxy.journal.write(did, connection=self.number, **what)

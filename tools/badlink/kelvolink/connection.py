"""A client's connection to the service, from accept to close."""

import asyncio
import math
import socket
import struct

from . import actions, sockets
from .channel import Channel
from .pace import Delay, Limiter, Pace
from .values import DIRECTIONS

DRAIN_SECONDS = 2  # a cut connection is read for this time, so that the client gets a FIN and not an RST


class Connection:
    """Lives on the loop's thread until `run` returns. Owns both sockets.

    Takes the scenario, the seed, the rules, the clock and the journal from the proxy.
    """

    def __init__(self, number, client, proxy):
        self.number, self.clock = number, proxy.clock
        self.triggers = actions.Triggers()
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
                await self._drain_sockets()
        finally:
            await self._end_tasks()
            self._close(is_gentle=how in ("done", "cut"))
            self._log("closed", how=how, up=self.triggers.passed(("up",)), down=self.triggers.passed(("down",)))

    @property
    def is_ending(self):
        return self._ending.done()

    @property
    def held_bytes(self):
        """The bytes in the buffer of each direction."""
        return {name: channel.buffer.size for name, channel in self._channels.items()}

    def end_if_done(self):
        """Ends the connection when no more bytes can pass in either direction."""
        if all(channel.is_done for channel in self._channels.values()):
            self._end("done")

    def reset(self):
        self._end("reset")

    def add(self, action):
        """Adds an action. Its bytes and seconds count from now."""
        if action.bytes_left is not None:
            self.triggers.add(action)
        elif action.after_seconds > 0:
            self._spawn(self._perform_at_times(action))
        else:
            self.perform(action)

    def close_client(self):
        """Closes the client's socket of a connection that ended before `run` began."""
        self._client.close()

    def release(self):
        for channel in self._channels.values():
            channel.release()

    def perform(self, action, ahead=None):
        """Performs the action before the bytes `ahead` pass."""
        rule = action.rule
        if not self.is_ending and self._proxy.allows(rule):
            seconds = action.seconds if rule.seconds else None
            self._log(rule.do, direction=rule.direction, byte=self.triggers.passed(rule.directions), seconds=seconds,
                      bit=action.bit if rule.do == "corrupt" else None)
            if rule.do == "corrupt":
                ahead[0] ^= 1 << action.bit
            else:
                self._apply(rule.do, rule.directions, action.seconds)
        if rule.repeat and action.bytes_left is not None:
            action.draw()

    def apply_outage(self, what, seconds):
        """Applies an outage's `what` to both directions."""
        self._log(what, direction="both", byte=self.triggers.passed(DIRECTIONS),
                  seconds=round(seconds, 6) if math.isfinite(seconds) else None)
        self._apply(what, DIRECTIONS, seconds)

    def _apply(self, what, directions, seconds):
        channels = [self._channels[direction] for direction in directions if direction in self._channels]
        until = self.clock.now() + seconds
        if what in ("cut", "reset"):
            self._end(what)
        elif what == "stall":
            for channel in channels:
                channel.stall(until)
            self._spawn(self._end_stalls(channels, until))
        elif what == "half-open":
            for channel in channels:
                channel.drop()
            self._spawn(self._reset_at(until))
        elif what == "truncate":
            for channel in channels:
                channel.truncate()
        elif what == "refuse":
            self._proxy.refuse_until(until)
        self.end_if_done()

    async def _reach_service(self):
        try:
            self._service = await sockets.connect(self._proxy.target, self._proxy.scenario.buffer_bytes)
            return True
        except OSError as failure:
            self._log("unreachable", reason=str(failure))
            return False

    def _begin(self):
        rules = list(actions.chosen(self._proxy.rules, self._proxy.seed, self.number, self._opened))
        planned = actions.Action.all_of(rules)
        self._log("opened", plan=[action.plan() for action in planned])
        for name, source, sink in (("up", self._client, self._service), ("down", self._service, self._client)):
            pace = self._pace(name, [(rule, rng) for rule, rng in rules if name in rule.directions])
            self._channels[name] = Channel(name, source, sink, self._proxy.scenario.buffer_bytes, pace, self)
        for channel in self._channels.values():
            channel.start(self._spawn)
        for action in planned:
            self.add(action)
        self._proxy.connection_opened(self)

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

    async def _perform_at_times(self, action):
        moment = self.clock.now()
        while True:
            moment += action.after_seconds
            await self.clock.sleep_until(moment)
            self.perform(action)
            if not action.rule.repeat:
                return
            moment += action.seconds
            action.draw()

    async def _end_stalls(self, channels, moment):
        await self.clock.sleep_until(moment)
        resumed = [channel.name for channel in channels if channel.end_stall_if_due()]
        if resumed:
            self._log("resume", direction="both" if len(resumed) == 2 else resumed[0])

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

    async def _drain_sockets(self):
        for each in (self._client, self._service):
            try:
                each.shutdown(socket.SHUT_WR)
            except OSError:
                pass  # the socket is closed already
        drains = asyncio.gather(*(sockets.drain(each) for each in (self._client, self._service)))
        limit = asyncio.create_task(self.clock.sleep_until(self.clock.now() + DRAIN_SECONDS))
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

"""The faults of a drill. Each fault ends when the failed part runs again."""

import random
import signal
import time

from fleet import wait_until


class Faults:
    """`hold_seconds`: how long an instance is frozen or without its database."""

    def __init__(self, fleet, links, hold_seconds, seed):
        self.fleet, self.engines = fleet, fleet.engines
        self._links, self._hold_seconds = links, hold_seconds
        self._random = random.Random(seed)

    def play(self, name):
        getattr(self, name)()
        self.fleet.wait_until_ready()

    def kill_an_instance(self):
        self._kill(1)

    def kill_two_instances(self):
        self._kill(2)

    def kill_the_primary(self):
        self.engines.fail_over()
        wait_until(self.engines.has_synchronous_standby, "the standby does not confirm commits")

    def kill_the_object_gateway(self):
        self.engines.gateway.kill_gateway()
        self._pause()
        self.engines.gateway.start_gateway()
        self.engines.gateway.wait_for_gateway()

    def kill_the_proxy(self):
        self.fleet.proxy.kill()
        self._pause()
        self.fleet.proxy.start(self.fleet.instances)

    def drain_an_instance(self):
        instance = self._random.choice(self.fleet.instances)
        instance.stop()
        instance.start()

    def part_an_instance_from_the_database(self):
        for link in self._links:
            link.hold()
        time.sleep(self._hold_seconds)
        for link in self._links:
            link.release()

    def freeze_an_instance(self):
        instance = self._random.choice(self.fleet.instances)
        instance.process.send_signal(signal.SIGSTOP)
        time.sleep(self._hold_seconds)
        instance.process.send_signal(signal.SIGCONT)

    def pause(self):
        """The time between two faults."""
        time.sleep(self._random.random())

    _pause = pause

    def _kill(self, count):
        victims = self._random.sample(self.fleet.instances, count)
        for victim in victims:
            victim.process.kill()
        self._pause()
        for victim in victims:
            victim.kill()
            victim.start()


KILLS = ("kill_an_instance", "kill_two_instances", "kill_the_primary", "kill_the_object_gateway", "kill_the_proxy")
STOPS = ("drain_an_instance",)
HOLDS = ("part_an_instance_from_the_database", "freeze_an_instance")


def plan(seed, kills, stops, holds):
    """The names of the faults in their order. Each kind comes about equally often."""
    chance = random.Random(seed)
    names = [kinds[number % len(kinds)] for kinds, count in ((KILLS, kills), (STOPS, stops), (HOLDS, holds))
             for number in range(count)]
    chance.shuffle(names)
    return names

"""The faults of a drill. Each fault ends when the failed part runs again."""

import random
import signal
import time
from pathlib import Path

from fleet import wait_until
from kelvotour.service import ServiceError, total


# As tests/drills/later/LaterSchema.cpp adds it.
REMOVE_LATER_SCHEMA = """DROP INDEX files_by_soil; ALTER TABLE files DROP COLUMN soil;
    UPDATE schema_version SET version = version - 1"""


class Faults:
    """A fault that changes nothing fails the drill: each fault hits a part that clients or instances use, and then
    looks for its effect. `hold_seconds`: how long an instance is frozen or without its database. `later`: a version of
    the service whose schema has one step more."""

    def __init__(self, fleet, links, herd, hold_seconds, seed, later):
        self.fleet, self.engines = fleet, fleet.engines
        self._links, self._herd, self._hold_seconds = links, herd, hold_seconds
        self._random = random.Random(seed)
        self._later = later

    def play(self, name):
        """Returns when all parts run again, and clients have stored a file since then. Returns what the fault hit."""
        hit = getattr(self, name)()
        self.fleet.wait_until_ready()
        stored = self._herd.uploads()
        wait_until(lambda: self._herd.uploads() > stored, "clients store nothing after the fault")
        return hit

    def kill_an_instance(self):
        return self._kill(1)

    def kill_two_instances(self):
        return self._kill(2)

    def kill_the_primary(self):
        sessions = self.engines.sessions()
        demand(sessions > 0, "no instance has a session at the primary")
        self.engines.fail_over()
        wait_until(self.engines.has_synchronous_standby, "the standby does not confirm commits")
        return f"{sessions} sessions"

    def kill_the_object_gateway(self):
        """The gateway stays away until an instance has noticed it."""
        gateway = self.engines.gateway
        retries = self._retries()
        demand(gateway.gateway.poll() is None, "the object gateway has ended by itself")
        gateway.kill_gateway()
        wait_until(lambda: self._retries() > retries, "no instance uses the object gateway")
        self.pause()
        seen = self._retries() - retries
        gateway.start_gateway()
        gateway.wait_for_gateway()
        return f"{seen} retries"

    def kill_the_proxy(self):
        demand(self.fleet.proxy.is_running, "HAProxy has ended by itself")
        hit = streams_text(self.fleet.instances)
        demand(open_streams(self.fleet) > 0, "HAProxy has no clients")
        self.fleet.proxy.kill()
        self.pause()
        self.fleet.proxy.start(self.fleet.instances)
        return hit

    def drain_an_instance(self):
        [instance] = self._busy(1)
        return self._restart(instance)

    def upgrade_each_instance(self):
        """The first instance of the later version changes the schema while the other instances use it."""
        before = self.engines.schema()
        hits = self._replace_each(self._later)
        demand(self.engines.schema() == before + 1, "the later version has not changed the schema")
        return hits

    def return_each_instance(self):
        """The earlier version starts again on the later schema. Then the next upgrade has a schema to change."""
        before = self.engines.schema()
        hits = self._replace_each(self.fleet.binary)
        demand(self.engines.schema() == before, "the earlier version has changed the schema")
        self.engines.change(REMOVE_LATER_SCHEMA)
        return hits

    def part_an_instance_from_the_database(self):
        parted = self.fleet.instances[-1]
        self._require_streams([parted])
        for link in self._links:
            link.hold()
        time.sleep(self._hold_seconds)
        held = sum(link.held for link in self._links)
        for link in self._links:
            link.release()
        demand(held > 0, "the instance sent nothing to the database")
        return f"{held} held writes and connections"

    def freeze_an_instance(self):
        [instance] = self._busy(1)
        hit = streams_text([instance])
        instance.process.send_signal(signal.SIGSTOP)
        time.sleep(self._hold_seconds)
        demand(is_stopped(instance.process.pid), "the instance is not frozen")
        instance.process.send_signal(signal.SIGCONT)
        return hit

    def pause(self):
        """The time between two faults."""
        time.sleep(self._random.random())

    def _kill(self, count):
        victims = self._busy(count)
        hit = streams_text(victims)
        for victim in victims:
            victim.process.kill()
        self.pause()
        for victim in victims:
            victim.kill()
            demand(victim.process.returncode == -signal.SIGKILL, f"{victim.data} has ended by itself")
            victim.start()
        return hit

    def _replace_each(self, binary):
        hits = []
        for instance in self.fleet.instances:
            self._require_streams([instance])
            instance.binary = binary
            hits.append(self._restart(instance))
            self.fleet.wait_until_ready()
        return ", ".join(hits)

    @staticmethod
    def _restart(instance):
        hit = streams_text([instance])
        instance.stop()
        instance.start()
        return hit

    def _busy(self, count):
        """Some instances with clients."""
        chosen = self._random.sample(self.fleet.instances, count)
        self._require_streams(chosen)
        return chosen

    def _require_streams(self, instances):
        """A restart of HAProxy spreads the clients over all instances."""
        for instance in instances:
            demand(instance.is_running, f"{instance.data} has ended by itself")
        if not has_streams(instances):
            self.fleet.proxy.kill()
            self.fleet.proxy.start(self.fleet.instances)
            wait_until(lambda: has_streams(instances), "the instances have no clients")

    def _retries(self):
        return total(self.fleet.metrics(), "kelvo_objects_retries_total")


def has_streams(instances):
    return all(open_streams(instance) > 0 for instance in instances)


def open_streams(service):
    return total(service.metrics(), "kelvo_event_streams_open")


def streams_text(instances):
    return f"{sum(open_streams(instance) for instance in instances)} streams"


def is_stopped(pid):
    """Whether SIGSTOP holds the process."""
    status = Path(f"/proc/{pid}/stat").read_text(encoding="utf-8")
    return status.rpartition(")")[2].split()[0] == "T"


def demand(is_so, problem):
    if not is_so:
        raise ServiceError(problem)


UPGRADE, RETURN = "upgrade_each_instance", "return_each_instance"
KILLS = ("kill_an_instance", "kill_two_instances", "kill_the_primary", "kill_the_object_gateway", "kill_the_proxy")
STOPS = ("drain_an_instance", UPGRADE)
HOLDS = ("part_an_instance_from_the_database", "freeze_an_instance")


def plan(seed, kills, stops, holds):
    """The names of the faults in their order. Each kind comes about equally often; every second upgrade is taken back."""
    chance = random.Random(seed)
    names = [kinds[number % len(kinds)] for kinds, count in ((KILLS, kills), (STOPS, stops), (HOLDS, holds))
             for number in range(count)]
    chance.shuffle(names)
    upgrades = [place for place, name in enumerate(names) if name == UPGRADE]
    for place in upgrades[1::2]:
        names[place] = RETURN
    return names

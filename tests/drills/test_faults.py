"""A fault without an effect fails the drill."""

import os
import subprocess
import sys
import unittest
from pathlib import Path
from unittest import mock

sys.dont_write_bytecode = True
TOP = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TOP / "tests/support"), str(TOP / "console/tour")]

from kelvodrills import faults  # noqa: E402
from kelvotour.service import ServiceError  # noqa: E402


class Instance:
    """A process without a service."""

    data = "instance"

    def __init__(self, streams=5):
        self.streams = streams
        self.start()

    def start(self):
        self.process = subprocess.Popen(["sleep", "1000"])

    def kill(self):
        self.process.kill()
        self.process.wait()

    stop = kill

    @property
    def is_running(self):
        return self.process.poll() is None

    def metrics(self):
        return metrics(self.streams)


def metrics(streams):
    return {"kelvo_event_streams_open": {frozenset(): float(streams)}, "kelvo_objects_retries_total": {frozenset(): 0.0}}


def once(is_so, problem):
    if not is_so():
        raise ServiceError(problem)


@mock.patch.object(faults, "wait_until", once)
class FaultsTest(unittest.TestCase):
    def setUp(self):
        self.instance = Instance()
        self.addCleanup(lambda: self.instance.kill())
        self.fleet = mock.Mock(instances=[self.instance])
        self.fleet.metrics.return_value = metrics(5)

    def play(self, name, uploads=(1, 2), links=()):
        """`uploads`: the acknowledged uploads after the fault, and a second later."""
        played = faults.Faults(self.fleet, links, mock.Mock(**{"uploads.side_effect": uploads}), 0, 1, "later")
        with mock.patch.object(played, "pause"):
            return played.play(name)

    def test_a_kill_of_an_instance_with_clients_is_a_fault(self):
        self.assertEqual(self.play("kill_an_instance"), "5 streams")

    def test_a_kill_of_an_instance_that_ends_meanwhile_fails(self):
        self.instance.process.terminate()
        self.instance.process.wait()
        with mock.patch.object(Instance, "is_running", True), self.assertRaisesRegex(ServiceError, "ended by itself"):
            self.play("kill_an_instance")

    def test_a_kill_of_an_ended_haproxy_fails(self):
        self.fleet.proxy.is_running = False
        with self.assertRaisesRegex(ServiceError, "HAProxy has ended"):
            self.play("kill_the_proxy")

    def test_a_kill_of_an_ended_object_gateway_fails(self):
        self.fleet.engines.gateway.gateway.poll.return_value = 1
        with self.assertRaisesRegex(ServiceError, "gateway has ended"):
            self.play("kill_the_object_gateway")

    def test_a_kill_of_an_idle_haproxy_fails(self):
        self.fleet.metrics.return_value = metrics(0)
        with self.assertRaisesRegex(ServiceError, "HAProxy has no clients"):
            self.play("kill_the_proxy")

    def test_a_kill_of_an_ended_instance_fails(self):
        self.instance.kill()
        with self.assertRaisesRegex(ServiceError, "ended by itself"):
            self.play("kill_an_instance")

    def test_an_instance_without_clients_is_not_frozen(self):
        self.instance.streams = 0
        with self.assertRaisesRegex(ServiceError, "no clients"):
            self.play("freeze_an_instance")

    def test_a_freeze_that_does_not_last_fails(self):
        with mock.patch.object(faults, "is_stopped", return_value=False), self.assertRaisesRegex(ServiceError, "not frozen"):
            self.play("freeze_an_instance")

    def test_a_freeze_that_lasts_is_a_fault(self):
        pid = self.instance.process.pid
        with mock.patch.object(faults.time, "sleep", lambda _: os.waitpid(pid, os.WUNTRACED)):
            self.assertEqual(self.play("freeze_an_instance"), "5 streams")

    def test_a_partition_that_holds_no_byte_fails(self):
        with self.assertRaisesRegex(ServiceError, "sent nothing"):
            self.play("part_an_instance_from_the_database", links=[mock.Mock(held=0)])

    def test_an_unused_object_gateway_fails(self):
        self.fleet.engines.gateway.gateway.poll.return_value = None
        with self.assertRaisesRegex(ServiceError, "uses the object gateway"):
            self.play("kill_the_object_gateway")

    def test_a_primary_without_sessions_fails(self):
        self.fleet.engines.sessions.return_value = 0
        with self.assertRaisesRegex(ServiceError, "no instance has a session"):
            self.play("kill_the_primary")

    def test_an_upgrade_that_does_not_change_the_schema_fails(self):
        self.fleet.engines.schema.side_effect = (24, 24)
        with self.assertRaisesRegex(ServiceError, "has not changed the schema"):
            self.play("upgrade_each_instance")

    def test_every_second_upgrade_is_taken_back(self):
        names = [name for name in faults.plan(1, 10, 8, 2) if name in (faults.UPGRADE, faults.RETURN)]
        self.assertEqual(names, [faults.UPGRADE, faults.RETURN] * 2)

    def test_a_load_that_does_not_go_on_fails(self):
        with self.assertRaisesRegex(ServiceError, "clients store nothing"):
            self.play("kill_an_instance", (1, 1))


if __name__ == "__main__":
    unittest.main()

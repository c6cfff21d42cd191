"""A round allows failed commands around a kill of the service, and no later ones."""

import sys
import unittest
from pathlib import Path
from types import SimpleNamespace

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "support"), str(HERE.parents[1] / "console/tour")]

from kelvocrash.round import Finding, Round  # noqa: E402


class FakeWorld:
    """Fake processes. `on_command` is called while the next command runs."""

    def __init__(self):
        self.trigger = SimpleNamespace(last="nothing", wait_if_reached=lambda: None)
        self.console = SimpleNamespace(run=self.run)
        self.is_ok, self.on_command = True, None
        self.on_restart = None

    def run(self, _command):
        if self.on_command:
            self.on_command()
        return SimpleNamespace(ok=self.is_ok, reason="the link is lost")

    def kill_service(self):
        return True

    def reap_service(self):
        pass

    def start_service(self):
        if self.on_restart:
            self.on_restart()


class AllowedFailures(unittest.TestCase):
    def setUp(self):
        self.world = FakeWorld()
        self.round = Round(None, self.world)

    def run_command(self, is_ok, during=None):
        self.world.is_ok, self.world.on_command = is_ok, during
        self.round._command("login")

    def kill(self):
        self.round._kill("service")

    def assert_failure_is_a_finding(self):
        with self.assertRaises(Finding):
            self.run_command(False)

    def test_a_failure_without_a_kill_is_a_finding(self):
        self.assert_failure_is_a_finding()
        self.run_command(True)
        self.assert_failure_is_a_finding()

    def test_failures_around_a_kill_are_allowed_until_a_command_succeeds(self):
        self.run_command(False, during=self.kill)
        self.run_command(False)
        self.assertEqual(self.round.failures, [("login", "the link is lost")] * 2)
        self.run_command(True)
        self.assert_failure_is_a_finding()

    def test_a_success_that_began_before_the_restart_does_not_end_the_allowance(self):
        self.run_command(True, during=self.kill)
        self.run_command(False)
        self.world.on_restart = lambda: self.run_command(True)  # for instance from a cache
        self.kill()
        self.run_command(False)

    def test_each_kill_allows_failures_again(self):
        self.kill()
        self.run_command(True)
        self.run_command(False, during=self.kill)
        self.run_command(True)
        self.assert_failure_is_a_finding()


if __name__ == "__main__":
    unittest.main()

"""Which failed commands a round forgives: those around a kill of the service, and none behind it."""

import sys
import unittest
from pathlib import Path
from types import SimpleNamespace

HERE = Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent / "support"), str(HERE.parents[1] / "console/tour")]

from kelvocrash.round import Finding, Round  # noqa: E402


class FakeWorld:
    """The processes do what they are told. `on_command`: what happens while the next command runs."""

    def __init__(self):
        self.trigger = SimpleNamespace(last="nothing")
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


class Excuses(unittest.TestCase):
    def setUp(self):
        self.world = FakeWorld()
        self.round = Round(None, self.world)

    def give(self, is_ok, during=None):
        self.world.is_ok, self.world.on_command = is_ok, during
        self.round._give("login")

    def kill(self):
        self.round._kill("service")

    def assert_no_excuse(self):
        with self.assertRaises(Finding):
            self.give(False)

    def test_nothing_fails_without_a_kill(self):
        self.assert_no_excuse()
        self.give(True)
        self.assert_no_excuse()

    def test_what_fails_around_a_kill_is_noted_until_something_succeeds(self):
        self.give(False, during=self.kill)
        self.give(False)
        self.assertEqual(self.round.failures, [("login", "the link is lost")] * 2)
        self.give(True)
        self.assert_no_excuse()

    def test_a_success_that_began_before_the_service_was_back_ends_nothing(self):
        self.give(True, during=self.kill)
        self.give(False)
        self.world.on_restart = lambda: self.give(True)  # out of a cache, perhaps
        self.kill()
        self.give(False)

    def test_each_kill_is_an_excuse_of_its_own(self):
        self.kill()
        self.give(True)
        self.give(False, during=self.kill)
        self.give(True)
        self.assert_no_excuse()


if __name__ == "__main__":
    unittest.main()

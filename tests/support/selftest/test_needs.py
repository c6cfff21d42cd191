"""The result of a test case on a machine that lacks what the test needs."""

import os
import sys
import unittest
from pathlib import Path
from unittest import mock

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from needs import needs  # noqa: E402


def outcome(is_there, ci):
    """(tests passed, skipped, failed) of a test case that needs a thing."""
    environment = {key: value for key, value in os.environ.items() if key != "CI"}
    with mock.patch.dict(os.environ, environment | ({"CI": ci} if ci else {}), clear=True):
        class Case(unittest.TestCase):
            def test_it(self):
                needs(self, is_there, "the moon")
        result = unittest.TestResult()
        Case("test_it").run(result)
    bad = len(result.failures) + len(result.errors)
    return result.testsRun - len(result.skipped) - bad, len(result.skipped), bad


class Needs(unittest.TestCase):
    def test_runs_if_the_thing_is_there(self):
        self.assertEqual(outcome(True, ""), (1, 0, 0))
        self.assertEqual(outcome(True, "true"), (1, 0, 0))

    def test_is_skipped_if_the_thing_is_missing(self):
        self.assertEqual(outcome(False, ""), (0, 1, 0))

    def test_fails_in_ci_if_the_thing_is_missing(self):
        self.assertEqual(outcome(False, "true"), (0, 0, 1))


if __name__ == "__main__":
    unittest.main()

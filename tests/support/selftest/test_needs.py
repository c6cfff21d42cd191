"""What becomes of a test case on a machine without what it needs."""

import os
import sys
import unittest
from pathlib import Path
from unittest import mock

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from needs import needs  # noqa: E402


def outcome(is_there, ci):
    """(tests passed, skipped, failed) of a case that needs something."""
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
    def test_what_is_there_is_used(self):
        self.assertEqual(outcome(True, ""), (1, 0, 0))
        self.assertEqual(outcome(True, "true"), (1, 0, 0))

    def test_what_is_missing_is_left_out_at_home(self):
        self.assertEqual(outcome(False, ""), (0, 1, 0))

    def test_what_is_missing_fails_on_ci(self):
        self.assertEqual(outcome(False, "true"), (0, 0, 1))


if __name__ == "__main__":
    unittest.main()

"""A console whose clock is ahead: lists and transfers work, and it removes no journal and no part file, because their
age is unknown."""

import os
import sys
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from kelvoe2e.case import FarmCase  # noqa: E402
from kelvotour import archives  # noqa: E402
from needs import wrong_clock  # noqa: E402

DAY_S = 24 * 3600


class ClockAhead(FarmCase):
    def left_after_a_session(self, age_days, **options):
        """A console has journals of an earlier run, uploads and downloads. How many of these journals are left?"""
        data = self.folder / "console"
        left = [data / "state/kesdk" / f"{'a' * 64}.upload", data / "to-service/curves" / f".{'b' * 64}.upload",
                data / "incoming/earlier.zip.part.journal"]
        for path in left:
            path.parent.mkdir(parents=True)
            path.write_bytes(b"kesdk journal 1\n")
            os.utime(path, (time.time() - age_days * DAY_S,) * 2)
        console = self.logged_in(data=data, **options)
        (data / "to-service/curves/row.crv").write_bytes(b"row")
        self.assert_ok(console.run("upload curves row.crv"))
        self.put(console, {"a.zip": archives.write_zip(self.folder / "a", {"a.txt": b"a"}).read_bytes()})
        self.assert_ok(console.run("download maps a.zip"))
        self.assertEqual(console.close(), 0)
        return sum(path.exists() for path in left)

    def test_removes_what_is_older_than_a_week(self):
        self.assertEqual(self.left_after_a_session(8), 0)

    def test_removes_nothing_if_the_clock_is_ahead(self):
        self.assertEqual(self.left_after_a_session(1, prefix=wrong_clock(self, 8 * DAY_S)), 3)


if __name__ == "__main__":
    unittest.main()

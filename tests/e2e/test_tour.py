"""The tour as a whole, as scripts/run starts it."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from kelvoe2e import awkward

TOUR = Path(os.environ["KELVO_TOUR"]) / "tour"


class TourTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-tour-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def run_tour(self, *options):
        return subprocess.run([sys.executable, TOUR, "--build", os.environ["KELVO_BUILD"], *options], text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=500, check=False)

    def test_every_step_of_the_day_comes_out_right(self):
        result = self.run_tour("--out", self.folder)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        lines = result.stdout.splitlines()
        self.assertGreater(len(lines), 25)
        self.assertEqual([line for line in lines[:-1] if not line.startswith("ok  ")], [])
        self.assertEqual(lines[-1], f"{len(lines) - 1} steps ok, 0 failed")
        for name in ("console.log", "kelvoctl.log", "service.log", "steps.txt"):
            self.assertGreater((self.folder / name).stat().st_size, 0, name)

    def test_a_folder_with_other_things_in_it_is_left_alone(self):
        (self.folder / "service").mkdir()
        result = self.run_tour("--out", self.folder)
        self.assertEqual(result.returncode, 2)
        self.assertIn("neither empty nor", result.stderr)
        self.assertTrue((self.folder / "service").is_dir())

    def test_archives_of_the_given_folder_come_out_as_expected_good_and_bad(self):
        data = self.folder / "data"
        data.mkdir()
        awkward.write_all(data)
        (data / "bad.zip").write_bytes(b"PK\3\4 no more than that")
        (data / "empty.zip").write_bytes(b"PK\5\6" + bytes(18))
        result = self.run_tour("--out", self.folder / "out", "--data", data)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        lines = result.stdout.splitlines()
        for name in ("bad.zip", *awkward.REFUSED):
            self.assertEqual(lines.count(f"ok  {name} cannot be unpacked and leaves nothing"), 2, name)
        for name, (_, paths) in awkward.SOUND.items():
            self.assertIn(f"ok  {name} downloaded as maps: {len(paths)} files, byte for byte", lines)

    def test_a_folder_without_archives_is_refused(self):
        data = self.folder / "data"
        data.mkdir()
        (data / "notes.txt").write_text("x")
        for folder in (data, self.folder / "missing"):
            with self.subTest(folder):
                result = self.run_tour("--out", self.folder / "out", "--data", folder)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn(str(folder), result.stderr)


if __name__ == "__main__":
    unittest.main()

"""The whole tour, as scripts/run starts it: by commands and with the real window."""

import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from kelvoe2e import awkward

TOUR = Path(os.environ["KELVO_TOUR"]) / "tour"
DRIVER = Path(os.environ["KELVO_BUILD"]) / "bin/kelvo-console-driver"
GUIDE = TOUR.parents[2] / "docs/pictures"
# The beginning of a PNG file with the display's width and height.
PICTURE_BEGIN = b"\x89PNG\r\n\x1a\n" + struct.pack(">I4sII", 13, b"IHDR", 1280, 800)


class TourTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-tour-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def run_tour(self, *options):
        return subprocess.run([sys.executable, TOUR, "--build", os.environ["KELVO_BUILD"], *options], text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=500, check=False)

    def test_every_step_of_the_day_succeeds(self):
        result = self.run_tour("--out", self.folder, "--headless")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        lines = result.stdout.splitlines()
        self.assertGreater(len(lines), 25)
        self.assertEqual([line for line in lines[:-1] if not line.startswith("ok  ")], [])
        self.assertEqual(lines[-1], f"{len(lines) - 1} steps ok, 0 failed")
        for name in ("console.log", "kelvoctl.log", "service.log", "steps.txt"):
            self.assertGreater((self.folder / name).stat().st_size, 0, name)

    @unittest.skipUnless(DRIVER.is_file(), "this build has no window")
    def test_every_step_in_the_window_succeeds_and_the_guide_has_its_pictures(self):
        result = self.run_tour("--out", self.folder)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        pictures = self.folder / "pictures"
        for path in pictures.glob("*.png"):
            self.assertEqual(path.read_bytes()[:24], PICTURE_BEGIN, path.name)
        self.assertEqual((pictures / "screens.json").read_text(), (GUIDE / "screens.json").read_text(),
                         f"The guide's pictures are older than the screens: copy those of a tour to {GUIDE.name}.")
        # test_screens_link makes the pictures of the link's states.
        self.assertEqual({path.name for path in pictures.iterdir()},
                         {path.name for path in GUIDE.iterdir()
                          if path.is_file() and not path.name.startswith("link-")})

    @unittest.skipUnless(DRIVER.is_file(), "this build has no window")
    def test_the_smallest_display_by_night_in_another_language(self):
        result = self.run_tour("--out", self.folder, "--size", "800x480", "--language", "de", "--night")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        screens = json.loads((self.folder / "pictures/screens.json").read_text())
        self.assertIn("Anmelden", [button["text"] for button in screens["01-start"][0]["buttons"]])

    @unittest.skipUnless(DRIVER.is_file(), "this build has no window")
    def test_the_wheel_alone_is_enough_for_the_day(self):
        result = self.run_tour("--out", self.folder, "--wheel")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        verbs = {line.split()[0] for line in (self.folder / "console.log").read_text().splitlines()}
        self.assertEqual(verbs, {"key", "enter", "picture", "quit"})

    def test_the_guide_shows_each_picture_once(self):
        guide = (GUIDE.parent / "operator.md").read_text()
        shown = re.findall(r"\(pictures/([^)]+)\)", guide)
        self.assertEqual(sorted(shown), sorted(path.name for path in GUIDE.glob("*.png")))

    def test_a_folder_with_other_files_is_not_touched(self):
        (self.folder / "service").mkdir()
        result = self.run_tour("--out", self.folder)
        self.assertEqual(result.returncode, 2)
        self.assertIn("neither empty nor", result.stderr)
        self.assertTrue((self.folder / "service").is_dir())

    def test_valid_and_bad_archives_of_a_given_folder(self):
        data = self.folder / "data"
        data.mkdir()
        awkward.write_all(data)
        (data / "bad.zip").write_bytes(b"PK\3\4 no more than that")
        (data / "empty.zip").write_bytes(b"PK\5\6" + bytes(18))
        result = self.run_tour("--out", self.folder / "out", "--data", data, "--headless")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        lines = result.stdout.splitlines()
        for name in ("bad.zip", *awkward.REFUSED):
            self.assertEqual(lines.count(f"ok  {name} cannot be unpacked and leaves nothing"), 2, name)
        for name, (_, paths) in awkward.ACCEPTED.items():
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

"""The tour's judgement: what it takes for a sound archive, for a right folder and for a step gone wrong."""

import contextlib
import io
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

sys.path.insert(0, os.environ["KELVO_TOUR"])

from kelvotour import archives  # noqa: E402
from kelvotour.console import Line, Result, quoted  # noqa: E402
from kelvotour.steps import Steps, require  # noqa: E402


class TourPartsTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-parts-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def test_every_made_archive_is_sound_and_several_share_a_name(self):
        archives.make_samples(self.folder)
        expected = [archives.expected_files(path) for path in archives.archives_in(self.folder)]
        self.assertEqual(len(expected), 6)
        self.assertNotIn(None, expected)
        self.assertGreaterEqual(sum("TASKDATA.XML" in files for files in expected), 3)

    def test_bad_archives_are_told_from_sound_ones(self):
        self.assertIsNone(archives.expected_files(archives.write_corrupt_zip(self.folder / "a.zip")))
        for name in ("../up.txt", "/absolute.txt", "a/../../b.txt"):
            with self.subTest(name):
                path = archives.write_zip(self.folder / "b.zip", {"good.txt": b"x", name: b"x"})
                self.assertIsNone(archives.expected_files(path))
        link = zipfile.ZipInfo("link")
        link.create_system, link.external_attr = 3, 0o120777 << 16
        with zipfile.ZipFile(self.folder / "c.zip", "w") as archive:
            archive.writestr(link, "/etc/passwd")
        self.assertIsNone(archives.expected_files(self.folder / "c.zip"))

    def test_an_encrypted_archive_is_no_sound_one(self):
        if not shutil.which("zip"):
            self.skipTest("there is no zip to encrypt with")
        (self.folder / "secret.txt").write_text("x")
        subprocess.run(["zip", "-q", "-P", "key", "d.zip", "secret.txt"], cwd=self.folder, check=True)
        self.assertIsNone(archives.expected_files(self.folder / "d.zip"))

    def test_comparing_sees_missing_and_differing_files(self):
        (self.folder / "same").write_bytes(b"1")
        (self.folder / "other").write_bytes(b"1")
        problems = archives.compare({"same": b"1", "other": b"2", "missing": b"3"}, self.folder)
        self.assertEqual(problems, ["other differs from the archive's", "missing is missing"])

    def test_a_failed_step_is_told_of_and_counted(self):
        with contextlib.redirect_stdout(io.StringIO()) as output:
            steps = Steps(self.folder / "steps.txt")
            with steps.step("first"):
                require(True, "never")
            with steps.step("second"):
                require(False, "two\nlines")
            with steps.step("third"):
                raise KeyError("x")
            status = steps.close()
        self.assertEqual(status, 1)
        self.assertEqual(output.getvalue().splitlines(),
                         ["ok  first", "FAILED second: two lines", "FAILED third: KeyError: 'x'",
                          "1 steps ok, 2 failed"])

    def test_a_tour_of_nothing_has_failed(self):
        with contextlib.redirect_stdout(io.StringIO()):
            self.assertEqual(Steps(self.folder / "steps.txt").close(), 1)

    def test_lines_of_the_console_are_read(self):
        line = Line.read('signal KelvoDownloadComplete {"errors":[{"file":"a b","text":"x\\ny"}],"project":"maps"}')
        self.assertEqual((line.name, line.arguments["project"]), ("KelvoDownloadComplete", "maps"))
        result = Result(False, "", [line, Line.read('list {"files":[],"project":"maps"}')])
        self.assertEqual(result.errors, [{"file": "a b", "text": "x\ny"}])
        self.assertEqual(result.value("list")["files"], [])

    def test_names_are_quoted_for_the_console(self):
        self.assertEqual(quoted(["a b.zip", "d'e.zip"]), "'a b.zip' \"d'e.zip\"")


if __name__ == "__main__":
    unittest.main()

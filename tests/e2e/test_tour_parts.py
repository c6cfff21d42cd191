"""The tour's checks of archives, folders and steps."""

import contextlib
import io
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import zipfile
from pathlib import Path
from types import SimpleNamespace

sys.path.insert(0, os.environ["KELVO_TOUR"])

from kelvoe2e import awkward  # noqa: E402
from kelvoe2e.needs import needs  # noqa: E402
from kelvotour import archives  # noqa: E402
from kelvotour.binaries import Binaries  # noqa: E402
from kelvotour.console import Line, Result, quoted  # noqa: E402
from kelvotour.day import Day  # noqa: E402
from kelvotour.steps import Steps, require  # noqa: E402
from rawzip import LINK, Entry, archive_of  # noqa: E402


class TourPartsTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-parts-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def test_every_made_archive_is_valid_and_several_have_a_file_of_the_same_name(self):
        archives.make_samples(self.folder)
        expected = [archives.expected_files(path) for path in archives.archives_in(self.folder)]
        self.assertEqual(len(expected), 6)
        self.assertNotIn(None, expected)
        self.assertGreaterEqual(sum(any(path.endswith("/TASKDATA.XML") for path in files) for files in expected), 3)

    def test_bad_archives_are_recognised(self):
        self.assertIsNone(archives.expected_files(archives.write_corrupt_zip(self.folder / "a.zip")))
        for name in ("../up.txt", "/absolute.txt", "a/../../b.txt"):
            with self.subTest(name):
                path = archives.write_zip(self.folder / "b.zip", {"good.txt": b"x", name: b"x"})
                self.assertIsNone(archives.expected_files(path))
        link = Entry(b"link", attributes=LINK, content=b"/etc/passwd")
        (self.folder / "c.zip").write_bytes(archive_of(link))
        self.assertIsNone(archives.expected_files(self.folder / "c.zip"))

    def test_awkward_archives_are_read_as_the_console_reads_them(self):
        awkward.write_all(self.folder)
        for name, (_, paths) in awkward.ACCEPTED.items():
            with self.subTest(name):
                expected = archives.expected_files(self.folder / name)
                self.assertIsNotNone(expected)
                self.assertEqual(sorted(expected), sorted(f"{archives.folder_of(name)}/{path}" for path in paths))
        for name in awkward.REFUSED:
            with self.subTest(name):
                self.assertIsNone(archives.expected_files(self.folder / name))

    def test_a_bomb_is_recognised_without_unpacking_it(self):
        awkward.write_all(self.folder)
        with unittest.mock.patch.object(zipfile.ZipFile, "open", side_effect=AssertionError):
            self.assertIsNone(archives.expected_files(self.folder / "bomb.zip"))

    def test_each_archive_has_a_folder_of_its_own(self):
        for name, folder in (("a.zip", "a"), ("A.zip", "A"), ("a.ZIP", "a.ZIP"), ("a.zip.zip", "a.zip.zip"),
                             (".zip", ".zip"), ("..zip", "..zip"), ("...zip", "...zip")):
            with self.subTest(name):
                self.assertEqual(archives.folder_of(name), folder)

    def test_only_a_single_folder_of_the_archives_name_is_not_repeated(self):
        for name, files, placed in (("a.zip", ["a/b", "a/c/d"], ["a/b", "a/c/d"]), ("a.zip", ["a/b", "c"], ["a/a/b", "a/c"]),
                                    ("a.zip", ["a"], ["a/a"]), ("a.zip", ["A/b"], ["a/A/b"]), ("a.ZIP", ["a/b"], ["a.ZIP/b"])):
            with self.subTest(files):
                self.assertEqual(list(archives.placed(name, dict.fromkeys(files))), placed)
        path = archives.write_zip(self.folder / "a.zip", {"a/b": b"", "empty/": b""})
        self.assertEqual(list(archives.expected_files(path)), ["a/a/b"])

    def test_the_log_must_have_one_line_for_each_bad_archive(self):
        day = Day(Binaries(*[Path("none")] * 4), self.folder / "out", None)
        data = self.folder / "out/console"
        (data / "from-service").mkdir(parents=True)
        (data / "incoming").mkdir()
        (data / "logs").mkdir()
        line_counts = iter((1, 0, 2))

        def run(command):
            with open(data / "logs/user.log", "a", encoding="utf-8") as log:
                log.write("TKelvoThreadObject::ManageKelvoDownloads: damaged\n" * next(line_counts))
            record = {"file": command.split("'")[1], "text": "Failed to unzip file"}
            return Result(False, "", [Line(0, "", "KelvoDownloadComplete", {"errors": [record]})])

        day.console = SimpleNamespace(data=data, run=run)
        with contextlib.redirect_stdout(io.StringIO()):
            for name in ("once.zip", "never.zip", "twice.zip"):
                day._download_a_refused_archive("maps", "from-service", Path(name))
            self.assertEqual(day.steps.close(), 1)
        self.assertEqual((self.folder / "out/steps.txt").read_text(encoding="utf-8").splitlines(), [
            "ok  once.zip cannot be unpacked and leaves nothing",
            "FAILED never.zip cannot be unpacked and leaves nothing: the user log holds 0 reasons, not one",
            "FAILED twice.zip cannot be unpacked and leaves nothing: the user log holds 2 reasons, not one",
            "1 steps ok, 2 failed"])

    def test_an_encrypted_archive_is_bad(self):
        needs(self, shutil.which("zip"), "zip, which encrypts the archive")
        (self.folder / "secret.txt").write_text("x")
        subprocess.run(["zip", "-q", "-P", "key", "d.zip", "secret.txt"], cwd=self.folder, check=True)
        self.assertIsNone(archives.expected_files(self.folder / "d.zip"))

    def test_comparing_finds_missing_differing_and_other_files(self):
        (self.folder / "a").mkdir()
        for name in ("a/same", "a/other", "a/former", "beside"):
            (self.folder / name).write_bytes(b"1")
        expected = archives.digests({"a/same": b"1", "a/other": b"2", "a/missing": b"3"})
        problems = archives.compare(expected, self.folder)
        self.assertEqual(problems, ["a/former is not in the archive", "a/other differs from the archive's",
                                    "a/missing is missing"])

    def test_a_failed_step_is_printed_and_counted(self):
        with contextlib.redirect_stdout(io.StringIO()) as output:
            steps = Steps(self.folder)
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

    def test_a_tour_without_steps_fails(self):
        with contextlib.redirect_stdout(io.StringIO()):
            self.assertEqual(Steps(self.folder).close(), 1)

    def test_reads_the_console_lines(self):
        line = Line.read('signal KelvoDownloadComplete {"errors":[{"file":"a b","text":"x\\ny"}],"project":"maps"}')
        self.assertEqual((line.name, line.arguments["project"]), ("KelvoDownloadComplete", "maps"))
        result = Result(False, "", [line, Line.read('list {"files":[],"project":"maps"}')])
        self.assertEqual(result.errors, [{"file": "a b", "text": "x\ny"}])
        self.assertEqual(result.value("list")["files"], [])

    def test_names_are_quoted_for_the_console(self):
        self.assertEqual(quoted(["a b.zip", "d'e.zip"]), "'a b.zip' \"d'e.zip\"")


if __name__ == "__main__":
    unittest.main()

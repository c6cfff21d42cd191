"""Folders that the console can read but not write: no file is lost, and a record or the log names the error."""

import os
import random
import stat
import unittest

from kelvoe2e.case import FarmCase
from kelvoe2e.needs import BOUND_BY_MODES, needs_modes
from kelvotour import archives
from kelvotour.link import Link
from kelvotour.service import more

INCOMING, MAPS, REPORTS, STATE = "incoming", "from-service/prescriptions", "to-service/job-reports", "state/kesdk"


class ReadOnlyCase(FarmCase):
    def setUp(self):
        needs_modes(self)
        super().setUp()
        self.data = self.folder / "console"
        self.data.mkdir(stat.S_IRWXU)

    def forbid(self, folder):
        path = self.data / folder
        path.mkdir(parents=True, exist_ok=True)
        path.chmod(stat.S_IRUSR | stat.S_IXUSR)
        self.addCleanup(path.chmod, stat.S_IRWXU)

    def allow(self, folder):
        (self.data / folder).chmod(stat.S_IRWXU)

    def bound(self, **options):
        """A logged-in console that cannot write to read-only folders, even as root."""
        return self.logged_in(prefix=BOUND_BY_MODES, data=self.data, **options)

    def log(self):
        return (self.data / "logs/user.log").read_text(encoding="utf-8")

    def put_archive(self, console, name, content):
        path = archives.write_zip(self.folder / "zip", content)
        self.put(console, {name: path.read_bytes()})


class DownloadTest(ReadOnlyCase):
    def test_a_read_only_folder_for_archives(self):
        self.forbid(INCOMING)
        console = self.bound()
        self.put_archive(console, "rates.zip", {"rates.txt": b"rates"})
        result = console.run("download maps rates.zip")
        self.assertFalse(result.ok)
        self.assertEqual([record["file"] for record in result.errors], ["rates.zip"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertEqual(os.listdir(self.data / INCOMING), [])
        self.assertEqual(archives.content_of(self.data / MAPS), {})
        self.assertEqual(self.files_at_service("To Console"), ["rates.zip"])
        self.allow(INCOMING)
        self.assert_ok(console.run("download maps rates.zip"))
        self.assertEqual(archives.content_of(self.data / MAPS), {"rates/rates.txt": b"rates"})

    def test_a_read_only_folder_for_unpacked_files(self):
        (self.data / MAPS / "rates").mkdir(parents=True)
        (self.data / MAPS / "rates/rates.txt").write_bytes(b"old rates")
        self.forbid(MAPS)
        console = self.bound()
        self.put_archive(console, "rates.zip", {"rates.txt": b"new rates"})
        result = console.run("download maps rates.zip")
        self.assertEqual(result.errors, [{"file": "rates.zip", "text": "Failed to unzip file"}])
        self.assertIn("TKelvoThreadObject::ManageKelvoDownloads: ", self.log())
        self.assertIn("Permission denied", self.log())
        self.assertEqual(archives.content_of(self.data / MAPS), {"rates/rates.txt": b"old rates"})
        self.assertEqual(self.files_at_service("To Console"), ["rates.zip"])
        self.allow(MAPS)
        self.assert_ok(console.run("download maps rates.zip"))
        self.assertEqual(archives.content_of(self.data / MAPS), {"rates/rates.txt": b"new rates"})

    def test_an_archive_that_cannot_be_removed_is_unpacked(self):
        (self.data / INCOMING).mkdir()
        archives.write_zip(self.data / INCOMING / "left.zip", {"left.txt": b"from an earlier run"})
        self.forbid(INCOMING)
        console = self.bound()
        self.put_archive(console, "rates.zip", {"rates.txt": b"rates"})
        for _ in range(2):
            result = console.run("download maps rates.zip")
            self.assertEqual([record["file"] for record in result.errors], ["rates.zip"])
            self.assertEqual(archives.content_of(self.data / MAPS), {"left/left.txt": b"from an earlier run"})
        self.assertEqual(os.listdir(self.data / INCOMING), ["left.zip"])


class UploadTest(ReadOnlyCase):
    def test_a_sent_report_that_cannot_be_removed_is_stored_once(self):
        (self.data / REPORTS).mkdir(parents=True)
        (self.data / REPORTS / "job.pdf").write_bytes(b"report")
        self.forbid(REPORTS)
        console = self.bound()
        before = self.service.requests()
        # The report was sent, so there is no record of a failure. Only the log has the error.
        result = console.run("upload reports job.pdf")
        self.assert_ok(result)
        self.assertEqual(result.errors, [])
        self.assertEqual(self.files_at_service("From Console"), ["job.pdf"])
        self.assertEqual((self.data / REPORTS / "job.pdf").read_bytes(), b"report")
        self.assertIn("job.pdf was sent, but cannot be removed here: Permission denied", self.log())
        self.assertEqual(console.close(), 0)
        # The console does not send the report again without a command.
        self.assertEqual(more(self.service.requests(), before)["POST", "/uploads"], 1)
        # A restarted console creates no second file, however often it uploads the report.
        for _ in range(2):
            console = self.bound()
            self.assert_ok(console.run("upload reports job.pdf"))
            self.assertEqual(console.close(), 0)
        self.assertEqual(self.files_at_service("From Console"), ["job.pdf"])
        self.assertTrue((self.data / REPORTS / "job.pdf").is_file())

    def test_a_read_only_folder_for_the_sdks_journals(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        self.forbid(STATE)
        console = self.bound(address=link.address)
        content = random.Random(8).randbytes(500_000)
        (self.data / REPORTS / "job.pdf").write_bytes(content)
        link.cut("up", 200_000)
        self.assert_ok(console.run("upload reports job.pdf"))
        self.assertEqual(link.cuts, 1)
        self.assertEqual(self.files_at_service("From Console"), ["job.pdf"])
        self.assertEqual(console.close(), 0)
        journal, = os.listdir(self.data / REPORTS)  # until the next upload from this folder
        self.assertRegex(journal, r"^\.[0-9a-f]{64}\.upload$")
        self.assertEqual(os.listdir(self.data / STATE), [])


class DataFolderTest(ReadOnlyCase):
    def test_a_read_only_data_folder_with_writable_subfolders(self):
        console = self.bound()
        self.assertEqual(console.close(), 0)
        self.forbid(".")
        console = self.bound()
        self.put_archive(console, "rates.zip", {"rates.txt": b"rates"})
        self.assert_ok(console.run("download maps rates.zip"))
        self.assertEqual(archives.content_of(self.data / MAPS), {"rates/rates.txt": b"rates"})
        (self.data / REPORTS / "job.pdf").write_bytes(b"report")
        self.assert_ok(console.run("upload reports job.pdf"))
        self.assertEqual(self.files_at_service("From Console"), ["job.pdf"])

    def test_a_new_read_only_data_folder_is_an_error(self):
        self.forbid(".")
        console = self.console(prefix=BOUND_BY_MODES, data=self.data)
        self.assertEqual(console.close(), 1)
        self.assertIn(str(self.data), console.stderr())
        self.consoles.remove(console)


if __name__ == "__main__":
    unittest.main()

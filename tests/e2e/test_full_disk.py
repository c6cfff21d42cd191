"""Folders without space: the operator gets a record, and no half file stays."""

import random
import stat
import unittest

from kelvoe2e.case import FarmCase
from kelvoe2e.needs import NAMESPACE, can_mount, needs
from kelvotour import archives

LIMIT_BYTES = 200 * 1024
INCOMING, MAPS = "incoming", "from-service/prescriptions"


def in_shell(script, *arguments):
    """A prefix: a shell runs the script and then replaces itself with the console."""
    return ["sh", "-c", f'{script}; exec "$@"', *map(str, arguments)]


class NoSpace:
    """Tests for any kind of missing space. `logged_in_with_little_space(folder)` makes the space small."""

    def inside(self, console, folder):
        """A folder in the console's mount namespace. Each program of the prefix replaces itself with the next one."""
        return console.data.__class__(f"/proc/{console.process.pid}/root") / str(console.data / folder).lstrip("/")

    def test_no_space_for_the_archive(self):
        console = self.logged_in_with_little_space(INCOMING)
        large = archives.write_zip(self.folder / "large.zip", {"large.bin": random.Random(2).randbytes(3 * LIMIT_BYTES)})
        self.put(console, {"large.zip": large.read_bytes()})
        result = console.run("download maps large.zip")
        self.assertFalse(result.ok)
        self.assertEqual([record["file"] for record in result.errors], ["large.zip"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertEqual(list(self.inside(console, INCOMING).iterdir()), [])
        self.assertEqual(archives.content_of(console.data / MAPS), {})

    def test_no_space_for_its_content(self):
        console = self.logged_in_with_little_space(MAPS)
        small = archives.write_zip(self.folder / "small.zip", {"small.txt": b"rates"})
        large = archives.write_zip(self.folder / "large.zip", {"large.bin": b"0123456789abcdef" * (LIMIT_BYTES // 5)})
        self.assertLess(large.stat().st_size, LIMIT_BYTES // 2)
        self.put(console, {"large.zip": large.read_bytes(), "small.zip": small.read_bytes()})
        result = console.run("download maps large.zip small.zip")
        self.assertEqual(result.errors, [{"file": "large.zip", "text": "Failed to unzip file"}])
        self.assertEqual(archives.content_of(self.inside(console, MAPS)), {"small/small.txt": b"rates"})
        self.assertIn("TKelvoThreadObject::ManageKelvoDownloads: ",
                      (console.data / "logs/user.log").read_text(encoding="utf-8"))


class FullDiskTest(NoSpace, FarmCase):
    """A small file system that becomes full."""

    def setUp(self):
        needs(self, can_mount(), "a file system in a private namespace")
        super().setUp()

    def logged_in_with_little_space(self, folder):
        data = self.folder / "console"
        (data / folder).mkdir(parents=True)
        data.chmod(stat.S_IRWXU)
        mount = f'mount -t tmpfs -o size={LIMIT_BYTES} none "$0"'
        return self.logged_in(prefix=[*NAMESPACE, *in_shell(mount, data / folder)])


class LimitedFilesTest(NoSpace, FarmCase):
    """A limit of the file size: writing fails as on a full disk, on every machine."""

    def logged_in_with_little_space(self, folder):
        return self.logged_in(prefix=in_shell(f"trap '' XFSZ; ulimit -f {LIMIT_BYTES // 512}", "sh"))


class MissingFileTest(FarmCase):
    def test_a_missing_file_leaves_a_record(self):
        console = self.logged_in()
        (console.data / "to-service/curves/there.crv").write_bytes(b"curve")
        result = console.run("upload curves missing.crv there.crv")
        self.assertEqual([record["file"] for record in result.errors], ["missing.crv"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertEqual(self.files_at_service("Curves"), ["there.crv"])


if __name__ == "__main__":
    unittest.main()

"""Folders without room or without leave to write: a record for the operator, and nothing half done."""

import random
import stat
import unittest

from kelvoe2e.case import FarmCase
from kelvoe2e.needs import NAMESPACE, can_mount, needs
from kelvotour import archives

LIMIT_BYTES = 200 * 1024
INCOMING, MAPS = "incoming", "from-service/prescriptions"


def in_shell(script, *arguments):
    """A prefix that has a shell do something before it becomes the console."""
    return ["sh", "-c", f'{script}; exec "$@"', *map(str, arguments)]


class NoRoom:
    """What must be true however the room ends. `logged_in_with_little_room(folder)` says how."""

    def inside(self, console, folder):
        """A folder as the console sees it. Every program of its prefix has replaced itself by the next."""
        return console.data.__class__(f"/proc/{console.process.pid}/root") / str(console.data / folder).lstrip("/")

    def test_no_room_for_the_archive(self):
        console = self.logged_in_with_little_room(INCOMING)
        large = archives.write_zip(self.folder / "large.zip", {"large.bin": random.Random(2).randbytes(3 * LIMIT_BYTES)})
        self.put(console, {"large.zip": large.read_bytes()})
        result = console.run("download maps large.zip")
        self.assertFalse(result.ok)
        self.assertEqual([record["file"] for record in result.errors], ["large.zip"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertEqual(list(self.inside(console, INCOMING).iterdir()), [])
        self.assertEqual(archives.content_of(console.data / MAPS), {})

    def test_no_room_for_its_content(self):
        console = self.logged_in_with_little_room(MAPS)
        small = archives.write_zip(self.folder / "small.zip", {"small.txt": b"rates"})
        large = archives.write_zip(self.folder / "large.zip", {"large.bin": b"0123456789abcdef" * (LIMIT_BYTES // 5)})
        self.assertLess(large.stat().st_size, LIMIT_BYTES // 2)
        self.put(console, {"large.zip": large.read_bytes(), "small.zip": small.read_bytes()})
        result = console.run("download maps large.zip small.zip")
        self.assertEqual(result.errors, [{"file": "large.zip", "text": "Failed to unzip file"}])
        self.assertEqual(archives.content_of(self.inside(console, MAPS)), {"small.txt": b"rates"})
        self.assertIn("TKelvoThreadObject::ManageKelvoDownloads: ",
                      (console.data / "logs/user.log").read_text(encoding="utf-8"))


class FullDiskTest(NoRoom, FarmCase):
    """A disk of its own that becomes full."""

    def setUp(self):
        needs(self, can_mount(), "a file system in a namespace of one's own")
        super().setUp()

    def logged_in_with_little_room(self, folder):
        data = self.folder / "console"
        (data / folder).mkdir(parents=True)
        data.chmod(stat.S_IRWXU)
        mount = f'mount -t tmpfs -o size={LIMIT_BYTES} none "$0"'
        return self.logged_in(prefix=[*NAMESPACE, *in_shell(mount, data / folder)])


class LimitedFilesTest(NoRoom, FarmCase):
    """No file can grow beyond a limit: writing fails as on a full disk, and everybody may have it so."""

    def logged_in_with_little_room(self, folder):
        return self.logged_in(prefix=in_shell(f"trap '' XFSZ; ulimit -f {LIMIT_BYTES // 512}", "sh"))


class MissingFileTest(FarmCase):
    def test_a_file_that_is_not_there_leaves_a_record(self):
        console = self.logged_in()
        (console.data / "to-service/curves/there.crv").write_bytes(b"curve")
        result = console.run("upload curves missing.crv there.crv")
        self.assertEqual([record["file"] for record in result.errors], ["missing.crv"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertEqual(self.held("Curves"), ["there.crv"])


if __name__ == "__main__":
    unittest.main()

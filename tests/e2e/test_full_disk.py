"""Folders without room or without leave to write: a record for the operator, and nothing half done."""

import random
import subprocess
import unittest

from kelvoe2e.case import FarmCase
from kelvotour import archives

NAMESPACE = ["unshare", "--map-root-user", "--mount"]
CAN_MOUNT = subprocess.run([*NAMESPACE, "sh", "-c", "mount -t tmpfs none /tmp"], stderr=subprocess.DEVNULL,
                           check=False).returncode == 0


@unittest.skipUnless(CAN_MOUNT, "this user may not mount in a namespace of its own")
class FullDiskTest(FarmCase):
    def logged_in_with(self, mount):
        """A console that sees `mount`, a shell command with $data, and otherwise what we see."""
        data = self.folder / "console"
        for folder in ("incoming", "from-service/prescriptions", "to-service/curves"):
            (data / folder).mkdir(parents=True)
        data.chmod(0o700)
        script = f'data=$0; {mount}; exec "$@"'
        return self.logged_in(prefix=[*NAMESPACE, "sh", "-c", script, str(data)])

    def inside(self, console, path):
        """A path as the console sees it."""
        return console.data.__class__(f"/proc/{self.console_pid(console)}/root") / str(path).lstrip("/")

    @staticmethod
    def console_pid(console):
        return console.process.pid  # every program of the prefix has replaced itself by the next

    def large_zip(self):
        path = self.folder / "large.zip"
        return archives.write_zip(path, {"large.bin": random.Random(2).randbytes(600_000)}).read_bytes()

    def test_no_room_for_the_archive(self):
        console = self.logged_in_with('mount -t tmpfs -o size=200k none "$data/incoming"')
        self.put(console, {"large.zip": self.large_zip()})
        result = console.run("download maps large.zip")
        self.assertFalse(result.ok)
        self.assertEqual([record["file"] for record in result.errors], ["large.zip"])
        self.assert_two_lines(result.errors[0]["text"])
        self.assertFalse((self.inside(console, console.data / "incoming") / "large.zip").exists())
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {})

    def test_no_room_for_its_content(self):
        console = self.logged_in_with('mount -t tmpfs -o size=200k none "$data/from-service/prescriptions"')
        small = archives.write_zip(self.folder / "small.zip", {"small.txt": b"rates"}).read_bytes()
        self.put(console, {"large.zip": self.large_zip(), "small.zip": small})
        result = console.run("download maps large.zip small.zip")
        self.assertEqual(result.errors, [{"file": "large.zip", "text": "Failed to unzip file"}])
        folder = self.inside(console, console.data / "from-service/prescriptions")
        self.assertEqual(archives.content_of(folder), {"small.txt": b"rates"})
        self.assertIn("TKelvoThreadObject::ManageKelvoDownloads: ",
                      (console.data / "logs/user.log").read_text(encoding="utf-8"))

    def test_a_sent_file_that_cannot_be_removed_was_sent_all_the_same(self):
        console = self.logged_in_with('echo curve >"$data/to-service/curves/one.crv"; '
                                      'mount --bind "$data/to-service/curves" "$data/to-service/curves"; '
                                      'mount -o remount,ro,bind "$data/to-service/curves"')
        self.assert_ok(console.run("upload curves one.crv"))
        self.assertEqual(self.held("Curves"), ["one.crv"])
        self.assertTrue((console.data / "to-service/curves/one.crv").is_file())
        self.assertEqual(console.close(), 0)


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

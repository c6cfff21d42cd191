"""The order of an unpacking's syncs: files, new folder in its place, then the end.

The console removes the archive only after the end. The unpacking runs under strace. Its calls must have the order that
survives a power cut at any point. Without strace, or if tracing is forbidden, the test is skipped; on CI it then fails.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

from rawzip import archive_of_files  # noqa: E402
from tracing import RENAME, SYNC, finished_calls, needs_tracing, position  # noqa: E402

GUARD_SECONDS = 60  # ends a program that hangs
CALLS = "fsync,fdatasync,syncfs,openat,write,close,rename,renameat,renameat2,link,linkat,unlink,unlinkat,exit_group"
STAGING = ".console-unpacking"


class UnpackingOrder(unittest.TestCase):
    def setUp(self):
        needs_tracing(self)
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-unpacking-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.destination = self.folder / "maps"
        self.destination.mkdir()

    def calls_of(self, content):
        """The system calls of unpacking an archive with these names and texts."""
        archive, trace = self.folder / "fields.zip", self.folder / "trace"
        archive.write_bytes(archive_of_files({name: text.encode() for name, text in content.items()}))
        subprocess.run(["strace", "-f", "-yy", "-e", f"trace={CALLS}", "-e", "signal=none", "-o", str(trace),
                        os.environ["KELVO_UNPACK_ONCE"], str(archive), str(self.destination)],
                       check=True, timeout=GUARD_SECONDS)
        for name, text in content.items():
            self.assertEqual((self.destination / "fields" / name).read_text(), text)
        return finished_calls(trace)

    def check_moved(self, calls, begin):
        """Checks the order from `begin` on: move, sync of the name, the end."""
        self.assertEqual([call for call in calls[:begin] if call[0] in RENAME], [])
        moved = position(calls, "move", begin, RENAME, f"/{STAGING}>", '"fields"')
        named = position(calls, "sync of the name", moved, SYNC, "/maps>")
        position(calls, "the end", named, ("exit_group",))

    def check_few_files(self):
        calls = self.calls_of({"lines/a": "new", "same": "new"})
        synced = []
        for name in ("lines/a", "same"):
            written = position(calls, f"write to {name}", -1, ("write",), f"/{STAGING}/new/{name}>")
            synced.append(position(calls, f"sync of {name}", written, SYNC, f"/{STAGING}/new/{name}>"))
        for folder in (f"/{STAGING}/new/lines>", f"/{STAGING}/new>"):
            synced.append(position(calls, f"sync of {folder}", max(synced[:2]), SYNC, folder))
        self.check_moved(calls, max(synced))

    def test_files_then_the_name_then_the_end(self):
        self.check_few_files()

    def test_files_then_the_exchange_then_the_end(self):
        (self.destination / "fields").mkdir()
        (self.destination / "fields/former").write_text("former")
        self.check_few_files()
        self.assertFalse((self.destination / "fields/former").exists())

    def test_many_files_are_synced_together_and_no_later(self):
        content = {f"field-{number}/line": "new" for number in range(10)}
        calls = self.calls_of(content)
        written = max(position(calls, f"write to {name}", -1, ("write",), f"/{STAGING}/new/{name}>") for name in content)
        self.check_moved(calls, position(calls, "sync of all files", written, ("syncfs",)))


if __name__ == "__main__":
    unittest.main()

"""The order of an unpacking's syncs: files, journal, moved names, then the end.

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
from tracing import RENAME, SYNC, UNLINK, finished_calls, needs_tracing, position  # noqa: E402

GUARD_SECONDS = 60  # ends a program that hangs
CALLS = "fsync,fdatasync,syncfs,openat,write,close,rename,renameat,renameat2,link,linkat,unlink,unlinkat,exit_group"
STAGING = ".console-unpacking"


class UnpackingOrder(unittest.TestCase):
    def setUp(self):
        needs_tracing(self)
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-unpacking-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.destination = self.folder / "fields"
        self.destination.mkdir()

    def calls_of(self, content):
        """The system calls of unpacking an archive with these names and texts."""
        archive, trace = self.folder / "fields.zip", self.folder / "trace"
        archive.write_bytes(archive_of_files({name: text.encode() for name, text in content.items()}))
        subprocess.run(["strace", "-f", "-yy", "-e", f"trace={CALLS}", "-e", "signal=none", "-o", str(trace),
                        os.environ["KELVO_UNPACK_ONCE"], str(archive), str(self.destination)],
                       check=True, timeout=GUARD_SECONDS)
        for name, text in content.items():
            self.assertEqual((self.destination / name).read_text(), text)
        return finished_calls(trace)

    def check_moved(self, calls, begin, moved, synced_after):
        """Checks the order from `begin` on: journal, replaced files, moves, folders, journal's removal."""
        staging = f"/{STAGING}>"
        journal = position(calls, "sync of the journal", begin, SYNC, f"/{STAGING}/journal>")
        noted = position(calls, "sync of the journal's folder", journal, SYNC, staging)
        aside = position(calls, "link to what is replaced", -1, ("linkat",), f"/{STAGING}/old>")
        self.assertGreater(aside, noted, "a replaced file was linked before the journal was on the disk")
        kept = position(calls, "sync of what is replaced", aside, SYNC, f"/{STAGING}/old>")
        first = position(calls, "move", -1, RENAME, f"/{STAGING}/new")
        self.assertGreater(first, kept, "a file was moved before the replaced files were on the disk")
        last = max(position(calls, f"move of {name}", noted, RENAME, f'"{name}"') for name in moved)
        named = synced_after(last)
        undone = position(calls, "removal of the journal", -1, UNLINK, staging, '"journal"')
        self.assertGreater(undone, named, "the journal was removed before the moved names were on the disk")
        removed = position(calls, "sync of the journal's folder", undone, SYNC, staging)
        position(calls, "the end", removed, ("exit_group",))

    def test_files_then_journal_then_names_then_the_end(self):
        (self.destination / "same").write_text("former")
        calls = self.calls_of({"lines/a": "new", "same": "new"})
        synced = []
        for name in ("lines/a", "same"):
            written = position(calls, f"write to {name}", -1, ("write",), f"/{STAGING}/new/{name}>")
            synced.append(position(calls, f"sync of {name}", written, SYNC, f"/{STAGING}/new/{name}>"))
        for folder in (f"/{STAGING}/new/lines>", f"/{STAGING}/new>", "/fields>"):
            synced.append(position(calls, f"sync of {folder}", max(synced[:2]), SYNC, folder))
        self.check_moved(calls, max(synced), ("lines", "same"),
                         lambda last: position(calls, "sync of the names", last, SYNC, "/fields>"))

    def test_many_files_are_synced_together_and_no_later(self):
        content = {f"field-{number}/line": "new" for number in range(10)}
        for name in content:
            (self.destination / name).parent.mkdir()
            (self.destination / name).write_text("former")
        calls = self.calls_of(content)
        written = max(position(calls, f"write to {name}", -1, ("write",), f"/{STAGING}/new/{name}>") for name in content)
        synced = position(calls, "sync of all files", written, ("syncfs",))
        self.check_moved(calls, synced, content,
                         lambda last: position(calls, "sync of the names", last, ("syncfs",)))


if __name__ == "__main__":
    unittest.main()

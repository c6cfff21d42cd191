"""The order in which the console syncs, sends and removes files, as strace shows it.

The console removes an archive after its content is on the disk. It removes a sent file after the service has answered
its last byte. Without strace, or where tracing is forbidden, the tests are skipped; on CI they then fail.
"""

import os
import random
import re
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from kelvoe2e.case import FarmCase  # noqa: E402
from kelvotour import archives  # noqa: E402
from tracing import RENAME, SYNC, UNLINK, finished_calls, needs_tracing, position  # noqa: E402

SEND, RECEIVE = ("write", "writev", "sendto", "sendmsg"), ("read", "readv", "recvfrom", "recvmsg")
CALLS = ",".join((*SYNC, "syncfs", *RENAME, *UNLINK, *SEND, *RECEIVE))
STAGING = ".console-unpacking"
SOCKET = re.compile(r"^\d+<(TCP[^>]*\S->[^>]*)>.* = (\d+)$")
SIZE = 300_000


class Durability(FarmCase):
    def setUp(self):
        needs_tracing(self)
        super().setUp()
        self.trace = self.folder / "trace"

    def traced(self):
        return self.logged_in(prefix=["strace", "-f", "-yy", "-s", "16", "-e", f"trace={CALLS}", "-e", "signal=none",
                                      "-o", str(self.trace)])

    def calls_of(self, console):
        self.assertEqual(console.close(), 0)
        return finished_calls(self.trace)

    def removal(self, calls, path):
        return position(calls, f"removal of {path.name}", -1, UNLINK, f'"{os.path.realpath(path)}"')

    def test_an_archive_is_removed_after_its_files_and_names_are_synced(self):
        console = self.traced()
        maps = console.data / "from-service/prescriptions"
        (maps / "fields").mkdir()
        (maps / "fields/former.txt").write_bytes(b"former")
        content = {"same.txt": b"new", "lines/a.txt": b"new"}
        archive = archives.write_zip(self.folder / "a", content)
        self.put(console, {"fields.zip": archive.read_bytes()})
        self.assert_ok(console.run("download maps fields.zip"))
        self.assertEqual(archives.content_of(maps), archives.placed("fields.zip", content))
        calls = self.calls_of(console)
        removed = self.removal(calls, console.data / "incoming/fields.zip")
        written = [position(calls, f"sync of {name}", -1, SYNC, f"/{STAGING}/new/{name}>") for name in content]
        moved = position(calls, "exchange of the folders", max(written), RENAME, '"fields"')
        named = position(calls, "sync of the name", moved, SYNC, f"<{os.path.realpath(maps)}>")
        self.assertGreater(removed, named, "the archive was removed before its files were on the disk")

    def test_a_sent_file_is_removed_after_the_services_answer_to_its_last_byte(self):
        console = self.traced()
        file = console.data / "to-service/curves/large.crv"
        file.write_bytes(random.Random(8).randbytes(SIZE))
        self.assert_ok(console.run("upload curves large.crv"))
        self.assertFalse(file.exists())
        calls = self.calls_of(console)
        removed = self.removal(calls, file)
        # For each connection, up to the removal: (bytes sent, index of the last send), and the index of the last receive.
        sent, received = {}, {}
        for index, (call, text) in enumerate(calls[:removed]):
            socket = SOCKET.match(text)
            if socket and int(socket[2]) > 0:
                if call in SEND:
                    sent[socket[1]] = (sent.get(socket[1], (0,))[0] + int(socket[2]), index)
                else:
                    received[socket[1]] = index
        carrying = [socket for socket, (size, _) in sent.items() if size > SIZE]
        self.assertEqual(len(carrying), 1, f"the file was removed before it was sent: {sent}")
        self.assertGreater(received.get(carrying[0], -1), sent[carrying[0]][1],
                           "the file was removed before the service answered")


if __name__ == "__main__":
    unittest.main()

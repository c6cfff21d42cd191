"""What an acknowledgement waits for, as the kernel sees it: data on disk, name on disk, commit on disk, then the reply.

The service runs under strace; the last system calls before the reply are held against the order that a power failure
at any point must find. Without strace, or where tracing is forbidden, the test is skipped; on CI it then fails.
"""

import json
import os
import re
import signal
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from tracing import BEGUN_CALL, tracing_works

from kelvowire.farm import log_in, make_inbox, settle
from kelvowire.http import sha256_hex
from kelvowire.needs import needs
from kelvowire.service import GUARD_SECONDS, Service

CALLS = "fsync,fdatasync,sync_file_range,rename,renameat,renameat2,link,linkat,unlink,unlinkat,write,sendto,sendmsg"
RESUMED = re.compile(r"^(?P<thread>\d+) +<\.\.\. (?P<call>\w+) resumed>(?P<rest>.*)$")
UNFINISHED = " <unfinished ...>"


class TracedService(Service):
    """The service under strace. Signals go to the service itself, whose process id it announces."""

    def trace_path(self):
        return os.path.join(self.root, "trace")

    def wrap(self, arguments):
        return ["strace", "-f", "-yy", "-s", "96", "-e", "trace=" + CALLS, "-e", "signal=none", "-o", self.trace_path(),
                *arguments]

    def signal(self, number=signal.SIGTERM):
        if self.running():
            os.kill(json.loads(self.text("endpoints.json"))["pid"], number)

    def calls(self):
        """(call, arguments) in the order in which they ended; failed ones left out."""
        begun, done = {}, []
        with open(self.trace_path(), encoding="utf-8", errors="replace") as trace:
            for line in trace:
                line = line.rstrip("\n")
                if resumed := RESUMED.match(line):
                    text = begun.pop(resumed["thread"], "") + resumed["rest"]
                    call = resumed["call"]
                elif whole := BEGUN_CALL.match(line):
                    call, text = whole["call"], whole["rest"]
                    if text.endswith(UNFINISHED):
                        begun[whole["thread"]] = text[:-len(UNFINISHED)]
                        continue
                else:
                    continue
                if not re.search(r"= -1 E", text):
                    done.append((call, text))
        return done


def position(calls, description, after, names, *needles):
    """The first call after the given place with one of these names and all the needles in its arguments."""
    for index in range(after + 1, len(calls)):
        call, text = calls[index]
        if call in names and all(needle in text for needle in needles):
            return index
    tail = "\n".join(f"{call}({text}" for call, text in calls[max(0, after):after + 40])
    raise AssertionError(f"no {description} after call {after}:\n{tail}")


SYNC = ("fsync", "fdatasync")
RENAME = ("rename", "renameat", "renameat2")
UNLINK = ("unlink", "unlinkat")
SEND = ("write", "sendto", "sendmsg")


class DurabilityOrder(unittest.TestCase):
    def setUp(self):
        needs(self, tracing_works(), "strace, and leave to trace")
        self.service = TracedService()
        self.addCleanup(self.service.remove)
        self.service.start()
        settle(self.service).close()
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)

    def check_acknowledged(self, calls, begin, digest):
        """Calls from `begin` on acknowledge an upload of this digest; the place of the reply."""
        data = position(calls, "sync of the data", begin, SYNC, "/uploads/")
        name = position(calls, "rename into place", data, RENAME, "/uploads/", digest)
        folder = position(calls, "sync of the content's folder", name, SYNC, f"/content/{digest[:2]}>")
        return self.check_committed(calls, folder)

    def check_committed(self, calls, begin):
        journal = position(calls, "sync of the journal", begin, SYNC, "kelvo.sqlite-journal")
        database = position(calls, "sync of the database", journal, SYNC, "kelvo.sqlite>")
        commit = position(calls, "removal of the journal", database, UNLINK, "kelvo.sqlite-journal")
        kept = position(calls, "sync of the journal's folder", commit, SYNC, "/data>")
        return position(calls, "reply", kept, SEND, "TCP", "\\27\\3\\3")

    def replies_between(self, calls, begin, end):
        return [index for index in range(begin + 1, end)
                if calls[index][0] in SEND and "TCP" in calls[index][1] and "\\27\\3\\3" in calls[index][1]]

    def test_data_then_name_then_commit_then_reply(self):
        before = len(self.service.calls())
        content = b"kept for good" * 1000
        self.olga.put("kept.zip", [self.inbox], content)
        self.service.stop()
        calls = self.service.calls()
        digest = sha256_hex(content)
        name = position(calls, "rename into place", before, RENAME, digest)
        data = max(index for index in range(name) if calls[index][0] in SYNC and "/uploads/" in calls[index][1])
        reply = self.check_acknowledged(calls, data - 1, digest)
        self.assertEqual(self.replies_between(calls, before, reply), [], "something was said before it was true")

    def test_a_content_that_was_there_is_synced_before_it_is_relied_on(self):
        content = b"twice the same" * 1000
        self.olga.put("first.zip", [self.inbox], content)
        before = len(self.service.calls())
        self.olga.put("second.zip", [self.inbox], content)
        self.service.stop()
        calls = self.service.calls()
        data = position(calls, "sync of the data", before - 1, SYNC, "/uploads/")
        folder = position(calls, "sync of the content's folder", data, SYNC, f"/content/{sha256_hex(content)[:2]}>")
        reply = self.check_committed(calls, folder)
        self.assertEqual(self.replies_between(calls, before, reply), [])

    def test_a_part_is_on_the_disk_before_its_offset_is_told(self):
        location = self.olga.create("parts.zip", [self.inbox], 20).headers["Location"]
        before = len(self.service.calls())
        self.olga.patch(location, 0, b"0123456789")
        self.service.stop()
        calls = self.service.calls()
        data = position(calls, "sync of the part", before - 1, SYNC, "/uploads/" + location.rsplit("/", 1)[1])
        reply = position(calls, "reply", data, SEND, "TCP", "\\27\\3\\3")
        self.assertEqual(self.replies_between(calls, before, reply), [])

    def test_a_removal_is_committed_before_it_is_told(self):
        file = self.olga.put("gone.zip", [self.inbox], b"gone")[0]["id"]
        before = len(self.service.calls())
        self.olga.delete(f"/resources/{file}")
        self.service.stop()
        calls = self.service.calls()
        reply = self.check_committed(calls, before - 1)
        self.assertEqual(self.replies_between(calls, before, reply), [])


if __name__ == "__main__":
    unittest.main()

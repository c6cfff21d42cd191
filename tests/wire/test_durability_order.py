"""The order of system calls before an acknowledgement: data synced, name synced, commit synced, then the answer.

The service runs under strace. The last system calls before the answer are compared with the order that protects
against a power failure at any point. Without strace, or where tracing is forbidden, the test is skipped; on CI it
fails instead.
"""

import base64
import hashlib
import json
import os
import signal
import unittest

from kelvowire.farm import log_in, make_inbox, add_farms_and_users
from kelvowire.http import metadata, sha256_hex
from kelvowire.service import GUARD_SECONDS, Service
from tracing import RENAME, SYNC, UNLINK, finished_calls, needs_tracing, position

CALLS = "fsync,fdatasync,sync_file_range,rename,renameat,renameat2,link,linkat,unlink,unlinkat,write,pwrite64,sendto,sendmsg"
SEND = ("write", "sendto", "sendmsg")


class TracedService(Service):
    """The service under strace. Signals go to the service itself, whose process id is in endpoints.json."""

    def trace_path(self):
        return os.path.join(self.root, "trace")

    def wrap(self, arguments):
        # A sanitizer cannot check for leaks in a traced process. The last setting counts.
        sanitizer = ":".join(filter(None, (os.environ.get("ASAN_OPTIONS"), "detect_leaks=0")))
        return ["strace", "-f", "-yy", "-s", "96", "-e", "trace=" + CALLS, "-e", "signal=none", "-o", self.trace_path(),
                "-E", "ASAN_OPTIONS=" + sanitizer, *arguments]

    def signal(self, number=signal.SIGTERM):
        if self.running():
            os.kill(json.loads(self.text("endpoints.json"))["pid"], number)

    def calls(self):
        return finished_calls(self.trace_path())


class DurabilityOrder(unittest.TestCase):
    def setUp(self):
        needs_tracing(self)
        self.service = TracedService()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)

    def check_acknowledged(self, calls, begin, digest):
        """Checks that the calls after `begin` acknowledge an upload of this digest; returns the index of the answer."""
        data = position(calls, "sync of the data", begin, SYNC, "/uploads/")
        name = position(calls, "rename into place", data, RENAME, "/uploads/", digest)
        folder = position(calls, "sync of the content's folder", name, SYNC, f"/content/{digest[:2]}>")
        return self.check_committed(calls, folder)

    def check_committed(self, calls, begin):
        written = position(calls, "write to the database's log", begin, ("pwrite64",), "kelvo.sqlite-wal")
        synced = position(calls, "sync of the log", written, SYNC, "kelvo.sqlite-wal")
        answer = position(calls, "answer", synced, SEND, "TCP", "\\27\\3\\3")
        last = max(index for index in range(answer) if calls[index][0] == "pwrite64" and "kelvo.sqlite-wal" in calls[index][1])
        self.assertLess(last, synced, "the log was written to after its sync")
        return answer

    def answers_between(self, calls, begin, end):
        return [index for index in range(begin + 1, end)
                if calls[index][0] in SEND and "TCP" in calls[index][1] and "\\27\\3\\3" in calls[index][1]]

    def test_data_then_name_then_commit_then_answer(self):
        before = len(self.service.calls())
        content = b"kept for good" * 1000
        self.olga.put("kept.zip", [self.inbox], content)
        self.service.stop()
        calls = self.service.calls()
        digest = sha256_hex(content)
        name = position(calls, "rename into place", before, RENAME, digest)
        data = max(index for index in range(name) if calls[index][0] in SYNC and "/uploads/" in calls[index][1])
        answer = self.check_acknowledged(calls, data - 1, digest)
        self.assertEqual(self.answers_between(calls, before, answer), [], "an answer was sent before the commit")

    def test_a_small_upload_syncs_the_database_once(self):
        before = len(self.service.calls())
        self.olga.put("small.zip", [self.inbox], b"small")
        after = len(self.service.calls())
        self.service.stop()
        synced = [text for call, text in self.service.calls()[before:after] if call in SYNC and "kelvo.sqlite" in text]
        self.assertEqual(len(synced), 1, synced)

    def test_a_creation_is_committed_before_its_location_is_sent(self):
        whole, part = b"small", b"smal"
        for body, headers in ((None, {}), (part, {}), (whole, {"Upload-Concat": "partial"})):
            with self.subTest(body=body, headers=headers):
                before = len(self.service.calls())
                self.assertIn("Location", self.olga.create("later.zip", [self.inbox], len(whole), body, headers=headers).headers)
                answer = self.check_committed(self.service.calls(), before - 1)
                self.assertEqual(self.answers_between(self.service.calls(), before, answer), [])

    def test_an_existing_content_is_synced_before_the_commit(self):
        content = b"twice the same" * 1000
        self.olga.put("first.zip", [self.inbox], content)
        before = len(self.service.calls())
        self.olga.put("second.zip", [self.inbox], content)
        self.service.stop()
        calls = self.service.calls()
        data = position(calls, "sync of the data", before - 1, SYNC, "/uploads/")
        folder = position(calls, "sync of the content's folder", data, SYNC, f"/content/{sha256_hex(content)[:2]}>")
        answer = self.check_committed(calls, folder)
        self.assertEqual(self.answers_between(calls, before, answer), [])

    def test_a_part_is_synced_before_its_offset_is_sent(self):
        location = self.olga.create("parts.zip", [self.inbox], 20).headers["Location"]
        before = len(self.service.calls())
        self.olga.patch(location, 0, b"0123456789")
        self.service.stop()
        calls = self.service.calls()
        data = position(calls, "sync of the part", before - 1, SYNC, "/uploads/" + location.rsplit("/", 1)[1])
        answer = position(calls, "answer", data, SEND, "TCP", "\\27\\3\\3")
        self.assertEqual(self.answers_between(calls, before, answer), [])

    def test_a_part_with_a_checksum_is_synced_before_its_offset_is_sent(self):
        location = self.olga.create("checked.zip", [self.inbox], 20).headers["Location"]
        before = len(self.service.calls())
        digest = base64.b64encode(hashlib.sha256(b"0123456789").digest()).decode()
        self.olga.tus("PATCH", location, 204, body=b"0123456789",
                      headers={"Upload-Offset": "0", "Upload-Checksum": "sha256 " + digest})
        self.service.stop()
        calls = self.service.calls()
        upload = "/uploads/" + location.rsplit("/", 1)[1]
        written = position(calls, "write of the checked bytes", before - 1, ("write",), upload)
        data = position(calls, "sync of the part", written, SYNC, upload)
        answer = position(calls, "answer", data, SEND, "TCP", "\\27\\3\\3")
        self.assertEqual(self.answers_between(calls, before, answer), [])

    def test_a_file_made_of_parts_is_stored_before_the_answer(self):
        pieces = (b"kept" * 1000, b"for good" * 1000)
        parts = [self.olga.tus("POST", "/uploads", 201, body=piece,
                               headers={"Upload-Concat": "partial", "Upload-Length": str(len(piece))}).headers["Location"]
                 for piece in pieces]
        before = len(self.service.calls())
        self.olga.tus("POST", "/uploads", 201, headers={"Upload-Concat": "final;" + " ".join(parts),
                                                        "Upload-Metadata": metadata("joined.zip", [self.inbox])})
        self.service.stop()
        calls = self.service.calls()
        digest = sha256_hex(b"".join(pieces))
        name = position(calls, "rename into place", before, RENAME, digest)
        data = max(index for index in range(name) if calls[index][0] in SYNC and "/uploads/" in calls[index][1])
        answer = self.check_acknowledged(calls, data - 1, digest)
        self.assertEqual(self.answers_between(calls, before, answer), [])
        removed = [index for index in range(before, len(calls)) if calls[index][0] in UNLINK and any(
            part.rsplit("/", 1)[1] in calls[index][1] for part in parts)]
        self.assertEqual(len(removed), 2)
        self.assertGreater(min(removed), name, "a part was removed before the file was in its place")

    def test_a_removal_is_committed_before_the_answer(self):
        file = self.olga.put("gone.zip", [self.inbox], b"gone")[0]["id"]
        before = len(self.service.calls())
        self.olga.delete(f"/resources/{file}")
        self.service.stop()
        calls = self.service.calls()
        answer = self.check_committed(calls, before - 1)
        self.assertEqual(self.answers_between(calls, before, answer), [])


if __name__ == "__main__":
    unittest.main()

"""A full disk: every change is refused with 507, reads still work, and changes work again when there is room.

The data folder is a small file system in memory, in a mount namespace of the service. Where namespaces or mounts are
forbidden the tests are skipped; on CI they fail instead.
"""

import errno
import os
import shutil
import subprocess
import unittest

from kelvowire.farm import PASSWORD, log_in, make_inbox, add_farms_and_users
from kelvowire.http import Client, digest_header, metrics
from kelvowire.service import GUARD_SECONDS, Service
from needs import needs

SIZE = 24 * 1024 * 1024
NAMESPACE = ["unshare", "--user", "--map-root-user", "--mount", "--"]
CONTENT = bytes(range(256)) * 4000  # A megabyte


def mounts_work():
    if not shutil.which("unshare"):
        return False
    trial = subprocess.run([*NAMESPACE, "sh", "-c", "mount -t tmpfs -o size=64k tmpfs /mnt"],
                           capture_output=True, timeout=GUARD_SECONDS, check=False)
    return trial.returncode == 0


class SmallDisk(Service):
    """The service on its own file system, which no other process sees and which ends with the service."""

    def wrap(self, arguments):
        os.makedirs(self.folder)
        script = f'mount -t tmpfs -o size={SIZE} tmpfs "$0" && exec "$@"'
        return [*NAMESPACE, "sh", "-c", script, self.folder, *arguments]

    def path(self, *parts):
        return os.path.join(f"/proc/{self.process.pid}/root{self.folder}", *parts)

    def room(self):
        status = os.statvfs(self.path())
        return status.f_bavail * status.f_bsize

    def fill(self, leave=0):
        """Fills the file system except for `leave` bytes."""
        with open(self.path("ballast"), "ab", buffering=0) as ballast:
            while self.room() > leave:
                try:
                    ballast.write(b"\0" * min(65536, self.room() - leave))
                except OSError as full:
                    if full.errno != errno.ENOSPC:
                        raise
                    break

    def clear(self):
        os.remove(self.path("ballast"))


class FullDisk(unittest.TestCase):
    def setUp(self):
        needs(self, mounts_work(), "unshare, and permission to mount in a namespace")
        self.service = SmallDisk()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)
        self.pid = self.service.process.pid

    def full(self, reply):
        self.assertEqual((reply.status, reply.problem), (507, "insufficient-storage"), reply)

    def end(self):
        self.assertEqual(self.service.process.pid, self.pid)
        self.service.stop()
        self.service.check_log()

    def test_refuses_an_upload_in_one_request(self):
        self.service.fill(leave=500_000)
        self.full(self.olga.create("big.zip", [self.inbox], len(CONTENT), CONTENT, key="big", expect=507))
        self.assertEqual(self.olga.get(f"/resources/{self.inbox}").json()["entries"], [])
        self.service.clear()
        again = self.olga.create("big.zip", [self.inbox], len(CONTENT), key="big")
        offset = int(again.headers["Upload-Offset"])
        self.assertGreater(offset, 0)
        done = self.olga.patch(again.headers["Location"], offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.olga.get(f"/resources/{done.headers['Kelvo-File-Ids']}/content").body, CONTENT)
        self.end()

    def test_refuses_a_part_of_an_upload(self):
        location = self.olga.create("parts.zip", [self.inbox], len(CONTENT), CONTENT[:1000]).headers["Location"]
        self.service.fill(leave=100_000)
        self.full(self.olga.patch(location, 1000, CONTENT[1000:], expect=507))
        offset = self.olga.offset(location)
        self.assertGreaterEqual(offset, 1000)
        self.full(self.olga.patch(location, offset, CONTENT[offset:], expect=507))
        self.service.clear()
        offset = self.olga.offset(location)
        done = self.olga.patch(location, offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.end()

    def test_refuses_changes_of_the_database(self):
        kept = self.olga.put("kept.zip", [self.inbox], CONTENT)[0]
        before = self.olga.snapshot()
        other = Client(self.service)
        self.addCleanup(other.close)
        credentials = {"user": "piet", "password": PASSWORD}
        report = {"timestamp_ms": 1, "state": 1, "flag": True, "device": {"hardware_address": "aa:bb"}}
        self.service.fill()
        for _ in range(2):
            self.full(other.post("/sessions", 507, json=credentials))
            self.full(self.olga.delete(f"/resources/{kept['id']}", 507))
            self.full(self.olga.post("/projects/Curves/user-inbox", 507))
            self.full(self.olga.request("PUT", "/devices", 507, json=report))
            self.full(self.olga.create("new.zip", [self.inbox], 3, b"new", key="new", expect=507))
        self.assertEqual(self.olga.snapshot(), before)
        self.assertEqual(self.olga.get(f"/resources/{kept['id']}/content").body, CONTENT)
        self.assertEqual(metrics(self.service, "/healthz")[0], 200)
        self.service.clear()
        other.post("/sessions", 201, json=credentials)
        self.olga.post("/projects/Curves/user-inbox", 201)
        self.olga.create("new.zip", [self.inbox], 3, b"new", key="new")
        self.olga.delete(f"/resources/{kept['id']}")
        self.assertEqual([entry["name"] for entry in self.olga.get(f"/resources/{self.inbox}").json()["entries"]], ["new.zip"])
        self.end()

    def test_refuses_the_commit_of_a_received_content(self):
        length = len(CONTENT)
        location = self.olga.create("last.zip", [self.inbox], length, CONTENT[:-1]).headers["Location"]
        self.service.fill()
        self.full(self.olga.patch(location, length - 1, CONTENT[-1:], expect=507))
        self.assertEqual(self.olga.get(f"/resources/{self.inbox}").json()["entries"], [])
        self.service.clear()
        offset = self.olga.offset(location)
        self.assertGreaterEqual(offset, length - 1)
        done = self.olga.patch(location, offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.end()


if __name__ == "__main__":
    unittest.main()

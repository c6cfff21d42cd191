"""A full disk: uploads are refused with 507, the reserve keeps the accounts and the deletions working, reads work, and
uploads work again when there is room. Without a reserve every change is refused.

The data folder is a small file system in memory, in a mount namespace of the service. Where namespaces or mounts are
forbidden the tests are skipped; on CI they fail instead.
"""

import contextlib
import errno
import http.client
import json
import os
import shutil
import signal
import sqlite3
import subprocess
import time
import unittest

from kelvowire.farm import PASSWORD, add_farms_and_users, log_in, log_in_admin, make_inbox
from kelvowire.http import Client, begin_request, begin_upload, digest_header, metadata, metrics
from kelvowire.service import GUARD_SECONDS, READY, Service
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

    SCRIPT = f'mount -t tmpfs -o size={SIZE} tmpfs "$0" && exec "$@"'

    def wrap(self, arguments):
        os.makedirs(self.folder)
        return [*NAMESPACE, "sh", "-c", self.SCRIPT, self.folder, *arguments]

    def path(self, *parts):
        return os.path.join(f"/proc/{self.process.pid}/root{self.folder}", *parts)

    def disk(self, *parts):
        """A path on the small file system."""
        return self.path(*parts)

    def room(self):
        status = os.statvfs(self.disk())
        return status.f_bavail * status.f_bsize

    def fill(self, leave=0):
        """Fills the file system except for `leave` bytes."""
        with open(self.disk("ballast"), "ab", buffering=0) as ballast:
            while self.room() > leave:
                try:
                    ballast.write(b"\0" * min(65536, self.room() - leave))
                except OSError as full:
                    if full.errno != errno.ENOSPC:
                        raise
                    break

    def make_room(self, size):
        ballast = self.disk("ballast")
        os.truncate(ballast, os.stat(ballast).st_size - size)

    def clear(self):
        os.remove(self.disk("ballast"))


class SeparateDisk(SmallDisk):
    """Only the files are on the small file system."""

    def __init__(self, *options):
        super().__init__(*options)
        self.files = os.path.join(self.root, "files")
        self.options += ("--contents", f"file:{self.files}")

    def wrap(self, arguments):
        os.makedirs(self.files)
        return [*NAMESPACE, "sh", "-c", self.SCRIPT, self.files, *arguments]

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def disk(self, *parts):
        return os.path.join(f"/proc/{self.process.pid}/root{self.files}", *parts)


class RestartedDisk(SmallDisk):
    """The service starts again on the same file system when its first process ends."""

    SCRIPT = f'mount -t tmpfs -o size={SIZE} tmpfs "$0" && "$@"; exec "$@"'

    def end_first(self):
        """Ends the first process and waits for the second one. Returns its line with the addresses."""
        with open(self.path("endpoints.json"), encoding="utf-8") as file:
            os.kill(json.load(file)["pid"], signal.SIGTERM)
        return self.process.stdout.readline()


class DiskTest(unittest.TestCase):
    SERVICE = SmallDisk
    RESERVE = 0

    def setUp(self):
        needs(self, mounts_work(), "unshare, and permission to mount in a namespace")
        self.service = self.SERVICE("--disk-reserve", str(self.RESERVE))
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)
        self.pid = self.service.process.pid

    def full(self, answer):
        self.assertEqual((answer.status, answer.problem), (507, "insufficient-storage"), answer)

    def end(self):
        self.assertEqual(self.service.process.pid, self.pid)
        self.service.stop()
        self.service.check_log()


class FullDisk(DiskTest):
    def await_bytes(self):
        """Waits until the service has stored bytes of an upload."""
        guard = time.monotonic() + GUARD_SECONDS
        uploads = self.service.path("uploads")
        while not any(os.stat(os.path.join(uploads, name)).st_size for name in os.listdir(uploads)):
            self.assertLess(time.monotonic(), guard, "no bytes of the upload")

    def test_refuses_an_upload_before_its_body(self):
        self.service.fill(leave=500_000)
        headers = {"Upload-Length": str(len(CONTENT)), "Upload-Metadata": metadata("big.zip", [self.inbox]),
                   "Expect": "100-continue"}
        with begin_upload(self.service, self.olga.token, "POST", "/uploads", len(CONTENT), headers, b"") as connection:
            answer = http.client.HTTPResponse(connection)
            answer.begin()
            self.assertEqual((answer.status, b"insufficient-storage" in answer.read()), (507, True))
        self.full(self.olga.create("big.zip", [self.inbox], len(CONTENT), expect=507))
        self.service.clear()
        self.olga.create("big.zip", [self.inbox], len(CONTENT), CONTENT)
        self.end()

    def test_keeps_the_received_bytes_of_an_upload(self):
        headers = {"Upload-Length": str(len(CONTENT)), "Upload-Metadata": metadata("big.zip", [self.inbox]),
                   "Idempotency-Key": "big"}
        half = len(CONTENT) // 2
        with begin_upload(self.service, self.olga.token, "POST", "/uploads", len(CONTENT), headers,
                          CONTENT[:half]) as connection:
            self.await_bytes()
            self.service.fill(leave=200_000)
            connection.sendall(CONTENT[half:])
            answer = http.client.HTTPResponse(connection)
            answer.begin()
            self.assertEqual((answer.status, b"insufficient-storage" in answer.read()), (507, True))
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
        self.assertEqual(metrics(self.service, "/readyz")[0], 503)
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
        done = self.olga.tus("HEAD", location, 200)
        offset = int(done.headers["Upload-Offset"])
        self.assertGreaterEqual(offset, length - 1)
        if offset < length:
            done = self.olga.patch(location, offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.end()


class FullDiskOfFiles(DiskTest):
    SERVICE = SeparateDisk
    RESERVE = 8 * 1024 * 1024

    def await_full(self, folder):
        """The free room is read at an interval, and on SIGHUP."""
        self.service.signal(signal.SIGHUP)
        for _ in range(10000):
            text = metrics(self.service)[1]
            if f'\nkelvo_disk_free_bytes{{folder="{folder}"}} 0\n' in text:
                return
        self.fail(text)

    def test_does_not_use_the_reserve_of_the_database(self):
        with contextlib.closing(sqlite3.connect(self.service.path("kelvo.sqlite"), timeout=GUARD_SECONDS)) as database, database:
            database.executemany("INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms)"
                                 " VALUES (1, ?, ?, 'a.zip', 1, ?, 0)",
                                 ((10_000 + number, self.inbox, f"{number:064x}") for number in range(2000)))
        self.service.fill()
        self.full(self.olga.create("a.zip", [self.inbox], 100_000, expect=507))
        self.olga.get("/account", headers={"Accept-Encoding": "identity"})
        self.assertIn(f'\nkelvo_disk_bytes{{folder="contents"}} {SIZE}\n', metrics(self.service)[1])
        self.await_full("contents")
        self.assertNotIn('\nkelvo_disk_free_bytes{folder="data"} 0\n', metrics(self.service)[1])
        self.assertIn("\nkelvo_disk_reserve_used_bytes 0\n", metrics(self.service)[1])
        log_in(self.service, "piet").close()
        self.service.clear()
        self.olga.get("/account")
        self.olga.put("a.zip", [self.inbox], CONTENT)
        self.end()


class Reserve(DiskTest):
    """One operator fills the disk. The reserve serves the accounts and the deletions."""

    RESERVE = 8 * 1024 * 1024

    def test_serves_accounts_and_deletions_on_a_full_disk(self):
        kept = self.olga.put("kept.zip", [self.inbox], CONTENT)[0]
        self.service.fill()
        admin = log_in_admin(self.service)
        self.addCleanup(admin.close)
        for number in range(300):
            piet = log_in(self.service, "piet")
            piet.delete("/sessions/current")
            piet.close()
            admin.post("/users", json={"farm": "Hill Farm", "name": f"user {number}", "password": PASSWORD,
                                       "role": "operator"})
            self.full(self.olga.create(f"{number}.zip", [self.inbox], 1, b"x", expect=507))
        someone = next(user["id"] for user in admin.get("/users").json()["users"] if user["name"] == "user 7")
        admin.request("PATCH", f"/users/{someone}", 200, json={"disabled": True})
        self.olga.delete(f"/resources/{kept['id']}")
        self.assertEqual(self.olga.get(f"/resources/{self.inbox}").json()["entries"], [])
        status, reason = metrics(self.service, "/readyz")
        self.assertEqual((status, reason.split(":")[0]), (503, "disk reserve"))
        self.service.clear()
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))
        self.olga.put("new.zip", [self.inbox], CONTENT)
        self.assertEqual(os.stat(self.service.path("reserve")).st_blocks * 512, self.RESERVE)
        self.end()

    def test_one_farm_cannot_use_up_the_reserve_by_small_changes(self):
        file = self.olga.put("kept.zip", [self.inbox], CONTENT)[0]["id"]
        otto = log_in(self.service, "otto")
        self.addCleanup(otto.close)
        self.service.fill()
        for number in range(10000):
            answer = self.olga.request("PATCH", f"/resources/{file}", (200, 507), json={"name": f"{number}".zfill(200)})
            if answer.status == 507:
                break
        self.full(answer)
        self.assertGreater(number, 100)
        # The write-ahead log takes 4 MiB of the reserve.
        self.assertGreater(os.stat(self.service.path("reserve")).st_blocks * 512, self.RESERVE // 4)
        otto.delete("/sessions/current")
        log_in(self.service, "otto").close()
        admin = log_in_admin(self.service)
        self.addCleanup(admin.close)
        admin.post("/users", json={"farm": "Hill Farm", "name": "nils", "password": PASSWORD, "role": "operator"})
        self.olga.get(f"/resources/{file}/content")
        self.service.clear()
        self.olga.put("new.zip", [self.inbox], b"new")
        self.olga.delete(f"/resources/{file}")
        self.end()

    @staticmethod
    def report(number):
        """A report of 12 kB."""
        texts = dict.fromkeys(("console_string", "text4", "kind", "text6"), "\U0001f69c" * 255)
        return {"timestamp_ms": 1, "controller": texts,
                "console": {"host_string": "\U0001f69c" * 1000, "hardware_address": f"{number}", **texts}}

    def report_until_refused(self):
        """Returns how many reports the service took."""
        sent = 0
        while (answer := self.olga.request("PUT", "/environment", (204, 507), json=self.report(sent % 200))).status == 204:
            sent += 1
        self.full(answer)
        return sent

    def test_keeps_the_half_of_the_reserve_from_reports(self):
        self.service.fill()
        self.assertGreater(self.report_until_refused(), 0)
        log_in(self.service, "piet").close()
        self.end()

    def test_takes_reports_again_when_the_disk_has_room_for_half_of_the_reserve(self):
        self.service.fill()
        self.report_until_refused()
        self.service.make_room(10 * 1024 * 1024)  # Too little for the whole reserve: 8 MiB stay free.
        self.olga.request("PUT", "/environment", 204, json=self.report(0))
        self.assertLess(os.stat(self.service.path("reserve")).st_blocks * 512, self.RESERVE)
        self.end()

    def test_large_answers_leave_the_reserve_to_the_reports(self):
        for user, consoles in (("olga", range(250)), ("piet", range(250, 350))):
            with contextlib.closing(log_in(self.service, user)) as client:
                for number in consoles:
                    client.request("PUT", "/environment", 204, json=self.report(number))
        anna, otto = log_in(self.service, "anna"), log_in(self.service, "otto")
        self.addCleanup(anna.close)
        self.addCleanup(otto.close)
        self.service.fill()
        with contextlib.ExitStack() as readers:
            for consoles, statuses in ((150, (200,)), (250, (200, 503))):  # Slow readers of 2 and 3.3 MB.
                reader = begin_request(self.service, anna.token, "GET", f"/consoles?limit={consoles}", 0, {})
                answer = http.client.HTTPResponse(readers.enter_context(reader))
                answer.begin()
                self.assertIn(answer.status, statuses)
            self.full(anna.get("/consoles?limit=350", 507))  # 4.6 MB.
            for client in (self.olga, otto):
                client.request("PUT", "/environment", 204, json=self.report(1))
        self.assertGreater(os.stat(self.service.path("reserve")).st_blocks * 512, self.RESERVE // 2)
        self.service.clear()
        self.olga.put("new.zip", [self.inbox], b"new")
        self.assertEqual(len(anna.get("/consoles?limit=350").json()["consoles"]), 350)
        self.end()


class RestartOnAFullDisk(DiskTest):
    SERVICE = RestartedDisk
    RESERVE = 8 * 1024 * 1024

    def test_starts_and_serves_accounts(self):
        self.service.fill()
        match = READY.match(self.service.end_first())
        self.assertTrue(match, self.service.log())
        self.service.port, self.service.metrics_port = int(match[2]), int(match[4])
        self.olga.close()
        log_in(self.service, "piet").close()
        self.full(self.olga.create("new.zip", [self.inbox], 1, b"x", expect=507))
        self.service.clear()
        self.olga.put("new.zip", [self.inbox], CONTENT)
        self.end()


if __name__ == "__main__":
    unittest.main()

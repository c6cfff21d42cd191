"""The service with its contents in an object store: the bucket that the variable KELVO_TEST_BUCKET names."""

import contextlib
import hashlib
import os
import random
import shutil
import subprocess
import unittest

from kelvowire.farm import WireTest, add_farms_and_users, log_in, make_inbox
from kelvowire.http import Client, begin_upload, cut, metadata, metrics
from kelvowire.service import BINARY, GUARD_SECONDS, Service, run_refused

BUCKET = os.environ["KELVO_TEST_BUCKET"]
CHUNK = 8 * 1024 * 1024
CONTENT = random.Random(15).randbytes(CHUNK + 300_000)


def run(*arguments):
    """(exit code, stdout, stderr)"""
    result = subprocess.run([BINARY, *arguments], capture_output=True, text=True, timeout=GUARD_SECONDS, check=False)
    return result.returncode, result.stdout, result.stderr


def on_bucket():
    service = Service("--contents", BUCKET)
    service.secrets.add(os.environ["AWS_SECRET_ACCESS_KEY"])
    return service


class Transfers(WireTest):
    SERVICE = staticmethod(on_bucket)

    def setUp(self):
        self.olga, self.anna = self.user("olga"), self.user("anna")
        self.inbox = make_inbox(self.olga)

    def content(self, file, expect=200, **headers):
        return self.olga.get(f"/resources/{file['id']}/content", expect, headers=headers).body

    def test_a_file_of_two_chunks_is_read_in_whole_and_in_ranges(self):
        file = self.olga.put("two.zip", [self.inbox], CONTENT)[0]
        self.assertEqual(self.content(file), CONTENT)
        for begin, end in ((0, 9), (CHUNK - 5, CHUNK + 5), (CHUNK, CHUNK + 299_999), (len(CONTENT) - 1, len(CONTENT) - 1)):
            with self.subTest(begin=begin, end=end):
                self.assertEqual(self.content(file, 206, Range=f"bytes={begin}-{end}"), CONTENT[begin:end + 1])
        for folder in ("content", "uploads"):
            self.assertFalse(os.path.exists(self.service.path(folder)))

    def test_a_cut_upload_resumes_behind_all_received_bytes(self):
        location = self.olga.create("cut.zip", [self.inbox], 100_000).headers["Location"]
        cut(begin_upload(self.service, self.olga.token, "PATCH", location, 100_000, {"Upload-Offset": "0"}, CONTENT[:60_000]))
        self.assertEqual(self.olga.offset(location), 60_000)
        self.olga.patch(location, 60_000, CONTENT[60_000:100_000])
        file = self.entries(self.olga, self.inbox)[-1]
        self.assertEqual(self.content(file), CONTENT[:100_000])

    def test_uploads_become_one_file(self):
        parts = [self.olga.create("", [], 3, part, headers={"Upload-Concat": "partial"}).headers["Location"]
                 for part in (b"abc", b"def")]
        final = {"Upload-Concat": "final;" + " ".join(parts), "Upload-Metadata": metadata("joined.zip", [self.inbox])}
        files = self.olga.tus("POST", "/uploads", 201, headers=final).json()["files"]
        self.assertEqual(self.content(files[0]), b"abcdef")

    def test_equal_files_share_a_content_until_the_last_is_purged(self):
        first = self.olga.put("first.zip", [self.inbox], b"equal bytes")[0]
        second = self.olga.put("second.zip", [self.inbox], b"equal bytes")[0]
        self.olga.delete(f"/resources/{first['id']}")
        self.anna.delete(f"/bin/{first['id']}")
        self.assertEqual(self.content(second), b"equal bytes")

    def test_a_file_restored_from_the_bin_has_its_content(self):
        file = self.olga.put("binned.zip", [self.inbox], b"in the bin")[0]
        self.olga.delete(f"/resources/{file['id']}")
        self.anna.post(f"/bin/{file['id']}/restore", 200)
        self.assertEqual(self.content(file), b"in the bin")

    def test_it_is_ready_and_counts_its_requests(self):
        self.olga.put("counted.zip", [self.inbox], b"counted")
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))
        lines = dict(line.rsplit(" ", 1) for line in metrics(self.service)[1].splitlines() if not line.startswith("#"))
        self.assertGreater(float(lines['kelvo_objects_requests_total{method="PUT"}']), 0)
        self.assertGreater(float(lines['kelvo_objects_transferred_bytes_total{direction="sent"}']), 0)
        self.assertEqual(float(lines["kelvo_objects_failures_total"]), 0)


class OwnService(unittest.TestCase):
    def setUp(self):
        self.service = on_bucket()
        self.addCleanup(self.service.remove)

    def start_with_farms(self):
        self.service.start()
        add_farms_and_users(self.service).close()
        olga = log_in(self.service, "olga")
        self.addCleanup(olga.close)
        return olga

    def back(self, service, client):
        again = Client(service, client.token)
        self.addCleanup(again.close)
        return again

    def test_an_upload_resumes_at_its_acknowledged_offset_after_a_kill(self):
        olga = self.start_with_farms()
        inbox = make_inbox(olga)
        location = olga.create("killed.zip", [inbox], len(CONTENT)).headers["Location"]
        half = CHUNK + 1000
        olga.patch(location, 0, CONTENT[:half])
        with begin_upload(self.service, olga.token, "PATCH", location, len(CONTENT) - half, {"Upload-Offset": str(half)},
                          CONTENT[half:half + 5000]):
            self.service.kill()
        self.service.start()
        olga = self.back(self.service, olga)
        offset = olga.offset(location)
        self.assertGreaterEqual(offset, half)
        olga.patch(location, offset, CONTENT[offset:])
        file = olga.get(f"/resources/{inbox}").json()["entries"][0]
        self.assertEqual(olga.get(f"/resources/{file['id']}/content").body, CONTENT)
        self.service.stop()
        self.service.check_log()

    def test_verify_reads_the_bucket(self):
        olga = self.start_with_farms()
        olga.put("checked.zip", [make_inbox(olga)], CONTENT)
        self.service.stop()
        code, out, err = run("verify", "--data", self.service.folder, "--contents", BUCKET)
        self.assertEqual((code, err), (0, ""))
        self.assertIn(f"verified 1 contents, {len(CONTENT)} bytes; 0 damaged, 0 leftovers", out)
        self.service.execute("UPDATE content_chunks SET sha256 = ? WHERE start_byte > 0", [(hashlib.sha256().hexdigest(),)])
        code, out, _ = run("verify", "--data", self.service.folder, "--contents", BUCKET)
        self.assertEqual(code, 1)
        self.assertRegex(out, r"the object chunks/\w+ of the bucket \S+ has other bytes\n")
        self.assertIn("repair: put each named object back into the bucket", out)

    def test_a_restored_database_finds_its_contents_in_the_bucket(self):
        olga = self.start_with_farms()
        file = olga.put("kept.zip", [make_inbox(olga)], b"kept in the bucket")[0]
        backup = os.path.join(self.service.root, "backup")
        code, out, err = run("backup", "--data", self.service.folder, "--to", backup)
        self.assertEqual((code, err), (0, ""))
        self.assertIn("not copied: the contents in s3://", out)
        self.service.stop()
        shutil.rmtree(self.service.folder)
        code, out, err = run("restore", "--from", backup, "--data", self.service.folder)
        self.assertEqual((code, err), (0, ""))
        self.service.start()
        self.assertEqual(self.back(self.service, olga).get(f"/resources/{file['id']}/content").body, b"kept in the bucket")
        self.service.stop()

    def test_another_place_for_the_contents_is_refused(self):
        self.start_with_farms()
        self.service.stop()
        bucket = BUCKET.split("?")[0]
        code, _, err = run_refused(self.service.folder)
        self.assertEqual(code, 2)
        self.assertIn(f"the files of this database are in {bucket}, not in the data folder", err)
        code, _, err = run("verify", "--data", self.service.folder)
        self.assertEqual(code, 2)
        self.assertIn(f"the contents are in {bucket}: correct the option --contents", err)

    def test_a_missing_bucket_is_refused(self):
        code, _, err = run_refused(self.service.folder, "--contents", BUCKET.replace("s3://", "s3://missing-"))
        self.assertEqual(code, 2)
        self.assertIn("cannot use the bucket missing-", err)

    def test_missing_credentials_are_refused(self):
        secret = os.environ.pop("AWS_SECRET_ACCESS_KEY")
        with contextlib.ExitStack() as stack:
            stack.callback(os.environ.__setitem__, "AWS_SECRET_ACCESS_KEY", secret)
            code, _, err = run_refused(self.service.folder, "--contents", BUCKET)
        self.assertEqual(code, 2)
        self.assertIn("the credentials of the object store are missing", err)


if __name__ == "__main__":
    unittest.main()

"""verify and backup of several instances on PostgreSQL and the bucket that the variable KELVO_TEST_BUCKET names."""

import os
import pty
import random
import subprocess
import threading
import unittest

from kelvowire.farm import add_farms_and_users, log_in, make_inbox
from kelvowire.http import Client
from kelvowire.postgresql import NO_TIMEOUT, WALKED_FILES, program, start_postgresql
from kelvowire.service import BINARY, GUARD_SECONDS, Service

BUCKET = os.environ["KELVO_TEST_BUCKET"]
NAME = BUCKET.removeprefix("s3://").partition("?")[0]
CONTENT = random.Random(32).randbytes(8 * 1024 * 1024 + 300_000)  # two chunks

server = None


def setUpModule():
    global server
    server = start_postgresql()


def run(*arguments, **options):
    """(exit code, stdout, stderr)"""
    result = subprocess.run([BINARY, *arguments], stdout=subprocess.PIPE, text=True, timeout=GUARD_SECONDS, check=False,
                            **{"stderr": subprocess.PIPE, **options})
    return result.returncode, result.stdout, result.stderr


def run_on_terminal(*arguments):
    """(exit code, stdout, what a terminal shows)"""
    ours, theirs = pty.openpty()
    shown = []

    def read():
        try:
            while piece := os.read(ours, 4096):
                shown.append(piece)
        except OSError:
            pass  # the program has ended

    reader = threading.Thread(target=read)
    reader.start()
    code, out, _ = run(*arguments, stderr=theirs)
    os.close(theirs)
    reader.join()
    os.close(ours)
    return code, out, b"".join(shown).decode()


def server_program(name, *arguments):
    """Runs a program of PostgreSQL."""
    subprocess.run([program(name), *arguments], env=server.environment(), check=True,
                   capture_output=True, timeout=GUARD_SECONDS)


class FleetTest(unittest.TestCase):
    def setUp(self):
        self.database = self.id().rsplit(".", 1)[1][:60]
        self.url = server.make_database(self.database)
        self.service = self.instance(self.url)
        self.service.start()
        self.kept(add_farms_and_users(self.service))
        self.olga, self.anna = (self.kept(log_in(self.service, name)) for name in ("olga", "anna"))
        self.inbox = make_inbox(self.olga)

    def instance(self, url):
        service = Service("--database", url, "--contents", BUCKET)
        self.addCleanup(service.remove)
        return service

    def kept(self, client):
        self.addCleanup(client.close)
        return client

    def verify(self, url=None, code=0):
        found, out, err = run("verify", "--database", url or self.url, "--contents", BUCKET)
        self.assertEqual((found, err), (code, ""), out)
        return out


class Verifying(FleetTest):
    def test_verify_reads_every_chunk_while_the_instances_serve(self):
        self.olga.put("two.zip", [self.inbox], CONTENT)
        self.olga.put("equal.zip", [self.inbox], CONTENT)
        self.olga.create("open.zip", [self.inbox], len(CONTENT), CONTENT[:70_000])
        self.assertEqual(self.verify(), f"verified 1 contents, {len(CONTENT)} bytes; 0 damaged, 0 leftovers\n")
        of_folder = run("verify", "--data", self.service.folder, "--contents", BUCKET)
        self.assertEqual(of_folder, (0, self.verify(), ""))

    def test_verify_under_load_finds_nothing(self):
        stop = threading.Event()
        failures = []

        def work():
            client = Client(self.service, self.olga.token)
            try:
                count = 0
                while not stop.is_set():
                    count += 1
                    file = client.put(f"{count}.zip", [self.inbox], b"%d" % (count % 20))[0]["id"]
                    client.delete(f"/resources/{file}")
                    if count % 10 == 0:
                        self.anna.delete("/bin", (200, 204))
            except Exception as failure:  # The test reports it.
                failures.append(failure)
            finally:
                client.close()

        worker = threading.Thread(target=work)
        worker.start()
        try:
            for _ in range(5):
                self.assertIn("; 0 damaged", self.verify())
        finally:
            stop.set()
            worker.join()
        self.assertEqual(failures, [])

    def test_a_missing_object_is_told_by_farm_and_file(self):
        file = self.olga.put("lost.zip", [self.inbox], CONTENT)[0]
        self.olga.put("whole.zip", [self.inbox], b"whole")
        server.psql("UPDATE content_chunks SET object_key = 'chunks/none' WHERE start_byte > 0", self.database)
        out = self.verify(code=1)
        self.assertIn(f'(file {file["id"]} "lost.zip" of farm 1 "Hill Farm"): the object chunks/none of the bucket {NAME}'
                      " is missing", out)
        self.assertIn(f"repair: put each named object back into the bucket {NAME}", out)
        self.assertIn("verified 2 contents, 5 bytes; 1 damaged", out)
        self.olga.put("again.zip", [self.inbox], CONTENT)
        self.assertIn("; 0 damaged", self.verify())

    def test_an_object_of_another_size_is_damaged(self):
        self.olga.put("long.zip", [self.inbox], b"a long field")
        self.olga.put("short.zip", [self.inbox], b"a field")
        key = server.psql("SELECT object_key FROM content_chunks WHERE size_bytes = 7", self.database).stdout.strip()
        server.psql(f"UPDATE content_chunks SET object_key = '{key}' WHERE size_bytes = 12", self.database)
        out = self.verify(code=1)
        self.assertIn(f"the object {key} of the bucket {NAME} has another size", out)
        self.assertIn("verified 2 contents, 7 bytes; 1 damaged", out)

    def test_a_damaged_chunk_of_a_content_and_of_an_upload_is_found(self):
        self.olga.put("field.zip", [self.inbox], b"a field")
        upload = self.olga.create("open.zip", [self.inbox], 10, b"half").headers["Location"].rsplit("/", 1)[1]
        for table in ("content_chunks", "upload_chunks"):
            server.psql(f"UPDATE {table} SET sha256 = repeat('0', 64)", self.database)
        out = self.verify(code=1)
        self.assertRegex(out, r'"field.zip" of farm 1 "Hill Farm"\): the object chunks/\w+ of the bucket \S+ has other bytes\n')
        self.assertRegex(out, rf"upload {upload}: the object chunks/\w+ of the bucket \S+ has other bytes\n")

    def test_a_broken_rule_of_the_rows_is_found(self):
        self.olga.put("field.zip", [self.inbox], b"a field")
        for change, found in (("UPDATE farms SET last_resource = 8 WHERE id = 1", "farm 1: its counter of ids is behind"),
                              ("UPDATE farms SET files = files + 1 WHERE id = 1", "farm 1: its counters of files and bytes"),
                              ("UPDATE farms SET last_event = 0 WHERE id = 1", "counter of events is behind"),
                              ("UPDATE files SET sha256 = repeat('x', 64)", "its digest or its size is not valid")):
            with self.subTest(found=found):
                server.psql(change, self.database)
                self.assertIn(found, self.verify(code=1))

    def test_a_long_walk_over_the_rows_has_no_timeout(self):
        self.olga.put("field.zip", [self.inbox], b"a field")
        self.service.stop()
        server.psql(f"{NO_TIMEOUT}; {WALKED_FILES}", self.database)
        self.assertIn("verified 1 contents, 7 bytes; 0 damaged", self.verify())

    def test_another_bucket_and_a_missing_one_are_refused(self):
        code, _, err = run("verify", "--data", self.service.folder)
        self.assertEqual(code, 2)
        self.assertIn("give the bucket of the contents with --contents", err)
        code, _, err = run("verify", "--database", self.url, "--contents", BUCKET.replace("s3://", "s3://other-"))
        self.assertEqual(code, 2)
        self.assertIn("correct the option --contents", err)

    def test_progress_is_shown_on_a_terminal_only(self):
        self.olga.put("field.zip", [self.inbox], b"a field")
        code, out, shown = run_on_terminal("verify", "--database", self.url, "--contents", BUCKET)
        self.assertEqual(code, 0)
        self.assertIn("contents checked: 0 of 1", shown)
        self.assertNotIn("checked", out)


class Backup(FleetTest):
    def test_a_dump_and_the_bucket_are_a_backup(self):
        """The database is dumped first. The bucket keeps each object for a day after its last use."""
        kept = self.olga.put("kept.zip", [self.inbox], CONTENT)[0]
        binned = self.olga.put("binned.zip", [self.inbox], b"in the bin at the dump")[0]
        self.olga.delete(f"/resources/{binned['id']}")
        upload = self.olga.create("open.zip", [self.inbox], len(CONTENT), CONTENT[:70_000]).headers["Location"]
        old_cursor = self.olga.snapshot()["cursor"]
        dump = os.path.join(self.service.root, "dump")
        server_program("pg_dump", "--format=custom", "--file", dump, self.database)

        self.olga.delete(f"/resources/{kept['id']}")  # all of these objects are doomed after the dump
        self.anna.delete("/bin", (200, 204))
        self.olga.tus("DELETE", upload, 204)
        later = self.olga.put("later.zip", [self.inbox], b"after the dump")[0]
        newest = self.olga.snapshot()["cursor"]
        code, _, err = run("restore", "--database", self.url)
        self.assertEqual(code, 2)
        self.assertIn("stop all instances first", err)
        self.assertEqual(self.olga.snapshot()["cursor"], newest)
        self.service.stop()

        restored = server.make_database("restored")
        server_program("pg_restore", "--exit-on-error", "--dbname", "restored", dump)
        code, out, err = run("restore", "--database", restored)
        self.assertEqual((code, out, err), (0, "restored the numbers of 2 farms\n", ""))
        self.assertIn("verified 2 contents", self.verify(restored))
        service = self.instance(restored).start()
        olga, anna = (self.kept(Client(service, client.token)) for client in (self.olga, self.anna))
        self.assertEqual(olga.get(f"/resources/{kept['id']}/content").body, CONTENT)
        anna.post(f"/bin/{binned['id']}/restore", 200)
        self.assertEqual(olga.get(f"/resources/{binned['id']}/content").body, b"in the bin at the dump")
        self.assertEqual(olga.offset(upload), 70_000)
        olga.patch(upload, 70_000, CONTENT[70_000:])
        new = olga.put("new.zip", [self.inbox], b"new")[0]
        self.assertGreater(new["id"], later["id"] + 1000)
        self.assertEqual(olga.get("/events", 410, headers={"Last-Event-ID": old_cursor}).problem, "cursor-too-old")
        service.stop()
        self.assertIn("; 0 damaged", self.verify(restored))


if __name__ == "__main__":
    unittest.main()

"""A one-machine service moves to PostgreSQL and the bucket that the variable KELVO_TEST_BUCKET names."""

import contextlib
import json
import os
import random
import shutil
import sqlite3
import subprocess
import time
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import add_farms_and_users, log_in, make_inbox
from kelvowire.http import Client
from kelvowire.postgresql import NO_TIMEOUT, WALKED_FILES, WRITERS_LOCK, Held, start_postgresql
from kelvowire.service import BINARY, GUARD_SECONDS, Service, run_refused

BUCKET = os.environ["KELVO_TEST_BUCKET"]
CONTENT = random.Random(31).randbytes(8 * 1024 * 1024 + 300_000)  # two chunks
RECEIVED = 70_000  # bytes of the open upload
OPENING_LOCK = "SELECT pg_advisory_xact_lock(1)"
LOCK_AT_THE_OPENING = f"""
CREATE FUNCTION at_opening() RETURNS TRIGGER LANGUAGE plpgsql AS $$ BEGIN {OPENING_LOCK.replace("SELECT", "PERFORM")}; RETURN NEW; END $$;
CREATE TRIGGER at_opening BEFORE UPDATE ON contents_place FOR EACH ROW WHEN (NEW.moving_from = '') EXECUTE FUNCTION at_opening()"""

# The rows of these tables belong to a place and not to the service; docs/adr/0033 says why.
TABLES_OF_A_PLACE = {"schema_version", "contents_place"}

server = None


def setUpModule():
    global server
    server = start_postgresql()


def migrate(service, url, contents=BUCKET):
    return subprocess.Popen([BINARY, "migrate", "--from", service.folder, "--database", url, "--contents", contents],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def plain(value):
    """PostgreSQL writes the number 51.0 as 51."""
    return int(value) if isinstance(value, float) and value.is_integer() else value


def canonical(rows):
    return sorted(json.dumps({name: plain(value) for name, value in row.items()}, sort_keys=True) for row in rows)


def tables_of(service):
    """The rows of each table of a stopped service."""
    with contextlib.closing(sqlite3.connect(service.path("kelvo.sqlite"))) as database:
        database.row_factory = sqlite3.Row
        names = [row[0] for row in database.execute("SELECT name FROM sqlite_master WHERE type = 'table'")]
        return {name: [dict(row) for row in database.execute(f'SELECT * FROM "{name}"')] for name in names}


def stored_rows(database, table):
    text = server.psql(f'SELECT row_to_json(t) FROM "{table}" t', database).stdout
    return [json.loads(line) for line in text.splitlines()]


def number(database, query):
    return int(server.psql(query, database).stdout)


class MigrateTest(unittest.TestCase):
    """`source` has rows in each table, and an upload in the middle."""

    def setUp(self):
        self.source = Service()
        self.addCleanup(self.source.remove)
        self.source.start()
        self.admin = self.kept(add_farms_and_users(self.source))
        self.olga = self.kept(log_in(self.source, "olga"))
        self.anna = self.kept(log_in(self.source, "anna"))
        self.database = self.id().rsplit(".", 1)[1][:60]
        self.url = server.make_database(self.database)

    def kept(self, client):
        self.addCleanup(client.close)
        return client

    def at(self, service, client):
        return self.kept(Client(service, client.token))

    def fill(self):
        self.inbox = make_inbox(self.olga)
        self.cursor = self.olga.snapshot()["cursor"]
        self.files = [self.anna.put(name, [self.inbox], content)[0] for name, content in
                      (("two chunks.zip", CONTENT), ("schön \"\\.zip", b"small"), ("empty.zip", b""), ("binned.zip", b"in the bin"))]
        self.olga.delete(f"/resources/{self.files.pop()['id']}")
        self.olga.create("repeated.zip", [self.inbox], 3, b"abc", key="nonce")
        self.upload = self.olga.create("open.zip", [self.inbox], len(CONTENT), CONTENT[:RECEIVED], key="open").headers["Location"]
        farm = next(farm["id"] for farm in self.admin.get("/farms").json()["farms"] if farm["name"] == "Hill Farm")
        self.admin.request("PATCH", f"/farms/{farm}/quota", 200, json={"farm": {"files": 1000}})
        device = {"hardware_address": "cab", "text2": "", "console_string": "Console 12", "text4": "", "kind": "Controller",
                  "text6": "", "text7": "", "number8": 0}
        self.olga.request("PUT", "/environment", 204,
                          json={"timestamp_ms": 1000, "console": {"hardware_address": "cab"}, "controller": {}})
        self.olga.request("PUT", "/devices", 204, json={"timestamp_ms": 1000, "state": 1, "flag": True, "device": device})
        for latitude in (51.98765432109876, 52):
            self.olga.post("/positions", 204, json={"time_s": int(time.time()), "latitude": latitude, "longitude": -5.25})
        self.olga.post("/fetches", 204, json={"fetches": [{"file": self.files[0]["id"], "age_s": 0}]})

    def answers(self, service):
        """What the same tokens get."""
        olga, anna, admin = (self.at(service, client) for client in (self.olga, self.anna, self.admin))
        console = anna.get("/consoles").json()["consoles"][0]["id"]
        paths = {"olga": (olga, ["/account", f"/resources/{self.inbox}"]),
                 "anna": (anna, ["/account", "/bin", "/consoles", f"/consoles/{console}/track", "/audit"]),
                 "admin": (admin, ["/users", "/farms", "/audit"])}
        return {(name, path): client.get(path).json() for name, (client, each) in paths.items() for path in each}

    def run_migrate(self, code=0, **arguments):
        process = migrate(self.source, self.url, **arguments)
        out, err = process.communicate(timeout=GUARD_SECONDS)
        self.assertEqual(process.returncode, code, out + err)
        return out + err

    def begin(self):
        """A migration that makes the schema of the target and fails at the bucket."""
        self.assertIn("object store", self.run_migrate(3, contents=BUCKET.replace("s3://", "s3://missing-")))

    def kill_at(self, lock):
        with Held(server, self.database, lock) as held:
            process = migrate(self.source, self.url)
            held.await_waiters(process=process)
            process.kill()
            process.communicate()

    def change_at(self, lock, change, code):
        """Changes the database while a migration waits for the lock. Returns the output of the migration."""
        with Held(server, self.database, lock) as held:
            process = migrate(self.source, self.url)
            held.await_waiters(process=process)
            server.psql(change, self.database)
        out, err = process.communicate(timeout=GUARD_SECONDS)
        self.assertEqual(process.returncode, code, out + err)
        return out + err

    def moved(self):
        """An instance on the target. It has the authority of the source, which the consoles trust."""
        service = Service("--database", self.url, "--contents", BUCKET)
        self.addCleanup(service.remove)
        os.mkdir(service.folder)
        shutil.copy(self.source.path("ca.pem"), service.folder)
        shutil.copytree(self.source.path("tls"), service.path("tls"))
        return service


class Moves(MigrateTest):
    def test_a_killed_migration_goes_on_and_the_same_tokens_get_the_same_answers(self):
        self.fill()
        self.source.stop()
        self.kill_at(WRITERS_LOCK)  # before the first change
        self.begin()
        self.kill_at("LOCK TABLE users IN ACCESS SHARE MODE")  # all contents are there, no row
        self.assertGreater(number(self.database, "SELECT COUNT(*) FROM contents"), 0)

        self.source.start()  # It serves between two migrations.
        more = self.at(self.source, self.olga)
        self.files.append(more.put("later.zip", [self.inbox], b"later")[0])
        more.patch(self.upload, RECEIVED, CONTENT[RECEIVED:2 * RECEIVED])
        self.source.stop()
        for table in ("received", "upload_chunks", "contents"):  # between the steps of a content
            self.kill_at(f"LOCK TABLE {table} IN EXCLUSIVE MODE")
        self.kill_at("LOCK TABLE contents_place IN SHARE UPDATE EXCLUSIVE MODE")  # all rows are written, not committed
        self.assertEqual(number(self.database, "SELECT COUNT(*) FROM users"), 0)

        self.source.start()
        before = self.answers(self.source)
        self.source.stop()
        rows = tables_of(self.source)
        self.backup = os.path.join(self.source.root, "backup")
        subprocess.run([BINARY, "backup", "--data", self.source.folder, "--to", self.backup], check=True,
                       capture_output=True, timeout=GUARD_SECONDS)
        server.psql(LOCK_AT_THE_OPENING, self.database)
        self.kill_at(OPENING_LOCK)  # the folder is marked, the target is closed
        code, _, err = run_refused(self.source.folder)
        self.assertEqual(code, 2)
        self.assertIn("has moved to a database on a server", err)
        self.check_has_no_copy()
        code, _, err = run_refused(os.path.join(self.source.root, "early"), "--database", self.url, "--contents", BUCKET)
        self.assertEqual(code, 2)
        self.assertIn("a service is moving into this database", err)
        self.assertIn("rows of", self.run_migrate())
        self.assertIn("had moved already", self.run_migrate())

        self.check_rows(rows)
        moved = self.moved().start()
        self.assertFalse(os.path.exists(moved.path("admin.password")))
        self.assertEqual(self.answers(moved), before)
        self.check_goes_on(moved)
        moved.stop()
        moved.check_log()

    def check_has_no_copy(self):
        """The moved folder can neither be copied without its mark nor replaced by an older copy."""
        for words in (("backup", "--to", os.path.join(self.source.root, "copy")),
                      ("restore", "--from", self.backup, "--force")):
            result = subprocess.run([BINARY, *words, "--data", self.source.folder], capture_output=True, text=True,
                                    timeout=GUARD_SECONDS, check=False)
            self.assertEqual(result.returncode, 2, result.stdout)
            self.assertIn("use its instances, because the data in the folder are old", result.stderr)
        self.assertFalse(os.path.exists(os.path.join(self.source.root, "copy")))
        self.assertTrue(os.path.exists(self.source.path("moved.to")))

    def check_rows(self, rows):
        for table in sorted(rows.keys() - TABLES_OF_A_PLACE):
            with self.subTest(table=table):
                self.assertNotEqual(rows[table], [], "the test has no row for this table")
                self.assertEqual(canonical(stored_rows(self.database, table)), canonical(rows[table]))

    def check_goes_on(self, moved):
        olga, anna = self.at(moved, self.olga), self.at(moved, self.anna)
        for file, content in zip(self.files, (CONTENT, b"small", b"", b"later")):
            self.assertEqual(olga.get(f"/resources/{file['id']}/content").body, content)
        again = olga.create("repeated.zip", [self.inbox], 3, b"abc", key="nonce", expect=(200, 201))
        self.assertEqual(again.headers["Kelvo-Repeated"], "true")
        self.assertEqual(olga.offset(self.upload), 2 * RECEIVED)
        with EventStream(olga, cursor=self.cursor) as stream:
            for file in self.files[:3]:
                self.assertEqual(stream.expect("file-added").data["entry"]["id"], file["id"])
        newest = olga.snapshot()["cursor"]
        with EventStream(olga, cursor=newest) as stream:
            olga.patch(self.upload, 2 * RECEIVED, CONTENT[2 * RECEIVED:])
            event = stream.expect("file-added")
        self.assertEqual(int(event.id), int(newest) + 1)
        self.assertGreater(event.data["entry"]["id"], self.files[-1]["id"])
        self.assertEqual(olga.get(f"/resources/{event.data['entry']['id']}/content").body, CONTENT)
        binned = anna.get("/bin").json()["files"][0]["id"]
        anna.post(f"/bin/{binned}/restore", 200)
        self.assertEqual(olga.get(f"/resources/{binned}/content").body, b"in the bin")


class OtherPlaces(MigrateTest):
    def test_contents_in_a_folder_of_their_own_move_too(self):
        self.source.stop()
        folder = os.path.join(self.source.root, "contents")
        os.mkdir(folder)
        self.source.options = ("--contents", f"file:{folder}")
        self.source.start()
        olga = self.at(self.source, self.olga)
        inbox = make_inbox(olga)
        file = olga.put("field.zip", [inbox], b"a field")[0]
        upload = olga.create("open.zip", [inbox], 6, b"abc").headers["Location"]
        self.source.kill()  # its last commits are in the write-ahead log
        before = {name: os.stat(self.source.path(name)).st_mtime_ns for name in os.listdir(self.source.folder)}
        self.run_migrate()
        after = {name: os.stat(self.source.path(name)).st_mtime_ns for name in os.listdir(self.source.folder)}
        self.assertEqual(after.keys() - before.keys(), {"moved.to"})
        self.assertEqual({name: after[name] for name in before}, before)
        moved = self.moved().start()
        olga = self.at(moved, self.olga)
        self.assertEqual(olga.get(f"/resources/{file['id']}/content").body, b"a field")
        self.assertEqual(olga.offset(upload), 3)
        moved.stop()


class Targets(MigrateTest):
    def setUp(self):
        super().setUp()
        inbox = make_inbox(self.olga)
        for content in (b"field one", b"field two"):
            self.olga.put(f"{content.decode()}.zip", [inbox], content)
        self.source.stop()
        self.begin()

    def test_the_rows_of_an_opened_target_stay(self):
        """Another process has finished the same move meanwhile, and instances have changed rows."""
        change = "UPDATE contents_place SET moving_from = ''; INSERT INTO counters (name, value) VALUES ('kept', 1)"
        out = self.change_at("LOCK TABLE contents IN EXCLUSIVE MODE", change, code=2)
        self.assertIn("another process continues this move, or has finished it", out)
        self.assertEqual(number(self.database, "SELECT COUNT(*) FROM counters WHERE name = 'kept'"), 1)
        self.assertFalse(os.path.exists(self.source.path("moved.to")))

    def test_a_process_ends_if_another_one_continues_its_move(self):
        with Held(server, self.database, "LOCK TABLE contents IN EXCLUSIVE MODE") as held:
            process = migrate(self.source, self.url)
            held.await_waiters(process=process)
            server.psql("UPDATE contents_place SET moving_from = split_part(moving_from, ':', 1) || ':other'", self.database)
        _, err = process.communicate(timeout=GUARD_SECONDS)
        self.assertEqual(process.returncode, 2, err)
        self.assertIn("another process continues this move", err)
        self.run_migrate()

    def test_an_object_that_comes_back_with_other_bytes_ends_the_move(self):
        swap = "UPDATE content_chunks SET object_key = (SELECT MAX(object_key) FROM content_chunks)"
        out = self.change_at("LOCK TABLE users IN ACCESS SHARE MODE", swap, code=1)
        self.assertRegex(out, r"damaged: content .* the object chunks/\w+ of the bucket \S+ has other bytes\n")
        self.assertIn("not moved: 1 damaged in the bucket", out)
        self.assertFalse(os.path.exists(self.source.path("moved.to")))
        code, _, err = run_refused(os.path.join(self.source.root, "early"), "--database", self.url, "--contents", BUCKET)
        self.assertEqual(code, 2)
        self.assertIn("a service is moving into this database", err)
        self.source.start()
        self.source.stop()

    def test_no_statement_of_a_large_move_has_a_timeout(self):
        server.psql(f"""{NO_TIMEOUT};
            CREATE FUNCTION at_rows() RETURNS TRIGGER LANGUAGE plpgsql AS $$ BEGIN
                PERFORM has_no_timeout();
                RETURN NEW;
            END $$;
            CREATE TRIGGER at_rows BEFORE INSERT ON files FOR EACH ROW EXECUTE FUNCTION at_rows();
            CREATE FUNCTION at_commit() RETURNS TRIGGER LANGUAGE plpgsql AS $$ BEGIN
                IF to_regclass('all_files') IS NULL THEN {WALKED_FILES}; END IF;
                RETURN NULL;
            END $$;
            CREATE CONSTRAINT TRIGGER at_commit AFTER INSERT ON farms DEFERRABLE INITIALLY DEFERRED
                FOR EACH ROW EXECUTE FUNCTION at_commit()""", self.database)
        self.assertIn("moved 2 contents", self.run_migrate())
        self.assertEqual(number(self.database, "SELECT COUNT(*) FROM all_files"), 2)


class Refusals(MigrateTest):
    def instance(self):
        """A stopped instance on the target."""
        other = Service("--database", self.url, "--contents", BUCKET)
        self.addCleanup(other.remove)
        other.start()
        other.stop()
        return other

    def test_a_serving_source_is_refused(self):
        self.assertIn("another instance runs on the data folder", self.run_migrate(2))
        self.assertEqual(number(self.database, "SELECT COUNT(*) FROM pg_tables WHERE schemaname = 'public'"), 0)

    def test_a_target_with_another_service_is_refused_and_unchanged(self):
        self.instance()
        self.source.stop()
        before = stored_rows(self.database, "users")
        self.assertIn("has another service's rows", self.run_migrate(2))
        self.assertEqual(stored_rows(self.database, "users"), before)
        self.source.start()
        self.source.stop()

    def test_a_target_with_tables_of_another_program_is_refused(self):
        self.source.stop()
        server.psql("CREATE TABLE users (id INTEGER)", self.database)
        self.assertIn("tables of another program", self.run_migrate(2))

    def test_a_folder_without_a_database_is_refused_and_not_made(self):
        self.source.stop()
        missing = os.path.join(self.source.root, "missing")
        self.source.folder = missing
        self.assertIn("there is no database in", self.run_migrate(2))
        self.assertFalse(os.path.exists(missing))

    def test_a_service_on_a_database_server_is_refused(self):
        instance = self.instance()
        self.source.stop()
        self.source.folder = instance.folder
        self.assertIn("is on a database server already: nothing is to move", self.run_migrate(2))
        self.source.folder = self.url
        self.assertIn("a service on a database server cannot be moved", self.run_migrate(2))

    def test_a_damaged_content_is_named_and_the_source_goes_on(self):
        self.inbox = make_inbox(self.olga)
        self.olga.put("field.zip", [self.inbox], b"a field")
        lost = self.olga.put("lost.zip", [self.inbox], b"lost")[0]
        self.source.stop()
        os.remove(self.source.path("content", lost["sha256"][:2], lost["sha256"]))
        out = self.run_migrate(1)
        self.assertIn('"lost.zip" of farm 1 "Hill Farm"): is missing', out)
        self.assertIn("not moved: 1 damaged in the folder\n", out)
        self.source.start()
        self.at(self.source, self.olga).put("repaired.zip", [self.inbox], b"lost")
        self.source.stop()
        self.run_migrate()
        moved = self.moved().start()
        self.assertEqual(self.at(moved, self.olga).get(f"/resources/{lost['id']}/content").body, b"lost")
        moved.stop()


if __name__ == "__main__":
    unittest.main()

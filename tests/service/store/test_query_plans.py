"""The plan of each statement that a request runs: no request's work grows with the number of farms.

A library that is preloaded into the service notes the statements, while the test calls each operation of the written API
with success. Then each database explains its statements. A plan must reach the rows of a table by a key, and a key that
begins with an equality. What may read more stands in ALLOWED.
"""

import json
import os
import re
import sqlite3
import sys
import tempfile
import time
import unittest
from pathlib import Path

TESTS = Path(__file__).resolve().parents[2]
sys.path += [str(TESTS / "support"), str(TESTS / "wire")]

import postgresql_server  # noqa: E402
from kelvowire.events import EventStream  # noqa: E402
from kelvowire.farm import PASSWORD, add_farms_and_users, make_inbox  # noqa: E402
from kelvowire.http import CONTRACT, Client  # noqa: E402
from kelvowire.service import Service  # noqa: E402
from needs import needs  # noqa: E402

LIBRARY = os.environ["KELVO_STATEMENTS"]
PLANNED = re.compile(r"\s*(SELECT|INSERT|UPDATE|DELETE|WITH)\b", re.IGNORECASE)
ONE_ROW = {"clock", "contents_place", "counters", "schema_version"}  # tables that never grow
IN_ORDER = ("LockRows", "Nested Loop", "Hash Join", "Result", "Subquery Scan")  # ask their first part row by row
DEVICE = {"hardware_address": "00:1b", "text2": "", "console_string": "", "text4": "", "kind": "", "text6": "", "text7": "",
          "number8": 0}

# The begin of a statement, and why its plan may read more.
PER_ROUND = "the clean-up and the metrics, every ten minutes and not for a request"
ALLOWED = {
    "SELECT f.id, f.name, f.files + COALESCE(o.files": "GET /usage sorts all farms; only an administrator asks",
    "SELECT COALESCE(MIN(created_ms), 0) FROM users": PER_ROUND,
    "SELECT COUNT(*) FROM sessions": PER_ROUND,
    "SELECT COUNT(*) FROM farms f LEFT JOIN (SELECT farm_id": PER_ROUND,
    "SELECT COUNT(*), COALESCE(SUM(length_bytes), 0) FROM uploads WHERE finished = 0": PER_ROUND,
    "SELECT CAST(COALESCE(SUM(size_bytes), 0) AS BIGINT) FROM contents": PER_ROUND,
    "SELECT COUNT(*) FROM doomed": PER_ROUND,
    "SELECT object_key FROM doomed WHERE condemned = 1": PER_ROUND,
    "UPDATE doomed SET condemned = 1": PER_ROUND,
    "SELECT sha256 FROM contents WHERE NOT EXISTS": PER_ROUND,
    "SELECT upload FROM received WHERE NOT EXISTS": PER_ROUND,
    "SELECT id FROM farms WHERE deleted_ms IS NOT NULL": PER_ROUND,
    "SELECT id FROM uploads WHERE finished = 0 AND expires_ms": PER_ROUND,
    "SELECT c.farm_id, c.id FROM consoles c WHERE c.environment_ms": PER_ROUND,
    "DELETE FROM audit WHERE at_ms <": PER_ROUND,
    "DELETE FROM console_devices WHERE received_ms <": PER_ROUND,
    "DELETE FROM login_places WHERE last_ms <": PER_ROUND,
    "DELETE FROM sessions WHERE expires_ms <=": PER_ROUND,
    "UPDATE sessions SET expires_ms = expires_ms": PER_ROUND,
    "DELETE FROM track WHERE received_ms <": PER_ROUND,
    "UPDATE uploads SET expires_ms = :latest WHERE finished = 0 AND expires_ms >": PER_ROUND,
    "UPDATE uploads SET expires_ms = $1 WHERE finished = 0 AND expires_ms >": PER_ROUND,
    "UPDATE files SET deleted_ms = :now WHERE deleted_ms >": PER_ROUND,
    "UPDATE files SET deleted_ms = $1 WHERE deleted_ms >": PER_ROUND,
    "DELETE FROM uploads WHERE finished = 1 AND idempotency_key IS NULL": PER_ROUND,
}

# The planner of PostgreSQL looks at the rows: 400 farms of 5 users.
FILL = """
INSERT INTO farms (id, name, last_resource, last_event, pruned_event)
    SELECT 10000 + i, 'Farm ' || i, 100, 10, 0 FROM generate_series(1, 400) i;
INSERT INTO quotas (farm_id, scope, name, value) SELECT id, 'farm', 'name ' || i, 1
    FROM farms, generate_series(1, 20) i WHERE id > 10000;
INSERT INTO projects (farm_id, id, name) SELECT f.id, i, 'Project ' || i FROM farms f, generate_series(1, 7) i WHERE f.id > 10000;
INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)
    SELECT f.id * 10 + i, f.id, 'user ' || f.id || i, 'operator', '', 0, i FROM farms f, generate_series(1, 5) i WHERE f.id > 10000;
INSERT INTO inboxes (farm_id, id, project_id, owner_id, created_ms)
    SELECT u.farm_id, u.id % 10 * 10 + i, i, u.id, 0 FROM users u, generate_series(1, 7) i WHERE u.id > 100000;
INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms, deleted_ms, sender_id)
    SELECT n.farm_id, n.id * 10 + i, n.id, 'file', 1, md5(n.farm_id * 100 + n.id || '/' || i), i, CASE WHEN i = 1 THEN 5 END,
    n.owner_id     FROM inboxes n, generate_series(1, 3) i WHERE n.farm_id > 10000;
INSERT INTO uploads (id, farm_id, user_id, idempotency_key, name, targets, length_bytes, created_ms, expires_ms, finished, sha256,
    files, warnings, first_file) SELECT md5(u.id || '/' || i), u.farm_id, u.id, 'key ' || i, '', '', 1, i, u.id, i % 2, '', '', '', i
    FROM users u, generate_series(1, 4) i WHERE u.id > 100000;
INSERT INTO consoles (id, farm_id, identity, user_id, environment, environment_ms, last_number, last_event)
    SELECT id, farm_id, 'console ' || id, id, '', 0, 5, 0 FROM users WHERE id > 100000;
INSERT INTO console_devices (console_id, hardware_address, document, received_ms)
    SELECT c.id, i, '', i FROM consoles c, generate_series(1, 3) i WHERE c.id > 100000;
INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude, received_ms)
    SELECT c.id, i, c.user_id, i, 0, 0, c.id * 100 + i FROM consoles c, generate_series(1, 20) i WHERE c.id > 100000;
INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms, console_id)
    SELECT md5(c.id || '/' || i), c.user_id, i, i, c.id FROM consoles c, generate_series(1, 3) i WHERE c.id > 100000;
INSERT INTO login_places (user_id, network, last_ms) SELECT u.id, 'net ' || i, i FROM users u, generate_series(1, 3) i WHERE u.id > 100000;
INSERT INTO events (farm_id, id, name, owner_id, full_data, common_data, created_ms)
    SELECT f.id, i, 'thing', 0, '', '', i FROM farms f, generate_series(1, 20) i WHERE f.id > 10000;
INSERT INTO fetches (farm_id, file_id, console_id, user_id, fetched_ms, unpacked_ms, unpack_error)
    SELECT f.farm_id, f.id, f.farm_id * 10 + 1, 0, 0, 0, '' FROM files f WHERE f.farm_id > 10000;
INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id, object_kind, object_id, object_name, share, number)
    SELECT 1000000 + f.id * 20 + i, i, 'login', 'done', '', f.id * 10 + i % 5 + 1, '', f.id, 'user', f.id * 10 + i, '', 0, i
    FROM farms f, generate_series(1, 20) i WHERE f.id > 10000;
INSERT INTO contents (sha256, size_bytes) SELECT DISTINCT sha256, 1 FROM files WHERE farm_id > 10000;
INSERT INTO content_chunks (content, start_byte, size_bytes, object_key, sha256) SELECT DISTINCT sha256, 0, 1, 'c' || sha256, '' FROM files
    WHERE farm_id > 10000;
INSERT INTO upload_chunks (upload, start_byte, size_bytes, object_key, sha256) SELECT id, 0, 1, 'u' || id, '' FROM uploads WHERE farm_id > 10000;
INSERT INTO received (upload, size_bytes, epoch, digest_state) SELECT id, 1, 0, '' FROM uploads WHERE farm_id > 10000;
INSERT INTO doomed (object_key, since_ms, condemned) SELECT 'd' || i, i, i % 2 FROM generate_series(1, 20000) i;
INSERT INTO audit_shares (farm_id, share, last_number) SELECT id, 0, 20 FROM farms WHERE id > 10000;
ANALYZE;
"""


class CoveringClient(Client):
    """Remembers which operations were answered with success."""

    done = set()

    def request(self, method, path, *arguments, **named):
        answer = super().request(method, path, *arguments, **named)
        if answer.status < 300:
            self.done.add((method, CONTRACT.template(answer.target)))
        return answer


def client_of(service, user, password=PASSWORD):
    client = CoveringClient(service)
    client.token = client.post("/sessions", json={"user": user, "password": password}).json()["token"]
    return client


def session_of(client, of=None):
    return client.get(f"/users/{of}/export" if of else "/sessions").json()["sessions"]


def play_operator(olga, anna):
    inbox = make_inbox(olga)
    account = olga.snapshot()
    project = account["projects"][0]["id"]
    olga.get(f"/projects/{project}/resources")
    olga.get(f"/resources/{inbox}")
    file = olga.put("one.zip", [inbox], b"one")[0]["id"]
    olga.request("PATCH", f"/resources/{file}", 200, json={"name": "two.zip"})
    olga.get(f"/resources/{file}/content")
    olga.request("HEAD", f"/resources/{file}/content", 200)
    olga.request("OPTIONS", "/uploads", 204, headers={"Tus-Resumable": "1.0.0"})
    location = olga.create("parts.zip", [inbox], 6, b"par", key="parts").headers["Location"]
    olga.offset(location)
    olga.patch(location, 3, b"ts!")
    location = olga.create("given-up.zip", [inbox], 6, b"par").headers["Location"]
    olga.tus("DELETE", location, 204)
    olga.request("PUT", "/environment", 204,
                 json={"timestamp_ms": 1, "console": {"hardware_address": "cab"}, "controller": DEVICE})
    olga.request("PUT", "/devices", 204, json={"timestamp_ms": 1, "state": 1, "flag": True, "device": DEVICE})
    olga.post("/positions", 204, json={"time_s": int(time.time()), "latitude": 51, "longitude": 5})
    olga.post("/fetches", 204, json={"fetches": [{"file": anna.put("sent.zip", [inbox], b"sent")[0]["id"], "age_s": 0}]})
    olga.get("/base-map")
    olga.get("/base-map/file")
    with EventStream(olga, cursor=account["cursor"]) as stream:
        stream.expect("file-added")
    CoveringClient.done.add(("GET", "/events"))
    return [olga.put(f"bin-{number}.zip", [inbox], b"bin")[0]["id"] for number in range(3)]


def play_office(anna, olga, files):
    for file in files:
        olga.delete(f"/resources/{file}")
    anna.get("/bin")
    anna.post(f"/bin/{files[0]}/restore", 200)
    anna.delete(f"/bin/{files[1]}")
    anna.request("DELETE", "/bin", (200, 204))
    console = anna.get("/consoles").json()["consoles"][0]["id"]
    anna.get(f"/consoles/{console}/track")
    users = {user["name"]: user["id"] for user in anna.get("/users").json()["users"]}
    anna.post(f"/users/{users['piet']}/admit", 204)
    anna.get(f"/users/{users['olga']}/track")
    anna.delete(f"/users/{users['olga']}/track")
    piet = client_of(anna.service, "piet")
    piet.post("/positions", 204, json={"time_s": int(time.time()), "latitude": 51, "longitude": 5})
    anna.delete(f"/users/{users['piet']}/sessions/{session_of(anna, users['piet'])[0]['id']}")
    piet.close()
    sold = anna.get(f"/consoles?user={users['piet']}").json()["consoles"][0]["id"]
    anna.delete(f"/consoles/{sold}")
    anna.get("/audit")
    anna.get(f"/audit?person={users['olga']}")
    anna.delete("/sessions/" + session_of(anna)[-1]["id"])


def play_admin(admin):
    admin.get("/usage")
    farm = admin.post("/farms", json={"name": "Moor Farm"}).json()["id"]
    admin.request("PATCH", f"/farms/{farm}", 200, json={"name": "Fen Farm"})
    admin.request("PATCH", f"/farms/{farm}/quota", 200, json={"farm": {"bytes": 10_000_000}})
    admin.get("/farms")
    admin.get(f"/farms/{farm}/usage")
    user = admin.post("/users", json={"farm": "Fen Farm", "name": "new", "password": PASSWORD, "role": "office"}).json()["id"]
    for change in ({"disabled": True}, {"disabled": False}, {"name": "newer"}, {"role": "operator"}, {"password": PASSWORD + "2"}):
        admin.request("PATCH", f"/users/{user}", 200, json=change)
    admin.get("/users")
    admin.get("/audit")
    admin.delete(f"/users/{user}")
    admin.delete(f"/farms/{farm}?confirm=Fen%20Farm", (200, 202, 204))


def play(service):
    """Calls each operation with success."""
    add_farms_and_users(service).close()
    admin = client_of(service, "admin", service.admin_password())
    olga, anna = client_of(service, "olga"), client_of(service, "anna")
    play_office(anna, olga, play_operator(olga, anna))
    anna.close()
    anna = client_of(service, "anna")
    anna.post("/account/password", (200, 204), json={"current": PASSWORD, "new": PASSWORD + "!"})
    play_admin(admin)
    olga.delete("/sessions/current")
    for client in (admin, olga, anna):
        client.close()


class LoggedService(Service):
    def __init__(self, *options):
        super().__init__(*options)
        self.statement_log = Path(self.root, "statements")

    def wrap(self, arguments):
        return ["env", f"LD_PRELOAD={LIBRARY}", f"KELVO_STATEMENT_LOG={self.statement_log}", *arguments]

    def statements(self):
        texts = set(self.statement_log.read_bytes().decode().split("\0"))
        return sorted(" ".join(text.split()) for text in texts if PLANNED.match(text))


class Anything(dict):
    def __missing__(self, key):
        return None


def tables_of(statement):
    """The table of each alias."""
    found = re.findall(r"\b(?:FROM|JOIN|UPDATE|INTO) (\w+)(?: AS)?(?: (?!SET\b|WHERE\b|VALUES\b|ON\b|JOIN\b)(\w+))?",
                       statement)
    return {alias or table: table for table, alias in found}


class Plans(unittest.TestCase):
    def setUp(self):
        if LIBRARY == "none":
            self.skipTest("the programs of this build cannot preload a library")
        self.map = Path(self.enterContext(tempfile.TemporaryDirectory()), "farm.pmtiles")
        self.map.write_bytes(b"PMTiles\3" + bytes(91) + bytes((2, 3, 15)) + bytes(1000))  # PNG, zooms from 3 to 15

    def service(self, *options):
        service = LoggedService("--map", str(self.map), *options)
        self.addCleanup(service.remove)
        service.start()
        service.statement_log.unlink()  # the statements of the start
        CoveringClient.done = set()
        play(service)
        everything = {(method, template) for method, template, _ in CONTRACT.operations()}
        self.assertEqual(everything - CoveringClient.done, set())
        service.stop()
        return service

    def check(self, service, walks):
        """`walks(statement)` gives what the plan reads without a key."""
        statements = service.statements()
        self.assertGreater(len(statements), 50)
        found = {statement: walk for statement in statements if (walk := walks(statement))}
        for statement, walk in found.items():
            with self.subTest(statement=statement):
                self.assertTrue(any(statement.startswith(begin) for begin in ALLOWED), walk)

    def test_on_sqlite(self):
        service = self.service()
        database = sqlite3.connect(service.path("kelvo.sqlite"))
        self.addCleanup(database.close)

        def walks(statement):
            rows = database.execute("EXPLAIN QUERY PLAN " + statement, Anything()).fetchall()
            steps = [detail for *_, detail in rows]
            is_page = "LIMIT" in statement and not any(step.startswith("USE TEMP B-TREE") for step in steps)
            return [step for step in steps if self.sqlite_walks(step, tables_of(statement), is_page)]
        self.check(service, walks)

    @staticmethod
    def sqlite_walks(detail, tables, is_page):
        """Whether a step of a plan reads more than a key's rows. A page ends at its limit, in the order of an index."""
        step = re.match(r"(SCAN|SEARCH) (\S+)(?:.*\((.*)\))?", detail)
        if not step or tables.get(step[2]) in ONE_ROW | {None}:
            return False
        if step[1] == "SCAN":
            return not (is_page and " USING " in detail)
        return not re.match(r"[\w<>]+=\?", step[3] or "") and not is_page

    def test_on_postgresql(self):
        needs(self, postgresql_server.programs() is not None, "PostgreSQL")
        server = self.enterContext(postgresql_server.PostgresqlServer(["autovacuum = off"]))
        service = self.service("--database", server.make_database("plans"), "--contents", os.environ["KELVO_TEST_BUCKET"])
        server.psql(FILL, "plans")

        def walks(statement):
            count = max(map(int, re.findall(r"\$(\d+)", statement)), default=0)
            values = "(" + ", ".join(["NULL"] * count) + ")" if count else ""
            # So few rows tempt the planner to combine two indexes by a bitmap.
            plan = server.psql("SET enable_bitmapscan = off; SET plan_cache_mode = force_generic_plan;"
                               f" PREPARE one AS {statement}; EXPLAIN (FORMAT JSON) EXECUTE one{values}", "plans").stdout
            return list(self.postgresql_walks(json.loads(plan)[0]["Plan"]))
        self.check(service, walks)

    def postgresql_walks(self, node, is_page=False):
        """The steps below a node that read more than a key's rows. A page ends at its limit, in the order of an index."""
        has_key = re.search(" = | IS NULL", node.get("Index Cond", ""))
        kind = node["Node Type"]
        if kind != "ModifyTable" and not has_key and not (is_page and kind.startswith("Index")):
            if node.get("Relation Name") not in ONE_ROW | {None} or "Index Name" in node:
                yield {name: node.get(name) for name in ("Node Type", "Relation Name", "Index Name", "Index Cond", "Filter")}
        for number, step in enumerate(node.get("Plans", ())):
            passes = kind == "Limit" or (is_page and kind in IN_ORDER and number == 0)
            yield from self.postgresql_walks(step, passes)


if __name__ == "__main__":
    unittest.main()

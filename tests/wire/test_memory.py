"""The memory of a request does not grow with its answer: 100,000 files in a farm, 1,000 consoles with long texts."""

import concurrent.futures
import contextlib
import hashlib
import itertools
import json
import sqlite3
import time
import unittest

from kelvowire.farm import PASSWORD, WireTest, log_in, log_in_admin, make_inbox
from kelvowire.http import Client, metrics, raw_socket
from kelvowire.service import BINARY, Service

MIB = 1024 * 1024
NOW_MS = int(time.time() * 1000)
FILES = 100_000
CONSOLES = 1000
BINNED = 10_000
LEAVER = 900  # the id of an operator who is deleted
FILES_OF_LEAVER = 3000
DELETED_FARM = 900
LARGE = ("/account", "/projects/1/resources", "/bin?limit=1000", "/users?limit=1000", "/consoles?limit=1000",
         "/audit?limit=1000", "/audit?limit=1000&action=file-add", "/consoles/1000/track?limit=1000")
LARGE_OF_ADMINS = ("/usage?limit=1000", "/farms?limit=1000")
LONG_NAME = "\U0001f69c" * 58  # with a number of six digits as long as a name may be
PLAIN = {"Accept-Encoding": "identity"}
STEADY = ("env", "MALLOC_ARENA_MAX=1", "MALLOC_MMAP_THRESHOLD_=131072", "MALLOC_TRIM_THRESHOLD_=131072")


class SteadyService(Service):
    """Freed memory goes back to the system, so that it is not reused unseen."""

    def wrap(self, arguments):
        return [*STEADY, *arguments]

    def status(self, name):
        """A size from /proc, in bytes."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) * 1024 for line in file if line.startswith(name + ":"))

    def reset_peak(self):
        with open(f"/proc/{self.process.pid}/clear_refs", "w", encoding="ascii") as file:
            file.write("5")


def is_sanitized():
    with open(BINARY, "rb") as file:
        program = file.read()
    return b"__asan_init" in program or b"__tsan_init" in program


@unittest.skipIf(is_sanitized(), "a sanitizer keeps freed memory")
class Memory(WireTest):
    SERVICE = SteadyService

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        olga = log_in(cls.service, "olga")
        cls.inbox = make_inbox(olga)
        user = olga.snapshot()["user"]
        cls.olga, cls.farm = user["id"], user["farm"]["id"]
        oda = log_in(cls.service, "oda")
        cls.farm_of_oda = oda.snapshot()["user"]["farm"]["id"]
        oda_inbox = make_inbox(oda)
        cls.service.stop()
        cls.fill()
        cls.fill_deletions(oda_inbox)
        cls.fill_farm()
        cls.service.start()

    @classmethod
    def fill(cls):
        """Half of the files are in the bin: the account and the bin are large."""
        def rows(first, columns):
            for number in range(first, first + FILES):
                yield (cls.farm, number, cls.inbox, f"field {number} of a farm.zip", 5, f"{number:064x}", *columns)

        insert = ("INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms, deleted_ms, deleted_by)"
                  " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")
        cls.service.execute(insert, rows(1000, (NOW_MS, None, None)))
        cls.service.execute(insert, rows(1000 + FILES, (NOW_MS, NOW_MS, "olga")))
        cls.service.execute("UPDATE farms SET last_resource = ? WHERE id = ?", [(1000 + 2 * FILES, cls.farm)])
        cls.service.execute("INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id, object_kind,"
                            " object_id, object_name) VALUES (?, ?, 'file-add', 'done', '203.0.113.7', 1, 'olga', ?,"
                            " 'file', 5, '')", ((1_000_000 + number, NOW_MS, cls.farm) for number in range(FILES)))
        cls.service.execute("INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)"
                            " VALUES (?, ?, ?, 'operator', '', 1, 0)",
                            ((1000 + number, cls.farm, f"{LONG_NAME}{number:06}") for number in range(20_000)))
        cls.service.execute("INSERT INTO farms (id, name, last_resource, last_event, pruned_event) VALUES (?, ?, 0, 0, 0)",
                            ((1000 + number, f"{LONG_NAME}{number:06}") for number in range(20_000)))
        cls.service.execute("INSERT INTO consoles (id, farm_id, identity, user_id, environment, environment_ms, last_number,"
                            " last_event) VALUES (1000, ?, 'address:00:99', 1000, '', 0, 20000, 0)", [(cls.farm,)])
        cls.service.execute("UPDATE counters SET value = 1000 WHERE name = 'consoles'", [()])
        cls.service.execute("INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude, received_ms)"
                            " VALUES (1000, ?, 1000, 1, 51.9, 5.4, ?)", ((1 + number, NOW_MS) for number in range(20_000)))
        cls.service.execute("INSERT INTO quotas (farm_id, scope, name, value) VALUES (?, 'user', 'sessions', 100000)",
                            [(cls.farm,)])
        report = json.dumps({"console": {"console_string": "\U0001f69c" * 255}})
        cls.service.execute("INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms, environment)"
                            " VALUES (?, ?, ?, ?, ?)",
                            ((f"{number:064x}", cls.olga, number, 2 * NOW_MS, report) for number in range(5000)))

    @classmethod
    def fill_deletions(cls, oda_inbox):
        """The rows that the deletions remove."""
        insert = ("INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms, deleted_ms, deleted_by)"
                  " VALUES (?, ?, ?, ?, 5, ?, 1, ?, ?)")
        cls.service.execute(insert, ((cls.farm_of_oda, 1000 + number, oda_inbox, f"{number}.zip", f"b{number:063x}", NOW_MS, "oda")
                                     for number in range(BINNED)))
        cls.service.execute("INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)"
                            " VALUES (?, ?, 'leaver', 'operator', '', 1, 0)", [(LEAVER, cls.farm)])
        cls.service.execute("INSERT INTO inboxes (farm_id, id, project_id, owner_id, created_ms) VALUES (?, 900, 2, ?, 0)",
                            [(cls.farm, LEAVER)])
        cls.service.execute(insert, ((cls.farm, 500_000 + number, 900, f"{number}.zip", f"c{number:063x}", None, None)
                                     for number in range(FILES_OF_LEAVER)))
        cls.service.execute("INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude, received_ms)"
                            " VALUES (1000, ?, ?, 1, 51.9, 5.4, ?)", ((100_000 + number, LEAVER, NOW_MS) for number in range(FILES)))

    @classmethod
    def fill_farm(cls):
        """A farm that is deleted with all its rows."""
        farm = DELETED_FARM
        cls.service.execute("INSERT INTO farms (id, name, last_resource, last_event, pruned_event, files, bytes)"
                            " VALUES (?, 'Gone Farm', 200000, 0, 0, ?, ?)", [(farm, BINNED, 5 * BINNED)])
        cls.service.execute("INSERT INTO projects (farm_id, id, name) VALUES (?, 1, 'To Console')", [(farm,)])
        cls.service.execute("INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)"
                            " VALUES (?, ?, ?, 'operator', '', 0, 0)",
                            ((100_000 + number, farm, f"gone {number}") for number in range(1000)))
        cls.service.execute("UPDATE users SET files = ?, bytes = ? WHERE id = 100000", [(BINNED, 5 * BINNED)])
        cls.service.execute("INSERT INTO inboxes (farm_id, id, project_id, owner_id, created_ms) VALUES (?, 2, 1, 100000, 0)",
                            [(farm,)])
        cls.service.execute("INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms, deleted_ms, deleted_by)"
                            " VALUES (?, ?, 2, ?, 5, ?, 1, ?, 'olga')",
                            ((farm, 1000 + number, f"{number}.zip", f"d{number:063x}", NOW_MS) for number in range(BINNED)))
        cls.service.execute("INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms) VALUES (?, 100000, 1, ?)",
                            ((hashlib.sha256(str(number).encode()).hexdigest(), 2 * NOW_MS) for number in range(5000)))
        cls.service.execute("INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id, object_kind,"
                            " object_id, object_name) VALUES (?, ?, 'file-add', 'done', '203.0.113.7', 100000, 'gone 0', ?,"
                            " 'file', 5, '')", ((2_000_000 + number, NOW_MS, farm) for number in range(BINNED)))

    def setUp(self):
        self.anna = self.user("anna")

    def growth(self, work):
        """The bytes that the service needed above its memory before the work. The service starts anew, because freed memory
        that the process still has would hide a need. The page caches of the database's connections are not measured: the first
        clean-up fills one, and walks through the bin fill two. The service uses the second one if it reads for its metrics
        during the work.
        """
        self.service.stop()
        self.service.start()
        while "\nkelvo_cleanups_total 0" in metrics(self.service)[1]:  # Until the first clean-up has ended.
            pass
        with concurrent.futures.ThreadPoolExecutor(4) as threads:
            list(threads.map(lambda _: self.walk_through_bin(), range(8)))
        self.service.reset_peak()
        before = self.service.status("VmRSS")
        work()
        return self.service.status("VmHWM") - before

    def walk_through_bin(self):
        with contextlib.closing(Client(self.service, self.anna.token)) as client:
            self.read(client, "/bin?name=none", {})

    def read(self, client, path, headers):
        """Returns the size of the body; keeps no copy of it."""
        client.close()
        connection = client.connection()
        connection.request("GET", "/kelvo-api/v1" + path, headers={"Authorization": f"Bearer {client.token}", **headers})
        response = connection.getresponse()
        self.assertEqual(response.status, 200, path)
        return sum(len(piece) for piece in iter(lambda: response.read(65536), b""))

    def test_a_large_answer_needs_no_memory_for_itself(self):
        of_anna = (*LARGE, f"/resources/{self.inbox}", f"/users/{self.olga}/export")
        for name, paths in (("anna", of_anna), ("admin", (*LARGE_OF_ADMINS, f"/farms/{self.farm}/usage")), ("olga", ("/sessions",))):
            client = self.user(name)
            for path, coding in itertools.product(paths, ("gzip", "identity")):
                with self.subTest(path=path, coding=coding):
                    grown = self.growth(lambda: self.read(client, path, {"Accept-Encoding": coding}))
                    self.assertLessEqual(grown, MIB)
        self.assertGreater(self.read(self.anna, "/account", PLAIN), 20 * MIB)

    def test_a_reader_that_stops_reading_needs_no_memory_for_the_rest(self):
        def begin(count):
            for _ in range(count):
                connection = raw_socket(self.service)
                self.addCleanup(connection.close)
                connection.sendall(f"GET /kelvo-api/v1/account HTTP/1.1\r\nHost: localhost\r\n"
                                   f"Authorization: Bearer {self.anna.token}\r\n\r\n".encode())
                self.assertTrue(connection.recv(1000).startswith(b"HTTP/1.1 200"))

        grown = self.growth(lambda: begin(4))
        self.assertLessEqual(grown, 4 * MIB)

    def test_a_thousand_consoles_with_long_texts_stay_small(self):
        """Four operators send texts as long as a body can be, then the longest that are accepted."""
        admin = log_in_admin(self.service)
        self.addCleanup(admin.close)
        for number in range(CONSOLES // 250):
            name = f"reporter {number}"
            admin.post("/users", json={"farm": "Dale Farm", "name": name, "password": PASSWORD, "role": "operator"})
            client = self.user(name)
            for console in range(250):
                address = f"{number}:{console:03}"
                body = {"timestamp_ms": 1, "controller": {},
                        "console": {"hardware_address": address, "host_string": "x" * 60000}}
                if console == 0:
                    self.refused(client.request("PUT", "/environment", 422, json=body), "unprocessable")
                body["console"].update({"host_string": "\U0001f69c" * 1000, "console_string": "\U0001f69c" * 255})
                client.request("PUT", "/environment", 204, json=body)
        oda = self.user("oda")
        sizes = []
        grown = self.growth(lambda: sizes.append(self.read(oda, "/consoles?limit=1000", {})))
        self.assertLess(sizes[0], 10 * MIB)
        self.assertLessEqual(grown, MIB)

    def delete(self, client, path):
        client.close()
        client.delete(path, 204)

    def test_a_deleted_bin_needs_no_memory_for_its_files(self):
        oda = self.user("oda")
        grown = self.growth(lambda: self.delete(oda, "/bin"))
        self.assertLessEqual(grown, MIB)
        self.assertEqual(oda.get("/bin").json()["files"], [])

    def test_a_deleted_farm_needs_no_memory_for_its_rows(self):
        admin = self.user("admin")
        grown = self.growth(lambda: self.delete(admin, f"/farms/{DELETED_FARM}?confirm=Gone%20Farm"))
        self.assertLessEqual(grown, MIB)
        with contextlib.closing(sqlite3.connect(self.service.path("kelvo.sqlite"))) as database:
            for rest in ("users WHERE farm_id = ?", "audit WHERE farm_id = ? AND address = '203.0.113.7'"):
                self.assertEqual(database.execute(f"SELECT COUNT(*) FROM {rest}", (DELETED_FARM,)).fetchone(), (0,))

    def test_a_deleted_user_needs_no_memory_for_files_and_positions(self):
        piet = self.user("piet")
        heir = piet.snapshot()["user"]["id"]
        grown = self.growth(lambda: self.delete(self.anna, f"/users/{LEAVER}?heir={heir}"))
        self.assertLessEqual(grown, MIB)
        piet.close()
        self.assertEqual(len(self.entries(piet, make_inbox(piet, "From Console"))), FILES_OF_LEAVER)


if __name__ == "__main__":
    unittest.main()

"""The audit trail: logins and changes, in the database and in the log."""

import configparser
import contextlib
import json
import os
import shlex
import shutil
import sqlite3
import subprocess
import unittest

from kelvowire.farm import PASSWORD, WireTest, make_inbox
from kelvowire.http import Client
from needs import needs

FILTER = os.path.join(os.path.dirname(__file__), "..", "..", "packaging", "kelvo-service", "fail2ban-filter.conf")
FAIL2BAN = shutil.which("fail2ban-regex") or "/usr/bin/fail2ban-regex"


class AuditTest(WireTest):
    OPTIONS = ("--login-attempts", "3")

    def trail(self, client, query=""):
        return client.get("/audit?limit=1000" + query).json()["entries"]

    def fail_to_log_in(self, user, times=1):
        client = Client(self.service)
        self.addCleanup(client.close)
        return [client.post("/sessions", (401, 429), json={"user": user, "password": "a wrong password"}).status
                for _ in range(times)]

    def logged(self):
        lines = map(json.loads, self.service.log().splitlines())
        return [line for line in lines if line["event"] == "audit"]


class Audit(AuditTest):
    def test_each_login_has_its_outcome_address_and_user(self):
        admin = self.user("admin")
        self.fail_to_log_in("oda")
        self.fail_to_log_in("a password typed as a name")
        olga = self.user("olga")
        logins = self.trail(admin, "&action=login")
        done, unknown, failed = logins[0], logins[1], logins[2]
        me = olga.snapshot()["user"]
        self.assertEqual((done["outcome"], done["actor"], done["farm"], done["address"]),
                         ("done", {"id": me["id"], "name": "olga"}, me["farm"]["id"], "127.0.0.1"))
        self.assertEqual((failed["outcome"], failed["actor"]["name"]), ("failed", "oda"))
        self.assertEqual((unknown["outcome"], unknown["actor"], unknown["farm"]), ("failed", None, None))
        self.assertNotIn("typed as a name", json.dumps(logins) + self.service.log())
        with contextlib.closing(sqlite3.connect(self.service.path("kelvo.sqlite"))) as database:
            self.assertEqual(database.execute("SELECT DISTINCT actor_name FROM audit WHERE actor_id = 0").fetchall(), [("",)])

    def test_each_change_has_its_actor_and_object(self):
        admin, olga, anna = self.user("admin"), self.user("olga"), self.user("anna")
        inbox = make_inbox(olga, "Pivots")
        file = olga.put("secret name.zip", [inbox], b"x")[0]["id"]
        olga.request("PATCH", f"/resources/{file}", 200, json={"name": "other name.zip"})
        olga.delete(f"/resources/{file}")
        anna.post(f"/bin/{file}/restore", 200)
        nils = admin.post("/users", json={"farm": "Hill Farm", "name": "nils", "password": PASSWORD, "role": "operator"}).json()
        admin.request("PATCH", f"/users/{nils['id']}", 200, json={"password": "another good one"})
        olga.delete("/sessions/current")
        self.service.secrets.add("another good one")
        found = [(entry["action"], entry["actor"]["name"], entry["object"]) for entry in self.trail(anna)]
        user = {"kind": "user", "id": nils["id"], "name": "nils"}
        thing = {"kind": "file", "id": file, "name": ""}
        self.assertEqual(found[:8], [("logout", "olga", None), ("password-set", "admin", user), ("user-add", "admin", user),
                                     ("file-restore", "anna", thing), ("file-delete", "olga", thing),
                                     ("file-rename", "olga", thing), ("file-add", "olga", thing),
                                     ("inbox-add", "olga", {"kind": "inbox", "id": inbox, "name": ""})])
        self.assertNotIn("secret name", self.service.log())

    def test_a_deleted_upload_has_one_entry(self):
        olga, anna = self.user("olga"), self.user("anna")
        location = olga.create("secret name.zip", [make_inbox(olga)], 6, b"abc").headers["Location"]
        for status in (204, 404):
            olga.tus("DELETE", location, status)
        found = [(entry["actor"]["name"], entry["object"]) for entry in self.trail(anna, "&action=upload-delete")]
        self.assertEqual(found, [("olga", None)])

    def test_a_refused_change_is_not_in_the_trail(self):
        admin = self.user("admin")
        before = self.trail(admin)[0]["id"]
        admin.post("/farms", 409, json={"name": "Hill Farm"})
        self.assertEqual(self.trail(admin)[0]["id"], before)

    def test_the_office_sees_its_farm_only(self):
        self.user("otto")
        farms = {entry["farm"] for entry in self.trail(self.user("oda"), "&farm=1")}
        self.assertEqual(farms, {self.user("oda").snapshot()["user"]["farm"]["id"]})
        self.refused(self.user("olga").get("/audit", 403), "forbidden")
        self.assertIn(1, {entry["farm"] for entry in self.trail(self.user("admin"))})

    def test_pages_follow_the_link(self):
        admin = self.user("admin")
        for _ in range(3):
            self.user("piet")
        whole = self.trail(admin, "&action=login")
        paged, path = [], "/audit?action=login&limit=2"
        while path:
            page = admin.get(path)
            paged += page.json()["entries"]
            self.assertLessEqual(len(page.json()["entries"]), 2)
            path = page.headers["Link"] and page.headers["Link"].split(">")[0][1:]
        self.assertEqual(paged, whole)
        for query in ("limit=0", "limit=1001", "limit=x", "after=x", "from=x", "user=x", "person=x"):
            admin.get("/audit?" + query, 400)

    def test_entries_are_filtered_by_user_and_time(self):
        admin = self.user("admin")
        piet = self.user("piet").snapshot()["user"]["id"]
        entries = self.trail(admin, f"&user={piet}")
        self.assertEqual({entry["actor"]["id"] for entry in entries}, {piet})
        admin.request("PATCH", f"/users/{piet}", 200, json={"disabled": False})
        of_person = self.trail(admin, f"&person={piet}")
        self.assertEqual((of_person[0]["action"], of_person[0]["object"]["id"]), ("user-enable", piet))
        self.assertEqual(of_person[1], entries[0])
        newest = entries[0]["at"]
        self.assertNotIn(entries[0], self.trail(admin, f"&to={newest}"))
        self.assertIn(entries[0], self.trail(admin, f"&from={newest}"))

    def test_each_entry_is_a_line_of_the_log(self):
        self.user("piet")
        entry = self.trail(self.user("admin"), "&action=login")[1]
        self.assertIn((entry["action"], entry["outcome"], entry["address"], entry["actor"]["id"]),
                      [(line["action"], line["outcome"], line["address"], line.get("actor")) for line in self.logged()])


class QuietLog(AuditTest):
    OPTIONS = ("--log-level", "error")

    def test_the_trail_is_logged_at_every_level(self):
        self.user("olga")
        self.assertIn("olga", [line.get("actor_name") for line in self.logged()])


class Fail2ban(AuditTest):
    def test_the_filter_finds_the_address_of_each_failed_login(self):
        needs(self, os.path.exists(FAIL2BAN), "fail2ban is not installed")
        statuses = self.fail_to_log_in("otto", 5)
        self.assertEqual(statuses, [401, 401, 401, 429, 429])
        self.user("piet")
        log = os.path.join(self.service.root, "copy.log")
        with open(log, "w", encoding="utf-8") as file:
            file.write(self.service.log())
        run = subprocess.run([FAIL2BAN, "--out", "ip", log, FILTER], capture_output=True, text=True, check=False)
        self.assertEqual(run.stdout.split(), ["127.0.0.1"] * 5, run.stderr)


class Journal(unittest.TestCase):
    """The records of the journal that fail2ban reads. systemd gives all instances of a template one slice."""

    def setUp(self):
        filters = configparser.RawConfigParser()
        filters.read(FILTER)
        self.matches = [dict(term.split("=", 1) for term in match.split("\n"))
                        for match in "\n".join(shlex.split(filters["Definition"]["journalmatch"])).split("\n+\n")]

    def is_read(self, unit, slice_name):
        record = {"_SYSTEMD_UNIT": unit, "_SYSTEMD_SLICE": slice_name}
        return any(match.items() <= record.items() for match in self.matches)

    def test_the_service_and_the_instances_of_a_fleet_are_read(self):
        self.assertTrue(self.is_read("kelvo-service.service", "system.slice"))
        self.assertTrue(self.is_read("kelvo-service@one.service", r"system-kelvo\x2dservice.slice"))
        self.assertFalse(self.is_read("other.service", "system.slice"))


if __name__ == "__main__":
    unittest.main()

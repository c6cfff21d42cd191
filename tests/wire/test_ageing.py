"""Expiry of sessions, unfinished uploads, the bin and old events. Days pass by changing the stopped service's
database.
"""

import contextlib
import sqlite3
import unittest

from kelvowire.ageing import let_pass
from kelvowire.farm import log_in, make_inbox, add_farms_and_users
from kelvowire.http import Client, digest_header
from kelvowire.service import GUARD_SECONDS, Service


class Ageing(unittest.TestCase):
    def start(self, *options):
        service = Service(*options)
        self.addCleanup(service.remove)
        service.start()
        add_farms_and_users(service).close()
        return service

    def client(self, service, user="olga"):
        client = log_in(service, user)
        self.addCleanup(client.close)
        return client

    def test_sessions_expire(self):
        service = self.start("--session-hours", "48")
        token = self.client(service).token
        for days, status in ((1, 200), (1.1, 401)):
            let_pass(service, days)
            client = Client(service, token)
            client.get("/account", status)
            client.close()
        service.stop()

    def test_a_session_that_has_expired_keeps_no_console_until_the_clean_up(self):
        service = self.start()
        olga, anna = self.client(service), self.client(service, "anna")
        olga.request("PUT", "/environment", 204, json={"timestamp_ms": 1, "console": {"hardware_address": "cab"}, "controller": {}})
        path = f"/consoles/{anna.get('/consoles').json()['consoles'][0]['id']}"
        anna.delete(path, 409)
        with contextlib.closing(sqlite3.connect(service.path("kelvo.sqlite"), timeout=GUARD_SECONDS)) as database, database:
            database.execute("UPDATE sessions SET expires_ms = created_ms WHERE console_id IS NOT NULL")
        anna.delete(path)
        self.assertEqual(anna.get("/consoles").json()["consoles"], [])
        service.stop()

    def test_unfinished_uploads_expire_after_seven_days(self):
        service = self.start()
        olga = self.client(service)
        inbox = make_inbox(olga)
        location = olga.create("slow.zip", [inbox], 6, b"abc", key="slow").headers["Location"]
        let_pass(service, 6)
        olga = self.client(service)
        self.assertEqual(olga.offset(location), 3)
        let_pass(service, 2)
        olga = self.client(service)
        olga.tus("HEAD", location, (404, 410))
        olga.patch(location, 3, b"def", expect=(404, 410))
        olga.tus("DELETE", location, (404, 410))
        again = olga.create("slow.zip", [inbox], 6, b"abcdef", key="slow")
        self.assertEqual(again.headers["Repr-Digest"], digest_header(b"abcdef"))
        self.assertEqual(len(olga.get(f"/resources/{inbox}").json()["entries"]), 1)
        service.stop()

    def test_a_part_extends_the_expiry_of_an_upload(self):
        service = self.start()
        olga = self.client(service)
        inbox = make_inbox(olga)
        location = olga.create("parts.zip", [inbox], 6, b"ab").headers["Location"]
        for part in (b"c", b"d"):
            let_pass(service, 5)
            olga = self.client(service)
            expired = olga.tus("HEAD", location, 200).headers["Upload-Expires"]
            answer = olga.patch(location, olga.offset(location), part)
            self.assertNotEqual(answer.headers["Upload-Expires"], expired)
        let_pass(service, 6)
        olga = self.client(service)
        done = olga.patch(location, 4, b"ef")
        self.assertEqual(done.headers["Repr-Digest"], digest_header(b"abcdef"))
        service.stop()

    def test_the_key_of_a_finished_upload_is_known_while_its_file_exists(self):
        service = self.start()
        olga = self.client(service)
        inbox = make_inbox(olga)
        first = olga.create("kept.zip", [inbox], 6, b"abcdef", key="kept")
        for days in (8, 100):
            let_pass(service, days)
            olga = self.client(service)
            self.assertEqual(olga.create("kept.zip", [inbox], 6, key="kept").headers["Kelvo-File-Ids"],
                             first.headers["Kelvo-File-Ids"])
        service.stop()

    def test_the_bin_keeps_files_for_thirty_days(self):
        service = self.start()
        olga = self.client(service)
        inbox = make_inbox(olga)
        early, late, twin = (olga.put(name, [inbox], content)[0]["id"]
                             for name, content in (("early.zip", b"early"), ("late.zip", b"late"), ("twin.zip", b"early")))
        olga.delete(f"/resources/{early}")
        let_pass(service, 29)
        olga, anna = self.client(service), self.client(service, "anna")
        olga.delete(f"/resources/{late}")
        self.assertCountEqual([file["id"] for file in anna.get("/bin").json()["files"]], [early, late])
        let_pass(service, 2)
        anna = self.client(service, "anna")
        self.assertEqual([file["id"] for file in anna.get("/bin").json()["files"]], [late])
        anna.post(f"/bin/{early}/restore", 404)
        anna.post(f"/bin/{late}/restore", 200)
        self.assertEqual(anna.get(f"/resources/{late}/content").body, b"late")
        self.assertEqual(anna.get(f"/resources/{twin}/content").body, b"early")  # The file with the same bytes still exists.
        service.stop()

    def test_a_console_without_contact_is_forgotten(self):
        def report(client, address):
            client.request("PUT", "/environment", 204, json={
                "timestamp_ms": 1, "controller": {}, "console": {"hardware_address": address}})
            client.request("PUT", "/devices", 204, json={
                "timestamp_ms": 1, "state": 1, "flag": True, "device": {"hardware_address": "00:11"}})

        service = self.start("--console-days", "100", "--session-hours", str(24 * 300))
        report(self.client(service), "with a session")
        silent, moving = self.client(service), self.client(service, "piet")
        for client, address in ((silent, "silent"), (moving, "moving")):
            report(client, address)
            client.delete("/sessions/current")
        let_pass(service, 60)
        moving = self.client(service, "piet")
        moving.post("/positions", 204, json={"time_s": 1777615950, "latitude": 50, "longitude": 8, "hardware_address": "moving"})
        moving.delete("/sessions/current")
        let_pass(service, 60)
        consoles = self.client(service, "anna").get("/consoles").json()["consoles"]
        self.assertEqual([(console["hardware_address"], len(console["devices"])) for console in consoles],
                         [("with a session", 1), ("moving", 0)])
        service.stop()

    def test_old_events_are_pruned(self):
        service = self.start("--event-retention", "72h")
        olga = self.client(service)
        inbox = make_inbox(olga)
        cursor = olga.snapshot()["cursor"]
        olga.put("old.zip", [inbox], b"old")
        let_pass(service, 4)
        olga = self.client(service)
        olga.put("new.zip", [inbox], b"new")
        answer = olga.get("/events", 410, headers={"Last-Event-ID": cursor})
        self.assertEqual(answer.problem, "cursor-too-old")
        service.stop()


if __name__ == "__main__":
    unittest.main()

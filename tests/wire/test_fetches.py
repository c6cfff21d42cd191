"""Consoles report the files that they have fetched; the office sees who has fetched what."""

import datetime
import json
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import WireTest, make_inbox

DAY = 24 * 3600


def seconds(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00")).timestamp()


class Fetches(WireTest):
    def setUp(self):
        self.olga, self.anna = self.user("olga"), self.user("anna")
        self.inbox = make_inbox(self.olga)
        self.file = self.anna.put("field.zip", [self.inbox], b"field")[0]
        self.report_environment(self.olga, "cab")

    def report_environment(self, client, address):
        client.request("PUT", "/environment", 204, json={"timestamp_ms": 1000, "console": {"hardware_address": address}, "controller": {}})

    def report(self, *entries, client=None, expect=204):
        return (client or self.olga).post("/fetches", expect, json={"fetches": list(entries)})

    def entry(self, file=None, age_s=0, **more):
        return {"file": (file or self.file)["id"], "age_s": age_s, **more}

    def seen(self, file=None, client=None):
        """The file's record in an inbox."""
        return next(entry for entry in self.entries(client or self.anna, self.inbox) if entry["id"] == (file or self.file)["id"])

    def console(self, address="cab"):
        return next(console["id"] for console in self.anna.get("/consoles").json()["consoles"] if console["hardware_address"] == address)

    def events_after(self, cursor):
        """The names of the events up to a marker."""
        marker = self.anna.put("marker.zip", [self.inbox], b"marker")[0]["id"]
        found = []
        with EventStream(self.anna, cursor=cursor) as stream:
            while True:
                event = stream.next()
                if event.name == "file-added" and event.data["entry"]["id"] == marker:
                    return found
                found.append(event)

    def cursor(self):
        return self.anna.snapshot()["cursor"]

    def test_the_office_sees_which_console_fetched_a_file_and_when(self):
        other = self.anna.put("other.zip", [self.inbox], b"other")[0]
        self.assertNotIn("fetched_at", self.seen())
        self.report(self.entry())
        record = self.seen()
        self.assertEqual(record["fetched_by"]["console"], self.console())
        self.assertEqual(record["fetched_by"]["user"]["name"], "olga")
        self.assertGreaterEqual(record["fetched_at"], self.file["created_at"])
        self.assertNotIn("unpacked_at", record)
        self.assertNotIn("unpack_error", record)
        self.assertEqual(self.anna.get(f"/resources/{self.file['id']}").json(), record)
        projects = self.anna.snapshot()["projects"]
        entries = [entry for project in projects for inbox in project["resources"] for entry in inbox.get("entries", [])]
        self.assertIn(record, entries)
        self.assertNotIn("fetched_at", self.seen(other))

    def test_the_consoles_lists_do_not_change(self):
        before = self.olga.get("/account").json()
        cursor = self.cursor()
        self.report(self.entry())
        self.assertEqual({**self.olga.get("/account").json(), "cursor": ""}, {**before, "cursor": ""})
        self.assertEqual(self.seen(client=self.olga), self.olga.get(f"/resources/{self.file['id']}").json())
        self.assertNotIn("fetched_at", self.seen(client=self.olga))
        with EventStream(self.olga, cursor=cursor) as stream:
            added = self.anna.put("next.zip", [self.inbox], b"next")[0]
            self.assertEqual(stream.expect("file-added").data["entry"]["id"], added["id"])

    def test_the_office_gets_an_event_and_a_repeated_report_changes_nothing(self):
        cursor = self.cursor()
        self.report(self.entry())
        record = self.seen()
        for age in (0, 0, 5):
            self.report(self.entry(age_s=age))
        self.assertEqual(self.seen(), record)
        events = self.events_after(cursor)
        self.assertEqual([event.name for event in events], ["file-fetched"])
        self.assertEqual(events[0].data["entry"], record)
        self.assertEqual(events[0].data["container"]["id"], self.inbox)

    def test_the_age_tells_the_time_but_never_before_the_file(self):
        old = self.anna.put("old.zip", [self.inbox], b"old")[0]
        self.service.stop()
        try:
            self.service.execute("UPDATE files SET created_ms = ? WHERE id = ?", [(1000, old["id"])])
        finally:
            self.service.start()
        self.olga, self.anna = self.user("olga"), self.user("anna")
        before = seconds(self.anna.put("before.zip", [self.inbox], b"before")[0]["created_at"])
        self.report(self.entry(age_s=DAY), self.entry(old, age_s=DAY))
        after = seconds(self.anna.put("after.zip", [self.inbox], b"after")[0]["created_at"])
        self.assertEqual(self.seen()["fetched_at"], self.file["created_at"])
        self.assertGreaterEqual(seconds(self.seen(old)["fetched_at"]), before - DAY)
        self.assertLessEqual(seconds(self.seen(old)["fetched_at"]), after - DAY)

    def test_the_newest_fetch_of_several_consoles_is_shown(self):
        self.report(self.entry(unpack_error="No room"))
        self.report_environment(self.olga, "workshop")
        self.report(self.entry(unpacked_age_s=0))
        record = self.seen()
        self.assertEqual(record["fetched_by"]["console"], self.console("workshop"))
        self.assertIn("unpacked_at", record)

    def test_an_error_of_unpacking_stays_until_the_file_is_unpacked(self):
        cursor = self.cursor()
        self.report(self.entry())
        self.report(self.entry(unpack_error="No room\n<b>"))
        self.assertEqual(self.seen()["unpack_error"], "No room\n<b>")
        self.report(self.entry(unpacked_age_s=0))
        record = self.seen()
        self.assertIn("unpacked_at", record)
        self.assertNotIn("unpack_error", record)
        self.report(self.entry(unpack_error="too late"))
        self.assertEqual(self.seen(), record)
        self.assertEqual([event.name for event in self.events_after(cursor)], ["file-fetched"] * 3)

    def test_files_that_the_user_may_not_read_are_ignored(self):
        cursor = self.cursor()
        for name in ("piet", "otto"):
            client = self.user(name)
            make_inbox(client)
            self.report(self.entry(), {"file": 2147483647, "age_s": 1}, client=client)
        removed = self.anna.put("removed.zip", [self.inbox], b"removed")[0]
        self.olga.delete(f"/resources/{removed['id']}")
        self.report({"file": self.inbox, "age_s": 1}, self.entry(removed), self.entry())
        self.assertEqual(self.seen()["fetched_by"]["user"]["name"], "olga")
        fetched = [event for event in self.events_after(cursor) if event.name == "file-fetched"]
        self.assertEqual([event.data["entry"]["id"] for event in fetched], [self.file["id"]])

    def test_a_renamed_or_restored_file_is_still_fetched(self):
        self.report(self.entry())
        fetched_at = self.seen()["fetched_at"]
        for change in ("rename", "restore"):
            cursor = self.cursor()
            if change == "rename":
                self.anna.request("PATCH", f"/resources/{self.file['id']}", 200, json={"name": "renamed.zip"})
            else:
                self.anna.delete(f"/resources/{self.file['id']}")
                self.anna.post(f"/bin/{self.file['id']}/restore", expect=200)
            with self.subTest(change=change):
                events = self.events_after(cursor)
                self.assertEqual([event.name for event in events], ["file-removed", "file-added", "file-fetched"])
                self.assertEqual(events[2].data["entry"]["fetched_at"], fetched_at)
                self.assertEqual(self.seen()["fetched_at"], fetched_at)

    def test_a_file_keeps_at_most_20_consoles(self):
        cursor = self.cursor()
        for number in range(22):
            self.report_environment(self.olga, f"many {number}")
            self.report(self.entry())
        fetched = [event for event in self.events_after(cursor) if event.name == "file-fetched"]
        self.assertEqual(len(fetched), 20)

    def test_bounds(self):
        self.report(*[self.entry()] * 100)
        for entries in ([self.entry()] * 101, [self.entry(age_s=-1)], [self.entry(age_s=366 * DAY + 1)],
                        [self.entry(age_s=2 ** 64 - 1)], [{"file": 0, "age_s": 1}], [{"file": 2 ** 31, "age_s": 1}],
                        [self.entry(age_s=1, unpacked_age_s=2)], [self.entry(unpack_error="x" * 256)]):
            with self.subTest(entries=json.dumps(entries)[:60]):
                self.refused(self.report(*entries, expect=422), "unprocessable")
        for entries in ([1], [{"file": 1}], [{"age_s": 1}], [{"file": "1", "age_s": 1}], [{"file": 1, "age_s": 1.5}],
                        [self.entry(unpack_error=1)], [self.entry(unpacked_age_s=None)]):
            with self.subTest(entries=json.dumps(entries)[:60]):
                self.refused(self.report(*entries, expect=400), "malformed-request")

    def test_only_operators_report(self):
        for name in ("anna", "admin"):
            self.report(self.entry(), client=self.user(name), expect=(403, 404))


if __name__ == "__main__":
    unittest.main()

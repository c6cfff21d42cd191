"""Consoles as the office sees them: their last reports, their tracks, and each move as an event."""

import time
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import WireTest, make_inbox
from kelvowire.fleet import is_every_move

ADDRESS = "00:1b:44:11:3a:b7"


class ConsoleTest(WireTest):
    def setUp(self):
        self.olga, self.anna = self.user("olga"), self.user("anna")
        self.now = int(time.time())

    def environment(self, client, address=ADDRESS, **console):
        client.request("PUT", "/environment", 204, json={
            "timestamp_ms": self.now * 1000, "console": {"hardware_address": address, "kind": "Controller", **console},
            "controller": {"kind": "Controller", "number8": 3}})

    def move(self, client, latitude, longitude=5.25, **more):
        client.post("/positions", 204, json={"time_s": self.now, "latitude": latitude, "longitude": longitude, **more})

    def console(self, address):
        """The office's view of one console."""
        found = [console for console in self.anna.get("/consoles").json()["consoles"]
                 if console["hardware_address"] == address]
        self.assertEqual(len(found), 1, address)
        return found[0]

    def track(self, console, query="", expect=200):
        return self.anna.get(f"/consoles/{console}/track{query}", expect)


class Consoles(ConsoleTest):
    def test_a_console_is_listed_with_its_last_reports(self):
        self.environment(self.olga, console_string="old")
        self.environment(self.olga, console_string="Console 12", number4=2 ** 63, number5=4, secret="x")
        for state, address in ((1, ""), (1, "00:11"), (0, "00:11")):
            self.olga.request("PUT", "/devices", 204, json={"timestamp_ms": self.now * 1000 + state, "state": state, "flag": True,
                                                            "device": {"hardware_address": address, "kind": "Boom"}})
        self.move(self.olga, 51.5)
        self.move(self.olga, 52.1234567)
        console = self.console(ADDRESS)
        self.assertEqual((console["console_string"], console["operator"]["name"]), ("Console 12", "olga"))
        self.assertEqual(console["environment"]["console"], {"console_string": "Console 12", "hardware_address": ADDRESS,
                                                             "kind": "Controller", "number4": 2 ** 63, "number5": 4})
        self.assertEqual(console["environment"]["timestamp_ms"], self.now * 1000)
        self.assertEqual([(report["state"], report["device"]["hardware_address"]) for report in console["devices"]],
                         [(1, ""), (0, "00:11")])
        self.assertEqual((console["position"]["latitude"], console["position"]["longitude"]), (52.1234567, 5.25))
        self.assertEqual(console["last_contact_at"], console["position"]["received_at"])

    def test_a_console_that_reported_only_fetches_has_no_last_contact_after_a_log_out(self):
        piet = self.user("piet")
        file = self.anna.put("fetched.zip", [make_inbox(piet)], b"fetched")[0]["id"]
        piet.post("/fetches", 204, json={"fetches": [{"file": file, "age_s": 0}]})
        piet.delete("/sessions/current")
        console, = (console for console in self.anna.get("/consoles").json()["consoles"] if console["operator"]["name"] == "piet")
        self.assertIsNone(console["last_contact_at"])

    def test_the_last_of_two_sessions_sets_the_consoles_environment(self):
        piet = self.user("piet")
        for client, name in ((self.olga, "first"), (piet, "second"), (self.olga, "third")):
            self.environment(client, "both", console_string=name)
            console = self.console("both")
            self.assertEqual(console["environment"]["console"]["console_string"], name)
            self.assertEqual(console["operator"]["name"], "piet" if client is piet else "olga")

    def test_a_console_has_one_track_for_all_users(self):
        piet = self.user("piet")
        for client, latitude in ((self.olga, 1), (piet, 2), (self.olga, 3)):
            self.environment(client, "shared")
            self.move(client, latitude)
        console = self.console("shared")
        points = self.track(console["id"]).json()["positions"]
        self.assertEqual([(point["latitude"], point["operator"]["name"]) for point in points],
                         [(3, "olga"), (2, "piet"), (1, "olga")])
        self.assertEqual(console["operator"]["name"], "olga")

    def test_an_address_in_the_position_identifies_the_console(self):
        self.move(self.olga, 10, hardware_address="boxed")
        self.move(self.olga, 11)
        self.assertEqual(self.console("boxed")["position"]["latitude"], 11)

    def test_a_console_without_an_address_is_identified_by_its_user(self):
        piet = self.user("piet")
        self.move(piet, 20)
        self.environment(piet, "")
        self.assertEqual(self.console("")["operator"]["name"], "piet")
        self.assertEqual(self.console("")["position"]["latitude"], 20)
        self.assertEqual(self.console("")["environment"]["console"]["hardware_address"], "")

    def test_the_track_has_stable_pages_with_the_newest_first(self):
        self.environment(self.olga, "paged")
        for latitude in range(7):  # Later positions are older by the console's clock.
            self.olga.post("/positions", 204, json={"time_s": self.now - latitude, "latitude": latitude, "longitude": 0})
        number = self.console("paged")["id"]
        first = self.track(number, "?limit=3").json()
        self.assertEqual([point["latitude"] for point in first["positions"]], [6, 5, 4])
        self.move(self.olga, 80)
        seen, cursor = [], first["next"]
        while cursor:
            part = self.track(number, f"?limit=3&cursor={cursor}").json()
            seen += [point["latitude"] for point in part["positions"]]
            cursor = part["next"]
        self.assertEqual(seen, [3, 2, 1, 0])
        whole = self.track(number).json()
        self.assertEqual((len(whole["positions"]), whole["next"]), (8, None))

    def test_the_track_is_filtered_by_time_of_receipt(self):
        self.environment(self.olga, "timed")
        number = None
        for latitude in range(3):
            self.move(self.olga, latitude)
            number = number or self.console("timed")["id"]
            while self.console("timed")["position"]["received_at"] == self.received_now():
                pass  # No two positions may have the same millisecond.
        times = [point["received_at"] for point in self.track(number).json()["positions"]]
        self.assertEqual(len(set(times)), 3)

        def latitudes(query):
            return [point["latitude"] for point in self.track(number, query).json()["positions"]]
        self.assertEqual(latitudes(f"?from={times[1]}"), [2, 1])
        self.assertEqual(latitudes(f"?to={times[1]}"), [0])
        self.assertEqual(latitudes(f"?from={times[1]}&to={times[0]}"), [1])
        self.assertEqual(latitudes("?to=2001-01-01T00:00:00Z"), [])

    @staticmethod
    def received_now():
        now = time.time()
        return time.strftime("%Y-%m-%dT%H:%M:%S", time.gmtime(now)) + f".{int(now * 1000) % 1000:03d}Z"

    def test_wrong_parameters_are_refused(self):
        self.environment(self.olga)
        number = self.console(ADDRESS)["id"]
        for query in ("?limit=0", "?limit=1001", "?limit=x", "?limit=", "?cursor=x", "?cursor=0", "?cursor=-1", "?cursor=" + "9" * 30,
                      "?from=yesterday", "?from=1777615950", "?to=2026-05-01", "?to=2026-02-30T00:00:00Z", "?from="):
            with self.subTest(query=query):
                self.refused(self.track(number, query, 400), "malformed-request")

    def test_consoles_are_for_the_farms_office_only(self):
        self.environment(self.olga)
        number = self.console(ADDRESS)["id"]
        for name, status in (("olga", 403), ("admin", 404)):
            client = self.user(name)
            client.get("/consoles", status)
            client.get(f"/consoles/{number}/track", status)
        oda = self.user("oda")
        self.assertEqual(oda.get("/consoles").json(), {"consoles": []})
        theirs, never = oda.get(f"/consoles/{number}/track", 404), oda.get("/consoles/2147483646/track", 404)
        self.assertEqual(theirs.body, never.body)

    def test_a_too_long_address_or_one_with_a_nul_is_refused(self):
        for address in ("x" * 256, "a\0b"):
            body = {"time_s": self.now, "latitude": 1, "longitude": 1, "hardware_address": address}
            self.refused(self.olga.post("/positions", 422, json=body), "unprocessable")
        self.move(self.olga, 1, hardware_address="x" * 255)


class Deletion(ConsoleTest):
    def test_a_deleted_console_is_gone_until_it_reports_again(self):
        cursor = self.anna.snapshot()["cursor"]
        piet = self.user("piet")
        file = self.anna.put("fetched.zip", [make_inbox(piet)], b"fetched")[0]["id"]
        self.environment(piet, "sold")
        self.move(piet, 30)
        piet.post("/fetches", 204, json={"fetches": [{"file": file, "age_s": 0}]})
        number = self.console("sold")["id"]
        self.refused(self.anna.delete(f"/consoles/{number}", 409), "conflict")
        self.assertEqual(self.console("sold")["position"]["latitude"], 30)
        piet.delete("/sessions/current")
        for name, status in (("olga", 403), ("oda", 404), ("admin", 404)):
            self.user(name).delete(f"/consoles/{number}", status)
        with EventStream(self.anna) as office:
            self.anna.delete(f"/consoles/{number}")
            self.assertEqual(office.expect("console-removed").data, {"console": number})
        self.assertNotIn("sold", str(self.anna.get("/consoles").json()))
        self.track(number, expect=404)
        self.anna.delete(f"/consoles/{number}", 404)
        self.assertNotIn("fetched_by", self.anna.get(f"/resources/{file}").json())
        with EventStream(self.anna, cursor) as stream:
            names = [stream.next().name for _ in range(3)]
        self.assertNotIn("console-moved", names)
        entry = self.anna.get("/audit?action=console-delete").json()["entries"][0]
        self.assertEqual((entry["actor"]["name"], entry["object"]), ("anna", {"kind": "console", "id": number, "name": ""}))
        self.environment(self.user("piet"), "sold")
        self.assertGreater(self.console("sold")["id"], number)
        self.assertIsNone(self.console("sold")["position"])


class Moves(ConsoleTest):
    def test_only_the_office_gets_a_move_after_its_commit(self):
        inbox = make_inbox(self.olga)
        self.environment(self.olga)
        with EventStream(self.anna) as office, EventStream(self.olga) as driver, EventStream(self.user("oda")) as other:
            self.move(self.olga, 51.5)
            data = office.expect("console-moved").data
            self.assertEqual((data["user"]["name"], data["time_s"], data["latitude"], data["longitude"]),
                             ("olga", self.now, 51.5, 5.25))
            self.assertEqual(data["console"], self.console(ADDRESS)["id"])
            point = self.track(data["console"]).json()["positions"][0]
            self.assertEqual((point["latitude"], point["received_at"]), (51.5, data["received_at"]))
            self.olga.put("after.zip", [inbox], b"after")
            driver.expect("file-added")
            otto = self.user("otto")
            otto.put("theirs.zip", [make_inbox(otto)], b"x")
            self.assertEqual([other.next().name for _ in range(2)], ["inbox-added", "file-added"])

    def test_a_resumed_stream_has_the_last_move_of_each_console(self):
        inbox = make_inbox(self.olga)
        piet = self.user("piet")
        cursor = self.anna.snapshot()["cursor"]
        for latitude in range(20):
            self.move(self.olga, latitude, hardware_address="first")
            if latitude == 10:
                self.olga.put("between.zip", [inbox], b"between")
                self.move(piet, 60, hardware_address="second")
        with EventStream(self.anna, cursor) as stream:
            stream.expect("file-added")
            self.assertEqual(stream.expect("console-moved").data["latitude"], 60)
            self.assertEqual(stream.expect("console-moved").data["latitude"], 19)
            self.move(self.olga, 20, hardware_address="first")
            self.assertEqual(stream.expect("console-moved").data["latitude"], 20)

    def test_an_open_stream_gets_the_moves_in_their_order(self):
        sent = list(range(20))
        received = []
        with EventStream(self.anna) as stream:
            for latitude in sent:
                self.move(self.olga, latitude)
            while received[-1:] != sent[-1:]:
                received.append(stream.expect("console-moved").data["latitude"])
        self.assertTrue(is_every_move(received, sent), received)


class MovesAndRetention(ConsoleTest):
    OPTIONS = ("--event-retention", "5")

    def test_moves_do_not_prune_other_events(self):
        inbox = make_inbox(self.olga)
        cursor = self.olga.snapshot()["cursor"]
        self.olga.put("kept.zip", [inbox], b"kept")
        for latitude in range(50):
            self.move(self.olga, latitude)
        with EventStream(self.olga, cursor) as stream:
            stream.expect("file-added")
        with EventStream(self.anna, cursor) as stream:
            stream.expect("file-added")
            self.assertEqual(stream.expect("console-moved").data["latitude"], 49)


if __name__ == "__main__":
    unittest.main()

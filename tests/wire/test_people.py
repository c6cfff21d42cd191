"""Accounts that a farm's office runs itself, and the data of one person."""

import http.client
import itertools
import json
import unittest

from kelvowire.events import END, EventStream
from kelvowire.farm import PASSWORD, PROJECTS, WireTest, log_in, make_inbox
from kelvowire.fleet import end_reasons
from kelvowire.http import Client, begin_request

OTHER = "another good one"


class PeopleTest(WireTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.service.secrets.add(OTHER)

    def setUp(self):
        self.admin, self.anna = self.user("admin"), self.user("anna")

    def add(self, name, expect=201, client=None, **change):
        return (client or self.anna).post("/users", expect, json={"name": name, "password": PASSWORD, "role": "operator",
                                                                  **change})

    def change(self, client, user, expect=200, **change):
        return client.request("PATCH", f"/users/{user}", expect, json=change)

    def try_login(self, name, password, expect):
        client = Client(self.service)
        self.addCleanup(client.close)
        return client.post("/sessions", expect, json={"user": name, "password": password})


class OwnAccount(PeopleTest):
    def test_a_user_changes_their_own_password(self):
        self.add("paula")
        here, there = self.user("paula"), self.user("paula")
        with EventStream(there) as stream:
            here.post("/account/password", 403, json={"current": "wrong password", "new": OTHER})
            here.post("/account/password", 422, json={"current": PASSWORD, "new": "short"})
            there.get("/account")
            here.post("/account/password", 204, json={"current": PASSWORD, "new": OTHER})
            self.assertEqual(stream.expect("session-ended").data, {"reason": "revoked"})
            self.assertIs(stream.next(), END)
        here.get("/account")
        there.get("/account", 401)
        self.try_login("paula", PASSWORD, 401)
        log_in(self.service, "paula", OTHER).close()

    def test_sessions_are_listed_and_ended_singly(self):
        self.add("sven")
        here, there = self.user("sven"), self.user("sven")
        there.request("PUT", "/environment", 204, json={"timestamp_ms": 1, "console": {"console_string": "Cab 7"},
                                                        "controller": {}})
        sessions = here.get("/sessions").json()["sessions"]
        self.assertEqual([(one["console"], one["address"], one["current"]) for one in sessions],
                         [("", "127.0.0.1", True), ("Cab 7", "127.0.0.1", False)])
        with EventStream(there) as stream:
            here.delete("/sessions/" + sessions[1]["id"])
            self.assertEqual(stream.expect("session-ended").data, {"reason": "revoked"})
        there.get("/account", 401)
        self.assertEqual(len(here.get("/sessions").json()["sessions"]), 1)
        self.refused(self.anna.delete("/sessions/" + sessions[0]["id"], 404), "not-found")
        here.delete("/sessions/" + sessions[0]["id"])
        here.get("/account", 401)


class Office(PeopleTest):
    def test_the_office_ends_single_sessions_of_its_operators(self):
        lars = self.add("lars").json()["id"]
        here, there = self.user("lars"), self.user("lars")
        first, second = [one["id"] for one in self.anna.get(f"/users/{lars}/export").json()["sessions"]]
        for client, status in ((self.user("oda"), 404), (self.user("piet"), 403)):
            client.delete(f"/users/{lars}/sessions/{first}", status)
        with EventStream(here) as stream:
            self.anna.delete(f"/users/{lars}/sessions/{first}")
            self.assertEqual(stream.expect("session-ended").data, {"reason": "revoked"})
        here.get("/account", 401)
        there.get("/account")
        self.refused(self.anna.delete(f"/users/{lars}/sessions/{first}", 404), "not-found")
        own = self.anna.get("/sessions").json()["sessions"][0]["id"]
        self.refused(self.anna.delete(f"/users/{lars}/sessions/{own}", 404), "not-found")
        office = self.anna.get("/account").json()["user"]["id"]
        self.refused(self.anna.delete(f"/users/{office}/sessions/{own}", 403), "forbidden")
        entry = self.anna.get("/audit?action=session-end&limit=1").json()["entries"][0]
        self.assertEqual((entry["actor"]["name"], entry["object"]["name"]), ("anna", "lars"))
        self.admin.delete(f"/users/{lars}/sessions/{second}")
        there.get("/account", 401)

    def test_the_office_makes_operators_with_their_inboxes(self):
        with EventStream(self.anna) as office:
            user = self.add("nora", inboxes=True).json()
            for name in ["inbox-added"] * len(PROJECTS) + ["people-changed"]:
                office.expect(name)
        self.assertEqual((user["role"], user["farm"]["name"]), ("operator", "Hill Farm"))
        projects = self.user("nora").snapshot()["projects"]
        own = [(project["name"], inbox["name"]) for project in projects for inbox in project["resources"]
               if inbox["owner"]["id"] == user["id"]]
        self.assertEqual(own, [(name, "nora") for name in PROJECTS])
        self.assertIn(user, self.anna.get("/users").json()["users"])

    def test_the_office_makes_no_other_users(self):
        for change in ({"role": "office"}, {"farm": "Dale Farm"}):
            self.refused(self.add("mallory", 403, **change), "forbidden")
        self.refused(self.add("mallory", 403, self.user("olga")), "forbidden")

    def test_the_office_sees_and_changes_the_users_of_its_farm_only(self):
        users = {user["name"]: user["id"] for user in self.admin.get("/users").json()["users"]}
        seen = {user["farm"]["name"] for user in self.anna.get("/users").json()["users"]}
        self.assertEqual(seen, {"Hill Farm"})
        self.anna.get("/users?farm=Dale%20Farm", 404)
        for name, status in (("otto", 404), ("oda", 404), ("admin", 404), ("anna", 403)):
            for method, path in (("PATCH", ""), ("DELETE", ""), ("DELETE", "/track")):
                if (name, method, path) != ("anna", "DELETE", ""):
                    self.anna.request(method, f"/users/{users[name]}{path}", status,
                                      json={"disabled": True} if method == "PATCH" else None)
        self.anna.delete(f"/users/{users['anna']}", 409)
        self.anna.get(f"/users/{users['otto']}/export", 404)

    def test_the_office_disables_and_gives_new_passwords(self):
        user = self.add("karl").json()["id"]
        karl = self.user("karl")
        self.change(self.anna, user, password=OTHER)
        karl.get("/account", 401)
        log_in(self.service, "karl", OTHER).close()
        self.change(self.anna, user, disabled=True)
        self.try_login("karl", OTHER, 403)
        self.refused(self.change(self.anna, user, 403, role="office"), "forbidden")

    def test_the_administrator_changes_roles(self):
        user = self.add("rosa").json()["id"]
        rosa = self.user("rosa")
        self.assertEqual(self.change(self.admin, user, role="office").json()["role"], "office")
        rosa.get("/account", 401)
        self.user("rosa").get("/consoles")
        self.refused(self.change(self.admin, user, 422, role="admin"), "unprocessable")

    def test_users_farms_and_files_are_renamed(self):
        user = self.add("willi").json()["id"]
        willi = self.user("willi")
        inbox = make_inbox(willi)
        file = willi.put("old.zip", [inbox], b"old")[0]["id"]
        with EventStream(willi) as stream:
            answer = willi.request("PATCH", f"/resources/{file}", 200, json={"name": "new.zip"}).json()
            self.assertEqual((answer["id"], answer["name"]), (file, "new.zip"))
            self.assertEqual(stream.expect("file-removed").data["entry"]["name"], "old.zip")
            self.assertEqual(stream.expect("file-added").data["entry"]["name"], "new.zip")
        self.user("piet").request("PATCH", f"/resources/{file}", 404, json={"name": "mine.zip"})
        willi.request("PATCH", f"/resources/{inbox}", 403, json={"name": "box"})
        for name in ("", "..", "a/b", "x" * 256):
            willi.request("PATCH", f"/resources/{file}", 422, json={"name": name})
        with EventStream(self.anna) as office:
            self.change(self.anna, user, name="wilhelm")
            office.expect("people-changed")
        self.assertEqual(self.change(self.anna, user, 409, name="olga").problem, "conflict")
        self.change(self.anna, user, 422, name="deleted-user-7")
        self.try_login("willi", PASSWORD, 401)
        names = [item["name"] for project in self.user("wilhelm").snapshot()["projects"] for item in project["resources"]]
        self.assertIn("wilhelm", names)
        farm = self.admin.post("/farms", json={"name": "Mill Farm"}).json()["id"]
        self.assertEqual(self.admin.request("PATCH", f"/farms/{farm}", 200, json={"name": "Moor Farm"}).json()["name"],
                         "Moor Farm")
        self.admin.request("PATCH", f"/farms/{farm}", 409, json={"name": "Hill Farm"})
        self.admin.request("PATCH", "/farms/2147483647", 404, json={"name": "No Farm"})


class Deletion(PeopleTest):
    def test_a_deleted_users_files_go_to_the_heir(self):
        user = self.add("hugo").json()["id"]
        heir = self.add("erbe").json()["id"]
        hugo, erbe = self.user("hugo"), self.user("erbe")
        inbox = make_inbox(hugo, "Curves")
        kept = hugo.put("kept.zip", [inbox], b"kept")[0]["id"]
        binned = hugo.put("binned.zip", [inbox], b"binned")[0]["id"]
        hugo.delete(f"/resources/{binned}")
        self.change(self.anna, user, name="hugo senior")
        self.refused(self.anna.delete(f"/users/{user}", 409), "conflict")
        for wrong in (user, 2147483647):
            self.anna.delete(f"/users/{user}?heir={wrong}", 422)
        with EventStream(erbe) as stream:
            with EventStream(self.anna) as office:
                self.anna.delete(f"/users/{user}?heir={heir}")
                for name in ("inbox-added", "file-removed", "file-added", "people-changed"):
                    office.expect(name)
            self.assertEqual(stream.expect("inbox-added").data["entry"]["name"], "erbe")
            self.assertEqual(stream.expect("file-added").data["entry"]["id"], kept)
        hugo.get("/account", 401)
        self.try_login("hugo", PASSWORD, 401)
        in_bin = {file["id"]: file["deleted_by"] for file in self.anna.get("/bin").json()["files"]}
        self.assertEqual(in_bin[binned], f"deleted-user-{user}")
        self.assertEqual(erbe.get(f"/resources/{kept}/content").body, b"kept")
        self.anna.post(f"/bin/{binned}/restore", 200)
        self.assertEqual(self.names(erbe, make_inbox(erbe, "Curves")), ["kept.zip", "binned.zip"])
        names = [item["name"] for project in self.anna.snapshot()["projects"] for item in project["resources"]]
        self.assertNotIn("hugo", names)
        self.assertNotIn(user, [one["id"] for one in self.anna.get("/users").json()["users"]])
        self.anna.delete(f"/users/{user}", 404)
        self.assertNotEqual(self.add("hugo").json()["id"], user)

    def test_a_disabled_user_is_no_heir(self):
        user, heir = (self.add(name).json()["id"] for name in ("ulla", "vera"))
        ulla = self.user("ulla")
        ulla.put("kept.zip", [make_inbox(ulla)], b"kept")
        self.change(self.anna, heir, disabled=True)
        self.refused(self.anna.delete(f"/users/{user}?heir={heir}", 422), "unprocessable")
        ulla.get("/account")
        self.change(self.anna, heir, disabled=False)
        self.anna.delete(f"/users/{user}?heir={heir}")

    def test_the_last_administrator_stays(self):
        own = self.admin.snapshot()["user"]["id"]
        self.refused(self.admin.delete(f"/users/{own}", 409), "conflict")

    def test_a_deleted_farm_is_gone_with_everything(self):
        farm = self.admin.post("/farms", json={"name": "Gone Farm"}).json()["id"]
        for name, role in (("gerd", "operator"), ("gabi", "office")):
            self.add(name, client=self.admin, farm="Gone Farm", role=role)
        gerd = self.user("gerd")
        gerd.put("gone.zip", [make_inbox(gerd)], b"gone")
        gerd.create("half.zip", [make_inbox(gerd)], 4, b"ha")
        gerd.post("/positions", 204, json={"time_s": 1, "latitude": 1, "longitude": 2})
        self.admin.delete(f"/farms/{farm}", 409)
        self.admin.delete(f"/farms/{farm}?confirm=Hill%20Farm", 409)
        with EventStream(gerd) as stream:
            self.admin.delete(f"/farms/{farm}?confirm=Gone%20Farm")
            self.assertIn(stream.expect("session-ended").data["reason"], end_reasons("disabled"))
        gerd.get("/account", 401)
        self.try_login("gerd", PASSWORD, 401)
        self.assertNotIn("Gone Farm", [one["name"] for one in self.admin.get("/farms").json()["farms"]])
        self.assertNotIn("gabi", [one["name"] for one in self.admin.get("/users").json()["users"]])
        trail = [one for one in self.admin.get("/audit?limit=1000").json()["entries"] if one["farm"] == farm]
        self.assertIn("login", [one["action"] for one in trail])
        self.assertNotIn("gerd", str(trail))
        self.assertEqual({one["address"] for one in trail if one["action"] == "login"}, {""})
        self.admin.post("/farms", json={"name": "Gone Farm"})


class LateBodies(PeopleTest):
    """The body of a request arrives after the end of the session."""

    def begin(self, client, method, path, **body):
        """Begins a request. Returns a function that sends the rest of its body and returns the status."""
        text = json.dumps(body).encode()
        connection = begin_request(self.service, client.token, method, path, len(text),
                                   {"Content-Type": "application/json", "Expect": "100-continue"})
        self.addCleanup(connection.close)
        self.assertEqual(connection.recv(4096), b"HTTP/1.1 100 Continue\r\n\r\n")
        connection.sendall(text[:3])

        def end():
            connection.sendall(text[3:])
            answer = http.client.HTTPResponse(connection)
            answer.begin()
            return answer.status
        return end

    def test_a_deleted_administrator_changes_nothing(self):
        second = self.add("admin 2", client=self.admin, role="admin").json()["id"]
        user = self.add("xenia").json()["id"]
        farm = self.admin.post("/farms", json={"name": "Late Farm"}).json()["id"]
        client = self.user("admin 2")
        ends = [self.begin(client, "POST", "/users", name="admin 3", password=PASSWORD, role="admin"),
                self.begin(client, "PATCH", f"/users/{user}", password=OTHER),
                self.begin(client, "POST", "/farms", name="Later Farm"),
                self.begin(client, "PATCH", f"/farms/{farm}", name="Later Farm"),
                self.begin(client, "PATCH", f"/farms/{farm}/quota", farm={"bytes": 1})]
        self.admin.delete(f"/users/{second}")
        self.assertEqual([end() for end in ends], [401] * len(ends))
        self.assertEqual(self.admin.get("/users?name=admin%203").json()["users"], [])
        self.assertNotIn("Later Farm", [one["name"] for one in self.admin.get("/farms").json()["farms"]])
        self.assertNotEqual(self.admin.get(f"/farms/{farm}/usage").json()["quota"]["farm"]["bytes"], 1)
        self.user("xenia")

    def test_a_disabled_office_user_changes_nothing(self):
        office = self.add("office 2", client=self.admin, farm="Hill Farm", role="office").json()["id"]
        client = self.user("office 2")
        inbox = make_inbox(self.anna)
        file = self.anna.put("stays.zip", [inbox], b"stays")[0]["id"]
        ends = [self.begin(client, "POST", "/users", name="yves", password=PASSWORD, role="operator"),
                self.begin(client, "PATCH", f"/resources/{file}", name="late.zip")]
        self.change(self.admin, office, disabled=True)
        self.assertEqual([end() for end in ends], [401] * len(ends))
        self.assertEqual(self.anna.get("/users?name=yves").json()["users"], [])
        self.assertIn("stays.zip", self.names(self.anna, inbox))

    def test_an_administrator_ends_their_own_session(self):
        own = self.add("admin 4", client=self.admin, role="admin").json()["id"]
        client = self.user("admin 4")
        self.change(client, own, password=OTHER)
        client.get("/account", 401)
        client = log_in(self.service, "admin 4", OTHER)
        self.addCleanup(client.close)
        session = client.get("/sessions").json()["sessions"][0]["id"]
        client.delete(f"/users/{own}/sessions/{session}")
        client.get("/account", 401)
        client = log_in(self.service, "admin 4", OTHER)
        self.addCleanup(client.close)
        self.change(client, own, disabled=True)
        client.get("/account", 401)


class Person(PeopleTest):
    def report(self, client, count):
        for n in range(count):
            client.post("/positions", 204, json={"time_s": n + 1, "latitude": 50 + n, "longitude": 8})

    def test_the_export_has_files_sessions_and_positions(self):
        user = self.add("egon").json()["id"]
        egon = self.user("egon")
        inbox = make_inbox(egon)
        egon.put("mine.zip", [inbox], b"mine")
        binned = egon.put("old.zip", [inbox], b"old")[0]["id"]
        egon.delete(f"/resources/{binned}")
        egon.create("half.zip", [inbox], 5)
        anna = self.user("anna")
        anna.create("to egon.zip", [inbox], 5)
        piet = self.user("piet")
        sent, other = (file["id"] for file in anna.put("sent.zip", [inbox, make_inbox(piet)], b"sent"))
        piet.post("/fetches", 204, json={"fetches": [{"file": other, "age_s": 0}]})
        egon.post("/fetches", 204, json={"fetches": [{"file": sent, "age_s": 0, "unpack_error": "damaged"}]})
        self.report(egon, 3)
        self.report(piet, 1)
        for client in (egon, self.anna, self.admin):
            document = client.get(f"/users/{user}/export").json()
            self.assertEqual(document["user"]["name"], "egon")
            self.assertEqual([entry["name"] for inbox in document["inboxes"] for entry in inbox["entries"]], ["mine.zip", "sent.zip"])
            self.assertEqual([one["current"] for one in document["sessions"]], [client is egon])
            self.assertEqual([one["network"] for one in document["networks"]], ["127.0.0.0"])
            self.assertEqual([file["name"] for file in document["bin"]], ["old.zip"])
            self.assertEqual([(one["name"], one["targets"]) for one in document["uploads"]], [("half.zip", [inbox])])
            fetch, = document["fetches"]
            self.assertEqual((fetch["file"], fetch["name"], fetch["fetched_by"]["user"], fetch["unpack_error"]),
                             (sent, "sent.zip", {"id": user, "name": "egon"}, "damaged"))
            page = client.get(f"/users/{user}/track?limit=2")
            rest = client.get(page.headers["Link"].split(">")[0][1:])
            self.assertEqual([point["latitude"] for answer in (page, rest) for point in answer.json()["positions"]], [50, 51, 52])
            self.assertIsNone(rest.headers["Link"])
        piet.get(f"/users/{user}/export", 403)
        self.user("otto").get(f"/users/{user}/track", 404)

    def moves(self, cursor):
        """The latitudes of the moves after the cursor, up to the first change of people."""
        with EventStream(self.anna, cursor=cursor) as stream:
            events = iter(stream.next, END)
            return [event.data["latitude"] for event in
                    itertools.takewhile(lambda event: event.name != "people-changed", events)
                    if event.name == "console-moved"]

    def test_erasure_removes_the_events_of_the_persons_own_moves(self):
        users = [self.add(name).json()["id"] for name in ("frida", "gunda")]
        frida, gunda = self.user("frida"), self.user("gunda")
        cursor = self.anna.snapshot()["cursor"]
        cab = {"console": {"hardware_address": "shared"}, "controller": {}, "timestamp_ms": 1}
        frida.request("PUT", "/environment", 204, json=cab)
        self.report(frida, 1)
        gunda.request("PUT", "/environment", 204, json=cab)
        self.add("hilda")
        self.anna.delete(f"/users/{users[1]}/track")
        self.assertEqual(self.moves(cursor), [50])
        self.anna.delete(f"/users/{users[0]}/track")
        self.assertEqual(self.moves(cursor), [])

    def test_erasure_removes_positions_and_names(self):
        user = self.add("lena").json()["id"]
        lena = self.user("lena")
        self.report(lena, 2)
        lena.delete(f"/users/{user}/track", 403)
        self.anna.delete(f"/users/{user}/track")
        self.assertEqual(lena.get(f"/users/{user}/track").json()["positions"], [])
        self.report(lena, 1)
        self.anna.delete(f"/users/{user}")
        entries = self.anna.get("/audit?limit=1000").json()["entries"]
        own = [entry for entry in entries if entry["actor"] and entry["actor"]["id"] == user]
        about = [entry for entry in entries if entry["object"] and entry["object"]["id"] == user and entry["object"]["kind"] == "user"]
        self.assertEqual({(entry["actor"]["name"], entry["address"]) for entry in own}, {("", "")})
        self.assertEqual({entry["object"]["name"] for entry in about}, {""})
        self.assertEqual(about[0]["action"], "user-delete")
        self.assertNotIn("lena", str(self.anna.get("/consoles").json()))


if __name__ == "__main__":
    unittest.main()

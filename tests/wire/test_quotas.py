"""Quotas: one farm or user cannot take the storage of the others. The office and the administrator empty the bin."""

import http.client
import os
import unittest

from kelvowire.ageing import let_pass
from kelvowire.farm import PASSWORD, add_farms_and_users, log_in, log_in_admin, make_inbox
from kelvowire.http import OCTETS, begin_request, begin_upload, metadata, metrics
from kelvowire.service import Service

CONTENT = b"x" * 1000
POSITION = {"latitude": 50.0, "longitude": 8.0, "time_s": 1777615950}


class Quotas(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.admin, self.olga, self.anna, self.piet, self.otto = (self.client(name) for name in
                                                                  ("admin", "olga", "anna", "piet", "otto"))
        self.inbox = make_inbox(self.olga)
        farms = {farm["name"]: farm["id"] for farm in self.admin.get("/farms").json()["farms"]}
        self.farm, self.other_farm = farms["Hill Farm"], farms["Dale Farm"]

    def tearDown(self):
        self.service.stop()
        self.service.check_log()

    def client(self, name):
        client = log_in_admin(self.service) if name == "admin" else log_in(self.service, name)
        self.addCleanup(client.close)
        return client

    def limit(self, **scopes):
        return self.admin.request("PATCH", f"/farms/{self.farm}/quota", 200, json=scopes).json()

    def usage(self, client=None):
        return (client or self.admin).get(f"/farms/{self.farm}/usage").json()

    def refused(self, answer):
        self.assertEqual(answer.problem, "quota-exceeded", answer)

    def test_the_farm_quota_of_bytes_counts_the_bin_and_open_uploads(self):
        self.limit(farm={"bytes": 3000})
        kept = self.olga.put("a", [self.inbox], CONTENT)[0]
        self.olga.delete(f"/resources/{kept['id']}")
        self.olga.create("open", [self.inbox], 1000)
        self.olga.put("b", [self.inbox], CONTENT)
        self.refused(self.olga.create("c", [self.inbox], 1, b"c", expect=507))
        self.refused(self.piet.create("c", [make_inbox(self.piet)], 1, b"c", expect=507))
        self.otto.put("of another farm", [make_inbox(self.otto)], CONTENT)
        usage = self.usage()["usage"]
        self.assertEqual((usage["bytes"], usage["bin_bytes"], usage["upload_bytes"]), (2000, 1000, 1000))
        self.anna.delete(f"/bin/{kept['id']}")
        self.olga.put("c", [self.inbox], CONTENT)

    def test_uploads_of_a_deleted_user_leave_nothing_on_the_disk(self):
        create = {"Tus-Resumable": "1.0.0", "Upload-Length": "8", "Upload-Metadata": metadata("half.zip", [make_inbox(self.piet)])}
        paths = [self.piet.post("/uploads", 201, headers=create).headers["location"] for _ in range(2)]
        append = {"Tus-Resumable": "1.0.0", "Content-Type": OCTETS, "Upload-Offset": "0"}
        self.piet.request("PATCH", paths[0], 204, body=b"half", headers=append)
        running = begin_request(self.service, self.piet.token, "PATCH", paths[1], 8, append, b"half")
        self.addCleanup(running.close)
        parts = [self.service.path("uploads", path.rsplit("/", 1)[1]) for path in paths]
        while not all(os.path.exists(part) for part in parts):
            self.assertTrue(self.service.running())
        self.anna.delete(f"/users/{self.piet.snapshot()['user']['id']}")
        self.assertEqual(running.recv(1), b"")
        self.assertEqual([part for part in parts if os.path.exists(part)], [])

    def test_a_limit_of_zero_refuses_every_byte(self):
        for scope in ("farm", "user"):
            with self.subTest(scope=scope):
                self.limit(**{scope: {"bytes": 0}})
                for length in (1, 1000):
                    self.refused(self.olga.create("a", [self.inbox], length, expect=507))
                self.limit(**{scope: {"bytes": None}})
        self.assertEqual(self.usage()["usage"]["upload_bytes"], 0)

    def test_tells_an_exceeded_quota_before_the_body(self):
        self.limit(user={"bytes": 999})
        headers = {"Upload-Length": "1000", "Upload-Metadata": metadata("a", [self.inbox]), "Expect": "100-continue"}
        with begin_upload(self.service, self.olga.token, "POST", "/uploads", 1000, headers, b"") as connection:
            answer = http.client.HTTPResponse(connection)
            answer.begin()
            self.assertEqual((answer.status, b"quota-exceeded" in answer.read()), (507, True))
        self.refused(self.olga.create("a", [self.inbox], 1000, expect=507))
        self.olga.put("a", [self.inbox], CONTENT[:999])

    def test_a_length_that_comes_later_needs_room_too(self):
        self.limit(user={"bytes": 999})
        headers = {"Upload-Defer-Length": "1", "Upload-Metadata": metadata("a", [self.inbox])}
        location = self.olga.tus("POST", "/uploads", 201, headers=headers).headers["Location"]
        headers = {"Upload-Offset": "0", "Content-Type": OCTETS}
        self.refused(self.olga.tus("PATCH", location, 507, headers=headers | {"Upload-Length": "1000"}, body=CONTENT))
        self.assertEqual(self.olga.offset(location), 0)
        self.olga.tus("PATCH", location, 204, headers=headers | {"Upload-Length": "999"}, body=CONTENT[:999])

    def test_uploads_without_a_length_hold_room_for_their_bytes(self):
        self.limit(farm={"bytes": 2500})
        headers = {"Upload-Defer-Length": "1", "Upload-Metadata": metadata("a", [self.inbox])}
        first, second = (self.olga.tus("POST", "/uploads", 201, headers=headers).headers["Location"] for _ in range(2))
        at = {offset: {"Upload-Offset": str(offset), "Content-Type": OCTETS} for offset in (0, 1000)}
        self.olga.tus("PATCH", first, 204, headers=at[0], body=CONTENT)
        self.olga.tus("PATCH", second, 204, headers=at[0], body=CONTENT)
        self.refused(self.olga.tus("PATCH", first, 507, headers=at[1000], body=CONTENT))
        self.assertEqual(self.usage()["usage"]["upload_bytes"], 2000)
        self.olga.tus("PATCH", first, 204, headers=at[1000] | {"Upload-Length": "1500"}, body=CONTENT[:500])
        usage = self.usage()["usage"]
        self.assertEqual((usage["bytes"], usage["upload_bytes"]), (1500, 1000))

    def test_a_refused_part_of_an_upload_without_a_length_leaves_the_quota(self):
        headers = {"Upload-Defer-Length": "1", "Upload-Metadata": metadata("a", [self.inbox])}
        location = self.olga.tus("POST", "/uploads", 201, headers=headers).headers["Location"]
        part = {"Upload-Offset": "0", "Content-Type": OCTETS}
        self.olga.tus("PATCH", location, 204, headers=part, body=b"x" * 10)
        refused = [(409, {"Upload-Offset": "500"}), (409, {"Upload-Offset": str(2 ** 63 - 1)}),
                   (460, {"Upload-Offset": "10", "Upload-Checksum": "sha256 " + "A" * 43 + "="})]
        for status, wrong in refused:
            with self.subTest(wrong=wrong):
                self.olga.tus("PATCH", location, status, headers=part | wrong, body=CONTENT)
                self.assertEqual(self.usage()["usage"]["upload_bytes"], 10)

    def test_a_full_farm_leaves_the_others_their_work(self):
        self.limit(farm={"bytes": 1000})
        file = self.olga.put("a", [self.inbox], CONTENT)[0]
        self.refused(self.olga.create("b", [self.inbox], 1000, CONTENT, expect=507))
        self.otto.put("a", [make_inbox(self.otto)], CONTENT)
        for user in ("olga", "otto", "admin"):
            self.client(user).delete("/sessions/current")
        self.olga.delete(f"/resources/{file['id']}")

    def test_the_usage_of_all_farms_comes_with_the_largest_first(self):
        self.otto.put("a", [make_inbox(self.otto)], CONTENT)
        self.olga.put("a", [self.inbox], CONTENT + b"x")
        self.limit(farm={"files": 7})
        farms = self.admin.get("/usage").json()["farms"]
        self.assertEqual([(usage["farm"]["name"], usage["bytes"], usage["files"]) for usage in farms],
                         [("Hill Farm", 1001, 1), ("Dale Farm", 1000, 1)])
        self.assertEqual(farms[0]["file_limit"], 7)
        self.assertGreater(farms[1]["file_limit"], 7)
        self.assertEqual(len(self.admin.get("/usage?limit=1").json()["farms"]), 1)
        for client in (self.anna, self.olga):
            client.get("/usage", 403)

    def test_the_usage_of_all_farms_counts_the_uploads_in_progress(self):
        self.limit(farm={"bytes": 1000})
        self.olga.create("a", [self.inbox], 999)
        self.assertEqual([(usage["farm"]["name"], usage["bytes"], usage["files"])
                          for usage in self.admin.get("/usage?limit=1").json()["farms"]], [("Hill Farm", 999, 1)])
        self.assertEqual(self.usage()["usage"]["upload_files"], 1)
        self.refused(self.olga.create("b", [self.inbox], 2, expect=507))

    def test_the_metrics_show_the_largest_farms_only(self):
        self.otto.put("a", [make_inbox(self.otto)], CONTENT)
        self.olga.put("a", [self.inbox], CONTENT + b"x")
        self.limit(farm={"files": 1})
        self.service.stop()
        self.service.options += ("--metrics-farms", "1")
        self.service.start()
        lines = metrics(self.service)[1].splitlines()
        self.assertIn("kelvo_farms_nearly_full 1", lines)
        self.assertEqual([line for line in lines if line.startswith(("kelvo_farm_bytes", "kelvo_farm_files"))],
                         [f'kelvo_farm_bytes{{farm="{self.farm}"}} 1001', f'kelvo_farm_files{{farm="{self.farm}"}} 1'])

    def test_the_owners_of_the_targets_pay(self):
        inboxes = [self.inbox, make_inbox(self.piet)]
        self.limit(user={"files": 1})
        self.anna.put("a", inboxes, b"a")
        self.refused(self.anna.create("b", [inboxes[1]], 1, b"b", expect=507))
        files = {user["name"]: user["usage"]["files"] for user in self.usage(self.anna)["users"]}
        self.assertEqual(files, {"olga": 1, "piet": 1, "anna": 0})

    def test_the_farm_quota_of_files_counts_each_target(self):
        inboxes = [self.inbox, make_inbox(self.piet)]
        self.limit(farm={"files": 1})
        self.refused(self.anna.create("a", inboxes, 1, b"a", expect=507))
        self.anna.put("a", inboxes[:1], b"a")

    def test_the_quota_of_uploads_leaves_the_other_users_alone(self):
        self.limit(user={"uploads": 2})
        locations = [self.olga.create(f"{i}", [self.inbox], 10).headers["Location"] for i in range(2)]
        self.refused(self.olga.create("more", [self.inbox], 10, expect=507))
        self.piet.create("a", [make_inbox(self.piet)], 10)
        self.olga.patch(locations[0], 0, b"x" * 10)
        self.olga.create("more", [self.inbox], 10)

    def test_a_repeat_needs_no_room(self):
        done = self.olga.create("a", [self.inbox], 1, b"a", key="key").json()
        self.limit(farm={"files": 0})
        self.assertEqual(self.olga.create("a", [self.inbox], 1, b"a", key="key").json(), done)

    def test_the_oldest_session_ends_beyond_the_quota(self):
        self.limit(user={"sessions": 2})
        second, third = self.client("olga"), self.client("olga")
        self.olga.get("/account", 401)
        for client in (second, third, self.piet):
            client.get("/account")

    def test_the_rate_of_positions_has_a_limit_for_each_user(self):
        self.limit(user={"positions": 3})
        answers = [self.olga.request("POST", "/positions", (204, 429), json=POSITION) for _ in range(9)]
        refused = [answer for answer in answers if answer.status == 429]
        self.assertGreaterEqual(len(refused), 3)  # The requests are in at most two minutes
        self.assertEqual((refused[0].problem, refused[0].headers["Retry-After"]), ("rate-limited", "60"))
        self.piet.request("POST", "/positions", 204, json=POSITION)

    def test_the_administrator_changes_limits_and_takes_them_back(self):
        before = self.usage()["quota"]
        changed = self.limit(farm={"bytes": 5}, user={"files": 6})
        self.assertEqual((changed["farm"]["bytes"], changed["user"]["files"]), (5, 6))
        self.assertEqual(self.usage(self.anna)["quota"], changed)
        self.assertEqual(self.limit(farm={"bytes": None}, user={"files": None}), before)
        for wrong in ({"farm": {"sessions": 1}}, {"farm": {"bytes": -1}}, {"user": {"nonsense": 1}}):
            self.admin.request("PATCH", f"/farms/{self.farm}/quota", 422, json=wrong)
        for client in (self.olga, self.anna):
            client.request("PATCH", f"/farms/{self.farm}/quota", 403, json={})
        self.olga.get(f"/farms/{self.farm}/usage", 403)
        self.anna.get(f"/farms/{self.other_farm}/usage", 404)
        self.admin.get("/farms/999/usage", 404)

    def test_the_farm_quota_of_users_counts_users_deleted_lately(self):
        def add(name, client=self.anna, **more):
            return client.post("/users", (201, 507), json={"name": name, "password": PASSWORD, "role": "operator", **more})

        self.assertEqual(self.usage()["usage"]["users"], 3)
        self.limit(farm={"users": 4})
        nils = add("nils")
        self.assertEqual(nils.status, 201, nils)
        self.refused(add("nora"))
        self.refused(add("nora", self.admin, farm="Hill Farm"))
        self.assertEqual(add("nora", self.admin, farm="Dale Farm").status, 201)
        self.anna.delete(f"/users/{nils.json()['id']}")
        self.refused(add("nele"))
        self.assertEqual(self.usage(self.anna)["usage"]["users"], 4)
        let_pass(self.service, 31)
        self.admin, self.anna = self.client("admin"), self.client("anna")
        self.assertEqual(self.usage()["usage"]["users"], 3)
        self.assertEqual(add("nele", self.anna).status, 201)

    def test_the_bin_is_emptied_and_the_contents_go(self):
        content = os.urandom(2000)
        files = [self.olga.put(f"{i}", [self.inbox], content)[0] for i in range(3)]
        path = self.service.path("content", files[0]["sha256"][:2], files[0]["sha256"])
        for file in files[:2]:
            self.olga.delete(f"/resources/{file['id']}")
        self.olga.delete(f"/bin/{files[0]['id']}", 403)
        self.client("oda").delete(f"/bin/{files[0]['id']}", 404)
        self.anna.delete(f"/bin/{files[2]['id']}", 404)  # Not in the bin
        self.anna.delete(f"/bin/{files[0]['id']}")
        self.anna.delete(f"/bin/{files[0]['id']}", 404)
        self.assertEqual([file["id"] for file in self.anna.get("/bin").json()["files"]], [files[1]["id"]])
        self.admin.delete("/bin", 404)
        self.admin.delete(f"/bin?farm={self.farm}")
        self.assertEqual(self.anna.get("/bin").json()["files"], [])
        self.assertTrue(os.path.exists(path))  # The third file has the content
        self.olga.delete(f"/resources/{files[2]['id']}")
        self.anna.delete("/bin")
        self.assertFalse(os.path.exists(path))
        self.assertEqual(self.usage()["usage"]["bytes"], 0)


if __name__ == "__main__":
    unittest.main()

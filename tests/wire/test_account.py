"""The snapshot, single containers and new inboxes."""

import gzip
import json
import threading
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import PASSWORD, PROJECTS, WireTest, make_inbox, quoted


class Account(WireTest):
    def test_a_farm_has_the_seven_projects_in_order(self):
        projects = self.user("oda").snapshot()["projects"]
        self.assertEqual([project["name"] for project in projects], PROJECTS)
        ids = [project["id"] for project in projects]
        self.assertEqual(ids, sorted(set(ids)))

    def test_an_administrator_sees_no_projects(self):
        self.assertEqual(self.user("admin").snapshot()["projects"], [])

    def test_operators_see_all_inboxes_but_only_their_own_files(self):
        olga, piet, anna, otto = map(self.user, ("olga", "piet", "anna", "otto"))
        hers, his = make_inbox(olga, "Curves"), make_inbox(piet, "Curves")
        olga.put("hers.zip", [hers], b"1")
        piet.put("his.zip", [his], b"22")

        def seen(client):
            project = next(p for p in client.snapshot()["projects"] if p["name"] == "Curves")
            return {inbox["id"]: [file["name"] for file in inbox["entries"]] if "entries" in inbox else None
                    for inbox in project["resources"]}

        self.assertEqual(seen(olga), {hers: ["hers.zip"], his: None})
        self.assertEqual(seen(piet), {hers: None, his: ["his.zip"]})
        self.assertEqual(seen(anna), {hers: ["hers.zip"], his: ["his.zip"]})
        self.assertEqual(seen(otto), {})

    def test_the_snapshot_equals_the_single_containers(self):
        olga = self.user("olga")
        inbox = make_inbox(olga, "Pivots")
        olga.put("a.zip", [inbox], b"a")
        for client in (olga, self.user("piet"), self.user("anna")):
            for project in client.snapshot()["projects"]:
                listed = client.get(f"/projects/{project['id']}/resources").json()
                self.assertEqual(listed["project"], {key: project[key] for key in ("id", "kind", "name")})
                self.assertEqual(listed["resources"], project["resources"])
                for box in project["resources"]:
                    self.assertEqual(client.get(f"/resources/{box['id']}").json(), box)
                    for entry in box.get("entries", []):
                        self.assertEqual(client.get(f"/resources/{entry['id']}").json(), entry)

    def test_a_project_is_a_resource(self):
        olga = self.user("olga")
        inbox = make_inbox(olga, "Pivots")
        project = olga.get(f"/resources/{inbox}").json()["project"]
        answer = olga.get(f"/resources/{project}").json()
        self.assertEqual((answer["kind"], answer["name"]), ("project", "Pivots"))
        self.assertIn(inbox, [box["id"] for box in answer["resources"]])

    def test_a_files_record_has_its_etag(self):
        olga = self.user("olga")
        file = olga.put("etag.zip", [make_inbox(olga)], b"etag")[0]
        answer = olga.get(f"/resources/{file['id']}")
        self.assertEqual(answer.headers["ETag"], file["etag"])
        self.assertEqual(file["etag"], f'"{file["sha256"]}"')

    def test_the_snapshot_is_compressed_if_the_client_accepts_gzip(self):
        olga = self.user("olga")
        plain = olga.get("/account", headers={"Accept-Encoding": "identity"})
        self.assertIsNone(plain.headers["Content-Encoding"])
        packed = olga.get("/account", headers={"Accept-Encoding": "gzip, deflate"}, check=False)
        self.assertEqual(packed.headers["Content-Encoding"], "gzip")
        self.assertEqual(json.loads(gzip.decompress(packed.body)), plain.json())
        self.assertLess(len(packed.body), len(plain.body))
        refused = olga.get("/account", headers={"Accept-Encoding": "gzip;q=0"})
        self.assertIsNone(refused.headers["Content-Encoding"])

    def test_an_unchanged_snapshot_is_304_and_a_changed_snapshot_is_200(self):
        olga, piet = self.user("olga"), self.user("piet")
        inbox = make_inbox(olga)
        for encoding in ("identity", "gzip"):
            accept = {"Accept-Encoding": encoding}
            tag = olga.get("/account", headers=accept, check=False).headers["ETag"]
            same = olga.get("/account", 304, headers={**accept, "If-None-Match": tag})
            self.assertEqual((same.body, same.headers["ETag"]), (b"", tag))
            olga.get("/account", 304, headers={**accept, "If-None-Match": f'"other", {tag}'})
            olga.get("/account", 304, headers={**accept, "If-None-Match": tag.removeprefix("W/")})  # Compared weakly.
            olga.get("/account", 200, headers={**accept, "If-None-Match": '"other"'}, check=False)
            piet.get("/account", 200, headers={**accept, "If-None-Match": tag}, check=False)
            olga.put("change.zip", [inbox], b"change")
            changed = olga.get("/account", 200, headers={**accept, "If-None-Match": tag}, check=False)
            self.assertNotEqual(changed.headers["ETag"], tag)

    def test_the_stream_continues_at_the_snapshots_cursor(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        olga.put("before.zip", [inbox], b"x")
        cursor = olga.snapshot()["cursor"]
        after = olga.put("after.zip", [inbox], b"y")[0]
        with EventStream(olga, cursor) as stream:
            event = stream.expect("file-added")
        self.assertEqual(event.data["entry"], after)
        self.assertEqual(olga.snapshot()["cursor"], event.id)

    def test_ids_of_a_farm_are_unique_and_never_reused(self):
        olga, anna = self.user("olga"), self.user("anna")
        inbox = make_inbox(olga)
        used = set()
        for project in anna.snapshot()["projects"]:
            used.add(project["id"])
            for box in project["resources"]:
                used.add(box["id"])
                used.update(entry["id"] for entry in box["entries"])
        for _ in range(3):
            new = olga.put("again.zip", [inbox], b"x")[0]["id"]
            self.assertNotIn(new, used)
            self.assertGreater(new, max(used))
            used.add(new)
            olga.delete(f"/resources/{new}")


class Inboxes(WireTest):
    def new_user(self, name):
        self.user("admin").post("/users", json={"farm": "Hill Farm", "name": name, "password": PASSWORD, "role": "operator"})
        return self.user(name)

    def test_making_an_inbox_twice_returns_the_same_inbox(self):
        nora = self.new_user("nora")
        first = nora.post("/projects/AB%20Lines/user-inbox", 201)
        self.assertEqual(first.json()["owner"]["name"], "nora")
        self.assertEqual((first.json()["name"], first.json()["entries"]), ("nora", []))
        second = nora.post("/projects/AB%20Lines/user-inbox", 200)
        self.assertEqual(first.json(), second.json())
        listed = nora.get(f"/projects/{first.json()['project']}/resources").json()["resources"]
        self.assertEqual([inbox for inbox in listed if inbox["owner"]["name"] == "nora"], [first.json()])

    def test_each_user_has_an_inbox_for_each_project(self):
        ids = {make_inbox(self.user(name), project) for name in ("olga", "piet", "anna") for project in PROJECTS}
        self.assertEqual(len(ids), 21)

    def test_a_body_is_ignored(self):
        otto = self.user("otto")
        otto.post("/projects/Curves/user-inbox", (200, 201), json={"owner": 1})
        self.assertEqual(otto.post("/projects/Curves/user-inbox", 200).json()["owner"]["name"], "otto")

    def test_other_projects_are_not_found(self):
        olga = self.user("olga")
        for name in ("to%20console", "To%20Consol", "To+Console", "%FF%FE", "x%00y", "%2F", "a%2Fb", "..", "%2E%2E", "%ZZ",
                     "A" * 3000, "'%20OR%201=1--"):
            with self.subTest(name=name[:20]):
                olga.post(f"/projects/{name}/user-inbox", (400, 404))

    def test_concurrent_requests_make_one_inbox(self):
        clients = [self.new_user("many")] + [self.user("many") for _ in range(7)]
        answers = []
        threads = [threading.Thread(target=lambda client=client: answers.append(
            client.post(f"/projects/{quoted('Optimal Lines')}/user-inbox", (200, 201)))) for client in clients]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len({answer.json()["id"] for answer in answers}), 1)
        self.assertEqual(sorted(answer.status for answer in answers), [200] * 7 + [201])

    def test_an_administrator_gets_no_inbox(self):
        self.refused(self.user("admin").post("/projects/Curves/user-inbox", 404), "not-found")


if __name__ == "__main__":
    unittest.main()

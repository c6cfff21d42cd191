"""Calls every route of the written API as each kind of caller that has no right to it."""

import unittest

from kelvowire.contract import BASE
from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import CONTRACT, OCTETS, exchange, metadata

METHODS = ("GET", "HEAD", "POST", "PUT", "PATCH", "DELETE", "OPTIONS")
DEVICE = {"hardware_address": "", "text2": "", "console_string": "", "text4": "", "kind": "", "text6": "", "text7": "",
          "number8": 0}
BODIES = {
    ("POST", "/sessions"): {"user": "nobody", "password": "nothing at all"},
    ("PUT", "/environment"): {"timestamp_ms": 1, "console": {}, "controller": DEVICE},
    ("PUT", "/devices"): {"timestamp_ms": 1, "state": 1, "flag": True, "device": DEVICE},
    ("POST", "/positions"): {"time_s": 1, "latitude": 0, "longitude": 0},
    ("POST", "/fetches"): {"fetches": []},
    ("POST", "/farms"): {"name": "Walked Farm"},
    ("POST", "/users"): {"farm": "Hill Farm", "name": "walked", "password": "walked past", "role": "office"},
    ("PATCH", "/users/{id}"): {"password": "walked past"},
    ("POST", "/account/password"): {"current": "not the password", "new": "walked past"},
    ("PATCH", "/resources/{id}"): {"name": "walked.zip"},
    ("PATCH", "/farms/{id}"): {"name": "Walked Farm"},
    ("PATCH", "/farms/{id}/quota"): {"farm": {"bytes": 0}},
}
OF_A_FARM = ("/projects/{id}/resources", "/resources/{id}", "/resources/{id}/content", "/uploads/{id}", "/bin/{id}",
             "/bin/{id}/restore")
OF_A_CONSOLE = ("/consoles/{id}", "/consoles/{id}/track")
FOR_ADMINS = ("/usage", "/farms", "/farms/{id}", "/farms/{id}/usage", "/farms/{id}/quota", "/users", "/users/{id}",
              "/users/{id}/export", "/users/{id}/track", "/audit")
FOR_ALL = ("/account", "/account/password", "/events", "/sessions", "/sessions/current")


class Walk(WireTest):
    def setUp(self):
        self.olga, self.anna = self.user("olga"), self.user("anna")
        for client in (self.olga, self.anna, self.user("piet")):
            for project in ("To Console", "Curves", "Pivots"):
                make_inbox(client, project)  # Gives this farm more ids than the other farm has.
        self.inbox = make_inbox(self.olga)
        self.file = self.olga.put("walk.zip", [self.inbox], b"walk")[0]["id"]
        self.upload = self.olga.create("walk-on.zip", [self.inbox], 4, b"wa").headers["Location"].rsplit("/", 1)[1]
        removed = self.olga.put("removed.zip", [self.inbox], b"removed")[0]["id"]
        self.olga.delete(f"/resources/{removed}")
        self.ids = {"/resources/{id}": self.file, "/resources/{id}/content": self.file, "/bin/{id}": removed,
                    "/bin/{id}/restore": removed,
                    "/users/{id}": self.olga.snapshot()["user"]["id"], "/uploads/{id}": self.upload,
                    "/projects/{id}/resources": self.inbox}  # Each farm has projects with the same ids.
        for template in OF_A_FARM:  # An id that the other farm has too would prove nothing.
            self.assertNotIn(self.ids[template], self.ids_of_the_other_farm())
        for client in (self.user("otto"), self.olga):
            client.post("/positions", 204, json=BODIES["POST", "/positions"])
        console = self.anna.get("/consoles").json()["consoles"][-1]["id"]
        self.ids.update(dict.fromkeys(OF_A_CONSOLE, console))
        self.assertNotIn(console,
                         [console["id"] for console in self.user("oda").get("/consoles").json()["consoles"]])

    def ids_of_the_other_farm(self):
        projects = self.user("oda").snapshot()["projects"]
        return {thing["id"] for project in projects for thing in [project, *project["resources"]]}

    def request(self, client, method, template, identity=None, **arguments):
        path = template.replace("{id}", str(identity or self.ids.get(template))).replace("{name}", "To%20Console")
        headers = dict(arguments.pop("headers", {}))
        body = BODIES.get((method, template))
        raw = None
        if template.startswith("/uploads"):
            headers["Tus-Resumable"] = "1.0.0"
            if method == "PATCH":
                headers.update({"Upload-Offset": "2", "Content-Type": OCTETS})
                raw = b"lk"
            elif method == "POST":
                headers.update({"Upload-Length": "0", "Upload-Metadata": metadata("walked.zip", [self.inbox])})
        return client.request(method, path, headers=headers, json=body, body=raw, **arguments)

    def check_nothing_has_changed(self):
        self.assertEqual(self.olga.offset("/uploads/" + self.upload), 2)
        self.assertEqual(self.olga.get(f"/resources/{self.file}/content").body, b"walk")
        self.assertNotIn("walked.zip", self.names(self.olga, self.inbox))
        admin = self.user("admin")
        self.assertNotIn("Walked Farm", [farm["name"] for farm in admin.get("/farms").json()["farms"]])
        self.assertNotIn("walked", [user["name"] for user in admin.get("/users").json()["users"]])
        self.assertIn(self.ids["/bin/{id}/restore"], [file["id"] for file in self.anna.get("/bin").json()["files"]])

    def secured(self):
        for method, template, operation in CONTRACT.operations():
            if operation.get("security") != []:
                yield method, template

    def test_the_walk_covers_every_route(self):
        self.assertEqual(len(list(self.secured())), 47)

    def test_every_route_needs_a_valid_token(self):
        client = self.user("olga")
        for token in (None, "nobody", client.token[::-1]):
            client.token = token
            for method, template in self.secured():
                with self.subTest(method=method, template=template, token=token is not None):
                    answer = self.request(client, method, template, expect=401)
                    if method != "HEAD":
                        self.refused(answer, "unauthenticated")
        self.check_nothing_has_changed()

    def test_resources_of_another_farm_look_like_missing_resources(self):
        for name in ("otto", "oda", "admin"):
            client = self.user(name)
            for method, template in self.secured():
                if template not in (*OF_A_FARM, *OF_A_CONSOLE):
                    continue
                with self.subTest(name=name, method=method, template=template):
                    forbidden_to_operators = template.startswith(("/bin", "/consoles")) and name != "oda"
                    allowed = (403, 404) if forbidden_to_operators else 404
                    there = self.request(client, method, template, expect=allowed)
                    never = self.request(client, method, template, expect=allowed,
                                         identity="0123456789abcdef" if "/uploads/" in template else 2147483646)
                    self.assertEqual((there.status, there.body), (never.status, never.body))
        self.check_nothing_has_changed()

    def test_another_farm_cannot_upload_here(self):
        for name in ("otto", "oda", "admin"):
            self.refused(self.request(self.user(name), "POST", "/uploads", expect=404), "not-found")
        self.check_nothing_has_changed()

    def test_the_administrator_finds_no_resources_of_farms(self):
        admin = self.user("admin")
        for method, template in self.secured():
            if template in FOR_ADMINS or template in FOR_ALL:
                continue
            with self.subTest(method=method, template=template):
                self.request(admin, method, template, expect=(403, 404))
        self.check_nothing_has_changed()

    def test_another_operators_file_is_not_found_and_the_inbox_has_no_entries(self):
        piet = self.user("piet")
        for method in ("GET", "DELETE"):
            self.request(piet, method, "/resources/{id}", expect=404)
        for method in ("GET", "HEAD"):
            self.request(piet, method, "/resources/{id}/content", expect=404)
        self.assertNotIn("entries", piet.get(f"/resources/{self.inbox}").json())
        self.refused(self.request(piet, "POST", "/uploads", expect=403), "forbidden")
        self.check_nothing_has_changed()

    def test_other_methods_of_a_route_are_405_with_the_allowed_methods(self):
        for template in CONTRACT.document["paths"]:
            allowed = CONTRACT.methods(template)
            if not allowed:
                continue
            for method in METHODS + ("TRACE", "PROPFIND"):
                if method in allowed or (method == "HEAD" and "GET" in allowed):
                    continue
                with self.subTest(method=method, template=template):
                    answer = self.request(self.olga, method, template, expect=405)
                    listed = {name.strip() for name in answer.headers["Allow"].split(",")}
                    self.assertTrue(allowed <= listed <= allowed | {"HEAD", "OPTIONS"}, listed)
                    if method != "HEAD":
                        self.refused(answer, "method-not-allowed")
        self.check_nothing_has_changed()

    def test_head_on_a_readable_route_never_has_a_body(self):
        for template in CONTRACT.document["paths"]:
            if "GET" in CONTRACT.methods(template) and template != "/events":
                self.request(self.olga, "HEAD", template, expect=(200, 403, 404, 405), check=False)
        self.olga.get("/account")  # The connection still answers in step.

    def test_unknown_routes_are_not_found(self):
        for path in ("/", "", "/nothing", "/account/", "/account/x", "/projects", "/projects/",
                     "/projects/x/y", "/resources", "/resources/", f"/resources/{self.file}/", "//account", "/./account",
                     f"/resources/{self.file}/contents", "/uploads/", "/uploads/a/b", "/bin/1/x", "/bin/1/restores", "/users/1/x",
                     "/Account", "/healthz", "/metrics", "/%61ccount/x", "/..%2f..%2fetc/passwd", "/uploads/..", "/uploads/%2e%2e",
                     "/uploads/..%2f..%2fadmin.password", "/uploads/" + "a" * 5000):
            with self.subTest(path=path[:60]):
                status = self.olga.tus("GET", path, (404, 405, 400)).status
                if not path.startswith("/uploads"):
                    self.assertIn(status, (404, 400))

    def test_targets_outside_the_base_path_are_not_found(self):
        head = f"Host: localhost\r\nAuthorization: Bearer {self.olga.token}\r\nConnection: close\r\n\r\n"
        for target in ("/", "/account", "/kelvo-api", "/kelvo-api/", "/kelvo-api/v2/account", "/kelvo-api/v1", "/healthz",
                       "/metrics", "/kelvo-api/v1/../v1/account", "/../../etc/passwd", "*", "http://[", "//", "/\\..\\"):
            with self.subTest(target=target):
                status, headers, body = exchange(self.service, f"GET {target} HTTP/1.1\r\n{head}".encode())
                self.assertIn(status, (400, 404))
                CONTRACT.check_answer("GET", target, status, headers, body)


if __name__ == "__main__":
    unittest.main()

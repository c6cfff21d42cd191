"""Every text that a client can store has a bound: it is written down, and the service keeps it."""

import copy
import json
import time
import unittest

from kelvowire.farm import PASSWORD, WireTest, log_in, make_inbox
from kelvowire.http import CONTRACT

NOW = int(time.time())
BODIES = {  # A valid body for each request with one.
    "createSession": {"user": "olga", "password": PASSWORD, "kind": "console"},
    "changeOwnPassword": {"current": PASSWORD, "new": PASSWORD},
    "renameFile": {"name": "bounds.zip"},
    "putEnvironment": {"timestamp_ms": NOW * 1000, "console": {}, "controller": {}},
    "putDevice": {"timestamp_ms": NOW * 1000, "state": 1, "flag": True, "device": {}},
    "addPosition": {"time_s": NOW, "latitude": 1, "longitude": 2},
    "addFetches": {"fetches": [{"file": 1, "age_s": 0, "unpack_error": ""}]},
    "createFarm": {"name": "Wide Farm"},
    "renameFarm": {"name": "Wide Farm"},
    "createUser": {"farm": "Hill Farm", "name": "wide", "password": PASSWORD, "role": "operator"},
    "changeUser": {"name": "wide", "password": PASSWORD},
    "changeQuota": {},
}
REPORTS = ("putEnvironment", "putDevice", "addPosition")


def operations_with_bodies():
    for method, path, operation in CONTRACT.operations():
        for media, content in operation.get("requestBody", {}).get("content", {}).items():
            if media == "application/json":
                yield method, path, operation["operationId"], content["schema"]


def texts(schema, place=()):
    """The schemas of all strings and arrays in a body, with their members."""
    schema = CONTRACT.resolve(schema)
    if schema.get("type") in ("string", "array"):
        yield place, schema
    for name, member in schema.get("properties", {}).items():
        yield from texts(member, (*place, name))
    if "items" in schema:
        yield from texts(schema["items"], (*place, 0))


def is_bounded(schema):
    if schema["type"] == "array":
        return "maxItems" in schema
    return "maxLength" in schema or "enum" in schema or "const" in schema


def with_text(body, place, text):
    body = copy.deepcopy(body)
    inner = body
    for name in place[:-1]:
        inner = inner[name]
    inner[place[-1]] = text
    return body


class Bounds(WireTest):
    OPTIONS = ("--login-attempts", "10000")

    def setUp(self):
        self.olga, self.admin = self.user("olga"), self.user("admin")

    def client_of(self, operation):
        return self.olga if operation in (*REPORTS, "addFetches", "renameFile", "createSession", "changeOwnPassword") else self.admin

    def path_of(self, path):
        if "{id}" not in path:
            return path
        if path.startswith("/resources"):
            return path.replace("{id}", str(self.olga.put("bounds.zip", [make_inbox(self.olga)], b"x")[0]["id"]))
        list_of = "users" if path.startswith("/users") else "farms"
        return path.replace("{id}", str(self.admin.get("/" + list_of).json()[list_of][-1]["id"]))

    def bounded_texts(self):
        for method, path, operation, schema in operations_with_bodies():
            for place, text in texts(schema):
                if "maxLength" in text:
                    yield method, path, operation, place, text["maxLength"]

    def test_every_text_and_list_of_a_request_has_a_bound(self):
        found = 0
        for _, _, operation, schema in operations_with_bodies():
            for place, text in texts(schema):
                self.assertTrue(is_bounded(text), f"{operation} {place}")
                found += 1
        self.assertGreater(found, 30)

    def test_every_header_that_is_kept_has_a_bound(self):
        for name in ("Upload-Metadata", "Upload-Concat", "Idempotency-Key"):
            parameter = next(parameter for parameter in CONTRACT.document["paths"]["/uploads"]["post"]["parameters"]
                             if parameter.get("name") == name)
            self.assertIn("maxLength", parameter["schema"], name)

    def test_a_longer_text_is_refused(self):
        for method, path, operation, place, most in self.bounded_texts():
            with self.subTest(operation=operation, place=place):
                client = self.client_of(operation)
                body = with_text(BODIES[operation], place, "x" * (most + 1))
                answer = client.request(method, self.path_of(path), (401, 403, 422), json=body)
                self.assertIn(answer.problem, ("unprocessable", "invalid-credentials", "forbidden"), answer)

    def test_the_longest_texts_of_reports_are_kept_whole(self):
        anna = self.user("anna")
        for method, path, operation, place, most in self.bounded_texts():
            if operation not in REPORTS:
                continue
            with self.subTest(operation=operation, place=place):
                text = "\U0001f69c" * most
                self.olga.request(method, path, 204, json=with_text(BODIES[operation], place, text))
                found = anna.get("/consoles?limit=1000").body.decode()
                self.assertEqual(f'"{text}"' in found, True, place)

    def test_members_that_the_api_does_not_name_are_not_kept(self):
        body = copy.deepcopy(BODIES["putEnvironment"])
        body["new"] = body["console"]["new"] = "unnamed " * 1000
        self.olga.request("PUT", "/environment", 204, json=body)
        self.service.stop()
        try:
            with open(self.service.path("kelvo.sqlite"), "rb") as file:
                self.assertNotIn(b"unnamed unnamed", file.read())
        finally:
            self.service.start()

    def test_longer_texts_of_an_older_service_are_read_cut(self):
        self.olga.request("PUT", "/environment", 204, json=BODIES["putEnvironment"])
        old = {**BODIES["putEnvironment"], "console": {"console_string": "\u00e4" * 20000, "kind": 5}}
        self.service.stop()
        try:
            self.service.execute("UPDATE consoles SET environment = ?", [(json.dumps(old),)])
        finally:
            self.service.start()
        console = log_in(self.service, "anna").get("/consoles").json()["consoles"][0]
        self.assertEqual(console["console_string"], "\u00e4" * 255)


if __name__ == "__main__":
    unittest.main()

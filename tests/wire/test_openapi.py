"""The written API is consistent: references, responses, parameters, names and examples. Needs no service."""

import copy
import os
import re
import unittest

from kelvowire.contract import Contract, Violation

PATH = os.environ["KELVO_OPENAPI"]
METHODS = {"get", "head", "post", "put", "patch", "delete", "options"}


def references(node):
    if isinstance(node, dict):
        if isinstance(node.get("$ref"), str):
            yield node["$ref"]
        for value in node.values():
            yield from references(value)
    elif isinstance(node, list):
        for value in node:
            yield from references(value)


class WrittenApi(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.contract = Contract(PATH)
        cls.document = cls.contract.document

    def every_operation(self):
        for path, item in self.document["paths"].items():
            for method, operation in item.items():
                if method in METHODS:
                    yield path, method, item, operation

    def test_is_openapi_3_1(self):
        self.assertRegex(self.document["openapi"], r"^3\.1\.\d+$")
        for member in ("title", "version", "description"):
            self.assertTrue(self.document["info"][member])

    def test_references_have_targets(self):
        found = set(references(self.document))
        self.assertGreater(len(found), 30)
        for reference in found:
            self.contract.at(reference)

    def test_components_are_all_used(self):
        used = set(references(self.document))
        for group in ("parameters", "headers", "responses", "schemas"):
            for name in self.document["components"][group]:
                self.assertIn(f"#/components/{group}/{name}", used)

    def test_path_items_have_known_members_only(self):
        for path, item in self.document["paths"].items():
            self.assertTrue(path.startswith("/"))
            self.assertLessEqual(item.keys(), METHODS | {"parameters", "servers"}, path)

    def test_operations_have_names_summaries_tags_and_responses(self):
        names = []
        tags = {tag["name"] for tag in self.document["tags"]}
        for path, method, _, operation in self.every_operation():
            with self.subTest(path=path, method=method):
                names.append(operation["operationId"])
                self.assertTrue(operation["summary"])
                self.assertTrue(set(operation["tags"]) <= tags and operation["tags"])
                self.assertTrue(any(str(status).startswith("2") for status in operation["responses"]))
                for status, response in operation["responses"].items():
                    self.assertRegex(str(status), r"^([1-5]\d\d|default)$")
                    self.assertTrue(self.contract.resolve(response)["description"])
        self.assertEqual(len(names), len(set(names)), "two operations have the same operationId")

    def test_operations_that_need_a_session_document_401_and_any_problem(self):
        for path, method, item, operation in self.every_operation():
            if "servers" in item:
                continue
            with self.subTest(path=path, method=method):
                self.assertIn("default", operation["responses"])
                if operation.get("security", self.document["security"]):
                    self.assertIn("401", operation["responses"])

    def test_path_parameters_match_the_template(self):
        for path, method, item, operation in self.every_operation():
            parameters = [self.contract.resolve(parameter)
                          for parameter in item.get("parameters", []) + operation.get("parameters", [])]
            declared = [parameter["name"] for parameter in parameters if parameter["in"] == "path"]
            self.assertCountEqual(declared, re.findall(r"\{([^}]+)\}", path), f"{method} {path}")
            for parameter in parameters:
                self.assertTrue(parameter["schema"] and parameter["description"], parameter["name"])
                self.assertTrue(parameter["in"] != "path" or parameter["required"])

    def test_examples_match_their_schemas(self):
        checked = 0
        for path, method, item, operation in self.every_operation():
            bodies = [operation.get("requestBody", {})]
            bodies += [self.contract.resolve(response) for response in operation["responses"].values()]
            for body in bodies:
                for media, content in body.get("content", {}).items():
                    examples = [example["value"] for example in content.get("examples", {}).values()]
                    if "example" in content:
                        examples.append(content["example"])
                    for example in examples:
                        self.contract.check(content["schema"], example, f"{method} {path} {media}")
                        checked += 1
        self.assertGreater(checked, 30)

    def test_examples_of_headers_and_parameters_match_their_schemas(self):
        for group in ("headers", "parameters"):
            for name, node in self.document["components"][group].items():
                if "example" in node:
                    self.contract.check(node["schema"], node["example"], name)

    def test_problem_examples_have_the_status_of_their_response(self):
        for path, method, _, operation in self.every_operation():
            for status, response in operation["responses"].items():
                content = self.contract.resolve(response).get("content", {})
                example = content.get("application/problem+json", {}).get("example")
                if example and status != "default":
                    self.assertEqual(example["status"], int(status), f"{method} {path}")

    def test_every_event_has_a_schema_and_a_row(self):
        operation = self.document["paths"]["/events"]["get"]
        for name, schema in operation["x-kelvo-events"].items():
            self.assertIn(f"`{name}`", operation["description"])
            self.assertEqual(self.contract.resolve(schema)["type"], "object")


class ContractChecks(unittest.TestCase):
    """The tests above and the wire tests depend on Contract, so it must find violations."""

    @classmethod
    def setUpClass(cls):
        cls.contract = Contract(PATH)
        account = cls.contract.document["paths"]["/account"]["get"]["responses"]["200"]
        cls.schema = account["content"]["application/json"]["schema"]
        cls.account = account["content"]["application/json"]["example"]

    def test_refuses_a_wrong_value_deep_inside(self):
        def break_digest(account): account["projects"][0]["resources"][0]["entries"][0]["sha256"] = "12"
        def drop_id(account): del account["projects"][0]["resources"][0]["id"]
        def add_secret(account): account["user"]["password_hash"] = "x"
        def number_cursor(account): account["cursor"] = 123
        def id_zero(account): account["projects"][0]["id"] = 0
        def id_true(account): account["projects"][0]["id"] = True
        def farm_text(account): account["user"]["farm"] = "Hill Farm"
        self.contract.check(self.schema, self.account, "account")
        for change in (break_digest, drop_id, add_secret, number_cursor, id_zero, id_true, farm_text):
            account = copy.deepcopy(self.account)
            change(account)
            with self.subTest(change.__name__), self.assertRaises(Violation):
                self.contract.check(self.schema, account, "account")

    def test_refuses_undocumented_statuses_headers_and_bodies(self):
        problem = b'{"type":"urn:kelvo:problem:not-found","title":"t","status":404,"detail":"d"}'
        media = {"Content-Type": "application/problem+json"}
        target = "/kelvo-api/v1/resources/5/content"
        self.contract.check_answer("GET", target, 404, media, problem)
        for status, headers, body in ((418, media, problem), (404, {"Content-Type": "text/html"}, problem),
                                      (404, media, b""), (401, media, problem), (500, media, problem),
                                      (403, media, problem), (206, {"Content-Type": "application/octet-stream"}, b"x")):
            with self.subTest(status=status), self.assertRaises(Violation):
                self.contract.check_answer("GET", target, status, headers, body)

    def test_finds_the_template_of_a_target(self):
        self.assertEqual(self.contract.template("/kelvo-api/v1/resources/5/content?x=1"), "/resources/{id}/content")
        self.assertEqual(self.contract.template("/kelvo-api/v1/sessions/current"), "/sessions/current")
        self.assertIsNone(self.contract.template("/kelvo-api/v1/resources/5/content/more"))
        self.assertIsNone(self.contract.template("/resources/5"))


if __name__ == "__main__":
    unittest.main()

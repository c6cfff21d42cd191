"""Checks answers against the written API: finds the operation of a request and compares the answer with its
documentation.

The schema language is the part of JSON Schema 2020-12 that openapi.yaml uses. An unknown keyword is an error, so
openapi.yaml cannot use a keyword that is not checked here.
"""

import json
import re

import yaml

BASE = "/kelvo-api/v1"
ANNOTATIONS = {"description", "format", "example", "examples", "title"}
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None)}


class Violation(AssertionError):
    """An answer, or the written API itself, is wrong."""


class Contract:
    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            self.document = yaml.safe_load(file)
        self._routes = [(re.compile("^" + re.sub(r"\{[^}]+\}", "[^/]+", re.escape(template)
                                                 .replace(r"\{", "{").replace(r"\}", "}")) + "$"), template)
                        for template, item in self.document["paths"].items() if "servers" not in item]

    def resolve(self, node):
        """Follows a $ref. Siblings of the $ref (a description) are added to the target."""
        while isinstance(node, dict) and "$ref" in node:
            siblings = {key: value for key, value in node.items() if key != "$ref"}
            target = self.at(node["$ref"])
            node = {**target, **siblings} if siblings else target
        return node

    def at(self, reference):
        if not reference.startswith("#/"):
            raise Violation(f"reference outside the file: {reference}")
        node = self.document
        for part in reference[2:].split("/"):
            if not isinstance(node, dict) or part not in node:
                raise Violation(f"dangling reference: {reference}")
            node = node[part]
        return node

    def template(self, target):
        """The route template of a request target below the base path, or None for an unknown route."""
        path = target.split("?")[0]
        if not path.startswith(BASE + "/"):
            return None
        matches = [template for pattern, template in self._routes if pattern.match(path[len(BASE):])]
        exact = [template for template in matches if "{" not in template]
        return (exact or matches or [None])[0]

    def operations(self):
        """(method, template, operation) of every operation on the TLS listener."""
        for template, item in self.document["paths"].items():
            if "servers" in item:
                continue
            for method, operation in item.items():
                if method in ("get", "head", "post", "put", "patch", "delete", "options"):
                    yield method.upper(), template, operation

    def methods(self, template):
        return {method for method, path, _ in self.operations() if path == template}

    def check_answer(self, method, target, status, headers, body):
        """Raises Violation unless the answer is documented: its status, headers, media type and body."""
        template = self.template(target)
        operation = self.document["paths"].get(template, {}).get(method.lower()) if template else None
        where = f"{method} {target} -> {status}"
        if operation is None:
            if status not in (400, 401, 404, 405, 414, 431):
                raise Violation(f"{where}: not a documented operation")
            response = self.resolve({"$ref": "#/components/responses/AnyProblem"})
        else:
            response = self._response(operation, status, where)
        self._check_headers(response, headers, where)
        if method != "HEAD" and body is not None:
            self._check_body(response, status, headers, body, where)

    def _response(self, operation, status, where):
        responses = operation["responses"]
        if str(status) in responses:
            return self.resolve(responses[str(status)])
        if status in (400, 405, 414, 431, 503, 507):
            return self.resolve(responses["default"])
        raise Violation(f"{where}: undocumented status")

    def _check_headers(self, response, headers, where):
        for name, header in response.get("headers", {}).items():
            header = self.resolve(header)
            value = headers.get(name)
            if value is None:
                if header.get("required"):
                    raise Violation(f"{where}: no header {name}")
                continue
            self.check(header["schema"], value, f"{where} header {name}")

    def _check_body(self, response, status, headers, body, where):
        content = response.get("content", {})
        media = (headers.get("Content-Type") or "").split(";")[0].strip()
        if not content or not body:
            if body:
                raise Violation(f"{where}: an undocumented body: {body[:200]!r}")
            if status >= 400:
                raise Violation(f"{where}: an error without a problem document")
            return
        if media not in content:
            raise Violation(f"{where}: Content-Type {media!r}, documented are {sorted(content)}")
        if not media.endswith("json"):
            return
        value = json.loads(body)
        self.check(content[media]["schema"], value, where)
        if media == "application/problem+json" and value["status"] != status:
            raise Violation(f"{where}: the problem says status {value['status']}")

    def check(self, schema, value, where):
        """Raises Violation unless the value matches the schema."""
        schema = self.resolve(schema)
        for keyword, argument in schema.items():
            rule = getattr(self, "_rule_" + keyword, None)
            if rule:
                rule(argument, value, where, schema)
            elif keyword not in ANNOTATIONS:
                raise Violation(f"{where}: schema keyword {keyword!r} is not implemented")

    def _rule_type(self, name, value, where, _):
        if name in ("integer", "number"):
            good = isinstance(value, (int,) if name == "integer" else (int, float)) and not isinstance(value, bool)
        else:
            good = isinstance(value, TYPES[name])
        if not good:
            raise Violation(f"{where}: {value!r} is not of type {name}")

    def _rule_enum(self, allowed, value, where, _):
        if value not in allowed:
            raise Violation(f"{where}: {value!r} is not one of {allowed}")

    def _rule_const(self, wanted, value, where, _):
        if value != wanted:
            raise Violation(f"{where}: {value!r} is not {wanted!r}")

    def _rule_pattern(self, pattern, value, where, _):
        if not re.search(pattern, value):
            raise Violation(f"{where}: {value!r} does not match {pattern}")

    def _rule_minimum(self, bound, value, where, _):
        if value < bound:
            raise Violation(f"{where}: {value!r} is below {bound}")

    def _rule_maximum(self, bound, value, where, _):
        if value > bound:
            raise Violation(f"{where}: {value!r} is above {bound}")

    def _rule_minLength(self, bound, value, where, _):
        if len(value) < bound:
            raise Violation(f"{where}: {value!r} is shorter than {bound}")

    def _rule_maxLength(self, bound, value, where, _):
        if len(value) > bound:
            raise Violation(f"{where}: {value!r} is longer than {bound}")

    def _rule_minItems(self, bound, value, where, _):
        if len(value) < bound:
            raise Violation(f"{where}: fewer than {bound} items")

    def _rule_maxItems(self, bound, value, where, _):
        if len(value) > bound:
            raise Violation(f"{where}: more than {bound} items")

    def _rule_required(self, names, value, where, _):
        missing = [name for name in names if name not in value]
        if missing:
            raise Violation(f"{where}: without {missing}")

    def _rule_properties(self, properties, value, where, _):
        for name in properties.keys() & value.keys():
            self.check(properties[name], value[name], f"{where}.{name}")

    def _rule_unevaluatedProperties(self, allowed, value, where, schema):
        extra = value.keys() - schema.get("properties", {}).keys()
        if not allowed and extra:
            raise Violation(f"{where}: undocumented members {sorted(extra)}")

    def _rule_items(self, schema, value, where, _):
        for index, item in enumerate(value):
            self.check(schema, item, f"{where}[{index}]")

    def _rule_oneOf(self, schemas, value, where, _):
        failures = []
        for schema in schemas:
            try:
                self.check(schema, value, where)
            except Violation as failure:
                failures.append(str(failure))
        if len(schemas) - len(failures) != 1:
            raise Violation(f"{where}: does not match exactly one of {len(schemas)} schemas: {failures}")

"""A client of the service's API for the office."""

import base64
import hashlib
import http.client
import json
import ssl

BASE = "/kelvo-api/v1"
GUARD_SECONDS = 60  # ends a request that hangs


class WireError(Exception):
    """The service answered an unexpected status."""


class Wire:
    """Opens a new connection for each request. `token` is the user's session."""

    def __init__(self, service, token=None):
        self._service, self.token = service, token
        self._tls = ssl.create_default_context(cafile=str(service.ca))

    def login(self, user, password):
        self.token = self._json("POST", "/sessions", {"user": user, "password": password})["token"]
        return self.token

    def projects(self):
        """{project: [inbox]}"""
        return {project["name"]: project["resources"] for project in self._json("GET", "/account")["projects"]}

    def bin(self):
        """The newest 1,000 files; a round deletes fewer."""
        return self._json("GET", "/bin?limit=1000")["files"]

    def make_inbox(self, project):
        self._json("POST", f"/projects/{project.replace(' ', '%20')}/user-inbox")

    def add_farm(self, name):
        self._json("POST", "/farms", {"name": name})

    def put(self, name, content, inbox_id):
        """Uploads a file in one request. Returns its id."""
        metadata = ",".join(f"{key} {base64.b64encode(text.encode()).decode()}"
                            for key, text in (("name", name), ("targets", str(inbox_id))))
        answer = self._ask("POST", "/uploads", content, {
            "Tus-Resumable": "1.0.0", "Upload-Length": str(len(content)), "Upload-Metadata": metadata,
            "Content-Type": "application/offset+octet-stream"})
        return json.loads(answer)["files"][0]["id"]

    def digest(self, file_id):
        """The SHA-256 of the content that the service delivers."""
        return hashlib.sha256(self._ask("GET", f"/resources/{file_id}/content")).hexdigest()

    def _json(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        return json.loads(self._ask(method, path, data, {"Content-Type": "application/json"} if data else {}))

    def _ask(self, method, path, body=None, headers=None):
        host, port = self._service.address.rsplit(":", 1)
        connection = http.client.HTTPSConnection(host, int(port), timeout=GUARD_SECONDS, context=self._tls)
        headers = dict(headers or {})
        if self.token:
            headers["Authorization"] = "Bearer " + self.token
        try:
            connection.request(method, BASE + path, body, headers)
            answer = connection.getresponse()
            content = answer.read()
        finally:
            connection.close()
        if answer.status >= 300:
            raise WireError(f"{method} {path}: {answer.status} {content[:200]!r}")
        return content

"""An HTTP client that checks every answer against the written API."""

import base64
import hashlib
import http.client
import json as jsonlib
import os
import re
import socket
import ssl
import time
import urllib.error
import urllib.request

from .contract import BASE, Contract

CONTRACT = Contract(os.environ["KELVO_OPENAPI"])
TIMEOUT = 60  # A guard against hanging, never waited for.
OCTETS = "application/offset+octet-stream"
LEAKS = re.compile(r"/tmp/|/home/|\bSELECT\b|\bINSERT\b|sqlite|soci|\.cpp|boost|what\(\)|exception|errno|No such file",
                   re.IGNORECASE)


class Answer:
    def __init__(self, method, target, status, headers, body):
        self.method, self.target, self.status, self.headers, self.body = method, target, status, headers, body

    def json(self):
        return jsonlib.loads(self.body)

    @property
    def problem(self):
        """The NAME of the problem document."""
        return self.json()["type"].rsplit(":", 1)[1]

    def __repr__(self):
        return f"{self.method} {self.target} -> {self.status} {self.body[:300]!r}"


def sha256_hex(content):
    return hashlib.sha256(content).hexdigest()


def digest_header(content):
    return "sha-256=:" + base64.b64encode(hashlib.sha256(content).digest()).decode() + ":"


def metadata(name, targets):
    """Upload-Metadata; the name as text or raw bytes, the targets as ids or raw text."""
    raw = name if isinstance(name, bytes) else name.encode()
    text = targets if isinstance(targets, str) else ",".join(map(str, targets))
    return f"name {base64.b64encode(raw).decode()},targets {base64.b64encode(text.encode()).decode()}"


class Client:
    """One keep-alive connection without retries, so a test sees when the service closes it."""

    def __init__(self, service, token=None):
        self.service, self.token = service, token
        self._connection = None

    def close(self):
        if self._connection:
            self._connection.close()
            self._connection = None

    def connection(self):
        if self._connection is None:
            self._connection = http.client.HTTPSConnection("localhost", self.service.port, timeout=TIMEOUT,
                                                           context=self.service.tls())
            self._connection.connect()
        return self._connection

    def headers(self, extra=None):
        headers = {"Authorization": f"Bearer {self.token}"} if self.token else {}
        headers.update({name: value for name, value in (extra or {}).items() if value is not None})
        return headers

    def request(self, method, path, expect=None, headers=None, body=None, json=None, check=True):
        """Sends a request and checks the answer. `expect` is a status or several. A path without the base path gets
        it.
        """
        headers = self.headers(headers)
        if json is not None:
            body = jsonlib.dumps(json).encode()
            headers.setdefault("Content-Type", "application/json")
        target = path if path.startswith("/kelvo-api") else BASE + path
        connection = self.connection()
        try:
            connection.request(method, target, body=body, headers=headers)
        except (BrokenPipeError, ConnectionResetError, ssl.SSLError):
            pass  # Refused while the body was sent: the answer must be readable anyway.
        response = connection.getresponse()
        answer = Answer(method, target, response.status, response.headers, response.read())
        if response.will_close:
            self.close()
        self.judge(answer, expect, check)
        return answer

    @staticmethod
    def judge(answer, expect, check=True):
        if expect is not None and answer.status not in (expect if isinstance(expect, (tuple, list, set)) else (expect,)):
            raise AssertionError(f"expected {expect}: {answer}")
        if answer.status >= 400 and LEAKS.search(answer.body.decode("utf-8", "replace")):
            raise AssertionError(f"an internal detail in a problem: {answer}")
        if check:
            CONTRACT.check_answer(answer.method, answer.target, answer.status, answer.headers, answer.body)

    def get(self, path, expect=200, **arguments):
        return self.request("GET", path, expect, **arguments)

    def post(self, path, expect=201, **arguments):
        return self.request("POST", path, expect, **arguments)

    def delete(self, path, expect=204, **arguments):
        return self.request("DELETE", path, expect, **arguments)

    def tus(self, method, path, expect, headers=None, body=None, **arguments):
        headers = {"Tus-Resumable": "1.0.0", **(headers or {})}
        if body is not None:
            headers.setdefault("Content-Type", OCTETS)
        return self.request(method, path, expect, headers=headers, body=body, **arguments)

    def create(self, name, targets, length, body=None, key=None, expect=201, headers=None):
        """POST /uploads."""
        return self.tus("POST", "/uploads", expect, body=body,
                        headers={"Upload-Length": str(length), "Upload-Metadata": metadata(name, targets),
                                 "Idempotency-Key": key, **(headers or {})})

    def put(self, name, targets, content):
        """Uploads a whole file in one request and returns its FILE records."""
        return self.create(name, targets, len(content), content).json()["files"]

    def patch(self, location, offset, body, expect=204):
        return self.tus("PATCH", location, expect, headers={"Upload-Offset": str(offset)}, body=body)

    def offset(self, location):
        return int(self.tus("HEAD", location, 200).headers["Upload-Offset"])

    def await_offset(self, location, wanted, at_least=False):
        """Polls until the service's offset is `wanted`: bytes of a cut connection take a moment to arrive."""
        guard = time.monotonic() + TIMEOUT
        while not ((got := self.offset(location)) == wanted or (at_least and got > wanted)):
            if got > wanted or time.monotonic() > guard:
                raise AssertionError(f"{location} is at {got} instead of {wanted}")
        return got

    def snapshot(self):
        return self.get("/account").json()


def raw_socket(service, tls=True, source="127.0.0.1", before=b""):
    """`source` is our address; `before` is sent before the TLS handshake."""
    plain = socket.create_connection(("127.0.0.1", service.port), timeout=TIMEOUT, source_address=(source, 0))
    plain.sendall(before)
    return service.tls().wrap_socket(plain, server_hostname="localhost") if tls else plain


def begin_request(service, token, method, path, length, headers, part=b""):
    """Sends a request whose body stops after `part`. The caller closes the connection."""
    connection = raw_socket(service)
    lines = [f"{method} {path if path.startswith(BASE) else BASE + path} HTTP/1.1", f"Host: localhost:{service.port}",
             f"Authorization: Bearer {token}", f"Content-Length: {length}",
             *(f"{name}: {value}" for name, value in headers.items())]
    connection.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + part)
    return connection


def begin_upload(service, token, method, path, length, headers, part):
    return begin_request(service, token, method, path, length,
                         {"Tus-Resumable": "1.0.0", "Content-Type": OCTETS, **headers}, part)


def cut(connection):
    """Cuts a connection without a TLS close_notify, and waits until the service closes it.

    A close at once would reset the connection, and the reset may overtake the bytes sent.
    """
    connection.shutdown(socket.SHUT_WR)
    try:
        while connection.recv(4096):
            pass
    except OSError:
        pass
    connection.close()


def exchange(service, request, tls=True):
    """Sends raw bytes and reads until the service closes or the first answer is whole: (status, headers, body)."""
    with raw_socket(service, tls) as connection:
        try:
            connection.sendall(request)
        except (BrokenPipeError, ConnectionResetError, ssl.SSLError):
            pass
        response = http.client.HTTPResponse(connection)
        response.begin()
        return response.status, response.headers, response.read()


def metrics(service, path="/metrics"):
    """(status, text) from the plain listener."""
    address = f"http://{service.metrics_host}:{service.metrics_port}{path}"
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    try:
        with opener.open(address, timeout=TIMEOUT) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as refusal:
        return refusal.code, refusal.read().decode()

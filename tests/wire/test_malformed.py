"""Requests that no well-behaved client sends: each gets the right refusal, and the service stays up."""

import http.client
import json
import os
import random
import socket
import ssl
import unittest

from kelvowire.contract import BASE
from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import CONTRACT, LEAKS, TIMEOUT, exchange, metrics, raw_socket

JSON_ROUTES = (("POST", "/sessions"), ("PUT", "/environment"), ("PUT", "/devices"), ("POST", "/positions"),
               ("POST", "/fetches"))
JSON_ROUTES_OF_ADMINS = (("POST", "/farms"), ("POST", "/users"), ("PATCH", "/users/1"))
CLOSED = (ConnectionError, http.client.BadStatusLine, ssl.SSLError)


class Malformed(WireTest):
    OPTIONS = ("--login-attempts", "10000")

    def setUp(self):
        self.olga, self.admin = self.user("olga"), self.user("admin")

    def alive(self):
        self.assertEqual(metrics(self.service, "/healthz")[0], 200)
        self.user("olga").get("/account")

    def send(self, text, body=b"", expect=None):
        """Sends a request as raw text; returns the status of its one answer, or None if the service closed without a
        answer.
        """
        raw = text.encode() if isinstance(text, str) else text
        try:
            status, headers, content = exchange(self.service, raw + body)
        except CLOSED:
            self.assertTrue(expect is None or None in expect, f"closed without an answer to {raw[:80]!r}")
            return None
        self.assertTrue(status < 500 or status in (501, 505), status)
        self.assertIsNone(LEAKS.search(content.decode("utf-8", "replace")), content)
        if status >= 400:
            CONTRACT.check(CONTRACT.at("#/components/schemas/Problem"), json.loads(content), repr(raw[:80]))
            self.assertEqual(headers["Content-Type"].split(";")[0], "application/problem+json")
        if expect is not None:
            self.assertIn(status, expect, raw[:80])
        return status

    def head(self, start, *lines, close=True):
        token = f"Authorization: Bearer {self.olga.token}"
        ending = ["Connection: close"] if close else []
        return "\r\n".join([start, "Host: localhost", token, *lines, *ending]) + "\r\n\r\n"

    def test_a_body_that_is_not_a_json_object_is_malformed(self):
        for client, routes in ((self.olga, JSON_ROUTES), (self.admin, JSON_ROUTES_OF_ADMINS)):
            for method, path in routes:
                for body in (b"{", b"{]", b"nonsense", b'{"a":1,}', b"\xff\xfe", b'{"user":"\xff"}', b"{}{}", b"\0",
                             b"\xef\xbb\xbf{", b'{"a":"\n"}', b"'", b"[" * 60000, b'{"a":' * 10000):
                    with self.subTest(path=path, body=body[:20]):
                        answer = client.request(method, path, 400, body=body, headers={"Content-Type": "application/json"})
                        self.refused(answer, "malformed-request")
                for body in (b"[]", b"null", b'"text"', b"7", b"true", b"{}", b""):
                    with self.subTest(path=path, body=body):
                        client.request(method, path, (400, 422) if path != "/users/1" else (200, 400, 404, 422),
                                       body=body, headers={"Content-Type": "application/json"})
        self.alive()

    def test_members_of_a_wrong_type_are_refused(self):
        for user, password in ((1, "x"), ("olga", None), (["olga"], {}), (True, False), ({"$ne": ""}, {"$ne": ""})):
            self.olga.post("/sessions", (400, 401, 422), json={"user": user, "password": password})

    def test_json_bodies_are_limited_to_64_kib(self):
        for size, expect in ((65536, (401, 422)), (65537, (413,)), (200_000, (413,)), (5_000_000, (413,))):
            frame = b'{"user":"olga","password":"' + b'"}'
            body = frame[:-2] + b"x" * (size - len(frame)) + b'"}'
            self.assertEqual(len(body), size)
            with self.subTest(size=size):
                answer = self.olga.post("/sessions", expect, body=body, headers={"Content-Type": "application/json"})
                if size > 65536:
                    self.refused(answer, "content-too-large")
                self.olga.close()
        self.alive()

    def test_a_large_content_length_is_refused_before_the_body(self):
        for length in (65537, 10 ** 10, 2 ** 63 - 1):
            text = self.head(f"PUT {BASE}/environment HTTP/1.1", "Content-Type: application/json", f"Content-Length: {length}")
            self.assertEqual(self.send(text), 413)

    def test_bodies_of_unknown_length_are_bounded(self):
        text = self.head(f"POST {BASE}/positions HTTP/1.1", "Content-Type: application/json", "Transfer-Encoding: chunked")
        self.send(text, b"2\r\n{}\r\n0\r\n\r\n", (400, 422))
        self.send(text, b"fffff\r\n" + b" " * 0xfffff + b"\r\n0\r\n\r\n", (413,))
        self.send(text, b"nonsense\r\n", (400,))
        self.send(text, b"ffffffffffffffffffff\r\n", (400,))
        self.alive()

    def test_a_request_head_is_limited_to_16_kib(self):
        start = f"GET {BASE}/account HTTP/1.1"
        self.send(self.head(start, "X-Padding: " + "x" * 14000), expect=(200,))
        for lines in (["X-Padding: " + "x" * 17000], [f"X-{n}: {'y' * 100}" for n in range(200)], ["X: " + "x" * 1_000_000],
                      ["Cookie: " + "c" * 20000]):
            self.assertEqual(self.send(self.head(start, *lines)), 431)
        self.assertEqual(self.send(self.head(f"GET {BASE}/account?{'x' * 20000} HTTP/1.1")), 414)
        self.alive()

    def test_heads_that_are_not_http_are_refused(self):
        for text in ("\r\n\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n", "nonsense\r\n\r\n",
                     self.head(f"GET {BASE}/account HTTP/1.1", "no colon here"),
                     self.head(f"GET {BASE}/account HTTP/1.1", ": no name"),
                     self.head(f"GET {BASE}/account HTTP/1.1", "Bad Name: x"),
                     self.head(f"GET {BASE}/acc ount HTTP/1.1"),
                     self.head(f"G\u00c9T {BASE}/account HTTP/1.1")):
            with self.subTest(text=text[:50]):
                status = self.send(text.encode() if isinstance(text, str) else text)
                self.assertIn(status, (None, 400, 404, 405, 501, 505))
        self.alive()

    def test_a_host_with_a_wrong_port_is_refused(self):
        for host, status in (("localhost:abc", 400), ("localhost:65536", 400), ("localhost:-1", 400), ("localhost:65535", 200)):
            with self.subTest(host=host):
                text = self.head(f"GET {BASE}/account HTTP/1.1").replace("Host: localhost", f"Host: {host}")
                self.send(text, expect=(status,))
                self.send(self.head(f"GET https://{host}{BASE}/account HTTP/1.1"), expect=(status,))

    def test_an_empty_line_before_a_request_is_skipped(self):
        self.send("\r\n" + self.head(f"GET {BASE}/account HTTP/1.1"), expect=(200,))

    def test_a_start_line_without_a_version_is_refused_at_once(self):
        for start in ("GET / ", "GET /", "GET / HTTP", "GET", ""):
            with self.subTest(start=start):
                self.send(start + "\r\n\r\n", expect=(400,))
        self.alive()

    def test_lengths_that_contradict_themselves_are_refused(self):
        start = f"POST {BASE}/positions HTTP/1.1"
        smuggled = b"{}GET / HTTP/1.1\r\nHost: x\r\n\r\n"
        for lines in (["Content-Length: abc"], ["Content-Length: -1"], ["Content-Length: 2", "Content-Length: 30"],
                      ["Content-Length: 2", "Transfer-Encoding: chunked"], ["Content-Length: 99999999999999999999999"],
                      ["Content-Length: 2, 30"], ["Transfer-Encoding: gzip"], ["Transfer-Encoding: xchunked"],
                      ["Content-Length: +2"], ["Content-Length: 0x2"]):
            with self.subTest(lines=lines):
                self.send(self.head(start, "Content-Type: application/json", *lines), smuggled,
                          (400, 413, 422, 501, None))
        self.alive()

    def test_pipelined_requests_are_answered_in_order(self):
        inbox = make_inbox(self.olga)
        first = self.head(f"GET {BASE}/resources/{inbox} HTTP/1.1", close=False)
        last = self.head(f"GET {BASE}/account HTTP/1.1")
        with raw_socket(self.service) as connection:
            connection.sendall((first + last).encode())
            stream = connection.makefile("rb")
            text = stream.read().decode()
        self.assertEqual(text.count("HTTP/1.1 200"), 2)
        self.assertLess(text.index('"user-inbox"'), text.index('"cursor"'))

    def test_http_1_0_is_answered_and_closed(self):
        with raw_socket(self.service) as connection:
            connection.sendall(f"GET {BASE}/account HTTP/1.0\r\nAuthorization: Bearer {self.olga.token}\r\n\r\n".encode())
            text = connection.makefile("rb").read()
        self.assertRegex(text, rb"^HTTP/1\.[01] (200|400|426|505) ")

    def test_a_client_that_waits_for_100_gets_it_or_the_answer(self):
        body = b'{"time_s":1,"latitude":1,"longitude":1}'
        text = self.head(f"POST {BASE}/positions HTTP/1.1", "Content-Type: application/json", "Expect: 100-continue",
                         f"Content-Length: {len(body)}")
        with raw_socket(self.service) as connection:
            connection.sendall(text.encode())
            first = connection.recv(1000)
            self.assertRegex(first, rb"^HTTP/1.1 (100|417) ")
            if b" 100 " in first:
                connection.sendall(body)
                self.assertIn(b"HTTP/1.1 204", first + connection.makefile("rb").read())

    def test_garbage_instead_of_tls_is_refused(self):
        source = random.Random(7)
        for garbage in (b"GET / HTTP/1.1\r\nHost: x\r\n\r\n", b"\0" * 100, source.randbytes(5000), b"\x16\x03\x01\xff\xff" + b"x" * 500,
                        b"\x16\x03\x01", b"", b"SSH-2.0-x\r\n"):
            with raw_socket(self.service, tls=False) as connection:
                try:
                    connection.sendall(garbage)
                    connection.shutdown(socket.SHUT_WR)
                    answer = b"".join(iter(lambda: connection.recv(4096), b""))
                except ConnectionError:
                    continue
                self.assertNotIn(b"200 OK", answer)
        self.alive()

    def test_garbage_within_tls_is_refused(self):
        source = random.Random(8)
        for garbage in (source.randbytes(3000), b"\0" * 20000, b"\r\n" * 20000, b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", b"\x80" * 17000):
            self.send(garbage + b"\r\n\r\n", expect=(400, 404, 405, 431, 505, None))
        self.alive()

    def test_garbage_on_the_plain_listener_is_refused(self):
        source = random.Random(9)
        for garbage in (source.randbytes(3000), b"\x16\x03\x01\x02\0\x01\0" + b"x" * 200, b"GET /" + b"m" * 100_000,
                        b"POST /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 9999999999\r\n\r\n", b"\r\n\r\n"):
            with socket.create_connection((self.service.metrics_host, self.service.metrics_port), timeout=TIMEOUT) as plain:
                try:
                    plain.sendall(garbage)
                    plain.shutdown(socket.SHUT_WR)
                    self.assertNotIn(b" 200 ", b"".join(iter(lambda: plain.recv(4096), b""))[:20])
                except ConnectionError:
                    pass
        self.alive()

    def test_silent_connections_do_not_block_others(self):
        silent = [raw_socket(self.service, tls=False) for _ in range(100)]
        half = [raw_socket(self.service) for _ in range(20)]
        for connection in half:
            connection.sendall(b"GET /kelvo-api/v1/acc")
        self.alive()
        for connection in silent + half:
            connection.close()
        self.alive()

    def test_tokens_of_random_bytes_are_refused(self):
        source = random.Random(10)
        for _ in range(50):
            junk = bytes(byte for byte in source.randbytes(60) if byte not in (0, 10, 13))
            text = f"GET {BASE}/account HTTP/1.1\r\nHost: x\r\nConnection: close\r\nAuthorization: Bearer ".encode() + junk
            self.send(text + b"\r\n\r\n", expect=(400, 401, None))
        self.alive()


class Tls(WireTest):
    OPTIONS = ("--name", "farm.example")

    def test_versions_before_1_2_are_refused(self):
        context = self.service.tls()
        context.set_ciphers("ALL:@SECLEVEL=0")
        context.minimum_version = ssl.TLSVersion.TLSv1
        context.maximum_version = ssl.TLSVersion.TLSv1_1
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=TIMEOUT) as plain:
            with self.assertRaises((ssl.SSLError, ConnectionError)) as failure:
                context.wrap_socket(plain, server_hostname="localhost")
        if isinstance(failure.exception, ssl.SSLError):
            self.assertIn("ALERT", failure.exception.reason or "")  # The service refused, not this side.

    def test_versions_1_2_and_1_3_are_accepted(self):
        for version, name in ((ssl.TLSVersion.TLSv1_2, "TLSv1.2"), (ssl.TLSVersion.TLSv1_3, "TLSv1.3")):
            context = self.service.tls()
            context.minimum_version = context.maximum_version = version
            with socket.create_connection(("127.0.0.1", self.service.port), timeout=TIMEOUT) as plain, \
                    context.wrap_socket(plain, server_hostname="localhost") as connection:
                self.assertEqual(connection.version(), name)

    def test_the_certificate_is_valid_for_the_given_names(self):
        for name in ("localhost", "farm.example", "127.0.0.1"):
            with socket.create_connection(("127.0.0.1", self.service.port), timeout=TIMEOUT) as plain, \
                    self.service.tls().wrap_socket(plain, server_hostname=name) as connection:
                self.assertTrue(connection.getpeercert())
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=TIMEOUT) as plain:
            with self.assertRaises(ssl.SSLCertVerificationError):
                self.service.tls().wrap_socket(plain, server_hostname="other.example")

    def test_private_keys_are_readable_by_their_owner_only(self):
        found = 0
        for folder, _, files in os.walk(self.service.folder):
            for name in files:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    if b"PRIVATE KEY" in file.read():
                        found += 1
                        self.assertEqual(os.stat(path).st_mode & 0o777, 0o600, path)
        self.assertGreater(found, 0)
        self.assertNotIn("PRIVATE", self.service.text("ca.pem"))


if __name__ == "__main__":
    unittest.main()

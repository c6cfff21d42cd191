"""HTTP to the letter: heads, chunked bodies, conditions, tokens in any case."""

import http.client
import json
import socket
import ssl
import unittest

from kelvowire.contract import BASE
from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import OCTETS, TIMEOUT, digest_header, exchange, metadata, raw_socket


def chunked(*chunks):
    return b"".join(b"%x\r\n%s\r\n" % (len(chunk), chunk) for chunk in (*chunks, b""))


class Http(WireTest):
    OPTIONS = ("--max-upload", "1000000")

    def setUp(self):
        self.olga = self.user("olga")
        self.inbox = make_inbox(self.olga)
        self.name = self.id().rsplit(".", 1)[1] + ".zip"

    def send(self, start, *lines, body=b"", host=("Host: localhost",)):
        head = "\r\n".join((start, *host, f"Authorization: Bearer {self.olga.token}", "Connection: close", *lines))
        return exchange(self.service, head.encode() + b"\r\n\r\n" + body)

    def status(self, *arguments, **options):
        return self.send(*arguments, **options)[0]

    def test_http_1_1_needs_exactly_one_host(self):
        start = f"GET {BASE}/account HTTP/1.1"
        for host in ((), ("Host: a", "Host: a"), ("Host: a", "Host: b"), ("Host: a/b",), ("Host: a, b",), ("Host: user@a",)):
            self.assertEqual(self.status(start, host=host), 400, host)
        for host in (("Host:",), ("Host: [::1]:8443",), ("hOST: farm.example",)):
            self.assertEqual(self.status(start, host=host), 200, host)
        self.assertEqual(self.status(f"GET {BASE}/account HTTP/1.0", host=()), 200)

    def test_a_target_in_absolute_form_is_the_same_route(self):
        for origin in (f"https://localhost:{self.service.port}", "HTTPS://other.example"):
            self.assertEqual(self.status(f"GET {origin}{BASE}/account HTTP/1.1"), 200)
        self.assertEqual(self.status("GET https://localhost HTTP/1.1"), 404)

    def test_other_versions_are_505(self):
        for version in ("HTTP/2.0", "HTTP/3.0", "HTTP/0.9"):
            status, _, body = self.send(f"GET {BASE}/account {version}")
            self.assertEqual((status, json.loads(body)["type"]), (505, "urn:kelvo:problem:version-not-supported"))

    def test_a_connection_of_http_1_0_stays_open_if_asked(self):
        head = f"GET {BASE}/account HTTP/1.0\r\nAuthorization: Bearer {self.olga.token}\r\n"
        with raw_socket(self.service) as connection:
            connection.sendall((head + "Connection: keep-alive\r\n\r\n" + head + "\r\n").encode())
            text = connection.makefile("rb").read()
        self.assertEqual(text.count(b"HTTP/1.1 200 "), 2)
        self.assertEqual((text.count(b"Connection: keep-alive\r\n"), text.count(b"Connection: close\r\n")), (1, 1))

    def test_the_method_may_be_in_a_header(self):
        upload = self.olga.create(self.name, [self.inbox], 6).headers["Location"]
        headers = {"X-HTTP-Method-Override": "PATCH", "Upload-Offset": "0"}
        self.olga.tus("POST", upload, 204, headers=headers, body=b"abc", check=False)
        head = self.olga.tus("POST", upload, 200, headers={"X-HTTP-Method-Override": "HEAD"}, check=False)
        self.assertEqual((head.headers["Upload-Offset"], head.headers["Content-Length"]), ("3", "0"))
        self.olga.tus("POST", upload, 204, headers={"X-HTTP-Method-Override": "DELETE"}, check=False)
        self.olga.tus("HEAD", upload, 404)
        file = self.olga.put(self.name, [self.inbox], b"abc")[0]["id"]
        head = self.olga.post(f"/resources/{file}/content", 200, headers={"X-HTTP-Method-Override": "HEAD"}, check=False)
        self.assertEqual((head.headers["Content-Length"], head.body), ("0", b""))

    def test_a_chunked_json_body_is_read(self):
        body = b'{"time_s":1,"latitude":1,"longitude":1}'
        start = f"POST {BASE}/positions HTTP/1.1"
        lines = ("Content-Type: Application/JSON ; charset=utf-8", "Transfer-Encoding: Chunked")
        self.assertEqual(self.status(start, *lines, body=chunked(body[:5], body[5:6], body[6:])), 204)
        self.assertEqual(self.status(start, *lines, body=chunked(b" " * 65536)), 400)
        self.assertEqual(self.status(start, *lines, body=chunked(b" " * 65537)), 413)
        self.assertEqual(self.status(start, "Content-Type: application/json", "Transfer-Encoding: gzip"), 501)

    def chunked_upload(self, length, *chunks, end=b""):
        return self.send(f"POST {BASE}/uploads HTTP/1.1", "Tus-Resumable: 1.0.0", f"Upload-Length: {length}",
                         f"Upload-Metadata: {metadata(self.name, [self.inbox])}", f"Content-Type: {OCTETS}",
                         f"Idempotency-Key: {self.name}", "Transfer-Encoding: chunked", body=chunked(*chunks) + end)

    def test_a_chunked_upload_is_stored(self):
        content = bytes(range(256)) * 2000
        status, headers, _ = self.chunked_upload(len(content), *(content[at:at + 3000] for at in range(0, len(content), 3000)))
        self.assertEqual((status, headers["Repr-Digest"]), (201, digest_header(content)))

    def test_a_chunked_upload_that_is_too_long_makes_no_file(self):
        self.assertEqual(self.chunked_upload(5, b"abc", b"def")[0], 413)
        self.assertNotIn(self.name, self.names(self.olga, self.inbox))

    def test_a_chunked_upload_that_is_malformed_can_be_resumed(self):
        head = self.chunked_upload(9, b"abc")
        self.assertEqual((head[0], head[1]["Upload-Offset"]), (201, "3"))
        location = head[1]["Location"]
        status = self.status(f"PATCH {location} HTTP/1.1", "Tus-Resumable: 1.0.0", "Upload-Offset: 3", f"Content-Type: {OCTETS}",
                             "Transfer-Encoding: chunked", body=b"3\r\ndef\r\nzzz\r\n")
        self.assertEqual(status, 400)
        self.assertEqual(self.olga.offset(location), 6)
        done = self.olga.patch(location, 6, b"ghi")
        self.assertEqual(done.headers["Repr-Digest"], digest_header(b"abcdefghi"))

    def test_a_content_that_the_client_has_is_not_sent(self):
        file = self.olga.put(self.name, [self.inbox], b"known")[0]
        path = f"/resources/{file['id']}/content"
        for tags in (file["etag"], "W/" + file["etag"], '"other", ' + file["etag"], "*"):
            answer = self.olga.get(path, 304, headers={"If-None-Match": tags, "Range": "bytes=0-1"})
            self.assertEqual((answer.headers["ETag"], answer.body), (file["etag"], b""))
            self.olga.request("HEAD", path, 304, headers={"If-None-Match": tags})
        self.assertEqual(self.olga.get(path, 200, headers={"If-None-Match": '"other"'}).body, b"known")
        self.olga.get(path, 412, headers={"If-None-Match": file["etag"], "If-Match": '"other"'})

    def test_a_content_is_stored_by_a_browser_and_never_shown(self):
        names = {"field.zip": ("field.zip", "field.zip"), 'a"b\\%41;é.html': ("a_b__41;__.html", "a%22b%5C%2541%3B%C3%A9.html")}
        for name, (plain, encoded) in names.items():
            file = self.olga.put(name, [self.inbox], b"<script>")[0]["id"]
            headers = self.olga.get(f"/resources/{file}/content").headers
            self.assertEqual(headers["Content-Disposition"], f"attachment; filename=\"{plain}\"; filename*=UTF-8''{encoded}")
            self.assertEqual(headers["X-Content-Type-Options"], "nosniff")

    def test_tokens_are_compared_without_case(self):
        file = self.olga.put(self.name, [self.inbox], b"0123456789")[0]["id"]
        path = f"/resources/{file}/content"
        self.assertEqual(self.olga.get(path, 206, headers={"Range": "BYTES=2-3"}).body, b"23")
        self.assertEqual(self.olga.get("/account", headers={"Accept-Encoding": "GZip"}, check=False).headers["Content-Encoding"], "gzip")
        self.assertIsNone(self.olga.get("/account", headers={"Accept-Encoding": "gzip;Q=0"}).headers["Content-Encoding"])
        self.olga.get("/account", headers={"Authorization": f"bEARER {self.olga.token}"})
        self.olga.create("media.zip", [self.inbox], 1, b"x", headers={"Content-Type": OCTETS.title()})

    def test_a_proxy_passes_events_on_at_once(self):
        head = f"GET {BASE}/events HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer {self.olga.token}\r\n\r\n"
        with raw_socket(self.service) as connection:
            connection.sendall(head.encode())
            response = http.client.HTTPResponse(connection)
            response.begin()
            self.assertEqual((response.status, response.headers["X-Accel-Buffering"]), (200, "no"))

    def test_names_have_no_hidden_characters(self):
        for name in ("a\u0085b", "a\u009b31m", "gpj\u202e.exe", "\u2066a", "a\u2028b"):
            self.refused(self.olga.create(name, [self.inbox], 1, b"x", expect=422), "unprocessable")
            admin = self.user("admin")
            self.refused(admin.post("/farms", 422, json={"name": name}), "unprocessable")
        self.olga.create("right\u200fto left \u05d0.zip", [self.inbox], 1, b"x")

    def test_blanks_at_the_ends_of_names_are_removed(self):
        admin = self.user("admin")
        self.assertEqual(admin.post("/farms", json={"name": " Vale Farm\u00a0"}).json()["name"], "Vale Farm")
        admin.post("/farms", 409, json={"name": "Vale Farm "})
        user = {"farm": "\u2003Vale Farm", "name": " vera ", "password": "correct horse", "role": "operator"}
        self.assertEqual(admin.post("/users", json=user).json()["name"], "vera")
        admin.post("/users", 409, json={**user, "name": "vera\u3000"})
        admin.post("/users", 422, json={**user, "name": " \u00a0 "})


class Suites(WireTest):
    def test_suites_without_forward_secrecy_or_with_cbc_are_refused(self):
        for suite in ("ECDHE-ECDSA-AES128-SHA256", "ECDHE-ECDSA-AES256-SHA", "ECDHE-RSA-AES128-SHA256", "AES128-GCM-SHA256"):
            self.assertIsNone(self.connect(suite), suite)
        for suite in ("ECDHE-ECDSA-AES128-GCM-SHA256", "ECDHE-ECDSA-AES256-GCM-SHA384", "ECDHE-ECDSA-CHACHA20-POLY1305"):
            self.assertEqual(self.connect(suite), suite)

    def connect(self, suite):
        context = self.service.tls()
        context.maximum_version = ssl.TLSVersion.TLSv1_2
        context.set_ciphers(suite)
        try:
            with socket.create_connection(("127.0.0.1", self.service.port), timeout=TIMEOUT) as plain, \
                    context.wrap_socket(plain, server_hostname="localhost") as connection:
                return connection.cipher()[0]
        except (ssl.SSLError, ConnectionError):
            return None


if __name__ == "__main__":
    unittest.main()

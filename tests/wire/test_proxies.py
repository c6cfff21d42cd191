"""The service behind nginx and HAProxy, with the configurations that are shipped."""

import hashlib
import http.client
import os
import unittest

from kelvowire.contract import BASE
from kelvowire.events import EventStream
from kelvowire.farm import add_farms_and_users, log_in, make_inbox
from kelvowire.front import Haproxy, Nginx, is_installed
from kelvowire.http import OCTETS, TIMEOUT, begin_upload, cut, digest_header, metadata, raw_socket
from kelvowire.service import Service
from needs import needs

CONTENT = bytes(range(256)) * 4000  # About 1 MB, above the default limits of proxies
LARGE_BYTES = int(os.environ.get("KELVO_LARGE_MIB", "96")) * 1024 * 1024
PIECE = bytes(range(256)) * 4096


class BehindAProxy:
    front_class = None

    @classmethod
    def setUpClass(cls):
        needs(cls("setUp"), is_installed(cls.front_class.program), cls.front_class.program)
        cls.service = Service()
        cls.addClassCleanup(cls.service.remove)
        cls.service.start()
        add_farms_and_users(cls.service).close()
        cls.front = cls.front_class(cls.service)
        cls.addClassCleanup(cls.front.remove)
        cls.front.start()

    def setUp(self):
        self.olga = log_in(self.front, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)
        self.name = self.id().rsplit(".", 1)[1] + ".zip"

    def test_a_session_with_files_works(self):
        file = self.olga.put(self.name, [self.inbox], CONTENT)[0]
        path = f"/resources/{file['id']}/content"
        self.assertEqual(self.olga.get(path).body, CONTENT)
        self.assertEqual(self.olga.get(path, 206, headers={"Range": "bytes=10-19"}).body, CONTENT[10:20])
        self.olga.get(path, 304, headers={"If-None-Match": file["etag"]})
        self.olga.delete(f"/resources/{file['id']}")
        self.olga.get(path, 404)
        self.olga.delete("/sessions/current")
        self.olga.get("/account", 401)

    def test_an_event_arrives_while_the_stream_is_open(self):
        with EventStream(self.olga) as stream:
            for number in range(3):
                file = self.olga.put(f"{number}.zip", [self.inbox], b"e")[0]
                self.assertEqual(stream.expect("file-added").data["entry"], file)

    def test_the_bytes_of_a_slow_upload_reach_the_service_before_its_end(self):
        location = self.olga.create(self.name, [self.inbox], len(CONTENT)).headers["Location"]
        direct = log_in(self.service, "olga")
        self.addCleanup(direct.close)
        slow = begin_upload(self.front, self.olga.token, "PATCH", location, len(CONTENT), {"Upload-Offset": "0"}, CONTENT[:5000])
        self.addCleanup(slow.close)
        upload = f"{self.service.folder}/uploads/{location.rsplit('/', 1)[1]}"
        self.wait_for_bytes(upload, 5000)
        slow.sendall(CONTENT[5000:5001])
        self.wait_for_bytes(upload, 5001)
        cut(slow)
        self.olga.await_offset(location, 5001)
        done = self.olga.patch(location, 5001, CONTENT[5001:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))

    def wait_for_bytes(self, path, size):
        """Ends by the guard of the test if the bytes never arrive."""
        while True:
            try:
                with open(path, "rb") as file:
                    if file.seek(0, 2) >= size:
                        return
            except FileNotFoundError:
                pass

    def test_a_slow_reader_gets_its_whole_file_and_holds_nobody_up(self):
        content = PIECE * 24
        file = self.olga.put(self.name, [self.inbox], content)[0]["id"]
        request = (f"GET {BASE}/resources/{file}/content HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                   f"Authorization: Bearer {self.olga.token}\r\n\r\n")
        with raw_socket(self.front) as slow:
            slow.sendall(request.encode())
            first = slow.recv(100)
            self.assertEqual(self.olga.get(f"/resources/{file}/content").body, content)
            rest = slow.makefile("rb").read()
        self.assertEqual((first + rest).split(b"\r\n\r\n", 1)[1], content)

    def test_a_large_file_passes_in_one_request(self):
        digest = hashlib.sha256()
        connection = http.client.HTTPSConnection("localhost", self.front.port, timeout=TIMEOUT, context=self.front.tls())
        self.addCleanup(connection.close)
        connection.putrequest("POST", BASE + "/uploads")
        for name, value in {**self.olga.headers(), "Tus-Resumable": "1.0.0", "Upload-Length": LARGE_BYTES, "Content-Type": OCTETS,
                            "Upload-Metadata": metadata(self.name, [self.inbox]), "Content-Length": LARGE_BYTES}.items():
            connection.putheader(name, str(value))
        connection.endheaders()
        for _ in range(LARGE_BYTES // len(PIECE)):
            connection.send(PIECE)
            digest.update(PIECE)
        answer = connection.getresponse()
        answer.read()
        self.assertEqual(answer.status, 201)
        connection.request("GET", f"{BASE}/resources/{answer.headers['Kelvo-File-Ids']}/content", headers=self.olga.headers())
        received = hashlib.sha256()
        content = connection.getresponse()
        while piece := content.read(1 << 20):
            received.update(piece)
        self.assertEqual(received.hexdigest(), digest.hexdigest())

    def test_a_chunked_upload_passes(self):
        headers = {"Upload-Length": str(len(CONTENT)), "Upload-Metadata": metadata(self.name, [self.inbox]),
                   "Tus-Resumable": "1.0.0", "Content-Type": OCTETS}
        pieces = (CONTENT[at:at + 100000] for at in range(0, len(CONTENT), 100000))
        answer = self.olga.request("POST", "/uploads", 201, headers=headers, body=pieces)
        self.assertEqual(answer.headers["Repr-Digest"], digest_header(CONTENT))

    def test_the_services_refusals_reach_the_client(self):
        self.refused(self.olga.create("a/b", [self.inbox], 1, b"x", expect=422), "unprocessable")
        self.olga.close()  # A proxy may close the connection of a request whose body was not read.
        self.refused(self.olga.create(self.name, [self.inbox], 1, bytes(20_000), expect=413), "content-too-large")
        self.olga.close()

    def test_a_request_head_of_nearly_16_kib_passes(self):
        self.olga.get("/account", headers={"X-Padding": "x" * 15_800})

    def refused(self, answer, problem):
        self.assertEqual(answer.problem, problem, answer)


class BehindNginx(BehindAProxy, unittest.TestCase):
    front_class = Nginx


class BehindHaproxy(BehindAProxy, unittest.TestCase):
    front_class = Haproxy


if __name__ == "__main__":
    unittest.main()

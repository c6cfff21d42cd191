"""The tus extensions creation-defer-length, checksum and concatenation, and the headers that HEAD returns."""

import base64
import hashlib
import os
import signal
import sqlite3
import unittest

from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import begin_upload, cut, digest_header, metadata

CONTENT = bytes(range(256)) * 40


def checksum(content, algorithm="sha256"):
    return f"{algorithm} {base64.b64encode(hashlib.new(algorithm, content).digest()).decode()}"


class TusTest(WireTest):
    OPTIONS = ("--max-upload", "1000000")

    def setUp(self):
        self.olga, self.piet, self.anna = map(self.user, ("olga", "piet", "anna"))
        self.inbox = make_inbox(self.olga)
        self.name = self.id().rsplit(".", 1)[1] + ".zip"

    def post(self, headers, body=None, expect=201, client=None):
        return (client or self.olga).tus("POST", "/uploads", expect, headers=headers, body=body)

    def head(self, location, expect=200):
        return self.olga.tus("HEAD", location, expect).headers

    def patch(self, location, offset, body, expect=204, **headers):
        extra = {name.replace("_", "-"): value for name, value in headers.items()}
        return self.olga.tus("PATCH", location, expect, headers={"Upload-Offset": str(offset), **extra}, body=body)

    def content(self, answer):
        return self.olga.get(f"/resources/{answer.headers['Kelvo-File-Ids']}/content").body

    def part(self, content, length=None, client=None):
        headers = {"Upload-Concat": "partial", "Upload-Length": str(len(content) if length is None else length)}
        return self.post(headers, content or None, client=client).headers["Location"]

    def final(self, parts, expect=201, name=None, headers=None, client=None):
        return self.post({"Upload-Concat": "final;" + " ".join(parts),
                          "Upload-Metadata": metadata(name or self.name, [self.inbox]), **(headers or {})}, None, expect, client)


class Extensions(TusTest):
    def test_the_extensions_and_algorithms_are_announced(self):
        answer = self.olga.request("OPTIONS", "/uploads", 204)
        for extension in ("creation-defer-length", "checksum", "concatenation"):
            self.assertIn(extension, answer.headers["Tus-Extension"].split(","))
        self.assertEqual(answer.headers["Tus-Checksum-Algorithm"], "sha1,sha256")

    def test_head_returns_the_metadata_as_sent(self):
        sent = metadata(self.name, [self.inbox]) + ", other dGV4dA==,flag"
        location = self.post({"Upload-Length": "5", "Upload-Metadata": sent}).headers["Location"]
        self.assertEqual(self.head(location)["Upload-Metadata"], sent)
        self.patch(location, 0, b"12345")
        self.assertEqual(self.head(location)["Upload-Metadata"], sent)

    def test_the_name_may_be_in_filename(self):
        sent = metadata(self.name, [self.inbox]).replace("name ", "filename ", 1)
        answer = self.post({"Upload-Length": "1", "Upload-Metadata": sent}, b"x")
        self.assertEqual(answer.json()["files"][0]["name"], self.name)

    def test_every_refusal_names_the_protocols_version(self):
        for method, path, expect in (("PUT", "/uploads", 405), ("GET", "/uploads", 405), ("PUT", "/uploads/a", 405)):
            answer = self.olga.request(method, path, expect)
            self.assertEqual(answer.headers["Tus-Resumable"], "1.0.0")
            self.assertTrue(answer.headers["Allow"])

    def test_a_warning_reaches_the_client_that_finishes_with_a_patch(self):
        self.anna.put("zwölf, 100 %.zip", [self.inbox], b"1")
        location = self.anna.create("zwölf, 100 %.zip", [self.inbox], 3, b"ab").headers["Location"]
        done = self.anna.patch(location, 2, b"c")
        for headers in (done.headers, self.anna.tus("HEAD", location, 200).headers):
            warnings = headers["Kelvo-Warnings"].split(", ")
            self.assertEqual(len(warnings), 1)
            self.assertIn("zw%C3%B6lf%2C 100 %25.zip", warnings[0])
        self.assertIsNone(self.anna.create("once.zip", [self.inbox], 1, b"1").headers["Kelvo-Warnings"])

    # creation-defer-length

    def deferred(self, body=None):
        return self.post({"Upload-Defer-Length": "1", "Upload-Metadata": metadata(self.name, [self.inbox])}, body)

    def test_the_length_may_come_with_a_later_part(self):
        location = self.deferred(CONTENT[:100]).headers["Location"]
        head = self.head(location)
        self.assertEqual((head["Upload-Defer-Length"], head["Upload-Length"], head["Upload-Offset"]), ("1", None, "100"))
        self.patch(location, 100, CONTENT[100:200])
        self.patch(location, 200, CONTENT[200:300], Upload_Length=str(len(CONTENT)))
        head = self.head(location)
        self.assertEqual((head["Upload-Defer-Length"], head["Upload-Length"]), (None, str(len(CONTENT))))
        done = self.patch(location, 300, CONTENT[300:], Upload_Length=str(len(CONTENT)))
        self.assertEqual(self.content(done), CONTENT)

    def test_a_length_without_bytes_finishes_the_upload(self):
        location = self.deferred(CONTENT).headers["Location"]
        self.assertNotIn(self.name, self.names(self.olga, self.inbox))
        done = self.patch(location, len(CONTENT), b"", Upload_Length=str(len(CONTENT)))
        self.assertEqual(self.content(done), CONTENT)

    def test_a_length_cannot_change(self):
        location = self.deferred(b"abc").headers["Location"]
        self.patch(location, 3, b"d", 400, Upload_Length="2")
        self.patch(location, 2, b"d", 409, Upload_Length="9")
        self.patch(location, 3, b"d", 413, Upload_Length="1000001")
        self.patch(location, 3, b"de", 413, Upload_Length="4")
        self.assertEqual(self.head(location)["Upload-Defer-Length"], "1")
        self.patch(location, 3, b"d", Upload_Length="6")
        self.patch(location, 4, b"ef", 400, Upload_Length="7")
        self.patch(location, 4, b"efg", 413)
        self.assertEqual(self.head(location)["Upload-Offset"], "4")
        self.patch(location, 4, b"ef")

    def test_a_deferred_upload_is_limited_too(self):
        location = self.deferred().headers["Location"]
        self.patch(location, 0, bytes(1000001), 413)
        self.patch(location, 0, bytes(1000000))
        self.patch(location, 1000000, b"x", 413)

    # checksum

    def test_a_part_with_its_checksum_is_appended(self):
        location = self.olga.create(self.name, [self.inbox], len(CONTENT)).headers["Location"]
        self.patch(location, 0, CONTENT[:4000], Upload_Checksum=checksum(CONTENT[:4000]))
        done = self.patch(location, 4000, CONTENT[4000:], Upload_Checksum=checksum(CONTENT[4000:], "sha1"))
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.content(done), CONTENT)

    def test_a_part_with_another_checksum_is_dropped(self):
        location = self.olga.create(self.name, [self.inbox], len(CONTENT), CONTENT[:10]).headers["Location"]
        for body in (CONTENT[10:20], CONTENT[10:]):
            self.refused(self.patch(location, 10, body, 460, Upload_Checksum=checksum(b"other")), "checksum-mismatch")
            self.assertEqual(self.head(location)["Upload-Offset"], "10")
        self.assertNotIn(self.name, self.names(self.olga, self.inbox))
        done = self.patch(location, 10, CONTENT[10:], Upload_Checksum=checksum(CONTENT[10:]))
        self.assertEqual(self.content(done), CONTENT)

    def test_a_creation_may_have_a_checksum(self):
        headers = {"Upload-Length": "3", "Upload-Metadata": metadata(self.name, [self.inbox])}
        self.post({**headers, "Upload-Checksum": checksum(b"abd")}, b"abc", 460)
        self.assertNotIn(self.name, self.names(self.olga, self.inbox))
        self.post({**headers, "Upload-Checksum": checksum(b"abc")}, b"abc")
        self.assertIn(self.name, self.names(self.olga, self.inbox))

    def test_other_algorithms_are_refused(self):
        location = self.olga.create(self.name, [self.inbox], 3).headers["Location"]
        for value in ("md5 kAFQmDzST7DWlj99KOF/cg==", "sha256", "sha256 abc", "sha1 " + checksum(b"abc").split()[1]):
            self.patch(location, 0, b"abc", 400, Upload_Checksum=value)
        self.assertEqual(self.head(location)["Upload-Offset"], "0")

    def test_the_unchecked_bytes_of_a_cut_part_do_not_count(self):
        location = self.olga.create(self.name, [self.inbox], len(CONTENT)).headers["Location"]
        headers = {"Upload-Offset": "0", "Upload-Checksum": checksum(CONTENT)}
        cut(begin_upload(self.service, self.olga.token, "PATCH", location, len(CONTENT), headers, CONTENT[:5000]))
        self.assertEqual(self.head(location)["Upload-Offset"], "0")
        done = self.patch(location, 0, CONTENT, Upload_Checksum=checksum(CONTENT))
        self.assertEqual(self.content(done), CONTENT)

    # concatenation

    def test_parts_become_one_file(self):
        parts = [self.part(CONTENT[:4000]), self.part(b""), self.part(CONTENT[4000:])]
        self.assertEqual(self.head(parts[0])["Upload-Concat"], "partial")
        self.assertNotIn(self.name, self.names(self.olga, self.inbox))
        address = f"https://localhost:{self.service.port}"
        answer = self.final([parts[0], parts[1], address + parts[2]])
        self.assertEqual(answer.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.content(answer), CONTENT)
        head = self.head(answer.headers["Location"])
        self.assertEqual(head["Upload-Concat"], f"final;{parts[0]} {parts[1]} {address}{parts[2]}")
        self.assertEqual((head["Upload-Length"], head["Upload-Offset"]), (str(len(CONTENT)),) * 2)
        added = self.anna.get("/audit?action=file-add&limit=1").json()["entries"][0]
        self.assertEqual((str(added["object"]["id"]), added["address"]), (answer.headers["Kelvo-File-Ids"], "127.0.0.1"))
        for part in parts:
            self.olga.tus("HEAD", part, 404)
        self.olga.delete(f"/resources/{answer.headers['Kelvo-File-Ids']}")

    def test_a_repeat_makes_no_second_file(self):
        parts = [self.part(b"one"), self.part(b"two")]
        first = self.final(parts)
        again = self.final(parts)
        self.assertEqual(again.headers["Kelvo-File-Ids"], first.headers["Kelvo-File-Ids"])
        self.assertEqual(again.headers["Kelvo-Repeated"], "true")
        self.assertEqual(self.names(self.olga, self.inbox).count(self.name), 1)
        self.refused(self.final(parts, 404, name="other.zip"), "not-found")

    def test_a_part_must_be_complete(self):
        parts = [self.part(b"abc"), self.part(b"d", 3)]
        self.refused(self.final(parts, 409), "conflict")
        self.patch(parts[1], 1, b"ef")
        self.assertEqual(self.content(self.final(parts)), b"abcdef")

    def test_a_part_must_be_an_own_partial_upload(self):
        others = self.part(b"abc", client=self.piet)
        ordinary = self.olga.create(self.name, [self.inbox], 3, b"ab").headers["Location"]
        for parts in ([others], [ordinary], ["/kelvo-api/v1/uploads/" + "0" * 32], [self.part(b"abc"), others]):
            self.refused(self.final(parts, 404), "not-found")
        for wrong in ("final;", "final;../..", "final;/kelvo-api/v1/uploads/", "both"):
            self.post({"Upload-Concat": wrong, "Upload-Metadata": metadata(self.name, [self.inbox])}, None, 400)
        self.final([self.part(b"abc")], 400, headers={"Upload-Length": "3"})

    def test_the_sum_of_the_parts_is_limited(self):
        parts = [self.part(bytes(600000)), self.part(bytes(600000))]
        self.refused(self.final(parts, 413), "content-too-large")

    def test_a_final_upload_takes_no_bytes(self):
        location = self.final([self.part(b"abc")]).headers["Location"]
        self.refused(self.patch(location, 3, b"d", 403), "forbidden")

    def test_a_partial_upload_makes_no_file(self):
        before = self.entries(self.olga, self.inbox)
        location = self.post({"Upload-Concat": "partial", "Upload-Length": "3",
                              "Upload-Metadata": metadata(self.name, [self.inbox])}, b"abc").headers["Location"]
        self.assertEqual(self.head(location)["Upload-Offset"], "3")
        self.assertEqual(self.entries(self.olga, self.inbox), before)
        self.olga.tus("DELETE", location, 204)
        self.olga.tus("HEAD", location, 404)


class AfterAKill(TusTest):
    """A killed service keeps what it acknowledged, and nothing that it had not checked."""

    def restart(self):
        self.service.signal(signal.SIGKILL)
        self.service.process.wait()
        self.service.start()
        for client in (self.olga, self.piet, self.anna):
            client.close()

    def test_unchecked_bytes_are_gone(self):
        location = self.olga.create(self.name, [self.inbox], len(CONTENT), CONTENT[:10]).headers["Location"]
        headers = {"Upload-Offset": "10", "Upload-Checksum": checksum(CONTENT[10:])}
        with begin_upload(self.service, self.olga.token, "PATCH", location, len(CONTENT) - 10, headers, CONTENT[10:6000]):
            self.restart()
        self.assertEqual(self.head(location)["Upload-Offset"], "10")
        self.assertEqual([name for name in os.listdir(os.path.join(self.service.folder, "uploads"))
                          if name.startswith(".")], [])
        self.assertEqual(self.content(self.patch(location, 10, CONTENT[10:])), CONTENT)

    def test_parts_and_their_late_length_are_kept(self):
        whole, late = self.part(b"abc"), self.post({"Upload-Concat": "partial", "Upload-Defer-Length": "1"}).headers["Location"]
        self.patch(late, 0, b"de", Upload_Length="3")
        self.restart()
        self.assertEqual((self.head(late)["Upload-Offset"], self.head(late)["Upload-Length"]), ("2", "3"))
        self.patch(late, 2, b"f")
        self.restart()
        answer = self.final([whole, late])
        self.restart()
        self.assertEqual(self.content(answer), b"abcdef")
        self.assertEqual(self.final([whole, late]).headers["Kelvo-File-Ids"], answer.headers["Kelvo-File-Ids"])

    def test_a_file_that_a_kill_left_half_joined_is_joined_anew(self):
        parts = [self.part(CONTENT[:4000]), self.part(CONTENT[4000:4001], len(CONTENT) - 4000)]
        self.final(parts, 409)
        self.service.signal(signal.SIGKILL)
        self.service.process.wait()
        with sqlite3.connect(self.service.path("kelvo.sqlite")) as database:
            final = database.execute("SELECT id FROM uploads WHERE concat LIKE 'final%' AND finished = 0").fetchone()[0]
        with open(os.path.join(self.service.folder, "uploads", final), "wb") as half:
            half.write(CONTENT[:3000])
        self.restart()
        self.patch(parts[1], 1, CONTENT[4001:])
        self.assertEqual(self.content(self.final(parts)), CONTENT)


if __name__ == "__main__":
    unittest.main()

"""Uploads over tus, request by request."""

import base64
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import PASSWORD, WireTest, log_in, make_inbox
from kelvowire.http import OCTETS, begin_upload, cut, digest_header, metadata, raw_socket, sha256_hex

CONTENT = bytes(range(256)) * 40


class Uploads(WireTest):
    OPTIONS = ("--max-upload", "50000000")

    def setUp(self):
        self.olga, self.piet, self.anna = map(self.user, ("olga", "piet", "anna"))
        self.inbox = make_inbox(self.olga)

    def content(self, file):
        return self.olga.get(f"/resources/{file}/content").body

    def test_options_need_no_session(self):
        self.olga.token = None
        answer = self.olga.request("OPTIONS", "/uploads", 204)
        extensions = set(answer.headers["Tus-Extension"].replace(" ", "").split(","))
        self.assertTrue({"creation", "creation-with-upload", "expiration", "termination"} <= extensions)
        self.assertIn("1.0.0", answer.headers["Tus-Version"])
        self.assertEqual(answer.headers["Tus-Max-Size"], "50000000")

    def test_a_whole_file_is_sent_in_one_request(self):
        answer = self.olga.create("one.zip", [self.inbox], len(CONTENT), CONTENT)
        file = answer.json()["files"][0]
        self.assertEqual(answer.headers["Kelvo-File-Ids"], str(file["id"]))
        self.assertEqual(answer.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(answer.headers["Upload-Offset"], str(len(CONTENT)))
        self.assertEqual((file["name"], file["size"], file["container"], file["sha256"]),
                         ("one.zip", len(CONTENT), self.inbox, sha256_hex(CONTENT)))
        self.assertEqual(self.content(file["id"]), CONTENT)
        self.assertIn(file, self.entries(self.olga, self.inbox))

    def test_a_file_sent_in_parts_appears_after_the_last_part(self):
        created = self.olga.create("parts.zip", [self.inbox], len(CONTENT))
        location = created.headers["Location"]
        self.assertEqual((created.headers["Upload-Offset"], created.body), ("0", b""))
        self.assertTrue(created.headers["Upload-Expires"])
        for start in range(0, len(CONTENT), 4000):
            self.assertNotIn("parts.zip", self.names(self.olga, self.inbox))
            head = self.olga.tus("HEAD", location, 200)
            self.assertEqual((head.headers["Upload-Offset"], head.headers["Upload-Length"]), (str(start), str(len(CONTENT))))
            self.assertTrue(head.headers["Upload-Expires"])
            part = CONTENT[start:start + 4000]
            done = self.olga.patch(location, start, part)
            self.assertEqual(done.headers["Upload-Offset"], str(start + len(part)))
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.content(int(done.headers["Kelvo-File-Ids"])), CONTENT)
        head = self.olga.tus("HEAD", location, 200)
        self.assertEqual(head.headers["Kelvo-File-Ids"], done.headers["Kelvo-File-Ids"])
        self.assertEqual(head.headers["Repr-Digest"], done.headers["Repr-Digest"])
        self.assertIsNone(head.headers["Upload-Expires"])

    def test_a_first_part_may_come_with_the_creation(self):
        created = self.olga.create("first.zip", [self.inbox], len(CONTENT), CONTENT[:777])
        self.assertEqual(created.headers["Upload-Offset"], "777")
        self.assertIsNone(created.headers["Kelvo-File-Ids"])
        done = self.olga.patch(created.headers["Location"], 777, CONTENT[777:])
        self.assertEqual(self.content(int(done.headers["Kelvo-File-Ids"])), CONTENT)

    def test_an_empty_file_is_complete_at_once(self):
        answer = self.olga.create("empty.zip", [self.inbox], 0)
        self.assertEqual(answer.headers["Repr-Digest"], digest_header(b""))
        file = answer.json()["files"][0]
        self.assertEqual((file["size"], self.content(file["id"])), (0, b""))

    def test_n_targets_make_n_files_in_the_order_given(self):
        inboxes = [make_inbox(self.olga, project) for project in ("Pivots", "Curves", "AB Lines")]
        order = [inboxes[1], inboxes[0], inboxes[2]]
        answer = self.olga.create("three.zip", order, 5, b"three")
        files = answer.json()["files"]
        self.assertEqual([file["container"] for file in files], order)
        self.assertEqual(len({file["id"] for file in files}), 3)
        self.assertEqual(answer.headers["Kelvo-File-Ids"], ",".join(str(file["id"]) for file in files))
        for file in files:
            self.assertEqual(self.content(file["id"]), b"three")
        self.olga.delete(f"/resources/{files[0]['id']}")
        self.assertEqual(self.content(files[1]["id"]), b"three")

    def test_the_office_writes_to_every_inbox_and_an_operator_only_to_own_inboxes(self):
        file = self.anna.put("office.zip", [self.inbox], b"o")[0]
        self.assertEqual(self.content(file["id"]), b"o")
        answer = self.piet.create("x.zip", [self.inbox], 1, b"x", expect=403)
        self.refused(answer, "forbidden")
        his = make_inbox(self.piet)
        self.piet.create("x.zip", [his, self.inbox], 1, b"x", expect=403)
        self.assertEqual(self.names(self.piet, his), [])

    def test_a_target_must_be_a_visible_inbox(self):
        project = self.olga.get(f"/resources/{self.inbox}").json()["project"]
        file = self.olga.put("target.zip", [self.inbox], b"t")[0]["id"]
        for targets in ([project], [file], [2147483647], [self.inbox, 2147483647]):
            with self.subTest(targets=targets):
                self.refused(self.olga.create("x.zip", targets, 1, b"x", expect=404), "not-found")
        self.refused(self.user("admin").create("x.zip", [self.inbox], 1, b"x", expect=404), "not-found")
        self.assertNotIn("x.zip", self.names(self.olga, self.inbox))

    def test_targets_that_are_no_list_of_ids_are_refused(self):
        for targets in ("", f"{self.inbox},{self.inbox}", f"{self.inbox},", ",", "x", f"{self.inbox};1", "-1", "0", "1.5",
                        "99999999999999999999", f"{self.inbox} ,{self.inbox}", f"0{self.inbox},{self.inbox}"):
            with self.subTest(targets=targets):
                self.olga.create("x.zip", targets, 1, b"x", expect=(400, 404, 422))
        for targets in ("", f"{self.inbox},{self.inbox}"):
            self.refused(self.olga.create("x.zip", targets, 1, b"x", expect=422), "unprocessable")

    def test_names_with_paths_or_control_characters_are_refused(self):
        for name in ("", ".", "..", "a/b", "/", "../x", "a\0b", "a\nb", "a\x7fb", "a\x1bb", "\r", "x" * 256, "\u00e9" * 128,
                     b"\xff\xfe", b"a\xc0\xafb", b"\xed\xa0\x80", b"a\xc2"):
            with self.subTest(name=name):
                self.refused(self.olga.create(name, [self.inbox], 1, b"x", expect=422), "unprocessable")

    def test_ordinary_names_are_stored_byte_for_byte(self):
        inbox = make_inbox(self.olga, "Project Lines")
        names = ["a b.zip", "...", ".hidden", "h\u00fcgel.zip", "\u4e2d\u6587", "back\\slash", "quote\"'", "%2F", "<b>", "x" * 255,
                 "\u00e9" * 127 + "x", "emoji\U0001f69c", "a,b", "a;b", " "]
        for name in names:
            self.olga.put(name, [inbox], b"n")
        self.assertEqual(self.names(self.olga, inbox), names)

    def test_a_file_keeps_its_sender_and_the_senders_note(self):
        inbox = make_inbox(self.olga, "Pivots")
        both = metadata("noted.zip", [inbox])
        send = {"headers": {"Upload-Metadata": f"{both},note {base64.b64encode('Süd, zweite Gabe'.encode()).decode()}"}}
        with EventStream(self.olga) as stream:
            file = self.anna.create("", [], 1, b"x", **send).json()["files"][0]
            self.assertEqual(stream.expect("file-added").data["entry"], file)
        self.assertEqual((file["sent_by"]["name"], file["note"]), ("anna", "Süd, zweite Gabe"))
        self.assertEqual(self.entries(self.olga, inbox), [file])
        self.olga.delete(f"/resources/{file['id']}")
        binned = [one for one in self.anna.get("/bin").json()["files"] if one["id"] == file["id"]]
        self.assertEqual((binned[0]["sent_by"], binned[0]["note"]), (file["sent_by"], file["note"]))
        plain = self.olga.create("plain.zip", [inbox], 1, b"x").json()["files"][0]
        self.assertEqual((plain["sent_by"]["name"], "note" in plain), ("olga", False))

    def test_a_repeat_with_another_note_is_refused(self):
        both = metadata("repeated.zip", [self.inbox])
        for note, expect in ((b"first", 201), (b"first", 201), (b"second", 409)):
            headers = {"Upload-Metadata": f"{both},note {base64.b64encode(note).decode()}"}
            self.olga.create("", [], 1, b"x", key=self.id(), expect=expect, headers=headers)

    def test_long_notes_and_notes_with_control_characters_are_refused(self):
        both = metadata("noted.zip", [self.inbox])
        for note, expect in (("é" * 200, 201), ("x" * 201, 422), ("a\nb", 422), (b"\xff", 422), ("", 201)):
            with self.subTest(note=note):
                coded = base64.b64encode(note if isinstance(note, bytes) else note.encode()).decode()
                self.olga.create("", [], 1, b"x", headers={"Upload-Metadata": f"{both},note {coded}"}, expect=expect)

    def test_a_name_used_twice_makes_two_files_and_warns_the_office(self):
        inbox = make_inbox(self.olga, "Curves")
        first = self.anna.create("twice.zip", [inbox], 1, b"1").json()
        self.assertEqual(first["warnings"], [])
        second = self.anna.create("twice.zip", [inbox], 1, b"2").json()
        self.assertEqual(len(second["warnings"]), 1)
        self.assertEqual(self.content(first["files"][0]["id"]), b"1")
        self.assertEqual(self.content(second["files"][0]["id"]), b"2")
        self.assertEqual(self.names(self.olga, inbox).count("twice.zip"), 2)

    def test_a_wrong_offset_is_refused(self):
        location = self.olga.create("offset.zip", [self.inbox], 10, b"0123").headers["Location"]
        for offset in (0, 3, 5, 10, 11, 2 ** 53):
            with self.subTest(offset=offset):
                self.refused(self.olga.patch(location, offset, b"456789", expect=409), "upload-offset-mismatch")
        for offset in ("", "x", "-1", "4x", str(2 ** 63), "99999999999999999999999"):
            with self.subTest(offset=offset):
                self.olga.tus("PATCH", location, (400, 409), headers={"Upload-Offset": offset}, body=b"456789")
        self.olga.tus("PATCH", location, 400, body=b"456789")
        self.assertEqual(self.olga.offset(location), 4)
        self.olga.patch(location, 4, b"456789")

    def test_a_body_beyond_the_upload_length_is_refused(self):
        location = self.olga.create("more.zip", [self.inbox], 4, b"ab").headers["Location"]
        self.refused(self.olga.patch(location, 2, b"cde", expect=413), "content-too-large")
        self.assertNotIn("more.zip", self.names(self.olga, self.inbox))
        self.assertIn(self.olga.offset(location), (2, 3, 4))
        self.olga.create("more2.zip", [self.inbox], 2, b"abc", expect=413)
        self.assertNotIn("more2.zip", self.names(self.olga, self.inbox))

    def test_a_length_above_the_maximum_is_refused_at_once(self):
        self.refused(self.olga.create("big.zip", [self.inbox], 50000001, expect=413), "content-too-large")
        self.olga.create("fits.zip", [self.inbox], 50000000)

    def test_bodies_of_another_media_type_are_refused(self):
        location = self.olga.create("type.zip", [self.inbox], 4).headers["Location"]
        for media in ("application/json", "application/octet-stream", "text/plain", "application/offset+octet-streams"):
            answer = self.olga.tus("PATCH", location, 415, headers={"Upload-Offset": "0", "Content-Type": media}, body=b"abcd")
            self.refused(answer, "unsupported-media-type")
            self.olga.create("type.zip", [self.inbox], 4, b"abcd", expect=415, headers={"Content-Type": media})
        self.assertEqual(self.olga.offset(location), 0)

    def test_requests_without_the_protocols_version_are_refused(self):
        location = self.olga.create("version.zip", [self.inbox], 4).headers["Location"]
        for version in (None, "0.2.2", "1.0", "2.0.0", ""):
            for method, path, headers in (("HEAD", location, {}), ("DELETE", location, {}),
                                          ("PATCH", location, {"Upload-Offset": "0", "Content-Type": OCTETS}),
                                          ("POST", "/uploads", {"Upload-Length": "1",
                                                                "Upload-Metadata": metadata("a", [self.inbox])})):
                with self.subTest(version=version, method=method):
                    self.olga.request(method, path, 412, headers={**headers, "Tus-Resumable": version})
        self.assertEqual(self.olga.offset(location), 0)

    def test_every_answer_has_the_protocols_version(self):
        for answer in (self.olga.create("a/b", [self.inbox], 1, expect=422), self.olga.tus("HEAD", "/uploads/none", 404),
                      self.olga.request("OPTIONS", "/uploads", 204)):
            self.assertEqual(answer.headers["Tus-Resumable"], "1.0.0", answer)

    def test_wrong_creation_headers_are_refused(self):
        good = {"Upload-Length": "1", "Upload-Metadata": metadata("bad.zip", [self.inbox])}
        name, targets = good["Upload-Metadata"].split(",")
        for change in ({"Upload-Length": None}, {"Upload-Length": "-1"}, {"Upload-Length": "x"}, {"Upload-Length": "1e3"},
                       {"Upload-Length": "0x10"}, {"Upload-Length": " "}, {"Upload-Length": "9" * 30},
                       {"Upload-Length": None, "Upload-Defer-Length": "2"}, {"Upload-Defer-Length": "1"}, {"Upload-Metadata": None},
                       {"Upload-Metadata": ""}, {"Upload-Metadata": name}, {"Upload-Metadata": targets},
                       {"Upload-Metadata": f"name ,{targets}"}, {"Upload-Metadata": f"name,{targets}"},
                       {"Upload-Metadata": f"name !!!!,{targets}"}, {"Upload-Metadata": f"{name},{name},{targets}"},
                       {"Upload-Metadata": f"{name},targets \x7f"}, {"Upload-Metadata": "," * 500}):
            with self.subTest(change=change):
                self.olga.tus("POST", "/uploads", (400, 413, 422), headers={**good, **change})
        self.assertNotIn("bad.zip", self.names(self.olga, self.inbox))

    def test_unknown_metadata_is_ignored(self):
        both = metadata("known.zip", [self.inbox])
        answer = self.olga.create("", [], 1, b"x", headers={"Upload-Metadata": f"filetype dGV4dA==,{both},is_confidential"})
        self.assertEqual(answer.json()["files"][0]["name"], "known.zip")

    def test_a_deleted_upload_is_not_found(self):
        location = self.olga.create("given-up.zip", [self.inbox], 10, b"0123").headers["Location"]
        self.olga.tus("DELETE", location, 204)
        self.olga.tus("HEAD", location, (404, 410))
        self.olga.patch(location, 4, b"456789", expect=(404, 410))
        self.olga.tus("DELETE", location, (404, 410))

    def test_a_finished_upload_cannot_be_deleted(self):
        answer = self.olga.create("finished.zip", [self.inbox], 1, b"f", key="finished")
        self.refused(self.olga.tus("DELETE", answer.headers["Location"], 409), "conflict")
        self.assertEqual(self.content(answer.json()["files"][0]["id"]), b"f")
        again = self.olga.create("finished.zip", [self.inbox], 1, key="finished")
        self.assertEqual(again.json()["files"], answer.json()["files"])

    def test_other_users_cannot_use_an_upload(self):
        location = self.olga.create("mine.zip", [self.inbox], 4, b"ab").headers["Location"]
        for name in ("piet", "anna", "oda", "admin"):
            other = self.user(name)
            with self.subTest(name):
                other.tus("HEAD", location, 404)
                self.refused(other.patch(location, 2, b"cd", expect=404), "not-found")
                other.tus("DELETE", location, 404)
        self.assertEqual(self.olga.offset(location), 2)

    def test_bytes_received_before_a_cut_are_kept(self):
        location = self.olga.create("cut.zip", [self.inbox], len(CONTENT)).headers["Location"]
        cut(begin_upload(self.service, self.olga.token, "PATCH", location, len(CONTENT), {"Upload-Offset": "0"},
                         CONTENT[:5000]))
        self.olga.await_offset(location, 5000)
        done = self.olga.patch(location, 5000, CONTENT[5000:])
        self.assertEqual(self.content(int(done.headers["Kelvo-File-Ids"])), CONTENT)

    def test_bytes_received_with_the_creation_before_a_cut_are_kept(self):
        headers = {"Upload-Length": len(CONTENT), "Upload-Metadata": metadata("cut-creation.zip", [self.inbox]),
                   "Idempotency-Key": "cut-creation"}
        cut(begin_upload(self.service, self.olga.token, "POST", "/uploads", len(CONTENT), headers, CONTENT[:3000]))
        again = self.olga.create("cut-creation.zip", [self.inbox], len(CONTENT), key="cut-creation")
        location = again.headers["Location"]
        self.olga.await_offset(location, 3000)
        done = self.olga.patch(location, 3000, CONTENT[3000:])
        self.assertEqual(self.content(int(done.headers["Kelvo-File-Ids"])), CONTENT)
        self.assertEqual(self.names(self.olga, self.inbox).count("cut-creation.zip"), 1)

    def send_without_end(self, location):
        """Sends all bytes in a chunked body, and cuts the connection before the last chunk."""
        connection = raw_socket(self.service)
        head = (f"PATCH {location} HTTP/1.1", f"Host: localhost:{self.service.port}", "Tus-Resumable: 1.0.0",
                f"Authorization: Bearer {self.olga.token}", f"Content-Type: {OCTETS}", "Upload-Offset: 0",
                "Transfer-Encoding: chunked", "", f"{len(CONTENT):x}", "")
        connection.sendall("\r\n".join(head).encode() + CONTENT + b"\r\n")
        cut(connection)

    def test_a_whole_upload_without_its_files_is_finished_when_its_offset_is_asked(self):
        location = self.olga.create("whole.zip", [self.inbox], len(CONTENT)).headers["Location"]
        self.send_without_end(location)
        self.olga.await_offset(location, len(CONTENT))
        head = self.olga.tus("HEAD", location, 200)
        self.assertEqual(head.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.content(int(head.headers["Kelvo-File-Ids"])), CONTENT)
        self.assertEqual(self.names(self.olga, self.inbox).count("whole.zip"), 1)

    def test_a_whole_upload_without_its_files_is_finished_when_its_creation_is_repeated(self):
        for number, body in enumerate((None, bytes(len(CONTENT)))):
            with self.subTest(body=body is not None):
                name, key = f"repeat {number}.zip", f"whole {number}"
                location = self.olga.create(name, [self.inbox], len(CONTENT), key=key).headers["Location"]
                self.send_without_end(location)
                again = self.olga.create(name, [self.inbox], len(CONTENT), body, key=key)
                self.assertEqual((again.headers["Location"], again.headers["Kelvo-Repeated"]), (location, "true"))
                self.assertEqual(self.content(again.json()["files"][0]["id"]), CONTENT)

    def test_a_whole_upload_whose_target_is_gone_is_not_found(self):
        admin = self.user("admin")
        user = admin.post("/users", json={"farm": "Hill Farm", "name": "gone", "password": PASSWORD, "role": "operator"}).json()
        gone = log_in(self.service, "gone")
        self.addCleanup(gone.close)
        inbox = make_inbox(gone)
        location = self.anna.create("late.zip", [inbox], 4, b"abc").headers["Location"]
        admin.delete(f"/users/{user['id']}")
        self.refused(self.anna.patch(location, 3, b"d", expect=404), "not-found")
        self.anna.tus("HEAD", location, 404)

    def test_a_hanging_connection_does_not_block_the_upload(self):
        location = self.olga.create("hangs.zip", [self.inbox], len(CONTENT)).headers["Location"]
        with begin_upload(self.service, self.olga.token, "PATCH", location, len(CONTENT), {"Upload-Offset": "0"},
                          CONTENT[:5000]) as hanging:
            done = None
            while done is None or done.status == 409:
                offset = self.olga.offset(location)
                try:
                    done = self.olga.patch(location, offset, CONTENT[offset:], expect=(204, 409))
                except ConnectionError:
                    self.olga.close()  # The hanging request arrived after ours and took over.
            try:
                hanging.sendall(bytes(len(CONTENT) - 5000))  # Late bytes, which must not count.
            except OSError:
                pass
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        self.assertEqual(self.content(int(done.headers["Kelvo-File-Ids"])), CONTENT)

    def test_a_large_file_arrives_complete(self):
        large = CONTENT * 3000  # About 30 MB
        answer = self.olga.create("large.zip", [self.inbox], len(large), large)
        self.assertEqual(answer.headers["Repr-Digest"], digest_header(large))
        self.assertEqual(self.content(answer.json()["files"][0]["id"]), large)

    def test_an_acknowledged_upload_has_its_event(self):
        with EventStream(self.olga) as stream:
            file = self.olga.put("event.zip", [self.inbox], b"e")[0]
            self.assertEqual(stream.expect("file-added").data["entry"], file)


if __name__ == "__main__":
    unittest.main()

"""The bytes of files: ranges, conditions, digests."""

import unittest

from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import digest_header

CONTENT = bytes(range(256)) * 20
SIZE = len(CONTENT)


class Content(WireTest):
    def setUp(self):
        self.olga = self.user("olga")
        self.file = self.olga.put("content.zip", [make_inbox(self.olga)], CONTENT)[0]
        self.path = f"/resources/{self.file['id']}/content"
        self.tag = self.file["etag"]

    def get(self, expect, **headers):
        return self.olga.get(self.path, expect, headers={name.replace("_", "-"): value for name, value in headers.items()})

    def test_the_whole_content_has_length_etag_and_digest(self):
        answer = self.get(200)
        self.assertEqual(answer.body, CONTENT)
        self.assertEqual(answer.headers["Content-Length"], str(SIZE))
        self.assertEqual((answer.headers["ETag"], answer.headers["Repr-Digest"]), (self.tag, digest_header(CONTENT)))
        self.assertIsNone(answer.headers["Content-Encoding"])

    def test_one_range_is_answered_exactly(self):
        for asked, first, last in (("0-0", 0, 0), ("0-99", 0, 99), ("100-", 100, SIZE - 1), ("-1", SIZE - 1, SIZE - 1),
                                   ("-100", SIZE - 100, SIZE - 1), (f"{SIZE - 1}-", SIZE - 1, SIZE - 1),
                                   (f"5-{SIZE + 1000}", 5, SIZE - 1), (f"-{SIZE + 7}", 0, SIZE - 1),
                                   ("0-" + "9" * 30, 0, SIZE - 1)):
            with self.subTest(asked=asked):
                answer = self.get((206, 200) if len(asked) > 20 else 206, Range=f"bytes={asked}")
                self.assertEqual(answer.body, CONTENT[first:last + 1])
                if answer.status == 206:
                    self.assertEqual(answer.headers["Content-Range"], f"bytes {first}-{last}/{SIZE}")
                    self.assertEqual(answer.headers["Content-Length"], str(last - first + 1))
                    self.assertEqual(answer.headers["Repr-Digest"], digest_header(CONTENT))
                    self.assertEqual(answer.headers["ETag"], self.tag)

    def test_a_range_outside_is_refused_with_the_length(self):
        for asked in (f"{SIZE}-", f"{SIZE}-{SIZE + 5}", "-0", "999999999999-"):
            with self.subTest(asked=asked):
                answer = self.get(416, Range=f"bytes={asked}")
                self.refused(answer, "range-not-satisfiable")
                self.assertEqual(answer.headers["Content-Range"], f"bytes */{SIZE}")

    def test_any_other_range_header_is_ignored_or_refused(self):
        for asked in ("bytes=", "bytes=a-b", "bytes=5-2", "bytes", "lines=1-2", "bytes=--5", "bytes=1-2-3", "", "bytes=-",
                      "bytes=-9-1", "bytes=0x1-0x5"):
            with self.subTest(asked=asked):
                answer = self.get((200, 416), Range=asked)
                if answer.status == 200:
                    self.assertEqual(answer.body, CONTENT)

    def test_several_ranges_get_the_whole_content_or_a_refusal(self):
        answer = self.get((200, 416), Range="bytes=0-1,5-6")
        if answer.status == 200:
            self.assertEqual(answer.body, CONTENT)

    def test_a_range_of_an_empty_file_is_refused(self):
        empty = self.olga.put("empty.zip", [make_inbox(self.olga)], b"")[0]
        path = f"/resources/{empty['id']}/content"
        self.assertEqual(self.olga.get(path, 416, headers={"Range": "bytes=0-"}).headers["Content-Range"], "bytes */0")
        self.assertEqual(self.olga.get(path).body, b"")

    def test_if_range_with_another_tag_ignores_the_range(self):
        self.assertEqual(self.get(206, Range="bytes=10-19", If_Range=self.tag).body, CONTENT[10:20])
        similar = self.tag.replace(self.tag[1], "0" if self.tag[1] != "0" else "1")
        for tag in ('"other"', similar, f"W/{self.tag}", self.tag.strip('"'), "Sat, 01 Jan 2022 00:00:00 GMT"):
            with self.subTest(tag=tag):
                self.assertEqual(self.get(200, Range="bytes=10-19", If_Range=tag).body, CONTENT)

    def test_if_match_refuses_another_content(self):
        self.get(200, If_Match=self.tag)
        self.get(200, If_Match=f'"other", {self.tag}')
        self.get(200, If_Match="*")
        self.assertEqual(self.get(206, If_Match=self.tag, Range="bytes=0-1").body, CONTENT[:2])
        for tag in ('"other"', f"W/{self.tag}"):
            with self.subTest(tag=tag):
                self.refused(self.get(412, If_Match=tag), "precondition-failed")
        self.refused(self.get(412, If_Match='"other"', Range=f"bytes={SIZE}-"), "precondition-failed")

    def test_head_answers_the_same_without_the_bytes(self):
        for headers, status in (({}, 200), ({"Range": "bytes=5-9"}, 200), ({"Range": f"bytes={SIZE}-"}, 200),
                                ({"If-Match": '"other"'}, 412)):
            with self.subTest(headers=headers):
                get = self.olga.get(self.path, (200, 206, 416, 412), headers=headers)
                head = self.olga.request("HEAD", self.path, status, headers=headers)
                self.assertEqual(head.body, b"")
                if head.status == get.status and head.status < 400:
                    for name in ("Content-Length", "ETag", "Repr-Digest", "Content-Range", "Accept-Ranges", "Content-Type"):
                        self.assertEqual(head.headers[name], get.headers[name], name)

    def test_only_files_have_content(self):
        inbox = self.file["container"]
        project = self.olga.get(f"/resources/{inbox}").json()["project"]
        for resource in (inbox, project):
            self.olga.get(f"/resources/{resource}/content", (403, 404))

    def test_malformed_ids_are_not_found(self):
        for text in ("0", "-1", "2147483648", "99999999999999999999", "1.0", "0x1", "abc", "%31", " 1", "1%00", "+1"):
            for suffix in ("", "/content"):
                with self.subTest(text=text, suffix=suffix):
                    path = f"/resources/{text.replace(' ', '%20')}{suffix}"
                    self.olga.get(path, (200, 400, 404) if text == "%31" else (400, 404))

    def test_the_office_reads_the_file_and_other_users_do_not(self):
        self.assertEqual(self.user("anna").get(self.path).body, CONTENT)
        for name in ("piet", "otto", "oda", "admin"):
            self.refused(self.user(name).get(self.path, 404), "not-found")


if __name__ == "__main__":
    unittest.main()

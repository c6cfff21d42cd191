"""Idempotency-Key: a repeat never makes a second file, and a key never returns the result of another request."""

import threading
import unittest

from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import Client, digest_header


class IdempotencyKeys(WireTest):
    def setUp(self):
        self.olga = self.user("olga")
        self.inbox = make_inbox(self.olga)
        self.other = make_inbox(self.olga, "Curves")
        self.key = self.id()
        self.name = self.id().rsplit(".", 1)[1] + ".zip"

    def create(self, body=None, length=6, name=None, targets=None, expect=201, key=None, client=None):
        return (client or self.olga).create(name or self.name, targets or [self.inbox], length, body,
                                            key=key or self.key, expect=expect)

    def count(self):
        return self.names(self.olga, self.inbox).count(self.name)

    def test_a_repeat_of_an_unfinished_upload_returns_its_offset(self):
        first = self.create(b"abc")
        second = self.create()
        self.assertEqual(second.headers["Location"], first.headers["Location"])
        self.assertIsNone(second.headers["Kelvo-Repeated"])
        self.assertEqual(second.headers["Upload-Offset"], "3")
        self.assertTrue(second.headers["Upload-Expires"])
        self.olga.patch(first.headers["Location"], 3, b"def")
        self.assertEqual(self.count(), 1)

    def test_a_repeat_with_a_body_continues_an_unfinished_upload(self):
        first = self.create(b"abc")
        again = self.create(b"abcdef")
        self.assertEqual((again.headers["Location"], again.headers["Upload-Offset"]), (first.headers["Location"], "3"))
        self.assertEqual(self.olga.offset(first.headers["Location"]), 3)
        self.olga.patch(first.headers["Location"], 3, b"def")
        self.assertEqual(self.create(b"abcdef").headers["Kelvo-Repeated"], "true")
        self.assertEqual(self.count(), 1)

    def test_a_repeat_with_a_body_finishes_an_upload_without_bytes(self):
        first = self.create()
        again = self.create(b"abcdef")
        self.assertEqual(again.headers["Location"], first.headers["Location"])
        self.assertIsNone(again.headers["Kelvo-Repeated"])
        self.assertEqual(again.headers["Repr-Digest"], digest_header(b"abcdef"))
        self.assertEqual(self.count(), 1)

    def test_a_repeat_of_a_finished_upload_returns_the_same_result(self):
        first = self.create(b"abcdef")
        self.assertIsNone(first.headers["Kelvo-Repeated"])
        for body in (None, b"ABCDEF"):
            again = self.create(body)
            self.assertEqual(again.headers["Kelvo-Repeated"], "true")
            self.assertEqual(again.json()["files"], first.json()["files"])
            for header in ("Kelvo-File-Ids", "Repr-Digest", "Upload-Offset"):
                self.assertEqual(again.headers[header], first.headers[header])
        self.assertEqual(self.count(), 1)

    def test_a_repeat_after_a_patch_returns_the_same_result(self):
        location = self.create().headers["Location"]
        done = self.olga.patch(location, 0, b"abcdef")
        again = self.create()
        self.assertEqual(again.headers["Kelvo-File-Ids"], done.headers["Kelvo-File-Ids"])
        self.assertEqual(again.headers["Repr-Digest"], digest_header(b"abcdef"))

    def test_a_repeat_with_the_whole_body_makes_no_second_file(self):
        first = self.create(b"abcdef")
        self.assertEqual(self.create(b"abcdef").json()["files"], first.json()["files"])
        self.assertEqual(self.count(), 1)

    def test_a_repeat_of_an_empty_file_returns_the_same_result(self):
        first = self.create(length=0)
        self.assertEqual(self.create(length=0).json()["files"], first.json()["files"])
        self.assertEqual(self.count(), 1)

    def test_after_the_result_was_removed_a_new_upload_starts(self):
        first = self.create(b"abcdef")
        self.olga.delete(f"/resources/{first.json()['files'][0]['id']}")
        again = self.create()
        self.assertEqual(again.headers["Upload-Offset"], "0")
        self.assertIsNone(again.headers["Kelvo-File-Ids"])
        self.assertIsNone(again.headers["Kelvo-Repeated"])
        self.assertNotEqual(again.headers["Location"], first.headers["Location"])
        done = self.olga.patch(again.headers["Location"], 0, b"abcdef")
        self.assertNotEqual(done.headers["Kelvo-File-Ids"], first.headers["Kelvo-File-Ids"])
        self.assertEqual(self.create().headers["Kelvo-File-Ids"], done.headers["Kelvo-File-Ids"])
        self.assertEqual(self.count(), 1)

    def test_after_the_result_was_removed_the_whole_body_can_be_sent_again(self):
        first = self.create(b"abcdef")
        self.olga.delete(f"/resources/{first.json()['files'][0]['id']}")
        again = self.create(b"abcdef")
        self.assertEqual(again.headers["Repr-Digest"], digest_header(b"abcdef"))
        self.assertEqual(self.count(), 1)

    def test_after_one_of_two_files_was_removed_a_new_upload_starts(self):
        both = [self.inbox, self.other]
        first = self.create(b"abcdef", targets=both)
        self.assertEqual(self.create(targets=both).json()["files"], first.json()["files"])
        self.olga.delete(f"/resources/{first.json()['files'][1]['id']}")
        self.assertEqual(self.create(targets=both).headers["Upload-Offset"], "0")

    def test_a_repeat_returns_a_restored_result(self):
        first = self.create(b"abcdef")
        file = first.json()["files"][0]["id"]
        self.olga.delete(f"/resources/{file}")
        self.user("anna").post(f"/bin/{file}/restore", 200)
        self.assertEqual(self.create().headers["Kelvo-File-Ids"], str(file))

    def test_after_a_deletion_the_key_starts_a_new_upload(self):
        first = self.create(b"abc")
        self.olga.tus("DELETE", first.headers["Location"], 204)
        again = self.create(b"abcdef")
        self.assertEqual(again.headers["Repr-Digest"], digest_header(b"abcdef"))

    def test_the_same_key_for_another_upload_is_a_conflict(self):
        for finished, body in ((False, b"abc"), (True, b"abcdef")):
            key = f"{self.key}-{finished}"
            self.create(body, key=key)
            for change in ({"name": "other.zip"}, {"targets": [self.other]}, {"targets": [self.inbox, self.other]},
                           {"length": 7}, {"length": 0}):
                with self.subTest(finished=finished, change=change):
                    self.refused(self.create(key=key, expect=409, **change), "conflict")
        self.assertEqual(self.count(), 1)

    def test_the_same_key_of_another_user_is_another_key(self):
        first = self.create(b"abcdef")
        anna = self.user("anna")
        second = self.create(b"ABCDEF", client=anna)
        self.assertNotEqual(second.headers["Kelvo-File-Ids"], first.headers["Kelvo-File-Ids"])
        self.assertEqual(second.headers["Repr-Digest"], digest_header(b"ABCDEF"))

    def test_the_key_works_in_other_sessions_of_its_user(self):
        first = self.create(b"abcdef")
        self.assertEqual(self.create(client=self.user("olga")).json()["files"], first.json()["files"])

    def test_without_a_key_every_request_is_a_new_file(self):
        self.olga.put(self.name, [self.inbox], b"abcdef")
        self.olga.put(self.name, [self.inbox], b"abcdef")
        self.assertEqual(self.count(), 2)

    def test_keys_have_up_to_a_hundred_printable_characters(self):
        self.create(b"abcdef", key="k" * 100)
        for key in ("k" * 101, "a\x7fb", "a\tb", "\u00e9", "k" * 5000):
            with self.subTest(key=key[:20]):
                self.create(b"abcdef", key=key, expect=(400, 422))
        self.assertEqual(self.count(), 1)

    def test_many_repeats_at_once_make_one_file(self):
        clients = [Client(self.service, self.olga.token) for _ in range(6)]
        answers = []

        def send(client):
            answers.append(self.create(b"abcdef", client=client, expect=(201, 409)))
            client.close()
        threads = [threading.Thread(target=send, args=(client,)) for client in clients]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len(answers), 6)
        result = self.create()
        while result.headers["Kelvo-File-Ids"] is None:
            offset = int(result.headers["Upload-Offset"])
            self.olga.patch(result.headers["Location"], offset, b"abcdef"[offset:], expect=(204, 409))
            result = self.create()
        self.assertEqual(self.count(), 1)


if __name__ == "__main__":
    unittest.main()

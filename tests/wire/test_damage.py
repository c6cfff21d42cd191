"""Contents that the disk damaged: they are never delivered as intact, they are reported, and an equal upload repairs
them.
"""

import http.client
import os
import re
import unittest

from kelvowire.farm import log_in, make_inbox, add_farms_and_users
from kelvowire.http import metrics, sha256_hex
from kelvowire.service import Service

SMALL = b"a small one" * 100
LARGE = bytes(range(256)) * 8000


class Damage(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)

    def put(self, content):
        return self.olga.put("field.zip", [self.inbox], content)[0]["id"]

    def path(self, content):
        digest = sha256_hex(content)
        return self.service.path("content", digest[:2], digest)

    def flip(self, content):
        """Flips one bit in the middle; the times of the file stay."""
        status = os.stat(self.path(content))
        with open(self.path(content), "r+b") as file:
            file.seek(len(content) // 2)
            byte = file.read(1)[0]
            file.seek(len(content) // 2)
            file.write(bytes([byte ^ 1]))
        os.utime(self.path(content), ns=(status.st_atime_ns, status.st_mtime_ns))

    def refused(self, file, **headers):
        answer = self.olga.get(f"/resources/{file}/content", 500, headers=headers)
        self.assertEqual(answer.problem, "internal")
        self.assertIn("damaged", answer.json()["detail"])

    def counted(self):
        return int(re.search(r"^kelvo_contents_damaged_total (\d+)$", metrics(self.service)[1], re.MULTILINE)[1])

    def end(self, damaged):
        self.assertEqual(self.counted(), damaged)
        self.service.stop()
        self.assertEqual(self.service.log().count("content-damaged"), damaged)
        self.service.check_log()

    def test_a_small_content_is_refused(self):
        file = self.put(SMALL)
        self.assertEqual(self.olga.get(f"/resources/{file}/content").body, SMALL)
        self.assertEqual(self.counted(), 0)
        self.flip(SMALL)
        self.refused(file)
        self.refused(file, Range="bytes=0-3")
        self.end(2)

    def test_a_large_content_is_cut_before_its_end_and_then_refused(self):
        file = self.put(LARGE)
        self.flip(LARGE)
        with self.assertRaises(http.client.IncompleteRead) as cut:
            self.olga.get(f"/resources/{file}/content")
        self.assertLess(len(cut.exception.partial), len(LARGE))
        self.olga.close()
        self.refused(file)
        self.refused(file, Range=f"bytes={len(LARGE) - 4}-")
        self.end(3)

    def test_a_part_of_a_content_that_is_damaged_elsewhere_is_refused(self):
        file = self.put(LARGE)
        self.assertEqual(self.olga.get(f"/resources/{file}/content", 206, headers={"Range": "bytes=0-3"}).body, LARGE[:4])
        self.flip(LARGE)
        self.refused(file, Range="bytes=0-3")
        self.end(1)

    def test_a_missing_or_shortened_content_is_refused(self):
        file = self.put(LARGE)
        os.truncate(self.path(LARGE), 1000)
        self.refused(file)
        os.remove(self.path(LARGE))
        self.refused(file)
        self.end(2)

    def test_uploading_the_same_content_again_repairs_it(self):
        for content in (SMALL, LARGE):
            file = self.put(content)
            self.flip(content)
            again = self.put(content)
            for one in (file, again):
                self.assertEqual(self.olga.get(f"/resources/{one}/content").body, content)
        self.end(0)


if __name__ == "__main__":
    unittest.main()

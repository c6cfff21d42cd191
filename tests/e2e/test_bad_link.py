"""Connections that are cut in the middle of a transfer."""

import json
import random
import unittest

from kelvoe2e.case import FarmCase
from kelvotour import archives
from kelvotour.badlink import BadLink
from kelvotour.link import Link

SIZE = 1_000_000


class BadLinkTest(FarmCase):
    def setUp(self):
        super().setUp()
        self.link = Link(self.service.address)
        self.addCleanup(self.link.close)
        self.content = random.Random(5).randbytes(SIZE)

    def test_a_download_resumes_where_it_was_cut(self):
        console = self.logged_in(address=self.link.address)
        self.put(console, {"large.zip": archives.write_zip(self.folder / "a", {"large.bin": self.content}).read_bytes()})
        self.link.cut("down", SIZE // 2)
        self.assert_ok(console.run("download maps large.zip"))
        self.assertEqual(self.link.cuts, 1)
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {"large/large.bin": self.content})

    def test_an_upload_resumes_where_it_was_cut(self):
        console = self.logged_in(address=self.link.address)
        file = console.data / "to-service/curves/large.crv"
        file.write_bytes(self.content)
        self.link.cut("up", SIZE // 2)
        self.assert_ok(console.run("upload curves large.crv"))
        self.assertEqual(self.link.cuts, 1)
        self.assertFalse(file.exists())
        self.assert_stored_once()

    def test_an_upload_whose_answer_is_lost_is_stored_once(self):
        console = self.logged_in(address=self.link.address)
        (console.data / "to-service/curves/large.crv").write_bytes(self.content)
        self.link.cut("down", 0)
        self.assert_ok(console.run("upload curves large.crv"))
        self.assertEqual(self.link.cuts, 1)
        self.assert_stored_once()

    def test_transfers_succeed_when_every_connection_is_cut(self):
        link = BadLink("cutting", self.service.address, self.folder / "badlink.log").start()
        self.addCleanup(link.close)
        console = self.logged_in(address=link.address)
        self.put(console, {"large.zip": archives.write_zip(self.folder / "a", {"large.bin": self.content}).read_bytes()})
        self.assert_ok(console.run("download maps large.zip"))
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {"large/large.bin": self.content})
        file = console.data / "to-service/curves/large.crv"
        file.write_bytes(self.content)
        self.assert_ok(console.run("upload curves large.crv"))
        self.assertFalse(file.exists())
        self.assert_stored_once()
        done = [json.loads(line)["did"] for line in link.log.read_text().splitlines()]
        # No connection carries more than 400 kB of the two million bytes.
        self.assertGreaterEqual(done.count("cut"), 2 * SIZE // 400_000 - 1)

    def test_transfers_succeed_over_a_weak_cell(self):
        link = BadLink("rural", self.service.address, self.folder / "badlink.log").start()
        self.addCleanup(link.close)
        console = self.logged_in(address=link.address)
        self.content = self.content[:SIZE // 20]
        self.put(console, {"small.zip": archives.write_zip(self.folder / "a", {"small.bin": self.content}).read_bytes()})
        self.assert_ok(console.run("download maps small.zip"))
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {"small/small.bin": self.content})
        file = console.data / "to-service/curves/large.crv"
        file.write_bytes(self.content)
        self.assert_ok(console.run("upload curves large.crv"))
        self.assertFalse(file.exists())
        self.assert_stored_once()
        self.assertEqual(console.close(), 0)
        link.close()
        closed = [event for event in map(json.loads, link.log.read_text().splitlines()) if event["did"] == "closed"]
        for direction in ("up", "down"):
            self.assertGreater(sum(event[direction] for event in closed), SIZE // 20, "the files did not pass the link")

    def assert_stored_once(self):
        entries = self.office.inboxes(self.operator)["Curves"]["entries"]
        self.assertEqual([entry["name"] for entry in entries], ["large.crv"])
        copy = self.folder / "copy"
        self.office.get(entries[0]["id"], copy)
        self.assertEqual(copy.read_bytes(), self.content)

    def test_lists_are_updated_after_the_stream_was_cut(self):
        console = self.logged_in(address=self.link.address)
        self.link.cut("down", 0)  # the next event cuts the stream that brings it
        self.put(console, {"a.zip": b"x"})
        self.assertEqual(self.link.cuts, 1)
        self.put(console, {"b.zip": b"x"})


if __name__ == "__main__":
    unittest.main()

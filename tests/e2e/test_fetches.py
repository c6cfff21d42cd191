"""The office sees which console has fetched a file, and whether it could unpack the file."""

from kelvoe2e.sharing import SharingCase
from kelvotour.archives import write_zip


class FetchesTest(SharingCase):
    def setUp(self):
        super().setUp()
        for name in ("first.zip", "second.zip"):
            archive = write_zip(self.folder / name, {"field.txt": name.encode()})
            self.office.put(archive, f"{self.operator}/To Console")

    def wait_for_fetch(self, name):
        entry = self.wait_for_event("file-fetched", lambda data: data["entry"]["name"] == name)["entry"]
        self.assertEqual(entry["fetched_by"]["user"]["name"], self.operator)
        self.assertEqual(self.office.files(self.operator, "To Console")[name], entry)
        return entry

    def reports(self):
        return self.service.requests().get(("POST", "/fetches"), 0)

    def test_of_several_files_are_reported_in_one_request(self):
        console = self.console()
        self.assert_ok(console.run("login"))
        before = self.reports()
        self.assert_ok(console.run("download maps first.zip second.zip"))
        for name in ("first.zip", "second.zip"):
            self.assertIn("unpacked_at", self.wait_for_fetch(name))
        self.assertEqual(self.reports(), before + 1)

    def test_have_the_reason_if_an_archive_cannot_be_unpacked(self):
        (self.folder / "damaged.zip").write_bytes(b"no archive")
        self.office.put(self.folder / "damaged.zip", f"{self.operator}/To Console")
        console = self.console()
        self.assert_ok(console.run("login"))
        self.assertFalse(console.run("download maps damaged.zip").ok)
        entry = self.wait_for_fetch("damaged.zip")
        self.assertRegex(entry["unpack_error"], r"^The archive damaged\.zip is damaged or no ZIP archive")
        self.assertNotIn("unpacked_at", entry)

    def test_are_reported_after_the_console_was_killed(self):
        console = self.console()
        self.assert_ok(console.run("login"))
        self.assert_ok(console.run("download maps first.zip"))
        console.kill()
        self.assertNotIn("fetched_at", self.office.files(self.operator, "To Console")["first.zip"])
        self.assert_ok(self.console().run("login"))
        self.assertIn("unpacked_at", self.wait_for_fetch("first.zip"))

    def test_are_reported_with_the_next_position(self):
        console = self.start()
        self.assert_ok(console.run("login"))
        self.assert_ok(console.run("download maps first.zip"))
        self.receiver.move(45)
        self.wait_for_move(45)
        self.wait_for_fetch("first.zip")


if __name__ == "__main__":
    import unittest
    unittest.main()

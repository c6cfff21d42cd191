"""Removing files, the farm's bin, and restoring files."""

import datetime
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import WireTest, make_inbox


def moment(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))


class Bin(WireTest):
    def setUp(self):
        self.olga, self.anna = self.user("olga"), self.user("anna")
        self.inbox = make_inbox(self.olga)
        self.file = self.olga.put("bin.zip", [self.inbox], b"bin")[0]
        self.path = f"/resources/{self.file['id']}"

    def in_bin(self, client=None):
        return {file["id"]: file for file in (client or self.anna).get("/bin").json()["files"]}

    def test_a_removed_file_is_only_in_the_bin(self):
        self.olga.delete(self.path)
        self.refused(self.olga.get(self.path, 404), "not-found")
        self.olga.get(self.path + "/content", 404)
        self.olga.delete(self.path, 404)
        self.anna.get(self.path, 404)
        self.assertNotIn(self.file, self.entries(self.olga, self.inbox))
        entry = self.in_bin()[self.file["id"]]
        self.assertEqual({**entry, **self.file}, entry)
        self.assertEqual(entry["deleted_by"], "olga")
        self.assertEqual(moment(entry["expires_at"]) - moment(entry["deleted_at"]), datetime.timedelta(days=30))

    def test_a_restored_file_is_unchanged(self):
        self.olga.delete(self.path)
        self.assertEqual(self.anna.post(f"/bin/{self.file['id']}/restore", 200).json(), self.file)
        self.assertEqual(self.olga.get(self.path).json(), self.file)
        self.assertEqual(self.olga.get(self.path + "/content").body, b"bin")
        self.assertIn(self.file, self.entries(self.olga, self.inbox))
        self.assertNotIn(self.file["id"], self.in_bin())
        self.refused(self.anna.post(f"/bin/{self.file['id']}/restore", 404), "not-found")

    def test_removing_and_restoring_are_events(self):
        with EventStream(self.olga) as owner, EventStream(self.anna) as office:
            self.olga.delete(self.path)
            self.anna.post(f"/bin/{self.file['id']}/restore", 200)
            for stream in (owner, office):
                for name in ("file-removed", "file-added"):
                    event = stream.expect(name)
                    self.assertEqual(event.data["entry"], self.file)
                    self.assertEqual(event.data["container"]["id"], self.inbox)

    def test_the_office_learns_that_files_are_deleted_for_good(self):
        self.olga.delete(self.path)
        with EventStream(self.anna) as office:
            self.anna.delete(f"/bin/{self.file['id']}")
            office.expect("bin-changed")
            self.anna.delete("/bin")
            office.expect("bin-changed")

    def test_if_match_with_another_etag_keeps_the_file(self):
        answer = self.olga.delete(self.path, 412, headers={"If-Match": '"other"'})
        self.refused(answer, "precondition-failed")
        self.olga.get(self.path)
        self.olga.delete(self.path, 204, headers={"If-Match": self.file["etag"]})

    def test_only_one_of_two_removals_succeeds(self):
        self.anna.delete(self.path)
        self.refused(self.olga.delete(self.path, 404, headers={"If-Match": self.file["etag"]}), "not-found")
        self.assertEqual(self.in_bin()[self.file["id"]]["deleted_by"], "anna")

    def test_inboxes_and_projects_cannot_be_removed(self):
        project = self.olga.get(f"/resources/{self.inbox}").json()["project"]
        for client in (self.olga, self.anna):
            for resource in (self.inbox, project):
                self.refused(client.delete(f"/resources/{resource}", 403), "forbidden")
        self.olga.get(f"/resources/{self.inbox}")

    def test_files_of_others_are_not_found(self):
        for name in ("piet", "otto", "oda", "admin"):
            self.refused(self.user(name).delete(self.path, 404), "not-found")
        self.olga.get(self.path)

    def test_the_bin_is_for_the_farms_office(self):
        self.olga.delete(self.path)
        for name in ("olga", "piet"):
            client = self.user(name)
            self.refused(client.get("/bin", 403), "forbidden")
            self.refused(client.post(f"/bin/{self.file['id']}/restore", 403), "forbidden")
        oda = self.user("oda")
        self.assertNotIn(self.file["id"], self.in_bin(oda))
        self.refused(oda.post(f"/bin/{self.file['id']}/restore", 404), "not-found")
        self.user("admin").get("/bin", (403, 404))
        self.assertIn(self.file["id"], self.in_bin())

    def test_a_file_that_is_not_in_the_bin_cannot_be_restored(self):
        for resource in (self.file["id"], self.inbox, 2147483647):
            self.refused(self.anna.post(f"/bin/{resource}/restore", 404), "not-found")

    def test_equal_contents_are_removed_one_by_one(self):
        twin = self.olga.put("twin.zip", [self.inbox], b"bin")[0]
        self.olga.delete(self.path)
        self.assertEqual(self.olga.get(f"/resources/{twin['id']}/content").body, b"bin")


if __name__ == "__main__":
    unittest.main()

"""The service's events update the console's lists."""

import base64
import http.client
import statistics
import time
import unittest

from kelvoe2e.case import OFFICE, PASSWORD, FarmCase
from kelvotour.service import more

ROUNDS = 8


class Uploader:
    """The office on an open connection, so that only the upload is measured."""

    def __init__(self, case, inbox):
        self._token = case.call("POST", "/sessions", {"user": OFFICE, "password": PASSWORD})["token"]
        self._inbox = inbox
        self._connection = http.client.HTTPSConnection(case.service.address, context=case.tls, timeout=60)

    def upload(self, name):
        metadata = f"name {b64(name)},targets {b64(str(self._inbox))}"
        self._connection.request("POST", "/kelvo-api/v1/uploads", b"x", {
            "Authorization": "Bearer " + self._token, "Tus-Resumable": "1.0.0", "Upload-Length": "1",
            "Upload-Metadata": metadata, "Content-Type": "application/offset+octet-stream"})
        answer = self._connection.getresponse()
        answer.read()
        if answer.status != 201:
            raise AssertionError(f"the upload was answered {answer.status}")

    def close(self):
        self._connection.close()


def b64(text):
    return base64.b64encode(text.encode()).decode()


class PushTest(FarmCase):
    def test_a_file_of_the_office_reaches_the_list(self):
        console = self.logged_in()
        inbox = self.office.inboxes(self.operator)["AB Lines"]["id"]
        office = Uploader(self, inbox)
        self.addCleanup(office.close)
        before = self.service.requests()
        delays = []
        for i in range(ROUNDS):
            mark = console.mark()
            begin = time.monotonic()
            office.upload(f"{i}.zip")
            line = console.wait_for_list("ablines", lambda names, i=i: f"{i}.zip" in names, mark)
            delays.append(line.at - begin)
        print(f"\nfrom the start of the office's upload to the list: median {statistics.median(delays) * 1000:.1f} ms, "
              f"worst {max(delays) * 1000:.1f} ms")
        self.assertEqual(more(self.service.requests(), before), {("POST", "/uploads"): ROUNDS})

    def test_a_file_that_the_office_removes_leaves_the_list(self):
        console = self.logged_in()
        self.put(console, {"a.zip": b"x"})
        mark = console.mark()
        self.office.remove(self.office.files(self.operator, "To Console")["a.zip"]["id"])
        console.wait_for_list("maps", lambda names: not names, mark)

    def test_only_archives_are_listed(self):
        console = self.logged_in()
        path = self.folder / "put"
        path.write_bytes(b"x")
        for name in ("a.txt", "a.Zip", "a.zip.zip.txt"):
            self.office.put(path, f"{self.operator}/To Console", name=name)
        self.put(console, {"b.ZIP": b"x"})
        self.assertEqual([file["name"] for file in console.run("list maps").value("list")["files"]], ["b.ZIP"])

    def test_only_the_changed_inbox_is_listed_again(self):
        console = self.logged_in()
        mark = console.mark()
        self.put(console, {"a.zip": b"x"}, "Pivots", "pivots")
        self.put(console, {"b.zip": b"x"}, "Curves", "curves")
        listed = [line.arguments["project"] for line in console.lines[mark:] if line.name == "NewKelvoProjectFilesList"]
        self.assertEqual(listed, ["pivots", "curves"])


if __name__ == "__main__":
    unittest.main()

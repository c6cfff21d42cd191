"""The number of requests of an operator's actions. Each request is a round trip over a slow link."""

import unittest

from kelvoe2e.case import FarmCase
from kelvotour.service import more

# The console's reports about itself. No action waits for them.
REPORTS = {("PUT", "/environment"), ("PUT", "/devices"), ("POST", "/positions")}
STREAM = ("GET", "/events")


class RequestsTest(FarmCase):
    def requests_until_logout(self, console, before):
        """Logs out and returns the requests since `before`.

        The service counts a request when it answers, in the order of the connection. So when the logout is counted,
        all requests before it are counted."""
        self.assert_ok(console.run("logout"))
        for _ in range(1000):
            made = more(self.service.requests(), before)
            if made.get(("DELETE", "/sessions/current")):
                del made[("DELETE", "/sessions/current")]
                return made
        self.fail(f"the logout was not counted: {made}")

    def requests_of(self, action):
        """The requests of `action(console)`, without the login and the logout around it."""
        self.make_inboxes()
        costs = []
        for what in (lambda console: None, action):
            console = self.console()
            before = self.service.requests()
            self.assert_ok(console.run("login"))
            what(console)
            costs.append(self.requests_until_logout(console, before))
            self.assertEqual(console.close(), 0)
        return {route: count for route, count in more(costs[1], costs[0]).items() if route != STREAM}

    def test_login_to_all_lists_takes_four_at_most(self):
        self.make_inboxes()
        console = self.console()
        before = self.service.requests()
        self.assert_ok(console.run("login"))
        made = self.requests_until_logout(console, before)
        counted = {route: count for route, count in made.items() if route not in REPORTS and route != STREAM}
        print(f"\nlogin to all lists: {counted}, besides {set(made) - set(counted)}")
        self.assertEqual(counted.get(("POST", "/sessions")), 1)
        self.assertLessEqual(sum(counted.values()), 4)

    def test_a_small_upload_takes_one(self):
        def upload(console):
            (console.data / "to-service/curves/one.crv").write_bytes(b"curve")
            self.assert_ok(console.run("upload curves one.crv"))
        self.assertEqual(self.requests_of(upload), {("POST", "/uploads"): 1})

    def test_a_download_takes_one(self):
        archive = self.archive()

        def download(console):
            self.assert_ok(console.run("download maps field.zip"))
            self.assertTrue((console.data / "from-service/prescriptions/field/field.txt").is_file())
        self.make_inboxes()
        self.office.put(archive, f"{self.operator}/To Console")
        self.assertEqual(self.requests_of(download), {("GET", "/resources/{id}/content"): 1})

    def test_a_deletion_takes_one(self):
        archive = self.archive()
        self.make_inboxes()
        self.office.put(archive, f"{self.operator}/To Console")
        made = self.requests_of(lambda console: self.assert_ok(console.run("delete maps field.zip")))
        self.assertEqual(made, {("DELETE", "/resources/{id}"): 1})

    def archive(self):
        from kelvotour.archives import write_zip
        return write_zip(self.folder / "field.zip", {"field.txt": b"rates\n"})


if __name__ == "__main__":
    unittest.main()

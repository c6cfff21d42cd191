"""From the receiver in the cab to the office: where the console is, whichever comes first, the login or the fix."""

import json
import urllib.request

from kelvoe2e.case import OFFICE, PASSWORD, FarmCase
from kelvoe2e.receiver import Receiver

GUARD_SECONDS = 300


class SharingTest(FarmCase):
    def setUp(self):
        self.receiver = Receiver()
        self.addCleanup(self.receiver.close)  # after the consoles, which would tell of it
        super().setUp()
        token = self.call("POST", "/sessions", {"user": OFFICE, "password": PASSWORD})["token"]
        request = urllib.request.Request(f"https://{self.service.address}/kelvo-api/v1/events",
                                         headers={"Authorization": "Bearer " + token})
        self.events = urllib.request.urlopen(request, context=self.tls, timeout=GUARD_SECONDS)
        self.addCleanup(self.events.close)
        self.make_inboxes()

    def start(self):
        return self.console(options=("--gps", f"serial:{self.receiver.device}@9600", "--show-position", "changes"))

    def wait_for_change(self, console, change, mark=0):
        console.wait_for(lambda line: line.position and line.position.get("change") == change, mark, change)

    def wait_for_move(self, latitude):
        """Until the office hears that the operator of this test is there."""
        name = None
        for raw in self.events:
            field, _, value = raw.decode().rstrip("\r\n").partition(": ")
            if field == "event":
                name = value
            elif field == "data" and name == "console-moved":
                data = json.loads(value)
                if data["user"]["name"] == self.operator and data["latitude"] == latitude:
                    self.assertEqual(data["longitude"], 5.5)
                    return
        self.fail("the events ended")

    def test_a_fix_before_the_login(self):
        console = self.start()
        self.receiver.move(41)
        self.wait_for_change(console, "gained")
        self.assert_ok(console.run("login"))
        self.wait_for_move(41)

    def test_a_fix_after_the_login(self):
        console = self.start()
        self.assert_ok(console.run("login"))
        self.receiver.move(42)
        self.wait_for_move(42)

    def test_a_fix_that_is_lost_and_returns(self):
        console = self.start()
        self.assert_ok(console.run("login"))
        self.receiver.move(43)
        self.wait_for_move(43)
        mark = console.mark()
        self.receiver.move(None)
        self.wait_for_change(console, "lost", mark)
        self.receiver.move(44)
        self.wait_for_change(console, "gained", mark)
        self.wait_for_move(44)
        last = console.run("position").value("position")
        self.assertEqual((last["state"], last["latitude"], last["quality"]), ("fix", 44, "RTK fixed"))

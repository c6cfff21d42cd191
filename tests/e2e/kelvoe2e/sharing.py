"""The base class of tests with a receiver, in which the office reads the service's events."""

import json
import urllib.request

from kelvoe2e.case import OFFICE, PASSWORD, FarmCase
from kelvoe2e.receiver import Receiver

GUARD_SECONDS = 300


class SharingCase(FarmCase):
    def setUp(self):
        self.receiver = Receiver()
        self.addCleanup(self.receiver.close)  # closed after the consoles, which would report the loss
        super().setUp()
        self.office_token = self.call("POST", "/sessions", {"user": OFFICE, "password": PASSWORD})["token"]
        request = urllib.request.Request(f"https://{self.service.address}/kelvo-api/v1/events",
                                         headers={"Authorization": "Bearer " + self.office_token})
        self.events = urllib.request.urlopen(request, context=self.tls, timeout=GUARD_SECONDS)
        self.addCleanup(self.events.close)
        self.make_inboxes()

    def start(self, shown="changes", **options):
        return self.console(options=("--gps", f"serial:{self.receiver.device}@9600", "--show-position", shown), **options)

    def wait_for_change(self, console, change, mark=0):
        console.wait_for(lambda line: line.position and line.position.get("change") == change, mark, change)

    def wait_for_event(self, wanted, is_meant):
        """Waits until the office gets an event of this name that is meant. Returns its data."""
        name = None
        for raw in self.events:
            field, _, value = raw.decode().rstrip("\r\n").partition(": ")
            if field == "event":
                name = value
            elif field == "data" and name == wanted:
                data = json.loads(value)
                if is_meant(data):
                    return data
        self.fail("the events ended")

    def wait_for_move(self, latitude):
        """Waits until the office gets an event with this position of the test's operator."""
        data = self.wait_for_event("console-moved", lambda data: data["user"]["name"] == self.operator
                                   and data["latitude"] == latitude)
        self.assertEqual(data["longitude"], 5.5)

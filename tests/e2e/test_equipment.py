"""The office's view of a console and its receiver, from the login to the console's end."""

import json
import signal

from kelvoe2e.sharing import SharingCase
from kelvotour.service import more

ETHERNET_NAME_ITEM, CONSOLE_STRING_ITEM = 102, 103
CONSOLE = "Cab seven of nine"
REPORTED_CONSOLE = CONSOLE[:9]  # the report has nine characters
LOOPBACK_ADDRESS = "00:00:00:00:00:00"
CONNECTED, DISCONNECTED = 1, 0
ONE_LOGOUT = {("DELETE", "/sessions/current"): 1}


class EquipmentTest(SharingCase):
    def setUp(self):
        super().setUp()
        # Every machine has the loopback interface.
        items = {ETHERNET_NAME_ITEM: "lo", CONSOLE_STRING_ITEM: CONSOLE}
        data = self.folder / "console"
        data.mkdir()
        (data / "console.json").write_text(json.dumps({
            "version": 1,
            "items": {str(item): {"type": "QString", "value": value} for item, value in items.items()}}))

    def reported(self):
        """The farm's only console, as the office sees it."""
        reported, = self.call("GET", "/consoles", token=self.office_token)["consoles"]
        return reported

    def receiver_state(self):
        receiver, = self.reported()["devices"]
        return receiver["state"]

    def sharing_console(self, latitude):
        """A logged-in console that has reported its position."""
        console = self.start(shown="fixes")
        self.receiver.move(latitude)
        self.wait_for_change(console, "gained")
        self.assert_ok(console.run("login"))
        self.wait_for_move(latitude)
        return console

    def sessions_ended(self, before):
        counts = more(self.service.requests(), before)
        return {key: count for key, count in counts.items() if key == ("DELETE", "/sessions/current")}

    def test_a_login_reports_console_controller_and_receiver(self):
        self.sharing_console(21)
        reported = self.reported()
        self.assertEqual(reported["console_string"], REPORTED_CONSOLE)
        self.assertEqual(reported["hardware_address"], LOOPBACK_ADDRESS)
        self.assertEqual(reported["operator"]["name"], self.operator)
        self.assertEqual((reported["position"]["latitude"], reported["position"]["longitude"]), (21, 5.5))
        console, controller = (reported["environment"][part] for part in ("console", "controller"))
        self.assertEqual(console["console_string"], REPORTED_CONSOLE)
        self.assertEqual(console["hardware_address"], LOOPBACK_ADDRESS)
        self.assertEqual((console["kind"], console["number5"]), ("Controller", 4))
        self.assertEqual(controller["console_string"], REPORTED_CONSOLE)
        self.assertEqual(controller["hardware_address"], LOOPBACK_ADDRESS)
        self.assertEqual(controller["kind"], "Controller")
        receiver, = reported["devices"]
        self.assertEqual((receiver["state"], receiver["flag"]), (CONNECTED, True))
        self.assertEqual(receiver["device"]["kind"], "GPS Receiver")
        self.assertEqual(receiver["device"]["console_string"], REPORTED_CONSOLE)
        self.assertEqual(receiver["device"]["hardware_address"], LOOPBACK_ADDRESS)

    def test_a_receiver_that_loses_its_fix_is_disconnected(self):
        console = self.sharing_console(22)
        self.assertEqual(self.receiver_state(), CONNECTED)
        # A position that is not reported yet. The console reports it after the device's loss.
        mark = console.mark()
        self.receiver.move(32)
        console.wait_for(lambda line: line.position and line.position.get("latitude") == 32, mark, "the new position")
        self.receiver.move(None)
        self.wait_for_move(32)
        self.assertEqual(self.receiver_state(), DISCONNECTED)
        self.receiver.move(23)
        self.wait_for_move(23)
        self.assertEqual(self.receiver_state(), CONNECTED)

    def test_a_logout_disconnects_the_receiver(self):
        console = self.sharing_console(24)
        before = self.service.requests()
        self.assert_ok(console.run("logout"))
        self.assertEqual(self.receiver_state(), DISCONNECTED)
        self.assertEqual(console.close(), 0)
        self.assertEqual(self.sessions_ended(before), ONE_LOGOUT)

    def test_a_stop_signal_disconnects_the_receiver_and_ends_the_session_once(self):
        console = self.sharing_console(25)
        self.assertEqual(self.receiver_state(), CONNECTED)
        before = self.service.requests()
        self.assertEqual(console.stop(signal.SIGTERM), 128 + signal.SIGTERM)
        self.assertEqual(self.receiver_state(), DISCONNECTED)
        self.assertEqual(self.sessions_ended(before), ONE_LOGOUT)
        self.assertEqual(self.service.open_streams(1), 1)  # the office's
        self.assertEqual(json.loads(self.office.run("consoles")), [self.reported()])

    def test_the_end_of_the_script_disconnects_the_receiver_and_ends_the_session_once(self):
        console = self.sharing_console(26)
        before = self.service.requests()
        self.assertEqual(console.close(), 0)
        self.assertEqual(self.receiver_state(), DISCONNECTED)
        self.assertEqual(self.sessions_ended(before), ONE_LOGOUT)

"""The status bar of the real window in each state of the link.

If KELVO_PICTURES names a folder, a picture of each state is left there for the operator's guide.
"""

import os
import re
import time
import unittest
from pathlib import Path

from kelvoe2e.case import FARM, PASSWORD
from kelvoe2e.island import Island, can_isolate
from kelvoe2e.loginpage import LoginPage
from kelvoe2e.screens import MIDDLE_BYTES, ScreensCase
from kelvotour.window import GUARD_SECONDS
from needs import needs, wrong_clock

HEARTBEAT_SECONDS = 60  # of the event stream
GUIDE = Path(__file__).resolve().parents[2] / "docs/pictures"


class ScreensLinkTest(ScreensCase):
    # The pictures show them.
    names = iter(("olga", "pieter", "marta", "jan", "ines", "lena", "oskar", "tomas", "karin", "eva", "anna", "hanna", "paul"))

    def setUp(self):
        super().setUp()
        self.operator = next(self.names)
        self.admin.add_user(self.operator, "operator", FARM, PASSWORD)

    def tearDown(self):
        if not self.service.is_running:
            self.service.start()

    def until_bar(self, window, words, picture=None, seconds=GUARD_SECONDS, guide="no time"):
        """Waits until a label begins with the words. Prints how long that took, beside the guide's time."""
        begin = time.monotonic()
        window.until(lambda screen: any(label.startswith(words) for label in screen.labels()), words, seconds)
        print(f"{self.id()}: {words!r} is shown after {time.monotonic() - begin:.2f} s; the guide says {guide}")
        if picture:
            self.take_picture(window, picture)

    def take_picture(self, window, name):
        if "KELVO_PICTURES" in os.environ:
            window.picture(Path(os.environ["KELVO_PICTURES"]) / f"{name}.png")
        self.assertTrue((GUIDE / f"{name}.png").is_file(), "the guide has no picture of this state")

    def logged_in_window(self, link=None, **options):
        window = self.open_file_controller(link, **options)
        window.press("Home")
        self.until_bar(window, "Connected")
        return window

    def fail_to_log_in(self, **options):
        """A window after a failed login."""
        window = self.open_window(**options)
        self.until_bar(window, "Logged out")
        self.give_credentials(window)
        window.press("Login")
        window.until(lambda screen: screen.can_press("OK"), "the error")
        window.press("OK")
        return window

    def test_a_login_that_takes_long(self):
        self.make_inboxes()
        link = self.link()
        window = self.open_window(link)
        self.until_bar(window, "Logged out")
        self.give_credentials(window)
        link.hold("down", 0)
        window.press("Login")
        self.until_bar(window, "Connecting...", "link-connecting")
        link.release()
        self.until_bar(window, "Connected")

    def test_a_service_that_dies_and_comes_back(self):
        window = self.logged_in_window()
        self.service.kill()
        self.until_bar(window, "Service does not answer\nsince ", "link-no-answer", guide="two minutes")
        self.service.start()
        self.until_bar(window, "Connected", guide="one second")

    def test_a_service_that_falls_silent(self):
        link = self.link()
        window = self.logged_in_window(link)
        link.hold("down", 0)
        self.until_bar(window, "Service does not answer\nsince ", seconds=2 * HEARTBEAT_SECONDS + GUARD_SECONDS,
                       guide="two minutes")
        link.release()
        self.until_bar(window, "Connected", guide="four seconds")

    def test_a_network_that_goes_and_comes_back(self):
        needs(self, can_isolate(), "a network namespace")
        island = Island(self.service.address, self.folder)
        self.addCleanup(island.close)
        window = self.logged_in_window(address=island.address, prefix=island.prefix)
        island.lose_network()
        self.until_bar(window, "No network\nsince ", "link-no-network-since", guide="two minutes")
        island.regain_network()
        self.until_bar(window, "Connected", guide="four seconds")

    def test_a_network_that_wants_a_login(self):
        link = self.link()
        window = self.logged_in_window(link)
        link.close()
        page = LoginPage(link.address)
        self.addCleanup(page.close)
        self.until_bar(window, "Network wants a login\nsince ", "link-wants-login", guide="two minutes")

    def test_a_download_that_stalls(self):
        link = self.link()
        window = self.open_file_controller(link)
        self.send_archives("a.zip")
        self.select(window, "a.zip")
        link.hold("down", MIDDLE_BYTES)
        window.press("Download")
        self.until_bar(window, "Nothing moves\nuntil ", guide="three seconds")
        window.until(lambda screen: self.transfer_text(screen) is not None, "the transfer in the dialog")
        self.take_picture(window, "link-waits")
        text = self.transfer_text(window.look())
        self.assertRegex(text, r"^[0-9.]+ of 200\.[0-9] kB\nNothing moves\. Waiting until ([A-Z][a-z]{2} )?[0-9]{2}:[0-9]{2}\.$")
        link.release()
        self.finish(window, "File Transfer", "Download complete.")
        self.until_bar(window, "Connected")
        self.assertIsNone(self.transfer_text(window.look()))

    def test_a_service_that_dies_during_an_upload_told_in_german(self):
        self.make_inboxes()
        link = self.link()
        window = self.open_german_window(link)
        window.do("type", row="BENUTZERNAME", text=self.operator)
        window.do("type", row="PASSWORT", text=PASSWORD)
        window.press("Anmelden")
        window.until(lambda screen: screen.can_press("Abmelden"), "the login")
        window.press("KELVO")
        reports = self.add_reports("a.zip")
        window.choose("Durchsuchen", "Dateien zum Hochladen")
        self.select(window, *reports)
        link.hold("up", MIDDLE_BYTES)
        window.press("Upload")
        link.wait_until_held()
        self.service.kill()
        link.release()
        self.until_bar(window, "Dienst antwortet nicht\nbis ")
        words = r"^[0-9]+,[0-9] von 200,0 kB\nDienst antwortet nicht\. Warte bis ([A-Z][a-z]\. )?[0-9]{2}:[0-9]{2}\.$"
        window.until(lambda screen: re.match(words, self.transfer_text(screen) or ""), "the transfer in the dialog")
        self.service.start()
        screen = self.until_text(window, "Dateiübertragung", "Upload abgeschlossen.")
        self.assertTrue(screen.can_press("Schließen"))
        self.until_bar(window, "Verbunden")
        self.assertEqual(self.reports_left(), {})

    def test_an_upload_whose_answer_is_late(self):
        link = self.link()
        window = self.open_file_controller(link)
        reports = self.add_reports("2024-05-17 north field.zip")
        self.show_files_to_upload(window, reports)
        self.select(window, *reports)
        link.hold("down", 0)
        window.press("Upload")
        self.until_bar(window, "100 %")
        words = "200.0 of 200.0 kB\nChecking the file..."
        window.until(lambda screen: self.transfer_text(screen) == words, words)
        self.take_picture(window, "link-checks")
        link.release()
        self.finish(window, "File Transfer", "Upload complete.")

    def transfer_text(self, screen):
        texts = [label for popup in screen.popups for label in popup["labels"] if " of " in label or " von " in label]
        return texts[0] if texts else None

    def test_shows_that_there_is_no_network(self):
        window = self.fail_to_log_in(address="name.invalid:443")
        self.until_bar(window, "No network\nat ", "link-no-network")

    def test_shows_that_the_clock_is_wrong(self):
        self.make_inboxes()
        wrong = self.folder / "wrong"
        wrong.touch()
        window = self.fail_to_log_in(prefix=wrong_clock(self, until_removed=wrong))
        self.until_bar(window, "Clock is wrong", "link-clock-wrong")
        self.assertTrue(self.has_banner(window))
        wrong.unlink()
        self.until_bar(window, "Logged out", guide="at once")
        self.assertFalse(self.has_banner(window))
        window.press("Login")
        self.until_bar(window, "Connected")

    def test_shows_that_the_clock_is_days_ahead_in_a_session(self):
        self.make_inboxes()
        wrong = self.folder / "ahead"
        wrong.touch()
        window = self.open_window(prefix=wrong_clock(self, 8 * 24 * 3600, until_removed=wrong))
        self.give_credentials(window)
        window.press("Login")
        self.until_bar(window, "Clock is wrong", guide="at once")
        wrong.unlink()
        self.until_bar(window, "Connected", guide="at once")

    # The service's certificate begins an hour before it was made.
    def test_shows_that_the_clock_is_a_few_hours_behind(self):
        window = self.fail_to_log_in(prefix=wrong_clock(self, -2 * 3600))
        self.until_bar(window, "Clock is wrong")

    def has_banner(self, window):
        return any(label.startswith("The login has failed.") for label in window.look().labels())

    def test_shows_that_the_service_is_not_trusted(self):
        window = self.fail_to_log_in(ca="/etc/hostname")  # readable, and no certificate
        self.until_bar(window, "Service not trusted\nat ", "link-not-trusted")


if __name__ == "__main__":
    unittest.main()

"""The real window: login, lists, questions, and buttons pressed twice."""

import signal
import unittest

from kelvoe2e.screens import ScreensCase
from kelvotour.service import more

SET_UP, LOST = "Configure Kelvo Account", "The connection to the service has ended. Log in again to go on."
DELETIONS = ("DELETE", "/resources/{id}")
LOGINS, LOGOUTS = ("POST", "/sessions"), ("DELETE", "/sessions/current")


class LoginTest(ScreensCase):
    def test_the_first_login_creates_the_inboxes_and_the_second_login_stays(self):
        window = self.open_window()
        self.give_credentials(window)
        window.press("Login")
        self.until_text(window, SET_UP, "Configuration complete")
        screen = window.until(lambda screen: screen.can_press("Login"), "Login")
        self.assertEqual(screen.dialog(SET_UP)["progress"], 100)
        self.assertEqual(len(self.office.inboxes(self.operator)), 7)
        self.assertEqual(self.service.open_streams(0), 0)
        window.press("Close")
        window.press("Login")
        screen = window.until(lambda screen: screen.can_press("Logout"), "Logout")
        self.assertEqual(screen.popups, [])
        self.assertIsNone(screen.row("PASSWORD"))
        self.assertFalse(screen.row("USERNAME")["enabled"])
        self.assertEqual(window.close(), 0)

    def test_a_session_that_the_service_ended_is_shown(self):
        window = self.open_file_controller()
        self.send_archives("a.zip")
        self.add_reports("report.zip")
        self.select(window, "a.zip")
        self.assertTrue(window.look().can_press("Download"))
        self.admin.disable_user(self.operator)
        screen = window.until(lambda screen: LOST in screen.labels(), "the text about the lost session")
        screen = window.until(lambda screen: screen.can_press("Login"), "Login")
        self.assertEqual(screen.row("Browse")["value"], "Files to Upload")
        self.assertIsNone(screen.button("Download"))
        self.select(window, "report.zip")
        screen = window.look()
        self.assertFalse(screen.can_press("Upload"))
        self.assertTrue(screen.can_press("Delete"))  # a local deletion needs no session
        self.assert_refused(window, "Upload is off", "press", button="Upload")
        window.do("open", row="Browse")
        self.assertFalse(self.choice(window, "KELVO")["enabled"])
        window.press("Files to Upload")
        window.press("Login")
        screen = window.until(lambda screen: screen.dialog("KELVO Login Error"), "the error")
        self.assertNotEqual(screen.dialog("KELVO Login Error")["text"], "")
        window.press(screen.dialog("KELVO Login Error")["buttons"][0]["text"])
        self.assertEqual(set(self.reports_left()), {"report.zip"})
        self.assertEqual(window.close(), 0)

    def test_a_new_start_applies_the_language_also_to_errors(self):
        window = self.open_german_window()
        window.do("type", row="BENUTZERNAME", text=self.operator)
        window.do("type", row="PASSWORT", text="not the password")
        window.press("Anmelden")
        self.until_text(window, "KELVO-Anmeldefehler", "Der Benutzername oder das Passwort ist falsch.\n"
                                                       "Prüfen Sie beides und melden Sie sich noch einmal an.")
        window.press("OK")
        self.assertEqual(window.close(), 0)

    def test_the_level_without_data_exchange_needs_a_logout_first(self):
        window = self.open_file_controller()
        window.press("Settings")
        window.choose("User level", "Driver: no data exchange")
        window.press("Save")
        screen = window.look()
        self.assertIn("Log out before you choose a user level without data exchange.", screen.labels())
        window.press("Logout")
        window.until(lambda screen: screen.can_press("Login"), "Login")
        window.press("Save")
        screen = window.look()
        self.assertIn("Kept.", screen.labels())
        self.assertIsNone(screen.button("Login"))
        self.assertEqual(self.service.open_streams(0), 0)

    @staticmethod
    def choice(window, text):
        """A button of the list of choices, not of the launcher under it."""
        popup, = window.look().popups
        return next(button for button in popup["buttons"] if button["text"] == text)

    def test_the_selectors_work_while_a_login_runs(self):
        self.make_inboxes()
        self.send({"map.zip": b"x"})
        self.send({"curve.zip": b"x"}, "Curves")
        self.add_reports("report.zip")
        window = self.open_window()
        self.give_credentials(window)
        self.service.process.send_signal(signal.SIGSTOP)
        try:
            window.press("Login")
            window.until(lambda screen: screen.button("Processing, please wait"), "the wait")
            window.press("KELVO")
            window.until(lambda screen: screen.names() == ["report.zip"], "the reports")
            window.choose("Category", "Curves")
            window.until(lambda screen: not screen.names(), "no curves")
            window.choose("Browse", "Downloaded Files")
            window.choose("Category", "Pivots")
        finally:
            self.service.process.send_signal(signal.SIGCONT)
        screen = window.until(lambda screen: screen.can_press("Logout"), "Logout")
        self.assertEqual((screen.row("Browse")["value"], screen.row("Category")["value"]),
                         ("Downloaded Files", "Pivots"))
        window.choose("Browse", "KELVO")
        for category, names in (("Curves", ["curve.zip"]), ("Pivots", []), ("Prescription Maps", ["map.zip"])):
            window.choose("Category", category)
            window.until(lambda screen, names=names: screen.names() == names, f"the {category}")


class ListTest(ScreensCase):
    def test_a_push_changes_the_list_and_keeps_the_selection(self):
        window = self.open_file_controller()
        self.send({name: b"x" for name in ("a.zip", "b.zip", "c.zip")})
        self.select(window, "a.zip", "c.zip")
        self.send({"unseen.zip": b"x"}, "Curves")
        self.send({"d.zip": b"x"})
        screen = self.until_listed(window, ["d.zip"])
        self.assertEqual(sorted(screen.names()), ["a.zip", "b.zip", "c.zip", "d.zip"])
        self.assertEqual(sorted(screen.selected()), ["a.zip", "c.zip"])
        self.office.remove(self.office.files(self.operator, "To Console")["c.zip"]["id"])
        screen = window.until(lambda screen: "c.zip" not in screen.names(), "the list without it")
        self.assertEqual(screen.selected(), ["a.zip"])
        self.assertTrue(screen.can_press("Download") and screen.can_press("Delete"))
        window.choose("Category", "Curves")
        screen = self.until_listed(window, ["unseen.zip"])
        self.assertEqual(screen.selected(), [])
        self.assertFalse(screen.can_press("Download") or screen.can_press("Delete"))

    def test_delete_asks_first_and_no_deletes_nothing(self):
        window = self.open_file_controller()
        self.send({"a.zip": b"x", "b.zip": b"x"})
        self.select(window, "a.zip")
        before = self.service.requests()
        self.ask_to_delete(window, "No")
        self.assertNotIn(DELETIONS, more(self.service.requests(), before))
        screen = window.look()
        self.assertEqual((sorted(screen.names()), screen.selected()), (["a.zip", "b.zip"], ["a.zip"]))
        self.assertEqual(self.files_at_service("To Console"), ["a.zip", "b.zip"])
        self.ask_to_delete(window, "Yes")
        self.finish(window, "Delete", "Delete complete.")
        window.until(lambda screen: screen.names() == ["b.zip"], "the list without it")
        self.assertEqual(self.files_at_service("To Console"), ["b.zip"])

    def test_delete_asks_for_local_files_too(self):
        window = self.open_file_controller()
        self.add_reports("a.zip", "b.zip")
        self.show_files_to_upload(window, ["a.zip", "b.zip"])
        self.select(window, "a.zip")
        before = self.service.requests()
        self.ask_to_delete(window, "No")
        self.assertEqual(set(self.reports_left()), {"a.zip", "b.zip"})
        self.ask_to_delete(window, "Yes")
        window.until(lambda screen: screen.names() == ["b.zip"], "the list without it")
        self.assertEqual(set(self.reports_left()), {"b.zip"})
        self.assertEqual(more(self.service.requests(), before), {})

    def ask_to_delete(self, window, answer):
        window.press("Delete")
        screen = window.until(lambda screen: screen.dialog("Delete Warning"), "the question")
        self.assertEqual([button["text"] for button in screen.dialog("Delete Warning")["buttons"]], ["Yes", "No"])
        window.press(answer)
        window.until(lambda screen: not screen.dialog("Delete Warning"), "the question's end")


class TwiceTest(ScreensCase):
    """Two touches at once have the effect of one touch."""

    def test_login_and_logout(self):
        self.make_inboxes()
        window = self.open_window()
        self.give_credentials(window)
        before = self.service.requests()
        self.do_twice(window, "press", button="Login")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")
        self.do_twice(window, "press", button="Logout")
        window.until(lambda screen: screen.can_press("Login"), "Login")
        self.assertEqual(self.service.open_streams(0), 0)
        asked = more(self.service.requests(), before)
        self.assertEqual((asked[LOGINS], asked[LOGOUTS]), (1, 1))
        self.assertEqual(window.look().popups, [])

    def test_the_launcher(self):
        window = self.open_file_controller()
        self.do_twice(window, "press", button="Night")  # after the first touch the button is "Day"
        self.assertTrue(window.look().can_press("Day"))
        for page in ("Settings", "Home", "KELVO File Controller"):
            self.assertIsNone(self.do_twice(window, "press", button=page))
            self.assertTrue(window.look().button(page)["checked"], page)
        self.assertEqual(window.look().popups, [])

    def test_a_download_unpacks_each_archive_once(self):
        window = self.open_file_controller()
        content = self.send_archives("1.zip", "2.zip")
        self.select(window, *content)
        before = self.service.requests()
        self.assertIsNotNone(self.do_twice(window, "press", button="Download"))
        self.until_text(window, "File Transfer", "Download complete.")
        self.assertIsNotNone(self.do_twice(window, "press", button="Close"))
        window.until(lambda screen: not screen.popups, "the dialog's end")
        self.assertEqual(more(self.service.requests(), before), {("GET", "/resources/{id}/content"): 2})
        self.assertEqual(self.unpacked(), {path: data for files in content.values() for path, data in files.items()})

    def test_upload(self):
        window = self.open_file_controller()
        content = self.add_reports("report.zip")
        self.show_files_to_upload(window, content)
        self.select(window, "report.zip")
        self.assertIsNotNone(self.do_twice(window, "press", button="Upload"))
        self.finish(window, "File Transfer", "Upload complete.")
        self.assertEqual(self.content_at_the_service("From Console"), content)
        self.assertEqual(self.reports_left(), {})

    def test_a_deletion_asks_first_and_deletes_once(self):
        window = self.open_file_controller()
        self.send({"a.zip": b"x", "b.zip": b"x"})
        self.select(window, "a.zip")
        before = self.service.requests()
        self.assertIsNotNone(self.do_twice(window, "press", button="Delete"))
        self.assertIsNotNone(self.do_twice(window, "press", button="No"))
        window.press("Delete")
        self.assertIsNotNone(self.do_twice(window, "press", button="Yes"))
        self.finish(window, "Delete", "Delete complete.")
        self.assertEqual(self.files_at_service("To Console"), ["b.zip"])
        self.assertEqual(more(self.service.requests(), before)[DELETIONS], 1)

    def test_cancel_ends_after_the_current_file(self):
        link = self.link()
        window = self.open_file_controller(link)
        content = self.send_archives("1.zip", "2.zip")
        self.select(window, *content)
        link.hold("down", 50_000)
        window.press("Download")
        link.wait_until_held()
        self.do_twice(window, "press", button="Cancel")
        screen = self.until_text(window, "File Transfer", "Cancelling file operation ...")
        self.assertFalse(screen.can_press("Cancel") or screen.can_press("Close"))
        link.release()
        self.finish(window, "File Transfer", "Download complete.")
        self.assertEqual(len(self.unpacked()), 1)
        self.assertTrue(window.look().can_press("Download"))  # the cancel has ended


if __name__ == "__main__":
    unittest.main()

"""A display without a window manager: after each dialog the keys and the wheel still work."""

import unittest

from kelvoe2e import xkeys
from kelvoe2e.case import PASSWORD
from kelvoe2e.needs import needs
from kelvoe2e.screens import ScreensCase


class BareDisplayTest(ScreensCase):
    def setUp(self):
        needs(self, xkeys.xtest_path(), "the XTEST library")
        super().setUp()

    def open_with_keys(self):
        """A window, and the keyboard of its display."""
        window = self.open_window()
        keys = xkeys.XKeys(window.display_name)
        self.addCleanup(keys.close)
        return window, keys

    def turn(self, window, keys):
        """A step of the wheel, as a real key. It must move the focus."""
        before = window.look().focus
        self.assertNotEqual(before["kind"], "none")
        keys.press("Down")
        window.until(lambda screen: screen.focus != before, f"another focus than {before}")

    def answer(self, window, keys, title, button):
        """Waits for the dialog with the focus on the button, and answers it with real keys."""
        window.until(lambda screen: screen.dialog(title) and screen.focus["name"] == button, f"{button} in {title}")
        keys.press("Return")
        window.until(lambda screen: screen.dialog(title) is None, f"the end of {title}")
        self.turn(window, keys)

    def test_the_keys_work_before_any_dialog(self):
        window, keys = self.open_with_keys()
        window.until(lambda screen: screen.focus["name"] == "USERNAME", "the focus on the login panel")
        self.turn(window, keys)
        self.assertEqual(window.look().focus["name"], "PASSWORD")

    def test_the_keys_work_after_each_dialog(self):
        window, keys = self.open_with_keys()
        window.press("Login")  # without a name
        self.answer(window, keys, "KELVO Login Error", "OK")
        self.give_credentials(window)
        window.press("Login")
        self.until_text(window, "Configure Kelvo Account", "Configuration complete")
        self.answer(window, keys, "Configure Kelvo Account", "Close")
        self.send_archives("a.zip", "b.zip")
        window.press("Login")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")
        window.press("KELVO")
        self.select(window, "a.zip")
        window.press("Download")
        self.answer(window, keys, "File Transfer", "Close")
        window.press("Delete")
        self.answer(window, keys, "Delete Warning", "No")
        window.press("Delete")
        window.press("Yes")
        self.answer(window, keys, "Delete", "Close")
        window.do("open", row="Category")
        window.until(lambda screen: screen.popups and screen.focus["kind"] == "button", "the choices")
        keys.press("Escape")
        window.until(lambda screen: not screen.popups, "the end of the choices")
        self.turn(window, keys)

    def test_a_touch_beside_does_not_hide_the_set_up(self):
        window, keys = self.open_with_keys()
        self.give_credentials(window)
        window.press("Login")
        self.until_text(window, "Configure Kelvo Account", "Configuration complete")
        for button in ("Night", "KELVO", "Home"):
            window.press(button)
            self.assertIsNotNone(window.look().dialog("Configure Kelvo Account"))
        window.press("Close")
        self.turn(window, keys)

    def test_the_return_key_logs_in(self):
        self.make_inboxes()
        window, keys = self.open_with_keys()
        window.until(lambda screen: screen.focus["name"] == "USERNAME", "the focus on the login panel")
        keys.press("Return")
        for row, text in (("USERNAME", self.operator), ("PASSWORD", PASSWORD)):
            window.until(lambda screen, row=row: screen.focus == {"kind": "text", "name": row}, f"the text of {row}")
            window.do("enter", text=text)
            keys.press("Return")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")


if __name__ == "__main__":
    unittest.main()

"""Transfers in the real window: cancel, other touches while a transfer runs, and closing the window."""

import unittest

from kelvoe2e.screens import MIDDLE_BYTES, ScreensCase

TRANSFER = "File Transfer"


class TransferTest(ScreensCase):
    def setUp(self):
        super().setUp()
        self.transfer_link = self.link()

    def in_the_middle_of_a_download(self, *names):
        """Returns the window with a download held in its first file, the files' content, and the first file's name."""
        window = self.open_file_controller(self.transfer_link)
        content = self.send_archives(*names)
        self.select(window, *content)
        self.transfer_link.hold("down", MIDDLE_BYTES)
        window.press("Download")
        self.transfer_link.wait_until_held()
        first = next(name for name in window.look().names() if name in content)
        self.until_text(window, TRANSFER, f"Downloading {first}")
        return window, content, first

    def in_the_middle_of_an_upload(self, *names):
        window = self.open_file_controller(self.transfer_link)
        content = self.add_reports(*names)
        self.show_files_to_upload(window, content)
        self.select(window, *content)
        self.transfer_link.hold("up", MIDDLE_BYTES)
        window.press("Upload")
        self.transfer_link.wait_until_held()
        first = sorted(content)[0]
        self.until_text(window, TRANSFER, f"Uploading {first}")
        return window, content, first

    def test_a_download_cancelled_in_the_first_of_two_files(self):
        window, content, first = self.in_the_middle_of_a_download("1.zip", "2.zip")
        window.press("Cancel")
        screen = self.until_text(window, TRANSFER, "Cancelling file operation ...")
        self.assertFalse(screen.can_press("Cancel") or screen.can_press("Close"))
        self.assertEqual(self.unpacked(), {})
        self.transfer_link.release()
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(self.unpacked(), content[first])
        self.assertEqual(self.files_at_service("To Console"), ["1.zip", "2.zip"])
        other, = set(content) - {first}
        self.select(window, other)
        window.press("Download")
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(self.unpacked(), {**content[first], **content[other]})

    def test_an_upload_cancelled_in_the_first_of_two_files(self):
        window, content, first = self.in_the_middle_of_an_upload("1.zip", "2.zip")
        window.press("Cancel")
        self.until_text(window, TRANSFER, "Cancelling file operation ...")
        self.transfer_link.release()
        self.finish(window, TRANSFER, "Upload complete.")
        kept = {name: data for name, data in content.items() if name != first}
        self.assertEqual(self.reports_left(), kept)
        self.assertEqual(self.content_at_the_service("From Console"), {first: content[first]})
        self.assertEqual(window.look().names(), list(kept))

    def test_an_upload_removes_the_local_file_only_after_it_is_stored(self):
        window, content, _ = self.in_the_middle_of_an_upload("report.zip")
        self.assertEqual(self.reports_left(), content)
        self.assertEqual(self.files_at_service("From Console"), [])
        self.transfer_link.release()
        self.finish(window, TRANSFER, "Upload complete.")
        self.assertEqual(self.content_at_the_service("From Console"), content)
        self.assertEqual(self.reports_left(), {})
        self.assertEqual(window.look().names(), [])

    def test_the_file_controller_cannot_be_touched_while_a_transfer_runs(self):
        window, content, _ = self.in_the_middle_of_a_download("1.zip", "2.zip")
        self.assert_refused(window, "Close is off", "press", button="Close")
        for row in ("Category", "Browse"):
            self.assert_refused(window, "a dialog must be answered", "open", row=row)
        self.assert_refused(window, "Logout is not on the screen", "press", button="Logout")
        screen = window.look()
        self.assertEqual((screen.row("Category")["value"], screen.row("Browse")["value"]),
                         ("Prescription Maps", "KELVO"))
        self.assertFalse(screen.can_press("Download") or screen.can_press("Delete"))
        self.send({"3.zip": b"x"})  # the list under the dialog may show it later, but must show it
        self.transfer_link.release()
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(set(self.unpacked()), {path for files in content.values() for path in files})
        screen = self.until_listed(window, ["1.zip", "2.zip", "3.zip"])
        self.assertEqual(sorted(screen.selected()), ["1.zip", "2.zip"])
        window.choose("Category", "Curves")
        window.until(lambda screen: not screen.names(), "no curves")

    def test_other_pages_work_while_a_transfer_runs(self):
        window, content, _ = self.in_the_middle_of_a_download("1.zip")
        for button in ("Night", "Home", "Settings"):
            window.press(button)
        self.assertEqual(window.look().popups, [])
        window.choose("Colours", "Day")
        self.transfer_link.release()
        window.press("KELVO File Controller")
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(self.unpacked(), content["1.zip"])

    def test_a_new_start_in_a_download_asks_first(self):
        window, content, _ = self.in_the_middle_of_a_download("1.zip", "2.zip")
        window.press("Settings")
        window.choose("Language", "Deutsch")
        window.press("Save")
        window.press("Restart now")
        self.assertIn("An upload, download or deletion is running.", window.look().dialog("Settings")["text"])
        window.press("No")
        self.transfer_link.release()
        window.press("KELVO File Controller")
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(self.unpacked(), {path: data for files in content.values() for path, data in files.items()})
        window.press("Settings")
        window.press("Restart now")
        window.until(lambda screen: screen.can_press("Anmelden"), "the login panel in German")
        self.assertEqual(window.close(), 0)

    def test_closing_the_window_in_a_download_loses_nothing(self):
        window, content, _ = self.in_the_middle_of_a_download("large.zip")
        self.assertEqual(window.close(), 0)
        self.assertEqual(self.unpacked(), {})
        self.assertFalse((self.data / "incoming/large.zip").exists())
        self.assertEqual(self.files_at_service("To Console"), ["large.zip"])
        self.transfer_link.release()
        window = self.logged_in_again()
        self.select(window, "large.zip")
        window.press("Download")
        self.finish(window, TRANSFER, "Download complete.")
        self.assertEqual(self.unpacked(), content["large.zip"])
        self.assertEqual(window.close(), 0)

    def test_closing_the_window_in_an_upload_loses_nothing(self):
        window, content, _ = self.in_the_middle_of_an_upload("report.zip")
        self.assertEqual(window.close(), 0)
        self.assertEqual(self.reports_left(), content)
        self.assertEqual(self.files_at_service("From Console"), [])
        self.transfer_link.release()
        window = self.logged_in_again()
        self.show_files_to_upload(window, content)
        self.select(window, "report.zip")
        window.press("Upload")
        self.finish(window, TRANSFER, "Upload complete.")
        self.assertEqual(self.content_at_the_service("From Console"), content)
        self.assertEqual(self.reports_left(), {})
        self.assertEqual(window.close(), 0)

    def logged_in_again(self):
        """Starts the console again at another address and logs in with the stored credentials."""
        window = self.open_window()
        window.press("Login")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")
        window.press("KELVO")
        return window


if __name__ == "__main__":
    unittest.main()

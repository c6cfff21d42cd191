"""The home page of the real window: after a login, after a download, and after the service was killed."""

import unittest

from kelvoe2e.screens import ScreensCase

NO_BREAK = "\u00a0"


class ScreensHomeTest(ScreensCase):
    @staticmethod
    def cards(screen):
        """{title: lines} of the cards; a badge stands before the lines."""
        labels = [label.replace(NO_BREAK, " ") for label in screen.labels()]
        titles = ["Prescription Maps", "Job Reports", "AB Lines", "Curves", "Pivots", "Optimal Lines", "Project Lines",
                  "Connection", "Position", "Storage"]
        places = [labels.index(title) for title in titles if title in labels]
        ends = [*places[1:], len(labels)]
        return {labels[place]: labels[place + 1:end] for place, end in zip(places, ends)}

    @staticmethod
    def badges(screen):
        """The badges of the launcher."""
        return [button["badge"] for button in screen.console["buttons"] if "badge" in button]

    def until_card(self, window, title, *words):
        """Waits until the card has these texts, or other texts that the words accept."""
        def is_shown(screen):
            card = "\n".join(self.cards(screen).get(title, []))
            return all(word in card.split("\n") for word in words)
        return window.until(is_shown, f"{words} in {title}")

    def test_the_figures_follow_the_files_and_the_service(self):
        self.make_inboxes()
        self.add_reports("report.zip")
        window = self.open_window()
        self.until_card(window, "Prescription Maps", "On KELVO: logged out", "Downloaded: 0")
        self.until_card(window, "Job Reports", "To send: 1")
        self.send_archives("a.zip", "b.zip")
        self.give_credentials(window)
        window.press("Login")
        screen = self.until_card(window, "Prescription Maps", "2 new", "On KELVO: 2", "Downloaded: 0")
        self.assertEqual(self.badges(screen), ["2 new"])
        self.until_card(window, "Curves", "On KELVO: 0", "Downloaded: 0   To send: 0")
        self.assertIn("Connected", self.cards(window.look())["Connection"][0].split("\n"))

        window.press("KELVO")
        self.select(window, "a.zip")
        window.press("Download")
        self.finish(window, "File Transfer", "Download complete.")
        window.press("Home")
        screen = self.until_card(window, "Prescription Maps", "On KELVO: 2", "Downloaded: 1")
        self.assertNotIn("2 new", self.cards(screen)["Prescription Maps"])
        self.assertEqual(self.badges(screen), [])

        self.send_archives("c.zip")
        self.until_card(window, "Prescription Maps", "1 new", "On KELVO: 3")
        self.service.kill()
        self.addCleanup(self.service.start)
        screen = window.until(lambda screen: "Service does not answer" in str(self.cards(screen)["Connection"]), "no answer")
        maps = "\n".join(self.cards(screen)["Prescription Maps"])
        self.assertRegex(maps, r"(?m)^On KELVO at [0-9]{2}:[0-9]{2}: 3$")
        self.assertRegex("\n".join(self.cards(screen)["Connection"]), r"(?m)^Last contact: [0-9]{2}:[0-9]{2}$")
        self.assertEqual(window.close(), 0)

    def test_a_seen_file_is_not_new_after_a_restart(self):
        window = self.open_file_controller()
        self.send_archives("a.zip")
        self.until_listed(window, ["a.zip"])
        window.until(lambda screen: not self.badges(screen), "no badge")
        window.press("Home")
        screen = self.until_card(window, "Prescription Maps", "On KELVO: 1")
        self.assertNotIn("1 new", self.cards(screen)["Prescription Maps"])
        self.assertEqual(window.close(), 0)
        self.send_archives("b.zip")
        window = self.open_window()
        window.press("Login")
        self.until_card(window, "Prescription Maps", "1 new", "On KELVO: 2")
        window.press("Logout")
        screen = self.until_card(window, "Prescription Maps", "On KELVO: logged out")
        self.assertEqual(self.badges(screen), [])
        self.assertEqual(window.close(), 0)


if __name__ == "__main__":
    unittest.main()

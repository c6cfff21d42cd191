"""The base class of tests with the console's real window: what an operator presses and reads."""

import dataclasses
import json
import os
import random
import shutil
from pathlib import Path

from kelvoe2e.case import BINARIES, PASSWORD, FarmCase
from kelvoe2e.needs import needs
from kelvotour import archives
from kelvotour.link import Link
from kelvotour.window import Window, WindowError

BINARIES_WITH_DRIVER = dataclasses.replace(BINARIES, driver=Path(os.environ["KELVO_DRIVER"]))
NOISE_BYTES = 200_000
MIDDLE_BYTES = 50_000  # a part of NOISE_BYTES, to hold a transfer in its middle


def noise(seed):
    return random.Random(seed).randbytes(NOISE_BYTES)


class ScreensCase(FarmCase):
    def setUp(self):
        needs(self, shutil.which("Xvfb"), "Xvfb")
        super().setUp()
        self.windows = []
        self.data = self.folder / "console"

    def end_consoles(self):
        for window in self.windows:
            if window.process.poll() is None:
                window.close()
        super().end_consoles()
        # No window may have printed a warning.
        self.assertEqual([window.warnings() for window in self.windows], [[]] * len(self.windows))

    def link(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        return link

    def open_window(self, link=None, address=None, ca=None, prefix=()):
        """Opens a console's window at the login panel."""
        address = address or (link.address if link else self.service.address)
        window = Window(BINARIES_WITH_DRIVER, address, ca or self.service.ca, self.data,
                        self.folder / f"window-{len(self.windows)}.log", prefix=prefix)
        self.windows.append(window)
        window.until(lambda screen: screen.can_press("Login"), "the login panel")
        return window

    def open_german_window(self, link=None):
        """Opens a window, chooses German and starts the console anew."""
        window = self.open_window(link)
        window.press("Settings")
        window.choose("Language", "Deutsch")
        window.press("Save")
        window.until(lambda screen: screen.can_press("Restart now"), "the offer of a new start")
        window.press("Restart now")
        window.until(lambda screen: screen.can_press("Anmelden"), "the login panel in German")
        return window

    def give_credentials(self, window):
        window.do("type", row="USERNAME", text=self.operator)
        window.do("type", row="PASSWORD", text=PASSWORD)

    def open_file_controller(self, link=None, **options):
        """Opens a window, logs in and shows the file controller."""
        self.make_inboxes()
        window = self.open_window(link, **options)
        self.give_credentials(window)
        window.press("Login")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")
        window.press("KELVO")
        return window

    def send(self, content, project="To Console"):
        """The office uploads {name: bytes} to an inbox of the operator."""
        for name, data in content.items():
            path = self.folder / "put"
            path.write_bytes(data)
            self.office.put(path, f"{self.operator}/{project}", name=name)

    def send_archives(self, *names):
        """The office uploads archives. Returns {name: {path: bytes}}, the files that each archive must unpack."""
        content = {name: {f"{name}.bin": noise(name)} for name in names}
        self.send({name: archives.write_zip(self.folder / "zip", files).read_bytes()
                   for name, files in content.items()})
        return {name: archives.placed(name, files) for name, files in content.items()}

    def add_reports(self, *names):
        """Writes job reports into the folder for uploads. Returns {name: bytes}."""
        folder = self.data / "to-service/job-reports"
        folder.mkdir(parents=True, exist_ok=True)
        content = {name: noise(name) for name in names}
        for name, data in content.items():
            (folder / name).write_bytes(data)
        return content

    def reports_left(self):
        return archives.content_of(self.data / "to-service/job-reports")

    def unpacked(self):
        return archives.content_of(self.data / "from-service/prescriptions")

    def show_files_to_upload(self, window, names):
        window.choose("Browse", "Files to Upload")
        self.until_listed(window, names)

    def select(self, window, *names):
        """Waits until these files are listed, then selects them and no others."""
        self.until_listed(window, names)
        screen = window.look()
        for name in set(screen.selected()) ^ set(names):
            window.do("touch", name=name)
        self.assertEqual(sorted(window.look().selected()), sorted(names))

    def until_listed(self, window, names):
        return window.until(lambda screen: set(names) <= set(screen.names()), f"{names} in the list")

    def until_text(self, window, title, words):
        def is_shown(screen):
            dialog = screen.dialog(title)
            return dialog is not None and dialog["text"] == words
        return window.until(is_shown, f"{words} in {title}")

    def finish(self, window, title, words):
        """Waits until the dialog shows the end of the operation, then closes it."""
        screen = self.until_text(window, title, words)
        self.assertTrue(screen.can_press("Close"))
        self.assertFalse(screen.can_press("Cancel"))
        window.press("Close")
        window.until(lambda screen: not screen.popups, "the dialog's end")

    def assert_refused(self, window, words, verb, **arguments):
        """Checks that the screen refuses this action with these words."""
        with self.assertRaises(WindowError) as refusal:
            window.do(verb, **arguments)
        self.assertIn(words, str(refusal.exception))

    def do_twice(self, window, verb, **arguments):
        """Sends the same touch twice at once. Returns the refusal of the second touch, or None if it was accepted."""
        command = json.dumps({"do": verb, **arguments}) + "\n"
        window.process.stdin.write(command * 2)
        window.process.stdin.flush()
        first, second = (json.loads(window.process.stdout.readline()) for _ in range(2))
        self.assertTrue(first["ok"], first.get("why"))
        return second.get("why")

    def content_at_the_service(self, project):
        """Returns {name: bytes} of the operator's inbox. Fails if two files have the same name."""
        entries = self.office.inboxes(self.operator)[project]["entries"]
        content = {}
        for entry in entries:
            self.assertNotIn(entry["name"], content)
            copy = self.folder / "copy"
            self.office.get(entry["id"], copy)
            content[entry["name"]] = copy.read_bytes()
        return content

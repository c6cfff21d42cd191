"""A test at the console's real window, with what an operator does and reads there."""

import dataclasses
import json
import os
import random
import shutil
from pathlib import Path

from kelvoe2e.case import BINARIES, PASSWORD, FarmCase
from kelvoe2e.link import Link
from kelvoe2e.needs import needs
from kelvotour import archives
from kelvotour.window import Window, WindowError

WORKABLE = dataclasses.replace(BINARIES, driver=Path(os.environ["KELVO_DRIVER"]))
NOISE_BYTES = 200_000
MIDDLE_BYTES = 50_000  # of NOISE_BYTES on the link


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
        # None may have warned of anything.
        self.assertEqual([window.warnings() for window in self.windows], [[]] * len(self.windows))

    def link(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        return link

    def open_window(self, link=None):
        """A console with its window, with nobody logged in."""
        window = Window(WORKABLE, link.address if link else self.service.address, self.service.ca, self.data,
                        self.folder / f"window-{len(self.windows)}.log")
        self.windows.append(window)
        window.until(lambda screen: screen.can_press("Login"), "the login panel")
        return window

    def give_credentials(self, window):
        window.do("type", row="USERNAME", text=self.operator)
        window.do("type", row="PASSWORD", text=PASSWORD)

    def at_the_files(self, link=None):
        """A window with the file controller before an operator who is logged in."""
        self.make_inboxes()
        window = self.open_window(link)
        self.give_credentials(window)
        window.press("Login")
        window.until(lambda screen: screen.can_press("Logout"), "Logout")
        window.press("KELVO")
        return window

    def send(self, content, project="To Console"):
        """The office puts {name: bytes} into an inbox of the operator's."""
        for name, data in content.items():
            path = self.folder / "put"
            path.write_bytes(data)
            self.office.put(path, f"{self.operator}/{project}", name=name)

    def send_archives(self, *names):
        """{name: what unpacking it must yield}, {path: bytes}, each too large for one piece of the link."""
        content = {name: {f"{name}.bin": noise(name)} for name in names}
        self.send({name: archives.write_zip(self.folder / "zip", files).read_bytes()
                   for name, files in content.items()})
        return content

    def wait_to_upload(self, *names):
        """{name: bytes} of job reports in the folder that is uploaded from."""
        folder = self.data / "to-service/job-reports"
        folder.mkdir(parents=True, exist_ok=True)
        content = {name: noise(name) for name in names}
        for name, data in content.items():
            (folder / name).write_bytes(data)
        return content

    def waiting(self):
        return archives.content_of(self.data / "to-service/job-reports")

    def unpacked(self):
        return archives.content_of(self.data / "from-service/prescriptions")

    def show_files_to_upload(self, window, names):
        window.choose("Browse", "Files to Upload")
        self.until_listed(window, names)

    def select(self, window, *names):
        """These and no others, of those that are listed or come."""
        self.until_listed(window, names)
        screen = window.look()
        for name in set(screen.selected()) ^ set(names):
            window.do("touch", name=name)
        self.assertEqual(sorted(window.look().selected()), sorted(names))

    def until_listed(self, window, names):
        return window.until(lambda screen: set(names) <= set(screen.names()), f"{names} in the list")

    def until_said(self, window, title, words):
        def is_said(screen):
            dialog = screen.dialog(title)
            return dialog is not None and dialog["text"] == words
        return window.until(is_said, f"{words} in {title}")

    def finish(self, window, title, words):
        """The operation's end: it is told, and its dialog goes when it is closed."""
        screen = self.until_said(window, title, words)
        self.assertTrue(screen.can_press("Close"))
        self.assertFalse(screen.can_press("Cancel"))
        window.press("Close")
        window.until(lambda screen: not screen.popups, "the dialog's end")

    def assert_refused(self, window, words, verb, **arguments):
        """The screen does not let the operator do this now."""
        with self.assertRaises(WindowError) as refusal:
            window.do(verb, **arguments)
        self.assertIn(words, str(refusal.exception))

    def twice(self, window, verb, **arguments):
        """Both touches before anything can come of the first; what the second one was told, None if it was taken."""
        command = json.dumps({"do": verb, **arguments}) + "\n"
        window.process.stdin.write(command * 2)
        window.process.stdin.flush()
        first, second = (json.loads(window.process.stdout.readline()) for _ in range(2))
        self.assertTrue(first["ok"], first.get("why"))
        return second.get("why")

    def content_at_the_service(self, project):
        """{name: bytes} of the operator's inbox; a name that is there twice fails the test."""
        entries = self.office.inboxes(self.operator)[project]["entries"]
        content = {}
        for entry in entries:
            self.assertNotIn(entry["name"], content)
            copy = self.folder / "copy"
            self.office.get(entry["id"], copy)
            content[entry["name"]] = copy.read_bytes()
        return content

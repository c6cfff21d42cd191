"""The operator's day at the screens: its steps, the checks after each step, and a picture of each step."""

import json
from contextlib import contextmanager

from . import archives
from .farm import OPERATOR, PASSWORDS, Farm
from .link import Link
from .receiver import write_log
from .steps import Steps, fresh_folder, require
from .texts import Texts
from .wheel import WheelWindow
from .window import Window

LOG_SECONDS = 3600  # positions for longer than any tour
REPORTS = {"2024-05-17 north field.zip": {"REPORT.XML": b"<Report hectares='12.5'/>\n"},
           "2024-05-18 meadow.zip": {"REPORT.XML": b"<Report hectares='3.1'/>\n"}}
CORRUPT = "m-corrupt.zip"
SLOW_BYTES_PER_SECOND = 400_000  # the large archive then takes 15 s


class ScreenDay:
    """All files are in one folder: `pictures/`, `service/`, `console/`, `work/`, and logs."""

    def __init__(self, binaries, folder, data, service=None, *, size="1280x800", language=None, night=False, wheel=False):
        self.folder, self.data, self.size = folder, data, size
        self.language, self.night = language, night
        self.kind_of_window = WheelWindow if wheel else Window
        fresh_folder(folder)
        self.pictures = folder / "pictures"
        self.pictures.mkdir()
        self.console_data = folder / "console"
        self.steps = Steps(folder)
        self.farm = Farm(binaries, folder, service)
        self.text = Texts(language)
        self.link = None
        self.window = None
        self.office = None
        self.sent = {}
        self.screens = {}  # the texts in the pictures

    def play(self):
        """Plays the day and returns the exit status."""
        try:
            if self.open():
                self.log_in()
                self.receive()
                self.download()
                self.look_at_downloads()
                self.upload()
                self.delete()
                self.lose_the_service()
                self.change_settings()
                self.evening()
        finally:
            self.close()
            words = json.dumps(self.screens, ensure_ascii=False, indent=1)
            (self.pictures / "screens.json").write_text(words + "\n", encoding="utf-8")
        return self.steps.close()

    @contextmanager
    def shown(self, picture, name):
        """A step that ends with a picture of the screen, also if the step failed."""
        with self.steps.step(name):
            try:
                yield
                self.window.until(self.is_settled, "the figures of the home page and the badge")
            finally:
                self.window.picture(self.pictures / f"{picture}.png")
                self.screens[picture] = self.window.look().stable_texts()

    def is_settled(self, screen):
        """Whether the home page has all its figures, and the launcher no badge for names that are shown."""
        waits = [self.text(words) for words in ("On KELVO: not listed yet", "On the console: not counted")]
        is_late = screen.names() and any("badge" in button for button in screen.console["buttons"])
        return not is_late and not any(wait in label for wait in waits for label in screen.labels())

    def start_console(self):
        log = write_log(self.farm.work / "drive.nmea", LOG_SECONDS)
        self.window = self.kind_of_window(
            self.farm.binaries, self.link.address, self.farm.service.ca, self.console_data,
            self.folder / "console.log", size=self.size, options=("--gps", f"nmea:{log}"))
        return self.window.until(lambda screen: screen.can_press(self.text("Login")), "the login panel")

    def open(self):
        """Starts service and console. False if that fails: then there is nothing to play."""
        with self.steps.step("the service starts, with a farm, an office and an operator"):
            self.farm.service.start()
            self.link = Link(self.farm.service.address)
            self.office = self.farm.make()
        if self.language:
            self.choose_language()
        with self.shown("01-start", "the console starts and waits for the operator to log in"):
            self.start_console()
            if self.night:
                self.window.press(self.text("Night"))
            self.window.until(lambda screen: any("RTK" in label for label in screen.labels()), "the position")
        return self.steps.failed == 0

    def choose_language(self):
        """Sets the language on the settings page, as an operator does. It takes effect at the next start."""
        names = {"de": "Deutsch", "fr": "Français", "es": "Español", "pt_BR": "Português (Brasil)", "pl": "Polski"}
        with self.steps.step(f"{names[self.language]} is chosen and saved"):
            english, self.text = self.text, Texts()
            self.start_console()
            self.window.press("Settings")
            self.window.choose("Language", names[self.language])
            self.window.press("Save")
            self.window.until(lambda screen: any("next start" in label for label in screen.labels()), "the answer")
            require(self.window.close() == 0, "the console ended with an error")
            self.text = english

    def log_in(self):
        text, window = self.text, self.window
        with self.shown("02-wrong-password", "a wrong password is refused with a message"):
            window.do("type", row=text("USERNAME"), text=OPERATOR)
            window.do("type", row=text("PASSWORD"), text="seven brown fields")
            window.press(text("Login"))
            window.until(lambda screen: screen.dialog(text("KELVO Login Error")), "the error")
        with self.shown("03-credentials", "the error is acknowledged and the password typed again"):
            self.acknowledge()
            window.do("type", row=text("PASSWORD"), text=PASSWORDS[OPERATOR])
            screen = window.look()
            require(screen.can_press(text("Login")), "Login cannot be pressed")
            require(PASSWORDS[OPERATOR] not in str(screen.windows), "the password can be read")
        with self.shown("04-first-login", "the first login creates the operator's inboxes and logs out"):
            window.press(text("Login"))
            window.until(lambda screen: self.is_set_up(screen) and screen.can_press(text("Login")), "the set-up's end")
            require(len(self.office.inboxes(OPERATOR)) == 7, "inboxes are missing")
        with self.shown("05-logged-in", "the second login succeeds"):
            self.acknowledge()
            window.press(text("Login"))
            window.until(lambda screen: screen.can_press(text("Logout")), "Logout")

    def is_set_up(self, screen):
        dialog = screen.dialog(self.text("Configure Kelvo Account"))
        return dialog is not None and dialog["text"] == self.text("Configuration complete")

    def acknowledge(self):
        """Closes the only open dialog."""
        screen = self.window.look()
        require(len(screen.popups) == 1, f"{len(screen.popups)} dialogs are open")
        self.window.press(screen.popups[0]["buttons"][0]["text"])
        self.window.until(lambda screen: not screen.popups, "the end of the dialog")

    def receive(self):
        """The office's archives reach the list without a request of the operator."""
        data = self.data or archives.make_samples(self.farm.work / "archives")
        self.sent = {path.name: path for path in archives.archives_in(data)}
        if self.data:
            self.sent[archives.LARGE] = archives.write_large(self.farm.work)
        with self.shown("05-new-files", f"the office sends {len(self.sent)} maps, and the home page counts them as new"):
            for path in self.sent.values():
                self.office.put(path, f"{OPERATOR}/To Console")
            words = self.text("On KELVO: %1").replace("%1", str(len(self.sent)))
            self.window.until(lambda screen: any(words in label for label in screen.labels()), words)
        with self.shown("06-files", "they are listed"):
            self.window.press(self.text("KELVO"))
            self.window.until(lambda screen: set(screen.names()) == set(self.sent), "the names")
            require(not self.window.look().can_press("Download"), "Download is enabled without a selection")

    def download(self):
        text, window = self.text, self.window
        chosen = self.two_sound_archives()
        with self.shown("07-selection", f"{len(chosen)} are selected"):
            for name in chosen:
                window.do("touch", name=name)
            screen = window.look()
            require(sorted(screen.selected()) == sorted(chosen), f"the selection is {screen.selected()}")
            require(screen.can_press("Download"), "Download is disabled")
        with self.shown("08-downloading", "they are downloaded; dialog and status bar show the progress"):
            self.link.slow("down", SLOW_BYTES_PER_SECOND)
            window.press("Download")
            window.until(self.shows_rate, "the rate")
        self.link.release()
        with self.shown("09-downloaded", "they are complete and unpacked byte for byte"):
            self.wait_for_dialog("File Transfer", text("Download complete."))
            for name in chosen:
                problems = archives.compare(archives.expected_files(self.sent[name]),
                                            self.console_data / "from-service/prescriptions")
                require(not problems, "; ".join(problems))
        self.acknowledge()
        with self.shown("10-corrupt", "a corrupt archive is named and does no harm"):
            self.office.put(archives.write_corrupt_zip(self.farm.work / CORRUPT), f"{OPERATOR}/To Console")
            window.until(lambda screen: CORRUPT in screen.names(), "its name")
            self.select_only(CORRUPT)
            window.press("Download")
            self.wait_for_dialog("File Transfer", CORRUPT)
        self.acknowledge()

    def two_sound_archives(self):
        """The first sound archive and the large one."""
        good = [name for name, path in self.sent.items() if archives.expected_files(path) is not None]
        return [*[name for name in good if name != archives.LARGE][:1], archives.LARGE]

    def shows_rate(self, screen):
        """Whether the dialog and the status bar show the large archive's rate."""
        dialog = screen.dialog(self.text("File Transfer"))
        return archives.LARGE in dialog["text"] and all(
            any("/s " in label for label in window["labels"]) for window in (screen.console, dialog))

    def select_only(self, *names):
        for name in self.window.look().selected():
            if name not in names:
                self.window.do("touch", name=name)
        for name in names:
            if name not in self.window.look().selected():
                self.window.do("touch", name=name)

    def wait_for_dialog(self, title, words):
        """Waits until the operation has ended and its dialog can be closed."""
        def is_shown(screen):
            dialog = screen.dialog(self.text(title))
            is_busy = screen.button(self.text("Processing, please wait")) is not None
            return dialog is not None and words in dialog["text"] and dialog["buttons"][0]["enabled"] and not is_busy
        return self.window.until(is_shown, f"{words} in {title}")

    def look_at_downloads(self):
        text, window = self.text, self.window
        with self.shown("11-locations", "the list shows the places of files"):
            window.do("open", row=text("Browse"))
            window.until(lambda screen: screen.can_press(text("Downloaded Files")) or window.is_wheel, "the choices")
        with self.shown("12-downloaded-files", "each downloaded map is a folder of the archive's name"):
            window.take(text("Browse"), text("Downloaded Files"))
            folders = {archives.folder_of(name) for name in self.two_sound_archives()}
            window.until(lambda screen: set(screen.names()) == folders, f"the folders {folders}")

    def upload(self):
        text, window = self.text, self.window
        folder = self.console_data / "to-service/job-reports"
        content = {name: archives.write_zip(folder / name, files).read_bytes() for name, files in REPORTS.items()}
        with self.shown("13-reports", "the list shows the job reports to upload"):
            window.choose(text("Browse"), text("Files to Upload"))
            window.choose(text("Category"), text("Job Reports"))
            window.until(lambda screen: set(screen.names()) == set(REPORTS), "the reports")
        with self.shown("14-uploaded", "they are uploaded: the service has them, the local copies are deleted"):
            self.select_only(*REPORTS)
            window.press("Upload")
            self.wait_for_dialog("File Transfer", text("Upload complete."))
            held = self.office.files(OPERATOR, "From Console")
            for name, sent in content.items():
                copy = self.farm.work / "copy"
                self.office.get(held[name]["id"], copy)
                require(copy.read_bytes() == sent, f"the service's {name} differs")
            left = list(folder.iterdir())
            require(not left, f"these local copies exist: {[path.name for path in left]}")
        self.acknowledge()

    def delete(self):
        text, window = self.text, self.window
        with self.shown("15-delete", "a question comes before files are deleted"):
            window.choose(text("Browse"), text("KELVO"))
            window.choose(text("Category"), text("Prescription Maps"))
            window.until(lambda screen: CORRUPT in screen.names(), "the list")
            self.select_only(CORRUPT)
            window.press("Delete")
            window.until(lambda screen: screen.dialog(text("Delete Warning")), "the question")
        with self.shown("16-deleted", "after yes the file is no longer in the list and on the service, but in the bin"):
            question = window.look().dialog(text("Delete Warning"))
            window.press(question["buttons"][0]["text"])
            self.wait_for_dialog("Delete", text("Delete complete."))
            window.until(lambda screen: CORRUPT not in screen.names(), "the list without it")
            require(CORRUPT not in self.office.files(OPERATOR, "To Console"), "the service still lists it")
            require(CORRUPT in [file["name"] for file in self.office.bin()], "it is not in the bin")
        self.acknowledge()

    def lose_the_service(self):
        text, window = self.text, self.window
        with self.shown("17-no-service", "the login reports a service that cannot be reached"):
            self.show_login_panel()
            window.press(text("Logout"))
            window.until(lambda screen: screen.can_press(text("Login")), "Login")
            self.farm.service.stop()
            self.link.close()
            window.press(text("Login"))
            window.until(lambda screen: screen.dialog(text("KELVO Login Error")), "the error")
        with self.shown("18-banner", "a banner shows the failure until the next login"):
            self.acknowledge()
        with self.steps.step("when the service is back, the login succeeds"):
            self.farm.service.start()
            self.link = Link(self.farm.service.address, self.link.address)
            window.press(text("Login"))
            window.until(lambda screen: screen.can_press(text("Logout")), "Logout")

    def show_login_panel(self):
        """Goes home if the login panel is not visible: on a small display it has no place beside a page."""
        if self.window.look().row(self.text("USERNAME")) is None:
            self.window.press(self.text("Home"))

    def change_settings(self):
        text, window = self.text, self.window
        with self.shown("19-settings", "one touch opens the settings"):
            window.press(text("Settings"))
            window.until(lambda screen: screen.row(text("Language")) is not None, "the settings")
        other = text("Day") if self.night else text("Night")
        with self.shown("20-other-light", "the screen in the colours for day or night"):
            window.press(other)
            window.press(text("KELVO File Controller"))
            window.choose(text("Browse"), text("KELVO"))
            window.choose(text("Category"), text("Prescription Maps"))
            window.until(lambda screen: screen.names(), "the names")

    def evening(self):
        with self.shown("21-evening", "the logout also ends the session on the service"):
            self.show_login_panel()
            self.window.press(self.text("Logout"))
            self.window.until(lambda screen: screen.can_press(self.text("Login")), "Login")
            require(self.farm.service.open_streams(0) == 0, "the event stream is still open")
        with self.steps.step("the console ends and leaves the operator's password in no log"):
            status = self.window.close()
            require(status == 0, f"the console's exit status is {status}")
            require(not self.window.warnings(), f"the console warned: {self.window.warnings()}")
            for path in [*self.folder.glob("*.log*"), *(self.console_data / "logs").iterdir()]:
                require(PASSWORDS[OPERATOR].encode() not in path.read_bytes(), f"the password is in {path}")
        with self.steps.step("the service stops on SIGTERM"):
            self.farm.service.stop()

    def close(self):
        if self.window is not None and self.window.process.poll() is None:
            self.window.close()
        if self.link is not None:
            self.link.close()
        self.farm.service.close()

"""The console's window, operated as an operator does: by looking, touching and typing."""

import json
import os
import re
import subprocess
import threading
import time
from pathlib import Path

from .console import own_runtime_folder
from .display import Display

GUARD_SECONDS = 120  # ends only a process that hangs
LOOK_SECONDS = 0.02  # between two looks
# A time, a position, a transfer in the status bar and in its dialog, a port or a folder, free space.
VOLATILE = re.compile(r"\d\d:\d\d\.?$|\d°|^\d+ ?%|/s |[:/]\u200b|\d [kMGT]?B$")


class WindowError(Exception):
    """The console did not show or do the expected."""


class Window:
    """One run of the console with its window, as a process. A transcript holds the commands and answers."""
    is_wheel = False

    def __init__(self, binaries, service_address, ca, data, transcript, *, size="1280x800", options=(),
                 environment=None, prefix=()):
        self._transcript = open(transcript, "a", encoding="utf-8")
        self._log_path = f"{transcript}.stderr"
        own = {name: value for name, value in os.environ.items()
               if name not in ("KELVO_API_HOST", "KESDK_CA_FILE", "KELVO_USER", "KELVO_PASSWORD")}
        self._display = Display(size, f"{transcript}.display")
        # The user's display, settings, scaling and keyboard have no effect.
        own = {name: value for name, value in own.items() if not name.startswith("QT_")}
        own.update(QT_QPA_PLATFORM="xcb", DISPLAY=self._display.name, QT_IM_MODULE="none",
                   XDG_CONFIG_HOME=str(Path(transcript).parent))
        own.setdefault("XDG_RUNTIME_DIR", own_runtime_folder())
        own.update(environment or {})
        with open(self._log_path, "ab") as log:
            self.process = subprocess.Popen(
                [*prefix, str(binaries.driver), "--plugin", str(binaries.plugin), "--service", service_address, "--ca", str(ca),
                 "--data", str(data), "--size", size, *options],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, text=True, env=own)

    @property
    def display_name(self):
        return self._display.name

    def do(self, verb, **arguments):
        """Sends a command and returns the answer."""
        guard = threading.Timer(GUARD_SECONDS, self.process.kill)
        guard.start()
        try:
            self.process.stdin.write(json.dumps({"do": verb, **arguments}) + "\n")
            self.process.stdin.flush()
            line = self.process.stdout.readline()
        except BrokenPipeError:
            line = ""
        finally:
            guard.cancel()
        if not line:
            raise WindowError(f"the console has ended or hangs; see {self._log_path}")
        answer = json.loads(line)
        shown = {name: value for name, value in arguments.items() if name != "text"}  # a text may be a password
        if verb != "look":
            self._transcript.write(f"{verb} {json.dumps(shown)}: {line}")
        if not answer["ok"]:
            raise WindowError(f"{verb} {' '.join(map(str, shown.values()))}: {answer['why']}")
        return answer

    def look(self):
        answer = self.do("look")
        return Screen(answer["windows"], answer["focus"])

    def until(self, wanted, what, seconds=GUARD_SECONDS):
        """Waits for a screen for which `wanted` is true, and returns it."""
        end = time.monotonic() + seconds
        while True:
            screen = self.look()
            if wanted(screen):
                return screen
            if time.monotonic() > end:
                self._transcript.write(json.dumps(screen.windows) + "\n")
                raise WindowError(f"{what} did not come in {seconds} s")
            time.sleep(LOOK_SECONDS)

    def press(self, button):
        self.do("press", button=button)

    def choose(self, row, choice):
        self.do("open", row=row)
        self.take(row, choice)

    def take(self, row, choice):
        """Takes a choice of the row, which is open."""
        self.press(choice)

    def picture(self, path):
        self.do("picture", file=str(path))

    def close(self):
        """Closes the window and returns the exit status."""
        if self.process.poll() is None:
            try:
                self.do("quit")
            except WindowError:
                pass
        try:
            status = self.process.wait(GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise WindowError("the console did not end") from None
        finally:
            self.process.stdin.close()
            self.process.stdout.close()
            self._display.close()
            self._transcript.close()
        return status

    def warnings(self):
        """The console's lines on the standard error."""
        return Path(self._log_path).read_text(encoding="utf-8", errors="replace").splitlines()


class Screen:
    """The texts on the screen at one moment."""

    def __init__(self, windows, focus):
        self.windows = windows
        self.focus = focus
        self.console = windows[0]
        self.popups = windows[1:]

    def stable_texts(self):
        """The texts that are the same in each run: without clock, position, running transfer and folders."""
        windows = json.loads(json.dumps(self.windows))
        for window in windows:
            window["labels"] = [label for label in window["labels"] if not VOLATILE.search(label)]
            for row in window["rows"]:
                if row["value"].startswith("/"):
                    row["value"] = "/"
        return windows

    def names(self):
        return [name["text"] for name in self.console["names"]]

    def selected(self):
        return [name["text"] for name in self.console["names"] if name["selected"]]

    def labels(self):
        return self.console["labels"]

    def button(self, text):
        """The button in the topmost window that has it; None if no window shows it."""
        for window in reversed(self.windows):
            for button in window["buttons"]:
                if button["text"] == text:
                    return button
        return None

    def can_press(self, text):
        button = self.button(text)
        return button is not None and button["enabled"]

    def row(self, name):
        for row in self.console["rows"]:
            if row["name"] == name:
                return row
        return None

    def dialog(self, title):
        for window in self.popups:
            if window.get("title") == title:
                return window
        return None

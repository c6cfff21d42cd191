"""The bad link between console and service, as a process."""

import re
import signal
import subprocess
import sys
import threading
from pathlib import Path

GUARD_SECONDS = 60  # ends only a process that hangs
PROGRAM = Path(__file__).resolve().parents[3] / "tools/badlink/badlink"
READY = re.compile(r"^badlink: listening on (\S+), ")


class BadLinkError(Exception):
    """The bad link did not start."""


class BadLink:
    """Plays a scenario between start() and close(), and writes a log."""

    def __init__(self, scenario, service_address, log):
        self.log = log
        self._command = [sys.executable, PROGRAM, "--to", service_address, "--scenario", scenario, "--log", log]
        self._process = None
        self.address = None

    def start(self):
        self._process = subprocess.Popen(self._command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        guard = threading.Timer(GUARD_SECONDS, self._process.kill)
        guard.start()
        ready = READY.match(self._process.stdout.readline())
        guard.cancel()
        if not ready:
            self.close()
            raise BadLinkError("the bad link did not start")
        self.address = ready[1]
        return self

    def close(self):
        if self._process is None:
            return
        self._process.send_signal(signal.SIGTERM)
        try:
            self._process.wait(GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process.stdout.close()
        self._process = None

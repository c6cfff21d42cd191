"""The service as a real process on free ports with its own data folder."""

import contextlib
import json
import os
import re
import shutil
import signal
import sqlite3
import ssl
import subprocess
import tempfile
import threading

BINARY = os.environ.get("KELVO_SERVICE", "")
GUARD_SECONDS = 60  # Only ends a process that hangs; no test waits for it.
READY = re.compile(r"^kelvo-service: listening on https://(\S+):(\d+), metrics on http://(\S+):(\d+)\n$")


def command(folder, *options, listen="127.0.0.1:0"):
    return [BINARY, "serve", "--data", folder, "--listen", listen, "--metrics-listen", "127.0.0.1:0", "--password-cost", "min",
            *options]


def run_refused(folder, *options, listen="127.0.0.1:0"):
    """Starts a service that should refuse to start: (exit code, stdout, stderr)."""
    result = subprocess.run(command(folder, *options, listen=listen), capture_output=True, text=True,
                            timeout=GUARD_SECONDS, check=False)
    return result.returncode, result.stdout, result.stderr


def confirm_clock(service, prefix=()):
    subprocess.run([*prefix, BINARY, "clock", "confirm", "--data", service.folder], check=True, capture_output=True,
                   timeout=GUARD_SECONDS)


class Service:
    """One data folder, and a process on it between start() and stop()."""

    def __init__(self, *options):
        self.root = tempfile.mkdtemp(prefix="kelvo-wire-")
        self.folder = os.path.join(self.root, "data")
        self.options = options
        self.secrets = set()
        self.process = None
        self._log = open(os.path.join(self.root, "log"), "w+", encoding="utf-8")

    def start(self, listen="127.0.0.1:0"):
        self.process = subprocess.Popen(self.wrap(command(self.folder, *self.options, listen=listen)),
                                        stdout=subprocess.PIPE, stderr=self._log, text=True)
        guard = threading.Timer(GUARD_SECONDS, self.process.kill)
        guard.start()
        line = self.process.stdout.readline()
        guard.cancel()
        match = READY.match(line)
        if not match:
            self.process.kill()
            self.process.wait()
            raise AssertionError(f"the service printed {line!r} instead of its addresses; log:\n{self.log()}")
        self.host, self.metrics_host = match[1], match[3]
        self.port, self.metrics_port = int(match[2]), int(match[4])
        return self

    def wrap(self, arguments):
        """Returns the command line that starts the service; a subclass may trace it."""
        return arguments

    def signal(self, number=signal.SIGTERM):
        self.process.send_signal(number)

    def wait(self):
        """The exit code."""
        try:
            code = self.process.wait(timeout=GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise AssertionError(f"the service did not stop; log:\n{self.log()}") from None
        finally:
            self.process.stdout.close()
        return code

    def stop(self):
        """Sends SIGTERM; the exit code must be 0."""
        self.signal()
        code = self.wait()
        if code != 0:
            raise AssertionError(f"exit code {code} after SIGTERM; log:\n{self.log()}")

    def kill(self):
        self.signal(signal.SIGKILL)
        self.wait()

    def running(self):
        return self.process is not None and self.process.poll() is None

    def remove(self):
        if self.running():
            self.kill()
        self._log.close()
        shutil.rmtree(self.root, ignore_errors=True)

    def log(self):
        self._log.flush()
        with open(self._log.name, encoding="utf-8", errors="replace") as file:
            return file.read()

    def check_log(self):
        """Checks that every line is a JSON object and that no secret of the tests is in the log."""
        text = self.log()
        for line in text.splitlines():
            if not isinstance(json.loads(line), dict):
                raise AssertionError(f"a log line is not an object: {line!r}")
        for secret in self.secrets:
            if secret in text:
                raise AssertionError(f"a secret is in the log: {secret!r}")

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def text(self, *parts):
        with open(self.path(*parts), encoding="utf-8") as file:
            return file.read()

    def execute(self, statement, rows):
        """Runs a statement for each row of values on the database of a stopped service."""
        with contextlib.closing(sqlite3.connect(self.path("kelvo.sqlite"))) as database, database:
            database.executemany(statement, rows)

    @property
    def ca(self):
        return self.path("ca.pem")

    @property
    def address(self):
        return f"localhost:{self.port}"

    def tls(self):
        """A client context that trusts this service only."""
        return ssl.create_default_context(cafile=self.ca)

    def admin_password(self):
        password = self.text("admin.password").strip()
        self.secrets.add(password)
        return password


class ShiftedService(Service):
    """Its clock is `prefix` ahead or behind; see wrong_clock."""

    prefix = ()

    def wrap(self, arguments):
        return [*self.prefix, *arguments]

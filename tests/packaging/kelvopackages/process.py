"""The service as a process."""

import os
import signal
import subprocess
import threading

GUARD_SECONDS = 1500  # ends a program that hangs
UNPRIVILEGED = 65534


def ended(command, **options):
    """Runs the command until it ends, with any exit status. Both outputs are text. Without `input`, stdin is empty."""
    if "input" not in options:
        options["stdin"] = subprocess.DEVNULL
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False,
                          timeout=GUARD_SECONDS, **options)


class Listening:
    """A running service. `address` is the address of its API. Leaving the context stops the service."""

    def __init__(self, command, log, **options):
        with open(log, "ab") as errors:
            self.process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL,
                                            stdout=subprocess.PIPE, stderr=errors, text=True,
                                            start_new_session=True, **options)
        guard = threading.Timer(GUARD_SECONDS, self.process.kill)
        guard.start()
        line = self.process.stdout.readline()
        guard.cancel()
        if " listening on https://" not in line:
            self.process.kill()
            self.process.wait()
            with open(log, encoding="utf-8") as errors:
                raise AssertionError(f"the first line is {line!r} instead of the addresses: {errors.read()}")
        self.address = line.split("https://")[1].split(",")[0]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # Signals the process group, because the first process may be a tracer.
        os.killpg(self.process.pid, signal.SIGTERM)
        self.status = self.process.wait(GUARD_SECONDS)
        self.process.stdout.close()

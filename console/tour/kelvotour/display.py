"""A virtual display, on which windows behave as on a real display."""

import os
import subprocess

COMMAND = "Xvfb"


class Display:
    """A separate X server. `name` is the value for DISPLAY."""

    def __init__(self, size, log):
        readable, writable = os.pipe()
        try:
            with open(log, "ab") as output:
                self.process = subprocess.Popen(
                    [COMMAND, "-displayfd", str(writable), "-screen", "0", f"{size}x24", "-nolisten", "tcp",
                     "-noreset"], stdin=subprocess.DEVNULL, stdout=output, stderr=output, pass_fds=[writable])
        except FileNotFoundError:
            os.close(readable)
            raise FileNotFoundError(f"{COMMAND} is missing; install the package xvfb") from None
        finally:
            os.close(writable)
        with open(readable, encoding="ascii") as source:
            number = source.readline().strip()  # empty if the server has ended
        if not number:
            self.process.wait()
            raise OSError(f"{COMMAND} did not start; see {log}")
        self.name = f":{number}"

    def close(self):
        self.process.terminate()
        self.process.wait()

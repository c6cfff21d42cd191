"""kelvo-herd as the load of a drill."""

import os
import re
import signal
import subprocess

from fleet import wait_until
from kelvotour.service import ServiceError

RUNS_FOR_SECONDS = 7 * 24 * 3600  # the drill ends the load
CHECK_SECONDS = 600
LARGEST_UPLOAD_BYTES = 16 << 20  # two chunks of the object store
RATES = {"downloads": 100, "sends": 40, "positions": 120, "outages": 4}
LINK_BYTES_PER_SECOND = 400_000  # of an upload: many uploads run when a part is killed
ALL_LOGGED_IN = re.compile(r"^\d+ s: logged in (\d+) of \1, ", re.MULTILINE)
PROGRESS = re.compile(r", uploads (\d+) and \d+ open, failures \d+\n")


class Herd:
    """Runs until finish(). Its consoles know only the address of HAProxy."""

    def __init__(self, program, fleet, folder, consoles, uploads_per_hour, seed):
        self.report, self.log = folder / "herd.txt", folder / "herd.log"
        rates = [word for kind, rate in (RATES | {"uploads": uploads_per_hour}).items() for word in (f"--{kind}-per-hour", str(rate))]
        with open(self.report, "wb") as out, open(self.log, "wb") as log:
            self._process = subprocess.Popen(
                [program, "--server", fleet.address, "--ca", fleet.ca, "--password-file", fleet.admin_password_file,
                 "--consoles", str(consoles), "--farms", "4", "--ramp", "5", "--duration", str(RUNS_FOR_SECONDS),
                 "--settle", "120", "--progress", "1", "--link-rate", str(LINK_BYTES_PER_SECOND), "--upload-bytes", str(LARGEST_UPLOAD_BYTES), "--seed", str(seed), "--report", folder / "herd.json", *rates],
                stdin=subprocess.DEVNULL, stdout=out, stderr=log, env=os.environ)

    def wait_for_load(self):
        wait_until(lambda: ALL_LOGGED_IN.search(self.log.read_text()), f"the herd does not log in; see {self.log}")

    def uploads(self):
        """The uploads that the service has acknowledged. Waits for the next line of progress: the last one may be a
        second old."""
        lines = []
        with open(self.log, encoding="utf-8") as log:
            log.seek(0, os.SEEK_END)
            wait_until(lambda: lines.append(log.read()) or PROGRESS.search("".join(lines)), f"the herd is silent; see {self.log}")
        return int(PROGRESS.search("".join(lines))[1])

    def require_running(self):
        if self._process.poll() is not None:
            raise ServiceError(f"the herd ended with {self._process.returncode}; see {self.log}")

    def finish(self):
        """Ends the load and waits for the checks. Returns the exit status: 0 if all invariants hold."""
        self.require_running()
        self._process.send_signal(signal.SIGINT)
        return self._process.wait(CHECK_SECONDS)

    def close(self):
        if self._process.poll() is None:
            self._process.kill()
            self._process.wait()

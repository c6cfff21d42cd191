"""A signal ends a drill with all programs of its fleet."""

import os
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
GUARD_SECONDS = 120
SKIPPED = 77


def processes_of(marker):
    """{id: command line} of the processes with this word in their environment."""
    found = {}
    for process in Path("/proc").glob("[0-9]*"):
        try:
            if marker.encode() in (process / "environ").read_bytes():
                found[int(process.name)] = (process / "cmdline").read_text(encoding="utf-8").replace("\0", " ")
        except OSError:
            pass  # it has ended
    return found


class StopTest(unittest.TestCase):
    def stop_by(self, number):
        marker = f"KELVO_DRILL_TEST={os.getpid()}-{number}"
        name, _, value = marker.partition("=")
        with tempfile.TemporaryDirectory() as folder:
            drill = subprocess.Popen(
                [sys.executable, "-B", HERE / "drill", "--build", os.environ["KELVO_BUILD"], "--kills", "1000", "--seed", "1",
                 "--out", folder], stdout=subprocess.PIPE, text=True, env=os.environ | {name: value})
            try:
                for line in drill.stdout:
                    if line.startswith("round 1:"):
                        break
                else:
                    if drill.wait() == SKIPPED:
                        self.skipTest("a part of the fleet is not installed")
                self.assertGreater(len(processes_of(marker)), 4)
                drill.send_signal(number)
                self.assertEqual(drill.wait(GUARD_SECONDS), 128 + number)
                self.assertEqual(processes_of(marker), {})
            finally:
                for left in processes_of(marker):
                    os.kill(left, signal.SIGKILL)
                drill.wait()
                drill.stdout.close()

    def test_sigterm(self):
        self.stop_by(signal.SIGTERM)

    def test_sigint(self):
        self.stop_by(signal.SIGINT)


if __name__ == "__main__":
    unittest.main()

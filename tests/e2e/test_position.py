"""Positions in the console: logs, gpsd, and wrong values of --gps. Without a service."""

import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, os.environ["KELVO_TOUR"])

from kelvoe2e import nmea  # noqa: E402
from kelvoe2e.needs import needs  # noqa: E402
from kelvotour.binaries import Binaries  # noqa: E402
from kelvotour.console import Console, own_runtime_folder  # noqa: E402

BINARIES = Binaries(*(Path(os.environ[name]) for name in ("KELVO_SERVICE", "KELVOCTL", "KELVO_CONSOLE", "KELVO_PLUGIN")))
NOWHERE = "127.0.0.1:1"
ALLOWED_DEGREES = 1e-7
LEAD_SECONDS = 10  # until gpsd runs, the console has reconnected, and gpsd has recognised the receiver


def real_logs(case):
    data = os.environ.get("KELVO_TEST_DATA")
    if not data:
        case.skipTest("KELVO_TEST_DATA is not set")
    logs = sorted((Path(data) / "nmea").glob("*.log"))
    case.assertTrue(logs, "KELVO_TEST_DATA has no logs")
    return logs


class PositionCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-position-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.log = self.folder / "drive.log"
        nmea.write_log(self.log)

    def console(self, gps, name="console"):
        console = Console(BINARIES, NOWHERE, None, self.folder / name, self.folder / f"{name}.txt", "olga", "secret",
                          options=("--gps", gps, "--show-position", "fixes"))
        self.addCleanup(lambda: console.process.poll() is None and console.kill())
        return console

    def positions(self, console):
        return [line.position for line in console.lines if line.position]

    def assert_is_log(self, console, log, positions, changes):
        """Checks that the console printed the positions and changes of the log."""
        printed = self.positions(console)
        fixes = [line for line in printed if line.get("change") in ("gained", "fix")]
        self.assertEqual(len(fixes), len(positions), log)
        for fix, (latitude, longitude, time) in zip(fixes, positions):
            self.assertAlmostEqual(fix["latitude"], float(latitude), delta=ALLOWED_DEGREES)
            self.assertAlmostEqual(fix["longitude"], float(longitude), delta=ALLOWED_DEGREES)
            self.assertAlmostEqual(float(fix["time"]), float(time), delta=0.006)
        self.assertEqual([line["change"] for line in printed if line.get("change") in ("gained", "lost")], changes)
        last = printed[-1]
        self.assertEqual((last["gained"], last["lost"]), (changes.count("gained"), changes.count("lost")))
        self.assertEqual(last["faulty"], 0)


class LogTest(PositionCase):
    def play(self, log, speed=1000):
        console = self.console(f"nmea:{log}@{speed}")
        console.wait_for(lambda line: line.position and line.position["source"] == "ended", 0, "the log's end")
        self.assertTrue(console.run("position").ok)
        self.assertEqual(console.close(), 0)
        self.assertEqual(console.stderr(), "")
        changes, positions = nmea.read(log)
        self.assert_is_log(console, log, positions, changes)
        return console

    def test_a_made_log(self):
        console = self.play(self.log)
        printed = self.positions(console)
        self.assertEqual([line["reason"] for line in printed if line.get("change") == "lost"],
                         ["void", "silent", "source ended"])
        last = printed[-1]
        self.assertEqual((last["state"], last["source"], last["quality"]), ("lost", "ended", "RTK fixed"))
        self.assertGreaterEqual(last["ageMs"], 0)

    def test_real_logs(self):
        for log in real_logs(self):
            with self.subTest(log.name):
                self.play(log)

    def test_a_signal_ends_a_log_that_plays(self):
        console = self.console(f"nmea:{self.log}")
        console.wait_for(lambda line: line.position, 0, "the log's beginning")
        self.assertEqual(console.stop(signal.SIGTERM), 128 + signal.SIGTERM)


class GpsdTest(PositionCase):
    """A gpsd that reads a log as if it were a receiver.

    gpsfake starts before the console is connected. So the log begins with lines without positions, and the console
    must not miss any position."""

    def setUp(self):
        super().setUp()
        needs(self, shutil.which("gpsfake") and Path("/usr/sbin/gpsd").exists(), "gpsfake and gpsd")

    def fake(self, log, line_seconds):
        # Bound until the test's end, so that no other process gets the port. gpsd can bind it too, because this socket
        # does not listen.
        holder = socket.socket()
        self.addCleanup(holder.close)
        holder.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        holder.bind(("127.0.0.1", 0))
        port = holder.getsockname()[1]
        environment = dict(os.environ, PATH=os.environ["PATH"] + ":/usr/sbin")
        process = subprocess.Popen(["gpsfake", "-1", "-c", str(line_seconds), "-P", str(port), "-q", str(log)],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   start_new_session=True, env=environment)
        self.addCleanup(self.end, process)
        return port

    @staticmethod
    def end(process):
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)  # kills gpsfake and its gpsd, which have their own session
        process.wait()

    def start(self, log, line_seconds):
        padded = self.folder / f"padded-{log.name}"
        padded.write_bytes(nmea.sentence("GPGSV,1,1,00").encode() * int(LEAD_SECONDS / line_seconds) + log.read_bytes())
        port = self.fake(padded, line_seconds)
        return self.console(f"gpsd:127.0.0.1:{port}", log.stem)

    def read(self, consoles):
        for log, console in consoles.items():
            # gpsfake takes the same time for each line, so there are no gaps.
            changes, positions = nmea.read(log, silence=None)
            losses = changes.count("lost")
            console.wait_for(lambda line, losses=losses: line.position and line.position["lost"] == losses, 0, "the log's end")
            self.assertTrue(console.run("position").ok)
            self.assertEqual(console.close(), 0)
            self.assert_is_log(console, log, positions, changes)

    def test_a_made_log(self):
        log = self.folder / "field.log"
        nmea.write_log(log, is_lost=False)
        self.read({log: self.start(log, 0.05)})

    def test_real_logs(self):
        self.read({log: self.start(log, 0.25) for log in real_logs(self)})


class UsageTest(PositionCase):
    def run_console(self, *options):
        environment = dict(os.environ, XDG_RUNTIME_DIR=own_runtime_folder())
        return subprocess.run([BINARIES.console, "--headless", "--plugin", BINARIES.plugin, "--service", NOWHERE,
                               "--data", self.folder / "console", *options], input="position\n", text=True,
                              capture_output=True, timeout=120, env=environment, check=False)

    def test_wrong_values_of_gps_are_refused(self):
        for gps, part in (("satellite", "none of"), ("gpsd:a:b", "HOST"), (f"nmea:{self.folder}/none", "cannot be read"),
                          (f"nmea:{self.log}@0", "speed"), ("serial:", "DEVICE"), ("serial:/dev/x@7", "baud")):
            with self.subTest(gps):
                result = self.run_console("--gps", gps)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("--gps", result.stderr)
                self.assertIn(part, result.stderr)

    def test_no_source(self):
        result = self.run_console()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.splitlines()[0],
                         'position {"faulty":0,"gained":0,"lost":0,"source":"off","state":"none"}')

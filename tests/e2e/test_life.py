"""All ways to start and end the console."""

import os
import random
import signal
import subprocess
import unittest

from kelvoe2e.case import BINARIES, PASSWORD, FarmCase
from kelvotour import archives
from kelvotour.link import Link


class LifeTest(FarmCase):
    def run_console(self, *options, text=""):
        environment = dict(os.environ, KELVO_USER=self.operator, KELVO_PASSWORD=PASSWORD)
        return subprocess.run([BINARIES.console, *map(str, options)], input=text, text=True, capture_output=True,
                              timeout=120, env=environment, check=False)

    def headless(self, *options, text="", plugin=BINARIES.plugin):
        return self.run_console("--headless", "--plugin", plugin, "--service", self.service.address, "--ca",
                                self.service.ca, "--data", self.folder / "console", *options, text=text)

    def test_starting_and_ending_without_a_service(self):
        for address in ("name.invalid:443", "127.0.0.1:1"):
            with self.subTest(address):
                result = self.headless("--service", address)
                self.assertEqual((result.returncode, result.stdout), (0, ""), result.stderr)

    def test_ending_without_a_logout_ends_the_session(self):
        self.make_inboxes()
        self.assertEqual(self.headless(text="login\n").returncode, 0)
        self.assertEqual(self.service.open_streams(0), 0)

    def test_stop_signals_end_an_idle_console(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                console = self.console()
                self.assert_ok(console.run("login"))
                self.assertEqual(console.stop(number), 128 + number)
                self.assertEqual(self.service.open_streams(0), 0)

    def test_a_stop_signal_ends_a_running_download(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        console = self.logged_in(address=link.address)
        content = archives.write_zip(self.folder / "a", {"large.bin": random.Random(6).randbytes(500_000)}).read_bytes()
        self.put(console, {"large.zip": content})
        link.hold("down", 100_000)
        self.assert_ok(console.run("download maps large.zip &"))
        link.wait_until_held()
        self.assertEqual(console.stop(signal.SIGTERM), 128 + signal.SIGTERM)
        self.assertFalse((console.data / "incoming/large.zip").exists())
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {})

    def test_a_missing_or_wrong_plugin(self):
        for plugin in ("/nowhere/libkelvo.so", BINARIES.console):
            with self.subTest(plugin):
                result = self.headless(plugin=plugin)
                self.assertEqual(result.returncode, 3)
                self.assertIn(str(plugin), result.stderr)

    def test_an_address_that_the_sdk_does_not_accept(self):
        result = self.headless("--service", "name.invalid:99999", text="status\n")
        self.assertEqual((result.returncode, result.stdout), (3, ""))
        self.assertIn("does not take requests", result.stderr)

    def test_a_faulty_script_file_does_not_start(self):
        script = self.folder / "script"
        script.write_text("status\nlist everything\n")
        result = self.headless("--script", script)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn(f"{script}:2: unknown kind", result.stderr)

    def test_a_script_file(self):
        script = self.folder / "script"
        script.write_text("# an operator without inboxes\nlogin\nlogout\nlogin\nlogout\n")
        result = self.headless("--script", script)
        self.assertEqual(result.returncode, 0, result.stdout)
        results = [line for line in result.stdout.splitlines() if not line.startswith("signal ")]
        self.assertEqual(results, ["ok login", "ok logout", "ok login", "ok logout"])

    def test_credentials_that_others_may_read(self):
        credentials = self.folder / "credentials"
        credentials.write_text(f"{self.operator}\n{PASSWORD}\n")
        credentials.chmod(0o644)
        result = self.headless("--credentials", credentials)
        self.assertEqual(result.returncode, 2)
        self.assertIn("chmod 600", result.stderr)
        credentials.chmod(0o600)
        self.assertEqual(self.headless("--credentials", credentials, text="login\n").returncode, 0)

    def test_an_impossible_data_folder(self):
        result = self.headless("--data", "/proc/kelvo")
        self.assertEqual(result.returncode, 1)
        self.assertIn("/proc/kelvo", result.stderr)

    def test_wrong_options_end_with_status_2(self):
        self.assertEqual(self.run_console("--help").returncode, 0)
        self.assertIn("kelvo-console", self.run_console("--version").stdout)
        for options in ((), ("--fullscreen",), ("--headless", "--timeout", "0")):
            with self.subTest(options):
                result = self.run_console(*options)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertTrue(result.stderr)


if __name__ == "__main__":
    unittest.main()

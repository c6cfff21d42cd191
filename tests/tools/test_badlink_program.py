"""badlink as a program: output, log and exit status."""

import json
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from kelvotools import TOOL

GUARD_SECONDS = 120  # ends a program that hangs
BADLINK = [sys.executable, TOOL / "badlink"]


def badlink(*arguments):
    return subprocess.run([*BADLINK, *arguments], text=True, capture_output=True, stdin=subprocess.DEVNULL,
                          timeout=GUARD_SECONDS, check=False)


class UsageTest(unittest.TestCase):
    def setUp(self):
        self.file = Path(self.enterContext(tempfile.TemporaryDirectory())) / "own.toml"

    def test_help_names_every_option(self):
        result = badlink("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for option in ("--listen", "--to", "--scenario", "--seed", "--log", "--check", "--list"):
            self.assertIn(option, result.stdout)

    def test_the_list_names_every_shipped_scenario(self):
        result = badlink("--list")
        self.assertEqual([line.split()[0] for line in result.stdout.splitlines()],
                         sorted(path.stem for path in (TOOL / "scenarios").iterdir()))

    def test_check_prints_the_errors_of_a_scenario(self):
        for name in ("rural", TOOL / "scenarios/tunnel.toml"):
            result = badlink("--check", name)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertIn("no errors", result.stdout)
        self.file.write_text("[[rule]]\ndo = 'cut'\nafter = 3\n\n[[outage]]\n")
        result = badlink("--check", self.file)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual([line.split(": ")[1] for line in result.stderr.splitlines()],
                         [f"{self.file}:3", f"{self.file}:5"])

    def test_the_exit_status_differs_for_a_wrong_command_line_and_a_wrong_scenario(self):
        for arguments, status in (
                ((), 2), (("--to", "127.0.0.1:1"), 2), (("--scenario", "rural"), 2),
                (("--to", "127.0.0.1", "--scenario", "rural"), 2),
                (("--to", "127.0.0.1:x", "--scenario", "rural"), 2),
                (("--to", "127.0.0.1:1", "--scenario", "rural", "--seed", "x"), 2),
                (("--to", "127.0.0.1:1", "--scenario", "nonesuch"), 1),
                (("--to", "127.0.0.1:1", "--scenario", "rural", "--log", "/nowhere/log"), 1)):
            with self.subTest(arguments):
                result = badlink(*arguments)
                self.assertEqual((result.returncode, result.stdout), (status, ""))
                self.assertTrue(result.stderr)
                self.assertNotIn("Traceback", result.stderr)

    def test_a_port_in_use_is_an_error(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            result = badlink("--listen", "127.0.0.1:%d" % taken.getsockname()[1], "--to", "127.0.0.1:1",
                             "--scenario", "perfect")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("in use", result.stderr)


class RunTest(unittest.TestCase):
    def setUp(self):
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.file, self.log = folder / "own.toml", folder / "log"
        self.file.write_text("[[rule]]\ndo = 'corrupt'\nafter_bytes = 2\nbit = 0\n")
        self.service = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        self.service.settimeout(GUARD_SECONDS)

    def start(self, host="127.0.0.1"):
        service = "127.0.0.1:%d" % self.service.getsockname()[1]
        self.process = subprocess.Popen(
            [*BADLINK, "--listen", f"{host}:0", "--to", service, "--scenario", self.file, "--seed", "7",
             "--log", self.log],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(self.process.communicate)
        self.addCleanup(self.process.kill)
        ready = self.process.stdout.readline()
        words = ready.split()
        address = words[3].rstrip(",")
        self.assertEqual(ready, f"badlink: listening on {address}, to {service}, scenario own, seed 7\n")
        name, port = address.rsplit(":", 1)
        return name.strip("[]"), int(port)

    def test_a_signal_ends_it_and_resets_the_open_connections(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number):
                address = self.start()
                with socket.create_connection(address, GUARD_SECONDS) as client, self.service.accept()[0] as service:
                    service.settimeout(GUARD_SECONDS)
                    client.sendall(b"abcd")
                    self.assertEqual(service.makefile("rb").read(4), b"abbd")
                    self.process.send_signal(number)
                    for each in (client, service):
                        with self.assertRaises(ConnectionResetError):
                            each.recv(1)
                output = self.process.communicate(timeout=GUARD_SECONDS)
                self.assertEqual((self.process.returncode, output), (0, ("", "")))
                events = [json.loads(line) for line in self.log.read_text().splitlines()]
                self.assertEqual([event["did"] for event in events], ["opened", "corrupt", "closed"])
                self.assertEqual({key: events[1][key] for key in ("connection", "direction", "byte", "bit")},
                                 {"connection": 1, "direction": "both", "byte": 2, "bit": 0})
                self.assertGreaterEqual(events[2]["at"], events[0]["at"])

    def test_it_listens_on_ipv6_as_well(self):
        try:
            socket.create_server(("::1", 0), family=socket.AF_INET6).close()
        except OSError as failure:
            self.skipTest(f"no IPv6 here: {failure}")
        address = self.start("[::1]")
        with socket.create_connection(address, GUARD_SECONDS) as client, self.service.accept()[0] as service:
            client.sendall(b"a")
            self.assertEqual(service.recv(1), b"a")


if __name__ == "__main__":
    unittest.main()

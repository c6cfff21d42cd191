"""kelvo-herd against a real service: the counts of its report, a killed service, and its refusals."""

import collections
import json
import os
import re
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "wire"))

from kelvowire.farm import log_in_admin  # noqa: E402
from kelvowire.service import GUARD_SECONDS, Service  # noqa: E402

HERD = os.environ.get("KELVO_HERD", "")
PROGRESS = re.compile(r"streams (\d+), uploads (\d+) and (\d+) open, failures (\d+)")
Progress = collections.namedtuple("Progress", "streams uploads open failures")
# Many actions in a few seconds, and no lost links: a console opens its stream once.
BUSY = ("--uploads-per-hour", "1800", "--downloads-per-hour", "900", "--sends-per-hour", "3600",
        "--positions-per-hour", "1200", "--equipment-per-hour", "1200", "--lists-per-hour", "1200",
        "--outages-per-hour", "0", "--upload-bytes", "50000")


class HerdTest(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)
        self.service.start()
        self.server = self.service  # that the herd talks to
        self.report = Path(self.service.root) / "report.json"

    def command(self, *options):
        return [HERD, "--server", self.server.address, "--ca", self.server.ca, "--password-file",
                self.service.path("admin.password"), "--report", str(self.report), *options]

    def herd(self, *options, command=None):
        """Runs the herd to its end."""
        return subprocess.run(command or self.command(*options), capture_output=True, text=True, timeout=GUARD_SECONDS,
                              check=False, env={})

    def start(self, *options):
        """Starts a herd that runs until interrupt()."""
        self.process = subprocess.Popen(self.command(*options, "--duration", "3600", "--progress", "1"),
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env={})
        self.addCleanup(self.process.kill)

    def wait_for(self, enough):
        """The first line of progress that is enough."""
        for line in self.process.stderr:
            match = PROGRESS.search(line)
            if match and enough(now := Progress(*map(int, match.groups()))):
                return now
        return self.fail(self.process.communicate()[0])

    def interrupt(self, code=0):
        """Ends the herd as Ctrl-C does; returns its report. `code` is the expected exit code."""
        self.process.send_signal(signal.SIGINT)
        output, errors = self.process.communicate(timeout=GUARD_SECONDS)
        self.assertEqual(self.process.returncode, code, output + errors)
        return output

    def figures(self):
        return json.loads(self.report.read_text())

    def usage(self):
        """The files and the unfinished uploads that the service counts in all farms."""
        admin = log_in_admin(self.service)
        self.addCleanup(admin.close)
        farms = admin.get("/farms").json()["farms"]
        usages = [admin.get(f"/farms/{farm['id']}/usage").json()["usage"] for farm in farms]
        return tuple(sum(usage[name] for usage in usages) for name in ("files", "uploads"))


class Run(HerdTest):
    def test_counts_what_the_service_has(self):
        self.start("--consoles", "50", "--farms", "2", "--ramp", "1", *BUSY)
        self.wait_for(lambda now: now.streams == 52 and now.uploads >= 100)
        output = self.interrupt()
        report = self.figures()
        figures = {name: row["count"] for name, row in report["figures"].items()}
        for name in ("login", "stream", "logout"):
            self.assertEqual(figures[name], 52, name)  # with two offices
        self.assertGreater(min(figures[name] for name in ("upload", "send", "download", "position", "list")), 0, figures)
        self.assertGreater(figures["equipment"], 50)
        self.assertEqual(figures["fetch-report"], figures["download"])
        stored = figures["upload"] + 25 * figures["send"]
        self.assertEqual(report["invariants"]["stored"], {"checked": stored, "broken": 0})
        self.assertEqual(report["contents"], {"stored": stored, "chosen": stored, "read": stored})
        self.assertEqual(report["invariants"]["stored-bytes"], {"checked": stored, "broken": 0})
        self.assertEqual(report["invariants"]["same-files"], {"checked": 52, "broken": 0})
        # A console sees its own uploads. It may have got a file of the office with its snapshot.
        events = figures["event"] + figures["resumed-event"]
        self.assertTrue(figures["upload"] <= events <= 2 * stored, (figures, stored))
        self.assertEqual(self.usage(), (stored, 0))
        self.assertEqual((report["open_uploads"], report["unchecked_farms"], report["unchecked_consoles"]), (0, 0, 0))
        self.assertEqual([row["failures"] for row in report["figures"].values() if row["failures"]], [])
        self.assertIn("holds  An upload is on the service once.", output)

    def test_reads_a_sample_of_many_contents_back(self):
        self.start("--consoles", "4", "--farms", "2", "--ramp", "0", "--read-back", "3", *BUSY)
        self.wait_for(lambda now: now.uploads >= 10)
        output = self.interrupt()
        contents = self.figures()["contents"]
        self.assertEqual((contents["chosen"], contents["read"]), (3, 3))
        self.assertIn(f"contents read back: 3 of {contents['stored']}\n", output)

    def test_closes_connections_if_too_few_files_may_be_open(self):
        command = ["prlimit", "--nofile=300:300", *self.command("--consoles", "200", "--farms", "1", "--ramp", "2",
                                                                "--duration", "2", "--positions-per-hour", "3600")]
        result = self.herd(command=command)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertIn("only 300 open files", result.stderr)
        figures = self.figures()["figures"]
        self.assertEqual(figures["login"]["count"], 201)
        self.assertGreater(figures["connect"]["count"], 2 * 201)

    def test_takes_the_next_server_if_one_does_not_answer(self):
        with socket.socket() as closed:
            closed.bind(("127.0.0.1", 0))
            other = f"127.0.0.1:{closed.getsockname()[1]}"
            result = self.herd("--consoles", "4", "--ramp", "0", "--duration", "0", "--server", other)
        self.assertEqual(result.returncode, 0, result.stderr)
        figures = self.figures()["figures"]
        self.assertEqual(figures["stream"]["count"], 5)
        self.assertIn("Connection refused", figures["login"]["failures"])

    def test_uses_its_accounts_again_and_removes_only_its_own_farms(self):
        admin = log_in_admin(self.service)
        self.addCleanup(admin.close)
        admin.post("/farms", json={"name": "kelvo-herd-0001 of Hill Farm"})
        for _ in range(2):
            result = self.herd("--consoles", "2", "--ramp", "0", "--duration", "0")
            self.assertEqual(result.returncode, 0, result.stderr)
            figures = self.figures()["figures"]
            self.assertEqual(figures["login"]["count"], 3)
            self.assertEqual(figures["account"]["failures"], {})
        self.assertEqual(self.herd("--clean").returncode, 0)
        self.assertEqual([farm["name"] for farm in admin.get("/farms").json()["farms"]],
                         ["kelvo-herd-0001 of Hill Farm"])


class KilledService(HerdTest):
    def test_loses_and_doubles_no_upload(self):
        # At this rate, a kill finds uploads half way.
        self.start("--consoles", "20", "--farms", "2", "--ramp", "1", *BUSY, "--link-rate", "20000")
        before = self.wait_for(lambda now: now.uploads >= 20 and now.open >= 5)
        address = f"127.0.0.1:{self.service.port}"
        self.service.kill()
        self.wait_for(lambda now: now.failures > before.failures + 20)
        self.service.start(listen=address)
        self.wait_for(lambda now: now.uploads >= before.uploads + 20)
        self.interrupt()
        report = self.figures()
        uploads = report["figures"]["upload"]
        self.assertTrue(uploads["failures"], report)
        stored = uploads["count"] + 10 * report["figures"]["send"]["count"]
        self.assertEqual(report["invariants"]["stored"], {"checked": stored, "broken": 0})
        self.assertEqual(report["open_uploads"], 0)
        self.assertEqual(self.usage(), (stored, 0))


class Refusals(HerdTest):
    def refused(self, result, text):
        self.assertEqual(result.returncode, 2, result.stdout + result.stderr)
        self.assertIn(text, result.stderr)

    def test_says_why_it_does_not_start(self):
        wrong = Path(self.service.root) / "wrong"
        wrong.write_text("not the password\n")
        server, ca = ("--server", self.service.address), ("--ca", self.service.ca)
        password = ("--password-file", self.service.path("admin.password"))
        for options, text in (((*server, *ca), "KELVO_HERD_PASSWORD"),
                              ((*server, *ca, "--password-file", str(wrong)), "refuses the name or the password"),
                              ((*server, *password), "certificate"),
                              ((*server, *password, "--ca", str(wrong)), "no certificates"),
                              ((*ca, *password, "--server", "localhost"), "HOST:PORT"),
                              ((*server, *ca, *password, "--consoles", "5", "--farms", "6"), "--farms")):
            with self.subTest(text):
                self.refused(self.herd(command=[HERD, *options]), text)


if __name__ == "__main__":
    unittest.main()

"""The end of kelvo-herd: what it checks, its exit codes, and its way with a service that lies, refuses or hangs."""

import os
import signal
import subprocess
import threading
import unittest

from lying_front import LyingFront
from test_herd import GUARD_SECONDS, HerdTest

KINDS = ("uploads", "downloads", "sends", "positions", "equipment", "lists", "outages")


def rates(**per_hour):
    """The options for these actions, and no others."""
    return [text for kind in KINDS for text in (f"--{kind}-per-hour", str(per_hour.get(kind, 0)))]


class EndTest(HerdTest):
    def setUp(self):
        super().setUp()
        self.server = self.front = LyingFront(self.service)
        self.addCleanup(self.front.remove)
        self.front.start()

    def command(self, *options):
        return super().command("--ramp", "0", "--upload-bytes", "20000", *options)

    def invariant(self, name):
        row = self.figures()["invariants"][name]
        return row["checked"], row["broken"]

    def broken(self):
        return {name: row["broken"] for name, row in self.figures()["invariants"].items() if row["broken"]}


class Lies(EndTest):
    def test_finds_other_bytes_than_those_sent(self):
        def change(exchange):
            if exchange.ends_with("GET", "/content"):
                exchange.body = exchange.body[:-1] + bytes([exchange.body[-1] ^ 1])
        self.front.change = change
        self.start("--consoles", "1", *rates(uploads=36000))
        self.wait_for(lambda now: now.uploads >= 3)
        output = self.interrupt(1)
        contents = self.figures()["contents"]
        self.assertEqual(contents["read"], contents["stored"])
        self.assertEqual(self.broken(), {"stored-bytes": contents["read"]})
        self.assertIn("BROKEN A stored file that is read back has the bytes that were sent.", output)

    def test_finds_a_content_that_the_service_refuses(self):
        def change(exchange):
            if exchange.ends_with("GET", "/content"):
                exchange.status = 404
        self.front.change = change
        self.start("--consoles", "1", "--read-back", "1", *rates(uploads=36000))
        self.wait_for(lambda now: now.uploads >= 1)
        self.interrupt(1)
        self.assertEqual(self.broken(), {"stored-bytes": 1})

    def test_finds_an_event_that_never_comes(self):
        self.front.change_events = lambda exchange, data: b"" if b"file-added" in data else data
        self.start("--consoles", "1", *rates(uploads=36000))
        self.wait_for(lambda now: now.uploads >= 1)
        self.interrupt(1)
        self.assertEqual(self.broken(), {"same-files": 2})  # the console and the office


class NothingIsBroken(EndTest):
    """What a checker may take for a lost file or a lost event."""

    def test_if_an_upload_ends_during_the_check(self):
        released, event_passed, is_ending = threading.Event(), threading.Event(), threading.Event()

        def before(exchange):
            if exchange.ends_with("POST", "/uploads"):
                released.wait(GUARD_SECONDS)

        def change(exchange):
            if exchange.ends_with("GET", "/account") and is_ending.is_set():
                released.set()  # This answer does not have the file, and the stream has it before the answer.
                event_passed.wait(GUARD_SECONDS)

        def change_events(exchange, data):
            if b"file-added" in data:
                event_passed.set()
            return data
        self.front.before, self.front.change, self.front.change_events = before, change, change_events
        self.start("--consoles", "1", "--settle", "0", *rates(uploads=36000))
        self.wait_for(lambda now: now.streams == 2 and now.open == 1)
        is_ending.set()
        output = self.interrupt(4)
        self.assertTrue(event_passed.is_set())
        self.assertEqual(self.broken(), {})
        self.assertEqual(self.invariant("stored-once"), (1, 0))
        self.assertEqual(self.invariant("same-files"), (2, 0))
        self.assertIn("NOT CHECKED: 1 upload\n", output)

    def test_if_streams_are_cut_off_unnoticed(self):
        self.start("--consoles", "2", *rates(sends=3600))
        before = self.wait_for(lambda now: now.streams == 3)
        self.front.mute_streams()
        self.wait_for(lambda now: now.uploads >= before.uploads + 2)
        self.interrupt(0)
        self.assertEqual(self.invariant("same-files"), (3, 0))
        self.assertEqual(self.figures()["figures"]["stream"]["count"], 6)


class NotChecked(EndTest):
    def test_a_console_without_a_stream(self):
        def change(exchange):
            if exchange.ends_with("GET", "/events") and exchange.token == self.front.tokens["kelvo-herd-0001-001"]:
                exchange.status = 503
        self.front.change = change
        self.start("--consoles", "2", "--settle", "0", "--check-limit", "6", *rates())
        self.wait_for(lambda now: now.streams == 2)
        output = self.interrupt(4)
        self.assertIn("NOT CHECKED: 1 console\n", output)
        self.assertEqual(self.figures()["unchecked_consoles"], 1)
        self.assertEqual(self.invariant("same-files"), (2, 0))

    def test_anything_if_the_service_hangs(self):
        self.start("--consoles", "2", "--check-limit", "3", *rates())
        self.wait_for(lambda now: now.streams == 3)
        self.service.signal(signal.SIGSTOP)
        os.waitpid(self.service.process.pid, os.WUNTRACED)  # until it has stopped
        output = self.interrupt(3)
        self.assertIn("NOT CHECKED: 1 farm, 3 consoles\n", output)
        self.assertIn("The checks did not come to their end.", output)

    def test_anything_if_the_service_is_dead(self):
        self.start("--consoles", "2", "--settle", "1", "--check-limit", "3", *rates())
        self.wait_for(lambda now: now.streams == 3)
        self.front.server.shutdown()
        self.front.server.server_close()
        self.service.kill()
        self.interrupt(3)
        self.assertFalse(self.figures()["checked"])


class Refused(EndTest):
    def test_a_console_asks_again_for_its_account(self):
        refused = set()

        def change(exchange):
            if exchange.ends_with("GET", "/account") and exchange.token not in refused:
                refused.add(exchange.token)
                exchange.status = 500
        self.front.change = change
        self.start("--consoles", "2", *rates())
        self.wait_for(lambda now: now.streams == 3)
        self.interrupt(0)
        self.assertEqual(self.figures()["figures"]["snapshot"]["failures"], {"HTTP 500": 3})

    def test_the_check_asks_again_for_the_files_of_a_farm(self):
        refusals = []

        def change(exchange):
            if exchange.ends_with("GET", "/account") and refusals:
                exchange.status = refusals.pop()
        self.front.change = change
        self.start("--consoles", "2", *rates())
        self.wait_for(lambda now: now.streams == 3)
        refusals += [500, 404]
        self.interrupt(0)
        self.assertEqual(refusals, [])
        self.assertEqual(self.invariant("same-files"), (3, 0))

    def test_a_console_whose_session_ends_logs_in_again(self):
        self.start("--consoles", "1", *rates())
        self.wait_for(lambda now: now.streams == 2)
        for _ in ("the administrator", "the office", "the console"):
            self.assertTrue(self.front.logins.acquire(blocking=False))
        self.front.end_session("kelvo-herd-0001-001")
        self.assertTrue(self.front.logins.acquire(timeout=GUARD_SECONDS))
        self.interrupt(0)
        figures = self.figures()["figures"]
        self.assertEqual((figures["login"]["count"], figures["stream"]["count"], figures["logout"]["count"]), (3, 3, 2))
        self.assertFalse(self.front.logins.acquire(blocking=False))  # Nobody logs in after the logout.


class Figures(EndTest):
    def test_a_latency_begins_when_the_schedule_wanted_the_action(self):
        released, is_sent = threading.Event(), threading.Event()

        def before(exchange):
            if exchange.ends_with("PUT", "/environment"):
                released.wait(GUARD_SECONDS)

        def change(exchange):
            if exchange.ends_with("POST", "/positions"):
                is_sent.set()
        self.front.before, self.front.change = before, change
        self.start("--consoles", "1", *rates(positions=3600))
        for _ in range(4):  # seconds, in which positions become due
            self.wait_for(lambda now: True)
        released.set()
        self.assertTrue(is_sent.wait(GUARD_SECONDS))
        self.interrupt(0)
        figures = self.figures()["figures"]
        self.assertGreater(figures["start-delay"]["max_ms"], 0)
        self.assertGreaterEqual(figures["position"]["max_ms"], figures["start-delay"]["max_ms"])

    def test_says_that_the_report_could_not_be_written(self):
        options = ("--consoles", "1", "--duration", "0", *rates())
        with open("/dev/full", "w", encoding="utf-8") as full:
            result = subprocess.run(self.command(*options), stdout=full, stderr=subprocess.PIPE, text=True,
                                    timeout=GUARD_SECONDS, check=False, env={})
        self.assertEqual(result.returncode, 5, result.stderr)
        self.assertIn("The report could not be printed.", result.stderr)
        self.report = "/dev/full"
        result = self.herd(*options)
        self.assertEqual(result.returncode, 5, result.stderr)
        self.assertIn("--report: /dev/full could not be written.", result.stderr)


if __name__ == "__main__":
    unittest.main()

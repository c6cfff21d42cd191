"""Logins that fail: the error text says what happened and what to do, and the console still works."""

import re
import socket
import subprocess
import unittest

from kelvoe2e.case import PASSWORD, FarmCase
from kelvoe2e.needs import needs
from kelvotour.link import Link


def without_numbers(text):
    """Replaces all numbers, because the seconds left depend on the machine's speed."""
    return re.sub(r"[0-9]+", "N", text)


class LoginFailuresTest(FarmCase):
    service_options = ("--password-cost", "min", "--login-attempts", "3")

    def failed_text(self, console):
        result = console.run("login")
        self.assertFalse(result.ok)
        texts = [line.arguments["text"] for line in result.signals("KelvoLoginFailed")]
        self.assertEqual(len(texts), 1)
        self.assert_two_lines(texts[0])
        self.assertFalse(result.signals("KelvoLoggedIn"))
        flags = console.run("status").value("status")
        self.assertFalse(flags["loggedIn"] or flags["loginInProgress"])
        return texts[0]

    def assert_says(self, console, words):
        self.assertEqual(self.failed_text(console).partition("\n")[0], words)

    def add_report(self, console):
        report = console.data / "to-service/curves/one.crv"
        report.parent.mkdir(parents=True, exist_ok=True)
        report.write_bytes(b"curve")
        return report

    def assert_still_works(self, console):
        self.assert_ok(console.run("list maps"))
        self.assertEqual(console.close(), 1)

    def test_unknown_host(self):
        console = self.console(address="name.invalid:443")
        self.assert_says(console, "The service was not found on the internet.")
        self.assert_says(console, "The service was not found on the internet.")
        self.assert_still_works(console)

    def test_no_route(self):
        without_network = ("unshare", "--map-root-user", "--net")  # a namespace without any interface that is up
        works = subprocess.run([*without_network, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0
        needs(self, works, "the right to create a network namespace")
        console = self.console(address="192.0.2.1:443", prefix=without_network)
        self.assert_says(console, "There is no way to the service.")
        self.assert_still_works(console)

    def dead_address(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            return f"127.0.0.1:{taken.getsockname()[1]}"

    def test_a_dead_service_behind_a_proxy(self):
        link = Link(self.dead_address())
        self.addCleanup(link.close)
        console = self.console(address=link.address)
        self.assertEqual(self.failed_text(console),
                         "The connection to the service was lost.\n"
                         "The service may be down, or the mobile signal weak. Try again in a few minutes.")
        self.assertEqual(console.run("link").value("link")["problem"], "no answer")
        self.assert_still_works(console)

    def test_refused_port(self):
        console = self.console(address=self.dead_address())
        report = self.add_report(console)
        self.assert_says(console, "The service does not answer.")
        self.assertFalse(console.run("upload curves one.crv").ok)
        self.assertEqual(report.read_bytes(), b"curve")
        self.assert_still_works(console)

    def test_unknown_authority(self):
        console = self.console(ca="/etc/hostname")  # readable, and no certificate
        text = self.failed_text(console)
        self.assertEqual(text.partition("\n")[0], "The service could not prove its identity.")
        self.assertNotIn("password", text.lower())
        self.assert_still_works(console)

    def test_wrong_password_and_then_the_right_one(self):
        console = self.console(password="wrong, quite wrong")
        text = self.failed_text(console)
        self.assertNotIn("wrong, quite wrong", text)
        self.assert_still_works(console)
        self.assert_ok(self.console().run("login"))

    def test_locked_out_account(self):
        console = self.console(password="wrong, quite wrong")
        refused = {self.failed_text(console) for _ in range(3)}
        self.assertEqual(len(refused), 1)
        locked = self.failed_text(console)
        self.assertNotIn(locked, refused)
        self.assert_still_works(console)
        right = self.console()
        self.assertEqual(without_numbers(self.failed_text(right)), without_numbers(locked))

    def test_disabled_account(self):
        self.admin.disable_user(self.operator)
        console = self.console()
        disabled = self.failed_text(console)
        self.assert_still_works(console)
        wrong = self.console(password="wrong, quite wrong")
        self.assertNotEqual(self.failed_text(wrong), disabled)

    def test_the_password_is_in_no_log(self):
        self.failed_text(self.console(password="wrong, quite wrong"))
        self.assert_ok(self.console().run("login"))
        for path in self.root.rglob("*"):
            if path.is_file() and path.suffix in (".log", ".stderr", ".json"):
                content = path.read_bytes()
                self.assertNotIn(b"wrong, quite wrong", content, path)
                self.assertNotIn(PASSWORD.encode(), content, path)


if __name__ == "__main__":
    unittest.main()

"""Sessions that the service ends."""

import random
import unittest

from kelvoe2e.case import FarmCase
from kelvotour import archives
from kelvotour.link import Link

NEW_PASSWORD = "eight brown fields"


class LostSessionTest(FarmCase):
    service_options = ("--password-cost", "min", "--login-attempts", "3")

    def test_a_disabled_account_is_logged_out(self):
        console = self.logged_in()
        mark = console.mark()
        self.admin.disable_user(self.operator)
        console.wait_for_signal("KelvoLoggedOut", mark)
        self.assertFalse(console.run("status").value("status")["loggedIn"])

    def test_a_new_password_ends_the_session_and_does_not_lock_the_account(self):
        console = self.logged_in()
        before, mark = self.logins(), console.mark()
        self.admin.run("user", "passwd", self.operator, KELVOCTL_NEW_PASSWORD=NEW_PASSWORD)
        console.wait_for_signal("KelvoLoggedOut", mark)
        self.assert_ok(console.run("list maps"))
        self.assertEqual(self.logins(), before, "the console logged in without a command")
        self.assertEqual(self.refusal(console), "The user name or the password is wrong.")
        self.assertEqual(self.logins(), before + 1)
        # This login would be locked out if the console had tried more often than commanded.
        self.assertEqual(self.refusal(console), "The user name or the password is wrong.")
        self.assert_ok(self.console(password=NEW_PASSWORD).run("login"))

    def test_a_login_to_a_disabled_account_fails_and_is_not_retried(self):
        console = self.logged_in()
        before, mark = self.logins(), console.mark()
        self.admin.disable_user(self.operator)
        console.wait_for_signal("KelvoLoggedOut", mark)
        self.assertEqual(self.refusal(console), "This account is disabled.")
        self.assertEqual(self.logins(), before + 1)

    def logins(self):
        """The number of login requests so far."""
        return self.service.requests().get(("POST", "/sessions"), 0)

    def refusal(self, console):
        """Logs in, which must fail. Returns the first line of the error text."""
        result = console.run("login")
        self.assertFalse(result.ok)
        text, = (line.arguments["text"] for line in result.signals("KelvoLoginFailed"))
        self.assert_two_lines(text)
        return text.partition("\n")[0]

    def test_operations_without_a_session_leave_records_and_files(self):
        console = self.logged_in()
        self.put(console, {"a.zip": b"x"})
        curve = console.data / "to-service/curves/one.crv"
        curve.write_bytes(b"curve")
        mark = console.mark()
        self.admin.disable_user(self.operator)
        console.wait_for_signal("KelvoLoggedOut", mark)
        for command in ("download maps a.zip", "delete maps a.zip", "upload curves one.crv"):
            with self.subTest(command):
                result = console.run(command)
                self.assertFalse(result.ok)
                self.assertEqual(len(result.errors), 1)
        self.assertEqual(curve.read_bytes(), b"curve")
        self.assertEqual(self.files_at_service("To Console"), ["a.zip"])
        self.assertEqual(self.files_at_service("Curves"), [])

    def lose_session_in_the_middle(self, console, link, command, side):
        """Holds the link, ends the session, and releases the link after the command has ended."""
        link.hold(side, 50_000)
        mark = console.mark()
        self.assert_ok(console.run(command + " &"))
        link.wait_until_held()
        self.admin.disable_user(self.operator)
        result = console.finish(command.split()[0], mark)
        link.release()
        self.assertFalse(result.ok)
        return result

    def test_an_upload_ends_when_its_session_ends(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        console = self.logged_in(address=link.address)
        curve, content = console.data / "to-service/curves/one.crv", random.Random(5).randbytes(200_000)
        curve.write_bytes(content)
        self.lose_session_in_the_middle(console, link, "upload curves one.crv", "up")
        self.assertEqual(curve.read_bytes(), content)
        self.assertEqual(self.files_at_service("Curves"), [])

    def test_a_download_ends_when_its_session_ends(self):
        link = Link(self.service.address)
        self.addCleanup(link.close)
        console = self.logged_in(address=link.address)
        archive = archives.write_zip(self.folder / "a.zip", {"a.bin": random.Random(6).randbytes(200_000)})
        self.put(console, {"a.zip": archive.read_bytes(), "b.zip": b"x"})
        result = self.lose_session_in_the_middle(console, link, "download maps a.zip b.zip", "down")
        text = "Your session has ended.\nLog in again."
        self.assertEqual(result.errors, [{"file": name, "text": text} for name in ("a.zip", "b.zip")])
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"), {})
        self.assertEqual(sorted(self.files_at_service("To Console")), ["a.zip", "b.zip"])

    def test_logging_out_ends_the_session_on_the_service(self):
        console = self.logged_in()
        self.assertEqual(self.service.open_streams(1), 1)
        self.assert_ok(console.run("logout"))
        self.assertEqual(self.service.open_streams(0), 0)
        result = console.run("logout")
        self.assert_ok(result)
        self.assertFalse(result.signals("KelvoLogoutRequested"))


if __name__ == "__main__":
    unittest.main()

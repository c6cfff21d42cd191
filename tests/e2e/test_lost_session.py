"""Sessions that the service ends."""

import unittest

from kelvoe2e.case import PASSWORD, FarmCase


class LostSessionTest(FarmCase):
    def test_a_disabled_account_is_logged_out(self):
        console = self.logged_in()
        mark = console.mark()
        self.admin.disable_user(self.operator)
        console.wait_for_signal("KelvoLoggedOut", mark)
        self.assertFalse(console.run("status").value("status")["loggedIn"])

    def test_a_new_password_ends_the_session_and_the_console_can_log_in_again(self):
        console = self.logged_in()
        mark = console.mark()
        self.admin.run("user", "passwd", self.operator, KELVOCTL_NEW_PASSWORD=PASSWORD)
        console.wait_for_signal("KelvoLoggedOut", mark)
        self.assert_ok(console.run("login"))

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
        self.assertEqual(self.held("To Console"), ["a.zip"])
        self.assertEqual(self.held("Curves"), [])

    def test_logging_out_ends_the_session_on_the_service(self):
        console = self.logged_in()
        self.assertEqual(self.service.open_streams(), 1)
        self.assert_ok(console.run("logout"))
        self.assertEqual(self.service.open_streams(), 0)
        result = console.run("logout")
        self.assert_ok(result)
        self.assertFalse(result.signals("KelvoLogoutRequested"))


if __name__ == "__main__":
    unittest.main()

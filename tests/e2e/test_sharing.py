"""The console's position reaches the office, whether the login or the fix comes first."""

from kelvoe2e.sharing import SharingCase


class SharingTest(SharingCase):
    def test_a_fix_before_the_login(self):
        console = self.start()
        self.receiver.move(41)
        self.wait_for_change(console, "gained")
        self.assert_ok(console.run("login"))
        self.wait_for_move(41)

    def test_a_fix_after_the_login(self):
        console = self.start()
        self.assert_ok(console.run("login"))
        self.receiver.move(42)
        self.wait_for_move(42)

    def test_a_fix_that_is_lost_and_returns(self):
        console = self.start()
        self.assert_ok(console.run("login"))
        self.receiver.move(43)
        self.wait_for_move(43)
        mark = console.mark()
        self.receiver.move(None)
        self.wait_for_change(console, "lost", mark)
        self.receiver.move(44)
        self.wait_for_change(console, "gained", mark)
        self.wait_for_move(44)
        last = console.run("position").value("position")
        self.assertEqual((last["state"], last["latitude"], last["quality"]), ("fix", 44, "RTK fixed"))

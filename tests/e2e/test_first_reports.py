"""Each of 200 logins with a fix tells the office where the console is, at once."""

import time

from kelvoe2e.sharing import SharingCase

LOGINS = 200
# The worker reports once a minute by itself: what comes later than this is not the login's.
FIRST_REPORT_SECONDS = 30


class FirstReportsTest(SharingCase):
    def test_every_login_reports_the_fix_that_is_there(self):
        console = self.start(shown="fixes")
        began = time.monotonic()
        slowest = 0
        for login in range(LOGINS):
            # A place of its own, which the console has before the login: no report but this login's can hold it.
            latitude = 1 + login % 80
            mark = console.mark()
            self.receiver.move(latitude)
            console.wait_for(lambda line, latitude=latitude: line.position and line.position.get("latitude") == latitude,
                             mark, "the new place")
            with self.subTest(login=login):
                sent = time.monotonic()
                self.assert_ok(console.run("login"))
                self.wait_for_move(latitude)
                took = time.monotonic() - sent
                self.assertLess(took, FIRST_REPORT_SECONDS)
                slowest = max(slowest, took)
                self.assert_ok(console.run("logout"))
        print(f"{LOGINS} logins and first reports in {time.monotonic() - began:.1f} s, the slowest in {slowest:.3f} s")

"""Each of 200 logins with a fix reports the console's position to the office at once."""

import time

from kelvoe2e.sharing import SharingCase

LOGINS = 200
# The worker also reports once a minute. A later report would not be the login's.
FIRST_REPORT_SECONDS = 30


class FirstReportsTest(SharingCase):
    def test_every_login_reports_the_current_fix(self):
        console = self.start(shown="fixes")
        began = time.monotonic()
        slowest = 0
        for login in range(LOGINS):
            # The console gets a new position before the login, so only this login's report can have it.
            latitude = 1 + login % 80
            mark = console.mark()
            self.receiver.move(latitude)
            console.wait_for(lambda line, latitude=latitude: line.position and line.position.get("latitude") == latitude,
                             mark, "the new position")
            with self.subTest(login=login):
                sent = time.monotonic()
                self.assert_ok(console.run("login"))
                self.wait_for_move(latitude)
                took = time.monotonic() - sent
                self.assertLess(took, FIRST_REPORT_SECONDS)
                slowest = max(slowest, took)
                self.assert_ok(console.run("logout"))
        print(f"{LOGINS} logins and first reports in {time.monotonic() - began:.1f} s, the slowest in {slowest:.3f} s")

"""A start with a wrong clock destroys nothing: the bin, unfinished uploads and sessions are there when it is right again."""

import signal
import time
import unittest

from kelvowire.farm import PASSWORD, add_farms_and_users, log_in, make_inbox
from kelvowire.http import Client, digest_header, metrics
from kelvowire.service import GUARD_SECONDS, ShiftedService, confirm_clock
from needs import wrong_clock

DAY_S = 24 * 3600


class WrongClock(unittest.TestCase):
    def setUp(self):
        self.service = ShiftedService()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.token = log_in(self.service, "olga").token
        olga = self.olga()
        inbox = make_inbox(olga)
        self.file = olga.put("binned.zip", [inbox], b"binned")[0]["id"]
        olga.delete(f"/resources/{self.file}")
        self.inbox = inbox
        self.location = olga.create("open.zip", [inbox], 6, b"abc", key="open").headers["Location"]

    def olga(self):
        """Her session from before the clock was wrong."""
        client = Client(self.service, self.token)
        self.addCleanup(client.close)
        return client

    def restart(self, ahead_s):
        """Starts the service with a clock that is wrong, and waits until its first clean-up has begun."""
        self.service.stop()
        self.service.prefix = wrong_clock(self, ahead_s)
        self.service.start()
        # The stop waits for the present step of the clean-up. So nothing can come after it.
        log_in(self.service, "anna").close()

    def samples(self):
        return dict(line.rsplit(" ", 1) for line in metrics(self.service)[1].splitlines() if not line.startswith("#"))

    def check_all_is_there(self):
        olga = self.olga()
        anna = log_in(self.service, "anna")
        self.addCleanup(anna.close)
        self.assertEqual([file["id"] for file in anna.get("/bin").json()["files"]], [self.file])
        anna.post(f"/bin/{self.file}/restore", 200)
        self.assertEqual(anna.get(f"/resources/{self.file}/content").body, b"binned")
        done = olga.patch(self.location, 3, b"def")
        self.assertEqual(done.headers["Repr-Digest"], digest_header(b"abcdef"))

    def test_forty_days_ahead_destroy_nothing(self):
        self.restart(40 * DAY_S)
        samples = self.samples()
        self.assertIn("clock-jumped", self.service.log())
        self.assertEqual(float(samples["kelvo_clock_wait_seconds"]), DAY_S)
        self.assertEqual(float(samples["kelvo_clock_jumps_total"]), 1)
        repeat = self.olga().create("open.zip", [self.inbox], 6, key="open")
        self.assertEqual((repeat.headers["Location"], repeat.headers["Upload-Offset"]), (self.location, "3"))
        self.restart(0)
        self.check_all_is_there()
        self.service.stop()

    def test_a_session_that_has_not_expired_can_be_used(self):
        other = log_in(self.service, "olga")
        self.restart(40 * DAY_S)
        olga = self.olga()
        sessions = olga.get("/sessions").json()["sessions"]
        self.assertEqual([session["current"] for session in sessions], [True, False])
        export = olga.get(f"/users/{olga.snapshot()['user']['id']}/export").json()
        self.assertEqual(export["sessions"], sessions)
        olga.delete("/sessions/" + sessions[1]["id"])
        other.close()
        other.get("/account", 401)
        olga.post("/account/password", 204, json={"current": PASSWORD, "new": "another good one"})
        self.service.stop()

    def test_two_hundred_days_behind_destroy_nothing(self):
        self.restart(-200 * DAY_S)
        olga = self.olga()
        late = olga.create("late.zip", [make_inbox(olga)], 6, b"abc").headers["Location"]
        self.restart(0)
        self.check_all_is_there()
        self.assertEqual(self.olga().offset(late), 3)
        self.service.stop()

    def test_a_confirmed_clock_removes_what_has_expired(self):
        self.restart(40 * DAY_S)
        confirm_clock(self.service, self.service.prefix)
        self.service.signal(signal.SIGHUP)
        anna = log_in(self.service, "anna")
        self.addCleanup(anna.close)
        guard = time.monotonic() + GUARD_SECONDS
        while anna.get("/bin").json()["files"]:
            self.assertLess(time.monotonic(), guard, "the bin is not emptied")
        self.assertEqual(float(self.samples()["kelvo_clock_wait_seconds"]), 0)
        self.olga().get("/account", 401)
        self.service.stop()


if __name__ == "__main__":
    unittest.main()

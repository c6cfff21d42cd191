"""What the console says about the link: each state is produced for real and read by the command `link`."""

import random
import socket
import time
import unittest

from kelvoe2e.case import FarmCase
from kelvoe2e.loginpage import LoginPage
from kelvotour import archives
from kelvotour.link import GUARD_SECONDS, Link
from needs import wrong_clock

SIZE = 200_000
LOOK_SECONDS = 0.02  # between two looks


class LinkStateTest(FarmCase):
    def tearDown(self):
        if not self.service.is_running:
            self.service.start()

    def link_through(self, **options):
        """A logged-in console behind a link."""
        link = Link(self.service.address)
        self.addCleanup(link.close)
        return link, self.logged_in(address=link.address, **options)

    def look(self, console):
        return console.run("link").value("link")

    def until_last(self, console, state_of, order, guide):
        """Looks until `state_of` the status is the last of `order`, and returns the status. No other states than
        those of `order` may come, and none may come again. Prints how long that took, beside the guide's time."""
        begin = time.monotonic()
        seen = []
        while not seen or seen[-1] != order[-1]:
            status = self.look(console)
            if state_of(status) not in seen[-1:]:
                seen.append(state_of(status))
                self.assertEqual(seen, [state for state in order if state in seen])
            self.assertLess(time.monotonic() - begin, GUARD_SECONDS, f"{order[-1]!r} did not come; there was {seen}")
            time.sleep(LOOK_SECONDS)
        print(f"{self.id()}: {order[-1]!r} is shown after {time.monotonic() - begin:.2f} s; the guide says {guide}")
        return status

    def until_problem(self, console, *order, guide):
        status = self.until_last(console, lambda status: status["problem"], order, guide)
        self.assertEqual(status["session"], "logged in")
        return status

    def until_phase(self, console, *order, guide="no time"):
        """None stands for no transfer."""
        return self.until_last(console, lambda status: status.get("transfer", {}).get("phase"), order, guide)

    def refused(self, problem, **options):
        """A login that fails."""
        console = self.console(**options)
        self.assertEqual(self.look(console)["session"], "logged out")
        self.assertFalse(console.run("login").ok)
        status = self.look(console)
        self.assertEqual((status["session"], status["problem"]), ("login failed", problem))
        self.assertNotIn("lastContact", status)

    def test_a_dead_service_is_shown_without_a_request_and_its_return_with_the_first_answer(self):
        console = self.logged_in()
        self.assertEqual(self.look(console)["problem"], "none")
        contact = self.look(console)["lastContact"]
        self.service.kill()
        status = self.until_problem(console, "none", "no answer", guide="two minutes")
        self.assertGreaterEqual(status["offlineSince"], contact)
        self.service.start()
        (console.data / "to-service/curves/one.crv").write_bytes(b"curve")
        self.assert_ok(console.run("upload curves one.crv"))
        status = self.look(console)
        self.assertEqual(status["problem"], "none", "the upload has succeeded just now")
        self.assertNotIn("offlineSince", status)

    def test_a_service_that_comes_back_is_shown_without_a_command(self):
        console = self.logged_in()
        self.service.kill()
        self.until_problem(console, "none", "no answer", guide="two minutes")
        self.service.start()
        self.until_problem(console, "no answer", "none", guide="one second")

    def test_a_network_that_wants_a_login(self):
        link, console = self.link_through()
        address = link.address
        link.close()
        page = LoginPage(address)
        self.addCleanup(page.close)
        self.until_problem(console, "none", "no answer", "network wants login", guide="two minutes")

    def test_a_network_that_wants_a_login_before_the_login(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            address = f"127.0.0.1:{free.getsockname()[1]}"
        page = LoginPage(address)
        self.addCleanup(page.close)
        self.refused("network wants login", address=address)

    def test_shows_that_there_is_no_network(self):
        self.refused("no network", address="name.invalid:443")

    def test_shows_that_the_clock_is_wrong(self):
        self.refused("clock wrong", prefix=wrong_clock(self))

    # The service refuses positions and reports of more than a day ahead.
    def test_shows_that_the_clock_is_days_ahead(self):
        for ahead_days, is_off in ((8, True), (0.5, False)):
            console = self.logged_in(data=self.folder / f"ahead-{ahead_days}",
                                     prefix=wrong_clock(self, int(ahead_days * 24 * 3600)))
            status = self.look(console)
            self.assertEqual((status["session"], status["problem"], status.get("clockOff", False)),
                             ("logged in", "none", is_off))
            console.close()

    def test_a_service_that_is_not_trusted(self):
        self.refused("not trusted", ca="/etc/hostname")  # readable, and no certificate

    def test_an_ended_session_and_a_logout(self):
        console = self.logged_in()
        self.assert_ok(console.run("logout"))
        self.assertEqual(self.look(console)["session"], "logged out")
        self.assert_ok(console.run("login"))
        mark = console.mark()
        self.admin.disable_user(self.operator)
        console.wait_for_signal("KelvoLoggedOut", mark)
        status = self.look(console)
        self.assertEqual((status["session"], status["problem"]), ("session ended", "none"))

    def test_a_download_that_stalls(self):
        link, console = self.link_through()
        content = random.Random(1).randbytes(SIZE)
        archive = archives.write_zip(self.folder / "a.zip", {"a.bin": content}).read_bytes()
        self.put(console, {"a.zip": archive})
        link.hold("down", SIZE // 4)
        self.watch_a_stall(console, link, "download", "download maps a.zip", "a.zip", len(archive))

    def test_an_upload_that_stalls(self):
        link, console = self.link_through()
        # More than the buffers between the console and the held link take.
        content = random.Random(2).randbytes(100 * SIZE)
        (console.data / "to-service/curves/one.crv").write_bytes(content)
        link.hold("up", SIZE // 4)
        self.watch_a_stall(console, link, "upload", "upload curves one.crv", "one.crv", len(content))

    def test_an_upload_whose_answer_is_late(self):
        link, console = self.link_through()
        (console.data / "to-service/curves/one.crv").write_bytes(bytes(SIZE))
        link.hold("down", 0)
        mark = console.mark()
        self.assert_ok(console.run("upload curves one.crv &"))
        transfer = self.until_phase(console, None, "moves", "verifies")["transfer"]
        self.assertEqual((transfer["done"], transfer["total"]), (SIZE, SIZE))
        link.release()
        self.until_phase(console, "verifies", None)
        self.assertTrue(console.finish("upload", mark).ok)

    def watch_a_stall(self, console, link, verb, command, name, total):
        self.assertNotIn("transfer", self.look(console))
        mark = console.mark()
        self.assert_ok(console.run(command + " &"))
        link.wait_until_held()
        transfer = self.until_phase(console, "moves", "waits", guide="three seconds")["transfer"]
        self.assertEqual((transfer["direction"], transfer["name"], transfer["total"]), (verb, name, total))
        self.assertGreater(transfer["done"], 0)
        self.assertLess(transfer["done"], total)
        self.assertNotIn("rate", transfer)
        # Five minutes after the last byte.
        self.assertAlmostEqual(transfer["waitsUntil"], time.time() + 300, delta=GUARD_SECONDS)
        link.release()
        self.until_phase(console, "waits", "moves", "verifies", None)
        self.assertTrue(console.finish(verb, mark).ok)
        self.assertNotIn("transfer", self.look(console))


if __name__ == "__main__":
    unittest.main()

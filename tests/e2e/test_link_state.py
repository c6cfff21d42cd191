"""What the console says about the link: each state is produced for real and read by the command `link`."""

import random
import socket
import time
import unittest

from kelvoe2e.case import FarmCase
from kelvotour.link import GUARD_SECONDS, Link
from kelvoe2e.loginpage import LoginPage
from kelvotour import archives
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

    def until(self, console, wanted, what):
        """Looks until the status is as wanted. Prints how long that took, and returns the status."""
        begin = time.monotonic()
        while True:
            status = self.look(console)
            if wanted(status):
                print(f"{what}: {time.monotonic() - begin:.2f} s")
                return status
            if time.monotonic() - begin > GUARD_SECONDS:
                raise AssertionError(f"{what} did not come; the last status is {status}")
            time.sleep(LOOK_SECONDS)

    def until_problem(self, console, problem, what):
        status = self.until(console, lambda status: status["problem"] == problem, what)
        self.assertEqual(status["session"], "logged in")
        return status

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
        status = self.until_problem(console, "no answer", "a killed service is shown after")
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
        self.until_problem(console, "no answer", "a killed service is shown after")
        self.service.start()
        self.until_problem(console, "none", "a service that is back is shown after")

    def test_a_network_that_wants_a_login(self):
        link, console = self.link_through()
        address = link.address
        link.close()
        page = LoginPage(address)
        self.addCleanup(page.close)
        self.until_problem(console, "network wants login", "a login page is shown after")

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

    def watch_a_stall(self, console, link, verb, command, name, total):
        self.assertNotIn("transfer", self.look(console))
        mark = console.mark()
        self.assert_ok(console.run(command + " &"))
        link.wait_until_held()
        status = self.until(console, lambda status: status.get("transfer", {}).get("phase") == "waits",
                            f"the stall of the {verb} is shown after")
        transfer = status["transfer"]
        self.assertEqual((transfer["direction"], transfer["name"], transfer["total"]), (verb, name, total))
        self.assertGreater(transfer["done"], 0)
        self.assertLess(transfer["done"], total)
        self.assertNotIn("rate", transfer)
        # Five minutes after the last byte.
        self.assertAlmostEqual(transfer["waitsUntil"], time.time() + 300, delta=GUARD_SECONDS)
        link.release()
        self.until(console, lambda status: status.get("transfer", {"phase": ""})["phase"] != "waits",
                   f"the end of the stall is shown after")
        self.assertTrue(console.finish(verb, mark).ok)
        self.assertNotIn("transfer", self.look(console))


if __name__ == "__main__":
    unittest.main()

"""The service stops and starts again while a console is logged in."""

import signal
import unittest

from kelvoe2e.case import FarmCase
from kelvotour import archives


class ServiceRestartTest(FarmCase):
    def tearDown(self):
        if not self.service.is_running:
            self.service.start()

    def archive(self, name):
        return archives.write_zip(self.folder / name, {name + ".txt": name.encode()}).read_bytes()

    def test_session_and_event_stream_survive_a_restart(self):
        console = self.logged_in()
        self.service.stop()
        self.service.start()
        (console.data / "to-service/curves/one.crv").write_bytes(b"curve")
        self.assert_ok(console.run("upload curves one.crv"))
        self.assertEqual(self.files_at_service("Curves"), ["one.crv"])
        self.put(console, {"a.zip": self.archive("a.zip")})
        self.assert_ok(console.run("download maps a.zip"))
        self.assertFalse([line for line in console.lines if line.name == "KelvoLoggedOut"])

    def test_an_acknowledged_upload_survives_a_crash(self):
        console = self.logged_in()
        (console.data / "to-service/curves/one.crv").write_bytes(b"curve")
        self.assert_ok(console.run("upload curves one.crv"))
        self.service.kill()
        self.service.start()
        self.assertEqual(self.files_at_service("Curves"), ["one.crv"])
        self.put(console, {"a.zip": self.archive("a.zip")})

    def test_a_file_added_while_the_link_was_down_is_listed(self):
        console = self.logged_in()
        self.service.stop()
        mark = console.mark()
        self.service.start()
        (self.folder / "put").write_bytes(b"x")
        self.office.put(self.folder / "put", f"{self.operator}/Pivots", name="late.zip")
        console.wait_for_list("pivots", lambda names: "late.zip" in names, mark)

    def test_a_stop_signal_ends_a_console_without_a_service(self):
        console = self.logged_in()
        self.service.stop()
        self.assertEqual(console.stop(signal.SIGTERM), 128 + signal.SIGTERM)


if __name__ == "__main__":
    unittest.main()

"""A cancel takes effect before the next file. Finished files stay finished."""

import random
import unittest

from kelvoe2e.case import FarmCase
from kelvotour import archives
from kelvotour.link import Link

NAMES = ("1.zip", "2.zip", "3.zip")


class CancelTest(FarmCase):
    def setUp(self):
        super().setUp()
        self.link = Link(self.service.address)
        self.addCleanup(self.link.close)

    def cancel_in_the_first_file(self, console, command, side):
        """Holds the link in the middle of the first file until the console has accepted the cancel."""
        self.link.hold(side, 50_000)
        mark = console.mark()
        self.assert_ok(console.run(command + " &"))
        self.link.wait_until_held()
        self.assert_ok(console.run("cancel"))
        self.link.release()
        return console.finish(command.split()[0], mark)

    def test_a_download_stops_before_the_second_file(self):
        console = self.logged_in(address=self.link.address)
        noise = random.Random(3)
        self.put(console, {name: archives.write_zip(self.folder / name, {name + ".bin": noise.randbytes(200_000)})
                           .read_bytes() for name in NAMES})
        result = self.cancel_in_the_first_file(console, "download maps 1.zip 2.zip 3.zip", "down")
        self.assert_ok(result)
        self.assertEqual([line.arguments["file"] for line in result.signals("KelvoDownloadingFile")], ["1.zip"])
        self.assertEqual(set(archives.content_of(console.data / "from-service/prescriptions")), {"1/1.zip.bin"})
        self.assertFalse(console.run("status").value("status")["cancelRequested"])
        self.assert_ok(console.run("download maps 2.zip 3.zip"))

    def test_an_upload_stops_before_the_second_file(self):
        console = self.logged_in(address=self.link.address)
        folder = console.data / "to-service/curves"
        for name in NAMES:
            (folder / name).write_bytes(random.Random(4).randbytes(200_000))
        result = self.cancel_in_the_first_file(console, "upload curves 1.zip 2.zip 3.zip", "up")
        self.assert_ok(result)
        self.assertEqual(sorted(path.name for path in folder.iterdir()), ["2.zip", "3.zip"])
        self.assertEqual(self.files_at_service("Curves"), ["1.zip"])
        self.assert_ok(console.run("upload curves 2.zip 3.zip"))
        self.assertEqual(self.files_at_service("Curves"), list(NAMES))


if __name__ == "__main__":
    unittest.main()

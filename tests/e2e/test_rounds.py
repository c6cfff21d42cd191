"""The plug-in started and ended many times in one process, with the service within reach."""

import os
import subprocess
import unittest

from kelvoe2e.case import PASSWORD, FarmCase
from kelvotour.service import more


class RoundsTest(FarmCase):
    def test_no_round_leaves_anything_behind(self):
        self.make_inboxes()
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        environment = os.environ | {
            "KELVO_API_HOST": self.service.address,
            "KESDK_CA_FILE": str(self.service.ca),
            "KELVO_USER": self.operator,
            "KELVO_PASSWORD": PASSWORD,
            # Each start reads the system's authorities, which takes a sanitizer's allocator a second.
            "SSL_CERT_FILE": os.devnull,
            "XDG_RUNTIME_DIR": str(runtime),
        }
        before = self.service.requests()
        done = subprocess.run([os.environ["KELVO_ROUNDS"]], env=environment, text=True, timeout=550,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(done.returncode, 0, done.stdout[-20000:])
        self.assertEqual(self.service.open_streams(), 0)
        requests = more(self.service.requests(), before)
        print(requests)
        # Each session is ended, but those whose token the console was never told.
        self.assertGreaterEqual(requests["DELETE", "/sessions/current"], 100)
        self.assertLessEqual(requests["DELETE", "/sessions/current"], requests["POST", "/sessions"])


if __name__ == "__main__":
    unittest.main()

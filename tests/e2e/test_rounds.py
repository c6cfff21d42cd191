"""The plug-in, initialised and finalised many times in one process with a running service."""

import os
import subprocess
import unittest

from kelvoe2e.case import PASSWORD, FarmCase
from kelvotour.service import more

ROUNDS = max(int(os.environ.get("KELVO_ROUND_COUNT", 100)), 50)
GUARD_SECONDS = 550 * max(ROUNDS // 100, 1)  # ends a program that hangs


class Rounds:
    """`program` is the environment variable with the program's path."""

    def test_no_round_leaks(self):
        self.make_inboxes()
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        environment = os.environ | {
            "KELVO_API_HOST": self.service.address,
            "KESDK_CA_FILE": str(self.service.ca),
            "KELVO_USER": self.operator,
            "KELVO_PASSWORD": PASSWORD,
            "KELVO_ROUND_COUNT": str(ROUNDS),
            # Freed memory in a thread's cache counts as allocated.
            "GLIBC_TUNABLES": "glibc.malloc.tcache_count=0",
            "QTEST_FUNCTION_TIMEOUT": str(GUARD_SECONDS * 1000),
            # Each start reads the system's authorities. With a sanitizer this takes a second.
            "SSL_CERT_FILE": os.devnull,
            "XDG_RUNTIME_DIR": str(runtime),
        }
        before = self.service.requests()
        done = subprocess.run([os.environ[self.program]], env=environment, text=True, timeout=GUARD_SECONDS,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(done.returncode, 0, done.stdout[-20000:])
        print(*(line for line in done.stdout.splitlines() if " rounds; " in line), sep="\n")
        self.assertEqual(self.service.open_streams(0), 0)
        requests = more(self.service.requests(), before)
        print(requests)
        # The console ends each session, except a session whose token it never received.
        self.assertGreaterEqual(requests["DELETE", "/sessions/current"], ROUNDS)
        self.assertLessEqual(requests["DELETE", "/sessions/current"], requests["POST", "/sessions"])


class PluginRoundsTest(Rounds, FarmCase):
    program = "KELVO_ROUNDS"


class ScreenRoundsTest(Rounds, FarmCase):
    program = "KELVO_SCREEN_ROUNDS"


if __name__ == "__main__":
    unittest.main()

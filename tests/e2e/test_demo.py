"""The demo as scripts/run starts it: what its window is told of the farm, over a good link and over a bad one.

In the window's place stands a program that asks the service it was given for one page and notes what it saw."""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOUR = Path(os.environ["KELVO_TOUR"])
BUILD = Path(os.environ["KELVO_BUILD"])
GUARD_SECONDS = 300  # only ends what hangs
STAND_IN = """#!{python}
import json, os, ssl, sys, urllib.error, urllib.request
if "--headless" in sys.argv:
    os.execv({console!r}, [{console!r}, *sys.argv[1:]])
told = dict(zip(sys.argv[1::2], sys.argv[2::2]))
try:
    urllib.request.urlopen("https://" + told["--service"] + "/kelvo-api/v1/account", timeout=60,
                           context=ssl.create_default_context(cafile=told["--ca"]))
except urllib.error.HTTPError as refusal:
    told["status"] = refusal.code
with open({note!r}, "w") as note:
    json.dump(told, note)
sys.exit(5)
"""


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-demo-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.note = self.folder / "told.json"
        self.out = self.folder / "out"
        (self.folder / "bin").mkdir()
        for name in ("bin/kelvo-service", "bin/kelvoctl", "lib"):
            (self.folder / name).symlink_to(BUILD / name)
        window = self.folder / "bin/kelvo-console"
        window.write_text(STAND_IN.format(python=sys.executable, console=str(BUILD / "bin/kelvo-console"),
                                          note=str(self.note)))
        window.chmod(0o755)

    def run_demo(self, *options):
        """(where the service listens, what the window was told, what the demo said)"""
        result = subprocess.run([sys.executable, TOUR / "demo", "--build", self.folder, "--out", self.out, *options],
                                text=True, capture_output=True, stdin=subprocess.DEVNULL, timeout=GUARD_SECONDS,
                                check=False)
        self.assertEqual(result.returncode, 5, result.stdout + result.stderr)  # the window's own
        told = json.loads(self.note.read_text())
        self.assertEqual(told["status"], 401, "it was not the service that answered")
        return re.search(r"listens on https://(\S+),", result.stdout)[1], told, result.stdout

    def test_without_a_bad_link_the_window_speaks_to_the_service(self):
        service, told, _ = self.run_demo()
        self.assertEqual(told["--service"], service)
        self.assertFalse((self.out / "badlink.log").exists())

    def test_a_bad_link_stands_between_window_and_service(self):
        service, told, said = self.run_demo("--badlink", "cutting")
        self.assertNotEqual(told["--service"], service)
        log = self.out / "badlink.log"
        self.assertIn(f"The console's link is cutting; its log is {log}", said)
        events = [json.loads(line) for line in log.read_text().splitlines()]
        opened = [event for event in events if event["did"] == "opened"]
        self.assertEqual(len(opened), 1, "only the window's connection goes over it")
        self.assertTrue(opened[0]["plan"], "a link that would do nothing")

    def test_a_scenario_that_there_is_not_opens_no_window(self):
        result = subprocess.run([sys.executable, TOUR / "demo", "--build", self.folder, "--out", self.out,
                                 "--badlink", "nonesuch"], text=True, capture_output=True, stdin=subprocess.DEVNULL,
                                timeout=GUARD_SECONDS, check=False)
        self.assertNotIn(result.returncode, (0, 5))
        self.assertIn("nonesuch", result.stderr)
        self.assertFalse(self.note.exists())


if __name__ == "__main__":
    unittest.main()

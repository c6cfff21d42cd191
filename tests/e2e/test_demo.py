"""scripts/run and the demo that it starts: what the window is told of the farm, over a good link and over a bad one.

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


class RunTest(unittest.TestCase):
    """scripts/run as it is, in a tree where building does nothing and the demo tells how it was started."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-run-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        for name in ("scripts/lib", "console/tour"):
            (self.folder / name).mkdir(parents=True)
        for name in ("scripts/run", "tools"):
            (self.folder / name).symlink_to(TOUR.parents[1] / name)
        (self.folder / "scripts/lib/packages.sh").write_text("install_missing() { :; }\n")
        (self.folder / "scripts/lib/build.sh").write_text("configure() { :; }\nbuild() { :; }\n")
        for name in ("demo", "tour"):
            program = self.folder / "console/tour" / name
            program.write_text(f'#!/bin/sh\nprintf "%s\\n" {name} "$@"\n')
            program.chmod(0o755)

    def run_script(self, *options, display=":99"):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        environment.update(TMPDIR=str(self.folder), **{"DISPLAY": display} if display else {})
        return subprocess.run([self.folder / "scripts/run", *options], cwd=self.folder, env=environment, text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=GUARD_SECONDS, check=False)

    def test_the_scenario_goes_to_the_demo(self):
        own = self.folder / "mine.toml"
        shutil.copy(self.folder / "tools/badlink/scenarios/tunnel.toml", own)
        for given, handed in (("half-open", "half-open"), ("mine.toml", str(own))):
            result = self.run_script("--badlink", given)
            self.assertEqual(result.returncode, 0, result.stderr)
            started = result.stdout.splitlines()
            self.assertEqual(started[0], "demo")
            self.assertEqual(started[started.index("--badlink") + 1], handed)

    def test_without_a_scenario_the_demo_gets_none(self):
        started = self.run_script().stdout.splitlines()
        self.assertEqual(started[0], "demo")
        self.assertNotIn("--badlink", started)

    def test_what_no_bad_link_can_be_for_is_refused(self):
        for options, display in ((("--badlink", "nonesuch"), ":99"), (("--badlink", "rural"), None),
                                 (("--badlink", "rural", "--tour", "out"), ":99"), (("--badlink",), ":99")):
            with self.subTest(options=options, display=display):
                result = self.run_script(*options, display=display)
                self.assertNotEqual(result.returncode, 0)
                self.assertEqual(result.stdout, "", "something was started")
                self.assertIn(options[-1] if "nonesuch" in options else "--badlink", result.stderr)


if __name__ == "__main__":
    unittest.main()

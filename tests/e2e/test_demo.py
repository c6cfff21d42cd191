"""scripts/run and the demo that it starts, over a good link and over a bad link.

A program replaces the window. It sends one request to the service and writes its options to a file."""

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
GUARD_SECONDS = 300  # ends a program that hangs
STAND_IN = """#!{python}
import json, os, ssl, sys, urllib.error, urllib.request
if "--headless" in sys.argv:
    os.execv({console!r}, [{console!r}, *sys.argv[1:]])
window_options = dict(zip(sys.argv[1::2], sys.argv[2::2]))
try:
    urllib.request.urlopen("https://" + window_options["--service"] + "/kelvo-api/v1/account", timeout=60,
                           context=ssl.create_default_context(cafile=window_options["--ca"]))
except urllib.error.HTTPError as refusal:
    window_options["status"] = refusal.code
with open({note!r}, "w") as note:
    json.dump(window_options, note)
sys.exit(5)
"""


class DemoTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-demo-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.note = self.folder / "options.json"
        self.out = self.folder / "out"
        (self.folder / "bin").mkdir()
        for name in ("bin/kelvo-service", "bin/kelvoctl", "lib"):
            (self.folder / name).symlink_to(BUILD / name)
        window = self.folder / "bin/kelvo-console"
        window.write_text(STAND_IN.format(python=sys.executable, console=str(BUILD / "bin/kelvo-console"),
                                          note=str(self.note)))
        window.chmod(0o755)

    def run_demo(self, *options):
        """Returns (the service's address, the window's options, the demo's output)."""
        result = subprocess.run([sys.executable, TOUR / "demo", "--build", self.folder, "--out", self.out, *options],
                                text=True, capture_output=True, stdin=subprocess.DEVNULL, timeout=GUARD_SECONDS,
                                check=False)
        self.assertEqual(result.returncode, 5, result.stdout + result.stderr)  # the exit status of the window
        window_options = json.loads(self.note.read_text())
        self.assertEqual(window_options["status"], 401, "the answer was not the service's")
        return re.search(r"listens on https://(\S+),", result.stdout)[1], window_options, result.stdout

    def test_without_a_bad_link_the_window_connects_to_the_service(self):
        service, window_options, _ = self.run_demo()
        self.assertEqual(window_options["--service"], service)
        self.assertFalse((self.out / "badlink.log").exists())

    def test_a_bad_link_is_between_window_and_service(self):
        service, window_options, said = self.run_demo("--badlink", "cutting")
        self.assertNotEqual(window_options["--service"], service)
        log = self.out / "badlink.log"
        self.assertIn(f"The console's link is cutting; its log is {log}", said)
        events = [json.loads(line) for line in log.read_text().splitlines()]
        opened = [event for event in events if event["did"] == "opened"]
        self.assertEqual(len(opened), 1, "only the window's connection uses the bad link")
        self.assertTrue(opened[0]["plan"], "the scenario has no action")

    def test_an_unknown_scenario_opens_no_window(self):
        result = subprocess.run([sys.executable, TOUR / "demo", "--build", self.folder, "--out", self.out,
                                 "--badlink", "nonesuch"], text=True, capture_output=True, stdin=subprocess.DEVNULL,
                                timeout=GUARD_SECONDS, check=False)
        self.assertNotIn(result.returncode, (0, 5))
        self.assertIn("nonesuch", result.stderr)
        self.assertFalse(self.note.exists())


class RunTest(unittest.TestCase):
    """The real scripts/run, in a tree where the build does nothing and the demo prints its options."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-run-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        for name in ("scripts/lib", "console/tour"):
            (self.folder / name).mkdir(parents=True)
        for name in ("scripts/run", "tools"):
            (self.folder / name).symlink_to(TOUR.parents[1] / name)
        (self.folder / "scripts/lib/packages.sh").write_text("install_missing() { :; }\n")
        (self.folder / "scripts/lib/build.sh").write_text("configure() { :; }\nbuild() { :; }\nbuild_office() { :; }\n")
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

    def test_wrong_uses_of_badlink_are_refused(self):
        for options, display in ((("--badlink", "nonesuch"), ":99"), (("--badlink", "rural"), None),
                                 (("--badlink", "rural", "--tour", "out"), ":99"), (("--badlink",), ":99")):
            with self.subTest(options=options, display=display):
                result = self.run_script(*options, display=display)
                self.assertNotEqual(result.returncode, 0)
                self.assertEqual(result.stdout, "", "something was started")
                self.assertIn(options[-1] if "nonesuch" in options else "--badlink", result.stderr)


if __name__ == "__main__":
    unittest.main()

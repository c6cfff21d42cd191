"""The base class of tests with a service and consoles."""

import json
import os
import shutil
import ssl
import sys
import tempfile
import unittest
import urllib.parse
import urllib.request
from pathlib import Path

sys.path[:0] = [os.environ["KELVO_TOUR"], str(Path(__file__).resolve().parents[2] / "support")]

from fleet import make_service  # noqa: E402
from kelvotour.binaries import Binaries  # noqa: E402
from kelvotour.console import Console  # noqa: E402
from kelvotour.day import PROJECTS  # noqa: E402
from kelvotour.office import Ctl  # noqa: E402
from kelvotour.service import without_proxies  # noqa: E402

BINARIES = Binaries(*(Path(os.environ[name]) for name in ("KELVO_SERVICE", "KELVOCTL", "KELVO_CONSOLE", "KELVO_PLUGIN")))
FARM, OFFICE, PASSWORD = "Hill Farm", "office", "seven green fields"

without_proxies()


class FarmCase(unittest.TestCase):
    """Starts one service for each class. Each test has its own folder and its own operator."""

    service_options = ("--password-cost", "min")
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.root = Path(tempfile.mkdtemp(prefix="kelvo-e2e-"))
        cls.addClassCleanup(shutil.rmtree, cls.root, ignore_errors=True)
        cls.service = make_service(BINARIES.service, cls.root / "service", cls.root / "service.log", cls.service_options)
        cls.addClassCleanup(cls.service.close)
        cls.service.start()
        cls.tls = ssl.create_default_context(cafile=str(cls.service.ca))
        cls.admin = cls.ctl("admin")
        cls.admin.run("login", "admin", "--password-file", cls.service.admin_password_file)
        cls.admin.run("farm", "add", FARM)
        cls.admin.add_user(OFFICE, "office", FARM, PASSWORD)
        cls.office = cls.ctl(OFFICE).login(OFFICE, PASSWORD)

    @classmethod
    def ctl(cls, user):
        return Ctl(BINARIES.kelvoctl, cls.service, cls.root / f"{user}.session", cls.root / "kelvoctl.log")

    def setUp(self):
        self.folder = self.root / self.id().rsplit(".", 1)[-1]
        self.folder.mkdir()
        self.operator = self.folder.name[:64]
        self.admin.add_user(self.operator, "operator", FARM, PASSWORD)
        self.consoles = []
        self.addCleanup(self.end_consoles)

    def end_consoles(self):
        """Kills the consoles that still run. No console may have printed a warning, for instance of Qt."""
        for console in self.consoles:
            if console.process.poll() is None:
                console.kill()
        self.assertEqual([console.stderr() for console in self.consoles], [""] * len(self.consoles))

    def make_inboxes(self):
        """Creates the operator's inboxes, so that a login does not create them."""
        token = self.call("POST", "/sessions", {"user": self.operator, "password": PASSWORD})["token"]
        for project in PROJECTS:
            self.call("POST", f"/projects/{urllib.parse.quote(project)}/user-inbox", token=token)
        self.call("DELETE", "/sessions/current", token=token)

    def call(self, method, path, body=None, token=None):
        request = urllib.request.Request(f"https://{self.service.address}/kelvo-api/v1{path}", method=method)
        data = None
        if body is not None:
            data = json.dumps(body).encode()
            request.add_header("Content-Type", "application/json")
        if token:
            request.add_header("Authorization", "Bearer " + token)
        with urllib.request.urlopen(request, data, context=self.tls, timeout=60) as answer:
            text = answer.read()
        return json.loads(text) if text else None

    def console(self, address=None, ca=None, password=PASSWORD, data=None, **options):
        """Starts a console that ends with the test at the latest."""
        console = Console(BINARIES, address or self.service.address, ca or self.service.ca,
                          data or self.folder / "console", self.folder / f"console-{len(self.consoles)}.log",
                          self.operator, password, **options)
        self.consoles.append(console)
        return console

    def logged_in(self, **options):
        """A logged-in console whose operator has all inboxes."""
        self.make_inboxes()
        console = self.console(**options)
        self.assert_ok(console.run("login"))
        return console

    def put(self, console, content, project="To Console", kind="maps"):
        """The office uploads {name: bytes}. Returns when the console lists all of them."""
        mark = console.mark()
        for name, data in content.items():
            path = self.folder / "put"
            path.write_bytes(data)
            self.office.put(path, f"{self.operator}/{project}", name=name)
        console.wait_for_list(kind, set(content).issubset, mark)

    def files_at_service(self, project):
        """The names of the operator's files on the service."""
        return sorted(self.office.files(self.operator, project))

    def assert_ok(self, result):
        self.assertTrue(result.ok, result.reason)

    def assert_two_lines(self, text):
        """The first line says what happened, the second line what to do."""
        first, _, second = text.partition("\n")
        self.assertTrue(first.strip() and second.strip(), f"not two lines: {text!r}")

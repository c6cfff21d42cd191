"""A demo farm on a service of its own, with the console's window on it."""

import os
import stat
import subprocess
from pathlib import Path

from . import archives
from .badlink import BadLink
from .console import Console
from .office import Ctl
from .service import Service

FARM, OPERATOR, OFFICE = "Hill Farm", "olga", "office"
PASSWORDS = {OPERATOR: "seven green fields", OFFICE: "papers on the desk"}
INBOXES = ("To Console", "Curves")
OWN_FILES = {
    "to-service/job-reports/2024-05-17 report.xml": "<Report hectares='12.5'/>\n",
    "to-service/curves/river bank.crv": "curve 1\n" * 500,
}


class Demo:
    """Everything lies below one folder. What was made there before is used again.

    `badlink`: the scenario of the link that the window's console gets; None is a direct one.
    """

    def __init__(self, binaries, folder, data, badlink=None):
        self.binaries, self.folder, self.data = binaries, Path(folder), data
        self.console_data = self.folder / "console"
        self.work = self.folder / "work"
        self.work.mkdir(parents=True, exist_ok=True)
        self.service = Service(binaries.service, self.folder / "service", self.folder / "service.log")
        self.badlink, self.link = badlink, None

    def run(self):
        """Until the window is closed; the console's exit status."""
        is_new = not self.service.admin_password_file.exists()
        try:
            self.service.start()
            if is_new:
                self._make_farm()
                self._first_login()
                self._fill_inboxes()
                self._write_own_files()
            if self.badlink is not None:
                self.link = BadLink(self.badlink, self.service.address, self.folder / "badlink.log").start()
            self._tell()
            status = self._open_window()
            self.service.stop()
            return status
        finally:
            if self.link is not None:
                self.link.close()
            self.service.close()

    def _ctl(self, user):
        return Ctl(self.binaries.kelvoctl, self.service, self.work / f"{user}.session", self.folder / "kelvoctl.log")

    def _make_farm(self):
        admin = self._ctl("admin")
        admin.run("login", "admin", "--password-file", self.service.admin_password_file)
        admin.run("farm", "add", FARM)
        admin.add_user(OFFICE, "office", FARM, PASSWORDS[OFFICE])
        admin.add_user(OPERATOR, "operator", FARM, PASSWORDS[OPERATOR])

    def _first_login(self):
        """It makes the operator's inboxes, which the office cannot send to before."""
        credentials = self.work / "credentials"
        credentials.touch(stat.S_IRUSR | stat.S_IWUSR)
        credentials.write_text(f"{OPERATOR}\n{PASSWORDS[OPERATOR]}\n", encoding="utf-8")
        console = Console(self.binaries, self.service.address, self.service.ca, self.console_data,
                          self.folder / "console.log", OPERATOR, None, credentials_file=credentials)
        console.run("login")
        console.run("logout")
        console.close()

    def _fill_inboxes(self):
        office = self._ctl(OFFICE).login(OFFICE, PASSWORDS[OFFICE])
        for path in archives.archives_in(self.data or archives.make_samples(self.work / "archives")):
            office.put(path, *(f"{OPERATOR}/{project}" for project in INBOXES))

    def _write_own_files(self):
        for name, text in OWN_FILES.items():
            (self.console_data / name).write_text(text, encoding="utf-8")

    def _tell(self):
        link = [] if self.link is None else [f"The console's link is {self.badlink}; its log is {self.link.log}"]
        print(f"The service listens on https://{self.service.address}, its authority is {self.service.ca}",
              f"Operator, filled in already: {OPERATOR} / {PASSWORDS[OPERATOR]}",
              f"Farm office, for kelvoctl:   {OFFICE} / {PASSWORDS[OFFICE]}",
              *link,
              f"All files are in {self.folder}. Close the window to end.", sep="\n", flush=True)

    def _open_window(self):
        address = self.service.address if self.link is None else self.link.address
        environment = {**os.environ, "KELVO_USER": OPERATOR, "KELVO_PASSWORD": PASSWORDS[OPERATOR]}
        return subprocess.run(
            [self.binaries.console, "--plugin", self.binaries.plugin, "--service", address,
             "--ca", self.service.ca, "--data", self.console_data],
            env=environment, stdin=subprocess.DEVNULL, check=False).returncode

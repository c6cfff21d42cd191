"""A demo farm with its own service, and the console's window."""

import os
import stat
import subprocess
from pathlib import Path

from . import archives
from .badlink import BadLink
from .console import Console
from .farm import OFFICE, OPERATOR, PASSWORDS, Farm

INBOXES = ("To Console", "Curves")
# The screens show only archives.
OWN_FILES = {
    "to-service/job-reports/2024-05-17 report.zip": {"REPORT.XML": b"<Report hectares='12.5'/>\n"},
    "to-service/curves/river bank.zip": {"river bank.crv": b"curve 1\n" * 500},
}


class Demo:
    """All files are in one folder. A later demo uses the same farm again.

    `badlink`: the scenario of the link between window and service; None is a direct link. `web`: the folder of the
    office's built page; None is no page.
    """

    def __init__(self, binaries, folder, data, badlink=None, web=None):
        self.binaries, self.folder, self.data = binaries, Path(folder), data
        self.console_data = self.folder / "console"
        self.farm = Farm(binaries, self.folder)
        self.work, self.service = self.farm.work, self.farm.service
        self.badlink, self.link = badlink, None
        self.service.options = () if web is None else ("--web", web)

    def run(self):
        """Runs until the window is closed. Returns the console's exit status."""
        is_new = not self.service.admin_password_file.exists()
        try:
            self.service.start()
            if is_new:
                office = self.farm.make()
                self._first_login()
                self._fill_inboxes(office)
                self._write_own_files()
            if self.badlink is not None:
                self.link = BadLink(self.badlink, self.service.address, self.folder / "badlink.log").start()
            self._print_addresses()
            status = self._open_window()
            self.service.stop()
            return status
        finally:
            if self.link is not None:
                self.link.close()
            self.service.close()

    def _first_login(self):
        """The first login creates the operator's inboxes. The office cannot send files before that."""
        credentials = self.work / "credentials"
        credentials.touch(stat.S_IRUSR | stat.S_IWUSR)
        credentials.write_text(f"{OPERATOR}\n{PASSWORDS[OPERATOR]}\n", encoding="utf-8")
        console = Console(self.binaries, self.service.address, self.service.ca, self.console_data,
                          self.folder / "console.log", OPERATOR, None, credentials_file=credentials)
        console.run("login")
        console.run("logout")
        console.close()

    def _fill_inboxes(self, office):
        for path in archives.archives_in(self.data or archives.make_samples(self.work / "archives")):
            office.put(path, *(f"{OPERATOR}/{project}" for project in INBOXES))

    def _write_own_files(self):
        for name, files in OWN_FILES.items():
            archives.write_zip(self.console_data / name, files)

    def _print_addresses(self):
        link = [] if self.link is None else [f"The console's link is {self.badlink}; its log is {self.link.log}"]
        print(f"The service listens on https://{self.service.address}, the file of its authority is {self.service.ca}",
              f"Operator, already entered: {OPERATOR} / {PASSWORDS[OPERATOR]}",
              f"Farm office, for {self._office_programs()}: {OFFICE} / {PASSWORDS[OFFICE]}",
              *link,
              f"All files are in {self.folder}. Close the window to end.", sep="\n", flush=True)

    def _office_programs(self):
        page = f"https://localhost:{self.service.address.rpartition(':')[2]}/ and " if self.service.options else ""
        return f"{page}kelvoctl"

    def _open_window(self):
        address = self.service.address if self.link is None else self.link.address
        environment = {**os.environ, "KELVO_USER": OPERATOR, "KELVO_PASSWORD": PASSWORDS[OPERATOR]}
        return subprocess.run(
            [self.binaries.console, "--plugin", self.binaries.plugin, "--service", address,
             "--ca", self.service.ca, "--data", self.console_data],
            env=environment, stdin=subprocess.DEVNULL, check=False).returncode

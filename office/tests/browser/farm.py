#!/usr/bin/env python3
"""A service with the office's page and a small farm, driven by commands.

Prints one JSON object with addresses and accounts, then reads a command a line from standard input and prints "ok" and
the result as JSON, or "error". Ends the service at the end of standard input.
"""

import argparse
import json
import ssl
import sys
import urllib.parse
import urllib.request
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[3] / "console/tour"))

from kelvotour.binaries import Binaries  # noqa: E402
from kelvotour.console import Console, ConsoleError  # noqa: E402
from kelvotour.farm import FARM, OFFICE, OPERATOR, PASSWORDS, Farm  # noqa: E402
from kelvotour.service import without_proxies  # noqa: E402


class Commands:
    def __init__(self, farm, office):
        self.farm, self.office = farm, office
        self.options = farm.service.options
        self.cab = None

    def kill(self):
        self.farm.service.kill()

    def start(self):
        self.farm.service.start()

    def serve(self, *options):
        """The administrator starts the service anew with these options too."""
        service = self.farm.service
        service.stop()
        service.options = (*self.options, *options)
        service.start()

    def put(self, path, project):
        """Another window of the office sends a file."""
        return self.office.put(path, f"{OPERATOR}/{project}")

    def remove(self, file_id):
        self.office.remove(file_id)

    def bin(self):
        return self.office.bin()

    def digests(self, project):
        """{name: SHA-256} of the operator's inbox."""
        return {name: file["sha256"] for name, file in self.office.files(OPERATOR, project).items()}

    def report(self, method, path, document):
        """The operator's console reports something."""
        ask_as_operator(self.farm, method, path, json.dumps(document).encode())

    def console(self, command):
        """The operator's console without screens carries out a command. The first command starts it."""
        if self.cab is None:
            farm = self.farm
            self.cab = Console(farm.binaries, farm.service.address, farm.service.ca, farm.folder / "console",
                               farm.folder / "console.log", OPERATOR, PASSWORDS[OPERATOR])
        result = self.cab.run(command)
        if not result.ok:
            raise ConsoleError(f"{command}: {result.reason} {result.errors}")

    def close(self):
        if self.cab is not None:
            self.cab.close()
        if self.farm.service.is_running:
            self.farm.service.stop()

    def second_farm(self):
        """Another farm with an office of its own. Returns the office's name and password."""
        admin = self.farm.ctl("admin")
        admin.run("farm", "add", "Dale Farm")
        admin.add_user("dale", "office", "Dale Farm", PASSWORDS[OFFICE])
        return ["dale", PASSWORDS[OFFICE]]

    def quota(self, *limits):
        """The administrator changes limits of the farm: "--bytes", 1000."""
        self.farm.ctl("admin").run("farm", "quota", FARM, *limits)

    def streams(self):
        """The open event streams."""
        return self.farm.service.metrics()["kelvo_event_streams_open"][frozenset()]


def ask_as_operator(farm, method, path, body=b""):
    """A request with the session of the operator's console."""
    token = json.loads((farm.work / f"{OPERATOR}.session").read_text())["token"]
    request = urllib.request.Request(f"https://{farm.service.address}/kelvo-api/v1{path}", data=body, method=method,
                                     headers={"Authorization": f"Bearer {token}", "Content-Type": "application/json"})
    urllib.request.urlopen(request, context=ssl.create_default_context(cafile=str(farm.service.ca)), timeout=60).close()


def make_inboxes(farm, projects=("To Console", "From Console", "Curves")):
    """The operator's inboxes, as the operator's console would make them."""
    farm.ctl(OPERATOR).login(OPERATOR, PASSWORDS[OPERATOR])
    for project in projects:
        ask_as_operator(farm, "POST", f"/projects/{urllib.parse.quote(project)}/user-inbox")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=Path, help="build folder with bin/ and lib/")
    parser.add_argument("--web", required=True, type=Path, help="folder of the built page")
    parser.add_argument("--out", required=True, type=Path, help="folder for all files")
    options = parser.parse_args()
    without_proxies()
    build = options.build.resolve()
    programs = build / "bin"
    farm = Farm(Binaries(programs / "kelvo-service", programs / "kelvoctl", programs / "kelvo-console",
                         build / "lib/libkelvo.so"), options.out.resolve())
    farm.service.options = ("--web", options.web.resolve(), "--password-cost", "min", "--login-attempts", "1000")
    farm.service.start()
    office = farm.make()
    make_inboxes(farm)
    commands = Commands(farm, office)
    print(json.dumps({"address": farm.service.address, "ca": str(farm.service.ca), "farm": FARM,
                      "admin": ["admin", farm.service.admin_password_file.read_text().strip()], "office": [OFFICE, PASSWORDS[OFFICE]], "operator": [OPERATOR, PASSWORDS[OPERATOR]]}), flush=True)
    for line in sys.stdin:
        name, *arguments = json.loads(line)
        try:
            print("ok", json.dumps(getattr(commands, name)(*arguments)), flush=True)
        except Exception as problem:  # any failure is the test's failure
            print("error", json.dumps(str(problem)), flush=True)
    commands.close()


if __name__ == "__main__":
    main()

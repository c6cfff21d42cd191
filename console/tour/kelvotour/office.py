"""kelvoctl for the administrator and the office, with one session for each user."""

import json
import os
import subprocess

GUARD_SECONDS = 300  # ends only a process that hangs


class CtlError(Exception):
    """kelvoctl failed."""


class Ctl:
    """kelvoctl for one user. The log holds its command lines and its output."""

    def __init__(self, binary, service, session, log):
        self.binary, self.service, self.session, self.log_path = binary, service, session, log

    def run(self, *arguments, **environment):
        """Runs kelvoctl and returns its standard output."""
        command = [str(self.binary), "--server", self.service.address, "--ca", str(self.service.ca),
                   "--session", str(self.session), "--json", *map(str, arguments)]
        result = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL,
                                timeout=GUARD_SECONDS, env={**os.environ, **environment}, check=False)
        with open(self.log_path, "a", encoding="utf-8") as log:
            log.write(f"$ kelvoctl {' '.join(map(str, arguments))}\n{result.stdout}{result.stderr}")
        if result.returncode != 0:
            raise CtlError(f"kelvoctl {arguments[0]} ended with {result.returncode}: {result.stderr.strip()}")
        return result.stdout

    def login(self, user, password):
        self.run("login", user, KELVOCTL_PASSWORD=password)
        return self

    def add_user(self, name, role, farm, password):
        """Adds a user. An operator's inboxes are left to the console's first login."""
        options = ["--no-inboxes"] if role == "operator" else []
        self.run("user", "add", name, "--role", role, "--farm", farm, *options, KELVOCTL_NEW_PASSWORD=password)

    def disable_user(self, name):
        self.run("user", "disable", name)

    def inboxes(self, owner):
        """{project: inbox} of the user `owner`."""
        projects = json.loads(self.run("ls", "--owner", owner))
        return {project["name"]: inbox for project in projects for inbox in project["resources"]}

    def files(self, owner, project):
        """{name: file} of an inbox."""
        inbox = self.inboxes(owner).get(project, {})
        return {file["name"]: file for file in inbox.get("entries", [])}

    def put(self, path, *targets, name=None):
        """Sends a file. Returns its ids in the order of the targets."""
        options = [option for target in targets for option in ("--to", target)]
        if name is not None:
            options += ["--name", name]
        return json.loads(self.run("put", path, *options))["ids"]

    def get(self, file_id, path):
        self.run("get", file_id, "-o", path)

    def remove(self, file_id):
        self.run("rm", file_id)

    def bin(self):
        return json.loads(self.run("bin", "list"))

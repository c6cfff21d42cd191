"""The processes of a round and their folder with `service/`, `console/`, `state/` and logs."""

import os
import re
import shutil
import time

from kelvotour.console import Console, ConsoleError
from kelvotour.day import PROJECTS
from kelvotour.farm import OFFICE, OPERATOR, PASSWORDS, Farm
from kelvotour.service import Service, ServiceError

from . import checks, plan as plans
from .killpoint import KillPoint
from .watch import Watch
from .wire import Wire

# With 0 days, the service removes the leftovers of a kill at its next start. Any other leftover is a finding.
SERVICE_OPTIONS = ("--password-cost", "min", "--keep-unknown-days", "0", "--max-upload", str(plans.MOST_UPLOAD_BYTES))
# Guards against a hang. They are long because of loaded machines.
COMMAND_SECONDS = 240
START_SECONDS = 120
POLL_SECONDS = 0.0005
PART = re.compile(r"(.+?)(\.[0-9a-f]{16})?\.part(\.journal(\.new)?)?$")  # group 1: the archive's name
OLD_SECONDS = 8 * 24 * 3600  # the console removes parts after seven days


class Templates:
    """A service's folder with a farm. Each round gets a copy, because making a farm takes longer than a round."""

    def __init__(self, binaries, folder):
        self.bare, self.with_inboxes = folder / "bare", folder / "with-inboxes"
        farm = Farm(binaries, folder / "farm")
        farm.service.options = SERVICE_OPTIONS
        try:
            farm.service.start()
            farm.make()
            self.office_token = Wire(farm.service).login(OFFICE, PASSWORDS[OFFICE])
            farm.service.stop()
            shutil.copytree(farm.service.data, self.bare)
            farm.service.start()
            operator = Wire(farm.service)
            operator.login(OPERATOR, PASSWORDS[OPERATOR])
            for project in PROJECTS:
                operator.make_inbox(project)
            farm.service.stop()
            shutil.copytree(farm.service.data, self.with_inboxes)
        finally:
            farm.service.close()


class World:
    """One service and one console at a time. Changes of files below the folder go to the current trigger."""

    has_kill_points_in_service = True

    def __init__(self, binaries, folder, service_template, office_token, has_state_folder, refuses_flags=False):
        self.binaries, self.folder = binaries, folder
        folder.mkdir(parents=True)
        if service_template:
            shutil.copytree(service_template, folder / "service")
        self.service = Service(binaries.service, folder / "service", folder / "service.log", SERVICE_OPTIONS)
        self.state = folder / "state"
        self.data = folder / "console"
        self.data.mkdir()
        self.console = None
        self.trigger = None
        self.office_token = office_token
        library = binaries.plugin.parent / "libkillpoint.so"
        self.points = {name: KillPoint(library, folder / f"{name}.kill-point", folder, refuses_flags)
                       for name in ("console", "service")}
        environment = self.points["console"].environment | ({"KESDK_STATE_FOLDER": self.state} if has_state_folder else {})
        self._prefix = ("env", *(f"{name}={value}" for name, value in environment.items()))
        self.service.environment = os.environ | self.points["service"].environment
        self._watch = Watch(folder, self._see)
        self._consoles = 0
        self._stderr = []  # the standard error of the consoles that have ended

    def _see(self, what):
        if self.trigger:
            self.trigger.step(what)

    @property
    def office(self):
        return Wire(self.service, self.office_token)

    def start_service(self):
        self.service.process = None  # kill_service() waits for the new process
        self.service.start()
        require_preloaded(self.points["service"])

    def start_console(self):
        """Starts a console. Returns when it answers a command, so its repairs of the start are done."""
        self._consoles += 1
        self.console = Console(self.binaries, self.service.address, self.service.ca, self.data,
                               self.folder / f"console-{self._consoles}.log", OPERATOR, PASSWORDS[OPERATOR],
                               timeout=COMMAND_SECONDS, prefix=self._prefix)
        self.console.run("status")
        require_preloaded(self.points["console"])

    def kill_console(self, waits=False):
        """Kills the console. Returns whether a kill has ended it: this one, or the one of its kill point.

        With `waits`, waits for the process of a console that is being started. Its files are observed a moment before
        its process is known."""
        if waits:
            wait_until(lambda: self.console is not None)
        return self.console is not None and killed(self.console.process)

    def kill_service(self, waits=False):
        """Kills the service's process, as kill_console does. Call reap_service() afterwards."""
        if waits:
            wait_until(lambda: self.service.process is not None)
        return self.service.process is not None and killed(self.service.process)

    @property
    def is_console_running(self):
        return self.console is not None and self.console.process.poll() is None

    def age_parts(self, wanted):
        """Dates the parts of all other archives so old that the console removes them. Returns whether there are any."""
        parts = [path for path in (self.data / "incoming").glob("*") if is_part_of_others(path, wanted)]
        for path in parts:
            then = path.stat().st_mtime - OLD_SECONDS
            os.utime(path, (then, then))
        return bool(parts)

    def reap_console(self):
        """Collects the exit status and standard error of a killed console, or ends a running one."""
        if self.console is not None:
            if not self.console.process.stdout.closed:
                self.console.kill()
            self._stderr.append(self.console.stderr())
            self.console = None

    def close_console(self):
        """Ends the console normally. Returns the standard error of all consoles of the round."""
        status = self.console.close()
        self.reap_console()
        if status not in (0, 1):
            raise ConsoleError(f"the console ended with {status}")
        return "".join(self._stderr)

    def reap_service(self):
        if self.service.process and not self.service.process.stdout.closed:
            self.service.kill()

    def stop_service(self):
        if not self.service.is_running:
            raise ServiceError("the service ended without a kill")
        self.service.stop()

    def service_findings(self):
        """The findings in the data of a stopped service."""
        return checks.service_folder(self.service) + checks.database(self.service.data / "kelvo.sqlite")

    def close(self):
        self.trigger = None
        self.reap_console()
        self.reap_service()
        self._watch.close()


def require_preloaded(point):
    if not point.is_loaded:
        raise OSError("libkillpoint.so was not preloaded, so no call kills the process")


def killed(process):
    """Kills a process. Returns whether the kill ended it."""
    process.kill()
    return process.wait() < 0


def is_part_of_others(path, wanted):
    part = PART.fullmatch(path.name)
    return part is not None and part[1] not in wanted


def wait_until(is_so):
    """Waits until the condition is true, at most START_SECONDS."""
    end = time.monotonic() + START_SECONDS
    while not is_so() and time.monotonic() < end:
        time.sleep(POLL_SECONDS)

"""One round: plays a plan, kills processes and checks all files."""

from kelvotour.console import ConsoleError
from kelvotour.service import ServiceError
from rawzip import archive_of_files

from . import checks, plan as plans
from .checks import Acknowledged
from .killpoint import CallTrigger
from .trigger import Trigger

LAST_ARCHIVE = "last.zip"
REFUSED, REFUSED_KIND = "refused.crv", "curves"
START = -1  # the command number of a kill while the processes start


class Finding(Exception):
    """A check has failed."""


class Round:
    """`kills`: a list of (victim, running command, last observed step). `failures`: a list of (command, reason)."""

    def __init__(self, plan, world):
        self.plan, self.world = plan, world
        self.kills, self.failures = [], []
        self._acknowledged = Acknowledged()
        self._listed = set()  # the archives in the inbox at the start of the generation
        self._running = "nothing"
        # A command may fail if the service was killed and no later command has succeeded since its restart.
        # `_excused_kills` counts the kills that no longer excuse a failure.
        self._service_kills, self._excused_kills, self._is_service_back = 0, 0, True

    def play(self):
        self._set_up()
        for generation in self.plan.generations:
            self._play(generation)
        self._finish()

    def _set_up(self):
        plan, world = self.plan, self.world
        for (kind, name), content in plan.uploads.items():
            write(world.data / plans.UPLOADS[kind][1] / name, content)
        for name, content in plan.before.items():
            write(world.data / plans.UNPACK_FOLDER / name, content)
        world.start_service()
        if plan.archives:
            inbox = checks.inbox_of(world.office.projects(), plans.ARCHIVE_PROJECT)
            for name, files in plan.archives.items():
                world.office.put(name, archive_of_files(files), inbox["id"])

    # The generations.

    def _play(self, generation):
        kill = generation.kill
        if kill.command == START:
            self._start_and_kill(kill)
        self._start()
        self._check()
        trigger = None
        try:
            for number, command in enumerate(generation.commands):
                if number == kill.command:
                    trigger = self._arm(kill)
                self._run(command, trigger)
        except ConsoleError as error:
            if trigger is None or not trigger.was_reached or kill.victim == "service":
                raise Finding(f"the console ended without a kill: {error}") from None
        finally:
            if trigger is not None:
                if not trigger.was_reached:
                    self._running = "nothing"
                trigger.finish()
                self.world.trigger = None
        if self.world.is_console_running:
            self._running = "nothing"
        else:
            self.world.reap_console()
            if not self.plan.refuses_flags:  # otherwise the next start may have to put a folder back
                require(checks.unpacked(self.plan, self._acknowledged, self.world.data))

    def _arm(self, kill, act=None):
        act = act or self._kill
        if kill.calls is None or (kill.calls.process == "service" and not self.world.has_kill_points_in_service):
            trigger = Trigger(kill.steps, kill.delay_s, lambda: act(kill.victim), kill.landmark)
        else:
            point = self.world.points[kill.calls.process]
            point.arm(kill.calls.kinds, kill.calls.path, kill.steps, kill.is_after)
            trigger = CallTrigger(point, lambda: act(kill.victim))
        self.world.trigger = trigger
        return trigger

    def _kill(self, victim):
        """Called on the trigger's thread. If only the service is killed, starts it again."""
        world, kill = self.world, (victim, self._running, self.world.trigger.last)
        has_killed = victim != "service" and world.kill_console()
        if victim != "console":
            self._is_service_back = False
            self._service_kills += 1  # after the line above, so that a command that begins between both lines excuses no kill
            has_killed = world.kill_service() or has_killed
        if has_killed:
            self.kills.append(kill)
        if victim == "service":
            world.reap_service()
            world.start_service()
            self._is_service_back = True

    def _start_and_kill(self, kill):
        world = self.world
        self._running = "start"
        if world.service.is_running and kill.victim != "console":
            world.service.stop()
        if world.is_console_running and kill.victim != "service":
            world.close_console()
        trigger = self._arm(kill, self._kill_at_start)
        try:
            if not world.service.is_running:
                world.start_service()
            if not world.is_console_running:
                world.start_console()
        except (ConsoleError, ServiceError) as error:
            if not trigger.was_reached:
                raise Finding(f"a start failed: {error}") from None
        finally:
            trigger.finish()
            world.trigger = None
        if not world.is_console_running:
            world.reap_console()
        if not world.service.is_running:
            world.reap_service()

    def _kill_at_start(self, victim):
        kill = (victim, self._running, self.world.trigger.last)
        has_killed = False
        if victim != "console":
            self._is_service_back = False
            self._service_kills += 1
            has_killed = self.world.kill_service(waits=victim == "service")
        if victim != "service":
            has_killed = self.world.kill_console(waits=victim == "console") or has_killed
        if has_killed:
            self.kills.append(kill)

    def _start(self):
        world = self.world
        self._running = "start"
        try:
            if not world.service.is_running:
                world.reap_service()
                world.start_service()
            self._is_service_back = True
            if not world.is_console_running:
                world.reap_console()
                self._excused_kills = self._service_kills
                world.start_console()
        except (ConsoleError, ServiceError) as error:
            raise Finding(f"after a kill: {error}") from None

    # The commands.

    def _run(self, command, trigger):
        """Runs a command for the names that are not done yet. All commands need a session, so a login that failed because
        of a killed service is repeated after the service's restart."""
        names = self._names(command)
        if command.names and not names:
            return
        if command.verb != "logout" and not self._is_logged_in():
            self._command("login")
            if not self._is_logged_in() and trigger is not None:
                trigger.wait_if_reached()
                self._command("login")
        if command.verb != "login" and (command.verb == "logout" or self._is_logged_in()):
            self._command(command.verb, command.kind, names)

    def _command(self, verb, kind="", names=()):
        acknowledged, self._running = self._acknowledged, verb
        kills_before = self._service_kills if self._is_service_back else 0
        if verb == "delete":
            acknowledged.asked_to_delete.update(names)
        elif verb == "download":
            acknowledged.asked_to_unpack.update(names)
        result = self.world.console.run(plans.Command(verb, kind, names).text)
        if not result.ok:
            if self.world.trigger:
                self.world.trigger.wait_if_reached()  # then the kill is counted
            require([] if self._service_kills > self._excused_kills else [f"{verb} failed without a kill of the service: {result.reason}"])
            self.failures.append((verb, result.reason))
            return
        self._excused_kills = max(self._excused_kills, kills_before)
        if verb == "upload":
            acknowledged.sent.update((kind, name) for name in names)
        elif verb == "delete":
            acknowledged.deleted.update(names)
        elif verb == "download":
            acknowledged.unpacked.update(names)

    def _names(self, command):
        if command.verb == "upload":
            folder = self.world.data / plans.UPLOADS[command.kind][1]
            return tuple(name for name in command.names if (folder / name).exists())
        return tuple(name for name in command.names if name in self._listed - self._acknowledged.deleted)

    def _is_logged_in(self):
        return self.world.console.run("status").value("status")["loggedIn"]

    # The checks.

    def _check(self):
        world, plan, acknowledged = self.world, self.plan, self._acknowledged
        projects = world.office.projects()
        self._listed = {entry["name"] for entry in checks.entries_of(projects, plans.ARCHIVE_PROJECT)}
        require(checks.inboxes(projects) + checks.uploads(plan, acknowledged, projects, world.data)
                + checks.deletions(plan, acknowledged, projects, world.office.bin())
                + checks.unpacked(plan, acknowledged, world.data) + checks.reports(plan, projects, world.data, world.state))

    def _finish(self):
        """Runs the remaining commands without a kill. Then all files must be in their places, and no others."""
        self._start()
        self._check()
        if self.world.age_parts(self.plan.to_download & self._listed):
            self.world.close_console()  # a console removes old parts only at its first download
            self._start()
        if self._is_logged_in():
            self._must("logout")
        self._must("login")
        if not self.plan.has_inboxes:
            require([] if self._is_complete() else ["an inbox is missing after the login"])
        else:
            self._receive_one_more()
        self._do_the_rest()
        self._upload_too_much()
        self._check()
        world, plan = self.world, self.plan
        projects = world.office.projects()
        require(checks.delivered(plan, projects, world.office))
        self._must("logout")  # removes the journals of files that were sent and removed
        require(checks.left_on_console(world.data, world.state))
        warnings = world.close_console().strip()
        require([f"a console printed: {warnings}"] if warnings else [])
        world.stop_service()
        require(world.service_findings())

    def _is_complete(self):
        projects = self.world.office.projects()
        return all(checks.inbox_of(projects, project) for project in projects)

    def _receive_one_more(self):
        """Adds an archive, because the console unpacks earlier archives only with the next download."""
        plan, console = self.plan, self.world.console
        mark = console.mark()
        plan.archives[LAST_ARCHIVE] = {"last.txt": b"last\n"}
        inbox = checks.inbox_of(self.world.office.projects(), plans.ARCHIVE_PROJECT)
        self.world.office.put(LAST_ARCHIVE, archive_of_files(plan.archives[LAST_ARCHIVE]), inbox["id"])
        self._listed.add(LAST_ARCHIVE)
        console.wait_for_list(plans.ARCHIVE_KIND, lambda names: LAST_ARCHIVE in names, mark)

    def _do_the_rest(self):
        plan, data = self.plan, self.world.data
        for verb, to_download in (("delete", set(plan.to_delete)), ("download", plan.to_download)):
            names = tuple(sorted(to_download & self._listed))
            if names:
                self._must(verb, plans.ARCHIVE_KIND, names)
        for kind, (_, folder) in plans.UPLOADS.items():
            names = tuple(name for of, name in plan.uploads if of == kind and (data / folder / name).exists())
            if names:
                self._must("upload", kind, names)
            # _check has found the other files on the service.
            self._acknowledged.sent.update((of, name) for of, name in plan.uploads if of == kind)

    def _upload_too_much(self):
        """Uploads a file that is too large for the service. The file stays as it is."""
        project, folder = plans.UPLOADS[REFUSED_KIND]
        path, content = self.world.data / folder / REFUSED, b"x" * (plans.MOST_UPLOAD_BYTES + 1)
        write(path, content)
        result = self.world.console.run(plans.Command("upload", REFUSED_KIND, (REFUSED,)).text)
        listed = checks.entries_of(self.world.office.projects(), project)
        require((["an upload that the service refuses succeeded"] if result.ok else [])
                + ([] if path.exists() and path.read_bytes() == content else [f"{REFUSED} was refused and is lost"])
                + [f"{REFUSED} is on the service" for entry in listed if entry["name"] == REFUSED])
        path.unlink()

    def _must(self, verb, kind="", names=()):
        self._excused_kills = self._service_kills
        self._command(verb, kind, names)


def require(findings):
    if findings:
        raise Finding("; ".join(findings))


def write(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)

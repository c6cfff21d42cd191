"""One round: a plan is played, processes are killed, and everything is looked at."""

from kelvotour.console import ConsoleError
from kelvotour.service import ServiceError
from rawzip import archive_of_files

from . import checks, plan as plans
from .checks import Known
from .trigger import Trigger

LAST_ARCHIVE = "last.zip"
START = -1  # the place of a kill while the processes start


class Finding(Exception):
    """Something does not hold."""


class Round:
    """`kills`: (victim, what was under way, what was seen last) each. `failures`: (command, what the console said)."""

    def __init__(self, plan, world):
        self.plan, self.world = plan, world
        self.kills, self.failures = [], []
        self._known = Known()
        self._held = set()  # the archives in the inbox when the generation began
        self._doing = "nothing"
        # A command that fails has an excuse: the service died, and none that began after it came back has succeeded.
        self._deaths, self._outlived, self._is_service_back = 0, 0, True

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
                raise Finding(f"the console ended by itself: {error}") from None
        finally:
            if trigger is not None:
                if not trigger.was_reached:
                    self._doing = "nothing"
                trigger.finish()
                self.world.trigger = None
        if self.world.is_console_running:
            self._doing = "nothing"
        else:
            self.world.reap_console()

    def _arm(self, kill):
        self.world.trigger = Trigger(kill.steps, kill.delay_s, lambda: self._kill(kill.victim), kill.landmark)
        return self.world.trigger

    def _kill(self, victim):
        """On the trigger's thread. A service that dies under a console that lives comes back."""
        world, kill = self.world, (victim, self._doing, self.world.trigger.last)
        has_killed = victim != "service" and world.kill_console()
        if victim != "console":
            self._is_service_back = False
            self._deaths += 1  # behind the line above: a command that begins between them outlives nothing
            has_killed = world.kill_service() or has_killed
        if has_killed:
            self.kills.append(kill)
        if victim == "service":
            world.reap_service()
            world.start_service()
            self._is_service_back = True

    def _start_and_kill(self, kill):
        world = self.world
        self._doing = "start"
        if world.service.is_running and kill.victim != "console":
            world.service.stop()
        if world.is_console_running and kill.victim != "service":
            world.close_console()
        trigger = world.trigger = Trigger(kill.steps, kill.delay_s, lambda: self._kill_at_start(kill.victim),
                                          kill.landmark)
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
        kill = (victim, self._doing, self.world.trigger.last)
        has_killed = False
        if victim != "console":
            self._is_service_back = False
            self._deaths += 1
            has_killed = self.world.kill_service(waits=victim == "service")
        if victim != "service":
            has_killed = self.world.kill_console(waits=victim == "console") or has_killed
        if has_killed:
            self.kills.append(kill)

    def _start(self):
        world = self.world
        self._doing = "start"
        try:
            if not world.service.is_running:
                world.reap_service()
                world.start_service()
            self._is_service_back = True
            if not world.is_console_running:
                world.reap_console()
                self._outlived = self._deaths
                world.start_console()
        except (ConsoleError, ServiceError) as error:
            raise Finding(f"after a kill: {error}") from None

    # The commands.

    def _run(self, command, trigger):
        """For those of the names for which there is something left to do. Without a session there is nothing that an
        operator could do, so a login that met a killed service is repeated once that is back."""
        names = self._names(command)
        if command.names and not names:
            return
        if command.verb != "logout" and not self._is_logged_in():
            self._give("login")
            if not self._is_logged_in() and trigger is not None:
                trigger.wait_if_reached()
                self._give("login")
        if command.verb != "login" and (command.verb == "logout" or self._is_logged_in()):
            self._give(command.verb, command.kind, names)

    def _give(self, verb, kind="", names=()):
        known, self._doing = self._known, verb
        deaths = self._deaths
        outlived = deaths if self._is_service_back else 0
        if verb == "delete":
            known.asked_to_delete.update(names)
        elif verb == "download":
            known.asked_to_unpack.update(names)
        result = self.world.console.run(plans.Command(verb, kind, names).text)
        if not result.ok:
            require([] if self._deaths > self._outlived else [f"{verb} failed for no reason: {result.reason}"])
            self.failures.append((verb, result.reason))
            return
        self._outlived = max(self._outlived, outlived)
        if verb == "upload":
            known.sent.update((kind, name) for name in names)
        elif verb == "delete":
            known.deleted.update(names)
        elif verb == "download":
            known.unpacked.update(names)

    def _names(self, command):
        if command.verb == "upload":
            folder = self.world.data / plans.UPLOADS[command.kind][1]
            return tuple(name for name in command.names if (folder / name).exists())
        return tuple(name for name in command.names if name in self._held - self._known.deleted)

    def _is_logged_in(self):
        return self.world.console.run("status").value("status")["loggedIn"]

    # What must hold.

    def _check(self):
        world, plan, known = self.world, self.plan, self._known
        projects = world.office.projects()
        self._held = {entry["name"] for entry in checks.entries_of(projects, plans.ARCHIVE_PROJECT)}
        require(checks.inboxes(projects) + checks.uploads(plan, known, projects, world.data)
                + checks.deletions(plan, known, projects, world.office.bin())
                + checks.unpacked(plan, known, world.data))

    def _finish(self):
        """What is not done yet is done, without a kill. Then all is in its place and nothing is left over."""
        self._start()
        self._check()
        if self.world.age_parts(self.plan.wanted & self._held):
            self.world.close_console()  # only a console's first download looks for such
            self._start()
        if self._is_logged_in():
            self._must("logout")
        self._must("login")
        if not self.plan.has_inboxes:
            require([] if self._is_complete() else ["an inbox is missing after the login"])
        else:
            self._receive_one_more()
        self._do_the_rest()
        self._check()
        world, plan = self.world, self.plan
        projects = world.office.projects()
        require(checks.delivered(plan, projects, world.office) + checks.left_on_console(world.data, world.state))
        self._must("logout")
        said = world.close_console()
        require([f"a console warned: {said.strip()}"] if said.strip() else [])
        world.stop_service()
        require(checks.service_folder(world.service) + checks.database(world.service.data / "kelvo.sqlite"))

    def _is_complete(self):
        projects = self.world.office.projects()
        return all(checks.inbox_of(projects, project) for project in projects)

    def _receive_one_more(self):
        """Archives that were fetched and not unpacked are with the next download, so there is to be one."""
        plan, console = self.plan, self.world.console
        mark = console.mark()
        plan.archives[LAST_ARCHIVE] = {"last.txt": b"last\n"}
        inbox = checks.inbox_of(self.world.office.projects(), plans.ARCHIVE_PROJECT)
        self.world.office.put(LAST_ARCHIVE, archive_of_files(plan.archives[LAST_ARCHIVE]), inbox["id"])
        self._held.add(LAST_ARCHIVE)
        console.wait_for_list(plans.ARCHIVE_KIND, lambda names: LAST_ARCHIVE in names, mark)

    def _do_the_rest(self):
        plan, data = self.plan, self.world.data
        for verb, wanted in (("delete", set(plan.doomed)), ("download", plan.wanted)):
            names = tuple(sorted(wanted & self._held))
            if names:
                self._must(verb, plans.ARCHIVE_KIND, names)
        for kind, (_, folder) in plans.UPLOADS.items():
            names = tuple(name for of, name in plan.uploads if of == kind and (data / folder / name).exists())
            if names:
                self._must("upload", kind, names)
            # Of the others the service was found to have them.
            self._known.sent.update((of, name) for of, name in plan.uploads if of == kind)

    def _must(self, verb, kind="", names=()):
        self._outlived = self._deaths
        self._give(verb, kind, names)


def require(findings):
    if findings:
        raise Finding("; ".join(findings))


def write(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)

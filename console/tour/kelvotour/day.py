"""The operator's day by commands: its steps, and the checks after each step."""

import stat

from . import archives
from .console import Console, quoted
from .farm import OPERATOR, PASSWORDS, Farm
from .service import more
from .steps import Steps, fresh_folder, require

PROJECTS = ("To Console", "From Console", "AB Lines", "Curves", "Pivots", "Optimal Lines", "Project Lines")
LISTED_KINDS = ("maps", "ablines", "curves", "pivots", "optimal", "projectlines")

# kind of data: project on the service, folder that archives are unpacked into
DOWNLOADS = {"maps": ("To Console", "from-service/prescriptions"), "curves": ("Curves", "from-service/curves")}
# kind of data: project on the service, folder that files are sent from
UPLOADS = {"curves": ("Curves", "to-service/curves"), "reports": ("From Console", "to-service/job-reports")}


class Day:
    """All files are in one folder: `service/`, `console/`, `work/`, and the logs."""

    def __init__(self, binaries, folder, data, service=None):
        self.binaries, self.folder, self.data = binaries, folder, data
        fresh_folder(folder)
        self.steps = Steps(folder)
        self.farm = Farm(binaries, folder, service)
        self.work, self.service = self.farm.work, self.farm.service
        self.console = None
        self.office = None
        self.expected = {}

    def play(self):
        """Plays the day and returns the exit status."""
        try:
            if self.open():
                self.morning()
                self.receive()
                self.download()
                self.download_a_corrupt_archive()
                self.upload()
                self.delete()
                self.evening()
        finally:
            self.close()
        return self.steps.close()

    def open(self):
        """Starts service and console. False if that fails: then there is nothing to play."""
        step = self.steps.step
        with step("the service starts and is healthy"):
            self.service.start()
            require(self.service.get("/healthz").strip() == "ok", "/healthz does not answer ok")
        with step("the administrator creates a farm, an office user and an operator"):
            self.office = self.farm.make()
        with step("the console starts with the plug-in"):
            credentials = self.work / "credentials"
            credentials.touch(stat.S_IRUSR | stat.S_IWUSR)
            credentials.write_text(f"{OPERATOR}\n{PASSWORDS[OPERATOR]}\n", encoding="utf-8")
            self.console = Console(self.binaries, self.service.address, self.service.ca, self.folder / "console",
                                   self.folder / "console.log", OPERATOR, None, timeout=240,
                                   credentials_file=credentials)
            flags = self.console.run("status").value("status")
            require(not any(flags.values()), f"the hub's flags are {flags}")
        return self.steps.failed == 0

    def morning(self):
        step, console = self.steps.step, self.console
        with step("the first login sets up the operator's seven inboxes"):
            require(not self.office.inboxes(OPERATOR), "the operator has inboxes before the first login")
            result = console.run("login")
            require(result.ok, result.reason)
            progress = [line.arguments["progress"] for line in result.signals("KelvoUserInboxSetupInProgress")]
            require(progress == [0, 14, 28, 42, 57, 71, 85, 100], f"the progress was {progress}")
            made = self.office.inboxes(OPERATOR)
            require(tuple(made) == PROJECTS, f"the service has inboxes in {sorted(made)}")
        with step("the operator logs out after the set-up"):
            result = console.run("logout")
            require(result.ok, result.reason)
            require(not console.run("status").value("status")["loggedIn"], "the hub is still logged in")
        with step("the second login brings six empty lists"):
            result = console.run("login")
            require(result.ok, result.reason)
            lists = {line.arguments["project"]: line.arguments["files"]
                     for line in result.signals("NewKelvoProjectFilesList")}
            require(tuple(lists) == LISTED_KINDS, f"the lists are of {list(lists)}")
            require(not any(lists.values()), "a list is not empty")

    def receive(self):
        """The office's archives reach the lists without a request of the console."""
        data = self.data or archives.make_samples(self.work / "archives")
        self.expected = {path: archives.expected_files(path) for path in archives.archives_in(data)}
        names = {path.name for path in self.expected}
        ids = {kind: {} for kind in DOWNLOADS}
        mark = self.console.mark()
        before = self.service.requests()
        with self.steps.step(f"the office puts {len(names)} archives into two inboxes"):
            for path in self.expected:
                put = self.office.put(path, *(f"{OPERATOR}/{project}" for project, _ in DOWNLOADS.values()))
                for kind, file_id in zip(DOWNLOADS, put):
                    ids[kind][path.name] = file_id
        for kind in DOWNLOADS:
            with self.steps.step(f"the list of {kind} comes by push, complete"):
                line = self.console.wait_for_list(kind, lambda seen: seen == names, mark)
                listed = {file["name"]: file["id"] for file in line.arguments["files"]}
                require(listed == ids[kind], f"the ids are {listed}, but on the service {ids[kind]}")
        with self.steps.step("the console made no request for these lists"):
            made = more(self.service.requests(), before)
            # kelvoctl requests the account once for each file.
            own = {route: count for route, count in made.items()
                   if route[0] == "GET" and not (route[1] == "/account" and count == len(names))}
            require(not own, f"there were requests: {own}")

    def download(self):
        for kind, (_, folder) in DOWNLOADS.items():
            for path, expected in self.expected.items():
                if expected is None:
                    self._download_a_refused_archive(kind, folder, path)
                    continue
                with self.steps.step(f"{path.name} downloaded as {kind}: {len(expected)} files, byte for byte"):
                    result = self.console.run(f"download {kind} {quoted([path.name])}")
                    require(result.ok, result.reason)
                    problems = archives.compare(expected, self.console.data / folder)
                    require(not problems, "; ".join(problems))
                    self._require_empty_temporary_folder()

    def _download_a_refused_archive(self, kind, folder, path):
        with self.steps.step(f"{path.name} cannot be unpacked and leaves nothing"):
            before, reasons = archives.content_of(self.console.data / folder), self._unzip_reasons()
            result = self.console.run(f"download {kind} {quoted([path.name])}")
            self._require_failed_to_unzip(result, path.name, reasons)
            require(archives.content_of(self.console.data / folder) == before, "the folder has changed")
            self._require_empty_temporary_folder()

    def download_a_corrupt_archive(self):
        folder = self.console.data / DOWNLOADS["maps"][1]
        good = {"a-good.zip": {"a-good.txt": b"before\n"}, "z-good.zip": {"z-good.txt": b"after\n"}}
        bad = "m-corrupt.zip"
        with self.steps.step("a corrupt archive fails, the sound archives of the same download do not"):
            mark = self.console.mark()
            for name, files in good.items():
                self.office.put(archives.write_zip(self.work / name, files), f"{OPERATOR}/To Console")
            self.office.put(archives.write_corrupt_zip(self.work / bad), f"{OPERATOR}/To Console")
            names, reasons = [*good, bad], self._unzip_reasons()
            self.console.wait_for_list("maps", set(names).issubset, mark)
            result = self.console.run(f"download maps {quoted(names)}")
            self._require_failed_to_unzip(result, bad, reasons)
            for name, files in good.items():
                problems = archives.compare(archives.placed(name, archives.digests(files)), folder)
                require(not problems, "; ".join(problems))
            require(not (folder / archives.folder_of(bad)).exists(), "a part of the corrupt archive was unpacked")
            self._require_empty_temporary_folder()

    def _require_failed_to_unzip(self, result, name, reasons_before):
        require(result.errors == [{"file": name, "text": "Failed to unzip file"}], f"the records are {result.errors}")
        reasons = self._unzip_reasons() - reasons_before
        require(reasons == 1, f"the user log holds {reasons} reasons, not one")

    def _unzip_reasons(self):
        """The number of reasons in the user log why an archive was not unpacked."""
        log = self.console.data / "logs/user.log"
        text = log.read_text(encoding="utf-8") if log.exists() else ""
        return text.count("TKelvoThreadObject::ManageKelvoDownloads: ")

    def _require_empty_temporary_folder(self):
        left = list((self.console.data / "incoming").iterdir())
        require(not left, f"the temporary folder still holds {[path.name for path in left]}")

    def upload(self):
        content = {"curves": {"river bank.crv": b"curve 1\n" * 500, "Hügel 2.crv": bytes(range(256)) * 40},
                   "reports": {"2024-05-17 report.xml": b"<Report hectares='12.5'/>\n"}}
        for kind, files in content.items():
            project, folder = UPLOADS[kind]
            with self.steps.step(f"{len(files)} of {kind} uploaded: on the service, no longer on the console"):
                for name, data in files.items():
                    (self.console.data / folder / name).write_bytes(data)
                result = self.console.run(f"upload {kind} {quoted(files)}")
                require(result.ok, result.reason)
                left = list((self.console.data / folder).iterdir())
                require(not left, f"these local copies exist: {[path.name for path in left]}")
                held = self.office.files(OPERATOR, project)
                for name, data in files.items():
                    require(name in held, f"the service does not list {name}")
                    copy = self.work / "copy"
                    self.office.get(held[name]["id"], copy)
                    require(copy.read_bytes() == data, f"the service's {name} differs")

    def delete(self):
        name = next(iter(self.expected)).name
        with self.steps.step(f"{name} deleted: no longer in the list and on the service, but in the bin"):
            file_id = self.office.files(OPERATOR, "Curves")[name]["id"]
            mark = self.console.mark()
            result = self.console.run(f"delete curves {quoted([name])}")
            require(result.ok, result.reason)
            self.console.wait_for_list("curves", lambda seen: name not in seen, mark)
            require(name not in self.office.files(OPERATOR, "Curves"), "the service still lists it")
            require(file_id in [file["id"] for file in self.office.bin()], "it is not in the bin")
            require(name in self.office.files(OPERATOR, "To Console"), "it is deleted in the other inbox too")

    def evening(self):
        with self.steps.step("the logout also ends the session on the service"):
            result = self.console.run("logout")
            require(result.ok, result.reason)
            require(self.service.open_streams(0) == 0, "the event stream is still open")
        with self.steps.step("the console ends and leaves the operator's password in no file"):
            status = self.console.close()
            # The archives that could not be unpacked are failures of commands.
            require(status == 1, f"the console's exit status is {status}")
            require(not self.console.stderr(), f"the console warned: {self.console.stderr()}")
            logs = [path for path in (self.folder / "console").rglob("*") if path.is_file()]
            for path in [*logs, *self.folder.glob("*.log*")]:
                require(PASSWORDS[OPERATOR].encode() not in path.read_bytes(), f"the password is in {path}")
        with self.steps.step("the service stops on SIGTERM"):
            self.service.stop()

    def close(self):
        if self.console is not None and self.console.process.poll() is None:
            self.console.kill()
        self.service.close()

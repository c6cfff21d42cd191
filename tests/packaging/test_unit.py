"""The service works within the restrictions of its systemd unit. The test does not need a running systemd.

The test starts the service as its user, makes a farm, and transfers a file in both directions: once with a trace of all
system calls, and once with the unit's filter, which refuses forbidden calls and sockets. A table lists the findings of
`systemd-analyze security` that stay, with their reasons."""

import json
import os
import re
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import BUILD, output, packages
from kelvopackages.process import UNPRIVILEGED, Listening, ended
from kelvopackages.unit import Unit

PASSWORD = "an operator's password"
INSTANCE = "kelvo-service@one.service"  # of a fleet
# Restrictions that the units do not set, and why.
LEFT_OPEN = {
    "RootDirectoryOrRootImage": "the service uses the machine's libraries and certificate authorities",
    "RestrictAddressFamilies_AF_INET_INET6": "the service needs the network",
    "RestrictAddressFamilies_AF_UNIX": "systemd learns the state of the service on a socket, and the database may have one",
    "PrivateNetwork": "the service needs the network",
    "IPAddressDeny": "consoles have any address of the mobile network",
    "DeviceAllow": "ProtectClock adds this entry, to read the clock",
}


class UnitTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.folder.chmod(0o755)
        cls.root = cls.folder / "root"
        for package in packages().values():
            output("dpkg-deb", "--extract", package.path, cls.root)
        cls.unit = Unit(cls.root / "usr/lib/systemd/system/kelvo-service.service")
        cls.trace = cls.traced()

    @classmethod
    def command(cls, name):
        """The service's command line, its data folder, and the options that start it as its user."""
        data = cls.folder / name
        data.mkdir(0o700)
        options = {}
        if os.geteuid() == 0:
            os.chown(data, UNPRIVILEGED, UNPRIVILEGED)
            options = {"user": UNPRIVILEGED, "group": UNPRIVILEGED, "extra_groups": []}
        config = cls.root / "etc/kelvo-service/kelvo-service.conf"
        return [cls.root / "usr/bin/kelvo-service", "--config", config, "serve", "--data", data, "--listen",
                "localhost:0", "--metrics-listen", "localhost:0", "--password-cost", "min"], data, options

    @classmethod
    def traced(cls):
        """Every system call of the service during the work."""
        command, data, options = cls.command("traced")
        path = data / "trace"
        tracer = ["strace", "-f", "-I4", "-qq", "-s0", "-o", path]
        with Listening([*tracer, *command], cls.folder / "log", **options) as service:
            cls.work(service.address, data)
        return path.read_text(encoding="utf-8").splitlines()

    @classmethod
    def work(cls, address, data):
        """Uses the service with the unpacked console and kelvoctl, as a farm does."""
        environment = dict(os.environ, HOME=str(data.with_suffix(".home")), KELVOCTL_NEW_PASSWORD=PASSWORD,
                           KELVOCTL_PASSWORD=PASSWORD, KELVO_USER="olga", KELVO_PASSWORD=PASSWORD)
        to_service = ["--service", address, "--ca", data / "ca.pem"]

        def run(program, *words, **options):
            result = ended([cls.root / "usr/bin" / program, *words], env=environment, **options)
            if result.returncode != 0:
                raise AssertionError(f"{program} {words}: {result.stdout}{result.stderr}")
            return result.stdout

        def ctl(*words):
            return run("kelvoctl", "--server", address, "--ca", data / "ca.pem", "--json", *words)

        ctl("login", "admin", "--password-file", data / "admin.password")
        ctl("farm", "add", "Hill Farm")
        ctl("user", "add", "olga", "--farm", "Hill Farm", "--role", "operator")
        run("kelvo-console", "--headless", *to_service, "--data", data.with_suffix(".console"), input="login\nlogout\n")
        ctl("login", "olga")
        inboxes = [f"olga/{project['name']}" for project in json.loads(ctl("ls")) if project["resources"]]
        file = data.with_suffix(".map.zip")
        file.write_bytes(os.urandom(3_000_000))
        number = json.loads(ctl("put", file, "--to", inboxes[0]))["ids"][0]
        ctl("get", number, "-o", data.with_suffix(".again.zip"))
        ctl("rm", number)
        assert (data.with_suffix(".again.zip")).read_bytes() == file.read_bytes()

    def copy(self, name):
        """The installed unit with the paths of this test; an instance has the text of its template."""
        copy = self.folder / name
        text = (self.unit.path.parent / name.replace("@one", "@")).read_text(encoding="utf-8")
        copy.write_text(text.replace("/usr/bin/", f"{self.root}/usr/bin/"), encoding="utf-8")
        return copy

    def test_systemd_accepts_the_units(self):
        for name in (self.unit.path.name, INSTANCE):
            result = ended(["systemd-analyze", "verify", "--man=no", self.copy(name)])
            self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_changed_unit_changes_its_template(self):
        inputs = output("ninja", "-C", BUILD, "-t", "query", "build.ninja")
        self.assertIn("packaging/kelvo-service/kelvo-service.service\n", inputs)

    def test_each_missing_restriction_has_a_reason(self):
        for name in (self.unit.path.name, INSTANCE):
            found = json.loads(output("systemd-analyze", "security", "--offline=true", "--json=short", self.copy(name)))
            self.assertGreater(len(found), 50)
            # A finding without a number does not apply to this unit.
            self.assertEqual({row["json_field"] for row in found if not row["set"] and float(row["exposure"] or 0) > 0},
                             set(LEFT_OPEN))

    def test_the_service_makes_no_forbidden_system_call(self):
        self.assertGreater(len(self.unit.calls), 100)
        made = {match[1] for line in self.trace if (match := re.match(r"\d+ +(\w+)\(", line))}
        self.assertIn("accept4" if "accept4" in made else "accept", made)
        self.assertEqual(made - self.unit.calls, set())

    def test_the_service_opens_no_socket_of_a_forbidden_family(self):
        made = {match[1] for line in self.trace if (match := re.search(r"\bsocket\((AF_\w+)", line))}
        self.assertIn("AF_INET", made)
        self.assertEqual(made - self.unit.families, set())

    def test_the_service_works_with_the_filter(self):
        command, data, options = self.command("fenced")
        log = self.folder / "log.fenced"
        with Listening(command, log, preexec_fn=self.unit.filter(), **options) as service:
            status = Path(f"/proc/{service.process.pid}/status").read_text(encoding="ascii")
            self.assertRegex(status, r"(?m)^Seccomp:\t2$")
            self.work(service.address, data)
        self.assertEqual(service.status, 0, log.read_text(encoding="utf-8"))

    def test_the_filter_refuses_forbidden_calls(self):
        """Without this, the test of the service with the filter would show nothing."""
        script = ("import os, socket\n"
                  "for do in (lambda: os.sched_setscheduler(0, os.SCHED_OTHER, os.sched_param(0)), os.sync,\n"
                  "           lambda: os.chroot('/'), lambda: socket.socket(socket.AF_NETLINK, socket.SOCK_RAW)):\n"
                  "    try: do(); print('done')\n"
                  "    except OSError as error: print(error.errno)\n")
        result = ended(["/usr/bin/python3", "-c", script], preexec_fn=self.unit.filter())
        self.assertEqual(result.stdout.split(), ["1", "done", "1", "97"], result.stderr)

    def test_the_service_makes_no_memory_executable(self):
        self.assertEqual(self.unit.settings["MemoryDenyWriteExecute"], "yes")
        self.assertEqual([line for line in self.trace if re.search(r" (mprotect|pkey_mprotect)\(.*PROT_EXEC", line)
                          or re.search(r" mmap\(.*PROT_WRITE\|PROT_EXEC", line)], [])


if __name__ == "__main__":
    unittest.main()

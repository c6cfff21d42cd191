"""What the unit forbids the service, against what the service does: there is no systemd here to try it.

The service is started as its user would be, a farm is made, a file goes up and comes down: once with all its
system calls looked at, and once behind the unit's own fence of calls and sockets, where what is forbidden fails.
What is done all the same, and what systemd itself finds fault with, is named here with the reason."""

import json
import os
import re
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import output, packages
from kelvopackages.process import UNPRIVILEGED, Listening, ended
from kelvopackages.unit import Unit

PASSWORD = "an operator's password"
FAMILIES_THAT_FAIL = {
    "AF_UNIX": "the C library asks for a cache of names first, and does without",
}
# Settings that would close more, and why they are not set.
LEFT_OPEN = {
    "RootDirectoryOrRootImage": "its libraries and the authorities are the machine's",
    "RestrictAddressFamilies_AF_INET_INET6": "it is there for the network",
    "PrivateNetwork": "it is there for the network",
    "IPAddressDeny": "consoles come from wherever the mobile network puts them",
    "DeviceAllow": "the clock, for reading: ProtectClock makes the entry",
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
        """The service on a folder of its own, that folder, and who may work there."""
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
        """Every system call of a service that is worked with."""
        command, data, options = cls.command("traced")
        path = data / "trace"
        tracer = ["strace", "-f", "-I4", "-qq", "-s0", "-o", path]
        with Listening([*tracer, *command], cls.folder / "log", **options) as service:
            cls.work(service.address, data)
        return path.read_text(encoding="utf-8").splitlines()

    @classmethod
    def work(cls, address, data):
        """As the farm's people would: with the console and with kelvoctl, from where they were unpacked."""
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

    def test_systemd_takes_it(self):
        copy = self.folder / "kelvo-service.service"
        copy.write_text(self.unit.path.read_text(encoding="utf-8").replace("/usr/bin/", f"{self.root}/usr/bin/"),
                        encoding="utf-8")
        result = ended(["systemd-analyze", "verify", "--man=no", copy])
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_it_leaves_nothing_open_without_a_reason(self):
        found = json.loads(output("systemd-analyze", "security", "--offline=true", "--json=short", self.unit.path))
        self.assertGreater(len(found), 50)
        # A finding without a number does not apply.
        self.assertEqual({row["json_field"] for row in found if not row["set"] and float(row["exposure"] or 0) > 0},
                         set(LEFT_OPEN))

    def test_the_service_makes_no_call_that_is_forbidden(self):
        self.assertGreater(len(self.unit.calls), 100)
        made = {match[1] for line in self.trace if (match := re.match(r"\d+ +(\w+)\(", line))}
        self.assertIn("accept4" if "accept4" in made else "accept", made)
        self.assertEqual(made - self.unit.calls, set())

    def test_it_opens_no_socket_of_another_family(self):
        made = {match[1] for line in self.trace if (match := re.search(r"\bsocket\((AF_\w+)", line))}
        self.assertIn("AF_INET", made)
        self.assertEqual(made - self.unit.families, set(FAMILIES_THAT_FAIL))

    def test_it_works_where_that_fails(self):
        command, data, options = self.command("fenced")
        log = self.folder / "log.fenced"
        with Listening(command, log, preexec_fn=self.unit.fence(), **options) as service:
            status = Path(f"/proc/{service.process.pid}/status").read_text(encoding="ascii")
            self.assertRegex(status, r"(?m)^Seccomp:\t2$")
            self.work(service.address, data)
        self.assertEqual(service.status, 0, log.read_text(encoding="utf-8"))

    def test_the_fence_holds(self):
        """Else the test before would show nothing."""
        script = ("import os, socket\n"
                  "for do in (lambda: os.sched_setscheduler(0, os.SCHED_OTHER, os.sched_param(0)), os.sync,\n"
                  "           lambda: os.chroot('/'), lambda: socket.socket(socket.AF_NETLINK, socket.SOCK_RAW)):\n"
                  "    try: do(); print('done')\n"
                  "    except OSError as error: print(error.errno)\n")
        result = ended(["/usr/bin/python3", "-c", script], preexec_fn=self.unit.fence())
        self.assertEqual(result.stdout.split(), ["1", "done", "1", "97"], result.stderr)

    def test_it_makes_no_memory_executable(self):
        self.assertEqual(self.unit.settings["MemoryDenyWriteExecute"], "yes")
        self.assertEqual([line for line in self.trace if re.search(r" (mprotect|pkey_mprotect)\(.*PROT_EXEC", line)
                          or re.search(r" mmap\(.*PROT_WRITE\|PROT_EXEC", line)], [])


if __name__ == "__main__":
    unittest.main()

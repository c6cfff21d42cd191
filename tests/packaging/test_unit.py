"""What the unit forbids the service, against what the service does: there is no systemd here to try it.

The service is started as its user would be, a farm is made, a file goes up and comes down; all its system calls
are looked at. What is forbidden and done all the same is named here, with the reason why it may fail."""

import configparser
import json
import os
import re
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import output, packages
from kelvopackages.process import UNPRIVILEGED, Listening, ended

MAY_FAIL = {
    "prlimit64": "raises the limit of descriptors, which the unit has raised",
}
PASSWORD = "an operator's password"
FAMILIES_THAT_MAY_FAIL = {
    "AF_UNIX": "the C library asks for a cache of names first",
    "AF_NETLINK": "the C library asks which addresses there are, and does without",
}


def calls_of(names):
    """The system calls of a list as SystemCallFilter takes it."""
    found = set()
    for name in names:
        if not name.startswith("@"):
            found.add(name)
            continue
        lines = output("systemd-analyze", "syscall-filter", name).splitlines()[1:]
        found |= calls_of(line.strip() for line in lines if line.strip() and not line.strip().startswith("#"))
    return found


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
        cls.unit = cls.root / "usr/lib/systemd/system/kelvo-service.service"
        cls.trace = cls.traced()

    @classmethod
    def traced(cls):
        """Every system call of a service that is worked with."""
        data = cls.folder / "data"
        data.mkdir(0o700)
        options = {}
        if os.geteuid() == 0:
            os.chown(data, UNPRIVILEGED, UNPRIVILEGED)
            options = {"user": UNPRIVILEGED, "group": UNPRIVILEGED, "extra_groups": []}
        config = cls.root / "etc/kelvo-service/kelvo-service.conf"
        command = [cls.root / "usr/bin/kelvo-service", "--config", config, "serve", "--data", data, "--listen",
                   "localhost:0", "--metrics-listen", "localhost:0", "--password-cost", "min"]
        path = data / "trace"
        with Listening(["strace", "-f", "-I4", "-qq", "-s0", "-o", path, *command], cls.folder / "log", **options) as service:
            cls.work(service.address, data)
        return path.read_text(encoding="utf-8").splitlines()

    @classmethod
    def work(cls, address, data):
        """As the farm's people would: with the console and with kelvoctl, from where they were unpacked."""
        environment = dict(os.environ, HOME=str(cls.folder), KELVOCTL_NEW_PASSWORD=PASSWORD, KELVOCTL_PASSWORD=PASSWORD,
                           KELVO_USER="olga", KELVO_PASSWORD=PASSWORD)
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
        run("kelvo-console", "--headless", *to_service, "--data", cls.folder / "console", input="login\nlogout\n")
        ctl("login", "olga")
        inboxes = [f"olga/{project['name']}" for project in json.loads(ctl("ls")) if project["resources"]]
        file = cls.folder / "map.zip"
        file.write_bytes(os.urandom(3_000_000))
        number = json.loads(ctl("put", file, "--to", inboxes[0]))["ids"][0]
        ctl("get", number, "-o", cls.folder / "again.zip")
        ctl("rm", number)
        assert (cls.folder / "again.zip").read_bytes() == file.read_bytes()

    def settings(self):
        parser = configparser.RawConfigParser(strict=False, interpolation=None)
        parser.optionxform = str
        parser.read(self.unit, encoding="utf-8")
        return parser["Service"]

    def test_systemd_takes_it(self):
        copy = self.folder / "kelvo-service.service"
        copy.write_text(self.unit.read_text(encoding="utf-8").replace("/usr/bin/", f"{self.root}/usr/bin/"),
                        encoding="utf-8")
        result = ended(["systemd-analyze", "verify", "--man=no", copy])
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_it_leaves_little_open(self):
        result = ended(["systemd-analyze", "security", "--offline=true", "--threshold=15", self.unit])
        self.assertEqual(result.returncode, 0, result.stdout[-200:])

    def test_the_service_makes_no_call_that_is_forbidden(self):
        lists = re.findall(r"^SystemCallFilter=(~?)(.*)$", self.unit.read_text(encoding="utf-8"), re.MULTILINE)
        allowed = calls_of(name for sign, names in lists if not sign for name in names.split())
        allowed -= calls_of(name for sign, names in lists if sign for name in names.split())
        self.assertGreater(len(allowed), 100)
        made = {match[1] for line in self.trace if (match := re.match(r"\d+ +(\w+)\(", line))}
        self.assertIn("accept4" if "accept4" in made else "accept", made)
        self.assertEqual(made - allowed - set(MAY_FAIL) - {"execve"}, set())

    def test_it_opens_no_socket_of_another_family(self):
        allowed = set(self.settings()["RestrictAddressFamilies"].split())
        made = {match[1] for line in self.trace if (match := re.search(r"\bsocket\((AF_\w+)", line))}
        self.assertIn("AF_INET", made)
        self.assertEqual(made - allowed - set(FAMILIES_THAT_MAY_FAIL), set())

    def test_it_makes_no_memory_executable(self):
        self.assertEqual(self.settings()["MemoryDenyWriteExecute"], "yes")
        self.assertEqual([line for line in self.trace if re.search(r" (mprotect|pkey_mprotect)\(.*PROT_EXEC", line)
                          or re.search(r" mmap\(.*PROT_WRITE\|PROT_EXEC", line)], [])


if __name__ == "__main__":
    unittest.main()

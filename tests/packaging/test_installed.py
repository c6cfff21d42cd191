"""apt installs the packages in a minimal system, the programs run, and removal keeps the farms' data.

The minimal system already has the package files of the dependencies, and no others. Packages for ARM are installed
and run in the emulator."""

import hashlib
import http.client
import os
import re
import socket
import ssl
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import FOLDER, output, packages
from kelvopackages.process import Listening
from kelvopackages.system import System
from kelvopackages.unit import Unit

DATA = "var/lib/kelvo-service"
NAME = "service.farm.example"
PASSWORD = "an operator's password"
# The loaders, to list the libraries of a program. ldd would list the emulator's libraries.
LOADERS = {"amd64": "/lib64/ld-linux-x86-64.so.2", "armhf": "/lib/ld-linux-armhf.so.3"}


def digests(folder):
    return {str(path.relative_to(folder)): hashlib.sha256(path.read_bytes()).hexdigest()
            for path in sorted(folder.rglob("*")) if path.is_file()}


@unittest.skipUnless(os.geteuid() == 0 or os.environ.get("CI"), "chroot needs root")
class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.packages = packages()
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.root = cls.folder / "root"
        cls.root.mkdir()
        cls.data = cls.root / DATA
        cls.variables = cls.root / "etc/default/kelvo-service"
        cls.system = System(cls.root, cls.packages)
        with open(cls.root / "etc/hosts", "a", encoding="utf-8") as hosts:
            hosts.write(f"127.0.0.1 {NAME}\n")

    def service(self, log):
        """Starts the service as the unit does, with free ports instead of the fixed ones."""
        unit = Unit(self.root / "usr/lib/systemd/system/kelvo-service.service").settings
        self.assertEqual(self.root / unit["EnvironmentFile"].removeprefix("-/"), self.variables)
        environment = dict(line.split("=", 1) for line in self.variables.read_text(encoding="utf-8").splitlines())
        for addition in sorted((self.root / "usr/lib/systemd/system/kelvo-service.service.d").glob("*.conf")):
            environment |= re.findall(r"^Environment=(\w+)=(.*)$", addition.read_text(encoding="utf-8"), re.MULTILINE)
        command = [*unit["ExecStart"].split(), "--listen", "127.0.0.1:0", "--metrics-listen", "127.0.0.1:0"]
        return Listening(self.system.entering(*command, user=unit["User"]), self.folder / log,
                         env=dict(os.environ, **environment))

    def ctl(self, service, *words):
        return self.shown("/usr/bin/kelvoctl", "--server", self.address(service), "--ca", f"/{DATA}/ca.pem", *words,
                          env={"HOME": "/root", "KELVOCTL_NEW_PASSWORD": PASSWORD})

    def console(self, service, commands):
        return self.shown("/usr/bin/kelvo-console", "--headless", "--service", self.address(service),
                          "--ca", f"/{DATA}/ca.pem", "--data", "/root/console", "--script", "-", input=commands,
                          env={"HOME": "/root", "LC_ALL": "C.UTF-8", "KELVO_USER": "olga", "KELVO_PASSWORD": PASSWORD})

    def set_the_name(self):
        """Sets the service's name in its environment file, as an administrator does."""
        self.variables.write_text(f"KELVO_SERVICE_NAME={NAME}\n", encoding="utf-8")

    @staticmethod
    def address(service):
        """The service's address by its name. The service has the name only from its environment file."""
        return service.address.replace("127.0.0.1", NAME)

    def shown(self, *command, **options):
        result = self.system.run(*command, **options)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def test_install_update_remove_purge_and_install_again(self):
        """One test, because each step needs the step before it."""
        self.system.install(*self.packages)
        for name in self.packages:
            self.assertTrue(self.system.is_installed(name), name)
        self.assert_programs_run()
        self.assertEqual(self.data.stat().st_mode & 0o777, 0o700)
        self.assertNotEqual(self.data.stat().st_uid, 0)
        self.set_the_name()
        with self.service("log.1") as service:
            self.ctl(service, "login", "admin", "--password-file", f"/{DATA}/admin.password")
            self.ctl(service, "farm", "add", "Hill Farm")
            self.ctl(service, "user", "add", "olga", "--farm", "Hill Farm", "--role", "operator")
            shown = self.console(service, "login\nlogout\nlogin\nlist maps\nlogout\n")
            self.assertNotIn("FAILED", shown)
            self.assertIn("ok list", shown)
            if "kelvo-office" in self.packages:
                self.assert_page_is_served(service.address)
        self.assertEqual(service.status, 0)
        farm = digests(self.data)
        self.assertIn("kelvo.sqlite", farm)

        # An update keeps the administrator's changes to the configuration.
        config = self.root / "etc/kelvo-service/kelvo-service.conf"
        config.write_text(config.read_text(encoding="utf-8") + '\nmax-upload = 1000000\n', encoding="utf-8")
        self.system.install("kelvo-service", options=["--reinstall"])
        self.assertIn("max-upload = 1000000", config.read_text(encoding="utf-8"))

        calls = self.note_calls_of_systemctl()
        for words in (("remove", "kelvo-service"), ("purge", "kelvo-service")):
            with self.subTest(words):
                self.assertIn(f"/{DATA}", self.system.apt(*words))
                self.assertEqual(digests(self.data), farm)
                self.assertFalse((self.root / "usr/bin/kelvo-service").exists())
                self.assertEqual(config.exists(), words[0] == "remove")
                self.assertEqual(self.variables.exists(), words[0] == "remove")
        self.assertIn("stop kelvo-service.service kelvo-service@*.service\n", calls())
        self.assertFalse((self.root / "etc/kelvo-service").exists())
        self.system.apt("purge", *(name for name in self.packages if name != "kelvo-service"))
        for path in ("usr/lib/kelvo", "usr/share/kelvo", "usr/share/kelvo-badlink", "usr/share/kelvo-office",
                     "usr/lib/systemd/system/kelvo-service.service.d", "usr/bin/kelvo-console"):
            self.assertFalse(os.path.lexists(self.root / path), path)
        self.assert_archive_runs()

        # A later installation uses the data of the farm again.
        self.system.install("kelvo-service", "kelvo-plugin", "kelvo-console", "libkesdk", "libconsolehost")
        self.set_the_name()
        with self.service("log.2") as service:
            self.assertIn("ok list", self.console(service, "login\nlist maps\nlogout\n"))
        self.assertEqual(service.status, 0)

    def note_calls_of_systemctl(self):
        """The system has no systemd. A script in the place of systemctl writes its arguments to a file."""
        (self.root / "run/systemd/system").mkdir(parents=True)
        systemctl = self.root / "usr/bin/systemctl"
        systemctl.write_text('#!/bin/sh\necho "$*" >>/root/systemctl.calls\n', encoding="utf-8")
        systemctl.chmod(0o755)
        return lambda: (self.root / "root/systemctl.calls").read_text(encoding="utf-8")

    def assert_programs_run(self):
        for program in ("kelvo-console", "kelvo-service"):
            self.assertRegex(self.shown(f"/usr/bin/{program}", "--version"), r"\d+\.\d+\.\d+")
        self.assertIn("--script", self.shown("/usr/bin/kelvo-console", "--headless", "--help"))
        self.assertIn("usage: kelvo-badlink ", self.shown("/usr/bin/kelvo-badlink", "--help"))
        self.shown("/usr/bin/kelvo-badlink", "--check", "rural")
        if "kelvo-service-tools" in self.packages:
            self.assertIn("--consoles", self.shown("/usr/bin/kelvo-herd", "--help"))
        self.assertTrue((self.root / "usr/lib/kelvo/share/kelvo/translations/kelvo_de.qm").is_file())
        # All libraries of the keyboard are found, so the console can load it.
        if "kelvo-keyboard" in self.packages:
            loader = LOADERS[self.packages["kelvo-keyboard"].fields["Architecture"]]
            libraries = self.shown(loader, "--list", "/usr/lib/kelvo/lib/libkelvo-keyboard.so")
            self.assertIn("libQt5QuickWidgets", libraries)
            self.assertNotIn("not found", libraries)

    def assert_page_is_served(self, address):
        """The service serves each file that the package installs, and the files that the index names."""
        folder = self.root / "usr/share/kelvo-office"
        context = ssl.create_default_context(cafile=self.data / "ca.pem")
        host, port = address.rsplit(":", 1)
        connection = http.client.HTTPSConnection(host, int(port))
        connection.sock = context.wrap_socket(socket.create_connection((host, int(port))), server_hostname=NAME)
        served = {"/index.html": "/"}
        named = re.findall(r' (?:src|href)="(/[^"]+)"', (folder / "index.html").read_text(encoding="utf-8"))
        self.assertGreater(len(named), 1)
        for path in [*named, *(f"/{file.relative_to(folder)}" for file in sorted(folder.rglob("*"))
                               if file.is_file() and file.suffix not in (".br", ".gz"))]:
            with self.subTest(path):
                connection.request("GET", served.get(path, path))
                answer = connection.getresponse()
                self.assertEqual((answer.status, answer.read()), (200, (folder / path[1:]).read_bytes()))
        connection.close()

    def assert_archive_runs(self):
        """Unpacks the archive into /opt and runs it there, without the packages."""
        archive, = FOLDER.glob("*.tar.xz")
        output("tar", "-C", self.root / "opt", "-xf", archive)
        folder = f"/opt/{archive.name.removesuffix('.tar.xz')}"
        for program in ("kelvo-badlink", "kelvo-console", "kelvo-service", "kelvoctl"):
            self.shown(f"{folder}/usr/bin/{program}", "--help")
        # The console of the archive loads the plug-in of the archive.
        shown = self.shown(f"{folder}/usr/bin/kelvo-console", "--headless", "--data", "/root/other", "--script", "-",
                           input="status\n", env={"HOME": "/root"})
        self.assertIn("ok status", shown)


if __name__ == "__main__":
    unittest.main()

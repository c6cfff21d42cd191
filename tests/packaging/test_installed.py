"""The packages in a system that has nothing else: apt installs them, the programs run, nothing of the farm's goes.

The system is a folder that is changed into, without systemd; needs root. apt has no network: what it takes is
fetched already, with the packages that ours depend on and no others."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import FOLDER, TREE, output, packages
from kelvopackages.process import Listening, ended

DATA = "var/lib/kelvo-service"
PASSWORD = "an operator's password"
# Mounts that go away with the process.
ENTER = ["unshare", "--mount", "sh", "-c",
         'for f in proc dev; do mount --rbind "/$f" "$0/$f"; done && exec chroot "$@"']


@unittest.skipUnless(os.geteuid() == 0 or os.environ.get("CI"), "only root changes into another system")
class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.packages = packages()
        needed = sorted({name for package in cls.packages.values() for name in package.relations()}
                        - set(cls.packages))
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.root = cls.folder / "root"
        cls.root.mkdir()
        archive = output(TREE / "scripts/clean-root", *needed).strip()
        output("tar", "-C", cls.root, "-xf", archive)
        (cls.root / "packages").mkdir()
        for package in FOLDER.glob("*.deb"):
            shutil.copy(package, cls.root / "packages")

    def inside(self, *command, user=None, **options):
        return ended(self.entering(*command, user=user), **options)

    def entering(self, *command, user=None):
        as_user = [f"--userspec={user}:{user}"] if user else []
        return [*ENTER, self.root, *as_user, self.root, *command]

    def apt(self, *words):
        result = self.inside("apt-get", "--yes", "--no-install-recommends", *words,
                             env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive",
                                  "LC_ALL": "C.UTF-8"})
        self.assertEqual(result.returncode, 0, result.stdout[-2000:] + result.stderr[-2000:])
        return result.stdout + result.stderr

    def install(self, *names):
        return self.apt("install", *(f"/packages/{self.packages[name].path.name}" for name in names))

    def is_installed(self, name):
        return "ok installed" in self.inside("dpkg-query", "-W", "-f", "${Status}", name).stdout

    def service(self, log):
        command = self.entering("/usr/bin/kelvo-service", "--config", "/etc/kelvo-service/kelvo-service.conf", "serve",
                                "--listen", "127.0.0.1:0", "--metrics-listen", "127.0.0.1:0", user="kelvo-service")
        return Listening(command, self.folder / log)

    def ctl(self, address, *words):
        result = self.inside("/usr/bin/kelvoctl", "--server", address, "--ca", f"/{DATA}/ca.pem", *words,
                             env={"HOME": "/root", "KELVOCTL_NEW_PASSWORD": PASSWORD})
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def console(self, address, commands):
        result = self.inside("/usr/bin/kelvo-console", "--headless", "--service", address, "--ca", f"/{DATA}/ca.pem",
                             "--data", "/root/console", "--script", "-", input=commands,
                             env={"HOME": "/root", "LC_ALL": "C.UTF-8", "KELVO_USER": "olga", "KELVO_PASSWORD": PASSWORD})
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout

    def test_a_life(self):
        """In one piece, because each step stands on the one before."""
        self.install(*self.packages)
        for name in self.packages:
            self.assertTrue(self.is_installed(name), name)
        for program in ("kelvo-console", "kelvo-service"):
            with self.subTest(program):
                result = self.inside(f"/usr/bin/{program}", "--version")
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertRegex(result.stdout, r"\d+\.\d+\.\d+")
        self.assertEqual(self.inside("test", "-f", "/usr/lib/kelvo/share/kelvo/translations/kelvo_de.qm").returncode, 0)
        # The console finds it beside itself and asks it for a function; Qt would say what it lacks.
        missing = self.inside("ldd", "/usr/lib/kelvo/lib/libkelvo-keyboard.so").stdout
        self.assertIn("libQt5QuickWidgets", missing)
        self.assertNotIn("not found", missing)

        data = self.root / DATA
        self.assertEqual(data.stat().st_mode & 0o777, 0o700)
        self.assertNotEqual(data.stat().st_uid, 0)
        with self.service("log.1") as service:
            self.ctl(service.address, "login", "admin", "--password-file", f"/{DATA}/admin.password")
            self.ctl(service.address, "farm", "add", "Hill Farm")
            self.ctl(service.address, "user", "add", "olga", "--farm", "Hill Farm", "--role", "operator")
            shown = self.console(service.address, "login\nlogout\nlogin\nlist maps\nlogout\n")
            self.assertNotIn("FAILED", shown)
            self.assertIn("ok list", shown)
        self.assertEqual(service.status, 0)

        # An update keeps what the administrator wrote.
        config = self.root / "etc/kelvo-service/kelvo-service.conf"
        config.write_text(config.read_text(encoding="utf-8") + '\nmax-upload = 1000000\n', encoding="utf-8")
        self.apt("install", "--reinstall", f"/packages/{self.packages['kelvo-service'].path.name}")
        self.assertIn("max-upload = 1000000", config.read_text(encoding="utf-8"))

        for words in (("remove", "kelvo-service"), ("purge", "kelvo-service")):
            with self.subTest(words):
                said = self.apt(*words)
                self.assertIn(f"/{DATA}", said)
                self.assertTrue((data / "kelvo.sqlite").is_file())
                self.assertFalse((self.root / "usr/bin/kelvo-service").exists())
                self.assertEqual(config.exists(), words[0] == "remove")
        self.assertFalse((self.root / "etc/kelvo-service").exists())
        self.apt("purge", *(name for name in self.packages if name != "kelvo-service"))
        for path in ("usr/lib/kelvo", "usr/share/kelvo", "usr/bin/kelvo-console"):
            self.assertFalse(os.path.lexists(self.root / path), path)

        # Who comes back finds the farm as it was.
        self.install("kelvo-service", "kelvo-plugin", "kelvo-console", "libkesdk", "libconsolehost")
        with self.service("log.2") as service:
            self.assertIn("ok list", self.console(service.address, "login\nlist maps\nlogout\n"))
        self.assertEqual(service.status, 0)


if __name__ == "__main__":
    unittest.main()

"""A minimal Debian system in a folder, entered by chroot, without systemd and without a network. Needs root. A system
of another architecture runs in the emulator."""

import shutil
from pathlib import Path

from kelvopackages.package import TREE, architecture, output
from kelvopackages.process import ended

# The mounts end with the process.
ENTER = ["unshare", "--mount", "sh", "-c",
         'for f in proc dev; do mount --rbind "/$f" "$0/$f"; done && exec chroot "$@"']


class System:
    def __init__(self, folder, packages):
        """Unpacks the system into an empty folder. apt can then install `packages` and their dependencies."""
        self.packages = packages
        self.root = Path(folder)
        built_for = architecture()
        self.is_emulated = built_for != output("dpkg", "--print-architecture").strip()
        needed = sorted({name for package in packages.values() for name in package.relations()} - set(packages))
        archive = output(TREE / "scripts/clean-root", "--arch", built_for, *needed).strip()
        output("tar", "-C", self.root, "-xf", archive)
        (self.root / "packages").mkdir()
        for package in packages.values():
            shutil.copy(package.path, self.root / "packages")

    def entering(self, *command, user=None):
        """The command line that runs a command inside the system."""
        emulated = [TREE / "scripts/with-qemu-arm"] if self.is_emulated else []
        as_user = [f"--userspec={user}:{user}"] if user else []
        return [*emulated, *ENTER, self.root, *as_user, self.root, *command]

    def run(self, *command, user=None, **options):
        return ended(self.entering(*command, user=user), **options)

    def apt(self, *words):
        result = self.run("apt-get", "--yes", "--no-install-recommends", *words,
                          env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive",
                               "LC_ALL": "C.UTF-8"})
        if result.returncode != 0:
            raise AssertionError(result.stdout[-2000:] + result.stderr[-2000:])
        return result.stdout + result.stderr

    def install(self, *names, options=()):
        return self.apt("install", *options, *(f"/packages/{self.packages[name].path.name}" for name in names))

    def is_installed(self, name):
        return "ok installed" in self.run("dpkg-query", "-W", "-f", "${Status}", name).stdout

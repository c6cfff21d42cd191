"""The packages depend on the libraries that their binaries need."""

import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import TREE, Binary, binaries, output, packages

SYSROOT = os.environ.get("KELVO_SYSROOT", "")


def table():
    rows = (TREE / "packaging/libraries.txt").read_text(encoding="utf-8").splitlines()
    return {row.split()[0]: row.split()[1:] for row in rows if row and not row.startswith("#")}


def is_older(version, other):
    return subprocess.run(["dpkg", "--compare-versions", version, "lt", other], check=False).returncode == 0


class RelationsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.packages = packages()
        cls.binaries = {name: [Binary(path) for path in binaries(package.extract(cls.folder / name))]
                        for name, package in cls.packages.items()}

    def needed(self):
        for name, found in self.binaries.items():
            for binary in found:
                for library in binary.entries("NEEDED"):
                    yield name, binary, library

    def test_each_package_depends_on_the_packages_of_its_libraries(self):
        rows = table()
        for name, binary, library in self.needed():
            with self.subTest(package=name, binary=binary.path.name, library=library):
                package, version = rows[library]
                depends = self.packages[name].relations()
                self.assertIn(package, depends)
                if version not in "=-":
                    self.assertFalse(is_older(depends[package], version))

    def test_our_packages_depend_on_the_same_version(self):
        seen = 0
        for name, package in self.packages.items():
            for other, version in package.relations().items():
                if other in self.packages:
                    seen += 1
                    self.assertEqual(version, package.fields["Version"], name)
        self.assertEqual(seen, 5 if "kelvo-service-postgresql" in self.packages else 4)

    def test_our_libraries_are_in_the_search_path_of_the_binaries(self):
        installed = {member.name.removeprefix("."): name for name, package in self.packages.items()
                     for member in package.members()}
        for name, binary, library in self.needed():
            if library in ("libkesdk.so", "libconsolehost.so"):
                origin = "/" + str(binary.path.parent.relative_to(self.folder / name))
                folder = os.path.normpath(binary.entries("RUNPATH")[0].replace("$ORIGIN", origin))
                self.assertIn(f"{folder}/{library}", installed)
                self.assertIn(installed[f"{folder}/{library}"], self.packages[name].relations())

    def test_the_package_with_python_needs_python_3_11(self):
        """badlink reads its scenarios with `tomllib`, which is new in 3.11."""
        seen = 0
        for name, package in self.packages.items():
            if any(member.name.endswith(".py") for member in package.members()):
                seen += 1
                self.assertFalse(is_older(package.relations()["python3"], "3.11"), name)
        self.assertEqual(seen, 1)

    @unittest.skipIf(SYSROOT, "the machine's package database does not have the packages of the target")
    def test_the_table_has_no_lower_version_than_dpkg_shlibdeps(self):
        for name, found in self.binaries.items():
            if not found:
                continue
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                (Path(folder) / "debian").mkdir()
                (Path(folder) / "debian/control").write_text("Source: x\n\nPackage: x\nArchitecture: any\n",
                                                             encoding="utf-8")
                own = [f"-l{self.folder}/{other}/usr/lib/kelvo/lib" for other in self.packages]
                text = subprocess.run(["dpkg-shlibdeps", "-O", "--ignore-missing-info", *own,
                                       *[str(binary.path) for binary in found]],
                                      cwd=folder, capture_output=True, text=True, check=True).stdout
                depends = self.packages[name].relations()
                relations = re.search(r"^shlibs:Depends=(.*)$", text, re.MULTILINE)[1].split(", ")
                for relation in relations:
                    match = re.match(r"(\S+)(?: \(>= (\S+)\))?", relation)  # the first alternative
                    self.assertIn(match[1], depends)
                    if match[2]:
                        self.assertFalse(is_older(depends[match[1]], match[2]), relation)

    @unittest.skipUnless(SYSROOT, "needs a sysroot")
    def test_the_sysroot_has_each_library_of_the_table(self):
        rows = table()
        for name, _, library in self.needed():
            if rows[library][1] == "=":
                continue
            with self.subTest(package=name, library=library):
                self.assertTrue(list(Path(SYSROOT).glob(f"usr/lib/*/{library}"))
                                + list(Path(SYSROOT).glob(f"lib/*/{library}")))

    def test_each_row_of_the_table_is_needed(self):
        if os.environ.get("KELVO_PACKAGES_MISSING"):
            self.skipTest("some packages are not built")
        needed = {library for _, _, library in self.needed()}
        other_machines = {"ld-linux-armhf.so.3", "ld-linux-x86-64.so.2", "libatomic.so.1", "libm.so.6"}
        self.assertEqual(set(table()) - needed - other_machines, set())


if __name__ == "__main__":
    unittest.main()

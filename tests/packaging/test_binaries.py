"""The packaged programs and libraries: stripped, hardened, and without a trace of where they were built."""

import re
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import BUILD, READELF, TREE, Binary, binaries, debug_packages, output, packages

# Which of them look for our own libraries, and where. Nobody else looks anywhere.
RUNPATHS = {"libkelvo.so": "$ORIGIN", "kelvo-console": "$ORIGIN/../lib"}
# A path that is none of the distribution's, as the compiler writes them between zeros.
ELSEWHERE = re.compile(rb"\0(/(?!usr/)[\w.+/~-]{8,}/[\w.+-]+)\0")
# The plug-in has to carry the names that the host resolves; the others what the loader wants.
NO_SYMBOLS = {".symtab", ".strtab", ".debug_info", ".debug_line", ".debug_str"}


class BinariesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.packages = packages()
        cls.binaries = {}
        for name, package in cls.packages.items():
            cls.binaries[name] = [Binary(path) for path in
                                  binaries(package.extract(Path(cls.folder.name) / name))]

    def each(self):
        for name, found in self.binaries.items():
            for binary in found:
                with self.subTest(package=name, binary=binary.path.name):
                    yield name, binary

    def test_every_package_has_some_but_those_for_all_architectures(self):
        for_all = [name for name, package in self.packages.items() if package.fields["Architecture"] == "all"]
        self.assertEqual([name for name, found in self.binaries.items() if not found], for_all)

    def test_they_are_of_the_packages_architecture(self):
        machines = {"amd64": "X86-64", "armhf": "ARM", "arm64": "AArch64"}
        for name, binary in self.each():
            machine = machines[self.packages[name].fields["Architecture"]]
            self.assertRegex(output(READELF, "--file-header", binary.path), rf"Machine: .*\b{machine}\b")

    def test_they_are_stripped(self):
        for _, binary in self.each():
            self.assertEqual(NO_SYMBOLS & set(binary.sections), set())

    def test_their_debug_symbols_are_in_the_package_beside(self):
        debug = debug_packages()
        self.assertEqual(sorted(debug), sorted(f"{name}-dbgsym" for name, found in self.binaries.items() if found))
        paths = {name: {member.name for member in package.members()} for name, package in debug.items()}
        for name, binary in self.each():
            build_id = binary.build_id()
            self.assertIn(f"./usr/lib/debug/.build-id/{build_id[:2]}/{build_id[2:]}.debug", paths[f"{name}-dbgsym"])
            self.assertIn(".gnu_debuglink", binary.sections)

    def test_they_look_for_libraries_nowhere_else(self):
        for _, binary in self.each():
            self.assertEqual(binary.entries("RPATH"), [])
            wanted = RUNPATHS.get(binary.path.name)
            self.assertEqual(binary.entries("RUNPATH"), [wanted] if wanted else [])

    def test_they_do_not_say_where_they_were_built(self):
        for _, binary in self.each():
            self.assertEqual(self.told_by(binary.path.read_bytes()), [])

    def test_nor_do_the_debug_symbols(self):
        for name, package in debug_packages().items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                for path in binaries(package.extract(Path(folder) / "x")):
                    self.assertLessEqual({".debug_info", ".debug_line"}, set(Binary(path).sections))
                    content = path.read_bytes()
                    self.assertEqual(self.told_by(content), [])
                    # Nor where somebody else built who shares the compiler's cache.
                    self.assertEqual(set(ELSEWHERE.findall(content)), set())

    def told_by(self, content):
        return [str(folder) for folder in {TREE, BUILD} if str(folder).encode() + b"/" in content]

    def test_the_loader_closes_their_tables(self):
        for _, binary in self.each():
            headers = output(READELF, "--wide", "--segments", binary.path)
            self.assertIn("GNU_RELRO", headers)
            self.assertRegex(headers, r"GNU_STACK.* RW ")
            self.assertIn("DYN (", output(READELF, "--file-header", binary.path))

    def test_scripts_are_sound_shell(self):
        scripts = [path for name in self.packages for path in (Path(self.folder.name) / name / "DEBIAN").iterdir()
                   if re.match(r"(pre|post)(inst|rm)$", path.name)]
        self.assertEqual(len(scripts), 3 if "kelvo-service" in self.packages else 0)
        for path in scripts:
            with self.subTest(path.name):
                self.assertTrue(path.stat().st_mode & 0o111)
                output("shellcheck", "--shell=sh", path)

    def test_so_are_those_that_make_them(self):
        output("shellcheck", "--external-sources", f"--source-path={TREE}",
               *(TREE / "scripts" / name for name in ("package", "clean-root")))


if __name__ == "__main__":
    unittest.main()

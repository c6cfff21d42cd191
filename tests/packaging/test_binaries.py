"""The packaged programs and libraries are stripped, hardened, and contain no path of the build machine."""

import re
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import BUILD, READELF, TREE, Binary, binaries, debug_packages, output, packages

# The binaries with a search path for our own libraries. All others have no search path.
RUNPATHS = {"libkelvo.so": "$ORIGIN", "kelvo-console": "$ORIGIN/../lib"}
# A path outside /usr between two zero bytes, as the compiler writes paths.
ELSEWHERE = re.compile(rb"\0(/(?!usr/)[\w.+/~-]{8,}/[\w.+-]+)\0")
MAINTAINER_SCRIPT = re.compile(r"(pre|post)(inst|rm)$")
# cpack writes scripts that call ldconfig, because the library is in a folder of /usr/lib.
WRITTEN_BY_CPACK = {"kelvo-service-postgresql": ["postinst", "postrm"]}
# Sections that a stripped binary does not have. The names that the loader needs are in other sections.
NO_SYMBOLS = {".symtab", ".strtab", ".debug_info", ".debug_line", ".debug_str"}


def maintainer_scripts(folder):
    return sorted(path for path in folder.glob("*") if MAINTAINER_SCRIPT.match(path.name))


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

    def test_every_package_for_one_architecture_has_binaries(self):
        for_all = [name for name, package in self.packages.items() if package.fields["Architecture"] == "all"]
        self.assertEqual([name for name, found in self.binaries.items() if not found], for_all)

    def test_binaries_have_the_architecture_of_their_package(self):
        machines = {"amd64": "X86-64", "armhf": "ARM", "arm64": "AArch64"}
        for name, binary in self.each():
            machine = machines[self.packages[name].fields["Architecture"]]
            self.assertRegex(output(READELF, "--file-header", binary.path), rf"Machine: .*\b{machine}\b")

    def test_binaries_are_stripped(self):
        for _, binary in self.each():
            self.assertEqual(NO_SYMBOLS & set(binary.sections), set())

    def test_debug_symbols_are_in_the_dbgsym_package(self):
        debug = debug_packages()
        self.assertEqual(sorted(debug), sorted(f"{name}-dbgsym" for name, found in self.binaries.items() if found))
        paths = {name: {member.name for member in package.members()} for name, package in debug.items()}
        for name, binary in self.each():
            build_id = binary.build_id()
            self.assertIn(f"./usr/lib/debug/.build-id/{build_id[:2]}/{build_id[2:]}.debug", paths[f"{name}-dbgsym"])
            self.assertIn(".gnu_debuglink", binary.sections)

    def test_binaries_have_no_other_search_path_for_libraries(self):
        for _, binary in self.each():
            self.assertEqual(binary.entries("RPATH"), [])
            wanted = RUNPATHS.get(binary.path.name)
            self.assertEqual(binary.entries("RUNPATH"), [wanted] if wanted else [])

    def test_binaries_contain_no_path_of_the_build(self):
        for _, binary in self.each():
            self.assertEqual(self.build_paths_in(binary.path.read_bytes()), [])

    def test_debug_symbols_contain_no_path_of_the_build(self):
        for name, package in debug_packages().items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                for path in binaries(package.extract(Path(folder) / "x")):
                    self.assertLessEqual({".debug_info", ".debug_line"}, set(Binary(path).sections))
                    content = path.read_bytes()
                    self.assertEqual(self.build_paths_in(content), [])
                    # Paths of another build with the same compiler cache are not allowed either.
                    self.assertEqual(set(ELSEWHERE.findall(content)), set())

    def build_paths_in(self, content):
        return [str(folder) for folder in {TREE, BUILD} if str(folder).encode() + b"/" in content]

    def test_relocations_are_read_only_and_the_stack_is_not_executable(self):
        for _, binary in self.each():
            headers = output(READELF, "--wide", "--segments", binary.path)
            self.assertIn("GNU_RELRO", headers)
            self.assertRegex(headers, r"GNU_STACK.* RW ")
            self.assertIn("DYN (", output(READELF, "--file-header", binary.path))

    def test_each_package_has_its_maintainer_scripts_and_shellcheck_accepts_them(self):
        for name in self.packages:
            with self.subTest(name):
                scripts = maintainer_scripts(Path(self.folder.name) / name / "DEBIAN")
                wanted = maintainer_scripts(TREE / "packaging" / name)
                self.assertEqual([path.name for path in scripts],
                                 [path.name for path in wanted] or WRITTEN_BY_CPACK.get(name, []))
                for path in scripts:
                    self.assertTrue(path.stat().st_mode & 0o111)
                    output("shellcheck", "--shell=sh", path)

    def test_shellcheck_accepts_the_packaging_scripts(self):
        output("shellcheck", "--external-sources", f"--source-path={TREE}",
               *(TREE / "scripts" / name for name in ("package", "clean-root")))


if __name__ == "__main__":
    unittest.main()

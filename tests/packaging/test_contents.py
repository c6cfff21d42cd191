"""Each package installs the files of its list in contents/."""

import hashlib
import os
import re
import tarfile
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import FOLDER, architecture, debug_packages, packages

LISTS = Path(__file__).parent / "contents"


# The lists have a star for names that change: a file of the page has a digest of its content in its name, and the
# pictures of a guide are those that the guide shows.
CHANGING = re.compile(r"(?<=/assets/)[^/]*-[\w-]{8}(?=\.)|(?<=/pictures/office/)[^/]*(?=\.png$)")
PICTURE = re.compile(r"\]\((pictures/[^)]*)\)")


def line(member):
    kind = {b"5": "d", b"2": "l"}.get(member.type, "-")
    target = f" -> {member.linkname}" if member.issym() else ""
    name = CHANGING.sub("*", member.name.removeprefix("."))
    return f"{kind} {member.mode:04o} {name}{target}"


class ContentsTest(unittest.TestCase):
    maxDiff = None

    def test_each_list_has_a_package_and_each_package_a_list(self):
        not_built = os.environ.get("KELVO_PACKAGES_MISSING", "").split()
        self.assertEqual(sorted(packages()), sorted({path.stem for path in LISTS.glob("*.txt")} - set(not_built)))

    def test_each_package_installs_the_files_of_its_list(self):
        for name, package in packages().items():
            with self.subTest(name):
                found = sorted({line(member) for member in package.members() if not member.isdir()})
                wanted = sorted((LISTS / f"{name}.txt").read_text(encoding="utf-8").splitlines())
                self.assertEqual(found, wanted)

    def test_each_packaged_guide_has_the_pictures_that_it_shows_and_no_others(self):
        for package in packages().values():
            with self.subTest(package.name), tempfile.TemporaryDirectory() as folder:
                guides = package.extract(Path(folder) / "x") / "usr/share/doc" / package.name
                shown = {name for page in guides.glob("*.md")
                         for name in PICTURE.findall(page.read_text(encoding="utf-8"))}
                self.assertEqual({str(path.relative_to(guides)) for path in guides.rglob("*.png")}, shown)

    def test_all_files_belong_to_root_and_have_the_same_time(self):
        for package in [*packages().values(), *debug_packages().values()]:
            with self.subTest(package.name):
                members = package.members()
                self.assertEqual({(member.uid, member.gid) for member in members}, {(0, 0)})
                self.assertEqual(len({member.mtime for member in members}), 1)
                self.assertEqual({member.mode for member in members if member.isdir()}, {0o755})

    def test_no_file_is_in_two_packages(self):
        owners = {}
        for package in packages().values():
            for member in package.members():
                if not member.isdir():
                    self.assertNotIn(member.name, owners, package.name)
                    owners[member.name] = package.name

    def test_each_package_has_the_correct_digests_of_its_files(self):
        """`dpkg --verify` uses these digests."""
        for package in [*packages().values(), *debug_packages().values()]:
            with self.subTest(package.name), tempfile.TemporaryDirectory() as folder:
                root = package.extract(Path(folder) / "x")
                self.assertEqual(package.digests(), {
                    member.name.removeprefix("./"): hashlib.md5((root / member.name).read_bytes()).hexdigest()
                    for member in package.members() if member.isreg()})

    def test_the_archive_holds_the_files_of_all_packages(self):
        path, = FOLDER.glob("*.tar.xz")
        version = next(iter(packages().values())).fields["Version"]
        folder = f"kelvo-{version}-{architecture()}"
        self.assertEqual(path.name, f"{folder}.tar.xz")
        with tarfile.open(path) as archive:
            members = [member for member in archive if not member.isdir()]
        self.assertEqual({(member.uid, member.gid) for member in members}, {(0, 0)})
        self.assertEqual(len({member.mtime for member in members}), 1)
        for member in members:
            member.name = member.name.removeprefix(folder)
        self.assertEqual(sorted(line(member) for member in members),
                         sorted(line(member) for package in packages().values() for member in package.members()
                                if not member.isdir()))

    def test_sha256sums_has_the_digest_of_every_file(self):
        digests = dict(reversed(row.split("  ")) for row in (FOLDER / "SHA256SUMS").read_text("ascii").splitlines())
        self.assertEqual(digests, {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
                                   for path in FOLDER.iterdir() if path.name != "SHA256SUMS"})

    def test_each_package_has_a_description_and_the_same_version(self):
        for name, package in packages().items():
            with self.subTest(name):
                summary, *text = package.fields["Description"].split("\n")
                self.assertTrue(text)
                self.assertLessEqual(len(summary), 80)
                self.assertEqual(package.fields["Version"], next(iter(packages().values())).fields["Version"])


if __name__ == "__main__":
    unittest.main()

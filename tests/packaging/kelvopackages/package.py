"""A Debian package file: its fields and its members."""

import os
import re
import subprocess
import tarfile
from pathlib import Path

FOLDER = Path(os.environ["KELVO_PACKAGES"])
TREE = Path(os.environ["KELVO_TREE"])
BUILD = Path(os.environ["KELVO_BUILD"])
READELF = os.environ.get("READELF") or "readelf"


def output(*command):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, check=True).stdout


class Package:
    def __init__(self, path):
        self.path = Path(path)
        text = output("dpkg-deb", "--field", path)
        self.fields = dict(re.findall(r"^([A-Za-z-]+): (.*(?:\n .*)*)", text, re.MULTILINE))
        self.name = self.fields["Package"]

    def relations(self, field="Depends"):
        """{package name: lowest version or None}"""
        found = {}
        for relation in filter(None, self.fields.get(field, "").split(", ")):
            match = re.fullmatch(r"(\S+)(?: \((>=|=) (\S+)\))?", relation)
            found[match[1]] = match[3]
        return found

    def members(self):
        with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", self.path], stdout=subprocess.PIPE) as process:
            with tarfile.open(fileobj=process.stdout, mode="r|") as archive:
                return list(archive)

    def digests(self):
        """{path below the system's root: MD5}, from the package's own list."""
        text = output("dpkg-deb", "--info", self.path, "md5sums")
        return dict(reversed(row.split("  ")) for row in text.splitlines())

    def extract(self, folder):
        """Extracts the files into the folder, and the scripts into its folder DEBIAN."""
        output("dpkg-deb", "--raw-extract", self.path, folder)
        return Path(folder)


def packages():
    """{name: package}, without the packages of debug symbols."""
    return {package.name: package for package in map(Package, sorted(FOLDER.glob("*.deb")))}


def architecture():
    """The architecture of the programs. Packages for all architectures do not count."""
    one, = {package.fields["Architecture"] for package in packages().values()} - {"all"}
    return one


def debug_packages():
    return {package.name: package for package in map(Package, sorted(FOLDER.glob("*.ddeb")))}


def binaries(folder):
    """The ELF files below a folder."""
    found = []
    for path in sorted(Path(folder).rglob("*")):
        if path.is_file() and not path.is_symlink():
            with path.open("rb") as file:
                if file.read(4) == b"\x7fELF":
                    found.append(path)
    return found


class Binary:
    def __init__(self, path):
        self.path = path
        self.dynamic = output(READELF, "--wide", "--dynamic", path)
        self.sections = re.findall(r"^ *\[ *\d+\] (\S+)", output(READELF, "--wide", "--sections", path), re.MULTILINE)

    def entries(self, tag):
        return re.findall(rf"\({tag}\).*\[(.*)\]", self.dynamic)

    def build_id(self):
        return re.search(r"Build ID: ([0-9a-f]+)", output(READELF, "--notes", self.path))[1]

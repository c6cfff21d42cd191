"""The same commit, built in another folder and another time zone, gives the same packages, byte by byte.

The test shows that generating, linking, stripping and packing do not depend on folder, time and time zone. For
compiling, it shows this only for a part of the files, because ccache returns most objects, the same for both builds. So
the test compiles one of SHARE files, at least one, in both folders without the cache and compares the objects. The
commit's name selects the files, so each commit selects others. KELVO_SHARE=1 compiles all files. A second test checks
that no source uses the build time.

Packages with ccache and without ccache differ: the debug symbols write some folders in another way (src/./files). The
test does not try another machine or another compiler.

If the tree has no changes, the test compares with the packages of this build. Otherwise it compares two clones, because
a clone has only the committed files."""

import hashlib
import json
import os
import shlex
import subprocess
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import BUILD, FOLDER, TREE, output

SHARE = int(os.environ.get("KELVO_SHARE", "32"))
SYSROOT = os.environ.get("KELVO_SYSROOT", "")


def digests(folder):
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in sorted(Path(folder).iterdir())
            if path.name != "SHA256SUMS"}


def run(folder, *command):
    result = subprocess.run([str(word) for word in command], cwd=folder, check=False, capture_output=True, text=True,
                            stdin=subprocess.DEVNULL, env=dict(os.environ, TZ="Asia/Kathmandu"))
    if result.returncode != 0:
        raise AssertionError(result.stdout[-3000:] + result.stderr[-3000:])
    return result.stdout


def clone_build(folder):
    """Builds the tree's commit in the folder. Returns the build folder. The packages are in the folder `out`."""
    output("git", "clone", "--quiet", "--no-local", "--depth=1", TREE.as_uri(), folder)
    run(folder, "scripts/package", "--out", "out", *(["--arch", "armhf"] if SYSROOT else []))
    return folder / "build" / ("arm" if SYSROOT else "check")


def share(files, commit):
    return sorted(files, key=lambda name: hashlib.sha256(f"{commit} {name}".encode()).digest())[
        :max(1, len(files) // SHARE)]


def compiled_without_cache(build, files):
    """Compiles the files and returns the digests of the objects. compile_commands.json does not contain ccache."""
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        words = shlex.split(entry["command"])
        position = words.index("-o") + 1
        if words[position] in files:
            name = words[position]
            with tempfile.NamedTemporaryFile(suffix=".o") as file:
                words[position] = file.name
                run(entry["directory"], *words)
                found[name] = hashlib.sha256(Path(file.name).read_bytes()).hexdigest()
    return found


class ReproducibleTest(unittest.TestCase):
    def test_another_folder_gives_the_same_packages(self):
        is_changed = output("git", "-C", TREE, "status", "--porcelain", "--untracked-files=no")
        with tempfile.TemporaryDirectory() as folder:
            there = clone_build(Path(folder) / "a/place/farther/down")
            here = clone_build(Path(folder) / "here") if is_changed else BUILD
            packages = digests(there.parent.parent / "out")
            self.assertGreater(len(packages), 4)
            self.assertEqual(digests(here.parent.parent / "out" if is_changed else FOLDER), packages)
            commit = output("git", "-C", TREE, "rev-parse", "HEAD").strip()
            files = share([name for name in run(there, "ninja", "-t", "inputs", "shipped").split()
                           if name.endswith(".o")], commit)
            self.assertTrue(files)
            objects = compiled_without_cache(there, files)
            self.assertEqual(sorted(objects), sorted(files))
            self.assertEqual(compiled_without_cache(here, files), objects)

    def test_no_source_uses_the_build_time(self):
        result = subprocess.run(["git", "-C", TREE, "grep", "-n", "-E", "__(DATE|TIME|TIMESTAMP)__", "--", "*.cpp",
                                 "*.h", "*.in"], check=False, capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (1, ""))


if __name__ == "__main__":
    unittest.main()

"""The same commit built in another folder, in another time zone, makes the same packages, byte by byte.

What it shows: that nothing of the folder, the time or the zone gets in where files are generated, linked, stripped and
packed. Of the compiler it shows that for a part only: what was compiled before comes out of ccache, the same for both.
So one file in SHARE, at least one, is compiled in both folders without the cache, by the commit's name others each
time, and compared; that no source asks for the time is looked at in all of them. KELVO_SHARE=1 compiles all.
Not shown, and not so: the same packages with ccache as without, because debug symbols then spell some folders
otherwise (src/./files). Another machine or another compiler is not tried.

Compared is with the packages of this build if nothing in the tree is changed, else with those of a third folder:
a clone has what is committed and nothing else."""

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
SHIPPED = ["kelvo", "kesdk", "consolehost", "kelvo-console", "kelvo-service", "kelvoctl"]


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
    """Builds the tree's commit in the folder and gives where. The packages are in `out` there."""
    output("git", "clone", "--quiet", "--no-local", "--depth=1", TREE.as_uri(), folder)
    run(folder, "scripts/package", "--out", "out", *(["--arch", "armhf"] if SYSROOT else []))
    return folder / "build" / ("arm" if SYSROOT else "check")


def share(files, commit):
    return sorted(files, key=lambda name: hashlib.sha256(f"{commit} {name}".encode()).digest())[
        :max(1, len(files) // SHARE)]


def compiled_anew(build, files):
    """The object files' digests, from the compiler itself: its commands are listed without the cache."""
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
    def test_another_folder_makes_the_same(self):
        is_changed = output("git", "-C", TREE, "status", "--porcelain", "--untracked-files=no")
        with tempfile.TemporaryDirectory() as folder:
            there = clone_build(Path(folder) / "a/place/farther/down")
            here = clone_build(Path(folder) / "here") if is_changed else BUILD
            packages = digests(there.parent.parent / "out")
            self.assertGreater(len(packages), 4)
            self.assertEqual(digests(here.parent.parent / "out" if is_changed else FOLDER), packages)
            commit = output("git", "-C", TREE, "rev-parse", "HEAD").strip()
            files = share([name for name in run(there, "ninja", "-t", "inputs", *SHIPPED).split()
                           if name.endswith(".o")], commit)
            self.assertTrue(files)
            objects = compiled_anew(there, files)
            self.assertEqual(sorted(objects), sorted(files))
            self.assertEqual(compiled_anew(here, files), objects)

    def test_no_source_asks_for_the_time(self):
        result = subprocess.run(["git", "-C", TREE, "grep", "-n", "-E", "__(DATE|TIME|TIMESTAMP)__", "--", "*.cpp",
                                 "*.h", "*.in"], check=False, capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stdout), (1, ""))


if __name__ == "__main__":
    unittest.main()

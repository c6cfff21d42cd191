"""The same commit built in another folder makes the same packages, byte by byte.

Compared is with the packages of this build if nothing in the tree is changed, else with those of a third folder:
a clone has what is committed and nothing else."""

import hashlib
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import FOLDER, TREE, output


def digests(folder):
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in sorted(Path(folder).iterdir())
            if path.name != "SHA256SUMS"}


def packages_of_clone(folder):
    """Clones the tree into the folder, builds there, and gives the packages' digests."""
    output("git", "clone", "--quiet", "--no-local", "--depth=1", TREE.as_uri(), folder)
    result = subprocess.run([folder / "scripts/package", "--out", folder / "out"], cwd=folder, check=False,
                            capture_output=True, text=True, stdin=subprocess.DEVNULL,
                            env=dict(os.environ, TZ="Asia/Kathmandu"))
    if result.returncode != 0:
        raise AssertionError(result.stdout[-3000:] + result.stderr[-3000:])
    return digests(folder / "out")


class ReproducibleTest(unittest.TestCase):
    def test_another_folder_makes_the_same(self):
        is_changed = output("git", "-C", TREE, "status", "--porcelain", "--untracked-files=no")
        with tempfile.TemporaryDirectory() as folder:
            there = packages_of_clone(Path(folder) / "a/place/farther/down")
            here = packages_of_clone(Path(folder) / "here") if is_changed else digests(FOLDER)
            self.assertGreater(len(there), 4)
            self.assertEqual(here, there)


if __name__ == "__main__":
    unittest.main()

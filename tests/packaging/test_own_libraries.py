"""Builds the plug-in for a console with its own host framework and SDK, as docs/integrating.md describes. The package
then does not depend on our libraries. In this test, the libraries of this build replace the console's.

The test builds the tree's commit in a clone."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from kelvopackages.package import BUILD, TREE, Package, output

# The CMakeLists.txt from the page.
IMPORTED = """
add_library({name} SHARED IMPORTED GLOBAL)
set_target_properties({name} PROPERTIES IMPORTED_LOCATION {path})
target_link_libraries({name} INTERFACE kelvo::{contract})
add_library(kelvo::{name} ALIAS {name})
"""
LIBRARIES = (("kesdk", "kesdk_api", "platform/kesdk/src"), ("consolehost", "host_api", "platform/host/src"))
OFF = [f"-DKELVO_{part}=OFF" for part in ("CONSOLE", "SERVICE", "TESTS", "BENCH")]


def run(folder, *command):
    environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1")
    result = subprocess.run([str(word) for word in command], cwd=folder, check=False, capture_output=True, text=True,
                            stdin=subprocess.DEVNULL, env=environment)
    if result.returncode != 0:
        raise AssertionError(result.stdout[-3000:] + result.stderr[-3000:])


class OwnLibrariesTest(unittest.TestCase):
    def test_packages_only_the_plug_in(self):
        with tempfile.TemporaryDirectory() as folder:
            tree = Path(folder) / "tree"
            output("git", "clone", "--quiet", "--no-local", "--depth=1", TREE.as_uri(), tree)
            for name, contract, where in LIBRARIES:
                path = BUILD / f"lib/lib{name}.so"
                text = IMPORTED.format(name=name, path=path, contract=contract)
                (tree / where / "CMakeLists.txt").write_text(text, encoding="utf-8")
            run(tree, "cmake", "--preset", "check", *OFF)
            run(tree, "cmake", "--build", "build/check", "--target", "kelvo", "kelvo_translations")
            run(tree, "scripts/package", "--build", "build/check", "--out", "out")
            package, = (Package(path) for path in (tree / "out").glob("*.deb"))
            self.assertEqual(package.name, "kelvo-plugin")
            self.assertIn("./usr/lib/kelvo/lib/libkelvo.so", {member.name for member in package.members()})
            depends = package.relations()
            self.assertIn("libqt5core5a", depends)
            self.assertEqual([name for name in depends if name in ("libkesdk", "libconsolehost")], [])


if __name__ == "__main__":
    unittest.main()

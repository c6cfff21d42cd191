"""The runner on a small tree: which mutants count as killed, and what makes it fail."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RUN = Path(__file__).resolve().parent / "run"
SOURCE = """int twice(int number)
{
    return number * 2;
}

static int zero()
{
    return 0;
}

int main(int argc, char **)
{
    return twice(argc) == 2 ? zero() : 1;
}
"""
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(small LANGUAGES CXX)
enable_testing()
add_compile_options(-Wall -Werror)
add_executable(tst_twice twice.cpp)
add_test(NAME tst_twice COMMAND tst_twice)
add_test(NAME tst_broken COMMAND ${CMAKE_COMMAND} -E false)
"""
PRESETS = {"version": 5, "configurePresets": [
    {"name": "check", "generator": "Ninja", "binaryDir": "${sourceDir}/build/check", "cacheVariables": {"CMAKE_BUILD_TYPE": "Debug"}}]}


def entry(name, removed, added, check="tests: tst_twice"):
    return f"mutant: {name}\nfile: twice.cpp\n-{removed}\n+{added}\n{check}\n\n"


KILLED = entry("doubles the number", "    return number * 2;", "    return number * 3;")


class RunTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)
        for name, text in (("twice.cpp", SOURCE), ("CMakeLists.txt", PROJECT), (".gitignore", "build/\n"),
                           ("CMakePresets.json", json.dumps(PRESETS))):
            (self.tree / name).write_text(text, encoding="utf-8")
        subprocess.run(["git", "init", "--quiet", self.tree], check=True)

    def play(self, table, *options):
        """Exit status and output of a run with the table."""
        folder = self.tree / "table"
        folder.mkdir(exist_ok=True)
        (folder / "table.mutants").write_text(table, encoding="utf-8")
        done = subprocess.run([sys.executable, RUN, "--tree", self.tree, "--table", folder, *options],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        return done.returncode, done.stdout

    def assert_fails_with(self, table, text, *options):
        status, output = self.play(table, *options)
        self.assertIn(text, output)
        self.assertEqual(status, 1, output)

    def test_passes_if_each_mutant_is_killed(self):
        status, output = self.play(KILLED)
        self.assertIn("1 of 1 killed: doubles the number, by tst_twice", output)
        self.assertEqual(output.splitlines()[-1], "1 of 1 mutants killed")
        self.assertEqual(status, 0)

    def test_leaves_the_tree_as_it_is(self):
        self.play(KILLED)
        self.assertEqual((self.tree / "twice.cpp").read_text(encoding="utf-8"), SOURCE)

    def test_restores_the_file_before_the_next_mutant(self):
        equal = entry("keeps the order", "    return number * 2;", "    return 2 * number;")
        self.assert_fails_with(KILLED + equal, "survived: keeps the order", "--jobs", "1")

    def test_takes_changes_of_the_tree_into_the_next_run(self):
        self.play(KILLED)
        (self.tree / "twice.cpp").write_text(SOURCE.replace("* 2", "* 4"), encoding="utf-8")
        self.assert_fails_with(KILLED, "the unchanged tree fails: tst_twice")

    def test_fails_if_a_mutant_survives(self):
        survivor = entry("is of no use", "    return number * 2;", "    return number + number;")
        self.assert_fails_with(KILLED + survivor, "1 of 2 mutants killed")

    def test_fails_if_a_mutant_is_stale(self):
        self.assert_fails_with(entry("an old line", "    return number;", "    return 0;"), "stale: an old line")

    def test_tells_stale_mutants_without_a_build(self):
        old = entry("an old line", "    return number;", "    return 0;")
        self.assert_fails_with(KILLED + old, "1 of 2 mutants are stale", "--stale")
        self.assertEqual(self.play(KILLED, "--stale"), (0, "0 of 1 mutants are stale\n"))
        self.assertFalse((self.tree / "build").exists())

    def test_fails_if_the_lines_occur_twice(self):
        self.assert_fails_with(entry("any brace", "{", "{ ;"), "stale: any brace: twice.cpp has its lines 3 times")

    def test_fails_if_a_mutant_does_not_compile(self):
        self.assert_fails_with(entry("a wrong word", "    return number * 2;", "    return numbers;"),
                               "does not compile: a wrong word")

    def test_a_mutant_may_leave_a_function_without_a_use(self):
        unused = entry("returns 0", "    return twice(argc) == 2 ? zero() : 1;", "    return twice(argc);")
        self.assertEqual(self.play(unused)[0], 0)

    def test_fails_if_no_test_has_the_name(self):
        self.assert_fails_with(entry("untested", "    return number * 2;", "    return 0;",
                                     "tests: tst_twice_more\ntargets: tst_twice"),
                               "no test is named tst_twice_more")

    def test_fails_if_the_unchanged_tree_fails(self):
        check = "tests: tst_broken\ntargets: tst_twice"
        self.assert_fails_with(entry("always red", "    return number * 2;", "    return 0;", check),
                               "the unchanged tree fails: tst_broken")

    def test_a_test_that_crashes_kills_a_mutant(self):
        crash = entry("divides by no zero", "    return number * 2;", "    return *static_cast<volatile int *>(nullptr);")
        status, output = self.play(crash)
        self.assertIn("killed: divides by no zero, by tst_twice (SEGFAULT)", output)
        self.assertEqual(status, 0)

    def test_an_endless_mutant_is_killed(self):
        endless = entry("ends", "    return number * 2;", "    for (volatile int turn = 0;; ++turn) {}")
        status, output = self.play(endless, "--limit", "1")
        self.assertIn("killed: ends, by no end after 1 s", output)
        self.assertEqual(status, 0)

    def test_a_command_kills_a_mutant(self):
        check = "command: {build}/tst_twice\ntargets: tst_twice"
        status, output = self.play(entry("doubles", "    return number * 2;", "    return 0;", check))
        self.assertIn("killed: doubles, by exit status 1", output)
        self.assertEqual(status, 0)

    def test_changes_several_places(self):
        table = KILLED.replace("tests:", "file: twice.cpp\n-    return twice(argc) == 2 ? zero() : 1;\n"
                               "+    return twice(argc) == 3 ? zero() : 1;\ntests:")
        self.assert_fails_with(table, "survived: doubles the number")

    def test_tries_only_the_named_mutants(self):
        survivor = entry("is of no use", "    return number * 2;", "    return number + number;")
        self.assertEqual(self.play(KILLED + survivor, "--only", "doubles")[0], 0)

    def test_lists_the_mutants(self):
        self.assertEqual(self.play(KILLED, "--list"), (0, "doubles the number: tst_twice\n"))

    def test_refuses_an_entry_without_a_check(self):
        self.assert_fails_with(KILLED.replace("tests: tst_twice", ""), "needs either `tests:` or `command:`")


if __name__ == "__main__":
    unittest.main()

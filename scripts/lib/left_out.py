#!/usr/bin/env python3
"""Tells which tests a leg leaves out: left_out.py LIST LEG BUILD LEG-BUILD

LIST is tests/excluded.txt. Prints a regular expression for ctest's --exclude-regex. Fails and prints a line for each
row of the leg that matches no test of BUILD, for each test of BUILD that is missing in LEG-BUILD without a row, and for
each left-out test of LEG-BUILD whose name a test of another folder has too: ctest cannot tell the two apart.
The check ignores tests that CMake gets from a test program, because BUILD may not have built the program. Both
folders must be configured."""

import json
import os
import re
import subprocess
import sys
from pathlib import Path


def rows(text, leg):
    """The leg's regular expressions."""
    words = [line.split(maxsplit=2) for line in text.splitlines() if not line.startswith("#")]
    return [row[1] for row in words if len(row) == 3 and leg in row[0].split(",")]


def folder_of(test, graph, top):
    """The folder of the CMakeLists.txt that adds the test, also through a function of another folder."""
    node = graph["nodes"][test["backtrace"]]
    while "parent" in node:
        node = graph["nodes"][node["parent"]]
    return os.path.relpath(os.path.dirname(graph["files"][node["file"]]), top)


def tests(build, top):
    """FOLDER/NAME of each test that a CMakeLists.txt adds by name: only these have a backtrace."""
    listed = json.loads(subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                                       capture_output=True, text=True).stdout)
    return {f"{folder_of(test, listed['backtraceGraph'], top)}/{test['name']}"
            for test in listed["tests"] if "backtrace" in test}


def matches(row, name):
    return re.fullmatch(row, name) is not None


def problems(excluded, here, there):
    left_out = {name for name in here | there if any(matches(row, name) for row in excluded)}
    kept_names = {os.path.basename(name): name for name in there - left_out}
    return [*(f"no test matches {row}" for row in excluded if not any(matches(row, name) for name in here)),
            *(f"{name} is left out without a reason" for name in sorted(here - there - left_out)),
            *(f"{name} is left out, but {kept_names[os.path.basename(name)]} has the same name"
              for name in sorted(left_out & there) if os.path.basename(name) in kept_names)]


def main():
    path, leg, build, leg_build = sys.argv[1:]
    top = Path(path).resolve().parent.parent
    here, there = tests(build, top), tests(leg_build, top)
    if not here or not there:
        raise SystemExit(f"{build} or {leg_build} has no tests")
    excluded = rows(Path(path).read_text(encoding="utf-8"), leg)
    found = problems(excluded, here, there)
    for problem in found:
        print(f"{path}: {leg}: {problem}", file=sys.stderr)
    names = sorted({os.path.basename(name) for name in there if any(matches(row, name) for row in excluded)})
    print("^(" + "|".join(re.escape(name) for name in names) + ")$")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

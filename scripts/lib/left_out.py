#!/usr/bin/env python3
"""Checks a list of excluded tests: left_out.py LIST BUILD CROSS-BUILD

Fails and prints a line for each row of LIST that matches no test of BUILD, and for each test of BUILD that is missing
in CROSS-BUILD without a row. The check ignores tests that CMake gets from a test program, because BUILD may not have
built the program. Both folders must be configured."""

import json
import re
import subprocess
import sys
from pathlib import Path


def rows(text):
    """The regular expressions: the first words of the lines with a reason."""
    return [line.split()[0] for line in text.splitlines() if not line.startswith("#") and len(line.split()) > 1]


def tests(folder):
    listed = json.loads(subprocess.run(["ctest", "--test-dir", folder, "--show-only=json-v1"], check=True,
                                       capture_output=True, text=True).stdout)
    # Only tests that a CMakeLists.txt adds by name have a backtrace.
    return {test["name"] for test in listed["tests"] if "backtrace" in test}


def problems(excluded, here, there):
    def matches(row, name):
        return re.fullmatch(row, name) is not None

    return [*(f"no test matches {row}" for row in excluded if not any(matches(row, name) for name in here)),
            *(f"{name} is left out without a reason" for name in sorted(here - there)
              if not any(matches(row, name) for row in excluded))]


def main():
    path, build, cross_build = sys.argv[1:]
    here, there = tests(build), tests(cross_build)
    if not here or not there:
        raise SystemExit(f"{build} or {cross_build} has no tests")
    found = problems(rows(Path(path).read_text(encoding="utf-8")), here, there)
    for problem in found:
        print(f"{path}: {problem}", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

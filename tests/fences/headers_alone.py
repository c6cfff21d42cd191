#!/usr/bin/env python3
"""Compiles every header by itself, with the flags of a source file that is built near it.

usage: headers_alone.py TREE BUILD FOLDER...
FOLDERs are relative to the tree; those that are missing or not built are left out, and named.
A header with a section for another platform's compiler is compiled as it is here.
"""
import concurrent.futures
import json
import os
import shlex
import subprocess
import sys
import tempfile

DROPPED = {"-c"}
DROPPED_WITH_ARGUMENT = {"-o", "-MF", "-MT", "-MQ"}
DROPPED_BEGINNINGS = ("-MD", "-MMD", "-fsanitize", "-fno-sanitize", "-g", "-O", "-Winvalid-pch")


def flags_of(command, source):
    """The compiler and its flags, without input, output and what only matters to code."""
    kept = []
    words = iter(shlex.split(command))
    for word in words:
        if word in DROPPED_WITH_ARGUMENT:
            next(words, None)
        elif (word not in DROPPED and not word.startswith(DROPPED_BEGINNINGS)
              and os.path.realpath(word) != os.path.realpath(source)):
            kept.append(word)
    if kept and os.path.basename(kept[0]) == "ccache":
        kept = kept[1:]  # it does not cache what makes no object file
    return kept


def load_commands(build):
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        return {os.path.realpath(entry["file"]): entry for entry in json.load(file)}


def nearest_source(header, sources):
    """The built source with the longest path in common with the header, of the same name first."""
    stem = os.path.splitext(header)[0]
    if stem + ".cpp" in sources:
        return stem + ".cpp"
    folder = os.path.dirname(header)
    return max(sources, key=lambda s: (len(os.path.commonpath([folder, s])), -len(s), s))


def headers_below(tree, folder):
    for where, _, names in os.walk(os.path.join(tree, folder)):
        for name in sorted(names):
            if name.endswith(".h"):
                yield os.path.realpath(os.path.join(where, name))


def compile_alone(header, entry):
    """None, or what the compiler said."""
    with tempfile.TemporaryDirectory() as folder:
        stub = os.path.join(folder, "alone.cpp")
        with open(stub, "w", encoding="utf-8") as file:
            # Twice: it must also be guarded.
            file.write(f'#include "{header}"\n#include "{header}"\n')
        command = [*flags_of(entry["command"], entry["file"]), "-fsyntax-only", stub]
        result = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True,
                                check=False)
    return None if result.returncode == 0 else result.stderr


def main(arguments):
    if len(arguments) < 4:
        print(__doc__, file=sys.stderr)
        return 2
    tree, build, folders = os.path.realpath(arguments[1]), arguments[2], arguments[3:]
    commands = load_commands(build)
    jobs = []
    for folder in folders:
        root = os.path.join(tree, folder.split("/")[0])
        near = [s for s in commands if s.startswith(root + os.sep)]
        if not near or not os.path.isdir(os.path.join(tree, folder)):
            print(f"{folder}: not built, left out")
            continue
        jobs += [(header, commands[nearest_source(header, near)])
                 for header in headers_below(tree, folder)]
    if not jobs:
        print("no headers found", file=sys.stderr)
        return 2
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for (header, _), said in zip(jobs, pool.map(lambda job: compile_alone(*job), jobs)):
            if said:
                failures += 1
                print(f"{os.path.relpath(header, tree)} does not compile alone:\n{said}")
    print(f"{len(jobs)} headers, {failures} that do not compile alone")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

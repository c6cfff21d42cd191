#!/usr/bin/env python3
"""Checks that every header compiles alone.

usage: headers_alone.py TREE BUILD FOLDER...
FOLDERs are relative to the tree; a folder that is missing or not built is named and left out.
A header that its own source file includes first is checked by the build, if that source file is compiled by
itself. A header that a checked header includes first is checked with it, if the flags are the same. Every other header
is compiled here, with the flags of a source file near it and through ccache if it is installed. A header with a section
for another platform's compiler is compiled for this platform.
"""
import concurrent.futures
import json
import os
import re
import shlex
import shutil
import subprocess
import sys

DROPPED = {"-c"}
DROPPED_WITH_ARGUMENT = {"-o", "-MF", "-MT", "-MQ"}
DROPPED_BEGINNINGS = ("-MD", "-MMD", "-fsanitize", "-fno-sanitize", "-g", "-O", "-Winvalid-pch")


def flags_of(command, source):
    """The compiler and its flags, without input, output and flags of the code generation."""
    kept = []
    words = iter(shlex.split(command))
    for word in words:
        if word in DROPPED_WITH_ARGUMENT:
            next(words, None)
        elif (word not in DROPPED and not word.startswith(DROPPED_BEGINNINGS)
              and os.path.realpath(word) != os.path.realpath(source)):
            kept.append(word)
    return kept


def load_commands(build):
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        return {os.path.realpath(entry["file"]): entry for entry in json.load(file)}


def nearest_source(header, sources):
    """The source of the same name, or else the source with the longest common path."""
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


def first_include(path):
    """The file that the path includes before any other line for the preprocessor, or None."""
    with open(path, encoding="utf-8") as file:
        line = re.search(r'^#(?!pragma once$)(?:include [<"]([^>"]+)[>"])?', file.read(), re.MULTILINE)
    return line[1] if line else None


def has_guard(header):
    with open(header, encoding="utf-8") as file:
        return "#pragma once\n" in file.read()


def is_checked_by_build(header, commands):
    """Whether the header has a guard and is the first include of a source file that is compiled without a
    precompiled header."""
    source = os.path.splitext(header)[0] + ".cpp"
    if source not in commands or " -include " in commands[source]["command"] or not has_guard(header):
        return False
    first = first_include(source)
    return first is not None and header.endswith("/" + first)


def checked_with_others(entries, by_build):
    """The headers of ENTRIES that begin a chain of first includes from another checked header. ENTRIES and BY_BUILD:
    header to compile command."""
    known = {**entries, **by_build}
    following = {}
    for header in known:
        first = first_include(header)
        found = [other for other in entries if first and other.endswith("/" + first)]
        if len(found) == 1 and has_guard(found[0]) and same_flags(known[header], entries[found[0]]):
            following[header] = found[0]
    checked = set()
    for header in known.keys() - set(following.values()) | by_build.keys():
        while (header := following.get(header)) and header not in checked:
            checked.add(header)
    return checked


def same_flags(one, other):
    return flags_of(one["command"], one["file"]) == flags_of(other["command"], other["file"])


def compile_alone(header, tree, folder, entry):
    """None, or the compiler's errors. The stub's text is the same in every clone, so that ccache finds its result."""
    stub = os.path.join(folder, os.path.relpath(header, tree) + ".cpp")
    os.makedirs(os.path.dirname(stub), exist_ok=True)
    with open(stub, "w", encoding="utf-8") as file:
        # Twice, because a header also needs its guard.
        file.write(f'#include "{os.path.relpath(header, os.path.dirname(stub))}"\n' * 2)
    ccache = shutil.which("ccache")
    command = [*([ccache] if ccache else []), *flags_of(entry["command"], entry["file"]),
               "-O0", "-c", stub, "-o", stub + ".o"]
    result = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True, check=False)
    return None if result.returncode == 0 else result.stderr


def main(arguments):
    if len(arguments) < 4:
        print(__doc__, file=sys.stderr)
        return 2
    tree, build, folders = os.path.realpath(arguments[1]), arguments[2], arguments[3:]
    commands, stubs = load_commands(build), os.path.abspath(os.path.join(build, "headers_alone"))
    entries, by_build = {}, {}
    for folder in folders:
        root = os.path.join(tree, folder.split("/")[0])
        near = [s for s in commands if s.startswith(root + os.sep)]
        if not near or not os.path.isdir(os.path.join(tree, folder)):
            print(f"{folder}: not built, left out")
            continue
        for header in headers_below(tree, folder):
            if is_checked_by_build(header, commands):
                by_build[header] = commands[os.path.splitext(header)[0] + ".cpp"]
            else:
                entries[header] = commands[nearest_source(header, near)]
    if not entries and not by_build:
        print("no headers found", file=sys.stderr)
        return 2
    with_others = checked_with_others(entries, by_build)
    jobs = [(header, entry) for header, entry in entries.items() if header not in with_others]
    failures = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda job: compile_alone(job[0], tree, stubs, job[1]), jobs)
        for (header, _), errors in zip(jobs, results):
            if errors:
                failures += 1
                print(f"{os.path.relpath(header, tree)} does not compile alone:\n{errors}")
    print(f"{len(jobs)} headers compiled, {len(by_build)} more by the build, {len(with_others)} with them; "
          f"{failures} do not compile alone")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

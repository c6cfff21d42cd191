#!/usr/bin/env python3
"""Checks what a built library shows to the outside and what it needs from there.

usage: library_fence.py exports LIBRARY MAP
       library_fence.py needed LIBRARY NAME...
       library_fence.py closed LIBRARY
       library_fence.py constructors LIBRARY SOURCE...
       library_fence.py apart ARCHIVE LIBRARY

exports       defines exactly the names of the version script MAP
needed        names no shared library beyond those that begin with a NAME
closed        nothing that it uses stays undefined once it is loaded
constructors  runs code at load for no source file beyond those named
apart         ARCHIVE uses nothing that the shared LIBRARY defines
"""
import os
import re
import subprocess
import sys

NM = os.environ.get("NM", "nm")  # a cross build's own
READELF = os.environ.get("READELF", "readelf")


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def names_of_map(text):
    """What stands between "global:" and "local:"."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    listed = re.search(r"global:(.*?)local:", text, re.DOTALL)[1]
    return {name.strip() for name in listed.split(";") if name.strip()}


def symbols(text):
    """The names in the output of nm, without versions."""
    return {line.split()[-1].split("@")[0] for line in text.splitlines()
            if len(line.split()) >= 2 and not line.endswith(":")}


def exports(library, map_file):
    with open(map_file, encoding="utf-8") as file:
        wanted = names_of_map(file.read())
    found = symbols(run(NM, "-D", "--defined-only", library))
    return ([f"not exported: {name}" for name in sorted(wanted - found)]
            + [f"exported and not listed: {name}" for name in sorted(found - wanted)])


def needed(library, *allowed):
    names = re.findall(r"\(NEEDED\).*\[(.*)\]", run(READELF, "-d", library))
    if not names:
        return [f"{library} names no library at all: not read correctly"]
    return [f"needs {name}" for name in names if not name.startswith(allowed)]


def closed(library):
    output = subprocess.run(["ldd", "-r", library], capture_output=True, text=True, check=False)
    text = output.stdout + output.stderr
    if "=>" not in text:
        return [f"ldd cannot read {library}: {text.strip()}"]
    return [line.strip() for line in text.splitlines() if "undefined symbol" in line
            or "not found" in line]


def initialised_sources(text):
    """The source files in the output of nm that run code when they are loaded."""
    found = set()
    for name in symbols(text):
        match = re.match(r"_GLOBAL__sub_[ID]_(.+?)(\.cold)?$", name)
        if match:
            found.add(match[1])
    return found


def constructors(library, *allowed):
    found = initialised_sources(run(NM, library))
    return [f"code runs at load for {name}" for name in sorted(found - set(allowed))]


def apart(archive, library):
    used = symbols(run(NM, "--undefined-only", archive))
    defined = symbols(run(NM, "-D", "--defined-only", library))
    if not used or not defined:
        return ["nothing to compare"]
    # Templates and inline functions are everybody's.
    own = symbols(run(NM, "--defined-only", archive))
    return [f"uses {name}" for name in sorted((used & defined) - own)]


CHECKS = {"exports": exports, "needed": needed, "closed": closed, "constructors": constructors,
          "apart": apart}


def main(arguments):
    if len(arguments) < 3 or arguments[1] not in CHECKS:
        print(__doc__, file=sys.stderr)
        return 2
    offences = CHECKS[arguments[1]](*arguments[2:])
    print("\n".join([*offences, f"{arguments[1]}: {len(offences)} offences"]))
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

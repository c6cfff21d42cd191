#!/usr/bin/env python3
"""Checks the exports, imports and dependencies of a built library.

usage: library_fence.py exports LIBRARY MAP
       library_fence.py imports LIBRARY LIST FROM...
       library_fence.py owned LIBRARY LIST NAMESPACE...
       library_fence.py documented MAP PAGE HEADER...
       library_fence.py needed LIBRARY NAME...
       library_fence.py closed LIBRARY
       library_fence.py constructors LIBRARY SOURCE...
       library_fence.py apart ARCHIVE LIBRARY

exports       LIBRARY exports exactly the names of the version script MAP
imports       LIBRARY imports from each library FROM exactly the names that LIST has for its file name
owned         LIBRARY exports only functions and objects of the classes in LIST, a description of the
              interface, and of the NAMESPACEs
documented    the table in PAGE has exactly the names of MAP, each as one of the HEADERs declares it
needed        LIBRARY needs only shared libraries whose names begin with a NAME
closed        LIBRARY has no undefined symbol after loading
constructors  only the named SOURCEs run code when LIBRARY is loaded
apart         ARCHIVE uses no symbol that the shared LIBRARY defines
"""
import os
import re
import subprocess
import sys

NM = os.environ.get("NM", "nm")  # set in a cross build
READELF = os.environ.get("READELF", "readelf")


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def names_of_map(text):
    """The names between "global:" and "local:". C++ names are in quotes."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    listed = re.search(r"global:(.*?)local:", text, re.DOTALL)[1]
    return set(re.findall(r'"([^"]+)"\s*;', listed)) or {
        name.strip() for name in listed.split(";") if name.strip()}


def symbols(text):
    """The names in the output of nm, without versions."""
    return {line.split()[-1].split("@")[0] for line in text.splitlines()
            if len(line.split()) >= 2 and not line.endswith(":")}


def defined(library):
    return symbols(run(NM, "-D", "--defined-only", library))


def readable(names, *options):
    """The demangled C++ names in nm's list of a library."""
    plain = run(NM, "-p", *options).splitlines()
    demangled = run(NM, "-p", "-C", *options).splitlines()
    found = set()
    for one, other in zip(plain, demangled):
        if symbols(one) & names:
            found.add(re.sub(r"^\s*([0-9a-f]+ )? *\w ", "", other).split("@")[0])
    return found


def exports(library, map_file):
    wanted = names_of_map(read(map_file))
    found = defined(library)
    if any("(" in name for name in wanted):
        found = readable(found, "-D", "--defined-only", library)
    return ([f"not exported: {name}" for name in sorted(wanted - found)]
            + [f"exported and not listed: {name}" for name in sorted(found - wanted)])


def names_of_list(text, library):
    """The lines of a list below the line "LIBRARY:", up to an empty one."""
    block = re.search(rf"^{re.escape(library)}:\n(.+?)(?:\n\n|\Z)", text, re.DOTALL | re.MULTILINE)
    return {line for line in block[1].splitlines() if line} if block else set()


def imports(library, list_file, *providers):
    used = symbols(run(NM, "-D", "--undefined-only", library))
    violations = []
    for provider in providers:
        name = os.path.basename(provider)
        wanted = names_of_list(read(list_file), name)
        found = readable(used & defined(provider), "-D", "--undefined-only", library)
        violations += [f"{name}: imported and not listed: {one}" for one in sorted(found - wanted)]
        violations += [f"{name}: listed and not imported: {one}" for one in sorted(wanted - found)]
        if not wanted:
            violations.append(f"{name}: no names in the list")
    return violations


def owner_of(name):
    """The class or namespace of a C++ name, and all enclosing ones."""
    name = re.sub(r"^(?:.* for |.*thunk to )", "", name).split("(")[0]
    parts = name.split("::")
    return {"::".join(parts[:count]) for count in range(1, len(parts) + 1)}


def owned(library, list_file, *namespaces):
    classes = set(re.findall(r"^(\S.*) \S+\.h$", read(list_file), re.MULTILINE))
    # Templates and inline functions belong to no library. Their symbols are weak.
    strong = [line.split(" ", 2) for line in
              run(NM, "-DC", "--defined-only", library).splitlines()]
    names = {line[2].split("@")[0] for line in strong if line[1] in "TDBR"}
    return [f"exported, but in no header of the interface: {name}" for name in sorted(names)
            if not owner_of(name) & (classes | set(namespaces))] or (
                [] if names else [f"{library} exports nothing: not read correctly"])


def documented(map_file, page, *headers):
    wanted = names_of_map(read(map_file))
    declared = " ".join(re.sub(r"\b\w+_EXPORT |\bextern (?:\"C\" )?", "", read(header))
                        for header in headers)
    declared = re.sub(r"\s+", " ", re.sub(r"//[^\n]*", "", declared))
    rows = re.findall(r"^\| `(\w+)` \| `([^`]+)` \|", read(page), re.MULTILINE)
    found = {name for name, _ in rows}
    return ([f"not in the table: {name}" for name in sorted(wanted - found)]
            + [f"in the table, but not exported: {name}" for name in sorted(found - wanted)]
            + [f"{name} is not declared as in the table: {signature}" for name, signature in rows
               if f" {signature};" not in declared or not re.search(rf"\b{name}\b", signature)])


def needed(library, *allowed):
    names = re.findall(r"\(NEEDED\).*\[(.*)\]", run(READELF, "-d", library))
    if not names:
        return [f"{library} needs no library: not read correctly"]
    return [f"needs {name}" for name in names if not name.startswith(allowed)]


def closed(library):
    output = subprocess.run(["ldd", "-r", library], capture_output=True, text=True, check=False)
    text = output.stdout + output.stderr
    if "=>" not in text:
        return [f"ldd cannot read {library}: {text.strip()}"]
    return [line.strip() for line in text.splitlines() if "undefined symbol" in line
            or "not found" in line]


def initialised_sources(text):
    """The source files in the output of nm that run code at load."""
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
    theirs = defined(library)
    if not used or not theirs:
        return ["nothing to compare"]
    # Templates and inline functions belong to no library.
    own = symbols(run(NM, "--defined-only", archive))
    return [f"uses {name}" for name in sorted((used & theirs) - own)]


CHECKS = {"exports": exports, "imports": imports, "owned": owned, "documented": documented,
          "needed": needed, "closed": closed, "constructors": constructors,
          "apart": apart}


def main(arguments):
    if len(arguments) < 3 or arguments[1] not in CHECKS:
        print(__doc__, file=sys.stderr)
        return 2
    violations = CHECKS[arguments[1]](*arguments[2:])
    print("\n".join([*violations, f"{arguments[1]}: {len(violations)} violations"]))
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

#!/usr/bin/env python3
"""Compares the order of virtual slots and of members with checked-in lists.

usage: class_fence.py slots EXPECTED COMPILER FLAG...
       class_fence.py members EXPECTED TREE

slots    reads the compiler's own class dump (GCC only) of the headers that EXPECTED names
members  reads the declarations of "m_" members in those headers

EXPECTED holds blocks, apart by empty lines: the first line is "CLASS HEADER", each further line
one slot ("Class::operation", the destructor twice) or one member. Lines with # are comments.
"""
import os
import re
import subprocess
import sys
import tempfile

SLOT = re.compile(r"^\d+\s+\(int \(\*\)\(\.\.\.\)\)(\S.*)$")
OFFSET = re.compile(r"^-\d+$")  # where the table of a further base begins


def blocks_of(text):
    """(class, header, lines) of each block."""
    blocks = []
    for block in re.split(r"\n\s*\n", text):
        lines = [line.strip() for line in block.splitlines()
                 if line.strip() and not line.startswith("#")]
        if lines:
            name, header = lines[0].split()
            blocks.append((name, header, lines[1:]))
    return blocks


def slots_of(dump, name):
    """The slots of the class's primary table, in order; None when the dump has no such class."""
    lines = dump.splitlines()
    try:
        start = lines.index(f"Vtable for {name}") + 2
    except ValueError:
        return None
    slots = []
    seen_type = False
    for line in lines[start:]:
        match = SLOT.match(line)
        if not match:
            if seen_type:
                break  # the end, or the offsets before the next base's table
            continue
        if "& _ZTI" in match[1]:
            seen_type = True
        elif OFFSET.match(match[1]):
            break
        elif seen_type:
            slots.append(match[1])
    return slots


def dump_of(headers, compiler, flags):
    with tempfile.TemporaryDirectory() as folder:
        source = os.path.join(folder, "classes.cpp")
        dump = os.path.join(folder, "classes.dump")
        with open(source, "w", encoding="utf-8") as file:
            file.writelines(f'#include "{header}"\n' for header in sorted(set(headers)))
        subprocess.run([compiler, *flags, "-fsyntax-only", f"-fdump-lang-class={dump}", source],
                       check=True)
        with open(dump, encoding="utf-8") as file:
            return file.read()


def members_of(text, name):
    """The members named m_... that a class declares, in order."""
    text = re.sub(r"//[^\n]*", "", text)
    match = re.search(rf"\b(?:class|struct)\s+(?:\w+\s+)?{name}\b[^;{{]*\{{", text)
    if not match:
        return None
    depth = 1
    end = match.end()
    while depth and end < len(text):
        depth += {"{": 1, "}": -1}.get(text[end], 0)
        end += 1
    return re.findall(r"\b(m_\w+)(?:\[[^\]]*\])?(?:\s*=\s*[^;]*|\{[^;]*\})?;",
                      text[match.end():end])


def difference(name, expected, found):
    if found is None:
        return [f"{name}: no such class"]
    if found == expected:
        return []
    offences = [f"{name}: {len(found)} found, {len(expected)} expected"]
    for i in range(max(len(found), len(expected))):
        have = found[i] if i < len(found) else "nothing"
        want = expected[i] if i < len(expected) else "nothing"
        if have != want:
            offences.append(f"{name}: {i}: {have}, expected {want}")
    return offences


def main(arguments):
    if len(arguments) < 4 or arguments[1] not in ("slots", "members"):
        print(__doc__, file=sys.stderr)
        return 2
    with open(arguments[2], encoding="utf-8") as file:
        blocks = blocks_of(file.read())
    offences = []
    if arguments[1] == "slots":
        dump = dump_of([header for _, header, _ in blocks], arguments[3], arguments[4:])
        for name, _, expected in blocks:
            offences += difference(name, expected, slots_of(dump, name))
    else:
        for name, header, expected in blocks:
            with open(os.path.join(arguments[3], header), encoding="utf-8") as file:
                offences += difference(name, expected, members_of(file.read(), name))
    print("\n".join([*offences, f"{len(blocks)} classes, {len(offences)} offences"]))
    return 1 if offences or not blocks else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

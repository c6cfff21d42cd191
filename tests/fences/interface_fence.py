#!/usr/bin/env python3
"""Compares the binary interface of the libraries with its checked-in description.

usage: interface_fence.py check LIST TREE LIBRARY COMPILER FLAG...
       interface_fence.py describe TREE LIBRARY COMPILER FLAG...
       interface_fence.py join NARROW WIDE

check     checks that COMPILER lays out the classes of the headers in TREE as LIST has them
describe  prints the description for COMPILER's target processor
join      prints the LIST of two descriptions, of a 32-bit and a 64-bit processor

A description has a block for each class, separated by empty lines. The first line has the class and
its header. Each further line is one of

  size BYTES
  base OFFSET CLASS             or: virtual base CLASS
  member OFFSET NAME: TYPE      a data member, also a private one
  slot NUMBER OPERATION         in the class's first virtual table, without unchanged slots of its base
  operation OPERATION           a non-virtual operation; or: static OPERATION, static NAME: TYPE
  value NUMBER NAME             of an enumeration
  alias TYPE                    the type of an alias

A line begins with "exported" if LIBRARY exports the symbol. If the two processors differ, LIST has
NARROW/WIDE for a number and "NARROW | WIDE" for an alias. Lines that begin with # are comments.
"""
import difflib
import os
import re
import sys

import library_fence
from describer import compiled, describe, headers_of

LINE = re.compile(r"^((?:exported )?(?:(?:size|base|member|slot|value) -?\d+|virtual base|operation"
                  r"|static|alias))(?: (.*))?$")


def text_of(blocks):
    return "\n\n".join("\n".join([first, *blocks[first]]) for first in sorted(blocks)) + "\n"


def blocks_of(text, column=None):
    """The blocks of a description. With a column, the blocks of a list for one processor."""
    blocks = {}
    for block in re.split(r"\n\s*\n", text):
        lines = [line.strip() for line in block.splitlines()
                 if line.strip() and not line.startswith("#")]
        if column is not None:
            lines[1:] = [line_of(line, column) for line in lines[1:]]
        if lines:
            blocks[lines[0]] = lines[1:]
    return blocks


def line_of(line, column):
    """The line of a list for the processor of the column."""
    if line.startswith("alias "):
        types = line[len("alias "):].split(" | ")
        return f"alias {types[min(column, len(types) - 1)]}"
    return re.sub(r"^((?:exported )?\w+ )(\d+)/(\d+)(?=$| )",
                  lambda match: match[1] + match[2 + column], line)


def parts_of(line):
    """Splits a line: ("f()", "slot 7") of "slot 7 f()"."""
    where, what = LINE.match(line).groups()
    return what or "", where


def differences(name, expected, found):
    """The differences of a class's lines from the expected lines, as texts."""
    want = dict(parts_of(line) for line in expected)
    have = dict(parts_of(line) for line in found)
    violations = [f"{name}: added: {where} {what}" for what, where in have.items()
                if what not in want]
    violations += [f"{name}: removed: {where} {what}" for what, where in want.items()
                 if what not in have]
    for what, where in want.items():
        if have.get(what, where) != where:
            kind = "moved" if re.findall(r"\d+", where) != re.findall(r"\d+", have[what]) \
                and what else "changed"
            violations.append(f"{name}: {kind}: {what or 'it'} has {have[what]}, expected {where}")
    if not violations and expected != found:
        matcher = difflib.SequenceMatcher(None, expected, found, autojunk=False)
        violations = [f"{name}: another place in the order: {line}"
                    for operation, start, end, _, _ in matcher.get_opcodes()
                    if operation != "equal" for line in expected[start:end]]
    return violations


def compare(expected, found):
    violations = [f"added: {first}" for first in found if first not in expected]
    violations += [f"removed: {first}" for first in expected if first not in found]
    for first in expected:
        if first in found:
            violations += differences(first.rsplit(" ", 1)[0], expected[first], found[first])
    # Additions and removals come first, because they cause the moves.
    return sorted(violations, key=lambda violation: ": moved: " in violation)


def join(narrow, wide):
    """The list of two descriptions, of a 32-bit and a 64-bit processor."""
    apart = [f"only on one processor: {first}" for first in sorted(set(narrow) ^ set(wide))]
    joined = {}
    for first in set(narrow) & set(wide):
        if [len(narrow[first]), narrow[first][0][:6]] == [1, "alias "]:
            joined[first] = [joined_alias(narrow[first][0], wide[first][0])]
            continue
        there = dict(parts_of(line) for line in wide[first])
        here = dict(parts_of(line) for line in narrow[first])
        apart += [f"only on one processor: {first}: {what}"
                  for what in sorted(set(here) ^ set(there))]
        joined[first] = [joined_line(what, where, there.get(what, where))
                         for what, where in here.items()]
    if apart:
        raise ValueError("\n".join(apart))
    return joined


def joined_alias(narrow, wide):
    return narrow if narrow == wide else f"{narrow} | {wide[len('alias '):]}"


def joined_line(what, where, there):
    if re.sub(r"\d", "", where) != re.sub(r"\d", "", there):
        raise ValueError(f"on one processor {where} {what}, on the other {there}")
    if where != there:
        where = f"{where}/{there.split(' ')[-1]}"
    return f"{where} {what}".rstrip()


def described(tree, library, compiler, *flags):
    """The description of a tree, and the column of a list that it is compared with."""
    tree = os.path.realpath(tree)
    headers = headers_of(tree)
    info = compiled([os.path.join(tree, path) for path, _ in headers], compiler, flags)
    exported = library_fence.defined(library)
    return (describe(info, tree, headers, exported), {4: 0, 8: 1}[info.pointer_size])


def main(arguments):
    mode = arguments[1] if len(arguments) > 3 else ""
    if mode == "check" and len(arguments) > 5:
        found, column = described(*arguments[3:])
        violations = compare(blocks_of(library_fence.read(arguments[2]), column), found)
        print("\n".join([*violations, f"{len(found)} classes, {len(violations)} violations"]))
        return 1 if violations or not found else 0
    if mode == "describe" and len(arguments) > 4:
        print(text_of(described(*arguments[2:])[0]), end="")
        return 0
    if mode == "join":
        narrow, wide = (blocks_of(library_fence.read(path)) for path in arguments[2:4])
        print(text_of(join(narrow, wide)), end="")
        return 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))

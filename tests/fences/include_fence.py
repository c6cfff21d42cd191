#!/usr/bin/env python3
"""Checks every #include of the tree against include_rules.py.

usage: include_fence.py TREE
Prints one line for each violation. Exits with 1 if there is a violation.
"""
import os
import re
import sys

import include_rules

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
SUFFIXES = (".h", ".cpp")
GENERATED = re.compile(r"(^|/)(moc_[^/]*\.cpp|[^/]*\.moc|ui_[^/]*\.h)$")
QT_WITHOUT_MODULE = re.compile(r"^Q[A-Z][A-Za-z]*$")
QT_MODULE = re.compile(r"^(Qt[A-Z][A-Za-z]*)/")


def source_files(tree):
    """The paths of all C++ files in the rules' folders, relative to the tree."""
    for folder in sorted({rule.folder.split("/")[0] for rule in include_rules.RULES}):
        for where, _, names in os.walk(os.path.join(tree, folder)):
            for name in sorted(names):
                if name.endswith(SUFFIXES):
                    yield os.path.relpath(os.path.join(where, name), tree)


def includes(tree, path):
    """(quote, text) of each include, without includes in comments."""
    with open(os.path.join(tree, path), encoding="utf-8") as file:
        text = COMMENT.sub("", file.read())
    return INCLUDE.findall(text)


def is_below(path, folder):
    return path == folder or path.startswith(folder + "/")


def rule_of(path):
    for rule in include_rules.RULES:
        if is_below(path, rule.folder):
            return rule
    return None


def resolve(tree, path, text):
    """The project's file of a quoted include, or None."""
    for root in (os.path.dirname(path), *include_rules.INCLUDE_ROOTS):
        candidate = os.path.normpath(os.path.join(root, text))
        if os.path.isfile(os.path.join(tree, candidate)):
            return candidate
    return None


def library_of(text):
    for name, beginnings in include_rules.LIBRARIES.items():
        if text.startswith(beginnings):
            return name
    return None


def quoted_violation(tree, path, rule, text):
    if ".." in text.split("/"):
        return "path with '..'"
    if GENERATED.search(text):
        return None
    target = resolve(tree, path, text)
    if target is None:
        return "no such file in the tree"
    if is_below(target, rule.folder) or any(is_below(target, f) for f in rule.folders):
        return None
    return f"{rule.folder} may not include {os.path.dirname(target) or target}"


def system_violation(rule, text):
    if QT_WITHOUT_MODULE.match(text):
        return "Qt header without its module"
    module = QT_MODULE.match(text)
    if module:
        return None if module[1] in rule.qt else f"{rule.folder} may not use {module[1]}"
    library = library_of(text)
    if library and library not in rule.libraries:
        return f"{rule.folder} may not use {library}"
    return None


def widget_path(tree, path, seen):
    """The chain of project headers from a file to Qt Widgets, or None."""
    for quote, text in includes(tree, path):
        if quote == "<" and text.startswith("QtWidgets/"):
            return [path, f"<{text}>"]
        target = resolve(tree, path, text) if quote == '"' else None
        if target and target not in seen:
            seen.add(target)
            rest = widget_path(tree, target, seen)
            if rest:
                return [path, *rest]
    return None


def violations(tree):
    for path in source_files(tree):
        rule = rule_of(path)
        if rule is None:
            yield f"{path}: no rule for this folder"
            continue
        for quote, text in includes(tree, path):
            violation = (quoted_violation(tree, path, rule, text) if quote == '"'
                       else system_violation(rule, text))
            if violation:
                yield f"{path}: {quote}{text}: {violation}"
        chain = widget_path(tree, path, {path}) if rule.no_widgets else None
        if chain:
            yield f"{path}: reaches Qt Widgets: {' -> '.join(chain)}"


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    tree = arguments[1]
    found = list(violations(tree))
    count = len(list(source_files(tree)))
    if count == 0:
        print("no source files found", file=sys.stderr)
        return 2
    print("\n".join([*found, f"{count} files, {len(found)} violations"]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

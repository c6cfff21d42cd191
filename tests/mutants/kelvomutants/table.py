"""Reads the table of mutants: the files *.mutants of a folder.

An entry:

    mutant: the behaviour that must not be lost
    file: worker/Upload.cpp
    -    the lines of the file
    +    the lines of the mutant
    tests: tst_Upload

- A line of the change begins with `-` (removed), `+` (added) or a blank (kept), as in a diff. The removed and kept
  lines together must occur exactly once in the file.
- A further line `file:` begins a further change. The mutant is all changes together.
- `tests:` names tests of ctest, separated by blanks. A name that ends before a dot or slash of the test's name means
  all tests with this beginning.
- `command:` instead of `tests:` is a command that must fail. It runs in the copy of the tree. {build} in it is the
  build folder.
- `targets:` are the build targets. An entry needs the line only if TARGETS below does not know the tests.
- An empty line and a line that begins with `#` between entries are ignored."""

import dataclasses
import re

# The build targets of a test, by its name. A test that no row names is a program of the same name.
CONSOLE = ("kelvo-service", "kelvoctl", "kelvo-console", "kelvo", "kelvo_translations", "console_translations")
TARGETS = (
    (r"kesdk\.", ("tst_kesdk",)),
    (r"service/(\w+)", (r"tst_service_\1",)),
    (r"kelvoctl/", ("tst_kelvoctl",)),
    (r"wire\.", ("kelvo-service", "kelvoctl", "wrongclock")),
    (r"host\.unpacking_order", ("unpack_once",)),
    (r"e2e\.", CONSOLE),
)
TEST_PROGRAM = re.compile(r"^tst_\w+")


class TableError(Exception):
    """The table cannot be read."""


class Stale(Exception):
    """A mutant's lines are not in its file, or are there more than once."""


@dataclasses.dataclass
class Change:
    path: str
    lines: list = dataclasses.field(default_factory=list)

    def applied_to(self, text):
        before = self._side("-")
        count = ("\n" + text).count("\n" + before)
        if count != 1:
            raise Stale(f"{self.path} has its lines {count} times, not once")
        begin = ("\n" + text).index("\n" + before)
        return text[:begin] + self._side("+") + text[begin + len(before):]

    def _side(self, mark):
        return "".join(line[1:] + "\n" for line in self.lines if line[0] in (mark, " "))


@dataclasses.dataclass
class Mutant:
    name: str
    changes: list = dataclasses.field(default_factory=list)
    tests: list = dataclasses.field(default_factory=list)
    command: str = ""
    targets: list = dataclasses.field(default_factory=list)

    @property
    def check(self):
        """What must fail, as the runner prints it."""
        return self.command or " ".join(self.tests)

    def planted_in(self, folder):
        """The texts of the files without and with the mutant. Raises Stale."""
        originals, texts = {}, {}
        for change in self.changes:
            path = folder / change.path
            if change.path not in originals:
                originals[change.path] = path.read_text(encoding="utf-8") if path.is_file() else ""
            texts[change.path] = change.applied_to(texts.get(change.path, originals[change.path]))
        return originals, texts

    def check_entry(self):
        if not self.changes or not all(change.lines for change in self.changes):
            raise TableError(f"{self.name}: an entry needs `file:` and changed lines")
        if bool(self.tests) == bool(self.command):
            raise TableError(f"{self.name}: an entry needs either `tests:` or `command:`")

    def needed_targets(self):
        if self.targets:
            return set(self.targets)
        found = set()
        for test in self.tests:
            rows = ((re.match(pattern, test), names) for pattern, names in TARGETS)
            known = next(({match.expand(name) for name in names} for match, names in rows if match), None)
            found.update(known or TEST_PROGRAM.findall(test))
        if not found:
            raise TableError(f"{self.name}: no build target is known for {self.check}; name it with `targets:`")
        return found


def _entries(text, place):
    mutant = None
    for number, line in enumerate(text.splitlines(), 1):
        key, _, value = line.partition(":")
        value = value.strip()
        if not line.strip() or line.startswith("#"):
            continue
        if key == "mutant":
            if mutant:
                yield mutant
            mutant = Mutant(value)
        elif mutant and key == "file":
            mutant.changes.append(Change(value))
        elif mutant and key == "command":
            mutant.command = value
        elif mutant and key in ("tests", "targets"):
            setattr(mutant, key, value.split())
        elif mutant and mutant.changes and line[0] in "-+ ":
            mutant.changes[-1].lines.append(line)
        else:
            raise TableError(f"{place}:{number}: {line}")
    if mutant:
        yield mutant


def read_table(folder):
    """The mutants of all files of the folder, in the order of the file names and lines."""
    mutants = []
    for path in sorted(folder.glob("*.mutants")):
        mutants += _entries(path.read_text(encoding="utf-8"), path.name)
    names = [mutant.name for mutant in mutants]
    for mutant in mutants:
        mutant.check_entry()
        if names.count(mutant.name) > 1:
            raise TableError(f"two mutants are named: {mutant.name}")
    if not mutants:
        raise TableError(f"{folder} holds no mutants")
    return mutants

"""Scenario files: rules for connections and outages of the whole link, read and judged."""

import difflib
import math
import tomllib
from dataclasses import dataclass
from pathlib import Path

from .positions import Positions
from .values import (
    DIRECTIONS, Span, flag, natural, numbers, one_of, probability, rate, seconds, seconds_span, span, text)

SHIPPED = Path(__file__).resolve().parent.parent / "scenarios"

NEW = ("refuse", "stall")
OPEN = ("stall", "half-open", "reset", "cut", "leave")

# What a rule may do: keys that it must have, keys that it may have beside those of every rule.
TRIGGER = frozenset({"after_bytes", "after_seconds", "times"})
DEEDS = {
    "delay": (frozenset({"seconds"}), frozenset({"jitter_seconds"})),
    "bandwidth": (frozenset({"bytes_per_second"}), frozenset({"shared"})),
    "cut": (frozenset(), TRIGGER),
    "truncate": (frozenset({"direction"}), TRIGGER),
    "stall": (frozenset(), TRIGGER | {"seconds", "repeat"}),
    "reset": (frozenset(), TRIGGER),
    "half-open": (frozenset(), TRIGGER | {"seconds"}),
    "refuse": (frozenset({"seconds"}), TRIGGER),
    "corrupt": (frozenset({"after_bytes"}), frozenset({"bit", "repeat", "times"})),
}
SHAPES = ("delay", "bandwidth")  # these last as long as the connection, the others happen

EVERY_RULE = frozenset({"do", "direction", "nth", "every", "probability", "from_seconds", "until_seconds"})
RULE_KEYS = {
    "do": one_of(*DEEDS),
    "direction": one_of(*DIRECTIONS, "both"),
    "nth": numbers,
    "every": natural,
    "probability": probability,
    "from_seconds": seconds,
    "until_seconds": seconds,
    "after_bytes": span,
    "after_seconds": seconds_span,
    "times": natural,
    "seconds": seconds_span,
    "jitter_seconds": seconds,
    "bytes_per_second": rate,
    "shared": flag,
    "repeat": flag,
    "bit": one_of(*range(8)),
}
OUTAGE_KEYS = {
    "start_seconds": seconds_span,
    "last_seconds": seconds_span,
    "pause_seconds": seconds_span,
    "new": one_of(*NEW),
    "open": one_of(*OPEN),
}
TOP_KEYS = {"description": text, "buffer_bytes": natural}
TABLES = ("rule", "outage")
CONTRADICTION = "after_bytes and after_seconds exclude each other"


@dataclass(frozen=True)
class Rule:
    """Which connections, and what happens to them. `number` counts from 0; None means that the file does not say."""
    number: int
    do: str
    direction: str = "both"
    nth: tuple = None
    every: int = None
    probability: float = None
    from_seconds: float = 0.0
    until_seconds: float = math.inf
    after_bytes: Span = None
    after_seconds: Span = None
    times: int = None
    seconds: Span = None
    jitter_seconds: float = 0.0
    bytes_per_second: float = None
    shared: bool = False
    repeat: bool = False
    bit: int = None

    @property
    def directions(self):
        return DIRECTIONS if self.direction == "both" else (self.direction,)


@dataclass(frozen=True)
class Outage:
    """The whole link is gone, once or again and again."""
    number: int
    last_seconds: Span
    start_seconds: Span = Span(0, 0)
    pause_seconds: Span = None
    new: str = "refuse"
    open: str = "stall"


@dataclass(frozen=True)
class Scenario:
    name: str
    description: str = ""
    buffer_bytes: int = 128 * 1024
    rules: tuple = ()
    outages: tuple = ()


class ScenarioError(Exception):
    """A scenario that cannot be played; `problems` says each thing that is wrong, with its line."""

    def __init__(self, problems):
        super().__init__("\n".join(problems))
        self.problems = problems


def find(name):
    """A file, or a shipped scenario by its name."""
    path = Path(name)
    shipped = SHIPPED / f"{name}.toml"
    if not path.is_file() and path.name == str(name) and shipped.is_file():
        return shipped
    return path


def shipped():
    return sorted(SHIPPED.glob("*.toml"))


def read(path):
    try:
        source = Path(path).read_text(encoding="utf-8")
    except FileNotFoundError:
        raise ScenarioError([f"{path}: neither a file nor a shipped scenario; --list names these"]) from None
    except (OSError, UnicodeDecodeError) as failure:
        raise ScenarioError([f"{path}: {getattr(failure, 'strerror', None) or failure}"]) from None
    return parse(source, Path(path).stem, str(path))


def parse(source, name="scenario", file="scenario"):
    """All problems at once, so that nobody has to repair a file one run at a time."""
    try:
        document = tomllib.loads(source)
    except tomllib.TOMLDecodeError as failure:
        raise ScenarioError([f"{file}: {failure}"]) from None
    return _Reader(file, Positions(source)).scenario(document, name)


class _Reader:
    def __init__(self, file, positions):
        self._file, self._positions = file, positions
        self._problems = []

    def scenario(self, document, name):
        tables = {key: self._tables(document, key) for key in TABLES}
        top = self._values({key: value for key, value in document.items() if key not in TABLES}, TOP_KEYS)
        rules = [self._rule(number, table) for number, table in tables["rule"]]
        outages = [self._outage(number, table) for number, table in tables["outage"]]
        if self._problems:
            raise ScenarioError([f"{self._file}:{line}: {what}" for line, what in sorted(self._problems)])
        return Scenario(name, **top, rules=tuple(rules), outages=tuple(outages))

    def _problem(self, what, *place):
        self._problems.append((self._positions.line(*place), what))

    def _tables(self, document, name):
        tables = document.get(name, [])
        if not isinstance(tables, list) or not all(isinstance(table, dict) for table in tables):
            self._problem(f"{name}: must be written as [[{name}]]", name)
            return []
        return list(enumerate(tables))

    def _values(self, table, keys, *place):
        """The values as their keys want them; what is wrong is noted and left out."""
        values = {}
        for key, value in table.items():
            where = place + (key,) if place else (None, None, key)
            if key not in keys:
                guesses = difflib.get_close_matches(key, keys if place else [*keys, *TABLES], 1)
                self._problem(f"{key}: no such key" + (f"; {guesses[0]}?" if guesses else ""), *where)
                continue
            try:
                values[key] = keys[key](value)
            except ValueError as failure:
                self._problem(f"{key}: {failure}, not {value!r}", *where)
        return values

    def _rule(self, number, table):
        values = self._values(table, RULE_KEYS, "rule", number)
        if "do" not in values:
            if "do" not in table:
                self._problem(f"do: is missing; it is one of {', '.join(DEEDS)}", "rule", number)
            return None
        must, may = DEEDS[values["do"]]
        for key in sorted(must - table.keys()):
            self._problem(f"{key}: is missing, {values['do']} wants it", "rule", number)
        for key in sorted(values.keys() - must - may - EVERY_RULE):
            self._problem(f"{key}: means nothing for {values['do']}", "rule", number, key)
        for key, what in _contradictions(values, must | may):
            self._problem(f"{key}: {what}", "rule", number, key)
        return None if self._problems else Rule(number, **values)

    def _outage(self, number, table):
        values = self._values(table, OUTAGE_KEYS, "outage", number)
        if "last_seconds" not in table:
            self._problem("last_seconds: is missing, an outage wants it", "outage", number)
        elif "last_seconds" in values and "pause_seconds" in values \
                and values["last_seconds"].low + values["pause_seconds"].low <= 0:
            self._problem("pause_seconds: an outage that comes again must take time", "outage", number, "pause_seconds")
        return None if self._problems else Outage(number, **values)


def _contradictions(values, meant):
    """(key, what is wrong) of values that are right one by one."""
    if "after_bytes" in values and "after_seconds" in values:
        yield "after_seconds", CONTRADICTION
    if values.get("until_seconds", math.inf) <= values.get("from_seconds", 0):
        yield "until_seconds", "must be later than from_seconds"
    if values["do"] == "truncate" and values.get("direction") == "both":
        yield "direction", "truncate closes one direction, up or down"
    if values["do"] == "delay" and "seconds" in values and values["seconds"].low < values.get("jitter_seconds", 0):
        yield "jitter_seconds", "must not exceed seconds"
    if values.get("repeat") and "repeat" in meant:
        trigger = values.get("after_bytes") or values.get("after_seconds")
        if trigger is None or trigger.low <= 0:
            yield "repeat", "wants after_bytes or after_seconds above 0"
        if values["do"] == "stall" and "seconds" not in values:
            yield "repeat", "wants seconds: a stall for ever comes once"

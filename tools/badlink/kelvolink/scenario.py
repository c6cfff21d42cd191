"""Scenario files: reads the rules for connections and the outages of the whole link, and reports errors."""

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

# For each action: the required keys, and the allowed keys beside EVERY_RULE.
TRIGGER = frozenset({"after_bytes", "after_seconds", "times"})
ACTIONS = {
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
SHAPES = ("delay", "bandwidth")  # they last as long as the connection

EVERY_RULE = frozenset({"do", "direction", "nth", "every", "probability", "from_seconds", "until_seconds"})
RULE_KEYS = {
    "do": one_of(*ACTIONS),
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
CONTRADICTION = "must not be used together with after_bytes"


@dataclass(frozen=True)
class Rule:
    """A rule for connections. `number` counts from 0. None means that the file does not have the key."""
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
    """An outage of the whole link, once or repeated."""
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
    """Errors in a scenario; `problems` has one text for each error, with its line."""

    def __init__(self, problems):
        super().__init__("\n".join(problems))
        self.problems = problems


def find(name):
    """The path of a file, or of a shipped scenario with this name."""
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
        raise ScenarioError([f"{path}: neither a file nor a shipped scenario (see --list)"]) from None
    except (OSError, UnicodeDecodeError) as failure:
        raise ScenarioError([f"{path}: {getattr(failure, 'strerror', None) or failure}"]) from None
    return parse(source, Path(path).stem, str(path))


def parse(source, name="scenario", file="scenario"):
    """Reads a scenario. Raises ScenarioError with all errors at once."""
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
        """The values that their keys accept. A wrong value is reported and left out."""
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
                self._problem(f"do: is missing; must be one of {', '.join(ACTIONS)}", "rule", number)
            return None
        must, may = ACTIONS[values["do"]]
        for key in sorted(must - table.keys()):
            self._problem(f"{key}: is missing, {values['do']} requires it", "rule", number)
        for key in sorted(values.keys() - must - may - EVERY_RULE):
            self._problem(f"{key}: has no effect on {values['do']}", "rule", number, key)
        for key, what in _contradictions(values, must | may):
            self._problem(f"{key}: {what}", "rule", number, key)
        return None if self._problems else Rule(number, **values)

    def _outage(self, number, table):
        values = self._values(table, OUTAGE_KEYS, "outage", number)
        if "last_seconds" not in table:
            self._problem("last_seconds: is missing, an outage requires it", "outage", number)
        elif "last_seconds" in values and "pause_seconds" in values \
                and values["last_seconds"].low + values["pause_seconds"].low <= 0:
            self._problem("pause_seconds: must be above 0 if last_seconds is 0", "outage", number, "pause_seconds")
        return None if self._problems else Outage(number, **values)


def _contradictions(values, meant):
    """Yields (key, error) for values that are valid alone but not together."""
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
            yield "repeat", "requires after_bytes or after_seconds above 0"
        if values["do"] == "stall" and "seconds" not in values:
            yield "repeat", "requires seconds, because a stall without seconds never ends"

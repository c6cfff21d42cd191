"""The values that the keys of a scenario accept.

Each reader returns the value, or raises a ValueError whose text says what it accepts.
"""

import math
from dataclasses import dataclass

DIRECTIONS = ("up", "down")  # to the service, to the client


@dataclass(frozen=True)
class Span:
    """A range of numbers. Two whole ends give whole numbers."""
    low: float
    high: float

    def draw(self, rng):
        if self.low == self.high:
            return self.low
        if isinstance(self.low, int) and isinstance(self.high, int):
            return rng.randint(self.low, self.high)
        return rng.uniform(self.low, self.high)


def one_of(*choices):
    def read(value):
        # Compares the type too, because True == 1 and 1.0 == 1.
        if not any(type(value) is type(choice) and value == choice for choice in choices):
            raise ValueError("must be one of " + ", ".join(map(str, choices)))
        return value
    return read


def is_number(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool) and math.isfinite(value)


def is_whole(value):
    return isinstance(value, int) and not isinstance(value, bool)


def _span(value, is_right, wanted):
    ends = value if isinstance(value, list) else [value, value]
    if len(ends) != 2 or not all(is_right(end) and end >= 0 for end in ends) or ends[0] > ends[1]:
        raise ValueError(f"must be {wanted}, or [lowest, highest] of them")
    return Span(*ends)


def span(value):
    return _span(value, is_whole, "a number of bytes from 0")


def seconds_span(value):
    return _span(value, is_number, "a number of seconds from 0")


def seconds(value):
    if not is_number(value) or value < 0:
        raise ValueError("must be a number of seconds from 0")
    return float(value)


def rate(value):
    if not is_number(value) or value <= 0:
        raise ValueError("must be a number above 0")
    return float(value)


def probability(value):
    if not is_number(value) or not 0 <= value <= 1:
        raise ValueError("must be a number from 0 to 1")
    return float(value)


def natural(value):
    if not is_whole(value) or value < 1:
        raise ValueError("must be a whole number from 1")
    return value


def numbers(value):
    """One connection number, or a list of them."""
    found = value if isinstance(value, list) else [value]
    if not found or not all(is_whole(number) and number >= 1 for number in found):
        raise ValueError("must be a whole number from 1, or a list of them")
    return tuple(found)


def flag(value):
    if not isinstance(value, bool):
        raise ValueError("must be true or false")
    return value


def text(value):
    if not isinstance(value, str):
        raise ValueError("must be a text")
    return value

"""What a scenario's rules mean for one connection: drawn from the seed and the connection's number, nothing else."""

import math
import random

from .scenario import SHAPES


def chosen(rules, seed, number, opened):
    """(rule, its random numbers) of those that concern the connection with that number, opened at that second."""
    for rule in rules:
        rng = random.Random(f"{seed}/{number}/{rule.number}")
        if _concerns(rule, number, opened, rng):
            yield rule, rng


def _concerns(rule, number, opened, rng):
    if rule.nth is not None and number not in rule.nth:
        return False
    if rule.every is not None and number % rule.every != 0:
        return False
    if not rule.from_seconds <= opened < rule.until_seconds:
        return False
    return rule.probability is None or rng.random() < rule.probability


class Deed:
    """Something that happens to a connection once, or again and again if the rule repeats."""

    def __init__(self, rule, rng):
        self.rule, self._rng = rule, rng
        self.draw()

    @classmethod
    def all_of(cls, chosen_rules):
        return [cls(rule, rng) for rule, rng in chosen_rules if rule.do not in SHAPES]

    def draw(self):
        """When it happens next, from now on, and how."""
        rule = self.rule
        self.bytes_left = rule.after_bytes.draw(self._rng) if rule.after_bytes else None
        self.after_seconds = rule.after_seconds.draw(self._rng) if rule.after_seconds else 0
        self.seconds = rule.seconds.draw(self._rng) if rule.seconds else math.inf
        self.bit = rule.bit if rule.bit is not None else self._rng.randrange(8)

    def plan(self):
        """For the log."""
        plan = {"do": self.rule.do, "direction": self.rule.direction}
        if self.bytes_left is not None:
            plan["byte"] = self.bytes_left
        else:
            plan["second"] = self.after_seconds
        if math.isfinite(self.seconds):
            plan["seconds"] = self.seconds
        if self.rule.do == "corrupt":
            plan["bit"] = self.bit
        return plan


class Trips:
    """Counts the bytes of a connection, so that a deed happens right before the byte behind its last one."""

    def __init__(self):
        self._deeds = []
        self._passed = {"up": 0, "down": 0}

    def add(self, deed):
        self._deeds.append(deed)

    def passed(self, directions):
        return sum(self._passed[direction] for direction in directions)

    def next(self, direction, size):
        """(how many of the next `size` bytes may pass, None), which are counted; or (0, what happens before)."""
        watching = [deed for deed in self._deeds if direction in deed.rule.directions]
        for deed in watching:
            if deed.bytes_left == 0:
                if not deed.rule.repeat:
                    self._deeds.remove(deed)
                return 0, deed
            size = min(size, deed.bytes_left)
        for deed in watching:
            deed.bytes_left -= size
        self._passed[direction] += size
        return size, None

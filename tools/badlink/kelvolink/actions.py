"""The actions of a scenario's rules on one connection.

The random numbers depend only on the seed, the connection's number and the rule's number.
"""

import math
import random

from .scenario import SHAPES


def chosen(rules, seed, number, opened):
    """Yields (rule, its random numbers) for each rule that applies to connection `number`, opened at that second."""
    for rule in rules:
        rng = random.Random(f"{seed}/{number}/{rule.number}")
        if _applies(rule, number, opened, rng):
            yield rule, rng


def _applies(rule, number, opened, rng):
    if rule.nth is not None and number not in rule.nth:
        return False
    if rule.every is not None and number % rule.every != 0:
        return False
    if not rule.from_seconds <= opened < rule.until_seconds:
        return False
    return rule.probability is None or rng.random() < rule.probability


class Action:
    """An action on a connection. It happens once, or several times if the rule repeats."""

    def __init__(self, rule, rng):
        self.rule, self._rng = rule, rng
        self.draw()

    @classmethod
    def all_of(cls, chosen_rules):
        return [cls(rule, rng) for rule, rng in chosen_rules if rule.do not in SHAPES]

    def draw(self):
        """Draws the time and the details of the next occurrence. The time counts from now."""
        rule = self.rule
        self.bytes_left = rule.after_bytes.draw(self._rng) if rule.after_bytes else None
        self.after_seconds = rule.after_seconds.draw(self._rng) if rule.after_seconds else 0
        self.seconds = rule.seconds.draw(self._rng) if rule.seconds else math.inf
        self.bit = rule.bit if rule.bit is not None else self._rng.randrange(8)

    def plan(self):
        """The action as the log has it."""
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


class Triggers:
    """Counts the bytes of a connection. An action after n bytes happens before byte n + 1 passes."""

    def __init__(self):
        self._actions = []
        self._passed = {"up": 0, "down": 0}

    def add(self, action):
        self._actions.append(action)

    def passed(self, directions):
        return sum(self._passed[direction] for direction in directions)

    def next(self, direction, size):
        """Returns (number of bytes that may pass, None), and counts these bytes. Or returns (0, action) when an
        action has to happen first."""
        watching = [action for action in self._actions if direction in action.rule.directions]
        for action in watching:
            if action.bytes_left == 0:
                if not action.rule.repeat:
                    self._actions.remove(action)
                return 0, action
            size = min(size, action.bytes_left)
        for action in watching:
            action.bytes_left -= size
        self._passed[direction] += size
        return size, None

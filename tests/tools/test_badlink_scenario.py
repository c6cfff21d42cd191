"""Scenario files: values, errors with their lines, and random choices."""

import random
import re
import unittest

from kelvotools import TOOL
from kelvotools.case import LinkCase

from kelvolink import actions, scenario as scenarios
from kelvolink.pace import Delay
from kelvolink.scenario import Outage, Rule, ScenarioError
from kelvolink.values import Span

CHANCES = """
[[rule]]
do = "cut"
probability = 0.5
after_bytes = [100, 100_000]

[[rule]]
do = "stall"
after_seconds = [1.0, 9.0]
seconds = [5, 50]

[[rule]]
do = "corrupt"
after_bytes = [0, 1000]
"""

# (the text of a scenario, the line of its error, a part of the error's text)
WRONG = (
    ("[[rule]]\ndo = 'cut'\nafter_byte = 3\n", 3, "after_byte: no such key; after_bytes?"),
    ("sort = 1\n", 1, "sort: no such key"),
    ("[[rules]]\ndo = 'cut'\n", 1, "rules: no such key; rule?"),
    ("[rule]\ndo = 'cut'\n", 1, "rule: must be written as [[rule]]"),
    ("description = 3\n", 1, "description: must be a text, not 3"),
    ("\nbuffer_bytes = 0\n", 2, "buffer_bytes: must be a whole number from 1"),
    ("[[rule]]\nnth = 3\n", 1, "do: is missing; must be one of delay,"),
    ("[[rule]]\ndo = 'cutt'\n", 2, "do: must be one of delay,"),
    ("[[rule]]\ndo = 'delay'\n", 1, "seconds: is missing, delay requires it"),
    ("[[rule]]\ndo = 'refuse'\n", 1, "seconds: is missing, refuse requires it"),
    ("[[rule]]\ndo = 'truncate'\n", 1, "direction: is missing, truncate requires it"),
    ("[[rule]]\ndo = 'truncate'\ndirection = 'both'\n", 3, "direction: truncate closes one direction"),
    ("[[rule]]\ndo = 'cut'\ndirection = 'left'\n", 3, "direction: must be one of up, down, both, not 'left'"),
    ("[[rule]]\ndo = 'cut'\nbytes_per_second = 3\n", 3, "bytes_per_second: has no effect on cut"),
    ("[[rule]]\ndo = 'delay'\nseconds = 1\nafter_bytes = 3\n", 4, "after_bytes: has no effect on delay"),
    ("[[rule]]\ndo = 'cut'\nafter_bytes = 1\nafter_seconds = 1\n", 4, "after_seconds: must not be used together"),
    ("[[rule]]\ndo = 'cut'\nafter_bytes = 1.5\n", 3, "after_bytes: must be a number of bytes from 0"),
    ("[[rule]]\ndo = 'cut'\nafter_bytes = [2, 1]\n", 3, "or [lowest, highest] of them, not [2, 1]"),
    ("[[rule]]\ndo = 'cut'\nafter_bytes = [1, 2, 3]\n", 3, "after_bytes"),
    ("[[rule]]\ndo = 'cut'\nafter_seconds = -1\n", 3, "after_seconds: must be a number of seconds from 0"),
    ("[[rule]]\ndo = 'cut'\nafter_seconds = nan\n", 3, "after_seconds"),
    ("[[rule]]\ndo = 'stall'\nseconds = true\n", 3, "seconds: must be a number of seconds from 0"),
    ("[[rule]]\ndo = 'bandwidth'\nbytes_per_second = 0\n", 3, "bytes_per_second: must be a number above 0"),
    ("[[rule]]\ndo = 'bandwidth'\nbytes_per_second = 9\nshared = 1\n", 4, "shared: must be true or false, not 1"),
    ("[[rule]]\ndo = 'cut'\nprobability = 1.5\n", 3, "probability: must be a number from 0 to 1"),
    ("[[rule]]\ndo = 'cut'\nnth = 0\n", 3, "nth: must be a whole number from 1, or a list"),
    ("[[rule]]\ndo = 'cut'\nnth = []\n", 3, "nth: must be a whole number from 1, or a list"),
    ("[[rule]]\ndo = 'cut'\nevery = 1.0\n", 3, "every: must be a whole number from 1"),
    ("[[rule]]\ndo = 'cut'\nfrom_seconds = 5\nuntil_seconds = 5\n", 4, "until_seconds: must be later"),
    ("[[rule]]\ndo = 'corrupt'\nafter_bytes = 1\nbit = 8\n", 4, "bit: must be one of 0, 1,"),
    ("[[rule]]\ndo = 'corrupt'\n", 1, "after_bytes: is missing, corrupt requires it"),
    ("[[rule]]\ndo = 'corrupt'\nafter_bytes = 0\nrepeat = true\n", 4, "repeat: requires after_bytes or after_seconds"),
    ("[[rule]]\ndo = 'stall'\nafter_bytes = 1\nrepeat = true\n", 4, "repeat: requires seconds"),
    ("[[rule]]\ndo = 'cut'\nrepeat = true\n", 3, "repeat: has no effect on cut"),
    ("[[rule]]\ndo = 'delay'\nseconds = 0.1\njitter_seconds = 0.2\n", 4, "jitter_seconds: must not exceed seconds"),
    ("[[outage]]\nnew = 'refuse'\n", 1, "last_seconds: is missing"),
    ("[[outage]]\nlast_seconds = 1\nnew = 'reset'\n", 3, "new: must be one of refuse, stall"),
    ("[[outage]]\nlast_seconds = 0\npause_seconds = 0\n", 3, "pause_seconds: must be above 0"),
)


class ReadingTest(unittest.TestCase):
    def problems(self, text):
        with self.assertRaises(ScenarioError) as caught:
            scenarios.parse(text, file="f.toml")
        return caught.exception.problems

    def test_each_error_has_its_line(self):
        for text, line, part in WRONG:
            with self.subTest(text):
                problem, = self.problems(text)
                self.assertTrue(problem.startswith(f"f.toml:{line}: "), problem)
                self.assertIn(part, problem)

    def test_all_errors_come_at_once_in_the_order_of_lines(self):
        text = ('description = """\n[[rule]]\ndo = 1\n"""\n\n[[rule]] # one\ndo = "cut"\nnth = [\n  1,\n  0,\n]\n'
                '[[outage]]\nlast_seconds = 1\n[[rule]]\n"do" = "cat"\n[[outage]]\nlast_seconds = -1\n')
        lines = [problem.split(":")[1] for problem in self.problems(text)]
        self.assertEqual(lines, ["8", "15", "17"])

    def test_an_error_of_the_toml_syntax_has_its_line(self):
        problem, = self.problems("a = 1\nb = = 2\n")
        self.assertIn("line 2", problem)

    def test_a_missing_or_binary_file_is_an_error(self):
        for path in ("/nowhere/x.toml", "/bin/true", "/"):
            with self.subTest(path), self.assertRaises(ScenarioError):
                scenarios.read(path)

    def test_values_and_defaults(self):
        found = scenarios.parse("description = 'd'\n[[rule]]\ndo = 'stall'\nafter_bytes = [1, 2]\nseconds = 0.5\n"
                                "nth = 3\n[[outage]]\nlast_seconds = 4\n", name="n")
        self.assertEqual(found, scenarios.Scenario(
            "n", "d", rules=(Rule(0, "stall", after_bytes=Span(1, 2), seconds=Span(0.5, 0.5), nth=(3,)),),
            outages=(Outage(0, Span(4, 4)),)))
        self.assertEqual((found.rules[0].direction, found.outages[0].new, found.outages[0].open),
                         ("both", "refuse", "stall"))

    def test_every_shipped_scenario_is_valid_and_has_a_description(self):
        names = [path.stem for path in scenarios.shipped()]
        self.assertEqual(names, ["cutting", "half-open", "perfect", "rural", "tunnel"])
        for name in names:
            with self.subTest(name):
                found = scenarios.read(scenarios.find(name))
                self.assertTrue(found.description)
                self.assertEqual(bool(found.rules or found.outages), name != "perfect")

    def test_the_manual_has_every_key_and_a_valid_example(self):
        manual = (TOOL.parents[1] / "docs/badlink.md").read_text(encoding="utf-8")
        for key in (*scenarios.RULE_KEYS, *scenarios.OUTAGE_KEYS, *scenarios.TOP_KEYS):
            self.assertIn(f"`{key}`", manual)
        for value in (*scenarios.ACTIONS, *scenarios.NEW, *scenarios.OPEN):
            self.assertIn(f'`"{value}"`', manual)
        examples = re.findall(r"```toml\n(.*?)```", manual, re.DOTALL)
        self.assertEqual([len(scenarios.parse(example).rules) for example in examples], [3])

    def test_a_file_comes_before_a_shipped_scenario_of_the_same_name(self):
        self.assertEqual(scenarios.find(__file__), scenarios.Path(__file__))
        self.assertEqual(scenarios.find("./rural"), scenarios.Path("./rural"))
        self.assertEqual(scenarios.find("rural").name, "rural.toml")


class ChoiceTest(unittest.TestCase):
    def numbers(self, rule, among=range(1, 13), seed=1, opened=0.0):
        return [number for number in among if list(actions.chosen([rule], seed, number, opened))]

    def test_by_number(self):
        self.assertEqual(self.numbers(Rule(0, "cut")), list(range(1, 13)))
        self.assertEqual(self.numbers(Rule(0, "cut", nth=(2, 7))), [2, 7])
        self.assertEqual(self.numbers(Rule(0, "cut", every=5)), [5, 10])
        self.assertEqual(self.numbers(Rule(0, "cut", every=2, nth=(3, 4))), [4])

    def test_by_time(self):
        rule = Rule(0, "cut", from_seconds=10.0, until_seconds=20.0)
        for opened, is_chosen in ((9.9, False), (10.0, True), (19.9, True), (20.0, False)):
            with self.subTest(opened):
                self.assertEqual(self.numbers(rule, [1], opened=opened), [1] * is_chosen)

    def test_by_probability(self):
        some = self.numbers(Rule(0, "cut", probability=0.25), range(1, 4001))
        self.assertTrue(850 < len(some) < 1150, len(some))
        self.assertEqual(self.numbers(Rule(0, "cut", probability=0.25), range(1, 4001)), some)
        self.assertNotEqual(self.numbers(Rule(0, "cut", probability=0.25), range(1, 4001), seed=2), some)
        self.assertEqual(self.numbers(Rule(0, "cut", probability=0.0)), [])
        self.assertEqual(self.numbers(Rule(0, "cut", probability=1.0)), list(range(1, 13)))

    def test_random_numbers_cover_the_whole_range(self):
        rng = random.Random(3)
        self.assertEqual({Span(1, 4).draw(rng) for _ in range(200)}, {1, 2, 3, 4})
        drawn = [Span(0.5, 1).draw(rng) for _ in range(200)]
        self.assertTrue(0.5 <= min(drawn) < 0.55 and 0.95 < max(drawn) <= 1)

    def test_jitter_is_around_the_delay_and_depends_on_the_seed(self):
        delays = [Delay(0.2, 0.05, seed) for seed in ("a", "a", "b")]
        draws = [[delay.draw() for _ in range(100)] for delay in delays]
        self.assertEqual(draws[0], draws[1])
        self.assertNotEqual(draws[0], draws[2])
        self.assertTrue(0.15 <= min(draws[0]) < 0.16 and 0.24 < max(draws[0]) <= 0.25)


class SeedTest(LinkCase):
    async def actions_of(self, seed):
        """The plans of eight connections, and the actions on them in 2000 bytes."""
        self.clock.advance_to(0)
        self.journal.events.clear()
        self.play(CHANCES, seed)
        for number in range(1, 9):
            client, service = await self.connect()
            await self.until(lambda: len(self.proxy.connections) == 1)
            connection, = self.proxy.connections
            await client.send(bytes(2000))
            await self.until(lambda: connection.is_ending or connection.triggers.passed(("up",)) == 2000)
            await client.abort()
            await service.abort()
            await self.until_logged("closed", number)
        await self.proxy.close()
        return [event for event in self.journal.events if event["did"] in ("opened", "corrupt", "cut")]

    async def test_the_same_seed_does_the_same_and_another_seed_does_not(self):
        first = await self.actions_of(5)
        self.assertEqual(len([event for event in first if event["did"] == "opened"]), 8)
        self.assertEqual(await self.actions_of(5), first)
        self.assertNotEqual(await self.actions_of(6), first)


class TimesTest(LinkCase):
    async def test_a_rule_acts_no_more_than_times(self):
        self.play("[[rule]]\ndo = 'reset'\nafter_bytes = 1\ntimes = 2\n")
        for number in range(1, 5):
            client, service = await self.connect()
            await client.send(b"xy")
            self.assertEqual(await service.receive(1), b"x")
            if number <= 2:
                await client.reset()
            else:
                self.assertEqual(await service.receive(1), b"y")
        self.assertEqual(len(self.journal.of("reset")), 2)


if __name__ == "__main__":
    unittest.main()

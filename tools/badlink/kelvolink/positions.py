"""The line number of a key in a TOML file, which the standard reader does not give."""

import re

ARRAY = re.compile(r"\s*\[\[\s*([\w-]+)\s*\]\]")
TABLE = re.compile(r"\s*\[\s*([\w-]+)\s*\]\s*(#.*)?$")
KEY = re.compile(r"\s*[\"']?([\w-]+)[\"']?\s*=(.*)")
LONG_TEXT = re.compile(r'"""|\'\'\'')


class Positions:
    """Knows the lines of tables at the top level, the only ones in scenarios. For a nested key it has the line of the
    key above."""

    def __init__(self, text):
        self._lines = {}
        self._read(text)

    def line(self, table=None, number=None, key=None):
        """The line of a key in the `number`th (from 0) `[[table]]`. Without such a key, the line of its table."""
        for place in ((table, number, key), (table, number, None), (table, None, None), (None, None, table)):
            if place in self._lines:
                return self._lines[place]
        return 1

    def _read(self, text):
        counts, table, number, closing = {}, None, None, None
        for index, line in enumerate(text.splitlines(), 1):
            if closing:
                closing = None if closing in line else closing
            elif match := ARRAY.match(line):
                table = match[1]
                number = counts[table] = counts.get(table, -1) + 1
                self._lines[(table, number, None)] = index
            elif match := TABLE.match(line):
                table, number = match[1], None
                self._lines[(table, None, None)] = index
            elif match := KEY.match(line):
                self._lines.setdefault((table, number, match[1]), index)
                marks = LONG_TEXT.findall(match[2])
                closing = marks[0] if len(marks) == 1 else None

"""On which line of a TOML file a key stands, which the standard reader does not tell."""

import re

ARRAY = re.compile(r"\s*\[\[\s*([\w-]+)\s*\]\]")
TABLE = re.compile(r"\s*\[\s*([\w-]+)\s*\]\s*(#.*)?$")
KEY = re.compile(r"\s*[\"']?([\w-]+)[\"']?\s*=(.*)")
LONG_TEXT = re.compile(r'"""|\'\'\'')


class Positions:
    """Good for tables at the top, which is all that scenarios have. Of the rest it knows the line of the key above."""

    def __init__(self, text):
        self._lines = {}
        self._read(text)

    def line(self, table=None, number=None, key=None):
        """Of a key in the `number`th (from 0) `[[table]]`, or of what is around it if the key is not there."""
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

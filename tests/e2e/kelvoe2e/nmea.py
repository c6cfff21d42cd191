"""Reads a log of NMEA sentences without the console's code."""

import re
from decimal import Decimal
from functools import reduce

SENTENCE = re.compile(r"^\$[A-Z]{2}(GGA|RMC),([0-9.]*),(.*)\*[0-9A-Fa-f]{2}\s*$")
SILENCE_SECONDS = 5


def sentence(body):
    return f"${body}*{reduce(lambda total, byte: total ^ byte, body.encode(), 0):02X}\r\n"


def degrees(text, hemisphere, digits):
    value = Decimal(text[:digits]) + Decimal(text[digits:]) / 60
    return -value if hemisphere in "SW" else value


def seconds(hhmmss):
    return int(hhmmss[:2]) * 3600 + int(hhmmss[2:4]) * 60 + Decimal(hhmmss[4:])


def read(path, silence=SILENCE_SECONDS):
    """Returns (changes, positions): "gained" or "lost", also at the log's end, and each (latitude, longitude, hhmmss).

    A fix needs A in the last RMC and a quality in the last GGA. A gap of `silence` seconds loses the fix."""
    changes, positions = [], []
    is_valid = {}
    last = None  # the time of the last fix; None without a fix
    for line in path.read_text("ascii").splitlines():
        match = SENTENCE.match(line)
        if not match:
            continue
        kind, time, fields = match[1], match[2], match[3].split(",")
        is_valid[kind] = fields[4] != "0" if kind == "GGA" else fields[0] == "A"
        if last is not None and silence and seconds(time) - last >= silence:
            changes.append("lost")
            last = None
        if not all(is_valid.values()):
            if last is not None:
                changes.append("lost")
            last = None
            continue
        if last is None:
            changes.append("gained")
        last = seconds(time)
        first = 0 if kind == "GGA" else 1
        positions.append((degrees(*fields[first:first + 2], 2), degrees(*fields[first + 2:first + 4], 3), time))
    return changes + (["lost"] if last is not None else []), positions


def write_log(path, is_lost=True):
    """Writes a drive that begins without a fix and ends with RTK. It loses the fix once and is silent once."""
    lines = ["# A drive\r\n"]
    for second in (*range(10, 20), *range(28 if is_lost else 20, 50)):
        time, place = f"0930{second}.50", f"50{second}.1234567,N,008{second}.7654321,W"
        is_void = second < 12 or is_lost and second == 15
        quality = 0 if is_void else 4 if second > 30 else 1
        lines.append(sentence(f"GNRMC,{time},{'V' if is_void else 'A'},{place},1.5,90.0,010226,,"))
        lines.append(sentence("GPGSV,1,1,00"))
        lines.append(sentence(f"GNGGA,{time},{place},{quality},09,1.1,112.0,M,47.0,M,,"))
    path.write_text("".join(lines), "ascii", newline="")

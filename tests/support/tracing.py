"""Shared code of the tests under strace: the check that it works, and the calls of its trace in order."""

import os
import re
import shutil
import subprocess

from needs import needs

GUARD_SECONDS = 60  # only ends what hangs
# "1234 fdatasync(7</data/uploads/ab>) = 0". In a program with threads, the start and the end of a
# call can be separate lines.
BEGUN_CALL = re.compile(r"^(?P<thread>\d+) +(?P<call>\w+)\((?P<rest>.*)$")
RESUMED_CALL = re.compile(r"^(?P<thread>\d+) +<\.\.\. (?P<call>\w+) resumed>(?P<rest>.*)$")
UNFINISHED = " <unfinished ...>"

SYNC = ("fsync", "fdatasync")
RENAME = ("rename", "renameat", "renameat2")
UNLINK = ("unlink", "unlinkat")


def tracing_works():
    strace = shutil.which("strace")
    if not strace:
        return False
    result = subprocess.run([strace, "-f", "-o", os.devnull, "true"], capture_output=True, timeout=GUARD_SECONDS, check=False)
    return result.returncode == 0


def needs_tracing(case):
    needs(case, tracing_works(), "strace, and the right to trace")


def finished_calls(trace):
    """(call, arguments) of each successful call, in the order in which the calls ended."""
    begun, done = {}, []
    with open(trace, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            line = line.rstrip("\n")
            if resumed := RESUMED_CALL.match(line):
                text = begun.pop(resumed["thread"], "") + resumed["rest"]
                call = resumed["call"]
            elif whole := BEGUN_CALL.match(line):
                call, text = whole["call"], whole["rest"]
                if text.endswith(UNFINISHED):
                    begun[whole["thread"]] = text[:-len(UNFINISHED)]
                    continue
            else:
                continue
            if not re.search(r"= -1 E", text):
                done.append((call, text))
    return done


def position(calls, description, after, names, *needles):
    """The index of the first call after `after` with one of these names and all needles in its arguments."""
    for index in range(after + 1, len(calls)):
        call, text = calls[index]
        if call in names and all(needle in text for needle in needles):
            return index
    tail = "\n".join(f"{call}({text}" for call, text in calls[max(0, after):after + 40])
    raise AssertionError(f"no {description} after call {after}:\n{tail}")

"""What the tests under strace have in common: whether it works, and what it saw in which order."""

import os
import re
import shutil
import subprocess

from needs import needs

GUARD_SECONDS = 60  # only ends what hangs
# "1234 fdatasync(7</data/uploads/ab>) = 0". With threads the end of a call may come in a line of its own.
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
    needs(case, tracing_works(), "strace, and leave to trace")


def finished_calls(trace):
    """(call, arguments) in the order in which they ended; failed ones left out."""
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
    """The first call after the given place with one of these names and all the needles in its arguments."""
    for index in range(after + 1, len(calls)):
        call, text = calls[index]
        if call in names and all(needle in text for needle in needles):
            return index
    tail = "\n".join(f"{call}({text}" for call, text in calls[max(0, after):after + 40])
    raise AssertionError(f"no {description} after call {after}:\n{tail}")

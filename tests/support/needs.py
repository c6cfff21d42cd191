"""Skips tests on a machine that lacks what they need. In CI such a test fails."""

import os


def needs(case, is_there, what):
    """Skips the test unless `is_there`. In CI the test then fails. `what` names the missing thing."""
    if is_there:
        return
    if os.environ.get("CI"):
        case.fail(f"missing in CI: {what}")
    case.skipTest(what)


def wrong_clock(case, ahead_s=-15 * 365 * 24 * 3600, until_removed=None):
    """A prefix for a program: with it, the program's time of day is `ahead_s` seconds ahead; negative: behind. With the
    path of a file it is so until the file is removed."""
    library = os.environ["KELVO_WRONG_CLOCK"]
    if library == "none":
        case.skipTest("the programs of this build cannot preload a library")
    end = [f"KELVO_CLOCK_WRONG_WHILE={until_removed}"] if until_removed else []
    return "env", f"LD_PRELOAD={library}", f"KELVO_CLOCK_AHEAD_S={ahead_s}", *end

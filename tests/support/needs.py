"""Skips tests on a machine that lacks what they need. In CI such a test fails."""

import os


def needs(case, is_there, what):
    """Skips the test unless `is_there`. In CI the test then fails. `what` names the missing thing."""
    if is_there:
        return
    if os.environ.get("CI"):
        case.fail(f"missing in CI: {what}")
    case.skipTest(what)

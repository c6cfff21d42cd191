"""What a test needs of the machine. A person's may lack it, CI's may not: there a missing thing is a failure."""

import os


def needs(case, is_there, what):
    """Skips the test, or fails it in CI, if what it needs is not there."""
    if is_there:
        return
    if os.environ.get("CI"):
        case.fail(f"missing in CI: {what}")
    case.skipTest(what)

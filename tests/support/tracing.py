"""What the tests under strace have in common."""

import os
import re
import shutil
import subprocess

GUARD_SECONDS = 60  # only ends what hangs
# "1234 fdatasync(7</data/uploads/ab>) = 0". With threads the end of a call may come in a line of its own.
BEGUN_CALL = re.compile(r"^(?P<thread>\d+) +(?P<call>\w+)\((?P<rest>.*)$")


def tracing_works():
    strace = shutil.which("strace")
    if not strace:
        return False
    result = subprocess.run([strace, "-f", "-o", os.devnull, "true"], capture_output=True, timeout=GUARD_SECONDS, check=False)
    return result.returncode == 0

"""The steps of a tour. Each step runs, prints one line and is counted."""

import shutil
import sys
from contextlib import contextmanager


MARKER = "steps.txt"


def fresh_folder(folder):
    """Empties the folder of an earlier tour. Raises FileExistsError if the folder holds other files."""
    folder.mkdir(parents=True, exist_ok=True)
    if any(folder.iterdir()) and not (folder / MARKER).is_file():
        raise FileExistsError(f"{folder} is neither empty nor the folder of an earlier tour")
    for name in ("service", "console", "work", "pictures"):
        shutil.rmtree(folder / name, ignore_errors=True)
    for path in folder.glob("*.log*"):
        path.unlink()


class StepFailure(Exception):
    """A check of a step failed."""


def require(condition, reason):
    if not condition:
        raise StepFailure(reason)


class Steps:
    """Prints `ok  STEP` or `FAILED STEP: reason`, and writes the same lines to a file of the folder."""

    def __init__(self, folder):
        self._file = open(folder / MARKER, "w", encoding="utf-8")
        self.done = 0
        self.failed = 0

    @contextmanager
    def step(self, name):
        try:
            yield
        except Exception as failure:  # after any failure the next steps still run
            self.failed += 1
            kind = "" if isinstance(failure, StepFailure) else f"{type(failure).__name__}: "
            self._say(f"FAILED {name}: {kind}{' '.join(str(failure).split())}")
        else:
            self.done += 1
            self._say(f"ok  {name}")

    def note(self, text):
        self._say(f"    {text}")

    def _say(self, line):
        print(line, flush=True)
        self._file.write(line + "\n")
        self._file.flush()

    def close(self):
        """Prints the totals and returns the exit status."""
        verdict = f"{self.done} steps ok, {self.failed} failed"
        self._say(verdict)
        self._file.close()
        return 0 if self.failed == 0 and self.done > 0 else 1


def fail(text):
    print(f"tour: {text}", file=sys.stderr)
    return 2

"""What was done to which connection, as JSON lines."""

import json


class Journal:
    """Without a file it takes everything and keeps nothing."""

    def __init__(self, clock, file=None):
        self._clock, self._file = clock, file

    def write(self, did, **what):
        """`what` is JSON; None is left out. One line is one write: a log of a killed proxy ends with a whole line."""
        if self._file is None:
            return
        event = {"at": round(self._clock.now(), 6), "did": did}
        event.update((key, value) for key, value in what.items() if value is not None)
        self._file.write(json.dumps(event) + "\n")
        self._file.flush()

"""The log: each action on a connection as a JSON line."""

import json


class Journal:
    """Without a file, the journal drops all events."""

    def __init__(self, clock, file=None):
        self._clock, self._file = clock, file

    def write(self, did, **what):
        """Writes an event. Values of None are left out. Each line is one write, so the log of a killed proxy ends
        with a whole line."""
        if self._file is None:
            return
        event = {"at": round(self._clock.now(), 6), "did": did}
        event.update((key, value) for key, value in what.items() if value is not None)
        self._file.write(json.dumps(event) + "\n")
        self._file.flush()

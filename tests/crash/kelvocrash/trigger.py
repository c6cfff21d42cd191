"""The moment of a kill."""

import re
import threading
import time


class Trigger:
    """Counts the observed steps that match `landmark`, a regular expression. After `steps` of them and a delay, calls
    `act` once on its own thread. finish() calls `act` if the moment has not come.

    Thread: step() on any thread.
    """

    def __init__(self, steps, delay_s, act, landmark=""):
        self.seen = 0
        self.last = "nothing"  # the last matching step before the act
        self.was_reached = False
        self.failure = None
        self._steps, self._delay_s, self._act = steps, delay_s, act
        self._landmark = re.compile(landmark)
        self._lock = threading.Lock()  # guards seen, last and was_reached
        self._go = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def step(self, what):
        if not self._landmark.search(what):
            return
        with self._lock:
            if self.was_reached:
                return
            self.seen += 1
            self.last = what
            if self.seen < self._steps:
                return
            self.was_reached = True
        self._go.set()

    def wait_if_reached(self):
        """Waits for the end of the act if its moment has come."""
        if self.was_reached:
            self._thread.join()

    def finish(self):
        """Acts if the moment has not come, and waits until the act is done."""
        self._go.set()
        self._thread.join()
        if self.failure:
            raise self.failure

    def _run(self):
        self._go.wait()
        if self.was_reached and self._delay_s:
            time.sleep(self._delay_s)
        try:
            self._act()
        except Exception as failure:  # finish() raises it
            self.failure = failure

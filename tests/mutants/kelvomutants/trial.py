"""Tries mutants on copies of the tree, and prints a line for each mutant."""

import os
import queue
import threading
import time

from kelvomutants.copy import BuildError
from kelvomutants.table import Stale

CORES = len(os.sched_getaffinity(0))
# A check may take this many times its usual time, because the machine may be busy.
TIME_FACTOR = 10


class Trial:
    """Tries each mutant once. Each copy has a thread, which takes the next mutant when it is free."""

    def __init__(self, copies, mutants, seconds, say):
        self._copies, self._mutants, self._say = copies, mutants, say
        self._least_seconds = seconds  # of a check, before it counts as endless
        self._usual_seconds = {}       # of each test name and command, on the unchanged tree
        self._lock = threading.Lock()  # guards killed and faults
        self.killed = 0
        self.faults = []

    def prepare(self):
        """Builds each copy unchanged. Returns a text if the checks do not pass on it: no mutant counts then."""
        targets = set().union(*(mutant.needed_targets() for mutant in self._mutants))
        for copy in self._copies:
            copy.refresh()
            try:
                copy.configure()
                copy.build(targets, CORES)
            except BuildError as error:
                return f"the unchanged tree does not build:\n{error}"
        return self._unchanged_passes(self._copies[0])

    def _unchanged_passes(self, copy):
        names = sorted({name for mutant in self._mutants for name in mutant.tests})
        commands = sorted({mutant.command for mutant in self._mutants if mutant.command})
        for name in names:
            if copy.count_tests(name) == 0:
                return f"no test is named {name}"
        if names:
            result = copy.test(names, None)
            self._usual_seconds = {name: result.seconds_of(name) for name in names}
            if result.failed:
                return f"the unchanged tree fails: {result.failed}\n{result.output[-4000:]}"
        for command in commands:
            begin = time.monotonic()
            result = copy.command(command, None)
            self._usual_seconds[command] = time.monotonic() - begin
            if result.failed:
                return f"the unchanged tree fails: {result.failed}\n{result.output[-4000:]}"
        return ""

    def _limit_of(self, mutant):
        usual = sum(self._usual_seconds[check] for check in mutant.tests or [mutant.command])
        return round(self._least_seconds + TIME_FACTOR * usual)

    def run(self):
        waiting = queue.SimpleQueue()
        # Mutants of the same file follow each other: then the file is restored and changed in one build.
        for mutant in sorted(self._mutants, key=lambda mutant: mutant.changes[0].path):
            waiting.put(mutant)
        threads = [threading.Thread(target=self._work, args=(copy, waiting)) for copy in self._copies]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def _work(self, copy, waiting):
        while True:
            try:
                mutant = waiting.get_nowait()
            except queue.Empty:
                return
            begin = time.monotonic()
            try:
                verdict, detail = self._try(copy, mutant)
            except Exception as error:  # pylint: disable=broad-except
                verdict, detail = "not tried", f"{type(error).__name__}: {error}"
            self._note(mutant, verdict, detail, time.monotonic() - begin)

    def _try(self, copy, mutant):
        try:
            originals = copy.plant(mutant)
        except Stale as error:
            return "stale", str(error)
        try:
            copy.build(mutant.needed_targets())
            if mutant.command:
                result = copy.command(mutant.command, self._limit_of(mutant))
            else:
                result = copy.test(mutant.tests, self._limit_of(mutant))
        except BuildError as error:
            return "does not compile", str(error)
        finally:
            copy.restore(originals)
        if not result.has_run:
            return "not tested", f"{mutant.check} did not run\n{result.output[-2000:]}"
        return ("killed", result.failed) if result.failed else ("survived", mutant.check)

    def _note(self, mutant, verdict, detail, seconds):
        with self._lock:
            if verdict == "killed":
                self.killed += 1
                self._say(f"{self.killed} of {len(self._mutants)} killed: {mutant.name}, by {detail}, {seconds:.0f} s")
            else:
                self.faults.append(f"{verdict}: {mutant.name}")
                self._say(f"{verdict}: {mutant.name}: {detail}")

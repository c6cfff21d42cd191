"""A point at which a process kills itself: a call that changes files. The process has libkillpoint.so preloaded."""

import mmap
import struct
import threading

# As enum Kind in KillPoint.c.
CREATE, WRITE, SYNC, RENAME, REMOVE = 1, 2, 4, 8, 16
ANY = CREATE | WRITE | SYNC | RENAME | REMOVE
# struct Instruction in KillPoint.c.
INSTRUCTION = struct.Struct("=IIIiIII512s128s512s")
IS_LOADED, IS_TAKEN, IS_ARMED, CALLS_LEFT, KINDS, IS_AFTER, REFUSES_FLAGS, ROOT, PATH, LAST = range(10)
POLL_SECONDS = 0.0005


class KillPoint:
    """The instruction to one process. `root` is the folder of the calls that count."""

    def __init__(self, library, file, root, refuses_flags=False):
        file.write_bytes(INSTRUCTION.pack(0, 0, 0, 0, 0, 0, refuses_flags, str(root).encode(), b"", b""))
        with open(file, "r+b") as opened:
            self._memory = mmap.mmap(opened.fileno(), INSTRUCTION.size)
        self.environment = {"LD_PRELOAD": str(library), "KELVO_KILL_POINT": str(file)}

    @property
    def is_loaded(self):
        return bool(self._get(IS_LOADED))

    @property
    def is_taken(self):
        return bool(self._get(IS_TAKEN))

    @property
    def last(self):
        """The call of the kill."""
        return self._get(LAST).rstrip(b"\0").decode(errors="replace")

    def arm(self, kinds, path, count, is_after):
        """The process kills itself before or after the call with the number `count` of these kinds whose path contains
        `path`."""
        fields = list(INSTRUCTION.unpack(self._memory))
        fields[IS_TAKEN], fields[CALLS_LEFT], fields[KINDS], fields[IS_AFTER] = 0, count, kinds, is_after
        fields[PATH], fields[IS_ARMED] = path.encode(), 0
        self._memory[:] = INSTRUCTION.pack(*fields)
        self._set_armed(1)

    def disarm(self):
        self._set_armed(0)

    def _get(self, number):
        return INSTRUCTION.unpack(self._memory)[number]

    def _set_armed(self, value):
        struct.pack_into("=I", self._memory, 4 * IS_ARMED, value)


class CallTrigger:
    """The moment of a kill at a kill point, with the interface of Trigger.

    Calls `act` once on its own thread: after the process has taken its kill point, or in finish()."""

    def __init__(self, point, act):
        self._point, self._act = point, act
        self._failure = None
        self._end = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    @property
    def was_reached(self):
        return self._point.is_taken

    @property
    def last(self):
        return self._point.last if self.was_reached else "nothing"

    def step(self, _what):
        """The observed steps are not the moment of this kill."""

    def wait_if_reached(self):
        if self.was_reached:
            self._thread.join()

    def finish(self):
        self._point.disarm()
        self._end.set()
        self._thread.join()
        if self._failure:
            raise self._failure

    def _run(self):
        while not self._point.is_taken and not self._end.wait(POLL_SECONDS):
            pass
        try:
            self._act()
        except Exception as failure:  # finish() raises it
            self._failure = failure

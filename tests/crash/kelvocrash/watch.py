"""Observes changes of files with inotify, which the standard library does not offer."""

import ctypes
import errno
import os
import select
import struct
import threading
from pathlib import Path

MODIFY, CLOSE_WRITE, MOVED_FROM, MOVED_TO, CREATE, DELETE = 0x2, 0x8, 0x40, 0x80, 0x100, 0x200
IS_FOLDER, OVERFLOW = 0x40000000, 0x4000
GONE = (errno.ENOENT, errno.ENOTDIR)
WORDS = {MODIFY: "written", CLOSE_WRITE: "closed", MOVED_FROM: "moved from", MOVED_TO: "moved to", CREATE: "created",
         DELETE: "removed"}
MASK = MODIFY | CLOSE_WRITE | MOVED_FROM | MOVED_TO | CREATE | DELETE
HEAD = struct.Struct("iIII")
LIBC = ctypes.CDLL(None, use_errno=True)


class Watch:
    """Calls `see` with a text such as `incoming/a.zip.part created` for each change below a folder.

    A new folder is observed as soon as its creation is noticed. close() raises OSError if changes were missed, because
    no kill can happen at a missed change.
    """

    def __init__(self, top, see):
        self._top, self._see = Path(top), see
        self._folders = {}  # watch descriptor: folder
        self._failure = None
        self._file = LIBC.inotify_init1(os.O_CLOEXEC)
        if self._file < 0:
            raise OSError(ctypes.get_errno(), "inotify_init1")
        self._end_read, self._end_write = os.pipe()
        self._add(self._top)
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def close(self):
        os.write(self._end_write, b"x")
        self._thread.join()
        for file in (self._file, self._end_read, self._end_write):
            os.close(file)
        if self._failure:
            raise self._failure

    def _add(self, folder):
        number = LIBC.inotify_add_watch(self._file, os.fsencode(folder), MASK)
        if number < 0:
            number = ctypes.get_errno()
            if number in GONE:
                return
            raise OSError(number, f"inotify_add_watch: {os.strerror(number)}", str(folder))
        self._folders[number] = folder
        try:
            with os.scandir(folder) as entries:
                below = [entry.path for entry in entries if entry.is_dir(follow_symlinks=False)]
        except OSError as failure:
            if failure.errno in GONE:
                return
            raise
        for path in below:
            self._add(Path(path))

    def _run(self):
        try:
            self._look()
        except OSError as failure:
            self._failure = failure

    def _look(self):
        while True:
            if self._end_read in select.select((self._file, self._end_read), (), ())[0]:
                return
            data = os.read(self._file, 65536)
            while data:
                number, mask, _, length = HEAD.unpack_from(data)
                name = data[HEAD.size:HEAD.size + length].rstrip(b"\0").decode(errors="replace")
                data = data[HEAD.size + length:]
                self._take(number, mask, name)

    def _take(self, number, mask, name):
        if mask & OVERFLOW:
            raise OSError(errno.EOVERFLOW, "inotify: the event queue overflowed")
        word = next((text for bit, text in WORDS.items() if mask & bit), None)
        folder = self._folders.get(number)
        if word is None or folder is None:
            return
        path = folder / name
        self._see(f"{path.relative_to(self._top)} {word}")
        if mask & IS_FOLDER and mask & (CREATE | MOVED_TO):
            self._add(path)


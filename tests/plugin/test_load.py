"""The load of the plug-in and its Initialise: the main thread does no file or network work in them.

One test compares the system calls of the main thread with a list. It needs strace. If strace is missing or may not
trace, the test is skipped; in CI it fails. Another test blocks the worker's files.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from tracing import BEGUN_CALL, needs_tracing

GUARD_SECONDS = 240  # only ends what hangs
BEGIN, END = "mark: loading begins", "mark: Initialise has returned"
NETWORK = {"socket", "socketpair", "connect", "bind", "listen", "accept", "accept4", "getsockname", "getpeername",
           "sendto", "sendmsg", "sendmmsg", "recvfrom", "recvmsg", "recvmmsg", "setsockopt", "getsockopt", "shutdown"}
DATA = {"read", "pread64", "readv", "preadv", "write", "pwrite64", "writev", "pwritev"}
PATH = re.compile(r'"([^"]*)"|<([^<>]*)>')
LOOKS = {"access", "faccessat", "faccessat2", "stat", "lstat", "newfstatat", "statx", "readlink", "readlinkat"}
LIBRARY = re.compile(r"(^|/)[^/]+\.so(\.[0-9.]+)?$")
# The files that the main thread may use, with the reason.
ALLOWED = {
    "/etc/ld.so.cache": "the loader's list of libraries",
    "/etc/ld.so.preload": "the loader's list of additional libraries",
    "/etc/gnutls/config": "checked by the constructor of a library that Debian's libcurl needs",
    "anon_inode:[eventfd]": "Qt wakes the event loop of a thread with it",
}


def calls_of(trace):
    """(thread, call, arguments) of each call in the order in which they begin."""
    with open(trace, encoding="utf-8", errors="replace") as file:
        matches = (BEGUN_CALL.match(line.rstrip("\n")) for line in file)
        return [(match["thread"], match["call"], match["rest"]) for match in matches if match]


def between_the_marks(calls):
    """(call, arguments) of the main thread between the marks. The main thread makes the first call of the trace."""
    own = [(call, rest) for thread, call, rest in calls if thread == calls[0][0]]
    begin, end = (next(index for index, (_, rest) in enumerate(own) if mark in rest) for mark in (BEGIN, END))
    return own[begin + 1:end]


def touched(call, rest):
    """The files in the arguments, by name or by descriptor. The data of reads and writes is left out."""
    if call in DATA:
        rest = rest.split(",")[0]
    rest = re.sub(r"AT_FDCWD<[^>]*>", "", rest)# the folder of relative names
    return [name or descriptor for name, descriptor in PATH.findall(rest) if name or descriptor]


def offences(calls, library):
    """The calls that the main thread may not make."""
    folder = f"{library.parent}/"

    def is_fine(call, path):
        if path in ALLOWED or LIBRARY.search(path):
            return True
        # The host checks whether a folder above the library is a link. The loader checks the files
        # beside the library.
        return call in LOOKS and (folder.startswith(path.rstrip("/") + "/") or path.startswith(folder))
    return [f"{call}({rest}" for call, rest in calls
            if call in NETWORK or not all(is_fine(call, path) for path in touched(call, rest))]


class Load(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-load-"))
        self.addCleanup(shutil.rmtree, self.folder)
        (self.folder / "runtime").mkdir(mode=0o700)
        self.authority = self.folder / "authority.pem"
        self.environment = os.environ | {
            "KELVO_API_HOST": "127.0.0.1:1", "KESDK_CA_FILE": str(self.authority),
            "KESDK_STATE_FOLDER": str(self.folder / "state"), "XDG_RUNTIME_DIR": str(self.folder / "runtime")}

    def start(self, *command):
        process = subprocess.Popen(command, env=self.environment, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        guard = threading.Timer(GUARD_SECONDS, process.kill)
        guard.start()
        self.addCleanup(guard.cancel)
        self.addCleanup(process.stdout.close)
        return process

    def trace(self, library):
        needs_tracing(self)
        trace = self.folder / "trace"
        process = self.start("strace", "-f", "-yy", "-s", "256", "-e", "trace=%file,%desc,%network", "-e", "signal=none",
                             "-o", str(trace), os.environ["KELVO_LOAD_ONCE"], library)
        output = process.communicate()[0]
        self.assertEqual(process.returncode, 0, output)
        return calls_of(trace)

    def test_the_main_thread_opens_libraries_and_nothing_else(self):
        self.authority.touch()
        library = Path(os.environ["KELVO_PLUGIN"]).resolve()
        calls = self.trace(str(library))
        own = between_the_marks(calls)
        opened = {path for call, rest in own if call == "openat" for path in touched(call, rest)}
        self.assertIn(str(library), opened, "the trace does not show the library")
        self.assertEqual(offences(own, library), [])
        # Another thread does the work.
        others = {thread for thread, call, rest in calls if call == "openat" and f'"{self.authority}"' in rest}
        self.assertTrue(others, "no thread has read the authorities")
        self.assertNotIn(calls[0][0], others)

    def test_work_on_the_main_thread_is_seen(self):
        library = Path(os.environ["KELVO_BUSY_PLUGIN"]).resolve()
        found = offences(between_the_marks(self.trace(str(library))), library)
        for offence in ('"/etc/hostname"', '"/etc/hosts"', "socket(AF_INET"):
            self.assertTrue(any(offence in each for each in found), f"{offence} is not in {found}")

    def test_initialise_does_not_wait_for_the_worker(self):
        os.mkfifo(self.authority)# an open blocks until the other end is opened
        process = self.start(os.environ["KELVO_LOAD_ONCE"], os.environ["KELVO_PLUGIN"])
        line = process.stdout.readline()
        with open(self.authority, "wb"):# blocks until the worker opens it, then unblocks the worker
            pass
        self.assertEqual((line, process.communicate()[0], process.returncode), ("initialised\n", "", 0))


if __name__ == "__main__":
    unittest.main()

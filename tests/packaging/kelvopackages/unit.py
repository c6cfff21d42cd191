"""A systemd unit. Applies a part of its restrictions to a process without systemd: the kernel refuses the same system
calls and socket families."""

import configparser
import ctypes
import re
import struct
import subprocess

from kelvopackages.package import output

# From linux/prctl.h, linux/bpf_common.h and linux/seccomp.h.
PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2
LOAD, EQUAL, RETURN = 0x20, 0x15, 0x06  # load a word of seccomp_data; compare with a constant and jump; return
NUMBER, FIRST_ARGUMENT = 0, 16  # offsets in seccomp_data on little-endian machines
ALLOW, REFUSE = 0x7FFF0000, 0x00050000
EPERM, EAFNOSUPPORT = 1, 97


def calls_of(names):
    """The system calls of a list in the format of SystemCallFilter."""
    found = set()
    for name in names:
        if not name.startswith("@"):
            found.add(name)
            continue
        lines = output("systemd-analyze", "syscall-filter", name).splitlines()[1:]
        found |= calls_of(line.strip() for line in lines if line.strip() and not line.strip().startswith("#"))
    return found


def numbers():
    """{name: number} of every system call, from this machine's headers."""
    text = subprocess.run(["cc", "-E", "-dM", "-include", "sys/syscall.h", "-"], input="", check=True,
                          capture_output=True, text=True).stdout
    return {name: int(number) for name, number in re.findall(r"^#define __NR_(\w+) (\d+)$", text, re.MULTILINE)}


class Unit:
    def __init__(self, path):
        self.path = path
        text = path.read_text(encoding="utf-8")
        parser = configparser.RawConfigParser(strict=False, interpolation=None)
        parser.optionxform = str
        parser.read_string(text)
        self.settings = parser["Service"]
        lists = re.findall(r"^SystemCallFilter=(~?)(.*)$", text, re.MULTILINE)
        self.calls = calls_of(name for sign, names in lists if not sign for name in names.split())
        self.calls -= calls_of(name for sign, names in lists if sign for name in names.split())
        self.families = set(self.settings["RestrictAddressFamilies"].split())

    def filter(self):
        """Returns a function that a process calls between fork and exec to restrict itself permanently. The filter is
        made here, because few calls are safe between fork and exec."""
        table = numbers()
        families = [number for name, number in {"AF_UNIX": 1, "AF_INET": 2, "AF_INET6": 10, "AF_NETLINK": 16}.items()
                    if name in self.families]
        program = _filter({table[name] for name in self.calls if name in table}, table["socket"], families)
        buffer = ctypes.create_string_buffer(program, len(program))
        described = ctypes.create_string_buffer(
            struct.pack("H6xP", len(program) // 8, ctypes.addressof(buffer)))
        library = ctypes.CDLL(None, use_errno=True)

        def enter(_kept=buffer):
            where = ctypes.addressof(described)
            for words in ((PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), (PR_SET_SECCOMP, SECCOMP_MODE_FILTER, where, 0, 0)):
                if library.prctl(*(ctypes.c_ulong(word) for word in words)) != 0:
                    raise OSError(ctypes.get_errno(), "prctl")

        return enter


def _filter(allowed, socket, families):
    """The kernel's filter program: allows these calls, and `socket` only for these families."""
    def step(code, value, jump_if_equal=0, jump_if_not=0):
        return struct.pack("HBBI", code, jump_if_equal, jump_if_not, value)

    steps = [step(LOAD, NUMBER)]
    for number in sorted(allowed - {socket}):
        steps += [step(EQUAL, number, 0, 1), step(RETURN, ALLOW)]
    steps += [step(EQUAL, socket, 1, 0), step(RETURN, REFUSE | EPERM), step(LOAD, FIRST_ARGUMENT)]
    for family in families:
        steps += [step(EQUAL, family, 0, 1), step(RETURN, ALLOW)]
    return b"".join([*steps, step(RETURN, REFUSE | EAFNOSUPPORT)])

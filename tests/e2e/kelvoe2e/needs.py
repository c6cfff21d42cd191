"""What a test needs of the machine. A person's may lack it, CI's may not: there a missing thing is a failure."""

import os
import subprocess
from pathlib import Path

CAP_SYS_ADMIN = 21
NAMESPACE = ("unshare", "--map-root-user", "--mount")


def needs(case, is_there, what):
    """Skips the test, or fails it in CI, if what it needs is not there."""
    if is_there:
        return
    if os.environ.get("CI"):
        case.fail(f"missing in CI: {what}")
    case.skipTest(what)


def can_mount():
    """Whether a file system can be mounted where nobody else sees it."""
    return subprocess.run([*NAMESPACE, "mount", "-t", "tmpfs", "none", "/tmp"], stderr=subprocess.DEVNULL,
                          check=False).returncode == 0


def is_full_root():
    """Whether this is a root who may mount; that of a container often may not."""
    status = Path("/proc/self/status").read_text(encoding="ascii", errors="replace")
    capabilities = next(line.split()[1] for line in status.splitlines() if line.startswith("CapEff:"))
    return bool(int(capabilities, 16) >> CAP_SYS_ADMIN & 1)

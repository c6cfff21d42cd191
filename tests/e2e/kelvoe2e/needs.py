"""The features of the machine that some end-to-end tests need."""

import os
import subprocess
import tempfile

from needs import needs

# A prefix for a program: with it, root too obeys folder permissions.
BOUND_BY_MODES = ("setpriv", "--bounding-set", "-dac_override") if os.geteuid() == 0 else ()
NAMESPACE = ("unshare", "--map-root-user", "--mount")


def needs_modes(case):
    """Needs a machine on which a program with BOUND_BY_MODES cannot write to a folder whose mode forbids it."""
    with tempfile.TemporaryDirectory() as folder:
        def can_create(name):
            return subprocess.run([*BOUND_BY_MODES, "touch", f"{folder}/{name}"], stderr=subprocess.DEVNULL,
                                  check=False).returncode == 0
        could_before = can_create("before")
        os.chmod(folder, 0o500)
        can_after = can_create("after")
        os.chmod(folder, 0o700)
    needs(case, could_before and not can_after, "setpriv, and a root that can drop its right to write everywhere")


def can_mount():
    """Whether a file system can be mounted in a private namespace."""
    return subprocess.run([*NAMESPACE, "mount", "-t", "tmpfs", "none", "/tmp"], stderr=subprocess.DEVNULL,
                          check=False).returncode == 0

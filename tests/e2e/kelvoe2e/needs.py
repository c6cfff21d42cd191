"""What the tests of the whole need of the machine."""

import os
import subprocess
import tempfile

from needs import needs

# Before a program: root, too, may then only write where the mode of a folder lets its owner.
BOUND_BY_MODES = ("setpriv", "--bounding-set", "-dac_override") if os.geteuid() == 0 else ()
NAMESPACE = ("unshare", "--map-root-user", "--mount")


def needs_modes(case):
    """That nobody, behind BOUND_BY_MODES, can write to a folder whose mode forbids it; without, the test shows nothing."""
    with tempfile.TemporaryDirectory() as folder:
        def can_create(name):
            return subprocess.run([*BOUND_BY_MODES, "touch", f"{folder}/{name}"], stderr=subprocess.DEVNULL,
                                  check=False).returncode == 0
        was_let = can_create("before")
        os.chmod(folder, 0o500)
        is_let = can_create("after")
        os.chmod(folder, 0o700)
    needs(case, was_let and not is_let, "setpriv, and a root who may give up his leave to write everywhere")


def can_mount():
    """Whether a file system can be mounted where nobody else sees it."""
    return subprocess.run([*NAMESPACE, "mount", "-t", "tmpfs", "none", "/tmp"], stderr=subprocess.DEVNULL,
                          check=False).returncode == 0

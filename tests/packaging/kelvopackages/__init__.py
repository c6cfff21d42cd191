"""Shared by the tests of the packages."""

import sys
from pathlib import Path

# Modules shared by the tests of all programs: needs.
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

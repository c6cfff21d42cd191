"""Helpers of the end-to-end tests: a service with a farm, consoles, and a link that a test can hold and cut."""

import sys
from pathlib import Path

# tests/support has the helpers of all test programs.
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

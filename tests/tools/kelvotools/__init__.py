"""Helpers for the tests of tools: the path of badlink, a fake clock, a client and a service."""

import sys
from pathlib import Path

TOOL = Path(__file__).resolve().parents[3] / "tools/badlink"

sys.path.insert(0, str(TOOL))

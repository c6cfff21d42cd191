"""Help for the tests of tools: finds them, stops the clock, plays client and service."""

import sys
from pathlib import Path

TOOL = Path(__file__).resolve().parents[3] / "tools/badlink"

sys.path.insert(0, str(TOOL))

"""What the tests of the whole share: a service with a farm, consoles on it, a link that misbehaves on command."""

import sys
from pathlib import Path

# What the tests of all programs share: needs.
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

"""What the wire tests share: the written API, the service as a process, an HTTP client, an event stream, a farm."""

import sys
from pathlib import Path

# What the tests of all programs share: needs, tracing.
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

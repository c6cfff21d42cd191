"""Shared by the wire tests: the written API, the service as a process, an HTTP client, an event stream, a farm."""

import sys
from pathlib import Path

# Modules shared by the tests of all programs: needs, tracing.
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))

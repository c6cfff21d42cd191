"""Prometheus accepts the alert rules, and each rule fires when it should and only then."""

import shutil
import subprocess
import unittest
from pathlib import Path

import kelvopackages  # finds needs
from needs import needs

MONITORING = Path(__file__).resolve().parents[2] / "packaging/monitoring"
FIRES = Path(__file__).resolve().parent / "rules_fire.yml"


class Rules(unittest.TestCase):
    def promtool(self, *arguments):
        needs(self, shutil.which("promtool"), "promtool, of the package prometheus")
        result = subprocess.run(["promtool", *arguments], capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_prometheus_accepts_the_rules(self):
        self.promtool("check", "rules", str(MONITORING / "kelvo-service.rules.yml"))

    def test_rules_fire_when_they_should(self):
        self.promtool("test", "rules", str(FIRES))


if __name__ == "__main__":
    unittest.main()

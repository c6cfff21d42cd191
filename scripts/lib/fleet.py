"""Runs a fleet with a demo farm until SIGINT or SIGTERM. Usage: fleet.py BUILD INSTANCES"""

import shutil
import signal
import sys
import tempfile
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TOP / "tests/support"), str(TOP / "console/tour")]

from engines import whole_fleet  # noqa: E402
from kelvotour.binaries import Binaries  # noqa: E402
from kelvotour.farm import OFFICE, OPERATOR, PASSWORDS, Farm  # noqa: E402
from kelvotour.service import without_proxies  # noqa: E402

STOPS = (signal.SIGINT, signal.SIGTERM)


def addresses(fleet):
    engines = fleet.engines
    yield f"Address: https://{fleet.address}; the file of its authority is {fleet.ca}"
    yield f"Administrator: admin / {fleet.admin_password_file.read_text(encoding='utf-8').strip()}"
    yield f"Farm office: {OFFICE} / {PASSWORDS[OFFICE]}"
    yield f"Operator: {OPERATOR} / {PASSWORDS[OPERATOR]}"
    for instance in fleet.instances:
        yield f"{instance.data.name}: https://{instance.address}, metrics on http://{instance.metrics_address}"
    yield f"PostgreSQL: {engines.url}"
    yield f"Object store: {engines.gateway.address}; key {engines.gateway.access_key}, secret {engines.gateway.secret_key}"
    yield f"Logs: {fleet.log_path}.*"
    yield "Ctrl-C stops the fleet and removes its data."


def main():
    programs = Path(sys.argv[1]).resolve() / "bin"
    binaries = Binaries(programs / "kelvo-service", programs / "kelvoctl", None, None)
    without_proxies()
    signal.pthread_sigmask(signal.SIG_BLOCK, STOPS)  # an early signal waits until everything runs
    folder = Path(tempfile.mkdtemp(prefix="kelvo-fleet-"))
    try:
        print("Starting PostgreSQL and the object store …", flush=True)
        with whole_fleet(binaries.service, folder, count=int(sys.argv[2])) as fleet:
            fleet.start()
            Farm(binaries, folder, fleet).make()
            fleet.wait_until_ready()
            print(*addresses(fleet), sep="\n", flush=True)
            signal.sigwait(STOPS)
            print("Stopping …", flush=True)
            fleet.stop()
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())

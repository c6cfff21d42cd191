"""Several instances behind HAProxy in the place of one service, if the variable KELVO_FLEET has their number."""

import os
import sys
from pathlib import Path

from .service import BINARY, Service

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))
import fleet as fleets  # noqa: E402


class FleetService(Service):
    """Its address is HAProxy's. Its metrics are those of the first instance."""

    def __init__(self, *options):
        super().__init__(*options)
        self.fleet = fleets.make_service(BINARY, Path(self.folder), os.path.join(self.root, "log"),
                                         ("--password-cost", "min", *options))

    def start(self, listen=None):
        self.fleet.start()
        self.host, self.port = "127.0.0.1", int(self.fleet.address.rpartition(":")[2])
        self.metrics_host, _, port = self.fleet.instances[0].metrics_address.rpartition(":")
        self.metrics_port = int(port)
        return self

    def stop(self):
        self.fleet.stop()

    def kill(self):
        self.fleet.kill()

    def remove(self):
        self.kill()
        super().remove()

    def log(self):
        return "".join(Path(instance.log_path).read_text(encoding="utf-8") for instance in self.fleet.instances)

    @property
    def ca(self):
        return str(self.fleet.ca)

    def admin_password(self):
        password = self.fleet.admin_password_file.read_text(encoding="utf-8").strip()
        self.secrets.add(password)
        return password


def end_reasons(reason):
    """The reasons that the event session-ended may have: another instance than the one that ended the session says `revoked`."""
    return (reason, "revoked") if os.environ.get("KELVO_FLEET") else (reason,)


def is_every_move(latitudes, sent):
    """Whether an open stream has the moves that were sent. In a fleet it may skip moves: the log keeps only the last move
    of a console, and the stream may be another instance's, which reads the log."""
    if os.environ.get("KELVO_FLEET"):
        return latitudes == sorted(set(latitudes) & set(sent)) and latitudes[-1] == sent[-1]
    return latitudes == sent


SERVICE = FleetService if os.environ.get("KELVO_FLEET") else Service

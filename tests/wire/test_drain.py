"""SIGTERM to one of two instances behind HAProxy, on one PostgreSQL and on the bucket of KELVO_TEST_BUCKET."""

import os
import shutil
import signal
import ssl
import sys
import tempfile
import threading
import unittest
from pathlib import Path

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import fleet as fleets  # noqa: E402
from kelvowire.events import END, EventStream
from kelvowire.farm import add_farms_and_users, log_in, make_inbox
from kelvowire.front import is_installed
from kelvowire.http import Client, begin_upload, metrics
from kelvowire.postgresql import start_postgresql
from kelvowire.service import BINARY
from needs import needs

BUCKET = os.environ["KELVO_TEST_BUCKET"]
REQUESTS_AFTER = 20  # of each client, after the instance has ended
PART = bytes(5000)

server = None


def setUpModule():
    global server
    server = start_postgresql()


class Place:
    """An address for the clients of these tests: HAProxy's, or an instance's."""

    def __init__(self, fleet, of):
        self.fleet, self.port, self.secrets = fleet, int(of.address.rpartition(":")[2]), set()
        if of is not fleet:
            self.metrics_host, _, self.metrics_port = of.metrics_address.rpartition(":")

    def tls(self):
        return ssl.create_default_context(cafile=self.fleet.ca)

    def admin_password(self):
        return self.fleet.admin_password_file.read_text(encoding="utf-8").strip()


class Requests(threading.Thread):
    """A client that makes short requests one after the other, on kept connections or on new ones."""

    def __init__(self, place, token, inbox, keeps):
        super().__init__()
        self._client, self._inbox, self._keeps = Client(place, token), inbox, keeps
        self._left = None
        self.done = 0
        self.failure = None

    def finish(self):
        self._left = REQUESTS_AFTER
        self.join()
        return self.failure

    def run(self):
        try:
            while self._left is None or self._left > 0:
                if self._left is not None:
                    self._left -= 1
                self._ask()
                self.done += 1
        except Exception as failure:  # the test names it
            self.failure = f"request {self.done}: {failure!r}"
        self._client.close()

    def _ask(self):
        if self.done % 5 == 0:
            self._client.put(f"{self.name}-{self.done}.zip", [self._inbox], b"x")
        else:
            self._client.get(f"/resources/{self._inbox}")
        if not self._keeps:
            self._client.close()


class Drain(unittest.TestCase):
    def start(self, drain_seconds):
        needs(self, is_installed("haproxy"), "haproxy")
        folder = Path(tempfile.mkdtemp(prefix="kelvo-drain-"))
        self.addCleanup(shutil.rmtree, folder)
        url = server.make_database(self.id().rpartition(".")[2])
        self.fleet = fleets.Fleet(BINARY, folder / "fleet", folder / "log", (
            "--database", url, "--contents", BUCKET, "--password-cost", "min", "--drain", str(drain_seconds)), count=2)
        self.addCleanup(self.fleet.close)
        self.fleet.start()
        self.leaving, self.staying = self.fleet.instances
        self.front = Place(self.fleet, self.fleet)
        add_farms_and_users(self.front).close()
        self.olga = log_in(self.front, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)

    def at(self, instance):
        """Another client with the same session, at an instance or at HAProxy."""
        client = Client(Place(self.fleet, instance), self.olga.token)
        self.addCleanup(client.close)
        return client

    def wait_until_stopping(self):
        place = Place(self.fleet, self.leaving)
        fleets.wait_until(lambda: metrics(place, "/readyz") == (503, "stopping"), "a stopping instance is ready")

    def answers(self):
        return sum(self.leaving.metrics()["kelvo_http_requests_total"].values())

    def end_of(self, instance):
        self.assertEqual(instance.process.wait(fleets.GUARD_SECONDS), 0)
        instance.process.stdout.close()

    def test_no_request_fails(self):
        self.start(6)
        self.fleet.wait_until_ready()
        waiting = [self.at(self.fleet) for _ in range(4)]
        for client in waiting:
            client.connection()  # HAProxy gives each instance about half of them
        clients = [Requests(self.front, self.olga.token, self.inbox, keeps) for keeps in (True, True, False, False)]
        before = self.answers()
        for client in clients:
            client.start()
        fleets.wait_until(lambda: self.answers() > before + 20, "the requests do not begin")
        self.leaving.process.send_signal(signal.SIGTERM)
        self.wait_until_stopping()
        for client in waiting:
            client.get("/account")
        self.end_of(self.leaving)
        self.assertEqual([client.finish() for client in clients], [None] * len(clients))
        names = [entry["name"] for entry in self.at(self.fleet).get(f"/resources/{self.inbox}").json()["entries"]]
        self.assertEqual(len(names), len(set(names)))
        self.assertEqual(len(names), sum((client.done + 4) // 5 for client in clients))

    def test_streams_end_one_after_the_other(self):
        self.start(20)
        leaving = self.at(self.leaving)
        with EventStream(leaving) as first, EventStream(leaving) as second:
            self.leaving.process.send_signal(signal.SIGTERM)
            self.assertIs(first.next(), END)
            self.olga.put("late.zip", [self.inbox], b"x")
            event = second.expect("file-added")
            with EventStream(self.at(self.staying), cursor=event.id) as resumed:
                self.olga.put("later.zip", [self.inbox], b"x")
                resumed.expect("file-added")
            self.leaving.process.send_signal(signal.SIGTERM)
            self.end_of(self.leaving)

    def test_a_second_signal_stops_at_once(self):
        self.start(3600)
        self.leaving.process.send_signal(signal.SIGTERM)
        self.wait_until_stopping()
        answer = self.at(self.leaving).get("/account")
        self.assertEqual(answer.headers["Connection"], "close")
        self.leaving.process.send_signal(signal.SIGTERM)
        self.end_of(self.leaving)

    def test_instances_are_reached_if_none_is_ready(self):
        self.start(3600)
        for instance in self.fleet.instances:
            instance.process.send_signal(signal.SIGTERM)
        fleets.wait_until(lambda: not self.fleet.proxy.sees_a_ready_instance(), "HAProxy takes a stopping instance for ready")
        self.at(self.fleet).get("/account")

    def test_a_running_upload_keeps_its_bytes(self):
        self.start(1)
        location = self.olga.create("slow.zip", [self.inbox], 2 * len(PART)).headers["Location"]
        place = Place(self.fleet, self.leaving)
        with begin_upload(place, self.olga.token, "PATCH", location, 2 * len(PART), {"Upload-Offset": "0"}, PART):
            fleets.wait_until(lambda: self.open_requests() > 0, "the upload does not begin")
            self.leaving.process.send_signal(signal.SIGTERM)
            self.end_of(self.leaving)
        self.assertEqual(self.at(self.staying).offset(location), len(PART))

    def open_requests(self):
        return sum(self.leaving.metrics()["kelvo_http_requests_open"].values())


if __name__ == "__main__":
    unittest.main()

"""What the operators' tools read: readiness, metrics, and the dashboard and the alert rules in packaging/monitoring."""

import json
import os
import re
import resource
import signal
import subprocess
import unittest
from pathlib import Path

import yaml

from kelvowire.farm import WireTest, log_in, make_inbox
from kelvowire.http import metrics, raw_socket
from kelvowire.service import BINARY, GUARD_SECONDS, Service

MONITORING = Path(__file__).resolve().parents[2] / "packaging/monitoring"
NAME = re.compile(r"\b((?:kelvo|process)_\w+)\b")


class MonitoringTest(WireTest):
    def samples(self):
        """{name with labels: value}"""
        return {name: float(value) for name, value in
                (line.rsplit(" ", 1) for line in metrics(self.service)[1].splitlines() if not line.startswith("#"))}

    def await_sample(self, name, wanted):
        """Values of the disk and the database are read at an interval, and on SIGHUP."""
        self.service.signal(signal.SIGHUP)
        for _ in range(10000):
            if (value := self.samples().get(name)) == wanted:
                return
        self.fail(f"{name} is {value} instead of {wanted}")


class Monitoring(MonitoringTest):
    def test_readyz_reads_and_writes(self):
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))
        before = resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, (0, before[1]))
        try:
            status, text = metrics(self.service, "/readyz")
            self.assertEqual(status, 503)
            self.assertRegex(text, "^(database|content store): ")
            self.assertEqual(metrics(self.service, "/healthz"), (200, "ok"))
        finally:
            resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, before)
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))
        self.assertEqual(os.listdir(self.service.path("uploads")), [])

    def ready(self):
        run = subprocess.run([BINARY, "ready", "--data", self.service.folder], capture_output=True, text=True,
                             timeout=GUARD_SECONDS, check=False)
        return run.returncode, run.stdout + run.stderr

    def test_the_command_ready_tells_what_readyz_answers(self):
        self.assertEqual(self.ready(), (0, "ready\n"))
        before = resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, (0, before[1]))
        try:
            status, text = self.ready()
        finally:
            resource.prlimit(self.service.process.pid, resource.RLIMIT_FSIZE, before)
        self.assertEqual(status, 1)
        self.assertRegex(text, "^(database|content store): ")

    def test_the_time_of_requests_is_a_histogram(self):
        olga = self.user("olga")
        prefix = 'kelvo_http_request_seconds_count{route="/account"}'
        before = self.samples().get(prefix, 0)
        for _ in range(3):
            olga.get("/account")
        self.await_sample(prefix, before + 3)
        samples = self.samples()
        buckets = [value for name, value in samples.items()
                   if name.startswith('kelvo_http_request_seconds_bucket{route="/account"')]
        self.assertEqual(buckets, sorted(buckets))
        self.assertEqual(buckets[-1], before + 3)
        self.assertIn('kelvo_http_request_seconds_bucket{route="/account",le="+Inf"}', samples)
        self.assertIn('kelvo_http_request_seconds_sum{route="/account"}', samples)

    def test_sessions_uploads_and_sizes(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        self.service.signal(signal.SIGHUP)
        location = olga.create("open.zip", [inbox], 1000, b"part").headers["Location"]
        self.await_sample("kelvo_uploads_open", 1)
        self.assertEqual(self.samples()["kelvo_uploads_open_bytes"], 1000)
        self.assertGreaterEqual(self.samples()["kelvo_sessions"], 1)
        sizes = {name: value for name, value in self.samples().items() if name.startswith("kelvo_disk_bytes")}
        self.assertEqual(list(sizes), ['kelvo_disk_bytes{folder="data"}'])
        self.assertGreater(sizes['kelvo_disk_bytes{folder="data"}'], self.samples()['kelvo_disk_free_bytes{folder="data"}'])
        self.assertGreater(self.samples()["kelvo_database_bytes"], 4096)
        olga.tus("DELETE", location, 204)
        self.await_sample("kelvo_uploads_open", 0)
        self.assertEqual(self.samples()["kelvo_uploads_open_bytes"], 0)

    def test_failed_logins(self):
        before = self.samples()["kelvo_logins_failed_total"]
        client = log_in(self.service, "olga")
        self.addCleanup(client.close)
        client.post("/sessions", 401, json={"user": "nobody", "password": "wrong"})
        self.await_sample("kelvo_logins_failed_total", before + 1)

    def test_open_connections(self):
        self.await_sample("kelvo_connections_open", 0)
        with raw_socket(self.service), raw_socket(self.service):
            self.await_sample("kelvo_connections_open", 2)
        self.await_sample("kelvo_connections_open", 0)

    def test_the_latest_backup(self):
        self.assertEqual(self.samples()["kelvo_backup_last_seconds"], 0)
        subprocess.run([BINARY, "backup", "--data", self.service.folder, "--to", os.path.join(self.service.root, "backup")],
                       check=True, capture_output=True, timeout=GUARD_SECONDS)
        with open(self.service.path("backup.last"), encoding="utf-8") as file:
            self.await_sample("kelvo_backup_last_seconds", int(file.read()) / 1000)

    def test_the_dashboard_and_the_rules_use_metrics_that_exist(self):
        olga = self.user("olga")
        olga.get("/account")
        shown = {re.split("[{ ]", name)[0] for name in self.samples()}
        dashboard = json.loads((MONITORING / "kelvo-service.dashboard.json").read_text(encoding="utf-8"))
        rules = yaml.safe_load((MONITORING / "kelvo-service.rules.yml").read_text(encoding="utf-8"))
        texts = [target["expr"] for panel in dashboard["panels"] for target in panel["targets"]]
        texts += [variable["query"]["query"] for variable in dashboard["templating"]["list"] if variable["type"] == "query"]
        texts += [rule["expr"] for group in rules["groups"] for rule in group["rules"]]
        self.assertGreater(len(texts), 30)
        used = set().union(*(NAME.findall(text) for text in texts))
        own = {re.sub("_(bucket|sum|count)$", "_bucket", name) for name in shown if name.startswith("kelvo_")}
        self.assertEqual(own - used, set())
        for text in texts:
            names = set(NAME.findall(text))
            self.assertTrue(names or "up{" in text, text)
            self.assertLessEqual(names, shown, text)


class FirstEvents(unittest.TestCase):
    """Prometheus sees the first event of a counter only if the counter was shown before."""

    def test_the_counters_of_the_alerts_are_shown_from_the_start(self):
        service = Service()
        self.addCleanup(service.remove)
        service.start()
        shown = metrics(service)[1]
        rules = (MONITORING / "kelvo-service.rules.yml").read_text(encoding="utf-8")
        counted = set(re.findall(r"increase\(([^\[]+)\[", rules))
        self.assertLessEqual({"kelvo_http_errors_total", "kelvo_http_no_room_total", "kelvo_bins_emptied_total"}, counted)
        for name in counted - {"kelvo_cleanups_total"}:
            self.assertRegex(shown, rf"(?m)^{name}(\{{.*\}})? 0$")
            self.assertNotRegex(shown, rf"(?m)^{name}(\{{.*\}})? [1-9]")


class Stopped(MonitoringTest):
    def test_the_command_ready_fails_without_a_service(self):
        self.service.kill()
        for file in ("left by the killed service", "missing"):
            with self.subTest(endpoints=file):
                run = subprocess.run([BINARY, "ready", "--data", self.service.folder], capture_output=True, text=True,
                                     timeout=GUARD_SECONDS, check=False)
                self.assertEqual((run.returncode, run.stdout), (2, ""), run.stderr)
            if file != "missing":
                os.remove(self.service.path("endpoints.json"))
        self.service.start()


class SlowHeads(MonitoringTest):
    OPTIONS = ("--head-timeout", "2")

    def test_slow_heads_that_were_cut(self):
        before = self.samples()["kelvo_http_heads_cut_total"]
        with raw_socket(self.service) as slow:
            slow.sendall(b"GET /kelvo-api/v1/account HTTP/1.1\r\n")
            self.assertEqual(slow.recv(1), b"")
        self.await_sample("kelvo_http_heads_cut_total", before + 1)


if __name__ == "__main__":
    unittest.main()

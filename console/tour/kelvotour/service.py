"""The service as a process on a free port."""

import collections
import json
import os
import re
import signal
import subprocess
import threading
import time
import urllib.error
import urllib.request

GUARD_SECONDS = 60  # ends only a process that hangs
STREAM_END_SECONDS = 20
READY = re.compile(r"^kelvo-service: listening on https://\S+, metrics on http://\S+\n$")
SAMPLE = re.compile(r'^(\w+)(?:\{(.*)\})? (\S+)$')
LABEL = re.compile(r'(\w+)="((?:[^"\\]|\\.)*)"')


class ServiceError(Exception):
    """The service did not start, stop or answer as expected."""


class Service:
    """A data folder and, between start() and stop(), a process. A second start() takes the same ports."""

    def __init__(self, binary, data, log, options=()):
        self.binary, self.data, self.log_path = binary, data, log
        self.options = options
        self.environment = None  # None: the caller's
        self.address = self.metrics_address = "127.0.0.1:0"
        self.process = None

    @property
    def ca(self):
        return self.data / "ca.pem"

    @property
    def admin_password_file(self):
        return self.data / "admin.password"

    def start(self):
        with open(self.log_path, "ab") as log:
            self.process = subprocess.Popen(
                [self.binary, "serve", "--data", self.data, "--listen", self.address, "--metrics-listen", self.metrics_address,
                 *self.options],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, text=True, env=self.environment)
        guard = threading.Timer(GUARD_SECONDS, self.process.kill)
        guard.start()
        try:
            line = self.process.stdout.readline()
        finally:
            guard.cancel()
        if not READY.match(line):
            self.process.kill()
            self.process.wait()
            raise ServiceError(f"the service printed {line!r} instead of its addresses; see {self.log_path}")
        endpoints = json.loads((self.data / "endpoints.json").read_text())
        if endpoints["pid"] != self.process.pid:
            raise ServiceError(f"endpoints.json names process {endpoints['pid']}, not {self.process.pid}")
        self.address = endpoints["api"]
        self.metrics_address = endpoints["metrics"]
        return self

    @property
    def is_running(self):
        return self.process is not None and self.process.poll() is None

    def stop(self):
        """Sends SIGTERM. The service must end with the exit status 0."""
        self.process.send_signal(signal.SIGTERM)
        try:
            status = self.process.wait(GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            self.kill()
            raise ServiceError("the service did not stop on SIGTERM") from None
        self.process.stdout.close()
        if status != 0:
            raise ServiceError(f"exit status {status} after SIGTERM; see {self.log_path}")

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def close(self):
        """Kills the process if it still runs."""
        if self.is_running:
            self.kill()

    def get(self, path):
        """Gets a page from the listener for health and metrics."""
        try:
            with urllib.request.urlopen(f"http://{self.metrics_address}{path}", timeout=GUARD_SECONDS) as answer:
                return answer.read().decode()
        except (OSError, urllib.error.URLError) as failure:
            raise ServiceError(f"{path}: {failure}") from None

    def metrics(self):
        """The metrics as {name: {labels as a frozenset of pairs: value}}."""
        page = collections.defaultdict(dict)
        for line in self.get("/metrics").splitlines():
            match = SAMPLE.match(line)
            if match:
                page[match[1]][frozenset(LABEL.findall(match[2] or ""))] = float(match[3])
        return page

    def requests(self):
        """{(method, route): number of requests} after all open requests but event streams have ended.

        The service counts a request shortly after it has sent the answer.
        """
        end = time.monotonic() + GUARD_SECONDS
        page = self.metrics()
        while total(page, "kelvo_http_requests_open") > total(page, "kelvo_event_streams_open"):
            if time.monotonic() > end:
                raise ServiceError("requests stay open")
            page = self.metrics()
        counts = {}
        for labels, value in page["kelvo_http_requests_total"].items():
            labels = dict(labels)
            key = (labels["method"], labels["route"])
            counts[key] = counts.get(key, 0) + int(value)
        return counts

    def open_streams(self, expected):
        """The number of open event streams, as soon as it is `expected`, or after a time limit.

        The service counts a stream's end shortly after the console has closed it, or after the answer to its logout.
        A stream that only the comment every 60 s would close stays longer than the time limit.
        """
        end = time.monotonic() + STREAM_END_SECONDS
        while (count := total(self.metrics(), "kelvo_event_streams_open")) != expected and time.monotonic() < end:
            pass
        return count


def total(page, name):
    return int(sum(page[name].values()))


def more(after, before):
    """The requests between two calls of requests()."""
    return {key: count - before.get(key, 0) for key, count in after.items() if count != before.get(key, 0)}


def without_proxies():
    """Removes the proxies from the environment: loopback addresses must not go through a proxy."""
    for name in ("http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"):
        os.environ.pop(name, None)

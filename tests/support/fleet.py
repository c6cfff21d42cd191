"""Several instances of the service behind HAProxy, on engines that already run."""

import collections
import contextlib
import csv
import os
import shutil
import socket
import ssl
import subprocess
import sys
import time
import urllib.parse
import uuid
from pathlib import Path

import postgresql_server

TOP = Path(__file__).resolve().parents[2]
sys.path.append(str(TOP / "console/tour"))

from kelvotour.service import GUARD_SECONDS, Service, ServiceError  # noqa: E402

SHIPPED = TOP / "packaging/proxies/haproxy-fleet.cfg"
PROXY = "127.0.0.3"  # HAProxy's address; other clients may connect to an instance without it
PATH = os.environ["PATH"] + ":/usr/sbin"
CONNECTIONS = 4000  # each takes two descriptors
STARTS = 5  # a free port may be taken before HAProxy listens on it
POLL_SECONDS = 0.02
VERIFY_SECONDS = 600


def make_service(binary, data, log, options=()):
    """One service, or a fleet of KELVO_FLEET instances on a new database.

    PGHOST, PGPORT and PGUSER then name the database server, KELVO_TEST_BUCKET the bucket."""
    count = int(os.environ.get("KELVO_FLEET", "0"))
    if count == 0:
        return Service(binary, data, log, options)
    return Fleet(binary, data, log, ("--database", make_database(uuid.uuid4().hex), "--contents", os.environ["KELVO_TEST_BUCKET"],
                                     *options), count)


def make_database(name):
    """A new database on the server of the environment: its URL."""
    subprocess.run([os.path.join(postgresql_server.programs(), "createdb"), name], check=True, capture_output=True,
                   timeout=GUARD_SECONDS)
    place = urllib.parse.urlencode({"host": os.environ["PGHOST"], "port": os.environ["PGPORT"]})
    return f"postgresql://{os.environ['PGUSER']}@/{name}?{place}"


class Proxy:
    """HAProxy with the shipped configuration. A second start() takes the same port."""

    def __init__(self, folder):
        self.folder = folder
        self.port = None
        self.process = None
        self._control = folder / "haproxy.sock"

    @property
    def is_running(self):
        return self.process is not None and self.process.poll() is None

    def start(self, instances):
        for _ in range(STARTS):
            port = self.port or free_port()
            self._write(instances, port)
            with open(self.folder / "haproxy.log", "ab") as log:
                self.process = subprocess.Popen(["haproxy", "-db", "-f", self.folder / "haproxy.cfg"],
                                                stdin=subprocess.DEVNULL, stdout=log, stderr=log, env=os.environ | {"PATH": PATH})
            if self._listens(port):
                self.port = port
                return
        raise ServiceError(f"HAProxy does not start; see {self.folder / 'haproxy.log'}")

    def sees_a_ready_instance(self):
        with socket.socket(socket.AF_UNIX) as control:
            control.settimeout(GUARD_SECONDS)
            control.connect(str(self._control))
            control.sendall(b"show stat kelvo_ready 2 -1\n")  # 2: the state of the backend, without its servers
            rows = csv.DictReader(control.makefile(encoding="utf-8"))
            return next(rows)["status"] == "UP"

    def kill(self):
        self.process.kill()
        self.process.wait()

    def _write(self, instances, port):
        """The shipped text has three servers. The lines of further servers are removed."""
        text = SHIPPED.read_text(encoding="utf-8")
        changes = {"bind :443": f"bind 127.0.0.1:{port}", "maxconn 50000": f"maxconn {CONNECTIONS}\n    stats socket {self._control}",
                   "default-server send-proxy-v2": f"default-server source {PROXY} send-proxy-v2"}
        servers = list(dict.fromkeys(line for line in text.splitlines() if line.startswith("    server ")))
        for line, instance in zip(servers, instances, strict=False):
            changes[line] = (f"    server {Path(instance.data).name} {instance.address}"
                             f" port {instance.metrics_address.rpartition(':')[2]}")
        for line in servers[len(instances):]:
            changes[line] = ""
        for old, new in changes.items():
            backends = 2 if old in servers else 1
            if text.count(old) != backends:
                raise ServiceError(f"{SHIPPED.name} must have {old!r} {backends} times")
            text = text.replace(old, new)
        (self.folder / "haproxy.cfg").write_text(text, encoding="utf-8")

    def _listens(self, port):
        while self.is_running:
            try:
                socket.create_connection(("127.0.0.1", port), timeout=GUARD_SECONDS).close()
                return True
            except ConnectionRefusedError:
                time.sleep(POLL_SECONDS)
        return False


class Fleet(Service):
    """Used like one service: its address is HAProxy's. `data` has a folder for each instance."""

    def __init__(self, binary, data, log, options=(), count=3):
        super().__init__(binary, Path(data), log)
        self.key = self.data / "fleet.key"
        self._places = [word for name in ("--database", "--contents") for word in (name, options[options.index(name) + 1])]
        shared = ("--cert", self.ca, "--key", self.key, "--trusted-proxy", PROXY, "--proxy-protocol", *options)
        self.instances = [Service(binary, self.data / f"instance-{number}", f"{log}.{number}", shared)
                          for number in range(1, count + 1)]
        self.proxy = Proxy(self.data)

    @property
    def ca(self):
        return self.data / "fleet.pem"

    @property
    def admin_password_file(self):
        return self.instances[0].data / "admin.password"

    def start(self):
        """Starts the parts that do not run."""
        if not self.ca.exists():
            self.data.mkdir(parents=True, exist_ok=True)
            make_certificate(self.ca, self.key)
        for instance in self.instances:
            if not instance.is_running:
                instance.environment = self.environment
                instance.start()
        if not self.proxy.is_running:
            self.proxy.start(self.instances)
        self.address = f"127.0.0.1:{self.proxy.port}"
        return self

    @property
    def is_running(self):
        return self.proxy.is_running and all(instance.is_running for instance in self.instances)

    def stop(self):
        for instance in self.instances:
            instance.stop()
        self.proxy.kill()

    def kill(self):
        for instance in self.instances:
            instance.close()
        if self.proxy.is_running:
            self.proxy.kill()

    def close(self):
        self.kill()

    def get(self, path):
        return self.instances[0].get(path)

    def metrics(self):
        """The sums of all instances."""
        sums = collections.defaultdict(dict)
        for instance in self.instances:
            for name, samples in instance.metrics().items():
                for labels, value in samples.items():
                    sums[name][labels] = sums[name].get(labels, 0) + value
        return sums

    def damage(self):
        """What `kelvo-service verify` of the instances' version finds; empty: nothing."""
        result = subprocess.run([self.instances[0].binary, "verify", *self._places], env=self.environment,
                                capture_output=True, text=True, stdin=subprocess.DEVNULL, timeout=VERIFY_SECONDS, check=False)
        return "" if result.returncode == 0 else f"verify ended with {result.returncode}: {result.stdout}{result.stderr}"

    def wait_until_ready(self):
        """Waits until each instance says that it is ready, and a client reaches one through HAProxy."""
        for instance in self.instances:
            wait_until(lambda each=instance: is_ready(each), f"{instance.data} is not ready")
        wait_until(self._is_reachable, "HAProxy has no instance")

    def _is_reachable(self):
        context = ssl.create_default_context(cafile=self.ca)
        with contextlib.suppress(OSError), \
                socket.create_connection(("127.0.0.1", self.proxy.port), timeout=GUARD_SECONDS) as connection, \
                context.wrap_socket(connection, server_hostname="localhost"):
            return True
        return False


def is_ready(instance):
    with contextlib.suppress(ServiceError):
        return instance.get("/readyz") == "ready"
    return False


def wait_until(is_so, problem):
    end = time.monotonic() + GUARD_SECONDS
    while not is_so():
        if time.monotonic() > end:
            raise ServiceError(problem)
        time.sleep(POLL_SECONDS)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def is_haproxy_installed():
    return shutil.which("haproxy", path=PATH) is not None


def make_certificate(certificate, key):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-days", "30", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
                    "-keyout", key, "-out", certificate], check=True, capture_output=True)

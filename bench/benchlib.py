"""Shared by the benchmarks: a service, a console and the peers' requests, as real processes."""

import argparse
import base64
import json
import os
import shutil
import signal
import ssl
import subprocess
import tempfile
import time
import urllib.request
import zipfile
from pathlib import Path

OPERATOR, OFFICE, PASSWORD = "bench-operator", "bench-office", "bench password"
MEBIBYTE = 1 << 20


def arguments(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--build", required=True, type=Path, help="build folder with bin/ and lib/")
    parser.add_argument("--work", type=Path, help="folder for scratch files (default: a temporary one)")
    return parser


def write_large_archive(path, mebibytes):
    """Random bytes without compression: the same size on the wire and on the disk."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_STORED, allowZip64=True) as archive:
        with archive.open(f"{path.stem}.bin", "w", force_zip64=True) as entry:
            for _ in range(mebibytes):
                entry.write(os.urandom(MEBIBYTE))
    return path


class Memory:
    """The growth of a process's resident set: its peak since reset(), minus its size at reset()."""

    def __init__(self, pid):
        self.pid = pid
        self.reset()

    def _field(self, name):
        for line in Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith(name + ":"):
                return int(line.split()[1]) / 1024
        raise RuntimeError(f"no {name} for {self.pid}")

    def reset(self):
        Path(f"/proc/{self.pid}/clear_refs").write_text("5")
        self.idle = self._field("VmRSS")

    def growth_mib(self):
        return self._field("VmHWM") - self.idle


class Service:
    """A service with a farm, an office user, and an operator with all inboxes."""

    def __init__(self, build, folder):
        self.data = folder / "service"
        self.log = open(folder / "service.log", "wb")
        self.process = subprocess.Popen(
            [build / "bin/kelvo-service", "serve", "--data", self.data, "--listen", "127.0.0.1:0",
             "--metrics-listen", "127.0.0.1:0", "--password-cost", "min"], stdout=subprocess.PIPE, stderr=self.log)
        self.process.stdout.readline()
        self.host = json.loads((self.data / "endpoints.json").read_text())["api"]
        self.ca = self.data / "ca.pem"
        self.base = f"https://{self.host}/kelvo-api/v1"
        self.tls = ssl.create_default_context(cafile=str(self.ca))
        self._populate()

    def call(self, method, path, body=None, token=None):
        request = urllib.request.Request(self.base + path, method=method)
        data = None if body is None else json.dumps(body).encode()
        if data is not None:
            request.add_header("Content-Type", "application/json")
        if token:
            request.add_header("Authorization", "Bearer " + token)
        with urllib.request.urlopen(request, data, context=self.tls, timeout=60) as reply:
            text = reply.read()
            return json.loads(text) if text else None

    def token(self, user, password):
        return self.call("POST", "/sessions", {"user": user, "password": password})["token"]

    def _populate(self):
        admin = self.token("admin", (self.data / "admin.password").read_text().strip())
        self.call("POST", "/farms", {"name": "Bench Farm"}, admin)
        for name, role in ((OPERATOR, "operator"), (OFFICE, "office")):
            self.call("POST", "/users", {"farm": "Bench Farm", "name": name, "password": PASSWORD,
                                         "role": role}, admin)
        self.operator = self.token(OPERATOR, PASSWORD)
        self.office = self.token(OFFICE, PASSWORD)
        self.inboxes = {}
        for project in self.call("GET", "/account", token=self.operator)["projects"]:
            name = urllib.request.quote(project["name"])
            inbox = self.call("POST", f"/projects/{name}/user-inbox", token=self.operator)
            self.inboxes[project["name"]] = inbox["id"]

    def curl_upload(self, path, project, token, name=None):
        """The arguments after `curl` that upload a file in one request."""
        def b64(text):
            return base64.b64encode(text.encode()).decode()
        metadata = f"name {b64(name or path.name)},targets {b64(str(self.inboxes[project]))}"
        return ["-X", "POST", "-T", str(path), "-H", "Authorization: Bearer " + token,
                "-H", "Tus-Resumable: 1.0.0", "-H", f"Upload-Length: {path.stat().st_size}",
                "-H", "Upload-Metadata: " + metadata, "-H", "Expect:",
                "-H", "Content-Type: application/offset+octet-stream", self.base + "/uploads"]

    def curl(self):
        return ["curl", "--silent", "--show-error", "--fail", "--http1.1", "--cacert", str(self.ca)]

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(60)
        self.log.close()


class Console:
    """The headless console, logged in, controlled by its standard input."""

    def __init__(self, build, folder, service):
        self.data = folder / "console"
        environment = dict(os.environ, KELVO_USER=OPERATOR, KELVO_PASSWORD=PASSWORD)
        self.log = open(folder / "console.log", "wb")
        self.process = subprocess.Popen(
            [build / "bin/kelvo-console", "--headless", "--plugin", build / "lib/libkelvo.so",
             "--service", service.host, "--ca", service.ca, "--data", self.data, "--script", "-",
             "--timeout", "900"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log, env=environment,
            text=True)
        self.command("login")

    @property
    def curves_folder(self):
        """The folder of the curves to upload."""
        return self.data / "to-service/curves"

    def command(self, line):
        """Runs one command. Returns its output lines; the last line is the result."""
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        lines = []
        while not lines or not lines[-1].startswith(("ok", "FAILED")):
            text = self.process.stdout.readline()
            if not text:
                raise RuntimeError("the console has ended: " + "".join(lines[-3:]))
            lines.append(text.rstrip("\n"))
        return lines

    def stop(self):
        self.command("logout")
        self.process.stdin.close()
        self.process.wait(60)
        self.log.close()


class Bench:
    """A scratch folder, a service and a console inside a `with`."""

    def __init__(self, options):
        self.options = options

    def __enter__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="kelvo-bench-", dir=self.options.work))
        self.service = Service(self.options.build.resolve(), self.folder)
        self.console = Console(self.options.build.resolve(), self.folder, self.service)
        return self

    def __exit__(self, *_):
        try:
            self.console.stop()
            self.service.stop()
        finally:
            shutil.rmtree(self.folder, ignore_errors=True)


def timed(function, *args):
    os.sync()
    start = time.monotonic()
    function(*args)
    return time.monotonic() - start


def in_turn(number, *contestants):
    """Calls each function and returns the results in the given order. The first to run changes with each round, because
    the disk may be quieter for it."""
    first = number % len(contestants)
    order = [*range(first, len(contestants)), *range(first)]
    answers = {which: contestants[which]() for which in order}
    return tuple(answers[which] for which in range(len(contestants)))


def median(values):
    ordered = sorted(values)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2

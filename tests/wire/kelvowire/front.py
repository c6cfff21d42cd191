"""A reverse proxy in front of the service: the real program with the configuration that is shipped."""

import os
import shutil
import socket
import ssl
import subprocess
import tempfile

from .service import GUARD_SECONDS

PACKAGING = os.path.join(os.path.dirname(__file__), "../../../packaging/proxies")
SERVICE = "127.0.0.1:8443"
AUTHORITY = "/var/lib/kelvo-service/ca.pem"
STARTS = 5  # A free port may be taken before the proxy listens on it.
PATH = os.environ["PATH"] + ":/usr/sbin"


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def replaced(text, changes):
    for old, new in changes.items():
        if old not in text:
            raise AssertionError(f"the shipped configuration has no {old!r}")
        text = text.replace(old, new)
    return text


def is_installed(program):
    return shutil.which(program, path=PATH) is not None


class Front:
    """Has the port and the certificate that clients see; otherwise it is used like a Service."""

    program = None
    shipped = None

    def __init__(self, service):
        self.service, self.secrets = service, service.secrets
        self.process = None
        self.folder = tempfile.mkdtemp(prefix="kelvo-front-")
        self.certificate = os.path.join(self.folder, "front.pem")
        self.key = os.path.join(self.folder, "front.key")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                        "-days", "30", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", self.key,
                        "-out", self.certificate], check=True, capture_output=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)

    def tls(self):
        return ssl.create_default_context(cafile=self.certificate)

    def start(self):
        """Starts the program on a free port."""
        with open(os.path.join(PACKAGING, self.shipped), encoding="utf-8") as file:
            text = file.read()
        for _ in range(STARTS):
            self.port = free_port()
            arguments = self.command(replaced(text, self.changes()))
            with open(self.path("log"), "ab") as log:
                self.process = subprocess.Popen(arguments, stdout=log, stderr=log,
                                                env={**os.environ, "PATH": PATH})
            if self.listens():
                return self
        with open(self.path("log"), encoding="utf-8") as log:
            raise AssertionError(f"{self.program} does not start:\n{log.read()}")

    def listens(self):
        while self.process.poll() is None:
            try:
                socket.create_connection(("127.0.0.1", self.port), timeout=GUARD_SECONDS).close()
                return True
            except ConnectionRefusedError:
                pass
        return False

    def remove(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            self.process.wait(GUARD_SECONDS)
        shutil.rmtree(self.folder)


class Nginx(Front):
    program, shipped = "nginx", "nginx.conf"

    def changes(self):
        return {SERVICE: f"127.0.0.1:{self.service.port}", AUTHORITY: os.path.join(self.service.folder, "ca.pem"),
                "listen 443": f"listen 127.0.0.1:{self.port}", "/etc/ssl/farm.example.pem": self.certificate,
                "/etc/ssl/private/farm.example.key": self.key}

    def command(self, text):
        """The file of an installation that includes the shipped file."""
        folders = "".join(f"{kind}_temp_path {self.path(kind)};" for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        user = "user root;" if os.geteuid() == 0 else ""
        whole = (f"{user} daemon off; pid {self.path('pid')}; error_log stderr; events {{}}\n"
                 f"http {{ access_log off; {folders} include {self.write('site.conf', text)}; }}\n")
        return ["nginx", "-p", self.folder, "-e", "stderr", "-c", self.write("nginx.conf", whole)]


class Haproxy(Front):
    program, shipped = "haproxy", "haproxy.cfg"

    def changes(self):
        return {SERVICE: f"127.0.0.1:{self.service.port}", AUTHORITY: os.path.join(self.service.folder, "ca.pem"),
                "bind :443": f"bind 127.0.0.1:{self.port}", "/etc/haproxy/farm.example.pem": self.path("both.pem")}

    def command(self, text):
        both = ""
        for path in (self.certificate, self.key):
            with open(path, encoding="utf-8") as file:
                both += file.read()
        self.write("both.pem", both)
        return ["haproxy", "-db", "-f", self.write("haproxy.cfg", text)]

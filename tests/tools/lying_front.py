"""A reverse proxy that a test can make lie: it ends the clients' TLS and changes, holds or mutes answers."""

import http.client
import http.server
import json
import ssl
import sys
import threading
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "wire"))

from kelvowire.front import Front  # noqa: E402
from kelvowire.http import Client  # noqa: E402
from kelvowire.service import GUARD_SECONDS  # noqa: E402

DROPPED = ("connection", "content-length", "transfer-encoding")


class Exchange:
    """A request and its answer. A test's `change` may assign status and body; a stream has no body."""

    def __init__(self, handler, body):
        self.method, self.path, self.request = handler.command, handler.path.split("?")[0], body
        self.token = handler.headers.get("Authorization", "").removeprefix("Bearer ")

    def ends_with(self, method, end):
        return self.method == method and self.path.endswith(end)


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def setup(self):
        super().setup()
        self.front = self.server.front
        self.service = http.client.HTTPSConnection("localhost", self.front.service.port, timeout=GUARD_SECONDS,
                                                   context=self.front.service.tls())

    def finish(self):
        self.service.close()
        super().finish()

    def serve(self):
        exchange = Exchange(self, self.rfile.read(int(self.headers.get("Content-Length", 0))))
        self.front.before(exchange)
        self.service.request(self.command, self.path, exchange.request, dict(self.headers))
        answer = self.service.getresponse()
        if answer.headers["Content-Type"] == "text/event-stream":
            self.pass_stream(exchange, answer)
            return
        exchange.status, exchange.body = answer.status, answer.read()
        self.front.note(exchange)
        self.front.change(exchange)
        self.send_head(exchange.status, answer, "Content-Length", str(len(exchange.body)))
        if self.command != "HEAD":
            self.wfile.write(exchange.body)

    do_GET = do_HEAD = do_POST = do_PUT = do_PATCH = do_DELETE = serve

    def send_head(self, status, answer, name, value):
        self.send_response_only(status)
        for header, text in answer.getheaders():
            if header.lower() not in DROPPED:
                self.send_header(header, text)
        self.send_header(name, value)
        self.end_headers()
        self.wfile.flush()

    def pass_stream(self, exchange, answer):
        """A muted stream stays open, and the client sees nothing more of it."""
        exchange.status, exchange.body = answer.status, None
        self.front.change(exchange)
        self.close_connection = True
        if exchange.status != 200:
            self.send_head(exchange.status, answer, "Content-Length", "0")
            return
        self.send_head(200, answer, "Connection", "close")
        mine = object()
        self.front.streams.add(mine)
        while data := answer.read1(65536):
            if mine not in self.front.muted:
                self.wfile.write(self.front.change_events(exchange, data))

    def handle(self):
        try:
            super().handle()
        except (OSError, http.client.HTTPException, ValueError):
            pass  # One of the two sides has ended its connection.

    def log_message(self, *_):
        pass


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True
    block_on_close = False
    request_queue_size = 128

    def finish_request(self, request, client_address):
        try:
            secured = self.front.context.wrap_socket(request, server_side=True)
        except OSError:
            return
        with secured:
            super().finish_request(secured, client_address)


class LyingFront(Front):
    """Assign `before`, `change` and `change_events` to lie. They run on the threads of the connections."""

    def __init__(self, service):
        super().__init__(service)
        self.context = self.server_context()
        self.streams, self.muted = set(), set()
        self.tokens = {}  # the newest of each user
        self.logins = threading.Semaphore(0)  # released by each login
        self.before = self.change = lambda exchange: None
        self.change_events = lambda exchange, data: data

    def server_context(self):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.certificate, self.key)
        return context

    @property
    def ca(self):
        return self.certificate

    @property
    def address(self):
        return f"localhost:{self.port}"

    def start(self):
        self.server = Server(("127.0.0.1", 0), Handler)
        self.server.front = self
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def remove(self):
        self.server.shutdown()
        self.server.server_close()
        super().remove()

    def note(self, exchange):
        if exchange.ends_with("POST", "/sessions") and exchange.status == 201:
            self.tokens[json.loads(exchange.request)["user"]] = json.loads(exchange.body)["token"]
            self.logins.release()

    def mute_streams(self):
        """All present streams. Later streams are not muted."""
        self.muted = set(self.streams)

    def end_session(self, user):
        """Logs the user out at the service, without the client's knowledge."""
        client = Client(self.service, self.tokens[user])
        client.delete("/sessions/current")
        client.close()

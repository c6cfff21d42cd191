"""The client's address behind proxies, and the limits of one address."""

import http.client
import json
import re
import ssl
import time
import unittest

from kelvowire.farm import PASSWORD, WireTest
from kelvowire.http import metrics, raw_socket
from kelvowire.service import GUARD_SECONDS, Service

PROXY = "127.0.0.3"


def refused(service, reason):
    return int(re.search(rf'^kelvo_connections_refused_total{{reason="{reason}"}} (\d+)$', metrics(service)[1], re.M)[1])


def status(connection, method="GET", path="/account", headers=None, body=None):
    """The status of one request on the socket."""
    document = json.dumps(body).encode() if body else b""
    lines = [f"{method} /kelvo-api/v1{path} HTTP/1.1", "Host: localhost", f"Content-Length: {len(document)}",
             "Content-Type: application/json", *(f"{name}: {value}" for name, value in (headers or {}).items())]
    connection.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + document)
    response = http.client.HTTPResponse(connection)
    response.begin()
    response.read()
    return response.status


class LoginTest(WireTest):
    def log_in(self, connection, user, password="wrong password", headers=None):
        return status(connection, "POST", "/sessions", headers, {"user": user, "password": password})


class ForwardingProxy(LoginTest):
    OPTIONS = ("--login-attempts", "1", "--trusted-proxy", PROXY)

    def test_failed_logins_count_for_the_client_that_the_proxy_names(self):
        with raw_socket(self.service, source=PROXY) as proxy:
            for n in range(10):
                self.log_in(proxy, f"guess{n}", headers={"X-Forwarded-For": f"10.0.0.{n}, 203.0.113.7"})
            self.assertEqual(self.log_in(proxy, "olga", PASSWORD, {"X-Forwarded-For": "203.0.113.7"}), 429)
            self.assertEqual(self.log_in(proxy, "olga", PASSWORD, {"Forwarded": "for=203.0.113.8"}), 201)

    def test_the_fields_of_other_clients_are_ignored(self):
        with raw_socket(self.service, source="127.0.9.1") as client:
            for n in range(10):
                self.log_in(client, f"guess{n}", headers={"X-Forwarded-For": f"198.51.100.{n}"})
            self.assertEqual(self.log_in(client, "piet", PASSWORD, {"X-Forwarded-For": "198.51.100.99"}), 429)


class PassingProxy(LoginTest):
    OPTIONS = ("--login-attempts", "1", "--trusted-proxy", PROXY, "--proxy-protocol")

    def test_failed_logins_count_for_the_client_of_the_header(self):
        version2 = b"\r\n\r\n\0\r\nQUIT\n\x21\x11\0\x0c" + bytes([203, 0, 113, 7, 10, 0, 0, 1, 1, 1, 2, 2])
        version1 = b"PROXY TCP4 203.0.113.8 10.0.0.1 5000 8443\r\n"
        with raw_socket(self.service, source=PROXY, before=version2) as client:
            for n in range(10):
                self.log_in(client, f"guess{n}")
            self.assertEqual(self.log_in(client, "olga", PASSWORD), 429)
        with raw_socket(self.service, source=PROXY, before=version1) as client:
            self.assertEqual(self.log_in(client, "olga", PASSWORD), 201)

    def test_a_proxy_without_a_header_is_cut(self):
        with self.assertRaises((ssl.SSLError, OSError)):
            raw_socket(self.service, source=PROXY)


class OneAddress(LoginTest):
    OPTIONS = ("--max-connections-per-address", "20")

    def fill(self, count, tls):
        """Opens connections from an address of its own; ends them after the test."""
        for _ in range(count):
            self.addCleanup(raw_socket(self.service, tls=tls, source="127.0.0.5").close)

    def test_unfinished_heads_of_one_address_are_bounded(self):
        self.fill(17, tls=False)
        guard = time.monotonic() + GUARD_SECONDS
        while refused(self.service, "heads") == 0:  # Until the service has accepted all connections.
            self.assertLess(time.monotonic(), guard)
        self.assertEqual(refused(self.service, "heads"), 1)
        self.assertEqual(refused(self.service, "address"), 0)
        with raw_socket(self.service, source="127.0.0.6") as other:
            self.assertEqual(status(other), 401)


class ManyConnections(unittest.TestCase):
    def test_connections_of_one_address_are_bounded(self):
        service = Service("--max-connections-per-address", "20")
        self.addCleanup(service.remove)
        service.start()
        for _ in range(20):
            connection = raw_socket(service, source="127.0.0.5")
            self.addCleanup(connection.close)
            self.assertEqual(status(connection), 401)
        with raw_socket(service, source="127.0.0.5") as one_more:
            self.assertEqual(status(one_more), 503)
        self.assertEqual(refused(service, "address"), 1)
        with raw_socket(service, source="127.0.0.6") as other:
            self.assertEqual(status(other), 401)
        service.stop()


if __name__ == "__main__":
    unittest.main()

"""The listener for the operators of the service."""

import os
import re
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import CONTRACT, metrics

SAMPLE = re.compile(r'^((?:kelvo|process)_\w+)(?:\{(.*)\})? (\S+)$')
LABEL = re.compile(r'(\w+)="((?:[^"\\]|\\.)*)"')


class Metrics(WireTest):
    def samples(self):
        status, text = metrics(self.service)
        self.assertEqual(status, 200)
        found = {}
        for line in text.splitlines():
            if line and not line.startswith("#"):
                name, labels, value = SAMPLE.match(line).groups()
                found[(name, frozenset(LABEL.findall(labels or "")))] = float(value)
        return found

    def requests(self, method, route, status):
        key = ("kelvo_http_requests_total", frozenset({("method", method), ("route", route), ("status", str(status))}))
        return self.samples().get(key, 0)

    def total(self, name):
        return sum(value for (sample, _), value in self.samples().items() if sample == name)

    def await_value(self, read, wanted):
        """A request may be counted after its answer has arrived."""
        for _ in range(10000):
            if (value := read()) == wanted:
                return
        self.fail(f"{value} instead of {wanted}")

    def test_healthz_answers_ok(self):
        self.assertEqual(metrics(self.service, "/healthz"), (200, "ok"))

    def test_readyz_tells_that_the_contents_are_gone(self):
        folder, moved = self.service.path("content"), self.service.path("moved")
        gone = (503, "content store: the folder content is missing or empty")
        os.rename(folder, moved)
        try:
            self.assertEqual(metrics(self.service, "/readyz"), gone)
            os.mkdir(folder)
            self.assertEqual(metrics(self.service, "/readyz"), gone)
            os.rmdir(folder)
        finally:
            os.rename(moved, folder)
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))

    def test_the_listener_serves_nothing_else(self):
        for path in ("/", "/kelvo-api/v1/account", "/kelvo-api/v1/uploads", "/metricsx", "/metrics/x"):
            self.assertEqual(metrics(self.service, path)[0], 404)

    def test_requests_are_counted_by_method_route_and_status(self):
        olga = self.user("olga")
        file = olga.put("counted.zip", [make_inbox(olga)], b"counted")[0]["id"]
        path = f"/resources/{file}/content"
        template = "/resources/{id}/content"
        before = {status: self.requests("GET", template, status) for status in (200, 206, 412, 416)}
        for _ in range(3):
            olga.get(path)
        olga.get(path, 206, headers={"Range": "bytes=0-1"})
        olga.get(path, 416, headers={"Range": "bytes=100-"})
        olga.get(path, 412, headers={"If-Match": '"x"'})
        for status, count in ((200, 3), (206, 1), (416, 1), (412, 1)):
            self.await_value(lambda status=status: self.requests("GET", template, status) - before[status], count)

    def test_routes_are_templates_and_unknown_routes_make_no_new_series(self):
        olga = self.user("olga")
        for n in range(30):
            olga.get(f"/resources/{n + 1000000}", 404)
            olga.get(f"/nowhere{n}", 404)
            olga.tus("HEAD", f"/uploads/none{n}", 404)
            olga.request(f"BREW{n}", "/account", (400, 405))
            olga.close()
        methods, routes = set(), set()
        for (name, labels), _ in self.samples().items():
            if name == "kelvo_http_requests_total":
                labels = dict(labels)
                self.assertEqual(labels.keys(), {"method", "route", "status"})
                self.assertRegex(labels["status"], r"^[1-5]\d\d$")
                routes.add(labels["route"])
                methods.add(labels["method"])
        self.assertIn("/resources/{id}", routes)
        self.assertLessEqual(len(routes - CONTRACT.document["paths"].keys()), 1, routes)
        self.assertLessEqual(len(methods), 10, methods)

    def test_bytes_are_counted_both_ways(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        content = b"x" * 100_000
        sent, received = (self.total(f"kelvo_http_{way}_bytes_total") for way in ("request", "response"))
        file = olga.put("bytes.zip", [inbox], content)[0]["id"]
        olga.get(f"/resources/{file}/content")
        olga.get("/account")  # Its answer comes after the others were counted.
        self.assertGreaterEqual(self.total("kelvo_http_request_bytes_total"), sent + len(content))
        self.assertGreaterEqual(self.total("kelvo_http_response_bytes_total"), received + len(content))

    def test_open_streams_are_a_gauge(self):
        def streams():
            return self.total("kelvo_event_streams_open")
        olga = self.user("olga")
        self.await_value(streams, 0)
        with EventStream(olga), EventStream(olga):
            self.await_value(streams, 2)
        self.await_value(streams, 0)

    def test_open_requests_are_a_gauge(self):
        def requests():
            return self.total("kelvo_http_requests_open")
        olga = self.user("olga")
        self.await_value(requests, 0)
        with EventStream(olga):
            self.await_value(requests, 1)
        self.await_value(requests, 0)

    def test_the_build_is_named_and_the_text_is_well_formed(self):
        self.assertEqual(self.total("kelvo_build_info"), 1)
        types = dict(re.findall(r"^# TYPE (\S+) (\S+)$", metrics(self.service)[1], re.MULTILINE))
        for name, kind in (("kelvo_http_requests_total", "counter"), ("kelvo_http_request_bytes_total", "counter"),
                           ("kelvo_http_response_bytes_total", "counter"), ("kelvo_http_requests_open", "gauge"),
                           ("kelvo_event_streams_open", "gauge")):
            self.assertEqual(types[name], kind)


if __name__ == "__main__":
    unittest.main()

"""Sessions of browsers, whose token is a cookie, and the page beside the API."""

import tempfile
from pathlib import Path

from kelvowire.events import EventStream
from kelvowire.farm import PASSWORD, WireTest
from kelvowire.http import Client

OWN_PAGE = {"Sec-Fetch-Site": "same-origin"}
PAGE = tempfile.TemporaryDirectory(prefix="kelvo-page-")
Path(PAGE.name, "index.html").write_text("<!doctype html><title>page</title>", encoding="utf-8")


class BrowserSessions(WireTest):
    OPTIONS = ("--session-hours", "720", "--login-attempts", "100", "--web", PAGE.name)

    def setUp(self):
        super().setUp()
        self.client = Client(self.service)
        self.addCleanup(self.client.close)

    def log_in(self, headers, expect):
        return self.client.post("/sessions", expect, json={"user": "olga", "password": PASSWORD, "kind": "browser"},
                                headers=headers)

    def cookie(self, earlier=None):
        value = self.log_in({**OWN_PAGE, **(earlier or {})}, 201).headers["Set-Cookie"]
        self.service.secrets.add(value.split(";")[0].partition("=")[2])
        return {"Cookie": value.split(";")[0]}

    def test_the_token_is_only_in_a_cookie_that_scripts_cannot_read(self):
        answer = self.log_in(OWN_PAGE, 201)
        self.assertNotIn("token", answer.json())
        name, *attributes = answer.headers["Set-Cookie"].split("; ")
        self.assertTrue(name.startswith("__Host-"))
        self.assertEqual(set(attributes), {"Path=/", "Secure", "HttpOnly", "SameSite=Strict"})

    def test_another_site_cannot_log_a_browser_in(self):
        for headers in ({}, {"Sec-Fetch-Site": "cross-site"}, {"Origin": "https://evil.example"}):
            with self.subTest(headers=headers):
                self.refused(self.log_in(headers, 403), "forbidden")

    def test_another_site_changes_nothing(self):
        cookie = self.cookie()
        for headers in ({"Sec-Fetch-Site": "same-site"}, {"Origin": "https://evil.example"}, {}):
            with self.subTest(headers=headers):
                self.refused(self.client.delete("/sessions/current", 403, headers={**cookie, **headers}), "forbidden")
        self.client.get("/account", 200, headers=cookie)

    def test_a_request_has_one_token(self):
        both = {**self.cookie(), "Authorization": "Bearer 0123456789abcdef"}
        self.refused(self.client.get("/account", 400, headers=both), "malformed-request")

    def test_a_login_ends_the_session_whose_cookie_it_replaces(self):
        other, old = self.cookie(), self.cookie()
        self.client.post("/sessions", 401, json={"user": "olga", "password": "wrong", "kind": "browser"},
                         headers={**OWN_PAGE, **old})
        self.client.get("/account", 200, headers=old)
        anna = self.user("anna")
        logouts = len(anna.get("/audit?action=logout").json()["entries"])
        stream = EventStream(Client(self.service), headers=old)
        with stream:
            new = self.cookie(old)
            self.assertEqual(stream.expect("session-ended").data, {"reason": "logged-out"})
        self.client.get("/account", 401, headers=old)
        for kept in (other, new):
            self.client.get("/account", 200, headers=kept)
        self.assertEqual(len(anna.get("/audit?action=logout").json()["entries"]), logouts + 1)
        self.cookie(old)  # The old session has ended already.
        self.assertEqual(len(anna.get("/audit?action=logout").json()["entries"]), logouts + 1)

    def test_logging_out_removes_cookie_and_session(self):
        cookie = self.cookie()
        answer = self.client.delete("/sessions/current", 204, headers={**cookie, **OWN_PAGE})
        self.assertIn("Max-Age=0", answer.headers["Set-Cookie"])
        self.assertEqual(answer.headers["Clear-Site-Data"], '"storage"')
        self.client.get("/account", 401, headers=cookie)

"""Logging in and out, throttled guesses, and the end of sessions."""

import datetime
import os
import stat
import unittest

from kelvowire.events import END, EventStream
from kelvowire.farm import PASSWORD, WireTest, log_in
from kelvowire.http import Client


class Sessions(WireTest):
    OPTIONS = ("--session-hours", "5", "--login-attempts", "100")

    def try_login(self, user, password, expect):
        client = Client(self.service)
        self.addCleanup(client.close)
        return client.post("/sessions", expect, json={"user": user, "password": password})

    def test_login_returns_the_user(self):
        session = self.try_login("olga", PASSWORD, 201).json()
        self.service.secrets.add(session["token"])
        self.assertEqual((session["user"]["name"], session["user"]["role"]), ("olga", "operator"))
        self.assertEqual(session["user"]["farm"]["name"], "Hill Farm")
        self.assertFalse(session["user"]["disabled"])

    def test_sessions_expire_after_the_set_time(self):
        now = datetime.datetime.now(datetime.timezone.utc)
        session = self.try_login("olga", PASSWORD, 201).json()
        ends = datetime.datetime.fromisoformat(session["expires_at"].replace("Z", "+00:00"))
        self.assertLess(abs((ends - now).total_seconds() - 5 * 3600), 600)

    def test_the_administrator_has_no_farm(self):
        self.assertIsNone(self.user("admin").snapshot()["user"]["farm"])
        mode = stat.S_IMODE(os.stat(self.service.path("admin.password")).st_mode)
        self.assertEqual(mode, 0o600)

    def test_a_wrong_password_and_an_unknown_user_get_the_same_refusal(self):
        wrong = self.try_login("olga", "wrong password", 401)
        unknown = self.try_login("nobody", "wrong password", 401)
        self.refused(wrong, "invalid-credentials")
        self.assertEqual(wrong.body, unknown.body)

    def test_names_and_passwords_are_compared_exactly(self):
        for user, password in (("Olga", PASSWORD), ("olga ", PASSWORD), ("olga", PASSWORD + " "), ("olga", PASSWORD[:-1]),
                               ("olga", PASSWORD.upper()), ("", PASSWORD), ("olga", ""), ("olga\0", PASSWORD),
                               ("olga' OR '1'='1", PASSWORD), ("olga", "x" * 5000)):
            with self.subTest(user=user, password=password[:40]):
                self.try_login(user, password, (400, 401, 422))

    def test_tokens_are_long_and_unique(self):
        tokens = {self.try_login("olga", PASSWORD, 201).json()["token"] for _ in range(5)}
        self.service.secrets |= tokens
        self.assertEqual(len(tokens), 5)
        self.assertGreaterEqual(min(map(len, tokens)), 22)  # 128 bits in base64

    def test_logging_out_ends_its_own_token_only(self):
        first, second = self.user("olga"), self.user("olga")
        first.delete("/sessions/current")
        refusal = first.get("/account", 401)
        self.refused(refusal, "unauthenticated")
        first.delete("/sessions/current", 401)
        second.get("/account")

    def test_a_wrong_token_is_unauthenticated(self):
        good = self.user("olga").token
        client = Client(self.service)
        self.addCleanup(client.close)
        for header in (None, "", "Bearer", "Bearer ", f"Basic {good}", f"Bearer {good}x", f"Bearer {good[:-1]}", good,
                       f"Bearer {good} {good}", "Bearer " + "x" * 4000, "Bearer ' OR 1=1 --"):
            with self.subTest(header=header):
                answer = client.request("GET", "/account", 401, headers={"Authorization": header})
                self.refused(answer, "unauthenticated")

    def test_the_scheme_is_read_in_any_case(self):
        token = self.user("olga").token
        client = Client(self.service)
        self.addCleanup(client.close)
        client.request("GET", "/account", 200, headers={"Authorization": f"bearer {token}"})

    def test_secrets_are_not_stored_in_the_data_folder(self):
        client = self.user("piet")
        client.get("/account")
        for folder, _, files in os.walk(self.service.folder):
            for name in files:
                if name == "admin.password":
                    continue
                with open(os.path.join(folder, name), "rb") as file:
                    content = file.read()
                self.assertNotIn(client.token.encode(), content, f"the token is in {name}")
                self.assertNotIn(PASSWORD.encode(), content, f"the password is in {name}")

    def test_unknown_members_are_ignored(self):
        client = Client(self.service)
        self.addCleanup(client.close)
        client.post("/sessions", 201, json={"user": "olga", "password": PASSWORD, "device": {"a": [1]}})


class Disabling(WireTest):
    def change(self, name, change):
        admin = self.user("admin")
        users = {user["name"]: user["id"] for user in admin.get("/users").json()["users"]}
        return admin.request("PATCH", f"/users/{users[name]}", 200, json=change).json()

    def test_disabling_ends_the_sessions_and_refuses_new_ones_until_enabled(self):
        client = self.user("piet")
        with EventStream(client) as stream:
            self.assertTrue(self.change("piet", {"disabled": True})["disabled"])
            self.assertEqual(stream.expect("session-ended").data, {"reason": "disabled"})
            self.assertIs(stream.next(), END)
        client.get("/account", 401)
        other = Client(self.service)
        self.addCleanup(other.close)
        answer = other.post("/sessions", 403, json={"user": "piet", "password": PASSWORD})
        self.refused(answer, "account-disabled")
        answer = other.post("/sessions", 401, json={"user": "piet", "password": "wrong password"})
        self.refused(answer, "invalid-credentials")
        self.assertFalse(self.change("piet", {"disabled": False})["disabled"])
        client.get("/account", 401)
        self.user("piet").get("/account")

    def test_a_new_password_ends_the_sessions_and_replaces_the_old_password(self):
        client = self.user("otto")
        self.service.secrets.add("another good one")
        with EventStream(client) as stream:
            self.change("otto", {"password": "another good one"})
            self.assertEqual(stream.expect("session-ended").data, {"reason": "revoked"})
            self.assertIs(stream.next(), END)
        client.get("/account", 401)
        other = Client(self.service)
        self.addCleanup(other.close)
        other.post("/sessions", 401, json={"user": "otto", "password": PASSWORD})
        log_in(self.service, "otto", "another good one").close()


class Throttling(WireTest):
    OPTIONS = ("--login-attempts", "3")

    def test_repeated_failures_are_answered_429_even_with_the_right_password(self):
        client = Client(self.service)
        self.addCleanup(client.close)
        # otto has never logged in from here.
        statuses = [client.post("/sessions", (401, 429), json={"user": "otto", "password": f"wrong {n}"}).status
                    for n in range(6)]
        self.assertEqual(statuses[:3], [401, 401, 401])
        self.assertEqual(statuses[-1], 429)
        answer = client.post("/sessions", 429, json={"user": "otto", "password": PASSWORD})
        self.refused(answer, "login-throttled")
        self.assertGreater(int(answer.headers["Retry-After"]), 0)


class ThrottlingStrangers(WireTest):
    OPTIONS = ("--login-attempts", "3")

    def statuses(self, client, names):
        return [client.post("/sessions", (401, 429), json={"user": name, "password": "summer2026"}).status for name in names]

    def test_a_stranger_at_the_same_address_locks_nobody_out(self):
        for name in ("olga", "anna"):
            self.user(name)
        client = Client(self.service)
        self.addCleanup(client.close)
        statuses = self.statuses(client, [f"guess{n}" for n in range(60)])
        self.assertIn(429, statuses, "guessing one password for many names is throttled")
        answer = client.post("/sessions", 429, json={"user": "oda", "password": PASSWORD})
        self.assertLessEqual(int(answer.headers["Retry-After"]), 30)
        self.statuses(client, ["olga"] * 50)
        self.user("olga")
        self.user("anna")


class ThrottlingLimits(WireTest):
    OPTIONS = ("--login-attempts", "3")

    def test_a_session_works_while_its_account_is_throttled(self):
        before = self.user("olga")
        client = Client(self.service)
        self.addCleanup(client.close)
        for n in range(5):
            client.post("/sessions", (401, 429), json={"user": "olga", "password": f"wrong {n}"})
        before.get("/account")

    def test_a_successful_login_resets_the_count(self):
        client = Client(self.service)
        self.addCleanup(client.close)
        for _ in range(3):
            client.post("/sessions", 401, json={"user": "anna", "password": "wrong password"})
            self.user("anna")


if __name__ == "__main__":
    unittest.main()

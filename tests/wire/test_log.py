"""The log during failures: one object per line, and no text that clients sent, however the database fails."""

import sqlite3
import unittest

from kelvowire.farm import PASSWORD, log_in, make_inbox, add_farms_and_users
from kelvowire.http import Client, metadata
from kelvowire.service import Service

# Each trigger simulates a failing database: it raises SQLite's error for one of the requests below.
TABLES = ("INSERT ON sessions", "INSERT ON users", "INSERT ON uploads", "INSERT ON console_devices")
NAME, NONCE, FIELD, TEXT = "quite-a-secret-name", "quite-a-secret-nonce", "quite-a-secret-field.zip", "quite-a-secret-text"


class FailingDatabase(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)
        self.service.start()
        self.admin = add_farms_and_users(self.service)
        self.addCleanup(self.admin.close)
        self.olga = log_in(self.service, "olga")
        self.addCleanup(self.olga.close)
        self.inbox = make_inbox(self.olga)
        database = sqlite3.connect(self.service.path("kelvo.sqlite"), timeout=10)
        for number, event in enumerate(TABLES):
            database.execute(f"CREATE TRIGGER fails{number} BEFORE {event} BEGIN SELECT RAISE(ABORT, 'disk I/O error'); END")
        database.commit()
        database.close()

    def test_the_log_has_no_text_from_failed_writes(self):
        self.service.secrets.update((NAME, NONCE, FIELD, TEXT, "$argon2id$", "INSERT INTO", "executing"))
        device = {"hardware_address": "aa:bb", "text2": TEXT * 13}
        report = {"timestamp_ms": 1, "state": 1, "flag": True, "device": device}
        client = Client(self.service)
        self.addCleanup(client.close)
        client.post("/sessions", 500, check=False, json={"user": "piet", "password": PASSWORD})
        self.admin.post("/users", 500, check=False,
                        json={"farm": "Hill Farm", "name": NAME, "password": PASSWORD, "role": "operator"})
        self.olga.tus("POST", "/uploads", 500, {"Upload-Length": "3", "Idempotency-Key": NONCE,
                                                "Upload-Metadata": metadata(FIELD, [self.inbox])}, check=False)
        self.olga.request("PUT", "/devices", 500, check=False, json=report)
        self.service.stop()
        self.service.check_log()
        failures = [line for line in self.service.log().splitlines() if '"request-failed"' in line]
        self.assertEqual(len(failures), len(TABLES))
        for line in failures:
            self.assertIn("disk I/O error", line)
            self.assertLess(len(line), 4096)


if __name__ == "__main__":
    unittest.main()

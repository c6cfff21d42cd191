"""Days that pass while the service is stopped."""

import sqlite3

from .http import metrics
from .service import confirm_clock

DAY_MS = 24 * 3600 * 1000


def let_pass(service, days):
    """Stops the service, moves all times in its database (columns named …_ms) into the past, confirms the clock,
    starts it again, and waits for its first clean-up.
    """
    service.stop()
    moved = 0
    database = sqlite3.connect(service.path("kelvo.sqlite"))
    for (table,) in database.execute("SELECT name FROM sqlite_master WHERE type = 'table'").fetchall():
        for column in database.execute(f"PRAGMA table_info({table})").fetchall():
            if column[1].endswith("_ms"):
                moved += database.execute(f"UPDATE {table} SET {column[1]} = {column[1]} - ?", (days * DAY_MS,)).rowcount
    database.commit()
    database.close()
    if not moved:
        raise AssertionError("the database has no times to move")
    confirm_clock(service)
    service.start()
    while "\nkelvo_cleanups_total 0" in metrics(service)[1]:
        pass

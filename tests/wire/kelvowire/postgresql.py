"""The PostgreSQL server of a test module."""

import os
import subprocess
import time
import unittest

import postgresql_server

from .service import GUARD_SECONDS

WRITERS_LOCK = "SELECT pg_advisory_xact_lock(118083355569921)"

# Statements that read the table `files` fail while the server would end long statements. The table must not be empty.
NO_TIMEOUT = """
CREATE FUNCTION has_no_timeout() RETURNS BOOLEAN LANGUAGE plpgsql AS $$ BEGIN
    IF current_setting('statement_timeout') <> '0' THEN RAISE EXCEPTION 'a statement has a timeout'; END IF;
    RETURN TRUE;
END $$"""
WALKED_FILES = """
ALTER TABLE files RENAME TO all_files;
CREATE VIEW files AS SELECT * FROM all_files WHERE has_no_timeout()"""


def start_postgresql():
    """A running server, for setUpModule(); it ends with the module. Skips the module if PostgreSQL is not installed."""
    if postgresql_server.programs() is None:
        if os.environ.get("KELVO_DEMAND_POSTGRESQL"):
            raise AssertionError("PostgreSQL is not installed")
        raise unittest.SkipTest("PostgreSQL is not installed")
    return unittest.enterModuleContext(postgresql_server.PostgresqlServer())


def program(name):
    """The path of a program of PostgreSQL."""
    return os.path.join(postgresql_server.programs(), name)


class Held:
    """A transaction that holds a lock of the database, so that others stop at a known statement."""

    def __init__(self, server, database, statement):
        self.server, self.database, self.statement = server, database, statement

    def __enter__(self):
        self.psql = subprocess.Popen([program("psql"), "-X", "-q", "-t", "-A", "-d", self.database], env=self.server.environment(),
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.psql.stdin.write(f"BEGIN; {self.statement};\n\\echo held\n")
        self.psql.stdin.flush()
        while (line := self.psql.stdout.readline()).strip() != "held":
            if not line:
                raise AssertionError(f"no lock: {self.statement}")
        return self

    def __exit__(self, *_):
        self.psql.stdin.close()
        self.psql.wait(GUARD_SECONDS)
        self.psql.stdout.close()

    def await_waiters(self, wanted=1, process=None):
        """Returns when so many other transactions wait. The process, if there is one, must go on meanwhile."""
        waiting = ("SELECT COUNT(*) FROM pg_locks l JOIN pg_stat_activity a USING (pid)"
                   " WHERE NOT l.granted AND a.datname = current_database()")
        guard = time.monotonic() + GUARD_SECONDS
        while int(self.server.psql(waiting, self.database).stdout) < wanted:
            has_ended = process is not None and process.poll() is not None
            if time.monotonic() > guard or has_ended:
                raise AssertionError(f"nothing waits for {self.statement}: {process.communicate() if has_ended else ''}")

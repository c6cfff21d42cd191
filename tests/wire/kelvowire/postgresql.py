"""The PostgreSQL server of a test module."""

import os
import unittest

import postgresql_server

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

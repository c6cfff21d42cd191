"""The PostgreSQL server of a test module."""

import os
import unittest

import postgresql_server


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

#!/usr/bin/env python3
"""A private PostgreSQL server for tests, without systemd; root starts it as the user nobody.

Usage: postgresql_server.py COMMAND [ARGUMENT...]
Runs the command while the server answers on a Unix socket. The variables PGHOST, PGPORT and PGUSER name the server,
KELVO_TEST_POSTGRESQL holds the URL of an empty database. The exit code is the command's. It is 77 if PostgreSQL is not
installed; with the variable KELVO_DEMAND_POSTGRESQL it is then 1.
"""

import glob
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.parse

PACKAGES = "postgresql"
START_LIMIT_S = 60
SKIPPED = 77
PORT = "5432"  # part of the socket's name only
UNPRIVILEGED = 65534  # nobody

# The data need not survive the machine, but every commit is written as on a real server.
CONFIGURATION = """
listen_addresses = ''
unix_socket_directories = '{folder}'
port = {port}
max_connections = 200
shared_buffers = 32MB
fsync = off
full_page_writes = off
autovacuum_naptime = 10s
logging_collector = off
timezone = 'UTC'
lc_messages = 'C'
"""


def programs():
    """The folder of the newest server; None: not installed. Debian keeps the server out of the path."""
    folders = glob.glob("/usr/lib/postgresql/*/bin/postgres")
    newest = max(folders, key=lambda path: int(path.split("/")[4]), default=shutil.which("postgres"))
    return newest and os.path.dirname(os.path.realpath(newest))


class PostgresqlServer:
    """The databases are in a temporary folder and end with the context."""

    user = "kelvo"

    def __init__(self, settings=(), port=PORT, primary=None):
        """With a primary it becomes its standby."""
        self.settings = settings
        self.port = str(port)
        self.primary = primary
        self.server = None

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="kelvo-pg-")
        self.data = os.path.join(self.folder, "data")
        try:
            if os.geteuid() == 0:
                os.chown(self.folder, UNPRIVILEGED, UNPRIVILEGED)
            self._make_data()
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.server is not None:
            self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _make_data(self):
        if self.primary is None:
            self._run("initdb", "--pgdata", self.data, "--username", self.user, "--auth", "trust", "--encoding", "UTF8",
                      "--locale", "C.UTF-8", "--no-sync", "--no-instructions")
        else:
            self._run("pg_basebackup", "--pgdata", self.data, "--write-recovery-conf", "--checkpoint=fast", "--no-sync",
                      "--dbname", f"host={self.primary.folder} port={self.primary.port} user={self.user}")
        with open(os.path.join(self.data, "postgresql.conf"), "a", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(folder=self.folder, port=self.port) + "\n".join(self.settings) + "\n")

    def start(self):
        with open(os.path.join(self.folder, "log"), "ab") as log:
            # The server ends also if this program is killed.
            self.server = subprocess.Popen(
                self._unprivileged("setpriv", "--pdeathsig", "QUIT", self._program("postgres"), "-D", self.data),
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd="/")
        end = time.monotonic() + START_LIMIT_S
        while self.psql("SELECT 1", check=False).returncode != 0:
            if time.monotonic() > end or self.server.poll() is not None:
                raise RuntimeError(f"PostgreSQL does not start: {self.log()[-2000:]}")
            time.sleep(0.02)

    def stop(self):
        """As if the machine lost its power, but the operating system keeps what was written."""
        self.server.send_signal(3)  # SIGQUIT: no clean end; a SIGKILL would leave shared memory behind
        self.server.wait()
        self.server = None

    def confirm_by_standby(self):
        """From now on a commit waits until a standby has it."""
        self.psql("ALTER SYSTEM SET synchronous_standby_names = '*'")
        self.psql("SELECT pg_reload_conf()")

    def promote(self):
        """Makes a standby the primary. Its commits wait for no standby."""
        self.psql("SELECT pg_promote()")

    def follow(self, primary):
        """Starts a stopped server again as the standby of another primary."""
        self.primary = primary
        shutil.rmtree(self.data)
        self._make_data()
        self.start()

    def log(self):
        with open(os.path.join(self.folder, "log"), encoding="utf-8", errors="replace") as file:
            return file.read()

    def psql(self, statement, database="postgres", check=True):
        return subprocess.run([self._program("psql"), "-X", "-q", "-t", "-A", "-d", database, "-c", statement],
                              env=self.environment(), capture_output=True, text=True, timeout=START_LIMIT_S, check=check)

    def make_database(self, name):
        """An empty database: its URL."""
        self.psql(f'CREATE DATABASE "{name}"')
        return self.url(name)

    def url(self, name):
        return f"postgresql://{self.user}@/{name}?" + urllib.parse.urlencode({"host": self.folder, "port": self.port})

    def environment(self):
        return {**os.environ, "PGHOST": self.folder, "PGPORT": self.port, "PGUSER": self.user}

    @staticmethod
    def _program(name):
        return os.path.join(programs(), name)

    @staticmethod
    def _unprivileged(*command):
        if os.geteuid() != 0:
            return command
        identity = str(UNPRIVILEGED)
        return ("setpriv", "--reuid", identity, "--regid", identity, "--clear-groups", *command)

    def _run(self, name, *arguments):
        done = subprocess.run(self._unprivileged(self._program(name), *arguments), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=START_LIMIT_S, check=False, cwd="/")
        if done.returncode != 0:
            raise RuntimeError(f"{name} failed: {done.stdout.decode(errors='replace')[-2000:]}")


def main(command):
    if not command:
        print(__doc__, file=sys.stderr)
        return 2
    if programs() is None:
        print(f"missing: postgres (Debian package {PACKAGES})", file=sys.stderr)
        return 1 if os.environ.get("KELVO_DEMAND_POSTGRESQL") else SKIPPED
    with PostgresqlServer() as server:
        environment = {**server.environment(), "KELVO_TEST_POSTGRESQL": server.make_database("test")}
        return subprocess.run(command, env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

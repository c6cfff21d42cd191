"""A whole fleet: PostgreSQL with a synchronous standby, an object store, instances of the service and HAProxy."""

import contextlib
import os
import sys
import urllib.parse

import object_gateway
import postgresql_server
from fleet import Fleet, is_haproxy_installed

DATABASE = "fleet"
SKIPPED = 77


def skip_status():
    """None if a fleet can start here. Otherwise names the missing Debian packages and returns the exit status."""
    found = {postgresql_server.PACKAGES: postgresql_server.programs(), object_gateway.PACKAGES: not object_gateway.missing_programs(),
             "haproxy": is_haproxy_installed()}
    missing = [packages for packages, is_there in found.items() if not is_there]
    if not missing:
        return None
    print(f"missing Debian packages: {' '.join(missing)}", file=sys.stderr)
    return 1 if os.environ.get("KELVO_DEMAND_GATEWAY") else SKIPPED


def url_of(folders, server):
    """Finds the server that takes changes: its socket is in one of the folders."""
    return f"postgresql://{server.user}@/{DATABASE}?" + urllib.parse.urlencode(
        {"host": ",".join(folders), "port": ",".join([server.port] * len(folders))})


class Engines:
    """PostgreSQL and the object store. Their data end with the context. The objects are in memory."""

    def __init__(self, store_bytes=2 << 30):
        self._store_bytes = store_bytes

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            self.primary = stack.enter_context(postgresql_server.PostgresqlServer())
            self.primary.make_database(DATABASE)
            self.standby = stack.enter_context(postgresql_server.PostgresqlServer(primary=self.primary))
            self.primary.confirm_by_standby()
            self.gateway = stack.enter_context(object_gateway.ObjectGateway(self._store_bytes))
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *failure):
        self._stack.__exit__(*failure)

    @property
    def url(self):
        return url_of((self.primary.folder, self.standby.folder), self.primary)

    @property
    def variables(self):
        """The credentials of the object store, for the environment of an instance."""
        return {"AWS_ACCESS_KEY_ID": self.gateway.access_key, "AWS_SECRET_ACCESS_KEY": self.gateway.secret_key}

    def sessions(self):
        """The sessions of the instances at the primary."""
        return self._number(f"SELECT count(*) FROM pg_stat_activity WHERE datname = '{DATABASE}'")

    def contents_above(self, size_bytes):
        """The stored contents with more bytes."""
        return self._number(f"SELECT count(*) FROM contents WHERE size_bytes > {size_bytes}", DATABASE)

    def schema(self):
        """The version of the schema, which the latest started version of the service wrote."""
        return self._number("SELECT version FROM schema_version", DATABASE)

    def change(self, statements):
        """All statements, or none."""
        self.primary.psql(statements, DATABASE)

    def _number(self, query, database="postgres"):
        return int(self.primary.psql(query, database).stdout)

    def has_synchronous_standby(self):
        return self.primary.psql("SELECT 1 FROM pg_stat_replication WHERE sync_state = 'sync'").stdout.strip() == "1"

    def fail_over(self):
        """Kills the primary and promotes the standby. The old primary comes back as the new standby."""
        old, new = self.primary, self.standby
        old.stop()
        new.promote()
        self.primary, self.standby = new, old
        old.follow(new)
        new.confirm_by_standby()


@contextlib.contextmanager
def whole_fleet(binary, folder, options=(), count=3, **stores):
    """A fleet that is not started. Its attribute `engines` has the running engines."""
    with Engines(**stores) as engines:
        fleet = Fleet(binary, folder / "service", folder / "service.log",
                      ("--database", engines.url, "--contents", engines.gateway.address, *options), count)
        fleet.environment = os.environ | engines.variables
        fleet.engines = engines
        try:
            yield fleet
        finally:
            fleet.close()

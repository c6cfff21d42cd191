#!/usr/bin/env python3
"""A private S3 object store for tests: Ceph's gateway with one monitor and one store, without root and systemd.

Usage: object_gateway.py COMMAND [ARGUMENT...]
Runs the command while the store answers. The variable KELVO_TEST_BUCKET holds the address of an empty bucket,
AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY the credentials. The exit code is the command's. It is 77 if a program of
the store is not installed; with the variable KELVO_DEMAND_GATEWAY it is then 1.
"""

import contextlib
import hashlib
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request
import uuid

PROGRAMS = ("radosgw", "radosgw-admin", "ceph", "ceph-mon", "ceph-osd", "monmaptool", "curl")
PACKAGES = "radosgw ceph-mon ceph-osd curl"
START_LIMIT_S = 60
SKIPPED = 77

# The gateway answers no request before these are small or off: they bound waits between the daemons.
CONFIGURATION = """
[global]
fsid = {fsid}
mon_host = v2:127.0.0.1:{monitor_port}/0
public_addr = 127.0.0.1
cluster_addr = 127.0.0.1
ms_bind_msgr1 = false
auth_cluster_required = none
auth_service_required = none
auth_client_required = none
auth_allow_insecure_global_id_reclaim = false
run_dir = {folder}
admin_socket = {folder}/$name.asok
crash_dir = {folder}
log_file = {folder}/$name.log
mon_cluster_log_file = {folder}/cluster.log
osd_crush_chooseleaf_type = 0
osd_pool_default_size = 1
osd_pool_default_min_size = 1
osd_pool_default_pg_num = 1
osd_pool_default_pgp_num = 1
osd_pool_default_pg_autoscale_mode = off
mon_allow_pool_size_one = true
mon_max_pg_per_osd = 1000
objecter_tick_interval = 0.1
[mon]
mon_data = {folder}/mon
mon_data_avail_warn = 0
mon_data_avail_crit = 0
paxos_propose_interval = 0.02
paxos_min_wait = 0.01
[osd]
osd_data = {folder}/osd
osd_objectstore = memstore
memstore_device_bytes = {store_bytes}
osd_class_load_list = *
osd_class_default_list = *
osd_mclock_skip_benchmark = true
[client.rgw]
rgw_data = {folder}/rgw
ms_mon_client_mode = crc
rgw_frontends = beast endpoint=127.0.0.1:{port} tcp_nodelay=1
rgw_thread_pool_size = 32
rgw_rados_pool_pg_num_min = 1
rgw_enable_usage_log = false
rgw_enable_lc_threads = false
rgw_run_sync_thread = false
rgw_override_bucket_index_max_shards = 1
"""


def missing_programs():
    return [program for program in PROGRAMS if shutil.which(program) is None]


def free_ports(count):
    """Ports that no program uses now."""
    with contextlib.ExitStack() as stack:
        sockets = [stack.enter_context(socket.socket()) for _ in range(count)]
        for each in sockets:
            each.bind(("127.0.0.1", 0))
        return [each.getsockname()[1] for each in sockets]


class ObjectGateway:
    """The objects are in memory and end with the context."""

    access_key = "kelvo-test"
    secret_key = "kelvo-test-secret"
    bucket = "kelvo-test"

    def __init__(self, store_bytes=2 << 30):
        """If the store is full, writes wait without an end."""
        self.store_bytes = store_bytes

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="kelvo-s3-")
        self.daemons = []
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for daemon in reversed(self.daemons):
            daemon.kill()  # the objects need not survive
            daemon.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    @property
    def address(self):
        return f"s3://{self.bucket}?endpoint={self.endpoint}"

    def _start(self):
        monitor_port, port = free_ports(2)
        self.endpoint = f"http://127.0.0.1:{port}"
        self.configuration = os.path.join(self.folder, "ceph.conf")
        fsid, store = str(uuid.uuid4()), str(uuid.uuid4())
        for name in ("mon", "osd", "rgw"):
            os.mkdir(os.path.join(self.folder, name))
        with open(self.configuration, "w", encoding="utf-8") as file:
            file.write(CONFIGURATION.format(fsid=fsid, monitor_port=monitor_port, port=port, folder=self.folder,
                                            store_bytes=self.store_bytes))
        map_file = os.path.join(self.folder, "monmap")
        self._run("monmaptool", "--create", "--fsid", fsid, "--addv", "a", f"[v2:127.0.0.1:{monitor_port}/0]", map_file)
        self._run("ceph-mon", "--mkfs", "-i", "a", "--monmap", map_file)
        self._daemon("ceph-mon", "-f", "-i", "a")
        self._run("ceph", "--connect-timeout", str(START_LIMIT_S), "osd", "new", store)
        self._run("ceph-osd", "-i", "0", "--mkfs", "--osd-uuid", store)
        self._daemon("ceph-osd", "-f", "-i", "0")
        self.start_gateway()
        self._run("radosgw-admin", "-n", "client.rgw", "--admin-socket=", "user", "create", "--uid", "kelvo",
                  "--display-name", "KELVO", "--access-key", self.access_key, "--secret-key", self.secret_key)
        self.wait_for_gateway()
        self._run("curl", "--silent", "--show-error", "--fail", "--request", "PUT", "--noproxy", "*",
                  "--aws-sigv4", "aws:amz:us-east-1:s3", "--user", f"{self.access_key}:{self.secret_key}",
                  "--header", f"x-amz-content-sha256: {hashlib.sha256().hexdigest()}",
                  f"{self.endpoint}/{self.bucket}")

    def start_gateway(self):
        """Call wait_for_gateway() before the first request."""
        self.gateway = self._daemon("radosgw", "-f", "-n", "client.rgw")

    def kill_gateway(self):
        """Kills the process that answers requests. The objects stay."""
        self.gateway.kill()
        self.gateway.wait()
        self.daemons.remove(self.gateway)

    def _environment(self):
        return {**os.environ, "CEPH_CONF": self.configuration}

    def _run(self, *command):
        done = subprocess.run(command, env=self._environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=START_LIMIT_S, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"{command[0]} failed: {done.stdout.decode(errors='replace')[-2000:]}")

    def _daemon(self, *command):
        # A daemon ends also if this program is killed.
        daemon = subprocess.Popen(("setpriv", "--pdeathsig", "KILL", *command), env=self._environment(),
                                  stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.daemons.append(daemon)
        return daemon

    def wait_for_gateway(self):
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        end = time.monotonic() + START_LIMIT_S
        while time.monotonic() < end and self.gateway.poll() is None:
            try:
                opener.open(self.endpoint, timeout=5).close()
                return
            except urllib.error.HTTPError:
                return  # it refuses, so it runs
            except OSError:
                time.sleep(0.05)
        raise RuntimeError("the gateway does not answer")


def main(command):
    if not command:
        print(__doc__, file=sys.stderr)
        return 2
    if missing := missing_programs():
        print(f"missing: {' '.join(missing)} (Debian packages {PACKAGES})", file=sys.stderr)
        return 1 if os.environ.get("KELVO_DEMAND_GATEWAY") else SKIPPED
    with ObjectGateway() as gateway:
        environment = {**os.environ, "KELVO_TEST_BUCKET": gateway.address,
                       "AWS_ACCESS_KEY_ID": gateway.access_key, "AWS_SECRET_ACCESS_KEY": gateway.secret_key}
        return subprocess.run(command, env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

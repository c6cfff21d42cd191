"""Start, stop and restart: nothing acknowledged is lost, and each refusal has a reason."""

import configparser
import fcntl
import json
import os
import resource
import signal
import socket
import sqlite3
import ssl
import subprocess
import tempfile
import threading
import time
import unittest
import unittest.mock

from kelvowire.events import END, EventStream
from kelvowire.farm import log_in, log_in_admin, make_inbox, add_farms_and_users
from kelvowire.http import Client, begin_upload, digest_header, metadata, raw_socket
from kelvowire.service import GUARD_SECONDS, Service, command, run_refused

CONTENT = bytes(range(256)) * 4000
UNIT = os.path.join(os.path.dirname(__file__), "..", "..", "packaging", "kelvo-service", "kelvo-service.service")


class LifecycleTest(unittest.TestCase):
    """Each test has its own service."""

    def start(self, *options):
        service = Service(*options)
        self.addCleanup(service.remove)
        return service.start()

    def start_with_farms(self, *options):
        service = self.start(*options)
        add_farms_and_users(service).close()
        return service

    def client(self, service, user="olga"):
        client = log_in(service, user)
        self.addCleanup(client.close)
        return client

    def back(self, service, client):
        """The client's session with the restarted service."""
        again = Client(service, client.token)
        self.addCleanup(again.close)
        return again


class Starting(LifecycleTest):
    def test_tells_systemd_when_it_is_ready_when_its_threads_work_and_when_it_stops(self):
        with tempfile.TemporaryDirectory() as folder:
            for path in (os.path.join(folder, "notify"), f"\0kelvo-wire-{os.getpid()}"):
                with self.subTest(path=path), socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as systemd:
                    systemd.settimeout(GUARD_SECONDS)
                    systemd.bind(path)
                    with unittest.mock.patch.dict(os.environ, NOTIFY_SOCKET=path.replace("\0", "@")):
                        service = self.start()
                    self.assertEqual(systemd.recv(100), b"READY=1")
                    service.signal(signal.SIGHUP)
                    self.assertEqual(systemd.recv(100), b"WATCHDOG=1")
                    service.signal()
                    while (state := systemd.recv(100)) == b"WATCHDOG=1":
                        pass
                    self.assertEqual(state, b"STOPPING=1")
                    self.assertEqual(service.wait(), 0)

    def test_writes_its_addresses_to_stdout_and_to_a_file(self):
        service = self.start()
        endpoints = json.loads(service.text("endpoints.json"))
        self.assertEqual(endpoints["api"], f"{service.host}:{service.port}")
        self.assertEqual(endpoints["metrics"], f"{service.metrics_host}:{service.metrics_port}")
        self.assertEqual(endpoints["pid"], service.process.pid)
        self.assertEqual((service.host, service.metrics_host), ("127.0.0.1", "127.0.0.1"))
        service.stop()
        service.check_log()

    def test_prints_one_line_only(self):
        service = self.start()
        service.signal()
        self.assertEqual(service.process.stdout.read(), "")
        self.assertEqual(service.wait(), 0)

    def test_listens_on_the_given_port(self):
        with socket.create_server(("127.0.0.1", 0)) as probe:
            port = probe.getsockname()[1]
        service = Service()
        self.addCleanup(service.remove)
        service.start(listen=f"127.0.0.1:{port}")
        self.assertEqual(service.port, port)
        service.stop()
        service.start(listen=f"127.0.0.1:{port}")  # At once again, although closed connections are still in TIME_WAIT.
        service.stop()

    def test_keeps_its_authority_and_its_administrator(self):
        service = self.start()
        authority, password = service.text("ca.pem"), service.admin_password()
        service.stop()
        service.start()
        self.assertEqual((service.text("ca.pem"), service.admin_password()), (authority, password))
        log_in_admin(service).close()
        service.stop()

    def test_uses_a_given_certificate(self):
        service = Service()
        self.addCleanup(service.remove)
        key, certificate = (os.path.join(service.root, name) for name in ("own.key", "own.pem"))
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                        "-keyout", key, "-out", certificate, "-days", "2", "-subj", "/CN=own.example",
                        "-addext", "subjectAltName=DNS:own.example"], check=True, capture_output=True)
        service.options = ("--cert", certificate, "--key", key)
        service.start()
        context = ssl.create_default_context(cafile=certificate)
        with socket.create_connection(("127.0.0.1", service.port), timeout=GUARD_SECONDS) as plain, \
                context.wrap_socket(plain, server_hostname="own.example") as connection:
            self.assertIn(("DNS", "own.example"), connection.getpeercert()["subjectAltName"])
        service.stop()


class Refusing(LifecycleTest):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)

    def refused(self, folder, *words, **arguments):
        code, out, err = run_refused(folder, **arguments)
        self.assertEqual((code, out), (2, ""), err)
        lines = [line for line in err.splitlines() if not line.startswith("{")]  # The other lines are the log.
        self.assertEqual(len(lines), 1, err)
        self.assertNotIn("boost", lines[0])
        self.assertTrue(any(word in lines[0].lower() for word in words), f"no word of {words} in {err!r}")

    def test_a_port_that_is_taken(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            address = f"127.0.0.1:{taken.getsockname()[1]}"
            self.refused(self.service.folder, "in use", "taken", address, listen=address)

    def test_a_folder_that_cannot_be_written(self):
        blocker = os.path.join(self.service.root, "file")
        with open(blocker, "w", encoding="utf-8"):
            pass
        for folder in (os.path.join(blocker, "data"), blocker, "/proc/kelvo"):
            with self.subTest(folder=os.path.basename(folder)):
                self.refused(folder, "folder", "director", "writ")

    def test_a_second_instance_on_the_same_folder(self):
        self.service.start()
        self.refused(self.service.folder, "instance", "already", "another", "running")
        log_in_admin(self.service).close()
        endpoints = json.loads(self.service.text("endpoints.json"))
        self.assertEqual(endpoints["pid"], self.service.process.pid)
        self.service.stop()

    def unlock_when_the_service_waits(self, lock):
        guard = time.monotonic() + GUARD_SECONDS
        while "waits-for-a-backup" not in self.service.log() and time.monotonic() < guard:
            pass
        fcntl.flock(lock, fcntl.LOCK_UN)

    def test_waits_for_a_backup_instead_of_refusing(self):
        self.service.start()
        self.service.stop()
        with open(self.service.path("lock"), "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_SH)
            release = threading.Thread(target=self.unlock_when_the_service_waits, args=(lock,))
            release.start()
            self.service.start()
            release.join()
        self.assertIn("waits-for-a-backup", self.service.log())
        self.service.stop()
        reader = sqlite3.connect(self.service.path("kelvo.sqlite"), isolation_level=None)
        reader.execute("BEGIN")
        reader.execute("SELECT * FROM farms").fetchall()
        self.service.start()
        reader.close()
        self.service.stop()

    def test_a_database_of_a_newer_schema(self):
        self.service.start()
        self.service.stop()
        database = sqlite3.connect(os.path.join(self.service.folder, "kelvo.sqlite"))
        database.execute("UPDATE schema_version SET version = version + 1000, oldest = version + 1000")
        database.commit()
        database.close()
        self.refused(self.service.folder, "schema", "newer", "version")

    def test_an_address_or_a_certificate_that_cannot_be_used(self):
        self.refused(self.service.folder, "host:port", listen="nowhere")
        code, out, err = run_refused(self.service.folder, "--cert", "/nowhere", "--key", "/nowhere")
        self.assertEqual((code, out), (2, ""), err)

    def test_a_wrong_command_line(self):
        for arguments in ([], ["serve"], ["serve", "--data", self.service.folder, "--listen", "nowhere"],
                          ["serve", "--data", self.service.folder, "--listen", "127.0.0.1:99999"], ["serve", "--bogus"],
                          ["nonsense"], ["serve", "--data", self.service.folder, "--listen", "127.0.0.1:0", "--password-cost", "x"]):
            with self.subTest(arguments=arguments):
                result = subprocess.run([command("")[0], *arguments], capture_output=True, text=True,
                                        timeout=GUARD_SECONDS, check=False)
                self.assertEqual(result.returncode, 2)
                self.assertTrue(result.stderr.strip() or result.stdout.strip())


class Unit(unittest.TestCase):
    def test_systemd_restarts_it_after_any_failure(self):
        unit = configparser.ConfigParser(strict=False, interpolation=None)
        with open(UNIT, encoding="utf-8") as file:
            unit.read_file(file)
        self.assertEqual(unit["Service"]["Restart"], "on-failure")
        self.assertNotIn("RestartPreventExitStatus", unit["Service"])
        self.assertEqual(unit["Unit"]["StartLimitIntervalSec"], "0")


class StartingAgain(LifecycleTest):
    def test_the_database_is_readable_by_its_owner_only(self):
        names = ("kelvo.sqlite", "kelvo.sqlite-wal", "kelvo.sqlite-shm")
        service = self.start()
        self.assertEqual({name: os.stat(service.path(name)).st_mode & 0o777 for name in names}, dict.fromkeys(names, 0o600))
        service.stop()
        os.chmod(service.path("kelvo.sqlite"), 0o644)  # as an older version left it
        service.start()
        self.assertEqual({name: os.stat(service.path(name)).st_mode & 0o777 for name in names}, dict.fromkeys(names, 0o600))

    def test_sessions_uploads_events_and_files_are_kept(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        cursor = olga.snapshot()["cursor"]
        file = olga.put("kept.zip", [inbox], CONTENT)[0]
        result = olga.create("key.zip", [inbox], 3, b"key", key="kept")
        location = olga.create("partial.zip", [inbox], len(CONTENT), CONTENT[:100_000], key="partial").headers["Location"]
        removed = olga.put("removed.zip", [inbox], b"removed")[0]
        olga.delete(f"/resources/{removed['id']}")
        before = olga.snapshot()
        service.stop()

        service.start()
        olga = self.back(service, olga)
        self.assertEqual(olga.snapshot(), before)
        self.assertEqual(olga.get(f"/resources/{file['id']}/content").body, CONTENT)
        with EventStream(olga, cursor) as stream:
            self.assertEqual([stream.next().name for _ in range(4)], ["file-added"] * 3 + ["file-removed"])
        again = olga.create("key.zip", [inbox], 3, key="kept")
        self.assertEqual(again.json()["files"], result.json()["files"])
        again = olga.create("partial.zip", [inbox], len(CONTENT), key="partial")
        self.assertEqual((again.headers["Location"], again.headers["Upload-Offset"]), (location, "100000"))
        done = olga.patch(location, 100_000, CONTENT[100_000:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        new = int(done.headers["Kelvo-File-Ids"])
        self.assertGreater(new, removed["id"])
        anna = self.client(service, "anna")
        self.assertEqual([entry["id"] for entry in anna.get("/bin").json()["files"]], [removed["id"]])
        anna.post(f"/bin/{removed['id']}/restore", 200)
        self.assertEqual(olga.get(f"/resources/{removed['id']}/content").body, b"removed")
        service.stop()

    def test_acknowledged_uploads_survive_a_kill(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        cursor = olga.snapshot()["cursor"]
        acknowledged = []
        for round_number in range(3):
            enough = threading.Event()

            def send(client=olga, round_number=round_number, enough=enough):
                try:
                    for n in range(10_000):
                        content = b"%d-%d" % (round_number, n) * 1000
                        acknowledged.append((client.put(f"{round_number}-{n}.zip", [inbox], content)[0], content))
                        if n == 10:
                            enough.set()
                except Exception:  # Any error that the kill causes here.
                    enough.set()
            thread = threading.Thread(target=send)
            thread.start()
            self.assertTrue(enough.wait(GUARD_SECONDS))
            service.kill()
            thread.join()
            service.start()
            olga = self.back(service, olga)
        self.assertGreaterEqual(len(acknowledged), 33)
        entries = {entry["id"]: entry for entry in olga.get(f"/resources/{inbox}").json()["entries"]}
        for file, content in acknowledged:
            self.assertEqual(entries[file["id"]], file)
            self.assertEqual(olga.get(f"/resources/{file['id']}/content").body, content)
        with EventStream(olga, cursor) as stream:
            told = [stream.expect("file-added").data["entry"]["id"] for _ in entries]
        self.assertEqual(told, list(entries))
        service.stop()

    def test_an_upload_resumes_after_a_kill(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        location = olga.create("killed.zip", [inbox], len(CONTENT)).headers["Location"]
        with begin_upload(service, olga.token, "PATCH", location, len(CONTENT), {"Upload-Offset": "0"}, CONTENT[:200_000]):
            service.kill()
        service.start()
        olga = self.back(service, olga)
        offset = olga.offset(location)
        self.assertLessEqual(offset, 200_000)
        self.assertEqual(olga.get(f"/resources/{inbox}").json()["entries"], [])
        done = olga.patch(location, offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        service.stop()

    def test_an_upload_arrives_though_each_of_its_attempts_is_killed(self):
        service = self.start_with_farms()
        olga = self.client(service)
        content = CONTENT[:200_000]
        location = olga.create("slow.zip", [make_inbox(olga)], len(content)).headers["Location"]
        part = service.path("uploads", location.rsplit("/", 1)[1])
        offset = 0
        while len(content) - offset > 50_000:
            # The service receives 50 kB, less than any buffer holds, and is then killed.
            attempt = begin_upload(service, olga.token, "PATCH", location, len(content) - offset,
                                   {"Upload-Offset": str(offset)}, content[offset:offset + 50_000])
            self.await_size(part, offset + 50_000)
            service.kill()
            attempt.close()
            service.start()
            olga = self.back(service, olga)
            offset = olga.offset(location)
            self.assertEqual(os.path.getsize(part), offset)
        done = olga.patch(location, offset, content[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(content))
        service.stop()

    def test_an_upload_whose_commit_failed_is_finished_after_a_kill(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        location = olga.create("whole.zip", [inbox], len(CONTENT)).headers["Location"]
        service.stop()
        service.execute("CREATE TRIGGER stop BEFORE INSERT ON files BEGIN SELECT RAISE(ABORT, 'stop'); END", [()])
        service.start()
        olga = self.back(service, olga)
        empty = {"Upload-Length": "0", "Upload-Metadata": metadata("empty.zip", [inbox]), "Idempotency-Key": "empty"}
        olga.tus("PATCH", location, 500, headers={"Upload-Offset": "0"}, body=CONTENT, check=False)
        for _ in range(2):
            olga.tus("HEAD", location, 500, check=False)
            olga.tus("POST", "/uploads", 500, headers=empty, check=False)
        service.kill()
        service.execute("DROP TRIGGER stop", [()])
        service.start()
        olga = self.back(service, olga)
        done = olga.tus("HEAD", location, 200)
        self.assertEqual((done.headers["Upload-Offset"], done.headers["Repr-Digest"]), (str(len(CONTENT)), digest_header(CONTENT)))
        self.assertEqual(olga.get(f"/resources/{done.headers['Kelvo-File-Ids']}/content").body, CONTENT)
        self.assertEqual(olga.tus("POST", "/uploads", 201, headers=empty).json()["files"][0]["size"], 0)
        self.assertEqual([entry["name"] for entry in olga.get(f"/resources/{inbox}").json()["entries"]],
                         ["whole.zip", "empty.zip"])
        service.stop()

    def await_size(self, file, wanted):
        guard = time.monotonic() + GUARD_SECONDS
        while not os.path.exists(file) or os.path.getsize(file) < wanted:
            if time.monotonic() > guard:
                raise AssertionError(f"the upload has {os.path.getsize(file)} bytes on the disk instead of {wanted}")


class Interrupted(LifecycleTest):
    def test_a_user_is_shut_out_before_the_files_are_passed_on(self):
        service = self.start_with_farms()
        olga, anna = self.client(service), self.client(service, "anna")
        users = {user["name"]: user["id"] for user in anna.get("/users").json()["users"]}
        file = olga.put("a.zip", [make_inbox(olga)], CONTENT)[0]["id"]
        path = f"/users/{users['olga']}?heir={users['piet']}"
        service.stop()
        service.execute("CREATE TRIGGER stop BEFORE UPDATE OF inbox_id ON files BEGIN SELECT RAISE(ABORT, 'stop'); END", [()])
        service.start()
        anna = self.back(service, anna)
        anna.delete(f"/users/{users['olga']}", 409)  # Without an heir nothing happens.
        self.back(service, olga).get("/account")
        anna.delete(path, 500, check=False)
        self.back(service, olga).get("/account", 401)
        self.assertEqual([entry["object"]["id"] for entry in anna.get("/audit?action=user-delete").json()["entries"]],
                         [users["olga"]])
        service.stop()
        service.execute("DROP TRIGGER stop", [()])
        service.start()
        self.back(service, anna).delete(path)
        self.assertEqual(self.client(service, "piet").get(f"/resources/{file}/content").body, CONTENT)
        service.stop()


class Full(LifecycleTest):
    """Requests refused for lack of room or connections, and their success when there is room again."""

    def problem(self, answer, status, name):
        self.assertEqual((answer.status, answer.problem), (status, name), answer)

    def test_an_upload_resumes_after_a_full_disk(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        content = CONTENT * 8
        before = resource.prlimit(service.process.pid, resource.RLIMIT_FSIZE)
        resource.prlimit(service.process.pid, resource.RLIMIT_FSIZE, (len(content) // 2, before[1]))
        self.problem(olga.create("big.zip", [inbox], len(content), content, key="big", expect=507), 507, "insufficient-storage")
        self.assertEqual(olga.get(f"/resources/{inbox}").json()["entries"], [])
        small = olga.put("small.zip", [inbox], b"small")[0]
        self.assertEqual(olga.get(f"/resources/{small['id']}/content").body, b"small")
        again = olga.create("big.zip", [inbox], len(content), key="big")
        offset = int(again.headers["Upload-Offset"])
        location = again.headers["Location"]
        self.problem(olga.patch(location, offset, content[offset:], expect=507), 507, "insufficient-storage")

        resource.prlimit(service.process.pid, resource.RLIMIT_FSIZE, before)
        offset = olga.offset(location)
        self.assertGreater(offset, 0)
        done = olga.patch(location, offset, content[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(content))
        service.stop()
        service.check_log()

    def test_connections_above_the_limit_are_answered_busy(self):
        service = self.start_with_farms("--max-connections", "2")
        taken = [raw_socket(service) for _ in range(2)]  # After the handshake, so the service counts them.
        client = Client(service)
        answer = client.request("GET", "/account", 503)
        self.problem(answer, 503, "busy")
        self.assertTrue(int(answer.headers["Retry-After"]))
        for connection in taken:
            connection.close()
        guard = time.monotonic() + GUARD_SECONDS
        while (answer := client.request("GET", "/account", (401, 503))).status == 503:  # Until the service has noticed the close.
            self.assertLess(time.monotonic(), guard)
        client.close()
        service.stop()


class Stopping(LifecycleTest):
    def test_both_signals_stop_it_with_exit_code_0(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            service = self.start()
            service.signal(number)
            self.assertEqual(service.wait(), 0)
            service.check_log()

    def test_open_streams_and_idle_connections_do_not_delay_the_stop(self):
        service = self.start_with_farms()
        olga = self.client(service)
        olga.get("/account")
        with EventStream(olga) as stream, socket.create_connection(("127.0.0.1", service.port)):
            service.stop()
            self.assertIs(stream.next(), END)

    def test_a_running_upload_stops_and_resumes_after_the_restart(self):
        service = self.start_with_farms()
        olga = self.client(service)
        inbox = make_inbox(olga)
        location = olga.create("stopped.zip", [inbox], len(CONTENT)).headers["Location"]
        with begin_upload(service, olga.token, "PATCH", location, len(CONTENT), {"Upload-Offset": "0"}, CONTENT[:200_000]):
            reached = olga.await_offset(location, 1, at_least=True)
            service.stop()
        service.check_log()
        service.start()
        olga = self.back(service, olga)
        offset = olga.offset(location)
        self.assertGreaterEqual(offset, reached)
        self.assertLessEqual(offset, 200_000)
        done = olga.patch(location, offset, CONTENT[offset:])
        self.assertEqual(done.headers["Repr-Digest"], digest_header(CONTENT))
        service.stop()

    def test_an_unread_download_does_not_delay_the_stop(self):
        service = self.start_with_farms()
        olga = self.client(service)
        file = olga.put("unread.zip", [make_inbox(olga)], CONTENT * 20)[0]["id"]
        olga.connection().request("GET", f"/kelvo-api/v1/resources/{file}/content", headers=olga.headers())
        service.stop()


if __name__ == "__main__":
    unittest.main()

"""The operator's commands on a real data folder: verify, backup and restore, beside a working service."""

import os
import shutil
import subprocess
import threading
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import log_in, make_inbox, add_farms_and_users
from kelvowire.http import Client, sha256_hex
from kelvowire.service import BINARY, GUARD_SECONDS, Service, run_refused

MOST_CONTENTS = 60  # for each client
LONG_GUARD_SECONDS = 240  # under a sanitizer, on a busy machine, a backup takes more than a minute


def run(*arguments):
    """(exit code, stdout, stderr)"""
    result = subprocess.run([BINARY, *arguments], capture_output=True, text=True, timeout=LONG_GUARD_SECONDS, check=False)
    return result.returncode, result.stdout, result.stderr


class Load:
    """Clients that upload, remove and read until the block ends."""

    def __init__(self, service, inboxes):
        self.kept = {}  # Id -> content of each acknowledged file that was not removed.
        self.failures = []
        self._service = service
        self._stop = threading.Event()
        self._lock = threading.Lock()  # Guards kept.
        self._enough = threading.Semaphore(0)
        self._threads = [threading.Thread(target=self._work, args=(user, inbox, number))
                         for number, (user, inbox) in enumerate(inboxes)]

    def __enter__(self):
        for thread in self._threads:
            thread.start()
        self.wait(20)
        return self

    def __exit__(self, *_):
        self._stop.set()
        for thread in self._threads:
            thread.join()

    def wait(self, uploads):
        """Waits until `uploads` more uploads have been acknowledged."""
        for _ in range(uploads):
            if not self._enough.acquire(timeout=GUARD_SECONDS):
                raise AssertionError(f"the load has stalled: {self.failures}")

    def snapshot(self):
        with self._lock:
            return dict(self.kept)

    def _work(self, user, inbox, number):
        client = log_in(self._service, user)
        try:
            count = 0
            while not self._stop.is_set():
                count += 1
                # A bounded number of contents: on a slow machine a backup would never catch up with a growing load.
                kind = count % MOST_CONTENTS
                content = b"%d-%d " % (number, kind) * (1 + kind % 7 * 3000)
                file = client.put(f"{number}-{count}.zip", [inbox], content)[0]["id"]
                if count % 3 == 0:
                    client.delete(f"/resources/{file}")
                else:
                    with self._lock:
                        self.kept[file] = content
                if count % 5 == 0:
                    client.create(f"open-{number}-{count}.zip", [inbox], 1000, b"part")
                self._enough.release()
        except Exception as failure:  # The test reports it, because it waits for progress.
            self.failures.append(failure)
        finally:
            client.close()


class MaintenanceTest(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.remove)
        self.service.start()
        add_farms_and_users(self.service).close()
        self.olga = self.client("olga")
        self.inbox = make_inbox(self.olga)

    def client(self, user, service=None):
        client = log_in(service or self.service, user)
        self.addCleanup(client.close)
        return client

    def backup(self, name="backup"):
        return os.path.join(self.service.root, name)

    def content_path(self, content):
        digest = sha256_hex(content)
        return self.service.path("content", digest[:2], digest)

    def succeed(self, *arguments):
        code, out, err = run(*arguments)
        self.assertEqual((code, err), (0, ""), out)
        return out

    def restored(self, backup):
        """Restores the backup into a new data folder; returns its service, not started."""
        service = Service()
        self.addCleanup(service.remove)
        self.succeed("restore", "--from", backup, "--data", service.folder)
        self.assertIn("0 damaged, 0 leftovers", self.succeed("verify", "--data", service.folder))
        return service


class UnderLoad(MaintenanceTest):
    def test_backups_are_consistent_and_hold_files_acknowledged_before(self):
        piet = self.client("piet")
        anna = self.client("anna")
        inboxes = [("olga", self.inbox), ("piet", make_inbox(piet)), ("anna", make_inbox(anna, "Curves"))]
        expected = []
        with Load(self.service, inboxes) as load:
            for number in range(3):
                expected.append(load.snapshot())
                self.succeed("backup", "--data", self.service.folder, "--to", self.backup(f"b{number}"))
                out = self.succeed("verify", "--data", self.service.folder)
                self.assertIn("not judged", out)
                load.wait(5)
        self.assertEqual(load.failures, [])
        self.assertGreater(len(expected[2]), len(expected[0]))
        for number, before in enumerate(expected):
            service = self.restored(self.backup(f"b{number}"))
            service.start()
            office = self.client("anna", service)
            for file, content in before.items():
                self.assertEqual(office.get(f"/resources/{file}/content").body, content)
            service.stop()
        self.service.stop()
        self.assertIn("0 damaged, 0 leftovers", self.succeed("verify", "--data", self.service.folder))
        self.service.check_log()


class Restored(MaintenanceTest):
    def test_sessions_uploads_and_the_authority_still_work(self):
        file = self.olga.put("kept.zip", [self.inbox], b"kept")[0]["id"]
        location = self.olga.create("open.zip", [self.inbox], 6, b"abc").headers["Location"]
        old_cursor = self.olga.snapshot()["cursor"]
        self.succeed("backup", "--data", self.service.folder, "--to", self.backup())
        later = self.olga.put("later.zip", [self.inbox], b"after the backup")[0]["id"]
        service = self.restored(self.backup())
        self.assertEqual(service_text(service, "ca.pem"), self.service.text("ca.pem"))
        service.start()
        olga = Client(service, self.olga.token)
        self.addCleanup(olga.close)
        self.assertEqual(olga.get(f"/resources/{file}/content").body, b"kept")
        olga.patch(location, 3, b"def")
        olga.get(f"/resources/{later}", 404)
        self.assertEqual(olga.get("/events", 410, headers={"Last-Event-ID": old_cursor}).problem, "cursor-too-old")
        with EventStream(olga, olga.snapshot()["cursor"]) as stream:
            new = olga.put("new.zip", [self.inbox], b"new")[0]["id"]
            self.assertEqual(stream.expect("file-added").data["entry"]["id"], new)
        self.assertGreater(new, later)
        service.stop()

    def test_a_repeat_of_an_upload_after_the_backup_is_stored_again(self):
        self.succeed("backup", "--data", self.service.folder, "--to", self.backup())
        self.olga.create("lost.zip", [self.inbox], 4, b"lost", key="nonce")
        service = self.restored(self.backup())
        service.start()
        olga = Client(service, self.olga.token)
        self.addCleanup(olga.close)
        again = olga.create("lost.zip", [self.inbox], 4, b"lost", key="nonce")
        self.assertIsNone(again.headers["Kelvo-Repeated"])
        file = again.json()["files"][0]["id"]
        self.assertEqual(olga.get(f"/resources/{file}/content").body, b"lost")
        service.stop()

    def test_backs_up_the_last_commits_of_a_killed_service(self):
        content = b"committed before the kill"
        file = self.olga.put("last.zip", [self.inbox], content)[0]["id"]
        self.service.kill()
        self.assertTrue(os.path.getsize(self.service.path("kelvo.sqlite-wal")))
        self.succeed("backup", "--data", self.service.folder, "--to", self.backup())
        self.assertEqual([name for name in os.listdir(self.backup()) if name.startswith("kelvo.sqlite")], ["kelvo.sqlite"])
        self.succeed("restore", "--force", "--from", self.backup(), "--data", self.service.folder)
        self.service.start()
        olga = Client(self.service, self.olga.token)
        self.addCleanup(olga.close)
        self.assertEqual(olga.get(f"/resources/{file}/content").body, content)
        self.service.stop()

    def test_restores_in_place_after_damage(self):
        content = b"precious" * 1000
        file = self.olga.put("kept.zip", [self.inbox], content)[0]["id"]
        self.succeed("backup", "--data", self.service.folder, "--to", self.backup())
        self.service.stop()
        os.truncate(self.service.path("kelvo.sqlite"), 5000)
        os.remove(self.content_path(content))
        code, out, err = run("verify", "--data", self.service.folder)
        self.assertEqual((code, err), (1, ""))
        self.assertIn("damaged: database", out)
        code, _, err = run("restore", "--from", self.backup(), "--data", self.service.folder)
        self.assertEqual(code, 2)
        self.assertIn("not empty", err)
        self.succeed("restore", "--force", "--from", self.backup(), "--data", self.service.folder)
        self.succeed("verify", "--data", self.service.folder)
        self.service.start()
        olga = Client(self.service, self.olga.token)
        self.addCleanup(olga.close)
        self.assertEqual(olga.get(f"/resources/{file}/content").body, content)
        self.service.stop()


class WrongDatabase(MaintenanceTest):
    def files(self):
        return sorted(name for part in ("content", "uploads") for _, _, names in os.walk(self.service.path(part))
                      for name in names)

    def test_the_service_does_not_start_without_its_database(self):
        file = self.olga.put("kept.zip", [self.inbox], b"kept")[0]["id"]
        self.olga.create("open.zip", [self.inbox], 6, b"abc")
        self.service.stop()
        before = self.files()
        self.assertEqual(len(before), 2)
        database, aside = self.service.path("kelvo.sqlite"), self.service.path("aside")
        os.rename(database, aside)
        for missing in (True, False):
            if not missing:
                with open(database, "wb"):  # An empty file counts as a missing database.
                    pass
            code, out, err = run_refused(self.service.folder)
            self.assertEqual((code, out), (2, ""))
            self.assertIn("kelvo.sqlite is missing", err)
            self.assertEqual(self.files(), before)
        os.rename(aside, database)
        self.assertIn("0 damaged, 0 leftovers", self.succeed("verify", "--data", self.service.folder))
        self.service.start()
        olga = Client(self.service, self.olga.token)
        self.addCleanup(olga.close)
        self.assertEqual(olga.get(f"/resources/{file}/content").body, b"kept")
        self.service.stop()

    def test_an_older_database_does_not_remove_newer_files(self):
        self.service.stop()
        older = self.service.path("older")
        shutil.copyfile(self.service.path("kelvo.sqlite"), older)
        self.service.start()
        olga = Client(self.service, self.olga.token)
        self.addCleanup(olga.close)
        file = olga.put("kept.zip", [self.inbox], b"kept")[0]["id"]
        olga.create("open.zip", [self.inbox], 6, b"abc")
        self.service.stop()
        before = self.files()
        newer = self.service.path("newer")
        os.rename(self.service.path("kelvo.sqlite"), newer)
        os.rename(older, self.service.path("kelvo.sqlite"))
        # The start begins a clean-up, and the stop waits for its present step.
        self.service.start()
        self.service.stop()
        self.assertEqual(self.files(), before)
        os.rename(newer, self.service.path("kelvo.sqlite"))
        self.service.start()
        olga = Client(self.service, self.olga.token)
        self.addCleanup(olga.close)
        self.assertEqual(olga.get(f"/resources/{file}/content").body, b"kept")
        self.service.stop()


def service_text(service, name):
    with open(os.path.join(service.folder, name), encoding="utf-8") as file:
        return file.read()


class Verifying(MaintenanceTest):
    def test_finds_damage_beside_the_running_service_and_after(self):
        content = b"a field of wheat" * 100
        self.olga.put("field.zip", [self.inbox], content)
        with open(self.content_path(content), "r+b") as file:
            file.write(b"X")
        for running in (True, False):
            code, out, err = run("verify", "--data", self.service.folder)
            self.assertEqual((code, err), (1, ""))
            self.assertEqual(sum(line.startswith("damaged: content " + sha256_hex(content)) for line in out.splitlines()), 1)
            self.assertIn("1 damaged", out)
            self.assertEqual("not judged" in out, running)
            if running:
                self.service.stop()
        code, out, _ = run("backup", "--data", self.service.folder, "--to", self.backup())
        self.assertEqual(code, 1)
        self.assertIn("damaged: content", out)

    def test_an_unfinished_upload_is_not_damage(self):
        self.olga.create("open.zip", [self.inbox], 1000, b"part")
        self.succeed("verify", "--data", self.service.folder)
        self.service.kill()
        self.succeed("verify", "--data", self.service.folder)


class Printing(MaintenanceTest):
    def commands(self):
        data = ["--data", self.service.folder]
        return (["--help"], ["--version"], ["verify", "--help"], ["verify", *data], ["ready", *data], ["tls", "status", *data],
                ["backup", *data, "--to", self.backup()], ["clock", "confirm", *data])

    def test_a_command_fails_if_its_output_cannot_be_written(self):
        for arguments in self.commands():
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                result = subprocess.run([BINARY, *arguments], stdout=full, stderr=subprocess.PIPE, text=True,
                                        timeout=GUARD_SECONDS, check=False)
                self.assertEqual((result.returncode, result.stderr),
                                 (3, "kelvo-service: could not write the output: No space left on device\n"))
        self.assertIn(" 0 damaged", self.succeed("restore", "--from", self.backup(), "--data", self.backup("again")))

    def test_a_command_ends_without_a_message_if_its_reader_has_ended(self):
        for arguments in self.commands()[:4]:
            reader, writer = os.pipe()
            os.close(reader)
            with self.subTest(arguments=arguments), open(writer, "wb") as closed:
                result = subprocess.run([BINARY, *arguments], stdout=closed, stderr=subprocess.PIPE, text=True,
                                        timeout=GUARD_SECONDS, check=False)
                self.assertEqual((result.returncode, result.stderr), (3, ""))


class Refusing(MaintenanceTest):
    def test_a_refusal_has_one_line_with_the_reason(self):
        self.succeed("backup", "--data", self.service.folder, "--to", self.backup())
        nothing = self.backup("nothing")
        for arguments, word in ((("verify", "--data", nothing), "no database"),
                                (("backup", "--data", nothing, "--to", self.backup("b")), "no database"),
                                (("backup", "--data", self.service.folder, "--to", self.backup()), "exists and is not"),
                                (("restore", "--from", nothing, "--data", nothing), "not a complete backup"),
                                (("restore", "--from", self.backup(), "--data", self.service.folder, "--force"), "another instance")):
            with self.subTest(arguments=arguments[0], word=word):
                code, out, err = run(*arguments)
                self.assertEqual((code, out), (2, ""))
                self.assertEqual(len(err.splitlines()), 1)
                self.assertIn(word, err)
        self.olga.get("/account")

    def test_the_help_of_each_command_names_its_options(self):
        for command, options in (("serve", ("--data", "--stall-timeout", "--max-connections")), ("verify", ("--data",)),
                                 ("backup", ("--data", "--to")), ("restore", ("--from", "--data", "--force"))):
            out = self.succeed(command, "--help")
            for option in options:
                self.assertIn(option, out)


if __name__ == "__main__":
    unittest.main()

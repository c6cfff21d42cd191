"""kelvoctl against a running service: every command, its exit codes, and its retries on a bad link."""

import hashlib
import json
import os
import sqlite3
import stat
import subprocess
import tempfile
import threading
import unittest

from kelvowire.farm import PASSWORD, WireTest, log_in_admin, make_inbox
from kelvowire.http import Client
from kelvowire.proxy import CuttingProxy
from kelvowire.service import GUARD_SECONDS, Service

TOOL = os.environ["KELVOCTL"]
OK, REFUSED, USAGE, UNREACHABLE, LOCAL = range(5)
CONTENT = os.urandom(1_500_000)


class Tool:
    """The tool with its own home folder for its session and the local files."""

    def __init__(self, service, port=None):
        self.home = tempfile.mkdtemp(prefix="kelvoctl-", dir=service.root)
        self.ca = service.ca
        self.server = f"localhost:{port or service.port}"
        self.session = os.path.join(self.home, ".config", "kelvoctl", "session.json")

    def environment(self, extra=None):
        return {"HOME": self.home, "PATH": os.environ["PATH"], **(extra or {}),
                **{name: os.environ[name] for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS") if name in os.environ}}

    def run(self, *arguments, code=OK, env=None):
        """Returns (stdout, stderr). There is no stdin and no terminal, so the tool cannot wait for input."""
        result = subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=GUARD_SECONDS, check=False,
                                cwd=self.home, env=self.environment(env), stdin=subprocess.DEVNULL, start_new_session=True)
        if result.returncode != code:
            raise AssertionError(f"{arguments} -> {result.returncode} instead of {code}\n{result.stdout}{result.stderr}")
        if code != OK and not result.stderr.startswith("kelvoctl: "):
            raise AssertionError(f"{arguments} -> {code} and prints {result.stderr!r}")
        return result.stdout, result.stderr

    def json(self, *arguments):
        """Returns the one line of JSON that a command prints."""
        return json.loads(self.run("--json", *arguments)[0])

    def into(self, output, *arguments):
        """Runs with this stdout."""
        return subprocess.run([TOOL, *arguments], stdout=output, stderr=subprocess.PIPE, text=True, timeout=GUARD_SECONDS,
                              check=False, cwd=self.home, env=self.environment(), stdin=subprocess.DEVNULL)

    def start(self, *arguments):
        return subprocess.Popen([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, cwd=self.home,
                                env=self.environment(), stdin=subprocess.DEVNULL, start_new_session=True)

    def log_in(self, user, password=PASSWORD):
        return self.run("--server", self.server, "--ca", self.ca, "login", user, env={"KELVOCTL_PASSWORD": password})

    def write(self, name, content):
        path = os.path.join(self.home, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def read(self, name):
        with open(os.path.join(self.home, name), "rb") as file:
            return file.read()


class KelvoctlTest(WireTest):
    def tool(self, user=None, port=None):
        tool = Tool(self.service, port)
        if user:
            tool.log_in(user, self.service.admin_password() if user == "admin" else PASSWORD)
            with open(tool.session, encoding="utf-8") as file:
                self.service.secrets.add(json.load(file)["token"])
        return tool


    def start_watch(self, tool, *arguments):
        """Starts a watch and waits until it is connected. A watch that hangs is killed."""
        watch = tool.start(*arguments)
        guard = threading.Timer(GUARD_SECONDS, watch.kill)
        guard.start()
        self.addCleanup(guard.cancel)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.stderr.close)
        self.addCleanup(watch.kill)
        self.assertIn("watching", watch.stderr.readline())
        return watch

    @staticmethod
    def ended(process):
        return process.wait(timeout=GUARD_SECONDS)


class Commands(KelvoctlTest):
    def test_the_administrator_manages_farms_and_users(self):
        admin = self.tool("admin")
        self.assertIn("New Farm", admin.run("farm", "add", "New Farm")[0])
        self.assertIn("New Farm", [farm["name"] for farm in admin.json("farm", "list")])
        password = admin.write("password", b"a password of nora\nsecond line")
        self.service.secrets.add("a password of nora")
        user = admin.json("user", "add", "nora", "--farm", "New Farm", "--role", "office", "--new-password-file", password)
        self.assertEqual((user["name"], user["role"], user["farm"]["name"]), ("nora", "office", "New Farm"))
        self.assertIn(user, admin.json("user", "list"))
        self.assertEqual(admin.json("user", "list", "--farm", "New Farm"), [user])
        self.assertIn("nora (office of New Farm)", admin.run("user", "list")[0])
        nora = Tool(self.service)
        nora.log_in("nora", "a password of nora")
        admin.run("user", "disable", "nora")
        nora.run("ls", code=REFUSED)
        admin.run("user", "enable", "nora")
        admin.run("user", "passwd", "nora", env={"KELVOCTL_NEW_PASSWORD": "nora's other one"})
        with self.assertRaisesRegex(AssertionError, "-> 1 instead of 0"):
            nora.log_in("nora", "a password of nora")
        nora.log_in("nora", "nora's other one")
        admin.run("farm", "add", "New Farm", code=REFUSED)
        admin.run("user", "disable", "nobody at all", code=REFUSED)
        admin.run("user", "add", "x", "--role", "office", code=USAGE, env={"KELVOCTL_NEW_PASSWORD": "long enough"})
        admin.run("user", "add", "x", "--farm", "New Farm", "--role", "boss", code=USAGE)

    def test_the_office_manages_operators_and_reads_the_audit_trail(self):
        anna, admin = self.tool("anna"), self.tool("admin")
        other = {"KELVOCTL_NEW_PASSWORD": "nils' first one"}
        self.service.secrets.update(("nils' first one", "nils' other one"))
        user = json.loads(anna.run("--json", "user", "add", "nils", env=other)[0])
        self.assertEqual((user["role"], user["farm"]["name"]), ("operator", "Hill Farm"))
        self.assertEqual(json.loads(anna.run("--json", "audit", "--count", "1", "--action", "user-add")[0])["object"]["name"],
                         "nils")
        nils = Tool(self.service)
        nils.log_in("nils", "nils' first one")
        nils.write("field.zip", CONTENT)
        number = nils.json("put", "field.zip", "--to", "nils/Curves")["ids"][0]
        self.assertIn("Renamed to north.zip.", nils.run("mv", str(number), "north.zip")[0])
        nils.run("passwd", env={"KELVOCTL_PASSWORD": "nils' first one", "KELVOCTL_NEW_PASSWORD": "nils' other one"})
        self.assertIn("(this session)", nils.run("session", "list")[0])
        nils.log_in("nils", "nils' other one")
        old, _ = (session["id"] for session in anna.json("session", "list", "--user", "nils"))
        anna.run("session", "end", old, code=REFUSED)
        anna.run("session", "end", old, "--user", "nils")
        self.assertEqual([(session["id"] == old, session["current"]) for session in nils.json("session", "list")], [(False, True)])
        document = anna.json("user", "export", "nils")
        self.assertEqual([entry["name"] for inbox in document["inboxes"] for entry in inbox["entries"]], ["north.zip"])
        self.assertEqual(document["positions"], [])
        self.assertIn("password-change", [entry["action"] for entry in document["audit"]])
        anna.run("user", "erase-track", "nils")
        anna.run("user", "rename", "nils", "niels")
        anna.run("user", "role", "niels", "office", code=REFUSED)
        anna.run("user", "delete", "niels", code=REFUSED)
        anna.run("user", "delete", "niels", "--heir", "olga")
        nils.run("session", "list", code=REFUSED)
        self.assertIn("login done", admin.run("audit", "--count", "500")[0])
        admin.run("farm", "add", "Short Farm")
        admin.run("farm", "rename", "Short Farm", "Brief Farm")
        admin.run("farm", "delete", "Brief Farm", "--confirm", "Short Farm", code=REFUSED)
        admin.run("farm", "delete", "Brief Farm", "--confirm", "Brief Farm")
        self.assertNotIn("Brief Farm", [farm["name"] for farm in admin.json("farm", "list")])

    def test_a_file_is_put_listed_fetched_removed_and_restored(self):
        olga, anna = self.tool("olga"), self.tool("anna")
        olga.write("field one.zip", CONTENT)
        result = olga.json("put", "field one.zip", "--to", "olga/AB Lines")  # put makes the caller's own inbox.
        self.assertEqual((result["name"], len(result["ids"]), result["warnings"]), ("field one.zip", 1, []))
        number = result["ids"][0]
        project = olga.json("ls", "AB Lines", "--owner", "olga")[0]
        entry = project["resources"][0]["entries"][0]
        self.assertEqual((entry["id"], entry["sha256"]), (number, hashlib.sha256(CONTENT).hexdigest()))
        text = anna.run("ls")[0]
        self.assertIn("AB Lines / olga", text)
        self.assertIn("field one.zip", text)
        self.assertEqual(anna.run("get", str(number))[0], "field one.zip\n")
        self.assertEqual(anna.read("field one.zip"), CONTENT)
        self.assertEqual([name for name in os.listdir(anna.home) if name.endswith(".part")], [])
        olga.run("rm", str(number))
        olga.run("get", str(number), "-o", "none", code=REFUSED)
        self.assertFalse(os.path.exists(os.path.join(olga.home, "none")))
        self.assertEqual([(file["id"], file["deleted_by"]) for file in anna.json("bin", "list")], [(number, "olga")])
        self.assertIn("field one.zip", anna.run("bin", "list")[0])
        self.assertEqual(anna.json("bin", "restore", str(number)), entry)
        olga.run("get", str(number), "-o", "back.zip")
        self.assertEqual(olga.read("back.zip"), CONTENT)
        olga.run("bin", "list", code=REFUSED)

    def test_an_operator_exports_their_own_data(self):
        olga, anna = self.tool("olga"), self.tool("anna")
        own = olga.json("user", "export", "olga")
        self.assertEqual((own["user"]["name"], "audit" in own), ("olga", False))
        self.assertEqual(own["inboxes"], anna.json("user", "export", "olga")["inboxes"])
        self.assertIn("audit", anna.json("user", "export", "anna"))
        olga.run("user", "export", "piet", code=REFUSED)

    def test_the_office_admits_a_user_whom_a_stranger_holds_back(self):
        anna = self.user("anna")
        held = anna.post("/users", json={"name": "held", "password": PASSWORD, "role": "operator"}).json()["id"]
        client = Client(self.service)
        self.addCleanup(client.close)
        right = {"user": "held", "password": PASSWORD}
        for number in range(5):
            client.post("/sessions", 401, json={"user": "held", "password": f"wrong {number}"})
        client.post("/sessions", 429, json=right)
        self.user("olga").post(f"/users/{held}/admit", 403)
        self.user("oda").post(f"/users/{held}/admit", 404)
        client.post("/sessions", 429, json=right)
        self.tool("anna").run("user", "admit", "held")
        client.post("/sessions", 401, json={"user": "held", "password": "wrong again"})
        client.post("/sessions", 201, json=right)
        self.assertIn(("user-admit", held), [(entry["action"], (entry["object"] or {}).get("id"))
                                             for entry in anna.get("/audit").json()["entries"]])

    def test_the_administrator_sets_quotas_and_the_bin_is_purged(self):
        admin, anna, olga = self.tool("admin"), self.tool("anna"), self.tool("olga")
        report = admin.json("farm", "quota", "Hill Farm", "--files", "9", "--user-sessions", "50")
        self.assertEqual((report["quota"]["farm"]["files"], report["quota"]["user"]["sessions"]), (9, 50))
        self.assertRegex(admin.run("farm", "quota", "Hill Farm")[0], r"Hill Farm:.* of 9 files")
        again = admin.json("farm", "quota", "Hill Farm", "--files", "default", "--user-sessions", "default")
        self.assertGreater(again["quota"]["farm"]["files"], 9)
        self.assertRegex(admin.run("farm", "quota", "Hill Farm", "--users", "40")[0], r"Hill Farm:.* of 40 users  at most \d+ positions a minute\n")
        admin.run("farm", "quota", "Hill Farm", "--users", "default")
        admin.run("farm", "quota", "Hill Farm", "--files", "-1", code=USAGE)
        admin.run("farm", "quota", "No Farm", code=REFUSED)
        self.assertRegex(admin.run("farm", "usage")[0], r"Hill Farm:  \d+ of \d+ bytes  \d+ of \d+ files")
        self.assertEqual(len(admin.json("farm", "usage", "--limit", "1")), 1)
        olga.write("purged.zip", b"purged")
        numbers = [olga.json("put", "purged.zip", "--to", "olga/Curves")["ids"][0] for _ in range(2)]
        for number in numbers:
            olga.run("rm", str(number))
        farm = str(report["farm"]["id"])
        self.assertEqual(admin.json("bin", "list", "--farm", farm), anna.json("bin", "list"))
        anna.run("bin", "purge", str(numbers[0]))
        anna.run("bin", "purge", str(numbers[0]), code=REFUSED)
        self.assertEqual([file["id"] for file in anna.json("bin", "list") if file["name"] == "purged.zip"], numbers[1:])
        for wrong in ((), (str(numbers[1]), "--all")):
            anna.run("bin", "purge", *wrong, code=USAGE)
        admin.run("bin", "purge", "--all", "--farm", farm)
        self.assertEqual(anna.json("bin", "list"), [])

    def test_the_office_reads_the_usage_and_the_limits_of_its_farm(self):
        anna, admin = self.tool("anna"), self.tool("admin")
        self.assertEqual(anna.run("quota"), admin.run("farm", "quota", "Hill Farm"))
        self.assertEqual(anna.json("quota"), admin.json("farm", "quota", "Hill Farm"))
        admin.run("farm", "quota", "Hill Farm", "--positions", "77", "--user-positions", "7")
        lines = anna.run("quota")[0].splitlines()
        self.assertTrue(lines[0].endswith("  at most 77 positions a minute"), lines)
        self.assertTrue(lines[1].endswith("  at most 7 positions a minute"), lines)
        admin.run("farm", "quota", "Hill Farm", "--positions", "default", "--user-positions", "default")
        self.assertIn("farm quota NAME", admin.run("quota", code=USAGE)[1])
        self.tool("olga").run("quota", code=REFUSED)

    def test_put_sends_several_files_to_several_inboxes_under_a_chosen_name(self):
        olga, anna = self.user("olga"), self.tool("anna")
        targets = [make_inbox(olga, "Pivots"), make_inbox(self.user("piet"), "Pivots")]
        anna.write("a.zip", b"a")
        anna.write("b.zip", b"")
        out = anna.run("--json", "put", "a.zip", "b.zip", "--to", "olga/Pivots", "--to", "piet/Pivots")[0]
        for line, name in zip(out.splitlines(), ("a.zip", "b.zip")):
            result = json.loads(line)
            files = [olga.get(f"/resources/{result['ids'][0]}").json(), self.user("piet").get(f"/resources/{result['ids'][1]}").json()]
            self.assertEqual([file["container"] for file in files], targets)
            self.assertEqual({file["name"] for file in files}, {name})
        out, err = anna.run("put", "a.zip", "--to", "olga/Pivots", "--name", "b.zip")
        self.assertIn("b.zip", out)
        self.assertIn("b.zip", err)  # The warning that the inbox now has two files of this name.
        self.assertEqual(self.names(olga, targets[0]), ["a.zip", "b.zip", "b.zip"])

    def test_the_lists_show_who_sent_a_file_with_which_note(self):
        anna, olga = self.tool("anna"), self.tool("olga")
        make_inbox(self.user("olga"), "Curves")
        cursor = self.user("anna").get("/account").json()["cursor"]
        anna.write("noted.zip", b"noted")
        number = anna.json("put", "noted.zip", "--to", "olga/Curves", "--note", "second pass, field 7")["ids"][0]
        told = "noted.zip  from anna  note: second pass, field 7"
        self.assertIn(f"{told}\n", olga.run("ls", "Curves")[0])
        self.assertIn("  from anna  note: second pass, field 7\n", anna.run("watch", "--from", cursor, "--count", "1")[0])
        anna.run("rm", str(number))
        self.assertIn(f"{told}\n", anna.run("bin", "list")[0])
        anna.run("put", "noted.zip", "--to", "olga/Curves", "--note", "x" * 201, code=REFUSED)

    def test_names_of_255_bytes_are_put_and_fetched(self):
        olga = self.tool("olga")
        for name in ("x" * 255, "\u00e9" * 127 + "x", "x" * 251):
            path = olga.write(name, CONTENT[:1000])
            file = olga.json("put", name, "--to", "olga/To Console")["ids"][0]
            os.remove(path)
            olga.run("get", str(file))
            with open(path, "rb") as fetched:
                self.assertEqual(fetched.read(), CONTENT[:1000])
            os.remove(path)

    def test_a_terminal_gets_no_control_characters(self):
        olga = self.tool("olga")
        for arguments in (("put", "a\x1b[31m\x9b\u202eb", "--to", "olga/To Console"), ("--ca", "\x1b]0;x\x07", "ls"),
                          ("ls", "\x1b[2J"), ("\x1b[2J",)):
            result = subprocess.run([TOOL, *arguments], capture_output=True, check=False, cwd=olga.home,
                                    env=olga.environment(), stdin=subprocess.DEVNULL)
            self.assertNotEqual(result.returncode, OK)
            text = (result.stdout + result.stderr).decode()
            self.assertEqual([c for c in text if (c < " " and c != "\n") or "\x7f" <= c <= "\x9f" or c == "\u202e"], [], text)

    def test_put_refuses_wrong_arguments_before_it_sends_anything(self):
        olga = self.tool("olga")
        olga.write("a.zip", b"a")
        before = self.user("olga").snapshot()["projects"]
        for arguments, code in ((["a.zip"], USAGE), (["--to", "olga/Curves"], USAGE), (["none.zip", "--to", "olga/Curves"], USAGE),
                                ([olga.home, "--to", "olga/Curves"], USAGE), (["a.zip", "none.zip", "--to", "olga/Curves"], USAGE),
                                (["a.zip", "--to", "olga/Nothing"], REFUSED), (["a.zip", "--to", "nobody/Curves"], REFUSED),
                                (["a.zip", "--to", "Curves"], REFUSED), (["a.zip", "--to", "olga/Curves", "--name", "x/y"], USAGE),
                                (["a.zip", "--to", "olga/Curves", "--name", ".."], USAGE),
                                (["a.zip", "a.zip", "--to", "olga/Curves", "--name", "x"], USAGE)):
            with self.subTest(arguments=arguments):
                olga.run("put", *arguments, code=code)
        self.assertEqual(self.user("olga").snapshot()["projects"], before)

    def test_put_is_refused_with_title_and_detail(self):
        make_inbox(self.user("piet"), "Curves")
        olga = self.tool("olga")
        olga.write("a.zip", b"a")
        self.assertRegex(olga.run("put", "a.zip", "--to", "piet/Curves", code=REFUSED)[1], r"^kelvoctl: .+: .+\n$")

    def test_get_replaces_a_file_only_with_the_option_o(self):
        olga = self.user("olga")
        number = str(olga.put("there.zip", [make_inbox(olga)], b"new")[0]["id"])
        tool = self.tool("olga")
        tool.write("there.zip", b"old")
        tool.run("get", number, code=USAGE)
        self.assertEqual(tool.read("there.zip"), b"old")
        tool.run("get", number, "-o", "there.zip")
        self.assertEqual(tool.read("there.zip"), b"new")
        os.mkdir(os.path.join(tool.home, "sub"))
        tool.run("get", number, "-o", "sub")
        self.assertEqual(tool.read("sub/there.zip"), b"new")
        tool.run("get", str(make_inbox(olga)), code=REFUSED)
        tool.run("get", "0", code=USAGE)
        tool.run("get", number, "-o", "none/there.zip", code=USAGE)

    def test_get_replaces_the_file_behind_a_symlink_and_not_the_link(self):
        olga, tool = self.user("olga"), self.tool("olga")
        number = str(olga.put("linked.zip", [make_inbox(olga)], b"new")[0]["id"])
        os.mkdir(os.path.join(tool.home, "archive"))
        tool.write("archive/there.zip", b"old")
        for target in ("archive/there.zip", "archive/missing.zip"):
            links = [os.path.join(tool.home, name) for name in ("one", "two")]
            os.symlink(target, links[0])
            os.symlink(links[0], links[1])
            tool.run("get", number, "-o", "two")
            self.assertEqual([os.path.islink(link) for link in links], [True, True])
            self.assertEqual(tool.read(target), b"new")
            for link in links:
                os.remove(link)
        self.assertEqual(sorted(os.listdir(os.path.join(tool.home, "archive"))), ["missing.zip", "there.zip"])

    def test_get_writes_through_a_pipe_or_a_device(self):
        olga, tool = self.user("olga"), self.tool("olga")
        number = str(olga.put("piped.txt", [make_inbox(olga)], b"one\ntwo\n")[0]["id"])
        pipe, link, stdout = (os.path.join(tool.home, name) for name in ("pipe", "link", "stdout"))
        os.mkfifo(pipe)
        os.symlink(pipe, link)
        with open(os.open(pipe, os.O_RDONLY | os.O_NONBLOCK), "rb") as reader:
            self.assertEqual(tool.run("get", number, "-o", "link")[0], "")
            self.assertEqual(reader.read(), b"one\ntwo\n")
        self.assertEqual((os.path.islink(link), stat.S_ISFIFO(os.stat(pipe).st_mode)), (True, True))
        os.symlink("/proc/self/fd/1", stdout)
        for options in ((), ("--json",)):
            self.assertEqual(tool.run(*options, "get", number, "-o", "stdout")[0], "one\ntwo\n")
        self.assertEqual(tool.json("get", number, "-o", "/dev/null")["name"], "piped.txt")
        self.assertEqual([name for name in os.listdir(tool.home) if name.endswith(".part")], [])

    def test_a_command_fails_if_its_output_cannot_be_written(self):
        olga, anna, admin = self.tool("olga"), self.tool("anna"), self.tool("admin")
        make_inbox(self.user("olga"))
        for tool, arguments in ((olga, ["--help"]), (olga, ["ls"]), (olga, ["user", "export", "olga"]), (olga, ["session", "list"]),
                                (anna, ["user", "list"]), (anna, ["--json", "user", "list"]), (anna, ["audit"]), (anna, ["quota"]),
                                (admin, ["farm", "list"]), (admin, ["farm", "usage"])):
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                run = tool.into(full, *arguments)
                self.assertEqual((run.returncode, run.stderr),
                                 (LOCAL, "kelvoctl: could not write the output: No space left on device\n"))

    def test_a_command_ends_without_a_message_if_its_reader_has_ended(self):
        olga = self.tool("olga")
        for arguments in (["session", "list"], ["--help"]):
            reader, writer = os.pipe()
            os.close(reader)
            with open(writer, "wb") as closed:
                run = olga.into(closed, *arguments)
            self.assertEqual((run.returncode, run.stderr), (LOCAL, ""))

    def test_watch_ends_at_the_first_event_that_it_cannot_write(self):
        olga = self.user("olga")
        cursor = olga.get("/account").json()["cursor"]
        olga.put("unseen.zip", [make_inbox(olga)], b"w")
        with open("/dev/full", "wb") as full:
            self.assertEqual(self.tool("olga").into(full, "watch", "--from", cursor).returncode, LOCAL)

    def test_a_full_local_disk_is_no_wrong_usage(self):
        olga, tool = self.user("olga"), self.tool("olga")
        number = str(olga.put("large.zip", [make_inbox(olga)], CONTENT)[0]["id"])
        run = subprocess.run(["bash", "-c", 'ulimit -f 100; trap "" XFSZ; exec "$0" get "$1" -o new.zip', TOOL, number],
                             capture_output=True, text=True, timeout=GUARD_SECONDS, check=False, cwd=tool.home,
                             env=tool.environment())
        self.assertEqual(run.returncode, LOCAL, run.stderr)
        self.assertIn("Cannot write new.zip.part: File too large", run.stderr)
        self.assertEqual([name for name in os.listdir(tool.home) if name.startswith("new.zip")], [])

    def test_the_session_file_is_private_and_removed_at_logout(self):
        tool = self.tool("olga")
        self.assertEqual(os.stat(tool.session).st_mode & 0o777, 0o600)
        with open(tool.session, encoding="utf-8") as file:
            token = json.load(file)["token"]
        tool.run("--server", "localhost:1", "ls", code=USAGE)  # The token is only sent to the server that issued it.
        tool.run("logout")
        self.assertFalse(os.path.exists(tool.session))
        tool.run("ls", code=USAGE)
        client = Client(self.service, token)
        client.get("/account", 401)
        client.close()
        other = os.path.join(tool.home, "other.json")
        tool.run("--session", other, "--server", tool.server, "--ca", tool.ca, "login", "olga", env={"KELVOCTL_PASSWORD": PASSWORD})
        self.assertTrue(tool.json("--session", other, "ls"))

    def test_login_needs_a_password_and_reports_a_wrong_password(self):
        tool = self.tool()
        arguments = ("--server", tool.server, "--ca", tool.ca, "login", "olga")
        tool.run(*arguments, code=USAGE)
        tool.run(*arguments, "--password-file", "none", code=USAGE)
        tool.run("login", "olga", code=USAGE, env={"KELVOCTL_PASSWORD": PASSWORD})
        error = tool.run(*arguments, code=REFUSED, env={"KELVOCTL_PASSWORD": "wrong password"})[1]
        self.assertNotIn("wrong password", error)
        self.assertFalse(os.path.exists(tool.session))
        path = tool.write("password", PASSWORD.encode() + b"\r\n")
        self.assertIn("olga", tool.run(*arguments, "--password-file", path)[0])

    def test_help_succeeds_and_wrong_usage_fails(self):
        tool = self.tool()
        out = tool.run("--help")[0]
        self.assertRegex(out, r"--ca FILE\s")
        for command in ("login", "farm", "user", "ls", "put", "get", "rm", "bin", "consoles", "track", "watch", "audit", "passwd",
                        "session", "mv", "quota"):
            self.assertIn(command, out)
            self.assertIn("Usage", tool.run(command, "--help")[0])
        for arguments in ([], ["nonsense"], ["put"], ["user"], ["rm"], ["rm", "x"], ["bin"], ["--nonsense"], ["watch", "--count", "x"]):
            tool.run(*arguments, code=USAGE)

    def test_a_missing_or_untrusted_service_is_unreachable(self):
        tool = self.tool()
        secret = {"KELVOCTL_PASSWORD": PASSWORD}
        tool.run("--server", "localhost:1", "login", "olga", code=UNREACHABLE, env=secret)
        tool.run("--server", tool.server, "login", "olga", code=UNREACHABLE, env=secret)  # The system's authorities have not signed this certificate.
        tool.run("--server", f"127.0.0.2:{self.service.port}", "--ca", tool.ca, "login", "olga", code=UNREACHABLE, env=secret)
        tool.run("--server", f"{self.service.metrics_host}:{self.service.metrics_port}", "--ca", tool.ca, "login", "olga",
                 code=UNREACHABLE, env=secret)

    def test_watch_prints_events(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        tool = self.tool("olga")
        for form in ("json", "text"):
            watch = self.start_watch(tool, *(["--json"] if form == "json" else []), "watch", "--count", "2")
            file = olga.put("watched.zip", [inbox], b"w")[0]
            olga.delete(f"/resources/{file['id']}")
            lines = watch.stdout.readlines()
            self.assertEqual(self.ended(watch), OK)
            self.assertEqual(len(lines), 2)
            if form == "json":
                events = [json.loads(line) for line in lines]
                self.assertEqual([event["event"] for event in events], ["file-added", "file-removed"])
                self.assertEqual(events[0]["data"]["entry"], file)
                first = events[0]["id"]
            else:
                self.assertIn("file-added", lines[0])
                self.assertIn("watched.zip", lines[0])
        self.assertIn("file-removed", tool.run("watch", "--from", first, "--count", "1")[0])
        tool.run("watch", "--from", "99999999999", code=REFUSED)

    def test_the_office_lists_and_watches_fetches(self):
        olga, anna = self.user("olga"), self.tool("anna")
        inbox = make_inbox(olga, "Pivots")
        fetched, waiting = (olga.put(name, [inbox], name.encode())[0] for name in ("fetched.zip", "waiting.zip"))
        watch = self.start_watch(anna, "watch", "--count", "1")
        olga.post("/fetches", 204, json={"fetches": [{"file": fetched["id"], "age_s": 0, "unpack_error": "No\u001b room"}]})
        self.assertRegex(watch.stdout.read(), r"file-fetched  file [0-9]+ fetched.zip fetched by console [0-9]+ of olga at .*, not unpacked: No\? room")
        lines = anna.run("ls", "Pivots", "--owner", "olga")[0].splitlines()[-2:]
        self.assertRegex(lines[0], r"fetched.zip  from olga  fetched by console [0-9]+ of olga at .*, not unpacked: No\? room$")
        self.assertRegex(lines[1], r"waiting.zip  from olga$")
        lines = anna.run("ls", "Pivots", "--owner", "olga", "--not-fetched")[0].splitlines()
        self.assertIn("waiting.zip", lines[-1])
        self.assertNotIn("fetched.zip", "".join(lines))
        rest = anna.json("ls", "Pivots", "--owner", "olga", "--not-fetched")
        ids = [entry["id"] for entry in rest[0]["resources"][0]["entries"]]
        self.assertIn(waiting["id"], ids)
        self.assertNotIn(fetched["id"], ids)

    def test_consoles_and_their_tracks_are_for_the_office(self):
        olga, anna = self.user("olga"), self.tool("anna")
        day = {"timestamp_ms": 1000, "console": {"console_string": "Console\x1b 12", "hardware_address": "00:1b"}, "controller": {}}
        olga.request("PUT", "/environment", 204, json=day)
        olga.request("PUT", "/devices", 204, json={"timestamp_ms": 1000, "state": 0, "flag": True, "device": {"kind": "Boom"}})
        watch = self.start_watch(anna, "watch", "--count", "1")
        for number in range(205):  # More than one page.
            olga.post("/positions", 204, json={"time_s": 1000, "latitude": number / 16, "longitude": -0.5})
        self.assertRegex(watch.stdout.read(), "console-moved  console [0-9]+ of olga at 0.0 -0.5")
        console = anna.json("consoles")[0]
        self.assertEqual((console["hardware_address"], console["position"]["latitude"]), ("00:1b", 12.75))
        lines = anna.run("consoles")[0].splitlines()
        self.assertIn("Console? 12  00:1b  olga", lines[0])
        self.assertIn("12.7500000 -0.5000000", lines[0])
        self.assertIn("Boom  -  disconnected", lines[1])
        for name in (str(console["id"]), "00:1b", "Console\x1b 12"):
            self.assertEqual(len(anna.run("track", name)[0].splitlines()), 205)
        points = [json.loads(line) for line in anna.run("--json", "track", "00:1b", "--count", "3")[0].splitlines()]
        self.assertEqual([point["latitude"] for point in points], [12.75, 12.6875, 12.625])
        since = anna.run("track", "00:1b", "--from", points[1]["received_at"])[0]
        self.assertIn("12.6875000", since)
        self.assertNotIn(" 1.0000000", since)
        self.assertEqual(anna.run("track", "00:1b", "--to", "2001-01-01")[0], "")
        anna.run("track", "00:1b", "--from", "yesterday", code=REFUSED)
        anna.run("track", "nowhere", code=REFUSED)
        anna.run("track", "2147483646", code=REFUSED)
        anna.run("track", code=USAGE)
        tool = self.tool("olga")
        tool.run("consoles", code=REFUSED)
        tool.run("track", "1", code=REFUSED)
        tool.run("consoles", "delete", "1", code=REFUSED)
        anna.run("consoles", "delete", "00:1b", code=REFUSED)  # It has a session.
        olga.delete("/sessions/current")
        self.assertEqual(anna.run("consoles", "delete", "00:1b")[0], "")
        self.assertEqual(anna.json("consoles"), [])
        anna.run("consoles", "delete", code=USAGE)

    def test_watch_ends_with_the_session(self):
        tool = self.tool("piet")
        watch = self.start_watch(tool, "watch")
        tool.run("logout")
        self.assertIn("session-ended", watch.stdout.read())
        self.assertIn("logged-out", watch.stderr.read())
        self.assertEqual(self.ended(watch), REFUSED)


class BadLinks(KelvoctlTest):
    def through(self, *cuts):
        proxy = CuttingProxy(self.service, [("", None), *cuts])  # The first connection is the login.
        self.addCleanup(proxy.__exit__)
        return proxy, self.tool("olga", proxy.port)

    def test_put_resumes_after_cuts_and_makes_one_file(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        for number, cuts in enumerate(([("up", 400_000)], [("up", 300_000), ("up", 300_000), ("up", 10)], [("up", 3000)])):
            with self.subTest(cuts=cuts):
                proxy, tool = self.through(*cuts)
                name = f"cut{number}.zip"
                tool.write(name, CONTENT)
                result = tool.json("put", name, "--to", "olga/To Console")
                self.assertEqual(olga.get(f"/resources/{result['ids'][0]}/content").body, CONTENT)
                self.assertEqual(self.names(olga, inbox).count(name), 1)
                self.assertGreater(proxy.connections, 1 + len(cuts))

    def test_put_makes_one_file_when_the_answer_is_lost(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        measured, tool = self.through()
        tool.write("lost.zip", b"small")
        number = tool.json("put", "lost.zip", "--to", "olga/To Console")["ids"][0]
        olga.delete(f"/resources/{number}")
        proxy, tool = self.through(("down", measured.passed_down[1] - 100))  # Within the answer to the upload.
        tool.write("lost.zip", b"small")
        number = tool.json("put", "lost.zip", "--to", "olga/To Console")["ids"][0]
        self.assertEqual([entry["id"] for entry in self.entries(olga, inbox) if entry["name"] == "lost.zip"], [number])
        self.assertGreaterEqual(proxy.connections, 3)

    def test_get_resumes_after_cuts(self):
        olga = self.user("olga")
        number = olga.put("cut-get.zip", [make_inbox(olga)], CONTENT)[0]["id"]
        proxy, tool = self.through(("down", 500_000), ("down", 400_000))
        tool.run("get", str(number))
        self.assertEqual(tool.read("cut-get.zip"), CONTENT)
        self.assertEqual(proxy.connections, 4)

    def test_watch_resumes_after_cuts_without_a_gap_or_a_repetition(self):
        olga = self.user("olga")
        inbox = make_inbox(olga)
        proxy, tool = self.through()
        watch = self.start_watch(tool, "--json", "watch", "--count", "9")
        files, seen = [], []
        for _ in range(3):
            files += [olga.put("x.zip", [inbox], b"x")[0]["id"] for _ in range(2)]
            seen.append(json.loads(watch.stdout.readline()))
            proxy.cut_all()
            files.append(olga.put("y.zip", [inbox], b"y")[0]["id"])
        seen += [json.loads(line) for line in watch.stdout]
        self.assertEqual(self.ended(watch), OK)
        self.assertEqual([event["data"]["entry"]["id"] for event in seen], files)


class HostileNames(unittest.TestCase):
    """A service that sends dangerous names: the test changes the names in the database of the stopped service."""

    def test_get_never_uses_a_name_from_the_service_as_a_path(self):
        service = Service()
        self.addCleanup(service.remove)
        service.start()
        admin = log_in_admin(service)
        admin.post("/farms", json={"name": "Hill Farm"})
        admin.post("/users", json={"farm": "Hill Farm", "name": "olga", "password": PASSWORD, "role": "operator"})
        tool = Tool(service)
        tool.log_in("olga")
        tool.write("harmless.zip", b"evil")
        number = str(tool.json("put", "harmless.zip", "--to", "olga/Curves")["ids"][0])
        os.remove(os.path.join(tool.home, "harmless.zip"))
        admin.close()
        for name in ("../evil.zip", "/evil.zip", "..", "a\x1b[31m.zip"):
            service.stop()
            self.rename(service, name)
            service.start()
            tool = Tool(service)
            tool.log_in("olga")
            before = sorted(os.listdir(tool.home) + os.listdir(service.root))
            error = tool.run("get", number, code=REFUSED)[1]
            self.assertNotIn("\x1b", error)
            self.assertEqual(sorted(os.listdir(tool.home) + os.listdir(service.root)), before)
            tool.run("get", number, "-o", "chosen.zip")
            self.assertEqual(tool.read("chosen.zip"), b"evil")
        service.stop()

    def rename(self, service, name):
        changed = 0
        for folder, _, files in os.walk(service.folder):
            for file in files:
                path = os.path.join(folder, file)
                with open(path, "rb") as content:
                    if content.read(15) != b"SQLite format 3":
                        continue
                database = sqlite3.connect(path)
                for (table,) in database.execute("SELECT name FROM sqlite_master WHERE type = 'table'").fetchall():
                    columns = [column[1] for column in database.execute(f"PRAGMA table_info({table})").fetchall()]
                    if "name" in columns and ("sha256" in columns or "size" in columns):
                        changed += database.execute(f"UPDATE {table} SET name = ?", (name,)).rowcount
                database.commit()
                database.close()
        self.assertGreater(changed, 0)


if __name__ == "__main__":
    unittest.main()

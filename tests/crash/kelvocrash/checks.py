"""The checks after a kill and a new start. Each check returns its findings as texts, or an empty list."""

import hashlib
import json
import os
import sqlite3
import subprocess
from pathlib import Path

from kelvotour.archives import folder_of, placed
from kelvotour.entries import RESERVED as STAGING
from kelvotour.farm import OPERATOR

from . import plan as plans

# The files in the console's folder outside the exchange folders.
OWN_FILES = {"console.json", "logs/user.log"}


class Acknowledged:
    """The names in successful commands (sent, unpacked, deleted), and in all download and delete commands."""

    def __init__(self):
        self.sent, self.unpacked, self.deleted = set(), set(), set()
        self.asked_to_unpack, self.asked_to_delete = set(), set()


def inbox_of(projects, project):
    """The operator's inbox, or None."""
    inboxes = [inbox for inbox in projects[project] if inbox["name"] == OPERATOR]
    return inboxes[0] if inboxes else None


def entries_of(projects, project):
    inbox = inbox_of(projects, project)
    return inbox["entries"] if inbox else []


def inboxes(projects):
    return [f"{len(found)} inboxes in {project}" for project, found in projects.items()
            if len([inbox for inbox in found if inbox["name"] == OPERATOR]) > 1]


def uploads(plan, acknowledged, projects, data):
    """Each file is whole on the console or on the service, and on the service at most once."""
    findings = []
    for (kind, name), content in plan.uploads.items():
        project, folder = plans.UPLOADS[kind]
        copies = [entry for entry in entries_of(projects, project) if entry["name"] == name]
        path = data / folder / name
        if len(copies) > 1:
            findings.append(f"{name} is {len(copies)} times in {project}")
        digest = hashlib.sha256(content).hexdigest()
        if any((copy["sha256"], copy["size"]) != (digest, len(content)) for copy in copies):
            findings.append(f"{name} on the service is not what was sent")
        if path.exists() and path.read_bytes() != content:
            findings.append(f"the local {name} has changed")
        if not copies and not path.exists():
            findings.append(f"{name} is lost")
        if (kind, name) in acknowledged.sent and (path.exists() or not copies):
            findings.append(f"{name} was acknowledged as sent, but {'is not on the service' if not copies else 'is still here'}")
    return findings


def deletions(plan, acknowledged, projects, bin_files):
    """Each archive is in its inbox, or in the bin if its deletion was commanded."""
    findings = []
    listed = [entry["name"] for entry in entries_of(projects, plans.ARCHIVE_PROJECT)]
    in_bin = [entry["name"] for entry in bin_files]
    for name in plan.archives:
        here, there = listed.count(name), in_bin.count(name)
        if here + there != 1:
            findings.append(f"{name} is {here} times in the inbox and {there} times in the bin")
        if name in in_bin and name not in acknowledged.asked_to_delete:
            findings.append(f"{name} is in the bin without a delete command")
        if name in listed and name in acknowledged.deleted:
            findings.append(f"{name} was acknowledged as deleted and is in the inbox")
    return findings


def unpacked(plan, acknowledged, data):
    """Each archive's folder is old or new, whole. It is new after a successful command, and old without a command.

    Before the console's repairs there is also the staging folder, which this check leaves out."""
    found = image(data / plans.UNPACK_FOLDER)
    beside = {path for path in found if path.split("/")[0] == STAGING}
    tops = {name: folder_of(name) for name in plan.archives}
    findings = []
    for name, top in tops.items():
        there = below(found, top)
        beside |= there.keys()
        old = below(plans.image_of(plan.before), top)
        new = plans.image_of(placed(name, plan.archives[name]))
        allowed = states(old, new, name, acknowledged)
        if there not in allowed:
            wrong = sorted(path for path in {*there, *allowed[-1]} if there.get(path, 0) != allowed[-1].get(path, 0))
            findings.append(f"the folder of {name} is not whole, or old instead of new: {wrong[:6]}")
    own = {path: digest for path, digest in plans.image_of(plan.before).items() if path.split("/")[0] not in tops.values()}
    if {path: found[path] for path in found.keys() - beside} != own:
        findings.append(f"beside the folders of the archives: {sorted((found.keys() - beside) ^ own.keys())[:6]}")
    return findings


def reports(plan, projects, data, state):
    """If the journal of fetched files says that an archive is unpacked, the archive's new folder is in its place."""
    found = image(data / plans.UNPACK_FOLDER)
    names = {entry["id"]: entry["name"] for entry in entries_of(projects, plans.ARCHIVE_PROJECT)}
    journals = [*state.glob("*.fetched"), *(data / "state/kesdk").glob("*.fetched")]
    fetches = [fetch for path in journals for fetch in read_journal(path)["fetches"]]
    unpacked_names = [names[file] for file, _, *more in fetches if more and "unpacked" in more[0] and file in names]
    return [f"{name} will be reported as unpacked, but its folder is not new and whole" for name in unpacked_names
            if below(found, folder_of(name)) != plans.image_of(placed(name, plan.archives[name]))]


def states(old, new, name, acknowledged):
    """The allowed contents of the archive's folder."""
    if name in acknowledged.unpacked:
        return [new]
    return [old, new] if name in acknowledged.asked_to_unpack else [old]


def below(files, top):
    return {path: digest for path, digest in files.items() if path == top or path.startswith(f"{top}/")}


def image(folder):
    """{path: digest, folder: None} of a folder, also for hidden files."""
    found = {}
    for top, folders, files in os.walk(folder):
        for name in folders:
            found[str((Path(top) / name).relative_to(folder))] = None
        for name in files:
            path = Path(top) / name
            found[str(path.relative_to(folder))] = hashlib.sha256(path.read_bytes()).hexdigest()
    return found


def left_on_console(data, state):
    """After all transfers, the console keeps no file of them, apart from journals of uploads that are over, and of
    fetched files whose fetch or result is not reported yet.

    A console that is killed after it removes a sent file leaves the upload's journal, which it removes after a week.
    Before that time the file's medium could be away and return."""
    findings = []
    for path in sorted({*data.rglob("*"), *state.rglob("*")}):
        relative = path.relative_to(data if path.is_relative_to(data) else state.parent)
        if not (path.is_dir() or str(relative) in OWN_FILES or relative.is_relative_to(plans.UNPACK_FOLDER)
                or path.suffix == ".fetched" or is_journal_of_removed_file(path)):
            findings.append(f"the console keeps {relative}")
    return findings


def is_journal_of_removed_file(path):
    return path.suffix == ".upload" and not Path(read_journal(path)["origin"]["path"]).exists()


def read_journal(path):
    """A journal: a first line, JSON, and the JSON's SHA-256 in hexadecimal digits."""
    return json.loads(path.read_bytes().partition(b"\n")[2][:-64])


def delivered(plan, projects, wire):
    """The service delivers the bytes that were sent."""
    findings = []
    for (kind, name), content in plan.uploads.items():
        for entry in entries_of(projects, plans.UPLOADS[kind][0]):
            if entry["name"] == name and wire.digest(entry["id"]) != hashlib.sha256(content).hexdigest():
                findings.append(f"the service delivers another content of {name}")
    return findings


def service_folder(service):
    """Checks the service's data with `kelvo-service verify`. The service must not run."""
    result = subprocess.run([service.binary, "verify", "--data", service.data], capture_output=True, text=True,
                            stdin=subprocess.DEVNULL, timeout=120, check=False)
    findings = [f"verify: {line}" for line in result.stdout.splitlines() if line.startswith(("damaged:", "leftover:"))]
    if result.returncode != 0 and not findings:
        findings.append(f"verify ended with {result.returncode}: {result.stderr.strip()}")
    findings += [f"the service keeps uploads/{path.name}" for path in (service.data / "uploads").iterdir()]
    return findings


def database(path):
    """Checks a database with SQLite. No process may have it open."""
    with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as connection:
        rows = [row[0] for row in connection.execute("PRAGMA integrity_check")]
        rows += [f"row {row} breaks a reference" for row in connection.execute("PRAGMA foreign_key_check")]
    return [f"database: {row}" for row in rows if row != "ok"]

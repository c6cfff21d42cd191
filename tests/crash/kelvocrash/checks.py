"""What must hold after a kill and a new start. Each check gives its findings as texts; none if all is well."""

import hashlib
import itertools
import os
import sqlite3
import subprocess
from pathlib import Path

from kelvotour.farm import OPERATOR

from . import plan as plans

# What lies in the console's folder besides the exchange folders.
OWN_FILES = {"console.json", "logs/user.log"}


class Known:
    """What the console has said for sure: what it called done is done and stays so."""

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


def uploads(plan, known, projects, data):
    """Each is whole on at least one side, and on the service at most once."""
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
        if (kind, name) in known.sent and (path.exists() or not copies):
            findings.append(f"{name} was called sent, but {'is not on the service' if not copies else 'is still here'}")
    return findings


def deletions(plan, known, projects, binned):
    """Each archive is either in its inbox or, if that was asked for, in the bin."""
    findings = []
    held = [entry["name"] for entry in entries_of(projects, plans.ARCHIVE_PROJECT)]
    thrown = [entry["name"] for entry in binned]
    for name in plan.archives:
        here, there = held.count(name), thrown.count(name)
        if here + there != 1:
            findings.append(f"{name} is {here} times in the inbox and {there} times in the bin")
        if name in thrown and name not in known.asked_to_delete:
            findings.append(f"{name} was thrown away by nobody")
        if name in held and name in known.deleted:
            findings.append(f"{name} was called deleted and is there")
    return findings


def unpacked(plan, known, data):
    """The folder is what it was and, one after the other, some whole archives that were asked for."""
    folder = data / plans.UNPACK_FOLDER
    found = image(folder)
    for count in range(len(known.unpacked), len(known.asked_to_unpack) + 1):
        for order in itertools.permutations(sorted(known.asked_to_unpack), count):
            if known.unpacked.issubset(order) and found == expected_image(plan, order):
                return []
    whole = expected_image(plan, sorted(known.unpacked))
    differing = sorted(path for path in {*found, *whole} if found.get(path, 0) != whole.get(path, 0))
    return [f"{plans.UNPACK_FOLDER} is no sequence of whole archives; against {sorted(known.unpacked)} differ "
            f"{differing[:6]}"]


def expected_image(plan, order):
    files = dict(plan.before)
    for name in order:
        files.update(plan.archives[name])
    return plans.image_of(files)


def image(folder):
    """{path: digest, folder: None}, hidden ones included."""
    found = {}
    for top, folders, files in os.walk(folder):
        for name in folders:
            found[str((Path(top) / name).relative_to(folder))] = None
        for name in files:
            path = Path(top) / name
            found[str(path.relative_to(folder))] = hashlib.sha256(path.read_bytes()).hexdigest()
    return found


def left_on_console(data, state):
    """When all is transferred, nothing of the transfers is left."""
    findings = []
    for path in sorted(data.rglob("*")):
        relative = path.relative_to(data)
        if not (path.is_dir() or str(relative) in OWN_FILES or relative.is_relative_to(plans.UNPACK_FOLDER)):
            findings.append(f"the console keeps {relative}")
    if state.exists():
        findings += [f"the console keeps state/{path.name}" for path in state.rglob("*") if path.is_file()]
    return findings


def delivered(plan, projects, wire):
    """The service delivers just what was sent."""
    findings = []
    for (kind, name), content in plan.uploads.items():
        for entry in entries_of(projects, plans.UPLOADS[kind][0]):
            if entry["name"] == name and wire.digest(entry["id"]) != hashlib.sha256(content).hexdigest():
                findings.append(f"the service delivers another {name}")
    return findings


def service_folder(service):
    """By the service's own means, and by SQLite's; the service must not run."""
    result = subprocess.run([service.binary, "verify", "--data", service.data], capture_output=True, text=True,
                            stdin=subprocess.DEVNULL, timeout=120, check=False)
    findings = [f"verify: {line}" for line in result.stdout.splitlines() if line.startswith(("damaged:", "leftover:"))]
    if result.returncode != 0 and not findings:
        findings.append(f"verify ended with {result.returncode}: {result.stderr.strip()}")
    findings += [f"the service keeps uploads/{path.name}" for path in (service.data / "uploads").iterdir()]
    return findings


def database(path):
    """SQLite's own opinion of a database that nobody has open."""
    with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as connection:
        rows = [row[0] for row in connection.execute("PRAGMA integrity_check")]
        rows += [f"row {row} breaks a reference" for row in connection.execute("PRAGMA foreign_key_check")]
    return [f"database: {row}" for row in rows if row != "ok"]

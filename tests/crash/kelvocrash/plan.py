"""The plan of a round. The same seed gives the same files, commands and kills.

The moments of the kills may differ, because the order of the processes' steps depends on the machine.
"""

import math
import random
from dataclasses import dataclass, field

from kelvotour.archives import digests
from kelvotour.console import quoted

from .killpoint import ANY, CREATE, REMOVE, RENAME, SYNC, WRITE

MOST_GENERATIONS = 3
MOST_STEPS = 120
MANY_FILES = 300
MOST_FILE_BYTES = 1_500_000
MOST_UPLOAD_BYTES = 2_000_000  # of the service
VICTIMS = ("console", "console", "service", "service", "both")
# Half of the kills have no delay, so that the process dies within the observed system call.
DELAYS_S = (0, 0, 0, 0.0005, 0.003, 0.02)
# kind of data: (project on the service, folder with the files to upload)
UPLOADS = {"curves": ("Curves", "to-service/curves"), "reports": ("From Console", "to-service/job-reports")}
ARCHIVE_KIND, ARCHIVE_PROJECT, UNPACK_FOLDER = "maps", "To Console", "from-service/prescriptions"
# The critical steps of each command: (pattern of the step, the most matching steps before the kill).
# Half of the kills count such steps, the others count all steps.
# A commit writes each of its pages to the log, about ten of them.
COMMITTED = (r"service/kelvo\.sqlite-wal written", 40)
LANDMARKS = {
    "start": ((r"\.console-unpacking/.* removed", 8), (r"service/(kelvo|endpoints)", 8)),
    "login": (COMMITTED,),
    "logout": (COMMITTED,),
    "upload": (COMMITTED, (r"service/uploads/.* written", 4), (r"service/content/.*(created|moved to)", 2),
               (r"console/to-service/.* removed", 3), (r"state/.* (moved to|created|removed)", 6)),
    "download": ((r"console/incoming/.*\.part (created|written|moved from)", 6),
                 (r"\.console-unpacking/new/.* created", 200), (r"prescriptions/field-\d+ moved to", 4),
                 (r"\.console-unpacking/.* removed", 200),
                 (r"console/incoming/.*\.zip removed", 3)),
    "delete": (COMMITTED,),
}
# The probabilities of a kill at a call and of a kill at a critical step. The other kills happen at any step.
CALL_SHARE, LANDMARK_SHARE = 0.6, 0.2
START_SHARE = 0.15
WEIGHTS = {"upload": 3, "download": 3, "delete": 2, "login": 1, "logout": 1}
# The archives and their first folders share these names.
SHARED_NAMES = ("TASKDATA.XML", "grids/a.bin", "grids/b.bin", "grids/deep/c.bin")


@dataclass(frozen=True)
class Calls:
    """The calls of a process that change files: of these kinds, with this text in a path. At most the call with the
    number `most` kills the process."""
    process: str
    kinds: int
    path: str
    most: int


COMMIT_CALLS = Calls("service", WRITE | SYNC, "/kelvo.sqlite", 12)
# The critical calls of each command.
CALLS = {
    "start": (Calls("service", ANY, "/service/", 60), Calls("console", ANY, "/console/", 60),
              Calls("console", REMOVE | RENAME, "/from-service/", 20)),
    "login": (COMMIT_CALLS, Calls("console", ANY, "/console/", 20)),
    "logout": (COMMIT_CALLS, Calls("console", REMOVE, ".upload", 2)),
    "upload": (COMMIT_CALLS, Calls("service", CREATE | WRITE | SYNC, "/uploads/", 8),
               Calls("service", RENAME | SYNC | REMOVE, "/content/", 4), Calls("console", ANY, ".upload", 12),
               Calls("console", REMOVE, "/to-service/", 3)),
    "download": (Calls("console", ANY, "/incoming/", 12), Calls("console", CREATE | WRITE, "/.console-unpacking", 40),
                 Calls("console", RENAME, "/from-service/", 4), Calls("console", SYNC, "/from-service/", 6),
                 Calls("console", REMOVE, "/from-service/", 40), Calls("console", REMOVE, ".zip", 4)),
    "delete": (COMMIT_CALLS,),
}


@dataclass(frozen=True)
class Kill:
    """The kill happens `steps` matching steps and `delay_s` after the start of the command with the number `command`.
    -1 is the start of the processes. A step matches if `landmark`, a regular expression, finds it. If `calls` is set, the
    steps are these calls, and the kill happens before or after the last of them."""
    victim: str
    command: int
    steps: int
    delay_s: float = 0
    landmark: str = ""
    calls: Calls = None
    is_after: bool = False


@dataclass(frozen=True)
class Command:
    verb: str
    kind: str = ""
    names: tuple = ()

    @property
    def text(self):
        return " ".join(part for part in (self.verb, self.kind, quoted(self.names)) if part)


@dataclass(frozen=True)
class Generation:
    commands: tuple
    kill: Kill


@dataclass
class Plan:
    seed: int
    has_inboxes: bool = True
    has_state_folder: bool = True
    refuses_flags: bool = False  # the file system cannot exchange two names
    before: dict = field(default_factory=dict)  # {path: bytes} beside and in the folders of the archives, before the round
    archives: dict = field(default_factory=dict)  # {name: {path: bytes}}
    to_delete: tuple = ()  # the archives to delete on the service
    uploads: dict = field(default_factory=dict)  # {(kind, name): bytes}
    generations: tuple = ()

    @property
    def to_download(self):
        """The archives to download in the end."""
        return set(self.archives) - set(self.to_delete)


def make(seed, is_reference=False):
    """Makes the plan of a seed. A reference round has no kill."""
    chance = random.Random(seed)
    plan = Plan(seed, chance.random() < 0.85, chance.random() < 0.5, chance.random() < 0.3)
    plan.before = {"own/notes.txt": b"the operator's\n", "notes.txt": b"the operator's\n"}
    if plan.has_inboxes:
        plan.archives = {f"field-{number}.zip": _archive(chance, number) for number in range(chance.randint(1, 4))}
        for number in range(len(plan.archives)):
            plan.before.update(_former_folder(chance, f"field-{number}"))
        plan.to_delete = tuple(name for name in plan.archives if chance.random() < 0.4)
    count = chance.randint(1, MOST_GENERATIONS)
    # Each generation gets further files. Without them its kill finds nothing to interrupt.
    for number in range(count + chance.randint(0, 2)):
        kind = chance.choice(tuple(UPLOADS))
        plan.uploads[(kind, f"line {number}.crv")] = chance.randbytes(_size(chance))
    plan.generations = tuple(_generation(chance, plan, number, count) for number in range(count))
    if is_reference:
        plan.has_state_folder = True
        plan.generations = ()
    return plan


def image_of(files):
    """{path: digest, folder: None} of a folder with these files."""
    image = dict(digests(files))
    for name in files:
        while "/" in name:
            name = name.rsplit("/", 1)[0]
            image[name] = None
    return image


def _size(chance):
    """A random size. All orders of magnitude are equally likely."""
    return int(math.exp(chance.uniform(0, math.log(MOST_FILE_BYTES)))) - 1


def _content(chance, *words):
    return f"{' '.join(map(str, words))} {chance.random()}\n".encode()


def _former_folder(chance, folder):
    """The files that an archive replaces, or none."""
    names = [*SHARED_NAMES, "former.bin", *(f"former/{number}.bin" for number in range(MANY_FILES))]
    count = chance.choice((0, 2, len(names)))
    return {f"{folder}/{name}": _content(chance, "before", name) for name in chance.sample(names, count)}


def _archive(chance, number):
    files = {name: _content(chance, number, name) for name in chance.sample(SHARED_NAMES, chance.randint(1, 4))}
    for count in range(chance.choice((0, 2, 12, MANY_FILES))):
        files[f"parts/part-{count}.bin"] = _content(chance, number, count)
    files[f"GRD{number:05}.BIN"] = chance.randbytes(_size(chance))
    top = chance.choice(("", "TASKDATA/", f"field-{number}/"))
    return {top + name: content for name, content in files.items()}


def _generation(chance, plan, number, count):
    """The commands of a generation also repeat the names of the generations before it."""
    commands = []
    uploads = [upload for position, upload in enumerate(plan.uploads) if position % count <= number]
    for kind in UPLOADS:
        names = tuple(name for of, name in uploads if of == kind)
        if names:
            commands.append(Command("upload", kind, names))
    if plan.archives:
        wanted = tuple(name for name in plan.archives if chance.random() < 0.7)
        if wanted:
            commands.append(Command("download", ARCHIVE_KIND, wanted))
    to_delete = tuple(name for position, name in enumerate(plan.to_delete) if position % count <= number)
    if to_delete:
        commands.append(Command("delete", ARCHIVE_KIND, to_delete))
    chance.shuffle(commands)
    if chance.random() < 0.2:
        commands.insert(chance.randint(0, len(commands)), Command("logout"))
    commands.insert(0, Command("login"))
    return Generation(tuple(commands), _kill(chance, commands))


def _kill(chance, commands):
    command = -1
    if chance.random() >= START_SHARE:
        command = chance.choices(range(len(commands)), [WEIGHTS[command.verb] for command in commands])[0]
    verb = "start" if command < 0 else commands[command].verb
    kind = chance.random()
    if kind < CALL_SHARE:
        calls = chance.choice(CALLS[verb])
        victim = chance.choices((calls.process, "both"), (4, 1))[0]
        return Kill(victim, command, _count(chance, calls.most), calls=calls, is_after=chance.random() < 0.5)
    victim = chance.choice(VICTIMS)
    if kind < CALL_SHARE + LANDMARK_SHARE:
        landmark, most = chance.choice(LANDMARKS[verb])
        return Kill(victim, command, _count(chance, most), landmark=landmark)
    return Kill(victim, command, _count(chance, MOST_STEPS), chance.choice(DELAYS_S))


def _count(chance, most):
    """A random number from 1. All orders of magnitude are equally likely."""
    return int(math.exp(chance.uniform(0, math.log(most + 1))))

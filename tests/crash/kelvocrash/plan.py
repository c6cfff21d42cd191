"""The plan of a round. The same seed gives the same files, commands and kills.

The moments of the kills may differ, because the order of the processes' steps depends on the machine.
"""

import math
import random
from dataclasses import dataclass, field

from kelvotour.archives import digests
from kelvotour.console import quoted

MOST_GENERATIONS = 3
MOST_STEPS = 120
MANY_FILES = 300
MOST_FILE_BYTES = 1_500_000
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
# The archives and their first folders share these names.
SHARED_NAMES = ("TASKDATA.XML", "grids/a.bin", "grids/b.bin", "grids/deep/c.bin")


@dataclass(frozen=True)
class Kill:
    """The kill happens `steps` matching steps and `delay_s` after the start of the command with the number `command`.
    -1 is the start of the processes. A step matches if `landmark`, a regular expression, finds it."""
    victim: str
    command: int
    steps: int
    delay_s: float
    landmark: str = ""


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
    plan = Plan(seed, chance.random() < 0.85, chance.random() < 0.5)
    plan.before = {"own/notes.txt": b"the operator's\n", "notes.txt": b"the operator's\n"}
    if plan.has_inboxes:
        plan.archives = {f"field-{number}.zip": _archive(chance, number) for number in range(chance.randint(1, 4))}
        for number in range(len(plan.archives)):
            plan.before.update(_former_folder(chance, f"field-{number}"))
        plan.to_delete = tuple(name for name in plan.archives if chance.random() < 0.4)
    for number in range(chance.randint(1, 4)):
        kind = chance.choice(tuple(UPLOADS))
        plan.uploads[(kind, f"line {number}.crv")] = chance.randbytes(_size(chance))
    plan.generations = tuple(_generation(chance, plan) for _ in range(chance.randint(1, MOST_GENERATIONS)))
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


def _generation(chance, plan):
    commands = []
    for kind in UPLOADS:
        names = tuple(name for of, name in plan.uploads if of == kind)
        if names:
            commands.append(Command("upload", kind, names))
    if plan.archives:
        wanted = tuple(name for name in plan.archives if chance.random() < 0.7)
        if wanted:
            commands.append(Command("download", ARCHIVE_KIND, wanted))
    if plan.to_delete:
        commands.append(Command("delete", ARCHIVE_KIND, plan.to_delete))
    chance.shuffle(commands)
    if chance.random() < 0.2:
        commands.insert(chance.randint(0, len(commands)), Command("logout"))
    commands.insert(0, Command("login"))
    return Generation(tuple(commands), _kill(chance, commands))


def _kill(chance, commands):
    command = chance.randint(-1, len(commands) - 1)
    victim = chance.choice(VICTIMS)
    if chance.random() < 0.5:
        landmark, most = chance.choice(LANDMARKS["start" if command < 0 else commands[command].verb])
        return Kill(victim, command, _count(chance, most), 0, landmark)
    return Kill(victim, command, _count(chance, MOST_STEPS), chance.choice(DELAYS_S))


def _count(chance, most):
    """A random number from 1. All orders of magnitude are equally likely."""
    return int(math.exp(chance.uniform(0, math.log(most + 1))))

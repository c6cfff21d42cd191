"""Archives to send, and what must stand in a folder when one was unpacked into it."""

import random
import struct
import zipfile
from pathlib import Path

SUFFIXES = (".zip", ".ZIP")
LARGE_BYTES = 6 * 1024 * 1024


def make_samples(folder):
    """What farm software sends: archives that share file names, one with sub-folders, names beyond ASCII, one of
    some MB, one without content worth the name."""
    folder.mkdir(parents=True, exist_ok=True)
    noise = random.Random(1)
    samples = {
        "north-field.zip": {"TASKDATA.XML": b"<Task field='north'/>\n", "GRD00000.BIN": noise.randbytes(40_000)},
        "south-field.zip": {"TASKDATA.XML": b"<Task field='south' rate='120'/>\n",
                            "GRD00000.BIN": noise.randbytes(12_345)},
        "with folders.zip": {"TASKDATA/TASKDATA.XML": b"<Task/>\n", "TASKDATA/grids/a/GRD00001.BIN": b"\0" * 5000,
                             "read me.txt": "Größe in Hektar\n".encode()},
        "Wiesen-Düngung žluťoučký.zip": {"Schläge/Wiese östlich.xml": b"<Partfield/>\n", "TASKDATA.XML": b"<x/>\n"},
        "large.zip": {"GRD00009.BIN": noise.randbytes(LARGE_BYTES), "TASKDATA.XML": b"<Task large='1'/>\n"},
        "OLD-NAMES.ZIP": {"LINES.XML": b"<Lines/>\n", "EMPTY.TXT": b""},
    }
    for name, files in samples.items():
        write_zip(folder / name, files)
    return folder


def write_zip(path, files):
    """A sound archive: {entry: bytes}."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for entry, content in files.items():
            archive.writestr(entry, content)
    return path


def write_corrupt_zip(path):
    """Looks like an archive; the stored bytes are not the ones that the checksum was made of."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_STORED) as archive:
        archive.writestr("broken.bin", b"A" * 5000)
    content = bytearray(path.read_bytes())
    content[content.index(b"AAAA") + 100] ^= 0xFF
    path.write_bytes(content)
    return path


def archives_in(folder):
    """The archives of a folder that a console can take, by name."""
    return sorted(path for path in Path(folder).iterdir() if path.is_file() and path.name.endswith(SUFFIXES))


def expected_files(path):
    """{relative path: bytes} that unpacking must yield, or None if the archive is one to refuse."""
    try:
        with zipfile.ZipFile(path) as archive:
            entries = archive.infolist()
            if any(not is_harmless(entry) for entry in entries):
                return None
            return {entry.filename: archive.read(entry) for entry in entries if not entry.is_dir()}
    except (zipfile.BadZipFile, zipfile.LargeZipFile, EOFError, OSError, RuntimeError, NotImplementedError,
            struct.error, ValueError):
        return None


def is_harmless(entry):
    """Neither encrypted, a link or a device, nor with a way out of the folder in its name."""
    mode = entry.external_attr >> 16
    is_special = entry.create_system == 3 and mode & 0o170000 not in (0, 0o100000, 0o040000)
    parts = entry.filename.split("/")
    return not (entry.flag_bits & 1 or is_special or entry.filename.startswith("/") or ".." in parts)


def compare(expected, folder):
    """What is wrong with the unpacked files of one archive, as texts; none if every byte is right."""
    problems = []
    for name, content in expected.items():
        path = folder / name
        if not path.is_file():
            problems.append(f"{name} is missing")
        elif path.read_bytes() != content:
            problems.append(f"{name} differs from the archive's")
    return problems


def content_of(folder):
    """{relative path: bytes} of a folder and everything below it."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}

"""Archives to send, and the files that a console must unpack from them."""

import hashlib
import random
import struct
import zipfile
import zlib
from pathlib import Path

from .entries import is_refused, paths_of, take_own_flags

SUFFIXES = (".zip", ".ZIP")
LARGE_BYTES = 6 * 1024 * 1024
CHUNK_BYTES = 1024 * 1024


def make_samples(folder):
    """Archives like those of farm software: with shared file names, with sub-folders, with names beyond ASCII, with
    several MB, and with an empty file."""
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
    """Writes a sound archive of {entry: bytes}."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for entry, content in files.items():
            archive.writestr(entry, content)
    return path


def write_corrupt_zip(path):
    """Writes an archive whose checksum does not fit its bytes."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_STORED) as archive:
        archive.writestr("broken.bin", b"A" * 5000)
    content = bytearray(path.read_bytes())
    content[content.index(b"AAAA") + 100] ^= 0xFF
    path.write_bytes(content)
    return path


def archives_in(folder):
    """The archives in a folder that a console takes, sorted by name."""
    return sorted(path for path in Path(folder).iterdir() if path.is_file() and path.name.endswith(SUFFIXES))


def expected_files(path):
    """{relative path: digest} of the unpacked files, or None if a console must refuse the archive."""
    try:
        with zipfile.ZipFile(path) as archive:
            entries = archive.infolist()
            take_own_flags(archive, entries)
            if is_refused(entries, path.stat().st_size):
                return None
            return {name: digest_of(archive.open(entry)) for name, entry in paths_of(entries).items()}
    except (zipfile.BadZipFile, zipfile.LargeZipFile, zlib.error, EOFError, OSError, RuntimeError,
            NotImplementedError, struct.error, ValueError):
        return None


def digests(files):
    """{relative path: digest} of {relative path: bytes}"""
    return {name: hashlib.sha256(content).hexdigest() for name, content in files.items()}


def digest_of(stream):
    with stream:
        digest = hashlib.sha256()
        while chunk := stream.read(CHUNK_BYTES):
            digest.update(chunk)
    return digest.hexdigest()


def fit_into(expected, folder):
    """Whether `folder` takes all files: no file would replace a folder, and no folder would replace a file."""
    return not any((folder / name).is_dir() or any((folder / parent).is_file() for parent in Path(name).parents)
                   for name in expected)


def compare(expected, folder):
    """The faults of the unpacked files of one archive, as texts; empty if every byte is right."""
    problems = []
    for name, digest in expected.items():
        path = folder / name
        if not path.is_file():
            problems.append(f"{name} is missing")
        elif digest_of(path.open("rb")) != digest:
            problems.append(f"{name} differs from the archive's")
    return problems


def content_of(folder):
    """{relative path: bytes} of all files in a folder and its sub-folders."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}

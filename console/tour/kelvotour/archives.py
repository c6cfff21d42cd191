"""Archives to send, and the files that a console must unpack from them."""

import hashlib
import random
import struct
import zipfile
import zlib
from pathlib import Path

from .entries import RESERVED, all_paths, is_refused, paths_of, take_own_flags

SUFFIXES = (".zip", ".ZIP")
LARGE = "large.zip"
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
        "OLD-NAMES.ZIP": {"LINES.XML": b"<Lines/>\n", "EMPTY.TXT": b""},
    }
    for name, files in samples.items():
        write_zip(folder / name, files)
    write_large(folder)
    return folder


def write_large(folder):
    return write_zip(folder / LARGE, {"GRD00009.BIN": random.Random(2).randbytes(LARGE_BYTES),
                                      "TASKDATA.XML": b"<Task large='1'/>\n"})


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
    """{path: digest} of the unpacked files below the folder of all archives, or None if a console must refuse the
    archive."""
    try:
        with zipfile.ZipFile(path) as archive:
            entries = archive.infolist()
            take_own_flags(archive, entries)
            if is_refused(entries, path.stat().st_size):
                return None
            files = {name: digest_of(archive.open(entry)) for name, entry in paths_of(entries).items()}
            return placed(path.name, files, all_paths(entries))
    except (zipfile.BadZipFile, zipfile.LargeZipFile, zlib.error, EOFError, OSError, RuntimeError,
            NotImplementedError, struct.error, ValueError):
        return None


def folder_of(name):
    """The folder into which a console unpacks the archive of this name."""
    stem = name.removesuffix(".zip")
    return name if stem in (name, "", ".", "..", RESERVED) or stem.lower().endswith(".zip") else stem


def placed(name, files, paths=()):
    """{path below the folder of all archives: value} of the files of the archive `name`, {path in the archive: value}.
    If all paths, with those of empty folders, are in one folder of the archive's name, that folder is not repeated."""
    stem = name[:-4] if name.lower().endswith(".zip") else name
    every = {*files, *paths}
    is_wrapped = bool(every) and stem not in files and all(path.split("/")[0] == stem for path in every)
    return {f"{folder_of(name)}/{path.removeprefix(f'{stem}/') if is_wrapped else path}": value
            for path, value in files.items()}


def digests(files):
    """{relative path: digest} of {relative path: bytes}"""
    return {name: hashlib.sha256(content).hexdigest() for name, content in files.items()}


def digest_of(stream):
    with stream:
        digest = hashlib.sha256()
        while chunk := stream.read(CHUNK_BYTES):
            digest.update(chunk)
    return digest.hexdigest()


def compare(expected, folder):
    """The faults of the unpacked files of one archive, as texts; empty if every byte is right and no other file is there."""
    own = {name.split("/")[0] for name in expected}
    found = {str(path.relative_to(folder)) for top in own for path in (folder / top).rglob("*") if path.is_file()}
    problems = [f"{name} is not in the archive" for name in sorted(found - expected.keys())]
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

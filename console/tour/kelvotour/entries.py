"""The entries of an archive: the path of each unpacked file, and the archives that a console must refuse.

This module is written from the rules and not from the console's code, so that a test can compare the two. It reads
the bytes of the names, because Python's zipfile decodes names by other rules.
"""

import itertools
import re
import stat
import struct
import unicodedata
import zlib
from pathlib import PurePosixPath

UTF8_FLAG, ENCRYPTED_FLAG = 0x800, 0x1
MS_DOS, UNIX = 0, 3
MS_DOS_FOLDER = 0x10
UNICODE_PATH_FIELD = 0x7075
RESERVED = ".console-unpacking"
MOST_ENTRIES = 100_000
MOST_BYTES = 4 * 1024**3
MOST_RATIO = 200
RATIO_FLOOR_BYTES = 10 * 1024**2
LONGEST_NAME, LONGEST_PATH, DEEPEST = 255, 1024, 64
DRIVE = re.compile(r"[A-Za-z]:")
CONTROL = re.compile(r"[\0-\x1f\x7f]")


def is_refused(entries, archive_bytes):
    """Whether a console must refuse the whole archive. Reads the entries only and unpacks nothing."""
    allowed = min(MOST_BYTES, max(RATIO_FLOOR_BYTES, MOST_RATIO * archive_bytes))
    if len(entries) > MOST_ENTRIES or sum(entry.file_size for entry in entries) > allowed:
        return True
    if any(entry.flag_bits & ENCRYPTED_FLAG or is_special(entry) for entry in entries):
        return True
    return any(has_bad_name(name_of(entry)) for entry in entries) or has_clash(entries)


def take_own_flags(archive, entries):
    """Gives each entry the mark for Unicode of its own header. 7-Zip and others write the mark into one header only, and
    Python's zipfile then takes the two names for different names."""
    for entry in entries:
        archive.fp.seek(entry.header_offset)
        (flags,) = struct.unpack("<6xH", archive.fp.read(8))
        if (flags ^ entry.flag_bits) & UTF8_FLAG:
            raw = raw_name(entry)
            entry.flag_bits ^= UTF8_FLAG
            entry.orig_filename = raw.decode(encoding_of(entry))


def paths_of(entries):
    """{relative path: entry} of the files."""
    return {path_of(entry): entry for entry in entries if not is_folder(entry)}


def all_paths(entries):
    """The paths of all files and folders."""
    return {path for path in map(path_of, entries) if path}


def path_of(entry):
    """The path without empty parts and "."; empty for the destination folder."""
    return "/".join(part for part in name_of(entry).split("/") if part not in ("", "."))


def name_of(entry):
    """The entry's name with '/' between its folders. A Unicode name is composed (NFC)."""
    raw = raw_name(entry).split(b"\0")[0]
    field = unicode_path(entry, raw)
    name = composed((field or raw).decode()) if field or entry.flag_bits & UTF8_FLAG else decoded(raw)
    return name.replace("\\", "/")


def raw_name(entry):
    """The bytes of the name."""
    return entry.orig_filename.encode(encoding_of(entry))


def encoding_of(entry):
    """The encoding that zipfile uses. Without the mark it is code page 437, which has a character for every byte."""
    return "utf-8" if entry.flag_bits & UTF8_FLAG else "cp437"


def composed(name):
    """Joins characters with the marks behind them. A character that Unicode knows under two codes keeps its code."""
    runs = itertools.groupby(name, lambda character: unicodedata.normalize("NFC", character) == character)
    return "".join(unicodedata.normalize("NFC", "".join(run)) if is_plain else "".join(run) for is_plain, run in runs)


def decoded(raw):
    """The name in UTF-8 or, if that fails, in code page 850: Windows writes it without a mark."""
    try:
        return raw.decode()
    except UnicodeDecodeError:
        return raw.decode("cp850")


def unicode_path(entry, raw):
    """The name in the extra field for Unicode names, if it belongs to the name `raw`; otherwise None."""
    rest = entry.extra
    while len(rest) >= 4:
        field, size = struct.unpack("<HH", rest[:4])
        content, rest = rest[4:4 + size], rest[4 + size:]
        if field == UNICODE_PATH_FIELD and len(content) > 5:
            version, crc = struct.unpack("<BL", content[:5])
            if version == 1 and crc == zlib.crc32(raw):
                return content[5:]
    return None


def mode_of(entry):
    """The Unix mode of the entry; 0 if the entry has none."""
    if entry.create_system == UNIX:
        return entry.external_attr >> 16
    if entry.create_system == MS_DOS:
        return stat.S_IFDIR if entry.external_attr & MS_DOS_FOLDER else stat.S_IFREG
    return 0


def is_folder(entry):
    kind = stat.S_IFMT(mode_of(entry))
    return kind == stat.S_IFDIR or name_of(entry).endswith("/")


def is_special(entry):
    """Whether the entry is a link or a device. A pipe is a file: the archiver stored the bytes of the pipe."""
    return stat.S_IFMT(mode_of(entry)) not in (0, stat.S_IFREG, stat.S_IFDIR, stat.S_IFIFO)


def has_bad_name(name):
    """Whether the name leaves the destination, is no valid file name, or is too long."""
    parts = [part for part in name.split("/") if part not in ("", ".")]
    return (not name or name.startswith("/") or bool(DRIVE.match(name)) or bool(CONTROL.search(name))
            or ".." in parts or parts[:1] == [RESERVED] or len(parts) > DEEPEST
            or any(len(part.encode()) > LONGEST_NAME for part in parts)
            or len("/".join(parts).encode()) > LONGEST_PATH)


def has_clash(entries):
    """Whether two files have the same path, a file is also a folder, or a file has no name."""
    files = [path_of(entry) for entry in entries if not is_folder(entry)]
    folders = {path_of(entry) for entry in entries if is_folder(entry)}
    for path in [*files, *folders]:
        folders.update(str(parent) for parent in PurePosixPath(path).parents if path)
    return "" in files or len(set(files)) < len(files) or bool(folders & set(files))

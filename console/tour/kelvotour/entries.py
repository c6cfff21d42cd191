"""An archive's entries as a console takes them: under which path each is unpacked, and which it refuses.

Written from the rules, not from the console's code, so that the two can be compared. It goes by the bytes of the
names: what Python's zipfile makes of them is another reading.
"""

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
    """Whether a console has to refuse all of an archive. Looks at what it says of itself, unpacks nothing."""
    allowed = min(MOST_BYTES, max(RATIO_FLOOR_BYTES, MOST_RATIO * archive_bytes))
    if len(entries) > MOST_ENTRIES or sum(entry.file_size for entry in entries) > allowed:
        return True
    if any(entry.flag_bits & ENCRYPTED_FLAG or is_special(entry) for entry in entries):
        return True
    return any(has_bad_name(name_of(entry)) for entry in entries) or has_clash(entries)


def paths_of(entries):
    """{relative path: entry} of the files."""
    return {path_of(entry): entry for entry in entries if not is_folder(entry)}


def path_of(entry):
    """Without the parts that mean nothing; empty for the destination itself."""
    return "/".join(part for part in name_of(entry).split("/") if part not in ("", "."))


def name_of(entry):
    """The entry's name with '/' between its folders. One that says it is Unicode is composed."""
    name = entry.orig_filename.split("\0")[0]
    is_unicode = entry.flag_bits & UTF8_FLAG
    # For the others zipfile takes the code page 437, which has a character for every byte.
    raw = name.encode("utf-8" if is_unicode else "cp437")
    field = unicode_path(entry, raw)
    if field or is_unicode:
        name = unicodedata.normalize("NFC", (field or raw).decode())
    else:
        name = decoded(raw)
    return name.replace("\\", "/")


def decoded(raw):
    """What Windows writes without saying so, if it is not UTF-8."""
    try:
        return raw.decode()
    except UnicodeDecodeError:
        return raw.decode("cp850")


def unicode_path(entry, raw):
    """The name in the field for Unicode names, if there is one for the name `raw`; else None."""
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
    """The Unix mode that an entry says it has; 0 if it says nothing."""
    if entry.create_system == UNIX:
        return entry.external_attr >> 16
    if entry.create_system == MS_DOS:
        return stat.S_IFDIR if entry.external_attr & MS_DOS_FOLDER else stat.S_IFREG
    return 0


def is_folder(entry):
    kind = stat.S_IFMT(mode_of(entry))
    return kind == stat.S_IFDIR or name_of(entry).endswith("/")


def is_special(entry):
    """A link or a device. What an archiver read from a pipe is a file."""
    return stat.S_IFMT(mode_of(entry)) not in (0, stat.S_IFREG, stat.S_IFDIR, stat.S_IFIFO)


def has_bad_name(name):
    """Whether the name leads elsewhere, cannot be that of a file, or is too long."""
    parts = [part for part in name.split("/") if part not in ("", ".")]
    return (not name or name.startswith("/") or bool(DRIVE.match(name)) or bool(CONTROL.search(name))
            or ".." in parts or parts[:1] == [RESERVED] or len(parts) > DEEPEST
            or any(len(part.encode()) > LONGEST_NAME for part in parts)
            or len("/".join(parts).encode()) > LONGEST_PATH)


def has_clash(entries):
    """Whether a file is there twice, is also a folder, or has no name."""
    files = [path_of(entry) for entry in entries if not is_folder(entry)]
    folders = {path_of(entry) for entry in entries if is_folder(entry)}
    for path in [*files, *folders]:
        folders.update(str(parent) for parent in PurePosixPath(path).parents if path)
    return "" in files or len(set(files)) < len(files) or bool(folders & set(files))

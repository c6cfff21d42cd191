"""Writes ZIP archives byte by byte: those of other systems, and broken ones."""

import struct
import zlib
from dataclasses import dataclass

UTF8_FLAG, ENCRYPTED_FLAG = 0x800, 0x1
REGULAR, FOLDER, LINK = 0o100644 << 16, 0o040755 << 16, 0o120777 << 16
MS_DOS, UNIX = 0, 3
MS_DOS_FOLDER = 0x10
DATE = 0x21


@dataclass
class Entry:
    name: bytes
    content: bytes = b"content"
    flags: int = 0
    system: int = UNIX
    attributes: int = REGULAR
    extra: bytes = b""
    deflated: bool = False
    local_flags: int | None = None  # flags of the entry's own header, if they differ from the directory's


def unicode_path(name, unicode_name):
    """The extra field that holds the Unicode name of an entry whose own name is in a code page."""
    text = unicode_name.encode()
    return struct.pack("<HHBL", 0x7075, len(text) + 5, 1, zlib.crc32(name)) + text


def archive_of(*entries):
    """The bytes of an archive with these entries."""
    body, directory = b"", b""
    for entry in entries:
        data = deflate(entry.content) if entry.deflated else entry.content
        flags = struct.pack("<H", entry.flags)
        local_flags = flags if entry.local_flags is None else struct.pack("<H", entry.local_flags)
        common = struct.pack("<HHHLLLHH", 8 if entry.deflated else 0, 0, DATE, zlib.crc32(entry.content),
                             len(data), len(entry.content), len(entry.name), len(entry.extra))
        directory += (struct.pack("<4sBBH", b"PK\1\2", 20, entry.system, 20) + flags + common
                      + struct.pack("<HHHLL", 0, 0, 0, entry.attributes, len(body)) + entry.name + entry.extra)
        body += struct.pack("<4sH", b"PK\3\4", 20) + local_flags + common + entry.name + entry.extra + data
    end = struct.pack("<4sHHHHLLH", b"PK\5\6", 0, 0, len(entries), len(entries), len(directory), len(body), 0)
    return body + directory + end


def archive_of_files(files):
    """The bytes of an archive with these files, {name: bytes}. The same files give the same bytes."""
    return archive_of(*(Entry(name.encode(), content) for name, content in files.items()))


def deflate(content):
    deflater = zlib.compressobj(wbits=-zlib.MAX_WBITS)
    return deflater.compress(content) + deflater.flush()

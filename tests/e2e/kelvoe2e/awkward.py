"""Archives that two readers may read differently, with the result that the console must give."""

from rawzip import (ENCRYPTED_FLAG, FOLDER, LINK, MS_DOS, MS_DOS_FOLDER, UTF8_FLAG, Entry, archive_of, unicode_path)

ZEROS = bytes(11 * 1024 * 1024)

# archive: (its entries, the paths of the files that it must unpack)
ACCEPTED = {
    "unicode-unsaid.zip": ([Entry("a/Schläge.xml".encode())], ["a/Schläge.xml"]),
    "unicode-said.zip": ([Entry("b/Düngung.xml".encode(), flags=UTF8_FLAG)], ["b/Düngung.xml"]),
    "unicode-said-in-directory.zip": ([Entry("o/Größe.xml".encode(), flags=UTF8_FLAG, local_flags=0)], ["o/Größe.xml"]),
    "unicode-said-at-entry.zip": ([Entry("p/Größe.xml".encode(), local_flags=UTF8_FLAG)], ["p/Größe.xml"]),
    "one-code-two-forms.zip": ([Entry("q/\u212b.xml".encode(), flags=UTF8_FLAG)], ["q/\u212b.xml"]),
    "decomposed.zip": ([Entry("c/Scha\u0308ge.xml".encode(), flags=UTF8_FLAG)], ["c/Sch\u00e4ge.xml"]),
    "windows.zip": ([Entry("d/östlich.xml".encode("cp850"))], ["d/östlich.xml"]),
    "windows-both.zip": ([Entry(b"e/?.xml", extra=unicode_path(b"e/?.xml", "e/ž.xml"))], ["e/ž.xml"]),
    "backslashes.zip": ([Entry(b"f\\g\\h.xml", system=MS_DOS, attributes=0x20),
                         Entry(b"f\\i\\", system=MS_DOS, attributes=MS_DOS_FOLDER, content=b"")], ["f/g/h.xml"]),
    "dots.zip": ([Entry(b"./j//k/./l.xml"), Entry(b"./", attributes=FOLDER, content=b"")], ["j/k/l.xml"]),
    "folder-twice.zip": ([Entry(b"m/", attributes=FOLDER, content=b""), Entry(b"m/", attributes=FOLDER, content=b""),
                          Entry(b"m/n.xml")], ["m/n.xml"]),
    "many-zeros.zip": ([Entry(b"zeros.bin", content=ZEROS[:10 * 1024 * 1024], deflated=True)], ["zeros.bin"]),
}

# archive: its entries; one of them makes the console refuse the whole archive
REFUSED = {
    "file-twice.zip": [Entry(b"r.xml"), Entry(b"./r.xml")],
    "file-and-folder.zip": [Entry(b"s"), Entry(b"s/t.xml")],
    "drive.zip": [Entry(b"C:u.xml")],
    "control.zip": [Entry(b"v\n.xml")],
    "way-up.zip": [Entry(b"w\\..\\..\\x.xml")],
    "absolute.zip": [Entry(b"\\y.xml")],
    "way-up-in-unicode.zip": [Entry(b"z.xml", extra=unicode_path(b"z.xml", "../z.xml"))],
    "nameless.zip": [Entry(b".")],
    "reserved.zip": [Entry(b".console-unpacking/a.xml")],
    "too-long.zip": [Entry("ä".encode() * 128)],
    "too-deep.zip": [Entry(b"/".join([b"a"] * 65))],
    "link.zip": [Entry(b"link", attributes=LINK, content=b"/etc/passwd")],
    "encrypted.zip": [Entry(b"secret.xml", flags=ENCRYPTED_FLAG)],
    "not-unicode.zip": [Entry(b"\xff.xml", flags=UTF8_FLAG)],
    "bomb.zip": [Entry(b"bomb.bin", content=ZEROS, deflated=True)],
}


def write_all(folder):
    """Writes all archives into the folder."""
    for name, (entries, _) in ACCEPTED.items():
        (folder / name).write_bytes(archive_of(*entries))
    for name, entries in REFUSED.items():
        (folder / name).write_bytes(archive_of(*entries))

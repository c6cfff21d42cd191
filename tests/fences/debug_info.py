"""Reads types from the debug information (DWARF 4) of an object file.

Reads the output of readelf, so that an object of a cross build needs no other tool.
"""
import os
import re
import subprocess

READELF = os.environ.get("READELF", "readelf")  # set in a cross build

ENTRY = re.compile(r"^ <(\w+)><(\w+)>: Abbrev Number: \d+ \(DW_TAG_(\w+)\)")
ATTRIBUTE = re.compile(r"^    <\w+>   DW_AT_(\w+)\s*: ?(.*)$")
INDIRECT = re.compile(r"^\(.*?offset: \w+\): ")  # the prefix of a name in the string table
REFERENCE = re.compile(r"^<0x(\w+)>")
BLOCK = re.compile(r"\(DW_OP_constu: (\d+)\)")
FOLDER = re.compile(r"^  (\d+)\t(.*)$")
FILE = re.compile(r"^  (\d+)\t(\d+)\t\d+\t\d+\t(.*)$")
SUFFIXES = {"pointer_type": "*", "reference_type": "&", "rvalue_reference_type": "&&",
            "const_type": " const", "volatile_type": " volatile"}

# Aliases of templates, described by their names without the arguments.
ALIAS_TEMPLATES = ("xal_list",)


class Entry:
    """One entry of the tree: its tag, attributes as readelf prints them, parent and children."""

    def __init__(self, tag, parent):
        self.tag = tag
        self.parent = parent
        self.children = []
        self.attributes = {}

    def __contains__(self, name):
        return name in self.attributes

    def text(self, name):
        return INDIRECT.sub("", self.attributes.get(name, ""))

    def number(self, name):
        """The attribute as a number. None if it is missing or known only at run time."""
        value = self.attributes.get(name, "")
        block = BLOCK.search(value)
        digits = block[1] if block else value.split("\t")[0].strip()
        return int(digits, 0) if re.fullmatch(r"-?\w+", digits) else None

    def of(self, tag):
        return [child for child in self.children if child.tag == tag]


class DebugInfo:
    """The entries of an object file, which has one compilation unit."""

    def __init__(self, path):
        self.pointer_size = 0
        self._entries = {}
        self._files = self._read_files(path)
        self._read(path)

    def all(self):
        return self._entries.values()

    def file_of(self, entry):
        """The path of the source file that declares the entry."""
        return self._files.get(entry.number("decl_file"), "")

    def full_name(self, entry):
        # Leaves out namespaces for versions of the standard library.
        return "::".join(name for name in self._names(entry) if name not in ("__cxx11", "_V2"))

    def linkage_name(self, entry):
        """The symbol of a static member, which the debug information does not have."""
        return f"_ZN{''.join(f'{len(name)}{name}' for name in self._names(entry))}E"

    @staticmethod
    def _names(entry):
        names = []
        while entry is not None and entry.tag != "compile_unit":
            names.insert(0, entry.text("name") or "(unnamed)")
            entry = entry.parent
        return names

    def entry_of_type(self, entry):
        """The entry of the type that an entry refers to, or None."""
        reference = REFERENCE.match(entry.attributes.get("type", ""))
        return self._entries[reference[1]] if reference else None

    def type_of(self, entry):
        """The name of an entry's type, or "void" without a type."""
        target = self.entry_of_type(entry)
        if target is None:
            return "void"
        if target.tag in SUFFIXES:
            return self.type_of(target) + SUFFIXES[target.tag]
        if target.tag == "array_type":
            return self.type_of(target) + "".join(
                f"[{bound.number('upper_bound') + 1}]" for bound in target.of("subrange_type"))
        if target.tag == "subroutine_type":
            return "function"
        if target.tag == "typedef" and target.text("name") in ALIAS_TEMPLATES:
            return self.type_of(target)
        return self.full_name(target)

    @staticmethod
    def _run(option, path):
        return subprocess.run([READELF, option, path], check=True, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, encoding="utf-8",
                              errors="replace").stdout.splitlines()

    def _read_files(self, path):
        folders, files = {"0": ""}, {}
        for line in self._run("--debug-dump=rawline", path):
            file = FILE.match(line)
            folder = FOLDER.match(line)
            if file:
                files[int(file[1])] = os.path.normpath(os.path.join(folders[file[2]], file[3]))
            elif folder:
                folders[folder[1]] = folder[2]
        return files

    def _read(self, path):
        parents, entry = {}, None
        for line in self._run("--debug-dump=info", path):
            start = ENTRY.match(line)
            if start:
                depth = int(start[1], 16)
                parent = parents.get(depth - 1)
                entry = Entry(start[3], parent)
                parents[depth] = self._entries[start[2]] = entry
                if parent is not None:
                    parent.children.append(entry)
            elif entry is not None:
                attribute = ATTRIBUTE.match(line)
                if attribute:
                    entry.attributes[attribute[1]] = attribute[2]
            elif "Pointer Size:" in line:
                self.pointer_size = int(line.split()[-1])

"""Describes the binary interface of headers, as a compiler lays it out."""
import glob
import os
import re
import subprocess
import tempfile

from debug_info import ALIAS_TEMPLATES, DebugInfo

# The headers of the interface, relative to the tree, and whether non-virtual operations belong to it.
# The host calls the plug-in's objects only through their virtual tables.
HEADERS = (
    ("platform/host/include/host/*.h", True),
    ("platform/kesdk/include/kesdk/api/*.h", True),
    ("core/KelvoRecords.h", True),
    ("core/TKelvoInterface.h", True),
    ("plugin/TKelvoDll.h", False),
    ("screens/TKelvo*View.h", False),
    ("screens/TKelvoFileControlWidget.h", False),
    ("worker/TKelvoThreadObject.h", False),
    ("worker/TKESDKNotificationMgr.h", False),
)
# Members that Qt's macros declare only for generated code.
GENERATED = ("tr", "trUtf8", "qt_static_metacall", "QPrivateSignal", "qt_check_for_QGADGET_macro")
DESCRIBED = ("class_type", "structure_type", "enumeration_type", "typedef")
STRUCTOR = re.compile(r"C4(?=E)|D4(?=Ev)")


def headers_of(tree):
    """(path, whole) of each header."""
    found = []
    for pattern, whole in HEADERS:
        paths = sorted(glob.glob(os.path.join(tree, pattern)))
        if not paths:
            raise FileNotFoundError(f"no header {pattern}")
        found += [(os.path.relpath(path, tree), whole) for path in paths]
    return found


def compiled(paths, compiler, flags):
    """The debug information of the headers' types."""
    with tempfile.TemporaryDirectory() as folder:
        source = os.path.join(folder, "interface.cpp")
        built = os.path.join(folder, "interface.o")
        with open(source, "w", encoding="utf-8") as file:
            file.writelines(f'#include "{path}"\n' for path in paths)
        subprocess.run([compiler, *flags, "-O0", "-gdwarf-4", "-fno-eliminate-unused-debug-types",
                        "-femit-class-debug-always", "-c", source, "-o", built], check=True)
        return DebugInfo(built)


class Describer:
    """Describes the classes of one object file."""

    def __init__(self, info, exported):
        self._info = info
        self._exported = exported

    def block(self, entry, whole):
        """The lines of a class or an enumeration, without the first."""
        if entry.tag == "enumeration_type":
            return [f"size {entry.number('byte_size')}",
                    *(f"value {value.number('const_value')} {value.text('name')}"
                      for value in entry.of("enumerator"))]
        if entry.tag == "typedef":
            return [f"alias {self._info.type_of(entry)}"]
        lines = [f"size {entry.number('byte_size')}"]
        lines += [self._base(base) for base in entry.of("inheritance")]
        lines += [f"member {member.number('data_member_location')} {self._data(member)}"
                  for member in entry.of("member")
                  if "data_member_location" in member and "artificial" not in member]
        operations = [operation for operation in entry.of("subprogram")
                      if "artificial" not in operation and "deleted" not in operation
                      and operation.text("name") not in GENERATED]
        slots = [(self._number(entry, operation), operation) for operation in operations
                 if "virtuality" in operation]
        lines += [self._slot(number, operation)
                  for number, operation in sorted(slots, key=lambda slot: slot[0])]
        if whole:
            lines += [f"{self._export(member)}static {self._data(member)}"
                      for member in entry.children if member.tag in ("member", "variable")
                      and "external" in member and self._is_open(entry, member)]
            lines += [self._operation(operation) for operation in operations
                      if "virtuality" not in operation and self._is_open(entry, operation)]
        return lines

    def _base(self, base):
        name = self._info.type_of(base)
        if "virtuality" in base:
            return f"virtual base {name}"
        return f"base {base.number('data_member_location')} {name}"

    def _data(self, member):
        return f"{member.text('name')}: {self._info.type_of(member)}"

    @staticmethod
    def _is_open(entry, member):
        """Whether the plug-in may use the member."""
        given = member.number("accessibility") if "accessibility" in member else None
        return entry.tag == "structure_type" if given is None else given != 3

    def _slot(self, number, operation):
        return f"{self._export(operation)}slot {number} {self._signature(operation)}"

    def _operation(self, operation):
        kind = "operation" if "object_pointer" in operation else "static"
        return f"{self._export(operation)}{kind} {self._signature(operation)}"

    def _export(self, entry):
        name = entry.text("linkage_name") or self._info.linkage_name(entry)
        # A constructor or destructor has one name here, but several symbols.
        name = STRUCTOR.sub(lambda match: match[0][0] + "1", name)
        return "exported " if name in self._exported else ""

    def _number(self, entry, operation):
        if not operation.text("name").startswith("~"):
            return operation.number("vtable_elem_location")
        return self._destructor_slot(entry)

    def _destructor_slot(self, entry):
        """The first of the destructor's two slots. The debug information does not have it: it is the
        gap in the table of the first class with a virtual destructor."""
        below = self._first_base(entry)
        if below is not None and self._has_destructor(below):
            return self._destructor_slot(below)
        used = self._used_slots(entry)
        number = 0
        while number in used or number + 1 in used:
            number += 1
        return number

    def _first_base(self, entry):
        """The base whose virtual table is at the beginning of the class's table."""
        for base in entry.of("inheritance"):
            if "virtuality" not in base and base.number("data_member_location") == 0:
                return self._info.entry_of_type(base)
        return None

    def _has_destructor(self, entry):
        below = self._first_base(entry)
        return (any("virtuality" in operation and operation.text("name").startswith("~")
                    for operation in entry.of("subprogram"))
                or below is not None and self._has_destructor(below))

    def _used_slots(self, entry):
        below = self._first_base(entry)
        used = set() if below is None else self._used_slots(below)
        return used | {operation.number("vtable_elem_location")
                       for operation in entry.of("subprogram")
                       if "vtable_elem_location" in operation}

    def _signature(self, operation):
        parameters = operation.of("formal_parameter")
        types = [self._info.type_of(one) for one in parameters if "artificial" not in one]
        constant = ""
        if "object_pointer" in operation and " const*" in self._info.type_of(parameters[0]):
            constant = " const"
        result = self._info.type_of(operation)
        text = f"{operation.text('name')}({', '.join(types)}){constant}"
        # On some processors, a constructor or destructor returns its object.
        if result == "void" or STRUCTOR.search(operation.text("linkage_name")):
            return text
        return f"{text} -> {result}"


def describe(info, tree, headers, exported):
    """{first line: further lines} for each declaration of the headers."""
    describer = Describer(info, exported)
    whole_of = dict(headers)
    blocks = {}
    for entry in info.all():
        if entry.tag not in DESCRIBED or "declaration" in entry:
            continue
        header = os.path.relpath(info.file_of(entry) or "/", os.path.realpath(tree))
        name = info.full_name(entry)
        if header in whole_of and not hidden(name) and (
                whole_of[header] or entry.tag != "typedef"):
            blocks[f"{name} {header}"] = describer.block(entry, whole_of[header])
    return blocks


def hidden(name):
    parts = name.split("::")
    return ("(unnamed)" in parts or name.startswith("QMetaTypeId<")
            or any(part in (*GENERATED, *ALIAS_TEMPLATES) for part in parts))

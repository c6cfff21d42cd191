#!/usr/bin/env python3
"""Prints the grids of task data archives as JSON: a second reader, which shares no code with the page.

Usage: read_grids.py ARCHIVE...
"""

import json
import struct
import sys
import zipfile
from xml.etree import ElementTree

# The scale and the factor to the unit on the screen: kg/ha, l/ha.
UNITS = {1: 0.01 * 0.01, 6: 1 * 0.01}


def rate(variable, root, raw):
    presentation = variable.get("E") and root.find(f"./VPN[@A='{variable.get('E')}']")
    if presentation is not None and presentation != "":
        return (raw + float(presentation.get("B"))) * float(presentation.get("C"))
    return raw * UNITS[int(variable.get("A"), 16)]


def read_grid(root, task, grid, data):
    columns, rows = int(grid.get("E")), int(grid.get("F"))
    zones = {int(zone.get("A")): zone.findall("PDV") for zone in task.findall("TZN")}
    if grid.get("I") == "1":
        values = [rate(zones[code][0], root, int(zones[code][0].get("B"))) if code in zones else None
                  for code in data[:columns * rows]]
    else:
        variables = zones[int(grid.get("J"))]
        raw = struct.unpack_from(f"<{columns * rows * len(variables)}i", data)[::len(variables)]
        values = [rate(variables[0], root, each) for each in raw]
    south, west, height, width = (float(grid.get(name)) for name in "ABCD")
    return {"columns": columns, "rows": rows, "extent": [west, south, west + columns * width, south + rows * height],
            "values": values}


def grids(path):
    found = []
    with zipfile.ZipFile(path) as archive:
        names = {name.upper(): name for name in archive.namelist()}
        for upper, name in names.items():
            if not upper.endswith("TASKDATA.XML"):
                continue
            root = ElementTree.fromstring(archive.read(name))
            folder = upper[:-len("TASKDATA.XML")]
            for task in root.iter("TSK"):
                for grid in task.findall("GRD"):
                    binary = names.get(f"{folder}{grid.get('G').upper()}.BIN")
                    if binary:
                        found.append(read_grid(root, task, grid, archive.read(binary)))
    return found


print(json.dumps([grids(path) for path in sys.argv[1:]]))

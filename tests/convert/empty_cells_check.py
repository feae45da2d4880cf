"""Formatted empty cells land where the cells of their file addresses land.

`wzss dump` shows the items as the plug-in gives them, formatted empty cells
at their addresses in the file. For every workbook a copy gets a cell line at
each of those addresses; in `wzss json` the cells the copy gained must sit
exactly where the original's formatted empty cells sit, and its other cells
where they were. The titles sample's JSON must equal its golden.

usage: empty_cells_check.py WZSS WZGEN SCRATCH GOLDEN WORKBOOK...
"""
import json
import os
import re
import subprocess
import sys

wzss, wzgen, scratch, golden, inputs = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4], sys.argv[5:]
os.makedirs(scratch, exist_ok=True)
generated = os.path.join(scratch, "generated.wzs")
subprocess.run([wzgen, "--size", "96K", "--seed", "5", "-o", generated], check=True)
inputs.append(generated)
failures = []


def expect(what, got, wanted):
    if got != wanted:
        failures.append(f"{what}: got {got!r}, wanted {wanted!r}")


def run(*args):
    return subprocess.run([wzss, *args], check=True, capture_output=True).stdout


def number(letters):  # sheet or column letters: every byte from 'A' to 'z' counts from 1
    value = 0
    for byte in letters:
        value = value * 26 + ord(byte) - 64
    return value


def letters(value):
    return (chr(64 + (value - 1) // 26) if value > 26 else "") + chr(65 + (value - 1) % 26)


CELL_LINE = re.compile(rb"^(?:P )?\([^)]*\)\s+(?:([A-z]{1,2})!)?[A-z]{1,2}\d+")


def empty_addresses(path):
    """{sheet number: [address in the file]} from the items as the plug-in gives them."""
    found, sheet = {}, 0
    for line in run("dump", path).decode("utf-8", "replace").splitlines():
        if line.startswith("sheet "):
            sheet = int(line.split()[1])
        elif line.startswith("cell ") and " font=- " in line:
            found.setdefault(sheet, []).append(line.split()[1])
    return found


def with_cell_lines(path, addresses, copy):
    """The workbook with a cell line at each address, at the start of its sheet's
    last run of cell lines (only that run is read), or at the end."""
    lines = open(path, "rb").read().split(b"\n")
    body = next(i for i, l in enumerate(lines) if l.lower().startswith(b"headers and footers end")) + 1
    run_start, previous = {}, None
    for index in range(body, len(lines)):
        match = CELL_LINE.match(lines[index])
        if match:
            sheet = number(match.group(1).decode()) if match.group(1) else 1
            if sheet != previous:
                run_start[sheet] = index
            previous = sheet
    inserts = sorted(((run_start.get(s, len(lines)), s, a) for s, found in addresses.items() for a in found),
                     reverse=True)
    for index, sheet, address in inserts:
        lines.insert(index, f"(G0||) {letters(sheet)}!{address}: 1".encode())
    with open(copy, "wb") as out:
        out.write(b"\n".join(lines) + (b"" if lines[-1] == b"" else b"\n"))


def positions(document, member):
    return [{(c["row"], c["column"]) for c in sheet[member]} for sheet in document["sheets"]]


for path in inputs:
    name = os.path.basename(path)
    addresses = empty_addresses(path)
    copy = os.path.join(scratch, "lined-" + name)
    with_cell_lines(path, addresses, copy)
    original, lined = json.loads(run("json", path)), json.loads(run("json", copy))
    cells, empty, lined_cells = positions(original, "cells"), positions(original, "formattedEmptyCells"), \
        positions(lined, "cells")
    expect(f"{name}: formatted empty cells", sum(map(len, empty)), sum(map(len, addresses.values())))
    for index, sheet in enumerate(original["sheets"]):
        where = f"{name} sheet {sheet['name']!r}"
        expect(f"{where}: cells kept", cells[index] <= lined_cells[index], True)
        expect(f"{where}: empty cells at their cells' places", empty[index], lined_cells[index] - cells[index])

    if name == "titles.wzs":
        expect("titles.wzs against its golden", run("json", "--pretty", path).decode(),
               open(golden, encoding="utf-8").read())

print("\n".join(failures[:20]) or f"ok: {len(inputs)} workbooks")
sys.exit(1 if failures else 0)

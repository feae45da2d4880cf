"""The XLSX output read back with openpyxl, an independent reader, and
compared with the converter's own JSON of the same workbook: sheet names,
every cell's position, value, number format, font, fill, borders and
alignment, column widths, row heights, hidden lines, the title rows and
columns frozen and printed, the default font and the object notes; numbers, dates and times shown through their number
format by the npm package ssf must give the JSON's text. Then the failures: an unwritable target and a file that is
no workbook leave no file behind, neither at the target nor in TMPDIR, nor does
a command stopped by a signal while it copies standard input.

usage: xlsx_check.py WZSS WZGEN SCRATCH WORKBOOK...
"""
import datetime, glob, json, os, shutil, subprocess, sys, time
import openpyxl
from openpyxl.utils import get_column_letter
from openpyxl.utils.datetime import to_excel

wzss, wzgen, scratch, inputs = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
os.makedirs(scratch, exist_ok=True)
tmp = os.path.join(scratch, "tmp")
shutil.rmtree(tmp, ignore_errors=True)  # what an earlier run left there is no fault of this one
os.makedirs(tmp)
env = dict(os.environ, TMPDIR=tmp)
for size, seed in (("256K", "1"), ("64K", "7")):
    generated = os.path.join(scratch, f"generated-{seed}.wzs")
    subprocess.run([wzgen, "--size", size, "--seed", seed, "-o", generated], check=True)
    inputs.append(generated)
failures = []
typed = []  # (where, number, format, display text) for the judge below

def expect(what, got, wanted):
    if got != wanted:
        failures.append(f"{what}: got {got!r}, wanted {wanted!r}")

NAME_SAFE = {c: "_" for c in [*range(32), 127]}  # no XML attribute holds a control character

def rgb(colour):  # "#rrggbb" as openpyxl shows it
    return "FF" + colour[1:].upper()

def check_names(names, raw):
    folded = [n.casefold() for n in names]
    expect("unique names", len(set(folded)), len(names))
    for i, (name, original) in enumerate(zip(names, raw)):
        ok = 0 < len(name) <= 31 and not set(name) & set("[]:*?/\\\x7f") and name[0] != "'" \
            and name[-1] != "'" and name.casefold() != "history"
        expect(f"valid name {name!r}", ok, True)
        # A valid name stays as it is; " (2)" follows it when an earlier sheet took it.
        if 0 < len(original) <= 31 and not set(original) & set("[]:*?/\\'\x7f") \
                and original.casefold() != "history":
            expect("name kept", name, original + (" (2)" if original.casefold() in folded[:i] else ""))

# A font size of 0 has no meaning in XLSX: the cell keeps 11 points.
def check_cell(where, c, cell):
    text = cell.get("text")
    if isinstance(c.value, (int, float, datetime.datetime, datetime.time)):
        number = c.value if isinstance(c.value, (int, float)) else to_excel(c.value)
        typed.append((where, number, c.number_format, text))
    else:
        expect(where + " value", c.value, text if text else None)
        expect(where + " number format", c.number_format, "General")
    fill = cell["fill"]
    if fill and fill["pattern"] == 0:
        expect(where + " fill", (c.fill.fill_type, c.fill.fgColor.rgb), ("solid", rgb(fill["shownColor"])))
    elif fill:
        expect(where + " fill", (c.fill.fill_type, c.fill.fgColor.rgb, c.fill.bgColor.rgb),
               ("lightUp", rgb(fill["patternColor"]), rgb(fill["backgroundColor"])))
    elif "font" in cell and cell["backColor"] != "#ffffff":
        expect(where + " fill", (c.fill.fill_type, c.fill.fgColor.rgb), ("solid", rgb(cell["backColor"])))
    else:
        expect(where + " fill", c.fill.fill_type, None)
    for side in ("left", "top", "right", "bottom"):
        line = (cell["borders"] or {}).get(side)
        got = getattr(c.border, side)
        wanted = None if not line else {1: "dotted", 6: "medium", 7: "double"}.get(line["style"], "thin")
        expect(f"{where} {side} border", got.style, wanted)
        if line:
            expect(f"{where} {side} colour", got.color.rgb, rgb(line["color"]))
    if "font" not in cell:  # a formatted empty cell: the workbook's font
        expect(where + " font", (c.font.name, c.font.sz), default_font)
        return
    font = cell["font"]
    expect(where + " font", (c.font.name, c.font.sz, bool(c.font.b), bool(c.font.i), c.font.u),
           (font["name"].translate(NAME_SAFE), font["size"] or 11, font["bold"], font["italic"],
            "single" if font["underline"] else None))
    expect(where + " text colour", c.font.color.rgb, rgb(cell["textColor"]))
    a = cell["alignment"]
    expect(where + " alignment", (c.alignment.horizontal, c.alignment.vertical, bool(c.alignment.wrap_text)),
           (None if a["horizontal"] == "general" else a["horizontal"],
            None if a["vertical"] in ("none", "bottom") else a["vertical"], a["wrap"]))

def lines(runs, size=None):  # {index: size} over runs, later runs win
    out = {}
    for run in runs:
        for i in range(run["first"], min(run["last"], 1048576) + 1):
            out[i] = run[size] if size else True
    return out

def check_sheet(name, ws, sheet):
    cells = {(c["row"], c["column"]): c for c in sheet["cells"] + sheet["formattedEmptyCells"]}
    # openpyxl makes a cell for each note; the notes are checked below.
    written = [k for k, c in ws._cells.items() if k in cells or c.comment is None]
    expect(name + " cell positions", sorted(written), sorted(cells))
    for (row, column), cell in cells.items():
        check_cell(f"{name}!{cell['address']}", ws.cell(row, column), cell)
    settings = sheet["settings"]
    default = (settings["defaultFontHeight"] or 200) * 1.5 / 20  # size 0: 10 points
    expect(name + " default row", ws.sheet_format.defaultRowHeight, default)
    heights = lines(sheet["rowHeights"], "height")
    hidden_rows = lines(sheet["hiddenRows"])
    for r in set(ws.row_dimensions) | set(heights) | set(hidden_rows):
        dim = ws.row_dimensions[r]
        expect(f"{name} row {r} height", dim.height or default, heights.get(r, default * 20) / 20)
        expect(f"{name} row {r} hidden", bool(dim.hidden), r in hidden_rows)
    widths = lines(sheet["columnWidths"], "width")
    hidden_columns = lines(sheet["hiddenColumns"])
    covered = 0
    for dim in ws.column_dimensions.values():
        for column in range(dim.min, dim.max + 1):
            covered += 1
            twips = widths.get(column, settings["defaultColumnWidth"])
            expect(f"{name} column {column} px", round(dim.width * 7), (twips + 7) // 15)
            expect(f"{name} column {column} hidden", bool(dim.hidden), column in hidden_columns)
    expect(name + " columns covered", covered, 16384)
    rows, columns = settings["titleRows"], settings["titleColumns"]  # frozen and printed
    expect(name + " frozen", ws.freeze_panes,
           f"{get_column_letter(columns + 1)}{rows + 1}" if rows or columns else None)
    expect(name + " print titles", (ws.print_title_rows, ws.print_title_cols),
           (f"$1:${rows}" if rows else None, f"$A:${get_column_letter(columns)}" if columns else None))
    for number, obj in enumerate(sheet["objects"], 1):
        note = ws[obj["from"]["address"]].comment
        wanted = f"Graphic object {number} of this sheet"
        expect(f"{name} object {number} note", note is not None and wanted in note.text
               and (obj["sizeText"] or "") in note.text, True)

def check(path, xlsx):
    document = json.loads(subprocess.run([wzss, "json", path], check=True, capture_output=True).stdout)
    book = openpyxl.load_workbook(xlsx)
    raw = [s["name"] for s in document["sheets"]]
    check_names(book.sheetnames, raw)
    global default_font
    font = document["sheets"][0]["settings"]["defaultFont"]
    default_font = (font["name"].translate(NAME_SAFE), font["size"] or 11)
    expect(path + " default font", (book._fonts[0].name, book._fonts[0].sz), default_font)
    for ws, sheet in zip(book.worksheets, document["sheets"]):
        check_sheet(f"{os.path.basename(path)}:{ws.title}", ws, sheet)

# The batch for the given workbooks, the single command for the generated ones.
batch = os.path.join(scratch, "batch")
subprocess.run([wzss, "convert", "--to", "xlsx", "-j", "2", "-o", batch] + inputs[:-2], check=True, env=env)
for path in inputs:
    stem = os.path.splitext(os.path.basename(path))[0]
    xlsx = os.path.join(batch, stem + ".xlsx")
    if path in inputs[-2:]:
        xlsx = os.path.join(scratch, stem + ".xlsx")
        subprocess.run([wzss, "xlsx", path, "-o", xlsx], check=True, env=env, stdout=subprocess.DEVNULL)
    check(path, xlsx)

# Every number, date and time must show as its display text: the npm
# package ssf, an independent implementation of the number formats, judges.
judge = "const SSF = require('ssf'); const cases = JSON.parse(require('fs').readFileSync(0));" \
        "console.log(JSON.stringify(cases.map(([n, f]) => SSF.format(f, n))));"
modules = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "host", "values_judge", "node_modules")
shown = subprocess.run(["node", "-e", judge], input=json.dumps([[n, f] for _, n, f, _ in typed]),
                       capture_output=True, text=True, env=dict(env, NODE_PATH=modules))
if shown.returncode != 0:
    failures.append("ssf could not judge the typed cells (npm ci in tests/host/values_judge): " + shown.stderr[-300:])
else:
    for (where, number, code, text), got in zip(typed, json.loads(shown.stdout)):
        expect(f"{where} {number} in {code!r}", got, text)
expect("typed cells", len(typed) > 0, True)

# Failures: a target below a plain file, and an input that is no workbook.
blocker = os.path.join(scratch, "plain-file")
open(blocker, "w").close()
for source, target in ((inputs[0], os.path.join(blocker, "out.xlsx")),
                       (blocker, os.path.join(scratch, "none", "out.xlsx"))):
    run = subprocess.run([wzss, "xlsx", source, "-o", target], env=env, capture_output=True, text=True)
    expect(f"{target} status", run.returncode, 1)
    expect(f"{target} message names a file", source in run.stderr or blocker in run.stderr, True)
    expect(f"{target} left behind", [f for f in os.listdir(os.path.dirname(target)) if "out" in f]
           if os.path.isdir(os.path.dirname(target)) else [], [])
# A signal while standard input is copied removes the copy.
reading = subprocess.Popen([wzss, "info", "-"], stdin=subprocess.PIPE, env=env)
for _ in range(1000):
    if glob.glob(os.path.join(tmp, "wzss-*", "stdin")):
        break
    time.sleep(0.01)
reading.terminate()
reading.wait()
expect("temporary files left", os.listdir(tmp), [])

print("\n".join(failures[:40]) or
      f"{len(inputs)} workbooks: the XLSX matches the JSON, {len(typed)} typed cells judged by ssf")
sys.exit(1 if failures else 0)

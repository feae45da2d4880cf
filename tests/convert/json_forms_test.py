#!/usr/bin/python3
"""The JSON forms of `wzss json` as a consumer reads them: the compact document and
the --lines form of the styled workbook equal their goldens; every sample's
document and lines pass the published JSON Schema under an independent validator
(Debian's python3-jsonschema); --pretty is the same document indented; standard
input ("-") gives what the file gives.

Usage: json_forms_test.py WZSS SCHEMA GOLDEN_DIR WORKBOOK...  (the first workbook
is the one with goldens)."""
import json
import pathlib
import subprocess
import sys

import jsonschema

wzss, schema_path, golden_dir, *workbooks = sys.argv[1:]
schema = json.loads(pathlib.Path(schema_path).read_text())
document_check = jsonschema.Draft202012Validator(schema)
line_check = jsonschema.Draft202012Validator({"$defs": schema["$defs"], "$ref": "#/$defs/line"})
failures = []


def run(*args, stdin=None):
    done = subprocess.run([wzss, "json", *args], stdin=stdin, capture_output=True, check=False)
    if done.returncode != 0:
        failures.append(f"wzss json {' '.join(args)}: exit {done.returncode}: {done.stderr!r}")
    return done.stdout.decode()


def expect(condition, what):
    if not condition:
        failures.append(what)


def check_schema(validator, value, where):
    for error in validator.iter_errors(value):
        failures.append(f"{where}: {'/'.join(map(str, error.absolute_path))}: {error.message}")


for index, workbook in enumerate(workbooks):
    name = pathlib.Path(workbook).name
    compact, lines = run(workbook), run("--lines", workbook)
    document = json.loads(compact)
    check_schema(document_check, document, name)
    expect(compact.count("\n") == 1, f"{name}: the compact document is not one line")
    for number, line in enumerate(lines.splitlines(), 1):
        check_schema(line_check, json.loads(line), f"{name} --lines line {number}")
    cells = [dict(sheet=s["number"], sheetName=s["name"], **c)
             for s in document["sheets"] for c in s["cells"]]
    expect([json.loads(l) for l in lines.splitlines()] == cells,
           f"{name}: the lines are not the document's cells")
    pretty = run("--pretty", workbook)
    expect(json.loads(pretty) == document and pretty.startswith('{\n  "format": "wzss-workbook",\n'),
           f"{name}: --pretty is not the document indented")
    if index == 0:
        for text, golden in ((compact, "styled.json"), (lines, "styled.ndjson")):
            expect(text == (pathlib.Path(golden_dir) / golden).read_text(),
                   f"{name}: differs from {golden}")
        expect(json.loads(run("--sheet", "2", workbook))["sheets"] == document["sheets"][1:],
               "--sheet 2 is not sheet 2")
        with open(workbook, "rb") as stdin:
            expect(run("-", stdin=stdin) == compact.replace(f'"file":"{name}"', '"file":"stdin"'),
                   f"{name}: standard input gives another document")

print("\n".join(failures[:20]) or f"ok: {len(workbooks)} workbooks")
sys.exit(1 if failures else 0)

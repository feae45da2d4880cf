import csv
import datetime
import io
import json
import threading

import pandas as pd
import pytest

import wzss
import wzss.dask
from conftest import ROOT, command


def csv_rows(text: str) -> list:
    # A record of one empty field is an empty line, which the reader gives as [].
    return [row or [""] for row in csv.reader(io.StringIO(text, newline=""))]


def frame_rows(frame: pd.DataFrame) -> list:
    return [["" if value is None else value for value in row] for row in frame.values.tolist()]


@pytest.mark.parametrize("keep_hidden", [True, False])
def test_grids_hold_the_commands_csv_fields(workbooks, keep_hidden):
    for path in workbooks:
        frames = wzss.read_workbook(path, values="display", keep_hidden=keep_hidden)
        for number, (name, frame) in enumerate(frames.items(), start=1):
            args = ["csv", path, "--sheet", str(number)] + (["--keep-hidden"] if keep_hidden else [])
            assert frame_rows(frame) == csv_rows(command(*args)), (path, name)
        one = wzss.read_sheet(path, len(frames) - 1, values="display", keep_hidden=keep_hidden)
        assert one.equals(list(frames.values())[-1])
        assert wzss.read_sheet(path, name, values="display",
                               keep_hidden=keep_hidden).equals(frames[name])


def cell_as_json(cell: wzss.Cell) -> dict:
    side = lambda s: None if s is None else {"style": s.style, "color": s.color}  # noqa: E731
    fill = cell.fill
    # A hidden cell has no text, so the JSON says "text" where Python says None.
    value = {"value": cell.value} if cell.type == "number" else {}
    return {"row": cell.row, "column": cell.column, "address": cell.address, "text": cell.text,
            **value, "type": cell.type or "text", "alignment": cell.alignment._asdict(),
            "font": cell.font._asdict(),
            "textColor": cell.text_color, "backColor": cell.back_color,
            "fill": fill and {"pattern": fill.pattern, "shadePercent": fill.shade_percent,
                              "patternColor": fill.pattern_color,
                              "backgroundColor": fill.background_color},
            "borders": cell.borders and {k: side(v) for k, v in cell.borders._asdict().items()},
            "type": cell.type, **({} if cell.type == "text" else {"value": json_value(cell.value)})}


def json_value(value):
    """A typed value as the JSON writes it: a number, or ISO 8601 text."""
    if isinstance(value, float):
        return value
    if isinstance(value, pd.Timestamp):
        return value.isoformat().removesuffix("T00:00:00")
    return value.isoformat()


def test_cells_and_styles_equal_the_commands_json(workbooks):
    for path in workbooks:
        document = json.loads(command("json", path))
        long = wzss.read_cells(path)
        with wzss.open(path) as book:
            assert [(s.name, s.number) for s in book.sheets] == \
                [(s["name"], s["number"]) for s in document["sheets"]]
            for index, sheet in enumerate(document["sheets"]):
                expected = []
                for cell in sheet["cells"]:
                    del cell["hidden"], cell["alignment"]["word"]
                    if cell["fill"]:
                        cell["fill"].pop("shownColor", None)
                    expected.append(cell)
                assert [cell_as_json(c) for c in book.sheet(index).cells()] == expected, path
                mine = long[long.sheet == sheet["name"]]
                assert [[r.row, r.column, r.address, r.text, r.type,
                         r.value if r.type == "text" else json_value(r.value)]
                        for r in mine.itertuples()] == \
                    [[c["row"], c["column"], c["address"], c["text"], c["type"],
                      c.get("value", c["text"])] for c in expected]
        assert (long.file == path).all()


def test_convert_gives_the_commands_output(tmp_path):
    path = str(ROOT / "samples" / "budget.wzs")
    assert wzss.convert(path, "json") == command("json", path)
    out = wzss.convert(path, "html", tmp_path / "page.html")
    assert open(out, encoding="utf-8").read() == command("html", path)
    sheets = wzss.convert(path, "csv", keep_hidden=True)
    assert sheets["Sales"] == command("csv", path, "--sheet", "Sales", "--keep-hidden")
    written = wzss.convert(path, "csv", tmp_path / "csv")
    assert [open(p, newline="").read() for p in written] == \
        [command("csv", path, "--sheet", name) for name in sheets]
    import openpyxl
    xlsx = openpyxl.load_workbook(wzss.convert(path, "xlsx", tmp_path / "book.xlsx"))
    for name, frame in wzss.read_workbook(path, keep_hidden=True).items():
        mine = {(r + 1, c + 1): v for (r, c), v in frame.stack().items()}
        theirs = {(cell.row, cell.column): cell.value for row in xlsx[name].iter_rows()
                  for cell in row if cell.value is not None}
        assert theirs == mine, name


def typed_field(value, field: str):
    """The value as `wzss csv --values typed` writes it, given its field
    there (numbers are compared as numbers, the shortest form differing)."""
    if value is None or (isinstance(value, float) and pd.isna(value)):
        return ""
    if isinstance(value, float):
        return field if float(field or "nan") == value else repr(value)
    if isinstance(value, pd.Timestamp):
        return value.isoformat().removesuffix("T00:00:00")
    return value if isinstance(value, str) else value.isoformat()


def test_typed_values_equal_the_commands_typed_csv(workbooks):
    for path in workbooks:
        cells = wzss.read_cells(path)
        frames = wzss.read_workbook(path, keep_hidden=True)
        for number, (name, frame) in enumerate(frames.items(), start=1):
            fields = csv_rows(command("csv", path, "--sheet", str(number), "--values", "typed",
                                      "--keep-hidden"))
            got = [[typed_field(v, f) for v, f in zip(row, line)]
                   for row, line in zip(frame.astype(object).values, fields)]
            assert got == fields and len(frame) == len(fields), (path, name)
            for cell in cells[(cells.sheet == name) & (cells.text > "")].itertuples():
                field = fields[cell.row - 1][cell.column - 1]
                assert typed_field(cell.value, field) == field, (path, cell.address)
    typed = wzss.read_sheet(str(ROOT / "samples" / "formats.wzs"), 2, header=0)
    assert str(typed.dtypes["Value"]) == "float64" and typed.iat[1, 1] == datetime.time(12)
    sales = wzss.read_sheet(str(ROOT / "samples" / "budget.wzs"), "Sales", header=0)
    assert sales.to_dict("list") == {"Region": ["North", "South"], "Sales": [1200.0, 950.0]}


def test_unreadable_files_raise_naming_file_and_reason(tmp_path, generated):
    truncated = tmp_path / "truncated.wzs"
    truncated.write_bytes((ROOT / "samples" / "budget.wzs").read_bytes()[:300])
    cases = [(tmp_path / "missing.wzs", FileNotFoundError, "No such file"),
             (tmp_path, IsADirectoryError, "directory"),
             (ROOT / "README.md", wzss.Error, "not a workbook"),
             (truncated, wzss.Error, "not a workbook")]
    for path, error, reason in cases:
        for read in (wzss.read_cells, wzss.read_workbook, wzss.open,
                     lambda p: wzss.convert(p, "json")):
            with pytest.raises(error, match=reason) as raised:
                read(str(path))
            assert str(path) in str(raised.value)
    assert issubclass(wzss.Error, ValueError)
    with pytest.warns(UserWarning, match="no-such-encoding"):
        wzss.read_cells(generated[0], encoding="no-such-encoding")
    with pytest.raises(KeyError):
        wzss.read_sheet(generated[0], "no such sheet")

    skipped = wzss.dask.read_cells([generated[0], str(truncated)], errors="skip").compute()
    error_rows = skipped[skipped.error.notna()]
    assert error_rows.file.tolist() == [str(truncated)]
    assert "not a workbook" in error_rows.error.iloc[0]
    with pytest.raises(wzss.Error, match="truncated"):
        wzss.dask.read_cells([generated[0], str(truncated)]).compute(scheduler="sync")


def expected_cells(paths) -> pd.DataFrame:
    frame = pd.concat([wzss.read_cells(p) for p in paths], ignore_index=True)
    frame["error"] = None
    return frame


def test_dask_on_a_cluster_of_two_worker_processes(generated):
    from distributed import Client, LocalCluster
    folder = generated[0].rsplit("/", 1)[0]
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                      dashboard_address=None) as cluster, Client(cluster):
        cells = wzss.dask.read_cells(folder + "/gen*.wzs")
        assert cells.npartitions == len(generated)
        got = cells.compute().reset_index(drop=True)
    pd.testing.assert_frame_equal(got, expected_cells(generated))
    local = wzss.dask.read_cells(generated).compute(scheduler="threads")
    pd.testing.assert_frame_equal(local.reset_index(drop=True), expected_cells(generated))


def test_two_threads_read_at_once(generated):
    expected = {p: wzss.read_cells(p) for p in generated[:2]}
    results = {}
    threads = [threading.Thread(target=lambda p=p: results.update({p: wzss.read_cells(p)}))
               for p in generated[:2] for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for path, frame in expected.items():
        pd.testing.assert_frame_equal(results[path], frame)

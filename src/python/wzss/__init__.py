"""Workbooks of the wzss text format in Python: cells, pandas frames, conversion.

    import wzss
    frames = wzss.read_workbook("budget.wzs")          # {sheet name: DataFrame}
    cells = wzss.read_cells("budget.wzs")              # one row per cell
    with wzss.open("budget.wzs") as book:
        for cell in book.sheet("Budget").cells(): ...

Errors: wzss.Error (a ValueError) when a file is not a readable workbook,
OSError when it cannot be opened; both name the file and the reason.
Reading releases the interpreter's lock, so threads may read workbooks at
the same time.
"""
from __future__ import annotations

import os
from typing import Iterator, NamedTuple, Optional, Union

import pandas as pd

from . import _wzss

Error = _wzss.Error
Error.__doc__ = "A file that is not a workbook of this format, or that cannot be read as one."
Error.__module__ = __name__

__all__ = ["Error", "open", "Workbook", "Sheet", "Cell", "read_cells", "read_workbook",
           "read_sheet", "convert"]

# The plug-in ships inside the package, beside the native module.
_PLUGIN = _wzss.Plugin(os.path.join(os.path.dirname(__file__), "libwzss.so"))


def _encoding(encoding: Optional[str]) -> str:
    """The workbook's encoding: None takes the one its header names."""
    return encoding or ""


# ---------------------------------------------------------------------------
# Per-cell interface
# ---------------------------------------------------------------------------

class SheetInfo(NamedTuple):
    name: str
    number: int  # from 1


class Font(NamedTuple):
    name: str
    size: int
    bold: bool
    italic: bool
    underline: bool


class Fill(NamedTuple):
    pattern: int
    shade_percent: int
    pattern_color: str  # "#rrggbb"
    background_color: str


class BorderSide(NamedTuple):
    style: int
    color: str


class Borders(NamedTuple):  # a side without a line is None
    left: Optional[BorderSide]
    top: Optional[BorderSide]
    right: Optional[BorderSide]
    bottom: Optional[BorderSide]


class Alignment(NamedTuple):
    horizontal: str
    vertical: str
    wrap: bool
    overflow: bool


class Cell(NamedTuple):
    row: int
    column: int
    address: str
    text: Optional[str]
    value: object
    type: Optional[str]
    font: Font
    text_color: str
    back_color: str
    fill: Optional[Fill]
    borders: Optional[Borders]
    alignment: Alignment


def _cell(raw: tuple) -> Cell:
    (row, column, address, text, value, kind, font, text_color, back_color, fill, borders,
     alignment) = raw
    return Cell(row, column, address, text, value, kind, Font(*font), text_color, back_color,
                Fill(*fill) if fill else None,
                Borders(*(BorderSide(*side) if side else None for side in borders))
                if borders else None,
                Alignment(*alignment))


class Sheet:
    def __init__(self, book: "Workbook", info: SheetInfo):
        self._book = book
        self.name = info.name
        self.number = info.number

    def cells(self) -> Iterator[Cell]:
        """Every cell with its own line, row by row, with its style."""
        for raw in self._book._native.cells(self.number - 1):
            yield _cell(raw)

    def __repr__(self) -> str:
        return f"<wzss.Sheet {self.number} {self.name!r}>"


class Workbook:
    """An open workbook; use it as a context manager, or call close()."""

    def __init__(self, path: Union[str, os.PathLike], encoding: Optional[str] = None):
        self.path = os.fspath(path)
        self._native = _wzss.Book(_PLUGIN, self.path, _encoding(encoding))
        self.sheets = [SheetInfo(*info) for info in self._native.sheets()]

    def sheet(self, which: Union[int, str]) -> Sheet:
        """A sheet by index from 0, or by name."""
        if isinstance(which, str):
            for info in self.sheets:
                if info.name == which:
                    return Sheet(self, info)
            raise KeyError(f"{self.path}: no sheet {which!r}")
        return Sheet(self, self.sheets[which])

    def close(self) -> None:
        self._native.close()

    def __enter__(self) -> "Workbook":
        return self

    def __exit__(self, *exc) -> None:
        self.close()


def open(path: Union[str, os.PathLike], encoding: Optional[str] = None) -> Workbook:  # noqa: A001
    return Workbook(path, encoding)


# ---------------------------------------------------------------------------
# pandas
# ---------------------------------------------------------------------------

def read_cells(path: Union[str, os.PathLike], *, encoding: Optional[str] = None) -> pd.DataFrame:
    """One row per cell of every sheet: sheet, row, column, address, text,
    value, type, file. Cells without text (hidden ones) have text None."""
    path = os.fspath(path)
    columns = _wzss.read_cells(_PLUGIN, path, _encoding(encoding))
    # The columns as they are: no copy into one block of objects.
    return pd.DataFrame(columns, copy=False)


def _frame(grid, values: str, header: Optional[int]) -> pd.DataFrame:
    frame = pd.DataFrame(grid)
    if header is not None:
        if not 0 <= header < len(frame):
            raise IndexError(f"header row {header} is outside the sheet's {len(frame)} rows")
        frame.columns = list(frame.iloc[header])
        frame = frame.iloc[header + 1:].reset_index(drop=True)
    if values == "typed":
        frame = frame.infer_objects()
    return frame


def _check_values(values: str) -> None:
    if values not in ("typed", "display"):
        raise ValueError(f"values must be 'typed' or 'display', not {values!r}")


def read_workbook(path: Union[str, os.PathLike], *, values: str = "typed",
                  header: Optional[int] = None, keep_hidden: bool = False,
                  encoding: Optional[str] = None) -> dict:
    """{sheet name: DataFrame} of every sheet's grid.

    Row r, column c of a sheet is at iat[r-1, c-1] (header=None). Hidden rows
    and columns are dropped, the others closing up, unless keep_hidden.
    header=n takes the frame's row n (from 0) as the column names.
    """
    _check_values(values)
    grids = _wzss.read_grids(_PLUGIN, os.fspath(path), None, keep_hidden, values == "typed",
                             _encoding(encoding))
    return {name: _frame(grid, values, header) for name, grid in grids}


def read_sheet(path: Union[str, os.PathLike], sheet: Union[int, str] = 0, *,
               values: str = "typed", header: Optional[int] = None, keep_hidden: bool = False,
               encoding: Optional[str] = None) -> pd.DataFrame:
    """One sheet's grid, by index from 0 or by name, as read_workbook."""
    _check_values(values)
    path = os.fspath(path)
    try:
        grids = _wzss.read_grids(_PLUGIN, path, sheet, keep_hidden, values == "typed",
                                 _encoding(encoding))
    except Error as error:
        if "no such sheet" in str(error):
            raise KeyError(f"{path}: no sheet {sheet!r}") from None
        raise
    return _frame(grids[0][1], values, header)


def convert(path: Union[str, os.PathLike], to: str = "csv", out=None, *,
            keep_hidden: bool = False, encoding: Optional[str] = None):
    """The command's converters: to "json", "html" or "xlsx" writes the file
    out (and returns its path) or returns the text (bytes for xlsx); to "csv"
    writes one file per sheet into the directory out (and returns their
    paths) or returns {sheet: text}."""
    out = None if out is None else os.fspath(out)
    return _wzss.convert(_PLUGIN, os.fspath(path), to, out, keep_hidden, _encoding(encoding))

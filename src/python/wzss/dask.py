"""Many workbooks as one Dask DataFrame, one partition per workbook.

    import wzss.dask
    cells = wzss.dask.read_cells("archive/**/*.wzs")
    cells.groupby("file").size().compute()

The partitions are built by plain functions of this module, so the same
frame computes on the local scheduler and on a dask.distributed cluster
whose workers have wzss installed.
"""
from __future__ import annotations

import glob
import os
from typing import Iterable, Union

import dask.dataframe as dd
import pandas as pd

import wzss

__all__ = ["read_cells"]


# wzss.read_cells's columns and an error column (None on rows of cells).
_DTYPES = {"sheet": object, "row": "uint32", "column": "uint32", "address": object,
           "text": object, "value": object, "type": object, "file": object, "error": object}


def _frame(rows: dict) -> pd.DataFrame:
    return pd.DataFrame({name: pd.Series(rows.get(name, []), dtype=dtype)
                         for name, dtype in _DTYPES.items()})


def _workbook_cells(path: str, errors: str) -> pd.DataFrame:
    """One partition: the workbook's cells, or (errors="skip") one row
    naming the file and why it could not be read."""
    try:
        frame = wzss.read_cells(path)
    except (wzss.Error, OSError) as error:
        if errors == "raise":
            raise
        return _frame({"sheet": [None], "row": [0], "column": [0], "address": [None],
                       "text": [None], "value": [None], "type": [None], "file": [path],
                       "error": [str(error)]})
    frame["error"] = None
    return frame


def _paths(paths_or_glob: Union[str, os.PathLike, Iterable]) -> list:
    if isinstance(paths_or_glob, (str, os.PathLike)):
        pattern = os.fspath(paths_or_glob)
        if not glob.has_magic(pattern):
            return [pattern]
        paths = sorted(glob.glob(pattern, recursive=True))
        if not paths:
            raise FileNotFoundError(f"{pattern}: no workbook matches")
        return paths
    return [os.fspath(path) for path in paths_or_glob]


def read_cells(paths_or_glob, errors: str = "raise") -> dd.DataFrame:
    """The cells of every workbook (columns as wzss.read_cells, plus error).

    errors="raise": computing fails on the first workbook that cannot be
    read, with its wzss.Error or OSError. errors="skip": such a workbook
    gives one row with its file, row and column 0 and the reason in error;
    never a silent gap.
    """
    if errors not in ("raise", "skip"):
        raise ValueError(f"errors must be 'raise' or 'skip', not {errors!r}")
    paths = _paths(paths_or_glob)
    if not paths:
        raise ValueError("no workbooks given")
    return dd.from_map(_workbook_cells, paths, errors=errors, meta=_frame({}),
                       label="wzss-read-cells", enforce_metadata=False)

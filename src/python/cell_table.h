// What the Python package reads from a workbook before it makes a single
// Python object: every sheet's cells with their texts, and its hidden rows
// and columns, gathered in plain C++ so the walk runs without the
// interpreter's lock. The module then turns these tables into pandas
// columns or grids.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cli/csv_sheet.h"
#include "cli/sheet_model.h"
#include "wzss/host/values.h"
#include "wzss/host/walker.h"

namespace wzss::python {

// One cell that had its own line (formatted empty cells carry no text and
// are left out). The text lives in the sheet's arena.
struct CellEntry {
  uint32_t row = 0;
  uint32_t column = 0;
  uint64_t textOffset = 0;
  uint32_t textLength = 0;
  bool hasText = false;
  // Inferred from the text when the table is read with values.
  host::ValueType type = host::ValueType::Text;
  double number = 0;
};

struct SheetCells {
  host::SheetInfo info;
  std::vector<CellEntry> cells;  // by row, then column; one per position
  std::string texts;
  cli::HiddenLines hiddenRows, hiddenColumns;
  bool ordered = true;

  std::string_view text(const CellEntry& cell) const {
    return std::string_view(texts).substr(cell.textOffset, cell.textLength);
  }
  // Sorts cells that came out of order; the later line for a position wins.
  void settle();
  // The last row and column holding a non-empty text (0, 0 without text).
  std::pair<uint32_t, uint32_t> textExtent() const;
};

// A sheet by index (from 0) or by name (exact name first, as the command).
using SheetChoice = std::variant<std::monostate, size_t, std::string>;

struct CellTable {
  std::vector<host::SheetInfo> allSheets;
  std::vector<SheetCells> sheets;  // the ones read
};

// Walks the workbook open in walker (open() done) into a cell table: every
// sheet, or the one chosen, with each text's value inferred when asked.
// Fails with NoSuchSheet when the choice names none.
host::Result<CellTable> readCellTable(host::Walker& walker, const SheetChoice& choice,
                                      bool inferValues);

// The sheets of a workbook as the command's JSON and page see them: every
// cell with its style, for the per-cell interface.
host::Result<cli::SheetModel> readSheetModel(host::Walker& walker, size_t index);

}  // namespace wzss::python

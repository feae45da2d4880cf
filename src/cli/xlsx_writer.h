// A workbook as an XLSX file, written with libxlsxwriter: one worksheet
// per sheet, every cell at its output position (hidden rows and columns kept
// and marked hidden, so positions match `wzss csv --keep-hidden`), the
// cells' fonts, colours, fills, borders and alignment, column widths, row
// heights and the sheet's default font and column width. A display text the
// value formatter can have written from a number, date or time becomes that
// value with a number format that shows it as the same text
// (wzss/host/values.h); every other text stays a string.
//
// Graphic objects have no renderer: each one becomes a cell note at its
// top-left anchor that names it, gives its size text and says that
// `wzss objects FILE --extract DIR` writes the drawing itself.
//
// Sheets are written one at a time in libxlsxwriter's constant-memory mode:
// the items of a sheet do not come in row order (title rows are numbered
// first, formatted empty cells come after all others), so each sheet's cells
// are gathered in a compact list (24 bytes per cell plus its text), sorted
// and then handed over row by row. Peak memory is thus about the largest
// sheet's cells and texts, not the workbook's.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/csv_writer.h"
#include "wzss/reader_abi.h"

namespace wzss::cli {

struct XlsxStats {
  uint64_t bytes = 0;           // size of the workbook read
  uint64_t cells = 0;           // cells written
  uint64_t typedCells = 0;      // of them numbers, dates or times with their format
  uint64_t cellsLeftOut = 0;    // beyond the XLSX grid (1048576 rows, 16384 columns)
  uint64_t textsShortened = 0;  // longer than the 32767 characters a cell holds
  // The walker's warnings, then the cells left out and the texts cut.
  std::vector<std::string> warnings;
};

// Worksheet names for the sheets' names, in order: at most 31 characters,
// none of []:*?/\ (they become '_'), no apostrophe at either end, not empty
// ("Sheet N"), not Excel's reserved "History", and unique when compared
// ignoring case (later ones get " (2)", " (3)", ...).
std::vector<std::string> worksheetNames(const std::vector<std::string>& sheetNames);

// Reads the workbook at input, its texts in encoding (empty: the header's)
// and its linked files as read allows,
// and builds its XLSX in a temporary file (in
// TMPDIR, or /tmp), which deliver receives in pieces, e.g. to
// writeFileAtomically or to stdout; the temporary file is removed afterwards.
// The reason of a failure, or nothing; a failure of deliver is reported by
// deliver itself and gives "" here.
std::optional<std::string> convertToXlsx(const SSReaderInterface& table, const std::string& input,
                                         const std::string& encoding, const ReadOptions& read,
                                         const std::function<bool(const PieceProducer&)>& deliver,
                                         XlsxStats* stats);

}  // namespace wzss::cli

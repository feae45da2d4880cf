// A sheet as RFC 4180 CSV: one record per row of the output grid, one field
// per column, the display texts of the cells; CRLF after every record;
// fields holding a comma, a double quote, CR or LF are quoted, with their
// quotes doubled.
//
// The grid runs from row 1 and column 1 to the last row and column holding
// a text, so that field positions match the sheet's own; a sheet without
// text gives no record. Hidden rows and columns are left out unless
// CsvOptions::keepHidden is set.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/sheet_model.h"
#include "host/walker.h"

namespace wzss::cli {

struct CsvOptions {
  // Hidden rows and columns are left out unless this is set; their cells
  // then give empty fields (the plug-in delivers hidden cells without text).
  bool keepHidden = false;
};

// One field, quoted when it needs to be.
std::string csvField(std::string_view text);

// A sheet's CSV gathered while its items arrive: the texts of its cells in
// one block, and 24 bytes per cell besides, where a sheet model keeps a
// whole cell record (font, colours, fill, borders) per cell. Only what a
// CSV shows is kept: the hidden runs and each cell's position and text.
//
// Cells come row by row in a workbook written in order, and are then
// written as they are. A workbook may list its cell lines in any order,
// though, and the record width is only known at the end; so the CSV is
// written when the sheet is complete, the cells being sorted first if any
// arrived out of order. As in the sheet model, a later line for a position
// wins, and a formatted empty cell (fill and border only) changes nothing.
class CsvSheet {
 public:
  void add(const host::Item& item);
  void hideRows(const Run& run) { hiddenRows_.push_back(run); }
  void hideColumns(const Run& run) { hiddenColumns_.push_back(run); }
  // A cell with its own line; no text is an empty field.
  void addCell(uint32_t row, uint32_t column, const std::string* text);

  // Forgets the sheet but keeps the memory, for the next sheet.
  void clear();

  // Appends the CSV to out.
  void write(const CsvOptions& options, std::string& out);
  std::string text(const CsvOptions& options);

 private:
  struct Entry {
    uint32_t row;
    uint32_t column;
    uint64_t offset;  // into texts_
    uint32_t length;  // 0: no text
  };

  void putInOrder();

  std::vector<Entry> cells_;
  std::string texts_;
  std::vector<Run> hiddenRows_;
  std::vector<Run> hiddenColumns_;
  bool ordered_ = true;
};

// The same for a gathered sheet model.
std::string csvText(const SheetModel& sheet, const CsvOptions& options);

// A workbook read straight into CSV, one text per sheet: what `wzss csv`
// and `wzss convert --to csv` need, without a sheet model in between.
struct CsvWorkbook {
  std::string path;
  uint64_t bytes = 0;  // size of the file read
  struct Sheet {
    host::SheetInfo info;
    std::string csv;
  };
  std::vector<Sheet> sheets;
};
host::Result<CsvWorkbook> readCsvWorkbook(const SSReaderInterface& table, const std::string& path,
                                          const CsvOptions& options);

}  // namespace wzss::cli

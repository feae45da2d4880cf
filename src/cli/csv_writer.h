// A sheet as RFC 4180 CSV: one record per row of the output grid, one field
// per column, the display texts of the cells; CRLF after every record;
// fields holding a comma, a double quote, CR or LF are quoted, with their
// quotes doubled.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "cli/sheet_model.h"

namespace wzss::cli {

struct CsvOptions {
  // Hidden rows and columns are left out unless this is set; their cells
  // then give empty fields (the plug-in delivers hidden cells without text).
  bool keepHidden = false;
};

// One field, quoted when it needs to be.
std::string csvField(std::string_view text);

// The grid runs from row 1 and column 1 to the last row and column holding
// a text, so that field positions match the sheet's own; a sheet without
// text gives no record.
void writeCsv(const SheetModel& sheet, const CsvOptions& options, std::ostream& out);
std::string csvText(const SheetModel& sheet, const CsvOptions& options);

}  // namespace wzss::cli

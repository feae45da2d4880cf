#include "cli/csv_writer.h"

#include <sstream>

namespace wzss::cli {
namespace {
constexpr std::string_view kRecordEnd = "\r\n";
constexpr std::string_view kNeedsQuotes = ",\"\r\n";
}  // namespace

std::string csvField(std::string_view text) {
  if (text.find_first_of(kNeedsQuotes) == std::string_view::npos) return std::string(text);
  std::string field = "\"";
  for (const char ch : text) {
    if (ch == '"') field += '"';
    field += ch;
  }
  field += '"';
  return field;
}

void writeCsv(const SheetModel& sheet, const CsvOptions& options, std::ostream& out) {
  const auto [lastRow, lastColumn] = sheet.textExtent();
  for (uint32_t row = 1; row <= lastRow; ++row) {
    if (!options.keepHidden && sheet.rowHidden(row)) continue;
    bool first = true;
    for (uint32_t column = 1; column <= lastColumn; ++column) {
      if (!options.keepHidden && sheet.columnHidden(column)) continue;
      if (!first) out << ',';
      first = false;
      const CellModel* cell = sheet.cellAt(row, column);
      if (cell != nullptr && cell->text) out << csvField(*cell->text);
    }
    out << kRecordEnd;
  }
}

std::string csvText(const SheetModel& sheet, const CsvOptions& options) {
  std::ostringstream out;
  writeCsv(sheet, options, out);
  return out.str();
}

}  // namespace wzss::cli

// A workbook as one self-contained HTML page that looks like the
// spreadsheet: a tab per sheet (radio buttons and CSS, no script), column
// widths and row heights from the items, fonts, colours, alignment, wrap,
// borders and fills, hidden rows and columns left out, the grid's headers
// and the sheet's title rows and columns kept in view while scrolling, objects as
// positioned boxes with their size text.
//
// Every text from the workbook is escaped for the place it lands in (HTML
// text, attribute value or CSS string), and the page's Content-Security-
// Policy forbids every external load and every script.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cli/sheet_model.h"

namespace wzss::cli {

struct HtmlOptions {
  // How many of the first rows (columns) stay in view while scrolling, for
  // every sheet; absent: each sheet's own title rows (columns), which come
  // first in the output numbering.
  std::optional<uint32_t> titleRows;
  std::optional<uint32_t> titleColumns;
};

// twips to CSS pixels at 96 per inch (1440 twips per inch).
uint32_t twipsToPixels(uint32_t twips);

std::string workbookHtml(const WorkbookModel& book, const HtmlOptions& options);

}  // namespace wzss::cli

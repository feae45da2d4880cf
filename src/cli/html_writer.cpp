#include "cli/html_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <vector>

#include "cli/dump_format.h"

namespace wzss::cli {
namespace {

constexpr uint32_t kTwipsPerPixel = 15;       // 1440 twips and 96 px per inch
constexpr uint32_t kRowHeaderWidth = 44;      // px, the column of row numbers
constexpr uint32_t kColumnHeaderHeight = 20;  // px, the row of column letters
constexpr uint32_t kMinimumSize = 2;          // px: a shown row or column never collapses
constexpr uint32_t kYOffsetUnits = 256;       // object y offsets count 256ths of the row
constexpr uint32_t kMinimumObjectSize = 8;    // px
// Title rows (columns) stay in view only while together they leave most of
// a window free: a title row taller than this would leave nothing to scroll.
constexpr uint32_t kMaxStickyHeight = 300;  // px
constexpr uint32_t kMaxStickyWidth = 500;   // px
// An empty stretch beyond the last used cell, up to the sheet's extent, is
// drawn so the page looks like a sheet; never more than this many.
constexpr uint32_t kMaxPaddingRows = 200;
constexpr uint32_t kMaxPaddingColumns = 52;
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kBlack = 0;
constexpr std::string_view kReplacementCharacter = "&#xFFFD;";

// Text for HTML content and attribute values: & < > " ' as references, and
// control characters other than tab, CR and LF as U+FFFD.
std::string htmlEscape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    switch (ch) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      case '\t':
      case '\n':
      case '\r': out += ch; break;
      default:
        if (byte < 0x20 || byte == 0x7F)
          out += kReplacementCharacter;
        else
          out += ch;
    }
  }
  return out;
}

// A double-quoted CSS string: quotes, backslashes, '<', '>' and control
// characters as hex escapes, so it cannot end the string or the style element.
std::string cssString(std::string_view text) {
  std::string out = "\"";
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    if (ch == '"' || ch == '\\' || ch == '<' || ch == '>' || ch == '&' || byte < 0x20 || byte == 0x7F)
      out += fmt::format("\\{:x} ", byte);  // the blank ends the escape
    else
      out += ch;
  }
  out += '"';
  return out;
}

// Border style bytes as the plug-in delivers them (style numbers 1..5 of
// the attribute give 5, 6, 7, 1, 8; the bottom side always 8).
std::string borderCss(const host::BorderSide& side) {
  std::string_view line;
  switch (side.style) {
    case 0: return "none";
    case 1: line = "1px dotted"; break;
    case 6: line = "2px solid"; break;
    case 7: line = "3px double"; break;
    default: line = "1px solid"; break;  // 5, 8 and bytes we do not know
  }
  return fmt::format("{} {}", line, htmlColour(side.color));
}

std::string genericFamily(std::string_view name) {
  std::string lower(name);
  for (char& ch : lower)
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
  if (lower.find("courier") != std::string::npos || lower.find("mono") != std::string::npos)
    return "monospace";
  if (lower.find("times") != std::string::npos || lower.find("serif") != std::string::npos ||
      lower.find("roman") != std::string::npos)
    return lower.find("sans") != std::string::npos ? "sans-serif" : "serif";
  return "sans-serif";
}

std::string fillCss(const FillInfo& fill) {
  if (fill.pattern == 0)
    return "background:" + htmlColour(mixColour(fill.backColor, fill.foreColor, fill.shadePercent));
  // The drawings of the other patterns are the host's own; a hatch in the
  // pattern colour over the background shows that a pattern is there.
  return fmt::format(
      "background-color:{};background-image:repeating-linear-gradient(45deg,{} 0 1px,transparent "
      "1px 4px)",
      htmlColour(fill.backColor), htmlColour(fill.foreColor));
}

// The rows or the columns that the page shows, with their sizes in px.
struct Axis {
  std::vector<uint32_t> index;
  std::vector<uint32_t> pixels;

  // Where index begins, counted from the first shown row or column; an
  // index that is not shown begins where the next shown one does.
  uint32_t start(uint32_t at) const {
    uint32_t sum = 0;
    for (size_t i = 0; i < index.size() && index[i] < at; ++i) sum += pixels[i];
    return sum;
  }
  std::optional<uint32_t> size(uint32_t at) const {
    auto it = std::lower_bound(index.begin(), index.end(), at);
    if (it == index.end() || *it != at) return std::nullopt;
    return pixels[static_cast<size_t>(it - index.begin())];
  }
  uint32_t total() const {
    uint32_t sum = 0;
    for (uint32_t p : pixels) sum += p;
    return sum;
  }
};

struct SheetLayout {
  Axis rows;
  Axis columns;
};

SheetLayout layoutOf(const SheetModel& sheet) {
  auto [lastRow, lastColumn] = sheet.usedExtent();
  lastRow = std::max({lastRow, std::min(sheet.settings.maxRow, kMaxPaddingRows), 1u});
  lastColumn = std::max({lastColumn, std::min(sheet.settings.maxColumn, kMaxPaddingColumns), 1u});
  SheetLayout layout;
  for (uint32_t row = 1; row <= lastRow; ++row) {
    if (sheet.rowHidden(row)) continue;
    layout.rows.index.push_back(row);
    layout.rows.pixels.push_back(std::max(twipsToPixels(sheet.rowHeight(row)), kMinimumSize));
  }
  for (uint32_t column = 1; column <= lastColumn; ++column) {
    if (sheet.columnHidden(column)) continue;
    layout.columns.index.push_back(column);
    layout.columns.pixels.push_back(
        std::max(twipsToPixels(sheet.columnWidth(column)), kMinimumSize));
  }
  return layout;
}

// Cell styles become classes: a sheet has few distinct styles and many cells.
class StyleClasses {
 public:
  std::string classFor(const std::string& declarations) {
    auto [it, inserted] = classes_.try_emplace(declarations, classes_.size());
    return fmt::format("s{}", it->second);
  }
  std::string css() const {
    std::string out;
    for (const auto& [declarations, number] : classes_)
      out += fmt::format("td.s{}{{{}}}\n", number, declarations);
    return out;
  }

 private:
  std::map<std::string, size_t> classes_;
};

std::string cellDeclarations(const CellModel& cell, bool spill) {
  std::vector<std::string> d;
  if (cell.fill)
    d.push_back(fillCss(*cell.fill));
  else if (!cell.formattedEmpty && cell.backColor != kWhite)
    d.push_back("background:" + htmlColour(cell.backColor));
  if (cell.borders) {
    d.push_back("border-left:" + borderCss(cell.borders->left));
    d.push_back("border-top:" + borderCss(cell.borders->top));
    d.push_back("border-right:" + borderCss(cell.borders->right));
    d.push_back("border-bottom:" + borderCss(cell.borders->bottom));
  }
  if (!cell.formattedEmpty) {
    if (cell.textColor != kBlack) d.push_back("color:" + htmlColour(cell.textColor));
    if (!cell.font.name.empty())
      d.push_back("font-family:" + cssString(cell.font.name) + "," + genericFamily(cell.font.name));
    if (cell.font.size != 0) d.push_back(fmt::format("font-size:{}pt", cell.font.size));
    if (cell.font.bold) d.push_back("font-weight:bold");
    if (cell.font.italic) d.push_back("font-style:italic");
    if (cell.font.underline) d.push_back("text-decoration:underline");
    const Alignment a = decodeAlignment(cell.align);
    if (a.horizontal != Horizontal::General)
      d.push_back(std::string("text-align:") + horizontalName(a.horizontal));
    if (a.vertical == Vertical::Top) d.push_back("vertical-align:top");
    if (a.vertical == Vertical::Center) d.push_back("vertical-align:middle");
    if (a.wrap) d.push_back("white-space:pre-wrap;overflow-wrap:anywhere");
    if (spill) d.push_back("overflow:visible");
  }
  std::string out;
  for (const std::string& declaration : d) out += declaration + ";";
  return out;
}

bool hasText(const CellModel* cell) { return cell != nullptr && cell->text && !cell->text->empty(); }

class SheetWriter {
 public:
  SheetWriter(const SheetModel& sheet, const HtmlOptions& options, StyleClasses& styles,
              std::string& css)
      : sheet_(sheet), options_(options), styles_(styles), css_(css), layout_(layoutOf(sheet)),
        stickyRows_(stickyCount(layout_.rows, options.titleRows.value_or(sheet.settings.titleRows),
                                kMaxStickyHeight)),
        stickyColumns_(stickyCount(layout_.columns,
                                   options.titleColumns.value_or(sheet.settings.titleColumns),
                                   kMaxStickyWidth)) {}

  std::string html(size_t index) {
    const std::string id = fmt::format("sheet-{}", index + 1);
    stickyRules(id);
    std::string out = fmt::format(
        "<section class=\"sheet\" id=\"{}\" data-sheet=\"{}\" aria-label=\"{}\">\n"
        "<div class=\"viewport\"><div class=\"canvas\" style=\"width:{}px;height:{}px\">\n",
        id, htmlEscape(sheet_.info.name), htmlEscape(sheet_.info.name), tableWidth(),
        kColumnHeaderHeight + layout_.rows.total());
    out += table();
    out += objects();
    out += "</div></div>\n</section>\n";
    return out;
  }

 private:
  uint32_t tableWidth() const { return kRowHeaderWidth + layout_.columns.total(); }

  // How many of the first rows (columns) stick: the title ones, as long as
  // their sizes add up to no more than limit.
  static uint32_t stickyCount(const Axis& axis, uint32_t titles, uint32_t limit) {
    uint32_t sum = 0, count = 0;
    for (size_t i = 0; i < axis.index.size() && axis.index[i] <= titles; ++i) {
      sum += axis.pixels[i];
      if (sum > limit) break;
      count = axis.index[i];
    }
    return count;
  }

  // Title rows stick below the column letters, title columns right of the
  // row numbers, each at the sum of the sizes before it.
  void stickyRules(const std::string& id) {
    uint32_t top = kColumnHeaderHeight;
    for (size_t i = 0; i < layout_.rows.index.size() && layout_.rows.index[i] <= stickyRows_; ++i) {
      css_ += fmt::format("#{} tr.title{}>*{{position:sticky;top:{}px}}\n", id,
                          layout_.rows.index[i], top);
      top += layout_.rows.pixels[i];
    }
    uint32_t left = kRowHeaderWidth;
    for (size_t i = 0;
         i < layout_.columns.index.size() && layout_.columns.index[i] <= stickyColumns_; ++i) {
      css_ += fmt::format("#{0} td.title{1},#{0} th.title{1}{{position:sticky;left:{2}px}}\n", id,
                          layout_.columns.index[i], left);
      css_ += fmt::format("#{} tr[class^=title]>td.title{}{{z-index:3}}\n", id,
                          layout_.columns.index[i]);
      left += layout_.columns.pixels[i];
    }
  }

  std::string table() {
    std::string out = fmt::format("<table class=\"grid\" style=\"width:{}px\">\n<colgroup><col style=\"width:{}px\">",
                                  tableWidth(), kRowHeaderWidth);
    for (uint32_t px : layout_.columns.pixels) out += fmt::format("<col style=\"width:{}px\">", px);
    out += "</colgroup>\n<thead><tr><th class=\"corner\"></th>";
    for (uint32_t column : layout_.columns.index)
      out += fmt::format("<th class=\"ch{}\" scope=\"col\">{}</th>",
                         column <= stickyColumns_ ? fmt::format(" title{}", column) : "",
                         columnLetters(column));
    out += "</tr></thead>\n<tbody>\n";
    for (size_t i = 0; i < layout_.rows.index.size(); ++i) out += row(layout_.rows.index[i], layout_.rows.pixels[i]);
    out += "</tbody>\n</table>\n";
    return out;
  }

  std::string row(uint32_t row, uint32_t pixels) {
    std::string out = fmt::format("<tr data-row=\"{}\"", row);
    if (row <= stickyRows_) out += fmt::format(" class=\"title{}\"", row);
    out += fmt::format(" style=\"height:{}px\"><th class=\"rh\" scope=\"row\">{}</th>", pixels, row);
    const auto& columns = layout_.columns.index;
    for (size_t i = 0; i < columns.size(); ++i) {
      const CellModel* cell = sheet_.cellAt(row, columns[i]);
      const CellModel* next = i + 1 < columns.size() ? sheet_.cellAt(row, columns[i + 1]) : nullptr;
      out += td(row, columns[i], cell, next, pixels);
    }
    out += "</tr>\n";
    return out;
  }

  std::string td(uint32_t row, uint32_t column, const CellModel* cell, const CellModel* next,
                 uint32_t rowPixels) {
    std::vector<std::string> classes;
    if (column <= stickyColumns_) classes.push_back(fmt::format("title{}", column));
    std::string content;
    if (cell != nullptr) {
      const Alignment a = decodeAlignment(cell->align);
      // Overflowing text runs on into the next cell only while that one is
      // empty, as a spreadsheet shows it.
      const bool spill = hasText(cell) && a.overflow && !a.wrap && !hasText(next);
      classes.push_back(styles_.classFor(cellDeclarations(*cell, spill)));
      if (cell->text) {
        // Wrapped text is clipped to the row's height, like the sheet does.
        content = a.wrap ? fmt::format("<div class=\"wrap\" style=\"max-height:{}px\">{}</div>",
                                       rowPixels, htmlEscape(*cell->text))
                         : htmlEscape(*cell->text);
      }
    }
    std::string out = "<td";
    if (cell != nullptr) out += fmt::format(" data-cell=\"{}\"", cellAddress(column, row));
    if (!classes.empty()) {
      std::string joined;
      for (const std::string& name : classes) joined += (joined.empty() ? "" : " ") + name;
      out += " class=\"" + joined + "\"";
    }
    out += ">" + content + "</td>";
    return out;
  }

  // Objects float over the grid: their corners are cells plus offsets
  // (x in twips, y in 256ths of the row), drawn from the shown rows and
  // columns; a corner in a hidden row or column sits where the next shown
  // one begins.
  std::string objects() {
    std::string out;
    size_t number = 0;
    for (const ObjectModel& object : sheet_.objects) {
      ++number;
      const uint32_t left = kRowHeaderWidth + xAt(object.topColumn, object.topX);
      const uint32_t top = kColumnHeaderHeight + yAt(object.topRow, object.topY);
      const uint32_t right = kRowHeaderWidth + xAt(object.bottomColumn, object.bottomX);
      const uint32_t bottom = kColumnHeaderHeight + yAt(object.bottomRow, object.bottomY);
      const uint32_t width = std::max(right > left ? right - left : 0, kMinimumObjectSize);
      const uint32_t height = std::max(bottom > top ? bottom - top : 0, kMinimumObjectSize);
      std::string frame = "border:1px dashed #9a9a9a";
      if (object.framed)
        frame = fmt::format("border-left:{};border-top:{};border-right:{};border-bottom:{}",
                            borderCss(object.frame.left), borderCss(object.frame.top),
                            borderCss(object.frame.right), borderCss(object.frame.bottom));
      out += fmt::format(
          "<div class=\"object\" data-object=\"{}\" style=\"left:{}px;top:{}px;width:{}px;height:{}px;{}\">"
          "<span class=\"object-name\">Object {}</span>",
          number, left, top, width, height, frame, number);
      if (object.sizeText)
        out += fmt::format("<span class=\"object-size\">{}</span>", htmlEscape(*object.sizeText));
      if (object.hasContent)
        out += fmt::format("<span class=\"object-drawing\">drawing, {} bytes</span>", object.drawingLength);
      out += "</div>\n";
    }
    return out;
  }

  uint32_t xAt(uint32_t column, int32_t offset) const {
    const uint32_t start = layout_.columns.start(column);
    const uint32_t width = layout_.columns.size(column).value_or(0);
    const uint32_t inside = twipsToPixels(static_cast<uint32_t>(std::max(offset, 0)));
    return start + std::min(inside, width);
  }

  uint32_t yAt(uint32_t row, int32_t offset) const {
    const uint32_t start = layout_.rows.start(row);
    const uint32_t height = layout_.rows.size(row).value_or(0);
    const uint64_t part = static_cast<uint64_t>(std::max(offset, 0)) * height / kYOffsetUnits;
    return start + static_cast<uint32_t>(std::min<uint64_t>(part, height));
  }

  const SheetModel& sheet_;
  const HtmlOptions& options_;
  StyleClasses& styles_;
  std::string& css_;
  SheetLayout layout_;
  uint32_t stickyRows_;
  uint32_t stickyColumns_;
};

constexpr std::string_view kBaseCss = R"(*{box-sizing:border-box}
html,body{margin:0;height:100%}
body{font:13px/1.3 system-ui,sans-serif;color:#1f1f1f;background:#f3f3f3;display:flex;flex-direction:column}
header{padding:6px 10px 0;background:#e8e8e8;border-bottom:1px solid #c4c4c4}
h1{font-size:14px;margin:0 0 6px;font-weight:600}
.tab-input{position:absolute;opacity:0;pointer-events:none}
.tabs{display:flex;gap:2px;flex-wrap:wrap}
.tabs label{padding:4px 14px;border:1px solid #c4c4c4;border-bottom:none;border-radius:4px 4px 0 0;background:#d9d9d9;cursor:pointer;white-space:pre}
main{flex:1;min-height:0;position:relative}
.sheet{display:none;height:100%}
.viewport{overflow:auto;height:100%;background:#fff}
.canvas{position:relative}
table.grid{border-collapse:separate;border-spacing:0;table-layout:fixed;font:10pt sans-serif}
.grid th{background:#efefef;color:#555;font-weight:normal;font-size:11px;border-right:1px solid #c8c8c8;border-bottom:1px solid #c8c8c8;padding:0 2px;overflow:hidden;white-space:nowrap}
.grid thead th{position:sticky;top:0;z-index:4;height:20px;text-align:center}
.grid th.rh{position:sticky;left:0;z-index:3;text-align:right}
.grid th.corner{left:0;z-index:6}
.grid td{background:#fff;border-right:1px solid #e2e2e2;border-bottom:1px solid #e2e2e2;padding:0 3px;overflow:hidden;white-space:pre;vertical-align:bottom;line-height:1.2}
.grid td .wrap{overflow:hidden}
.grid tr[class^=title]>td{z-index:2}
.grid tr[class^=title]>th{z-index:4}
.grid td[class*=title]{z-index:2}
.grid thead th[class*=title]{z-index:5}
.object{position:absolute;z-index:1;background:rgba(255,255,255,.85);display:flex;flex-direction:column;align-items:center;justify-content:center;gap:2px;font-size:11px;color:#444;overflow:hidden}
.object-name{font-weight:600}
)";

std::string tabRules(size_t count) {
  std::string css;
  for (size_t i = 1; i <= count; ++i) {
    css += fmt::format("#tab-{0}:checked~main #sheet-{0}{{display:block}}\n", i);
    css += fmt::format(
        "#tab-{0}:checked~header label[for=tab-{0}]{{background:#fff;font-weight:600;position:relative;top:1px}}\n"
        "#tab-{0}:focus-visible~header label[for=tab-{0}]{{outline:2px solid #4a7fd4}}\n",
        i);
  }
  return css;
}

std::string contentPolicy() {
  std::string policy =
      "default-src 'none'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; "
      "form-action 'none'";
  return policy;
}

}  // namespace

uint32_t twipsToPixels(uint32_t twips) { return (twips + kTwipsPerPixel / 2) / kTwipsPerPixel; }

std::string workbookHtml(const WorkbookModel& book, const HtmlOptions& options) {
  const std::string title = std::filesystem::path(book.path).filename().string();
  StyleClasses styles;
  std::string sheetCss;
  std::string sections;
  for (size_t i = 0; i < book.sheets.size(); ++i)
    sections += SheetWriter(book.sheets[i], options, styles, sheetCss).html(i);

  std::string out = fmt::format(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"generator\" content=\"wzss\">\n<title>{}</title>\n<style>\n",
      contentPolicy(), htmlEscape(title));
  out += kBaseCss;
  out += tabRules(book.sheets.size());
  out += sheetCss;
  out += styles.css();
  out += "</style>\n</head>\n<body>\n";
  for (size_t i = 1; i <= book.sheets.size(); ++i)
    out += fmt::format("<input type=\"radio\" name=\"sheet\" class=\"tab-input\" id=\"tab-{}\"{}>\n", i,
                       i == 1 ? " checked" : "");
  out += fmt::format("<header><h1>{}</h1><nav class=\"tabs\">", htmlEscape(title));
  for (size_t i = 0; i < book.sheets.size(); ++i)
    out += fmt::format("<label for=\"tab-{}\">{}</label>", i + 1, htmlEscape(book.sheets[i].info.name));
  out += "</nav></header>\n<main>\n";
  out += sections;
  out += "</main>\n";
  out += "</body>\n</html>\n";
  return out;
}

}  // namespace wzss::cli

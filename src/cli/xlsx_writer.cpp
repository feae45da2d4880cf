#include "cli/xlsx_writer.h"

#include <fmt/format.h>
#include <unistd.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <unordered_map>

#include "cli/dump_format.h"
#include "cli/html_writer.h"
#include "cli/sheet_model.h"
#include "wzss/host/values.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

// The XLSX grid and what one cell holds.
constexpr uint32_t kMaxRows = 1048576;
constexpr uint32_t kMaxColumns = 16384;
constexpr size_t kMaxCellCharacters = 32767;
constexpr size_t kMaxSheetName = 31;  // UTF-16 units, as Excel counts them
constexpr uint32_t kTwipsPerPoint = 20;
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr size_t kCopyPiece = 256 * 1024;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// ---------------------------------------------------------------------------
// Texts: libxlsxwriter copies bytes into XML, which must be valid UTF-8
// ---------------------------------------------------------------------------

// The length of the valid UTF-8 sequence at text[i], or 0.
size_t sequenceLength(std::string_view text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length = 0;
  uint32_t point = 0;
  if (lead >= 0xC2 && lead <= 0xDF) { length = 2; point = lead & 0x1Fu; }
  else if (lead >= 0xE0 && lead <= 0xEF) { length = 3; point = lead & 0x0Fu; }
  else if (lead >= 0xF0 && lead <= 0xF4) { length = 4; point = lead & 0x07u; }
  else return 0;
  if (i + length > text.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0u) != 0x80u) return 0;
    point = (point << 6) | (byte(i + k) & 0x3Fu);
  }
  // Overlong forms, surrogates and points past U+10FFFF are not UTF-8.
  const bool overlong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
  if (overlong || (point >= 0xD800 && point <= 0xDFFF) || point > 0x10FFFF) return 0;
  return length;
}

// Valid UTF-8: invalid bytes become U+FFFD. With names set, control
// characters (which no XML attribute may hold) become '_' as well.
std::string cleanUtf8(std::string_view text, bool names) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const size_t length = sequenceLength(text, i);
    if (length == 0) {
      out += kReplacement;
      ++i;
      continue;
    }
    const auto lead = static_cast<unsigned char>(text[i]);
    if (names && length == 1 && (lead < 0x20 || lead == 0x7F))
      out += '_';
    else
      out.append(text.substr(i, length));
    i += length;
  }
  return out;
}

// Whether text can go to libxlsxwriter as it is: valid UTF-8, and for
// names no control character. Most texts are plain ASCII and pass at once.
bool cleanAlready(std::string_view text, bool names) {
  for (size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x20 && byte < 0x7F) {
      ++i;
      continue;
    }
    if (names && (byte < 0x20 || byte == 0x7F)) return false;
    const size_t length = sequenceLength(text, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

// Characters (code points) of valid UTF-8.
size_t characterCount(std::string_view text) {
  size_t count = 0;
  for (const char ch : text) count += (static_cast<unsigned char>(ch) & 0xC0u) != 0x80u;
  return count;
}

// The longest start of valid UTF-8 text with at most limit units, counting
// characters past U+FFFF twice when utf16 is set.
std::string_view cutUtf8(std::string_view text, size_t limit, bool utf16) {
  size_t units = 0;
  for (size_t i = 0; i < text.size();) {
    const size_t length = std::max<size_t>(sequenceLength(text, i), 1);
    const size_t weight = utf16 && length == 4 ? 2 : 1;
    if (units + weight > limit) return text.substr(0, i);
    units += weight;
    i += length;
  }
  return text;
}

// Lower case for the comparison of worksheet names: ASCII, Latin-1 and the
// Greek and Cyrillic capitals, which covers the names people give sheets.
std::string foldCase(std::string_view name) {
  std::string out;
  for (size_t i = 0; i < name.size();) {
    const size_t length = std::max<size_t>(sequenceLength(name, i), 1);
    uint32_t point = static_cast<unsigned char>(name[i]);
    if (length > 1) {
      point &= 0xFFu >> (length + 1);
      for (size_t k = 1; k < length; ++k) point = (point << 6) | (name[i + k] & 0x3F);
    }
    if ((point >= 'A' && point <= 'Z') || (point >= 0xC0 && point <= 0xDE && point != 0xD7) ||
        (point >= 0x391 && point <= 0x3A9) || (point >= 0x410 && point <= 0x42F))
      point += 0x20;
    else if (point >= 0x400 && point <= 0x40F)
      point += 0x50;
    out += fmt::format("{:x};", point);
    i += length;
  }
  return out;
}

// ---------------------------------------------------------------------------
// Styles
// ---------------------------------------------------------------------------

// libxlsxwriter colours are 0xRRGGBB with 0 meaning "unset"; the items'
// are 0x00BBGGRR.
lxw_color_t lxwColour(uint32_t value) {
  const uint32_t rgb = ((value & 0xFFu) << 16) | (value & 0xFF00u) | ((value >> 16) & 0xFFu);
  return rgb == 0 ? static_cast<lxw_color_t>(LXW_COLOR_BLACK) : rgb;
}

// Border style bytes as the plug-in delivers them, drawn as the HTML page
// draws them: 1 dotted, 6 medium, 7 double, every other line thin.
uint8_t lxwBorder(uint8_t style) {
  switch (style) {
    case 0: return LXW_BORDER_NONE;
    case 1: return LXW_BORDER_DOTTED;
    case 6: return LXW_BORDER_MEDIUM;
    case 7: return LXW_BORDER_DOUBLE;
    default: return LXW_BORDER_THIN;
  }
}

uint8_t lxwHorizontal(Horizontal value) {
  switch (value) {
    case Horizontal::Left: return LXW_ALIGN_LEFT;
    case Horizontal::Center: return LXW_ALIGN_CENTER;
    case Horizontal::Right: return LXW_ALIGN_RIGHT;
    case Horizontal::Justify: return LXW_ALIGN_JUSTIFY;
    case Horizontal::General: break;
  }
  return LXW_ALIGN_NONE;
}

uint8_t lxwVertical(Vertical value) {
  switch (value) {
    case Vertical::Top: return LXW_ALIGN_VERTICAL_TOP;
    case Vertical::Center: return LXW_ALIGN_VERTICAL_CENTER;
    case Vertical::Bottom: return LXW_ALIGN_VERTICAL_BOTTOM;
    case Vertical::None: break;
  }
  return LXW_ALIGN_NONE;
}

// Everything a cell's look depends on; cells with equal keys share one
// format object.
struct StyleKey {
  bool hasFont = false;  // false: a formatted empty cell, fill and border only
  std::string fontName;
  uint32_t fontSize = 0;
  bool bold = false, italic = false, underline = false;
  lxw_color_t textColour = 0;
  uint8_t pattern = LXW_PATTERN_NONE;
  lxw_color_t patternColour = 0, backgroundColour = 0;
  std::array<uint8_t, 4> borders{};  // left, top, right, bottom
  std::array<lxw_color_t, 4> borderColours{};
  uint8_t horizontal = LXW_ALIGN_NONE, vertical = LXW_ALIGN_NONE;
  bool wrap = false;
  std::string numberFormat;

  bool operator==(const StyleKey&) const = default;
};

// Number formats vary from cell to cell, so the cache is a hash table:
// one string comparison per cell, not a dozen.
struct StyleKeyHash {
  size_t operator()(const StyleKey& k) const {
    size_t h = std::hash<std::string>()(k.fontName) ^ (std::hash<std::string>()(k.numberFormat) << 1);
    const auto mix = [&h](uint64_t v) { h = (h ^ v) * 0x100000001B3ull; };
    mix(k.hasFont | k.bold << 1 | k.italic << 2 | k.underline << 3 | k.wrap << 4);
    mix(k.fontSize);
    mix(k.textColour);
    mix(static_cast<uint64_t>(k.pattern) << 32 | k.horizontal << 8 | k.vertical);
    mix(static_cast<uint64_t>(k.patternColour) << 32 | k.backgroundColour);
    for (size_t i = 0; i < 4; ++i) mix(static_cast<uint64_t>(k.borders[i]) << 32 | k.borderColours[i]);
    return h;
  }
};

// A plain shade (pattern 0) shows one colour: the pattern colour mixed into
// the background, a solid fill. The items number their other patterns in
// the host's own way; as on the HTML page, a hatch of thin diagonal lines
// in the pattern colour over the background shows that one is there.
void setFill(StyleKey& key, const FillInfo& fill) {
  if (fill.pattern == 0) {
    key.pattern = LXW_PATTERN_SOLID;
    key.backgroundColour =
        lxwColour(mixColour(fill.backColor, fill.foreColor, fill.shadePercent));
  } else {
    key.pattern = LXW_PATTERN_LIGHT_UP;
    key.patternColour = lxwColour(fill.foreColor);
    key.backgroundColour = lxwColour(fill.backColor);
  }
}

void setBorders(StyleKey& key, const host::Borders& borders) {
  const host::BorderSide* sides[] = {&borders.left, &borders.top, &borders.right, &borders.bottom};
  for (size_t i = 0; i < 4; ++i) {
    key.borders[i] = lxwBorder(sides[i]->style);
    key.borderColours[i] = sides[i]->style == 0 ? 0 : lxwColour(sides[i]->color);
  }
}

StyleKey styleOf(const host::Cell& cell) {
  StyleKey key;
  if (cell.fill) setFill(key, *cell.fill);
  if (cell.hasBorder != 0) setBorders(key, cell.borders);
  // An item without font and text is a formatted empty cell; its other
  // fields are leftovers of earlier items.
  key.hasFont = cell.hasFont != 0 || cell.text.has_value();
  if (!key.hasFont) return key;
  if (!cell.fill && cell.backColor != kWhite) {
    key.pattern = LXW_PATTERN_SOLID;
    key.backgroundColour = lxwColour(cell.backColor);
  }
  key.fontName =
      cleanAlready(cell.font.name, true) ? cell.font.name : cleanUtf8(cell.font.name, true);
  key.fontSize = cell.font.size;
  key.bold = cell.font.bold;
  key.italic = cell.font.italic;
  key.underline = cell.font.underline;
  key.textColour = lxwColour(cell.textColor);
  const Alignment a = decodeAlignment(cell.align);
  key.horizontal = lxwHorizontal(a.horizontal);
  key.vertical = lxwVertical(a.vertical);
  key.wrap = a.wrap;
  return key;
}

class FormatCache {
 public:
  explicit FormatCache(lxw_workbook* book) : book_(book) {}

  // libxlsxwriter gives every new format Calibri 11; formatted empty cells
  // carry no font and take the workbook's.
  void setDefaultFont(std::string name, uint32_t size) {
    defaultName_ = std::move(name);
    defaultSize_ = size;
  }

  // The number of the key's format, kNoFormat when libxlsxwriter has no
  // memory for one. Numbers are small, so a pending cell stays 24 bytes.
  static constexpr uint32_t kNoFormat = UINT32_MAX;
  uint32_t get(const StyleKey& key) {
    if (last_ != kNoFormat && key == lastKey_) return last_;
    auto [it, inserted] = numbers_.try_emplace(key, kNoFormat);
    if (inserted) {
      lxw_format* format = make(key);
      if (format == nullptr) {
        numbers_.erase(it);
        return kNoFormat;
      }
      it->second = static_cast<uint32_t>(formats_.size());
      formats_.push_back(format);
    }
    lastKey_ = key;
    last_ = it->second;
    return last_;
  }
  lxw_format* at(uint32_t number) const { return formats_[number]; }

 private:
  lxw_format* make(const StyleKey& key) {
    lxw_format* f = workbook_add_format(book_);
    if (f == nullptr) return nullptr;
    if (key.hasFont) {
      if (!key.fontName.empty()) format_set_font_name(f, key.fontName.c_str());
      if (key.fontSize != 0) format_set_font_size(f, key.fontSize);
      if (key.bold) format_set_bold(f);
      if (key.italic) format_set_italic(f);
      if (key.underline) format_set_underline(f, LXW_UNDERLINE_SINGLE);
      format_set_font_color(f, key.textColour);
      format_set_align(f, key.horizontal);
      format_set_align(f, key.vertical);
      if (key.wrap) format_set_text_wrap(f);
    } else {
      if (!defaultName_.empty()) format_set_font_name(f, defaultName_.c_str());
      if (defaultSize_ != 0) format_set_font_size(f, defaultSize_);
    }
    if (!key.numberFormat.empty()) format_set_num_format(f, key.numberFormat.c_str());
    if (key.pattern != LXW_PATTERN_NONE) {
      format_set_pattern(f, key.pattern);
      // For a solid fill libxlsxwriter takes the background colour as the
      // fill's colour.
      format_set_bg_color(f, key.backgroundColour);
      if (key.patternColour != 0) format_set_fg_color(f, key.patternColour);
    }
    format_set_left(f, key.borders[0]);
    format_set_top(f, key.borders[1]);
    format_set_right(f, key.borders[2]);
    format_set_bottom(f, key.borders[3]);
    if (key.borderColours[0] != 0) format_set_left_color(f, key.borderColours[0]);
    if (key.borderColours[1] != 0) format_set_top_color(f, key.borderColours[1]);
    if (key.borderColours[2] != 0) format_set_right_color(f, key.borderColours[2]);
    if (key.borderColours[3] != 0) format_set_bottom_color(f, key.borderColours[3]);
    return f;
  }

  lxw_workbook* book_;
  std::string defaultName_;
  uint32_t defaultSize_ = 0;
  std::unordered_map<StyleKey, uint32_t, StyleKeyHash> numbers_;
  std::vector<lxw_format*> formats_;
  StyleKey lastKey_;
  uint32_t last_ = kNoFormat;
};

// ---------------------------------------------------------------------------
// Sizes. Column widths come in twips (1/1440 inch). They become pixels at
// 96 per inch, as on the HTML page, and libxlsxwriter turns pixels into the
// XLSX unit, characters of the default font's digit width: (px - 5) / 7, or
// px / 12 below 12 px. Row heights come in twips too; XLSX wants points,
// twips / 20, which is exact.
// ---------------------------------------------------------------------------

double rowPoints(uint32_t twips) { return static_cast<double>(twips) / kTwipsPerPoint; }

// Runs of rows or columns merged into disjoint spans, sorted.
std::vector<Run> mergedRuns(std::vector<Run> runs) {
  std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.first < b.first; });
  std::vector<Run> merged;
  for (const Run& run : runs) {
    if (run.last < run.first) continue;
    if (!merged.empty() && run.first <= merged.back().last + 1)
      merged.back().last = std::max(merged.back().last, run.last);
    else
      merged.push_back(run);
  }
  return merged;
}

bool inSpans(const std::vector<Run>& spans, uint32_t index) {
  auto it = std::upper_bound(spans.begin(), spans.end(), index,
                             [](uint32_t i, const Run& r) { return i < r.first; });
  return it != spans.begin() && std::prev(it)->last >= index;
}

// ---------------------------------------------------------------------------
// One sheet, gathered and then written row by row
// ---------------------------------------------------------------------------

struct PendingCell {
  uint32_t row;
  uint32_t column;
  uint32_t format;  // the FormatCache's number; top bit: has a line
  uint32_t length;  // text bytes; kNoText when the item had none
  uint64_t offset;  // into the sheet's texts
};
constexpr uint32_t kHasLine = 0x80000000u;
constexpr uint32_t kNoText = UINT32_MAX;
constexpr uint32_t kNumber = UINT32_MAX - 1;  // offset holds a double, not a text

struct Note {
  uint32_t row, column;
  std::string text;
};

class XlsxBuilder : public host::SheetVisitor {
 public:
  XlsxBuilder(lxw_workbook* book, XlsxStats& stats) : book_(book), formats_(book), stats_(stats) {}

  void beginWorkbook(const std::vector<host::SheetInfo>& sheets) override {
    std::vector<std::string> names;
    for (const host::SheetInfo& sheet : sheets) names.push_back(sheet.name);
    names_ = worksheetNames(names);
  }

  void beginSheet(const host::SheetInfo& info) override {
    const size_t index = info.number >= 1 && info.number <= names_.size() ? info.number - 1 : 0;
    const std::string name = names_.empty() ? "" : names_[index];
    sheet_ = workbook_add_worksheet(book_, name.empty() ? nullptr : name.c_str());
    if (sheet_ == nullptr) fail(fmt::format("cannot add the worksheet \"{}\"", name));
    settings_ = {};
    heights_.clear();
    widths_.clear();
    hiddenRows_.clear();
    hiddenColumns_.clear();
    cells_.clear();
    texts_.clear();
    notes_.clear();
    objects_ = 0;
    inOrder_ = true;
  }

  bool item(const host::SheetInfo&, host::Item& item) override {
    if (auto* cell = std::get_if<host::Cell>(&item)) {
      addCell(*cell);
    } else if (auto* rows = std::get_if<host::RowRun>(&item)) {
      if (rows->size == 0)
        hiddenRows_.push_back({rows->first, rows->last, 0});
      else
        for (uint32_t r = rows->first; r <= rows->last && r <= kMaxRows; ++r) heights_[r] = rows->size;
    } else if (auto* columns = std::get_if<host::ColumnRun>(&item)) {
      if (columns->size == 0)
        hiddenColumns_.push_back({columns->first, columns->last, 0});
      else
        for (uint32_t c = columns->first; c <= columns->last && c <= kMaxColumns; ++c)
          widths_[c] = columns->size;
    } else if (auto* settings = std::get_if<host::Settings>(&item)) {
      settings_ = *settings;
      setWorkbookFont(settings->font);
    } else if (auto* object = std::get_if<host::Object>(&item)) {
      addObject(*object);
    }
    return error_.empty();
  }

  void endSheet(const host::SheetInfo&, const host::SheetStats&) override {
    if (sheet_ == nullptr || !error_.empty()) return;
    writeColumns();
    SheetModel model;
    model.settings = settings_;
    worksheet_set_default_row(sheet_, rowPoints(model.defaultRowHeight()), LXW_FALSE);
    keepTitles();
    writeCells();
  }

  const std::string& error() const { return error_; }

 private:
  // The sheet's title rows and columns, which come first in the numbering,
  // stay in view (frozen panes) and are printed on every page.
  void keepTitles() {
    const uint32_t rows = std::min(settings_.titleRows, kMaxRows - 1);
    const uint32_t columns = std::min(settings_.titleColumns, kMaxColumns - 1);
    if (rows == 0 && columns == 0) return;
    worksheet_freeze_panes(sheet_, rows, static_cast<lxw_col_t>(columns));
    if (rows != 0) check(worksheet_repeat_rows(sheet_, 0, rows - 1), "print title rows");
    if (columns != 0)
      check(worksheet_repeat_columns(sheet_, 0, static_cast<lxw_col_t>(columns - 1)),
            "print title columns");
  }

  void fail(const std::string& message) {
    if (error_.empty()) error_ = message;
  }
  void check(lxw_error code, std::string_view what) {
    if (code != LXW_NO_ERROR) fail(fmt::format("{}: {}", what, lxw_strerror(code)));
  }

  // The workbook's default font is the one every sheet gives in its
  // settings; XLSX keeps it in the first format, libxlsxwriter's default.
  void setWorkbookFont(const host::Font& font) {
    if (fontSet_) return;
    fontSet_ = true;
    lxw_format* base = STAILQ_FIRST(book_->formats);
    if (base == nullptr) return;
    const std::string name = cleanUtf8(font.name, true);
    if (!name.empty()) format_set_font_name(base, name.c_str());
    if (font.size != 0) format_set_font_size(base, font.size);
    formats_.setDefaultFont(name, font.size);
  }

  // A text the formatter can have written from a number or a date becomes
  // that number with a format code that shows it as the same text again;
  // every other text stays a string.
  void addCell(const host::Cell& cell) {
    StyleKey key = styleOf(cell);
    host::TypedValue value;
    if (cell.text && key.hasFont) value = host::inferValue(*cell.text);
    if (value.type != host::ValueType::Text) key.numberFormat = value.format;
    const uint32_t format = formats_.get(key);
    if (format == FormatCache::kNoFormat || format >= kHasLine)
      return fail("out of memory for a cell format");
    PendingCell pending{cell.row, cell.column, format, kNoText, texts_.size()};
    if (key.hasFont) pending.format |= kHasLine;
    if (value.type != host::ValueType::Text) {
      pending.length = kNumber;
      texts_.append(reinterpret_cast<const char*>(&value.number), sizeof value.number);
    } else if (cell.text) {
      pending.length = static_cast<uint32_t>(std::min<size_t>(cell.text->size(), kNumber - 1));
      texts_.append(*cell.text, 0, pending.length);
      texts_.push_back('\0');  // so the text goes to libxlsxwriter in place
    }
    if (!cells_.empty() && std::tie(cell.row, cell.column) <=
                               std::tie(cells_.back().row, cells_.back().column))
      inOrder_ = false;
    cells_.push_back(pending);
  }

  void addObject(host::Object& object) {
    ++objects_;
    std::string text = fmt::format("Graphic object {} of this sheet, from {} to {}", objects_,
                                   cellAddress(object.topColumn, object.topRow),
                                   cellAddress(object.bottomColumn, object.bottomRow));
    if (StreamInterface* content = object.content.stream(); content != nullptr) {
      // The object stream reads through the sheet: read it before the
      // walker pulls the next item.
      if (auto size = host::contentSizeText(content); size && !size->empty())
        text += ", size " + cleanUtf8(*size, true);
      text += fmt::format(", a drawing of {} bytes", content->streamLength);
    }
    text += ". This file holds no image of it: `wzss objects FILE --extract DIR` writes the drawing.";
    notes_.push_back({object.topRow, object.topColumn, std::move(text)});
  }

  // Every column gets a width: runs of equal width and visibility from
  // column 1 to the grid's last, so the sheet's default width covers the
  // columns without their own.
  void writeColumns() {
    const std::vector<Run> hidden = mergedRuns(hiddenColumns_);
    const auto widthOf = [&](uint32_t column) {
      auto it = widths_.find(column);
      return twipsToPixels(it != widths_.end() ? it->second : settings_.defaultColumnWidth);
    };
    // Only columns with their own width or next to a hidden span can
    // differ from their neighbours.
    std::set<uint32_t> edges{1, kMaxColumns + 1};
    for (const auto& [column, twips] : widths_) edges.insert({column, column + 1});
    for (const Run& run : hidden) edges.insert({run.first, std::min(run.last, kMaxColumns) + 1});
    for (auto it = edges.begin(); std::next(it) != edges.end(); ++it) {
      const uint32_t first = *it;
      const uint32_t last = *std::next(it) - 1;
      if (first > kMaxColumns) break;
      lxw_row_col_options options{};
      options.hidden = inSpans(hidden, first) ? 1 : 0;
      check(worksheet_set_column_pixels_opt(sheet_, static_cast<lxw_col_t>(first - 1),
                                            static_cast<lxw_col_t>(last - 1), widthOf(first),
                                            nullptr, &options),
            "column width");
    }
  }

  // Cells in row order, each row's height and visibility set before its
  // cells and the object notes anchored in it after them, as constant-memory
  // mode wants them: nothing can go back to a row already passed.
  void writeCells() {
    if (!inOrder_)
      std::stable_sort(cells_.begin(), cells_.end(), [](const PendingCell& a, const PendingCell& b) {
        return std::tie(a.row, a.column) < std::tie(b.row, b.column);
      });
    const std::vector<Run> hidden = mergedRuns(hiddenRows_);
    // The rows with a height or hidden, in order.
    std::vector<uint32_t> rows;
    for (const auto& [row, twips] : heights_) rows.push_back(row);
    for (const Run& run : hidden)
      for (uint32_t r = run.first; r <= std::min(run.last, kMaxRows); ++r) rows.push_back(r);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    const std::map<std::pair<uint32_t, uint32_t>, std::string> notes = notesByCell();

    size_t next = 0;
    auto setting = rows.begin();
    auto note = notes.begin();
    while (error_.empty() &&
           (next < cells_.size() || setting != rows.end() || note != notes.end())) {
      uint32_t row = next < cells_.size() ? cells_[next].row : UINT32_MAX;
      if (setting != rows.end()) row = std::min(row, *setting);
      if (note != notes.end()) row = std::min(row, note->first.first);
      if (setting != rows.end() && *setting == row) {
        setRow(row, inSpans(hidden, row));
        ++setting;
      }
      while (next < cells_.size() && cells_[next].row == row) next = writePosition(next);
      for (; note != notes.end() && note->first.first == row; ++note)
        writeNote(note->first.first, note->first.second, note->second);
    }
  }

  void setRow(uint32_t row, bool hidden) {
    if (row == 0 || row > kMaxRows) return;
    auto it = heights_.find(row);
    lxw_row_col_options options{};
    options.hidden = hidden ? 1 : 0;
    const double points = it != heights_.end() ? rowPoints(it->second) : LXW_DEF_ROW_HEIGHT;
    check(worksheet_set_row_opt(sheet_, row - 1, points, nullptr, &options), "row height");
  }

  // Writes the cell at cells_[first]'s position and returns the index past
  // its entries. The last line for a position wins, as in a host applying
  // items in order; a formatted empty cell never hides a cell with a line.
  size_t writePosition(size_t first) {
    size_t end = first;
    size_t chosen = first;
    while (end < cells_.size() && cells_[end].row == cells_[first].row &&
           cells_[end].column == cells_[first].column) {
      if ((cells_[end].format & kHasLine) != 0) chosen = end;
      ++end;
    }
    writeCell(cells_[chosen]);
    return end;
  }

  void writeCell(const PendingCell& cell) {
    if (cell.row == 0 || cell.column == 0 || cell.row > kMaxRows || cell.column > kMaxColumns) {
      ++stats_.cellsLeftOut;
      return;
    }
    lxw_format* format = formats_.at(cell.format & ~kHasLine);
    const lxw_row_t row = cell.row - 1;
    const auto column = static_cast<lxw_col_t>(cell.column - 1);
    ++stats_.cells;
    if (cell.length == kNoText || cell.length == 0) {
      check(worksheet_write_blank(sheet_, row, column, format), "cell");
      return;
    }
    if (cell.length == kNumber) {
      double number = 0;
      std::memcpy(&number, texts_.data() + cell.offset, sizeof number);
      ++stats_.typedCells;
      check(worksheet_write_number(sheet_, row, column, number, format), "cell");
      return;
    }
    const std::string_view stored = std::string_view(texts_).substr(cell.offset, cell.length);
    // Bytes up to the limit cannot hold more characters than the limit.
    if (stored.size() <= kMaxCellCharacters && cleanAlready(stored, false)) {
      check(worksheet_write_string(sheet_, row, column, stored.data(), format), "cell");
      return;
    }
    std::string text = cleanUtf8(stored, false);
    if (characterCount(text) > kMaxCellCharacters) {
      text = std::string(cutUtf8(text, kMaxCellCharacters, false));
      ++stats_.textsShortened;
    }
    check(worksheet_write_string(sheet_, row, column, text.c_str(), format), "cell");
  }

  // One note per anchor cell inside the grid, the texts of objects sharing
  // it together.
  std::map<std::pair<uint32_t, uint32_t>, std::string> notesByCell() const {
    std::map<std::pair<uint32_t, uint32_t>, std::string> byCell;
    for (const Note& note : notes_) {
      if (note.row == 0 || note.column == 0 || note.row > kMaxRows || note.column > kMaxColumns)
        continue;
      std::string& text = byCell[{note.row, note.column}];
      text += (text.empty() ? "" : "\n\n") + note.text;
    }
    return byCell;
  }

  void writeNote(uint32_t row, uint32_t column, const std::string& text) {
    lxw_comment_options options{};
    options.author = const_cast<char*>("wzss");
    check(worksheet_write_comment_opt(sheet_, row - 1, static_cast<lxw_col_t>(column - 1),
                                      text.c_str(), &options),
          "object note");
  }

  lxw_workbook* book_;
  FormatCache formats_;
  XlsxStats& stats_;
  std::vector<std::string> names_;
  bool fontSet_ = false;
  std::string error_;

  lxw_worksheet* sheet_ = nullptr;
  host::Settings settings_;
  std::map<uint32_t, uint32_t> heights_;
  std::map<uint32_t, uint32_t> widths_;
  std::vector<Run> hiddenRows_;
  std::vector<Run> hiddenColumns_;
  std::vector<PendingCell> cells_;
  std::string texts_;
  bool inOrder_ = true;
  std::vector<Note> notes_;
  uint32_t objects_ = 0;
};

// A file in the temporary folder, removed when this goes.
class TemporaryFile {
 public:
  TemporaryFile() {
    std::error_code code;
    fs::path folder = fs::temp_directory_path(code);
    if (code) folder = "/tmp";
    folder_ = folder.string();
    std::string pattern = (folder / "wzss-XXXXXX.xlsx").string();
    const int fd = mkstemps(pattern.data(), static_cast<int>(std::string_view(".xlsx").size()));
    if (fd < 0) return;
    ::close(fd);
    path_ = pattern;
  }
  ~TemporaryFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }
  const std::string& folder() const { return folder_; }

 private:
  std::string folder_;
  std::string path_;
};

bool copyFile(const std::string& path, const PieceWriter& write) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) return false;
  std::string piece(kCopyPiece, '\0');
  while (true) {
    const size_t got = std::fread(piece.data(), 1, piece.size(), file.get());
    if (got > 0 && !write(std::string_view(piece.data(), got))) return false;
    if (got < piece.size()) return std::ferror(file.get()) == 0;
  }
}

}  // namespace

std::vector<std::string> worksheetNames(const std::vector<std::string>& sheetNames) {
  std::vector<std::string> names;
  std::set<std::string> taken;  // folded
  for (size_t i = 0; i < sheetNames.size(); ++i) {
    std::string name = cleanUtf8(sheetNames[i], true);
    for (char& ch : name)
      if (std::string_view("[]:*?/\\").find(ch) != std::string_view::npos) ch = '_';
    if (!name.empty() && name.front() == '\'') name.front() = '_';
    name = std::string(cutUtf8(name, kMaxSheetName, true));
    if (!name.empty() && name.back() == '\'') name.back() = '_';
    if (name.empty()) name = fmt::format("Sheet {}", i + 1);
    if (foldCase(name) == foldCase("History")) name += '_';
    std::string unique = name;
    for (size_t n = 2; taken.count(foldCase(unique)) != 0; ++n) {
      const std::string suffix = fmt::format(" ({})", n);
      unique = std::string(cutUtf8(name, kMaxSheetName - suffix.size(), true)) + suffix;
    }
    taken.insert(foldCase(unique));
    names.push_back(unique);
  }
  return names;
}

std::optional<std::string> convertToXlsx(const SSReaderInterface& table, const std::string& input,
                                         const std::string& encoding, const ReadOptions& read,
                                         const std::function<bool(const PieceProducer&)>& deliver,
                                         XlsxStats* stats) {
  TemporaryFile temporary;
  if (temporary.path().empty())
    return fmt::format("cannot create a temporary file in {}", temporary.folder());
  lxw_workbook_options options{};
  options.constant_memory = LXW_TRUE;
  options.tmpdir = const_cast<char*>(temporary.folder().c_str());
  options.use_zip64 = LXW_TRUE;
  lxw_workbook* book = workbook_new_opt(temporary.path().c_str(), &options);
  if (book == nullptr) return std::string("cannot start the XLSX (out of memory)");
  XlsxBuilder builder(book, *stats);
  host::WalkOptions walkOptions;
  walkOptions.encoding = encoding;
  const host::Status walked =
      walkWorkbookFile(table, input, builder, &stats->bytes, walkOptions, &stats->warnings, read);
  // Closing writes the file and frees the workbook, also after a failure.
  const lxw_error closed = workbook_close(book);
  if (!walked) return walked.error().message;
  if (!builder.error().empty()) return builder.error();
  if (closed != LXW_NO_ERROR)
    return fmt::format("cannot write the XLSX in {}: {}", temporary.folder(), lxw_strerror(closed));
  if (stats->cellsLeftOut != 0)
    stats->warnings.push_back(fmt::format(
        "{} cells beyond the XLSX grid (1048576 rows, 16384 columns) left out", stats->cellsLeftOut));
  if (stats->textsShortened != 0)
    stats->warnings.push_back(fmt::format(
        "{} texts cut to the 32767 characters a cell holds", stats->textsShortened));
  const bool delivered =
      deliver([&](const PieceWriter& write) { return copyFile(temporary.path(), write); });
  if (!delivered) return std::string();
  return std::nullopt;
}

}  // namespace wzss::cli

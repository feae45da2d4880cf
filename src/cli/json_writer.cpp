#include "cli/json_writer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <unordered_map>

#include "cli/dump_format.h"
#include "cli/sheet_model.h"
#include "wzss/host/values.h"

namespace wzss::cli {
namespace {

using Json = nlohmann::ordered_json;

// Pieces handed to the writer: large enough that a pipe or file sees few
// calls, small enough that the first bytes come early.
constexpr size_t kPieceSize = 256 * 1024;
constexpr int kIndent = 2;

// --- Small members, built as JSON values -------------------------------

Json fontJson(const host::Font& font) {
  return Json{{"name", font.name},
              {"size", font.size},
              {"bold", font.bold},
              {"italic", font.italic},
              {"underline", font.underline}};
}

Json runsJson(const std::vector<Run>& runs, const char* sizeName) {
  Json list = Json::array();
  for (const Run& run : runs) {
    Json entry{{"first", run.first}, {"last", run.last}};
    if (sizeName != nullptr) entry[sizeName] = run.size;
    list.push_back(std::move(entry));
  }
  return list;
}

Json sideJson(const host::BorderSide& side) {
  if (side.style == 0) return nullptr;  // no line; its colour means nothing
  return Json{{"style", side.style}, {"color", htmlColour(side.color)}};
}

Json bordersJson(const host::Borders& borders) {
  return Json{{"left", sideJson(borders.left)},
              {"top", sideJson(borders.top)},
              {"right", sideJson(borders.right)},
              {"bottom", sideJson(borders.bottom)}};
}

Json fillJson(const std::optional<FillInfo>& fill) {
  if (!fill) return nullptr;
  Json out{{"pattern", fill->pattern},
           {"shadePercent", fill->shadePercent},
           {"patternColor", htmlColour(fill->foreColor)},
           {"backgroundColor", htmlColour(fill->backColor)}};
  // Only a plain shade (pattern 0) has one colour to show.
  if (fill->pattern == 0)
    out["shownColor"] = htmlColour(mixColour(fill->backColor, fill->foreColor, fill->shadePercent));
  return out;
}

Json alignmentJson(uint16_t word) {
  const Alignment a = decodeAlignment(word);
  return Json{{"horizontal", horizontalName(a.horizontal)},
              {"vertical", verticalName(a.vertical)},
              {"wrap", a.wrap},
              {"overflow", a.overflow},
              {"word", word}};
}

Json cornerJson(uint32_t column, uint32_t row, int32_t x, int32_t y) {
  return Json{{"column", column}, {"row", row}, {"address", cellAddress(column, row)},
              {"x", x}, {"y", y}};
}

Json objectJson(const ObjectModel& object) {
  Json out{{"from", cornerJson(object.topColumn, object.topRow, object.topX, object.topY)},
           {"to", cornerJson(object.bottomColumn, object.bottomRow, object.bottomX, object.bottomY)},
           {"frame", object.framed ? bordersJson(object.frame) : Json(nullptr)},
           {"hasDrawing", object.hasContent}};
  out["sizeText"] = object.sizeText ? Json(*object.sizeText) : Json(nullptr);
  out["drawingLength"] = object.hasContent ? Json(object.drawingLength) : Json(nullptr);
  return out;
}

std::string compact(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// An object's members without its braces, after a comma: what a cell's
// style adds to the members the cell writes itself.
std::string membersFragment(const Json& object) {
  const std::string text = compact(object);
  return "," + text.substr(1, text.size() - 2);
}

// --- Cells --------------------------------------------------------------

void appendNumber(std::string& out, uint64_t value) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

const char* typeName(host::ValueType type) {
  switch (type) {
    case host::ValueType::Number: return "number";
    case host::ValueType::Date: return "date";
    case host::ValueType::Time: return "time";
    case host::ValueType::DateTime: return "datetime";
    case host::ValueType::Text: break;
  }
  return "text";
}

// "value" and "type" after a cell's text: the value the text shows, where
// it fixes one exactly, as a JSON number or an ISO 8601 string.
void appendTypedValue(std::string& out, std::string_view text) {
  const host::TypedValue value = host::inferValue(text);
  if (value.type == host::ValueType::Number) {
    out += ",\"value\":";
    out += host::plainText(value, text);
  } else if (value.type != host::ValueType::Text) {
    out += ",\"value\":\"";
    out += host::isoText(value);
    out += '"';
  }
  out += ",\"type\":\"";
  out += typeName(value.type);
  out += '"';
}

// Runs of hidden rows or columns, merged and sorted, asked once per cell.
class HiddenSpans {
 public:
  explicit HiddenSpans(const std::vector<Run>& runs) {
    for (const Run& run : runs) spans_.emplace_back(run.first, run.last);
    std::sort(spans_.begin(), spans_.end());
    std::vector<std::pair<uint32_t, uint32_t>> merged;
    for (const auto& span : spans_) {
      if (!merged.empty() && span.first <= merged.back().second)
        merged.back().second = std::max(merged.back().second, span.second);
      else
        merged.push_back(span);
    }
    spans_ = std::move(merged);
  }
  bool contains(uint32_t index) const {
    auto after = std::upper_bound(spans_.begin(), spans_.end(), index,
                                  [](uint32_t i, const auto& span) { return i < span.first; });
    return after != spans_.begin() && index <= std::prev(after)->second;
  }

 private:
  std::vector<std::pair<uint32_t, uint32_t>> spans_;
};

// A cell as the sheet keeps it until the sheet ends: its position, its text
// in the sheet's text store, and its style as a shared fragment.
struct CellEntry {
  uint32_t row = 0;
  uint32_t column = 0;
  uint32_t style = 0;
  uint32_t textLength = 0;
  uint64_t textOffset = kNoText;
  static constexpr uint64_t kNoText = UINT64_MAX;
};

bool samePosition(const CellEntry& a, const CellEntry& b) {
  return a.row == b.row && a.column == b.column;
}
bool before(const CellEntry& a, const CellEntry& b) {
  return a.row != b.row ? a.row < b.row : a.column < b.column;
}

// Sorts entries by position (keeping the order of arrival among equals)
// and leaves one per position: the last to arrive, or the first.
void onePerPosition(std::vector<CellEntry>& entries, bool sorted, bool keepLast) {
  if (!sorted) std::stable_sort(entries.begin(), entries.end(), before);
  size_t kept = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (kept > 0 && samePosition(entries[kept - 1], entries[i])) {
      if (keepLast) entries[kept - 1] = entries[i];
      continue;
    }
    entries[kept++] = entries[i];
  }
  entries.resize(kept);
}

// Drops the entries whose position is in taken (both sorted).
void dropTaken(std::vector<CellEntry>& entries, const std::vector<CellEntry>& taken) {
  auto other = taken.begin();
  size_t kept = 0;
  for (const CellEntry& entry : entries) {
    while (other != taken.end() && before(*other, entry)) ++other;
    if (other != taken.end() && samePosition(*other, entry)) continue;
    entries[kept++] = entry;
  }
  entries.resize(kept);
}

template <class T>
void putBytes(std::string& key, const T& value) {
  key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// One sheet as it arrives: the small items as they are, the cells as
// entries. Styles repeat from cell to cell, so each distinct one is turned
// into JSON once and shared.
class SheetBuffer {
 public:
  void clear(const host::SheetInfo& info) {
    info_ = info;
    settings_ = {};
    option_ = 0;
    for (auto* runs : {&rowHeights_, &columnWidths_, &hiddenRows_, &hiddenColumns_}) runs->clear();
    objects_.clear();
    cells_.clear();
    empty_.clear();
    texts_.clear();
    styles_.clear();
    fragments_.clear();
    cellsSorted_ = emptySorted_ = true;
  }

  void add(host::Item& item) {
    if (auto* settings = std::get_if<host::Settings>(&item)) {
      settings_ = *settings;
    } else if (auto* option = std::get_if<host::Option>(&item)) {
      option_ = option->option;
    } else if (auto* rows = std::get_if<host::RowRun>(&item)) {
      // Size 0 is the plug-in's way of saying "hidden".
      (rows->size == 0 ? hiddenRows_ : rowHeights_).push_back({rows->first, rows->last, rows->size});
    } else if (auto* columns = std::get_if<host::ColumnRun>(&item)) {
      (columns->size == 0 ? hiddenColumns_ : columnWidths_)
          .push_back({columns->first, columns->last, columns->size});
    } else if (auto* object = std::get_if<host::Object>(&item)) {
      objects_.push_back(objectModelOf(*object));
    } else if (auto* cell = std::get_if<host::Cell>(&item)) {
      addCell(*cell);
    }
  }

  const host::SheetInfo& info() const { return info_; }

  // The sheet's members before its cells, as compact JSON.
  std::string head() const {
    Json objects = Json::array();
    for (const ObjectModel& object : objects_) objects.push_back(objectJson(object));
    const Json head{{"number", info_.number},
                    {"name", info_.name},
                    {"settings", settingsJson()},
                    {"rowHeights", runsJson(rowHeights_, "height")},
                    {"columnWidths", runsJson(columnWidths_, "width")},
                    {"hiddenRows", runsJson(hiddenRows_, nullptr)},
                    {"hiddenColumns", runsJson(hiddenColumns_, nullptr)},
                    {"objects", std::move(objects)}};
    const std::string text = compact(head);
    return text.substr(0, text.size() - 1);  // open for the cells
  }

  // Puts the cells in order, one per position: two lines for one cell, the
  // later wins, as in a host applying items in order; a formatted empty
  // cell never hides a cell that had its own line (on a sheet with title
  // rows both can land on one position).
  void settle() {
    onePerPosition(cells_, cellsSorted_, true);
    onePerPosition(empty_, emptySorted_, false);
    dropTaken(empty_, cells_);
  }

  const std::vector<CellEntry>& cells() const { return cells_; }
  const std::vector<CellEntry>& formattedEmptyCells() const { return empty_; }
  const std::vector<Run>& hiddenRows() const { return hiddenRows_; }
  const std::vector<Run>& hiddenColumns() const { return hiddenColumns_; }
  std::string_view text(const CellEntry& cell) const {
    return std::string_view(texts_).substr(cell.textOffset, cell.textLength);
  }
  const std::string& style(const CellEntry& cell) const { return fragments_[cell.style]; }

 private:
  Json settingsJson() const {
    return Json{{"maxRow", settings_.maxRow},
                {"maxColumn", settings_.maxColumn},
                {"titleRows", settings_.titleRows},
                {"titleColumns", settings_.titleColumns},
                {"defaultColumnWidth", settings_.defaultColumnWidth},
                {"defaultFontHeight", settings_.defaultFontHeight},
                {"defaultFont", fontJson(settings_.font)},
                {"option", option_}};
  }

  void addCell(const host::Cell& cell) {
    CellEntry entry{cell.row, cell.column, 0, 0, CellEntry::kNoText};
    const bool empty = isFormattedEmpty(cell);
    std::vector<CellEntry>& list = empty ? empty_ : cells_;
    bool& sorted = empty ? emptySorted_ : cellsSorted_;
    if (!list.empty() && !before(list.back(), entry)) sorted = false;
    entry.style = styleOf(cell, empty);
    if (!empty && cell.text) {
      entry.textOffset = texts_.size();
      entry.textLength = static_cast<uint32_t>(cell.text->size());
      texts_ += *cell.text;
    }
    list.push_back(entry);
  }

  uint32_t styleOf(const host::Cell& cell, bool empty) {
    key_.assign(1, empty ? 'E' : 'C');
    if (cell.fill) putBytes(key_, *cell.fill);
    key_.push_back(cell.hasBorder != 0 ? 'B' : '-');
    if (cell.hasBorder != 0)
      for (const host::BorderSide* side :
           {&cell.borders.left, &cell.borders.top, &cell.borders.right, &cell.borders.bottom}) {
        putBytes(key_, side->style);
        putBytes(key_, side->color);
      }
    if (!empty) {
      putBytes(key_, cell.align);
      putBytes(key_, cell.backColor);
      putBytes(key_, cell.textColor);
      putBytes(key_, cell.font.size);
      key_.push_back(static_cast<char>(cell.font.bold | cell.font.italic << 1 |
                                       cell.font.underline << 2));
      key_ += cell.font.name;
    }
    auto [it, added] = styles_.try_emplace(key_, static_cast<uint32_t>(fragments_.size()));
    if (added) fragments_.push_back(styleFragment(cell, empty));
    return it->second;
  }

  static std::string styleFragment(const host::Cell& cell, bool empty) {
    const Json borders = cell.hasBorder != 0 ? bordersJson(cell.borders) : Json(nullptr);
    if (empty) return membersFragment(Json{{"fill", fillJson(cell.fill)}, {"borders", borders}});
    return membersFragment(Json{{"alignment", alignmentJson(cell.align)},
                                {"font", fontJson(cell.font)},
                                {"textColor", htmlColour(cell.textColor)},
                                {"backColor", htmlColour(cell.backColor)},
                                {"fill", fillJson(cell.fill)},
                                {"borders", borders}});
  }

  host::SheetInfo info_;
  host::Settings settings_;
  uint32_t option_ = 0;
  std::vector<Run> rowHeights_, columnWidths_, hiddenRows_, hiddenColumns_;
  std::vector<ObjectModel> objects_;
  std::vector<CellEntry> cells_;
  std::vector<CellEntry> empty_;
  bool cellsSorted_ = true;
  bool emptySorted_ = true;
  std::string texts_;
  std::unordered_map<std::string, uint32_t> styles_;
  std::vector<std::string> fragments_;
  std::string key_;
};

// Turns compact JSON into JSON indented by two blanks, piece by piece:
// compact JSON has no blank outside its strings, so every comma, colon and
// bracket outside a string is where a line breaks or a blank goes.
class Indenter {
 public:
  void indent(std::string_view compactText, std::string& out) {
    for (const char c : compactText) {
      if (inString_) {
        out.push_back(c);
        if (escaped_) escaped_ = false;
        else if (c == '\\') escaped_ = true;
        else if (c == '"') inString_ = false;
        continue;
      }
      if (opened_) {
        opened_ = false;
        if (c == '}' || c == ']') {  // an empty object or array stays on its line
          --depth_;
          out.push_back(c);
          continue;
        }
        newLine(out);
      }
      switch (c) {
        case '"': inString_ = true; out.push_back(c); break;
        case '{':
        case '[': ++depth_; opened_ = true; out.push_back(c); break;
        case '}':
        case ']': --depth_; newLine(out); out.push_back(c); break;
        case ',': out.push_back(c); newLine(out); break;
        case ':': out += ": "; break;
        default: out.push_back(c); break;
      }
    }
  }

 private:
  void newLine(std::string& out) const {
    out.push_back('\n');
    out.append(static_cast<size_t>(std::max(depth_, 0) * kIndent), ' ');
  }
  bool inString_ = false;
  bool escaped_ = false;
  bool opened_ = false;
  int depth_ = 0;
};

// The walk's visitor: writes the document's head when the sheet list is
// known and each sheet at its end.
class JsonStreamer : public host::SheetVisitor {
 public:
  JsonStreamer(std::string fileName, const JsonOptions& options, const PieceWriter& write)
      : fileName_(std::move(fileName)), options_(options), write_(write) {
    options_.pretty = options_.pretty && !options_.lines;  // a line is one object
  }

  void beginWorkbook(const std::vector<host::SheetInfo>& sheets) override {
    if (!options_.sheet.empty()) {
      only_ = findSheet(sheets, options_.sheet);
      if (!only_) refusal_ = noSuchSheet(options_.sheet, sheets.size());
    }
    if (options_.lines || !refusal_.empty()) return;
    out_ = compact(Json{{"format", "wzss-workbook"},
                        {"schemaVersion", kJsonSchemaVersion},
                        {"file", fileName_},
                        {"sheets", Json::array()}});
    out_.resize(out_.size() - 2);  // "]}": open for the sheets
    flush();  // the first bytes, at once
  }
  bool wants(const host::SheetInfo& info) override {
    return ok_ && refusal_.empty() && (!only_ || info.number == *only_ + 1);
  }
  const std::string& refusal() const { return refusal_; }
  void beginSheet(const host::SheetInfo& info) override { sheet_.clear(info); }
  bool item(const host::SheetInfo&, host::Item& item) override {
    sheet_.add(item);
    return ok_;
  }
  void endSheet(const host::SheetInfo&, const host::SheetStats&) override {
    sheet_.settle();
    if (options_.lines) {
      writeLines();
    } else {
      writeSheet();
    }
  }

  // Closes the document and hands on the rest; false when a piece was refused.
  bool finish() {
    if (!options_.lines) out_ += "]}\n";
    flush();
    return ok_;
  }

 private:
  void writeSheet() {
    if (sheetsWritten_++ > 0) out_ += ',';
    out_ += sheet_.head();
    out_ += ",\"cells\":[";
    writeCells(sheet_.cells(), "{", ",", true);
    out_ += "],\"formattedEmptyCells\":[";
    writeCells(sheet_.formattedEmptyCells(), "{", ",", false);
    out_ += "]}";
  }

  // One object per cell with a line, each naming its sheet first.
  void writeLines() {
    std::string prefix = "{\"sheet\":";
    appendNumber(prefix, sheet_.info().number);
    prefix += ",\"sheetName\":";
    appendJsonString(prefix, sheet_.info().name);
    prefix += ',';
    writeCells(sheet_.cells(), prefix, "", true, "\n");
  }

  void writeCells(const std::vector<CellEntry>& cells, std::string_view open,
                  std::string_view separator, bool withText, std::string_view close = "") {
    const HiddenSpans hiddenRows(sheet_.hiddenRows()), hiddenColumns(sheet_.hiddenColumns());
    bool first = true;
    for (const CellEntry& cell : cells) {
      if (!first) out_ += separator;
      first = false;
      out_ += open;
      out_ += "\"row\":";
      appendNumber(out_, cell.row);
      out_ += ",\"column\":";
      appendNumber(out_, cell.column);
      out_ += ",\"address\":\"";
      out_ += cellAddress(cell.column, cell.row);
      out_ += hiddenRows.contains(cell.row) || hiddenColumns.contains(cell.column)
                  ? "\",\"hidden\":true"
                  : "\",\"hidden\":false";
      if (withText) {
        out_ += ",\"text\":";
        if (cell.textOffset == CellEntry::kNoText) {
          out_ += "null,\"type\":\"text\"";
        } else {
          appendJsonString(out_, sheet_.text(cell));
          appendTypedValue(out_, sheet_.text(cell));
        }
      }
      out_ += sheet_.style(cell);
      out_ += '}';
      out_ += close;
      if (out_.size() >= kPieceSize) flush();
    }
  }

  void flush() {
    if (ok_ && !out_.empty()) {
      if (options_.pretty) {
        pretty_.clear();
        indenter_.indent(out_, pretty_);
        ok_ = write_(pretty_);
      } else {
        ok_ = write_(out_);
      }
    }
    out_.clear();
  }

  std::string fileName_;
  JsonOptions options_;
  const PieceWriter& write_;
  bool ok_ = true;
  std::string out_;
  std::string pretty_;
  Indenter indenter_;
  SheetBuffer sheet_;
  int sheetsWritten_ = 0;
  std::optional<size_t> only_;
  std::string refusal_;
};

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
  });
  if (!plain) {
    out += compact(Json(std::string(text)));
    return;
  }
  out += '"';
  out += text;
  out += '"';
}

PieceProducer workbookJson(const SSReaderInterface& table, const std::string& path,
                           const JsonOptions& options, uint64_t* bytes, JsonOutcome* outcome) {
  return [&table, path, options, bytes, outcome](const PieceWriter& write) {
    JsonStreamer streamer(std::filesystem::path(path).filename().string(), options, write);
    host::WalkOptions walk;
    walk.encoding = options.encoding;
    outcome->walked = walkWorkbookFile(table, path, streamer, bytes, walk, &outcome->warnings, options.read);
    outcome->refusal = streamer.refusal();
    return outcome->walked.ok() && outcome->refusal.empty() && streamer.finish();
  };
}

}  // namespace wzss::cli

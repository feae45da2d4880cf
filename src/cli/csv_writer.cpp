#include "cli/csv_writer.h"

#include <algorithm>
#include <tuple>

#include "cli/csv_sheet.h"
#include "wzss/host/values.h"

namespace wzss::cli {
namespace {

constexpr std::string_view kRecordEnd = "\r\n";
constexpr std::string_view kQuote = "\"";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// A comma, a double quote, CR or LF. A plain loop: on a cell's few bytes,
// find_first_of calls memchr once per byte, and reading eight bytes at a
// time costs as many instructions on texts this short.
bool needsQuotes(std::string_view text) {
  for (const char ch : text)
    if (ch == ',' || ch == '"' || ch == '\r' || ch == '\n') return true;
  return false;
}

// Into a string or a sheet's body: a field without marks in one piece, a
// quoted one in the pieces between its quotes, each quote doubled.
template <class Output>
void appendField(std::string_view text, Output& out) {
  if (!needsQuotes(text)) {
    out.append(text);
    return;
  }
  out.append(kQuote);
  for (size_t quote; (quote = text.find('"')) != std::string_view::npos;) {
    out.append(text.substr(0, quote + 1));
    out.append(kQuote);
    text.remove_prefix(quote + 1);
  }
  out.append(text);
  out.append(kQuote);
}

// The field at the start of text, as appendField wrote it; text is left
// after the field.
std::string takeField(std::string_view& text) {
  std::string field;
  if (text.empty() || text.front() != '"') {
    const size_t end = std::min(text.find(','), text.size());
    field = text.substr(0, end);
    text.remove_prefix(end);
    return field;
  }
  size_t at = 1;
  while (at < text.size()) {
    if (text[at] == '"') {
      if (at + 1 < text.size() && text[at + 1] == '"') {
        field += '"';
        at += 2;
        continue;
      }
      ++at;  // the closing quote
      break;
    }
    field += text[at++];
  }
  text.remove_prefix(at);
  return field;
}

// Where writeInOrder puts the CSV: a string that takes all of it...
class StringOutput {
 public:
  explicit StringOutput(std::string& text) : text_(text) {}
  void reserve(uint64_t size) { text_.reserve(text_.size() + size); }
  void append(std::string_view text) { text_ += text; }
  void append(size_t count, char ch) { text_.append(count, ch); }

 private:
  std::string& text_;
};

// ... or a piece of about CsvSheet::kPieceSize bytes, handed on when full
// and filled again, so that a sheet's CSV is never copied whole. After a
// refused piece the rest is dropped.
class PieceOutput {
 public:
  PieceOutput(std::string& piece, const PieceWriter& write) : piece_(piece), write_(write) {
    piece_.clear();
  }
  void reserve(uint64_t) {}
  void append(std::string_view text) {
    piece_ += text;
    if (piece_.size() >= CsvSheet::kPieceSize) flush();
  }
  void append(size_t count, char ch) {
    piece_.append(count, ch);
    if (piece_.size() >= CsvSheet::kPieceSize) flush();
  }
  // Hands on what is left; false when any piece was refused.
  bool finish() {
    if (!piece_.empty()) flush();
    return ok_;
  }

 private:
  void flush() {
    if (ok_) ok_ = write_(piece_);
    piece_.clear();
  }

  std::string& piece_;
  const PieceWriter& write_;
  bool ok_ = true;
};

// Builds each sheet's CSV while its items arrive and hands it to the sink
// when the sheet ends; one sheet is kept, reused from sheet to sheet.
class CsvStreamer : public host::SheetVisitor {
 public:
  CsvStreamer(const CsvOptions& options, CsvSink& sink)
      : sheet_(options),
        sink_(sink),
        csv_([this](const PieceWriter& write) { return sheet_.write(write); }) {}

  void beginWorkbook(const std::vector<host::SheetInfo>& sheets) override {
    done_ = !sink_.begin(sheets);
  }
  bool wants(const host::SheetInfo& info) override { return !done_ && sink_.wants(info); }
  void beginSheet(const host::SheetInfo&) override { sheet_.clear(); }
  bool item(const host::SheetInfo&, host::Item& item) override {
    sheet_.add(item);
    return true;
  }
  void endSheet(const host::SheetInfo& info, const host::SheetStats&) override {
    done_ = !sink_.sheet(info, csv_);
  }

 private:
  CsvSheet sheet_;
  CsvSink& sink_;
  const PieceProducer csv_;
  bool done_ = false;
};

}  // namespace

std::string csvField(std::string_view text) {
  std::string field;
  appendField(text, field);
  return field;
}

// --- Hidden lines --------------------------------------------------------

void HiddenLines::add(const Run& run) {
  // Line 0 holds no field; a run that names no line hides nothing.
  const uint32_t first = std::max<uint32_t>(run.first, 1);
  if (first > run.last) return;
  spans_.push_back({first, run.last, 0});
  settled_ = false;
}

void HiddenLines::settle() {
  if (settled_) return;
  settled_ = true;
  std::sort(spans_.begin(), spans_.end(),
            [](const Span& a, const Span& b) { return a.first < b.first; });
  std::vector<Span> merged;
  for (const Span& span : spans_) {
    if (!merged.empty() && uint64_t{span.first} <= uint64_t{merged.back().last} + 1)
      merged.back().last = std::max(merged.back().last, span.last);
    else
      merged.push_back(span);
  }
  uint64_t hidden = 0;
  for (Span& span : merged) {
    span.hiddenBefore = hidden;
    hidden += uint64_t{span.last} - span.first + 1;
  }
  spans_ = std::move(merged);
  hiddenTotal_ = hidden;
  lastHidden_ = spans_.empty() ? 0 : spans_.back().last;
  table_.clear();
  const uint64_t tableLines = std::min(lastHidden_, kTableLines);
  auto span = spans_.begin();
  uint32_t shown = 0;
  for (uint64_t line = 1; line <= tableLines; ++line) {
    while (span != spans_.end() && span->last < line) ++span;
    if (span != spans_.end() && span->first <= line) {
      table_.push_back(kHiddenEntry);
    } else {
      table_.push_back(shown++);
    }
  }
}

void HiddenLines::clear() {
  spans_.clear();
  settled_ = true;
  lastHidden_ = hiddenTotal_ = 0;
  table_.clear();
}

bool HiddenLines::find(uint32_t index) const {
  auto after = std::upper_bound(spans_.begin(), spans_.end(), index,
                                [](uint32_t i, const Span& span) { return i < span.first; });
  return after != spans_.begin() && index <= std::prev(after)->last;
}

uint64_t HiddenLines::count(uint64_t index) const {
  auto after = std::partition_point(spans_.begin(), spans_.end(),
                                    [index](const Span& span) { return span.first < index; });
  if (after == spans_.begin()) return 0;
  const Span& span = *std::prev(after);
  return span.hiddenBefore + std::min<uint64_t>(span.last, index - 1) - span.first + 1;
}

uint32_t HiddenLines::shownAt(uint64_t shown) const {
  uint64_t index = shown + 1;
  for (const Span& span : spans_) {
    if (span.first > index) break;
    index += uint64_t{span.last} - span.first + 1;
  }
  return static_cast<uint32_t>(index);
}

// --- The body --------------------------------------------------------------

void CsvSheet::Body::addBlock() {
  blocks_.push_back(std::make_unique_for_overwrite<char[]>(kBlockSize));
}

void CsvSheet::Body::appendAcross(size_t count, char ch) {
  while (count > 0) {
    if (room() == 0) addBlock();
    const uint64_t length = std::min<uint64_t>(count, room());
    std::memset(end(), ch, length);
    size_ += length;
    count -= length;
  }
}

// Fills the current block, then the next ones, adding blocks as needed.
void CsvSheet::Body::appendAcross(std::string_view text) {
  while (!text.empty()) {
    if (room() == 0) addBlock();
    const uint64_t length = std::min<uint64_t>(text.size(), room());
    std::memcpy(end(), text.data(), length);
    size_ += length;
    text.remove_prefix(length);
  }
}

// --- The sheet -------------------------------------------------------------

void CsvSheet::add(const host::Item& item) {
  // Size 0 is the plug-in's way of saying "hidden".
  if (const auto* rows = std::get_if<host::RowRun>(&item); rows != nullptr && rows->size == 0) {
    hideRows({rows->first, rows->last, 0});
  } else if (const auto* columns = std::get_if<host::ColumnRun>(&item);
             columns != nullptr && columns->size == 0) {
    hideColumns({columns->first, columns->last, 0});
  } else if (const auto* cell = std::get_if<host::Cell>(&item)) {
    const bool formattedEmpty = cell->hasFont == 0 && !cell->text;
    if (!formattedEmpty) addShown(cell->row, cell->column, cell->text);
  }
}

void CsvSheet::addShown(uint32_t row, uint32_t column, const std::optional<std::string>& text) {
  if (!text) return addCell(row, column, "");
  if (!options_.typedValues) return addCell(row, column, *text);
  addCell(row, column, host::plainText(host::inferValue(*text), *text));
}

// Fields already written were placed with the hidden lines known then, so
// a run that comes after them sends the sheet down the sorted way.
void CsvSheet::hideRows(const Run& run) {
  if (cellsStarted_ && inOrder_) stopWritingInOrder();
  hiddenRows_.add(run);
}

void CsvSheet::hideColumns(const Run& run) {
  if (cellsStarted_ && inOrder_) stopWritingInOrder();
  hiddenColumns_.add(run);
}

bool CsvSheet::rowShown(uint32_t row) const {
  return options_.keepHidden || !hiddenRows_.contains(row);
}

void CsvSheet::addCell(uint32_t row, uint32_t column, std::string_view text) {
  if (!cellsStarted_) settleHiddenLines();
  if (inOrder_ && cellsStarted_ && std::tie(row, column) <= std::tie(lastCellRow_, lastCellColumn_))
    stopWritingInOrder();
  cellsStarted_ = true;
  lastCellRow_ = row;
  lastCellColumn_ = column;
  if (!inOrder_) return keep(row, column, text);
  if (text.empty()) return;

  textRows_ = std::max(textRows_, row);
  textColumns_ = std::max(textColumns_, column);
  if (row == 0 || column == 0) return keep(row, column, text);
  if (row != askedRow_) {
    askedRow_ = row;
    askedRowShown_ = rowShown(row);
  }
  const uint64_t field =
      options_.keepHidden ? uint64_t{column} - 1 : hiddenColumns_.shownBefore(column);
  if (!askedRowShown_ || field == HiddenLines::kHidden) return keep(row, column, text);

  if (rows_.empty() || rows_.back().row != row) rows_.push_back({row, body_.size(), 0});
  RowText& line = rows_.back();
  // The separators of the empty fields before this one.
  body_.append(line.fields == 0 ? field : field - line.fields + 1, ',');
  appendField(text, body_);
  line.fields = field + 1;
}

void CsvSheet::keep(uint32_t row, uint32_t column, std::string_view text) {
  entries_.push_back({row, column, texts_.size(), static_cast<uint32_t>(text.size())});
  texts_ += text;
}

// The fields written so far become entries again, beside the texts no
// field showed.
void CsvSheet::stopWritingInOrder() {
  inOrder_ = false;
  for (size_t i = 0; i < rows_.size(); ++i) {
    const uint64_t end = i + 1 < rows_.size() ? rows_[i + 1].offset : body_.size();
    std::string row;
    body_.read(rows_[i].offset, end, [&row](std::string_view part) { row += part; });
    std::string_view fields(row);
    for (uint64_t field = 0;; ++field) {
      const std::string text = takeField(fields);
      if (!text.empty()) {
        const uint32_t column =
            options_.keepHidden ? static_cast<uint32_t>(field + 1) : hiddenColumns_.shownAt(field);
        keep(rows_[i].row, column, text);
      }
      if (fields.empty()) break;
      fields.remove_prefix(1);  // the separator
    }
  }
  body_.clear();
  rows_.clear();
}

void CsvSheet::clear() {
  hiddenRows_.clear();
  hiddenColumns_.clear();
  cellsStarted_ = false;
  inOrder_ = true;
  lastCellRow_ = lastCellColumn_ = 0;
  askedRow_ = 0;
  textRows_ = textColumns_ = 0;
  body_.clear();
  rows_.clear();
  entries_.clear();
  texts_.clear();
}

void CsvSheet::settleHiddenLines() {
  hiddenRows_.settle();
  hiddenColumns_.settle();
}

void CsvSheet::write(std::string& out) {
  StringOutput output(out);
  writeTo(output);
}

bool CsvSheet::write(const PieceWriter& write) {
  PieceOutput output(piece_, write);
  writeTo(output);
  return output.finish();
}

template <class Output>
void CsvSheet::writeTo(Output& out) {
  if (options_.bom) out.append(kByteOrderMark);
  settleHiddenLines();
  if (inOrder_) return writeInOrder(out);
  // Sorted by position; of several entries for one position the last one
  // stays, as the stable sort keeps them in arrival order.
  std::stable_sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.row, a.column) < std::tie(b.row, b.column);
  });
  CsvSheet ordered(options_);
  ordered.hiddenRows_ = hiddenRows_;
  ordered.hiddenColumns_ = hiddenColumns_;
  for (size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    const bool replaced = i + 1 < entries_.size() && entries_[i + 1].row == entry.row &&
                          entries_[i + 1].column == entry.column;
    if (!replaced)
      ordered.addCell(entry.row, entry.column,
                      std::string_view(texts_).substr(entry.offset, entry.length));
  }
  ordered.writeInOrder(out);
}

template <class Output>
void CsvSheet::writeInOrder(Output& out) const {
  const uint64_t width =
      textColumns_ -
      (options_.keepHidden ? 0 : hiddenColumns_.countBefore(uint64_t{textColumns_} + 1));
  // Room for every field and a full row's separators and end per row, so
  // the output grows once.
  out.reserve(body_.size() + uint64_t{textRows_} * (width + kRecordEnd.size()));
  auto next = rows_.begin();
  for (uint64_t row = 1; row <= textRows_; ++row) {
    if (!rowShown(static_cast<uint32_t>(row))) continue;
    uint64_t fields = 0;
    if (next != rows_.end() && next->row == row) {
      const uint64_t end = std::next(next) != rows_.end() ? std::next(next)->offset : body_.size();
      body_.read(next->offset, end, [&out](std::string_view part) { out.append(part); });
      fields = next->fields;
      ++next;
    }
    if (width > 0) out.append(fields == 0 ? width - 1 : width - fields, ',');
    out.append(kRecordEnd);
  }
}

std::string CsvSheet::text() {
  std::string out;
  write(out);
  return out;
}

host::Status writeCsvSheets(const SSReaderInterface& table, const std::string& path,
                            const CsvOptions& options, CsvSink& sink, uint64_t* bytes,
                            std::vector<std::string>* warnings, const ReadOptions& read) {
  CsvStreamer streamer(options, sink);
  host::WalkOptions walk;
  walk.cellStyles = false;  // a CSV shows texts only
  walk.encoding = options.encoding;
  return walkWorkbookFile(table, path, streamer, bytes, walk, warnings, read);
}

}  // namespace wzss::cli

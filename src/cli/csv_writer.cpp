#include "cli/csv_writer.h"

#include <algorithm>
#include <tuple>

namespace wzss::cli {
namespace {

constexpr std::string_view kRecordEnd = "\r\n";
constexpr std::string_view kNeedsQuotes = ",\"\r\n";

void appendField(std::string_view text, std::string& out) {
  if (text.find_first_of(kNeedsQuotes) == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (const char ch : text) {
    if (ch == '"') out += '"';
    out += ch;
  }
  out += '"';
}

bool inRuns(const std::vector<Run>& runs, uint32_t index) {
  return std::any_of(runs.begin(), runs.end(),
                     [index](const Run& r) { return index >= r.first && index <= r.last; });
}

// Walks the workbook's items sheet by sheet into CSV texts; each sheet's
// cells are dropped as soon as its text is written.
class CsvGatherer : public host::SheetVisitor {
 public:
  explicit CsvGatherer(const CsvOptions& options) : options_(options) {}

  void beginSheet(const host::SheetInfo&) override { sheet_.clear(); }
  bool item(const host::SheetInfo&, host::Item& item) override {
    sheet_.add(item);
    return true;
  }
  void endSheet(const host::SheetInfo& info, const host::SheetStats&) override {
    sheets_.push_back({info, sheet_.text(options_)});
  }
  std::vector<CsvWorkbook::Sheet>& sheets() { return sheets_; }

 private:
  CsvOptions options_;
  CsvSheet sheet_;
  std::vector<CsvWorkbook::Sheet> sheets_;
};

}  // namespace

std::string csvField(std::string_view text) {
  std::string field;
  appendField(text, field);
  return field;
}

void CsvSheet::add(const host::Item& item) {
  // Size 0 is the plug-in's way of saying "hidden".
  if (const auto* rows = std::get_if<host::RowRun>(&item); rows != nullptr && rows->size == 0) {
    hideRows({rows->first, rows->last, 0});
  } else if (const auto* columns = std::get_if<host::ColumnRun>(&item);
             columns != nullptr && columns->size == 0) {
    hideColumns({columns->first, columns->last, 0});
  } else if (const auto* cell = std::get_if<host::Cell>(&item)) {
    const bool formattedEmpty = cell->hasFont == 0 && !cell->text;
    if (!formattedEmpty) addCell(cell->row, cell->column, cell->text ? &*cell->text : nullptr);
  }
}

void CsvSheet::clear() {
  cells_.clear();
  texts_.clear();
  hiddenRows_.clear();
  hiddenColumns_.clear();
  ordered_ = true;
}

void CsvSheet::addCell(uint32_t row, uint32_t column, const std::string* text) {
  if (!cells_.empty()) {
    const Entry& last = cells_.back();
    if (std::tie(row, column) <= std::tie(last.row, last.column)) ordered_ = false;
  }
  Entry entry{row, column, texts_.size(), 0};
  if (text != nullptr) {
    entry.length = static_cast<uint32_t>(text->size());
    texts_ += *text;
  }
  cells_.push_back(entry);
}

// Sorted by position; of several entries for one position the last one
// stays, as the stable sort keeps them in arrival order.
void CsvSheet::putInOrder() {
  if (ordered_) return;
  std::stable_sort(cells_.begin(), cells_.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.row, a.column) < std::tie(b.row, b.column);
  });
  std::vector<Entry> unique;
  unique.reserve(cells_.size());
  for (const Entry& entry : cells_) {
    if (!unique.empty() && unique.back().row == entry.row && unique.back().column == entry.column)
      unique.back() = entry;
    else
      unique.push_back(entry);
  }
  cells_ = std::move(unique);
  ordered_ = true;
}

void CsvSheet::write(const CsvOptions& options, std::string& out) {
  putInOrder();
  uint32_t lastRow = 0, lastColumn = 0;
  for (const Entry& entry : cells_) {
    if (entry.length == 0) continue;
    lastRow = std::max(lastRow, entry.row);
    lastColumn = std::max(lastColumn, entry.column);
  }
  std::vector<bool> columnShown(size_t{lastColumn} + 1, true);
  if (!options.keepHidden)
    for (uint32_t column = 1; column <= lastColumn; ++column)
      columnShown[column] = !inRuns(hiddenColumns_, column);

  // Room for every text, a separator per field and a record end per row,
  // so the output grows once.
  out.reserve(out.size() + texts_.size() + uint64_t{lastRow} * (lastColumn + kRecordEnd.size()));
  auto next = std::lower_bound(cells_.begin(), cells_.end(), 1u,
                               [](const Entry& e, uint32_t row) { return e.row < row; });
  for (uint32_t row = 1; row <= lastRow; ++row) {
    const bool shown = options.keepHidden || !inRuns(hiddenRows_, row);
    bool first = true;
    for (uint32_t column = 1; column <= lastColumn; ++column) {
      // Entries of this row come in column order; rows 0 and columns 0 or
      // past the last are passed over.
      while (next != cells_.end() && next->row == row && next->column < column) ++next;
      const bool here = next != cells_.end() && next->row == row && next->column == column;
      if (shown && columnShown[column]) {
        if (!first) out += ',';
        first = false;
        if (here) appendField(std::string_view(texts_).substr(next->offset, next->length), out);
      }
    }
    while (next != cells_.end() && next->row == row) ++next;
    if (shown) out += kRecordEnd;
  }
}

std::string CsvSheet::text(const CsvOptions& options) {
  std::string out;
  write(options, out);
  return out;
}

std::string csvText(const SheetModel& sheet, const CsvOptions& options) {
  CsvSheet csv;
  for (const Run& run : sheet.hiddenRows) csv.hideRows(run);
  for (const Run& run : sheet.hiddenColumns) csv.hideColumns(run);
  for (const auto& [position, cell] : sheet.cells)
    if (!cell.formattedEmpty)
      csv.addCell(position.first, position.second, cell.text ? &*cell.text : nullptr);
  return csv.text(options);
}

host::Result<CsvWorkbook> readCsvWorkbook(const SSReaderInterface& table, const std::string& path,
                                          const CsvOptions& options) {
  CsvGatherer gatherer(options);
  uint64_t bytes = 0;
  if (auto walked = walkWorkbookFile(table, path, gatherer, &bytes); !walked) return walked.error();
  CsvWorkbook book;
  book.path = path;
  book.bytes = bytes;
  book.sheets = std::move(gatherer.sheets());
  return book;
}

}  // namespace wzss::cli

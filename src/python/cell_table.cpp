#include "cell_table.h"

#include <algorithm>
#include <tuple>

namespace wzss::python {

void SheetCells::settle() {
  hiddenRows.settle();
  hiddenColumns.settle();
  if (ordered) return;
  // Stable, so the last of equal positions is the later line.
  std::stable_sort(cells.begin(), cells.end(), [](const CellEntry& a, const CellEntry& b) {
    return std::tie(a.row, a.column) < std::tie(b.row, b.column);
  });
  std::vector<CellEntry> unique;
  unique.reserve(cells.size());
  for (const CellEntry& cell : cells) {
    if (!unique.empty() && unique.back().row == cell.row && unique.back().column == cell.column)
      unique.back() = cell;
    else
      unique.push_back(cell);
  }
  cells = std::move(unique);
  ordered = true;
}

std::pair<uint32_t, uint32_t> SheetCells::textExtent() const {
  uint32_t rows = 0, columns = 0;
  for (const CellEntry& cell : cells) {
    if (cell.textLength == 0) continue;
    rows = std::max(rows, cell.row);
    columns = std::max(columns, cell.column);
  }
  return {rows, columns};
}

namespace {

class CellCollector : public host::SheetVisitor {
 public:
  CellCollector(const SheetChoice& choice, bool inferValues)
      : choice_(choice), inferValues_(inferValues) {}

  void beginWorkbook(const std::vector<host::SheetInfo>& sheets) override {
    table_.allSheets = sheets;
    if (const auto* name = std::get_if<std::string>(&choice_)) {
      for (const host::SheetInfo& sheet : sheets)
        if (sheet.name == *name) return void(wanted_ = sheet.number);
    } else if (const auto* index = std::get_if<size_t>(&choice_)) {
      if (*index < sheets.size()) wanted_ = sheets[*index].number;
    } else {
      wanted_ = 0;  // every sheet
    }
  }
  bool wants(const host::SheetInfo& sheet) override {
    return wanted_ && (*wanted_ == 0 || *wanted_ == sheet.number);
  }
  void beginSheet(const host::SheetInfo& sheet) override {
    table_.sheets.emplace_back().info = sheet;
  }
  bool item(const host::SheetInfo&, host::Item& item) override {
    SheetCells& sheet = table_.sheets.back();
    if (const auto* rows = std::get_if<host::RowRun>(&item)) {
      if (rows->size == 0) sheet.hiddenRows.add({rows->first, rows->last, 0});
    } else if (const auto* columns = std::get_if<host::ColumnRun>(&item)) {
      if (columns->size == 0) sheet.hiddenColumns.add({columns->first, columns->last, 0});
    } else if (const auto* cell = std::get_if<host::Cell>(&item)) {
      add(sheet, *cell);
    }
    return true;
  }
  void endSheet(const host::SheetInfo&, const host::SheetStats&) override {
    table_.sheets.back().settle();
  }

  bool found() const { return wanted_.has_value(); }
  CellTable& table() { return table_; }

 private:
  void add(SheetCells& sheet, const host::Cell& cell) const {
    if (cell.hasFont == 0 && !cell.text) return;  // formatted empty: fill and border only
    CellEntry entry{cell.row, cell.column, sheet.texts.size(), 0,
                    cell.text.has_value()};
    if (cell.text) {
      entry.textLength = static_cast<uint32_t>(cell.text->size());
      sheet.texts += *cell.text;
      if (inferValues_) {
        const host::TypedValue value = host::inferValue(*cell.text);
        entry.type = value.type;
        entry.number = value.number;
      }
    }
    if (!sheet.cells.empty() && std::tie(cell.row, cell.column) <=
                                    std::tie(sheet.cells.back().row, sheet.cells.back().column))
      sheet.ordered = false;
    sheet.cells.push_back(entry);
  }

  SheetChoice choice_;
  bool inferValues_;
  std::optional<uint32_t> wanted_;  // a sheet number, 0 for all
  CellTable table_;
};

}  // namespace

host::Result<CellTable> readCellTable(host::Walker& walker, const SheetChoice& choice,
                                      bool inferValues) {
  CellCollector collector(choice, inferValues);
  if (auto walked = walker.walkAll(collector); !walked) return walked.error();
  if (!collector.found()) return host::WalkError{host::WalkErrorKind::NoSuchSheet, "no such sheet"};
  return std::move(collector.table());
}

host::Result<cli::SheetModel> readSheetModel(host::Walker& walker, size_t index) {
  cli::SheetGatherer gatherer;
  auto walked = walker.walkSheet(index, gatherer);
  if (!walked) return walked.error();
  if (gatherer.sheets().empty()) {
    cli::SheetModel empty;
    empty.info = walker.sheets()[index];
    return empty;
  }
  return std::move(gatherer.sheets().front());
}

}  // namespace wzss::python

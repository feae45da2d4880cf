#include "walk_count.h"

#include <memory>
#include <variant>

#include "wzss/host/file_stream.h"
#include "wzss/host/services.h"
#include "wzss/host/values.h"
#include "wzss/host/walker.h"

namespace wzss::tools {
namespace {

class CountingVisitor : public host::SheetVisitor {
 public:
  CountingVisitor(WalkCounts* counts, bool types) : counts_(counts), types_(types) {}
  void beginSheet(const host::SheetInfo&) override { ++counts_->sheets; }
  bool item(const host::SheetInfo&, host::Item& item) override {
    ++counts_->items;
    if (auto* cell = std::get_if<host::Cell>(&item)) {
      ++counts_->cells;
      if (cell->text) {
        ++counts_->cellsWithText;
        // The plug-in's bytes, not the walker's UTF-8.
        counts_->textBytes += cell->textLength != 0 ? cell->textLength - 1 : 0;
        if (types_ && !cell->text->empty())
          ++counts_->valueTypes[static_cast<int>(host::inferValue(*cell->text).type)];
      }
    } else if (std::holds_alternative<host::RowRun>(item)) {
      ++counts_->rowRuns;
    } else if (std::holds_alternative<host::ColumnRun>(item)) {
      ++counts_->columnRuns;
    } else if (std::holds_alternative<host::Object>(item)) {
      ++counts_->objects;  // its content is released with the item
    }
    return true;
  }
  void endSheet(const host::SheetInfo&, const host::SheetStats& stats) override {
    counts_->fills += stats.fills;
  }

 private:
  WalkCounts* counts_;
  bool types_;
};

bool walkWithWalker(const SSReaderInterface& table, StreamInterface* document,
                    HostServices* services, WalkMode mode, WalkCounts* counts, std::string* error) {
  host::WalkOptions options;
  if (mode == WalkMode::Direct) {
    // The least a host adds to the reader's own cost: texts without
    // styles, no second read of the document, items as the plug-in gives them.
    options.cellStyles = false;
    options.surveyDocument = false;
    options.placeEmptyCells = false;
  }
  host::Walker walker(table, document, services, options);
  if (auto sheets = walker.open(); !sheets) {
    *error = sheets.error().message;
    return false;
  }
  CountingVisitor visitor(counts, mode == WalkMode::Types);
  if (auto status = walker.walkAll(visitor); !status) {
    *error = status.error().message;
    return false;
  }
  return true;
}

}  // namespace

bool walkWorkbook(const SSReaderInterface& table, const std::string& path, WalkMode mode,
                  WalkCounts* counts, std::string* error) {
  std::unique_ptr<host::FileStream> file = host::FileStream::open(path, error);
  if (!file) return false;
  host::Services services;
  const bool ok = walkWithWalker(table, file->get(), services.get(), mode, counts, error);
  counts->peakHostBytes = services.stats().peakBytes;
  return ok;
}

}  // namespace wzss::tools

#include "walk_count.h"

#include <memory>
#include <variant>
#include <vector>

#include "wzss/host/file_stream.h"
#include "wzss/host/services.h"
#include "wzss/host/values.h"
#include "wzss/host/walker.h"

namespace wzss::tools {
namespace {

// The host side of one sheet for the direct walk: one text buffer, grown
// when a text needs more and reused for every cell, and a fill counter.
struct DirectHost {
  std::vector<char> text;
  uint64_t fills = 0;
};

intptr_t directCallback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t) {
  auto& host = *reinterpret_cast<DirectHost*>(cookie);
  switch (op) {
    case WZSS_CALLBACK_TEXT_BUFFER: {
      if (argument <= 0) return 0;
      const auto size = static_cast<size_t>(argument);
      if (host.text.size() < size) host.text.resize(size);
      return reinterpret_cast<intptr_t>(host.text.data());
    }
    case WZSS_CALLBACK_FILL:
      return static_cast<intptr_t>(++host.fills);
    default:
      return 0;
  }
}

// The plug-in hands over object descriptors and their streams: give them back.
void releaseObject(HostServices* services, ObjectDescriptor* descriptor) {
  if (descriptor == nullptr) return;
  StreamInterface* content = descriptor->content;
  if (content != nullptr && content->Release != nullptr) content->Release(content);
  services->allocator.Free(&services->allocator, descriptor);
}

bool walkDirect(const SSReaderInterface& table, StreamInterface* document, HostServices* services,
                WalkCounts* counts, std::string* error) {
  WorkbookReader* reader = table.AllocateReader(nullptr, 0, document, services, 0, 0);
  if (reader == nullptr) {
    *error = "the plug-in could not allocate a reader";
    return false;
  }
  WorkbookInfo info{};
  if (table.GetWorkSheetInfo(reader, &info, 0) != 1 || info.sheets == nullptr) {
    table.CloseReader(reader);
    *error = "not a workbook the plug-in reads";
    return false;
  }
  DirectHost host;
  bool ok = true;
  for (uint32_t s = 0; s < info.sheetCount && ok; ++s) {
    SheetReader* sheet = table.InitSheet(reader, reinterpret_cast<uintptr_t>(&host),
                                         info.sheets[s].viewPos, &directCallback, 0);
    if (sheet == nullptr) {
      *error = "sheet " + std::to_string(s + 1) + " cannot be opened";
      ok = false;
      break;
    }
    ++counts->sheets;
    SheetItem item{};  // one record per sheet: the plug-in relies on that
    int32_t more;
    while ((more = table.ProcessSheet(sheet, &item)) == 0) {
      ++counts->items;
      switch (item.itemType) {
        case WZSS_ITEM_CELL:
          ++counts->cells;
          if (item.cell.text != nullptr && item.cell.textLength > 0) {
            ++counts->cellsWithText;
            counts->textBytes += item.cell.textLength - 1;
          }
          break;
        case WZSS_ITEM_ROW_RUN: ++counts->rowRuns; break;
        case WZSS_ITEM_COLUMN_RUN: ++counts->columnRuns; break;
        case WZSS_ITEM_OBJECT:
          ++counts->objects;
          releaseObject(services, item.object.descriptor);
          break;
        default: break;
      }
    }
    if (more < 0) {
      *error = "sheet " + std::to_string(s + 1) + " was lost by the plug-in";
      ok = false;
    }
    table.CloseSheet(sheet);
  }
  counts->fills = host.fills;
  table.CloseReader(reader);
  return ok;
}

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
        // The plug-in's bytes, as the direct count sees them, not the
        // walker's UTF-8.
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
                    HostServices* services, bool types, WalkCounts* counts, std::string* error) {
  host::Walker walker(table, document, services);
  if (auto sheets = walker.open(); !sheets) {
    *error = sheets.error().message;
    return false;
  }
  CountingVisitor visitor(counts, types);
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
  const bool ok = mode == WalkMode::Direct
                      ? walkDirect(table, file->get(), services.get(), counts, error)
                      : walkWithWalker(table, file->get(), services.get(), mode == WalkMode::Types,
                                       counts, error);
  counts->peakHostBytes = services.stats().peakBytes;
  return ok;
}

}  // namespace wzss::tools

#include "cli/sheet_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "wzss/host/file_stream.h"
#include "wzss/host/services.h"

namespace wzss::cli {
namespace {

// The alignment word's bits.
constexpr uint16_t kVerticalMask = 0x0003;
constexpr uint16_t kVerticalTop = 3;
constexpr uint16_t kVerticalCenter = 1;
constexpr uint16_t kVerticalBottom = 2;
constexpr uint16_t kHorizontalMask = 0x000C;
constexpr uint16_t kHorizontalCode1 = 12;  // alignment item 1
constexpr uint16_t kHorizontalCode2 = 8;   // alignment item 2
constexpr uint16_t kHorizontalCode3 = 4;   // alignment item 3
constexpr uint16_t kHorizontalCode4 = 16;  // alignment item 4, a bit of its own
constexpr uint16_t kWrapBit = 32;
constexpr uint16_t kOverflowBit = 128;

constexpr uint32_t kPercent = 100;
constexpr uint32_t kFallbackFontHeight = 200;  // 10 points, in twips

bool inRuns(const std::vector<Run>& runs, uint32_t index) {
  return std::any_of(runs.begin(), runs.end(),
                     [index](const Run& r) { return index >= r.first && index <= r.last; });
}

// The size of the last run naming index: a later item for the same row or
// column wins, as it would in a host that applies items in order.
std::optional<uint32_t> sizeIn(const std::vector<Run>& runs, uint32_t index) {
  for (auto it = runs.rbegin(); it != runs.rend(); ++it)
    if (index >= it->first && index <= it->last) return it->size;
  return std::nullopt;
}

}  // namespace

bool isFormattedEmpty(const host::Cell& cell) { return cell.hasFont == 0 && !cell.text; }

namespace {

CellModel cellOf(const host::Cell& cell) {
  CellModel model;
  model.row = cell.row;
  model.column = cell.column;
  model.formattedEmpty = isFormattedEmpty(cell);
  model.fill = cell.fill;
  if (cell.hasBorder != 0) model.borders = cell.borders;
  if (model.formattedEmpty) return model;
  model.text = cell.text;
  model.align = cell.align;
  model.backColor = cell.backColor;
  model.textColor = cell.textColor;
  model.font = cell.font;
  return model;
}

}  // namespace

ObjectModel objectModelOf(host::Object& object) {
  ObjectModel model;
  model.topColumn = object.topColumn;
  model.topRow = object.topRow;
  model.bottomColumn = object.bottomColumn;
  model.bottomRow = object.bottomRow;
  model.topX = object.topX;
  model.topY = object.topY;
  model.bottomX = object.bottomX;
  model.bottomY = object.bottomY;
  model.framed = object.hasBorder != 0;
  model.frame = object.borders;
  if (StreamInterface* content = object.content.stream(); content != nullptr) {
    model.hasContent = true;
    model.drawingLength = content->streamLength;
    // The object stream reads through the sheet: read it now, before the
    // walker pulls the next item.
    model.sizeText = object.content.sizeText();
  }
  return model;
}


Alignment decodeAlignment(uint16_t word) {
  Alignment a;
  switch (word & kVerticalMask) {
    case kVerticalTop: a.vertical = Vertical::Top; break;
    case kVerticalCenter: a.vertical = Vertical::Center; break;
    case kVerticalBottom: a.vertical = Vertical::Bottom; break;
    default: a.vertical = Vertical::None; break;
  }
  switch (word & kHorizontalMask) {
    case kHorizontalCode1: a.horizontal = Horizontal::Center; break;
    case kHorizontalCode2: a.horizontal = Horizontal::Left; break;
    case kHorizontalCode3: a.horizontal = Horizontal::Right; break;
    default:
      // Code 4 stands on its own bit; the lists "4,1" or "4,3" leave both
      // set, and the later two-bit code then decides, as above.
      a.horizontal = (word & kHorizontalCode4) != 0 ? Horizontal::Justify : Horizontal::General;
      break;
  }
  a.wrap = (word & kWrapBit) != 0;
  a.overflow = (word & kOverflowBit) != 0;
  return a;
}

const char* horizontalName(Horizontal value) {
  switch (value) {
    case Horizontal::Left: return "left";
    case Horizontal::Center: return "center";
    case Horizontal::Right: return "right";
    case Horizontal::Justify: return "justify";
    case Horizontal::General: break;
  }
  return "general";
}

const char* verticalName(Vertical value) {
  switch (value) {
    case Vertical::Top: return "top";
    case Vertical::Center: return "center";
    case Vertical::Bottom: return "bottom";
    case Vertical::None: break;
  }
  return "none";
}

std::string htmlColour(uint32_t value) {
  return fmt::format("#{:02x}{:02x}{:02x}", value & 0xFF, (value >> 8) & 0xFF,
                     (value >> 16) & 0xFF);
}

uint32_t mixColour(uint32_t background, uint32_t pattern, uint32_t percent) {
  percent = std::min(percent, kPercent);
  uint32_t mixed = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const uint32_t back = (background >> shift) & 0xFF;
    const uint32_t fore = (pattern >> shift) & 0xFF;
    // Rounded to the nearest step, so 50 % of black into white is 0x80.
    const uint32_t channel =
        (back * (kPercent - percent) + fore * percent + kPercent / 2) / kPercent;
    mixed |= channel << shift;
  }
  return mixed;
}

bool SheetModel::rowHidden(uint32_t row) const { return inRuns(hiddenRows, row); }
bool SheetModel::columnHidden(uint32_t column) const { return inRuns(hiddenColumns, column); }

uint32_t SheetModel::defaultRowHeight() const {
  const uint32_t fontHeight =
      settings.defaultFontHeight != 0 ? settings.defaultFontHeight : kFallbackFontHeight;
  return fontHeight + fontHeight / 2;
}

uint32_t SheetModel::rowHeight(uint32_t row) const {
  if (auto size = sizeIn(rowHeights, row)) return *size;
  return defaultRowHeight();
}

uint32_t SheetModel::columnWidth(uint32_t column) const {
  if (auto size = sizeIn(columnWidths, column)) return *size;
  return settings.defaultColumnWidth;
}

const CellModel* SheetModel::cellAt(uint32_t row, uint32_t column) const {
  auto it = cells.find({row, column});
  return it == cells.end() ? nullptr : &it->second;
}

std::pair<uint32_t, uint32_t> SheetModel::textExtent() const {
  uint32_t lastRow = 0, lastColumn = 0;
  for (const auto& [position, cell] : cells) {
    if (!cell.text || cell.text->empty()) continue;
    lastRow = std::max(lastRow, position.first);
    lastColumn = std::max(lastColumn, position.second);
  }
  return {lastRow, lastColumn};
}

std::pair<uint32_t, uint32_t> SheetModel::usedExtent() const {
  uint32_t lastRow = 0, lastColumn = 0;
  for (const auto& [position, cell] : cells) {
    lastRow = std::max(lastRow, position.first);
    lastColumn = std::max(lastColumn, position.second);
  }
  for (const ObjectModel& object : objects) {
    lastRow = std::max({lastRow, object.topRow, object.bottomRow});
    lastColumn = std::max({lastColumn, object.topColumn, object.bottomColumn});
  }
  return {lastRow, lastColumn};
}

void SheetGatherer::beginSheet(const host::SheetInfo& sheet) {
  sheets_.emplace_back();
  sheets_.back().info = sheet;
}

bool SheetGatherer::item(const host::SheetInfo&, host::Item& item) {
  add(item);
  return true;
}

void SheetGatherer::add(host::Item& item) {
  if (sheets_.empty()) sheets_.emplace_back();
  SheetModel& sheet = sheets_.back();
  if (auto* settings = std::get_if<host::Settings>(&item)) {
    sheet.settings = *settings;
  } else if (auto* option = std::get_if<host::Option>(&item)) {
    sheet.option = option->option;
  } else if (auto* rows = std::get_if<host::RowRun>(&item)) {
    // Size 0 is the plug-in's way of saying "hidden".
    Run run{rows->first, rows->last, rows->size};
    (run.size == 0 ? sheet.hiddenRows : sheet.rowHeights).push_back(run);
  } else if (auto* columns = std::get_if<host::ColumnRun>(&item)) {
    Run run{columns->first, columns->last, columns->size};
    (run.size == 0 ? sheet.hiddenColumns : sheet.columnWidths).push_back(run);
  } else if (auto* object = std::get_if<host::Object>(&item)) {
    sheet.objects.push_back(objectModelOf(*object));
  } else if (auto* cell = std::get_if<host::Cell>(&item)) {
    CellModel model = cellOf(*cell);
    auto [it, inserted] = sheet.cells.try_emplace({model.row, model.column}, model);
    // A formatted empty cell never hides a cell that had its own line (on
    // a sheet with title rows both can land on one position); two lines for
    // one cell: the later one wins, as in a host applying items in order.
    if (!inserted && !model.formattedEmpty) it->second = std::move(model);
  }
}

std::optional<size_t> findSheet(const std::vector<host::SheetInfo>& sheets,
                                const std::string& wanted) {
  for (size_t i = 0; i < sheets.size(); ++i)
    if (sheets[i].name == wanted) return i;
  constexpr size_t kMostDigits = 9;
  if (wanted.empty() || wanted.size() > kMostDigits ||
      wanted.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  const size_t number = std::stoul(wanted);
  if (number < 1 || number > sheets.size()) return std::nullopt;
  return number - 1;
}

std::string noSuchSheet(const std::string& wanted, size_t sheetCount) {
  return fmt::format("no sheet \"{}\" (the workbook has {}: give a name or a number from 1)",
                     wanted, sheetCount);
}

host::LinkedFiles linkedFilesNamed(const std::string& name) {
  if (name == "folder") return {};
  if (name == "none") return host::LinkedFiles::none();
  return host::LinkedFiles::beneath(name);
}

host::Status walkWorkbookFile(const SSReaderInterface& table, const std::string& path,
                              host::SheetVisitor& visitor, uint64_t* bytes,
                              const host::WalkOptions& options, std::vector<std::string>* warnings,
                              const ReadOptions& read) {
  std::string error;
  std::unique_ptr<host::FileStream> file = host::FileStream::open(path, &error);
  if (!file) return host::WalkError{host::WalkErrorKind::NotAWorkbook, "cannot open: " + error};
  *bytes = file->size();
  host::Services services;
  // Linked objects name their files relative to the workbook's folder.
  services.setBaseFolder(std::filesystem::path(path).parent_path().string());
  services.setLinkedFiles(read.linkedFiles);
  host::Walker walker(table, file->get(), services.get(), options);
  auto sheets = walker.open();
  host::Status walked = sheets ? walker.walkAll(visitor) : host::Status(sheets.error());
  if (warnings != nullptr) *warnings = walker.warnings();
  return walked;
}

host::Result<WorkbookModel> readWorkbook(const SSReaderInterface& table, const std::string& path,
                                         const std::string& encoding, const ReadOptions& read) {
  SheetGatherer gatherer;
  WorkbookModel book;
  host::WalkOptions options;
  options.encoding = encoding;
  if (auto walked =
          walkWorkbookFile(table, path, gatherer, &book.bytes, options, &book.warnings, read);
      !walked)
    return walked.error();
  book.path = path;
  book.sheets = std::move(gatherer.sheets());
  return book;
}

}  // namespace wzss::cli

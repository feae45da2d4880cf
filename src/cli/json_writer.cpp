#include "cli/json_writer.h"

#include <filesystem>

#include "cli/dump_format.h"

namespace wzss::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kIndent = 2;

// Texts from the workbook are bytes; JSON wants UTF-8. Invalid sequences
// become U+FFFD rather than failing the whole document.
std::string dumpText(const Json& document) {
  return document.dump(kIndent, ' ', false, Json::error_handler_t::replace) + "\n";
}

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

Json fillJson(const FillInfo& fill) {
  Json out{{"pattern", fill.pattern},
           {"shadePercent", fill.shadePercent},
           {"patternColor", htmlColour(fill.foreColor)},
           {"backgroundColor", htmlColour(fill.backColor)}};
  // Only a plain shade (pattern 0) has one colour to show.
  if (fill.pattern == 0)
    out["shownColor"] = htmlColour(mixColour(fill.backColor, fill.foreColor, fill.shadePercent));
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

Json positionJson(const SheetModel& sheet, uint32_t row, uint32_t column) {
  return Json{{"row", row},
              {"column", column},
              {"address", cellAddress(column, row)},
              {"hidden", sheet.rowHidden(row) || sheet.columnHidden(column)}};
}

Json cellJson(const SheetModel& sheet, const CellModel& cell) {
  Json out = positionJson(sheet, cell.row, cell.column);
  out["text"] = cell.text ? Json(*cell.text) : Json(nullptr);
  out["alignment"] = alignmentJson(cell.align);
  out["font"] = fontJson(cell.font);
  out["textColor"] = htmlColour(cell.textColor);
  out["backColor"] = htmlColour(cell.backColor);
  out["fill"] = cell.fill ? fillJson(*cell.fill) : Json(nullptr);
  out["borders"] = cell.borders ? bordersJson(*cell.borders) : Json(nullptr);
  return out;
}

Json emptyCellJson(const SheetModel& sheet, const CellModel& cell) {
  Json out = positionJson(sheet, cell.row, cell.column);
  out["fill"] = cell.fill ? fillJson(*cell.fill) : Json(nullptr);
  out["borders"] = cell.borders ? bordersJson(*cell.borders) : Json(nullptr);
  return out;
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

Json settingsJson(const SheetModel& sheet) {
  const host::Settings& s = sheet.settings;
  return Json{{"maxRow", s.maxRow},
              {"maxColumn", s.maxColumn},
              {"defaultColumnWidth", s.defaultColumnWidth},
              {"defaultFontHeight", s.defaultFontHeight},
              {"defaultFont", fontJson(s.font)},
              {"option", sheet.option}};
}

Json sheetJson(const SheetModel& sheet) {
  Json cells = Json::array();
  Json empty = Json::array();
  for (const auto& [position, cell] : sheet.cells)
    (cell.formattedEmpty ? empty : cells)
        .push_back(cell.formattedEmpty ? emptyCellJson(sheet, cell) : cellJson(sheet, cell));
  Json objects = Json::array();
  for (const ObjectModel& object : sheet.objects) objects.push_back(objectJson(object));
  return Json{{"number", sheet.info.number},
              {"name", sheet.info.name},
              {"settings", settingsJson(sheet)},
              {"rowHeights", runsJson(sheet.rowHeights, "height")},
              {"columnWidths", runsJson(sheet.columnWidths, "width")},
              {"hiddenRows", runsJson(sheet.hiddenRows, nullptr)},
              {"hiddenColumns", runsJson(sheet.hiddenColumns, nullptr)},
              {"objects", std::move(objects)},
              {"cells", std::move(cells)},
              {"formattedEmptyCells", std::move(empty)}};
}

}  // namespace

Json workbookJson(const WorkbookModel& book) {
  Json sheets = Json::array();
  for (const SheetModel& sheet : book.sheets) sheets.push_back(sheetJson(sheet));
  return Json{{"format", "wzss-workbook"},
              {"schemaVersion", kJsonSchemaVersion},
              {"file", std::filesystem::path(book.path).filename().string()},
              {"sheets", std::move(sheets)}};
}

std::string workbookJsonText(const WorkbookModel& book) { return dumpText(workbookJson(book)); }

}  // namespace wzss::cli

#include "convert_fixture.h"

namespace wzss::convert_test {

const SSReaderInterface& readerTable() {
  static const SSReaderInterface table = [] {
    SSReaderInterface t{};
    wzGetSSReaderInterface(&t);
    return t;
  }();
  return table;
}

std::string dataPath(const std::string& name) {
  return std::string(WZSS_CONVERT_DATA_DIR) + "/" + name;
}
std::string samplePath(const std::string& name) {
  return std::string(WZSS_SAMPLES_DIR) + "/" + name;
}

cli::WorkbookModel readOrFail(const std::string& path) {
  auto book = cli::readWorkbook(readerTable(), path);
  if (!book) {
    ADD_FAILURE() << path << ": " << book.error().message;
    return {};
  }
  return std::move(book.value());
}

const cli::WorkbookModel& styledBook() {
  static const cli::WorkbookModel book = readOrFail(dataPath("styled.wzs"));
  return book;
}

cli::WorkbookModel bookOf(cli::SheetModel sheet) {
  cli::WorkbookModel book;
  book.path = "sheet.wzs";
  book.sheets.push_back(std::move(sheet));
  return book;
}

host::Settings settings(uint32_t maxRow, uint32_t maxColumn, uint32_t columnWidth,
                        uint32_t fontHeight) {
  host::Settings s;
  s.maxRow = maxRow;
  s.maxColumn = maxColumn;
  s.defaultColumnWidth = columnWidth;
  s.defaultFontHeight = fontHeight;
  return s;
}

cli::SheetModel sheetOfItems(std::vector<host::Item>& items) {
  cli::SheetGatherer gatherer;
  host::SheetInfo info;
  info.number = 1;
  info.name = "Sheet";
  gatherer.beginSheet(info);
  for (host::Item& item : items) gatherer.add(item);
  return std::move(gatherer.sheets().front());
}

host::Cell textCell(uint32_t row, uint32_t column, std::string text) {
  host::Cell cell;
  cell.row = row;
  cell.column = column;
  cell.textLength = static_cast<uint32_t>(text.size() + 1);
  cell.text = std::move(text);
  cell.hasFont = 1;
  cell.backColor = 0xFFFFFF;
  return cell;
}

}  // namespace wzss::convert_test

// Shared by the converter tests: the plug-in's table (linked in), the test
// workbooks, temporary directories and sheet models built from items.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/sheet_model.h"
#include "test_files.h"
#include "wzss/host/walker.h"
#include "wzss/reader_abi.h"

namespace wzss::convert_test {

const SSReaderInterface& readerTable();
std::string dataPath(const std::string& name);
std::string samplePath(const std::string& name);

// Reads a workbook through the linked plug-in; fails the test when it cannot.
cli::WorkbookModel readOrFail(const std::string& path);
// The styled test workbook, read once for all tests.
const cli::WorkbookModel& styledBook();

using test::readFile;
using test::writeFile;

using TempDir = test::TempDir;

// Items to a sheet model, as the walker would hand them over.
cli::SheetModel sheetOfItems(std::vector<host::Item>& items);
template <class... Items>
cli::SheetModel sheetOf(Items... items) {
  std::vector<host::Item> list;
  (list.emplace_back(std::move(items)), ...);
  return sheetOfItems(list);
}
// A workbook of the one sheet.
cli::WorkbookModel bookOf(cli::SheetModel sheet);
host::Settings settings(uint32_t maxRow, uint32_t maxColumn, uint32_t columnWidth,
                        uint32_t fontHeight);
host::Cell textCell(uint32_t row, uint32_t column, std::string text);

}  // namespace wzss::convert_test

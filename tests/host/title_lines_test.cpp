// The host's reading of title lines against the plug-in's own renumbering:
// random view sections (titles repeated, outside the grid, dropped by a
// later visible range, marked again after one; ranges reversed, clipped,
// below 1; keywords in other cases; lines too long for the line buffer) over
// a grid with one cell line per address, in address order. The plug-in
// delivers one cell per line in file order, so the i-th cell's address is
// the renumbering of the i-th line's.
#include "wzss/host/title_lines.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

extern "C" void wzGetSSReaderInterface(SSReaderInterface* table);

namespace wzss::host {
namespace {

std::string letters(int column) {
  std::string text;
  if (column > 26) text += static_cast<char>('A' + (column - 1) / 26 - 1);
  text += static_cast<char>('A' + (column - 1) % 26);
  return text;
}

struct Sheet {
  int maxRow = 0, maxColumn = 0;
  std::string text;
};

Sheet randomSheet(std::mt19937& random) {
  auto pick = [&random](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  Sheet sheet;
  sheet.maxRow = pick(1, 14);
  sheet.maxColumn = pick(1, 30);
  std::string view = "View Start, Name: #S: ~A\n";
  for (int line = pick(0, 12); line > 0; --line) {
    const int row = pick(-1, sheet.maxRow + 2), column = pick(0, sheet.maxColumn + 2);
    switch (pick(0, 7)) {
      case 0: view += "View Title Row: " + std::to_string(row) + "\n"; break;
      case 1: view += "view title column: " + letters(std::max(column, 1)) + "\n"; break;
      case 2: view += "View Title Row:" + std::string(184, ' ') + "1\n"; break;  // its digit is cut off
      case 3: view += "View Rows Visible: rows:" + std::to_string(row) + ":" +
                      std::to_string(pick(-1, sheet.maxRow + 2)) + "\n"; break;
      case 4: view += "VIEW ROWS VISIBLE: x:" + std::to_string(row) + "\n"; break;
      case 5: view += "View Columns Visible: cols:" + letters(std::max(column, 1)) + ":" +
                      letters(pick(1, sheet.maxColumn + 2)) + "\n"; break;
      case 6: view += "View Title Column:" + std::string(pick(0, 2), ' ') +
                      letters(std::max(column, 1)) + "\n"; break;
      default: view += "View Default Column Width 9\n"; break;
    }
  }
  sheet.text = std::string("*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n") + view +
               "View End,\nBottom right corner : " + letters(sheet.maxColumn) +
               std::to_string(sheet.maxRow) + "\nHeaders and Footers End\n";
  for (int row = 1; row <= sheet.maxRow; ++row)
    for (int column = 1; column <= sheet.maxColumn; ++column)
      sheet.text += "(G0|) A!" + letters(column) + std::to_string(row) + ": 1\n";
  return sheet;
}

struct CellAddresses : SheetVisitor {
  std::vector<std::pair<uint32_t, uint32_t>> cells;  // (row, column) in delivery order
  bool item(const SheetInfo&, Item& item) override {
    if (auto* cell = std::get_if<Cell>(&item)) cells.emplace_back(cell->row, cell->column);
    return true;
  }
};

TEST(TitleLines, RenumberAsThePluginDoes) {
  SSReaderInterface table{};
  wzGetSSReaderInterface(&table);
  std::mt19937 random(7);
  int sheetsWithTitles = 0;
  for (int round = 0; round < 400; ++round) {
    const Sheet sheet = randomSheet(random);
    MemoryStream stream(sheet.text);
    Services services;
    Walker walker(table, stream.get(), services.get());
    auto sheets = walker.open();
    ASSERT_TRUE(sheets.ok()) << sheet.text;
    auto titles = TitleLines::read(stream.get(), sheets.value()[0].viewPos);
    ASSERT_TRUE(titles.has_value()) << sheet.text;
    titles->setExtent(sheet.maxRow, sheet.maxColumn);
    if (titles->rows() + titles->columns() > 0) ++sheetsWithTitles;
    CellAddresses visitor;
    ASSERT_TRUE(walker.walkSheet(0, visitor).ok());
    ASSERT_EQ(visitor.cells.size(), size_t(sheet.maxRow) * sheet.maxColumn) << sheet.text;
    size_t index = 0;
    for (int row = 1; row <= sheet.maxRow; ++row) {
      for (int column = 1; column <= sheet.maxColumn; ++column, ++index) {
        const auto [outRow, outColumn] = visitor.cells[index];
        ASSERT_EQ(titles->outputRow(row), int32_t(outRow)) << "row " << row << "\n" << sheet.text;
        ASSERT_EQ(titles->outputColumn(column), int32_t(outColumn))
            << "column " << column << "\n" << sheet.text;
      }
    }
    // Output lines 1..count are the title lines: each is some line's number.
    for (uint32_t title = 1; title <= titles->rows(); ++title) {
      bool found = false;
      for (int row = 1; row <= sheet.maxRow; ++row) found |= titles->outputRow(row) == int32_t(title);
      EXPECT_TRUE(found) << sheet.text;
    }
  }
  EXPECT_GT(sheetsWithTitles, 100);  // the draw exercises titles, not only plain sheets
}

TEST(TitleLines, AbsentWithoutAViewSection) {
  MemoryStream stream("*BEGIN SPREADSHEETS VERSION=440\nView End,\n");
  EXPECT_FALSE(TitleLines::read(stream.get(), 0).has_value());
  EXPECT_EQ(stream.calls().opens, stream.calls().closes);
  stream.failOpen(true);
  EXPECT_FALSE(TitleLines::read(stream.get(), 0).has_value());
}

}  // namespace
}  // namespace wzss::host

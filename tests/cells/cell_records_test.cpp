// The two cell producers over whole workbooks: cells with a line (styling,
// visibility, renumbering, text buffers, fills of skipped lines, the sheet
// boundary) and formatted empty cells (reset, scan order, attribute entries).
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "interface/records.h"
#include "support/internals.h"
#include "support/test_host.h"

namespace wzss {
namespace {

using test::TestHost;

constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kRed = 0x0000FF;
constexpr uint32_t kBlue = 0xFF0000;

// The attribute table: line 1 gives the defaults; lines 2 and 4 have a fill
// and border part and are stored, line 3 is not.
constexpr const char* kAttrTable =
    "Attr Table Start\n"
    "(G0|P10,T0|)\n"
    "(F2|B|SH3FG2BG4L1)\n"
    "(G0|I|)\n"
    "(F2||SH8R2)\n"
    "Attr Table end\n";

constexpr const char* kAllVisible =
    "View Rows Visible: rows:1:20\n"
    "View Columns Visible: cols:A:H\n";

std::string view(const std::string& letters, const std::string& lines) {
  return "View Start, Name: #Sheet" + letters + ": ~" + letters + "\n" + lines + "View End,\n";
}

struct Workbook {
  std::string views = view("A", kAllVisible);
  std::string rowLists;
  std::string cells;
  std::string attrTable = kAttrTable;

  std::string text() const {
    return std::string(test::kHeader) +
           "COLORMAP\n"
           "Black 0 0 0 0 255 0\n"
           "White 1 0 0 0 0 0\n"
           "Red 2 0 255 255 0 0\n"
           "Green 3 255 0 255 0 0\n"
           "Blue 4 255 255 0 0 0\n"
           "END COLORMAP\n"
           "TYPEFACE TABLE\n"
           "Helvetica\n"
           "Courier\n"
           "END TYPEFACE TABLE\n" +
           attrTable + views + rowLists +
           "Symbols Defaults 0 0 0 0 0 10 0 0 0 0\n"
           "Bottom right corner : H20\n"
           "Headers and Footers End\n" +
           cells;
  }
};

bool openFirstSheet(TestHost& host, uint32_t index = 0) {
  return host.scan() == 1 && host.openSheet(index) != nullptr;
}

std::vector<SheetItemCell> cellItems(TestHost& host, uint32_t index = 0) {
  std::vector<SheetItemCell> cells;
  if (!openFirstSheet(host, index)) {
    ADD_FAILURE() << "the workbook did not open";
    return cells;
  }
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  for (const SheetItem& item : items) {
    if (item.itemType == WZSS_ITEM_CELL) cells.push_back(item.cell);
  }
  return cells;
}

std::string textOf(const SheetItemCell& cell) {
  return cell.text == nullptr ? std::string("<null>") : std::string(cell.text);
}

// --- Cells with a line ---------------------------------------------------

TEST(CellContent, StyledCellWithText) {
  Workbook book;
  book.cells = "(F2,1|B,P12,FG2|SH3FG2BG4L1R2) A!B3: 1234.5\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 1u);
  const SheetItemCell& cell = cells[0];
  EXPECT_EQ(cell.column, 2u);
  EXPECT_EQ(cell.row, 3u);
  EXPECT_EQ(textOf(cell), "1234.50");
  EXPECT_EQ(cell.textLength, 8u);
  EXPECT_EQ(cell.align, 142);
  EXPECT_EQ(cell.backColor, kWhite);
  EXPECT_EQ(cell.textColor, kRed);
  EXPECT_EQ(cell.hasFont, 1u);
  EXPECT_EQ(cell.font.bold, 1);
  EXPECT_EQ(cell.font.size, 12u);
  EXPECT_STREQ(cell.font.name, "Helvetica");
  EXPECT_EQ(cell.hasFill, 7);
  EXPECT_EQ(cell.hasBorder, 1u);
  EXPECT_EQ(cell.leftStyle, 5);
  EXPECT_EQ(cell.rightStyle, 6);
  EXPECT_EQ(cell.topStyle, 0);
  EXPECT_EQ(cell.bottomStyle, 0);
  EXPECT_EQ(cell.cellFlag, 0);
  EXPECT_EQ(cell.cellKind, 7u);
  EXPECT_EQ(cell.cellExtra, 0u);
  ASSERT_EQ(host.fills.size(), 1u);
  EXPECT_EQ(host.fills[0].shadePercent, 25u);
  EXPECT_EQ(host.fills[0].foreColor, kRed);
  EXPECT_EQ(host.fills[0].backColor, kBlue);
  EXPECT_EQ(host.textRequests, std::vector<uint32_t>{8});
}

TEST(CellContent, EveryCellHasTheWorkbookFontUnlessChanged) {
  Workbook book;
  book.cells = "(F2|) A!A1: 1\n(F2|I|L1) A!A2: 2\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 2u);
  for (const SheetItemCell& cell : cells) {
    EXPECT_EQ(cell.hasFont, 1u);
    EXPECT_STREQ(cell.font.name, "Helvetica");
    EXPECT_EQ(cell.font.size, 10u);
    EXPECT_EQ(cell.font.pitchAndFamily, 18);
  }
  EXPECT_EQ(cells[0].font.italic, 0);
  EXPECT_EQ(cells[0].hasFill, 0);
  EXPECT_EQ(cells[0].hasBorder, 0u);
  // The italic of one cell does not reach the next cell's font.
  EXPECT_EQ(cells[1].font.italic, 1);
  EXPECT_EQ(cells[1].hasBorder, 1u);
}

TEST(CellContent, HiddenCellsGoWithoutText) {
  Workbook book;
  book.views = view("A",
                    "View Rows Visible: rows:1:2\n"
                    "View Rows Visible: rows:4:20\n"
                    "View Columns Visible: cols:A:B\n"
                    "View Columns Visible: cols:D:H\n");
  book.cells =
      "(F2|B|) A!A3: 5\n"
      "('|I|) A!B3: a label\n"
      "(F2|) A!C1: 7\n"
      "(F2|) A!A4: 6\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 4u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(cells[i].text, nullptr) << i;
    EXPECT_EQ(cells[i].textLength, 0u) << i;
    EXPECT_EQ(cells[i].hasFont, 1u) << i;
  }
  EXPECT_EQ(cells[0].font.bold, 1);
  EXPECT_EQ(cells[1].font.italic, 1);
  EXPECT_EQ(cells[2].column, 3u);
  EXPECT_EQ(textOf(cells[3]), "6.00");
  // Only the visible cell asked for a buffer.
  EXPECT_EQ(host.textRequests, std::vector<uint32_t>{5});
}

TEST(CellContent, TitleRowsAreShownAndComeFirst) {
  Workbook book;
  // Row 3 is only a title row, not in a visible range.
  book.views = view("A",
                    "View Rows Visible: rows:1:2\n"
                    "View Rows Visible: rows:4:20\n"
                    "View Columns Visible: cols:A:H\n"
                    "View Title Row: 3\n");
  book.cells = "(F2|) A!A2: 1\n(F2|) A!A3: 2\n(F2|) A!A4: 3\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 3u);
  EXPECT_EQ(cells[0].row, 3u);
  EXPECT_EQ(cells[1].row, 1u);
  EXPECT_EQ(textOf(cells[1]), "2.00");
  EXPECT_EQ(cells[2].row, 4u);
}

TEST(CellContent, NullBufferFromTheHost) {
  Workbook book;
  book.cells = "(F2|) A!A1: 1234.5\n";
  TestHost host(book.text());
  host.nullTextBuffers = true;
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 1u);
  EXPECT_EQ(cells[0].text, nullptr);
  EXPECT_EQ(cells[0].textLength, 8u);
  EXPECT_EQ(host.textRequests, std::vector<uint32_t>{8});
}

TEST(CellContent, FormatterFailureDeliversTheCellWithoutText) {
  Workbook book;
  book.cells = "(F2|B|) A!A1: 1234.5\n(F2|) A!A2: 2\n";
  TestHost host(book.text());
  ASSERT_TRUE(openFirstSheet(host));
  // The cell phase allocates nothing but the display texts: fail the first.
  host.services.failAllocation(host.services.stats().allocations + 1);
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  std::vector<SheetItemCell> cells;
  for (const SheetItem& item : items) {
    if (item.itemType == WZSS_ITEM_CELL) cells.push_back(item.cell);
  }
  ASSERT_EQ(cells.size(), 2u);
  EXPECT_EQ(cells[0].text, nullptr);
  EXPECT_EQ(cells[0].textLength, 0u);
  EXPECT_EQ(cells[0].font.bold, 1);
  EXPECT_EQ(textOf(cells[1]), "2.00");
  EXPECT_EQ(host.textRequests, std::vector<uint32_t>{5});
}

TEST(CellContent, LinesWithoutValueFillOrSideAreSkipped) {
  Workbook book;
  // A blank after the address still leaves the value empty.
  book.cells =
      "(F2|B|) A!C1:\n"
      "(F2|B|) A!C1: \n"
      "(F2||SH8) A!C2:\n"
      "(F2||L1) A!C3:\n"
      "(F2|) A!C4: 9\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 3u);
  // An empty value with a fill: a text of just the NUL.
  EXPECT_EQ(cells[0].row, 2u);
  EXPECT_EQ(textOf(cells[0]), "");
  EXPECT_EQ(cells[0].textLength, 1u);
  EXPECT_EQ(cells[0].hasFill, 7);
  EXPECT_EQ(cells[1].row, 3u);
  EXPECT_EQ(cells[1].hasBorder, 1u);
  EXPECT_EQ(cells[1].hasFill, 0);
  EXPECT_EQ(cells[2].row, 4u);
}

TEST(CellContent, FillsAreRegisteredForSkippedLines) {
  Workbook book;
  book.cells = "(F2||SH8) A!C2:\n(F2|) A!C4: 9\n";
  TestHost host(book.text());
  host.fillResult = 0;  // the host takes the fill as none
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 1u);
  EXPECT_EQ(cells[0].row, 4u);
  ASSERT_EQ(host.fills.size(), 1u);
  EXPECT_EQ(host.fills[0].shadePercent, 100u);
}

TEST(CellContent, TheNextSheetsFirstLineEndsTheCells) {
  Workbook book;
  book.views = view("A", kAllVisible) + view("B", kAllVisible);
  book.cells =
      "(F2|) A!A1: 1\n"
      "(F2|) A!A2: 2\n"
      "(F2||SH9) B!A1: 3\n"
      "(F2|) B!A2: 4\n";
  {
    TestHost host(book.text());
    const auto cells = cellItems(host, 0);
    ASSERT_EQ(cells.size(), 2u);
    EXPECT_EQ(textOf(cells[1]), "2.00");
    // The line that ended the sheet had its fill registered already.
    ASSERT_EQ(host.fills.size(), 1u);
    EXPECT_EQ(host.fills[0].pattern, 2u);
  }
  TestHost host(book.text());
  const auto cells = cellItems(host, 1);
  ASSERT_EQ(cells.size(), 2u);
  EXPECT_EQ(textOf(cells[0]), "3.00");
  EXPECT_EQ(textOf(cells[1]), "4.00");
}

TEST(CellContent, LinesOutsideTheGridArePassedOver) {
  Workbook book;
  book.cells =
      "(F2||SH8) A!Z5: 1\n"
      "(F2|) A!A21: 2\n"
      "(F2|) A!A0: 3\n"
      "(F2|) A!: 4\n"
      "(F2|) A!B: 5\n"
      "(F2|) A!H20: 6\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 1u);
  EXPECT_EQ(cells[0].column, 8u);
  EXPECT_EQ(cells[0].row, 20u);
  EXPECT_EQ(textOf(cells[0]), "6.00");
  // Read all the same: the fill of the first line went to the host.
  EXPECT_EQ(host.fills.size(), 1u);
}

TEST(CellContent, QuotedGeneralValuesAreStrings) {
  Workbook book;
  book.cells =
      "(G0) A!A1:  \"quoted\"\n"
      "(F2) A!A2:  \"5\"\n"
      "(G0) A!A3: 5\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 3u);
  // A string takes the text alignment and escapes the general adjustment.
  EXPECT_EQ(cells[0].align, 130);
  EXPECT_EQ(textOf(cells[0]), "quoted");
  EXPECT_EQ(cells[1].align, 130);
  EXPECT_EQ(textOf(cells[1]), "0.00");
  EXPECT_EQ(cells[2].align, 2);
}

// --- Formatted empty cells -----------------------------------------------

TEST(EmptyCells, TitleRowsRenumberContentCellsOnly) {
  Workbook book;
  book.views = view("A", std::string(kAllVisible) +
                             "View Title Row: 7\n"
                             "View Title Row: 8\n");
  book.rowLists = "Row List A!5:1,1,2\n";
  book.cells = "(F2|) A!A5: 1\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 2u);
  EXPECT_EQ(cells[0].column, 1u);
  EXPECT_EQ(cells[0].row, 7u);
  EXPECT_EQ(cells[1].column, 2u);
  EXPECT_EQ(cells[1].row, 5u);
  EXPECT_EQ(cells[1].hasBorder, 1u);
  EXPECT_EQ(cells[1].leftStyle, 5);
}

TEST(EmptyCells, CellsWithADeliveredLineAreNotReported) {
  Workbook book;
  book.rowLists = "Row List A!4:0,1,4\n";
  book.cells = "(F2|) A!A4: 1\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 2u);
  EXPECT_EQ(cells[1].column, 2u);
  EXPECT_EQ(cells[1].row, 4u);
  EXPECT_EQ(cells[1].rightStyle, 6);
  EXPECT_EQ(cells[1].hasFill, 7);
  ASSERT_EQ(host.fills.size(), 1u);
  EXPECT_EQ(host.fills[0].shadePercent, 100u);
}

TEST(EmptyCells, FormatIdsWithoutAnEntryAreSkipped) {
  Workbook book;
  // Id 3 is a line without fill and border part, id 9 no line at all.
  book.rowLists = "Row List A!3:0,0,3 1,1,9 2,2,4\nRow List A!4:0,0,9\n";
  TestHost host(book.text());
  const auto cells = cellItems(host);
  ASSERT_EQ(cells.size(), 1u);
  EXPECT_EQ(cells[0].column, 3u);
  EXPECT_EQ(cells[0].row, 3u);
  EXPECT_EQ(cells[0].rightStyle, 6);
}

TEST(EmptyCells, ResetOnlyOnCallsStartingInRowOne) {
  Workbook book;
  book.rowLists = "Row List A!1:0,0,2\nRow List A!2:0,0,4 2,2,2\n";
  TestHost host(book.text());
  ASSERT_TRUE(openFirstSheet(host));
  auto nextCell = [&host]() -> bool {
    while (host.next() == 0) {
      if (host.item.itemType == WZSS_ITEM_CELL) return true;
    }
    return false;
  };
  auto poke = [&host]() {
    host.item.cell.textColor = 0xABCDEF;
    host.item.cell.backColor = 0x123456;
    host.item.cell.align = 0x55;
    host.item.cell.textLength = 99;
    host.item.cell.hasFont = 3;
  };

  ASSERT_TRUE(nextCell());
  SheetItemCell cell = host.item.cell;
  EXPECT_EQ(cell.column, 1u);
  EXPECT_EQ(cell.row, 1u);
  EXPECT_EQ(cell.backColor, kWhite);
  EXPECT_EQ(cell.textColor, 0u);
  EXPECT_EQ(cell.align, 0);
  EXPECT_EQ(cell.text, nullptr);
  EXPECT_EQ(cell.textLength, 0u);
  EXPECT_EQ(cell.hasFont, 0u);
  EXPECT_EQ(cell.cellExtra, 0u);
  EXPECT_EQ(cell.hasFill, 7);
  EXPECT_EQ(cell.hasBorder, 1u);
  EXPECT_EQ(cell.leftStyle, 5);

  // Starts at row 1, column 2: reset again, even though it reports row 2.
  poke();
  ASSERT_TRUE(nextCell());
  cell = host.item.cell;
  EXPECT_EQ(cell.column, 1u);
  EXPECT_EQ(cell.row, 2u);
  EXPECT_EQ(cell.textColor, 0u);
  EXPECT_EQ(cell.backColor, kWhite);
  EXPECT_EQ(cell.align, 0);
  EXPECT_EQ(cell.textLength, 0u);
  EXPECT_EQ(cell.hasFont, 0u);
  EXPECT_EQ(cell.leftStyle, 0);
  EXPECT_EQ(cell.rightStyle, 6);

  // Starts in row 2: only fill, border and position are written.
  poke();
  ASSERT_TRUE(nextCell());
  cell = host.item.cell;
  EXPECT_EQ(cell.column, 3u);
  EXPECT_EQ(cell.row, 2u);
  EXPECT_EQ(cell.textColor, 0xABCDEFu);
  EXPECT_EQ(cell.backColor, 0x123456u);
  EXPECT_EQ(cell.align, 0x55);
  EXPECT_EQ(cell.textLength, 99u);
  EXPECT_EQ(cell.hasFont, 3u);
  EXPECT_EQ(cell.leftStyle, 5);
  EXPECT_EQ(cell.rightStyle, 0);

  EXPECT_FALSE(nextCell());
  EXPECT_EQ(host.next(), 1);
}

TEST(EmptyCells, NoAttributeEntriesNoEmptyCells) {
  Workbook book;
  book.attrTable = "Attr Table Start\n(G0|P10,T0|)\n(G0|I|)\nAttr Table end\n";
  book.rowLists = "Row List A!1:0,3,1\n";
  TestHost host(book.text());
  ASSERT_TRUE(openFirstSheet(host));
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  for (const SheetItem& item : items) EXPECT_NE(item.itemType, WZSS_ITEM_CELL);
  EXPECT_EQ(test::internals(host.sheet)->emptyScanRow, 0);
  EXPECT_EQ(test::internals(host.sheet)->emptyScanColumn, 0);
}

}  // namespace
}  // namespace wzss

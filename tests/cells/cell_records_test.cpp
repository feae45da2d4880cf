// The two cell producers over whole workbooks: cells with a line (styling,
// visibility, renumbering, text buffers, fills of skipped lines, the sheet
// boundary) and formatted empty cells (reset, scan order, attribute entries).
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/records.h"
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
    "Attr Table Start\n(G0|P10,T0|)\n(F2|B|SH3FG2BG4L1)\n(G0|I|)\n(F2||SH8R2)\nAttr Table end\n";

constexpr const char* kAllVisible =
    "View Rows Visible: rows:1:20\nView Columns Visible: cols:A:H\n";

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
           "COLORMAP\nBlack 0 0 0 0 255 0\nWhite 1 0 0 0 0 0\nRed 2 0 255 255 0 0\n"
           "Green 3 255 0 255 0 0\nBlue 4 255 255 0 0 0\nEND COLORMAP\n"
           "TYPEFACE TABLE\nHelvetica\nCourier\nEND TYPEFACE TABLE\n" +
           attrTable + views + rowLists +
           "Symbols Defaults 0 0 0 0 0 10 0 0 0 0\nBottom right corner : H20\n"
           "Headers and Footers End\n" +
           cells;
  }
};

// The fields of a cell item a case looks at; those left unset are not.
struct Want {
  std::optional<uint32_t> column{}, row{};
  std::optional<std::string> text{};  // "<null>" for no buffer
  std::optional<uint32_t> textLength{}, align{}, backColor{}, textColor{}, hasFont{};
  std::optional<uint32_t> bold{}, italic{}, size{};
  std::optional<std::string> fontName{};
  std::optional<uint32_t> pitchAndFamily{};
  std::optional<int32_t> hasFill{};
  std::optional<uint32_t> hasBorder{}, leftStyle{}, rightStyle{}, topStyle{}, bottomStyle{};
  std::optional<uint32_t> cellFlag{}, cellKind{}, cellExtra{};
};

void expectCell(const SheetItemCell& cell, const Want& want) {
  const auto check = [](const char* field, const auto& expected, const auto& actual) {
    if (expected) {
      EXPECT_EQ(*expected, actual) << field;
    }
  };
  check("column", want.column, cell.column);
  check("row", want.row, cell.row);
  check("text", want.text, cell.text == nullptr ? std::string("<null>") : std::string(cell.text));
  check("textLength", want.textLength, cell.textLength);
  check("align", want.align, uint32_t{cell.align});
  check("backColor", want.backColor, cell.backColor);
  check("textColor", want.textColor, cell.textColor);
  check("hasFont", want.hasFont, cell.hasFont);
  check("bold", want.bold, uint32_t{cell.font.bold});
  check("italic", want.italic, uint32_t{cell.font.italic});
  check("size", want.size, cell.font.size);
  check("fontName", want.fontName, std::string(cell.font.name));
  check("pitchAndFamily", want.pitchAndFamily, uint32_t{cell.font.pitchAndFamily});
  check("hasFill", want.hasFill, cell.hasFill);
  check("hasBorder", want.hasBorder, cell.hasBorder);
  check("leftStyle", want.leftStyle, uint32_t{cell.leftStyle});
  check("rightStyle", want.rightStyle, uint32_t{cell.rightStyle});
  check("topStyle", want.topStyle, uint32_t{cell.topStyle});
  check("bottomStyle", want.bottomStyle, uint32_t{cell.bottomStyle});
  check("cellFlag", want.cellFlag, uint32_t{cell.cellFlag});
  check("cellKind", want.cellKind, cell.cellKind);
  check("cellExtra", want.cellExtra, cell.cellExtra);
}

bool openSheet(TestHost& host, uint32_t index = 0) {
  return host.scan() == 1 && host.openSheet(index) != nullptr;
}

std::vector<SheetItemCell> pumpCells(TestHost& host) {
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  std::vector<SheetItemCell> cells;
  for (const SheetItem& item : items) {
    if (item.itemType == WZSS_ITEM_CELL) cells.push_back(item.cell);
  }
  return cells;
}

struct CellsCase {
  const char* name;
  std::string cells;
  std::vector<Want> want;            // every cell item, in order
  std::vector<FillInfo> fills = {};  // every fill registered with the host
  std::string views = view("A", kAllVisible);
  std::string rowLists = {};
  uint32_t sheet = 0;
  intptr_t fillResult = 7;
  bool nullTextBuffers = false;
  bool failFirstText = false;  // fail the first allocation after the sheet opened
};

void runCase(const CellsCase& c) {
  SCOPED_TRACE(c.name);
  Workbook book;
  book.views = c.views;
  book.rowLists = c.rowLists;
  book.cells = c.cells;
  TestHost host(book.text());
  host.fillResult = c.fillResult;
  host.nullTextBuffers = c.nullTextBuffers;
  ASSERT_TRUE(openSheet(host, c.sheet));
  // The cell phase allocates nothing but the display texts.
  if (c.failFirstText) host.services.failAllocation(host.services.stats().allocations + 1);
  const std::vector<SheetItemCell> cells = pumpCells(host);
  ASSERT_EQ(cells.size(), c.want.size());
  std::vector<uint32_t> lengths;
  for (size_t i = 0; i < cells.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "cell " << i);
    expectCell(cells[i], c.want[i]);
    if (cells[i].textLength != 0) lengths.push_back(cells[i].textLength);
  }
  // One buffer asked for per cell with a text, of the text's length.
  EXPECT_EQ(host.textRequests, lengths);
  ASSERT_EQ(host.fills.size(), c.fills.size());
  for (size_t i = 0; i < c.fills.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "fill " << i);
    EXPECT_EQ(host.fills[i].pattern, c.fills[i].pattern);
    EXPECT_EQ(host.fills[i].shadePercent, c.fills[i].shadePercent);
    EXPECT_EQ(host.fills[i].foreColor, c.fills[i].foreColor);
    EXPECT_EQ(host.fills[i].backColor, c.fills[i].backColor);
  }
}

const std::string kGappedView = view("A",
                                     "View Rows Visible: rows:1:2\nView Rows Visible: rows:4:20\n"
                                     "View Columns Visible: cols:A:B\n"
                                     "View Columns Visible: cols:D:H\n");
// Fills of the attribute lines and the fill parts of the cell lines below.
constexpr FillInfo kShade25{0, 25, kRed, kBlue};
constexpr FillInfo kShade100{0, 100, 0, kWhite};
constexpr FillInfo kPattern2{2, 0, 0, kWhite};
const std::string kSheetsAB = view("A", kAllVisible) + view("B", kAllVisible);
constexpr const char* kCellsAB = "(F2|) A!A1: 1\n(F2|) A!A2: 2\n(F2||SH9) B!A1: 3\n(F2|) B!A2: 4\n";

// The tables keep one case's expectations together, a few fields a line.
// clang-format off
TEST(CellItems, CellsWithALine) {
  const CellsCase cases[] = {
      {.name = "styled cell with text",
       .cells = "(F2,1|B,P12,FG2|SH3FG2BG4L1R2) A!B3: 1234.5\n",
       .want = {{.column = 2, .row = 3, .text = "1234.50", .textLength = 8, .align = 142,
                 .backColor = kWhite, .textColor = kRed, .hasFont = 1, .bold = 1, .size = 12,
                 .fontName = "Helvetica", .hasFill = 7, .hasBorder = 1, .leftStyle = 5,
                 .rightStyle = 6, .topStyle = 0, .bottomStyle = 0, .cellFlag = 0,
                 .cellKind = 7, .cellExtra = 0}},
       .fills = {kShade25}},
      // The italic of one cell does not reach the next cell's font.
      {.name = "every cell has the workbook font unless changed",
       .cells = "(F2|) A!A1: 1\n(F2|I|L1) A!A2: 2\n",
       .want = {{.hasFont = 1, .italic = 0, .size = 10, .fontName = "Helvetica",
                 .pitchAndFamily = 18, .hasFill = 0, .hasBorder = 0},
                {.hasFont = 1, .italic = 1, .size = 10, .fontName = "Helvetica",
                 .pitchAndFamily = 18, .hasBorder = 1}}},
      {.name = "hidden cells go without text but with their font",
       .cells = "(F2|B|) A!A3: 5\n('|I|) A!B3: a label\n(F2|) A!C1: 7\n(F2|) A!A4: 6\n",
       .want = {{.text = "<null>", .textLength = 0, .hasFont = 1, .bold = 1},
                {.text = "<null>", .textLength = 0, .hasFont = 1, .italic = 1},
                {.column = 3, .text = "<null>", .textLength = 0, .hasFont = 1},
                {.text = "6.00"}},
       .views = kGappedView},
      // An open string takes every following line into a shown cell's text,
      // a line that starts like a cell line too; a hidden cell's value is not
      // read, so that line is the next cell (row 3 is hidden here).
      {.name = "a shown open string takes the next cell line",
       .cells = "(G0|) A!A1: \"open\n(G0|) A!A2: 5\"\n",
       .want = {{.row = 1, .text = "openG0|) A!A2: 5"}}},
      {.name = "a hidden open string leaves the next cell line a cell",
       .cells = "(G0|) A!A3: \"open\n(G0|) A!A2: 5\"\n",
       .want = {{.row = 3, .text = "<null>"}, {.row = 2, .text = "5"}},
       .views = kGappedView},
      // Row 3 is only a title row, not in a visible range.
      {.name = "title rows are shown and come first",
       .cells = "(F2|) A!A2: 1\n(F2|) A!A3: 2\n(F2|) A!A4: 3\n",
       .want = {{.row = 3}, {.row = 1, .text = "2.00"}, {.row = 4}},
       .views = view("A", "View Rows Visible: rows:1:2\nView Rows Visible: rows:4:20\n"
                          "View Columns Visible: cols:A:H\nView Title Row: 3\n")},
      {.name = "null buffer from the host",
       .cells = "(F2|) A!A1: 1234.5\n",
       .want = {{.text = "<null>", .textLength = 8}},
       .nullTextBuffers = true},
      {.name = "formatter failure delivers the cell without text",
       .cells = "(F2|B|) A!A1: 1234.5\n(F2|) A!A2: 2\n",
       .want = {{.text = "<null>", .textLength = 0, .bold = 1}, {.text = "2.00"}},
       .failFirstText = true},
      // A blank after the address still leaves the value empty; an empty
      // value with a fill is a text of just the NUL.
      {.name = "lines without value, fill or side are skipped",
       .cells = "(F2|B|) A!C1:\n(F2|B|) A!C1: \n(F2||SH8) A!C2:\n(F2||L1) A!C3:\n(F2|) A!C4: 9\n",
       .want = {{.row = 2, .text = "", .textLength = 1, .hasFill = 7},
                {.row = 3, .hasFill = 0, .hasBorder = 1}, {.row = 4}},
       .fills = {kShade100}},
      {.name = "fills are registered for skipped lines",
       .cells = "(F2||SH8) A!C2:\n(F2|) A!C4: 9\n",
       .want = {{.row = 4}}, .fills = {kShade100}, .fillResult = 0},
      // The line that ended the first sheet had its fill registered already.
      {.name = "the next sheet's first line ends the cells",
       .cells = kCellsAB, .want = {{}, {.text = "2.00"}}, .fills = {kPattern2},
       .views = kSheetsAB},
      {.name = "the second sheet starts at its first line",
       .cells = kCellsAB, .want = {{.text = "3.00"}, {.text = "4.00"}}, .fills = {kPattern2},
       .views = kSheetsAB, .sheet = 1},
      // Read all the same: the fill of the first line goes to the host.
      {.name = "lines outside the grid are passed over",
       .cells = "(F2||SH8) A!Z5: 1\n(F2|) A!A21: 2\n(F2|) A!A0: 3\n(F2|) A!: 4\n(F2|) A!B: 5\n"
                "(F2|) A!H20: 6\n",
       .want = {{.column = 8, .row = 20, .text = "6.00"}}, .fills = {kShade100}},
      // A string takes the text alignment and escapes the general adjustment.
      {.name = "quoted general values are strings",
       .cells = "(G0) A!A1:  \"quoted\"\n(F2) A!A2:  \"5\"\n(G0) A!A3: 5\n",
       .want = {{.text = "quoted", .align = 130}, {.text = "0.00", .align = 130}, {.align = 2}}},
  };
  for (const CellsCase& c : cases) runCase(c);
}

TEST(CellItems, FormattedEmptyCells) {
  const CellsCase cases[] = {
      {.name = "title rows renumber content cells only",
       .cells = "(F2|) A!A5: 1\n",
       .want = {{.column = 1, .row = 7}, {.column = 2, .row = 5, .hasBorder = 1, .leftStyle = 5}},
       .fills = {kShade25},
       .views = view("A", std::string(kAllVisible) + "View Title Row: 7\nView Title Row: 8\n"),
       .rowLists = "Row List A!5:1,1,2\n"},
      {.name = "cells with a delivered line are not reported",
       .cells = "(F2|) A!A4: 1\n",
       .want = {{}, {.column = 2, .row = 4, .hasFill = 7, .rightStyle = 6}},
       .fills = {kShade100}, .rowLists = "Row List A!4:0,1,4\n"},
      // Id 3 is a line without fill and border part, id 9 no line at all.
      {.name = "format ids without an entry are skipped",
       .cells = "", .want = {{.column = 3, .row = 3, .rightStyle = 6}}, .fills = {kShade100},
       .rowLists = "Row List A!3:0,0,3 1,1,9 2,2,4\nRow List A!4:0,0,9\n"},
  };
  for (const CellsCase& c : cases) runCase(c);
}

TEST(CellItems, EmptyCellResetOnlyOnCallsStartingInRowOne) {
  Workbook book;
  book.rowLists = "Row List A!1:0,0,2\nRow List A!2:0,0,4 2,2,2\n";
  TestHost host(book.text());
  ASSERT_TRUE(openSheet(host));
  const Want expected[] = {
      {.column = 1, .row = 1, .text = "<null>", .textLength = 0, .align = 0, .backColor = kWhite,
       .textColor = 0, .hasFont = 0, .hasFill = 7, .hasBorder = 1, .leftStyle = 5, .cellExtra = 0},
      // Starts at row 1, column 2: reset again, even though it reports row 2.
      {.column = 1, .row = 2, .textLength = 0, .align = 0, .backColor = kWhite, .textColor = 0,
       .hasFont = 0, .leftStyle = 0, .rightStyle = 6},
      // Starts in row 2: only fill, border and position are written, the
      // marks below stay.
      {.column = 3, .row = 2, .textLength = 99, .align = 0x55, .backColor = 0x123456,
       .textColor = 0xABCDEF, .hasFont = 3, .leftStyle = 5, .rightStyle = 0},
  };
  for (const Want& want : expected) {
    // Marks in the item the host reuses, which a reset overwrites.
    host.item.cell.textColor = 0xABCDEF;
    host.item.cell.backColor = 0x123456;
    host.item.cell.align = 0x55;
    host.item.cell.textLength = 99;
    host.item.cell.hasFont = 3;
    int32_t result = 0;
    while ((result = host.next()) == 0 && host.item.itemType != WZSS_ITEM_CELL) continue;
    ASSERT_EQ(result, 0) << "the pump ended before the cell";
    expectCell(host.item.cell, want);
  }
  // No cell is left, and the pump ends.
  while (host.next() == 0) EXPECT_NE(host.item.itemType, WZSS_ITEM_CELL);
  EXPECT_EQ(host.next(), 1);
}
// clang-format on

TEST(CellItems, NoAttributeEntriesNoEmptyCells) {
  Workbook book;
  book.attrTable = "Attr Table Start\n(G0|P10,T0|)\n(G0|I|)\nAttr Table end\n";
  book.rowLists = "Row List A!1:0,3,1\n";
  TestHost host(book.text());
  ASSERT_TRUE(openSheet(host));
  EXPECT_TRUE(pumpCells(host).empty());
  EXPECT_EQ(test::internals(host.sheet)->emptyScanRow, 0);
  EXPECT_EQ(test::internals(host.sheet)->emptyScanColumn, 0);
}

}  // namespace
}  // namespace wzss

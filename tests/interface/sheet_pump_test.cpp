// The sheet item pump: the settings and option items, row heights, column
// widths, hidden runs, the renumbering for title lines, and how the pump
// ends.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "interface_fixture.h"
// After the fixture, which orders the test host before the records.
#include "interface/pump.h"

namespace wzss::test {
namespace {

std::string viewSection(const std::vector<std::string>& lines, std::string_view letters = "A") {
  std::string text = "View Start, Name: #Sheet: ~" + std::string(letters) + "\n";
  for (const std::string& line : lines) text += line + "\n";
  return text + "View End,\n";
}

// Every row and column of the default 20 x 10 grid visible.
const std::string kAllRowsVisible = "View Rows Visible: r:1:20";
const std::string kAllColumnsVisible = "View Columns Visible: c:A:J";

std::vector<SheetItem> pumpSheet(PreparedReader& prepared) {
  std::vector<SheetItem> items;
  prepared.host.pumpAll(&items);
  return items;
}

// --- Settings and option -------------------------------------------------------

TEST(Pump, SettingsThenOptionWriteOnlyTheirFields) {
  Prologue prologue;
  prologue.fontSize = 12;
  prologue.sheetOption = 5;
  PreparedReader prepared(
      viewSection({"View Default Column Width 10", kAllRowsVisible, kAllColumnsVisible}), prologue);
  std::strcpy(prepared.reader()->defaultFont.name, "Helvetica");
  prepared.reader()->defaultFont.bold = 1;
  ASSERT_NE(prepared.open(), nullptr);
  SheetItem& item = prepared.host.item;
  std::memset(&item, 0xEE, sizeof(item));

  ASSERT_EQ(prepared.host.next(), 0);
  EXPECT_EQ(item.itemType, static_cast<uint32_t>(WZSS_ITEM_SETTINGS));
  EXPECT_EQ(item.reserved4, 0xEEEEEEEEu);
  const SheetItemSettings& s = item.settings;
  EXPECT_EQ(s.settingsCode, 2u);
  EXPECT_EQ(s.maxRow, 20u);
  EXPECT_EQ(s.maxColumn, 10u);
  EXPECT_EQ(s.presetA, 1u);
  EXPECT_EQ(s.presetB, 1u);
  EXPECT_EQ(s.defaultColumnWidth, 1440u);
  EXPECT_EQ(s.defaultFontHeight, 240u);
  EXPECT_EQ(s.presetC, 576u);
  EXPECT_EQ(s.presetD, 576u);
  EXPECT_EQ(s.presetE, 480u);
  EXPECT_EQ(s.presetF, 480u);
  EXPECT_EQ(s.presetG, 0u);
  EXPECT_EQ(s.hasFont, 1u);
  EXPECT_EQ(std::memcmp(&s.font, &prepared.reader()->defaultFont, sizeof(FontRecord)), 0);
  EXPECT_EQ(s.hasFill, -1);
  EXPECT_EQ(s.presetH, 1u);
  for (uint32_t word : s.reserved108) EXPECT_EQ(word, 0xEEEEEEEEu);

  const SheetItem settings = item;
  ASSERT_EQ(prepared.host.next(), 0);
  EXPECT_EQ(item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
  EXPECT_EQ(item.option.option, 5u);
  // Everything past the option word is still the settings item.
  const auto* now = reinterpret_cast<const uint8_t*>(&item);
  const auto* before = reinterpret_cast<const uint8_t*>(&settings);
  const size_t optionEnd = offsetof(SheetItem, option) + sizeof(SheetItemOption);
  EXPECT_EQ(std::memcmp(now + 4, before + 4, offsetof(SheetItem, option) - 4), 0);
  EXPECT_EQ(std::memcmp(now + optionEnd, before + optionEnd, sizeof(SheetItem) - optionEnd), 0);

  for (int call = 0; call < 3; ++call) EXPECT_EQ(prepared.host.next(), 1);
  EXPECT_EQ(item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
}

// --- List lines ---------------------------------------------------------------------

struct ListCase {
  const char* name;
  std::vector<std::string> lines;
  std::vector<ItemRun> runs;
};

// A list line of count entries "n:n" (heights) or "<letter>:n" (widths).
ListCase numberedList(const char* name, bool heights, uint32_t count) {
  ListCase c{name, {heights ? "View Row Heights:" : "View Column Widths:"}, {}};
  for (uint32_t n = 1; n <= count; ++n) {
    c.lines[0] += " " + (heights ? std::to_string(n) : std::string(1, char('A' + n - 1))) + ":" +
                  std::to_string(n);
    c.runs.push_back(heights ? rowRun(n, n, 22 * n) : columnRun(n, n, 120 * n));
  }
  return c;
}

// One entry per call, heights before widths; on a 30 x 30 grid, all shown.
TEST(Pump, ListLinesDeliverOneEntryPerCall) {
  ListCase longLines = numberedList("", true, 25);
  const ListCase widths = numberedList("", false, 23);
  longLines.lines.insert(longLines.lines.end(),
                         {"View Row Heights: 26:1", widths.lines[0], "View Column Widths: A:1"});
  longLines.runs.push_back(rowRun(26, 26, 22));
  longLines.runs.insert(longLines.runs.end(), widths.runs.begin(), widths.runs.end());
  longLines.runs.push_back(columnRun(1, 1, 120));
  longLines.name = "LongLinesDeliveredWhole";
  ASSERT_LT(longLines.lines[0].size(), kLineSize);
  const ListCase cases[] = {
      {"Heights", {"View Row Heights: 1:300 2:32800"}, {rowRun(1, 1, 6600), rowRun(2, 2, 704)}},
      {"HeightFlagRemoved",
       {"View Row Heights: 3:32778 4:10"},
       {rowRun(3, 3, 220), rowRun(4, 4, 220)}},
      {"TwoWidthLines",
       {"View Column Widths: A:20 B:12", "View Column Widths: C:5"},
       {columnRun(1, 1, 2400), columnRun(2, 2, 1440), columnRun(3, 3, 600)}},
      {"HeightsBeforeWidths",
       {"View Column Widths: B:1", "View Row Heights: 7:1"},
       {rowRun(7, 7, 22), columnRun(2, 2, 120)}},
      {"EmptyHeightLineThenItems",
       {"View Row Heights: ", "View Row Heights: 3:10"},
       {rowRun(3, 3, 220)}},
      {"EmptyHeightLineAlone", {"View Row Heights: "}, {}},
      {"EmptyHeightLineBeforeWidths",
       {"View Row Heights: ", "View Column Widths: A:1"},
       {columnRun(1, 1, 120)}},
      {"EmptyWidthLines", {"View Column Widths:   ", "View Column Widths: "}, {}},
      {"OnlyAdjacentLinesFollow",
       {"View Row Heights: 1:10", "View Default Row Height: 16", "View Row Heights: 2:10"},
       {rowRun(1, 1, 220)}},
      numberedList("ExactlyTwentyEntriesNeedNoResume", true, 20),
      longLines,
      // Title lines come first: rows 5 and 9, then 1; column B, then A.
      {"RenumberedForTitleLines",
       {"View Row Heights: 5:10 1:10", "View Column Widths: A:1", "View Title Row: 5",
        "View Title Row: 9", "View Title Column: B"},
       {rowRun(1, 1, 220), rowRun(3, 3, 220), columnRun(2, 2, 120)}},
  };
  Prologue prologue;
  prologue.maxRow = 30;
  prologue.maxColumn = 30;
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> lines = {"View Rows Visible: r:1:30", "View Columns Visible: c:A:AD"};
    lines.insert(lines.end(), c.lines.begin(), c.lines.end());
    PreparedReader prepared(viewSection(lines), prologue);
    ASSERT_NE(prepared.open(), nullptr);
    const std::vector<SheetItem> items = pumpSheet(prepared);
    EXPECT_EQ(runsOf(items), c.runs);
    EXPECT_EQ(items.size(), 2 + c.runs.size());
    const wzss::SheetReader* sheet = prepared.sheet();
    EXPECT_EQ(sheet->heightResume + sheet->widthResume + sheet->heightPos + sheet->widthPos, 0u);
  }
}

// Either way the pump cannot read the list: the sheet ends after its option
// item, before the hidden row 20, and stays ended.
TEST(Pump, AListThatCannotBeReadEndsTheSheet) {
  for (bool refusedSeek : {true, false}) {
    SCOPED_TRACE(refusedSeek ? "the Seek to the heights refused" : "widths on another line");
    const std::string text =
        viewSection({refusedSeek ? "View Row Heights: 1:10" : "View Column Widths: A:1",
                     "View Rows Visible: r:1:19", kAllColumnsVisible});
    PreparedReader prepared(text);
    ASSERT_NE(prepared.open(), nullptr);
    if (refusedSeek) {
      prepared.host.stream.failSeek(prepared.host.stream.calls().seeks + 1);
    } else {
      prepared.sheet()->widthPos = offsetOf(text, "View Rows Visible");
    }
    ASSERT_EQ(prepared.host.next(), 0);
    ASSERT_EQ(prepared.host.next(), 0);
    for (int call = 0; call < 2; ++call) {
      EXPECT_EQ(prepared.host.next(), 1);
      EXPECT_EQ(prepared.host.item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
    }
  }
}

// --- Hidden runs ----------------------------------------------------------------------

struct HiddenCase {
  const char* name;
  std::vector<std::string> lines;
  std::vector<ItemRun> runs;
};

// One run per call, rows before columns, on a 10 x 4 grid.
TEST(Pump, HiddenRunsFollowTheLists) {
  const std::string shown = "View Rows Visible: r:1:2";
  const std::string shownToo = "View Rows Visible: r:6:7";
  const std::string shownLast = "View Rows Visible: r:9:10";
  const std::string columns = "View Columns Visible: c:A:D";
  const HiddenCase cases[] = {
      {"RowsThreeToFiveAndEight",
       {shown, shownToo, shownLast, columns},
       {rowRun(3, 5, 0), rowRun(8, 8, 0)}},
      {"TitleRowAtOne",
       {shown, shownToo, shownLast, columns, "View Title Row: 1"},
       {rowRun(3, 5, 0), rowRun(8, 8, 0)}},
      {"TitleRowAtSix",
       {shown, shownToo, shownLast, columns, "View Title Row: 6"},
       {rowRun(4, 6, 0), rowRun(8, 8, 0)}},
      {"ColumnsAfterRows",
       {"View Rows Visible: r:1:9", "View Columns Visible: c:A", "View Columns Visible: c:D"},
       {rowRun(10, 10, 0), columnRun(2, 3, 0)}},
      {"TitleColumnRenumbersColumnRuns",
       {"View Rows Visible: r:1:10", "View Columns Visible: c:A", "View Columns Visible: c:D",
        "View Title Column: D"},
       {columnRun(3, 4, 0)}},
      {"EverythingHidden", {}, {rowRun(1, 10, 0), columnRun(1, 4, 0)}},
      {"AfterHeightsAndWidths",
       {"View Column Widths: A:1", "View Row Heights: 4:1", "View Rows Visible: r:1:9", columns},
       {rowRun(4, 4, 22), columnRun(1, 1, 120), rowRun(10, 10, 0)}},
  };
  Prologue prologue;
  prologue.maxRow = 10;
  prologue.maxColumn = 4;
  for (const HiddenCase& c : cases) {
    SCOPED_TRACE(c.name);
    PreparedReader prepared(viewSection(c.lines), prologue);
    ASSERT_NE(prepared.open(), nullptr);
    EXPECT_EQ(runsOf(pumpSheet(prepared)), c.runs);
    EXPECT_EQ(prepared.sheet()->hiddenEmitted, prepared.sheet()->hiddenCount);
  }
}

// --- Renumbering ------------------------------------------------------------------------

struct RenumberCase {
  const char* name;
  std::vector<std::string> lines;
  std::vector<std::pair<int32_t, int32_t>> rows, columns;  // line, number given
};

TEST(Renumbering, TitleLinesComeFirst) {
  const RenumberCase cases[] = {
      {"TitleRows",
       {"View Title Row: 5", "View Title Row: 9"},
       {{5, 1},
        {9, 2},
        {1, 3},
        {4, 6},
        {6, 7},
        {8, 9},
        {10, 10},
        {20, 20},
        {21, 21},
        {0, 2},
        {-1, 1},
        {INT32_MAX, INT32_MAX}},
       {{1, 1}, {10, 10}}},
      // Three title lines but one mark: row 5 named twice, row 9's mark
      // cleared by a later visible range. Rows below every mark still move
      // by the line count less the marks above them.
      {"LinesAndMarksCountApart",
       {"View Title Row: 5", "View Title Row: 5", "View Title Row: 9", "View Rows Visible: r:9:9"},
       {{5, 1}, {1, 4}, {4, 7}, {6, 8}, {9, 11}, {20, 22}},
       {}},
      {"TitleColumn",
       {"View Title Column: C"},
       {{1, 1}, {3, 3}},
       {{3, 1}, {1, 2}, {2, 3}, {4, 4}, {10, 10}, {11, 11}}},
      {"NoTitleLines",
       {},
       {{-5, -5}, {0, 0}, {1, 1}, {7, 7}, {20, 20}, {99, 99}},
       {{-5, -5}, {0, 0}, {1, 1}, {7, 7}, {10, 10}, {99, 99}}},
  };
  for (const RenumberCase& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> lines = {kAllRowsVisible, kAllColumnsVisible};
    lines.insert(lines.end(), c.lines.begin(), c.lines.end());
    PreparedReader prepared(viewSection(lines));
    ASSERT_NE(prepared.open(), nullptr);
    for (auto [line, expected] : c.rows) {
      int32_t row = line;
      wzGetAbsRow(prepared.sheet(), &row);
      EXPECT_EQ(row, expected) << "row " << line;
    }
    for (auto [line, expected] : c.columns) {
      int32_t column = line;
      wzGetAbsCol(prepared.sheet(), &column);
      EXPECT_EQ(column, expected) << "column " << line;
    }
  }
}

// --- Objects, cells and the end --------------------------------------------------------

TEST(Pump, NoObjectItemsWhenTheReaderAsksForNone) {
  Prologue prologue;
  prologue.readerFlags = WZSS_READER_NO_OBJECTS;
  prologue.objectSheets = {1, 1};
  PreparedReader prepared(viewSection({kAllRowsVisible, kAllColumnsVisible}), prologue);
  ASSERT_NE(prepared.open(), nullptr);
  ASSERT_EQ(prepared.sheet()->objectCount, 2);
  EXPECT_EQ(typesOf(pumpSheet(prepared)),
            (std::vector<uint32_t>{WZSS_ITEM_SETTINGS, WZSS_ITEM_OPTION}));
  EXPECT_EQ(prepared.sheet()->objectsEmitted, 0);
}

TEST(Pump, ARefusedSeekToTheCellsGoesOnToTheEmptyCells) {
  const std::string text = viewSection({kAllRowsVisible, kAllColumnsVisible}) + "(G0|) A!A1: 1\n";
  PreparedReader prepared(text);
  prepared.reader()->sheetStarts[1] = offsetOf(text, "(G0|)");
  ASSERT_NE(prepared.open(), nullptr);
  ASSERT_EQ(prepared.sheet()->sheetStart, offsetOf(text, "(G0|)"));
  prepared.host.stream.failSeek(prepared.host.stream.calls().seeks + 1);
  ASSERT_EQ(prepared.host.next(), 0);
  ASSERT_EQ(prepared.host.next(), 0);
  const uint64_t reads = prepared.host.stream.calls().reads;
  EXPECT_EQ(prepared.host.next(), 1);
  EXPECT_EQ(prepared.host.item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
  // No cell line was read: the cells phase was passed over.
  EXPECT_EQ(prepared.host.stream.calls().reads, reads);
}

// --- The sample workbook ------------------------------------------------------------------

std::string sampleWorkbook() {
  std::ifstream file(std::string(WZSS_SAMPLES_DIR) + "/budget.wzs", std::ios::binary);
  std::stringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

// What the host needs to tell two deliveries of a sheet apart.
std::vector<std::vector<uint32_t>> essentials(const std::vector<SheetItem>& items) {
  std::vector<std::vector<uint32_t>> result;
  for (const SheetItem& item : items) {
    switch (item.itemType) {
      case WZSS_ITEM_SETTINGS:
        result.push_back({item.itemType, item.settings.defaultColumnWidth});
        break;
      case WZSS_ITEM_CELL:
        result.push_back({item.itemType, item.cell.row, item.cell.column, item.cell.textLength,
                          static_cast<uint32_t>(item.cell.hasFill), item.cell.hasBorder});
        break;
      case WZSS_ITEM_ROW_RUN:
      case WZSS_ITEM_COLUMN_RUN:
        result.push_back({item.itemType, item.run.first, item.run.last, item.run.size});
        break;
      case WZSS_ITEM_OBJECT:
        result.push_back({item.itemType, item.object.topColumn, item.object.topRow,
                          item.object.bottomColumn, item.object.bottomRow});
        break;
      default: result.push_back({item.itemType});
    }
  }
  return result;
}

// Object streams reach their sheet, so they go back before it closes.
std::vector<SheetItem> pumpAndRelease(TestHost& host, uint32_t index) {
  std::vector<SheetItem> items;
  EXPECT_NE(host.openSheet(index), nullptr);
  host.pumpAll(&items);
  for (const SheetItem& item : items) {
    if (item.itemType != WZSS_ITEM_OBJECT) continue;
    StreamInterface* content = item.object.descriptor->content;
    if (content != nullptr) content->Release(content);
    host.services.free(item.object.descriptor);
  }
  EXPECT_EQ(host.next(), 1);
  host.closeSheet();
  return items;
}

struct SampleSheet {
  uint32_t defaultColumnWidth;
  std::vector<ItemRun> runs;
  size_t objects;
};

// Settings, option, the runs, the objects, then only cells; a second
// opening of the sheet delivers the same.
TEST(SampleWorkbook, EachSheetInItsPhasesAndTheSameWhenReopened) {
  const SampleSheet sheets[] = {
      // Title row 1 and title column A keep their places; nothing precedes them.
      {1200,
       {rowRun(1, 1, 616), rowRun(2, 2, 484), columnRun(1, 1, 2400), columnRun(2, 2, 1440),
        columnRun(3, 3, 1440), columnRun(4, 4, 1440), rowRun(10, 11, 0), columnRun(7, 12, 0)},
       0},
      {1080, {columnRun(1, 1, 1920)}, 1},
  };
  TestHost host(sampleWorkbook());
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, std::size(sheets));
  for (uint32_t index = 0; index < std::size(sheets); ++index) {
    SCOPED_TRACE(index);
    const SampleSheet& expected = sheets[index];
    const std::vector<SheetItem> items = pumpAndRelease(host, index);
    const size_t cellsFrom = 2 + expected.runs.size() + expected.objects;
    ASSERT_GT(items.size(), cellsFrom);
    EXPECT_EQ(items[0].itemType, static_cast<uint32_t>(WZSS_ITEM_SETTINGS));
    EXPECT_EQ(items[0].settings.maxRow, 30u);
    EXPECT_EQ(items[0].settings.maxColumn, 12u);
    EXPECT_EQ(items[0].settings.defaultColumnWidth, expected.defaultColumnWidth);
    EXPECT_EQ(items[0].settings.defaultFontHeight, 200u);
    EXPECT_EQ(items[1].itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
    EXPECT_EQ(runsOf({items.begin(), items.begin() + 2 + expected.runs.size()}), expected.runs);
    for (size_t i = 2 + expected.runs.size(); i < items.size(); ++i) {
      const uint32_t type = i < cellsFrom ? WZSS_ITEM_OBJECT : WZSS_ITEM_CELL;
      EXPECT_EQ(items[i].itemType, type) << "item " << i;
    }
    EXPECT_EQ(essentials(pumpAndRelease(host, index)), essentials(items));
  }
}

}  // namespace
}  // namespace wzss::test

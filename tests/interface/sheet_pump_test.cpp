// The sheet item pump: the settings and option items, row heights, column
// widths, hidden runs, the renumbering for title lines, and how the pump
// ends.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
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
      viewSection({"View Default Column Width 10", kAllRowsVisible, kAllColumnsVisible}),
      prologue);
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

class ListLines : public testing::TestWithParam<ListCase> {};

TEST_P(ListLines, DeliverOneEntryPerCall) {
  std::vector<std::string> lines = GetParam().lines;
  lines.push_back(kAllRowsVisible);
  lines.push_back(kAllColumnsVisible);
  PreparedReader prepared(viewSection(lines));
  ASSERT_NE(prepared.open(), nullptr);
  const std::vector<SheetItem> items = pumpSheet(prepared);
  EXPECT_EQ(runsOf(items), GetParam().runs);
  EXPECT_EQ(items.size(), 2 + GetParam().runs.size());
  EXPECT_EQ(prepared.host.next(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ListLines,
    testing::Values(
        ListCase{"Heights", {"View Row Heights: 1:300 2:32800"},
                 {rowRun(1, 1, 6600), rowRun(2, 2, 704)}},
        ListCase{"HeightFlagRemoved", {"View Row Heights: 3:32778 4:10"},
                 {rowRun(3, 3, 220), rowRun(4, 4, 220)}},
        ListCase{"TwoWidthLines", {"View Column Widths: A:20 B:12", "View Column Widths: C:5"},
                 {columnRun(1, 1, 2400), columnRun(2, 2, 1440), columnRun(3, 3, 600)}},
        ListCase{"HeightsBeforeWidths", {"View Column Widths: B:1", "View Row Heights: 7:1"},
                 {rowRun(7, 7, 22), columnRun(2, 2, 120)}},
        ListCase{"EmptyHeightLineThenItems", {"View Row Heights: ", "View Row Heights: 3:10"},
                 {rowRun(3, 3, 220)}},
        ListCase{"EmptyHeightLineAlone", {"View Row Heights: "}, {}},
        ListCase{"EmptyHeightLineBeforeWidths", {"View Row Heights: ", "View Column Widths: A:1"},
                 {columnRun(1, 1, 120)}},
        ListCase{"EmptyWidthLines", {"View Column Widths:   ", "View Column Widths: "}, {}},
        ListCase{"OnlyAdjacentLinesFollow",
                 {"View Row Heights: 1:10", "View Default Row Height: 16",
                  "View Row Heights: 2:10"},
                 {rowRun(1, 1, 220)}}),
    [](const testing::TestParamInfo<ListCase>& info) { return info.param.name; });

TEST(Pump, ALongListLineIsDeliveredWhole) {
  std::string heights = "View Row Heights:";
  std::string widths = "View Column Widths:";
  std::vector<ItemRun> expected;
  for (uint32_t row = 1; row <= 25; ++row) {
    heights += " " + std::to_string(row) + ":" + std::to_string(row);
    expected.push_back(rowRun(row, row, 22 * row));
  }
  expected.push_back(rowRun(26, 26, 22));
  for (uint32_t column = 1; column <= 23; ++column) {
    widths += " " + std::string(1, static_cast<char>('A' + column - 1)) + ":" +
              std::to_string(column);
    expected.push_back(columnRun(column, column, 120 * column));
  }
  expected.push_back(columnRun(1, 1, 120));
  ASSERT_LT(heights.size(), kLineSize);
  Prologue prologue;
  prologue.maxRow = 30;
  prologue.maxColumn = 30;
  PreparedReader prepared(viewSection({heights, "View Row Heights: 26:1", widths,
                                       "View Column Widths: A:1", "View Rows Visible: r:1:30",
                                       "View Columns Visible: c:A:AD"}),
                          prologue);
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(runsOf(pumpSheet(prepared)), expected);
  EXPECT_EQ(prepared.sheet()->heightResume, 0u);
  EXPECT_EQ(prepared.sheet()->widthResume, 0u);
}

TEST(Pump, ExactlyTwentyEntriesNeedNoResume) {
  std::string heights = "View Row Heights:";
  for (int row = 1; row <= 20; ++row) heights += " " + std::to_string(row) + ":1";
  PreparedReader prepared(viewSection({heights, kAllRowsVisible, kAllColumnsVisible}));
  ASSERT_NE(prepared.open(), nullptr);
  std::vector<SheetItem> items;
  for (int call = 0; call < 2 + 20; ++call) {
    ASSERT_EQ(prepared.host.next(), 0);
    items.push_back(prepared.host.item);
  }
  EXPECT_EQ(prepared.sheet()->heightResume, 0u);
  EXPECT_EQ(prepared.sheet()->heightPos, 0u);
  EXPECT_EQ(runsOf(items).back(), rowRun(20, 20, 22));
  EXPECT_EQ(prepared.host.next(), 1);
}

TEST(Pump, ARefusedListSeekEndsTheSheet) {
  PreparedReader prepared(
      viewSection({"View Row Heights: 1:10", "View Rows Visible: r:1:19", kAllColumnsVisible}));
  ASSERT_NE(prepared.open(), nullptr);
  // The next Seek is the one to the height list.
  prepared.host.stream.failSeek(prepared.host.stream.calls().seeks + 1);
  ASSERT_EQ(prepared.host.next(), 0);
  ASSERT_EQ(prepared.host.next(), 0);
  EXPECT_EQ(prepared.host.next(), 1);
  EXPECT_EQ(prepared.host.item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
  // The hidden row 20 is never reached, not even by a further call.
  EXPECT_EQ(prepared.host.next(), 1);
  EXPECT_EQ(prepared.host.item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
}

TEST(Pump, AListPositionThatHoldsAnotherLineEndsTheSheet) {
  const std::string text = viewSection({"View Column Widths: A:1", kAllRowsVisible});
  PreparedReader prepared(text);
  ASSERT_NE(prepared.open(), nullptr);
  prepared.sheet()->widthPos = offsetOf(text, kAllRowsVisible);
  ASSERT_EQ(prepared.host.next(), 0);
  ASSERT_EQ(prepared.host.next(), 0);
  EXPECT_EQ(prepared.host.next(), 1);
  EXPECT_EQ(prepared.host.item.itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
}

// --- Hidden runs ----------------------------------------------------------------------

struct HiddenCase {
  const char* name;
  std::vector<std::string> lines;
  std::vector<ItemRun> runs;
};

class HiddenRuns : public testing::TestWithParam<HiddenCase> {};

// A 10 x 4 grid.
TEST_P(HiddenRuns, OneRunPerCallRowsBeforeColumns) {
  Prologue prologue;
  prologue.maxRow = 10;
  prologue.maxColumn = 4;
  PreparedReader prepared(viewSection(GetParam().lines), prologue);
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(runsOf(pumpSheet(prepared)), GetParam().runs);
  EXPECT_EQ(prepared.sheet()->hiddenEmitted, prepared.sheet()->hiddenCount);
}

const std::string kRowsShown = "View Rows Visible: r:1:2";
const std::string kRowsShownToo = "View Rows Visible: r:6:7";
const std::string kRowsShownLast = "View Rows Visible: r:9:10";
const std::string kColumnsShown = "View Columns Visible: c:A:D";

INSTANTIATE_TEST_SUITE_P(
    Cases, HiddenRuns,
    testing::Values(
        HiddenCase{"RowsThreeToFiveAndEight",
                   {kRowsShown, kRowsShownToo, kRowsShownLast, kColumnsShown},
                   {rowRun(3, 5, 0), rowRun(8, 8, 0)}},
        HiddenCase{"TitleRowAtOne",
                   {kRowsShown, kRowsShownToo, kRowsShownLast, kColumnsShown,
                    "View Title Row: 1"},
                   {rowRun(3, 5, 0), rowRun(8, 8, 0)}},
        HiddenCase{"TitleRowAtSix",
                   {kRowsShown, kRowsShownToo, kRowsShownLast, kColumnsShown,
                    "View Title Row: 6"},
                   {rowRun(4, 6, 0), rowRun(8, 8, 0)}},
        HiddenCase{"ColumnsAfterRows",
                   {"View Rows Visible: r:1:9", "View Columns Visible: c:A",
                    "View Columns Visible: c:D"},
                   {rowRun(10, 10, 0), columnRun(2, 3, 0)}},
        HiddenCase{"TitleColumnRenumbersColumnRuns",
                   {"View Rows Visible: r:1:10", "View Columns Visible: c:A",
                    "View Columns Visible: c:D", "View Title Column: D"},
                   {columnRun(3, 4, 0)}},
        HiddenCase{"EverythingHidden", {}, {rowRun(1, 10, 0), columnRun(1, 4, 0)}},
        HiddenCase{"AfterHeightsAndWidths",
                   {"View Column Widths: A:1", "View Row Heights: 4:1",
                    "View Rows Visible: r:1:9", kColumnsShown},
                   {rowRun(4, 4, 22), columnRun(1, 1, 120), rowRun(10, 10, 0)}}),
    [](const testing::TestParamInfo<HiddenCase>& info) { return info.param.name; });

// --- Renumbering ------------------------------------------------------------------------

struct RenumberCase {
  int32_t line;
  int32_t expected;
};

TEST(Renumbering, TitleRowsComeFirst) {
  PreparedReader prepared(
      viewSection({kAllRowsVisible, "View Title Row: 5", "View Title Row: 9"}));
  ASSERT_NE(prepared.open(), nullptr);
  const RenumberCase cases[] = {
      {5, 1},   {9, 2},   {1, 3},   {4, 6},   {6, 7},  {8, 9},
      {10, 10}, {20, 20}, {21, 21}, {0, 2},   {-1, 1}, {INT32_MAX, INT32_MAX},
  };
  for (const RenumberCase& c : cases) {
    int32_t row = c.line;
    wzGetAbsRow(prepared.sheet(), &row);
    EXPECT_EQ(row, c.expected) << "row " << c.line;
  }
}

// Three title lines but one mark: row 5 named twice, row 9's mark cleared by
// a later visible range. Rows below every mark still move by the line count
// less the marks above them.
TEST(Renumbering, CountsTitleLinesAndMarksApart) {
  PreparedReader prepared(viewSection({kAllRowsVisible, "View Title Row: 5", "View Title Row: 5",
                                       "View Title Row: 9", "View Rows Visible: r:9:9"}));
  ASSERT_NE(prepared.open(), nullptr);
  const RenumberCase cases[] = {{5, 1}, {1, 4}, {4, 7}, {6, 8}, {9, 11}, {20, 22}};
  for (const RenumberCase& c : cases) {
    int32_t row = c.line;
    wzGetAbsRow(prepared.sheet(), &row);
    EXPECT_EQ(row, c.expected) << "row " << c.line;
  }
}

TEST(Renumbering, WithoutTitleLinesNothingMoves) {
  PreparedReader prepared(viewSection({kAllRowsVisible, kAllColumnsVisible}));
  ASSERT_NE(prepared.open(), nullptr);
  for (int32_t line : {-5, 0, 1, 7, 20, 99}) {
    int32_t row = line;
    int32_t column = line;
    wzGetAbsRow(prepared.sheet(), &row);
    wzGetAbsCol(prepared.sheet(), &column);
    EXPECT_EQ(row, line);
    EXPECT_EQ(column, line);
  }
}

TEST(Renumbering, TitleColumnsComeFirst) {
  PreparedReader prepared(viewSection({kAllColumnsVisible, "View Title Column: C"}));
  ASSERT_NE(prepared.open(), nullptr);
  const RenumberCase cases[] = {{3, 1}, {1, 2}, {2, 3}, {4, 4}, {10, 10}, {11, 11}};
  for (const RenumberCase& c : cases) {
    int32_t column = c.line;
    wzGetAbsCol(prepared.sheet(), &column);
    EXPECT_EQ(column, c.expected) << "column " << c.line;
  }
}

TEST(Renumbering, AppliesToListEntries) {
  PreparedReader prepared(viewSection({"View Row Heights: 5:10 1:10", "View Column Widths: A:1",
                                       kAllRowsVisible, kAllColumnsVisible, "View Title Row: 5",
                                       "View Title Row: 9", "View Title Column: B"}));
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(runsOf(pumpSheet(prepared)),
            (std::vector<ItemRun>{rowRun(1, 1, 220), rowRun(3, 3, 220), columnRun(2, 2, 120)}));
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
  const std::string text =
      viewSection({kAllRowsVisible, kAllColumnsVisible}) + "(G0|) A!A1: 1\n";
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

TEST(Pump, ClosingAndReopeningGivesTheSameItems) {
  const std::string text =
      viewSection({"View Default Column Width 9", "View Row Heights: 2:300 4:32800",
                   "View Column Widths: B:7 C:8", "View Rows Visible: r:1:12",
                   "View Columns Visible: c:A:H", "View Title Row: 3"});
  PreparedReader prepared(text);
  ASSERT_NE(prepared.open(), nullptr);
  const std::vector<SheetItem> first = pumpSheet(prepared);
  prepared.host.closeSheet();
  ASSERT_NE(prepared.open(), nullptr);
  const std::vector<SheetItem> second = pumpSheet(prepared);

  ASSERT_EQ(typesOf(first), typesOf(second));
  EXPECT_EQ(runsOf(first), runsOf(second));
  EXPECT_EQ(first.front().settings.defaultColumnWidth, 1080u);
  EXPECT_EQ(second.front().settings.defaultColumnWidth, 1080u);
  EXPECT_EQ(runsOf(first).size(), 2u + 2u + 2u);
}

// --- Whole workbooks ------------------------------------------------------------------------

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
      default:
        result.push_back({item.itemType});
    }
  }
  return result;
}

void releaseObjects(TestHost& host, const std::vector<SheetItem>& items) {
  for (const SheetItem& item : items) {
    if (item.itemType != WZSS_ITEM_OBJECT || item.object.descriptor == nullptr) continue;
    StreamInterface* content = item.object.descriptor->content;
    if (content != nullptr && content->Release != nullptr) content->Release(content);
    host.services.free(item.object.descriptor);
  }
}

TEST(SampleWorkbook, BudgetSheetInItsPhases) {
  TestHost host(sampleWorkbook());
  ASSERT_EQ(host.scan(), 1);
  ASSERT_NE(host.openSheet(0), nullptr);
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  ASSERT_GT(items.size(), 10u);

  const SheetItemSettings& settings = items[0].settings;
  EXPECT_EQ(items[0].itemType, static_cast<uint32_t>(WZSS_ITEM_SETTINGS));
  EXPECT_EQ(settings.maxRow, 30u);
  EXPECT_EQ(settings.maxColumn, 12u);
  EXPECT_EQ(settings.defaultColumnWidth, 1200u);
  EXPECT_EQ(settings.defaultFontHeight, 200u);
  EXPECT_EQ(items[1].itemType, static_cast<uint32_t>(WZSS_ITEM_OPTION));
  // Title row 1 and title column A keep their places; nothing precedes them.
  const std::vector<ItemRun> runs = {rowRun(1, 1, 616),      rowRun(2, 2, 484),
                                     columnRun(1, 1, 2400),  columnRun(2, 2, 1440),
                                     columnRun(3, 3, 1440),  columnRun(4, 4, 1440),
                                     rowRun(10, 11, 0),      columnRun(7, 12, 0)};
  EXPECT_EQ(runsOf(items), runs);
  for (size_t i = 2 + runs.size(); i < items.size(); ++i) {
    EXPECT_EQ(items[i].itemType, static_cast<uint32_t>(WZSS_ITEM_CELL)) << "item " << i;
  }
  EXPECT_EQ(host.next(), 1);
}

TEST(SampleWorkbook, SalesSheetDeliversItsChartBeforeTheCells) {
  TestHost host(sampleWorkbook());
  ASSERT_EQ(host.scan(), 1);
  ASSERT_NE(host.openSheet(1), nullptr);
  std::vector<SheetItem> items;
  host.pumpAll(&items);
  const std::vector<uint32_t> types = typesOf(items);
  ASSERT_GT(types.size(), 4u);
  EXPECT_EQ(std::vector<uint32_t>(types.begin(), types.begin() + 5),
            (std::vector<uint32_t>{WZSS_ITEM_SETTINGS, WZSS_ITEM_OPTION, WZSS_ITEM_COLUMN_RUN,
                                   WZSS_ITEM_OBJECT, WZSS_ITEM_CELL}));
  EXPECT_EQ(items[0].settings.defaultColumnWidth, 1080u);
  EXPECT_EQ(runsOf(items), (std::vector<ItemRun>{columnRun(1, 1, 1920)}));
  releaseObjects(host, items);
}

TEST(SampleWorkbook, ReopeningASheetGivesTheSameItems) {
  TestHost host(sampleWorkbook());
  ASSERT_EQ(host.scan(), 1);
  for (uint32_t index = 0; index < host.info.sheetCount; ++index) {
    SCOPED_TRACE(index);
    // Object streams reach their sheet, so they go back before it closes.
    ASSERT_NE(host.openSheet(index), nullptr);
    std::vector<SheetItem> first;
    host.pumpAll(&first);
    releaseObjects(host, first);
    host.closeSheet();
    ASSERT_NE(host.openSheet(index), nullptr);
    std::vector<SheetItem> second;
    host.pumpAll(&second);
    releaseObjects(host, second);
    host.closeSheet();
    EXPECT_EQ(essentials(first), essentials(second));
  }
}

// Every allocation of an open refused in turn, over a whole workbook.
TEST(SampleWorkbook, OpeningSurvivesEveryRefusedAllocation) {
  uint64_t opening = 0;
  {
    TestHost probe(sampleWorkbook());
    ASSERT_EQ(probe.scan(), 1);
    const uint64_t before = probe.services.stats().allocations;
    ASSERT_NE(probe.openSheet(0), nullptr);
    opening = probe.services.stats().allocations - before;
  }
  for (uint64_t k = 1; k <= opening; ++k) {
    SCOPED_TRACE(k);
    TestHost host(sampleWorkbook());
    ASSERT_EQ(host.scan(), 1);
    const uint64_t live = host.services.stats().liveBlocks;
    host.services.failAllocation(host.services.stats().allocations + k);
    if (host.openSheet(0) == nullptr) {
      EXPECT_EQ(host.services.stats().liveBlocks, live);
      continue;
    }
    // Only a row's format ids can be refused without refusing the sheet.
    EXPECT_GT(k, 2u + 31u);
    EXPECT_EQ(host.pumpAll() > 10, true);
  }
}

}  // namespace
}  // namespace wzss::test

// Opening a sheet: the view section, the grid's line flags, the hidden
// count, the Row List pass, and every way an open can fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "interface/pump.h"
#include "interface_fixture.h"

namespace wzss::test {
namespace {

std::string viewSection(const std::vector<std::string_view>& lines,
                        std::string_view letters = "A") {
  std::string text = "View Start, Name: #Sheet: ~" + std::string(letters) + "\n";
  for (std::string_view line : lines) (text += line) += '\n';
  return text + "View End,\n";
}

// The flags of lines 1 to last: '.' none, 'v' visible, 't' title, 'b' both.
std::string flagMap(PreparedReader& prepared, bool rows) {
  const int32_t last = rows ? prepared.reader()->maxRow : prepared.reader()->maxColumn;
  std::string map;
  for (int32_t line = 1; line <= last; ++line) {
    const uint8_t flag = rows ? prepared.rowFlag(line) : prepared.columnFlag(line);
    map += flag == 0                             ? '.'
           : flag == kFlagVisible                ? 'v'
           : flag == kFlagTitle                  ? 't'
           : flag == (kFlagVisible | kFlagTitle) ? 'b'
                                                 : '?';
  }
  return map;
}

std::string withoutTrailingDots(std::string map) {
  map.erase(map.find_last_not_of('.') + 1);
  return map;
}

// --- View lines ---------------------------------------------------------------

struct WidthCase {
  uint32_t fontSize;
  const char* line;
  uint32_t expected;
};

TEST(ViewSection, DefaultColumnWidthScalesByTheDefaultFont) {
  const WidthCase cases[] = {
      {10, "View Default Column Width 10", 1200}, {12, "View Default Column Width 10", 1440},
      {9, "View Default Column Width 10", 1080},  {7, "View Default Column Width 10", 840},
      {0, "View Default Column Width 10", 1200},  {1201, "View Default Column Width 10", 1200},
      {10, "view default column width 3", 360},   {10, "View Default Column Width x", 0},
      {10, "View Default Row Height: 16", 0},
  };
  for (const WidthCase& c : cases) {
    SCOPED_TRACE(testing::Message() << c.line << " at size " << c.fontSize);
    Prologue prologue;
    prologue.fontSize = c.fontSize;
    PreparedReader prepared(viewSection({c.line}), prologue);
    ASSERT_NE(prepared.open(), nullptr);
    EXPECT_EQ(prepared.sheet()->defaultColumnWidth, c.expected);
    EXPECT_EQ(prepared.sheet()->heightPos + prepared.sheet()->widthPos, 0u);
  }
}

TEST(ViewSection, RecordsOnlyTheFirstListLineOfEachKind) {
  const std::string text = viewSection({"View Column Widths: A:20", "View Row Heights: 1:300",
                                        "View Column Widths: B:5", "View Row Heights: 2:10"});
  PreparedReader prepared(text);
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(prepared.sheet()->widthPos, offsetOf(text, "View Column Widths: "));
  EXPECT_EQ(prepared.sheet()->heightPos, offsetOf(text, "View Row Heights: "));
  EXPECT_EQ(prepared.sheet()->widthCount + prepared.sheet()->heightCount, 0u);
}

struct FlagCase {
  const char* name;
  const char* rows;     // from row 1, trailing lines without flags left out
  const char* columns;  // from column A, the same way
  int32_t titleRows, titleColumns;
  std::vector<std::string_view> lines;
};

// Every line's flags after the view section, on a 20 x 10 grid; a line
// without flags is hidden.
TEST(ViewSection, RangeAndTitleLinesFlagTheGridsLines) {
  // clang-format off
  const FlagCase cases[] = {
    {"RowRange", "..vvvvv", "", 0, 0, {"View Rows Visible: x:3:7"}},
    {"SingleRow", "....v", "", 0, 0, {"View Rows Visible: x:5"}},
    {"ReversedRowRange", "", "", 0, 0, {"View Rows Visible: x:7:3"}},
    {"RowRangeCutAtMaxRow", ".................vvv", "", 0, 0, {"View Rows Visible: x:18:99"}},
    {"RowRangePastMaxRow", "", "", 0, 0, {"View Rows Visible: x:21:30"}},
    {"RowRangeFrom0", "vv", "", 0, 0, {"View Rows Visible: x:0:2"}},
    {"RowRangeFromNegative", "v", "", 0, 0, {"View Rows Visible: x:-4:1"}},
    {"NoColonBeforeTheRows", "", "", 0, 0, {"View Rows Visible: rows 4"}},
    {"NoRowNumber", "", "", 0, 0, {"View Rows Visible: x:"}},
    {"NoSecondRowNumber", "", "", 0, 0, {"View Rows Visible: x:3:"}},
    {"LowerCaseAndBlanks", "........vv", "", 0, 0, {"view rows visible: x: 9 : 10"}},
    {"ColumnRange", "", "..vvv", 0, 0, {"View Columns Visible: cols:C:E"}},
    {"SingleColumn", "", ".v", 0, 0, {"View Columns Visible: cols:B"}},
    {"ReversedColumnRange", "", "", 0, 0, {"View Columns Visible: cols:E:C"}},
    {"ColumnRangeCutAtMaxColumn", "", ".......vvv", 0, 0, {"View Columns Visible: cols:H:Z"}},
    {"ColumnRangePastMaxColumn", "", "", 0, 0, {"View Columns Visible: cols:K:L"}},
    {"NoFirstColumnMeansA", "", "vvv", 0, 0, {"View Columns Visible: cols::C"}},
    {"NoSecondColumn", "", "", 0, 0, {"View Columns Visible: cols:C:"}},
    {"NoColonBeforeTheColumns", "", "", 0, 0, {"View Columns Visible: cols C"}},
    {"RunsOfRangeLinesHandBackTheLineAfterThem", "vv..v...t", "vv.v.t", 1, 1,
     {"View Rows Visible: r:1:2", "View Rows Visible: r:5", "View Title Row: 9",
      "View Columns Visible: c:A:B", "View Columns Visible: c:D", "View Title Column: F"}},
    {"RangeAfterTitleDropsTheTitleMark", "vvvvvvvvv", "vvv", 1, 1,
     {"View Title Row: 4", "View Title Column: B", "View Rows Visible: r:1:9",
      "View Columns Visible: c:A:C"}},
    {"TitleAfterRangeAddsItsMark", "vvvbvvvvv", "vbv", 1, 1,
     {"View Rows Visible: r:1:9", "View Columns Visible: c:A:C", "View Title Row: 4",
      "View Title Column: B"}},
    {"SameTitleRowTwiceCountsTwice", "..t", "", 2, 0, {"View Title Row: 3", "View Title Row: 3"}},
    {"TitlesOutsideTheGridCountButMarkNothing", "", "", 3, 3,
     {"View Title Row: 0", "View Title Row: 21", "View Title Row: -3", "View Title Column: ",
      "View Title Column: 12", "View Title Column: K"}},
    {"PartlyShown", "vvvvvvvvv.....t", "vvv", 1, 0,
     {"View Rows Visible: r:1:9", "View Title Row: 15", "View Columns Visible: c:A:C"}},
    {"Empty", "", "", 0, 0, {}},
    {"DefaultRowHeightMarksNothing", "", "", 0, 0, {"View Default Row Height: 16"}},
  };
  // clang-format on
  for (const FlagCase& c : cases) {
    SCOPED_TRACE(c.name);
    PreparedReader prepared(viewSection(c.lines));
    ASSERT_NE(prepared.open(), nullptr);
    const std::string rows = flagMap(prepared, true);
    const std::string columns = flagMap(prepared, false);
    EXPECT_EQ(withoutTrailingDots(rows), c.rows);
    EXPECT_EQ(withoutTrailingDots(columns), c.columns);
    EXPECT_EQ(prepared.sheet()->grid[0].flags[0], 0);
    EXPECT_EQ(prepared.sheet()->titleRowCount, c.titleRows);
    EXPECT_EQ(prepared.sheet()->titleColumnCount, c.titleColumns);
    EXPECT_EQ(prepared.sheet()->hiddenCount, std::ranges::count(rows + columns, '.'));
  }
}

// Thousands of marks in random order against the plainest reading: every
// range line stores 2 into each of its lines and every title line ORs 4 in,
// one line after the other; renumbering counts the marks before a line.
TEST(ViewSection, ManyMarksAgreeWithMarkingLineByLine) {
  const int32_t maxRow = 300, maxColumn = 40;
  std::mt19937 random(16);
  auto pick = [&](int32_t low, int32_t high) {
    return std::uniform_int_distribution<int32_t>(low, high)(random);
  };
  auto letters = [](int32_t column) {  // 1 = A, 27 = AA
    std::string text(1, static_cast<char>('A' + (column - 1) % 26));
    if (column > 26) text.insert(0, 1, static_cast<char>('A' + (column - 27) / 26));
    return text;
  };
  std::vector<std::string> lines;
  std::string expectedRows(maxRow, '.'), expectedColumns(maxColumn, '.');
  int titleRows = 0, titleColumns = 0;
  auto mark = [](std::string& map, int32_t first, int32_t last, bool title) {
    for (int32_t line = std::max(first, 1); line <= std::min<int32_t>(last, map.size()); ++line) {
      char& flag = map[line - 1];
      flag = !title ? 'v' : flag == 'v' || flag == 'b' ? 'b' : 't';
    }
  };
  for (int i = 0; i < 3000; ++i) {
    const bool rows = pick(0, 1) == 0;
    const int32_t extent = rows ? maxRow : maxColumn;
    const int32_t first = pick(-2, extent + 2), last = pick(first - 3, extent + 5);
    if (pick(0, 3) == 0) {
      lines.push_back(rows ? "View Title Row: " + std::to_string(first)
                           : "View Title Column: " + (first >= 1 ? letters(first) : ""));
      mark(rows ? expectedRows : expectedColumns, first, first, true);
      ++(rows ? titleRows : titleColumns);
    } else if (rows) {
      lines.push_back("View Rows Visible: r:" + std::to_string(first) + ":" + std::to_string(last));
      if (first <= last) mark(expectedRows, first, last, false);
    } else if (first >= 1 && last >= 1) {
      lines.push_back("View Columns Visible: c:" + letters(first) + ":" + letters(last));
      if (first <= last) mark(expectedColumns, first, last, false);
    }
  }
  Prologue prologue;
  prologue.maxRow = maxRow;
  prologue.maxColumn = maxColumn;
  PreparedReader prepared(viewSection({lines.begin(), lines.end()}), prologue);
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(flagMap(prepared, true), expectedRows);
  EXPECT_EQ(flagMap(prepared, false), expectedColumns);
  EXPECT_EQ(prepared.sheet()->hiddenCount,
            std::ranges::count(expectedRows + expectedColumns, '.'));

  auto renumbered = [](const std::string& map, int count, int32_t line) {
    int32_t before = 0;
    for (int32_t i = 1; i < line && i <= static_cast<int32_t>(map.size()); ++i)
      before += map[i - 1] == 't' || map[i - 1] == 'b';
    const bool title = line >= 1 && line <= static_cast<int32_t>(map.size()) &&
                       (map[line - 1] == 't' || map[line - 1] == 'b');
    return count == 0 ? line : title ? before + 1 : line + count - before;
  };
  for (int32_t line = -1; line <= maxRow + 2; ++line) {
    int32_t row = line, column = line;
    wzGetAbsRow(prepared.sheet(), &row);
    wzGetAbsCol(prepared.sheet(), &column);
    EXPECT_EQ(row, renumbered(expectedRows, titleRows, line)) << "row " << line;
    EXPECT_EQ(column, renumbered(expectedColumns, titleColumns, line)) << "column " << line;
  }
}

TEST(ViewSection, EndOfInputEndsTheSection) {
  PreparedReader inLines("View Start, Name: #S: ~A\nView Title Row: 2\n");
  ASSERT_NE(inLines.open(), nullptr);
  EXPECT_EQ(withoutTrailingDots(flagMap(inLines, true)), ".t");
  PreparedReader inRun("View Start, Name: #S: ~A\nView Rows Visible: r:3:4\n");
  ASSERT_NE(inRun.open(), nullptr);
  EXPECT_EQ(withoutTrailingDots(flagMap(inRun, true)), "..vv");
}

// --- The "View Start," line ------------------------------------------------------

struct SheetNumberCase {
  const char* letters;
  int32_t sheetNumber;
  uint32_t sheetStart;
  int32_t objects;
};

TEST(ViewStart, SheetNumberPicksTheSheetStartAndCountsItsObjects) {
  // Three sheets: slots 1 to 3, holding 100, 0 and 300.
  const SheetNumberCase cases[] = {
      {"A", 1, 100, 1}, {"B", 2, 0, 2},  {"C", 3, 300, 1},
      {"D", 4, 0, 0},   {"Z", 26, 0, 0}, {"", -1, 0, 0},
  };
  Prologue prologue;
  prologue.objectSheets = {1, 2, 2, 3, 0};
  for (const SheetNumberCase& c : cases) {
    SCOPED_TRACE(c.letters);
    PreparedReader prepared(viewSection({}, c.letters), prologue);
    prepared.reader()->sheetStarts[1] = 100;
    prepared.reader()->sheetStarts[3] = 300;
    ASSERT_NE(prepared.open(), nullptr);
    EXPECT_EQ(prepared.sheet()->sheetNumber, c.sheetNumber);
    EXPECT_EQ(prepared.sheet()->sheetStart, c.sheetStart);
    EXPECT_EQ(prepared.sheet()->objectCount, c.objects);
  }
}

intptr_t unusedCallback(uintptr_t, int32_t, intptr_t, intptr_t) { return 0; }

TEST(ViewStart, CreationValues) {
  PreparedReader prepared(viewSection({}));
  ASSERT_NE(prepared.host.reader, nullptr);
  ::SheetReader* handle = WZInitSheet(prepared.host.reader, 4321, 0, &unusedCallback, 6);
  ASSERT_NE(handle, nullptr);
  prepared.host.sheet = handle;
  const wzss::SheetReader* sheet = prepared.sheet();
  EXPECT_EQ(sheet->reader, prepared.reader());
  EXPECT_EQ(sheet->stream, prepared.host.stream.get());
  EXPECT_EQ(sheet->services, prepared.host.services.get());
  EXPECT_EQ(sheet->hostCookie, 4321u);
  EXPECT_EQ(sheet->callback, &unusedCallback);
  EXPECT_EQ(sheet->sheetFlags, 6u);
  EXPECT_EQ(sheet->state, kStateSettings);
  EXPECT_EQ(sheet->hiddenRowScan, 1);
  EXPECT_EQ(sheet->hiddenColumnScan, 1);
  EXPECT_EQ(sheet->emptyScanRow, 1);
  EXPECT_EQ(sheet->emptyScanColumn, 1);
  EXPECT_EQ(sheet->objectsEmitted, 0);
  EXPECT_EQ(sheet->nextObject, 0);
  EXPECT_EQ(sheet->gridRows, 21u);
  for (uint32_t row = 0; row < sheet->gridRows; ++row) {
    ASSERT_NE(sheet->grid[row].flags, nullptr);
    EXPECT_EQ(sheet->grid[row].formatIds, nullptr);
  }
  EXPECT_EQ(prepared.reader()->openSheet, sheet);
}

// --- Failures ------------------------------------------------------------------------

struct FailureCase {
  const char* name;
  std::string text;
  std::function<void(PreparedReader&)> arrange;
  uint64_t closes = 1;  // a null Close slot is passed over
};

TEST(OpenSheet, EveryFailureYieldsNullClosesTheStreamAndKeepsNothing) {
  const std::string good = viewSection({"View Title Row: 1"});
  const FailureCase cases[] = {
      {"NotAViewStart", "View End,\n" + good, [](PreparedReader&) {}},
      {"NoTilde", "View Start, Name: #S: A\nView End,\n", [](PreparedReader&) {}},
      {"ShortViewStart", "View Start,\nView End,\n", [](PreparedReader&) {}},
      {"OpenRefused", good, [](PreparedReader& p) { p.host.stream.failOpen(true); }},
      {"SeekRefused", good, [](PreparedReader& p) { p.host.stream.failSeek(1); }},
      {"NegativeMaxRow", good, [](PreparedReader& p) { p.reader()->maxRow = -1; }},
      {"NegativeMaxColumn", good, [](PreparedReader& p) { p.reader()->maxColumn = -1; }},
      {"MaxRowAtTheLimit", good, [](PreparedReader& p) { p.reader()->maxRow = INT32_MAX; }},
      {"SlotsBeyondTheAllocator", good,
       [](PreparedReader& p) { p.reader()->maxRow = 300'000'000; }},
      // ZZ10000000: ten million rows of 703 flags, gigabytes for a few bytes of file.
      {"GridBeyondItsByteLimit", good,
       [](PreparedReader& p) {
         p.reader()->maxRow = 10'000'000;
         p.reader()->maxColumn = 702;
       }},
      {"NoCloseSlot", "View End,\n", [](PreparedReader& p) { p.host.stream.dropCloseSlot(); }, 0},
  };
  for (const FailureCase& c : cases) {
    SCOPED_TRACE(c.name);
    PreparedReader prepared(c.text);
    c.arrange(prepared);
    const uint64_t liveBefore = prepared.host.services.stats().liveBlocks;
    EXPECT_EQ(prepared.openAt(0), nullptr);
    EXPECT_EQ(prepared.host.services.stats().liveBlocks, liveBefore);
    EXPECT_EQ(prepared.host.stream.calls().closes, c.closes);
    EXPECT_EQ(prepared.reader()->openSheet, nullptr);
  }
}

// The limit refuses only what is out of all proportion: the widest columns
// (ZZ) over a hundred thousand rows still open, with their Row List rows.
TEST(OpenSheet, ALargeRealisticGridOpens) {
  Prologue prologue;
  prologue.maxRow = 100'000;
  prologue.maxColumn = 702;
  PreparedReader prepared(viewSection({}) + "Row List A!99999:0,701,1\n", prologue);
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_LE(prepared.sheet()->gridBytes, kGridByteLimit);
  ASSERT_NE(prepared.sheet()->grid[99999].formatIds, nullptr);
  EXPECT_EQ(prepared.sheet()->grid[99999].formatIds[702], 1u);
}

// Allocations of an open: the sheet reader, the slot array, the flag block,
// the view's marks, the skip list over the rows and the list of title rows,
// then the format ids of the rows the Row List names.
TEST(OpenSheet, EveryRefusedAllocationIsSurvived) {
  const std::string text = viewSection({"View Rows Visible: r:1:4", "View Title Row: 3"}) +
                           joinLines({"Row List A!2:0,1,5", "Row List A!4:2,3,6"});
  Prologue prologue;
  prologue.maxRow = 4;
  prologue.maxColumn = 5;
  const uint64_t setupAllocations = 3 + 3;
  const uint64_t openAllocations = setupAllocations + 2;
  {
    PreparedReader probe(text, prologue);
    const uint64_t before = probe.host.services.stats().allocations;
    ASSERT_NE(probe.open(), nullptr);
    ASSERT_EQ(probe.host.services.stats().allocations - before, openAllocations);
  }
  for (uint64_t k = 1; k <= openAllocations; ++k) {
    SCOPED_TRACE(k);
    PreparedReader prepared(text, prologue);
    const uint64_t before = prepared.host.services.stats().allocations;
    const uint64_t liveBefore = prepared.host.services.stats().liveBlocks;
    prepared.host.services.failAllocation(before + k);
    ::SheetReader* sheet = prepared.open();
    if (k <= setupAllocations) {
      EXPECT_EQ(sheet, nullptr);
      EXPECT_EQ(prepared.host.services.stats().liveBlocks, liveBefore);
      // Without the sheet reader the stream was never opened.
      EXPECT_EQ(prepared.host.stream.calls().opens, k == 1 ? 0u : 1u);
      EXPECT_EQ(prepared.host.stream.calls().closes, prepared.host.stream.calls().opens);
      continue;
    }
    // A refused format id block ends the Row List pass; the sheet opens.
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(prepared.sheet()->grid[2].formatIds != nullptr, k > setupAllocations + 1);
    EXPECT_EQ(prepared.sheet()->grid[4].formatIds, nullptr);
    EXPECT_EQ(prepared.sheet()->hiddenCount, 5u);
  }
}

TEST(OpenSheet, OnlyOneSheetAtATime) {
  const std::string text = viewSection({}, "A") + viewSection({}, "B");
  PreparedReader prepared(text);
  ASSERT_NE(prepared.open(0), nullptr);
  const uint64_t allocations = prepared.host.services.stats().allocations;
  const uint64_t opens = prepared.host.stream.calls().opens;
  EXPECT_EQ(WZInitSheet(prepared.host.reader, 0, offsetOf(text, "View Start", 1), nullptr, 0),
            nullptr);
  EXPECT_EQ(prepared.host.services.stats().allocations, allocations);
  EXPECT_EQ(prepared.host.stream.calls().opens, opens);

  prepared.host.closeSheet();
  EXPECT_EQ(prepared.reader()->openSheet, nullptr);
  ASSERT_NE(prepared.open(1), nullptr);
  EXPECT_EQ(prepared.sheet()->sheetNumber, 2);
}

// --- The Row List pass ----------------------------------------------------------------

std::vector<uint32_t> formatRow(PreparedReader& prepared, int32_t row) {
  const uint32_t* ids = prepared.sheet()->grid[row].formatIds;
  if (ids == nullptr) return {};
  return std::vector<uint32_t>(ids + 1, ids + 1 + prepared.reader()->maxColumn);
}

const std::string kRowLists = viewSection({}, "A") + viewSection({}, "B") +
                              joinLines({
                                  "Row List A!2:0,9,3",
                                  "Format totals",
                                  "Row List B!4:0,4,12",
                                  "row list B!5:1,1,7 3,4,8",
                                  "Format x",
                                  "Format y",
                                  "Row List B!25:0,1,9",
                                  "Row List B 6:0,1,9",
                                  "Row List B!7:8,20,5",
                                  "Row List B!8:0,1",
                                  "Row List C!2:0,1,6",
                                  "Row List B!9:0,1,6",
                              });

TEST(RowList, FillsTheFormatIdsOfThisSheetsRows) {
  PreparedReader prepared(kRowLists);
  ASSERT_NE(prepared.open(1), nullptr);
  using Ids = std::vector<uint32_t>;
  EXPECT_EQ(formatRow(prepared, 4), (Ids{12, 12, 12, 12, 12, 0, 0, 0, 0, 0}));
  EXPECT_EQ(formatRow(prepared, 5), (Ids{0, 7, 0, 8, 8, 0, 0, 0, 0, 0}));
  EXPECT_EQ(formatRow(prepared, 7), (Ids{0, 0, 0, 0, 0, 0, 0, 0, 5, 5}));
  // An incomplete run names no format, but the row was named.
  EXPECT_EQ(formatRow(prepared, 8), (Ids(10, 0)));
  // Sheet A's row, the line without '!', and the line after sheet C's.
  EXPECT_EQ(prepared.sheet()->grid[2].formatIds, nullptr);
  EXPECT_EQ(prepared.sheet()->grid[6].formatIds, nullptr);
  EXPECT_EQ(prepared.sheet()->grid[9].formatIds, nullptr);
}

TEST(RowList, AHigherSheetEndsThePass) {
  PreparedReader prepared(kRowLists);
  ASSERT_NE(prepared.open(0), nullptr);
  EXPECT_EQ(formatRow(prepared, 2), (std::vector<uint32_t>(10, 3)));
  for (int32_t row : {4, 5, 7, 8, 9}) EXPECT_EQ(prepared.sheet()->grid[row].formatIds, nullptr);
}

TEST(RowList, ALineOfAnotherKindEndsThePass) {
  PreparedReader prepared(viewSection({}) +
                          joinLines({"Row List A!2:0,0,3", "Symbols 0 0 0", "Row List A!3:0,0,4"}));
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(formatRow(prepared, 2).front(), 3u);
  EXPECT_EQ(prepared.sheet()->grid[3].formatIds, nullptr);
}

TEST(RowList, NoPositionOrARefusedSeekReadsNothing) {
  const std::string text = viewSection({}) + joinLines({"Row List A!2:0,0,3"});
  PreparedReader noPosition(text);
  noPosition.reader()->rowListPos = 0;
  ASSERT_NE(noPosition.open(), nullptr);
  EXPECT_EQ(noPosition.sheet()->grid[2].formatIds, nullptr);

  PreparedReader refused(text);
  refused.host.stream.failSeek(2);  // the first Seek goes to the view section
  ASSERT_NE(refused.open(), nullptr);
  EXPECT_EQ(refused.sheet()->grid[2].formatIds, nullptr);
}

}  // namespace
}  // namespace wzss::test

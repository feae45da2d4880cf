// The first pass: defaults, keyword dispatch, the sheet list, "SHEETS TABLE",
// "Symbols ", "Bottom right corner ", sheet start positions, the end of the
// input inside each section and allocation failures.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "prologue_host.h"
#include "support/internals.h"

namespace wzss::test {
namespace {

TEST(PrologueScanTest, StartsFromTheInitialDefaults) {
  PrologueHost host(workbook({"just text"}));
  WorkbookReader* reader = host.reader.get();
  // Left-overs of an earlier pass are cleared with the whole defaults block.
  reader->defaultFont.size = 99;
  reader->defaultFont.bold = 1;
  std::strcpy(reader->defaultFont.name, "Courier");
  reader->sheetOption = 5;
  reader->defaultDateStyle = 3;
  host.info.sheetCount = 7;  // the host's record is not trusted
  ASSERT_EQ(host.scan(), 1);
  EXPECT_EQ(reader->defaultFormat, 25u);
  EXPECT_EQ(reader->defaultDecimals, 10u);
  EXPECT_EQ(reader->defaultDateStyle, 0u);
  EXPECT_EQ(reader->defaultTextAlign, 130);
  EXPECT_EQ(reader->defaultValueAlign, 130);
  EXPECT_EQ(reader->defaultBackColor, 0xffffffu);
  EXPECT_EQ(reader->defaultTextColor, 0u);
  EXPECT_STREQ(reader->defaultFont.name, "Times");
  EXPECT_EQ(reader->defaultFont.pitchAndFamily, 18);
  EXPECT_EQ(reader->defaultFont.size, 0u);
  EXPECT_EQ(reader->defaultFont.bold, 0);
  EXPECT_EQ(reader->sheetOption, 0u);
  EXPECT_EQ(host.info.sheetCount, 0u);
  EXPECT_EQ(host.info.sheets, nullptr);
  EXPECT_EQ(reader->info.sheets, nullptr);
}

// One byte after "Name: " is passed over; the name runs to the first ':'.
TEST(PrologueScanTest, SheetNamesFromViewSections) {
  struct Case {
    const char* line;
    const char* name;
  } cases[] = {{"View Start, Name: #Budget: ~A", "Budget"},
               {"View Start, Name: xBudget: 1", "Budget"},
               {"View Start, Name: #: ~A", ""},
               {"View Start, Name: #No colon at all", "No colon at all"},
               {"View Start, Name: #a:b:c", "a"},
               {"View Start, Name: # spaced name : ~A", " spaced name "},
               {"View Start, Name: #", ""},
               {"View Start, Name: ", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    PrologueHost host(workbook({c.line}));
    ASSERT_EQ(host.scan(), 1);
    ASSERT_EQ(host.info.sheetCount, 1u);
    const SheetEntry& entry = host.info.sheets[0];
    EXPECT_STREQ(entry.name, c.name);
    EXPECT_EQ(entry.nameLength, std::strlen(c.name));
    EXPECT_EQ(entry.nameLength2, std::strlen(c.name));
    EXPECT_EQ(entry.zero516, 0);
    EXPECT_EQ(entry.kind, 16384u);
    EXPECT_EQ(entry.viewPos, std::strlen(kHeader));
  }
}

TEST(PrologueScanTest, SheetsTableRenamesListedSheets) {
  PrologueHost host(workbook({"View Start, Name: #Budget: ~A", "View Start, Name: #Sales: ~B",
                              "SHEETS TABLE", "SHEET B ~Costs~", "sheet A ~~", "SHEET C ~Nobody~",
                              "SHEET b ~LowerCaseLettersAreAnotherSheet~", "SHEET ~NoLetters~",
                              "SHEET A ~Unclosed", "SHEET A NoTilde", "Row List A!1:0,1,1",
                              "Row List A!2:0,1,1"}));
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, 2u);
  EXPECT_STREQ(host.info.sheets[0].name, "");
  EXPECT_STREQ(host.info.sheets[1].name, "Costs");
  // The lengths stay those of the view sections.
  EXPECT_EQ(host.info.sheets[0].nameLength, 6u);
  EXPECT_EQ(host.info.sheets[1].nameLength, 5u);
  EXPECT_EQ(host.info.sheets[1].nameLength2, 5u);
  // The line that ended the block was not looked at.
  EXPECT_EQ(host.reader->rowListPos, host.offsetOf("Row List A!2"));

  // A table before the view sections has no sheets to rename.
  PrologueHost early(workbook(
      {"SHEETS TABLE", "SHEET A ~Renamed~", "END SHEETS TABLE", "View Start, Name: #Budget: ~A"}));
  ASSERT_EQ(early.scan(), 1);
  EXPECT_STREQ(early.info.sheets[0].name, "Budget");
}

// The "Symbols " line gives the font size, the sheet option and the two
// alignments, read as "%i" from the 17th byte on, whatever falls there; a
// missing integer leaves its field. "Bottom right corner " gives the extent
// (without ':' the address follows the keyword). Each case states every
// field, so a line that changes a field it should not shows.
TEST(PrologueScanTest, SettingsLinesSetDefaultsAndExtent) {
  struct Case {
    const char* line;
    uint32_t size, option;
    uint16_t textAlign;
    uint8_t valueAlign;
    int32_t maxColumn, maxRow;
  } cases[] = {
      {"Symbols Defaults 0 0 0 0 0 10 0 7 2 3", 10, 7, 138, 134, 0, 0},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 0 4", 10, 7, 130, 130, 0, 0},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 1 1", 10, 7, 142, 142, 0, 0},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 3 2", 10, 7, 134, 138, 0, 0},
      {"Symbols Defaults 9 9 9 9 9 14 9 1 -1 5", 14, 1, 130, 130, 0, 0},
      {"Symbols Defaults 0x1 0 0 0 0 0x10 0 010 02 0x3", 16, 8, 138, 134, 0, 0},
      {"Symbols Defaults 0 0 0 0 0 14", 14, 0, 130, 130, 0, 0},
      {"Symbols Defaults 0 0 0 0 0 14 0 5 x 2", 14, 5, 130, 130, 0, 0},
      {"Symbols Defaults 0 0 0 0 x 14 0 5 2 2", 0, 0, 130, 130, 0, 0},
      {"Symbols ", 0, 0, 130, 130, 0, 0},
      {"Symbols D 1 2 3 4 5 6 7 8 9 10", 9, 0, 130, 130, 0, 0},
      {"Symbols Defaults -1 -1 -1 -1 -1 -5 -1 -1 -1 -1", 0xfffffffbu, 0xffffffffu, 130, 130, 0, 0},
      {"Bottom right corner : L30", 0, 0, 130, 130, 12, 30},
      {"Bottom right corner : AB7", 0, 0, 130, 130, 28, 7},
      {"Bottom right corner L30", 0, 0, 130, 130, 12, 30},
      {"Bottom right corner : ", 0, 0, 130, 130, -1, -1},
      {"Bottom right corner ", 0, 0, 130, 130, -1, -1},
      {"Bottom right corner : 30", 0, 0, 130, 130, -1, 30},
      {"Bottom right corner : B99999999999", 0, 0, 130, 130, 2, INT32_MAX}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    PrologueHost host(workbook({c.line}));
    ASSERT_EQ(host.scan(), 1);
    EXPECT_EQ(host.reader->defaultFont.size, c.size);
    EXPECT_EQ(host.reader->sheetOption, c.option);
    EXPECT_EQ(host.reader->defaultTextAlign, c.textAlign);
    EXPECT_EQ(host.reader->defaultValueAlign, c.valueAlign);
    EXPECT_EQ(host.reader->maxColumn, c.maxColumn);
    EXPECT_EQ(host.reader->maxRow, c.maxRow);
  }
}

// One slot per listed sheet and one more; each holds the start of the
// sheet's last run of cell lines, 0 for a sheet without cells. Cell lines of
// unlisted sheets only change the current sheet, and everything after the
// marker is cell data, view sections included.
TEST(PrologueScanTest, SheetStartsRecordTheLastRunOfEachSheet) {
  struct Case {
    const char* name;
    std::string text;
    std::vector<const char*> starts;  // line of each slot, null for 0
  } cases[] = {{"three sheets",
                workbook({"View Start, Name: #One: ~A", "View Start, Name: #Two: ~B",
                          "View Start, Name: #Three: ~C", "Headers and Footers End",
                          "(G0||) A!A1: 1", "(G0||) A2: 2", "text that is no cell line",
                          "(G0||) B!A1: 3", "P (G0||) A!A3: 4", "(G0||) A!A4: 5"}),
                {nullptr, "P (G0||) A!A3", "(G0||) B!A1", nullptr}},
               {"unlisted sheets",
                workbook({"View Start, Name: #One: ~A", "Headers and Footers End", "(G0||) A!A1: 1",
                          "(G0||) D!A1: 2", "(G0||) !A1: 3", "(G0||) A!A2: 4",
                          "View Start, Name: #Late: ~B", "(G0||) B!A1: 5"}),
                {nullptr, "(G0||) A!A2"}},
               {"no view section",
                workbook({"COLORMAP", "END COLORMAP", "Headers and Footers End", "(G0||) A1: 1"}),
                {nullptr}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PrologueHost host(c.text);
    ASSERT_EQ(host.scan(), 1);
    EXPECT_EQ(host.info.sheetCount, c.starts.size() - 1);
    ASSERT_EQ(host.reader->sheetStartSlots, c.starts.size());
    for (size_t i = 0; i < c.starts.size(); ++i) {
      EXPECT_EQ(host.reader->sheetStarts[i], c.starts[i] ? host.offsetOf(c.starts[i]) : 0u) << i;
    }
  }
}

// The input ends inside each section in turn; sections that have an end
// line fail the pass, the others end it normally. The sheet list found
// before stays stored, in the host's record and in the reader.
TEST(PrologueScanTest, InputEndingInsideEachSection) {
  const std::string view = "View Start, Name: #S: ~A\n";
  struct Case {
    const char* name;
    std::string rest;
    int result;
  } cases[] = {{"colour map", "COLORMAP\nRed 0 0 255 255 0 0\n", 1},
               {"typeface table", "TYPEFACE TABLE\nArial\n", 0},
               {"attribute table", "Attr Table Start\n(F2|B|L1)\n", 0},
               {"sheets table", "SHEETS TABLE\nSHEET A ~New~\n", 1},
               {"graphic object", "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: A\n", 1},
               {"cell data", "Headers and Footers End\n", 1},
               {"cut-off line", "Row List A!1:0,1,1", 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PrologueHost host(kHeader + view + c.rest);
    EXPECT_EQ(host.scan(), c.result);
    ASSERT_EQ(host.info.sheetCount, 1u);
    EXPECT_EQ(host.reader->info.sheets, host.info.sheets);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
  }
}

TEST(PrologueScanTest, SectionsDoNotLeakKeywordsIntoTheScan) {
  // A typeface or attribute line that looks like a keyword is part of its
  // section; after the colour map's limit, its remaining lines are ignored.
  std::string colours;
  for (int i = 0; i < 262; ++i) colours += "C 0 0 0 0 1 0\n";
  PrologueHost host(
      kHeader + std::string("TYPEFACE TABLE\nView Start, Name: #NotASheet\nEND TYPEFACE TABLE\n") +
      "COLORMAP\n" + colours + "END COLORMAP\n" + "View Start, Name: #Real: ~A\n");
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, 1u);
  EXPECT_STREQ(host.info.sheets[0].name, "Real");
  EXPECT_STREQ(host.reader->defaultFont.name, "View Start, Name: #NotASheet");
  EXPECT_EQ(host.reader->colorMapCount, 1u);
}

// A small prologue that allocates in every section, its keywords in lower
// or upper case: each starts its action whatever the case.
std::string smallPrologue() {
  return workbook({"colormap",
                   "Red 0 0 255 255 0 0",
                   "end colormap",
                   "COLORMAP",
                   "END COLORMAP",
                   "typeface table",
                   "Courier",
                   "Helvetica",
                   "END TYPEFACE TABLE",
                   "ATTR TABLE START",
                   "(F2|B|L1)",
                   "(G0||)",
                   "(F0||SH8FG2)",
                   "attr table end",
                   "Graphic Obj Start: 1",
                   "Object Type: Chart",
                   "Object Plane: A",
                   "Graphic Obj End: 1",
                   "VIEW START, NAME: #One: ~A",
                   "View End,",
                   "view start, name: #Two: ~B",
                   "View End,",
                   "sheets table",
                   "sheet B ~Second~",
                   "end",
                   "ROW LIST A!4:1,3,2",
                   "Row List A!8:0,4,5",
                   "SYMBOLS Defaults 0 0 0 0 0 12 0 0 2 3",
                   "BOTTOM RIGHT CORNER : L30",
                   "headers and footers end",
                   "(G0||) A!A1: 1",
                   "(G0||) B!A1: 2"});
}

// Every table of the small prologue, as a complete pass builds it.
void expectSmallPrologueTables(const PrologueHost& host) {
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(reader->colorMapCount, 2u);
  EXPECT_EQ(wzColorValue(reader, 0), 0x0000ffu);
  EXPECT_EQ(reader->typefaceCount, 2u);
  EXPECT_STREQ(reader->defaultFont.name, "Courier");
  EXPECT_EQ(reader->attrCount, 2u);
  EXPECT_EQ(reader->objectEntryCount, 1u);
  // The sheet list grows in view order, and the reader owns it.
  ASSERT_EQ(host.info.sheetCount, 2u);
  EXPECT_EQ(reader->info.sheets, host.info.sheets);
  EXPECT_STREQ(host.info.sheets[0].name, "One");
  EXPECT_EQ(host.info.sheets[0].viewPos, host.offsetOf("VIEW START, NAME: #One"));
  EXPECT_STREQ(host.info.sheets[1].name, "Second");
  EXPECT_EQ(host.info.sheets[1].viewPos, host.offsetOf("view start, name: #Two"));
  // Only the first "Row List " line is recorded.
  EXPECT_EQ(reader->rowListPos, host.offsetOf("ROW LIST"));
  EXPECT_EQ(reader->defaultFont.size, 12u);
  EXPECT_EQ(reader->defaultTextAlign, 138);
  EXPECT_EQ(reader->maxColumn, 12);
  EXPECT_EQ(reader->maxRow, 30);
  ASSERT_EQ(reader->sheetStartSlots, 3u);
  EXPECT_EQ(reader->sheetStarts[1], host.offsetOf("(G0||) A!A1"));
  EXPECT_EQ(reader->sheetStarts[2], host.offsetOf("(G0||) B!A1"));
}

// The clean pass first, then each of its allocations failed in turn: the
// pass fails, and the teardown releases what was built and finds no block.
TEST(PrologueScanTest, EveryAllocationFailureFailsThePassWithoutLeaking) {
  uint64_t total = 0;
  {
    PrologueHost host(smallPrologue());
    ASSERT_EQ(host.scan(), 1);
    expectSmallPrologueTables(host);
    total = host.services.stats().allocations;
  }
  ASSERT_GE(total, 12u);
  for (uint64_t n = 1; n <= total; ++n) {
    SCOPED_TRACE(n);
    PrologueHost host(smallPrologue());
    host.services.failAllocation(n);
    EXPECT_EQ(host.scan(), 0);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
    EXPECT_EQ(host.reader->info.sheets, host.info.sheets);
  }
}

TEST(PrologueScanTest, ReleasedTablesLetASecondPassStartFresh) {
  PrologueHost host(smallPrologue());
  ASSERT_EQ(host.scan(), 1);
  wzReleaseTables(host.reader.get());
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
  EXPECT_EQ(reader->info.sheets, nullptr);
  EXPECT_EQ(reader->colorMapCount, 0u);
  EXPECT_EQ(reader->typefaceCount, 0u);
  EXPECT_EQ(reader->attrCount, 0u);
  EXPECT_EQ(reader->objectEntryCount, 0u);
  EXPECT_EQ(reader->sheetStartSlots, 0u);
  EXPECT_EQ(reader->rowListPos, 0u);

  host.stream.get()->Open(host.stream.get());
  ASSERT_EQ(host.scan(), 1);
  expectSmallPrologueTables(host);
}

// Through the entry points, over the sample workbook.
TEST(PrologueEndToEndTest, SampleWorkbook) {
  std::FILE* file = std::fopen(WZSS_SAMPLES_DIR "/budget.wzs", "rb");
  ASSERT_NE(file, nullptr);
  std::string text;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
  std::fclose(file);

  TestHost host(text);
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, 2u);
  // The sheets table precedes the view sections, so it renames nothing.
  EXPECT_STREQ(host.info.sheets[0].name, "Budget");
  EXPECT_STREQ(host.info.sheets[1].name, "Sales");
  EXPECT_EQ(host.info.sheets[0].viewPos, text.find("View Start, Name: #Budget"));
  const WorkbookReader* reader = internals(host.reader);
  EXPECT_EQ(reader->colorMaps[0].entryCount, 8u);
  EXPECT_EQ(wzColorValue(reader, 5), 0xbfbfbfu);  // "Light Gray", two words
  EXPECT_STREQ(wzTypefaceName(reader, 3), "WingDings");
  EXPECT_EQ(reader->attrCount, 3u);
  EXPECT_EQ(reader->rowListPos, text.find("Row List A!4"));
  EXPECT_EQ(reader->defaultTextAlign, 138);
  EXPECT_EQ(reader->maxRow, 30);
  ASSERT_EQ(reader->sheetStartSlots, 3u);
  EXPECT_EQ(reader->sheetStarts[1], text.find("('|B,P14|) A!A1"));
}

}  // namespace
}  // namespace wzss::test

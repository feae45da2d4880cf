// The first pass: defaults, keyword dispatch, the sheet list, "SHEETS TABLE",
// "Symbols ", "Bottom right corner ", sheet start positions, the end of the
// input inside each section and allocation failures.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
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

// Each keyword in lower or upper case starts its action.
TEST(PrologueScanTest, KeywordsMatchInAnyCase) {
  struct Case {
    const char* name;
    std::string text;
    std::function<void(const PrologueHost&)> check;
  } cases[] = {
      {"colormap", workbook({"colormap", "Red 0 0 255 255 0 0", "end colormap"}),
       [](const PrologueHost& h) { EXPECT_EQ(h.reader->colorMapCount, 1u); }},
      {"view start", workbook({"VIEW START, NAME: #Upper: ~A"}),
       [](const PrologueHost& h) {
         ASSERT_EQ(h.info.sheetCount, 1u);
         EXPECT_STREQ(h.info.sheets[0].name, "Upper");
       }},
      {"typeface table", workbook({"typeface table", "Arial", "END TYPEFACE TABLE"}),
       [](const PrologueHost& h) { EXPECT_STREQ(h.reader->defaultFont.name, "Arial"); }},
      {"attr table start", workbook({"ATTR TABLE START", "(F2|B|L1)", "attr table end"}),
       [](const PrologueHost& h) { EXPECT_EQ(h.reader->attrCount, 1u); }},
      {"row list", workbook({"ROW LIST A!4:1,3,2"}),
       [](const PrologueHost& h) { EXPECT_EQ(h.reader->rowListPos, h.offsetOf("ROW LIST")); }},
      {"symbols", workbook({"SYMBOLS Defaults 0 0 0 0 0 12 0 0 0 0"}),
       [](const PrologueHost& h) { EXPECT_EQ(h.reader->defaultFont.size, 12u); }},
      {"bottom right corner", workbook({"BOTTOM RIGHT CORNER : C7"}),
       [](const PrologueHost& h) {
         EXPECT_EQ(h.reader->maxColumn, 3);
         EXPECT_EQ(h.reader->maxRow, 7);
       }},
      {"headers and footers end",
       workbook({"View Start, Name: #S: ~A", "HEADERS AND FOOTERS END", "(G0||) A1: 1"}),
       [](const PrologueHost& h) {
         ASSERT_NE(h.reader->sheetStarts, nullptr);
         EXPECT_EQ(h.reader->sheetStarts[1], h.offsetOf("(G0||) A1"));
       }},
      {"sheets table",
       workbook({"View Start, Name: #Old: ~A", "sheets table", "sheet A ~New~", "end"}),
       [](const PrologueHost& h) { EXPECT_STREQ(h.info.sheets[0].name, "New"); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PrologueHost host(c.text);
    ASSERT_EQ(host.scan(), 1);
    c.check(host);
  }
}

TEST(PrologueScanTest, OnlyTheFirstRowListLineIsRecorded) {
  PrologueHost host(workbook({"Row List A!4:1,3,2", "Row List A!8:0,4,5", "Row List B!20:0,2,3"}));
  ASSERT_EQ(host.scan(), 1);
  EXPECT_EQ(host.reader->rowListPos, host.offsetOf("Row List A!4"));
}

TEST(PrologueScanTest, NoViewSectionGivesNoSheets) {
  PrologueHost host(workbook({"COLORMAP", "END COLORMAP", "Symbols Defaults 0 0 0 0 0 10 0 0 0 0",
                              "Headers and Footers End", "(G0||) A1: 1"}));
  ASSERT_EQ(host.scan(), 1);
  EXPECT_EQ(host.info.sheetCount, 0u);
  EXPECT_EQ(host.info.sheets, nullptr);
  EXPECT_EQ(host.reader->sheetStartSlots, 1u);
}

TEST(PrologueScanTest, SheetNamesFromViewSections) {
  struct Case {
    const char* line;
    const char* name;
  } cases[] = {
      {"View Start, Name: #Budget: ~A", "Budget"},
      {"View Start, Name: xBudget: 1", "Budget"},
      {"View Start, Name: #: ~A", ""},
      {"View Start, Name: #No colon at all", "No colon at all"},
      {"View Start, Name: #a:b:c", "a"},
      {"View Start, Name: # spaced name : ~A", " spaced name "},
      {"View Start, Name: #", ""},
      {"View Start, Name: ", ""},
  };
  for (const Case& c : cases) {
    PrologueHost host(workbook({c.line}));
    ASSERT_EQ(host.scan(), 1) << c.line;
    ASSERT_EQ(host.info.sheetCount, 1u) << c.line;
    const SheetEntry& entry = host.info.sheets[0];
    EXPECT_STREQ(entry.name, c.name) << c.line;
    EXPECT_EQ(entry.nameLength, std::strlen(c.name)) << c.line;
    EXPECT_EQ(entry.nameLength2, std::strlen(c.name)) << c.line;
    EXPECT_EQ(entry.zero516, 0) << c.line;
    EXPECT_EQ(entry.kind, 16384u) << c.line;
    EXPECT_EQ(entry.viewPos, std::strlen(kHeader)) << c.line;
  }
}

TEST(PrologueScanTest, SheetListGrowsInViewOrderAndTheReaderOwnsIt) {
  PrologueHost host(
      workbook({"View Start, Name: #One: ~A", "View End,", "View Start, Name: #Two: ~B",
                "View End,", "View Start, Name: #Three: ~C", "View End,"}));
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, 3u);
  const char* names[] = {"One", "Two", "Three"};
  const char* lines[] = {"View Start, Name: #One", "View Start, Name: #Two",
                         "View Start, Name: #Three"};
  for (int i = 0; i < 3; ++i) {
    EXPECT_STREQ(host.info.sheets[i].name, names[i]);
    EXPECT_EQ(host.info.sheets[i].viewPos, host.offsetOf(lines[i]));
  }
  EXPECT_EQ(host.reader->info.sheets, host.info.sheets);
  EXPECT_EQ(host.reader->info.sheetCount, 3u);
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
}

TEST(PrologueScanTest, SheetsTableBeforeTheViewSectionsChangesNothing) {
  PrologueHost host(workbook(
      {"SHEETS TABLE", "SHEET A ~Renamed~", "END SHEETS TABLE", "View Start, Name: #Budget: ~A"}));
  ASSERT_EQ(host.scan(), 1);
  ASSERT_EQ(host.info.sheetCount, 1u);
  EXPECT_STREQ(host.info.sheets[0].name, "Budget");
}

TEST(PrologueScanTest, SymbolsLineSetsDefaults) {
  struct Case {
    const char* line;
    uint32_t size, option;
    uint16_t textAlign;
    uint8_t valueAlign;
  } cases[] = {
      {"Symbols Defaults 0 0 0 0 0 10 0 7 2 3", 10, 7, 138, 134},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 0 4", 10, 7, 130, 130},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 1 1", 10, 7, 142, 142},
      {"Symbols Defaults 0 0 0 0 0 10 0 7 3 2", 10, 7, 134, 138},
      {"Symbols Defaults 9 9 9 9 9 14 9 1 -1 5", 14, 1, 130, 130},
      // "%i" notations: hexadecimal and octal.
      {"Symbols Defaults 0x1 0 0 0 0 0x10 0 010 02 0x3", 16, 8, 138, 134},
      // Missing integers leave their fields alone.
      {"Symbols Defaults 0 0 0 0 0 14", 14, 0, 130, 130},
      {"Symbols Defaults 0 0 0 0 0 14 0 5 x 2", 14, 5, 130, 130},
      {"Symbols Defaults 0 0 0 0 x 14 0 5 2 2", 0, 0, 130, 130},
      {"Symbols Defaults", 0, 0, 130, 130},
      {"Symbols ", 0, 0, 130, 130},
      // The values are read from the 17th byte, wherever that falls.
      {"Symbols D 1 2 3 4 5 6 7 8 9 10", 9, 0, 130, 130},
      {"Symbols Defaults -1 -1 -1 -1 -1 -5 -1 -1 -1 -1", 0xfffffffbu, 0xffffffffu, 130, 130},
  };
  for (const Case& c : cases) {
    PrologueHost host(workbook({c.line}));
    ASSERT_EQ(host.scan(), 1) << c.line;
    EXPECT_EQ(host.reader->defaultFont.size, c.size) << c.line;
    EXPECT_EQ(host.reader->sheetOption, c.option) << c.line;
    EXPECT_EQ(host.reader->defaultTextAlign, c.textAlign) << c.line;
    EXPECT_EQ(host.reader->defaultValueAlign, c.valueAlign) << c.line;
  }
}

TEST(PrologueScanTest, BottomRightCornerSetsTheExtent) {
  struct Case {
    const char* line;
    int32_t maxColumn, maxRow;
  } cases[] = {
      {"Bottom right corner : L30", 12, 30}, {"Bottom right corner : AB7", 28, 7},
      {"Bottom right corner L30", 12, 30},  // no ':': the address follows the keyword
      {"Bottom right corner : ", -1, -1},    {"Bottom right corner ", -1, -1},
      {"Bottom right corner : 30", -1, 30},  {"Bottom right corner : B99999999999", 2, INT32_MAX},
  };
  for (const Case& c : cases) {
    PrologueHost host(workbook({c.line}));
    ASSERT_EQ(host.scan(), 1) << c.line;
    EXPECT_EQ(host.reader->maxColumn, c.maxColumn) << c.line;
    EXPECT_EQ(host.reader->maxRow, c.maxRow) << c.line;
  }
}

TEST(PrologueScanTest, SheetStartsRecordTheLastRunOfEachSheet) {
  PrologueHost host(workbook({"View Start, Name: #One: ~A", "View Start, Name: #Two: ~B",
                              "View Start, Name: #Three: ~C", "Headers and Footers End",
                              "(G0||) A!A1: 1", "(G0||) A2: 2", "text that is no cell line",
                              "(G0||) B!A1: 3", "P (G0||) A!A3: 4", "(G0||) A!A4: 5"}));
  ASSERT_EQ(host.scan(), 1);
  const WorkbookReader* reader = host.reader.get();
  ASSERT_EQ(reader->sheetStartSlots, 4u);
  EXPECT_EQ(reader->sheetStarts[0], 0u);
  EXPECT_EQ(reader->sheetStarts[1], host.offsetOf("P (G0||) A!A3"));
  EXPECT_EQ(reader->sheetStarts[2], host.offsetOf("(G0||) B!A1"));
  EXPECT_EQ(reader->sheetStarts[3], 0u);
}

TEST(PrologueScanTest, CellLinesOfUnlistedSheetsOnlyChangeTheCurrentSheet) {
  PrologueHost host(workbook({"View Start, Name: #One: ~A", "Headers and Footers End",
                              "(G0||) A!A1: 1", "(G0||) D!A1: 2", "(G0||) !A1: 3", "(G0||) A!A2: 4",
                              "View Start, Name: #Late: ~B", "(G0||) B!A1: 5"}));
  ASSERT_EQ(host.scan(), 1);
  // Everything after the marker is cell data, view sections included.
  EXPECT_EQ(host.info.sheetCount, 1u);
  ASSERT_EQ(host.reader->sheetStartSlots, 2u);
  EXPECT_EQ(host.reader->sheetStarts[1], host.offsetOf("(G0||) A!A2"));
}

// The input ends inside each section in turn; sections that have an end
// line fail the pass, the others end it normally.
TEST(PrologueScanTest, InputEndingInsideEachSection) {
  const std::string view = "View Start, Name: #S: ~A\n";
  struct Case {
    const char* name;
    std::string rest;
    int result;
  } cases[] = {
      {"colour map", "COLORMAP\nRed 0 0 255 255 0 0\n", 1},
      {"typeface table", "TYPEFACE TABLE\nArial\n", 0},
      {"attribute table", "Attr Table Start\n(F2|B|L1)\n", 0},
      {"sheets table", "SHEETS TABLE\nSHEET A ~New~\n", 1},
      {"graphic object", "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: A\n", 1},
      {"cell data", "Headers and Footers End\n", 1},
      {"cut-off line", "Row List A!1:0,1,1", 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PrologueHost host(kHeader + view + c.rest);
    EXPECT_EQ(host.scan(), c.result);
    // The sheet list found before stays stored, in the host's record and
    // in the reader.
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

// A small prologue that allocates in every section.
std::string smallPrologue() {
  return workbook({"COLORMAP",
                   "Red 0 0 255 255 0 0",
                   "END COLORMAP",
                   "COLORMAP",
                   "END COLORMAP",
                   "TYPEFACE TABLE",
                   "Courier",
                   "Helvetica",
                   "END TYPEFACE TABLE",
                   "Attr Table Start",
                   "(F2|B|L1)",
                   "(G0||)",
                   "(F0||SH8FG2)",
                   "Attr Table end",
                   "Graphic Obj Start: 1",
                   "Object Type: Chart",
                   "Object Plane: A",
                   "Graphic Obj End: 1",
                   "View Start, Name: #One: ~A",
                   "View End,",
                   "View Start, Name: #Two: ~B",
                   "View End,",
                   "Symbols Defaults 0 0 0 0 0 10 0 0 2 3",
                   "Bottom right corner : L30",
                   "Headers and Footers End",
                   "(G0||) A!A1: 1",
                   "(G0||) B!A1: 2"});
}

TEST(PrologueScanTest, SmallPrologueScansCompletely) {
  PrologueHost host(smallPrologue());
  ASSERT_EQ(host.scan(), 1);
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(reader->colorMapCount, 2u);
  EXPECT_EQ(reader->typefaceCount, 2u);
  EXPECT_EQ(reader->attrCount, 2u);
  EXPECT_EQ(reader->objectEntryCount, 1u);
  EXPECT_EQ(host.info.sheetCount, 2u);
  EXPECT_EQ(reader->sheetStarts[2], host.offsetOf("(G0||) B!A1"));
  EXPECT_EQ(reader->defaultTextAlign, 138);
}

TEST(PrologueScanTest, EveryAllocationFailureFailsThePassWithoutLeaking) {
  uint64_t total = 0;
  {
    PrologueHost host(smallPrologue());
    ASSERT_EQ(host.scan(), 1);
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
    // The teardown releases what was built and finds no block left.
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
  EXPECT_EQ(reader->colorMapCount, 2u);
  EXPECT_EQ(reader->attrCount, 2u);
  EXPECT_EQ(reader->objectEntryCount, 1u);
  EXPECT_EQ(host.info.sheetCount, 2u);
}

// The same sweep through the entry points: WZCloseReader must find every
// block a failed pass left, including names and entries past the counts.
TEST(PrologueEndToEndTest, EveryAllocationFailureIsReleasedByTheReader) {
  uint64_t total = 0;
  {
    TestHost host(smallPrologue());
    ASSERT_EQ(host.scan(), 1);
    total = host.services.stats().allocations;
  }
  for (uint64_t n = 1; n <= total; ++n) {
    SCOPED_TRACE(n);
    TestHost host(smallPrologue());
    host.services.failAllocation(n);
    EXPECT_EQ(host.scan(), 0);
    // The host's teardown closes the reader and finds no block left.
  }
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
  EXPECT_EQ(reader->colorMapCount, 1u);
  EXPECT_EQ(reader->colorMaps[0].entryCount, 8u);
  EXPECT_EQ(wzColorValue(reader, 5), 0xbfbfbfu);  // "Light Gray", two words
  EXPECT_EQ(reader->typefaceCount, 4u);
  EXPECT_STREQ(wzTypefaceName(reader, 3), "WingDings");
  EXPECT_EQ(reader->attrCount, 3u);
  EXPECT_EQ(reader->attrs[0]->number, 2u);
  EXPECT_EQ(reader->rowListPos, text.find("Row List A!4"));
  EXPECT_EQ(reader->defaultFont.size, 10u);
  EXPECT_EQ(reader->defaultTextAlign, 138);
  EXPECT_EQ(reader->maxColumn, 12);
  EXPECT_EQ(reader->maxRow, 30);
  ASSERT_EQ(reader->sheetStartSlots, 3u);
  EXPECT_EQ(reader->sheetStarts[1], text.find("('|B,P14|) A!A1"));
}

}  // namespace
}  // namespace wzss::test

#include <gtest/gtest.h>

#include "cli/csv_writer.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using convert_test::sheetOf;
using convert_test::textCell;

TEST(CsvField, QuotesOnlyWhatNeedsQuoting) {
  const struct {
    const char* text;
    const char* field;
  } cases[] = {
      {"plain", "plain"},
      {"", ""},
      {" padded ", " padded "},
      {"a,b", "\"a,b\""},
      {"say \"hi\"", "\"say \"\"hi\"\"\""},
      {"\"", "\"\"\"\""},
      {"line\nbreak", "\"line\nbreak\""},
      {"carriage\rreturn", "\"carriage\rreturn\""},
      {"both\r\n", "\"both\r\n\""},
      {"semi;colon\ttab", "semi;colon\ttab"},
  };
  for (const auto& c : cases) EXPECT_EQ(csvField(c.text), c.field) << c.text;
}

SheetModel gridWithHiddenParts() {
  // Row 2 and column B hidden; texts in each corner of a 3 x 3 grid.
  host::Cell hidden;  // the plug-in delivers hidden cells without text
  hidden.row = 2;
  hidden.column = 1;
  hidden.hasFont = 1;
  return sheetOf(host::RowRun{2, 2, 0}, host::ColumnRun{2, 2, 0}, textCell(1, 1, "a,1"),
                 textCell(1, 3, "c\"1"), hidden, textCell(3, 1, "multi\r\nline"),
                 textCell(3, 3, "c3"));
}

TEST(WriteCsv, LeavesHiddenRowsAndColumnsOut) {
  EXPECT_EQ(csvText(gridWithHiddenParts(), {}),
            "\"a,1\",\"c\"\"1\"\r\n"
            "\"multi\r\nline\",c3\r\n");
}

TEST(WriteCsv, KeepsHiddenRowsAndColumnsAsEmptyFieldsOnRequest) {
  EXPECT_EQ(csvText(gridWithHiddenParts(), {.keepHidden = true}),
            "\"a,1\",,\"c\"\"1\"\r\n"
            ",,\r\n"
            "\"multi\r\nline\",,c3\r\n");
}

TEST(WriteCsv, StartsAtA1AndEndsAtTheLastText) {
  host::Cell styledOnly;
  styledOnly.row = 9;
  styledOnly.column = 9;
  styledOnly.hasBorder = 1;
  const SheetModel sheet = sheetOf(textCell(2, 3, "x"), styledOnly);
  EXPECT_EQ(csvText(sheet, {}), ",,\r\n,,x\r\n");
}

TEST(WriteCsv, ASheetWithoutTextGivesNoRecord) {
  EXPECT_EQ(csvText(sheetOf(host::RowRun{1, 1, 300}), {}), "");
}

// Cells gathered as they arrive: in order, out of order (a workbook may list
// its cell lines in any order), twice for one position (the later line
// wins, even without text), and formatted empty cells, which show nothing.
TEST(CsvSheet, GathersCellsInAnyOrder) {
  host::Cell formattedEmpty;
  formattedEmpty.row = 1;
  formattedEmpty.column = 1;
  formattedEmpty.hasBorder = 1;
  host::Cell textless = textCell(2, 2, "");
  textless.text.reset();
  const struct {
    const char* name;
    std::vector<host::Cell> cells;
    const char* csv;
  } cases[] = {
      {"in order",
       {textCell(1, 1, "a"), textCell(1, 2, "b"), textCell(2, 1, "c")},
       "a,b\r\nc,\r\n"},
      {"rows reversed",
       {textCell(2, 1, "c"), textCell(1, 2, "b"), textCell(1, 1, "a")},
       "a,b\r\nc,\r\n"},
      {"columns reversed within a row", {textCell(1, 3, "z"), textCell(1, 1, "x")}, "x,,z\r\n"},
      {"the later line wins",
       {textCell(1, 1, "old"), textCell(1, 2, "b"), textCell(1, 1, "new")},
       "new,b\r\n"},
      {"a later line without text empties the field",
       {textCell(2, 2, "gone"), textCell(1, 1, "a"), textless},
       "a\r\n"},
      {"a formatted empty cell changes nothing",
       {textCell(1, 1, "kept"), formattedEmpty},
       "kept\r\n"},
  };
  for (const auto& c : cases) {
    CsvSheet sheet;
    for (const host::Cell& cell : c.cells) sheet.add(host::Item(cell));
    EXPECT_EQ(sheet.text({}), c.csv) << c.name;
  }
  // Hidden runs reach the sheet before its cells do.
  CsvSheet hidden;
  hidden.add(host::Item(host::RowRun{1, 1, 0}));
  hidden.add(host::Item(host::ColumnRun{1, 1, 0}));
  hidden.add(host::Item(textCell(2, 2, "d")));
  hidden.add(host::Item(textCell(1, 1, "a")));
  EXPECT_EQ(hidden.text({}), "d\r\n");
}

TEST(WriteCsv, TheStyledWorkbookMatchesItsDisplayTexts) {
  const WorkbookModel book = convert_test::readOrFail(convert_test::dataPath("styled.wzs"));
  ASSERT_EQ(book.sheets.size(), 2u);
  const std::string first = csvText(book.sheets[0], {});
  // Column C and row 4 are hidden in the view section.
  EXPECT_EQ(first.find("hidden"), std::string::npos) << first;
  EXPECT_EQ(first.substr(0, first.find("\r\n")), "Styled title,Amount");
  EXPECT_NE(first.find("\r\n,7.00\r\n"), std::string::npos) << first;
  EXPECT_EQ(csvText(book.sheets[1], {}), "Region,Sales\r\nNorth,1200\r\n");
}

}  // namespace
}  // namespace wzss::cli

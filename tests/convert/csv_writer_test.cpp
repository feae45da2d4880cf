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

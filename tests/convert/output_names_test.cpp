#include <gtest/gtest.h>

#include "cli/output_files.h"
#include "cli/output_names.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

TEST(SafeNameStem, ReplacesWhatFileSystemsRefuse) {
  const struct {
    std::string name;
    std::string stem;
  } cases[] = {
      {"Budget 2026", "Budget 2026"},
      {"Q1/Q2", "Q1_Q2"},
      {"a\\b", "a_b"},
      {"<x>:\"y\"|z?*", "_x___y__z__"},
      {"tab\there\x01", "tab_here_"},
      {".hidden", "_hidden"},
      {"..", "_"},
      {"/", "_"},
      {"trailing. . ", "trailing"},
      {"", "sheet-3"},
      {"   ", "sheet-3"},
      {"CON", "_CON"},
      {"nul.txt", "_nul.txt"},
      {"com7", "_com7"},
      {"Console", "Console"},
      {"Umsatz \xc3\xbc", "Umsatz \xc3\xbc"},
  };
  for (const auto& c : cases) EXPECT_EQ(safeNameStem(c.name, "sheet-3"), c.stem) << c.name;
}

TEST(SafeNameStem, BoundsTheLengthWithoutSplittingACharacter) {
  EXPECT_EQ(safeNameStem(std::string(300, 'x'), "f"), std::string(kMaxNameStem, 'x'));
  // 99 ASCII bytes, then a two-byte character across the bound.
  const std::string name = std::string(kMaxNameStem - 1, 'x') + "\xc3\xbc" + "tail";
  EXPECT_EQ(safeNameStem(name, "f"), std::string(kMaxNameStem - 1, 'x'));
}

TEST(UniqueNames, NumbersRepeatsIgnoringCase) {
  UniqueNames names;
  EXPECT_EQ(names.take("Sales", ".csv"), "Sales.csv");
  EXPECT_EQ(names.take("sales", ".csv"), "sales-2.csv");
  EXPECT_EQ(names.take("Sales", ".csv"), "Sales-3.csv");
  EXPECT_EQ(names.take("Sales", ".json"), "Sales.json");
  names.reserve("Other-2.csv");
  EXPECT_EQ(names.take("Other", ".csv"), "Other.csv");
  EXPECT_EQ(names.take("Other", ".csv"), "Other-3.csv");
}

TEST(CsvDirectory, NamesOneFilePerSheetSafelyAndUniquely) {
  std::vector<host::SheetInfo> sheets;
  for (const char* name : {"Q1/Q2", "Q1:Q2", "  ", "Sales"}) {
    host::SheetInfo sheet;
    sheet.name = name;
    sheet.number = static_cast<uint32_t>(sheets.size() + 1);
    sheets.push_back(sheet);
  }
  convert_test::TempDir dir;
  CsvDirectory directory((dir.path() / "out").string());
  ASSERT_TRUE(directory.begin(sheets)) << directory.error();
  for (const host::SheetInfo& sheet : sheets)
    ASSERT_TRUE(directory.sheet(sheet, csvField(sheet.name) + "\r\n")) << directory.error();
  const auto& written = directory.written();
  ASSERT_EQ(written.size(), 4u);
  const std::filesystem::path out = dir.path() / "out";
  EXPECT_EQ(written[0], (out / "Q1_Q2.csv").string());
  EXPECT_EQ(written[1], (out / "Q1_Q2-2.csv").string());
  EXPECT_EQ(written[2], (out / "sheet-3.csv").string());
  EXPECT_EQ(written[3], (out / "Sales.csv").string());
  EXPECT_EQ(convert_test::readFile(out / "Q1_Q2-2.csv"), "Q1:Q2\r\n");
  // Nothing but the four files: no partial files left behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out), {}), 4);
}

TEST(WriteFileAtomically, ReportsAPlaceItCannotWrite) {
  convert_test::TempDir dir;
  convert_test::writeFile(dir.path() / "file", "x");
  std::string error;
  EXPECT_FALSE(writeFileAtomically((dir.path() / "file" / "below.html").string(), "text", &error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace wzss::cli

#include <gtest/gtest.h>

#include "cli/output_files.h"
#include "cli/output_names.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

TEST(SafeNameStem, ReplacesWhatFileSystemsRefuseWithinABoundedLength) {
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
      // The length is bounded without splitting a character: 99 ASCII bytes,
      // then a two-byte character across the bound.
      {std::string(300, 'x'), std::string(kMaxNameStem, 'x')},
      {std::string(kMaxNameStem - 1, 'x') + "\xc3\xbc" + "tail",
       std::string(kMaxNameStem - 1, 'x')},
  };
  for (const auto& c : cases) EXPECT_EQ(safeNameStem(c.name, "sheet-3"), c.stem) << c.name;
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
  for (const host::SheetInfo& sheet : sheets) {
    // Handed over in two pieces, as a sheet's CSV is.
    const std::string field = csvField(sheet.name);
    const auto csv = [&field](const PieceWriter& write) { return write(field) && write("\r\n"); };
    ASSERT_TRUE(directory.sheet(sheet, csv)) << directory.error();
  }
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

// Content in pieces lands whole; content whose writing broke off leaves
// neither the file nor its partial file, and an older file stays as it was;
// a place that cannot hold a file is reported.
TEST(WriteFileAtomically, WritesPiecesAndLeavesNothingWhenTheyBreakOff) {
  convert_test::TempDir dir;
  const std::string path = (dir.path() / "sheet.csv").string();
  std::string error;
  ASSERT_TRUE(writeFileAtomically(
      path, [](const PieceWriter& write) { return write("a,b\r\n") && write("c,d\r\n"); }, &error))
      << error;
  EXPECT_EQ(convert_test::readFile(path), "a,b\r\nc,d\r\n");

  const auto brokenOff = [](const PieceWriter& write) { return write("e,f\r\n") && false; };
  EXPECT_FALSE(writeFileAtomically(path, brokenOff, &error));
  EXPECT_NE(error.find("cannot write " + path + ".part"), std::string::npos) << error;
  EXPECT_EQ(convert_test::readFile(path), "a,b\r\nc,d\r\n");
  EXPECT_FALSE(std::filesystem::exists(path + ".part"));
  const std::string fresh = (dir.path() / "fresh.csv").string();
  EXPECT_FALSE(writeFileAtomically(fresh, brokenOff, &error));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
  error.clear();
  EXPECT_FALSE(writeFileAtomically(path + "/below.html", "text", &error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace wzss::cli

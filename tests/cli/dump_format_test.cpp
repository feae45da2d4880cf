// The text form of the dump: the value kinds at the edges the sample
// workbooks do not reach; the item lines are the golden dumps' to check.
#include "cli/dump_format.h"

#include <gtest/gtest.h>

#include <cstring>

namespace wzss::cli {
namespace {

TEST(DumpFormatTest, ColumnLettersCountLikeTheWorkbook) {
  const std::pair<uint32_t, const char*> cases[] = {
      {0, "@"},    {1, "A"},     {26, "Z"},    {27, "AA"},
      {52, "AZ"},  {53, "BA"},   {702, "ZZ"},  {703, "AAA"},
      {4294967295u, "MWLQKWU"}};
  for (const auto& [column, letters] : cases) EXPECT_EQ(columnLetters(column), letters) << column;
  EXPECT_EQ(cellAddress(28, 7), "AB7");
}

// Quotes, tabs and high bytes are in the golden dumps.
TEST(DumpFormatTest, TextIsQuotedWithEveryUnprintableByteEscaped) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "\"\""},
      {"back\\slash", "\"back\\\\slash\""},
      {std::string("nul\0x", 5), "\"nul\\x00x\""},
      {"\x7f~", "\"\\x7f~\""}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(quoteText(text), expected);
}

// The golden dumps show the usual colours, alignment words and fonts; these
// are the forms no sample reaches.
TEST(DumpFormatTest, ColourAlignmentAndFontEdges) {
  EXPECT_EQ(colour(0x123456), "#563412");
  EXPECT_EQ(colour(0x01ffffff), "#ffffff+01");
  EXPECT_EQ(alignWord(0x0140), "0x0140[bit6,high=0x01]");
  EXPECT_EQ(font(host::Font{"Palatino Linotype", 14, true, false, true, 0, 18}),
            "\"Palatino Linotype\",14,bu,0,18");
}

TEST(DumpFormatTest, HeaderVersionAndItsCode) {
  EXPECT_EQ(headerVersion("*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n"), "440");
  EXPECT_EQ(headerVersion("*begin spreadsheets version=430 R01"), "430");
  EXPECT_EQ(headerVersion("*BEGIN SPREADSHEETS VERSION=44"), "");
  EXPECT_EQ(headerVersion("# a markdown file"), "");
  const std::pair<const char*, int> codes[] = {{"440", 4}, {"441", 4}, {"430", 3}, {"420", 2},
                                               {"400", 0}, {"410", -1}, {"", -1}};
  for (const auto& [digits, code] : codes) EXPECT_EQ(versionCode(digits), code) << digits;
}

}  // namespace
}  // namespace wzss::cli

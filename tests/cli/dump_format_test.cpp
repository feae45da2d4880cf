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

TEST(DumpFormatTest, TextIsQuotedWithEveryUnprintableByteEscaped) {
  const std::pair<std::string, const char*> cases[] = {
      {"plain text", "\"plain text\""},
      {"", "\"\""},
      {"say \"hi\"", "\"say \\\"hi\\\"\""},
      {"back\\slash", "\"back\\\\slash\""},
      {"tab\there", "\"tab\\x09here\""},
      {"caf\xe9", "\"caf\\xe9\""},
      {std::string("nul\0x", 5), "\"nul\\x00x\""},
      {"\x7f~", "\"\\x7f~\""}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(quoteText(text), expected);
}

TEST(DumpFormatTest, ColoursPrintRedFirst) {
  const std::pair<uint32_t, const char*> cases[] = {
      {0x000000, "#000000"}, {0x0000ff, "#ff0000"}, {0x00ff00, "#00ff00"},
      {0xff0000, "#0000ff"}, {0x123456, "#563412"}, {0x01ffffff, "#ffffff+01"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(colour(value), text) << value;
}

TEST(DumpFormatTest, AlignmentWordNamesEveryBit) {
  const std::pair<uint16_t, const char*> cases[] = {
      {0x0000, "0x0000[]"},
      {0x0082, "0x0082[bottom,wo]"},
      {0x008e, "0x008e[bottom,h1,wo]"},
      {0x008a, "0x008a[bottom,h2,wo]"},
      {0x0086, "0x0086[bottom,h3,wo]"},
      {0x0013, "0x0013[top,h4]"},
      {0x002d, "0x002d[middle,h1,wrap]"},
      {0x0140, "0x0140[bit6,high=0x01]"}};
  for (const auto& [word, text] : cases) EXPECT_EQ(alignWord(word), text) << word;
}

TEST(DumpFormatTest, FontListsStyleLettersInOrder) {
  host::Font f{"Palatino Linotype", 14, true, false, true, 0, 18};
  EXPECT_EQ(font(f), "\"Palatino Linotype\",14,bu,0,18");
  f.bold = f.underline = false;
  EXPECT_EQ(font(f), "\"Palatino Linotype\",14,-,0,18");
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

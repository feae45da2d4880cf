// The text form of the dump: every value kind and every item line.
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

TEST(DumpFormatTest, SettingsOptionAndRunLines) {
  host::Settings s;
  s.settingsCode = 2;
  s.maxRow = 30;
  s.maxColumn = 12;
  s.presetA = s.presetB = 1;
  s.defaultColumnWidth = 1200;
  s.defaultFontHeight = 200;
  s.presetC = s.presetD = 576;
  s.presetE = s.presetF = 480;
  s.hasFont = 1;
  s.font = host::Font{"Helvetica", 10, false, true, false, 0, 18};
  s.hasFill = -1;
  s.presetH = 1;
  EXPECT_EQ(itemLine(s),
            "settings code=2 maxRow=30 maxColumn=12 a=1 b=1 columnWidth=1200 fontHeight=200 "
            "c=576 d=576 e=480 f=480 g=0 font=\"Helvetica\",10,i,0,18 fill=-1 h=1");
  EXPECT_EQ(itemLine(host::Option{1}), "option 1");
  EXPECT_EQ(itemLine(host::RowRun{3, 5, 0}), "rows 3-5 size=0");
  EXPECT_EQ(itemLine(host::ColumnRun{27, 28, 1440}), "columns AA-AB size=1440");
}

TEST(DumpFormatTest, CellLineWithTextFillAndBorders) {
  host::Cell c;
  c.column = 2;
  c.row = 12;
  c.text = "99.00";
  c.textLength = 6;
  c.align = 0x86;
  c.backColor = 0xffffff;
  c.textColor = 0x0000ff;
  c.hasBorder = 1;
  c.borders = host::Borders{{5, 0}, {7, 0x7f0000}, {0, 0}, {8, 0}};
  c.hasFont = 1;
  c.font = host::Font{"Helvetica", 10, true, false, false, 0, 18};
  c.hasFill = 2;
  c.fill = FillInfo{0, 100, 0x0000ff, 0xffffff};
  c.cellKind = 7;
  EXPECT_EQ(itemLine(c),
            "cell B12 text=\"99.00\" len=6 align=0x0086[bottom,h3,wo] back=#ffffff fore=#ff0000 "
            "font=\"Helvetica\",10,b,0,18 fill=2[pattern=0,shade=100,fore=#ff0000,back=#ffffff] "
            "border=L5#000000,T7#00007f,R0#000000,B8#000000 flag=0 kind=7 extra=0");
}

TEST(DumpFormatTest, EmptyCellLineShowsWhatIsAbsent) {
  host::Cell c;
  c.column = 3;
  c.row = 14;
  c.backColor = 0xffffff;
  c.hasFill = 0;
  c.cellFlag = 1;
  c.cellKind = 7;
  c.cellExtra = 4;
  EXPECT_EQ(itemLine(c),
            "cell C14 text=null len=0 align=0x0000[] back=#ffffff fore=#000000 font=- fill=0 "
            "border=- flag=1 kind=7 extra=4");
}

TEST(DumpFormatTest, ObjectLineWithoutDescriptorOrContent) {
  host::Object o;
  o.objectKind = 21;
  o.topColumn = 5;
  o.topRow = 2;
  o.bottomColumn = 10;
  o.bottomRow = 14;
  o.topX = 720;
  o.topY = 64;
  o.bottomY = -128;
  EXPECT_EQ(itemLine(std::move(o)),
            "object kind=21 from=E2+720,64 to=J14+0,-128 border=- w156=0 descriptor=- content=- "
            "size=-");
}

}  // namespace
}  // namespace wzss::cli

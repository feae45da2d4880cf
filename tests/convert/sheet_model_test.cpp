#include <gtest/gtest.h>

#include "cli/sheet_model.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using convert_test::sheetOf;
using convert_test::textCell;

struct AlignmentCase {
  uint16_t word;
  Horizontal horizontal;
  Vertical vertical;
  bool wrap;
  bool overflow;
};

TEST(DecodeAlignment, NamesEveryPartOfTheWord) {
  const AlignmentCase cases[] = {
      {0, Horizontal::General, Vertical::None, false, false},
      {130, Horizontal::General, Vertical::Bottom, false, true},  // the workbook default
      {142, Horizontal::Center, Vertical::Bottom, false, true},   // item 1
      {138, Horizontal::Left, Vertical::Bottom, false, true},     // item 2
      {134, Horizontal::Right, Vertical::Bottom, false, true},    // item 3
      {137, Horizontal::Left, Vertical::Center, false, true},     // items 2, VC
      {143, Horizontal::Center, Vertical::Top, false, true},      // bar with VT
      {47, Horizontal::Center, Vertical::Top, true, false},       // WW applied to 143
      {6, Horizontal::Right, Vertical::Bottom, false, false},     // a general number
      {16, Horizontal::Justify, Vertical::None, false, false},    // item 4 alone
      {28, Horizontal::Center, Vertical::None, false, false},     // list 4,1
  };
  for (const AlignmentCase& c : cases) {
    SCOPED_TRACE(c.word);
    const Alignment a = decodeAlignment(c.word);
    EXPECT_EQ(a.horizontal, c.horizontal);
    EXPECT_EQ(a.vertical, c.vertical);
    EXPECT_EQ(a.wrap, c.wrap);
    EXPECT_EQ(a.overflow, c.overflow);
  }
}

TEST(Colours, ItemValuesAreBlueGreenRedFromTheTopByte) {
  EXPECT_EQ(htmlColour(0x0000FF), "#ff0000");
  EXPECT_EQ(htmlColour(0x00FF00), "#00ff00");
  EXPECT_EQ(htmlColour(0xFF0000), "#0000ff");
  EXPECT_EQ(htmlColour(0x123456), "#563412");
  EXPECT_EQ(htmlColour(0xAB000000), "#000000");  // the top byte is no colour
}

TEST(Colours, ShadeMixesThePatternColourIntoTheBackground) {
  EXPECT_EQ(mixColour(0xFFFFFF, 0x000000, 0), 0xFFFFFFu);
  EXPECT_EQ(mixColour(0xFFFFFF, 0x000000, 100), 0x000000u);
  EXPECT_EQ(mixColour(0xFFFFFF, 0x000000, 50), 0x808080u);
  EXPECT_EQ(mixColour(0xFFFFFF, 0x0000FF, 25), 0xBFBFFFu);   // a quarter red into white
  EXPECT_EQ(mixColour(0x000000, 0xFFFFFF, 250), 0xFFFFFFu);  // percent beyond 100 counts as 100
}

TEST(SheetGatherer, SortsRunsIntoSizesAndHiddenRuns) {
  const SheetModel sheet =
      sheetOf(convert_test::settings(0, 0, 1200, 200), host::RowRun{2, 2, 880},
              host::RowRun{4, 6, 0}, host::ColumnRun{1, 1, 2400}, host::ColumnRun{3, 3, 0});
  EXPECT_EQ(sheet.rowHeight(2), 880u);
  EXPECT_EQ(sheet.rowHeight(1), 300u);  // one and a half times the font height
  EXPECT_EQ(sheet.columnWidth(1), 2400u);
  EXPECT_EQ(sheet.columnWidth(2), 1200u);
  EXPECT_TRUE(sheet.rowHidden(4));
  EXPECT_TRUE(sheet.rowHidden(6));
  EXPECT_FALSE(sheet.rowHidden(7));
  EXPECT_TRUE(sheet.columnHidden(3));
  EXPECT_FALSE(sheet.columnHidden(2));
}

TEST(SheetGatherer, AFormattedEmptyCellNeverReplacesACellWithItsLine) {
  host::Cell empty;
  empty.row = 2;
  empty.column = 2;
  empty.fill = FillInfo{0, 100, 0x0000FF, 0xFFFFFF};
  host::Cell lonely = empty;
  lonely.column = 3;
  const SheetModel sheet = sheetOf(textCell(2, 2, "kept"), empty, lonely);
  ASSERT_NE(sheet.cellAt(2, 2), nullptr);
  EXPECT_EQ(sheet.cellAt(2, 2)->text, "kept");
  EXPECT_FALSE(sheet.cellAt(2, 2)->fill.has_value());
  ASSERT_NE(sheet.cellAt(2, 3), nullptr);
  EXPECT_TRUE(sheet.cellAt(2, 3)->formattedEmpty);
  EXPECT_TRUE(sheet.cellAt(2, 3)->fill.has_value());
}

TEST(SheetGatherer, ExtentsFollowTextsAndObjects) {
  host::Cell styled;
  styled.row = 9;
  styled.column = 1;
  styled.hasBorder = 1;
  host::Object object;
  object.topColumn = 2;
  object.topRow = 3;
  object.bottomColumn = 7;
  object.bottomRow = 5;
  const SheetModel sheet =
      sheetOf(textCell(4, 3, "x"), textCell(2, 5, ""), styled, std::move(object));
  EXPECT_EQ(sheet.textExtent(), std::make_pair(4u, 3u));  // empty texts do not count
  EXPECT_EQ(sheet.usedExtent(), std::make_pair(9u, 7u));
}

TEST(ReadWorkbook, ReportsWhyAFileCannotBeRead) {
  auto missing = readWorkbook(convert_test::readerTable(), "/nonexistent/book.wzs");
  ASSERT_FALSE(missing.ok());
  EXPECT_NE(missing.error().message.find("cannot open"), std::string::npos);

  convert_test::TempDir dir;
  convert_test::writeFile(dir.path() / "plain.txt", "just some text\n");
  auto plain = readWorkbook(convert_test::readerTable(), (dir.path() / "plain.txt").string());
  ASSERT_FALSE(plain.ok());
  EXPECT_EQ(plain.error().kind, host::WalkErrorKind::NotAWorkbook);
}

}  // namespace
}  // namespace wzss::cli

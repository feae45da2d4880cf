// The gathering of items into a sheet model; what the model holds for
// whole workbooks is the golden pages' and documents' to check.
#include <gtest/gtest.h>

#include "cli/sheet_model.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using convert_test::sheetOf;
using convert_test::textCell;

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

}  // namespace
}  // namespace wzss::cli

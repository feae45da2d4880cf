// Cell lines: which lines count, where the attribute text starts, the
// address with and without a sheet prefix, and the cut-off last line.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/memory_stream.h"
#include "scan/scan.h"

namespace wzss {
namespace {

// A sheet reader over a text, with only what wzDisect uses set up.
struct DisectFixture {
  explicit DisectFixture(std::string text) : stream(std::move(text)) {
    sheet = std::make_unique<SheetReader>();
    sheet->stream = stream.get();
  }
  int next() { return wzDisect(sheet.get(), &sheetNumber, &row, &column); }
  std::string attrText() const { return sheet->attrText; }

  host::MemoryStream stream;
  std::unique_ptr<SheetReader> sheet;
  int32_t sheetNumber = -99;
  int32_t row = -99;
  int32_t column = -99;
};

struct AddressCase {
  const char* name;
  std::string line;  // one line, read with its line feed
  int32_t sheet;
  int32_t column;
  int32_t row;
  ptrdiff_t attrOffset;  // attrText - line
};

class DisectAddressTest : public ::testing::TestWithParam<AddressCase> {};

TEST_P(DisectAddressTest, ReadsTheAddress) {
  const AddressCase& c = GetParam();
  DisectFixture f(c.line + "\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.sheetNumber, c.sheet);
  EXPECT_EQ(f.column, c.column);
  EXPECT_EQ(f.row, c.row);
  EXPECT_EQ(f.sheet->attrText - f.sheet->line, c.attrOffset);
  EXPECT_EQ(std::string(f.sheet->line), c.line);
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, DisectAddressTest,
    ::testing::Values(
        AddressCase{"SheetPrefix", "(F2,1|B|) B!C12 42", 2, 3, 12, 0},
        AddressCase{"SheetAPrefix", "() A!AB7: 1", 1, 28, 7, 0},
        AddressCase{"NoPrefix", "(G0||) C3: x", 1, 3, 3, 0},
        AddressCase{"BareBang", "() !C3: 1", -1, 3, 3, 0},
        AddressCase{"BangInValueIsNoPrefix", "() B2: 5!", 1, 2, 2, 0},
        AddressCase{"TwoLetterSheet", "() AB!D4 1", 28, 4, 4, 0},
        AddressCase{"LongSheetName", "() ABC!D4 1", -1, 4, 4, 0},
        AddressCase{"NoBlankAfterParen", "()E5: 1", 1, 5, 5, 0},
        AddressCase{"BlanksSkipped", "()    F6", 1, 6, 6, 0},
        AddressCase{"TabIsNotSkipped", "()\tF6", 1, -1, 0, 0},
        AddressCase{"FirstCloseParenCounts", "(a)b) C3", 1, 34, 0, 0},
        AddressCase{"NoCloseParen", "(F2|B C3: 1", 1, -1, -1, 0},
        AddressCase{"EmptyAfterParen", "(F2)", 1, -1, -1, 0},
        AddressCase{"NoRowDigits", "() C: 1", 1, 3, 0, 0},
        AddressCase{"ThreeLetterColumn", "() ABC3", 1, -1, 3, 0},
        AddressCase{"PLineAttrAtParen", "P x (F1|) D9: 3", 1, 4, 9, 4},
        AddressCase{"PLineWithoutParen", "P x D9", 1, -1, -1, 6},
        AddressCase{"PLinePrefix", "P (G) B!A1 z", 2, 1, 1, 2}),
    [](const ::testing::TestParamInfo<AddressCase>& info) { return info.param.name; });

TEST(DisectTest, SkipsLinesThatAreNoCellLines) {
  DisectFixture f(
      "View End,\n"
      "\n"
      "Pdq (F1) Z9 1\n"
      "I(F1) Z9 1\n"
      " (F1) Z9 1\n"
      "(F1) B!C12: 42\n"
      "junk\n"
      "P (G0) D4: 7\n"
      "trailing\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.sheetNumber, 2);
  EXPECT_EQ(f.column, 3);
  EXPECT_EQ(f.row, 12);
  EXPECT_EQ(f.attrText(), "(F1) B!C12: 42");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.sheetNumber, 1);
  EXPECT_EQ(f.column, 4);
  EXPECT_EQ(f.row, 4);
  EXPECT_EQ(f.attrText(), "(G0) D4: 7");
  EXPECT_EQ(f.next(), 0);
  EXPECT_EQ(f.stream.position(), f.stream.bytes().size());
}

TEST(DisectTest, LeavesTheStreamAfterTheCellLine) {
  // The value formatter reads continuation lines from right there.
  DisectFixture f("(F1) A1: \"first\ncontinued\"\n(F1) A2: 2\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.stream.position(), 16u);
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.row, 2);
}

struct LastLineCase {
  const char* name;
  std::string text;
  int result;
};

class DisectLastLineTest : public ::testing::TestWithParam<LastLineCase> {};

TEST_P(DisectLastLineTest, CutOffLastLine) {
  DisectFixture f(GetParam().text);
  EXPECT_EQ(f.next(), GetParam().result);
  if (GetParam().result == 1) {
    EXPECT_EQ(f.column, 2);
    EXPECT_EQ(f.row, 3);
  }
  EXPECT_EQ(f.next(), 0);  // and nothing after it
}

INSTANTIATE_TEST_SUITE_P(
    Ends, DisectLastLineTest,
    ::testing::Values(LastLineCase{"CellLineWithoutLf", "junk\n(F1) B3: 9", 1},
                      LastLineCase{"PLineWithoutLf", "junk\nP (F1) B3: 9", 1},
                      LastLineCase{"CellLineWithCrOnly", "(F1) B3: 9\r", 1},
                      LastLineCase{"OtherLineWithoutLf", "junk\nEnd", 0},
                      LastLineCase{"CompleteOtherLine", "(F1) B3: 9\nEnd\n", 1},
                      LastLineCase{"CompleteNonCellLast", "End\n", 0},
                      LastLineCase{"Empty", "", 0}),
    [](const ::testing::TestParamInfo<LastLineCase>& info) { return info.param.name; });

TEST(DisectTest, ReadFailureEndsTheInput) {
  // A failing Read counts as the end of the input: the line read so far is
  // taken when it begins like a cell line, and nothing is read after it.
  DisectFixture f("junk\n(F1) B3: 9\n(F1) C4: 1\n");
  f.stream.failRead(5 + 8);  // inside "(F1) B3: 9", after "(F1) B3"
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.attrText(), "(F1) B3");
  EXPECT_EQ(f.column, 2);
  EXPECT_EQ(f.row, 3);
}

TEST(DisectTest, ClearsTheWholeLineBuffer) {
  DisectFixture f("(F1) A1\n");
  std::memset(f.sheet->line, 'Q', kLineSize);
  ASSERT_EQ(f.next(), 1);
  for (uint32_t i = std::strlen(f.sheet->line); i < kLineSize; ++i) {
    ASSERT_EQ(f.sheet->line[i], '\0') << i;
  }
}

TEST(DisectTest, LongCellLineIsCutToTheBuffer) {
  const std::string value(400, '7');
  DisectFixture f("(F1) B!C12: " + value + "\n(F1) D4: 1\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(std::strlen(f.sheet->line), kLineSize - 1);
  EXPECT_EQ(f.sheetNumber, 2);
  EXPECT_EQ(f.row, 12);
  ASSERT_EQ(f.next(), 1);  // the rest of the long line was consumed
  EXPECT_EQ(f.column, 4);
}

TEST(DisectTest, AttrTextPointsIntoTheLine) {
  DisectFixture f("P abc(F9|) A1\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.sheet->attrText, f.sheet->line + 5);
}

// --- wzScanCellLine ------------------------------------------------------------

struct ScanResult {
  uint32_t result;
  int32_t sheet;
};
bool operator==(const ScanResult& a, const ScanResult& b) {
  return a.result == b.result && a.sheet == b.sheet;
}
void PrintTo(const ScanResult& r, std::ostream* os) {
  *os << "(" << r.result << ", sheet " << r.sheet << ")";
}

std::vector<ScanResult> scanAll(const std::string& text) {
  host::MemoryStream stream(text);
  auto reader = std::make_unique<WorkbookReader>();
  reader->stream = stream.get();
  std::vector<ScanResult> results;
  int32_t sheet = -99;
  for (size_t guard = 0; guard <= text.size() + 1; ++guard) {
    const uint32_t result = wzScanCellLine(reader.get(), &sheet);
    results.push_back({result, sheet});
    if (result == 0) break;
  }
  return results;
}

TEST(ScanCellLineTest, ReportsOffsetsAndSheets) {
  const std::string text =
      "Headers and Footers End\n"  // 0..23
      "(F1) A1: 1\n"               // 24
      "View End,\n"                // 35
      "I(F1) B!C3: 2\n"            // 45
      "Pxy (F1) C!A1 3\n"          // 59
      "(F1) !A1 4\n"               // 75
      "\n"                         // 86
      "(F1) A2: 5!\n";             // 87
  const std::vector<ScanResult> expected = {{1, -99}, {24, 1},  {1, 1},  {45, 2}, {59, 3},
                                            {75, -1}, {1, -1}, {87, 1}, {0, 1}};
  EXPECT_EQ(scanAll(text), expected);
}

TEST(ScanCellLineTest, CutOffLastLineEndsTheInput) {
  const std::vector<ScanResult> expected = {{1, -99}, {0, -99}};
  EXPECT_EQ(scanAll("header\n(F1) B!A1: 1"), expected);
}

TEST(ScanCellLineTest, NoCloseParenMeansNoPrefix) {
  const std::vector<ScanResult> expected = {{1, -99}, {7, 1}, {0, 1}};
  EXPECT_EQ(scanAll("header\n(F1 B!A1\n"), expected);
}

TEST(ScanCellLineTest, LongLineKeepsTheNextOffsetRight) {
  const std::string longValue(300, 'x');
  const std::string text = "header\n(F1) C!A1: " + longValue + "\n(F1) D!A2\n";
  const auto results = scanAll(text);
  ASSERT_EQ(results.size(), 4u);
  EXPECT_EQ(results[1], (ScanResult{7, 3}));
  EXPECT_EQ(results[2], (ScanResult{static_cast<uint32_t>(7 + 11 + 300 + 1), 4}));
  EXPECT_EQ(results[3].result, 0u);
}

}  // namespace
}  // namespace wzss

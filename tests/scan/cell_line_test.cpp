// Cell lines: which lines count, where the attribute text starts, the
// address with and without a sheet prefix, and the cut-off last line.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "wzss/host/memory_stream.h"
#include "scan/scan.h"

namespace wzss {
namespace {

// A sheet reader over a text, with only what wzDisect uses set up.
struct DisectFixture {
  explicit DisectFixture(std::string text) : stream(std::move(text)) {
    sheet->stream = stream.get();
  }
  int next() { return wzDisect(sheet.get(), &sheetNumber, &row, &column); }
  std::string attrText() const { return sheet->attrText; }

  host::MemoryStream stream;
  std::unique_ptr<SheetReader> sheet = std::make_unique<SheetReader>();
  int32_t sheetNumber = -99;
  int32_t row = -99;
  int32_t column = -99;
};

TEST(DisectTest, ReadsTheAddress) {
  struct Case {
    const char* name;
    std::string line;  // one line, read with its line feed
    int32_t sheet, column, row;
    ptrdiff_t attrOffset;  // attrText - line
  } cases[] = {{"SheetPrefix", "(F2,1|B|) B!C12 42", 2, 3, 12, 0},
               {"SheetAPrefix", "() A!AB7: 1", 1, 28, 7, 0},
               {"NoPrefix", "(G0||) C3: x", 1, 3, 3, 0},
               {"BareBang", "() !C3: 1", -1, 3, 3, 0},
               {"BangInValueIsNoPrefix", "() B2: 5!", 1, 2, 2, 0},
               {"TwoLetterSheet", "() AB!D4 1", 28, 4, 4, 0},
               {"LongSheetName", "() ABC!D4 1", -1, 4, 4, 0},
               {"NoBlankAfterParen", "()E5: 1", 1, 5, 5, 0},
               {"BlanksSkipped", "()    F6", 1, 6, 6, 0},
               {"TabIsNotSkipped", "()\tF6", 1, -1, 0, 0},
               {"FirstCloseParenCounts", "(a)b) C3", 1, 34, 0, 0},
               {"NoCloseParen", "(F2|B C3: 1", 1, -1, -1, 0},
               {"EmptyAfterParen", "(F2)", 1, -1, -1, 0},
               {"NoRowDigits", "() C: 1", 1, 3, 0, 0},
               {"ThreeLetterColumn", "() ABC3", 1, -1, 3, 0},
               {"PLineAttrAtParen", "P x (F1|) D9: 3", 1, 4, 9, 4},
               {"PLineWithoutParen", "P x D9", 1, -1, -1, 6},
               {"PLinePrefix", "P (G) B!A1 z", 2, 1, 1, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DisectFixture f(c.line + "\n");
    ASSERT_EQ(f.next(), 1);
    EXPECT_EQ(f.sheetNumber, c.sheet);
    EXPECT_EQ(f.column, c.column);
    EXPECT_EQ(f.row, c.row);
    EXPECT_EQ(f.sheet->attrText - f.sheet->line, c.attrOffset);
    EXPECT_EQ(std::string(f.sheet->line), c.line);
  }
}

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
  EXPECT_EQ(f.attrText(), "(F1) B!C12: 42");
  EXPECT_EQ(f.row, 12);
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(f.attrText(), "(G0) D4: 7");
  EXPECT_EQ(f.sheetNumber, 1);
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

TEST(DisectTest, CutOffLastLine) {
  struct Case {
    const char* name;
    std::string text;
    int result;
  } cases[] = {{"CellLineWithoutLf", "junk\n(F1) B3: 9", 1},
               {"PLineWithoutLf", "junk\nP (F1) B3: 9", 1},
               {"CellLineWithCrOnly", "(F1) B3: 9\r", 1},
               {"OtherLineWithoutLf", "junk\nEnd", 0},
               {"CompleteOtherLine", "(F1) B3: 9\nEnd\n", 1},
               {"CompleteNonCellLast", "End\n", 0},
               {"Empty", "", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DisectFixture f(c.text);
    EXPECT_EQ(f.next(), c.result);
    if (c.result == 1) {
      EXPECT_EQ(f.column, 2);
      EXPECT_EQ(f.row, 3);
    }
    EXPECT_EQ(f.next(), 0);  // and nothing after it
  }
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
  DisectFixture f("(F1) B!C12: " + std::string(400, '7') + "\n(F1) D4: 1\n");
  ASSERT_EQ(f.next(), 1);
  EXPECT_EQ(std::strlen(f.sheet->line), kLineSize - 1);
  EXPECT_EQ(f.sheetNumber, 2);
  EXPECT_EQ(f.row, 12);
  ASSERT_EQ(f.next(), 1);  // the rest of the long line was consumed
  EXPECT_EQ(f.column, 4);
}

// Every result of wzScanCellLine over a text, with the sheet it left.
struct ScanResult {
  uint32_t result;
  int32_t sheet;
  bool operator==(const ScanResult&) const = default;
};
void PrintTo(const ScanResult& r, std::ostream* os) {
  *os << "(" << r.result << ", sheet " << r.sheet << ")";
}

TEST(ScanCellLineTest, ReportsOffsetsAndSheets) {
  const std::string longLine = "(F1) C!A1: " + std::string(300, 'x') + "\n";
  struct Case {
    const char* name;
    std::string text;
    std::vector<ScanResult> results;
  } cases[] = {{"Mixed",
                "Headers and Footers End\n"  // 0..23
                "(F1) A1: 1\n"               // 24
                "View End,\n"                // 35
                "I(F1) B!C3: 2\n"            // 45
                "Pxy (F1) C!A1 3\n"          // 59
                "(F1) !A1 4\n"               // 75
                "\n"                         // 86
                "(F1) A2: 5!\n",             // 87
                {{1, -99}, {24, 1}, {1, 1}, {45, 2}, {59, 3}, {75, -1}, {1, -1}, {87, 1}, {0, 1}}},
               {"CutOffLastLineEndsTheInput", "header\n(F1) B!A1: 1", {{1, -99}, {0, -99}}},
               {"NoCloseParenMeansNoPrefix", "header\n(F1 B!A1\n", {{1, -99}, {7, 1}, {0, 1}}},
               {"LongLineKeepsTheNextOffset",
                "header\n" + longLine + "(F1) D!A2\n",
                {{1, -99}, {7, 3}, {static_cast<uint32_t>(7 + longLine.size()), 4}, {0, 4}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host::MemoryStream stream(c.text);
    auto reader = std::make_unique<WorkbookReader>();
    reader->stream = stream.get();
    std::vector<ScanResult> results;
    int32_t sheet = -99;
    for (size_t guard = 0; guard <= c.text.size() + 1; ++guard) {
      results.push_back({wzScanCellLine(reader.get(), &sheet), sheet});
      if (results.back().result == 0) break;
    }
    EXPECT_EQ(results, c.results);
  }
}

}  // namespace
}  // namespace wzss

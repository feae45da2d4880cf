// Token readers: letters, unsigned numbers, the string escape scheme and the
// view section's list items, with the cursor position each leaves behind.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "scan/scan.h"

namespace wzss {
namespace {

// Cursor readers: the value and how far the cursor moved.
struct CursorCase {
  const char* text;
  int32_t value;
  ptrdiff_t cursorAfter;
};

class LetterTest : public ::testing::TestWithParam<CursorCase> {};

TEST_P(LetterTest, ValueAndCursor) {
  const CursorCase& c = GetParam();
  const char* cursor = c.text;
  EXPECT_EQ(wzGetLetter(&cursor), c.value) << '"' << c.text << '"';
  EXPECT_EQ(cursor - c.text, c.cursorAfter) << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Letters, LetterTest,
    ::testing::Values(CursorCase{"  B12", 2, 3}, CursorCase{"AB7", 28, 2},
                      CursorCase{"ZZ", 702, 2}, CursorCase{"ABC1", -1, 3},
                      CursorCase{"12", -1, 0}, CursorCase{"a", 33, 1}, CursorCase{"z", 58, 1},
                      CursorCase{"   ", -1, 3}, CursorCase{"", -1, 0}, CursorCase{"A", 1, 1},
                      CursorCase{"Z", 26, 1}, CursorCase{"AA", 27, 2}, CursorCase{"AZ", 52, 2},
                      CursorCase{"BA", 53, 2},
                      // The bytes between 'Z' and 'a' are letters too.
                      CursorCase{"[", 27, 1}, CursorCase{"^A", 30 * 26 + 1, 2},
                      CursorCase{"`", 32, 1},
                      // Only spaces and line feeds are blanks.
                      CursorCase{"\n \nC!", 3, 4}, CursorCase{"\tC", -1, 0},
                      CursorCase{"\rC", -1, 0}, CursorCase{"@", -1, 0}, CursorCase{"{", -1, 0},
                      CursorCase{"\xc4", -1, 0}, CursorCase{"A B", 1, 1},
                      CursorCase{"!C3", -1, 0}, CursorCase{"B:12", 2, 1}));

class IntItemTest : public ::testing::TestWithParam<CursorCase> {};

TEST_P(IntItemTest, ValueAndCursor) {
  const CursorCase& c = GetParam();
  const char* cursor = c.text;
  EXPECT_EQ(wzGetIntItem(&cursor), c.value) << '"' << c.text << '"';
  EXPECT_EQ(cursor - c.text, c.cursorAfter) << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, IntItemTest,
    ::testing::Values(CursorCase{" 42,7", 42, 3}, CursorCase{"-5", 0, 0}, CursorCase{"", -1, 0},
                      CursorCase{"   ", -1, 3}, CursorCase{"\n\n", -1, 2}, CursorCase{"0", 0, 1},
                      CursorCase{"007>", 7, 3}, CursorCase{"12 34", 12, 2},
                      CursorCase{"  x", 0, 2}, CursorCase{"\t5", 0, 0},
                      CursorCase{"2147483647", INT32_MAX, 10},
                      CursorCase{"2147483648", INT32_MAX, 10},
                      CursorCase{"99999999999999999999 ", INT32_MAX, 20},
                      CursorCase{"214748364", 214748364, 9}));

TEST(IntItemTest, ReadsSuccessiveNumbersOfALine) {
  const char* cursor = "12 300 7";
  EXPECT_EQ(wzGetIntItem(&cursor), 12);
  EXPECT_EQ(wzGetIntItem(&cursor), 300);
  EXPECT_EQ(wzGetIntItem(&cursor), 7);
  EXPECT_EQ(wzGetIntItem(&cursor), -1);
  EXPECT_EQ(*cursor, '\0');
}

// --- wzProcessString ---------------------------------------------------------

constexpr int32_t kQuoted = 29;  // the general format of a value in quotes

struct StringCase {
  const char* name;
  std::string text;
  int32_t formatCode;
  std::string decoded;
  int result;
};

class ProcessStringTest : public ::testing::TestWithParam<StringCase> {};

TEST_P(ProcessStringTest, DecodesInPlace) {
  const StringCase& c = GetParam();
  // Guard bytes after the terminator show the decoder stays inside the text.
  std::string buffer = c.text + std::string(1, '\0') + "GUARD";
  EXPECT_EQ(wzProcessString(buffer.data(), c.formatCode), c.result);
  EXPECT_EQ(std::string(buffer.c_str()), c.decoded);
  EXPECT_EQ(buffer.substr(c.text.size() + 1), "GUARD");
}

INSTANTIATE_TEST_SUITE_P(
    Escapes, ProcessStringTest,
    ::testing::Values(
        StringCase{"QuotedClosed", "\"ab^^c\"x", kQuoted, "ab^c", 1},
        StringCase{"QuotedOpen", "\"abc", kQuoted, "abc", 0},
        StringCase{"QuotedEmpty", "\"\"", kQuoted, "", 1},
        StringCase{"QuotedLoneQuote", "\"", kQuoted, "", 0},
        StringCase{"QuotedContinuationLine", "more text\" tail", kQuoted, "more text", 1},
        StringCase{"QuotedContinuationOpen", "more text", kQuoted, "more text", 0},
        StringCase{"QuotedEmptyText", "", kQuoted, "", 0},
        StringCase{"PlainKeepsQuotes", "say \"hi\"", 0, "say \"hi\"", 1},
        StringCase{"PlainOtherCode", "\"x\"", 5, "\"x\"", 1},
        StringCase{"NibbleLow", "^ab", 0, "\x01", 1},
        StringCase{"NibbleHigh", "^ca", 0, " ", 1},
        StringCase{"NibbleMax", "^pp", 0, "\xff", 1},
        StringCase{"TwoEscapes", "^ea^fb", 0, "@Q", 1},
        StringCase{"EscapeInText", "a^cab", 0, "a b", 1},
        StringCase{"DoubleCaret", "^^", 0, "^", 1},
        StringCase{"CaretCaretThenLetters", "^^ab", 0, "^ab", 1},
        StringCase{"EscapedQuoteDoesNotClose", "\"a^cc b\"", kQuoted, "a\" b", 1},
        StringCase{"EscapeOfQuoteByte", "\"^\"ab\"", kQuoted, "\x10" "b", 1},
        // Bytes below 'a' count modulo 16: 'A' is 65 - 97 = -32, 0 mod 16.
        StringCase{"UpperCaseNibbles", "^AB", 0, "\x01", 1},
        StringCase{"DigitNibbles", "^12", 0, "\x01", 1},
        StringCase{"HighByteNibbles", "^\xf5r", 0, "A", 1},
        StringCase{"NibbleAbovePWraps", "^qz", 0, "\x09", 1},
        // A '^' too near the end is kept as it stands.
        StringCase{"TailCaretOnly", "ab^", 0, "ab^", 1},
        StringCase{"TailCaretOneByte", "ab^c", 0, "ab^c", 1},
        StringCase{"QuotedTailCaret", "\"ab^", kQuoted, "ab^", 0},
        StringCase{"QuotedTailCaretOneByte", "\"ab^c", kQuoted, "ab^c", 0},
        StringCase{"QuotedTailCaretBeforeQuote", "\"ab^\"", kQuoted, "ab^", 1}),
    [](const ::testing::TestParamInfo<StringCase>& info) { return info.param.name; });

TEST(ProcessStringTest, DecodedBytesAreWholeBytes) {
  // "^ab" is 1, "^ca" 32, "^pp" 255, compared as unsigned bytes.
  char text[] = "^ab^ca^pp";
  ASSERT_EQ(wzProcessString(text, 0), 1);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[1], 32);
  EXPECT_EQ(bytes[2], 255);
  EXPECT_EQ(bytes[3], 0);
}

TEST(ProcessStringTest, EveryByteRoundTrips) {
  for (int byte = 1; byte < 256; ++byte) {
    char text[] = {'^', static_cast<char>('a' + byte / 16), static_cast<char>('a' + byte % 16),
                   '\0'};
    ASSERT_EQ(wzProcessString(text, 0), 1);
    EXPECT_EQ(static_cast<unsigned char>(text[0]), byte);
    EXPECT_EQ(text[1], '\0');
  }
}

// --- wzGetRowHeightItem --------------------------------------------------------

struct Item {
  int32_t first;
  int32_t second;
  uint32_t indexAfter;
};

std::vector<Item> rowHeightItems(const char* text, uint32_t start) {
  std::vector<Item> items;
  uint32_t index = start;
  int32_t first = -99;
  int32_t second = -99;
  // Each item consumes at least one byte, so the text length bounds the loop.
  for (size_t guard = 0; guard <= std::strlen(text); ++guard) {
    if (!wzGetRowHeightItem(text, &index, &first, &second)) break;
    items.push_back({first, second, index});
  }
  return items;
}

bool operator==(const Item& a, const Item& b) {
  return a.first == b.first && a.second == b.second && a.indexAfter == b.indexAfter;
}
void PrintTo(const Item& item, std::ostream* os) {
  *os << "(" << item.first << ", " << item.second << " @" << item.indexAfter << ")";
}

struct RowHeightCase {
  const char* name;
  const char* text;
  uint32_t start;
  std::vector<Item> items;
};

class RowHeightTest : public ::testing::TestWithParam<RowHeightCase> {};

TEST_P(RowHeightTest, ReadsEveryItem) {
  const RowHeightCase& c = GetParam();
  EXPECT_EQ(rowHeightItems(c.text, c.start), c.items);
}

INSTANTIATE_TEST_SUITE_P(
    Items, RowHeightTest,
    ::testing::Values(
        RowHeightCase{"LineOfTwo", "View Row Heights: 1:300 5:250", 18,
                      {{1, 300, 23}, {5, 250, 29}}},
        RowHeightCase{"TrailingBlanks", " 1:300 \r\n", 0, {{1, 300, 6}}},
        RowHeightCase{"CarriageReturnsSkipped", "\r\r2:40", 0, {{2, 40, 6}}},
        RowHeightCase{"EmptyHeight", "3: 4:5", 0, {{3, 0, 2}, {4, 5, 6}}},
        RowHeightCase{"HeightEndsAtDash", "3:12-7:8", 0, {{3, 12, 4}, {-7, 8, 8}}},
        RowHeightCase{"SignedNumbers", "-2:+15", 0, {{-2, 15, 6}}},
        RowHeightCase{"DigitsStopAtOtherBytes", "7x:12y", 0, {{7, 12, 6}}},
        RowHeightCase{"NoColonEndsTheList", "1:300 12", 0, {{1, 300, 5}}},
        RowHeightCase{"NoColonAtAll", "12 13", 0, {}},
        RowHeightCase{"BlanksOnly", "  \n\r ", 0, {}},
        RowHeightCase{"Empty", "", 0, {}},
        RowHeightCase{"SaturatesHigh", "99999999999:4294967296", 0, {{INT32_MAX, INT32_MAX, 22}}},
        RowHeightCase{"SaturatesLow", "-99999999999:1", 0, {{INT32_MIN, 1, 14}}},
        RowHeightCase{"Limits", "-2147483648:2147483647", 0, {{INT32_MIN, INT32_MAX, 22}}},
        // A tab is white space to the conversion but not skipped first.
        RowHeightCase{"TabBeforeNumber", "\t6:\t7", 0, {{6, 7, 5}}}),
    [](const ::testing::TestParamInfo<RowHeightCase>& info) { return info.param.name; });

TEST(RowHeightTest, EndLeavesIndexAndOutputsAlone) {
  const char* text = "1:300   ";
  uint32_t index = 5;
  int32_t first = -9;
  int32_t second = -9;
  EXPECT_EQ(wzGetRowHeightItem(text, &index, &first, &second), 0);
  EXPECT_EQ(index, 5u);
  EXPECT_EQ(first, -9);
  EXPECT_EQ(second, -9);
  index = 0;
  EXPECT_EQ(wzGetRowHeightItem("12 ", &index, &first, &second), 0);
  EXPECT_EQ(index, 0u);
}

// --- wzGetColWidthItem ---------------------------------------------------------

struct ColumnItem {
  int32_t column;
  int32_t width;
  ptrdiff_t cursorAfter;
};
bool operator==(const ColumnItem& a, const ColumnItem& b) {
  return a.column == b.column && a.width == b.width && a.cursorAfter == b.cursorAfter;
}
void PrintTo(const ColumnItem& item, std::ostream* os) {
  *os << "(" << item.column << ", " << item.width << " @" << item.cursorAfter << ")";
}

struct ColumnWidthCase {
  const char* name;
  const char* text;
  std::vector<ColumnItem> items;
};

class ColumnWidthTest : public ::testing::TestWithParam<ColumnWidthCase> {};

TEST_P(ColumnWidthTest, ReadsEveryItem) {
  const ColumnWidthCase& c = GetParam();
  std::vector<ColumnItem> items;
  const char* cursor = c.text;
  int32_t column = 0;
  int32_t width = 0;
  for (size_t guard = 0; guard <= std::strlen(c.text); ++guard) {
    if (!wzGetColWidthItem(&cursor, &column, &width)) break;
    items.push_back({column, width, cursor - c.text});
  }
  EXPECT_EQ(items, c.items);
}

INSTANTIATE_TEST_SUITE_P(
    Items, ColumnWidthTest,
    ::testing::Values(
        ColumnWidthCase{"TwoItems", " A:12 AB:7", {{1, 12, 5}, {28, 7, 10}}},
        ColumnWidthCase{"LineFeedsAreBlanks", "\nZZ:3\n", {{702, 3, 5}}},
        ColumnWidthCase{"Empty", "", {}},
        ColumnWidthCase{"BlanksOnly", "  \n", {}},
        ColumnWidthCase{"LettersAtEnd", "C", {{3, -1, 1}}},
        ColumnWidthCase{"NoWidth", "C: D:4", {{3, 0, 3}, {4, 4, 6}}},
        ColumnWidthCase{"NoLetters", "12", {{-1, 2, 2}}},
        ColumnWidthCase{"AnyByteAfterLetters", "B=9", {{2, 9, 3}}},
        ColumnWidthCase{"WidthThenBlanks", "A:5  ", {{1, 5, 3}}}),
    [](const ::testing::TestParamInfo<ColumnWidthCase>& info) { return info.param.name; });

}  // namespace
}  // namespace wzss

// Token readers: letters, unsigned numbers, the string escape scheme and the
// view section's list items, with the cursor position each leaves behind.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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

void expectCursorReads(int32_t (*read)(const char**), const std::vector<CursorCase>& cases) {
  for (const CursorCase& c : cases) {
    SCOPED_TRACE('"' + std::string(c.text) + '"');
    const char* cursor = c.text;
    EXPECT_EQ(read(&cursor), c.value);
    EXPECT_EQ(cursor - c.text, c.cursorAfter);
  }
}

// Letters: base 26 from A = 1; the bytes between 'Z' and 'a' are letters too;
// only spaces and line feeds are blanks.
TEST(LetterTest, ValueAndCursor) {
  expectCursorReads(
      wzGetLetter,
      {{"  B12", 2, 3}, {"ZZ", 702, 2},    {"ABC1", -1, 3}, {"12", -1, 0},  {"a", 33, 1},
       {"z", 58, 1},    {"   ", -1, 3},    {"", -1, 0},     {"A", 1, 1},    {"Z", 26, 1},
       {"AA", 27, 2},   {"AZ", 52, 2},     {"BA", 53, 2},   {"[", 27, 1},   {"^A", 30 * 26 + 1, 2},
       {"`", 32, 1},    {"\n \nC!", 3, 4}, {"\tC", -1, 0},  {"\rC", -1, 0}, {"@", -1, 0},
       {"{", -1, 0},    {"\xc4", -1, 0},   {"A B", 1, 1},   {"B:12", 2, 1}});
}

TEST(IntItemTest, ValueAndCursor) {
  expectCursorReads(wzGetIntItem, {{" 42,7", 42, 3},
                                   {"-5", 0, 0},
                                   {"", -1, 0},
                                   {"\n \n", -1, 3},
                                   {"0", 0, 1},
                                   {"007>", 7, 3},
                                   {"12 34", 12, 2},
                                   {"  x", 0, 2},
                                   {"\t5", 0, 0},
                                   {"2147483647", INT32_MAX, 10},
                                   {"2147483648", INT32_MAX, 10},
                                   {"99999999999999999999 ", INT32_MAX, 20}});
  // Successive numbers of one line.
  const char* cursor = "12 300 7";
  for (int32_t expected : {12, 300, 7, -1}) EXPECT_EQ(wzGetIntItem(&cursor), expected);
  EXPECT_EQ(*cursor, '\0');
}

constexpr int32_t kQuoted = 29;  // the general format of a value in quotes

TEST(ProcessStringTest, DecodesInPlace) {
  struct Case {
    const char* name;
    std::string text;
    int32_t formatCode;
    std::string decoded;
    int result;
  } cases[] = {{"QuotedClosed", "\"ab^^c\"x", kQuoted, "ab^c", 1},
               {"QuotedOpen", "\"abc", kQuoted, "abc", 0},
               {"QuotedEmpty", "\"\"", kQuoted, "", 1},
               {"QuotedLoneQuote", "\"", kQuoted, "", 0},
               {"QuotedContinuationLine", "more text\" tail", kQuoted, "more text", 1},
               {"QuotedContinuationOpen", "more text", kQuoted, "more text", 0},
               {"QuotedEmptyText", "", kQuoted, "", 0},
               {"PlainKeepsQuotes", "say \"hi\"", 0, "say \"hi\"", 1},
               {"PlainOtherCode", "\"x\"", 5, "\"x\"", 1},
               {"NibbleHigh", "^ca", 0, " ", 1},
               {"TwoEscapes", "^ea^fb", 0, "@Q", 1},
               {"EscapeInText", "a^cab", 0, "a b", 1},
               {"DoubleCaret", "^^", 0, "^", 1},
               {"CaretCaretThenLetters", "^^ab", 0, "^ab", 1},
               {"EscapedQuoteDoesNotClose", "\"a^cc b\"", kQuoted, "a\" b", 1},
               {"EscapeOfQuoteByte", "\"^\"ab\"", kQuoted,
                "\x10"
                "b",
                1},
               // Bytes below 'a' count modulo 16: 'A' is 65 - 97 = -32, 0 mod 16.
               {"UpperCaseNibbles", "^AB", 0, "\x01", 1},
               {"DigitNibbles", "^12", 0, "\x01", 1},
               {"HighByteNibbles", "^\xf5r", 0, "A", 1},
               {"NibbleAbovePWraps", "^qz", 0, "\x09", 1},
               // A '^' too near the end is kept as it stands.
               {"TailCaretOnly", "ab^", 0, "ab^", 1},
               {"TailCaretOneByte", "ab^c", 0, "ab^c", 1},
               {"QuotedTailCaret", "\"ab^", kQuoted, "ab^", 0},
               {"QuotedTailCaretOneByte", "\"ab^c", kQuoted, "ab^c", 0},
               {"QuotedTailCaretBeforeQuote", "\"ab^\"", kQuoted, "ab^", 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    // Guard bytes after the terminator show the decoder stays inside the text.
    std::string buffer = c.text + std::string(1, '\0') + "GUARD";
    EXPECT_EQ(wzProcessString(buffer.data(), c.formatCode), c.result);
    EXPECT_EQ(std::string(buffer.c_str()), c.decoded);
    EXPECT_EQ(buffer.substr(c.text.size() + 1), "GUARD");
  }
}

TEST(ProcessStringTest, EveryByteRoundTripsAsAnUnsignedByte) {
  for (int byte = 1; byte < 256; ++byte) {
    char text[] = {'^', static_cast<char>('a' + byte / 16), static_cast<char>('a' + byte % 16),
                   '\0'};
    ASSERT_EQ(wzProcessString(text, 0), 1);
    EXPECT_EQ(static_cast<unsigned char>(text[0]), byte);
    EXPECT_EQ(text[1], '\0');
  }
}

// An item of a list line: both numbers and where the reader stopped.
struct Item {
  int32_t first;
  int32_t second;
  int64_t after;
  bool operator==(const Item&) const = default;
};
void PrintTo(const Item& item, std::ostream* os) {
  *os << "(" << item.first << ", " << item.second << " @" << item.after << ")";
}

// Calls read until it reports the end; each item consumes at least one byte,
// so the text length bounds the loop.
template <typename Read>
std::vector<Item> readItems(const char* text, Read read) {
  std::vector<Item> items;
  for (size_t guard = 0; guard <= std::strlen(text); ++guard) {
    Item item{-99, -99, 0};
    if (!read(&item)) break;
    items.push_back(item);
  }
  return items;
}

TEST(RowHeightTest, ReadsEveryItem) {
  struct Case {
    const char* name;
    const char* text;
    uint32_t start;
    std::vector<Item> items;
  } cases[] = {{"LineOfTwo", "View Row Heights: 1:300 5:250", 18, {{1, 300, 23}, {5, 250, 29}}},
               {"TrailingBlanks", " 1:300 \r\n", 0, {{1, 300, 6}}},
               {"CarriageReturnsSkipped", "\r\r2:40", 0, {{2, 40, 6}}},
               {"EmptyHeight", "3: 4:5", 0, {{3, 0, 2}, {4, 5, 6}}},
               {"HeightEndsAtDash", "3:12-7:8", 0, {{3, 12, 4}, {-7, 8, 8}}},
               {"SignedNumbers", "-2:+15", 0, {{-2, 15, 6}}},
               {"DigitsStopAtOtherBytes", "7x:12y", 0, {{7, 12, 6}}},
               {"NoColonEndsTheList", "1:300 12", 0, {{1, 300, 5}}},
               {"NoColonAtAll", "12 13", 0, {}},
               {"BlanksOnly", "  \n\r ", 0, {}},
               {"SaturatesHigh", "99999999999:4294967296", 0, {{INT32_MAX, INT32_MAX, 22}}},
               {"SaturatesLow", "-99999999999:1", 0, {{INT32_MIN, 1, 14}}},
               {"Limits", "-2147483648:2147483647", 0, {{INT32_MIN, INT32_MAX, 22}}},
               // A tab is white space to the conversion but not skipped first.
               {"TabBeforeNumber", "\t6:\t7", 0, {{6, 7, 5}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    uint32_t index = c.start;
    EXPECT_EQ(readItems(c.text,
                        [&](Item* item) {
                          const int more =
                              wzGetRowHeightItem(c.text, &index, &item->first, &item->second);
                          item->after = index;
                          return more;
                        }),
              c.items);
  }
}

TEST(RowHeightTest, EndLeavesIndexAndOutputsAlone) {
  uint32_t index = 5;
  int32_t first = -9;
  int32_t second = -9;
  EXPECT_EQ(wzGetRowHeightItem("1:300   ", &index, &first, &second), 0);
  EXPECT_EQ(index, 5u);
  EXPECT_EQ(first, -9);
  EXPECT_EQ(second, -9);
  index = 0;
  EXPECT_EQ(wzGetRowHeightItem("12 ", &index, &first, &second), 0);
  EXPECT_EQ(index, 0u);
}

TEST(ColumnWidthTest, ReadsEveryItem) {
  struct Case {
    const char* text;
    std::vector<Item> items;  // column, width, cursor offset
  } cases[] = {{" A:12 AB:7", {{1, 12, 5}, {28, 7, 10}}},
               {"\nZZ:3\n", {{702, 3, 5}}},  // line feeds are blanks
               {"", {}},
               {"  \n", {}},
               {"C", {{3, -1, 1}}},  // letters at the end
               {"C: D:4", {{3, 0, 3}, {4, 4, 6}}},
               {"12", {{-1, 2, 2}}},  // no letters
               {"B=9", {{2, 9, 3}}},  // any byte after the letters
               {"A:5  ", {{1, 5, 3}}}};
  for (const Case& c : cases) {
    SCOPED_TRACE('"' + std::string(c.text) + '"');
    const char* cursor = c.text;
    EXPECT_EQ(readItems(c.text,
                        [&](Item* item) {
                          const int more = wzGetColWidthItem(&cursor, &item->first, &item->second);
                          item->after = cursor - c.text;
                          return more;
                        }),
              c.items);
  }
}

}  // namespace
}  // namespace wzss

// The line reader: line ends, cut-off input, lines longer than the buffer,
// and its one-byte-per-Read contract with the host's stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>

#include "host/memory_stream.h"
#include "scan/scan.h"

namespace wzss {
namespace {

struct LineCase {
  const char* name;
  std::string input;
  int result;
  std::string line;
};

class LineEndTest : public ::testing::TestWithParam<LineCase> {};

TEST_P(LineEndTest, StripsOnlyTheLineEnd) {
  const LineCase& c = GetParam();
  host::MemoryStream stream(c.input);
  char line[kLineSize];
  std::memset(line, 'Z', sizeof line);
  uint32_t pos = 99;
  EXPECT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), c.result);
  EXPECT_EQ(std::string(line), c.line);
  EXPECT_EQ(pos, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, LineEndTest,
    ::testing::Values(LineCase{"CrLf", "abc\r\nnext\n", 1, "abc"},
                      LineCase{"BareLf", "abc\nnext\n", 1, "abc"},
                      LineCase{"CrLfAlone", "\r\n", 1, ""},
                      LineCase{"LfAlone", "\n", 1, ""},
                      LineCase{"InnerCrKept", "a\rb\n", 1, "a\rb"},
                      LineCase{"OnlyOneCrRemoved", "ab\r\r\n", 1, "ab\r"},
                      LineCase{"CrAtStartOfInnerText", "\rab\n", 1, "\rab"},
                      LineCase{"EndWithoutLf", "xyz", 0, "xyz"},
                      LineCase{"EndAfterCr", "xyz\r", 0, "xyz\r"},
                      LineCase{"EmptyInput", "", 0, ""},
                      LineCase{"TabsAndHighBytesKept", "\t\xe9\xff \n", 1, "\t\xe9\xff "}),
    [](const ::testing::TestParamInfo<LineCase>& info) { return info.param.name; });

TEST(LineReaderTest, RecordsEachLineStart) {
  host::MemoryStream stream("ab\r\n\ncdef\nxy");
  char line[kLineSize];
  uint32_t pos = 0;
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(pos, 0u);
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(pos, 4u);  // the lone LF's own offset
  EXPECT_STREQ(line, "");
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(pos, 5u);
  EXPECT_STREQ(line, "cdef");
  EXPECT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 0);
  EXPECT_EQ(pos, 10u);
  EXPECT_STREQ(line, "xy");
  EXPECT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 0);
  EXPECT_EQ(pos, 12u);
  EXPECT_STREQ(line, "");
}

TEST(LineReaderTest, ReadsOneByteAtATimeAndTellsOnce) {
  host::MemoryStream stream("hello\r\nworld\n");
  char line[kLineSize];
  uint32_t pos = 0;
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(stream.calls().reads, 7u);  // h e l l o CR LF, nothing beyond
  EXPECT_EQ(stream.calls().tells, 1u);
  EXPECT_EQ(stream.position(), 7u);
}

TEST(LineReaderTest, ReadFailureEndsTheLineWithWhatWasRead) {
  host::MemoryStream stream("abcdef\n");
  stream.failRead(4);
  char line[kLineSize];
  uint32_t pos = 0;
  EXPECT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 0);
  EXPECT_STREQ(line, "abc");
  EXPECT_EQ(stream.calls().reads, 4u);  // no Read after the failing one
}

// Long lines keep capacity - 1 bytes, consume the rest up to the line feed,
// and leave the stream on the next line.
struct LongLineCase {
  uint32_t capacity;
  size_t length;  // bytes before the line end
  const char* lineEnd;
};

void PrintTo(const LongLineCase& c, std::ostream* os) {
  *os << "capacity " << c.capacity << ", " << c.length << " bytes, "
      << (c.lineEnd[0] == '\r' ? "CR LF" : "LF");
}

class LongLineTest : public ::testing::TestWithParam<LongLineCase> {};

std::string patternText(size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

TEST_P(LongLineTest, KeepsTheHeadAndSkipsTheRest) {
  const LongLineCase& c = GetParam();
  const std::string body = patternText(c.length);
  host::MemoryStream stream(body + c.lineEnd + "next\n");
  // A guard area after the capacity catches any write past it.
  std::string buffer(c.capacity + 16, '#');
  uint32_t pos = 77;
  ASSERT_EQ(wzGetLine(stream.get(), buffer.data(), c.capacity, &pos), 1);
  EXPECT_EQ(pos, 0u);
  const size_t kept = std::min<size_t>(c.length, c.capacity - 1);
  EXPECT_EQ(std::string(buffer.c_str()), body.substr(0, kept));
  EXPECT_EQ(buffer.substr(c.capacity), std::string(16, '#'));
  // The stream stands on the next line's first byte.
  char next[kLineSize];
  ASSERT_EQ(wzGetLine(stream.get(), next, sizeof next, &pos), 1);
  EXPECT_EQ(pos, c.length + std::strlen(c.lineEnd));
  EXPECT_STREQ(next, "next");
}

INSTANTIATE_TEST_SUITE_P(
    Boundaries, LongLineTest,
    ::testing::Values(LongLineCase{200, 198, "\n"}, LongLineCase{200, 199, "\n"},
                      LongLineCase{200, 200, "\n"}, LongLineCase{200, 201, "\n"},
                      LongLineCase{200, 450, "\n"}, LongLineCase{200, 198, "\r\n"},
                      LongLineCase{200, 199, "\r\n"}, LongLineCase{200, 200, "\r\n"},
                      LongLineCase{512, 511, "\n"}, LongLineCase{512, 512, "\r\n"},
                      LongLineCase{512, 1500, "\r\n"}, LongLineCase{1, 5, "\n"},
                      LongLineCase{2, 3, "\r\n"}));

TEST(LineReaderTest, CarriageReturnBeyondTheCutIsNotTheLastKeptByte) {
  // The kept bytes end in a CR that is not the one before the line feed.
  std::string text(198, 'x');
  text += "\rYZ\r\n";
  host::MemoryStream stream(text);
  char line[kLineSize];
  uint32_t pos = 0;
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(std::string(line), std::string(198, 'x') + "\r");
}

TEST(LineReaderTest, NoCapacityWritesNothingButConsumesTheLine) {
  host::MemoryStream stream("abc\nd\n");
  char guard = '#';
  uint32_t pos = 9;
  EXPECT_EQ(wzGetLine(stream.get(), &guard, 0, &pos), 1);
  EXPECT_EQ(guard, '#');
  EXPECT_EQ(stream.position(), 4u);
}

TEST(LineReaderTest, LongLineCutByEndOfInputStaysTerminated) {
  const std::string body = patternText(300);
  host::MemoryStream stream(body);
  std::string buffer(kLineSize + 8, '#');
  uint32_t pos = 0;
  EXPECT_EQ(wzGetLine(stream.get(), buffer.data(), kLineSize, &pos), 0);
  EXPECT_EQ(std::string(buffer.c_str()), body.substr(0, kLineSize - 1));
  EXPECT_EQ(buffer.substr(kLineSize), std::string(8, '#'));
  EXPECT_EQ(stream.position(), 300u);
}

}  // namespace
}  // namespace wzss

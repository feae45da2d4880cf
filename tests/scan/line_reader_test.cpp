// The line reader: line ends, cut-off input, lines longer than the buffer,
// and its one-byte-per-Read contract with the host's stream.
#include <gtest/gtest.h>

#include <string>

#include "wzss/host/memory_stream.h"
#include "scan/scan.h"

namespace wzss {
namespace {

std::string patternText(size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

// One line read from the start of the input: the result, the kept text, and
// where the stream stands afterwards (the next line's first byte).
TEST(LineReaderTest, KeepsTheLineWithoutItsEndAndConsumesTheRest) {
  const std::string x198(198, 'x');
  struct Case {
    const char* name;
    std::string input;
    uint32_t capacity;
    int result;
    std::string line;
    size_t consumed;
  } cases[] = {
      {"CrLf", "abc\r\nnext\n", kLineSize, 1, "abc", 5},
      {"BareLf", "abc\nnext\n", kLineSize, 1, "abc", 4},
      {"CrLfAlone", "\r\n", kLineSize, 1, "", 2},
      {"InnerCrKept", "a\rb\n", kLineSize, 1, "a\rb", 4},
      {"OnlyOneCrRemoved", "ab\r\r\n", kLineSize, 1, "ab\r", 5},
      {"CrAtStart", "\rab\n", kLineSize, 1, "\rab", 4},
      {"EndWithoutLf", "xyz", kLineSize, 0, "xyz", 3},
      {"EndAfterCr", "xyz\r", kLineSize, 0, "xyz\r", 4},
      {"EmptyInput", "", kLineSize, 0, "", 0},
      {"TabsAndHighBytesKept", "\t\xe9\xff \n", kLineSize, 1, "\t\xe9\xff ", 5},
      // Long lines keep capacity - 1 bytes and are consumed up to the LF.
      {"FitsExactly", patternText(199) + "\nnext\n", 200, 1, patternText(199), 200},
      {"OneOver", patternText(200) + "\nnext\n", 200, 1, patternText(199), 201},
      {"FarOver", patternText(450) + "\nnext\n", 200, 1, patternText(199), 451},
      {"CrLfOneOver", patternText(200) + "\r\nnext\n", 200, 1, patternText(199), 202},
      {"CrLfAtTheCut", patternText(199) + "\r\nnext\n", 200, 1, patternText(199), 201},
      {"CrLfInside", patternText(198) + "\r\nnext\n", 200, 1, patternText(198), 200},
      {"ContinuationSize", patternText(1500) + "\r\nnext\n", 512, 1, patternText(511), 1502},
      {"CapacityOne", "abcde\nnext\n", 1, 1, "", 6},
      {"CapacityTwo", "abc\r\nnext\n", 2, 1, "a", 5},
      // A CR the cut leaves last is not the one before the line feed.
      {"CrKeptAtTheCut", x198 + "\rYZ\r\nnext\n", kLineSize, 1, x198 + "\r", 203},
      {"LongLineCutByTheEnd", patternText(300), kLineSize, 0, patternText(199), 300},
      {"NoCapacityConsumesTheLine", "abc\nd\n", 0, 1, "", 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host::MemoryStream stream(c.input);
    // A guard area after the capacity catches any write past it.
    std::string buffer(c.capacity + 16, '#');
    uint32_t pos = 99;
    EXPECT_EQ(wzGetLine(stream.get(), buffer.data(), c.capacity, &pos), c.result);
    EXPECT_EQ(pos, 0u);
    if (c.capacity > 0) {
      EXPECT_EQ(std::string(buffer.c_str()), c.line);
    }
    EXPECT_EQ(buffer.substr(c.capacity), std::string(16, '#'));
    EXPECT_EQ(stream.position(), c.consumed);
  }
}

TEST(LineReaderTest, RecordsEachLineStart) {
  host::MemoryStream stream("ab\r\n\ncdef\nxy");
  struct Expected {
    int result;
    uint32_t pos;
    const char* line;
  } lines[] = {{1, 0, "ab"}, {1, 4, ""}, {1, 5, "cdef"}, {0, 10, "xy"}, {0, 12, ""}};
  for (const Expected& e : lines) {
    SCOPED_TRACE(e.pos);
    char line[kLineSize];
    uint32_t pos = 99;
    EXPECT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), e.result);
    EXPECT_EQ(pos, e.pos);
    EXPECT_STREQ(line, e.line);
  }
}

TEST(LineReaderTest, ReadsOneByteAtATimeAndTellsOnce) {
  host::MemoryStream stream("hello\r\nworld\n");
  char line[kLineSize];
  uint32_t pos = 0;
  ASSERT_EQ(wzGetLine(stream.get(), line, sizeof line, &pos), 1);
  EXPECT_EQ(stream.calls().reads, 7u);  // h e l l o CR LF, nothing beyond
  EXPECT_EQ(stream.calls().tells, 1u);
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

}  // namespace
}  // namespace wzss

// Labels and quoted strings that continue over the following lines of the
// file: which lines are taken, where the stream is left, and what happens
// when memory or the stream fails on the way.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "format/format.h"
#include "format_bench.h"

namespace wzss {
namespace {

using test::FormatBench;

constexpr uint32_t kLabel = 0;
constexpr uint32_t kString = 29;

struct GatherCase {
  const char* name;
  uint32_t code;
  std::string value;      // the value text of the cell line
  std::string following;  // the lines after the cell line
  std::string expected;
  uint32_t positionAfter;  // where the stream is left
};

// Each case is run as it is, then with each of its allocations failing and
// with its first Seek failing: a failure gives null and leaves no block.
TEST(ContinuationLines, GatheredByTheBlankAndQuoteRules) {
  const GatherCase cases[] = {
      {"label over two lines", kLabel, "Hello", " wor\n ld\n(F2) A1: 5\n", "Helloworld", 9},
      {"label ends at an empty line", kLabel, "Hello", " a\n\n b\n", "Helloa", 3},
      {"label without continuation", kLabel, "Hello", "(G) A2: 1\n", "Hello", 0},
      {"label keeps inner blanks", kLabel, "  two  words", "  and more\nx\n", "two  words and more",
       11},
      {"empty label takes any next line", kLabel, "", "Xabc\n def\nnext\n", "abcdef", 10},
      {"empty label and empty line", kLabel, " ", "\n ab\nz\n", "ab", 5},
      {"label escapes decoded", kLabel, "a^^b", " ^ca^fb\nz\n", "a^b Q", 8},
      {"string closes on second line", kString, "\"ab", " cd\"xy\n(G) A2: 1\n", "abcd", 7},
      {"string over an empty line", kString, "\"ab", " cd\n\n ef\"\nnext\n", "abcdef", 10},
      {"string closed at once", kString, "\"ab\" tail", " more\n", "ab", 0},
      {"string takes lines without blanks", kString, "\"a", "bc\nde\"\n", "ace", 7},
      {"string with escaped quote", kString, "\"say ^cc", "  hi^cc\"\n", "say \" hi\"", 9},
      {"label with CRLF lines", kLabel, "A", " b\r\n c\r\nd\r\n", "Abc", 8},
      // The end of the input ends the gathering.
      {"open string, last line unterminated", kString, "\"ab", " cd\n ef", "abcdef", 7},
      {"open string, nothing follows", kString, "\"ab", "", "ab", 0},
      {"open string, empty last line", kString, "\"ab", " cd\n", "abcd", 4},
      {"label continued by a partial line", kLabel, "Hello", " x", "Hellox", 2},
      {"label not continued by a partial line", kLabel, "Hello", "next", "Hello", 0},
      {"closed string, partial line given back", kString, "\"ab\"", "z", "ab", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FormatBench bench(c.following);
    EXPECT_EQ(bench.format(c.value, c.code), c.expected);
    EXPECT_EQ(bench.stream.position(), c.positionAfter);
    EXPECT_EQ(bench.liveBlocks(), 0u);
    const uint64_t allocations = bench.services.stats().allocations;
    for (uint64_t failing = 1; failing <= allocations; ++failing) {
      FormatBench starved(c.following);
      starved.services.failAllocation(failing);
      EXPECT_EQ(starved.format(c.value, c.code), std::nullopt) << "allocation " << failing;
      EXPECT_EQ(starved.liveBlocks(), 0u) << "allocation " << failing;
    }
    if (bench.stream.calls().seeks == 0) continue;
    FormatBench lost(c.following);
    lost.stream.failSeek(1);
    EXPECT_EQ(lost.format(c.value, c.code), std::nullopt) << "failed Seek";
    EXPECT_EQ(lost.liveBlocks(), 0u) << "failed Seek";
  }
}

// A complete value reads no more of the next line than decides whether it
// goes on (nothing for a closed string, the first byte for a label), and
// gives the stream back to that line's start.
TEST(ContinuationLines, CompleteValueReadsOnlyWhatDecidesAndSeeksBack) {
  const struct {
    const char* value;
    uint32_t code;
    const char* expected;
    uint32_t reads;
  } cases[] = {{"\"done\"", kString, "done", 0}, {"done", kLabel, "done", 1}};
  for (const auto& c : cases) {
    FormatBench bench("next line\nmore\n");
    EXPECT_EQ(bench.format(c.value, c.code), c.expected) << c.value;
    EXPECT_EQ(bench.stream.position(), 0u) << c.value;
    EXPECT_EQ(bench.stream.calls().seeks, 1u) << c.value;
    EXPECT_EQ(bench.stream.calls().reads, c.reads) << c.value;
  }
}

TEST(ContinuationLines, LongLinesKeepTheirFirst511Bytes) {
  const std::string longLine = " " + std::string(600, 'x');
  FormatBench bench(longLine + "\n" + longLine + "\nnext\n");
  EXPECT_EQ(bench.format("L", kLabel), "L" + std::string(2 * 510, 'x'));
  EXPECT_EQ(bench.stream.position(), 2 * (longLine.size() + 1));
}

// One block per value, grown once per appended line that is not empty.
TEST(ContinuationLines, OneAllocationPerValueAndOneReallocPerAppendedLine) {
  const struct {
    uint32_t code;
    const char* value;
    const char* following;
    const char* expected;
    uint64_t allocations;
  } cases[] = {{kLabel, "Hi", " a\n b\n c\nnext\n", "Hiabc", 4},
               {kString, "\"ab", " cd\n\n \n ef\"\n", "abcdef", 3}};
  for (const auto& c : cases) {
    FormatBench bench(c.following);
    EXPECT_EQ(bench.format(c.value, c.code), c.expected);
    EXPECT_EQ(bench.services.stats().allocations, c.allocations) << c.value;
  }
}

}  // namespace
}  // namespace wzss

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
  };
  for (const auto& c : cases) {
    FormatBench bench(c.following);
    EXPECT_EQ(bench.format(c.value, c.code), c.expected) << c.name;
    EXPECT_EQ(bench.stream.position(), c.positionAfter) << c.name;
    EXPECT_EQ(bench.liveBlocks(), 0u) << c.name;
  }
}

TEST(ContinuationLines, EndOfInputEndsTheGathering) {
  const GatherCase cases[] = {
      {"open string, last line unterminated", kString, "\"ab", " cd\n ef", "abcdef", 7},
      {"open string, nothing follows", kString, "\"ab", "", "ab", 0},
      {"open string, empty last line", kString, "\"ab", " cd\n", "abcd", 4},
      {"label continued by a partial line", kLabel, "Hello", " x", "Hellox", 2},
      {"label not continued by a partial line", kLabel, "Hello", "next", "Hello", 0},
      {"closed string, partial line given back", kString, "\"ab\"", "z", "ab", 0},
  };
  for (const auto& c : cases) {
    FormatBench bench(c.following);
    EXPECT_EQ(bench.format(c.value, c.code), c.expected) << c.name;
    EXPECT_EQ(bench.stream.position(), c.positionAfter) << c.name;
    EXPECT_EQ(bench.liveBlocks(), 0u) << c.name;
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
  const auto shown = bench.format("L", kLabel);
  ASSERT_TRUE(shown.has_value());
  EXPECT_EQ(*shown, "L" + std::string(2 * 510, 'x'));
  EXPECT_EQ(bench.stream.position(), 2 * (longLine.size() + 1));
}

TEST(ContinuationLines, OneAllocationPerValueAndOneReallocPerAppendedLine) {
  FormatBench bench(" a\n\n b\n");
  // The empty line does not continue a label; "b" is never reached.
  EXPECT_EQ(bench.format("Hi", kLabel), "Hia");
  EXPECT_EQ(bench.services.stats().allocations, 2u);

  FormatBench string(" cd\n\n \n ef\"\n");
  // Empty pieces append nothing and grow nothing.
  EXPECT_EQ(string.format("\"ab", kString), "abcdef");
  EXPECT_EQ(string.services.stats().allocations, 3u);
}

TEST(ContinuationLines, EveryFailedAllocationGivesNullWithoutLeak) {
  const std::string following = " a\n b\n c\nnext\n";
  constexpr uint64_t kAllocations = 4;  // the first piece and three lines
  for (uint64_t failing = 1; failing <= kAllocations; ++failing) {
    FormatBench bench(following);
    bench.services.failAllocation(failing);
    EXPECT_EQ(bench.format("Hello", kLabel), std::nullopt) << "allocation " << failing;
    EXPECT_EQ(bench.liveBlocks(), 0u) << "allocation " << failing;
  }
  FormatBench bench(following);
  bench.services.failAllocation(kAllocations + 1);
  EXPECT_EQ(bench.format("Hello", kLabel), "Helloabc");
  EXPECT_EQ(bench.services.stats().allocations, kAllocations);
}

TEST(ContinuationLines, FailedSeekGivesNullWithoutLeak) {
  const GatherCase cases[] = {
      {"label", kLabel, "Hello", " a\nnext\n", "", 0},
      {"closed string", kString, "\"ab\"", "next\n", "", 0},
      {"string closed later", kString, "\"ab", " c\"\nnext\n", "", 0},
  };
  for (const auto& c : cases) {
    FormatBench bench(c.following);
    bench.stream.failSeek(1);
    EXPECT_EQ(bench.format(c.value, c.code), std::nullopt) << c.name;
    EXPECT_EQ(bench.liveBlocks(), 0u) << c.name;
  }
}

TEST(ContinuationLines, NumericCodesNeverTouchTheStream) {
  for (uint32_t code : {1u, 17u, 19u, 20u, 24u, 25u, 26u}) {
    FormatBench bench(" 12\n");
    ASSERT_TRUE(bench.format("12", code, 2).has_value()) << code;
    EXPECT_EQ(bench.stream.calls().reads, 0u) << code;
    EXPECT_EQ(bench.stream.calls().tells, 0u) << code;
    EXPECT_EQ(bench.stream.calls().seeks, 0u) << code;
  }
}

}  // namespace
}  // namespace wzss

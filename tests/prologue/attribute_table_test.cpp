// The attribute table: which lines are kept, their numbers, the entry limit,
// the defaults of the first line, parsingAttrs, the end of the input and
// allocation failures.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "prologue_host.h"

namespace wzss::test {
namespace {

struct Entry {
  uint32_t number;
  std::string text;
  bool operator==(const Entry&) const = default;
};

std::vector<Entry> entries(const WorkbookReader* reader) {
  std::vector<Entry> result;
  for (uint32_t i = 0; i < reader->attrCount; ++i)
    result.push_back({reader->attrs[i]->number, reader->attrs[i]->text});
  return result;
}

void PrintTo(const Entry& e, std::ostream* os) { *os << e.number << ":" << e.text; }

TEST(AttributeTableTest, KeepsLinesWithAFillAndBorderPart) {
  struct Case {
    const char* line;
    bool kept;
  } cases[] = {
      {"(F2|B|L1)", true},
      {"(F2||SH3FG5)", true},
      {"(F2|B|", true},  // the line ends right after the second '|'
      {"||", true},
      {"(F2|B|)", false},  // empty third field
      {"(G0|P10,T0|)", false},
      {"(F2|B)", false},  // one '|'
      {"(F2)", false},    // none
      {"", false},
      {"(F2|B|L1|x)", true},  // only the second '|' counts
      {"(F2|B|)|L1", false},
  };
  for (const Case& c : cases) {
    // The line under test is line 2; line 1 is never kept.
    PrologueHost host(joinLines({"Attr Table Start", "(G0|P10|)", c.line, "Attr Table end"}));
    host.skipLine();
    ASSERT_EQ(wzAttribute(host.reader.get()), 1) << c.line;
    const std::vector<Entry> expected =
        c.kept ? std::vector<Entry>{{2, c.line}} : std::vector<Entry>{};
    EXPECT_EQ(entries(host.reader.get()), expected) << c.line;
  }
}

TEST(AttributeTableTest, NumbersCountEveryLine) {
  struct Case {
    std::vector<std::string> lines;
    std::vector<Entry> expected;
  } cases[] = {
      {{"(F2|B|L1)", "(G0||)", "(G0|I|)", "(F0||SH8FG2)"}, {{1, "(F2|B|L1)"}, {4, "(F0||SH8FG2)"}}},
      {{"(G0|P10|)", "(G0||)", "(G0|I|)", "(F0||SH8FG2)"}, {{4, "(F0||SH8FG2)"}}},
      {{"(G0|P10|)", "(F2|B|SH3)", "(F2|B|L2)", "junk", "(F0||T1)"},
       {{2, "(F2|B|SH3)"}, {3, "(F2|B|L2)"}, {5, "(F0||T1)"}}},
  };
  for (const Case& c : cases) {
    std::string text = "Attr Table Start\n";
    for (const std::string& line : c.lines) text += line + "\n";
    text += "Attr Table end\nnext\n";
    PrologueHost host(text);
    host.skipLine();
    ASSERT_EQ(wzAttribute(host.reader.get()), 1);
    EXPECT_EQ(entries(host.reader.get()), c.expected) << c.lines.front();
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
    EXPECT_EQ(host.nextLine(), "next");
  }
}

TEST(AttributeTableTest, FirstLineGivesTheDefaults) {
  PrologueHost host(joinLines({"Attr Table Start", "(F2|B|L1)", "ATTR TABLE END"}));
  host.skipLine();
  ASSERT_EQ(wzAttribute(host.reader.get()), 1);
  const WorkbookReader* reader = host.reader.get();
  EXPECT_EQ(reader->defaultFormat, 19u);
  EXPECT_EQ(reader->defaultDecimals, 2u);
  EXPECT_EQ(reader->defaultDateStyle, 2u);
  EXPECT_EQ(reader->defaultFont.bold, 1);
  EXPECT_EQ(entries(reader), (std::vector<Entry>{{1, "(F2|B|L1)"}}));
}

TEST(AttributeTableTest, DefaultsAreReadWhileParsingAttributes) {
  // Floating decimals stay floating: with parsingAttrs clear the number
  // format reader would derive 0 from the rest of the line.
  PrologueHost host(joinLines({"Attr Table Start", "(Gf,1|I|)", "Attr Table end"}));
  host.skipLine();
  ASSERT_EQ(wzAttribute(host.reader.get()), 1);
  EXPECT_EQ(host.reader->defaultFormat, 25u);
  EXPECT_EQ(host.reader->defaultDecimals, 10u);
  EXPECT_EQ(host.reader->defaultFont.italic, 1);
  EXPECT_EQ(host.reader->parsingAttrs, 0u);
}

TEST(AttributeTableTest, EndLineFirstStillGivesTheDefaults) {
  PrologueHost host(joinLines({"Attr Table Start", "Attr Table end", "next"}));
  host.reader->defaultFormat = 19;
  host.skipLine();
  ASSERT_EQ(wzAttribute(host.reader.get()), 1);
  EXPECT_EQ(host.reader->attrCount, 0u);
  // "Attr..." starts with a letter without a meaning of its own: general.
  EXPECT_EQ(host.reader->defaultFormat, 25u);
  EXPECT_EQ(host.reader->parsingAttrs, 0u);
  EXPECT_EQ(host.nextLine(), "next");
}

TEST(AttributeTableTest, TwelveHundredLinesStoreTheLimit) {
  std::string text = "Attr Table Start\n";
  for (int i = 1; i <= 1200; ++i) text += "(F2|B|L" + std::to_string(i) + ")\n";
  text += "Attr Table end\n";
  PrologueHost host(text);
  host.skipLine();
  ASSERT_EQ(wzAttribute(host.reader.get()), 1);
  EXPECT_EQ(host.reader->attrCount, 1000u);
  EXPECT_EQ(host.reader->attrs[999]->number, 1000u);
  EXPECT_STREQ(host.reader->attrs[999]->text, "(F2|B|L1000)");
  EXPECT_EQ(host.reader->parsingAttrs, 0u);
  // Line 1001 was read and dropped.
  EXPECT_EQ(host.nextLine(), "(F2|B|L1002)");
}

TEST(AttributeTableTest, LimitCountsKeptLinesOnly) {
  std::string text = "Attr Table Start\n";
  for (int i = 1; i <= 1000; ++i) text += "(F2|B|L1)\n(G0||)\n";
  text += "(F0||T1)\nAttr Table end\n";
  PrologueHost host(text);
  host.skipLine();
  ASSERT_EQ(wzAttribute(host.reader.get()), 1);
  EXPECT_EQ(host.reader->attrCount, 1000u);
  EXPECT_EQ(host.reader->attrs[999]->number, 1999u);
  EXPECT_EQ(host.nextLine(), "(F0||T1)");
}

TEST(AttributeTableTest, InputEndingInsideTheTable) {
  struct Case {
    const char* text;
    uint32_t count;
  } cases[] = {
      {"Attr Table Start\n", 0},
      {"Attr Table Start\n(F2|B|L1)\n", 1},
      {"Attr Table Start\n(F2|B|L1)\n(F2|B|L2)", 1},  // a cut-off line is not taken
      {"Attr Table Start\n(F2|B|L1)\n(G0||)\n(F2|B|L2)\nAttr Tab", 2},
  };
  for (const Case& c : cases) {
    PrologueHost host(c.text);
    host.skipLine();
    EXPECT_EQ(wzAttribute(host.reader.get()), 0) << c.text;
    EXPECT_EQ(host.reader->attrCount, c.count) << c.text;
    EXPECT_EQ(host.reader->parsingAttrs, 0u) << c.text;
  }
}

TEST(AttributeTableTest, FailedAllocationLeavesTheCountAndClearsParsing) {
  // Two kept lines: four allocations (entry, text, entry, text).
  for (uint64_t failing = 1; failing <= 4; ++failing) {
    PrologueHost host(joinLines({"Attr Table Start", "(F2|B|L1)", "(F2|B|L2)", "Attr Table end"}));
    host.reader->attrCount = 0;
    host.skipLine();
    host.services.failAllocation(failing);
    EXPECT_EQ(wzAttribute(host.reader.get()), 0) << failing;
    EXPECT_EQ(host.reader->attrCount, 0u) << failing;
    EXPECT_EQ(host.reader->parsingAttrs, 0u) << failing;
    // A whole entry survives only when the failure came after it.
    EXPECT_EQ(host.services.stats().liveBlocks, failing > 2 ? 2u : 0u) << failing;
  }
}

TEST(AttributeTableTest, SecondTableReplacesTheFirst) {
  PrologueHost host(joinLines({"Attr Table Start", "(F2|B|L1)", "(F2|B|L2)", "(F2|B|L3)",
                               "Attr Table end", "Attr Table Start", "(G0|P10|)", "(F0||T1)",
                               "Attr Table end", "Attr Table Start", "Attr Table end"}));
  WorkbookReader* reader = host.reader.get();
  host.skipLine();
  ASSERT_EQ(wzAttribute(reader), 1);
  EXPECT_EQ(reader->attrCount, 3u);
  host.skipLine();
  ASSERT_EQ(wzAttribute(reader), 1);
  EXPECT_EQ(entries(reader), (std::vector<Entry>{{2, "(F0||T1)"}}));
  EXPECT_EQ(reader->attrs[1], nullptr);
  EXPECT_EQ(host.services.stats().liveBlocks, 2u);
  host.skipLine();
  ASSERT_EQ(wzAttribute(reader), 1);
  EXPECT_EQ(reader->attrCount, 0u);
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
}

}  // namespace
}  // namespace wzss::test

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
void PrintTo(const Entry& e, std::ostream* os) { *os << e.number << ":" << e.text; }

std::vector<Entry> entries(const WorkbookReader* reader) {
  std::vector<Entry> result;
  for (uint32_t i = 0; i < reader->attrCount; ++i)
    result.push_back({reader->attrs[i]->number, reader->attrs[i]->text});
  return result;
}

std::string table(const std::vector<std::string>& lines, const char* end = "Attr Table end\n") {
  std::string text = "Attr Table Start\n";
  for (const std::string& line : lines) text += line + "\n";
  return text + end;
}

// A line is kept when a third field follows its second '|'; line 1 never is,
// and numbers count every line of the table.
TEST(AttributeTableTest, KeepsLinesWithAFillAndBorderPart) {
  struct Case {
    const char* line;  // as line 2, after "(G0|P10|)"
    bool kept;
  } cases[] = {{"(F2|B|L1)", true}, {"(F2||SH3FG5)", true},  {"(F2|B|", true},     {"||", true},
               {"(F2|B|)", false},  {"(G0|P10,T0|)", false}, {"(F2|B)", false},    {"(F2)", false},
               {"", false},         {"(F2|B|L1|x)", true},   {"(F2|B|)|L1", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    PrologueHost host(table({"(G0|P10|)", c.line}));
    ASSERT_EQ(host.section(wzAttribute), 1);
    const std::vector<Entry> expected =
        c.kept ? std::vector<Entry>{{2, c.line}} : std::vector<Entry>{};
    EXPECT_EQ(entries(host.reader.get()), expected);
  }
  struct Numbered {
    std::vector<std::string> lines;
    std::vector<Entry> expected;
  } numbered[] = {
      {{"(F2|B|L1)", "(G0||)", "(G0|I|)", "(F0||SH8FG2)"}, {{1, "(F2|B|L1)"}, {4, "(F0||SH8FG2)"}}},
      {{"(G0|P10|)", "(F2|B|SH3)", "(F2|B|L2)", "junk", "(F0||T1)"},
       {{2, "(F2|B|SH3)"}, {3, "(F2|B|L2)"}, {5, "(F0||T1)"}}}};
  for (const Numbered& c : numbered) {
    SCOPED_TRACE(c.lines.front());
    PrologueHost host(table(c.lines, "Attr Table end\nnext\n"));
    ASSERT_EQ(host.section(wzAttribute), 1);
    EXPECT_EQ(entries(host.reader.get()), c.expected);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
    EXPECT_EQ(host.nextLine(), "next");
  }
}

// The first line, kept or not, gives the workbook defaults, read while
// parsingAttrs is set: floating decimals stay floating (with it clear the
// number format reader would derive 0 from the rest of the line). An end
// line met first counts as that line: "Attr..." is general.
TEST(AttributeTableTest, FirstLineGivesTheDefaults) {
  struct Case {
    const char* first;
    uint32_t format, decimals, dateStyle;
    uint8_t bold, italic;
  } cases[] = {{"(F2|B|L1)", 19, 2, 2, 1, 0},
               {"(Gf,1|I|)", 25, 10, 2, 0, 1},
               {"Attr Table end", 25, 10, 2, 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.first);
    const bool endFirst = std::string(c.first) == "Attr Table end";
    PrologueHost host(endFirst ? table({}, "Attr Table end\nnext\n")
                               : table({c.first}, "Attr Table end\nnext\n"));
    host.reader->defaultFormat = 7;
    ASSERT_EQ(host.section(wzAttribute), 1);
    const WorkbookReader* reader = host.reader.get();
    EXPECT_EQ(reader->defaultFormat, c.format);
    EXPECT_EQ(reader->defaultDecimals, c.decimals);
    EXPECT_EQ(reader->defaultDateStyle, c.dateStyle);
    EXPECT_EQ(reader->defaultFont.bold, c.bold);
    EXPECT_EQ(reader->defaultFont.italic, c.italic);
    EXPECT_EQ(reader->parsingAttrs, 0u);
    EXPECT_EQ(host.nextLine(), "next");
  }
}

// 1000 entries at most; the line that would be entry 1001 is read and
// dropped, the scanner goes on after it.
TEST(AttributeTableTest, LimitCountsKeptLines) {
  std::vector<std::string> allKept;
  for (int i = 1; i <= 1200; ++i) allKept.push_back("(F2|B|L" + std::to_string(i) + ")");
  std::vector<std::string> everyOther;
  for (int i = 1; i <= 1000; ++i) everyOther.insert(everyOther.end(), {"(F2|B|L1)", "(G0||)"});
  everyOther.push_back("(F0||T1)");
  struct Case {
    const char* name;
    std::vector<std::string> lines;
    uint32_t lastNumber;
    const char* lastText;
    const char* next;
  } cases[] = {{"all kept", allKept, 1000, "(F2|B|L1000)", "(F2|B|L1002)"},
               {"every other kept", everyOther, 1999, "(F2|B|L1)", "(F0||T1)"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PrologueHost host(table(c.lines));
    ASSERT_EQ(host.section(wzAttribute), 1);
    ASSERT_EQ(host.reader->attrCount, 1000u);
    EXPECT_EQ(host.reader->attrs[999]->number, c.lastNumber);
    EXPECT_STREQ(host.reader->attrs[999]->text, c.lastText);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
    EXPECT_EQ(host.nextLine(), c.next);
  }
}

TEST(AttributeTableTest, InputEndingInsideTheTable) {
  struct Case {
    const char* text;
    uint32_t count;
  } cases[] = {{"Attr Table Start\n", 0},
               {"Attr Table Start\n(F2|B|L1)\n", 1},
               {"Attr Table Start\n(F2|B|L1)\n(F2|B|L2)", 1},  // a cut-off line is not taken
               {"Attr Table Start\n(F2|B|L1)\n(G0||)\n(F2|B|L2)\nAttr Tab", 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    PrologueHost host(c.text);
    EXPECT_EQ(host.section(wzAttribute), 0);
    EXPECT_EQ(host.reader->attrCount, c.count);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
  }
}

TEST(AttributeTableTest, FailedAllocationLeavesTheCountAndClearsParsing) {
  // Two kept lines: four allocations (entry, text, entry, text).
  for (uint64_t failing = 1; failing <= 4; ++failing) {
    SCOPED_TRACE(failing);
    PrologueHost host(table({"(F2|B|L1)", "(F2|B|L2)"}));
    host.services.failAllocation(failing);
    EXPECT_EQ(host.section(wzAttribute), 0);
    EXPECT_EQ(host.reader->attrCount, 0u);
    EXPECT_EQ(host.reader->parsingAttrs, 0u);
    // A whole entry survives only when the failure came after it.
    EXPECT_EQ(host.services.stats().liveBlocks, failing > 2 ? 2u : 0u);
  }
}

TEST(AttributeTableTest, SecondTableReplacesTheFirst) {
  PrologueHost host(table({"(F2|B|L1)", "(F2|B|L2)", "(F2|B|L3)"}) +
                    table({"(G0|P10|)", "(F0||T1)"}) + table({}));
  WorkbookReader* reader = host.reader.get();
  ASSERT_EQ(host.section(wzAttribute), 1);
  EXPECT_EQ(reader->attrCount, 3u);
  ASSERT_EQ(host.section(wzAttribute), 1);
  EXPECT_EQ(entries(reader), (std::vector<Entry>{{2, "(F0||T1)"}}));
  EXPECT_EQ(reader->attrs[1], nullptr);
  EXPECT_EQ(host.services.stats().liveBlocks, 2u);
  ASSERT_EQ(host.section(wzAttribute), 1);
  EXPECT_EQ(reader->attrCount, 0u);
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
}

}  // namespace
}  // namespace wzss::test

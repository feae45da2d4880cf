// The generator writes what the benchmarks claim to measure: a workbook of
// the size asked for, the same bytes for the same seed, lines the reader's
// buffers hold, every number format and date style, and cell data that is
// contiguous per sheet and inside the extent it declares.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "generator.h"

namespace wzss::tools {
namespace {

struct Generated {
  std::string text;
  GeneratorStats stats;
};

Generated generate(uint64_t size, uint64_t seed) {
  Generated out;
  std::FILE* file = std::tmpfile();
  EXPECT_NE(file, nullptr);
  EXPECT_TRUE(generateWorkbook({size, seed}, file, &out.stats));
  const long length = std::ftell(file);
  out.text.resize(static_cast<size_t>(length));
  std::rewind(file);
  EXPECT_EQ(std::fread(out.text.data(), 1, out.text.size(), file), out.text.size());
  std::fclose(file);
  return out;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

int32_t letterValue(const std::string& text, size_t* at) {
  int32_t value = 0;
  size_t count = 0;
  while (*at < text.size() && text[*at] >= 'A' && text[*at] <= 'Z') {
    value = value * 26 + (text[(*at)++] - 'A' + 1);
    ++count;
  }
  return count == 0 ? -1 : value;
}

TEST(ParseSize, ReadsSuffixesAndRefusesTheRest) {
  const std::vector<std::pair<std::string, uint64_t>> cases = {
      {"16M", 16ull << 20}, {"1G", 1ull << 30},  {"512K", 512ull << 10}, {"100", 100},
      {"2MiB", 2ull << 20}, {"", 0},             {"M", 0},               {"12X", 0},
      {"-1M", 0},           {"3 M", 0}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(parseSize(text), expected) << text;
}

TEST(Generator, SameSeedSameBytesOtherSeedOtherBytes) {
  const Generated a = generate(256 << 10, 7), b = generate(256 << 10, 7), c = generate(256 << 10, 8);
  EXPECT_EQ(a.text, b.text);
  EXPECT_NE(a.text, c.text);
}

TEST(Generator, SizeIsCloseToTheAim) {
  for (uint64_t size : {uint64_t{200} << 10, uint64_t{1} << 20, uint64_t{3} << 20}) {
    const Generated g = generate(size, 3);
    EXPECT_EQ(g.stats.bytes, g.text.size());
    const double ratio = static_cast<double>(g.text.size()) / static_cast<double>(size);
    EXPECT_GT(ratio, 0.98) << size;
    EXPECT_LT(ratio, 1.02) << size;
  }
}

TEST(Generator, LinesFitTheReadersBuffers) {
  const Generated g = generate(1 << 20, 1);
  for (const std::string& line : lines(g.text)) {
    const bool continuation = !line.empty() && line[0] == ' ';
    EXPECT_LT(line.size(), continuation ? 512u : 200u) << line;
  }
}

TEST(Generator, WritesEveryPrologueSectionInOrder) {
  const Generated g = generate(1 << 20, 1);
  const std::vector<std::string> keywords = {
      "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII", "COLORMAP", "TYPEFACE TABLE",
      "Attr Table Start", "Graphic Obj Start: ", "Object Type: Picture", "View Start, Name: ",
      "View Column Widths: ", "View Row Heights: ", "View Rows Visible: ", "View Columns Visible: ",
      "View Title Row: ", "View Title Column: ", "SHEETS TABLE", "Row List ", "Format ",
      "Symbols ", "Bottom right corner : ", "Headers and Footers End"};
  size_t from = 0;
  for (const std::string& keyword : keywords) {
    const size_t at = g.text.find(keyword, from);
    ASSERT_NE(at, std::string::npos) << keyword;
    from = at;
  }
  EXPECT_NE(g.text.find("Hidden:1"), std::string::npos);
  EXPECT_EQ(g.text.find("Bottom right corner"), g.text.rfind("Bottom right corner"));  // one extent
}

// Every number format item and date style among the cell lines, as many
// cell and continuation lines as the stats say, and the extent line the
// stats give; that the reader takes every cell line inside the extent is
// walk_count_test's to check.
TEST(Generator, CellDataCoversEveryFormatAndMatchesTheStats) {
  const Generated g = generate(2 << 20, 5);
  const std::vector<std::string> all = lines(g.text);
  auto line = std::find(all.begin(), all.end(), "Headers and Footers End");
  ASSERT_NE(line, all.end());
  std::set<std::string> items;
  uint64_t cellLines = 0, continuations = 0;
  for (++line; line != all.end(); ++line) {
    if ((*line)[0] == ' ') {
      ++continuations;
      continue;
    }
    const size_t open = line->find('(');
    ++cellLines;
    items.insert(line->substr(open + 1, line->find_first_of(",|)", open + 1) - open - 1));
  }
  EXPECT_EQ(cellLines, g.stats.cellLines);
  EXPECT_EQ(continuations, g.stats.continuationLines);
  EXPECT_GT(continuations, 0u);
  std::vector<std::string> expected = {"'", "T0", "T1", "T2", "T3", "CO2", "CO0", "COf", "C2",
                                       "Cf", "F0",  "F2", "Ff", "G0", "G2",  "Gf",  "DN", "X",
                                       "",   "P1",  "Pf", "S3", "Sf", "B",   "GR",  "T!"};
  for (int style = 1; style <= 15; ++style) expected.push_back("D" + std::to_string(style));
  for (const std::string& item : expected) EXPECT_EQ(items.count(item), 1u) << "(" << item << ")";
  size_t at = g.text.find("Bottom right corner : ") + 22;
  EXPECT_EQ(letterValue(g.text, &at), static_cast<int32_t>(g.stats.maxColumn));
  EXPECT_EQ(std::stoul(g.text.substr(at)), g.stats.maxRow);
}

}  // namespace
}  // namespace wzss::tools

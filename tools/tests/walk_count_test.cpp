// The counting walk pulls everything the reader delivers: on a generated
// workbook every cell line and every formatted empty cell arrives as one
// cell item, every visible chart as one object item, and the lightest walk
// and the Walker's defaults count the same.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>

#include "generator.h"
#include "test_files.h"
#include "walk_count.h"

namespace wzss::tools {
namespace {

class WalkCount : public ::testing::Test {
 protected:
  void SetUp() override { wzGetSSReaderInterface(&table_); }

  std::string writeWorkbook(uint64_t size, uint64_t seed, GeneratorStats* stats) {
    const std::string path = (folder_.path() / ("walk_count_" + std::to_string(seed) + ".wzs")).string();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    EXPECT_NE(file, nullptr);
    EXPECT_TRUE(generateWorkbook({size, seed}, file, stats));
    std::fclose(file);
    return path;
  }

  SSReaderInterface table_{};
  // Of this test alone: runs of the suite in parallel must not share files.
  test::TempDir folder_;
};

TEST_F(WalkCount, EveryCellLineAndFormattedEmptyCellArrivesOnce) {
  GeneratorStats stats;
  const std::string path = writeWorkbook(1 << 20, 11, &stats);
  WalkCounts counts;
  std::string error;
  ASSERT_TRUE(walkWorkbook(table_, path, WalkMode::Direct, &counts, &error)) << error;
  EXPECT_EQ(counts.sheets, stats.sheets);
  EXPECT_EQ(counts.cells, stats.cellLines + stats.formattedEmptyCells);
  EXPECT_EQ(counts.objects, stats.objects - stats.hiddenObjects);
  EXPECT_GT(counts.cellsWithText, stats.cellLines / 2);  // hidden rows and columns carry none
  EXPECT_LT(counts.cellsWithText, stats.cellLines);
  EXPECT_GT(counts.textBytes, counts.cellsWithText);
  EXPECT_GT(counts.rowRuns, 0u);
  EXPECT_GT(counts.columnRuns, 0u);
  EXPECT_GT(counts.fills, 0u);
}

TEST_F(WalkCount, DirectAndWalkerCountTheSame) {
  GeneratorStats stats;
  const std::string generated = writeWorkbook(512 << 10, 12, &stats);
  for (const std::string& path : {generated, std::string(WZSS_SAMPLES_DIR "/budget.wzs")}) {
    WalkCounts direct, walker;
    std::string error;
    ASSERT_TRUE(walkWorkbook(table_, path, WalkMode::Direct, &direct, &error)) << error;
    ASSERT_TRUE(walkWorkbook(table_, path, WalkMode::Walker, &walker, &error)) << error;
    EXPECT_EQ(std::tie(direct.sheets, direct.items, direct.cells, direct.cellsWithText,
                       direct.textBytes, direct.objects, direct.fills),
              std::tie(walker.sheets, walker.items, walker.cells, walker.cellsWithText,
                       walker.textBytes, walker.objects, walker.fills))
        << path;
  }
}

// The grid is the plug-in's only memory that grows with the workbook, and it
// grows with the extent, never with the number of cells.
TEST_F(WalkCount, PluginMemoryFollowsTheExtentNotTheCells) {
  GeneratorStats small, large;
  const std::string a = writeWorkbook(512 << 10, 13, &small);
  const std::string b = writeWorkbook(2 << 20, 13, &large);
  WalkCounts smallCounts, largeCounts;
  std::string error;
  ASSERT_TRUE(walkWorkbook(table_, a, WalkMode::Direct, &smallCounts, &error)) << error;
  ASSERT_TRUE(walkWorkbook(table_, b, WalkMode::Direct, &largeCounts, &error)) << error;
  for (const auto& [stats, counts] :
       {std::pair{small, smallCounts}, std::pair{large, largeCounts}}) {
    const uint64_t gridBytes =
        uint64_t{stats.maxRow + 1} * (stats.maxColumn + 1 + 2 * sizeof(void*));
    EXPECT_LT(counts.peakHostBytes, gridBytes + (1u << 20)) << stats.bytes;
  }
}

TEST_F(WalkCount, RefusesWhatIsNotAWorkbook) {
  const std::string path = (folder_.path() / "walk_count_plain.txt").string();
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fputs("just some text\nand more\n", file);
  std::fclose(file);
  WalkCounts counts;
  std::string error;
  EXPECT_FALSE(walkWorkbook(table_, path, WalkMode::Direct, &counts, &error));
  EXPECT_FALSE(error.empty());
  EXPECT_FALSE(walkWorkbook(table_, path + ".missing", WalkMode::Direct, &counts, &error));
}

}  // namespace
}  // namespace wzss::tools

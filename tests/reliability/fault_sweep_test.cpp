// Fault-injection sweeps over whole walks: every allocation, every Seek and
// (sampled) every Read of a clean walk is failed in turn, and Open is
// refused, for each sample workbook and each hand-made seed workbook. Every
// walk must end with results from the allowed sets, no block alive and the
// document stream left to the host (the walk's own checks, harness/walk.cpp).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/walk.h"
#include "workbook_files.h"
#include "wzss/reader_abi.h"

namespace wzss::reliability {
namespace {

using harness::WalkOptions;
using harness::WalkReport;
using harness::walkWorkbook;

// The Read sweep fails at most this many Reads per host variant and
// workbook: the line reader makes one Read per byte, so a full sweep costs
// about (file size)^2 steps. Larger totals are sampled with an even stride
// that always includes the first and the last Read.
constexpr uint64_t kMaxReadFaults = 600;

// Host behaviours each sweep runs under: the plain host, and hosts that
// exercise the other paths of object and text delivery.
struct HostVariant {
  const char* name;
  WalkOptions options;
};

WalkOptions variant(uint32_t readerFlags, uint32_t sheetFlags, bool defer, bool nullText,
                    bool dropClose) {
  WalkOptions options;
  options.readerFlags = readerFlags;
  options.sheetFlags = sheetFlags;
  options.deferObjectStreams = defer;
  options.nullTextBuffers = nullText;
  options.dropCloseSlot = dropClose;
  return options;
}

const HostVariant kVariants[] = {
    {"plain host", variant(0, 0, false, false, false)},
    {"deferred object streams, null text buffers, no Close slot",
     variant(0, 0, true, true, true)},
    {"no objects, no object streams",
     variant(WZSS_READER_NO_OBJECTS, WZSS_SHEET_NO_OBJECT_STREAMS, false, false, false)},
};

// 1..total, or an even sample of at most kMaxReadFaults calls that keeps the
// first and the last.
std::vector<uint64_t> sampledCalls(uint64_t total) {
  const uint64_t stride = (total + kMaxReadFaults - 1) / kMaxReadFaults;
  std::vector<uint64_t> calls;
  for (uint64_t n = 1; n <= total; n += stride) calls.push_back(n);
  if (calls.empty() || calls.back() != total) calls.push_back(total);
  return calls;
}

class FaultSweep : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { text_ = readFile(GetParam()); }

  // A clean walk under the variant: the totals every sweep runs up to.
  WalkReport cleanWalk(const WalkOptions& options) {
    WalkReport clean = walkWorkbook(text_, options);
    EXPECT_TRUE(clean.ok()) << clean.describe();
    return clean;
  }

  // Walks once with the fault set by inject(options, n) and checks it.
  template <typename Inject>
  void faultedWalk(const HostVariant& host, const char* what, uint64_t n, uint64_t total,
                   Inject inject, uint64_t reachedCalls(const WalkReport&)) {
    WalkOptions options = host.options;
    inject(&options, n);
    const WalkReport report = walkWorkbook(text_, options);
    EXPECT_TRUE(report.ok()) << host.name << ": " << what << " " << n << " of " << total
                             << " failed:\n" << report.describe();
    // The walk is deterministic up to the fault, so the fault was reached.
    EXPECT_GE(reachedCalls(report), n) << host.name << ": " << what << " " << n << " never came";
  }

  std::string text_;
};

TEST_P(FaultSweep, CleanWalkOpensEverySheetAndLeavesNothingAlive) {
  for (const HostVariant& host : kVariants) {
    const WalkReport clean = cleanWalk(host.options);
    EXPECT_EQ(clean.infoResult, 1) << host.name;
    EXPECT_GT(clean.sheetCount, 0u) << host.name;
    EXPECT_EQ(clean.sheetsOpened, clean.sheetCount) << host.name;
    // Settings and option items at least, for every sheet.
    EXPECT_GE(clean.items, 2u * clean.sheetCount) << host.name;
    EXPECT_EQ(clean.liveBlocksAfterClose, 0u) << host.name;
  }
}

TEST_P(FaultSweep, EveryAllocationMayFail) {
  for (const HostVariant& host : kVariants) {
    const WalkReport clean = cleanWalk(host.options);
    ASSERT_GT(clean.allocations, 0u) << host.name;
    for (uint64_t n = 1; n <= clean.allocations; ++n) {
      faultedWalk(host, "allocation", n, clean.allocations,
                  [](WalkOptions* options, uint64_t call) { options->failAllocation = call; },
                  [](const WalkReport& report) { return report.allocations; });
    }
  }
}

TEST_P(FaultSweep, EverySeekMayFail) {
  for (const HostVariant& host : kVariants) {
    const WalkReport clean = cleanWalk(host.options);
    ASSERT_GT(clean.seeks, 0u) << host.name;
    for (uint64_t n = 1; n <= clean.seeks; ++n) {
      faultedWalk(host, "Seek", n, clean.seeks,
                  [](WalkOptions* options, uint64_t call) { options->failSeek = call; },
                  [](const WalkReport& report) { return report.seeks; });
    }
  }
}

TEST_P(FaultSweep, ReadsMayFailSampledWithAStride) {
  for (const HostVariant& host : kVariants) {
    const WalkReport clean = cleanWalk(host.options);
    ASSERT_GT(clean.reads, 0u) << host.name;
    for (const uint64_t n : sampledCalls(clean.reads)) {
      faultedWalk(host, "Read", n, clean.reads,
                  [](WalkOptions* options, uint64_t call) { options->failRead = call; },
                  [](const WalkReport& report) { return report.reads; });
    }
  }
}

TEST_P(FaultSweep, RefusedOpenEndsTheFirstPassWithZero) {
  for (const HostVariant& host : kVariants) {
    WalkOptions options = host.options;
    options.failOpen = true;
    const WalkReport report = walkWorkbook(text_, options);
    EXPECT_TRUE(report.ok()) << host.name << ":\n" << report.describe();
    EXPECT_EQ(report.infoResult, 0) << host.name;
    EXPECT_EQ(report.sheetsOpened, 0u) << host.name;
    EXPECT_GE(report.opens, 1u) << host.name;
  }
}

TEST_P(FaultSweep, RefusedOpenOfEverySheetOpensNone) {
  for (const HostVariant& host : kVariants) {
    WalkOptions options = host.options;
    options.failSheetOpens = true;
    const WalkReport report = walkWorkbook(text_, options);
    EXPECT_TRUE(report.ok()) << host.name << ":\n" << report.describe();
    EXPECT_EQ(report.infoResult, 1) << host.name;
    EXPECT_EQ(report.sheetsOpened, 0u) << host.name;
    // One refused Open per sheet besides the first pass's.
    EXPECT_EQ(report.opens, 1u + report.sheetCount) << host.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Workbooks, FaultSweep, testing::ValuesIn(sweepWorkbooks()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           return testNameOf(info.param);
                         });

// Guards the list itself: a sweep over no workbook would pass vacuously.
TEST(FaultSweepWorkbooks, IncludeTheSamplesAndTheHandMadeSeeds) {
  const auto paths = sweepWorkbooks();
  int samples = 0;
  int seeds = 0;
  for (const std::string& path : paths) {
    if (path.find(WZSS_SAMPLES_DIR) == 0) ++samples;
    if (path.find(WZSS_CORPUS_DIR) == 0) ++seeds;
  }
  EXPECT_GE(samples, 1);
  EXPECT_GE(seeds, 10);
}

}  // namespace
}  // namespace wzss::reliability

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

// Host behaviours each sweep runs under: the plain host, and hosts that
// exercise the other paths of object and text delivery.
struct HostVariant {
  const char* name;
  WalkOptions options;
};

const HostVariant kVariants[] = {
    {"plain host", {}},
    {"deferred object streams, null text buffers, no Close slot",
     {.deferObjectStreams = true, .nullTextBuffers = true, .dropCloseSlot = true}},
    {"no objects, no object streams",
     {.readerFlags = WZSS_READER_NO_OBJECTS, .sheetFlags = WZSS_SHEET_NO_OBJECT_STREAMS}},
};

// The host calls a sweep fails one at a time. Reads are sampled: the line
// reader makes one Read per byte, so a full sweep costs about (file size)^2
// steps; at most kMaxReadFaults Reads with an even stride that keeps the
// first and the last.
struct FaultKind {
  const char* what;
  uint64_t WalkOptions::*fail;
  uint64_t WalkReport::*calls;
  uint64_t maxFaults;
};

constexpr uint64_t kAll = UINT64_MAX;
constexpr uint64_t kMaxReadFaults = 600;

const FaultKind kFaults[] = {
    {"allocation", &WalkOptions::failAllocation, &WalkReport::allocations, kAll},
    {"Seek", &WalkOptions::failSeek, &WalkReport::seeks, kAll},
    {"Read", &WalkOptions::failRead, &WalkReport::reads, kMaxReadFaults},
};

std::vector<uint64_t> callsToFail(uint64_t total, uint64_t maxFaults) {
  const uint64_t stride = total <= maxFaults ? 1 : (total + maxFaults - 1) / maxFaults;
  std::vector<uint64_t> calls;
  for (uint64_t n = 1; n <= total; n += stride) calls.push_back(n);
  if (calls.empty() || calls.back() != total) calls.push_back(total);
  return calls;
}

class FaultSweep : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { text_ = readFile(GetParam()); }
  std::string text_;
};

TEST_P(FaultSweep, CleanWalkThenEveryFaultInTurn) {
  for (const HostVariant& host : kVariants) {
    SCOPED_TRACE(host.name);
    const WalkReport clean = walkWorkbook(text_, host.options);
    ASSERT_TRUE(clean.ok()) << clean.describe();
    EXPECT_EQ(clean.infoResult, 1);
    EXPECT_GT(clean.sheetCount, 0u);
    EXPECT_EQ(clean.sheetsOpened, clean.sheetCount);
    // Settings and option items at least, for every sheet.
    EXPECT_GE(clean.items, 2u * clean.sheetCount);
    EXPECT_EQ(clean.liveBlocksAfterClose, 0u);

    for (const FaultKind& fault : kFaults) {
      const uint64_t total = clean.*fault.calls;
      ASSERT_GT(total, 0u) << fault.what;
      for (const uint64_t n : callsToFail(total, fault.maxFaults)) {
        WalkOptions options = host.options;
        options.*fault.fail = n;
        const WalkReport report = walkWorkbook(text_, options);
        EXPECT_TRUE(report.ok()) << fault.what << " " << n << " of " << total << " failed:\n"
                                 << report.describe();
        // The walk is deterministic up to the fault, so the fault was reached.
        EXPECT_GE(report.*fault.calls, n) << fault.what << " " << n << " never came";
      }
    }
  }
}

TEST_P(FaultSweep, RefusedOpens) {
  for (const HostVariant& host : kVariants) {
    SCOPED_TRACE(host.name);
    // The first pass cannot open the document: it ends with 0.
    WalkOptions options = host.options;
    options.failOpen = true;
    WalkReport report = walkWorkbook(text_, options);
    EXPECT_TRUE(report.ok()) << report.describe();
    EXPECT_EQ(report.infoResult, 0);
    EXPECT_EQ(report.sheetsOpened, 0u);
    EXPECT_GE(report.opens, 1u);
    // Every sheet's Open is refused: the list stands, no sheet opens, and
    // each sheet tried once besides the first pass.
    options = host.options;
    options.failSheetOpens = true;
    report = walkWorkbook(text_, options);
    EXPECT_TRUE(report.ok()) << report.describe();
    EXPECT_EQ(report.infoResult, 1);
    EXPECT_EQ(report.sheetsOpened, 0u);
    EXPECT_EQ(report.opens, 1u + report.sheetCount);
  }
}

INSTANTIATE_TEST_SUITE_P(Workbooks, FaultSweep, testing::ValuesIn(sweepWorkbooks()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           return testNameOf(info.param);
                         });

// Guards the list itself: a sweep over no workbook would pass vacuously.
TEST(FaultSweepWorkbooks, IncludeTheSamplesAndTheHandMadeSeeds) {
  int samples = 0;
  int seeds = 0;
  for (const std::string& path : sweepWorkbooks()) {
    if (path.find(WZSS_SAMPLES_DIR) == 0) ++samples;
    if (path.find(WZSS_CORPUS_DIR) == 0) ++seeds;
  }
  EXPECT_GE(samples, 1);
  EXPECT_GE(seeds, 10);
}

}  // namespace
}  // namespace wzss::reliability

// The workbook reader: the header check, the first pass and its cache, and
// destruction.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "interface_fixture.h"

namespace wzss::test {
namespace {

// Everything after the header line: one sheet, no cells.
std::string oneSheetBody() {
  return joinLines({"View Start, Name: #Budget: ~A", "View End,", "Bottom right corner : J20",
                    "Headers and Footers End"});
}

std::string oneSheetWorkbook() { return kHeader + oneSheetBody(); }

struct HeaderCase {
  const char* name;
  std::string header;  // the whole first line, without its line feed
  bool accepted;
  uint32_t version;
};

class HeaderCheck : public testing::TestWithParam<HeaderCase> {};

TEST_P(HeaderCheck, DecidesByTheThreeFixedFields) {
  const HeaderCase& c = GetParam();
  TestHost host(c.header.empty() ? std::string() : c.header + "\n" + oneSheetBody());
  ASSERT_NE(host.allocate(), nullptr);

  const int32_t result = host.scan();

  EXPECT_EQ(result, c.accepted ? 1 : 0);
  EXPECT_EQ(host.stream.calls().opens, 1u);
  EXPECT_EQ(host.stream.calls().closes, 1u);
  if (c.accepted) {
    EXPECT_EQ(own(host.reader)->version, c.version);
    EXPECT_EQ(host.info.sheetCount, 1u);
    ASSERT_NE(host.info.sheets, nullptr);
    EXPECT_EQ(host.info.sheets, own(host.reader)->info.sheets);
  } else {
    EXPECT_EQ(host.info.sheetCount, 0u);
    EXPECT_EQ(host.info.sheets, nullptr);
    EXPECT_EQ(own(host.reader)->info.sheets, nullptr);
    // Refused before the prologue: nothing but the reader was allocated.
    EXPECT_EQ(host.services.stats().liveBlocks, 1u);
  }
}

const std::string kKeyword = "*BEGIN SPREADSHEETS VERSION=";

INSTANTIATE_TEST_SUITE_P(
    Variants, HeaderCheck,
    testing::Values(
        HeaderCase{"Canonical", kKeyword + "440 R01 ENCODING=US-ASCII", true, 4},
        HeaderCase{"LowerCase", "*begin spreadsheets version=440 r01 encoding=us-ascii", true, 4},
        HeaderCase{"Version441", kKeyword + "441 R01 ENCODING=US-ASCII", true, 4},
        HeaderCase{"Version430", kKeyword + "430 R01 ENCODING=US-ASCII", true, 3},
        HeaderCase{"Version420", kKeyword + "420 R01 ENCODING=US-ASCII", true, 2},
        HeaderCase{"Version400", kKeyword + "400 R01 ENCODING=US-ASCII", true, 0},
        HeaderCase{"NoBlankBeforeEncoding", kKeyword + "440????ENCODING=X", false, 0},
        HeaderCase{"AnyFourTailBytes", kKeyword + "440xyzw ENCODING=X", true, 4},
        HeaderCase{"EqualsNotCompared", kKeyword + "440 R01 ENCODING:UTF-8", true, 4},
        HeaderCase{"Version410Refused", kKeyword + "410 R01 ENCODING=US-ASCII", false, 0},
        HeaderCase{"ShortVersionTail", kKeyword + "440 R1 ENCODING=US-ASCII", false, 0},
        HeaderCase{"LongVersionTail", kKeyword + "440 R001 ENCODING=US-ASCII", false, 0},
        HeaderCase{"BadEncoding", kKeyword + "440 R01 ENCODINX=US-ASCII", false, 0},
        HeaderCase{"BadKeyword", "*BEGIN SPREADSHEETZ VERSION=440 R01 ENCODING=US-ASCII", false,
                   0},
        HeaderCase{"KeywordOnly", kKeyword, false, 0},
        HeaderCase{"EmptyFile", "", false, 0}),
    [](const testing::TestParamInfo<HeaderCase>& info) { return info.param.name; });

TEST(FirstPass, ClearsTheHostsListButNotItsReservedBytes) {
  TestHost host("not a workbook\n");
  ASSERT_NE(host.allocate(), nullptr);
  host.info.sheetCount = 7;
  host.info.sheets = reinterpret_cast<SheetEntry*>(&host);
  std::memset(host.info.reserved4, 0x5A, sizeof(host.info.reserved4));

  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &host.info, 0), 0);

  EXPECT_EQ(host.info.sheetCount, 0u);
  EXPECT_EQ(host.info.sheets, nullptr);
  for (uint8_t byte : host.info.reserved4) ASSERT_EQ(byte, 0x5A);
}

TEST(FirstPass, QueryAnswersOneAndWritesNothing) {
  TestHost host(oneSheetWorkbook());
  ASSERT_NE(host.allocate(), nullptr);
  WorkbookInfo info;
  std::memset(&info, 0x77, sizeof(info));
  const WorkbookInfo before = info;

  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &info, 1), 1);
  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &info, -3), 1);
  EXPECT_EQ(WZGetWorkSheetInfo(nullptr, nullptr, 1), 1);

  EXPECT_EQ(std::memcmp(&info, &before, sizeof(info)), 0);
  EXPECT_EQ(host.stream.calls().opens, 0u);
  EXPECT_EQ(host.stream.calls().reads, 0u);
}

TEST(FirstPass, ASecondCallReturnsTheCacheWithoutTouchingTheStream) {
  TestHost host(oneSheetWorkbook());
  ASSERT_EQ(host.scan(), 1);
  const host::StreamCalls after = host.stream.calls();
  const uint64_t allocations = host.services.stats().allocations;

  WorkbookInfo again{};
  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &again, 0), 1);

  EXPECT_EQ(again.sheets, host.info.sheets);
  EXPECT_EQ(std::memcmp(&again, &host.info, sizeof(WorkbookInfo)), 0);
  const host::StreamCalls& now = host.stream.calls();
  EXPECT_EQ(now.opens, after.opens);
  EXPECT_EQ(now.reads, after.reads);
  EXPECT_EQ(now.seeks, after.seeks);
  EXPECT_EQ(now.tells, after.tells);
  EXPECT_EQ(now.closes, after.closes);
  EXPECT_EQ(host.services.stats().allocations, allocations);
}

TEST(FirstPass, ReadsAStreamWithoutCloseSlot) {
  TestHost host(oneSheetWorkbook());
  host.stream.dropCloseSlot();
  ASSERT_EQ(host.scan(), 1);
  EXPECT_EQ(host.info.sheetCount, 1u);
  ASSERT_NE(host.openSheet(0), nullptr);
  SheetItem item{};
  EXPECT_EQ(WZProcessSheet(host.sheet, &item), 0);
  EXPECT_EQ(item.itemType, static_cast<uint32_t>(WZSS_ITEM_SETTINGS));
  host.closeSheet();
  EXPECT_EQ(host.stream.calls().closes, 0u);
}

TEST(FirstPass, RefusedOpenStillCallsClose) {
  TestHost host(oneSheetWorkbook());
  host.stream.failOpen(true);
  EXPECT_EQ(host.scan(), 0);
  EXPECT_EQ(host.stream.calls().closes, 1u);
  EXPECT_EQ(host.stream.calls().reads, 0u);
  EXPECT_EQ(own(host.reader)->info.sheets, nullptr);
}

TEST(FirstPass, NeedsAStreamAndARecord) {
  host::Services services;
  ::WorkbookReader* reader = WZAllocateReader(nullptr, 0, nullptr, services.get(), 0, 0);
  ASSERT_NE(reader, nullptr);
  WorkbookInfo info{};
  EXPECT_EQ(WZGetWorkSheetInfo(reader, &info, 0), 0);
  EXPECT_EQ(WZGetWorkSheetInfo(reader, nullptr, 0), 0);
  WZCloseReader(reader);
  EXPECT_EQ(services.stats().liveBlocks, 0u);
}

// A pass that found no sheet leaves the cache empty; the next call scans
// again and must start from empty tables instead of adding to them.
TEST(FirstPass, RepeatedAfterNoSheetNeitherDoublesNorLeaks) {
  const std::string text =
      kHeader + joinLines({"COLORMAP", "Black 0 0 0 0 255 0 0", "END COLORMAP", "TYPEFACE TABLE",
                           "Helvetica", "END TYPEFACE TABLE", "Attr Table Start",
                           "(F2|B|SH3FG5L1)", "Attr Table end", "Bottom right corner : C5",
                           "Headers and Footers End"});
  TestHost host(text);
  ASSERT_EQ(host.scan(), 1);
  EXPECT_EQ(host.info.sheetCount, 0u);
  EXPECT_EQ(host.info.sheets, nullptr);
  const uint64_t liveAfterFirst = host.services.stats().liveBlocks;
  const uint32_t typefaces = own(host.reader)->typefaceCount;
  const uint32_t colorMaps = own(host.reader)->colorMapCount;

  ASSERT_EQ(host.scan(), 1);

  EXPECT_EQ(host.stream.calls().opens, 2u);
  EXPECT_EQ(host.services.stats().liveBlocks, liveAfterFirst);
  EXPECT_EQ(own(host.reader)->typefaceCount, typefaces);
  EXPECT_EQ(own(host.reader)->colorMapCount, colorMaps);
}

TEST(CloseReader, OnAnUnscannedReaderFreesOnlyTheReader) {
  TestHost host(oneSheetWorkbook());
  ASSERT_NE(host.allocate(), nullptr);
  host.closeReader();
  EXPECT_EQ(host.services.stats().allocations, 1u);
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
  EXPECT_EQ(host.stream.calls().opens + host.stream.calls().closes, 0u);
}

TEST(CloseReader, FreesEverythingAScanBuilt) {
  TestHost host(kHeader + joinLines({"COLORMAP", "Black 0 0 0 0 255 0 0", "END COLORMAP",
                                     "TYPEFACE TABLE", "Helvetica", "Courier",
                                     "END TYPEFACE TABLE", "Attr Table Start", "(F2|B|SH3FG5L1)",
                                     "(F0||SH8FG2)", "Attr Table end"}) +
                oneSheetBody());
  ASSERT_EQ(host.scan(), 1);
  EXPECT_GT(host.services.stats().liveBlocks, 4u);
  host.closeReader();
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
  EXPECT_EQ(host.stream.calls().closes, host.stream.calls().opens);
}

// A section reader that runs out of memory leaves what it stored past its
// count; closing finds those blocks too (the host checks on destruction).
TEST(CloseReader, FreesSlotsPastTheCounts) {
  TestHost host("");
  ASSERT_NE(host.allocate(), nullptr);
  wzss::WorkbookReader* reader = own(host.reader);
  reader->typefaces[3] = static_cast<char*>(hostAlloc(reader->services, 8));
  auto* entry = static_cast<AttrEntry*>(hostCalloc(reader->services, 1, sizeof(AttrEntry)));
  ASSERT_NE(entry, nullptr);
  entry->text = static_cast<char*>(hostAlloc(reader->services, 8));
  reader->attrs[5] = entry;
  EXPECT_EQ(reader->typefaceCount + reader->attrCount, 0u);
  host.closeReader();
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
}

// Every allocation of the first pass refused in turn: the reader reports
// what it can and nothing is left behind (the host checks on destruction).
TEST(FirstPass, SurvivesEveryRefusedAllocation) {
  const std::string text = kHeader + joinLines({"TYPEFACE TABLE", "Helvetica", "END TYPEFACE TABLE",
                                                "View Start, Name: #A: ~A", "View End,",
                                                "View Start, Name: #B: ~B", "View End,"}) +
                           joinLines({"Bottom right corner : C5", "Headers and Footers End",
                                      "(G0|) A!A1: 1"});
  uint64_t total = 0;
  {
    TestHost probe(text);
    ASSERT_EQ(probe.scan(), 1);
    total = probe.services.stats().allocations;
  }
  for (uint64_t n = 2; n <= total; ++n) {
    SCOPED_TRACE(n);
    TestHost host(text);
    host.services.failAllocation(n);
    EXPECT_EQ(host.scan(), 0);
    if (host.info.sheets == nullptr) continue;
    // A partial list is cached and handed out again without a further pass.
    const uint64_t opens = host.stream.calls().opens;
    WorkbookInfo again{};
    EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &again, 0), 1);
    EXPECT_EQ(again.sheets, host.info.sheets);
    EXPECT_EQ(host.stream.calls().opens, opens);
  }
}

}  // namespace
}  // namespace wzss::test

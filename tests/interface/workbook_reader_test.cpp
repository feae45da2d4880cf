// The workbook reader: the header check, the first pass and its cache, and
// destruction. That closing frees what a whole pass built is checked by the
// test host after every test.
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

struct HeaderCase {
  const char* name;
  std::string header;  // the whole first line, without its line feed
  bool accepted;
  uint32_t version;
};

// Every case starts from a host list left over from elsewhere: a refusal
// leaves it as it was, and neither outcome touches its reserved bytes.
TEST(FirstPass, HeaderCheckDecidesByTheThreeFixedFields) {
  const std::string k = "*BEGIN SPREADSHEETS VERSION=";
  const HeaderCase cases[] = {
      {"Canonical", k + "440 R01 ENCODING=US-ASCII", true, 4},
      {"LowerCase", "*begin spreadsheets version=440 r01 encoding=us-ascii", true, 4},
      {"Version441", k + "441 R01 ENCODING=US-ASCII", true, 4},
      {"Version430", k + "430 R01 ENCODING=US-ASCII", true, 3},
      {"Version420", k + "420 R01 ENCODING=US-ASCII", true, 2},
      {"Version400", k + "400 R01 ENCODING=US-ASCII", true, 0},
      {"NoBlankBeforeEncoding", k + "440????ENCODING=X", false, 0},
      {"AnyFourTailBytes", k + "440xyzw ENCODING=X", true, 4},
      {"EqualsNotCompared", k + "440 R01 ENCODING:UTF-8", true, 4},
      {"Version410Refused", k + "410 R01 ENCODING=US-ASCII", false, 0},
      {"ShortVersionTail", k + "440 R1 ENCODING=US-ASCII", false, 0},
      {"LongVersionTail", k + "440 R001 ENCODING=US-ASCII", false, 0},
      {"BadEncoding", k + "440 R01 ENCODINX=US-ASCII", false, 0},
      {"BadKeyword", "*BEGIN SPREADSHEETZ VERSION=440 R01 ENCODING=US-ASCII", false, 0},
      {"KeywordOnly", k, false, 0},
      {"EmptyFile", "", false, 0},
      {"NotAWorkbook", "not a workbook", false, 0},
  };
  for (const HeaderCase& c : cases) {
    SCOPED_TRACE(c.name);
    TestHost host(c.header.empty() ? std::string() : c.header + "\n" + oneSheetBody());
    ASSERT_NE(host.allocate(), nullptr);
    host.info.sheetCount = 7;
    host.info.sheets = reinterpret_cast<SheetEntry*>(&host);
    std::memset(host.info.reserved4, 0x5A, sizeof(host.info.reserved4));
    EXPECT_EQ(host.scan(), c.accepted ? 1 : 0);
    EXPECT_EQ(host.stream.calls().opens, 1u);
    EXPECT_EQ(host.stream.calls().closes, 1u);
    for (uint8_t byte : host.info.reserved4) ASSERT_EQ(byte, 0x5A);
    if (c.accepted) {
      EXPECT_EQ(own(host.reader)->version, c.version);
      EXPECT_EQ(host.info.sheetCount, 1u);
      EXPECT_NE(host.info.sheets, nullptr);
      EXPECT_EQ(host.info.sheets, own(host.reader)->info.sheets);
    } else {
      EXPECT_EQ(host.info.sheetCount, 7u);
      EXPECT_EQ(host.info.sheets, reinterpret_cast<SheetEntry*>(&host));
      // Refused before the prologue: nothing but the reader was allocated.
      EXPECT_EQ(host.services.stats().liveBlocks, 1u);
    }
  }
}

// A query (a non-zero mode) answers 1 and neither reads nor writes; after a
// pass, a further call hands out the cache the same way.
TEST(FirstPass, QueryAndSecondCallTouchNeitherStreamNorMemory) {
  TestHost host(kHeader + oneSheetBody());
  ASSERT_NE(host.allocate(), nullptr);
  WorkbookInfo info;
  std::memset(&info, 0x77, sizeof(info));
  const WorkbookInfo before = info;
  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &info, 1), 1);
  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &info, -3), 1);
  EXPECT_EQ(WZGetWorkSheetInfo(nullptr, nullptr, 1), 1);
  EXPECT_EQ(std::memcmp(&info, &before, sizeof(info)), 0);
  EXPECT_EQ(host.stream.calls().opens + host.stream.calls().reads, 0u);

  ASSERT_EQ(host.scan(), 1);
  const host::StreamCalls after = host.stream.calls();
  const uint64_t allocations = host.services.stats().allocations;
  WorkbookInfo again{};
  EXPECT_EQ(WZGetWorkSheetInfo(host.reader, &again, 0), 1);
  EXPECT_EQ(std::memcmp(&again, &host.info, sizeof(WorkbookInfo)), 0);
  EXPECT_EQ(std::memcmp(&host.stream.calls(), &after, sizeof(after)), 0);
  EXPECT_EQ(host.services.stats().allocations, allocations);
}

TEST(FirstPass, ReadsAStreamWithoutCloseSlot) {
  TestHost host(kHeader + oneSheetBody());
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

TEST(FirstPass, RefusedOpenStillCallsCloseAndLeavesTheRecord) {
  TestHost host(kHeader + oneSheetBody());
  host.stream.failOpen(true);
  host.info.sheetCount = 3;
  EXPECT_EQ(host.scan(), 0);
  EXPECT_EQ(host.info.sheetCount, 3u);
  EXPECT_EQ(host.stream.calls().closes, 1u);
  EXPECT_EQ(host.stream.calls().reads, 0u);
  EXPECT_EQ(own(host.reader)->info.sheets, nullptr);
}

TEST(FirstPass, NeedsAStreamAndARecord) {
  host::Services services;
  ::WorkbookReader* reader = WZAllocateReader(nullptr, 0, nullptr, services.get(), 0, 0);
  ASSERT_NE(reader, nullptr);
  WorkbookInfo info{};
  info.sheetCount = 5;  // without a stream the record stays as the host left it
  EXPECT_EQ(WZGetWorkSheetInfo(reader, &info, 0), 0);
  EXPECT_EQ(info.sheetCount, 5u);
  EXPECT_EQ(WZGetWorkSheetInfo(reader, nullptr, 0), 0);
  WZCloseReader(reader);
  EXPECT_EQ(services.stats().liveBlocks, 0u);
}

// A pass that found no sheet leaves the cache empty; the next call scans
// again and must start from empty tables instead of adding to them.
TEST(FirstPass, RepeatedAfterNoSheetNeitherDoublesNorLeaks) {
  const std::string text =
      kHeader +
      joinLines({"COLORMAP", "Black 0 0 0 0 255 0 0", "END COLORMAP", "TYPEFACE TABLE", "Helvetica",
                 "END TYPEFACE TABLE", "Attr Table Start", "(F2|B|SH3FG5L1)", "Attr Table end",
                 "Bottom right corner : C5", "Headers and Footers End"});
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
  const std::string text =
      kHeader +
      joinLines({"TYPEFACE TABLE", "Helvetica", "END TYPEFACE TABLE", "View Start, Name: #A: ~A",
                 "View End,", "View Start, Name: #B: ~B", "View End,"}) +
      joinLines({"Bottom right corner : C5", "Headers and Footers End", "(G0|) A!A1: 1"});
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

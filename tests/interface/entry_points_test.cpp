// The exported entry points: the interface table, the reader's creation and
// closing, and the tolerance of every entry point for missing handles.
#include <gtest/gtest.h>

#include <cstring>

#include "interface_fixture.h"

namespace wzss::test {
namespace {

TEST(InterfaceTable, FillsItsSlotsAgainAndAgainAndLeavesTheHostsSlotAlone) {
  host::Services services;
  SSReaderInterface table;
  std::memset(&table, 0x5A, sizeof(table));
  void* const hostValue = table.hostSlot3;
  wzGetSSReaderInterface(&table);
  EXPECT_EQ(table.AllocateReader, &WZAllocateReader);
  EXPECT_EQ(table.CloseReader, &WZCloseReader);
  EXPECT_EQ(table.GetCharSet, &WZGetCharSet);
  EXPECT_EQ(table.hostSlot3, hostValue);
  EXPECT_EQ(table.GetWorkSheetInfo, &WZGetWorkSheetInfo);
  EXPECT_EQ(table.nullSlot5, nullptr);
  EXPECT_EQ(table.InitSheet, &WZInitSheet);
  EXPECT_EQ(table.ProcessSheet, &WZProcessSheet);
  EXPECT_EQ(table.CloseSheet, &WZCloseSheet);

  SSReaderInterface again = table;
  wzGetSSReaderInterface(&again);
  wzGetSSReaderInterface(nullptr);
  EXPECT_EQ(std::memcmp(&again, &table, sizeof(table)), 0);
  EXPECT_EQ(services.stats().allocations, 0u);
  const intptr_t charSetArguments[][2] = {{0, 0}, {1, 2}, {-1, INTPTR_MAX}, {INTPTR_MIN, 7}};
  for (const auto& a : charSetArguments) EXPECT_EQ(WZGetCharSet(a[0], a[1]), 7) << a[0];
}

TEST(AllocateReader, StoresStreamServicesAndFlagsAndClosesWithoutTouchingTheStream) {
  TestHost host("anything");
  EXPECT_EQ(WZAllocateReader(nullptr, 0, host.stream.get(), nullptr, 0, 0), nullptr);
  host.services.failAllocation(1);
  EXPECT_EQ(host.allocate(), nullptr);
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);

  host.reader = WZAllocateReader(reinterpret_cast<void*>(0x1234), 99, host.stream.get(),
                                 host.services.get(), 77, 5);
  ASSERT_NE(host.reader, nullptr);
  const wzss::WorkbookReader* reader = own(host.reader);
  EXPECT_EQ(reader->stream, host.stream.get());
  EXPECT_EQ(reader->services, host.services.get());
  EXPECT_EQ(reader->readerFlags, 5u);
  EXPECT_EQ(reader->info.sheets, nullptr);
  EXPECT_EQ(reader->openSheet, nullptr);
  EXPECT_EQ(host.services.stats().liveBlocks, 1u);
  host.closeReader();
  EXPECT_EQ(host.services.stats().liveBlocks, 0u);
  const host::StreamCalls& calls = host.stream.calls();
  EXPECT_EQ(calls.opens + calls.reads + calls.seeks + calls.tells + calls.closes, 0u);
}

TEST(EntryPoints, TolerateMissingHandles) {
  WorkbookInfo info{};
  info.sheetCount = 42;
  SheetItem item{};
  item.itemType = 99;
  WZCloseReader(nullptr);
  WZCloseSheet(nullptr);
  EXPECT_EQ(WZGetWorkSheetInfo(nullptr, &info, 0), 0);
  EXPECT_EQ(info.sheetCount, 42u);
  EXPECT_EQ(WZInitSheet(nullptr, 0, 0, nullptr, 0), nullptr);
  EXPECT_EQ(WZProcessSheet(nullptr, &item), -1);
  // A sheet without its reader, and a sheet asked to fill no item.
  wzss::SheetReader orphan{};
  EXPECT_EQ(WZProcessSheet(reinterpret_cast<::SheetReader*>(&orphan), &item), -1);
  EXPECT_EQ(item.itemType, 99u);
  PreparedReader prepared(joinLines({"View Start, Name: #S: ~A", "View End,"}));
  ASSERT_NE(prepared.open(), nullptr);
  EXPECT_EQ(WZProcessSheet(prepared.host.sheet, nullptr), -1);
  EXPECT_EQ(prepared.sheet()->state, kStateSettings);
}

}  // namespace
}  // namespace wzss::test

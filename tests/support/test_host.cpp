#include "support/test_host.h"

#include <gtest/gtest.h>

namespace wzss::test {

TestHost::TestHost(std::string workbookText) : stream(std::move(workbookText)) {}

TestHost::~TestHost() {
  closeSheet();
  closeReader();
  EXPECT_EQ(services.stats().liveBlocks, 0u) << "blocks left alive after the test";
}

::WorkbookReader* TestHost::allocate(uint32_t readerFlags) {
  reader = WZAllocateReader(nullptr, 0, stream.get(), services.get(), 0, readerFlags);
  return reader;
}

int32_t TestHost::scan() {
  if (reader == nullptr && allocate() == nullptr) return 0;
  return WZGetWorkSheetInfo(reader, &info, 0);
}

::SheetReader* TestHost::openSheet(uint32_t index, uint32_t sheetFlags) {
  if (info.sheets == nullptr || index >= info.sheetCount) return nullptr;
  sheet = WZInitSheet(reader, reinterpret_cast<uintptr_t>(this), info.sheets[index].viewPos,
                      &TestHost::callback, sheetFlags);
  return sheet;
}

void TestHost::closeSheet() {
  if (sheet != nullptr) WZCloseSheet(sheet);
  sheet = nullptr;
}

void TestHost::closeReader() {
  closeSheet();
  if (reader != nullptr) WZCloseReader(reader);
  reader = nullptr;
}

int32_t TestHost::next() { return WZProcessSheet(sheet, &item); }

int TestHost::pumpAll(std::vector<SheetItem>* items) {
  int count = 0;
  // A generous bound: no test workbook yields this many items.
  for (; count < 1000000 && next() == 0; ++count) {
    if (items != nullptr) items->push_back(item);
  }
  return count;
}

intptr_t TestHost::callback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero) {
  auto& self = *reinterpret_cast<TestHost*>(cookie);
  EXPECT_EQ(zero, 0);
  switch (op) {
    case WZSS_CALLBACK_TEXT_BUFFER: {
      self.textRequests.push_back(static_cast<uint32_t>(argument));
      if (self.nullTextBuffers) return 0;
      self.textBuffers.emplace_back(static_cast<size_t>(argument), '\xAA');
      return reinterpret_cast<intptr_t>(self.textBuffers.back().data());
    }
    case WZSS_CALLBACK_FILL:
      self.fills.push_back(*reinterpret_cast<const FillInfo*>(argument));
      return self.fillResult;
    default:
      ADD_FAILURE() << "unexpected callback op " << op;
      return 0;
  }
}

}  // namespace wzss::test

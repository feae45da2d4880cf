// A host for tests: a workbook text in a memory stream, accounting services,
// and a sheet callback that hands out text buffers and records fills. The
// destructor closes whatever is still open and fails the running test when
// any block obtained from the services is still alive.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "wzss/reader_abi.h"

namespace wzss::test {

class TestHost {
 public:
  explicit TestHost(std::string workbookText);
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  // WZAllocateReader over the memory stream; null on failure.
  ::WorkbookReader* allocate(uint32_t readerFlags = 0);
  // Allocates when needed, then WZGetWorkSheetInfo(reader, &info, 0).
  int32_t scan();
  // WZInitSheet for sheet index (from 0) of info; null on failure.
  ::SheetReader* openSheet(uint32_t index, uint32_t sheetFlags = 0);
  void closeSheet();
  void closeReader();

  // Pulls one item; returns WZProcessSheet's result.
  int32_t next();
  // Pulls items until the pump reports the end; returns how many.
  int pumpAll(std::vector<SheetItem>* items = nullptr);

  host::Services services;
  host::MemoryStream stream;
  ::WorkbookReader* reader = nullptr;  // the host's opaque handles
  ::SheetReader* sheet = nullptr;
  WorkbookInfo info{};
  SheetItem item{};

  // Callback behaviour and records.
  bool nullTextBuffers = false;       // answer op 0 with null
  intptr_t fillResult = 7;            // answer to op 2
  std::vector<FillInfo> fills;        // every FillInfo registered
  std::vector<uint32_t> textRequests; // every byte count asked for
  std::deque<std::string> textBuffers;

 private:
  static intptr_t callback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero);
};

// A minimal valid header line, for building workbook texts in tests.
inline constexpr const char* kHeader = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n";

}  // namespace wzss::test

// The whole host path over one workbook, as a careful host drives it, with
// every safety property checked on the way: the walk behind the fuzz
// targets, the fault-injection sweeps, the hostile-input tests and the
// replay of regression inputs.
//
// One walk: bytes -> host::MemoryStream -> the host kit's Walker over the
// statically linked entry points (WZAllocateReader, WZGetWorkSheetInfo, per
// sheet WZInitSheet, WZProcessSheet to the end, WZCloseSheet, WZCloseReader),
// each object's content stream read, seeked, filtered, closed and released,
// its descriptor freed; then no block may be left alive in the accounting
// allocator.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace wzss::harness {

struct WalkOptions {
  uint32_t readerFlags = 0;  // sixth argument of WZAllocateReader
  uint32_t sheetFlags = 0;   // fifth argument of WZInitSheet
  // Read each sheet's object streams only after its last item (still before
  // WZCloseSheet) instead of right after each object item.
  bool deferObjectStreams = false;
  // Answer every text buffer request of the sheet callback with null.
  bool nullTextBuffers = false;
  // A host whose document stream has no Close operation.
  bool dropCloseSlot = false;

  // Faults, counted from 1 over the whole walk; 0 injects none.
  uint64_t failAllocation = 0;
  uint64_t failSeek = 0;
  uint64_t failRead = 0;
  bool failOpen = false;         // every Open of the document stream fails
  bool failSheetOpens = false;   // Opens fail once the first pass is over

  // Sheets walked at most; the items of a sheet are bounded by the input's size.
  uint32_t maxSheets = 64;
};

struct WalkReport {
  int32_t infoResult = 0;        // last WZGetWorkSheetInfo result
  uint32_t sheetCount = 0;
  uint32_t sheetsOpened = 0;
  uint64_t items = 0;
  uint64_t objects = 0;
  uint64_t objectStreams = 0;    // content streams built by the reader
  uint64_t linkedStreams = 0;    // content streams opened through OpenFile
  // Host calls made during the walk, for sizing fault sweeps.
  uint64_t allocations = 0;
  uint64_t seeks = 0;
  uint64_t reads = 0;
  uint64_t opens = 0;
  uint64_t liveBlocksAfterClose = 0;
  std::vector<std::string> violations;

  bool ok() const { return violations.empty(); }
  // Every violation on its own line, for failure messages.
  std::string describe() const;
};

WalkReport walkWorkbook(std::string_view bytes, const WalkOptions& options);

}  // namespace wzss::harness

#include "harness/fuzz_input.h"

#include <cstdio>
#include <cstdlib>

#include "wzss/reader_abi.h"

namespace wzss::harness {
namespace {

constexpr uint8_t kReaderNoObjects = 1 << 0;
constexpr uint8_t kSheetNoObjectStreams = 1 << 1;
constexpr uint8_t kDeferObjectStreams = 1 << 2;
constexpr uint8_t kNullTextBuffers = 1 << 3;
constexpr uint8_t kFaultFollows = 1 << 4;
// Fuzzing walks stay small so that each execution is quick.
constexpr uint32_t kFuzzMaxSheets = 16;

bool isOptionByte(uint8_t byte) {
  return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
}

void applyFault(uint8_t kind, uint8_t number, WalkOptions* options) {
  const uint64_t call = uint64_t{number} + 1;
  switch (kind & 7) {
    case 0: options->failAllocation = call; break;
    case 1: options->failSeek = call; break;
    case 2: options->failRead = call; break;
    case 3: options->failOpen = true; break;
    case 4: options->dropCloseSlot = true; break;
    case 5: options->failSheetOpens = true; break;
    default: break;
  }
}

}  // namespace

FuzzInput decodeInput(const uint8_t* data, size_t size) {
  FuzzInput input;
  input.options.maxSheets = kFuzzMaxSheets;
  size_t used = 0;
  if (size > 0 && isOptionByte(data[0])) {
    const uint8_t bits = data[0];
    used = 1;
    if (bits & kReaderNoObjects) input.options.readerFlags |= WZSS_READER_NO_OBJECTS;
    if (bits & kSheetNoObjectStreams) input.options.sheetFlags |= WZSS_SHEET_NO_OBJECT_STREAMS;
    input.options.deferObjectStreams = (bits & kDeferObjectStreams) != 0;
    input.options.nullTextBuffers = (bits & kNullTextBuffers) != 0;
    if ((bits & kFaultFollows) && size >= 3) {
      applyFault(data[1], data[2], &input.options);
      used = 3;
    }
  }
  input.text = std::string_view(reinterpret_cast<const char*>(data) + used, size - used);
  return input;
}

WalkReport runWorkbookInput(const uint8_t* data, size_t size) {
  const FuzzInput input = decodeInput(data, size);
  return walkWorkbook(input.text, input.options);
}

WalkReport runBodyInput(const uint8_t* data, size_t size) {
  const FuzzInput input = decodeInput(data, size);
  std::string text(kFuzzHeader);
  text.append(input.text);
  return walkWorkbook(text, input.options);
}

void abortOnViolation(const WalkReport& report) {
  if (report.ok()) return;
  std::fprintf(stderr, "wzss walk violated the host contract:\n%s", report.describe().c_str());
  std::abort();
}

}  // namespace wzss::harness

// Fuzz target over the whole host path: the input is the workbook file.
#include <cstddef>
#include <cstdint>

#include "harness/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wzss::harness::abortOnViolation(wzss::harness::runWorkbookInput(data, size));
  return 0;
}

// Fuzz target past the header check: the input follows a valid header line,
// so no execution is spent on files the header check refuses.
#include <cstddef>
#include <cstdint>

#include "harness/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  wzss::harness::abortOnViolation(wzss::harness::runBodyInput(data, size));
  return 0;
}

// How a fuzz target turns its bytes into a walk, shared by the libFuzzer
// targets and the replay driver that runs regression inputs in every build.
//
// A leading control byte (0x00 to 0x1F, except tab, line feed and carriage
// return) selects host behaviour; anything else starts the workbook text
// itself, so plain workbook files are valid inputs as they stand.
//   bit 0  reader flag: no object items
//   bit 1  sheet flag: no object streams
//   bit 2  read object streams only after the sheet's last item
//   bit 3  the sheet callback answers text buffer requests with null
//   bit 4  a fault follows in the next two bytes: kind (low three bits:
//          0 allocation, 1 Seek, 2 Read, 3 every Open, 4 no Close slot,
//          5 the Opens of sheets) and the number of the call to fail
//          (byte value + 1)
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "harness/walk.h"

namespace wzss::harness {

struct FuzzInput {
  WalkOptions options;
  std::string_view text;
};

FuzzInput decodeInput(const uint8_t* data, size_t size);

// The header line the body target puts in front of its bytes.
inline constexpr std::string_view kFuzzHeader =
    "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n";

// The whole file comes from the input.
WalkReport runWorkbookInput(const uint8_t* data, size_t size);
// The input follows a valid header line.
WalkReport runBodyInput(const uint8_t* data, size_t size);

// Prints the violations and aborts, so that the fuzzer keeps the input.
void abortOnViolation(const WalkReport& report);

}  // namespace wzss::harness

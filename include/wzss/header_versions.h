// The header line every workbook begins with, and the versions the reader
// accepts in it with the code it gives each. The reader checks the header by
// this table; a host that shows a file's version (`wzss info`) reads the
// same one, so the two never disagree.
#pragma once

#include <cstdint>
#include <string_view>

namespace wzss {

// The header's keyword; three version digits follow it. Compared ignoring
// ASCII case.
inline constexpr std::string_view kHeaderKeyword = "*BEGIN SPREADSHEETS VERSION=";

struct HeaderVersion {
  std::string_view digits;
  uint32_t code;
};

// Tested in this order; the first match decides.
inline constexpr HeaderVersion kHeaderVersions[] = {
    {"440", 4}, {"441", 4}, {"430", 3}, {"420", 2}, {"400", 0},
};

}  // namespace wzss

// Static checks of the record layout for the width being compiled: 32-bit
// (built with -m32) or x86-64. Included by both layout checks.
#pragma once

#include <cstddef>

#include "layout_table.h"
#include "wzss/reader_abi.h"

namespace wzss::abi {

inline constexpr bool kHostWidth = sizeof(void*) == 4;

#define WZSS_STATIC_FIELD(type, member, offset32, offset64)                        \
  static_assert(offsetof(type, member) == (kHostWidth ? (offset32) : (offset64)), \
                #type "." #member " is not at its documented offset");
#define WZSS_STATIC_SIZE(type, size32, size64)                          \
  static_assert(sizeof(type) == (kHostWidth ? (size32) : (size64)),    \
                #type " does not have its documented size");

WZSS_RECORD_LAYOUT(WZSS_STATIC_FIELD, WZSS_STATIC_SIZE)

#undef WZSS_STATIC_FIELD
#undef WZSS_STATIC_SIZE

}  // namespace wzss::abi

// The reader's own records behind the host's opaque handles, for tests that
// look inside a reader or sheet they drove through the entry points.
#pragma once

#include "core/records.h"
#include "wzss/reader_abi.h"

namespace wzss::test {

inline wzss::WorkbookReader* internals(::WorkbookReader* reader) {
  return reinterpret_cast<wzss::WorkbookReader*>(reader);
}
inline wzss::SheetReader* internals(::SheetReader* sheet) {
  return reinterpret_cast<wzss::SheetReader*>(sheet);
}

}  // namespace wzss::test

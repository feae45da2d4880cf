// The records in the layout of the platform being built, byte for byte: the
// static_asserts are the whole check, so a layout change breaks the build.
#include "layout_static_checks.h"

#if defined(__x86_64__)
static_assert(!wzss::abi::kHostWidth, "the x86-64 column of the table is checked here");
#endif

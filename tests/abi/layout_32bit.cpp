// Compiled with -m32 -fsyntax-only: the records in the 32-bit host layout,
// byte for byte. This machine cannot run 32-bit programs, and need not: the
// static_asserts are the whole check.
#include "layout_static_checks.h"

static_assert(sizeof(void*) == 4, "compile this file with -m32");

// Value formatting: display texts by number format, thousands grouping, and
// the day-serial arithmetic of dates and times.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Size of the working buffers; a display text before continuation lines
// holds at most kWorkSize - 1 characters.
inline constexpr uint32_t kWorkSize = 512;

// A display text in a block from the host's Alloc, which the caller
// releases with Free: length characters and a NUL.
struct DisplayText {
  char* block;
  uint32_t length;
};

// The display text of valueText (writable; numeric codes cut it after the
// value) by formatCode, decimals and dateStyle. False when Alloc fails. For
// labels (0) and quoted strings (29), *complete tells whether the value is
// whole: 0 while a quoted string is open, and for an empty text, which the
// next line continues; a label may still take further lines.
bool wzFormatVal(HostServices* services, char* valueText, uint32_t formatCode, int32_t decimals,
                 int32_t dateStyle, DisplayText* display, int* complete);

// Appends a further line of a label or quoted string: line is decoded in
// place as the first piece was and joins the text without its first byte
// (normally the marking blank); *complete becomes the value's completeness
// after it. False when the size does not fit or Realloc fails; the block is
// then still the old one.
bool wzAppendContinuation(HostServices* services, DisplayText* display, char* line,
                          uint32_t formatCode, int* complete);

// Puts thousands separators into a number printed with "%.*lf", in place;
// text is a buffer of kWorkSize bytes.
void wzInsertCommas(char* text);

// Year, month, day from a date written with slashes in text, otherwise from
// the day serial (1 = 1 January 1900, 1900 counted as a leap year).
void wzGetDate(char* text, double serial, int16_t* year, int16_t* month, int16_t* day);

// Hour (0..24), minute, second of the value's fraction of a day.
void wzGetTime(double value, int16_t* hour, int16_t* minute, int16_t* second);

}  // namespace wzss

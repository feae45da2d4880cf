// Value formatting: display texts by number format, thousands grouping, and
// the day-serial arithmetic of dates and times.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Size of the working buffers; a display text before continuation lines
// holds at most kWorkSize - 1 characters.
inline constexpr uint32_t kWorkSize = 512;

// The display text of valueText (writable; numeric codes cut it after the
// value) by formatCode, decimals and dateStyle, in a block from the host's
// Alloc that the caller releases with Free; null when memory or a Seek
// fails. Labels (0) and quoted strings (29) also gather their continuation
// lines from sheet->stream and leave it at the first line not taken.
char* wzFormatVal(SheetReader* sheet, char* valueText, uint32_t formatCode, int32_t decimals,
                  int32_t dateStyle);
// The same, with the text's length (terminator not counted) in *length, so
// that the caller need not measure what was just built.
char* wzFormatVal(SheetReader* sheet, char* valueText, uint32_t formatCode, int32_t decimals,
                  int32_t dateStyle, uint32_t* length);

// Puts thousands separators into a number printed with "%.*lf", in place;
// text is a buffer of kWorkSize bytes.
void wzInsertCommas(char* text);

// Year, month, day from a date written with slashes in text, otherwise from
// the day serial (1 = 1 January 1900, 1900 counted as a leap year).
void wzGetDate(char* text, double serial, int16_t* year, int16_t* month, int16_t* day);

// Hour (0..24), minute, second of the value's fraction of a day.
void wzGetTime(double value, int16_t* hour, int16_t* minute, int16_t* second);

}  // namespace wzss

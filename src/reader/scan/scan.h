// Text scanning: the line reader, the token readers shared by every other
// subsystem, the cell-line splitter, and number conversions that behave as in
// the C locale whatever locale the host process has set.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "core/records.h"

namespace wzss {

// Reads one line from stream into line (capacity bytes, at least 1), one
// Read of one byte at a time. *linePos receives the offset of the line's
// first byte. The line feed, and one carriage return right before it, are
// removed; the buffer is always NUL-terminated. A line longer than
// capacity - 1 bytes keeps its first capacity - 1 bytes and the rest is
// consumed up to the line feed. Returns 1 for a line ended by a line feed,
// 0 when the input ended first (the partial line stays in the buffer).
int wzGetLine(StreamInterface* stream, char* line, uint32_t capacity, uint32_t* linePos);

// Column or sheet letters at *cursor (blanks skipped): A=1 .. Z=26, AA=27.
// -1 at the end of the text, for no letters, or for three or more letters.
int32_t wzGetLetter(const char** cursor);

// Unsigned decimal number at *cursor (blanks skipped); 0 when no digit
// stands there, -1 when only blanks remain. Saturates at INT32_MAX.
int32_t wzGetIntItem(const char** cursor);

// Decodes the string escape scheme in place. For formatCode 29 the text is a
// quoted string: returns 0 while the closing quote has not been met.
int wzProcessString(char* text, int32_t formatCode);

// Items "row:height" of a "View Row Heights: " line, from text[*index].
int wzGetRowHeightItem(const char* text, uint32_t* index, int32_t* first, int32_t* second);

// Items "letters:width" of a "View Column Widths: " line.
int wzGetColWidthItem(const char** cursor, int32_t* column, int32_t* width);

// Reads the next cell line from stream into line (kLineSize bytes) and
// points *attrText at its attribute text, inside line. Returns 1 with the
// address, 0 at the end of the input.
int wzDisect(StreamInterface* stream, char* line, char** attrText, int32_t* sheetNumber,
             int32_t* row, int32_t* column);

// One line of the cell data during the first pass: 0 at the end of the
// input, 1 for a line that is not a cell line, else the line's offset.
uint32_t wzScanCellLine(StreamInterface* stream, int32_t* sheetNumber);

// --- Keywords and numbers --------------------------------------------------

// True when line begins with keyword, ASCII case ignored, over the keyword's
// whole length (trailing blanks of the keyword included).
bool wzMatchKeyword(const char* line, std::string_view keyword);

// A blank for the cursor readers: space or line feed.
inline bool wzIsBlank(char c) { return c == ' ' || c == '\n'; }

// Character classes as the C locale has them, whatever locale the host set.
// White space of formatted input and number conversions: space, \t \n \v \f \r.
inline bool wzIsCSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool wzIsDigit(char c) { return c >= '0' && c <= '9'; }
// Letters of column and sheet names: every byte from 'A' through 'z', the six
// punctuation bytes between 'Z' and 'a' included, without case folding.
inline bool wzIsLetter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 'A' && byte <= 'z';
}

// strchr, but the terminator's position when wanted is not there. A plain
// loop: on the few bytes of a line's fields the library's vector routine
// spends more time setting up than searching, several times per cell.
template <typename Char>
Char* wzFindOrEnd(Char* text, char wanted) {
  while (*text != '\0' && *text != wanted) ++text;
  return text;
}

// atoi as in the C locale, but saturating at the int32 limits instead of
// overflowing.
int32_t wzAtoi(const char* text);

// strtol-like integer reading for formatted input: skips C-locale white
// space, optional sign, then digits in base 10, or for base 0 as "%i" does
// (0x hexadecimal, leading 0 octal). Saturates at the int32 limits. Returns
// false when no digit was read; *end then equals text.
bool wzParseInt(const char* text, int base, int32_t* value, const char** end);

// strtod as in the C locale: white space, sign, decimal or 0x hexadecimal
// digits with optional exponent, "inf", "infinity", "nan". Overflow gives
// +-HUGE_VAL, underflow +-0. Returns false when nothing was converted
// (*value is then 0.0 and *end equals text).
bool wzParseDouble(const char* text, double* value, const char** end);

// Formatted input as the C library scans it in the C locale, for white
// space, literal bytes, %d, %f, %*s and %*c. Each assigned conversion goes
// to the next target: int32_t targets take %d, float targets %f, and a
// conversion of the other kind ends the scan, as does the first directive
// that fails. Returns how many conversions were assigned.
int wzScanFormatted(const char* text, std::string_view format,
                    std::span<int32_t* const> targets);
int wzScanFormatted(const char* text, std::string_view format, std::span<float* const> targets);

// atof as in the C locale.
double wzAtof(const char* text);

}  // namespace wzss

// Token readers over one line of text: column and sheet letters, unsigned
// numbers, the string escape scheme, and the items of the view section's
// row-height and column-width lines. None allocates or keeps state; all
// state is the caller's text and cursor.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "scan/scan.h"

namespace wzss {

namespace {

constexpr char kEscape = '^';
constexpr char kQuote = '"';
constexpr int32_t kLetterBase = 64;  // 'A' counts 1
constexpr int32_t kLettersInRadix = 26;

int32_t letterValue(char c) { return static_cast<unsigned char>(c) - kLetterBase; }

// The first byte from p on that is not a blank.
const char* skipBlanks(const char* p) {
  while (wzIsBlank(*p)) ++p;
  return p;
}

// A nibble written as a letter 'a'..'p'. Any other byte counts by its
// distance from 'a' taken modulo 16 (unsigned arithmetic keeps that
// non-negative for bytes below 'a').
unsigned nibble(char c) {
  return (static_cast<unsigned char>(c) - static_cast<unsigned>('a')) % 16u;
}

// wzAtoi of the field [begin, end) alone: the conversion must not read on
// past the field's end into the next one. The fields are parts of a line, so
// they fit a line buffer.
int32_t decimalField(const char* begin, const char* end) {
  char field[kLineSize];
  const size_t length = std::min<size_t>(static_cast<size_t>(end - begin), kLineSize - 1);
  std::memcpy(field, begin, length);
  field[length] = '\0';
  return wzAtoi(field);
}

bool endsHeightText(char c) { return c == ' ' || c == '-' || c == '\0'; }

}  // namespace

// Both readers work on a copy of the cursor and store it once: a store
// through the caller's pointer per byte costs as much as the scan itself.
int32_t wzGetLetter(const char** cursor) {
  const char* run = skipBlanks(*cursor);
  *cursor = run;
  if (*run == '\0') return -1;
  const char* end = run;
  while (wzIsLetter(*end)) ++end;
  *cursor = end;
  switch (end - run) {
    case 1: return letterValue(run[0]);
    case 2: return letterValue(run[0]) * kLettersInRadix + letterValue(run[1]);
    default: return -1;  // no letter, or a run too long for a column name
  }
}

int32_t wzGetIntItem(const char** cursor) {
  const char* p = skipBlanks(*cursor);
  *cursor = p;
  if (*p == '\0') return -1;
  // Once past INT32_MAX the value only saturates; it stays below 2^35.
  int64_t value = 0;
  for (; wzIsDigit(*p); ++p) {
    if (value <= INT32_MAX) value = value * 10 + (*p - '0');
  }
  *cursor = p;
  return value > INT32_MAX ? INT32_MAX : static_cast<int32_t>(value);
}

int wzProcessString(char* text, int32_t formatCode) {
  const bool quoted = formatCode == FRMT_STRING;
  const char* in = text;
  char* out = text;  // never ahead of in: decoding only shrinks the text
  if (quoted && *in == kQuote) ++in;
  int closed = 0;
  while (*in != '\0') {
    if (quoted && *in == kQuote) {
      closed = 1;
      break;
    }
    if (*in != kEscape) {
      *out++ = *in++;
    } else if (in[1] == kEscape) {
      *out++ = kEscape;
      in += 2;
    } else if (in[1] != '\0' && in[2] != '\0') {
      *out++ = static_cast<char>(nibble(in[1]) * 16 + nibble(in[2]));
      in += 3;
    } else {
      // A '^' with fewer than two bytes before the end is no escape: it is
      // kept as it stands and what follows is read as usual.
      *out++ = *in++;
    }
  }
  *out = '\0';
  return quoted ? closed : 1;
}

int wzGetRowHeightItem(const char* text, uint32_t* index, int32_t* first, int32_t* second) {
  const char* item = text + *index;
  while (*item == ' ' || *item == '\n' || *item == '\r') ++item;
  if (*item == '\0') return 0;
  const char* colon = item;
  while (*colon != ':' && *colon != '\0') ++colon;
  if (*colon == '\0') return 0;  // a row without its height ends the list
  const char* height = colon + 1;
  const char* heightEnd = height;
  while (!endsHeightText(*heightEnd)) ++heightEnd;
  *first = decimalField(item, colon);
  *second = decimalField(height, heightEnd);
  *index = static_cast<uint32_t>(heightEnd - text);
  return 1;
}

int wzGetColWidthItem(const char** cursor, int32_t* column, int32_t* width) {
  *cursor = skipBlanks(*cursor);
  if (**cursor == '\0') return 0;
  *column = wzGetLetter(cursor);
  if (**cursor != '\0') ++*cursor;  // the ':' between letters and width
  *width = wzGetIntItem(cursor);
  return 1;
}

}  // namespace wzss

// The number format item at the start of an attribute text: a FormatCode, a
// count of decimals and a date style. When the item leaves the decimals
// floating, they are derived from the digits of the value text further on
// the same line, so the scan deliberately runs past the attribute text.
#include <cstdint>

#include "cells/cells.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr int32_t kDefaultDateStyle = 2;
constexpr int32_t kMaxDerivedDecimals = 9;
// A percent value shows two digits fewer than its text has: the factor 100
// moves the point two places.
constexpr int32_t kPercentShift = 2;
// T followed by a byte b gives the code b - 28, so "T0".."T3" are 20..23.
constexpr int32_t kTimeCodeBase = 28;

constexpr char kLabelMark = '\'';
constexpr char kDateDefaultMark = 'N';  // DN: the workbook's default format

// Where the parse goes after the letter of the item.
enum class Next { Done, CheckFloating, Derive };

struct Parse {
  const char* cursor;
  int32_t code;
  int32_t decimals;
  int32_t limit;  // cap of a general number's derived decimals, 0 for none
  int32_t dateStyle;
};

bool isSeparator(char c) { return c == ':' || c == ';' || c == '.'; }

// The date number of D: atoi over the bytes up to the first blank. Since a
// blank also ends atoi's digits, the bounded conversion differs from the
// plain one only when the leading white space already holds a blank: the
// bounded text is then white space alone, which converts to 0.
int32_t readDateNumber(const char* cursor) {
  for (const char* p = cursor; wzIsCSpace(*p); ++p) {
    if (wzIsBlank(*p)) return 0;
  }
  return wzAtoi(cursor);
}

// The decimals character after C, CO, F, G, P and S. The cursor
// never steps over the terminator, so a text that ends on the letter is read
// as a NUL decimals character and the derivation sees an empty remainder.
void readDecimalsCharacter(Parse* parse) {
  const char c = *parse->cursor;
  if (c == 'f' || c == 'F') {
    parse->decimals = kFloatingDecimals;
  } else {
    parse->decimals = c - '0';  // no digit check: any byte counts by its code
    parse->limit = parse->decimals;
  }
  if (c != '\0') ++parse->cursor;
}

// The item's letter selects the format code; the cursor is on it.
Next readLetter(const WorkbookReader* reader, Parse* parse) {
  const char* p = parse->cursor;
  switch (*p) {
    case 'B':
      parse->code = FRMT_BOOLEAN;
      return Next::CheckFloating;
    case 'C':
      if (p[1] == 'O') {
        parse->code = FRMT_COMMA;
        parse->cursor = p + 2;
      } else {
        parse->code = FRMT_CURRENCY;
        parse->cursor = p + 1;
      }
      readDecimalsCharacter(parse);
      return Next::CheckFloating;
    case 'D':
      if (p[1] == kDateDefaultMark) {
        parse->code = static_cast<int32_t>(reader->defaultFormat);
        parse->decimals = static_cast<int32_t>(reader->defaultDecimals);
      } else {
        parse->code = FRMT_DATE;
        parse->cursor = p + 1;
        const int32_t number = readDateNumber(parse->cursor);
        // The date number saturates; so does the style derived from it.
        parse->dateStyle = number == INT32_MAX ? INT32_MAX : number + 1;
      }
      return Next::CheckFloating;
    case 'F':
    case 'P':
    case 'S':
      parse->code = *p == 'F' ? FRMT_FIXED : (*p == 'P' ? FRMT_PERCENT : FRMT_SCIENTIFIC);
      parse->cursor = p + 1;
      readDecimalsCharacter(parse);
      return Next::CheckFloating;
    case 'G':
      if (p[1] == 'R') {
        parse->code = FRMT_BAR;
        return Next::CheckFloating;
      }
      parse->code = FRMT_GENERAL;
      parse->cursor = p + 1;
      readDecimalsCharacter(parse);
      return Next::CheckFloating;
    case 'T':
      // Any byte after the T counts, the terminator included (code -28).
      parse->code = static_cast<unsigned char>(p[1]) - kTimeCodeBase;
      parse->cursor = p + 1;
      return Next::CheckFloating;
    default:
      // Letters without a meaning, lower case and an empty item: general.
      parse->code = FRMT_GENERAL;
      parse->decimals = kFloatingDecimals;
      return Next::Derive;
  }
}

// The value text: what follows the first ':', ';' or '.' from the cursor on,
// its leading blanks skipped; the empty text at the end when there is none.
const char* findRemainder(const char* cursor) {
  while (*cursor != '\0' && !isSeparator(*cursor)) ++cursor;
  if (*cursor == '\0') return cursor;
  ++cursor;
  while (wzIsBlank(*cursor)) ++cursor;
  return cursor;
}

int32_t textLength(const char* text) {
  int32_t length = 0;
  while (text[length] != '\0') ++length;
  return length;
}

// A '.' within the value text's first word, and how many bytes
// follow it up to the next blank or the end. -1 when there is no '.'.
int32_t countDecimalPlaces(const char* remainder) {
  const char* p = remainder;
  while (*p != '\0' && !wzIsBlank(*p) && *p != '.') ++p;
  if (*p != '.') return -1;
  int32_t count = 0;
  for (++p; *p != '\0' && !wzIsBlank(*p); ++p) ++count;
  return count;
}

int32_t smaller(int32_t a, int32_t b) { return a < b ? a : b; }

// Floating decimals taken from the value text: the digits after the '.' of
// its first word (a percent item two fewer), no more than the limit a
// general item sets, capped; a scientific item takes the text's length less
// one, uncapped; a label none.
int32_t deriveDecimals(const Parse& parse) {
  const char* remainder = findRemainder(parse.cursor);
  if (parse.code == FRMT_SCIENTIFIC) return textLength(remainder) - 1;  // no cap
  if (parse.code == FRMT_LABEL) return 0;
  const int32_t count = countDecimalPlaces(remainder);
  const bool limited = parse.code == FRMT_GENERAL && parse.limit != 0;
  int32_t decimals = 0;
  if (parse.code == FRMT_PERCENT && count >= 0) {
    decimals = count >= 1 ? count - kPercentShift : -kPercentShift;
  } else if (count >= 1) {
    decimals = limited ? smaller(count, parse.limit) : count;
  } else {
    decimals = limited ? smaller(0, parse.limit) : 0;
  }
  return decimals > kMaxDerivedDecimals ? kMaxDerivedDecimals : decimals;
}

// Before the item's letter: an optional '<', an optional '(' and blanks.
const char* skipPrefix(const char* text) {
  if (*text == '<') ++text;
  if (*text == '(') ++text;
  while (wzIsBlank(*text)) ++text;
  return text;
}

}  // namespace

void wzExtractNumFrmt(const WorkbookReader* reader, const char* text, int32_t* formatCode,
                      int32_t* decimals, int32_t* dateStyle) {
  *dateStyle = kDefaultDateStyle;
  Parse parse{skipPrefix(text), FRMT_GENERAL, *decimals, 0, kDefaultDateStyle};
  if (*parse.cursor == kLabelMark) {
    *formatCode = FRMT_LABEL;  // the decimals stay the caller's
    return;
  }
  const Next next = readLetter(reader, &parse);
  *formatCode = parse.code;
  *decimals = parse.decimals;
  *dateStyle = parse.dateStyle;
  if (next == Next::CheckFloating && parse.decimals != kFloatingDecimals &&
      parse.code != FRMT_GENERAL) {
    return;
  }
  // While the attribute table is read there is no value text to derive
  // from: floating decimals stay 10.
  if (reader->parsingAttrs != 0) return;
  *decimals = deriveDecimals(parse);
}

}  // namespace wzss

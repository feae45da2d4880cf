// The display text of a cell value by its number format, and the joining of
// the further pieces of a text value that continues over several lines. Text
// in, text out: the cell layer reads those lines.
//
// Floating output goes through std::to_chars, which prints as printf does in
// the C locale whatever locale the host has set; integers are written digit
// by digit.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "format/format.h"
#include "scan/scan.h"

namespace wzss {
namespace {

// A display text holds at most this many characters; longer ones are cut.
constexpr uint32_t kMaxDisplay = kWorkSize - 1;

// printf's precision when none is given.
constexpr int32_t kDefaultPrecision = 6;
// Every double is a multiple of 2^-1074, so its exact decimal expansion has
// at most 1074 digits after the point: from there on a larger precision only
// adds zeros, which lie beyond the 511 characters that are kept.
constexpr int32_t kExactPrecision = 1100;
// Room for a sign, 309 integer digits, the point, kExactPrecision digits and
// an exponent.
constexpr uint32_t kScratchSize = 1536;

constexpr double kPercentFactor = 100.0;
constexpr uint32_t kBarLimit = 511;
constexpr char kBarChar = '*';

constexpr const char* kFullMonths[13] = {"",        "January",  "February", "March",  "April",
                                         "May",     "June",     "July",     "August", "September",
                                         "October", "November", "December"};
constexpr const char* kShortMonths[13] = {"",    "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr int16_t kLastMonth = 12;

constexpr int16_t kLastYearOf19 = 1999;
constexpr int32_t kFirstDateStyle = 2;
constexpr int32_t kLastDateStyle = 16;
// Styles outside 2..16 have no format of their own; they print year-month-day.
constexpr int32_t kFallbackDateStyle = 7;

constexpr int16_t kNoon = 12;

// --- Small text helpers ---------------------------------------------------

// Copies src into out (kWorkSize bytes), cut to kMaxDisplay characters.
// The formatters below return the length of what they wrote, so that the
// display text is never measured again.
uint32_t copyCut(char* out, const char* src) {
  size_t length = std::strlen(src);
  if (length > kMaxDisplay) length = kMaxDisplay;
  std::memcpy(out, src, length);
  out[length] = '\0';
  return static_cast<uint32_t>(length);
}

// Appends src to the text of used characters in out (kWorkSize bytes), cut
// to kMaxDisplay.
uint32_t appendCut(char* out, uint32_t used, const char* src) {
  size_t length = std::strlen(src);
  if (length > kMaxDisplay - used) length = kMaxDisplay - used;
  std::memcpy(out + used, src, length);
  out[used + length] = '\0';
  return static_cast<uint32_t>(used + length);
}

void upperCaseAscii(char* text) {
  for (; *text != '\0'; ++text) {
    if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
  }
}

int32_t usablePrecision(int32_t decimals) {
  if (decimals < 0) return kDefaultPrecision;
  return decimals > kExactPrecision ? kExactPrecision : decimals;
}

// --- Fixed notation of everyday numbers ---------------------------------------

// Precisions the exact integer path below takes: 10^17 < 2^57, so the
// mantissa times the power stays below 2^110.
constexpr int32_t kFastPrecision = 17;
constexpr auto kPowersOfTen = [] {
  std::array<uint64_t, kFastPrecision + 1> powers{};
  uint64_t power = 1;
  for (uint64_t& entry : powers) {
    entry = power;
    power *= 10;
  }
  return powers;
}();
constexpr int kMantissaBits = 52;
constexpr int kExponentBias = 1075;  // the bias plus the mantissa's 52 bits
constexpr int kLowestExponent = -1074;

// Writes value as decimal digits ending just before end; returns the first.
char* putDigitsBefore(char* end, uint64_t value, int32_t minDigits) {
  do {
    *--end = static_cast<char>('0' + value % 10);
    value /= 10;
    --minDigits;
  } while (value != 0 || minDigits > 0);
  return end;
}

// "%.*f" of number for precisions up to kFastPrecision and values whose
// scaled magnitude fits 64 bits, computed exactly: the double is
// mantissa * 2^exponent, so number * 10^precision is an integer product
// shifted, rounded half to even as printf rounds the exact value. False
// when the number is outside that range (the general printer takes it).
uint32_t printFixedExactly(char* out, double number, int32_t precision) {
  if (precision > kFastPrecision || !std::isfinite(number)) return 0;
  uint64_t bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  const bool negative = (bits >> 63) != 0;
  const int field = static_cast<int>((bits >> kMantissaBits) & 0x7FF);
  uint64_t mantissa = bits & ((uint64_t{1} << kMantissaBits) - 1);
  int exponent = kLowestExponent;  // subnormals
  if (field != 0) {
    mantissa |= uint64_t{1} << kMantissaBits;
    exponent = field - kExponentBias;
  }

  using Wide = unsigned __int128;
  Wide scaled = static_cast<Wide>(mantissa) * kPowersOfTen[precision];
  if (exponent >= 0) {
    if (exponent >= 64) return 0;
    if ((scaled >> (64 - exponent)) != 0) return 0;  // the result needs 64 bits or more
    scaled <<= exponent;
  } else if (-exponent >= 111) {
    scaled = 0;  // below half of the last digit: rounds to zero
  } else {
    const int shift = -exponent;
    const Wide rest = scaled & ((Wide{1} << shift) - 1);
    const Wide half = Wide{1} << (shift - 1);
    scaled >>= shift;
    if (rest > half || (rest == half && (scaled & 1) != 0)) ++scaled;
  }
  if ((scaled >> 64) != 0) return 0;
  const auto digits = static_cast<uint64_t>(scaled);

  char text[48];
  char* end = text + sizeof text;
  char* first = end;
  if (precision > 0) {
    first = putDigitsBefore(first, digits % kPowersOfTen[precision], precision);
    *--first = '.';
  }
  first = putDigitsBefore(first, digits / kPowersOfTen[precision], 1);
  if (negative) *--first = '-';  // printf keeps the sign of -0.0 and of what rounds to it
  const auto length = static_cast<uint32_t>(end - first);
  std::memcpy(out, first, length);
  out[length] = '\0';
  return length;
}

// The number as "%.*lf" (fixed) or "%.*e" (scientific) prints it, into out
// (kWorkSize bytes), cut to kMaxDisplay characters.
uint32_t printFloat(char* out, double number, int32_t decimals, std::chars_format style) {
  if (style == std::chars_format::fixed) {
    const uint32_t length = printFixedExactly(out, number, usablePrecision(decimals));
    if (length != 0) return length;
  }
  char scratch[kScratchSize];
  const std::to_chars_result printed =
      std::to_chars(scratch, scratch + kScratchSize - 1, number, style, usablePrecision(decimals));
  // The scratch holds every text the clamped precision can produce; should
  // it not, the display text is empty rather than wrong.
  if (printed.ec != std::errc()) {
    out[0] = '\0';
    return 0;
  }
  *printed.ptr = '\0';
  return copyCut(out, scratch);
}

// --- Codes ------------------------------------------------------------------

uint32_t formatComma(char* work, double number, int32_t decimals) {
  printFloat(work, number, decimals, std::chars_format::fixed);
  wzInsertCommas(work);
  return static_cast<uint32_t>(std::strlen(work));
}

uint32_t formatCurrency(char* work, double number, int32_t decimals) {
  char grouped[kWorkSize];
  printFloat(grouped, number, decimals, std::chars_format::fixed);
  wzInsertCommas(grouped);
  return appendCut(work, copyCut(work, "$"), grouped);
}

uint32_t formatPercent(char* work, double number, int32_t decimals) {
  const uint32_t length =
      printFloat(work, number * kPercentFactor, decimals, std::chars_format::fixed);
  return appendCut(work, length, "%");
}

// "%.*E": as "%.*e" with the letters (exponent, INF, NAN) in upper case.
uint32_t formatScientific(char* work, double number, int32_t decimals) {
  const uint32_t length = printFloat(work, number, decimals, std::chars_format::scientific);
  upperCaseAscii(work);
  return length;
}

// Only a lower-case 'e' in the value text asks for scientific notation.
uint32_t formatGeneral(char* work, const char* text, double number, int32_t decimals) {
  const bool scientific = *wzFindOrEnd(text, 'e') != '\0';
  return printFloat(work, number, decimals,
                    scientific ? std::chars_format::scientific : std::chars_format::fixed);
}

uint32_t formatBar(char* work, double number) {
  // Truncated toward zero; below one (negative and NaN included) no bar.
  uint32_t count = 0;
  if (number >= static_cast<double>(kBarLimit)) {
    count = kBarLimit;
  } else if (number >= 1.0) {
    count = static_cast<uint32_t>(number);
  }
  std::memset(work, kBarChar, count);
  work[count] = '\0';
  return count;
}

uint32_t formatBoolean(char* work, double number) {
  // -0.0 equals 0.0; a NaN equals nothing and so is TRUE.
  return copyCut(work, number == 0.0 ? "FALSE" : "TRUE");
}

// --- Dates and times ---------------------------------------------------------

// A number as "%.*d" prints it: a '-' for negatives, then at least
// minDigits digits, zeros in front. The caller leaves room for 12 bytes.
char* putNumber(char* out, int32_t value, int32_t minDigits) {
  uint32_t magnitude = static_cast<uint32_t>(value);
  if (value < 0) {
    *out++ = '-';
    magnitude = 0u - magnitude;
  }
  char digits[10];
  int32_t count = 0;
  do {
    digits[count++] = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  for (int32_t pad = count; pad < minDigits; ++pad) *out++ = '0';
  while (count > 0) *out++ = digits[--count];
  return out;
}

char* putText(char* out, const char* text) {
  while (*text != '\0') *out++ = *text++;
  return out;
}

// The date styles as patterns: F the full month name, M the short one,
// C the century ("19" or "20"), y the two-digit year, m the month and D the
// day in two digits at least, d the day as it is; other bytes stand as they
// are. Styles outside 2..16 print as style 7.
constexpr const char* kDatePatterns[kLastDateStyle + 1] = {
    "",       "",      "F d, Cy", "M D, Cy", "D M y", "m/D/y",  "D.m.y",   "Cy-m-D", "y-m-D",
    "Cy m D", "y m D", "CymD",    "ymD",     "D/m/y", "D.m.Cy", "M D, Cy", "F Cy"};

uint32_t formatDate(char* work, char* text, double number, int32_t dateStyle) {
  int16_t year;
  int16_t month;
  int16_t day;
  wzGetDate(text, number, &year, &month, &day);

  // Months outside 0..12 come only from written dates; they have no name.
  const bool named = month >= 0 && month <= kLastMonth;
  const int32_t style =
      dateStyle >= kFirstDateStyle && dateStyle <= kLastDateStyle ? dateStyle : kFallbackDateStyle;
  // The longest text: a month name, two numbers of up to 6 bytes, a century
  // and four separators, far below kWorkSize.
  char* out = work;
  for (const char* p = kDatePatterns[style]; *p != '\0'; ++p) {
    switch (*p) {
      case 'F': out = putText(out, named ? kFullMonths[month] : ""); break;
      case 'M': out = putText(out, named ? kShortMonths[month] : ""); break;
      case 'C': out = putText(out, year <= kLastYearOf19 ? "19" : "20"); break;
      case 'y': out = putNumber(out, year % 100, 2); break;
      case 'm': out = putNumber(out, month, 2); break;
      case 'D': out = putNumber(out, day, 2); break;
      case 'd': out = putNumber(out, day, 1); break;
      default: *out++ = *p; break;
    }
  }
  *out = '\0';
  return static_cast<uint32_t>(out - work);
}

// "hh:mm:ss", "hh:mm", and the same on the 12-hour clock with " AM" or " PM".
uint32_t formatTime(char* work, double number, uint32_t formatCode) {
  int16_t hour;
  int16_t minute;
  int16_t second;
  wzGetTime(number, &hour, &minute, &second);

  const bool twelveHour = formatCode == FRMT_TIME12_HMS || formatCode == FRMT_TIME12_HM;
  const bool seconds = formatCode == FRMT_TIME12_HMS || formatCode == FRMT_TIME24_HMS;
  // The 12-hour clock: 0 is 12 AM, 12 is 12 PM, 24 (the end of the day) too.
  const char* half = "AM";
  int32_t shownHour = hour;
  if (twelveHour) {
    if (shownHour >= kNoon) {
      half = "PM";
      if (shownHour > kNoon) shownHour -= kNoon;
    } else if (shownHour == 0) {
      shownHour = kNoon;
    }
  }
  char* out = putNumber(work, shownHour, 2);
  *out++ = ':';
  out = putNumber(out, minute, 2);
  if (seconds) {
    *out++ = ':';
    out = putNumber(out, second, 2);
  }
  if (twelveHour) {
    *out++ = ' ';
    out = putText(out, half);
  }
  *out = '\0';
  return static_cast<uint32_t>(out - work);
}

// --- Preparing the value ----------------------------------------------------

char* skipBlanks(char* text) {
  while (wzIsBlank(*text)) ++text;
  return text;
}

// A numeric value ends with the first blank after its first character.
void cutAfterFirstBlank(char* text) {
  if (text[0] == '\0') return;
  char* blank = wzFindOrEnd(text + 1, ' ');
  if (*blank != '\0') blank[1] = '\0';
}

// The display text into work; returns its length.
uint32_t formatByCode(char* work, char* text, double number, uint32_t formatCode, int32_t decimals,
                      int32_t dateStyle) {
  switch (formatCode) {
    case FRMT_DATE: return formatDate(work, text, number, dateStyle);
    case FRMT_COMMA: return formatComma(work, number, decimals);
    case FRMT_CURRENCY: return formatCurrency(work, number, decimals);
    case FRMT_FIXED: return printFloat(work, number, decimals, std::chars_format::fixed);
    case FRMT_TIME12_HMS:
    case FRMT_TIME12_HM:
    case FRMT_TIME24_HMS:
    case FRMT_TIME24_HM: return formatTime(work, number, formatCode);
    case FRMT_BAR: return formatBar(work, number);
    case FRMT_GENERAL: return formatGeneral(work, text, number, decimals);
    case FRMT_BOOLEAN: return formatBoolean(work, number);
    case FRMT_PERCENT: return formatPercent(work, number, decimals);
    case FRMT_SCIENTIFIC: return formatScientific(work, number, decimals);
    default: return copyCut(work, text);  // labels, strings, 2..16, unknown codes
  }
}

}  // namespace

void wzInsertCommas(char* text) {
  const char* digits = text[0] == '-' ? text + 1 : text;
  uint32_t digitCount = 0;
  while (digits[digitCount] >= '0' && digits[digitCount] <= '9') ++digitCount;
  if (digitCount <= 3) return;

  // Build the grouped text aside, then copy it back cut to the buffer.
  char grouped[kWorkSize + kWorkSize / 3 + 1];
  uint32_t out = 0;
  for (const char* p = text; p != digits; ++p) grouped[out++] = *p;
  for (uint32_t i = 0; i < digitCount; ++i) {
    // A separator stands before every group of three that has a digit on its left.
    if (i != 0 && (digitCount - i) % 3 == 0) grouped[out++] = ',';
    grouped[out++] = digits[i];
  }
  grouped[out] = '\0';
  // The rest (decimal point and decimals) follows unchanged.
  const char* rest = digits + digitCount;
  char* end = grouped + out;
  const size_t restLength = std::strlen(rest);
  const size_t room = sizeof grouped - 1 - out;
  const size_t kept = restLength < room ? restLength : room;
  std::memcpy(end, rest, kept);
  end[kept] = '\0';
  copyCut(text, grouped);
}

bool wzFormatVal(HostServices* services, char* valueText, uint32_t formatCode, int32_t decimals,
                 int32_t dateStyle, DisplayText* display, int* complete) {
  const bool textCode = isTextFormat(formatCode);
  char* text = skipBlanks(valueText);
  double number = 0.0;
  if (!textCode) {
    cutAfterFirstBlank(text);
    number = wzAtof(text);
  }

  char work[kWorkSize];
  work[0] = '\0';
  // An empty text value is not complete: the next line continues it.
  *complete = 0;
  uint32_t length = 0;
  if (text[0] != '\0') {
    length = formatByCode(work, text, number, formatCode, decimals, dateStyle);
    if (textCode) {
      *complete = wzProcessString(work, static_cast<int32_t>(formatCode));
      // Decoding shrinks the text, and may end it early with a decoded NUL.
      length = static_cast<uint32_t>(std::strlen(work));
    }
  }

  display->block = static_cast<char*>(hostAlloc(services, length + 1));
  if (display->block == nullptr) return false;
  std::memcpy(display->block, work, length + 1);
  display->length = length;
  return true;
}

// One Realloc to exactly the new size per piece: most texts have none.
bool wzAppendContinuation(HostServices* services, DisplayText* display, char* line,
                          uint32_t formatCode, int* complete) {
  *complete = wzProcessString(line, static_cast<int32_t>(formatCode));
  // The piece goes in without its first byte, normally the marking blank.
  const char* tail = line[0] != '\0' ? line + 1 : line;
  const auto tailLength = static_cast<uint32_t>(std::strlen(tail));
  if (tailLength == 0) return true;  // nothing to append, nothing to grow
  const uint32_t size = allocSize(uint64_t{display->length} + tailLength + 1, 1);
  if (size == 0) return false;
  auto* grown = static_cast<char*>(hostRealloc(services, display->block, size));
  if (grown == nullptr) return false;
  std::memcpy(grown + display->length, tail, tailLength + 1);
  display->block = grown;
  display->length += tailLength;
  return true;
}

}  // namespace wzss

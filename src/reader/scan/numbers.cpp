// Number conversions and keyword matching that behave as in the C locale
// whatever locale the host process has set: the host may run under a locale
// with a decimal comma, and the workbook always writes a decimal point.
// Nothing here overflows: integers saturate at the int32 limits, and
// floating values follow strtod's rules for overflow and underflow.
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "scan/scan.h"

namespace wzss {

namespace {

// ASCII only, independent of the process locale.
char foldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The value of c as a digit in bases up to 36, or 36 when it is none.
constexpr int kNoDigit = 36;
int digitValue(char c) {
  if (wzIsDigit(c)) return c - '0';
  const char lower = foldCase(c);
  if (lower >= 'a' && lower <= 'z') return lower - 'a' + 10;
  return kNoDigit;
}
bool isHexDigit(char c) { return digitValue(c) < 16; }

const char* skipSpace(const char* p) {
  while (wzIsCSpace(*p)) ++p;
  return p;
}

// Reads an optional sign; true for '-'.
bool readSign(const char** p) {
  if (**p != '+' && **p != '-') return false;
  return *(*p)++ == '-';
}

// --- Integers ------------------------------------------------------------

// |INT32_MIN|: the largest magnitude either sign can take.
constexpr uint64_t kMagnitudeCap = uint64_t{INT32_MAX} + 1;

int32_t clampToInt32(bool negative, uint64_t magnitude) {
  if (negative) return magnitude >= kMagnitudeCap ? INT32_MIN : -static_cast<int32_t>(magnitude);
  return magnitude > INT32_MAX ? INT32_MAX : static_cast<int32_t>(magnitude);
}

// Picks the base as strtol does and steps over a "0x" prefix when hex
// digits follow it; a "0x" without them is the number 0 followed by 'x'.
int detectBase(const char** p, int base) {
  const bool hexPrefix = (*p)[0] == '0' && foldCase((*p)[1]) == 'x' && isHexDigit((*p)[2]);
  if (base == 0) {
    if (hexPrefix) {
      *p += 2;
      return 16;
    }
    return (*p)[0] == '0' ? 8 : 10;
  }
  if (base == 16 && hexPrefix) *p += 2;
  return base;
}

// --- Floating values ------------------------------------------------------

// Large enough for any exponent that matters, small enough that sums of
// such values never overflow.
constexpr int64_t kExponentCap = int64_t{1} << 40;

int64_t capExponent(int64_t value) {
  return value > kExponentCap ? kExponentCap : (value < -kExponentCap ? -kExponentCap : value);
}

// Exponent after 'e' or 'p' in [p, end): from_chars has already checked the
// syntax, so this only needs the value, capped.
int64_t readExponent(const char* p, const char* end) {
  bool negative = false;
  if (p < end && (*p == '+' || *p == '-')) negative = *p++ == '-';
  int64_t value = 0;
  for (; p < end && wzIsDigit(*p); ++p) value = capExponent(value * 10 + (*p - '0'));
  return negative ? -value : value;
}

// The scale of a number out of range: the place of its leading non-zero
// digit (0 for the units digit, -1 for the first fraction digit), times
// digitBits (4 for hexadecimal, where the exponent counts bits; 1 for
// decimal), plus the exponent. An out-of-range value is either beyond the
// largest double or below half the smallest denormal, so the sign of this
// scale tells overflow from underflow.
int64_t leadingDigitScale(const char* p, const char* end, int digitBits, char exponentMark) {
  int64_t integerDigits = 0;  // from the leading non-zero digit on
  int64_t leadingZeros = 0;   // fraction zeros before the leading non-zero digit
  bool inFraction = false;
  bool found = false;
  for (; p < end && foldCase(*p) != exponentMark; ++p) {
    if (*p == '.') {
      inFraction = true;
    } else if (!found && *p == '0') {
      if (inFraction) leadingZeros = capExponent(leadingZeros + 1);
    } else {
      found = true;
      if (!inFraction) integerDigits = capExponent(integerDigits + 1);
    }
  }
  if (!found) return -kExponentCap;  // zero is never out of range; be safe
  const int64_t exponent = p < end ? readExponent(p + 1, end) : 0;
  const int64_t place = integerDigits > 0 ? integerDigits - 1 : -(leadingZeros + 1);
  return place * digitBits + exponent;
}

double outOfRangeValue(const char* begin, const char* end, bool hex) {
  const int64_t scale =
      hex ? leadingDigitScale(begin, end, 4, 'p') : leadingDigitScale(begin, end, 1, 'e');
  return scale >= 0 ? HUGE_VAL : 0.0;
}

// Powers of ten a double holds exactly.
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kLastExactPower = 22;
constexpr uint64_t kLargestExactInteger = uint64_t{1} << 53;
constexpr int kMostDigitsCounted = 19;  // 10^19 - 1 still fits 64 bits

// The everyday case of a cell value: digits, a point and digits, no
// exponent, at most 2^53 as an integer of all its digits and at most 22
// decimals. Both that integer and 10^decimals are exact doubles, so one
// IEEE division gives the correctly rounded value, the same double the
// general conversion finds. False leaves any other text to it.
bool convertPlainDecimal(const char* p, double* value, const char** end) {
  uint64_t digits = 0;
  int count = 0;
  int decimals = 0;
  const auto take = [&](char c) {
    if (count < kMostDigitsCounted) digits = digits * 10 + static_cast<uint64_t>(c - '0');
    ++count;
  };
  for (; wzIsDigit(*p); ++p) take(*p);
  if (*p == '.') {
    for (++p; wzIsDigit(*p); ++p, ++decimals) take(*p);
  }
  if (foldCase(*p) == 'e' || count > kMostDigitsCounted || digits > kLargestExactInteger ||
      decimals > kLastExactPower) {
    return false;
  }
  *value = static_cast<double>(digits) / kExactPowersOfTen[decimals];
  *end = p;
  return true;
}

// The digits of a decimal or hexadecimal number, without sign or prefix.
bool convertDigits(const char* p, bool hex, double* value, const char** end) {
  const char* last = p + std::strlen(p);
  const auto format = hex ? std::chars_format::hex : std::chars_format::general;
  const std::from_chars_result result = std::from_chars(p, last, *value, format);
  if (result.ec == std::errc::invalid_argument) return false;
  if (result.ec == std::errc::result_out_of_range) *value = outOfRangeValue(p, result.ptr, hex);
  *end = result.ptr;
  return true;
}

// "nan" may carry "(n-char-sequence)"; its payload is not kept.
const char* skipNanPayload(const char* p) {
  if (*p != '(') return p;
  const char* q = p + 1;
  while (wzIsDigit(*q) || (foldCase(*q) >= 'a' && foldCase(*q) <= 'z') || *q == '_') ++q;
  return *q == ')' ? q + 1 : p;
}

// "inf", "infinity" and "nan" are read here: from_chars is only handed texts
// that begin with a digit or a point, so a second sign ("--1", "-+inf") can
// never slip through it after ours was taken.
bool convertInfOrNan(const char* p, double* value, const char** end) {
  if (wzMatchKeyword(p, "infinity")) {
    *value = std::numeric_limits<double>::infinity();
    *end = p + 8;
  } else if (wzMatchKeyword(p, "inf")) {
    *value = std::numeric_limits<double>::infinity();
    *end = p + 3;
  } else if (wzMatchKeyword(p, "nan")) {
    *value = std::numeric_limits<double>::quiet_NaN();
    *end = skipNanPayload(p + 3);
  } else {
    return false;
  }
  return true;
}

bool startsDecimal(const char* p) { return wzIsDigit(p[0]) || (p[0] == '.' && wzIsDigit(p[1])); }
bool startsHex(const char* p) {
  return p[0] == '0' && foldCase(p[1]) == 'x' &&
         (isHexDigit(p[2]) || (p[2] == '.' && isHexDigit(p[3])));
}

}  // namespace

bool wzMatchKeyword(const char* line, std::string_view keyword) {
  for (size_t i = 0; i < keyword.size(); ++i) {
    if (line[i] == '\0') return false;  // never read past the line's end
    if (foldCase(line[i]) != foldCase(keyword[i])) return false;
  }
  return true;
}

bool wzParseInt(const char* text, int base, int32_t* value, const char** end) {
  *value = 0;
  *end = text;
  if (base != 0 && (base < 2 || base > 36)) return false;
  const char* p = skipSpace(text);
  const bool negative = readSign(&p);
  base = detectBase(&p, base);
  const char* digits = p;
  uint64_t magnitude = 0;
  for (int digit = digitValue(*p); digit < base; digit = digitValue(*++p)) {
    magnitude = magnitude * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
    if (magnitude > kMagnitudeCap) magnitude = kMagnitudeCap;  // keeps the product small
  }
  if (p == digits) return false;
  *value = clampToInt32(negative, magnitude);
  *end = p;
  return true;
}

int32_t wzAtoi(const char* text) {
  int32_t value = 0;
  const char* end = nullptr;
  wzParseInt(text, 10, &value, &end);
  return value;
}

bool wzParseDouble(const char* text, double* value, const char** end) {
  *value = 0.0;
  *end = text;
  const char* p = skipSpace(text);
  const bool negative = readSign(&p);
  double magnitude = 0.0;
  const char* stop = nullptr;
  bool converted = false;
  if (startsHex(p)) {
    converted = convertDigits(p + 2, true, &magnitude, &stop);
  } else if (startsDecimal(p)) {
    converted =
        convertPlainDecimal(p, &magnitude, &stop) || convertDigits(p, false, &magnitude, &stop);
  } else {
    converted = convertInfOrNan(p, &magnitude, &stop);
  }
  if (!converted) return false;
  *value = negative ? -magnitude : magnitude;
  *end = stop;
  return true;
}

double wzAtof(const char* text) {
  double value = 0.0;
  const char* end = nullptr;
  wzParseDouble(text, &value, &end);
  return value;
}

}  // namespace wzss

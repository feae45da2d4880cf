// Day serials: whole days counted from 1 = 1 January 1900 (1900 counted as a
// leap year), the fraction being the time of day. The leap rule works on the
// year count since 1900, not on the year, and a second pass repairs the
// dates from 2000 on; the quirks of that arithmetic are the file's own and
// are kept exactly.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "format/format.h"
#include "scan/scan.h"

namespace wzss {
namespace {

constexpr int32_t kBaseYear = 1900;
constexpr int32_t kThresholdYear = 2000;
constexpr int32_t kMillenniumYearCount = 100;  // the year count of 2000
constexpr double kSecondsPerDay = 86400.0;
constexpr double kHalfSecond = 0.5;
constexpr int32_t kSixty = 60;  // seconds per minute, minutes per hour

// Years are signed 16-bit values, so the year count stops where 1900 plus
// the count reaches the largest of them (31 December 32767).
constexpr int32_t kMaxYearCount = INT16_MAX - kBaseYear;
// No year count matches this before the second pass sets one.
constexpr int32_t kNoExtraLeap = -1;
// Days in 400 consecutive year counts: 97 of them are leap counts.
constexpr int64_t kDaysPer400Years = 400 * 365 + 97;

constexpr int32_t kDaysPerMonth[2][13] = {
    {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
    {0, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
};
constexpr int32_t kLastMonth = 12;

// The low 16 bits of a value, read as signed, as a 16-bit store keeps them.
int16_t low16(int64_t value) {
  return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(value)));
}

int16_t clampToInt16(int32_t value) {
  if (value < INT16_MIN) return INT16_MIN;
  if (value > INT16_MAX) return INT16_MAX;
  return static_cast<int16_t>(value);
}

// Truncation toward zero to a signed 32-bit integer without undefined
// behaviour: NaN gives 0 and values outside the range stop at its limits.
int32_t truncateToInt32(double value) {
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(INT32_MIN)) return INT32_MIN;
  if (value >= static_cast<double>(INT32_MAX)) return INT32_MAX;
  return static_cast<int32_t>(value);
}

bool isLeapCount(int32_t yearCount, int32_t extraLeap) {
  return (yearCount % 4 == 0 && yearCount % 100 != 0) || yearCount % 400 == 0 ||
         yearCount == extraLeap;
}

// Days in the year counts 0..count-1, the extra leap count included. The
// leap counts below count are the multiples of 4 (0 among them), less those
// of 100, plus those of 400.
int64_t daysBefore(int32_t count, int32_t extraLeap) {
  const int64_t c = count;
  int64_t days = c * 365 + (c + 3) / 4 - (c + 99) / 100 + (c + 399) / 400;
  const bool extraIsNew =
      extraLeap >= 0 && extraLeap < count && !isLeapCount(extraLeap, kNoExtraLeap);
  if (extraIsNew) ++days;
  return days;
}

struct CalendarDate {
  int16_t year;
  int16_t month;
  int16_t day;
};

// One pass of the serial conversion. Counted year by year, the serial n
// falls in the first year count whose end reaches it; that count is found
// from the day totals directly. Serials of 1 or less stay in count 0 (1900).
CalendarDate convertSerial(double serial, int32_t extraLeap) {
  int32_t n = truncateToInt32(serial);
  if (n == 0) return {static_cast<int16_t>(kBaseYear), 0, 0};

  int32_t yearCount = 0;
  if (n > 0) {
    // An estimate from the mean year (146097 days per 400), then corrected:
    // the count is the largest one whose earlier years hold fewer than n days.
    int64_t estimate = (static_cast<int64_t>(n) - 1) * 400 / kDaysPer400Years;
    if (estimate > kMaxYearCount) estimate = kMaxYearCount;
    yearCount = static_cast<int32_t>(estimate);
    while (yearCount > 0 && daysBefore(yearCount, extraLeap) >= n) --yearCount;
    while (yearCount < kMaxYearCount && daysBefore(yearCount + 1, extraLeap) < n) ++yearCount;
  }
  const int leap = isLeapCount(yearCount, extraLeap) ? 1 : 0;
  int64_t dayOfYear = n - daysBefore(yearCount, extraLeap);
  // Beyond the last representable year: its last day.
  const int32_t yearLength = leap ? 366 : 365;
  if (dayOfYear > yearLength) dayOfYear = yearLength;
  n = static_cast<int32_t>(dayOfYear);

  // n is at most the year's length here, so the month stays within 1..12.
  int32_t month = 1;
  while (month < kLastMonth && n > kDaysPerMonth[leap][month]) {
    n -= kDaysPerMonth[leap][month];
    ++month;
  }
  return {static_cast<int16_t>(kBaseYear + yearCount), static_cast<int16_t>(month),
          clampToInt16(n)};
}

// The year count that the second pass counts as a leap count for a year
// that is a multiple of 2000 (the file's own formula, kept exactly).
int32_t extraLeapFor(int32_t year) {
  if (year == kThresholdYear) return kMillenniumYearCount;
  const auto exponent = static_cast<uint16_t>(year / kThresholdYear - 1);
  const double count = kMillenniumYearCount + 1000.0 * std::pow(2.0, exponent);
  return low16(static_cast<int64_t>(count));
}

}  // namespace

void wzGetDate(char* text, double serial, int16_t* year, int16_t* month, int16_t* day) {
  *year = 0;
  *month = 0;
  *day = 0;

  char* firstSlash = text != nullptr ? std::strchr(text, '/') : nullptr;
  if (firstSlash != nullptr) {
    *firstSlash = '\0';
    char* secondSlash = std::strchr(firstSlash + 1, '/');
    if (secondSlash != nullptr) *secondSlash = '\0';
    *month = low16(wzAtoi(text));
    *day = low16(wzAtoi(firstSlash + 1));
    // A date with one slash has no year.
    *year = secondSlash != nullptr ? low16(wzAtoi(secondSlash + 1)) : 0;
    return;
  }

  CalendarDate date = convertSerial(serial, kNoExtraLeap);
  if (date.year >= kThresholdYear) {
    // The first pass counted 2000 as a common year. A date in 2000 is
    // counted again with 2000 as a leap year; a later one a day earlier.
    int32_t extraLeap = kNoExtraLeap;
    if (date.year % kThresholdYear != 0) {
      serial -= 1.0;
    } else {
      extraLeap = extraLeapFor(date.year);
    }
    date = convertSerial(serial, extraLeap);
  }
  *year = date.year;
  *month = date.month;
  *day = date.day;
}

void wzGetTime(double value, int16_t* hour, int16_t* minute, int16_t* second) {
  *hour = 0;
  *minute = 0;
  *second = 0;
  // No fraction to show for NaN or an infinity.
  if (!std::isfinite(value)) return;

  // The fraction is that of the whole value: for values within the 32-bit
  // range this equals subtracting the value truncated to 32 bits, and for
  // larger ones it keeps the conversion defined.
  const double fraction = value - std::trunc(value);
  // |fraction| < 1, so t lies within +-86400.5 and fits.
  const auto t = static_cast<int32_t>(fraction * kSecondsPerDay + kHalfSecond);
  *second = static_cast<int16_t>(t % kSixty);
  *minute = static_cast<int16_t>((t / kSixty) % kSixty);
  *hour = static_cast<int16_t>((t / kSixty) / kSixty);
}

}  // namespace wzss

// Day serials to calendar dates and fractions of a day to clock times.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "format/format.h"

namespace wzss {
namespace {

struct Ymd {
  int year;
  int month;
  int day;
  bool operator==(const Ymd&) const = default;
};

void PrintTo(const Ymd& d, std::ostream* os) { *os << d.year << "-" << d.month << "-" << d.day; }

Ymd dateOf(double serial, std::string text = "") {
  int16_t year = 77;
  int16_t month = 77;
  int16_t day = 77;
  wzGetDate(text.data(), serial, &year, &month, &day);
  return {year, month, day};
}

struct SerialCase {
  double serial;
  Ymd expected;
};

TEST(DateSerial, CountsDaysFromFirstJanuary1900WithItsLeapDay) {
  const SerialCase cases[] = {
      {1, {1900, 1, 1}},  {59, {1900, 2, 28}},   {60, {1900, 2, 29}},
      {61, {1900, 3, 1}}, {366, {1900, 12, 31}}, {367, {1901, 1, 1}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
}

TEST(DateSerial, SecondPassRepairsTheYear2000AndLater) {
  const SerialCase cases[] = {
      {36525, {1999, 12, 31}}, {36526, {2000, 1, 1}},   {36585, {2000, 2, 29}},
      {36586, {2000, 3, 1}},   {36891, {2000, 12, 31}}, {36892, {2001, 1, 1}},
      {37626, {2003, 1, 5}},   {45000, {2023, 3, 15}},  {73051, {2100, 1, 1}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
}

TEST(DateSerial, YearCountRuleMakes2300LeapAnd2400Common) {
  const SerialCase cases[] = {
      {146157, {2300, 2, 28}},
      {146158, {2300, 2, 29}},
      {182682, {2400, 2, 28}},
      {182683, {2400, 3, 1}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
}

// The year counts 0..2099 hold 510 leap counts by the rule, so 4000 begins
// at day 2100 * 365 + 510 + 1. The first pass sees 4000 as a common year;
// the second counts it as a leap year through the extra leap count.
TEST(DateSerial, MultiplesOf2000BeyondTheFirstGetTheExtraLeapCount) {
  constexpr double kFirstOf4000 = 2100.0 * 365 + 510 + 1;
  const SerialCase cases[] = {
      {kFirstOf4000, {4000, 1, 1}},
      {kFirstOf4000 + 59, {4000, 2, 29}},
      {kFirstOf4000 + 60, {4000, 3, 1}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
}

TEST(DateSerial, NoDateYieldsTheFieldsAsComputed) {
  const SerialCase cases[] = {
      {0, {1900, 0, 0}},   {0.7, {1900, 0, 0}},      {-0.5, {1900, 0, 0}},
      {-5, {1900, 1, -5}}, {36526.99, {2000, 1, 1}}, {-30000, {1900, 1, -30000}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
}

TEST(DateSerial, SerialsOutsideTheRangeStayDefined) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const Ymd lastDay{32767, 12, 31};
  const SerialCase cases[] = {
      {std::nan(""), {1900, 0, 0}},
      {1e9, lastDay},
      {2147483648.0, lastDay},
      {1e300, lastDay},
      {kInf, lastDay},
      {-1e5, {1900, 1, INT16_MIN}},
      {-kInf, {1900, 1, INT16_MIN}},
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
  // Just below the last year the calendar still runs.
  EXPECT_EQ(dateOf(1e7).year, 1900 + 27379);
}

// The serial conversion by its definition: years counted off one by one,
// then the second pass for dates from 2000 on. Slow, and plainly right; the
// reader finds the year count from day totals instead.
Ymd countedDate(double serial) {
  auto onePass = [](double value, int extraLeap) {
    const double clamped = std::isnan(value) ? 0 : std::clamp(value, -2147483648.0, 2147483647.0);
    auto n = static_cast<int32_t>(clamped);
    if (n == 0) return Ymd{1900, 0, 0};
    auto leapCount = [&](int c) {
      return (c % 4 == 0 && c % 100 != 0) || c % 400 == 0 || c == extraLeap;
    };
    int count = 0;
    while (n > (leapCount(count) ? 366 : 365)) {
      if (count == 32767 - 1900) {
        n = leapCount(count) ? 366 : 365;
        break;
      }
      n -= leapCount(count) ? 366 : 365;
      ++count;
    }
    static constexpr int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int month = 1;
    for (; month < 12; ++month) {
      const int length = kMonthDays[month - 1] + (month == 2 && leapCount(count) ? 1 : 0);
      if (n <= length) break;
      n -= length;
    }
    return Ymd{1900 + count, month, std::max<int>(n, INT16_MIN)};
  };
  Ymd date = onePass(serial, -1);
  if (date.year < 2000) return date;
  if (date.year % 2000 != 0) return onePass(serial - 1, -1);
  const int extra = date.year == 2000
                        ? 100
                        : static_cast<int16_t>(static_cast<uint16_t>(static_cast<int64_t>(
                              100 + 1000.0 * std::pow(2.0, date.year / 2000 - 1))));
  return onePass(serial, extra);
}

TEST(DateSerial, AgreesWithTheYearByYearCount) {
  std::vector<double> serials;
  // Around every year's first day up to 2700, and around every multiple of
  // 2000 and the last year, where the extra leap count and the cap act.
  double start = 1;
  for (int count = 0; count <= 800; ++count) {
    for (double d : {-1.0, 0.0, 1.0, 59.0, 60.0, 61.0}) serials.push_back(start + d);
    start += (count % 4 == 0 && count % 100 != 0) || count % 400 == 0 ? 366 : 365;
  }
  for (int year = 2000; year <= 32000; year += 2000) {
    const double first = (year - 1900) * 365.2425;
    for (double d = -400; d <= 400; d += 3) serials.push_back(std::floor(first + d));
  }
  for (double d = -400; d <= 400; d += 3)
    serials.push_back(std::floor(32767 - 1900) * 365.2425 + d);
  for (double d : {-3.0, -1.0, 0.0, 0.5, 1e9, -1e9}) serials.push_back(d);
  uint64_t state = 12345;
  for (int i = 0; i < 1000; ++i) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    serials.push_back(static_cast<double>(state >> 40) / (1 << 24) * 1.2e7 - 1000);
  }
  for (double serial : serials) ASSERT_EQ(dateOf(serial), countedDate(serial)) << serial;
}

TEST(WrittenDate, SlashesGiveMonthDayYearAndTheSerialIsIgnored) {
  struct Case {
    const char* text;
    Ymd expected;
  } const cases[] = {
      {"12/25/1999", {1999, 12, 25}},
      {"1/5/03", {3, 1, 5}},
      {" 13/ 40/-7", {-7, 13, 40}},  // no range test; atoi takes blanks and sign
      {"3/7", {0, 3, 7}},            // one slash: no year
      {"/", {0, 0, 0}},
      {"2/2/70000", {70000 - 65536, 2, 2}},  // the low 16 bits
      {"1/1/99999999999", {-1, 1, 1}},       // saturated, then the low 16 bits
  };
  for (const auto& c : cases) EXPECT_EQ(dateOf(37626, c.text), c.expected) << c.text;
}

TEST(WrittenDate, SlashesAreCutOutOfTheText) {
  std::string text = "12/25/1999";
  int16_t year;
  int16_t month;
  int16_t day;
  wzGetDate(text.data(), 0, &year, &month, &day);
  EXPECT_EQ(std::string(text.c_str()), "12");
  EXPECT_EQ(text[2], '\0');
  EXPECT_EQ(text[5], '\0');
}

struct Hms {
  int hour;
  int minute;
  int second;
  bool operator==(const Hms&) const = default;
};

void PrintTo(const Hms& t, std::ostream* os) {
  *os << t.hour << ":" << t.minute << ":" << t.second;
}

Hms timeOf(double value) {
  int16_t hour = 77;
  int16_t minute = 77;
  int16_t second = 77;
  wzGetTime(value, &hour, &minute, &second);
  return {hour, minute, second};
}

TEST(TimeOfDay, FractionToNearestSecond) {
  const struct {
    double value;
    Hms expected;
  } cases[] = {
      {0.5, {12, 0, 0}},
      {0.75, {18, 0, 0}},
      {45000.75, {18, 0, 0}},
      {0.25 + 0.5 / 86400, {6, 0, 1}},
      {0.9999942, {23, 59, 59}},
      {0.999999, {24, 0, 0}},  // within half a second of the next day
      {-0.25, {-5, -59, -59}},
      {0, {0, 0, 0}},
      {3e9 + 0.25, {6, 0, 0}},  // beyond 32 bits the fraction still counts
      {-3e9 - 0.25, {-5, -59, -59}},
      {std::nan(""), {0, 0, 0}},
      {std::numeric_limits<double>::infinity(), {0, 0, 0}},
      {-std::numeric_limits<double>::infinity(), {0, 0, 0}},
  };
  for (const auto& c : cases) EXPECT_EQ(timeOf(c.value), c.expected) << c.value;
}

}  // namespace
}  // namespace wzss

// Day serials to calendar dates and fractions of a day to clock times.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "format/format.h"

namespace wzss {
namespace {

struct Ymd {
  int year;
  int month;
  int day;
  bool operator==(const Ymd&) const = default;
};

void PrintTo(const Ymd& d, std::ostream* os) {
  *os << d.year << "-" << d.month << "-" << d.day;
}

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
      {1, {1900, 1, 1}},     {59, {1900, 2, 28}},    {60, {1900, 2, 29}},
      {61, {1900, 3, 1}},    {366, {1900, 12, 31}},  {367, {1901, 1, 1}},
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
      {0, {1900, 0, 0}},     {0.7, {1900, 0, 0}},     {-0.5, {1900, 0, 0}},
      {-5, {1900, 1, -5}},   {36526.99, {2000, 1, 1}}, {-30000, {1900, 1, -30000}},
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

TEST(WrittenDate, SlashesGiveMonthDayYearAndTheSerialIsIgnored) {
  struct Case {
    const char* text;
    Ymd expected;
  } const cases[] = {
      {"12/25/1999", {1999, 12, 25}},
      {"1/5/03", {3, 1, 5}},
      {" 13/ 40/-7", {-7, 13, 40}},   // no range test; atoi takes blanks and sign
      {"3/7", {0, 3, 7}},             // one slash: no year
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

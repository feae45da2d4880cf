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

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A date as year, month, day or a time as hour, minute, second.
struct Triple {
  int first;
  int second;
  int third;
  bool operator==(const Triple&) const = default;
};
using Ymd = Triple;
using Hms = Triple;

void PrintTo(const Triple& t, std::ostream* os) {
  *os << t.first << " " << t.second << " " << t.third;
}

// The date of serial, or of text when it holds a written date; text is
// handed over writable and left as the call leaves it.
Ymd dateOf(double serial, std::string* text = nullptr) {
  std::string none;
  int16_t year = 77, month = 77, day = 77;
  wzGetDate((text != nullptr ? text : &none)->data(), serial, &year, &month, &day);
  return {year, month, day};
}

struct SerialCase {
  double serial;
  Ymd expected;
};

// Anchors known from the calendar, and the decisions for serials that name
// no date or lie outside the range.
TEST(DateSerial, KnownDatesAndTheEdgesOfTheRange) {
  // The year counts 0..2099 hold 510 leap counts by the rule, so 4000 begins
  // at day 2100 * 365 + 510 + 1. The first pass sees 4000 as a common year;
  // the second counts it as a leap year through the extra leap count.
  constexpr double kFirstOf4000 = 2100.0 * 365 + 510 + 1;
  const Ymd lastDay{32767, 12, 31};
  const struct {
    const char* group;
    std::vector<SerialCase> cases;
  } groups[] = {
      // clang-format off
      {"1900 counted with its leap day", {
        {1, {1900, 1, 1}}, {59, {1900, 2, 28}}, {60, {1900, 2, 29}}, {61, {1900, 3, 1}},
        {366, {1900, 12, 31}}, {367, {1901, 1, 1}}}},
      {"the second pass repairs 2000 and later", {
        {36525, {1999, 12, 31}}, {36526, {2000, 1, 1}}, {36585, {2000, 2, 29}},
        {36586, {2000, 3, 1}}, {36891, {2000, 12, 31}}, {36892, {2001, 1, 1}},
        {37626, {2003, 1, 5}}, {45000, {2023, 3, 15}}, {73051, {2100, 1, 1}}}},
      {"the year count rule makes 2300 leap and 2400 common", {
        {146157, {2300, 2, 28}}, {146158, {2300, 2, 29}}, {182682, {2400, 2, 28}},
        {182683, {2400, 3, 1}}}},
      {"multiples of 2000 beyond the first get the extra leap count", {
        {kFirstOf4000, {4000, 1, 1}}, {kFirstOf4000 + 59, {4000, 2, 29}},
        {kFirstOf4000 + 60, {4000, 3, 1}}}},
      {"no date yields the fields as computed", {
        {0, {1900, 0, 0}}, {0.7, {1900, 0, 0}}, {-0.5, {1900, 0, 0}}, {-5, {1900, 1, -5}},
        {36526.99, {2000, 1, 1}}, {-30000, {1900, 1, -30000}}}},
      {"serials outside the range stay defined", {
        {kNaN, {1900, 0, 0}}, {1e9, lastDay}, {2147483648.0, lastDay}, {1e300, lastDay},
        {kInf, lastDay}, {-1e5, {1900, 1, INT16_MIN}}, {-kInf, {1900, 1, INT16_MIN}}}},
      // clang-format on
  };
  for (const auto& g : groups) {
    SCOPED_TRACE(g.group);
    for (const auto& c : g.cases) EXPECT_EQ(dateOf(c.serial), c.expected) << c.serial;
  }
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
  if (date.first < 2000) return date;
  if (date.first % 2000 != 0) return onePass(serial - 1, -1);
  const int extra = date.first == 2000
                        ? 100
                        : static_cast<int16_t>(static_cast<uint16_t>(static_cast<int64_t>(
                              100 + 1000.0 * std::pow(2.0, date.first / 2000 - 1))));
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

// Month, day and year by atoi between the slashes, the serial ignored, and
// the slashes cut out of the caller's text. No range test (atoi takes blanks
// and sign), one slash gives no year, and the year keeps the low 16 bits of
// the saturated number.
TEST(WrittenDate, SlashesGiveMonthDayYear) {
  const struct {
    const char* text;
    Ymd expected;
  } cases[] = {
      {"12/25/1999", {1999, 12, 25}},  {"1/5/03", {3, 1, 5}}, {"/", {0, 0, 0}},
      {" 13/ 40/-7", {-7, 13, 40}},    {"3/7", {0, 3, 7}},    {"2/2/70000", {70000 - 65536, 2, 2}},
      {"1/1/99999999999", {-1, 1, 1}},
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    EXPECT_EQ(dateOf(37626, &text), c.expected) << c.text;
    EXPECT_EQ(text.find('/'), std::string::npos) << c.text;
    EXPECT_EQ(text.size(), std::string(c.text).size()) << c.text;
  }
}

// To the nearest second, so that within half a second of the next day is
// 24:00:00; beyond 32 bits the fraction still counts; NaN and the infinities
// have no fraction to show.
TEST(TimeOfDay, FractionToNearestSecond) {
  const struct {
    double value;
    Hms expected;
  } cases[] = {
      // clang-format off
      {0.5, {12, 0, 0}}, {0.75, {18, 0, 0}}, {45000.75, {18, 0, 0}}, {0, {0, 0, 0}},
      {0.25 + 0.5 / 86400, {6, 0, 1}}, {0.9999942, {23, 59, 59}}, {-0.25, {-5, -59, -59}},
      {0.999999, {24, 0, 0}}, {3e9 + 0.25, {6, 0, 0}}, {-3e9 - 0.25, {-5, -59, -59}},
      {kNaN, {0, 0, 0}}, {kInf, {0, 0, 0}}, {-kInf, {0, 0, 0}},
      // clang-format on
  };
  for (const auto& c : cases) {
    int16_t hour = 77, minute = 77, second = 77;
    wzGetTime(c.value, &hour, &minute, &second);
    EXPECT_EQ((Hms{hour, minute, second}), c.expected) << c.value;
  }
}

}  // namespace
}  // namespace wzss

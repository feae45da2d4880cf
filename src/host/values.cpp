#include "wzss/host/values.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

namespace wzss::host {
namespace {

// Spreadsheets hold 15 significant decimal digits.
constexpr int kMaxSignificantDigits = 15;
// Below this a fixed-point number is printed in exponent form by the
// number-to-text conversions that formatters build on (JavaScript's among them).
constexpr double kSmallestFixed = 1e-6;
constexpr double kSecondsPerDay = 86400;
// The 1900 date system counts 29 February 1900, which never was: serial 60.
constexpr int kFictitiousLeapDay = 60;

constexpr std::array<std::string_view, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The run of digits at the start of text.
std::string_view digitsAt(std::string_view text) {
  size_t n = 0;
  while (n < text.size() && isDigit(text[n])) ++n;
  return text.substr(0, n);
}

bool consume(std::string_view& text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Exactly `count` digits at the start of text, taken off it.
std::optional<int> fixedDigits(std::string_view& text, size_t count) {
  if (digitsAt(text).size() < count) return std::nullopt;
  int value = 0;
  for (size_t i = 0; i < count; ++i) value = value * 10 + (text[i] - '0');
  text.remove_prefix(count);
  return value;
}

// --- Calendar --------------------------------------------------------------

// Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's
// days_from_civil).
int64_t daysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

struct CivilDate {
  int64_t year, month, day;
};

CivilDate civilFromDays(int64_t z) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const int64_t m = mp + (mp < 10 ? 3 : -9);
  return {yoe + era * 400 + (m <= 2 ? 1 : 0), m, d};
}

const int64_t kSerialEpoch = daysFromCivil(1899, 12, 30);

// The day serial of a real date from 1900 on; serials before 1 March 1900
// are one lower than the days since the epoch, as the 1900 system counts
// its fictitious leap day.
std::optional<double> daySerial(int year, int month, int day) {
  if (year < 1900 || month < 1 || month > 12 || day < 1) return std::nullopt;
  const int64_t days = daysFromCivil(year, month, day);
  if (civilFromDays(days).day != day) return std::nullopt;  // 31 April and the like
  const int64_t serial = days - kSerialEpoch;
  return static_cast<double>(serial <= kFictitiousLeapDay ? serial - 1 : serial);
}

std::optional<int> monthNamed(std::string_view& text, bool shortName) {
  for (size_t i = 0; i < kMonthNames.size(); ++i)
    if (consume(text, shortName ? kMonthNames[i].substr(0, 3) : kMonthNames[i]))
      return static_cast<int>(i + 1);
  return std::nullopt;
}

// The date styles that write a four-digit year and the day; the others
// leave the century or the day unwritten, or share one text between two
// orders of day and month.
TypedValue dateValue(std::string_view text) {
  const std::string_view whole = text;
  int year = 0, month = 0, day = 0;
  std::string_view format;
  if (isDigit(text.empty() ? ' ' : text[0])) {
    const auto first = fixedDigits(text, 4);
    if (first && (consume(text, "-") || consume(text, " "))) {
      const char separator = whole[4];
      const auto m = fixedDigits(text, 2);
      if (!m || !consume(text, std::string_view(&separator, 1))) return {};
      const auto d = fixedDigits(text, 2);
      if (!d) return {};
      year = *first, month = *m, day = *d;
      format = separator == '-' ? "yyyy-mm-dd" : "yyyy mm dd";
    } else {
      text = whole;
      const auto d = fixedDigits(text, 2);
      const auto m = d && consume(text, ".") ? fixedDigits(text, 2) : std::nullopt;
      const auto y = m && consume(text, ".") ? fixedDigits(text, 4) : std::nullopt;
      if (!y) return {};
      year = *y, month = *m, day = *d;
      format = "dd\\.mm\\.yyyy";
    }
  } else {
    // "January 5, 2003" (the full name and the day as it is) or
    // "Jan 05, 2003" (the short name and two digits); "May" is both names.
    for (const bool shortName : {false, true}) {
      text = whole;
      const auto m = monthNamed(text, shortName);
      if (!m || !consume(text, " ")) continue;
      const std::string_view digits = digitsAt(text);
      if (shortName ? digits.size() != 2 : (digits.empty() || digits.size() > 2 || digits[0] == '0'))
        continue;
      const auto d = fixedDigits(text, digits.size());
      const auto y = consume(text, ", ") ? fixedDigits(text, 4) : std::nullopt;
      if (!y) continue;
      year = *y, month = *m, day = *d;
      format = shortName ? "mmm dd, yyyy" : "mmmm d, yyyy";
      break;
    }
  }
  if (!text.empty() || format.empty()) return {};
  const auto serial = daySerial(year, month, day);
  if (!serial) return {};
  return {ValueType::Date, *serial, std::string(format)};
}

// "13:05:09", "13:05", "01:05:09 PM", "01:05 PM": the four time codes.
TypedValue timeValue(std::string_view text) {
  const auto hour = fixedDigits(text, 2);
  const auto minute = hour && consume(text, ":") ? fixedDigits(text, 2) : std::nullopt;
  if (!minute || *minute > 59) return {};
  std::optional<int> second;
  if (consume(text, ":")) {
    second = fixedDigits(text, 2);
    if (!second || *second > 59) return {};
  }
  std::string format = second ? "hh:mm:ss" : "hh:mm";
  int hours = *hour;
  if (text.empty()) {
    if (hours > 23) return {};
  } else {
    const bool pm = text == " PM";
    if ((!pm && text != " AM") || hours < 1 || hours > 12) return {};
    hours = hours % 12 + (pm ? 12 : 0);
    format += " AM/PM";
  }
  const double seconds = hours * 3600.0 + *minute * 60.0 + second.value_or(0);
  return {ValueType::Time, seconds / kSecondsPerDay, format};
}

// --- Numbers ---------------------------------------------------------------

// A number as the formatter prints it, taken apart.
struct NumberText {
  bool parentheses = false;
  bool minus = false;
  bool minusAfterDollar = false;  // "$-1,234.50", the formatter's negative currency
  bool dollar = false;
  bool grouped = false;
  std::string digits;  // integer and fraction digits without separators, '.' between
  size_t decimals = 0;
  bool percent = false;
  bool exponent = false;
  std::string exponentText;  // "+03"
};

// Digits grouped by three with commas ("1,234,567"): the first group of
// one to three digits, every later group of three; no leading zero.
bool takeInteger(std::string_view& text, NumberText& number) {
  std::string_view group = digitsAt(text);
  if (group.empty() || (group.size() > 1 && group[0] == '0')) return false;
  number.digits += group;
  text.remove_prefix(group.size());
  if (text.empty() || text[0] != ',') return true;
  if (group.size() > 3 || group == "0") return false;
  number.grouped = true;
  while (consume(text, ",")) {
    group = digitsAt(text);
    if (group.size() != 3) return false;
    number.digits += group;
    text.remove_prefix(3);
  }
  return digitsAt(text).empty();
}

bool takeExponent(std::string_view& text, NumberText& number) {
  if (!consume(text, "E")) return true;
  number.exponent = true;
  if (text.empty() || (text[0] != '+' && text[0] != '-')) return false;
  const std::string_view digits = digitsAt(text.substr(1));
  // At least two digits, more only when needed.
  if (digits.size() < 2 || (digits.size() > 2 && digits[0] == '0')) return false;
  number.exponentText = text.substr(0, digits.size() + 1);
  text.remove_prefix(digits.size() + 1);
  return true;
}

std::optional<NumberText> splitNumber(std::string_view text) {
  NumberText number;
  if (text.size() >= 2 && text.front() == '(' && text.back() == ')') {
    number.parentheses = true;
    text = text.substr(1, text.size() - 2);
  }
  number.minus = consume(text, "-");
  number.dollar = consume(text, "$");
  if (number.dollar && !number.minus) number.minus = number.minusAfterDollar = consume(text, "-");
  if (number.minus && number.parentheses) return std::nullopt;
  if (!takeInteger(text, number)) return std::nullopt;
  if (consume(text, ".")) {
    const std::string_view fraction = digitsAt(text);
    if (fraction.empty()) return std::nullopt;
    number.digits += '.';
    number.digits += fraction;
    number.decimals = fraction.size();
    text.remove_prefix(fraction.size());
  }
  number.percent = consume(text, "%");
  if (!number.percent && !takeExponent(text, number)) return std::nullopt;
  if (!text.empty()) return std::nullopt;
  if (number.dollar && (number.percent || number.exponent)) return std::nullopt;
  if (number.exponent && (number.grouped || number.decimals == 0)) return std::nullopt;
  return number;
}

// Digits shown from the first non-zero one on, trailing zeros included:
// a spreadsheet holds 15 significant digits and shows zeros beyond them, so
// a text showing more positions than that from a value is not shown again
// alike everywhere. 0 for a zero.
int shownDigits(std::string_view digits) {
  const size_t first = digits.find_first_of("123456789");
  if (first == std::string_view::npos) return 0;
  const std::string_view shown = digits.substr(first);
  return static_cast<int>(shown.size() - (shown.find('.') != std::string_view::npos ? 1 : 0));
}

// Whether the number can be shown again: within a spreadsheet's
// precision, no negative zero, an exponent form with one leading digit.
bool showable(const NumberText& number, double printed) {
  const int shown = shownDigits(number.digits);
  if (shown > kMaxSignificantDigits) return false;
  if ((number.minus || number.parentheses) && shown == 0) return false;
  if (number.exponent) {
    const bool zero = shown == 0;
    return number.digits.find('.') == 1 && (number.digits[0] != '0' || zero) &&
           (!zero || number.exponentText == "+00") && std::isnormal(printed) != zero;
  }
  return printed == 0 || std::fabs(printed) >= kSmallestFixed;
}

std::string numberFormat(const NumberText& number) {
  std::string body = number.grouped ? "#,##0" : "0";
  if (number.decimals > 0) body += "." + std::string(number.decimals, '0');
  if (number.percent) body += '%';
  if (number.exponent) body += "E+00";
  // The formatter's currency: "$1,234.50", negative "$-1,234.50".
  if (number.dollar && !(number.minus && !number.minusAfterDollar))
    return "\"$\"" + body + ";\"$-\"" + body;
  if (number.dollar) body = "\"$\"" + body;
  if (number.parentheses) return body + ";(" + body + ")";
  return body;
}

TypedValue numberValue(std::string_view text) {
  const auto number = splitNumber(text);
  if (!number) return {};
  std::string plain = number->digits;
  if (number->exponent) plain += "e" + number->exponentText;
  double printed = 0;
  const auto parsed = std::from_chars(plain.data(), plain.data() + plain.size(), printed);
  if (parsed.ec != std::errc() || parsed.ptr != plain.data() + plain.size()) return {};
  if (!showable(*number, printed)) return {};
  double value = number->percent ? printed / 100 : printed;
  if (number->minus || number->parentheses) value = -value;
  return {ValueType::Number, value, numberFormat(*number)};
}

std::string twoDigits(int64_t n) {
  return std::string{static_cast<char>('0' + n / 10 % 10), static_cast<char>('0' + n % 10)};
}

std::string isoDate(int64_t serial) {
  // Serial 60 has no ISO form; inferValue never gives it.
  const int64_t days = serial < kFictitiousLeapDay ? serial + 1 : serial;
  const CivilDate date = civilFromDays(kSerialEpoch + days);
  return std::to_string(date.year) + "-" + twoDigits(date.month) + "-" + twoDigits(date.day);
}

std::string isoTime(int64_t seconds) {
  return twoDigits(seconds / 3600) + ":" + twoDigits(seconds / 60 % 60) + ":" +
         twoDigits(seconds % 60);
}

}  // namespace

TypedValue inferValue(std::string_view displayText) {
  if (displayText.empty()) return {};
  if (TypedValue number = numberValue(displayText); number.type != ValueType::Text) return number;
  if (TypedValue date = dateValue(displayText); date.type != ValueType::Text) return date;
  return timeValue(displayText);
}

std::string isoText(const TypedValue& value) {
  if (value.type != ValueType::Date && value.type != ValueType::Time &&
      value.type != ValueType::DateTime)
    return {};
  int64_t days = static_cast<int64_t>(std::floor(value.number));
  auto seconds = static_cast<int64_t>(std::llround((value.number - days) * kSecondsPerDay));
  if (seconds == kSecondsPerDay) ++days, seconds = 0;
  switch (value.type) {
    case ValueType::Date: return isoDate(days);
    case ValueType::Time: return isoTime(seconds);
    default: return isoDate(days) + "T" + isoTime(seconds);
  }
}

std::string plainText(const TypedValue& value, std::string_view displayText) {
  if (value.type == ValueType::Text) return std::string(displayText);
  if (value.type != ValueType::Number) return isoText(value);
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value.number);
  return std::string(buffer.data(), result.ptr);
}

}  // namespace wzss::host

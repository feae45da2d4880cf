// Display texts written by the reader's own value formatter over many
// values and every format code, decimal count, date style and time code,
// each with what inferValue makes of it, one tab-separated line per text:
//   form  display  type  number  format  iso
// judge.js hands every typed line to an independent formatter.
#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "format_bench.h"
#include "wzss/host/values.h"

namespace {

constexpr uint32_t kDateCode = 1;
constexpr uint32_t kLastCode = 29;
constexpr uint32_t kFirstTimeCode = 20;
constexpr uint32_t kLastTimeCode = 23;
constexpr int32_t kLastDateStyle = 17;  // one past the styles the formatter knows
constexpr int kRandomValues = 400;

const char* typeName(wzss::host::ValueType type) {
  switch (type) {
    case wzss::host::ValueType::Number: return "number";
    case wzss::host::ValueType::Date: return "date";
    case wzss::host::ValueType::Time: return "time";
    case wzss::host::ValueType::DateTime: return "datetime";
    case wzss::host::ValueType::Text: break;
  }
  return "text";
}

// Hand-picked edges, then random magnitudes from 1e-12 to 1e18 of both signs.
std::vector<std::string> valueTexts() {
  std::vector<std::string> values = {
      "0", "-0", "1", "-1", "0.5", "42", "999", "1000", "-1234.5", "1234567.891", "0.001",
      "-0.001", "0.000001", "0.0000004", "0.12345678901234567", "123456789012345",
      "1234567890123456789", "1e22", "1.5e3", "1.5E3", "-2.5e-7", "1e300", "inf", "nan", "007",
      "(5)", "$-5", "-$5", "$1234.5", "1,234", "12:30", "2003-01-05", "12/25/1999", "1/5/03", "2/29/1900", "text"};
  std::mt19937_64 random(17);
  std::uniform_real_distribution<double> exponent(-12, 18);
  std::uniform_int_distribution<int> digits(1, 17);
  char text[64];
  for (int i = 0; i < kRandomValues; ++i) {
    const double value = std::pow(10.0, exponent(random)) * (i % 3 == 0 ? -1 : 1);
    std::snprintf(text, sizeof text, "%.*g", digits(random), value);
    values.emplace_back(text);
  }
  return values;
}

// Serials over the formatter's calendar, 1900 to past 2100, and times of day.
std::vector<std::string> serialTexts() {
  std::vector<std::string> values = {"0", "1", "59", "60", "61", "366", "36526", "36585",
                                     "37626", "73050", "73051", "0.999999", "-0.25"};
  std::mt19937_64 random(29);
  std::uniform_real_distribution<double> serial(0, 80000);
  char text[64];
  for (int i = 0; i < kRandomValues; ++i) {
    std::snprintf(text, sizeof text, "%.10f", serial(random));
    values.emplace_back(text);
  }
  return values;
}

void emit(const std::string& form, const std::string& display) {
  const wzss::host::TypedValue value = wzss::host::inferValue(display);
  std::printf("%s\t%s\t%s\t%.17g\t%s\t%s\n", form.c_str(), display.c_str(), typeName(value.type),
              value.number, value.format.c_str(), wzss::host::isoText(value).c_str());
}

}  // namespace

int main() {
  wzss::test::FormatBench bench;
  const std::vector<int32_t> decimals = {-1, 0, 1, 2, 3, 5, 9, 12, 20};
  for (uint32_t code = 0; code <= kLastCode; ++code) {
    if (code == kDateCode || (code >= kFirstTimeCode && code <= kLastTimeCode)) continue;
    for (const int32_t count : decimals)
      for (const std::string& value : valueTexts())
        if (auto display = bench.format(value, code, count))
          emit("code" + std::to_string(code) + "." + std::to_string(count), *display);
  }
  for (const std::string& value : serialTexts()) {
    for (int32_t style = 0; style <= kLastDateStyle; ++style)
      if (auto display = bench.format(value, kDateCode, 0, style))
        emit("date" + std::to_string(style), *display);
    for (uint32_t code = kFirstTimeCode; code <= kLastTimeCode; ++code)
      if (auto display = bench.format(value, code)) emit("time" + std::to_string(code), *display);
  }
  for (const char* written : {"12/25/1999", "1/5/03", "2/29/1900", "13/45/2003"})
    for (int32_t style = 2; style <= kLastDateStyle; ++style)
      if (auto display = bench.format(written, kDateCode, 0, style))
        emit("date" + std::to_string(style), *display);
  // Written by hand, each typed one its own form: grouped digits and a May date are typed; a
  // month 13, a year before 1900, "$" with "%", 75 seconds, a fraction without its 0 not.
  for (const char* typed : {"1,234", "-12,345.5", "2003-05-31"}) emit(typed, typed);
  for (const char* text : {"2024-13-01", "1899-12-31", "$5%", "12:30:75", ".5"})
    emit("notAValue", text);
  return 0;
}

// Typed values from display texts. The plug-in hands over a cell's display
// text only (no value, no number format); this module turns a text that the
// reader's value formatter can write into the value it shows and an
// ECMA-376 number format code that shows that value as exactly the same
// text again: numbers (plain, with thousands separators, "$", percent,
// scientific, a minus sign or parentheses for negatives), dates as day
// serials of the 1900 date system, and times of day.
//
// Anything that cannot be shown again exactly, or whose value the text does
// not fix, stays text: two-digit years (the century is not written),
// day-before-month or month-before-day orders that only the reader's style
// could tell apart, a month without a day, leading zeros, negative zero,
// more than 15 significant digits, an hour of 24, and the number forms that
// independent formatters show differently (a lower-case exponent, an
// exponent with no decimals, a fixed-point number below 0.000001).
#pragma once

#include <string>
#include <string_view>

namespace wzss::host {

enum class ValueType { Text, Number, Date, Time, DateTime };

struct TypedValue {
  ValueType type = ValueType::Text;
  double number = 0;     // the number, or the day serial (1900 date system) of a date/time
  std::string format;    // ECMA-376 number format code that shows `number` exactly as the display text
};

TypedValue inferValue(std::string_view displayText);

// ISO 8601 for Date, Time and DateTime ("2003-01-05", "13:45:00",
// "2003-01-05T13:45:00"); empty for the other types.
std::string isoText(const TypedValue& value);

// The value as a typed output writes it where no format travels with it:
// ISO 8601 for dates and times, the number in the shortest form that reads
// back as the same double for numbers, the display text itself for text.
std::string plainText(const TypedValue& value, std::string_view displayText);

}  // namespace wzss::host

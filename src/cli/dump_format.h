// The text form of items, sheets and objects that `wzss dump`, `wzss info`
// and `wzss objects` print. docs/dump-format.md describes it; tests hold the
// command to it, so change both together.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "wzss/host/walker.h"

namespace wzss::cli {

// Column letters as the workbook writes them: 1 is A, 26 Z, 27 AA; 0 is @.
std::string columnLetters(uint32_t column);
// Column letters followed by the row number, e.g. B3.
std::string cellAddress(uint32_t column, uint32_t row);
// A double-quoted text: printable ASCII as is, '"' and '\' with a backslash,
// every other byte as \xHH.
std::string quoteText(std::string_view text);
// A colour value 0x00BBGGRR as #rrggbb (a non-zero top byte follows as +hh).
std::string colour(uint32_t value);
// The alignment word in hex with its bits named, e.g. 0x008e[bottom,h1,wo].
std::string alignWord(uint16_t align);
// "NAME",SIZE,STYLE,CHARSET,PITCH with STYLE made of b, i, u or "-".
std::string font(const host::Font& font);

std::string sheetLine(const host::SheetInfo& sheet);
// One line (without line feed) per item. The object line needs the content
// stream for its size text, which it reads through the stream's filter.
std::string itemLine(const host::Item& item);
std::string objectFields(const host::Object& object);

// The version digits of the header line ("440"), or empty when the text
// does not start with a header line.
std::string headerVersion(std::string_view firstBytes);
// The reader's version code for those digits, or -1.
int versionCode(std::string_view digits);

}  // namespace wzss::cli

// File names the converter makes up: one per sheet from the sheet's name,
// one per workbook from the input file's name. Names are safe on every
// common file system and unique within one set (compared ignoring case, so
// that they also stay apart on case-insensitive file systems).
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace wzss::cli {

// Longest name stem we make, in bytes, leaving room for a "-NN" suffix and
// an extension within the usual 255-byte limit.
inline constexpr size_t kMaxNameStem = 100;

// A file name stem from arbitrary bytes: '/', '\', control characters and
// the characters Windows reserves (<>:"|?*) become '_'; a leading '.' becomes
// '_' (no hidden files, no "." or ".."); trailing blanks and dots go;
// Windows device names (CON, NUL, COM1, ...) get a '_' in front; the result
// is cut to kMaxNameStem bytes without splitting a UTF-8 sequence. An empty
// result becomes fallback.
std::string safeNameStem(std::string_view name, std::string_view fallback);

// Hands out stem + extension, adding "-2", "-3", ... to a stem already used.
class UniqueNames {
 public:
  std::string take(const std::string& stem, std::string_view extension);
  // Marks a name as taken without handing it out.
  void reserve(const std::string& name);

 private:
  std::set<std::string> taken_;  // lower-cased
};

}  // namespace wzss::cli

// Formatted input as the C library scans it in the C locale, for the few
// formats the reader uses: white space, literal bytes, %d, %f, %*s and %*c.
// Matching stops at the first directive that fails; what was stored before
// stays stored.
#include <limits>
#include <type_traits>

#include "scan/scan.h"

namespace wzss {

namespace {

const char* skipFormatSpace(const char* text) {
  while (wzIsCSpace(*text)) ++text;
  return text;
}

// A double as single-precision input stores it: beyond the float range it
// becomes an infinity (a plain conversion would be undefined there).
float narrowToFloat(double value) {
  constexpr double kFloatMax = std::numeric_limits<float>::max();
  if (value > kFloatMax) return std::numeric_limits<float>::infinity();
  if (value < -kFloatMax) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(value);
}

template <typename Value>
int scanFormatted(const char* text, std::string_view format, std::span<Value* const> targets) {
  int assigned = 0;
  for (size_t f = 0; f < format.size(); ++f) {
    const char directive = format[f];
    if (wzIsCSpace(directive)) {
      text = skipFormatSpace(text);
      continue;
    }
    if (directive != '%') {
      if (*text != directive) return assigned;
      ++text;
      continue;
    }
    const bool suppressed = f + 1 < format.size() && format[f + 1] == '*';
    if (suppressed) ++f;
    if (++f >= format.size()) return assigned;
    const auto slot = static_cast<size_t>(assigned);
    Value* target = !suppressed && slot < targets.size() ? targets[slot] : nullptr;
    switch (format[f]) {
      case 'd': {
        int32_t value = 0;
        const char* end = text;
        if (!wzParseInt(text, 10, &value, &end)) return assigned;
        text = end;
        if constexpr (std::is_same_v<Value, int32_t>) {
          if (target != nullptr) *target = value;
        } else if (!suppressed) {
          return assigned;
        }
        break;
      }
      case 'f': {
        double value = 0.0;
        const char* end = text;
        if (!wzParseDouble(text, &value, &end)) return assigned;
        text = end;
        if constexpr (std::is_same_v<Value, float>) {
          if (target != nullptr) *target = narrowToFloat(value);
        } else if (!suppressed) {
          return assigned;
        }
        break;
      }
      case 's':
        text = skipFormatSpace(text);
        if (*text == '\0') return assigned;
        while (*text != '\0' && !wzIsCSpace(*text)) ++text;
        break;
      case 'c':  // one byte, blanks included
        if (*text == '\0') return assigned;
        ++text;
        break;
      default:
        return assigned;
    }
    if (!suppressed) ++assigned;
  }
  return assigned;
}

}  // namespace

int wzScanFormatted(const char* text, std::string_view format,
                    std::span<int32_t* const> targets) {
  return scanFormatted(text, format, targets);
}

int wzScanFormatted(const char* text, std::string_view format, std::span<float* const> targets) {
  return scanFormatted(text, format, targets);
}

}  // namespace wzss

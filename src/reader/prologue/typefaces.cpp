// The typeface table: "TYPEFACE TABLE" ... "END TYPEFACE TABLE", one font
// name per line. Typeface n is slot n; slot 0 also names the default font.

#include <cstring>
#include <string_view>

#include "prologue/prologue.h"
#include "scan/scan.h"

namespace wzss {
namespace {

constexpr std::string_view kTypefaceEnd = "END TYPEFACE TABLE";
// Files name the symbol font by a name hosts do not know; the host's symbol
// font has the same length, so it fits the block sized for the line.
constexpr std::string_view kPictofont = "Pictofont";
constexpr std::string_view kWingDings = "WingDings";
static_assert(kPictofont.size() == kWingDings.size());

// The whole line is the keyword, ASCII case ignored.
bool isWholeKeyword(const char* line, std::string_view keyword) {
  return wzMatchKeyword(line, keyword) && line[keyword.size()] == '\0';
}

// Puts a copy of the name on this line into slot, replacing (and freeing)
// the name a previous table left there. 0 when memory ran out; the slot then
// keeps what it held.
int storeName(WorkbookReader* reader, uint32_t slot, const char* line) {
  const size_t length = std::strlen(line);  // below kLineSize
  auto* copy = static_cast<char*>(hostAlloc(reader->services, static_cast<uint32_t>(length + 1)));
  if (copy == nullptr) return 0;
  const char* name = isWholeKeyword(line, kPictofont) ? kWingDings.data() : line;
  std::memcpy(copy, name, length);
  copy[length] = '\0';
  hostFree(reader->services, reader->typefaces[slot]);
  reader->typefaces[slot] = copy;
  return 1;
}

// Frees the names a longer earlier table left from slot first on.
void releaseNamesFrom(WorkbookReader* reader, uint32_t first) {
  for (uint32_t slot = first; slot < kTypefaceSlots; ++slot) {
    hostFree(reader->services, reader->typefaces[slot]);
    reader->typefaces[slot] = nullptr;
  }
}

void setDefaultFontName(WorkbookReader* reader, const char* name) {
  char* field = reader->defaultFont.name;
  const size_t capacity = sizeof reader->defaultFont.name;
  // A longer first name is cut to what the field holds.
  size_t length = std::strlen(name);
  if (length > capacity - 1) length = capacity - 1;
  std::memcpy(field, name, length);
  field[length] = '\0';
}

}  // namespace

int wzFont(WorkbookReader* reader) {
  char line[kLineSize] = {};
  uint32_t linePos = 0;
  // The first line is taken even when the input ends in it: the table then
  // holds that (possibly empty) partial line and the result is 0 below.
  wzGetLine(reader->stream, line, kLineSize, &linePos);
  if (wzMatchKeyword(line, kTypefaceEnd)) {
    releaseNamesFrom(reader, 0);
    reader->typefaceCount = 0;
    return 1;
  }

  uint32_t stored = 0;
  int result = 0;
  for (;;) {
    // Names past the last slot are read over, so the table still ends at its
    // end line.
    if (stored < kTypefaceSlots) {
      if (storeName(reader, stored, line) == 0) return 0;
      ++stored;
    }
    if (wzGetLine(reader->stream, line, kLineSize, &linePos) == 0) {
      result = 0;
      break;
    }
    if (wzMatchKeyword(line, kTypefaceEnd)) {
      result = 1;
      break;
    }
  }
  releaseNamesFrom(reader, stored);
  reader->typefaceCount = stored;
  setDefaultFontName(reader, reader->typefaces[0]);
  return result;
}

}  // namespace wzss

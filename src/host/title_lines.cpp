// The title lines of a sheet, read with the grammar and limits of the
// plug-in's sheet setup: lines of at most 199 bytes (the rest of a longer
// line is dropped), keywords compared ignoring ASCII case, numbers that
// saturate at the 32-bit limits, column letters of one or two bytes from 'A'
// to 'z'. Only the lines that decide title marks are read; the others are
// passed over as the plug-in passes over what it does not need for them.
#include "wzss/host/title_lines.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string_view>

namespace wzss::host {
namespace {

constexpr std::string_view kViewStart = "View Start,";
constexpr std::string_view kViewEnd = "View End,";
constexpr std::string_view kRowsVisible = "View Rows Visible: ";
constexpr std::string_view kColumnsVisible = "View Columns Visible: ";
constexpr std::string_view kTitleRow = "View Title Row: ";
constexpr std::string_view kTitleColumn = "View Title Column: ";
// Where a visible range's colon is looked for: the text between the keyword
// and that colon is never examined.
constexpr size_t kRowsColonFrom = 18;
constexpr size_t kColumnsColonFrom = 22;
constexpr size_t kLineSize = 200;

char foldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool startsWith(const char* line, std::string_view keyword) {
  for (size_t i = 0; i < keyword.size(); ++i) {
    if (line[i] == '\0' || foldCase(line[i]) != foldCase(keyword[i])) return false;
  }
  return true;
}

// One line into a buffer of kLineSize bytes; false when the input ends
// before a line feed (such a last line is never acted on).
bool nextLine(StreamInterface* stream, char (&line)[kLineSize]) {
  size_t stored = 0;
  bool cut = false;
  char byte = 0;
  while (stream->Read(stream, &byte, 1) == 1) {
    if (byte == '\n') {
      if (!cut && stored > 0 && line[stored - 1] == '\r') --stored;
      line[stored] = '\0';
      return true;
    }
    if (stored < kLineSize - 1) {
      line[stored++] = byte;
    } else {
      cut = true;
    }
  }
  return false;
}

// A decimal number as formatted input reads it: C white space, a sign,
// digits; saturates at the int32 limits. False without digits.
bool parseDecimal(const char* text, int32_t* value) {
  const char* p = text;
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  const bool negative = *p == '-';
  if (*p == '+' || *p == '-') ++p;
  const char* digits = p;
  int64_t magnitude = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    magnitude = std::min<int64_t>(magnitude * 10 + (*p - '0'), int64_t{INT32_MAX} + 1);
  }
  if (p == digits) return false;
  *value = static_cast<int32_t>(negative ? -magnitude : std::min<int64_t>(magnitude, INT32_MAX));
  return true;
}

int32_t decimalOrZero(const char* text) {
  int32_t value = 0;
  return parseDecimal(text, &value) ? value : 0;
}

// Column letters after blanks: 'A' counts 1, two letters in base 26; -1 for
// none, for three or more, or at the end of the text.
int32_t readLetters(const char** cursor) {
  const char* run = *cursor;
  while (*run == ' ' || *run == '\n') ++run;
  *cursor = run;
  if (*run == '\0') return -1;
  const char* end = run;
  while (static_cast<unsigned char>(*end) >= 'A' && static_cast<unsigned char>(*end) <= 'z') ++end;
  *cursor = end;
  const auto value = [](char c) { return static_cast<unsigned char>(c) - 64; };
  if (end - run == 1) return value(run[0]);
  if (end - run == 2) return value(run[0]) * 26 + value(run[1]);
  return -1;
}

const char* findFrom(const char* line, size_t from, char wanted) {
  return std::strlen(line) < from ? nullptr : std::strchr(line + from, wanted);
}

void countUp(int32_t* count) {
  if (*count < INT32_MAX) ++*count;
}

}  // namespace

std::optional<TitleLines> TitleLines::read(StreamInterface* document, uint32_t viewPos) {
  if (document == nullptr || document->Open == nullptr || document->Read == nullptr ||
      document->Seek == nullptr || document->Open(document) == 0) {
    return std::nullopt;
  }
  std::optional<TitleLines> titles;
  char line[kLineSize];
  if (document->Seek(document, static_cast<int32_t>(viewPos), 0) != 0 &&
      nextLine(document, line) && startsWith(line, kViewStart)) {
    titles.emplace();
    while (nextLine(document, line) && !startsWith(line, kViewEnd)) titles->handleLine(line);
  }
  if (document->Close != nullptr) document->Close(document);
  return titles;
}

void TitleLines::handleLine(const char* line) {
  if (startsWith(line, kTitleRow)) {
    const int32_t row = decimalOrZero(line + kTitleRow.size());
    rows_.events.push_back({true, row, row});
    countUp(&rows_.titleLines);
  } else if (startsWith(line, kTitleColumn)) {
    const char* cursor = line + kTitleColumn.size();
    const int32_t column = readLetters(&cursor);
    columns_.events.push_back({true, column, column});
    countUp(&columns_.titleLines);
  } else if (startsWith(line, kRowsVisible)) {
    // ":a" or ":a:b"; a colon without a number names no range.
    const char* colon = findFrom(line, kRowsColonFrom, ':');
    int32_t first = 0;
    if (colon == nullptr || !parseDecimal(colon + 1, &first)) return;
    int32_t last = first;
    const char* second = std::strchr(colon + 1, ':');
    if (second != nullptr && !parseDecimal(second + 1, &last)) return;
    rows_.events.push_back({false, first, last});
  } else if (startsWith(line, kColumnsVisible)) {
    const char* colon = findFrom(line, kColumnsColonFrom, ':');
    if (colon == nullptr) return;
    const char* cursor = colon + 1;
    const int32_t first = readLetters(&cursor);
    int32_t last = first;
    if (const char* second = std::strchr(cursor, ':'); second != nullptr) {
      cursor = second + 1;
      last = readLetters(&cursor);
    }
    columns_.events.push_back({false, first, last});
  }
}

void TitleLines::setExtent(uint32_t maxRow, uint32_t maxColumn) {
  rows_.settle(std::min<int64_t>(maxRow, INT32_MAX));
  columns_.settle(std::min<int64_t>(maxColumn, INT32_MAX));
}

// A line keeps its mark when no visible range after its last title line
// covers it. Walking the events backwards with the union of the ranges seen
// so far costs O(n log n) however the ranges overlap.
void TitleLines::Axis::settle(int64_t maxLine) {
  marked.clear();
  std::map<int64_t, int64_t> covered;  // first -> last, disjoint
  std::set<int64_t> decided;
  const auto isCovered = [&covered](int64_t line) {
    auto next = covered.upper_bound(line);
    return next != covered.begin() && std::prev(next)->second >= line;
  };
  for (auto event = events.rbegin(); event != events.rend(); ++event) {
    if (event->title) {
      const int64_t line = event->first;
      if (line < 1 || line > maxLine || !decided.insert(line).second) continue;
      if (!isCovered(line)) marked.push_back(static_cast<int32_t>(line));
      continue;
    }
    if (event->first > event->last || event->first > maxLine) continue;
    int64_t first = std::max<int64_t>(event->first, 1);
    int64_t last = std::min<int64_t>(event->last, maxLine);
    if (first > last) continue;
    // Merge with every stored range it touches.
    auto it = covered.upper_bound(first);
    if (it != covered.begin() && std::prev(it)->second + 1 >= first) --it;
    while (it != covered.end() && it->first <= last + 1) {
      first = std::min(first, it->first);
      last = std::max(last, it->second);
      it = covered.erase(it);
    }
    covered.emplace(first, last);
  }
  std::sort(marked.begin(), marked.end());
}

int32_t TitleLines::Axis::renumber(int32_t line) const {
  if (titleLines == 0) return line;
  const auto below = std::lower_bound(marked.begin(), marked.end(), line);
  const int64_t titlesBefore = below - marked.begin();
  if (below != marked.end() && *below == line) return static_cast<int32_t>(titlesBefore + 1);
  const int64_t renumbered = int64_t{line} + (titleLines - titlesBefore);
  return static_cast<int32_t>(std::clamp<int64_t>(renumbered, INT32_MIN, INT32_MAX));
}

}  // namespace wzss::host

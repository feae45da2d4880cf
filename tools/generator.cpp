#include "generator.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

namespace wzss::tools {
namespace {

// ---------------------------------------------------------------------------
// Deterministic randomness: splitmix64, so that a seed gives the same file
// with every compiler and standard library.
// ---------------------------------------------------------------------------

class Rng {
 public:
  explicit Rng(uint64_t seed) : state_(seed) {}
  uint64_t next() {
    uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }
  // Uniform in 0 .. n - 1 (n > 0).
  uint32_t below(uint32_t n) { return static_cast<uint32_t>(((next() >> 32) * n) >> 32); }
  uint32_t between(uint32_t low, uint32_t high) { return low + below(high - low + 1); }
  bool percent(uint32_t chance) { return below(100) < chance; }
  template <class T, size_t N>
  const T& pick(const std::array<T, N>& table) { return table[below(N)]; }

 private:
  uint64_t state_;
};

uint64_t mix(uint64_t seed, uint64_t salt) { return Rng(seed * 0x100000001b3ull ^ salt).next(); }

// ---------------------------------------------------------------------------
// Output: one big buffer written in blocks; without a file it only counts.
// ---------------------------------------------------------------------------

class Output {
 public:
  explicit Output(std::FILE* file) : file_(file) { buffer_.reserve(kFlushAt + 4096); }
  ~Output() { flush(); }

  void put(std::string_view text) {
    buffer_.append(text);
    if (buffer_.size() >= kFlushAt) flush();
  }
  void line(std::string_view text) {
    buffer_.append(text);
    buffer_.push_back('\n');
    if (buffer_.size() >= kFlushAt) flush();
  }
  uint64_t bytes() const { return flushed_ + buffer_.size(); }
  bool ok() const { return ok_; }
  bool flush() {
    if (file_ != nullptr && !buffer_.empty() &&
        std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size())
      ok_ = false;
    flushed_ += buffer_.size();
    buffer_.clear();
    return ok_;
  }

 private:
  static constexpr size_t kFlushAt = 1u << 20;
  std::FILE* file_;
  std::string buffer_;
  uint64_t flushed_ = 0;
  bool ok_ = true;
};

// ---------------------------------------------------------------------------
// Text helpers
// ---------------------------------------------------------------------------

void appendNumber(std::string& text, int64_t value) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  text.append(digits, end);
}

// value / 10^decimals written with exactly that many decimals ("-12.50").
void appendScaled(std::string& text, int64_t value, int decimals) {
  if (value < 0) {
    text.push_back('-');
    value = -value;
  }
  int64_t scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  appendNumber(text, value / scale);
  if (decimals == 0) return;
  text.push_back('.');
  std::string fraction;
  appendNumber(fraction, value % scale);
  text.append(static_cast<size_t>(decimals) - fraction.size(), '0');
  text.append(fraction);
}

// Column letters as the file writes them: 1 is A, 27 AA, 702 ZZ.
std::string letters(uint32_t column) {
  std::string text;
  if (column > 26) text.push_back(static_cast<char>('A' + (column - 1) / 26 - 1));
  text.push_back(static_cast<char>('A' + (column - 1) % 26));
  return text;
}

constexpr uint32_t kMaxColumn = 702;     // two column letters at most
constexpr size_t kCellLineLimit = 190;   // the reader's line buffer holds 199 bytes
constexpr size_t kContinuationLimit = 480;  // continuation lines are read into 512 bytes

constexpr std::array<std::string_view, 32> kWords = {
    "north", "south", "east",     "west",    "rent",    "salary", "travel",  "office",
    "total", "net",   "gross",    "margin",  "revenue", "cost",   "budget",  "forecast",
    "Q1",    "Q2",    "Q3",       "Q4",      "region",  "client", "invoice", "paid",
    "open",  "late",  "supplier", "freight", "tax",     "refund", "bonus",   "audit"};

// Escaped bytes as the file writes them: ^^ is '^', ^ca a blank, ^oj the
// Latin-1 e acute, ^cc a double quote.
constexpr std::array<std::string_view, 4> kEscapes = {"^^", "^ca", "^oj", "^cc"};

void appendWords(Rng& rng, std::string& text, uint32_t count, bool escapes) {
  for (uint32_t i = 0; i < count; ++i) {
    if (i > 0) text.push_back(' ');
    text.append(rng.pick(kWords));
    if (escapes && rng.percent(8)) text.append(rng.pick(kEscapes));
  }
}

// Words up to roughly length bytes, for continuation lines.
void appendSentence(Rng& rng, std::string& text, size_t length) {
  const size_t end = text.size() + length;
  while (text.size() + 10 < end) {
    text.append(rng.pick(kWords));
    if (rng.percent(5)) text.append(rng.pick(kEscapes));
    text.push_back(' ');
  }
  text.append("and so on");
}

// ---------------------------------------------------------------------------
// Cell formats: a family per column, a variant per cell.
// ---------------------------------------------------------------------------

enum class Family {
  Label,
  Date,
  Time,
  Money,
  Fixed,
  General,
  Percent,
  Scientific,
  Boolean,
  Bar,
  Plain,   // T followed by a byte from 30 to 44: codes 2..16, shown as written
  Quoted,  // general format on a value that starts with a double quote
};

constexpr std::array<Family, 12> kDataFamilies = {
    Family::Date,    Family::Money,      Family::Money,   Family::Fixed,
    Family::General, Family::General,    Family::Percent, Family::Scientific,
    Family::Time,    Family::Boolean,    Family::Bar,     Family::Label};

// Format items of each family; the first few are the common ones.
std::string_view formatItem(Rng& rng, Family family, uint32_t mainVariant) {
  static constexpr std::array<std::string_view, 15> kDates = {
      "D1", "D2", "D3", "D4", "D5", "D6", "D7", "D8", "D9", "D10", "D11", "D12", "D13", "D14", "D15"};
  static constexpr std::array<std::string_view, 4> kTimes = {"T0", "T1", "T2", "T3"};
  static constexpr std::array<std::string_view, 6> kMoney = {"CO2", "C2", "CO0", "C0", "Cf", "COf"};
  static constexpr std::array<std::string_view, 5> kFixed = {"F2", "F0", "F1", "F3", "Ff"};
  // DN takes the workbook default, X is a letter with no meaning of its own,
  // and the empty item is general with floating decimals.
  static constexpr std::array<std::string_view, 7> kGeneral = {"G0", "G2", "Gf", "G4", "DN", "X", ""};
  static constexpr std::array<std::string_view, 4> kPercent = {"P1", "P0", "P2", "Pf"};
  static constexpr std::array<std::string_view, 3> kScientific = {"S3", "S2", "Sf"};
  static constexpr std::array<std::string_view, 3> kPlain = {"T!", "T#", "T,"};
  const bool usual = rng.percent(80);
  auto choose = [&](const auto& table) -> std::string_view {
    return table[usual ? mainVariant % table.size() : rng.below(table.size())];
  };
  switch (family) {
    case Family::Label: return "'";
    case Family::Date: return choose(kDates);
    case Family::Time: return choose(kTimes);
    case Family::Money: return choose(kMoney);
    case Family::Fixed: return choose(kFixed);
    case Family::General: return choose(kGeneral);
    case Family::Percent: return choose(kPercent);
    case Family::Scientific: return choose(kScientific);
    case Family::Boolean: return "B";
    case Family::Bar: return "GR";
    case Family::Plain: return choose(kPlain);
    case Family::Quoted: return "G0";
  }
  return "G0";
}

// A magnitude spread over several orders: most values small, a few large.
int64_t amount(Rng& rng, int64_t limit) {
  const uint32_t digits = rng.between(1, 9);
  int64_t value = static_cast<int64_t>(rng.next() % static_cast<uint64_t>(limit));
  for (uint32_t i = digits; i < 9; ++i) value /= 10;
  return rng.percent(15) ? -value : value;
}

void appendValue(Rng& rng, Family family, std::string& text) {
  switch (family) {
    case Family::Label:
      appendWords(rng, text, rng.between(1, 4), true);
      return;
    case Family::Date:
      if (rng.percent(5)) {  // a date written with slashes
        const uint32_t month = rng.between(1, 12), day = rng.between(1, 28);
        if (month < 10) text.push_back('0');
        appendNumber(text, month);
        text.push_back('/');
        if (day < 10) text.push_back('0');
        appendNumber(text, day);
        text.push_back('/');
        appendNumber(text, rng.between(1950, 2049));
        return;
      }
      // Day serials from 1990 to 2030, a few with a time of day.
      appendNumber(text, rng.between(32874, 47483));
      if (rng.percent(5)) {
        text.push_back('.');
        appendNumber(text, rng.between(1, 9999));
      }
      return;
    case Family::Time:
      if (rng.percent(20)) appendNumber(text, rng.between(40000, 46000));
      text.append(text.empty() || text.back() == ' ' ? "0." : ".");
      appendNumber(text, rng.between(1000000, 9999999));
      return;
    case Family::Money: appendScaled(text, amount(rng, 1000000000), rng.percent(70) ? 2 : 1); return;
    case Family::Fixed: appendScaled(text, amount(rng, 100000000), static_cast<int>(rng.below(5))); return;
    case Family::General:
      switch (rng.below(4)) {
        case 0: appendNumber(text, amount(rng, 10000000)); return;
        case 1: appendScaled(text, amount(rng, 100000000), static_cast<int>(rng.between(1, 6))); return;
        case 2:  // lower-case exponent: printed with %e
          appendScaled(text, rng.between(10, 99), 1);
          text.push_back('e');
          appendNumber(text, static_cast<int64_t>(rng.between(0, 12)) - 4);
          return;
        default: appendScaled(text, amount(rng, 1000000), 2); return;
      }
    case Family::Percent: appendScaled(text, rng.between(0, 1500), 3); return;
    case Family::Scientific:
      if (rng.percent(50)) {
        appendNumber(text, amount(rng, 1000000000));
      } else {
        appendScaled(text, rng.between(100, 999), 2);
        text.append(rng.percent(50) ? "E+" : "E-");
        const uint32_t exponent = rng.between(1, 30);
        if (exponent < 10) text.push_back('0');
        appendNumber(text, exponent);
      }
      return;
    case Family::Boolean: text.push_back(rng.percent(50) ? '1' : '0'); return;
    case Family::Bar: appendScaled(text, rng.between(0, 400), 1); return;
    case Family::Plain:
      text.append("INV-");
      appendNumber(text, rng.between(10000, 99999));
      return;
    case Family::Quoted:
      text.push_back('"');
      appendWords(rng, text, rng.between(1, 5), true);
      text.push_back('"');
      return;
  }
}

// The three optional fields after the number format item.
constexpr std::array<std::string_view, 8> kAlignments = {",1", ",2", ",3", ",4", ",VT", ",1,VC", ",2,VB", ",3,VT"};
constexpr std::array<std::string_view, 10> kTextAttributes = {
    "B",     "I",     "B,P12", "U",        "BG7,B", "FG2",
    "TF1,P9", "I,FG6", "WW",    "B,I,WWO"};
constexpr std::array<std::string_view, 9> kFillBorders = {
    "SH3FG5BG7", "L1R1T1B1", "SH8FG2", "L2FG6R2FG6", "SH9BG3L1", "B1", "T2FG4", "SH5FG2BG1",
    "SH12FG4L3R3"};

// Always all three fields, as the format writes them: with fewer than two
// '|' the alignment and text-attribute readers run on into the address.
void appendAttributeText(Rng& rng, std::string& line, std::string_view item, bool styled) {
  line.push_back('(');
  line.append(item);
  if (!styled) {
    line.append("||)");
    return;
  }
  if (rng.percent(40)) line.append(rng.pick(kAlignments));
  line.push_back('|');
  if (rng.percent(70)) line.append(rng.pick(kTextAttributes));
  line.push_back('|');
  if (rng.percent(45)) line.append(rng.pick(kFillBorders));
  line.push_back(')');
}

// ---------------------------------------------------------------------------
// The plan of the workbook
// ---------------------------------------------------------------------------

struct Column {
  Family family;
  uint32_t mainVariant;
};

struct SheetPlan {
  std::string name;
  uint32_t number = 0;   // 1 = A
  uint32_t columns = 0;  // columns with cells; 0 for a sheet without cell lines
  double share = 0;      // part of the cell data
  uint64_t budget = 0;
  uint32_t rows = 0;     // found by the counting pass
  uint64_t seed = 0;
  std::vector<Column> layout;
  // Its title row and column (0: none); one sheet's titles are not its
  // first row and column, so the numbering with titles first moves lines.
  uint32_t titleRow = 0, titleColumn = 0;
};

struct RowListRun {
  uint32_t first, last, format;  // columns from 0, as the file writes them
};
struct RowListLine {
  uint32_t row;
  std::vector<RowListRun> runs;
};

struct Plan {
  std::vector<SheetPlan> sheets;
  std::vector<uint32_t> storedAttributes;  // attribute lines with a fill or border part
  std::vector<std::string> attributeLines;
  uint32_t maxRow = 0;
  uint32_t maxColumn = 0;
};

constexpr uint32_t kFooterRows = 24;   // formatted empty rows below the longest sheet
constexpr uint32_t kSpareColumns = 2;  // formatted empty columns right of the widest

uint32_t dataColumns(uint64_t size) {
  const double megabytes = static_cast<double>(size) / (1u << 20);
  return std::clamp<uint32_t>(static_cast<uint32_t>(12 + 3 * std::sqrt(megabytes)), 16, 200);
}

Plan makePlan(const GeneratorOptions& options) {
  Plan plan;
  const uint32_t width = dataColumns(options.size);
  struct Shape {
    const char* name;
    uint32_t columns;
    double share;
    uint32_t titleRow, titleColumn;
  };
  const Shape shapes[] = {{"Summary", 12, 0.03, 0, 0},
                          {"Sales 2024", width, 0.37, 1, 1},
                          {"Sales 2025", width, 0.32, 0, 0},
                          {"Ledger", std::max<uint32_t>(8, width * 2 / 3), 0.28, 3, 2},
                          {"Notes", 0, 0.0, 0, 0}};
  Rng rng(mix(options.seed, 1));
  uint32_t number = 1;
  for (const Shape& shape : shapes) {
    SheetPlan sheet;
    sheet.name = shape.name;
    sheet.number = number++;
    sheet.columns = shape.columns;
    sheet.share = shape.share;
    sheet.titleRow = shape.titleRow;
    sheet.titleColumn = shape.titleColumn;
    sheet.seed = mix(options.seed, 100 + sheet.number);
    for (uint32_t c = 1; c <= sheet.columns; ++c) {
      Column column{Family::Label, rng.below(16)};
      if (c == 2) column.family = Family::Date;
      else if (c > 2) column.family = rng.pick(kDataFamilies);
      if (c == sheet.columns && c > 4) column.family = Family::Quoted;  // a notes column
      if (c == 5 && sheet.columns > 8) column.family = Family::Plain;
      sheet.layout.push_back(column);
    }
    plan.sheets.push_back(std::move(sheet));
  }

  // The attribute table: line 1 is the defaults; lines with a third field
  // are stored and can be named by Row List runs.
  plan.attributeLines.push_back("(G0|P10,T0|)");
  static constexpr std::array<std::string_view, 6> kItems = {"F2", "CO2", "G0", "'", "P1", "D4"};
  for (uint32_t line = 2; line <= 64; ++line) {
    std::string text = "(";
    text.append(rng.pick(kItems));
    if (rng.percent(30)) text.append(rng.pick(kAlignments));
    text.push_back('|');
    if (rng.percent(50)) text.append(rng.pick(kTextAttributes));
    text.push_back('|');
    if (rng.percent(60)) {
      text.append(rng.pick(kFillBorders));
      plan.storedAttributes.push_back(line);  // the defaults line is number 1
    }
    text.push_back(')');
    plan.attributeLines.push_back(std::move(text));
  }
  return plan;
}

// ---------------------------------------------------------------------------
// The prologue
// ---------------------------------------------------------------------------

void writeColorMaps(Output& out) {
  out.line("COLORMAP");
  struct Ink {
    const char* name;
    int c, m, y, k;
  };
  static constexpr Ink kInks[] = {
      {"Black", 0, 0, 0, 255},     {"White", 0, 0, 0, 0},       {"Red", 0, 255, 255, 0},
      {"Green", 255, 0, 255, 0},   {"Blue", 255, 255, 0, 0},    {"Light Gray", 0, 0, 0, 64},
      {"Navy", 255, 255, 0, 128},  {"Pale Yellow", 0, 0, 60, 0}, {"Orange", 0, 100, 255, 0},
      {"Teal", 255, 0, 80, 80},    {"Dark Gray", 0, 0, 0, 170}, {"Plum", 60, 160, 40, 40},
      {"Sky Blue", 120, 40, 0, 0}, {"Olive", 100, 100, 255, 60}, {"Rose", 0, 120, 60, 0},
      {"Sand", 20, 40, 90, 10}};
  int index = 0;
  for (const Ink& ink : kInks) {
    std::string line = ink.name;
    line.push_back(' ');
    appendNumber(line, index);
    // One-word names take seven numbers (index, 0, c, m, y, k, 0), names of
    // two words six (index, c, m, y, k, 0).
    const bool twoWords = std::string_view(ink.name).find(' ') != std::string_view::npos;
    const int numbers[] = {0, ink.c, ink.m, ink.y, ink.k, 0};
    for (size_t i = twoWords ? 1 : 0; i < std::size(numbers); ++i) {
      line.push_back(' ');
      appendNumber(line, numbers[i]);
    }
    out.line(line);
    ++index;
  }
  out.line("END COLORMAP");
  // A second map, as print setups write one; colours resolve in the first.
  out.line("COLORMAP");
  out.line("Black 0 0 0 0 255 0");
  out.line("White 1 0 0 0 0 0");
  out.line("END COLORMAP");
}

void writeTypefaces(Output& out) {
  out.line("TYPEFACE TABLE");
  for (const char* name : {"Helvetica", "Courier", "Times", "Pictofont", "Palatino", "Gill Sans"})
    out.line(name);
  out.line("END TYPEFACE TABLE");
}

void writeAttributes(Output& out, const Plan& plan) {
  out.line("Attr Table Start");
  for (const std::string& line : plan.attributeLines) out.line(line);
  out.line("Attr Table end");
}

void writeDrawing(Output& out, Rng& rng, uint32_t kdLines) {
  out.line("*BEGIN GRAPHICS VERSION=120");
  out.line("KD_PAGESIZE 0 0 288 216");
  for (uint32_t i = 0; i < kdLines; ++i) {
    std::string line;
    switch (rng.below(3)) {
      case 0: line = "KD_LINE "; break;
      case 1: line = "KD_BAR "; break;
      default: line = "KD_POLY "; break;
    }
    for (int n = 0; n < 4; ++n) {
      appendNumber(line, rng.between(0, 288));
      if (n < 3) line.push_back(' ');
    }
    out.line(line);
  }
  out.line("*BEGIN LEGEND");
  out.line("Graphic Obj End: inside a legend does not end the block");
  out.line("KD_TEXT 10 200 \"legend\"");
  out.line("*END LEGEND");
  out.line("KD_TEXT 10 10 \"Quarterly figures\"");
  out.line("*END GRAPHICS");
}

struct ObjectShape {
  const char* type;
  uint32_t sheet;
  bool hidden;
  bool border;
};

uint32_t writeObjects(Output& out, const Plan& plan, Rng& rng, GeneratorStats& stats) {
  static constexpr ObjectShape kObjects[] = {
      {"Chart", 1, false, true},  {"Chart", 1, true, true},    {"Picture", 1, false, true},
      {"Chart", 2, false, true},  {"Graphics", 2, false, false}, {"Chart", 3, true, true},
      {"Chart", 3, false, true},  {"Chart", 4, false, false}};
  uint32_t number = 1;
  for (const ObjectShape& shape : kObjects) {
    const SheetPlan& sheet = plan.sheets[shape.sheet - 1];
    const std::string n = std::to_string(number++);
    out.line("Graphic Obj Start: " + n);
    out.line(std::string("Object Type: ") + shape.type);
    out.line("Object Plane: " + letters(sheet.number));
    out.line("Object Path: ");
    out.line(std::string("Object Attrs: Hidden:") + (shape.hidden ? "1" : "0") +
             ", Locked:0, Print:1, Link:0, NoBorder:" + (shape.border ? "0" : "1"));
    const uint32_t column = rng.between(2, std::max<uint32_t>(3, sheet.columns / 2));
    const uint32_t row = rng.between(2, 20);
    out.line("Top corner " + letters(sheet.number) + "!" + letters(column) + std::to_string(row) +
             " x = 0.5 y = 0.25");
    out.line("Bot corner " + letters(sheet.number) + "!" + letters(column + 5) +
             std::to_string(row + 12) + " x = 0.0 y = 0.5");
    out.line("Object Source Width : 4.00in");
    out.line("Object Source Height : 3.00in");
    writeDrawing(out, rng, rng.between(20, 120));
    out.line("Graphic Obj End: " + n);
    if (std::string_view(shape.type) != "Picture") {
      ++stats.objects;
      if (shape.hidden) ++stats.hiddenObjects;
    }
  }
  return number - 1;
}

// Runs of rows shown, with a few hidden rows between them.
void writeVisibleRows(Output& out, Rng& rng, uint32_t maxRow) {
  uint32_t first = 1;
  while (first <= maxRow) {
    const uint32_t last = std::min(maxRow, first + rng.between(300, 1500));
    out.line("View Rows Visible: rows:" + std::to_string(first) + ":" + std::to_string(last));
    first = last + 1 + rng.between(1, 3);  // the rows skipped stay hidden
  }
}

void writeVisibleColumns(Output& out, const SheetPlan& sheet, uint32_t maxColumn) {
  // One hidden column on sheets wide enough, the rest shown.
  if (sheet.columns >= 10) {
    const uint32_t hidden = sheet.columns / 2;
    out.line("View Columns Visible: cols:A:" + letters(hidden - 1));
    out.line("View Columns Visible: cols:" + letters(hidden + 1) + ":" + letters(maxColumn));
  } else {
    out.line("View Columns Visible: cols:A:" + letters(maxColumn));
  }
}

void writeViewSection(Output& out, const SheetPlan& sheet, const Plan& plan, Rng& rng) {
  out.line("View Start, Name: #" + sheet.name + ": ~" + letters(sheet.number));
  out.line("View Default Column Width " + std::to_string(rng.between(8, 12)));
  out.line("View Default Row Height: 16");
  // Width lists: at most 20 entries a line, as the reader takes them.
  const uint32_t widthColumns = std::max<uint32_t>(sheet.columns, 4);
  for (uint32_t c = 1; c <= widthColumns;) {
    std::string line = "View Column Widths:";
    for (uint32_t n = 0; n < 20 && c <= widthColumns; ++n, ++c)
      line += " " + letters(c) + ":" + std::to_string(rng.between(6, 30));
    out.line(line);
  }
  // Height lists: a height for one row in fifty, twelve entries a line (the
  // line stays within the reader's line buffer); 32768 marks a set height.
  std::vector<uint32_t> rows;
  for (uint32_t r = 1; r <= std::max<uint32_t>(sheet.rows, 1); r += rng.between(20, 80))
    rows.push_back(r);
  for (size_t i = 0; i < rows.size();) {
    std::string line = "View Row Heights:";
    for (uint32_t n = 0; n < 12 && i < rows.size(); ++n, ++i) {
      const uint32_t height = rng.between(12, 40) + (rng.percent(30) ? 32768 : 0);
      line += " " + std::to_string(rows[i]) + ":" + std::to_string(height);
    }
    out.line(line);
  }
  writeVisibleRows(out, rng, plan.maxRow);
  writeVisibleColumns(out, sheet, plan.maxColumn);
  // After the visible ranges, so the title marks stay.
  if (sheet.titleRow != 0) out.line("View Title Row: " + std::to_string(sheet.titleRow));
  if (sheet.titleColumn != 0) out.line("View Title Column: " + letters(sheet.titleColumn));
  out.line("View End,");
}

void writeSheetsTable(Output& out, const Plan& plan) {
  out.line("SHEETS TABLE");
  for (const SheetPlan& sheet : plan.sheets)
    out.line("SHEET " + letters(sheet.number) + " ~" + sheet.name + "~");
  out.line("END SHEETS TABLE");
}

// Formatted empty cells: rows below a sheet's data, and columns right of it
// on data rows, so that none of them has a cell line.
std::vector<RowListLine> rowLists(const SheetPlan& sheet, const Plan& plan, Rng& rng) {
  std::vector<RowListLine> lines;
  if (plan.storedAttributes.empty()) return lines;
  auto format = [&] { return plan.storedAttributes[rng.below(plan.storedAttributes.size())]; };
  // A few data rows get their spare columns formatted.
  if (sheet.columns > 0 && sheet.columns < plan.maxColumn && sheet.rows > 2) {
    for (uint32_t n = 0; n < 4; ++n) {
      const uint32_t row = 2 + n * (sheet.rows - 2) / 4;
      lines.push_back({row, {{sheet.columns, plan.maxColumn - 1, format()}}});
    }
  }
  // Footer rows: several runs each.
  const uint32_t firstFree = sheet.rows + 2;
  for (uint32_t row = firstFree; row <= plan.maxRow && lines.size() < 16; row += rng.between(1, 4)) {
    RowListLine line{row, {}};
    uint32_t column = rng.below(3);
    while (column < plan.maxColumn && line.runs.size() < 8) {
      const uint32_t last = std::min(plan.maxColumn - 1, column + rng.below(6));
      line.runs.push_back({column, last, format()});
      column = last + 1 + rng.between(1, 5);
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

void writeRowLists(Output& out, const Plan& plan, Rng& rng, GeneratorStats& stats) {
  static constexpr std::array<std::string_view, 4> kFormatNotes = {
      "Format bold totals", "Format shaded footer", "Format boxed", "Format spare"};
  for (const SheetPlan& sheet : plan.sheets) {
    for (const RowListLine& list : rowLists(sheet, plan, rng)) {
      std::string line = "Row List " + letters(sheet.number) + "!" + std::to_string(list.row) + ":";
      for (size_t i = 0; i < list.runs.size(); ++i) {
        const RowListRun& run = list.runs[i];
        if (i > 0) line.push_back(' ');
        line += std::to_string(run.first) + "," + std::to_string(run.last) + "," +
                std::to_string(run.format);
        stats.formattedEmptyCells += run.last - run.first + 1;
      }
      out.line(line);
      if (rng.percent(40)) out.line(rng.pick(kFormatNotes));
    }
  }
}

// ---------------------------------------------------------------------------
// Cell data
// ---------------------------------------------------------------------------

// One text value spread over several lines: the cell line and continuation
// lines that start with a blank.
void appendLongText(Rng& rng, std::string& line, Output& out, bool quoted, GeneratorStats& stats) {
  if (quoted) line.push_back('"');
  appendSentence(rng, line, std::min<size_t>(kCellLineLimit - 40 - line.size(), rng.between(40, 100)));
  out.line(line);
  const uint32_t more = rng.between(1, 3);
  for (uint32_t i = 0; i < more; ++i) {
    std::string next = " ";
    appendSentence(rng, next, rng.between(30, 200));
    if (quoted && i + 1 == more) next.push_back('"');
    next.resize(std::min(next.size(), kContinuationLimit));
    out.line(next);
    ++stats.continuationLines;
  }
}

void writeRow(Output& out, const SheetPlan& sheet, uint32_t row, Rng& rng, GeneratorStats& stats) {
  const std::string sheetPrefix = letters(sheet.number) + "!";
  std::string line;
  for (uint32_t c = 1; c <= sheet.columns; ++c) {
    const Column& column = sheet.layout[c - 1];
    if (c > 1 && row > 1 && rng.percent(12)) continue;  // sparse rows, as real sheets are
    line.clear();
    if (rng.percent(1)) line.append("P ");  // a protected cell
    const bool header = row == 1;
    const Family family = header ? Family::Label : column.family;
    appendAttributeText(rng, line, header ? "'" : formatItem(rng, family, column.mainVariant),
                        header || rng.percent(25));
    line.push_back(' ');
    if (sheet.number != 1 || rng.percent(70)) line.append(sheetPrefix);  // sheet 1 needs none
    line.append(letters(c));
    appendNumber(line, row);
    line.append(": ");
    ++stats.cellLines;
    if (!header && (family == Family::Label || family == Family::Quoted) && rng.percent(2)) {
      appendLongText(rng, line, out, family == Family::Quoted, stats);
      continue;
    }
    if (header) {
      appendWords(rng, line, rng.between(1, 2), false);
    } else {
      appendValue(rng, family, line);
    }
    if (line.size() > kCellLineLimit) line.resize(kCellLineLimit);
    out.line(line);
  }
}

void writeCells(Output& out, const SheetPlan& sheet, GeneratorStats& stats) {
  Rng rng(sheet.seed);
  for (uint32_t row = 1; row <= sheet.rows; ++row) writeRow(out, sheet, row, rng, stats);
}

// Rows the sheet needs to fill its budget, found by writing it to nowhere.
uint32_t countRows(const SheetPlan& sheet) {
  if (sheet.columns == 0 || sheet.budget == 0) return 0;
  Output counter(nullptr);
  GeneratorStats scratch;
  Rng rng(sheet.seed);
  uint32_t row = 0;
  while (counter.bytes() < sheet.budget && row < 5000000) writeRow(counter, sheet, ++row, rng, scratch);
  return std::max<uint32_t>(row, 2);
}

void writePrologue(Output& out, const Plan& plan, uint64_t seed, GeneratorStats& stats) {
  Rng rng(mix(seed, 2));
  out.line("*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII");
  writeColorMaps(out);
  writeTypefaces(out);
  writeAttributes(out, plan);
  writeObjects(out, plan, rng, stats);
  for (const SheetPlan& sheet : plan.sheets) writeViewSection(out, sheet, plan, rng);
  writeSheetsTable(out, plan);
  writeRowLists(out, plan, rng, stats);
  out.line("Symbols Defaults 0 0 0 0 0 10 0 0 2 3");
  out.line("Bottom right corner : " + letters(plan.maxColumn) + std::to_string(plan.maxRow));
  out.line("Headers and Footers End");
}

void fixExtent(Plan& plan) {
  uint32_t rows = 0, columns = 0;
  for (const SheetPlan& sheet : plan.sheets) {
    rows = std::max(rows, sheet.rows);
    columns = std::max(columns, sheet.columns);
  }
  plan.maxRow = rows + kFooterRows;
  plan.maxColumn = std::min(kMaxColumn, columns + kSpareColumns);
}

}  // namespace

uint64_t parseSize(const std::string& text) {
  if (text.empty()) return 0;
  uint64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest == text.data()) return 0;
  std::string_view suffix(rest, static_cast<size_t>(end - rest));
  if (suffix == "K" || suffix == "k" || suffix == "KB" || suffix == "KiB") return value << 10;
  if (suffix == "M" || suffix == "m" || suffix == "MB" || suffix == "MiB") return value << 20;
  if (suffix == "G" || suffix == "g" || suffix == "GB" || suffix == "GiB") return value << 30;
  return suffix.empty() ? value : 0;
}

bool generateWorkbook(const GeneratorOptions& options, std::FILE* out, GeneratorStats* stats) {
  Plan plan = makePlan(options);
  // The prologue's size hardly depends on the row count: measure it with a
  // first guess, give the rest to the sheets by their shares, count the rows
  // each needs, then write for real with the extent that results.
  for (SheetPlan& sheet : plan.sheets) sheet.rows = 1000;
  fixExtent(plan);
  GeneratorStats scratch;
  Output measure(nullptr);
  writePrologue(measure, plan, options.seed, scratch);
  const uint64_t cellBudget = options.size > measure.bytes() ? options.size - measure.bytes() : 0;
  for (SheetPlan& sheet : plan.sheets) {
    sheet.budget = static_cast<uint64_t>(static_cast<double>(cellBudget) * sheet.share);
    sheet.rows = countRows(sheet);
  }
  fixExtent(plan);

  GeneratorStats result;
  Output output(out);
  writePrologue(output, plan, options.seed, result);
  for (const SheetPlan& sheet : plan.sheets) writeCells(output, sheet, result);
  output.flush();
  result.bytes = output.bytes();
  result.sheets = static_cast<uint32_t>(plan.sheets.size());
  result.maxRow = plan.maxRow;
  result.maxColumn = plan.maxColumn;
  if (stats != nullptr) *stats = result;
  return output.ok();
}

}  // namespace wzss::tools

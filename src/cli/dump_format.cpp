#include "cli/dump_format.h"

#include <fmt/format.h>

#include <array>
#include <cstring>

#include "wzss/header_versions.h"

namespace wzss::cli {
namespace {

constexpr uint32_t kLetters = 26;

std::string bordersText(uint32_t hasBorder, const host::Borders& b) {
  if (hasBorder == 0) return "-";
  const auto side = [](char name, const host::BorderSide& s) {
    return fmt::format("{}{}{}", name, s.style, colour(s.color));
  };
  return fmt::format("{},{},{},{}", side('L', b.left), side('T', b.top), side('R', b.right),
                     side('B', b.bottom));
}

std::string fillText(int32_t hasFill, const std::optional<FillInfo>& fill) {
  if (!fill) return fmt::format("{}", hasFill);
  return fmt::format("{}[pattern={},shade={},fore={},back={}]", hasFill, fill->pattern,
                     fill->shadePercent, colour(fill->foreColor), colour(fill->backColor));
}

std::string corner(uint32_t column, uint32_t row, int32_t x, int32_t y) {
  return fmt::format("{}+{},{}", cellAddress(column, row), x, y);
}

std::string settingsLine(const host::Settings& s) {
  return fmt::format(
      "settings code={} maxRow={} maxColumn={} a={} b={} columnWidth={} fontHeight={} c={} d={} "
      "e={} f={} g={} font={} fill={} h={}",
      s.settingsCode, s.maxRow, s.maxColumn, s.presetA, s.presetB, s.defaultColumnWidth,
      s.defaultFontHeight, s.presetC, s.presetD, s.presetE, s.presetF, s.presetG,
      s.hasFont == 0 ? std::string("-") : font(s.font), s.hasFill, s.presetH);
}

std::string cellLine(const host::Cell& c) {
  return fmt::format("cell {} text={} len={} align={} back={} fore={} font={} fill={} border={} "
                     "flag={} kind={} extra={}",
                     cellAddress(c.column, c.row), c.text ? quoteText(*c.text) : "null",
                     c.textLength, alignWord(c.align), colour(c.backColor), colour(c.textColor),
                     c.hasFont == 0 ? std::string("-") : font(c.font), fillText(c.hasFill, c.fill),
                     bordersText(c.hasBorder, c.borders), c.cellFlag, c.cellKind, c.cellExtra);
}

}  // namespace

std::string columnLetters(uint32_t column) {
  if (column == 0) return "@";
  std::string letters;
  uint64_t rest = column;
  while (rest > 0) {
    const uint64_t digit = (rest - 1) % kLetters;
    letters.insert(letters.begin(), static_cast<char>('A' + digit));
    rest = (rest - 1) / kLetters;
  }
  return letters;
}

std::string cellAddress(uint32_t column, uint32_t row) {
  return columnLetters(column) + std::to_string(row);
}

std::string quoteText(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += '"';
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    if (ch == '"' || ch == '\\') {
      out += '\\';
      out += ch;
    } else if (byte >= 0x20 && byte < 0x7f) {
      out += ch;
    } else {
      out += fmt::format("\\x{:02x}", byte);
    }
  }
  out += '"';
  return out;
}

std::string colour(uint32_t value) {
  const uint32_t red = value & 0xff, green = (value >> 8) & 0xff, blue = (value >> 16) & 0xff;
  const uint32_t top = value >> 24;
  if (top != 0) return fmt::format("#{:02x}{:02x}{:02x}+{:02x}", red, green, blue, top);
  return fmt::format("#{:02x}{:02x}{:02x}", red, green, blue);
}

std::string alignWord(uint16_t align) {
  static constexpr std::array<const char*, 4> kVertical = {nullptr, "middle", "bottom", "top"};
  // Bits 2-3 hold the horizontal items 3 (value 4), 2 (value 8) and 1 (both).
  static constexpr std::array<const char*, 4> kHorizontal = {nullptr, "h3", "h2", "h1"};
  std::string names;
  const auto add = [&names](std::string_view name) {
    if (!names.empty()) names += ',';
    names += name;
  };
  if (const char* v = kVertical[align & 3u]) add(v);
  if (const char* h = kHorizontal[(align >> 2) & 3u]) add(h);
  if (align & 0x10u) add("h4");
  if (align & 0x20u) add("wrap");
  if (align & 0x40u) add("bit6");
  if (align & 0x80u) add("wo");
  if (align >> 8) add(fmt::format("high={:#04x}", align >> 8));
  return fmt::format("{:#06x}[{}]", align, names);
}

std::string font(const host::Font& f) {
  std::string style;
  if (f.bold) style += 'b';
  if (f.italic) style += 'i';
  if (f.underline) style += 'u';
  if (style.empty()) style = "-";
  return fmt::format("{},{},{},{},{}", quoteText(f.name), f.size, style, f.charSet,
                     f.pitchAndFamily);
}

std::string sheetLine(const host::SheetInfo& sheet) {
  return fmt::format("sheet {} {} nameLength={} kind={} view={}", sheet.number, quoteText(sheet.name),
                     sheet.nameLength, sheet.kind, sheet.viewPos);
}

std::string objectFields(const host::Object& o) {
  std::string descriptor = "-";
  if (o.hasDescriptor)
    descriptor = fmt::format("{},frame={}{},preset={}", o.descriptorKind, o.frameStyle,
                             colour(o.frameColor), o.descriptorPreset);
  std::string content = "-";
  std::string size = "-";
  if (StreamInterface* stream = o.content.stream()) {
    content = fmt::format("stream:{}", stream->streamLength);
    if (auto text = o.content.sizeText()) size = quoteText(*text);
  }
  return fmt::format("kind={} from={} to={} border={} w156={} descriptor={} content={} size={}",
                     o.objectKind, corner(o.topColumn, o.topRow, o.topX, o.topY),
                     corner(o.bottomColumn, o.bottomRow, o.bottomX, o.bottomY),
                     bordersText(o.hasBorder, o.borders), o.word156, descriptor, content, size);
}

std::string itemLine(const host::Item& item) {
  struct Line {
    std::string operator()(const host::Settings& s) const { return settingsLine(s); }
    std::string operator()(const host::Option& o) const { return fmt::format("option {}", o.option); }
    std::string operator()(const host::RowRun& r) const {
      return fmt::format("rows {}-{} size={}", r.first, r.last, r.size);
    }
    std::string operator()(const host::ColumnRun& r) const {
      return fmt::format("columns {}-{} size={}", columnLetters(r.first), columnLetters(r.last),
                         r.size);
    }
    std::string operator()(const host::Cell& c) const { return cellLine(c); }
    std::string operator()(const host::Object& o) const { return "object " + objectFields(o); }
  };
  return std::visit(Line{}, item);
}

std::string headerVersion(std::string_view firstBytes) {
  constexpr size_t kDigits = 3;
  if (firstBytes.size() < kHeaderKeyword.size() + kDigits) return {};
  for (size_t i = 0; i < kHeaderKeyword.size(); ++i) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (lower(firstBytes[i]) != lower(kHeaderKeyword[i])) return {};
  }
  return std::string(firstBytes.substr(kHeaderKeyword.size(), kDigits));
}

int versionCode(std::string_view digits) {
  for (const HeaderVersion& version : kHeaderVersions)
    if (digits == version.digits) return static_cast<int>(version.code);
  return -1;
}

}  // namespace wzss::cli

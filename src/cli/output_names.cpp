#include "cli/output_names.h"

#include <array>
#include <string>

namespace wzss::cli {
namespace {

constexpr char kReplacement = '_';
constexpr unsigned char kDelete = 0x7F;

bool reservedByte(unsigned char byte) {
  constexpr std::string_view kReserved = "/\\<>:\"|?*";
  return byte < 0x20 || byte == kDelete || kReserved.find(static_cast<char>(byte)) != kReserved.npos;
}

char asciiLower(char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; }

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& ch : out) ch = asciiLower(ch);
  return out;
}

// Windows refuses these as names, with or without an extension.
bool deviceName(std::string_view stem) {
  static constexpr std::array<std::string_view, 4> kPlain = {"con", "prn", "aux", "nul"};
  const std::string base = lowered(stem.substr(0, stem.find('.')));
  for (std::string_view name : kPlain)
    if (base == name) return true;
  return base.size() == 4 && (base.starts_with("com") || base.starts_with("lpt")) &&
         base[3] >= '1' && base[3] <= '9';
}

bool continuationByte(char ch) { return (static_cast<unsigned char>(ch) & 0xC0) == 0x80; }

}  // namespace

std::string safeNameStem(std::string_view name, std::string_view fallback) {
  std::string stem;
  for (const char ch : name) stem += reservedByte(static_cast<unsigned char>(ch)) ? kReplacement : ch;
  if (!stem.empty() && stem.front() == '.') stem.front() = kReplacement;
  if (stem.size() > kMaxNameStem) {
    size_t cut = kMaxNameStem;
    while (cut > 0 && continuationByte(stem[cut])) --cut;
    stem.resize(cut);
  }
  while (!stem.empty() && (stem.back() == ' ' || stem.back() == '.')) stem.pop_back();
  if (stem.empty()) stem = std::string(fallback);
  if (deviceName(stem)) stem.insert(stem.begin(), kReplacement);
  return stem;
}

std::string UniqueNames::take(const std::string& stem, std::string_view extension) {
  std::string name = stem + std::string(extension);
  for (unsigned suffix = 2; taken_.count(lowered(name)) != 0; ++suffix)
    name = stem + "-" + std::to_string(suffix) + std::string(extension);
  taken_.insert(lowered(name));
  return name;
}

void UniqueNames::reserve(const std::string& name) { taken_.insert(lowered(name)); }

}  // namespace wzss::cli

#include "wzss/host/text_encoding.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace wzss::host {
namespace {

constexpr std::string_view kEncodingKeyword = " ENCODING";
// The keyword stands at this offset of the header line, and the name one
// byte after it (the header check reads fixed-size pieces).
constexpr size_t kKeywordOffset = 35;
constexpr size_t kNameOffset = kKeywordOffset + kEncodingKeyword.size() + 1;
constexpr size_t kMaxNameLength = 64;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD in UTF-8
const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool plainName(std::string_view name) {
  if (name.empty() || name.size() > kMaxNameLength) return false;
  for (const char c : name) {
    const bool letterOrDigit =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!letterOrDigit && c != '.' && c != ':' && c != '_' && c != '-') return false;
  }
  return true;
}

iconv_t openToUtf8(std::string_view name) {
  if (!plainName(name)) return kNoConverter;
  return iconv_open("UTF-8", std::string(name).c_str());
}

}  // namespace

std::string headerEncodingName(std::string_view headerLine) {
  if (headerLine.size() <= kNameOffset ||
      !equalsIgnoringCase(headerLine.substr(kKeywordOffset, kEncodingKeyword.size()),
                          kEncodingKeyword))
    return {};
  const std::string_view rest = headerLine.substr(kNameOffset);
  return std::string(rest.substr(0, rest.find_first_of(" \t\r\n")));
}

bool encodingKnown(std::string_view name) {
  const iconv_t converter = openToUtf8(name);
  if (converter == kNoConverter) return false;
  iconv_close(converter);
  return true;
}

TextDecoder::TextDecoder(std::string_view name) {
  iconv_ = openToUtf8(name);
  known_ = iconv_ != kNoConverter;
  encoding_ = name;
  asciiOnly_ = known_ && !mapsHighBytes();
  if (!known_ || asciiOnly_) {
    if (known_) iconv_close(static_cast<iconv_t>(iconv_));
    encoding_ = kFallbackEncoding;
    iconv_ = iconv_open("UTF-8", encoding_.c_str());
  }
  const auto converter = static_cast<iconv_t>(iconv_);
  // Each ASCII byte alone must come out as itself: a shift-state encoding
  // (ESC of ISO-2022, '+' of UTF-7) fails this and is always converted.
  asciiIsItself_ = converter != kNoConverter;
  std::string out;
  for (char c = 1; asciiIsItself_ && c < 0x7F; ++c) {
    convert(std::string_view(&c, 1), out);
    asciiIsItself_ = out.size() == 1 && out[0] == c;
  }
  invalid_ = 0;
}

// Whether any byte above 0x7F makes a character on its own or begins one.
bool TextDecoder::mapsHighBytes() {
  const auto converter = static_cast<iconv_t>(iconv_);
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    char in = static_cast<char>(byte);
    char out[16];
    char* inCursor = &in;
    char* outCursor = out;
    size_t inLeft = 1;
    size_t room = sizeof out;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter, &inCursor, &inLeft, &outCursor, &room) != static_cast<size_t>(-1) ||
        errno == EINVAL)
      return true;
  }
  return false;
}

TextDecoder::~TextDecoder() {
  if (static_cast<iconv_t>(iconv_) != kNoConverter) iconv_close(static_cast<iconv_t>(iconv_));
}

bool TextDecoder::passesAscii(std::string_view text) const {
  if (!asciiIsItself_) return false;
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

void TextDecoder::decode(std::string_view text, std::string& out) {
  if (passesAscii(text)) {
    // clear and append keep out's storage.
    out.clear();
    out.append(text);
    return;
  }
  convert(text, out);
}

std::string TextDecoder::decode(std::string_view text) {
  std::string out;
  decode(text, out);
  return out;
}

void TextDecoder::assign(std::string_view text, std::string& out) {
  if (passesAscii(text)) {
    if (out != text) out.assign(text);
    return;
  }
  std::string decoded;
  convert(text, decoded);
  if (out != decoded) out = std::move(decoded);
}

void TextDecoder::convert(std::string_view text, std::string& out) {
  out.clear();
  if (asciiOnly_)
    for (const char c : text) outsideAscii_ += static_cast<unsigned char>(c) >= 0x80 ? 1 : 0;
  const auto converter = static_cast<iconv_t>(iconv_);
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char* in = const_cast<char*>(text.data());  // iconv's signature; it only reads
  size_t inLeft = text.size();
  char buffer[1024];
  while (inLeft > 0) {
    char* next = buffer;
    size_t room = sizeof buffer;
    const size_t result = iconv(converter, &in, &inLeft, &next, &room);
    out.append(buffer, static_cast<size_t>(next - buffer));
    if (result != static_cast<size_t>(-1) || errno == E2BIG) continue;
    // A byte that starts no character here (EILSEQ), or a sequence cut
    // short by the text's end (EINVAL): replace the byte, go on after it.
    out += kReplacement;
    ++invalid_;
    ++in;
    --inLeft;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
  }
  char* next = buffer;
  size_t room = sizeof buffer;
  iconv(converter, nullptr, nullptr, &next, &room);  // a final shift back
  out.append(buffer, static_cast<size_t>(next - buffer));
}

}  // namespace wzss::host

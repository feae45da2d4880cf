// Texts of a workbook are in the encoding its header line names
// ("*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=ISO-8859-1"); the plug-in
// hands them on as they stand. The host kit converts them to UTF-8 here,
// once, with iconv, so that every consumer of the walker sees UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wzss::host {

// Every byte maps in it, so it is what an unknown or missing name falls back to.
inline constexpr std::string_view kFallbackEncoding = "ISO-8859-1";

// The encoding name of a header line, or empty when the line names none.
// The name stands after " ENCODING" and one more byte (the '=' is not
// checked), up to a blank or the line's end.
std::string headerEncodingName(std::string_view headerLine);

// Whether iconv converts from this name to UTF-8. Only plain names (letters,
// digits and ".:_-", at most 64 bytes) are put to iconv at all: the name
// comes from an untrusted file.
bool encodingKnown(std::string_view name);

class TextDecoder {
 public:
  // To UTF-8 from the named encoding; an unknown name gives the fallback,
  // and known() then says false. An encoding with no byte above 0x7F
  // (US-ASCII and its aliases) is read as the fallback too: the escapes of
  // the file format write any byte, and such a byte is kept, not replaced;
  // outsideAscii() counts them.
  explicit TextDecoder(std::string_view name);
  ~TextDecoder();
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;

  bool known() const { return known_; }
  // The encoding in use (the fallback's name when the asked one is unknown).
  const std::string& encoding() const { return encoding_; }

  // Replaces out by text in UTF-8. A byte sequence the encoding does not
  // know becomes U+FFFD and is counted; decoding never fails.
  void decode(std::string_view text, std::string& out);
  std::string decode(std::string_view text);
  // As decode, but leaves out untouched when it already holds the result
  // (font names repeat from cell to cell, and keep their storage).
  void assign(std::string_view text, std::string& out);

  uint64_t invalidSequences() const { return invalid_; }
  // Bytes above 0x7F decoded for an encoding that has none.
  uint64_t outsideAscii() const { return outsideAscii_; }

 private:
  bool passesAscii(std::string_view text) const;
  bool mapsHighBytes();
  void convert(std::string_view text, std::string& out);

  std::string encoding_;
  void* iconv_ = nullptr;  // iconv_t
  bool known_ = false;
  // ASCII bytes stand for themselves (true of nearly every encoding a
  // workbook names): an ASCII text is then copied, not converted.
  bool asciiIsItself_ = false;
  bool asciiOnly_ = false;
  uint64_t invalid_ = 0;
  uint64_t outsideAscii_ = 0;
};

}  // namespace wzss::host

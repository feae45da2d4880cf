// A bare WorkbookReader over a memory stream for the prologue's own tests:
// the section readers and the first pass are called directly, without the
// entry points. Teardown releases the tables through wzReleaseTables and
// fails the test when any block is left alive.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "interface/records.h"
#include "prologue/prologue.h"
#include "scan/scan.h"
#include "support/test_host.h"

namespace wzss::test {

// Lines joined with line feeds, each line ended by one.
inline std::string joinLines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (std::string_view line : lines) {
    text += line;
    text += '\n';
  }
  return text;
}

// A workbook: the header line, then the given lines.
inline std::string workbook(std::initializer_list<std::string_view> lines) {
  return std::string(kHeader) + joinLines(lines);
}

class PrologueHost {
 public:
  explicit PrologueHost(std::string text)
      : stream(std::move(text)), reader(std::make_unique<WorkbookReader>()) {
    reader->stream = stream.get();
    reader->services = services.get();
    stream.get()->Open(stream.get());
  }
  ~PrologueHost() {
    wzReleaseTables(reader.get());
    EXPECT_EQ(services.stats().liveBlocks, 0u) << "blocks left alive after the test";
  }
  PrologueHost(const PrologueHost&) = delete;
  PrologueHost& operator=(const PrologueHost&) = delete;

  // The first pass over the whole text.
  int scan() { return wzProcessToData(reader.get(), &info); }

  // Skips the line a section reader is called after (its keyword line).
  void skipLine() { (void)nextLine(); }

  // Runs a section reader as the scanner does: after the keyword line.
  int section(int (*read)(WorkbookReader*)) {
    skipLine();
    return read(reader.get());
  }

  // The next line left in the stream, as the scanner would read it; "<end>"
  // when the input has ended.
  std::string nextLine() {
    char line[kLineSize];
    uint32_t pos = 0;
    if (wzGetLine(stream.get(), line, kLineSize, &pos) == 0) return "<end>";
    return line;
  }

  // Offset of the first byte of the line that starts with text.
  uint32_t offsetOf(std::string_view text) const {
    const size_t at = stream.bytes().find(std::string("\n") + std::string(text));
    EXPECT_NE(at, std::string::npos) << text;
    return static_cast<uint32_t>(at + 1);
  }

  host::Services services;
  host::MemoryStream stream;
  std::unique_ptr<WorkbookReader> reader;
  WorkbookInfo info{};
};

}  // namespace wzss::test

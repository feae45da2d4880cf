// The line reader every other reader is built on: one line of the workbook
// text from the host's stream into a caller's buffer.
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr char kLineFeed = '\n';
constexpr char kCarriageReturn = '\r';

// Terminates a line that ended with its line feed. Only a carriage return
// right before the line feed belongs to the line end; when the line was
// cut, that byte was never stored.
int endLine(char* line, uint32_t capacity, uint32_t stored, bool cut) {
  if (!cut && stored > 0 && line[stored - 1] == kCarriageReturn) --stored;
  if (capacity > 0) line[stored] = '\0';
  return 1;
}

// Terminates what was read when the input ended (or the stream failed)
// inside the line.
int endInput(char* line, uint32_t capacity, uint32_t stored) {
  if (capacity > 0) line[stored] = '\0';
  return 0;
}

}  // namespace

// Every byte comes through a Read of exactly one byte: the host's stream is
// expected to buffer, and reading no further than the line feed leaves the
// stream on the next line's first byte. This loop runs once per byte of the
// workbook, twice over, so each byte is read straight into its place in the
// line; the rest of a line longer than the buffer is only consumed.
int wzGetLine(StreamInterface* stream, char* line, uint32_t capacity, uint32_t* linePos) {
  *linePos = streamTell(stream);
  const auto read = stream->Read;
  // Room for the bytes kept; one byte always stays for the terminator.
  const uint32_t keep = capacity > 0 ? capacity - 1 : 0;
  uint32_t stored = 0;
  for (; stored < keep; ++stored) {
    if (read(stream, line + stored, 1) != 1) return endInput(line, capacity, stored);
    if (line[stored] == kLineFeed) return endLine(line, capacity, stored, false);
  }
  // A longer line: the rest is consumed up to its line feed.
  bool cut = false;
  char byte = 0;
  for (;;) {
    if (read(stream, &byte, 1) != 1) return endInput(line, capacity, stored);
    if (byte == kLineFeed) return endLine(line, capacity, stored, cut);
    cut = true;
  }
}

}  // namespace wzss

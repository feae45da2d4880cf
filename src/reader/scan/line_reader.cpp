// The line reader every other reader is built on: one line of the workbook
// text from the host's stream into a caller's buffer.
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr char kLineFeed = '\n';
constexpr char kCarriageReturn = '\r';

// Fetches one byte with a Read of exactly one byte: the host's stream is
// expected to buffer, and reading no further than the line feed leaves the
// stream on the next line's first byte.
bool readByte(StreamInterface* stream, char* byte) {
  return stream->Read(stream, byte, 1) == 1;
}

}  // namespace

int wzGetLine(StreamInterface* stream, char* line, uint32_t capacity, uint32_t* linePos) {
  *linePos = streamTell(stream);
  // Room for the bytes kept; one byte always stays for the terminator.
  const uint32_t keep = capacity > 0 ? capacity - 1 : 0;
  uint32_t stored = 0;
  uint64_t lineBytes = 0;  // every byte of the line before its line feed
  char byte = 0;
  for (;;) {
    if (!readByte(stream, &byte)) {
      if (capacity > 0) line[stored] = '\0';
      return 0;
    }
    if (byte == kLineFeed) break;
    if (stored < keep) line[stored++] = byte;
    ++lineBytes;
  }
  // Only a carriage return right before the line feed belongs to the line
  // end; when the line was cut, that byte was never stored.
  if (stored > 0 && stored == lineBytes && line[stored - 1] == kCarriageReturn) --stored;
  if (capacity > 0) line[stored] = '\0';
  return 1;
}

}  // namespace wzss

// The lines over which a label or quoted string continues: read here, after
// the cell line, and joined to the value's display text by the formatter.
// Whatever line does not continue the value is given back to the stream,
// where the next cell-line read finds it.
#include <cstring>

#include "cells/cells.h"
#include "format/format.h"
#include "scan/scan.h"

namespace wzss {

namespace {

// What the next line is to a complete value. Only a label takes more, and
// only a line that starts with a blank: its first byte tells (a line feed
// ends a line, so it never starts one with text). Either way the stream is
// given back to where the line starts, and a failing Seek loses the value,
// just as when the whole line had been read and given back; reading only
// what decides saves a line's Reads for most text cells.
enum class NextLine { kTaken, kLeft, kStreamLost };

NextLine nextLineForComplete(StreamInterface* stream, uint32_t formatCode) {
  const uint32_t position = streamTell(stream);
  char first = 0;
  const bool blank =
      formatCode == FRMT_LABEL && stream->Read(stream, &first, 1) == 1 && first == ' ';
  if (streamSeek(stream, position) == 0) return NextLine::kStreamLost;
  return blank ? NextLine::kTaken : NextLine::kLeft;
}

// Reads the lines that continue the value and appends them to display. The
// first line not taken is given back by seeking to its start. False when
// Realloc or Seek fails; the caller then releases the text.
bool gatherContinuation(SheetReader* sheet, DisplayText* display, uint32_t formatCode,
                        int complete) {
  if (complete) {
    const NextLine next = nextLineForComplete(sheet->stream, formatCode);
    if (next != NextLine::kTaken) return next == NextLine::kLeft;
  }
  char line[kTextLineSize];
  std::memset(line, 0, sizeof line);
  uint32_t linePos = 0;
  int more = wzGetLine(sheet->stream, line, kTextLineSize, &linePos);
  for (;;) {
    // An open value takes every line; a label also every line that starts
    // with a blank. A closed string takes none.
    const bool continues = !complete || (formatCode == FRMT_LABEL && wzIsBlank(line[0]));
    if (!continues) return streamSeek(sheet->stream, linePos) != 0;
    if (!wzAppendContinuation(sheet->services, display, line, formatCode, &complete)) return false;
    if (!more) return true;  // the input ended with a piece of the value
    more = wzGetLine(sheet->stream, line, kTextLineSize, &linePos);
  }
}

}  // namespace

char* wzFormatCellValue(SheetReader* sheet, char* valueText, uint32_t formatCode,
                        int32_t decimals, int32_t dateStyle, uint32_t* length) {
  DisplayText display{};
  int complete = 0;
  if (!wzFormatVal(sheet->services, valueText, formatCode, decimals, dateStyle, &display,
                   &complete)) {
    return nullptr;
  }
  if (isTextFormat(formatCode) && !gatherContinuation(sheet, &display, formatCode, complete)) {
    // The caller gets null and could not release the text.
    hostFree(sheet->services, display.block);
    return nullptr;
  }
  *length = display.length;
  return display.block;
}

}  // namespace wzss

// What the host can see of a document's damage by reading it once more,
// where the plug-in has no way to tell: whether the last line ends with a
// line feed (a file cut off mid-line does not), and which lines of cell
// data are longer than the plug-in's line buffers, so that their text is cut.
#pragma once

#include <cstdint>

#include "wzss/reader_abi.h"

namespace wzss::host {

struct DocumentSurvey {
  bool endsWithLineFeed = true;  // also for an empty document
  uint64_t longCellLines = 0;
  uint64_t firstLongLine = 0;  // its number, counted from 1; 0 when none
};

// Reads the document from its start to its end (Open, Seek, Read, Close);
// the stream is left closed. A document that cannot be read gives the
// survey of what was read.
DocumentSurvey surveyDocument(StreamInterface* document);

}  // namespace wzss::host

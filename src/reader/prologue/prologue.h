// The first pass over a workbook: the prologue scanner with its section
// readers (colour maps, typefaces, attribute table) and the lookups that the
// attribute parsers make in the tables it builds.
#pragma once

#include <cstdint>

#include "interface/records.h"

namespace wzss {

// Scans the rest of the file after the header check. 1 when the whole file
// was scanned, 0 when a section reader failed or memory ran out. Always
// stores sheetCount (and sheets) into info.
int wzProcessToData(WorkbookReader* reader, WorkbookInfo* info);

// Section readers, called with the stream just after the section's first line.
int wzColorMap(WorkbookReader* reader);
int wzFont(WorkbookReader* reader);
int wzAttribute(WorkbookReader* reader);

// Colour value (red + green*256 + blue*65536) of entry n of the first colour
// map; 0 for a number without an entry or when there is no colour map.
uint32_t wzColorValue(const WorkbookReader* reader, int32_t n);

// Typeface name in slot n, or null when the table holds no name there.
const char* wzTypefaceName(const WorkbookReader* reader, int32_t n);

// Releases every table the first pass builds (sheet list, sheetStarts,
// colour maps, typefaces, attribute entries, object index) and clears the
// fields that count them, so a further pass starts from scratch.
void wzReleaseTables(WorkbookReader* reader);

}  // namespace wzss

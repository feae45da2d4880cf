// The first pass over a workbook: the prologue scanner with its section
// readers (colour maps, typefaces, attribute table), which build the tables
// the attribute parsers look up (core/records.h).
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Scans the rest of the file after the header check. 1 when the whole file
// was scanned, 0 when a section reader failed or memory ran out. Always
// stores sheetCount (and sheets) into info; info's sheetCount and sheets are
// cleared first, its other bytes are left alone. Call it on a reader without
// a cached sheet list (a fresh one, or after wzReleaseTables).
// Ownership: from its first allocation on, the sheet array is also recorded
// in reader->info (sheets and sheetCount), so the reader owns it whatever
// the result; copying info into reader->info afterwards stores the same
// pointer again, and wzReleaseTables frees it once.
int wzProcessToData(WorkbookReader* reader, WorkbookInfo* info);

// Section readers, called with the stream just after the section's first line.
int wzColorMap(WorkbookReader* reader);
int wzFont(WorkbookReader* reader);
int wzAttribute(WorkbookReader* reader);

// Releases every table the first pass builds (the sheet list in
// reader->info, sheetStarts, colour maps, every typeface slot and attribute
// slot that holds a block, object index) and clears the fields that count
// them, along with rowListPos, maxRow and maxColumn, so a further pass
// starts from scratch. For WZCloseReader (before freeing the reader itself)
// and before a repeated first pass. Does nothing without services.
// Freeing by typefaceCount and attrCount alone is not enough: a section
// reader that runs out of memory returns at once without updating its count,
// leaving the names and entries it stored so far past the count.
void wzReleaseTables(WorkbookReader* reader);

}  // namespace wzss

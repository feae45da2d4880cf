// Cell styling and the producers of cell items: the attribute-text parsers
// (number format, alignment, text attributes, fill, border) and the two
// producers, cells with a line and formatted empty cells.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Number format item at the start of an attribute text. The scan may run
// past the attribute text over the rest of the line (floating decimals).
void wzExtractNumFrmt(const WorkbookReader* reader, const char* text, int32_t* formatCode,
                      int32_t* decimals, int32_t* dateStyle);

// Alignment list of the first field; overwrites *align. 1 when the text has
// an alignment list, else 0.
int wzExtractAlign(const WorkbookReader* reader, const char* text, uint16_t* align,
                   int32_t formatCode);

// Text attributes of the second field; changes only what the items name.
void wzExtractAttribute(const WorkbookReader* reader, const char* text, FontRecord* font,
                        uint32_t* backColor, uint32_t* textColor, uint16_t* align);

// Fill of the third field: 0 without a fill worth reporting, else the host's
// value for it from callback op 2.
int32_t wzGetFill(SheetReader* sheet, const char* text);

// Borders of the third field into the sheet's border scratch; 1 when the
// field named a side.
int wzGetBorder(SheetReader* sheet, const char* text);

// Both of the above for one text, its third field found once.
void wzGetFillAndBorder(SheetReader* sheet, const char* text, int32_t* fill, int* border);

// The display text of a cell's value (see wzFormatVal), with the further
// lines of a label or quoted string read from sheet->stream and joined to
// it; the stream is left at the first line not taken. A block from the
// host's Alloc and its length, or null when memory or a Seek fails.
char* wzFormatCellValue(SheetReader* sheet, char* valueText, uint32_t formatCode,
                        int32_t decimals, int32_t dateStyle, uint32_t* length);

// File row or column number into output numbering: title lines first.
void wzGetAbsRow(const SheetReader* sheet, int32_t* row);
void wzGetAbsCol(const SheetReader* sheet, int32_t* column);

// Producers: 1 when an item was written, 0 when none is left.
int wzGetCellContent(SheetReader* sheet, SheetItem* item);
int wzProcessEmptyCell(SheetReader* sheet, SheetItem* item);

}  // namespace wzss

// Embedded objects: the index built during the first pass, the object items,
// and the ObjectStream through which a host reads a drawing.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Indexes the block whose "Graphic Obj Start: " line starts at startPos (the
// line has just been read). 1, or 0 when memory could not be obtained.
int wzInitObjects(WorkbookReader* reader, uint32_t startPos);

// Next object item of the sheet: 1 when one was written, 0 when none. Each
// entry examined counts in sheet->objectsEmitted, by which the pump knows
// when the objects are done.
int wzDoObject(SheetReader* sheet, SheetItem* item);

// A new stream over the drawing of objects[objectIndex], or null.
StreamInterface* wzMakeObjectStream(SheetReader* sheet, uint32_t objectIndex);

}  // namespace wzss

// The reader's own side of the entry points: entry_points.cpp turns the
// host's opaque handles into these records and calls these functions, which
// keep the whole lifecycle of a workbook reader and its sheets.
#pragma once

#include <cstdint>

#include "core/records.h"

namespace wzss {

// Character-set code reported for every workbook: no conversion is done.
inline constexpr int32_t kCharSetCode = 7;

// The workbook reader (workbook_reader.cpp).
WorkbookReader* wzCreateWorkbookReader(StreamInterface* stream, HostServices* services,
                                       uint32_t readerFlags);
int32_t wzDescribeWorkbook(WorkbookReader* reader, WorkbookInfo* info, int32_t query);
void wzDestroyWorkbookReader(WorkbookReader* reader);

// Opening and closing a sheet (sheet_setup.cpp).
SheetReader* wzOpenSheet(WorkbookReader* reader, uintptr_t hostCookie, uint32_t viewPos,
                         SheetCallback callback, uint32_t sheetFlags);
void wzCloseSheet(SheetReader* sheet);

// One item of an open sheet (sheet_pump.cpp).
int32_t wzPumpSheet(SheetReader* sheet, SheetItem* item);

}  // namespace wzss

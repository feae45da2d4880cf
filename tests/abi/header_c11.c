/* The public header is a C header too: compiled as C11 with pedantic errors
 * (the item union is anonymous, which C11 allows), and its layout checked
 * from C for both widths, so a C host and the C++ plug-in agree. */
#include "wzss/reader_abi.h"

#include <stddef.h>

#if UINTPTR_MAX == 0xFFFFFFFFu
#define WZSS_AT(offset32, offset64) (offset32)
#else
#define WZSS_AT(offset32, offset64) (offset64)
#endif

_Static_assert(sizeof(SheetItem) == WZSS_AT(176, 184), "SheetItem size");
_Static_assert(offsetof(SheetItem, cell.hasFill) == WZSS_AT(120, 124), "cell hasFill");
_Static_assert(offsetof(SheetItem, object.word156) == WZSS_AT(156, 164), "object word 156");
_Static_assert(sizeof(StreamInterface) == WZSS_AT(68, 128), "StreamInterface size");
_Static_assert(offsetof(StreamInterface, Release) == WZSS_AT(60, 112), "Release slot");
_Static_assert(offsetof(HostServices, allocator.Calloc) == WZSS_AT(148, 296), "Calloc slot");
_Static_assert(sizeof(WorkbookInfo) == WZSS_AT(268, 272), "WorkbookInfo size");
_Static_assert(sizeof(SheetEntry) == 540, "SheetEntry size");
_Static_assert(sizeof(FontRecord) == 44, "FontRecord size");

/* A host's use of the records from C: the anonymous union members are
 * reached directly. */
uint32_t wzssC11CellColumn(const SheetItem* item) {
  return item->itemType == WZSS_ITEM_CELL ? item->cell.column : 0;
}

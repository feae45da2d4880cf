/*
 * wzss reader plug-in: the whole contract between a host and libwzss.so.
 *
 * A host loads the library, looks up wzGetSSReaderInterface by name, and
 * drives everything else through the entry points it writes into an
 * SSReaderInterface table:
 *
 *   1. WZAllocateReader(doc, 0, stream, services, 0, readerFlags)
 *   2. WZGetWorkSheetInfo(reader, &info, 0)       -- the first pass, once
 *   3. per sheet: WZInitSheet(reader, cookie, info.sheets[i].viewPos, cb, flags)
 *                 WZProcessSheet(sheet, &item) until it returns non-zero
 *                 WZCloseSheet(sheet)
 *   4. WZCloseReader(reader)
 *
 * Ownership: the host owns the document stream, HostServices, the SheetItem
 * and every text buffer it hands out through SheetCallback op 0. The plug-in
 * owns the sheet list (valid until WZCloseReader). Object descriptors and the
 * object streams inside them become the host's once delivered: release the
 * stream with its Release operation and the descriptor with HostServices Free.
 * An object stream reads through its sheet's document stream: read it only
 * while that sheet is open, and not while the sheet's cells are being pumped
 * (the cell phase reads on from where the previous call left the stream).
 * Release and Free may come at any time, also after WZCloseReader.
 *
 * Every block the plug-in keeps comes from HostServices. The plug-in starts no
 * threads and keeps no global state; all calls on one reader and its sheets
 * must come from one thread at a time, and only one sheet of a reader may be
 * open at a time (they share the document stream).
 *
 * Layout rule: every record is a plain struct, fields in the documented order
 * with their documented widths, every gap an explicit reserved member, every
 * pointer-carrying slot pointer-wide. Built with -m32 this gives the 32-bit
 * host layout byte for byte; on 64-bit platforms it gives one fixed layout.
 *
 * Valid C11 and C++.
 */
#ifndef WZSS_READER_ABI_H
#define WZSS_READER_ABI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define WZSS_EXPORT __attribute__((visibility("default")))
#else
#define WZSS_EXPORT
#endif

typedef struct StreamInterface StreamInterface;
typedef struct HostServices HostServices;
typedef struct HostAllocator HostAllocator;
typedef struct WorkbookReader WorkbookReader; /* opaque, one per workbook file */
typedef struct SheetReader SheetReader;       /* opaque, one per open sheet */

/* ------------------------------------------------------------------------ */
/* Byte streams                                                              */
/* ------------------------------------------------------------------------ */

/* Non-zero on success. Called before each pass over the stream. */
typedef int (*StreamOpenFn)(StreamInterface* stream);
/* Copies up to count bytes into buffer; returns how many were delivered. */
typedef int (*StreamReadFn)(StreamInterface* stream, void* buffer, int32_t count);
/* whence 0: from the start (offset read as an unsigned 32-bit position),
 * 1: from the current position, 2: from the end. Non-zero on success. */
typedef int (*StreamSeekFn)(StreamInterface* stream, int32_t offset, int32_t whence);
/* Position of the next byte to be read. */
typedef uint32_t (*StreamTellFn)(StreamInterface* stream);
/* Ends a pass begun by Open. May be null on a host's document stream. */
typedef int (*StreamCloseFn)(StreamInterface* stream);
/* Object streams only: given a line of the drawing and a mode, returns the
 * line to use. With mode 2 a line starting "KD_PAGESIZE" is replaced in place
 * by the object's size text, so the line buffer must hold at least
 * WZSS_FILTER_LINE_MIN bytes; a shorter replacement never writes past that. */
typedef char* (*StreamFilterLineFn)(StreamInterface* stream, char* line, int32_t mode);
/* Object streams only: destroys the stream, returning its memory to the host. */
typedef void (*StreamReleaseFn)(StreamInterface* stream);

#define WZSS_FILTER_LINE_MIN 60

/* 68 bytes on 32-bit hosts, 128 on 64-bit. */
struct StreamInterface {
  uint32_t streamKind;   /* 0: kind code; the plug-in sets 3 in its own streams */
  uint32_t reserved4;    /* 4 */
  uint32_t streamLength; /* 8: content length, set in the plug-in's streams */
  void* privateA;        /* 12: private to the stream's implementer */
  void* privateB;        /* 16: private to the stream's implementer */
  void* hostContext;     /* 20: opaque host word, copied into object streams */
  void* reserved24;      /* 24 */
  void* reserved28;      /* 28 */
  StreamOpenFn Open;     /* 32 */
  StreamReadFn Read;     /* 36 */
  void* reserved40;      /* 40: neither called nor filled by the plug-in */
  StreamSeekFn Seek;     /* 44 */
  StreamTellFn Tell;     /* 48 */
  StreamCloseFn Close;   /* 52 */
  StreamFilterLineFn FilterLine; /* 56 */
  StreamReleaseFn Release;       /* 60 */
  uint32_t reserved64;           /* 64 */
};

/* ------------------------------------------------------------------------ */
/* Host services                                                             */
/* ------------------------------------------------------------------------ */

typedef void* (*HostAllocFn)(HostAllocator* allocator, uint32_t size);
typedef void (*HostFreeFn)(HostAllocator* allocator, void* block);
typedef void* (*HostReallocFn)(HostAllocator* allocator, void* block, uint32_t newSize);
typedef void* (*HostCallocFn)(HostAllocator* allocator, uint32_t count, uint32_t size);
/* Opens a further file by name (the plug-in passes mode "rb"); may return null. */
typedef StreamInterface* (*HostOpenFileFn)(HostServices* services, const char* path,
                                           const char* mode);

/* The memory operations take the address of this sub-record. */
struct HostAllocator {
  void* context;         /* 132: the host's own word */
  HostAllocFn Alloc;     /* 136 */
  HostFreeFn Free;       /* 140 */
  HostReallocFn Realloc; /* 144 */
  HostCallocFn Calloc;   /* 148 */
};

struct HostServices {
  void* hostSlots[24];       /* 0..95: the host's own, never used by the plug-in */
  HostOpenFileFn OpenFile;   /* 96 */
  void* moreHostSlots[8];    /* 100..131 */
  HostAllocator allocator;   /* 132 */
};

/* ------------------------------------------------------------------------ */
/* Sheet callback                                                            */
/* ------------------------------------------------------------------------ */

enum {
  WZSS_CALLBACK_TEXT_BUFFER = 0, /* argument: byte count; result: buffer or null */
  WZSS_CALLBACK_FILL = 2         /* argument: FillInfo*; result: stored in hasFill */
};

/* Always called as (hostCookie, op, argument, 0). */
typedef intptr_t (*SheetCallback)(uintptr_t hostCookie, int32_t op, intptr_t argument,
                                  intptr_t zero);

/* Built on the stack for one fill call; the host copies what it keeps. */
typedef struct FillInfo {
  uint32_t pattern;      /* 0 */
  uint32_t shadePercent; /* 4: 0..100 */
  uint32_t foreColor;    /* 8: 0x00BBGGRR */
  uint32_t backColor;    /* 12: 0xFFFFFF when none is named */
} FillInfo;

/* 44 bytes. */
typedef struct FontRecord {
  char name[32];          /* 0: NUL-terminated typeface name */
  uint32_t size;          /* 32: point size */
  uint8_t bold;           /* 36 */
  uint8_t italic;         /* 37 */
  uint8_t underline;      /* 38 */
  uint8_t reserved39;     /* 39 */
  uint8_t charSet;        /* 40: always 0 */
  uint8_t pitchAndFamily; /* 41: always 18 */
  uint8_t reserved42[2];  /* 42 */
} FontRecord;

/* ------------------------------------------------------------------------ */
/* Sheet items: one per WZProcessSheet call                                  */
/* ------------------------------------------------------------------------ */

enum {
  WZSS_ITEM_SETTINGS = 10,
  WZSS_ITEM_COLUMN_RUN = 11,
  WZSS_ITEM_ROW_RUN = 12,
  WZSS_ITEM_CELL = 15,
  WZSS_ITEM_OPTION = 16,
  WZSS_ITEM_OBJECT = 17
};

/* Offsets in the comments below are from the start of the SheetItem. */

typedef struct SheetItemSettings {
  uint32_t settingsCode;       /* 8: 2 */
  uint32_t maxRow;             /* 12 */
  uint32_t maxColumn;          /* 16 */
  uint32_t presetA;            /* 20: 1 */
  uint32_t presetB;            /* 24: 1 */
  uint32_t defaultColumnWidth; /* 28 */
  uint32_t defaultFontHeight;  /* 32: font size x 20 */
  uint32_t presetC;            /* 36: 576 */
  uint32_t presetD;            /* 40: 576 */
  uint32_t presetE;            /* 44: 480 */
  uint32_t presetF;            /* 48: 480 */
  uint32_t presetG;            /* 52: 0 */
  uint32_t hasFont;            /* 56: 1 */
  FontRecord font;             /* 60 */
  int32_t hasFill;             /* 104: -1 */
  uint32_t reserved108[4];     /* 108 */
  uint32_t presetH;            /* 124: 1 */
} SheetItemSettings;

typedef struct SheetItemOption {
  uint32_t option; /* 8 */
} SheetItemOption;

/* Row run (type 12) or column run (type 11); size 0 means hidden. */
typedef struct SheetItemRun {
  uint32_t first; /* 8 */
  uint32_t last;  /* 12 */
  uint32_t size;  /* 16 */
} SheetItemRun;

typedef struct SheetItemCell {
  uint32_t column;        /* 8: output numbering */
  uint32_t row;           /* 12: output numbering */
  char* text;             /* 16: host buffer from callback op 0, or null */
  uint32_t textLength;    /* 20: display text length + 1, or 0 */
  uint16_t align;         /* 24: alignment word */
  uint16_t reserved26;    /* 26 */
  uint32_t backColor;     /* 28 */
  uint32_t textColor;     /* 32 */
  uint32_t hasBorder;     /* 36 */
  uint8_t leftStyle;      /* 40 */
  uint8_t reserved41[3];
  uint32_t leftColor;     /* 44 */
  uint8_t topStyle;       /* 48 */
  uint8_t reserved49[3];
  uint32_t topColor;      /* 52 */
  uint8_t rightStyle;     /* 56 */
  uint8_t reserved57[3];
  uint32_t rightColor;    /* 60 */
  uint8_t bottomStyle;    /* 64 */
  uint8_t reserved65[3];
  uint32_t bottomColor;   /* 68 */
  uint32_t hasFont;       /* 72 */
  FontRecord font;        /* 76 */
  int32_t hasFill;        /* 120: result of callback op 2, 0 without fill */
  uint8_t cellFlag;       /* 124 */
  uint8_t reserved125[3];
  uint32_t cellKind;      /* 128 */
  uint32_t cellExtra;     /* 132 */
} SheetItemCell;

typedef struct SheetItemObject {
  uint32_t objectKind;      /* 8: 21 */
  uint32_t topColumn;       /* 12 */
  uint32_t topRow;          /* 16 */
  uint32_t bottomColumn;    /* 20 */
  uint32_t bottomRow;       /* 24 */
  int32_t topX;             /* 28 */
  int32_t topY;             /* 32 */
  int32_t bottomX;          /* 36 */
  int32_t bottomY;          /* 40 */
  struct ObjectDescriptor* descriptor; /* 44: the host's once delivered */
  uint32_t reserved48[3];   /* 48 */
  uint32_t hasBorder;       /* 60 */
  uint8_t leftStyle;        /* 64 */
  uint8_t reserved65[3];
  uint32_t leftColor;       /* 68 */
  uint8_t topStyle;         /* 72 */
  uint8_t reserved73[3];
  uint32_t topColor;        /* 76 */
  uint8_t rightStyle;       /* 80 */
  uint8_t reserved81[3];
  uint32_t rightColor;      /* 84 */
  uint8_t bottomStyle;      /* 88 */
  uint8_t reserved89[3];
  uint32_t bottomColor;     /* 92 */
  uint32_t reserved96[15];  /* 96 */
  uint32_t word156;         /* 156: 0 */
  uint32_t reserved160[4];  /* 160 */
} SheetItemObject;

/* 176 bytes on 32-bit hosts, 184 on 64-bit. The plug-in writes itemType and
 * then only the fields of that type; everything else keeps what the record
 * held (an object item first clears everything from offset 8 on). */
typedef struct SheetItem {
  uint32_t itemType;   /* 0 */
  uint32_t reserved4;  /* 4: never written */
  union {
    SheetItemSettings settings;
    SheetItemOption option;
    SheetItemRun run;
    SheetItemCell cell;
    SheetItemObject object;
    uint8_t raw[168];
  };
} SheetItem;

/* The descriptor of an embedded object: 52 bytes on 32-bit, 56 on 64-bit. */
typedef struct ObjectDescriptor {
  uint32_t descriptorKind;   /* 0: 36 */
  uint32_t reserved4[2];     /* 4 */
  uint32_t frameStyle;       /* 12: 3 with a frame, 0 without */
  uint32_t frameColor;       /* 16: 0 with a frame, 0xffffff without */
  uint32_t descriptorPreset; /* 20: 1 */
  uint32_t reserved24[2];    /* 24 */
  StreamInterface* content;  /* 32: the drawing's stream, or null */
  uint32_t reserved36[4];    /* 36 */
} ObjectDescriptor;

/* ------------------------------------------------------------------------ */
/* The sheet list                                                            */
/* ------------------------------------------------------------------------ */

/* 540 bytes. */
typedef struct SheetEntry {
  char name[512];        /* 0: NUL-terminated */
  uint32_t nameLength;   /* 512 */
  uint8_t zero516;       /* 516: always 0 */
  uint8_t reserved517[3];
  uint32_t kind;         /* 520: always 16384 */
  uint32_t viewPos;      /* 524: pass back to WZInitSheet */
  uint32_t nameLength2;  /* 528 */
  uint8_t reserved532[8];
} SheetEntry;

/* 268 bytes on 32-bit hosts, 272 on 64-bit. */
typedef struct WorkbookInfo {
  uint32_t sheetCount;    /* 0 */
  uint8_t reserved4[260]; /* 4: copied as they stand, never written */
  SheetEntry* sheets;     /* 264: owned by the reader; null without sheets */
} WorkbookInfo;

/* ------------------------------------------------------------------------ */
/* Entry points                                                              */
/* ------------------------------------------------------------------------ */

typedef WorkbookReader* (*WZAllocateReaderFn)(void* hostDocument, intptr_t unused2,
                                              StreamInterface* stream,
                                              HostServices* services, intptr_t unused5,
                                              uint32_t readerFlags);
typedef void (*WZCloseReaderFn)(WorkbookReader* reader);
typedef int32_t (*WZGetCharSetFn)(intptr_t unused1, intptr_t unused2);
typedef int32_t (*WZGetWorkSheetInfoFn)(WorkbookReader* reader, WorkbookInfo* info,
                                        int32_t query);
typedef SheetReader* (*WZInitSheetFn)(WorkbookReader* reader, uintptr_t hostCookie,
                                      uint32_t viewPos, SheetCallback callback,
                                      uint32_t sheetFlags);
typedef int32_t (*WZProcessSheetFn)(SheetReader* sheet, SheetItem* item);
typedef void (*WZCloseSheetFn)(SheetReader* sheet);

/* 36 bytes on 32-bit hosts. Slot 3 is left as the host set it; slot 5 is
 * set to null. */
typedef struct SSReaderInterface {
  WZAllocateReaderFn AllocateReader;       /* 0 */
  WZCloseReaderFn CloseReader;             /* 4 */
  WZGetCharSetFn GetCharSet;               /* 8 */
  void* hostSlot3;                         /* 12 */
  WZGetWorkSheetInfoFn GetWorkSheetInfo;   /* 16 */
  void* nullSlot5;                         /* 20 */
  WZInitSheetFn InitSheet;                 /* 24 */
  WZProcessSheetFn ProcessSheet;           /* 28 */
  WZCloseSheetFn CloseSheet;               /* 32 */
} SSReaderInterface;

/* Reader flag bit 0: deliver no object items.
 * Sheet flag bit 0: object items carry no object streams. */
enum { WZSS_READER_NO_OBJECTS = 1, WZSS_SHEET_NO_OBJECT_STREAMS = 1 };

/* Fills slots 0, 1, 2, 4, 5, 6, 7 and 8 of table. Allocates nothing. */
WZSS_EXPORT void wzGetSSReaderInterface(SSReaderInterface* table);

/* Returns the new reader, or null when services is null or memory fails.
 * Does not touch the stream. The first, second and fifth arguments are
 * accepted and not used. */
WZSS_EXPORT WorkbookReader* WZAllocateReader(void* hostDocument, intptr_t unused2,
                                             StreamInterface* stream,
                                             HostServices* services, intptr_t unused5,
                                             uint32_t readerFlags);

/* Always 7. */
WZSS_EXPORT int32_t WZGetCharSet(intptr_t unused1, intptr_t unused2);

/* With query non-zero: 1 at once, nothing written. Otherwise 1 with the sheet
 * list copied into info, or 0 (null reader, no stream, not a workbook of this
 * format, or a first pass that failed before finding any sheet). */
WZSS_EXPORT int32_t WZGetWorkSheetInfo(WorkbookReader* reader, WorkbookInfo* info,
                                       int32_t query);

/* Destroys the reader and everything it owns; the document stream stays the
 * host's and is neither closed nor released. */
WZSS_EXPORT void WZCloseReader(WorkbookReader* reader);

/* Opens the sheet whose view section starts at viewPos; null on failure. */
WZSS_EXPORT SheetReader* WZInitSheet(WorkbookReader* reader, uintptr_t hostCookie,
                                     uint32_t viewPos, SheetCallback callback,
                                     uint32_t sheetFlags);

/* 0: an item was written; 1: the sheet has no further item; -1: no sheet. */
WZSS_EXPORT int32_t WZProcessSheet(SheetReader* sheet, SheetItem* item);

/* Closes the document stream's pass and releases the sheet. */
WZSS_EXPORT void WZCloseSheet(SheetReader* sheet);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* WZSS_READER_ABI_H */

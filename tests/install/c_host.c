/* A C host linked against the installed libwzss (pkg-config wzss): walks a
 * workbook through the entry points and prints each sheet's number, name and
 * count of cell items, as `sheet N "NAME" cells=C` (the name as the plug-in
 * gives it, in the file's encoding). */
#include <stdio.h>
#include <stdlib.h>
#include <wzss/reader_abi.h>

static int streamOpen(StreamInterface* s) { return fseek(s->privateA, 0, SEEK_SET) == 0; }
static int streamRead(StreamInterface* s, void* buffer, int32_t count) {
  return (int)fread(buffer, 1, (size_t)count, s->privateA);
}
static int streamSeek(StreamInterface* s, int32_t offset, int32_t whence) {
  long at = whence == 0 ? (long)(uint32_t)offset : offset;
  return fseek(s->privateA, at, whence == 0 ? SEEK_SET : whence == 1 ? SEEK_CUR : SEEK_END) == 0;
}
static uint32_t streamTell(StreamInterface* s) { return (uint32_t)ftell(s->privateA); }
static int streamClose(StreamInterface* s) { (void)s; return 1; }

static void* memAlloc(HostAllocator* a, uint32_t size) { (void)a; return malloc(size); }
static void memFree(HostAllocator* a, void* block) { (void)a; free(block); }
static void* memRealloc(HostAllocator* a, void* block, uint32_t size) { (void)a; return realloc(block, size); }
static void* memCalloc(HostAllocator* a, uint32_t n, uint32_t size) { (void)a; return calloc(n, size); }

/* Op 0 asks for a text buffer: one per cell, freed once the item is read.
 * Op 2 registers a fill; any non-zero number marks the cell as filled. */
static intptr_t onCallback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero) {
  (void)zero;
  if (op != WZSS_CALLBACK_TEXT_BUFFER) return 1;
  *(void**)cookie = malloc((size_t)argument);
  return (intptr_t) * (void**)cookie;
}

int main(int argc, char** argv) {
  FILE* file = argc == 2 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return fprintf(stderr, "usage: c_host WORKBOOK\n"), 2;
  StreamInterface stream = {0};
  stream.privateA = file;
  stream.Open = streamOpen, stream.Read = streamRead, stream.Seek = streamSeek;
  stream.Tell = streamTell, stream.Close = streamClose;
  HostServices services = {0};
  services.allocator.Alloc = memAlloc, services.allocator.Free = memFree;
  services.allocator.Realloc = memRealloc, services.allocator.Calloc = memCalloc;

  SSReaderInterface table = {0};
  wzGetSSReaderInterface(&table);
  WorkbookReader* reader = table.AllocateReader(NULL, 0, &stream, &services, 0, WZSS_READER_NO_OBJECTS);
  WorkbookInfo info = {0};
  if (reader == NULL || !table.GetWorkSheetInfo(reader, &info, 0)) return fprintf(stderr, "not read\n"), 1;
  for (uint32_t i = 0; i < info.sheetCount; i++) {
    void* text = NULL;
    SheetReader* sheet = table.InitSheet(reader, (uintptr_t)&text, info.sheets[i].viewPos, onCallback, 0);
    if (sheet == NULL) return fprintf(stderr, "sheet %u not opened\n", i + 1), 1;
    SheetItem item = {0};
    long cells = 0;
    int32_t status;
    while ((status = table.ProcessSheet(sheet, &item)) == 0) {
      cells += item.itemType == WZSS_ITEM_CELL;
      free(text), text = NULL;
    }
    table.CloseSheet(sheet);
    if (status != 1) return fprintf(stderr, "sheet %u lost\n", i + 1), 1;
    printf("sheet %u \"%s\" cells=%ld\n", i + 1, info.sheets[i].name, cells);
  }
  table.CloseReader(reader);
  fclose(file);
  return 0;
}

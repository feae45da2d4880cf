// The ObjectStream: a StreamInterface that presents one object's drawing,
// a stretch of the workbook text, as a file of its own. It reads through the
// sheet's document stream. The read state lives in the SheetReader and is
// shared by all object streams of the sheet: Open binds it to one of them.
//
// Lifetime: the stream reaches its owning SheetReader through privateA for
// the read state, so a host reads an object stream only while its sheet is
// open. Release needs only the services, which the block carries behind the
// StreamInterface the host sees: a host may release a stream after closing
// its sheet (or its reader) without touching freed memory.
#include <cstddef>
#include <cstring>
#include <string_view>

#include "objects/objects.h"
#include "scan/scan.h"

namespace wzss {

namespace {

constexpr uint32_t kObjectStreamKind = 3;
// FilterLine's mode that asks for the page-size line to be replaced.
constexpr int32_t kFilterPageSize = 2;
constexpr std::string_view kPageSizeLine = "KD_PAGESIZE";

enum Whence : int32_t { kFromStart = 0, kFromCurrent = 1, kFromEnd = 2 };

// What the plug-in allocates for one stream: the host's view first, then the
// services its memory came from.
struct ObjectStreamBlock {
  StreamInterface stream;
  HostServices* services;
};
static_assert(offsetof(ObjectStreamBlock, stream) == 0);

SheetReader* ownerOf(StreamInterface* stream) {
  return static_cast<SheetReader*>(stream->privateA);
}

uint32_t objectIndexOf(const StreamInterface* stream) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(stream->privateB));
}

// Moves the document stream to offset within the drawing last opened, asking
// it first so that an unmoved stream is not sought again. False when the
// workbook position does not fit the stream's 32-bit offsets.
bool positionDocument(SheetReader* sheet, uint32_t offset) {
  const uint64_t absolute = uint64_t{offset} + sheet->objectStreamEntry->drawingPos;
  if (absolute > UINT32_MAX) return false;
  const auto position = static_cast<uint32_t>(absolute);
  // A failed seek is not reported: the read that follows comes up short.
  if (streamTell(sheet->stream) != position) streamSeek(sheet->stream, position);
  return true;
}

int wzObjOpen(StreamInterface* stream) {
  SheetReader* sheet = ownerOf(stream);
  WorkbookReader* reader = sheet->reader;
  const uint32_t index = objectIndexOf(stream);
  if (reader == nullptr || reader->objects == nullptr || index >= reader->objectEntryCount) {
    return 0;
  }
  ObjectEntry* entry = &reader->objects[index];
  sheet->objectStreamEntry = entry;
  sheet->objectStreamLength = entry->drawingLength;
  sheet->objectStreamPos = 0;
  sheet->objectStreamLeft = entry->drawingLength;
  sheet->objectStreamOpen = 1;
  return 1;
}

int wzObjRead(StreamInterface* stream, void* buffer, int32_t count) {
  SheetReader* sheet = ownerOf(stream);
  // A negative count names no buffer size: nothing is read.
  if (sheet->objectStreamOpen == 0 || count <= 0) return 0;
  const uint32_t wanted = static_cast<uint32_t>(count);
  const uint32_t n = wanted < sheet->objectStreamLeft ? wanted : sheet->objectStreamLeft;
  if (n == 0) return 0;
  // The pump moves the same document stream between reads.
  if (!positionDocument(sheet, sheet->objectStreamPos)) return 0;
  const int delivered = sheet->stream->Read(sheet->stream, buffer, static_cast<int32_t>(n));
  sheet->objectStreamPos += n;
  sheet->objectStreamLeft -= n;
  return delivered;
}

// Positions outside the drawing are refused: reading there would read the
// workbook text around it.
int wzObjSeek(StreamInterface* stream, int32_t offset, int32_t whence) {
  SheetReader* sheet = ownerOf(stream);
  if (sheet->objectStreamEntry == nullptr) return 0;
  int64_t target = 0;
  switch (whence) {
    case kFromStart:
      target = static_cast<uint32_t>(offset);  // a position, as for the document stream
      break;
    case kFromCurrent:
      target = int64_t{sheet->objectStreamPos} + offset;
      break;
    case kFromEnd:
      target = int64_t{sheet->objectStreamLength} + offset;
      break;
    default:
      return 0;
  }
  if (target < 0 || target > int64_t{sheet->objectStreamLength}) return 0;
  const auto position = static_cast<uint32_t>(target);
  if (!positionDocument(sheet, position)) return 0;
  sheet->objectStreamPos = position;
  sheet->objectStreamLeft = sheet->objectStreamLength - position;
  return 1;
}

uint32_t wzObjTell(StreamInterface* stream) { return ownerOf(stream)->objectStreamPos; }

int wzObjClose(StreamInterface* stream) {
  SheetReader* sheet = ownerOf(stream);
  sheet->objectStreamOpen = 0;
  return streamSeek(sheet->stream, 0) != 0 ? 1 : 0;
}

// The size text holds at most kSizeTextSize - 1 characters, so a line buffer
// of WZSS_FILTER_LINE_MIN bytes takes it with its terminator.
static_assert(kSizeTextSize <= WZSS_FILTER_LINE_MIN);

char* wzObjFilterLine(StreamInterface* stream, char* line, int32_t mode) {
  const ObjectEntry* entry = ownerOf(stream)->objectStreamEntry;
  if (mode != kFilterPageSize || line == nullptr || entry == nullptr) return line;
  if (!wzMatchKeyword(line, kPageSizeLine)) return line;
  const size_t length = strnlen(entry->sizeText, kSizeTextSize - 1);
  std::memcpy(line, entry->sizeText, length);
  line[length] = '\0';
  return line;
}

void wzObjRelease(StreamInterface* stream) {
  if (stream == nullptr) return;
  auto* block = reinterpret_cast<ObjectStreamBlock*>(stream);
  hostFree(block->services, block);
}

}  // namespace

StreamInterface* wzMakeObjectStream(SheetReader* sheet, uint32_t objectIndex) {
  const WorkbookReader* reader = sheet->reader;
  if (reader == nullptr || reader->objects == nullptr || objectIndex >= reader->objectEntryCount) {
    return nullptr;
  }
  if (reader->objects[objectIndex].drawingPos == 0) return nullptr;  // no drawing

  auto* block =
      static_cast<ObjectStreamBlock*>(hostAlloc(sheet->services, sizeof(ObjectStreamBlock)));
  if (block == nullptr) return nullptr;
  std::memset(block, 0, sizeof(ObjectStreamBlock));
  block->services = sheet->services;
  StreamInterface* stream = &block->stream;
  stream->streamKind = kObjectStreamKind;
  stream->privateA = sheet;
  stream->privateB = reinterpret_cast<void*>(static_cast<uintptr_t>(objectIndex));
  stream->hostContext = sheet->stream->hostContext;
  stream->Open = &wzObjOpen;
  stream->Read = &wzObjRead;
  stream->Seek = &wzObjSeek;
  stream->Tell = &wzObjTell;
  stream->Close = &wzObjClose;
  stream->FilterLine = &wzObjFilterLine;
  stream->Release = &wzObjRelease;

  // Measured through the stream itself, which leaves its read state closed.
  stream->Open(stream);
  stream->Seek(stream, 0, kFromEnd);
  stream->streamLength = stream->Tell(stream);
  stream->Close(stream);
  return stream;
}

}  // namespace wzss

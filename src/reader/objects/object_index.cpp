// Graphic objects and charts. The first pass only indexes each object block
// (where it starts, its sheet, where its drawing lies); the property lines are
// read again each time the sheet's pump delivers the object.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>

#include "objects/objects.h"
#include "scan/scan.h"

namespace wzss {

namespace {

// Lines of an object block; all compared ignoring case, over their length.
constexpr std::string_view kObjectType = "Object Type: ";
constexpr std::string_view kGraphicsType = "Graphics";
constexpr std::string_view kChartType = "Chart";
constexpr std::string_view kObjectPlane = "Object Plane: ";
constexpr std::string_view kObjectPath = "Object Path: ";
constexpr std::string_view kObjectAttrs = "Object Attrs: ";
constexpr std::string_view kTopCorner = "Top corner ";
constexpr std::string_view kBottomCorner = "Bot corner ";
constexpr std::string_view kSourceWidth = "Object Source Width : ";
constexpr std::string_view kSourceHeight = "Object Source Height : ";
constexpr std::string_view kNestedBegin = "*BEGIN ";
constexpr std::string_view kNestedEnd = "*END ";
constexpr std::string_view kDrawingBegin = "*BEGIN GRAPHICS VERSION";
constexpr std::string_view kDrawingEnd = "*END GRAPHICS";
constexpr std::string_view kBlockEnd = "Graphic Obj End: ";

// The drawing runs through the end of its "*END GRAPHICS" line, line feed
// included.
constexpr uint32_t kDrawingEndLineBytes = static_cast<uint32_t>(kDrawingEnd.size()) + 1;

// Property lines are read with these formats, as formatted input reads them.
constexpr std::string_view kAttrsFormat =
    "Hidden:%d, Locked:%*d, Print:%*d, Link:%d, NoBorder:%d";
constexpr std::string_view kCornerOffsetsFormat = "%*s %*c %f %*s %*c %f";

// Item and descriptor values the host expects for an object.
constexpr uint32_t kObjectKind = 21;
constexpr uint32_t kDescriptorKind = 36;
constexpr uint32_t kDescriptorPreset = 1;
constexpr uint32_t kFrameStyle = 3;
constexpr uint8_t kFrameBorderStyle = 5;
constexpr uint32_t kNoFrameColor = 0xffffff;
constexpr float kVerticalOffsetFactor = 256.0f;
constexpr const char* kLinkedFileMode = "rb";

// --- Indexing --------------------------------------------------------------

struct BlockLine {
  char text[kLineSize];
  uint32_t pos = 0;
  bool ended = false;  // the input ended before a whole line was read
};

void readBlockLine(StreamInterface* stream, BlockLine* line) {
  line->ended = wzGetLine(stream, line->text, kLineSize, &line->pos) == 0;
}

bool isIndexedType(const char* line) {
  if (!wzMatchKeyword(line, kObjectType)) return false;
  const char* type = line + kObjectType.size();
  return wzMatchKeyword(type, kGraphicsType) || wzMatchKeyword(type, kChartType);
}

// One more entry in the reader's object array, cleared; null when memory
// could not be obtained (the array stays as it was).
ObjectEntry* appendObjectEntry(WorkbookReader* reader) {
  const uint32_t bytes = allocSize(uint64_t{reader->objectEntryCount} + 1, sizeof(ObjectEntry));
  if (bytes == 0) return nullptr;
  void* grown = reader->objects == nullptr ? hostAlloc(reader->services, bytes)
                                           : hostRealloc(reader->services, reader->objects, bytes);
  if (grown == nullptr) return nullptr;
  reader->objects = static_cast<ObjectEntry*>(grown);
  ObjectEntry* entry = &reader->objects[reader->objectEntryCount];
  std::memset(entry, 0, sizeof(ObjectEntry));
  return entry;
}

// Nested parts ("*BEGIN " ... "*END ") may hold a "Graphic Obj End: " line
// of their own. A stray "*END " never drives the count below 0, so the
// block's real end line still ends it.
void countNesting(const char* line, uint32_t* nesting) {
  if (wzMatchKeyword(line, kNestedBegin)) {
    ++*nesting;  // at most one per line: a u32 cannot overflow on 32-bit offsets
  } else if (wzMatchKeyword(line, kNestedEnd) && *nesting > 0) {
    --*nesting;
  }
}

void noteDrawingLine(const BlockLine& line, ObjectEntry* entry) {
  if (wzMatchKeyword(line.text, kDrawingBegin)) {
    entry->drawingPos = line.pos;
  } else if (wzMatchKeyword(line.text, kDrawingEnd)) {
    // Unsigned arithmetic: an "*END GRAPHICS" out of order yields a
    // meaningless but defined length.
    entry->drawingLength = line.pos - entry->drawingPos + kDrawingEndLineBytes;
  }
}

// --- Delivery --------------------------------------------------------------

struct Corner {
  int32_t column = 0;
  int32_t row = 0;
  float x = 0.0f;  // offsets inside the anchor cell
  float y = 0.0f;
};

struct ObjectProperties {
  char path[kLineSize] = {};
  int32_t hidden = 0;
  int32_t link = 0;
  int32_t noBorder = 0;
  Corner top;
  Corner bottom;
};

void readAttrs(const char* text, ObjectProperties* properties) {
  int32_t* const targets[] = {&properties->hidden, &properties->link, &properties->noBorder};
  wzScanFormatted(text, kAttrsFormat, std::span<int32_t* const>(targets));
}

// "B!E2 x = 0.5 y = 0.25": the sheet letters (not used), one separator byte,
// the anchor cell's column and row, then the two offsets.
void readCorner(const char* text, Corner* corner) {
  const char* cursor = text;
  wzGetLetter(&cursor);
  if (*cursor != '\0') ++cursor;
  corner->column = wzGetLetter(&cursor);
  corner->row = wzGetIntItem(&cursor);
  float* const targets[] = {&corner->x, &corner->y};
  wzScanFormatted(cursor, kCornerOffsetsFormat, std::span<float* const>(targets));
}

// Appends tag and text to sizeText, cutting what does not fit: it keeps at
// most kSizeTextSize - 1 characters.
void appendSizeText(ObjectEntry* entry, char tag, const char* text) {
  size_t used = strnlen(entry->sizeText, kSizeTextSize - 1);
  if (used < kSizeTextSize - 1) entry->sizeText[used++] = tag;
  for (; used < kSizeTextSize - 1 && *text != '\0'; ++text) entry->sizeText[used++] = *text;
  entry->sizeText[used] = '\0';
}

void copyRestOfLine(char* destination, const char* rest) {
  const size_t length = strnlen(rest, kLineSize - 1);
  std::memcpy(destination, rest, length);
  destination[length] = '\0';
}

// Reads the block from its "Graphic Obj Start: " line up to its drawing or
// its end line (the stream stands on the start line).
void readProperties(StreamInterface* stream, ObjectEntry* entry, ObjectProperties* properties) {
  entry->sizeText[0] = '\0';
  BlockLine line;
  for (readBlockLine(stream, &line); !line.ended; readBlockLine(stream, &line)) {
    const char* text = line.text;
    if (wzMatchKeyword(text, kNestedBegin) || wzMatchKeyword(text, kBlockEnd)) return;
    if (wzMatchKeyword(text, kObjectPath)) {
      copyRestOfLine(properties->path, text + kObjectPath.size());
    } else if (wzMatchKeyword(text, kObjectAttrs)) {
      readAttrs(text + kObjectAttrs.size(), properties);
    } else if (wzMatchKeyword(text, kTopCorner)) {
      readCorner(text + kTopCorner.size(), &properties->top);
    } else if (wzMatchKeyword(text, kBottomCorner)) {
      readCorner(text + kBottomCorner.size(), &properties->bottom);
    } else if (wzMatchKeyword(text, kSourceWidth)) {
      appendSizeText(entry, 'W', text + kSourceWidth.size());
    } else if (wzMatchKeyword(text, kSourceHeight)) {
      appendSizeText(entry, 'H', text + kSourceHeight.size());
    }
  }
}

// A product truncated toward zero; out of the int32 range it saturates, and
// a NaN (from a "nan" offset) counts as 0.
int32_t truncateOffset(float value) {
  constexpr float kTwoTo31 = 2147483648.0f;
  if (std::isnan(value)) return 0;
  if (value >= kTwoTo31) return std::numeric_limits<int32_t>::max();
  if (value < -kTwoTo31) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

void placeCorners(const ObjectProperties& properties, uint32_t fontSize, SheetItemObject* object) {
  // Formed in single precision, as the host's layout expects.
  const auto horizontalFactor = static_cast<float>(objectOffsetFactor(fontSize));
  object->topColumn = static_cast<uint32_t>(properties.top.column);
  object->topRow = static_cast<uint32_t>(properties.top.row);
  object->bottomColumn = static_cast<uint32_t>(properties.bottom.column);
  object->bottomRow = static_cast<uint32_t>(properties.bottom.row);
  object->topX = truncateOffset(properties.top.x * horizontalFactor);
  object->topY = truncateOffset(properties.top.y * kVerticalOffsetFactor);
  object->bottomX = truncateOffset(properties.bottom.x * horizontalFactor);
  object->bottomY = truncateOffset(properties.bottom.y * kVerticalOffsetFactor);
}

void drawFrame(bool framed, SheetItemObject* object, ObjectDescriptor* descriptor) {
  if (!framed) {
    descriptor->frameStyle = 0;
    descriptor->frameColor = kNoFrameColor;
    object->hasBorder = 0;
    return;
  }
  // The colours stay 0 (black) from the clearing.
  descriptor->frameStyle = kFrameStyle;
  object->hasBorder = 1;
  object->leftStyle = kFrameBorderStyle;
  object->topStyle = kFrameBorderStyle;
  object->rightStyle = kFrameBorderStyle;
  object->bottomStyle = kFrameBorderStyle;
}

StreamInterface* openContent(SheetReader* sheet, uint32_t index,
                             const ObjectProperties& properties) {
  if (properties.link != 0) {
    HostServices* services = sheet->services;
    if (services->OpenFile == nullptr) return nullptr;
    return services->OpenFile(services, properties.path, kLinkedFileMode);
  }
  if ((sheet->sheetFlags & WZSS_SHEET_NO_OBJECT_STREAMS) != 0) return nullptr;
  return wzMakeObjectStream(sheet, index);
}

// Fills the object item for objects[index]: 1, or 0 when the descriptor
// could not be allocated.
int fillObjectItem(SheetReader* sheet, SheetItem* item, uint32_t index,
                   const ObjectProperties& properties) {
  auto* descriptor =
      static_cast<ObjectDescriptor*>(hostAlloc(sheet->services, sizeof(ObjectDescriptor)));
  if (descriptor == nullptr) return 0;
  std::memset(descriptor, 0, sizeof(ObjectDescriptor));
  descriptor->descriptorKind = kDescriptorKind;
  descriptor->descriptorPreset = kDescriptorPreset;

  item->itemType = WZSS_ITEM_OBJECT;
  SheetItemObject* object = &item->object;
  object->objectKind = kObjectKind;
  placeCorners(properties, sheet->reader->defaultFont.size, object);
  drawFrame(properties.noBorder == 0, object, descriptor);
  object->descriptor = descriptor;
  descriptor->content = openContent(sheet, index, properties);
  sheet->nextObject = static_cast<int32_t>(index + 1);
  return 1;
}

// An object item starts from a cleared record: everything after the two
// leading words.
void clearObjectItem(SheetItem* item) {
  constexpr size_t kFirstClearedByte = offsetof(SheetItem, raw);
  std::memset(reinterpret_cast<unsigned char*>(item) + kFirstClearedByte, 0,
              sizeof(SheetItem) - kFirstClearedByte);
}

// The sheet's next entry from nextObject on. Entries of lower sheets are
// passed over; the file lists objects in ascending sheet order, so an entry
// of a higher sheet means this sheet has none left.
bool findObject(const SheetReader* sheet, uint32_t* index) {
  const WorkbookReader* reader = sheet->reader;
  if (reader->objects == nullptr) return false;
  uint32_t i = sheet->nextObject > 0 ? static_cast<uint32_t>(sheet->nextObject) : 0;
  while (i < reader->objectEntryCount && reader->objects[i].sheet < sheet->sheetNumber) ++i;
  if (i >= reader->objectEntryCount || reader->objects[i].sheet != sheet->sheetNumber) {
    return false;
  }
  *index = i;
  return true;
}

void countObjectCall(SheetReader* sheet) {
  if (sheet->objectsEmitted < std::numeric_limits<int32_t>::max()) ++sheet->objectsEmitted;
}

}  // namespace

int wzInitObjects(WorkbookReader* reader, uint32_t startPos) {
  StreamInterface* stream = reader->stream;
  BlockLine line;
  ObjectEntry* entry = nullptr;

  readBlockLine(stream, &line);
  if (!line.ended && isIndexedType(line.text)) {
    entry = appendObjectEntry(reader);
    if (entry == nullptr) return 0;
    entry->startPos = startPos;
    readBlockLine(stream, &line);
    if (!line.ended && wzMatchKeyword(line.text, kObjectPlane)) {
      const char* letters = line.text + kObjectPlane.size();
      entry->sheet = wzGetLetter(&letters);
    }
  }

  if (!line.ended && !wzMatchKeyword(line.text, kBlockEnd)) {
    uint32_t nesting = 0;
    for (;;) {
      countNesting(line.text, &nesting);
      if (entry != nullptr) noteDrawingLine(line, entry);
      readBlockLine(stream, &line);
      if (line.ended) break;
      if (nesting == 0 && wzMatchKeyword(line.text, kBlockEnd)) break;
    }
  }

  if (entry != nullptr) ++reader->objectEntryCount;
  return 1;
}

int wzDoObject(SheetReader* sheet, SheetItem* item) {
  int result = 0;
  // A hidden object yields no item and the next entry is tried at once, as a
  // further call would be: each entry examined counts in objectsEmitted.
  // A loop rather than a call per hidden object keeps the stack flat however
  // many hidden objects a sheet holds; it ends because every round moves
  // nextObject forward.
  for (;;) {
    clearObjectItem(item);
    countObjectCall(sheet);
    uint32_t index = 0;
    if (!findObject(sheet, &index)) break;
    ObjectEntry* entry = &sheet->reader->objects[index];
    if (streamSeek(sheet->stream, entry->startPos) == 0) break;
    ObjectProperties properties;
    readProperties(sheet->stream, entry, &properties);
    if (properties.hidden != 0) {
      sheet->nextObject = static_cast<int32_t>(index + 1);
      continue;
    }
    result = fillObjectItem(sheet, item, index, properties);
    break;
  }
  return result;
}

}  // namespace wzss

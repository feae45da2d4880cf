#include "harness/walk.h"

#include <cstring>
#include <memory>
#include <string>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "wzss/reader_abi.h"

namespace wzss::harness {
namespace {

// A value the reader must leave alone in slot 3 of the entry-point table.
void* const kHostSlot3 = reinterpret_cast<void*>(uintptr_t{0x5107});

constexpr int32_t kReadChunk = 37;  // odd, so chunks straddle every boundary
// Reads of one content stream beyond its length that still count as sane.
constexpr uint32_t kExtraReads = 8;
constexpr uint64_t kBaseItemBound = 200000;
constexpr uint64_t kItemsPerInputByte = 2000;
// A display text is at most one working buffer plus the continuation lines
// it gathered from the input.
constexpr uint64_t kWorkingText = 512;

struct Walk;
// The walk under way on this thread: the stream operations the harness
// installs are plain functions and find their walk here.
thread_local Walk* currentWalk = nullptr;

// A stream the host hands out through OpenFile for a linked object.
struct LinkedStream {
  explicit LinkedStream(std::string bytes) : memory(std::move(bytes)) {}
  host::MemoryStream memory;
  bool released = false;
};

struct Walk {
  Walk(std::string_view bytes, const WalkOptions& options)
      : options(options), inputSize(bytes.size()), stream(std::string(bytes)) {}

  void violation(std::string what) { report.violations.push_back(std::move(what)); }

  const WalkOptions& options;
  uint64_t inputSize;
  host::Services services;
  host::MemoryStream stream;
  WalkReport report;
  SSReaderInterface table{};
  std::vector<std::unique_ptr<LinkedStream>> linked;
  // The text buffer handed out last, exactly as large as asked, so that a
  // write past it or into an earlier one is caught by the sanitizer.
  std::unique_ptr<char[]> textBuffer;
  uint32_t textBufferSize = 0;
  // Object descriptors kept for reading after the sheet's last item.
  std::vector<ObjectDescriptor*> deferred;
};

void documentReleased(StreamInterface*) {
  if (currentWalk != nullptr) currentWalk->violation("the reader released the document stream");
}

void linkedReleased(StreamInterface* stream) {
  if (currentWalk == nullptr) return;
  for (auto& link : currentWalk->linked) {
    if (link->memory.get() != stream) continue;
    if (link->released) currentWalk->violation("a linked stream was released twice");
    link->released = true;
    return;
  }
}

bool terminatedWithin(const char* text, size_t size) {
  return std::memchr(text, '\0', size) != nullptr;
}

intptr_t sheetCallback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero) {
  Walk& walk = *reinterpret_cast<Walk*>(cookie);
  if (zero != 0) walk.violation("sheet callback called with a non-zero fourth argument");
  switch (op) {
    case WZSS_CALLBACK_TEXT_BUFFER: {
      const auto size = static_cast<uint64_t>(argument);
      if (argument <= 0 || size > 2 * walk.inputSize + 2 * kWorkingText) {
        walk.violation("text buffer of " + std::to_string(argument) + " bytes asked for");
        return 0;
      }
      if (walk.options.nullTextBuffers) return 0;
      walk.textBuffer = std::make_unique<char[]>(size);
      std::memset(walk.textBuffer.get(), 0xAA, size);
      walk.textBufferSize = static_cast<uint32_t>(size);
      return reinterpret_cast<intptr_t>(walk.textBuffer.get());
    }
    case WZSS_CALLBACK_FILL: {
      const auto* fill = reinterpret_cast<const FillInfo*>(argument);
      if (fill == nullptr) {
        walk.violation("fill registered without a FillInfo");
        return 0;
      }
      if (fill->shadePercent > 100) walk.violation("fill shade above 100 percent");
      ++walk.report.fills;
      return 3;
    }
    default:
      walk.violation("sheet callback op " + std::to_string(op));
      return 0;
  }
}

bool isLinked(const Walk& walk, const StreamInterface* stream) {
  for (const auto& link : walk.linked) {
    if (link->memory.get() == stream) return true;
  }
  return false;
}

// Reads a content stream to its end in chunks; the reader may never hand
// out more than the drawing's length, nor more than was asked.
void readToEnd(Walk& walk, StreamInterface* content, uint32_t length) {
  auto chunk = std::make_unique<char[]>(kReadChunk);
  uint64_t total = 0;
  const uint64_t bound = length / kReadChunk + kExtraReads;
  for (uint64_t call = 0; call < bound; ++call) {
    const int got = content->Read(content, chunk.get(), kReadChunk);
    if (got < 0 || got > kReadChunk) {
      walk.violation("content Read returned " + std::to_string(got));
      return;
    }
    if (got == 0) break;
    total += static_cast<uint64_t>(got);
  }
  if (total > length) {
    walk.violation("content stream delivered " + std::to_string(total) +
                   " bytes of a drawing of " + std::to_string(length));
  }
}

// One read after a seek to wherever: never more than asked.
void readOnce(Walk& walk, StreamInterface* content) {
  char byte[kReadChunk];
  const int got = content->Read(content, byte, kReadChunk);
  if (got < 0 || got > kReadChunk) walk.violation("content Read after Seek returned " + std::to_string(got));
}

void filterLine(Walk& walk, StreamInterface* content, const char* text, int32_t mode) {
  // Exactly the documented minimum, so a longer replacement is caught.
  auto line = std::make_unique<char[]>(WZSS_FILTER_LINE_MIN);
  std::memset(line.get(), 0, WZSS_FILTER_LINE_MIN);
  std::strncpy(line.get(), text, WZSS_FILTER_LINE_MIN - 1);
  char* result = content->FilterLine(content, line.get(), mode);
  if (result == line.get() && !terminatedWithin(result, WZSS_FILTER_LINE_MIN)) {
    walk.violation("FilterLine left the line unterminated");
  } else if (result != nullptr && result != line.get()) {
    (void)std::strlen(result);  // the host reads a replacement as a text
  }
}

// Everything a host may do with a drawing's stream, out-of-range seeks
// included, then Release.
void exerciseContent(Walk& walk, StreamInterface* content) {
  if (content->Open == nullptr || content->Read == nullptr || content->Seek == nullptr ||
      content->Tell == nullptr || content->Close == nullptr || content->FilterLine == nullptr ||
      content->Release == nullptr) {
    walk.violation("content stream with an empty operation slot");
    return;
  }
  ++walk.report.objectStreams;
  const uint32_t length = content->streamLength;
  content->Open(content);
  readToEnd(walk, content, length);
  readOnce(walk, content);

  // Seeks inside, at the ends and outside the drawing; none may lead a
  // later Read outside it.
  const struct {
    int32_t offset;
    int32_t whence;
  } seeks[] = {{0, 0},  {0, 2},       {-10, 1},         {static_cast<int32_t>(length) + 100, 0},
               {-1, 0}, {-100000, 1}, {1 << 30, 2},     {INT32_MIN, 1},
               {5, 7},  {INT32_MAX, 0}, {-static_cast<int32_t>(length % 1000) - 1, 2}};
  for (const auto& seek : seeks) {
    const int result = content->Seek(content, seek.offset, seek.whence);
    if (seek.whence > 2 && result != 0) walk.violation("content Seek accepted whence 7");
    (void)content->Tell(content);
    readOnce(walk, content);
  }
  content->Seek(content, 0, 0);
  readToEnd(walk, content, length);

  filterLine(walk, content, "KD_PAGESIZE 0 0 288 216", 2);
  filterLine(walk, content, "kd_pagesize", 2);
  filterLine(walk, content, "KD_PAGESIZE 0 0 288 216", 1);
  filterLine(walk, content, "KD_LINE 10 10 100 80", 2);
  filterLine(walk, content, "", 2);

  content->Close(content);
  char byte[kReadChunk];
  const int afterClose = content->Read(content, byte, kReadChunk);
  if (afterClose != 0) walk.violation("content Read after Close returned " + std::to_string(afterClose));
  content->Release(content);
}

void releaseObject(Walk& walk, ObjectDescriptor* descriptor) {
  StreamInterface* content = descriptor->content;
  if (content != nullptr) {
    if (isLinked(walk, content)) {
      ++walk.report.linkedStreams;
      content->Release(content);
    } else if ((walk.options.sheetFlags & WZSS_SHEET_NO_OBJECT_STREAMS) != 0) {
      walk.violation("object stream built although the sheet flags ask for none");
      content->Release(content);
    } else {
      exerciseContent(walk, content);
    }
  }
  walk.services.free(descriptor);
}

void checkFont(Walk& walk, const FontRecord& font, const char* where) {
  if (!terminatedWithin(font.name, sizeof font.name)) {
    walk.violation(std::string("unterminated font name in ") + where);
  }
}

void checkCell(Walk& walk, const SheetItemCell& cell) {
  ++walk.report.cells;
  if (cell.hasFont == 1) checkFont(walk, cell.font, "a cell item");
  if (cell.text == nullptr) return;
  ++walk.report.cellsWithText;
  if (cell.text != walk.textBuffer.get()) {
    walk.violation("cell text is not the buffer the host handed out for it");
    return;
  }
  if (cell.textLength > walk.textBufferSize || !terminatedWithin(cell.text, walk.textBufferSize)) {
    walk.violation("cell text longer than its buffer or unterminated");
  }
}

void handleObject(Walk& walk, const SheetItemObject& object) {
  ++walk.report.objects;
  if ((walk.options.readerFlags & WZSS_READER_NO_OBJECTS) != 0) {
    walk.violation("object item delivered although the reader flags ask for none");
  }
  ObjectDescriptor* descriptor = object.descriptor;
  if (descriptor == nullptr) {
    walk.violation("object item without a descriptor");
    return;
  }
  if (walk.options.deferObjectStreams) {
    walk.deferred.push_back(descriptor);
  } else {
    releaseObject(walk, descriptor);
  }
}

void checkItem(Walk& walk, const SheetItem& item) {
  ++walk.report.items;
  switch (item.itemType) {
    case WZSS_ITEM_SETTINGS: checkFont(walk, item.settings.font, "the settings item"); break;
    case WZSS_ITEM_COLUMN_RUN:
    case WZSS_ITEM_ROW_RUN:
    case WZSS_ITEM_OPTION: break;
    case WZSS_ITEM_CELL: checkCell(walk, item.cell); break;
    case WZSS_ITEM_OBJECT: handleObject(walk, item.object); break;
    default: walk.violation("item of type " + std::to_string(item.itemType));
  }
  // The buffer belongs to the host from here on; dropping it now turns any
  // later write into it by the reader into a use after free.
  walk.textBuffer.reset();
  walk.textBufferSize = 0;
}

uint64_t itemBound(const Walk& walk) {
  if (walk.options.maxItemsPerSheet != 0) return walk.options.maxItemsPerSheet;
  return kBaseItemBound + kItemsPerInputByte * walk.inputSize;
}

void pumpSheet(Walk& walk, SheetReader* sheet) {
  SheetItem item;
  std::memset(&item, 0x5A, sizeof item);
  const uint64_t bound = itemBound(walk);
  for (uint64_t count = 0;; ++count) {
    if (count == bound) {
      walk.violation("the pump did not end within " + std::to_string(bound) + " items");
      return;
    }
    const int32_t result = walk.table.ProcessSheet(sheet, &item);
    if (result == 1) return;
    if (result != 0) {
      walk.violation("WZProcessSheet returned " + std::to_string(result) + " for an open sheet");
      return;
    }
    checkItem(walk, item);
  }
}

void walkSheets(Walk& walk, WorkbookReader* reader, const WorkbookInfo& info) {
  const uint32_t count = info.sheetCount < walk.options.maxSheets ? info.sheetCount
                                                                  : walk.options.maxSheets;
  for (uint32_t index = 0; index < count; ++index) {
    if (!terminatedWithin(info.sheets[index].name, sizeof info.sheets[index].name)) {
      walk.violation("unterminated name of sheet " + std::to_string(index + 1));
    }
    SheetReader* sheet = walk.table.InitSheet(reader, reinterpret_cast<uintptr_t>(&walk),
                                              info.sheets[index].viewPos, &sheetCallback,
                                              walk.options.sheetFlags);
    if (sheet == nullptr) continue;
    ++walk.report.sheetsOpened;
    pumpSheet(walk, sheet);
    for (ObjectDescriptor* descriptor : walk.deferred) releaseObject(walk, descriptor);
    walk.deferred.clear();
    walk.table.CloseSheet(sheet);
  }
}

// First pass, then the cached list; a host that gets 0 may well ask again.
int32_t describeWorkbook(Walk& walk, WorkbookReader* reader, WorkbookInfo* info) {
  WorkbookInfo untouched;
  std::memset(&untouched, 0x3C, sizeof untouched);
  WorkbookInfo probe = untouched;
  if (walk.table.GetWorkSheetInfo(reader, &probe, 1) != 1) walk.violation("a query did not return 1");
  if (std::memcmp(&probe, &untouched, sizeof probe) != 0) walk.violation("a query wrote into the info");

  int32_t result = 0;
  for (int attempt = 0; attempt < 2 && result != 1; ++attempt) {
    std::memset(info, 0, sizeof *info);
    result = walk.table.GetWorkSheetInfo(reader, info, 0);
    if (result != 0 && result != 1) {
      walk.violation("WZGetWorkSheetInfo returned " + std::to_string(result));
      return 0;
    }
  }
  if (result == 1 && info->sheetCount > 0 && info->sheets == nullptr) {
    walk.violation("a sheet count without a sheet list");
    return 0;
  }
  return result;
}

void walkReader(Walk& walk) {
  StreamInterface* document = walk.stream.get();
  WorkbookReader* reader =
      walk.table.AllocateReader(nullptr, 0, document, walk.services.get(), 0, walk.options.readerFlags);
  if (reader == nullptr) {
    if (walk.options.failAllocation == 0) walk.violation("WZAllocateReader failed without a fault");
    return;
  }
  WorkbookInfo info;
  walk.report.infoResult = describeWorkbook(walk, reader, &info);
  if (walk.options.failSheetOpens) walk.stream.failOpen(true);
  if (walk.report.infoResult == 1) {
    walk.report.sheetCount = info.sheetCount;
    walkSheets(walk, reader, info);
  }
  SheetItem item;
  if (walk.table.ProcessSheet(nullptr, &item) != -1) walk.violation("WZProcessSheet(null) is not -1");
  walk.table.CloseReader(reader);
}

void setUp(Walk& walk) {
  walk.table.hostSlot3 = kHostSlot3;
  wzGetSSReaderInterface(&walk.table);
  if (walk.table.hostSlot3 != kHostSlot3 || walk.table.nullSlot5 != nullptr) {
    walk.violation("the entry-point table's host slots were not left as documented");
  }
  StreamInterface* document = walk.stream.get();
  document->Release = &documentReleased;
  if (walk.options.dropCloseSlot) walk.stream.dropCloseSlot();
  walk.stream.failOpen(walk.options.failOpen);
  walk.stream.failSeek(walk.options.failSeek);
  walk.stream.failRead(walk.options.failRead);
  walk.services.failAllocation(walk.options.failAllocation);
  walk.services.setOpener([&walk](const std::string& path) -> StreamInterface* {
    walk.linked.push_back(std::make_unique<LinkedStream>("linked file " + path + "\n"));
    StreamInterface* stream = walk.linked.back()->memory.get();
    stream->Release = &linkedReleased;
    return stream;
  });
}

void finish(Walk& walk) {
  const host::StreamCalls& calls = walk.stream.calls();
  walk.report.allocations = walk.services.stats().allocations;
  walk.report.seeks = calls.seeks;
  walk.report.reads = calls.reads;
  walk.report.opens = calls.opens;
  walk.report.closes = calls.closes;
  walk.report.liveBlocksAfterClose = walk.services.stats().liveBlocks;
  if (walk.report.liveBlocksAfterClose != 0) {
    walk.violation(std::to_string(walk.report.liveBlocksAfterClose) +
                   " blocks left alive after WZCloseReader");
  }
  if (calls.closes > calls.opens) {
    walk.violation("the document stream was closed " + std::to_string(calls.closes) +
                   " times for " + std::to_string(calls.opens) + " opens");
  }
  for (const auto& link : walk.linked) {
    if (!link->released) walk.violation("a stream opened through OpenFile never reached the host");
  }
}

}  // namespace

std::string WalkReport::describe() const {
  std::string text;
  for (const std::string& violation : violations) text += violation + "\n";
  return text;
}

WalkReport walkWorkbook(std::string_view bytes, const WalkOptions& options) {
  Walk walk(bytes, options);
  Walk* const outer = currentWalk;
  currentWalk = &walk;
  setUp(walk);
  walkReader(walk);
  finish(walk);
  currentWalk = outer;
  return std::move(walk.report);
}

}  // namespace wzss::harness

#include "harness/walk.h"

#include <cstring>
#include <memory>
#include <string>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"
#include "wzss/host/text_encoding.h"
#include "wzss/host/walker.h"
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
// The walk under way on this thread: the stream operations and the
// entry-point wrappers the harness installs are plain functions and find
// their walk here.
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
  SSReaderInterface plugin{};   // the reader's own entry points
  SSReaderInterface watched{};  // the same, some of them seen through the wrappers below
  bool sheetFresh = false;      // no item pulled yet from the open sheet
  std::vector<std::unique_ptr<LinkedStream>> linked;
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

// The first pass as the walker asks for it, with a query before it and,
// when it gives 0, a second asking (a host may well ask again).
int32_t describeWatched(WorkbookReader* reader, WorkbookInfo* info, int32_t flags) {
  Walk& walk = *currentWalk;
  WorkbookInfo untouched;
  std::memset(&untouched, 0x3C, sizeof untouched);
  WorkbookInfo probe = untouched;
  const int32_t queried = walk.plugin.GetWorkSheetInfo(reader, &probe, 1);
  if (queried != 1) walk.violation("a query returned " + std::to_string(queried));
  if (std::memcmp(&probe, &untouched, sizeof probe) != 0)
    walk.violation("a query wrote into the info");

  int32_t result = walk.plugin.GetWorkSheetInfo(reader, info, flags);
  if (result == 0) {
    std::memset(info, 0, sizeof *info);
    result = walk.plugin.GetWorkSheetInfo(reader, info, flags);
  }
  walk.report.infoResult = result;
  if (result != 0 && result != 1)
    walk.violation("WZGetWorkSheetInfo returned " + std::to_string(result));
  if (result == 1 && info->sheetCount > 0 && info->sheets == nullptr)
    walk.violation("a sheet count without a sheet list");
  for (uint32_t i = 0; info->sheets != nullptr && i < info->sheetCount; ++i) {
    if (!terminatedWithin(info->sheets[i].name, sizeof info->sheets[i].name))
      walk.violation("unterminated name of sheet " + std::to_string(i + 1));
  }
  return result;
}

void checkFont(Walk& walk, const FontRecord& font, const char* where) {
  if (!terminatedWithin(font.name, sizeof font.name))
    walk.violation(std::string("unterminated font name in ") + where);
}

// Each sheet's record starts as garbage, so that the reader relies on no
// field it did not write; the fonts are checked as the reader wrote them.
int32_t processWatched(SheetReader* sheet, SheetItem* item) {
  Walk& walk = *currentWalk;
  if (walk.sheetFresh) std::memset(item, 0x5A, sizeof *item);
  walk.sheetFresh = false;
  const int32_t result = walk.plugin.ProcessSheet(sheet, item);
  if (result > 1) walk.violation("WZProcessSheet returned " + std::to_string(result));
  if (result == 0 && item->itemType == WZSS_ITEM_SETTINGS)
    checkFont(walk, item->settings.font, "the settings item");
  if (result == 0 && item->itemType == WZSS_ITEM_CELL && item->cell.hasFont == 1)
    checkFont(walk, item->cell.font, "a cell item");
  return result;
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
// included; the content handle releases it.
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
}

void useObject(Walk& walk, const host::ObjectContent& object) {
  StreamInterface* content = object.stream();
  if (content == nullptr) return;
  bool linked = false;
  for (const auto& link : walk.linked) linked = linked || link->memory.get() == content;
  if (linked) {
    ++walk.report.linkedStreams;
  } else if ((walk.options.sheetFlags & WZSS_SHEET_NO_OBJECT_STREAMS) != 0) {
    walk.violation("object stream built although the sheet flags ask for none");
  } else {
    exerciseContent(walk, content);
  }
}

// The item checks of a careful host, on the walker's typed items.
class Checks : public host::SheetVisitor {
 public:
  explicit Checks(Walk& walk) : walk_(walk) {}

  void beginSheet(const host::SheetInfo&) override {
    deferred_.clear();  // left by a sheet that ended in an error
    ++walk_.report.sheetsOpened;
    walk_.sheetFresh = true;
  }

  bool item(const host::SheetInfo&, host::Item& item) override {
    ++walk_.report.items;
    const auto* cell = std::get_if<host::Cell>(&item);
    if (cell != nullptr && cell->fill && cell->fill->shadePercent > 100)
      walk_.violation("fill shade above 100 percent");
    if (auto* object = std::get_if<host::Object>(&item)) handleObject(*object);
    return true;
  }

  // After the sheet's last item, before it is closed.
  void endSheet(const host::SheetInfo&, const host::SheetStats& stats) override {
    for (host::ObjectContent& object : deferred_) useObject(walk_, object);
    deferred_.clear();
    if (stats.strayCalls != 0) walk_.violation("sheet callback called outside its contract");
    if (stats.largestTextBuffer > 2 * walk_.inputSize + 2 * kWorkingText)
      walk_.violation("text buffer of " + std::to_string(stats.largestTextBuffer) +
                      " bytes asked for");
    if (stats.textsCut != 0 && !walk_.options.nullTextBuffers)
      walk_.violation("cell text longer than its buffer or unterminated");
  }

 private:
  void handleObject(host::Object& object) {
    ++walk_.report.objects;
    if ((walk_.options.readerFlags & WZSS_READER_NO_OBJECTS) != 0)
      walk_.violation("object item delivered although the reader flags ask for none");
    if (!object.hasDescriptor) {
      walk_.violation("object item without a descriptor");
    } else if (walk_.options.deferObjectStreams) {
      deferred_.push_back(std::move(object.content));
    } else {
      useObject(walk_, object.content);
    }
  }

  Walk& walk_;
  // Object content kept for reading after the sheet's last item.
  std::vector<host::ObjectContent> deferred_;
};

// Walker errors that only a reader breaking the contract causes.
void checkStatus(Walk& walk, const host::WalkError& error) {
  using Kind = host::WalkErrorKind;
  const bool faulted = walk.options.failAllocation != 0;
  if (error.kind == Kind::NotAWorkbook || error.kind == Kind::SheetNotOpened ||
      (error.kind == Kind::ReaderNotAllocated && faulted))
    return;
  walk.violation(error.message);
}

void walkReader(Walk& walk) {
  host::WalkOptions options;
  options.readerFlags = walk.options.readerFlags;
  options.sheetFlags = walk.options.sheetFlags;
  options.maxItemsPerSheet = kBaseItemBound + kItemsPerInputByte * walk.inputSize;
  // Only the reader touches the document: no header, survey or view reads
  // of the host's own.
  options.encoding = host::kFallbackEncoding;
  options.surveyDocument = false;
  options.placeEmptyCells = false;
  options.textBuffers =
      walk.options.nullTextBuffers ? host::TextBuffers::Refused : host::TextBuffers::Exact;
  host::Walker walker(walk.watched, walk.stream.get(), walk.services.get(), options);
  auto opened = walker.open();
  if (walk.options.failSheetOpens) walk.stream.failOpen(true);
  if (!opened) return checkStatus(walk, opened.error());
  walk.report.sheetCount = static_cast<uint32_t>(walker.sheets().size());
  Checks checks(walk);
  for (size_t i = 0; i < walker.sheets().size() && i < walk.options.maxSheets; ++i) {
    auto walked = walker.walkSheet(i, checks);
    if (!walked) checkStatus(walk, walked.error());
  }
}

void setUp(Walk& walk) {
  walk.plugin.hostSlot3 = kHostSlot3;
  wzGetSSReaderInterface(&walk.plugin);
  if (walk.plugin.hostSlot3 != kHostSlot3 || walk.plugin.nullSlot5 != nullptr) {
    walk.violation("the entry-point table's host slots were not left as documented");
  }
  walk.watched = walk.plugin;
  walk.watched.GetWorkSheetInfo = &describeWatched;
  walk.watched.ProcessSheet = &processWatched;
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
  SheetItem item;
  if (walk.plugin.ProcessSheet(nullptr, &item) != -1)
    walk.violation("WZProcessSheet(null) is not -1");
  const host::StreamCalls& calls = walk.stream.calls();
  walk.report.allocations = walk.services.stats().allocations;
  walk.report.seeks = calls.seeks;
  walk.report.reads = calls.reads;
  walk.report.opens = calls.opens;
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

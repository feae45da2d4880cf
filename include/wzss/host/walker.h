// The host's side of the call order, over any SSReaderInterface table (one
// loaded with Plugin, or the statically linked wzGetSSReaderInterface):
// allocate a reader over a document stream, take the sheet list, and for
// each sheet open it, pump it to the end and close it, handing every item to
// a visitor as a typed C++ value.
//
// Every text it hands out (sheet names, cell texts, font names, object size
// texts) is UTF-8, converted from the encoding the header line names (or
// WalkOptions::encoding); what it had to assume or replace on the way is in
// warnings().
//
// The walker plays the host's part of the contract: it hands out the text
// buffers of callback op 0 (as WalkOptions::textBuffers chooses), numbers
// the fills of op 2 (1, 2, ... in the order the sheet registers them) and
// owns every object descriptor and object stream the plug-in delivers until
// the visitor takes them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "wzss/host/text_encoding.h"
#include "wzss/reader_abi.h"

namespace wzss::host {

// ---------------------------------------------------------------------------
// Results
// ---------------------------------------------------------------------------

enum class WalkErrorKind {
  BadTable,            // the table lacks an entry point the walk needs
  ReaderNotAllocated,  // WZAllocateReader returned null (memory)
  NotAWorkbook,        // the first pass refused the file and found no sheet
  NotOpened,           // walkSheet or walkAll before a successful open()
  NoSuchSheet,         // sheet index outside the sheet list
  SheetNotOpened,      // WZInitSheet returned null
  SheetLost,           // WZProcessSheet returned -1
  UnknownItem,         // an item type the contract does not know
  TooManyItems,        // the sheet passed WalkOptions::maxItemsPerSheet
  ForeignText,         // a cell text pointer the host never handed out
};

struct WalkError {
  WalkErrorKind kind;
  std::string message;
};

// What the walk had to assume or repair, or found damaged, while the
// workbook could still be read: the outputs are made, and a host decides
// whether to trust them.
enum class WarningKind {
  Encoding,            // an unknown encoding assumed, or bytes no text of it replaced
  NoFinalLineFeed,     // the last line has no line feed: the file may be cut off
  IncompleteWorkbook,  // the first pass failed after a partial sheet list; that list is walked
  NoSheet,             // the workbook has no sheet at all
  TextCut,             // cell texts cut: lines beyond the reader's buffers, or a buffer refused
};

struct Warning {
  WarningKind kind;
  std::string message;  // one sentence, for the user
};

// A value or the error that prevented it.
template <class T>
class Result {
 public:
  Result(T value) : state_(std::move(value)) {}  // NOLINT: implicit by design
  Result(WalkError error) : state_(std::move(error)) {}  // NOLINT

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }
  T& value() { return std::get<0>(state_); }
  const T& value() const { return std::get<0>(state_); }
  const WalkError& error() const { return std::get<1>(state_); }

 private:
  std::variant<T, WalkError> state_;
};

using Status = Result<std::monostate>;

// ---------------------------------------------------------------------------
// Items
// ---------------------------------------------------------------------------

struct Font {
  std::string name;
  uint32_t size = 0;
  bool bold = false;
  bool italic = false;
  bool underline = false;
  uint8_t charSet = 0;
  uint8_t pitchAndFamily = 0;
};

struct BorderSide {
  uint8_t style = 0;
  uint32_t color = 0;
};

struct Borders {
  BorderSide left, top, right, bottom;
};

// Type 10: always the first item of a sheet.
struct Settings {
  uint32_t settingsCode = 0;
  uint32_t maxRow = 0;
  uint32_t maxColumn = 0;
  uint32_t presetA = 0, presetB = 0;
  uint32_t defaultColumnWidth = 0;
  uint32_t defaultFontHeight = 0;
  uint32_t presetC = 0, presetD = 0, presetE = 0, presetF = 0, presetG = 0;
  uint32_t hasFont = 0;
  Font font;
  int32_t hasFill = 0;
  uint32_t presetH = 0;
  // Not in the item: what the walker read of the sheet's view section
  // (WalkOptions::placeEmptyCells). Output rows 1 to titleRows and columns
  // 1 to titleColumns are the sheet's title lines.
  uint32_t titleRows = 0;
  uint32_t titleColumns = 0;
};

// Type 16: always the second item.
struct Option {
  uint32_t option = 0;
};

// Types 12 and 11: a run sharing one height or width; size 0 is hidden.
struct RowRun {
  uint32_t first = 0, last = 0, size = 0;
};
struct ColumnRun {
  uint32_t first = 0, last = 0, size = 0;
};

// Type 15. A formatted empty cell (hasFont 0, no text) carries only its
// fill and border; the plug-in gives it at its file address, which the
// walker turns into output numbering unless told not to.
struct Cell {
  uint32_t column = 0;  // output numbering
  uint32_t row = 0;
  std::optional<std::string> text;  // absent when the item's text is null
  uint32_t textLength = 0;          // as the item gives it: length + 1, or 0
  uint16_t align = 0;
  uint32_t backColor = 0;
  uint32_t textColor = 0;
  uint32_t hasBorder = 0;
  Borders borders;  // meaningful when hasBorder is non-zero
  uint32_t hasFont = 0;
  Font font;        // meaningful when hasFont is 1
  int32_t hasFill = 0;
  std::optional<FillInfo> fill;  // the registered fill that hasFill numbers
  uint8_t cellFlag = 0;
  uint32_t cellKind = 0;
  uint32_t cellExtra = 0;
};

// An object's descriptor and its content stream, both the host's once the
// item is delivered. This handle releases them (Release on the stream, Free
// on the descriptor) when it is destroyed, unless take() handed them on.
// A plug-in object stream reads through its sheet: use and release it
// before the next item of that sheet is pulled.
class ObjectContent {
 public:
  ObjectContent() = default;
  ObjectContent(HostServices* services, ObjectDescriptor* descriptor,
                std::shared_ptr<TextDecoder> decoder = nullptr)
      : services_(services), descriptor_(descriptor), decoder_(std::move(decoder)) {}
  ObjectContent(ObjectContent&& other) noexcept
      : services_(other.services_),
        descriptor_(std::exchange(other.descriptor_, nullptr)),
        decoder_(std::move(other.decoder_)) {}
  ObjectContent& operator=(ObjectContent&& other) noexcept;
  ObjectContent(const ObjectContent&) = delete;
  ObjectContent& operator=(const ObjectContent&) = delete;
  ~ObjectContent() { reset(); }

  ObjectDescriptor* descriptor() const { return descriptor_; }
  // The drawing (or linked file) stream, or null.
  StreamInterface* stream() const { return descriptor_ ? descriptor_->content : nullptr; }
  // Hands the descriptor, and the stream in it, to the caller.
  ObjectDescriptor* take() { return std::exchange(descriptor_, nullptr); }
  void reset();
  // contentSizeText of the stream, in UTF-8.
  std::optional<std::string> sizeText() const;

 private:
  HostServices* services_ = nullptr;
  ObjectDescriptor* descriptor_ = nullptr;
  std::shared_ptr<TextDecoder> decoder_;
};

// Type 17.
struct Object {
  uint32_t objectKind = 0;
  uint32_t topColumn = 0, topRow = 0;
  uint32_t bottomColumn = 0, bottomRow = 0;
  int32_t topX = 0, topY = 0;
  int32_t bottomX = 0, bottomY = 0;
  uint32_t hasBorder = 0;
  Borders borders;
  uint32_t word156 = 0;
  // Copied from the descriptor, when there is one.
  bool hasDescriptor = false;
  uint32_t descriptorKind = 0;
  uint32_t frameStyle = 0;
  uint32_t frameColor = 0;
  uint32_t descriptorPreset = 0;
  ObjectContent content;
};

using Item = std::variant<Settings, Option, RowRun, ColumnRun, Cell, Object>;

// ---------------------------------------------------------------------------
// Walking
// ---------------------------------------------------------------------------

struct SheetInfo {
  uint32_t number = 0;  // from 1, in sheet-list order
  std::string name;
  uint32_t nameLength = 0;
  uint32_t kind = 0;
  uint32_t viewPos = 0;
};

struct SheetStats {
  uint64_t items = 0;
  uint64_t textBuffers = 0;  // callback op 0 requests
  uint64_t fills = 0;        // callback op 2 registrations
  // Cell texts longer than their buffer or with no end in it, or refused one.
  uint64_t textsCut = 0;
  uint64_t largestTextBuffer = 0;  // bytes of the largest op 0 request
  // Callback calls outside the contract: an unknown op, a non-zero fourth
  // argument, a fill without its record, a buffer of no bytes.
  uint64_t strayCalls = 0;
};

// How the walker answers the plug-in's text buffer requests (callback op 0).
enum class TextBuffers {
  // From a per-sheet arena reused from item to item: the fewest allocations.
  Reused,
  // Each exactly as large as asked, its bytes set non-zero, and freed once
  // its item is handed on: a memory checker then catches a plug-in that
  // writes past a buffer or into an earlier item's, and an unterminated
  // text is counted as cut.
  Exact,
  // Every request refused: cells come without text (counted as cut), as a
  // host short of memory may answer.
  Refused,
};

class SheetVisitor {
 public:
  virtual ~SheetVisitor() = default;
  // Walker::walkAll: the sheet list before the first sheet, and whether a
  // sheet is walked at all (a sheet not wanted is never opened).
  virtual void beginWorkbook(const std::vector<SheetInfo>&) {}
  virtual bool wants(const SheetInfo&) { return true; }
  virtual void beginSheet(const SheetInfo&) {}
  // Return false to stop pulling items; the sheet is closed as usual.
  virtual bool item(const SheetInfo& sheet, Item& item) = 0;
  // After the last item, while the sheet is still open: object content
  // taken from earlier items may still be read here. Not called when the
  // walk of the sheet ends in an error.
  virtual void endSheet(const SheetInfo&, const SheetStats&) {}
};

struct WalkOptions {
  uint32_t readerFlags = 0;        // bit 0: no object items
  uint32_t sheetFlags = 0;         // bit 0: no object streams
  uint64_t maxItemsPerSheet = 0;   // 0: no limit
  // False: cells carry their position, text, alignment, colours and the
  // hasFont, hasBorder and hasFill flags, but not the font, borders and fill
  // themselves (a CSV needs no more).
  bool cellStyles = true;
  // The encoding of the workbook's texts; empty: the one the header names.
  std::string encoding;
  // open() reads the document once more for damage the plug-in cannot
  // report (a missing last line feed, lines of cell data beyond its line
  // buffers); false skips that read.
  bool surveyDocument = true;
  // The plug-in numbers content cells with the sheet's title lines first
  // but gives formatted empty cells at their file addresses, and never says
  // which lines are titles. True: the walker reads each sheet's view section
  // for its title lines, numbers formatted empty cells as content cells are
  // numbered and fills Settings::titleRows and titleColumns. False: items
  // as the plug-in gives them.
  bool placeEmptyCells = true;
  TextBuffers textBuffers = TextBuffers::Reused;
};

class Walker {
 public:
  // The table must outlive the walker; the document stream and the services
  // stay the caller's.
  Walker(const SSReaderInterface& table, StreamInterface* document, HostServices* services,
         WalkOptions options = {});
  ~Walker();
  Walker(const Walker&) = delete;
  Walker& operator=(const Walker&) = delete;

  // Allocates the reader and runs the first pass; returns the sheet list.
  // A failed open leaves the walker as it was made, so it may be retried.
  Result<std::vector<SheetInfo>> open();
  const std::vector<SheetInfo>& sheets() const { return sheets_; }
  // What the walk had to assume or repair, or found damaged, so far (an
  // unknown encoding, bytes replaced by U+FFFD, a cut-off file, no sheet,
  // cut texts), in the order found; warnings() gives the sentences alone.
  std::vector<Warning> warningList() const;
  std::vector<std::string> warnings() const;

  // One sheet by index (from 0) into sheets(); open() must have succeeded.
  Result<SheetStats> walkSheet(size_t index, SheetVisitor& visitor);
  // Every sheet the visitor wants, in order; stops at the first error.
  Status walkAll(SheetVisitor& visitor);

 private:
  struct Session;
  void chooseEncoding();
  Result<std::vector<SheetInfo>> describe();
  void surveyDocument();
  void warn(WarningKind kind, std::string message);
  static intptr_t callback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero);

  const SSReaderInterface& table_;
  StreamInterface* document_;
  HostServices* services_;
  WalkOptions options_;
  WorkbookReader* reader_ = nullptr;
  std::vector<SheetInfo> sheets_;
  // Shared with the object content handed out, which may outlive a sheet.
  std::shared_ptr<TextDecoder> decoder_;
  std::vector<Warning> warnings_;
};

// ---------------------------------------------------------------------------
// Object content
// ---------------------------------------------------------------------------

// Reads a content stream from its start, one line at a time (the line
// without its line feed; lastHasNewline false for a final unterminated
// line). When the stream has a line filter, each line goes through it with
// mode 2 in a buffer of at least WZSS_FILTER_LINE_MIN bytes, so the page-size
// line arrives as the object's size text. False when Open fails.
bool readContentLines(StreamInterface* content,
                      const std::function<void(std::string_view line, bool newline)>& onLine);

// The object's size text: what the filter makes of a page-size line, as
// the plug-in gives it (ObjectContent::sizeText gives it in UTF-8).
// Absent when the stream has no filter or cannot be opened.
std::optional<std::string> contentSizeText(StreamInterface* content);

}  // namespace wzss::host

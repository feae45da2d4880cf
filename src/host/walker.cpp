#include "wzss/host/walker.h"

#include "document_survey.h"
#include "wzss/host/title_lines.h"

#include <algorithm>
#include <cstring>

namespace wzss::host {
namespace {

// Largest text buffer the walker hands out: a display text is one cell's
// value with its continuation lines, far below this; anything larger is a
// request the walker answers with null, as the contract allows.
constexpr intptr_t kMaxTextBuffer = intptr_t{1} << 30;
// Largest content stream readContentLines reads when the stream gives no length.
constexpr uint64_t kMaxUnsizedContent = uint64_t{1} << 30;
constexpr size_t kReadChunk = 64 * 1024;
constexpr int32_t kFilterReplacePageSize = 2;
// The header line is far shorter; the encoding name is all the walker reads of it.
constexpr size_t kMaxHeaderLine = 256;

WalkError failure(WalkErrorKind kind, std::string message) { return {kind, std::move(message)}; }

std::string sheetLabel(const SheetInfo& sheet) {
  return "sheet " + std::to_string(sheet.number) + " (\"" + sheet.name + "\")";
}

// Into an existing font, whose name keeps its storage; cells mostly repeat
// the typeface of the cell before.
void assignFont(const FontRecord& record, TextDecoder& decoder, Font& font) {
  decoder.assign(std::string_view(record.name, strnlen(record.name, sizeof record.name)),
                 font.name);
  font.size = record.size;
  font.bold = record.bold != 0;
  font.italic = record.italic != 0;
  font.underline = record.underline != 0;
  font.charSet = record.charSet;
  font.pitchAndFamily = record.pitchAndFamily;
}

Font fontOf(const FontRecord& record, TextDecoder& decoder) {
  Font font;
  assignFont(record, decoder, font);
  return font;
}

template <class Record>
Borders bordersOf(const Record& r) {
  return Borders{{r.leftStyle, r.leftColor},
                 {r.topStyle, r.topColor},
                 {r.rightStyle, r.rightColor},
                 {r.bottomStyle, r.bottomColor}};
}

Settings settingsOf(const SheetItemSettings& s, TextDecoder& decoder) {
  Settings out;
  out.settingsCode = s.settingsCode;
  out.maxRow = s.maxRow;
  out.maxColumn = s.maxColumn;
  out.presetA = s.presetA;
  out.presetB = s.presetB;
  out.defaultColumnWidth = s.defaultColumnWidth;
  out.defaultFontHeight = s.defaultFontHeight;
  out.presetC = s.presetC;
  out.presetD = s.presetD;
  out.presetE = s.presetE;
  out.presetF = s.presetF;
  out.presetG = s.presetG;
  out.hasFont = s.hasFont;
  out.font = fontOf(s.font, decoder);
  out.hasFill = s.hasFill;
  out.presetH = s.presetH;
  return out;
}

// The first line of the document, read through its own Open and Close
// before the plug-in's first pass; empty when the stream gives nothing.
std::string headerLine(StreamInterface* document) {
  std::string line;
  if (document == nullptr || document->Open == nullptr || document->Read == nullptr ||
      document->Open(document) == 0)
    return line;
  char chunk[kMaxHeaderLine];
  while (line.size() < kMaxHeaderLine && line.find('\n') == std::string::npos) {
    const int got =
        document->Read(document, chunk, static_cast<int32_t>(kMaxHeaderLine - line.size()));
    if (got <= 0) break;
    line.append(chunk, static_cast<size_t>(std::min<int>(got, sizeof chunk)));
  }
  if (document->Close != nullptr) document->Close(document);
  return line.substr(0, line.find('\n'));
}

// A name from the file, for a message on a terminal: bytes outside
// printable ASCII as \xHH.
std::string printable(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      out += c;
    } else {
      constexpr char kHex[] = "0123456789abcdef";
      out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 0xF]};
    }
  }
  return out;
}

}  // namespace

// ---------------------------------------------------------------------------
// One open sheet: the buffers and fills of the sheet callback
// ---------------------------------------------------------------------------

struct Walker::Session {
  Session(TextDecoder& textDecoder, TextBuffers mode) : decoder(textDecoder), mode(mode) {}
  TextDecoder& decoder;
  const TextBuffers mode;
  // A cell needs a buffer, and its text is copied out before the next item;
  // Reused keeps the buffers until the sheet is closed, Exact frees them
  // when the next item is pulled.
  std::vector<std::unique_ptr<char[]>> buffers;
  std::vector<uint32_t> capacities;
  size_t used = 0;  // buffers handed out for the current item
  std::vector<FillInfo> fills;
  SheetStats stats;

  void startItem() {
    if (mode == TextBuffers::Exact) {
      buffers.clear();
      capacities.clear();
    }
    used = 0;
  }

  char* textBuffer(intptr_t size) {
    ++stats.textBuffers;
    if (size <= 0) ++stats.strayCalls;
    if (size <= 0 || size > kMaxTextBuffer) return nullptr;
    const auto need = static_cast<uint32_t>(size);
    stats.largestTextBuffer = std::max<uint64_t>(stats.largestTextBuffer, need);
    if (mode == TextBuffers::Refused) return nullptr;
    if (used == buffers.size()) {
      buffers.emplace_back();
      capacities.push_back(0);
    }
    if (mode == TextBuffers::Exact) {
      buffers[used] = std::make_unique_for_overwrite<char[]>(need);
      // Not zero, so that a byte the plug-in never wrote ends no text.
      std::memset(buffers[used].get(), 0xAA, need);
      capacities[used] = need;
    } else if (capacities[used] < need) {
      // Grow to a power of two so a sheet settles on a few buffers quickly.
      uint32_t capacity = 64;
      while (capacity < need) capacity *= 2;
      buffers[used] = std::make_unique<char[]>(capacity);
      capacities[used] = capacity;
    }
    return buffers[used++].get();
  }

  int32_t registerFill(const FillInfo& fill) {
    ++stats.fills;
    fills.push_back(fill);
    return static_cast<int32_t>(fills.size());
  }

  // The text of a buffer handed out for this item, read no further than the
  // item's length and the buffer's capacity (a longer length, or no end
  // within the buffer, is counted as a cut text), into out; false when text
  // is no such buffer.
  bool copyText(const char* text, uint32_t length, std::optional<std::string>& out) {
    for (size_t i = 0; i < used; ++i) {
      if (buffers[i].get() != text) continue;
      if (length > capacities[i] || strnlen(text, capacities[i]) == capacities[i])
        ++stats.textsCut;
      const size_t size = strnlen(text, std::min<size_t>(length, capacities[i]));
      if (!out) out.emplace();
      decoder.decode(std::string_view(text, size), *out);
      return true;
    }
    return false;
  }

  std::optional<FillInfo> fillNumbered(int32_t number) const {
    if (number < 1 || static_cast<size_t>(number) > fills.size()) return std::nullopt;
    return fills[static_cast<size_t>(number) - 1];
  }
};

intptr_t Walker::callback(uintptr_t cookie, int32_t op, intptr_t argument, intptr_t zero) {
  auto& session = *reinterpret_cast<Session*>(cookie);
  if (zero != 0) ++session.stats.strayCalls;
  switch (op) {
    case WZSS_CALLBACK_TEXT_BUFFER: return reinterpret_cast<intptr_t>(session.textBuffer(argument));
    case WZSS_CALLBACK_FILL:
      if (argument != 0) return session.registerFill(*reinterpret_cast<const FillInfo*>(argument));
      [[fallthrough]];
    default: ++session.stats.strayCalls; return 0;
  }
}

// ---------------------------------------------------------------------------
// Object content
// ---------------------------------------------------------------------------

ObjectContent& ObjectContent::operator=(ObjectContent&& other) noexcept {
  if (this != &other) {
    reset();
    services_ = other.services_;
    descriptor_ = std::exchange(other.descriptor_, nullptr);
  }
  return *this;
}

void ObjectContent::reset() {
  if (descriptor_ == nullptr) return;
  StreamInterface* stream = descriptor_->content;
  if (stream != nullptr && stream->Release != nullptr) stream->Release(stream);
  if (services_ != nullptr) services_->allocator.Free(&services_->allocator, descriptor_);
  descriptor_ = nullptr;
}

bool readContentLines(StreamInterface* content,
                      const std::function<void(std::string_view line, bool newline)>& onLine) {
  if (content == nullptr || content->Open == nullptr || content->Read == nullptr) return false;
  if (content->Open(content) == 0) return false;
  const uint64_t limit = content->streamLength != 0 ? content->streamLength : kMaxUnsizedContent;
  std::string bytes;
  std::vector<char> chunk(kReadChunk);
  while (bytes.size() < limit) {
    const auto want = static_cast<int32_t>(std::min<uint64_t>(chunk.size(), limit - bytes.size()));
    const int got = content->Read(content, chunk.data(), want);
    if (got <= 0) break;
    bytes.append(chunk.data(), static_cast<size_t>(std::min(got, want)));
  }
  // The filter works on the entry of the stream opened last, so it runs
  // while this stream is still the open one.
  std::vector<char> line;
  size_t start = 0;
  while (start < bytes.size()) {
    const size_t end = bytes.find('\n', start);
    const bool newline = end != std::string::npos;
    const size_t length = (newline ? end : bytes.size()) - start;
    if (content->FilterLine == nullptr) {
      onLine(std::string_view(bytes).substr(start, length), newline);
    } else {
      line.assign(std::max<size_t>(length + 1, WZSS_FILTER_LINE_MIN), '\0');
      std::memcpy(line.data(), bytes.data() + start, length);
      const char* used = content->FilterLine(content, line.data(), kFilterReplacePageSize);
      if (used == nullptr) used = line.data();
      // The filter returns the line itself or a NUL-terminated replacement.
      const size_t usedLength =
          used == line.data() ? strnlen(used, line.size()) : std::strlen(used);
      onLine(std::string_view(used, usedLength), newline);
    }
    start += length + (newline ? 1 : 0);
  }
  if (content->Close != nullptr) content->Close(content);
  return true;
}

std::optional<std::string> ObjectContent::sizeText() const {
  auto text = contentSizeText(stream());
  if (text && decoder_ != nullptr) decoder_->decode(std::string(*text), *text);
  return text;
}

std::optional<std::string> contentSizeText(StreamInterface* content) {
  if (content == nullptr || content->FilterLine == nullptr || content->Open == nullptr)
    return std::nullopt;
  if (content->Open(content) == 0) return std::nullopt;
  char line[WZSS_FILTER_LINE_MIN + 4] = "KD_PAGESIZE";
  const char* used = content->FilterLine(content, line, kFilterReplacePageSize);
  std::string text = used != nullptr ? std::string(used, strnlen(used, sizeof line)) : line;
  if (content->Close != nullptr) content->Close(content);
  return text;
}

// ---------------------------------------------------------------------------
// The walk
// ---------------------------------------------------------------------------

Walker::Walker(const SSReaderInterface& table, StreamInterface* document, HostServices* services,
               WalkOptions options)
    : table_(table), document_(document), services_(services), options_(options) {}

Walker::~Walker() {
  if (reader_ != nullptr) table_.CloseReader(reader_);
}

std::vector<Warning> Walker::warningList() const {
  std::vector<Warning> all = warnings_;
  if (decoder_ != nullptr && decoder_->invalidSequences() != 0)
    all.push_back({WarningKind::Encoding, std::to_string(decoder_->invalidSequences()) +
                                              " byte(s) not valid in " + decoder_->encoding() +
                                              " replaced by U+FFFD"});
  if (decoder_ != nullptr && decoder_->outsideAscii() != 0)
    all.push_back(
        {WarningKind::Encoding, std::to_string(decoder_->outsideAscii()) +
                                    " byte(s) above 0x7F in texts of an ASCII workbook read as " +
                                    decoder_->encoding()});
  return all;
}

std::vector<std::string> Walker::warnings() const {
  std::vector<std::string> sentences;
  for (Warning& warning : warningList()) sentences.push_back(std::move(warning.message));
  return sentences;
}

void Walker::warn(WarningKind kind, std::string message) {
  warnings_.push_back({kind, std::move(message)});
}

// The encoding asked for, else the header's; an unknown or missing name is
// read as the fallback, which maps every byte, and said so.
void Walker::chooseEncoding() {
  const bool asked = !options_.encoding.empty();
  const std::string name = asked ? options_.encoding : headerEncodingName(headerLine(document_));
  decoder_ = std::make_shared<TextDecoder>(name);
  if (decoder_->known()) return;
  const std::string fallback = "texts are read as " + decoder_->encoding();
  if (name.empty())
    warn(WarningKind::Encoding, "the header names no encoding: " + fallback);
  else
    warn(WarningKind::Encoding, std::string(asked ? "the" : "the header's") + " encoding \"" +
                                    printable(name) + "\" is unknown: " + fallback);
}

Result<std::vector<SheetInfo>> Walker::open() {
  if (reader_ != nullptr) return sheets_;
  if (table_.AllocateReader == nullptr || table_.CloseReader == nullptr ||
      table_.GetWorkSheetInfo == nullptr || table_.InitSheet == nullptr ||
      table_.ProcessSheet == nullptr || table_.CloseSheet == nullptr)
    return failure(WalkErrorKind::BadTable, "the plug-in's entry-point table is incomplete");
  auto described = describe();
  if (!described) {
    // As new: a reader left set would make the next open() succeed with an
    // empty sheet list.
    if (reader_ != nullptr) table_.CloseReader(reader_);
    reader_ = nullptr;
    sheets_.clear();
    decoder_.reset();
    warnings_.clear();
  }
  return described;
}

// The first pass through the plug-in, and what the host sees of the
// document's damage besides.
Result<std::vector<SheetInfo>> Walker::describe() {
  chooseEncoding();
  reader_ = table_.AllocateReader(nullptr, 0, document_, services_, 0, options_.readerFlags);
  if (reader_ == nullptr)
    return failure(WalkErrorKind::ReaderNotAllocated, "the plug-in could not allocate a reader");

  WorkbookInfo info{};
  const int32_t described = table_.GetWorkSheetInfo(reader_, &info, 0);
  if (described == 0 && info.sheets == nullptr)
    return failure(WalkErrorKind::NotAWorkbook, "not a workbook of this format");

  for (uint32_t i = 0; info.sheets != nullptr && i < info.sheetCount; ++i) {
    const SheetEntry& entry = info.sheets[i];
    SheetInfo sheet;
    sheet.number = i + 1;
    decoder_->decode(std::string_view(entry.name, strnlen(entry.name, sizeof entry.name)),
                     sheet.name);
    sheet.nameLength = entry.nameLength;
    sheet.kind = entry.kind;
    sheet.viewPos = entry.viewPos;
    sheets_.push_back(std::move(sheet));
  }
  if (described == 0)
    warn(WarningKind::IncompleteWorkbook,
         "the workbook's prologue could not be read to its end: only the " +
             std::to_string(sheets_.size()) + " sheet(s) listed before the damage are read");
  if (sheets_.empty()) warn(WarningKind::NoSheet, "the workbook has no sheet");
  if (options_.surveyDocument) surveyDocument();
  return sheets_;
}

void Walker::surveyDocument() {
  const DocumentSurvey survey = host::surveyDocument(document_);
  if (!survey.endsWithLineFeed)
    warn(WarningKind::NoFinalLineFeed, "the last line has no line feed: the file may be cut off");
  if (survey.longCellLines != 0)
    warn(WarningKind::TextCut,
         std::to_string(survey.longCellLines) +
             " line(s) of cell data longer than the plug-in's line buffer (the first is line " +
             std::to_string(survey.firstLongLine) + "): the end of their text is cut");
}

namespace {

// Closes the sheet however the walk ends, visitor exceptions included.
struct OpenSheet {
  const SSReaderInterface& table;
  SheetReader* sheet;
  ~OpenSheet() { table.CloseSheet(sheet); }
};

}  // namespace

Result<SheetStats> Walker::walkSheet(size_t index, SheetVisitor& visitor) {
  if (reader_ == nullptr)
    return failure(WalkErrorKind::NotOpened, "the workbook has not been opened (call open first)");
  if (index >= sheets_.size())
    return failure(WalkErrorKind::NoSuchSheet, "no sheet " + std::to_string(index + 1) +
                                                   " (the workbook has " +
                                                   std::to_string(sheets_.size()) + ")");
  const SheetInfo& info = sheets_[index];
  // Read before the sheet is opened: the plug-in shares the stream's position.
  std::optional<TitleLines> titles;
  if (options_.placeEmptyCells) titles = TitleLines::read(document_, info.viewPos);
  bool titlesSettled = false;
  Session session(*decoder_, options_.textBuffers);
  SheetReader* sheet = table_.InitSheet(reader_, reinterpret_cast<uintptr_t>(&session),
                                        info.viewPos, &Walker::callback, options_.sheetFlags);
  if (sheet == nullptr)
    return failure(WalkErrorKind::SheetNotOpened, sheetLabel(info) + " cannot be opened");
  OpenSheet guard{table_, sheet};

  visitor.beginSheet(info);
  // One record for the whole sheet: the plug-in leaves fields of earlier
  // items in it on purpose (formatted empty cells rely on that).
  SheetItem raw{};
  // One item for the whole sheet too: a cell is written over the previous
  // cell, so that its strings keep their storage. It dies before the sheet
  // is closed.
  Item item;
  for (;;) {
    session.startItem();
    const int32_t more = table_.ProcessSheet(sheet, &raw);
    if (more < 0)
      return failure(WalkErrorKind::SheetLost, sheetLabel(info) + " was lost by the plug-in");
    if (more != 0) break;
    ++session.stats.items;
    if (options_.maxItemsPerSheet != 0 && session.stats.items > options_.maxItemsPerSheet)
      return failure(WalkErrorKind::TooManyItems, sheetLabel(info) + " yields more than " +
                                                      std::to_string(options_.maxItemsPerSheet) +
                                                      " items");

    switch (raw.itemType) {
      case WZSS_ITEM_SETTINGS: {
        Settings& settings = item.emplace<Settings>(settingsOf(raw.settings, *decoder_));
        if (titles) {
          titles->setExtent(settings.maxRow, settings.maxColumn);
          titlesSettled = true;
          settings.titleRows = titles->rows();
          settings.titleColumns = titles->columns();
        }
        break;
      }
      case WZSS_ITEM_OPTION: item = Option{raw.option.option}; break;
      case WZSS_ITEM_ROW_RUN: item = RowRun{raw.run.first, raw.run.last, raw.run.size}; break;
      case WZSS_ITEM_COLUMN_RUN: item = ColumnRun{raw.run.first, raw.run.last, raw.run.size}; break;
      case WZSS_ITEM_CELL: {
        const SheetItemCell& c = raw.cell;
        auto* reused = std::get_if<Cell>(&item);
        Cell& cell = reused != nullptr ? *reused : item.emplace<Cell>();
        cell.column = c.column;
        cell.row = c.row;
        if (c.hasFont == 0 && titlesSettled) {  // a formatted empty cell, at its file address
          cell.column = static_cast<uint32_t>(titles->outputColumn(static_cast<int32_t>(c.column)));
          cell.row = static_cast<uint32_t>(titles->outputRow(static_cast<int32_t>(c.row)));
        }
        cell.textLength = c.textLength;
        if (c.text == nullptr) {
          // A length without a text: the buffer it needed was refused.
          if (c.textLength != 0) ++session.stats.textsCut;
          cell.text.reset();
        } else if (!session.copyText(c.text, c.textLength, cell.text)) {
          return failure(WalkErrorKind::ForeignText,
                         sheetLabel(info) + ": a cell's text is no buffer the host handed out");
        }
        cell.align = c.align;
        cell.backColor = c.backColor;
        cell.textColor = c.textColor;
        cell.hasBorder = c.hasBorder;
        cell.hasFont = c.hasFont;
        cell.hasFill = c.hasFill;
        if (options_.cellStyles) {
          cell.borders = bordersOf(c);
          assignFont(c.font, *decoder_, cell.font);
          cell.fill = session.fillNumbered(c.hasFill);
        }
        cell.cellFlag = c.cellFlag;
        cell.cellKind = c.cellKind;
        cell.cellExtra = c.cellExtra;
        break;
      }
      case WZSS_ITEM_OBJECT: {
        const SheetItemObject& o = raw.object;
        Object object;
        object.objectKind = o.objectKind;
        object.topColumn = o.topColumn;
        object.topRow = o.topRow;
        object.bottomColumn = o.bottomColumn;
        object.bottomRow = o.bottomRow;
        object.topX = o.topX;
        object.topY = o.topY;
        object.bottomX = o.bottomX;
        object.bottomY = o.bottomY;
        object.hasBorder = o.hasBorder;
        object.borders = bordersOf(o);
        object.word156 = o.word156;
        if (o.descriptor != nullptr) {
          const ObjectDescriptor& d = *o.descriptor;
          object.hasDescriptor = true;
          object.descriptorKind = d.descriptorKind;
          object.frameStyle = d.frameStyle;
          object.frameColor = d.frameColor;
          object.descriptorPreset = d.descriptorPreset;
          object.content = ObjectContent(services_, o.descriptor, decoder_);
        }
        item = std::move(object);
        break;
      }
      default:
        return failure(WalkErrorKind::UnknownItem,
                       sheetLabel(info) + ": unknown item type " + std::to_string(raw.itemType));
    }
    const bool goOn = visitor.item(info, item);
    // Object content the visitor left in the item is released before the
    // next pull.
    if (std::holds_alternative<Object>(item)) item.emplace<Option>();
    if (!goOn) break;
  }
  visitor.endSheet(info, session.stats);
  if (session.stats.textsCut != 0)
    warn(WarningKind::TextCut, sheetLabel(info) + ": " + std::to_string(session.stats.textsCut) +
                                   " cell text(s) cut to their buffer or left without one");
  return session.stats;
}

Status Walker::walkAll(SheetVisitor& visitor) {
  if (reader_ == nullptr)
    return failure(WalkErrorKind::NotOpened, "the workbook has not been opened (call open first)");
  visitor.beginWorkbook(sheets_);
  for (size_t i = 0; i < sheets_.size(); ++i) {
    if (!visitor.wants(sheets_[i])) continue;
    auto walked = walkSheet(i, visitor);
    if (!walked) return walked.error();
  }
  return std::monostate{};
}

}  // namespace wzss::host

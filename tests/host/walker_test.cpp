// Walker: the host's side of the call order, against a scripted reader that
// keeps its own blocks in the accounting services, so every test also
// proves that the walk leaves nothing alive.
#include "wzss/host/walker.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"

namespace wzss::host {
namespace {

// ---------------------------------------------------------------------------
// The scripted reader
// ---------------------------------------------------------------------------

struct FakeSheet;
using Step = std::function<int32_t(FakeSheet&, SheetItem*)>;

struct Script {
  std::vector<std::string> sheetNames{"One", "Two"};
  int32_t infoResult = 1;
  bool initFails = false;
  std::vector<Step> steps;  // one per ProcessSheet call; then 1
  int opens = 0, closes = 0, readerCloses = 0;
  uint32_t lastViewPos = 0;
};
Script script;  // the entry points are plain C functions: the script is global

struct FakeReader {
  HostServices* services;
  SheetEntry* sheets;
};

struct FakeSheet {
  FakeReader* reader;
  uintptr_t cookie;
  SheetCallback callback;
  size_t step;
};

void* hostAlloc(HostServices* s, uint32_t size) { return s->allocator.Alloc(&s->allocator, size); }
void hostFree(HostServices* s, void* block) { s->allocator.Free(&s->allocator, block); }

WorkbookReader* fakeAllocate(void*, intptr_t, StreamInterface*, HostServices* services, intptr_t,
                             uint32_t) {
  auto* reader = static_cast<FakeReader*>(hostAlloc(services, sizeof(FakeReader)));
  if (reader == nullptr) return nullptr;
  *reader = FakeReader{services, nullptr};
  return reinterpret_cast<WorkbookReader*>(reader);
}

void fakeCloseReader(WorkbookReader* r) {
  auto* reader = reinterpret_cast<FakeReader*>(r);
  ++script.readerCloses;
  hostFree(reader->services, reader->sheets);
  hostFree(reader->services, reader);
}

int32_t fakeInfo(WorkbookReader* r, WorkbookInfo* info, int32_t) {
  auto* reader = reinterpret_cast<FakeReader*>(r);
  const auto count = static_cast<uint32_t>(script.sheetNames.size());
  if (count > 0) {
    reader->sheets =
        static_cast<SheetEntry*>(hostAlloc(reader->services, count * sizeof(SheetEntry)));
    std::memset(reader->sheets, 0, count * sizeof(SheetEntry));
    for (uint32_t i = 0; i < count; ++i) {
      std::strcpy(reader->sheets[i].name, script.sheetNames[i].c_str());
      reader->sheets[i].nameLength = static_cast<uint32_t>(script.sheetNames[i].size());
      reader->sheets[i].kind = 16384;
      reader->sheets[i].viewPos = 100 * (i + 1);
    }
  }
  info->sheetCount = count;
  info->sheets = reader->sheets;
  return script.infoResult;
}

SheetReader* fakeInit(WorkbookReader* r, uintptr_t cookie, uint32_t viewPos, SheetCallback callback,
                      uint32_t) {
  auto* reader = reinterpret_cast<FakeReader*>(r);
  script.lastViewPos = viewPos;
  if (script.initFails) return nullptr;
  ++script.opens;
  auto* sheet = static_cast<FakeSheet*>(hostAlloc(reader->services, sizeof(FakeSheet)));
  *sheet = FakeSheet{reader, cookie, callback, 0};
  return reinterpret_cast<SheetReader*>(sheet);
}

int32_t fakeProcess(SheetReader* s, SheetItem* item) {
  auto& sheet = *reinterpret_cast<FakeSheet*>(s);
  if (sheet.step >= script.steps.size()) return 1;
  return script.steps[sheet.step++](sheet, item);
}

void fakeCloseSheet(SheetReader* s) {
  auto* sheet = reinterpret_cast<FakeSheet*>(s);
  ++script.closes;
  hostFree(sheet->reader->services, sheet);
}

SSReaderInterface fakeTable() {
  SSReaderInterface table{};
  table.AllocateReader = fakeAllocate;
  table.CloseReader = fakeCloseReader;
  table.GetWorkSheetInfo = fakeInfo;
  table.InitSheet = fakeInit;
  table.ProcessSheet = fakeProcess;
  table.CloseSheet = fakeCloseSheet;
  return table;
}

// An object stream over a fixed drawing, kept in the host's memory like the
// plug-in's own: Release frees it through the services.
constexpr const char* kDrawing =
    "*BEGIN GRAPHICS VERSION=1\nKD_PAGESIZE 0 0 9 9\nKD_LINE 1\n*END GRAPHICS\n";

int drawingOpen(StreamInterface* s) {
  s->privateB = nullptr;
  return 1;
}
int drawingRead(StreamInterface* s, void* buffer, int32_t count) {
  const auto pos = reinterpret_cast<uintptr_t>(s->privateB);
  const size_t left = std::strlen(kDrawing) - pos;
  const size_t n = std::min<size_t>(left, static_cast<size_t>(count));
  std::memcpy(buffer, kDrawing + pos, n);
  s->privateB = reinterpret_cast<void*>(pos + n);
  return static_cast<int>(n);
}
int drawingClose(StreamInterface*) { return 1; }
char* drawingFilter(StreamInterface*, char* line, int32_t mode) {
  if (mode == 2 && std::strncmp(line, "KD_PAGESIZE", 11) == 0) std::strcpy(line, "W2inH1in");
  return line;
}
void drawingRelease(StreamInterface* s) { hostFree(static_cast<HostServices*>(s->privateA), s); }

StreamInterface* makeDrawing(HostServices* services) {
  auto* s = static_cast<StreamInterface*>(hostAlloc(services, sizeof(StreamInterface)));
  std::memset(s, 0, sizeof *s);
  s->streamKind = 3;
  s->streamLength = static_cast<uint32_t>(std::strlen(kDrawing));
  s->privateA = services;
  s->Open = drawingOpen;
  s->Read = drawingRead;
  s->Close = drawingClose;
  s->FilterLine = drawingFilter;
  s->Release = drawingRelease;
  return s;
}

// ---------------------------------------------------------------------------
// Steps
// ---------------------------------------------------------------------------

Step settingsStep() {
  return [](FakeSheet&, SheetItem* item) {
    item->itemType = WZSS_ITEM_SETTINGS;
    SheetItemSettings& s = item->settings;
    s.maxRow = 30;
    s.maxColumn = 12;
    s.defaultColumnWidth = 1200;
    s.presetC = 576;
    std::strcpy(s.font.name, "Helvetica");
    s.font.italic = 1;
    s.font.pitchAndFamily = 18;
    s.hasFill = -1;
    return 0;
  };
}

Step runStep(uint32_t type, uint32_t first, uint32_t last, uint32_t size) {
  return [=](FakeSheet&, SheetItem* item) {
    item->itemType = type;
    item->run = SheetItemRun{first, last, size};
    return 0;
  };
}

// A cell whose text goes through callback op 0 and whose fill (when the
// pattern is not 0) through op 2, as the reader does it.
Step cellStep(uint32_t column, uint32_t row, std::string text, uint32_t fillPattern = 0) {
  return [=](FakeSheet& sheet, SheetItem* item) {
    item->itemType = WZSS_ITEM_CELL;
    SheetItemCell& c = item->cell;
    c.column = column;
    c.row = row;
    c.textLength = static_cast<uint32_t>(text.size() + 1);
    c.text = reinterpret_cast<char*>(sheet.callback(sheet.cookie, WZSS_CALLBACK_TEXT_BUFFER,
                                                    static_cast<intptr_t>(c.textLength), 0));
    if (c.text != nullptr) std::memcpy(c.text, text.c_str(), c.textLength);
    c.hasFill = 0;
    if (fillPattern != 0) {
      FillInfo fill{fillPattern, 25, 0x0000ff, 0xffffff};
      c.hasFill = static_cast<int32_t>(
          sheet.callback(sheet.cookie, WZSS_CALLBACK_FILL, reinterpret_cast<intptr_t>(&fill), 0));
    }
    c.align = 0x8e;
    c.hasBorder = 1;
    c.leftStyle = 5;
    c.leftColor = 0x00ff00;
    c.bottomStyle = 8;
    c.hasFont = 1;
    std::strcpy(c.font.name, "Courier");
    c.font.bold = 1;
    c.cellKind = 7;
    return 0;
  };
}

Step objectStep(bool withContent) {
  return [=](FakeSheet& sheet, SheetItem* item) {
    std::memset(item->raw, 0, sizeof item->raw);
    item->itemType = WZSS_ITEM_OBJECT;
    SheetItemObject& o = item->object;
    o.objectKind = 21;
    o.topX = 720;
    o.bottomY = -128;
    HostServices* services = sheet.reader->services;
    auto* d = static_cast<ObjectDescriptor*>(hostAlloc(services, sizeof(ObjectDescriptor)));
    std::memset(d, 0, sizeof *d);
    d->descriptorKind = 36;
    d->frameStyle = 3;
    d->content = withContent ? makeDrawing(services) : nullptr;
    o.descriptor = d;
    return 0;
  };
}

// ---------------------------------------------------------------------------
// Visitors
// ---------------------------------------------------------------------------

struct Recorder : SheetVisitor {
  std::vector<std::string> events;
  std::vector<Item> items;  // objects are recorded without their content
  std::function<bool(Item&)> onItem;
  std::function<bool(const SheetInfo&)> onWants;

  void beginWorkbook(const std::vector<SheetInfo>& sheets) override {
    events.push_back("workbook of " + std::to_string(sheets.size()));
  }
  bool wants(const SheetInfo& sheet) override { return !onWants || onWants(sheet); }
  void beginSheet(const SheetInfo& sheet) override { events.push_back("begin " + sheet.name); }
  bool item(const SheetInfo&, Item& item) override {
    const bool more = onItem ? onItem(item) : true;
    if (auto* object = std::get_if<Object>(&item)) {
      Object copy;
      copy.objectKind = object->objectKind;
      copy.topX = object->topX;
      copy.bottomY = object->bottomY;
      copy.hasDescriptor = object->hasDescriptor;
      copy.descriptorKind = object->descriptorKind;
      copy.frameStyle = object->frameStyle;
      items.emplace_back(std::move(copy));
    } else {
      items.push_back(std::visit(
          [](auto& v) -> Item {
            if constexpr (std::is_same_v<std::decay_t<decltype(v)>, Object>)
              return Object{};
            else
              return v;
          },
          item));
    }
    return more;
  }
  void endSheet(const SheetInfo& sheet, const SheetStats& stats) override {
    events.push_back("end " + sheet.name + " " + std::to_string(stats.items));
  }
};

class WalkerTest : public testing::Test {
 protected:
  void SetUp() override { script = Script{}; }
  void TearDown() override {
    walker.reset();
    EXPECT_EQ(services.stats().liveBlocks, 0u) << "blocks left alive by the walk";
    EXPECT_EQ(script.opens, script.closes) << "every opened sheet is closed";
  }
  Walker& make(WalkOptions options = {}) {
    walker = std::make_unique<Walker>(table, stream.get(), services.get(), options);
    return *walker;
  }
  // Opens the workbook and walks one sheet of the script into the recorder.
  Result<SheetStats> walk(size_t sheet = 0, WalkOptions options = {}) {
    Walker& w = make(options);
    auto sheets = w.open();
    EXPECT_TRUE(sheets) << sheets.error().message;
    return w.walkSheet(sheet, recorder);
  }
  template <class T>
  const T& item(size_t index) const {
    return std::get<T>(recorder.items.at(index));
  }

  SSReaderInterface table = fakeTable();
  MemoryStream stream{"unused by the scripted reader"};
  Services services;
  std::unique_ptr<Walker> walker;
  Recorder recorder;
};

TEST_F(WalkerTest, OpensTheSheetListAndDecodesEveryItemTypeWithItsFields) {
  script.steps = {settingsStep(),
                  [](FakeSheet&, SheetItem* item) {
                    item->itemType = WZSS_ITEM_OPTION;
                    item->option.option = 3;
                    return 0;
                  },
                  runStep(WZSS_ITEM_ROW_RUN, 10, 11, 0),
                  runStep(WZSS_ITEM_COLUMN_RUN, 2, 2, 1440),
                  cellStep(2, 3, "Total: 12"),
                  objectStep(true)};
  Walker& w = make();
  auto sheets = w.open();
  ASSERT_TRUE(sheets) << sheets.error().message;
  ASSERT_EQ(sheets.value().size(), 2u);
  const SheetInfo& two = sheets.value()[1];
  EXPECT_EQ(two.number, 2u);
  EXPECT_EQ(two.name, "Two");
  EXPECT_EQ(two.nameLength, 3u);
  EXPECT_EQ(two.kind, 16384u);
  EXPECT_EQ(two.viewPos, 200u);

  auto stats = w.walkSheet(1, recorder);
  ASSERT_TRUE(stats) << stats.error().message;
  EXPECT_EQ(stats.value().items, 6u);
  EXPECT_EQ(stats.value().textBuffers, 1u);
  EXPECT_EQ(script.lastViewPos, 200u) << "the sheet is opened at its view position";
  EXPECT_EQ(recorder.events, (std::vector<std::string>{"begin Two", "end Two 6"}));
  ASSERT_EQ(recorder.items.size(), 6u);

  const auto& settings = item<Settings>(0);
  EXPECT_EQ(settings.maxRow, 30u);
  EXPECT_EQ(settings.maxColumn, 12u);
  EXPECT_EQ(settings.defaultColumnWidth, 1200u);
  EXPECT_EQ(settings.presetC, 576u);
  EXPECT_EQ(settings.font.name, "Helvetica");
  EXPECT_TRUE(settings.font.italic);
  EXPECT_FALSE(settings.font.bold);
  EXPECT_EQ(settings.font.pitchAndFamily, 18);
  EXPECT_EQ(settings.hasFill, -1);
  EXPECT_EQ(item<Option>(1).option, 3u);
  const auto& rows = item<RowRun>(2);
  EXPECT_EQ(rows.first, 10u);
  EXPECT_EQ(rows.last, 11u);
  EXPECT_EQ(rows.size, 0u);
  EXPECT_EQ(item<ColumnRun>(3).size, 1440u);

  const auto& cell = item<Cell>(4);
  EXPECT_EQ(cell.column, 2u);
  EXPECT_EQ(cell.row, 3u);
  EXPECT_EQ(cell.text, "Total: 12");
  EXPECT_EQ(cell.textLength, 10u);
  EXPECT_EQ(cell.align, 0x8e);
  EXPECT_EQ(cell.borders.left.style, 5);
  EXPECT_EQ(cell.borders.left.color, 0x00ff00u);
  EXPECT_EQ(cell.borders.bottom.style, 8);
  EXPECT_EQ(cell.font.name, "Courier");
  EXPECT_TRUE(cell.font.bold);
  EXPECT_EQ(cell.cellKind, 7u);
  EXPECT_FALSE(cell.fill);

  const auto& object = item<Object>(5);
  EXPECT_EQ(object.objectKind, 21u);
  EXPECT_EQ(object.topX, 720);
  EXPECT_EQ(object.bottomY, -128);
  EXPECT_TRUE(object.hasDescriptor);
  EXPECT_EQ(object.descriptorKind, 36u);
  EXPECT_EQ(object.frameStyle, 3u);
}

TEST_F(WalkerTest, WithoutCellStylesACellKeepsItsTextAndStyleFlags) {
  script.steps = {cellStep(2, 3, "Total: 12", 9)};
  WalkOptions options;
  options.cellStyles = false;
  ASSERT_TRUE(walk(0, options));
  const auto& cell = item<Cell>(0);
  EXPECT_EQ(cell.text, "Total: 12");
  EXPECT_EQ(cell.align, 0x8e);
  EXPECT_NE(cell.hasBorder, 0u);
  EXPECT_EQ(cell.hasFont, 1u);
  EXPECT_EQ(cell.hasFill, 1);
  EXPECT_EQ(cell.font.name, "");
  EXPECT_EQ(cell.borders.left.style, 0);
  EXPECT_FALSE(cell.fill);
}

TEST_F(WalkerTest, FillsAreNumberedFromOnePerSheetAndCopied) {
  script.steps = {cellStep(1, 1, "a", 9), cellStep(1, 2, "b"), cellStep(1, 3, "c", 4)};
  Walker& w = make();
  ASSERT_TRUE(w.open());
  for (size_t sheet = 0; sheet < 2; ++sheet) {
    SCOPED_TRACE("sheet " + std::to_string(sheet) + ": numbering starts again");
    recorder.items.clear();
    auto stats = w.walkSheet(sheet, recorder);
    ASSERT_TRUE(stats);
    EXPECT_EQ(stats.value().fills, 2u);
    const auto& first = item<Cell>(0);
    EXPECT_EQ(first.hasFill, 1);
    ASSERT_TRUE(first.fill);
    EXPECT_EQ(first.fill->pattern, 9u);
    EXPECT_EQ(first.fill->shadePercent, 25u);
    EXPECT_EQ(first.fill->foreColor, 0x0000ffu);
    EXPECT_EQ(item<Cell>(1).hasFill, 0);
    EXPECT_FALSE(item<Cell>(1).fill);
    EXPECT_EQ(item<Cell>(2).hasFill, 2);
    ASSERT_TRUE(item<Cell>(2).fill);
    EXPECT_EQ(item<Cell>(2).fill->pattern, 4u);
  }
}

TEST_F(WalkerTest, TextBuffersAreReusedYetEachItemSeesItsOwnText) {
  const std::string longText(5000, 'x');
  script.steps = {cellStep(1, 1, "short"), cellStep(1, 2, longText), cellStep(1, 3, "")};
  ASSERT_TRUE(walk());
  EXPECT_EQ(item<Cell>(0).text, "short");
  EXPECT_EQ(item<Cell>(1).text, longText);
  EXPECT_EQ(item<Cell>(2).text, "");
}

TEST_F(WalkerTest, TheSameRecordServesEveryItemOfASheet) {
  // The plug-in relies on fields of earlier items staying in the record.
  script.steps = {cellStep(4, 4, "first"), [](FakeSheet&, SheetItem* item) {
                    item->itemType = WZSS_ITEM_CELL;
                    item->cell.text = nullptr;
                    item->cell.textLength = 0;
                    item->cell.row = 5;
                    return 0;
                  }};
  ASSERT_TRUE(walk());
  const auto& second = item<Cell>(1);
  EXPECT_EQ(second.column, 4u) << "left from the first cell";
  EXPECT_EQ(second.row, 5u);
  EXPECT_FALSE(second.text);
  EXPECT_EQ(second.font.name, "Courier");
}

TEST_F(WalkerTest, ObjectContentIsReadableDuringTheVisitAndReleasedAfterIt) {
  script.steps = {objectStep(true), objectStep(false)};
  std::vector<std::string> lines;
  std::vector<std::optional<std::string>> sizes;
  recorder.onItem = [&](Item& item) {
    StreamInterface* content = std::get<Object>(item).content.stream();
    sizes.push_back(contentSizeText(content));
    if (content != nullptr) {
      EXPECT_TRUE(readContentLines(content, [&](std::string_view line, bool newline) {
        EXPECT_TRUE(newline);
        lines.emplace_back(line);
      }));
    }
    return true;
  };
  ASSERT_TRUE(walk());
  EXPECT_EQ(lines, (std::vector<std::string>{"*BEGIN GRAPHICS VERSION=1", "W2inH1in", "KD_LINE 1",
                                             "*END GRAPHICS"}));
  EXPECT_EQ(sizes, (std::vector<std::optional<std::string>>{"W2inH1in", std::nullopt}));
  // TearDown proves the descriptors and the stream were released.
}

TEST_F(WalkerTest, ContentTakenByTheVisitorIsNotReleasedByTheWalker) {
  script.steps = {objectStep(true)};
  ObjectDescriptor* taken = nullptr;
  recorder.onItem = [&](Item& item) {
    taken = std::get<Object>(item).content.take();
    return true;
  };
  Walker& w = make();
  ASSERT_TRUE(w.open());
  const uint64_t before = services.stats().liveBlocks;
  ASSERT_TRUE(w.walkSheet(0, recorder));
  ASSERT_NE(taken, nullptr);
  EXPECT_EQ(services.stats().liveBlocks, before + 2) << "descriptor and stream still alive";
  taken->content->Release(taken->content);
  services.free(taken);
}

TEST_F(WalkerTest, VisitorCanStopASheetWhichIsStillClosed) {
  script.steps = {settingsStep(), cellStep(1, 1, "a"), cellStep(1, 2, "b")};
  recorder.onItem = [](Item& item) { return !std::holds_alternative<Cell>(item); };
  auto stats = walk();
  ASSERT_TRUE(stats);
  EXPECT_EQ(stats.value().items, 2u) << "the third item is never pulled";
  EXPECT_EQ(script.closes, 1);
}

TEST_F(WalkerTest, WalkAllVisitsEveryWantedSheetInOrder) {
  script.sheetNames = {"A", "B", "C"};
  script.steps = {settingsStep()};
  Walker& w = make();
  ASSERT_TRUE(w.open());
  ASSERT_TRUE(w.walkAll(recorder));
  EXPECT_EQ(recorder.events,
            (std::vector<std::string>{"workbook of 3", "begin A", "end A 1", "begin B", "end B 1",
                                      "begin C", "end C 1"}));
  // A sheet the visitor does not want is never opened.
  Recorder choosy;
  choosy.onWants = [](const SheetInfo& sheet) { return sheet.name == "B"; };
  const int opened = script.opens;
  ASSERT_TRUE(w.walkAll(choosy));
  EXPECT_EQ(choosy.events, (std::vector<std::string>{"workbook of 3", "begin B", "end B 1"}));
  EXPECT_EQ(script.opens, opened + 1);
}

TEST_F(WalkerTest, WorkbookWithoutSheetsOpensEmpty) {
  script.sheetNames = {};
  Walker& w = make();
  auto sheets = w.open();
  ASSERT_TRUE(sheets);
  EXPECT_TRUE(sheets.value().empty());
  EXPECT_TRUE(w.walkAll(recorder));
  EXPECT_EQ(recorder.events, std::vector<std::string>{"workbook of 0"});
}

// Damage the walk survives, reported as warnings of their kind: what the
// first pass says, what the document shows when read once more, and cell
// texts that did not fit the buffer the plug-in asked for.
TEST_F(WalkerTest, WarnsOfDamageItCanSee) {
  const std::string cells = "Headers and Footers End\n";
  const auto line = [](std::string first, size_t length, const char* end = "\n") {
    return first + std::string(length - first.size(), 'x') + end;
  };
  const auto textStep = [](intptr_t asked, uint32_t length) -> Step {
    return [=](FakeSheet& sheet, SheetItem* item) {
      item->itemType = WZSS_ITEM_CELL;
      item->cell.textLength = length;
      item->cell.text = reinterpret_cast<char*>(
          sheet.callback(sheet.cookie, WZSS_CALLBACK_TEXT_BUFFER, asked, 0));
      if (item->cell.text != nullptr) std::strcpy(item->cell.text, "cut");
      return 0;
    };
  };
  using K = WarningKind;
  const struct {
    const char* name;
    std::string document;
    std::function<void()> arrange;
    std::vector<K> kinds;
    const char* messagePart;
  } cases[] = {
      {"clean",
       "header\n" + line("(", 300) + cells + line("(", 199) + line("(", 199, "\r\n") +
           line(" ", 511) + line("Px", 300),
       [] {},
       {},
       ""},
      {"cutOff", "header\n(x) A1: 1", [] {}, {K::NoFinalLineFeed}, "may be cut off"},
      {"carriageReturnsOnly", "header\r(x) A1: 1\r", [] {}, {K::NoFinalLineFeed}, ""},
      {"partialSheetList",
       "\n",
       [] { script.infoResult = 0; },
       {K::IncompleteWorkbook},
       "only the 2 sheet(s)"},
      {"noSheet", "\n", [] { script.sheetNames = {}; }, {K::NoSheet}, "no sheet"},
      {"longCellLines",
       cells + line("(", 199) + line("(", 200) + line("P ", 250) + line(" ", 512),
       [] {},
       {K::TextCut},
       "3 line(s) of cell data longer than the plug-in's line buffer (the "
       "first is line 3)"},
      {"refusedBuffer",
       "\n",
       [&] {
         script.sheetNames = {"One"};
         script.steps = {textStep(intptr_t{1} << 31, 5)};
       },
       {K::TextCut},
       "sheet 1 (\"One\"): 1 cell text(s)"},
      {"textBeyondItsBuffer",
       "\n",
       [&] {
         script.sheetNames = {"One"};
         script.steps = {textStep(4, 100)};
       },
       {K::TextCut},
       "1 cell text(s)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    script = Script{};
    c.arrange();
    MemoryStream document(c.document);
    WalkOptions options;
    options.encoding = "ISO-8859-1";  // the documents have no header to name one
    Walker w(table, document.get(), services.get(), options);
    ASSERT_TRUE(w.open());
    ASSERT_TRUE(w.walkAll(recorder));
    std::vector<K> kinds;
    for (const Warning& warning : w.warningList()) kinds.push_back(warning.kind);
    EXPECT_EQ(kinds, c.kinds);
    if (!c.kinds.empty()) {
      EXPECT_NE(w.warnings().back().find(c.messagePart), std::string::npos) << w.warnings().back();
    }
  }
}

struct FailureCase {
  const char* name;
  std::function<void(Script&, Services&, WalkOptions&)> arrange;
  bool failsOnOpen;
  WalkErrorKind kind;
  const char* messagePart;
};

class WalkerFailureTest : public WalkerTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(WalkerFailureTest, ReportsTheFailureAndReleasesEverything) {
  const FailureCase& c = GetParam();
  WalkOptions options;
  c.arrange(script, services, options);
  Walker& w = make(options);
  auto sheets = w.open();
  ASSERT_EQ(sheets.ok(), !c.failsOnOpen);
  WalkError error{};
  if (c.failsOnOpen) {
    error = sheets.error();
  } else {
    auto walked = w.walkSheet(0, recorder);
    ASSERT_FALSE(walked);
    error = walked.error();
  }
  EXPECT_EQ(error.kind, c.kind);
  EXPECT_NE(error.message.find(c.messagePart), std::string::npos) << error.message;
}

INSTANTIATE_TEST_SUITE_P(
    Failures, WalkerFailureTest,
    testing::Values(
        FailureCase{"readerAllocation",
                    [](Script&, Services& s, WalkOptions&) { s.failAllocation(1); }, true,
                    WalkErrorKind::ReaderNotAllocated, "allocate"},
        FailureCase{"notAWorkbook",
                    [](Script& s, Services&, WalkOptions&) {
                      s.infoResult = 0;
                      s.sheetNames = {};
                    },
                    true, WalkErrorKind::NotAWorkbook, "not a workbook of this format"},
        FailureCase{"sheetNotOpened",
                    [](Script& s, Services&, WalkOptions&) { s.initFails = true; }, false,
                    WalkErrorKind::SheetNotOpened, "sheet 1 (\"One\") cannot be opened"},
        FailureCase{"sheetLost",
                    [](Script& s, Services&, WalkOptions&) {
                      s.steps = {settingsStep(), [](FakeSheet&, SheetItem*) { return -1; }};
                    },
                    false, WalkErrorKind::SheetLost, "lost"},
        FailureCase{"unknownItem",
                    [](Script& s, Services&, WalkOptions&) {
                      s.steps = {[](FakeSheet&, SheetItem* item) {
                        item->itemType = 13;
                        return 0;
                      }};
                    },
                    false, WalkErrorKind::UnknownItem, "unknown item type 13"},
        FailureCase{"tooManyItems",
                    [](Script& s, Services&, WalkOptions& o) {
                      s.steps = {settingsStep(), settingsStep(), settingsStep()};
                      o.maxItemsPerSheet = 2;
                    },
                    false, WalkErrorKind::TooManyItems, "more than 2 items"},
        FailureCase{"foreignText",
                    [](Script& s, Services&, WalkOptions&) {
                      static char foreign[] = "not the host's";
                      s.steps = {[](FakeSheet&, SheetItem* item) {
                        item->itemType = WZSS_ITEM_CELL;
                        item->cell.text = foreign;
                        item->cell.textLength = sizeof foreign;
                        return 0;
                      }};
                    },
                    false, WalkErrorKind::ForeignText, "no buffer the host handed out"}),
    [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

// A failed open leaves the walker as new: trying again runs the first pass
// again rather than finding an empty sheet list, and walking says it was
// never opened.
TEST_F(WalkerTest, FailedOpenLeavesTheWalkerAsNew) {
  script.infoResult = 0;
  script.sheetNames = {};
  Walker& w = make();
  for (int attempt = 0; attempt < 2; ++attempt) {
    auto sheets = w.open();
    ASSERT_FALSE(sheets);
    EXPECT_EQ(sheets.error().kind, WalkErrorKind::NotAWorkbook);
    EXPECT_EQ(script.readerCloses, attempt + 1) << "the reader is closed at once";
    EXPECT_EQ(w.walkAll(recorder).error().kind, WalkErrorKind::NotOpened);
    EXPECT_EQ(w.walkSheet(0, recorder).error().kind, WalkErrorKind::NotOpened);
  }
  script.infoResult = 1;
  script.sheetNames = {"Back"};
  ASSERT_TRUE(w.open());
  EXPECT_EQ(w.sheets().size(), 1u);
}

TEST_F(WalkerTest, SheetIndexOutsideTheListIsRefused) {
  Walker& w = make();
  ASSERT_TRUE(w.open());
  EXPECT_EQ(w.walkSheet(2, recorder).error().message, "no sheet 3 (the workbook has 2)");
}

TEST_F(WalkerTest, IncompleteTableIsRefusedBeforeAnyCall) {
  table.InitSheet = nullptr;
  auto sheets = make().open();
  ASSERT_FALSE(sheets);
  EXPECT_EQ(sheets.error().kind, WalkErrorKind::BadTable);
  EXPECT_EQ(services.stats().allocations, 0u);
}

}  // namespace
}  // namespace wzss::host

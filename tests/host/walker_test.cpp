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

Step settingsStep() {
  return [](FakeSheet&, SheetItem* item) {
    item->itemType = WZSS_ITEM_SETTINGS;
    SheetItemSettings& s = item->settings;
    std::strcpy(s.font.name, "Helvetica");
    return 0;
  };
}

// Takes every item; what the items hold is checked by the golden dumps,
// through the real plug-in.
struct Recorder : SheetVisitor {
  bool item(const SheetInfo&, Item&) override { return true; }
  void endSheet(const SheetInfo&, const SheetStats& stats) override {
    textBuffers += stats.textBuffers;
  }
  uint64_t textBuffers = 0;
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

  SSReaderInterface table = fakeTable();
  MemoryStream stream{"unused by the scripted reader"};
  Services services;
  std::unique_ptr<Walker> walker;
  Recorder recorder;
};

// Damage the walk survives, reported as warnings of their kind: lines of
// cell data longer than the plug-in's line buffer (at the exact limits), and
// cell texts that did not fit the buffer the plug-in asked for. A cut-off
// file, a missing or partial sheet list are the command's test to show.
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
  EXPECT_EQ(recorder.textBuffers, 2u) << "one asked by each of the two text cases";
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

// A content handle moved onto another releases what the other held.
TEST_F(WalkerTest, ObjectContentMovedOntoAnotherReleasesItsDescriptor) {
  const auto descriptor = [&] {
    return new (hostAlloc(services.get(), sizeof(ObjectDescriptor))) ObjectDescriptor{};
  };
  ObjectContent held(services.get(), descriptor());
  held = ObjectContent(services.get(), descriptor());
}

// Object content is read line by line to its end, whether the stream gives
// its length (a drawing) or not (a linked file), and closed again.
TEST(ReadContentLines, ReadsEveryLineAndClosesTheStream) {
  for (const uint32_t length : {0u, 5u}) {
    MemoryStream content("a\r\nbc");
    content.get()->streamLength = length;
    std::vector<std::pair<std::string, bool>> lines;
    EXPECT_TRUE(readContentLines(content.get(), [&lines](std::string_view line, bool newline) {
      lines.emplace_back(line, newline);
    }));
    EXPECT_EQ(lines, (std::vector<std::pair<std::string, bool>>{{"a\r", true}, {"bc", false}}));
    EXPECT_EQ(content.calls().opens, 1u);
    EXPECT_EQ(content.calls().closes, 1u);
  }
}

}  // namespace
}  // namespace wzss::host

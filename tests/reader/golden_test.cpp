// Golden dumps of the hand-written workbooks in data/, each dense with the
// edges of one part of the reader:
//   lines     cell-line grammar: addresses, sheet prefixes, skipped lines, runs of a sheet
//   styles    fills, borders, alignment items and text attributes
//   values    every display code, decimals character, date style and clock
//   labels    labels and quoted strings continued over later lines
//   prologue  colour maps, typefaces, attribute table, Row List, sheet names, Symbols
//   view      widths, heights, visible ranges, title lines and the renumbering
//   objects   object blocks, frames, drawings, linked files and the size text
//   budget    a grid at the edge of its byte budget: a Row List past it is not kept
//             (in large/, which the fault sweeps pass over: one walk takes 100 MB)
//   attributes  an attribute table one line longer than its 1000 entries: Row List
//             entries up to the last kept one are filled, the one after is not
//             (in large/ too: a sweep would fail each of its 1000 allocations)
// Each is walked in process through the host kit over the statically linked
// plug-in, printed as `wzss dump` prints it (each object's content after its
// line) and compared with golden/NAME.dump, in the C locale and in one that
// writes a decimal comma. A golden is reviewed line by line when it is made
// and when it changes; regenerate one only for an intended change:
//   WZSS_UPDATE_GOLDEN=1 build/bin/reader_tests   (then read the diff line by line)
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/dump_format.h"
#include "wzss/host/file_stream.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

extern "C" void wzGetSSReaderInterface(SSReaderInterface* table);

namespace wzss {
namespace {

namespace fs = std::filesystem;

struct DumpLines : host::SheetVisitor {
  std::vector<std::string> lines;
  void beginSheet(const host::SheetInfo& sheet) override { lines.push_back(cli::sheetLine(sheet)); }
  // An object's content follows its line, one "| " line per line read.
  bool item(const host::SheetInfo&, host::Item& item) override {
    lines.push_back(cli::itemLine(item));
    // The dump shows any non-zero hasFont as a font; hosts read it as 1.
    if (auto* settings = std::get_if<host::Settings>(&item)) {
      EXPECT_EQ(settings->hasFont, 1u);
    }
    if (auto* object = std::get_if<host::Object>(&item); object && object->content.stream())
      host::readContentLines(object->content.stream(), [this](std::string_view line, bool) {
        lines.push_back("| " + std::string(line));
      });
    return true;
  }
};

std::vector<std::string> dump(const fs::path& book, uint32_t readerFlags = 0) {
  SSReaderInterface table;
  std::memset(&table, 0x5A, sizeof table);  // the plug-in must fill every slot it owns
  wzGetSSReaderInterface(&table);
  EXPECT_EQ(table.GetCharSet(0, 0), 7);  // the slots the walk does not use
  EXPECT_EQ(table.nullSlot5, nullptr);
  auto file = host::FileStream::open(book.string());
  EXPECT_NE(file, nullptr) << book;
  if (!file) return {};
  host::Services services;
  services.setBaseFolder(book.parent_path().string());
  host::WalkOptions options;
  options.placeEmptyCells = false;
  options.readerFlags = readerFlags;
  DumpLines visitor;
  {
    host::Walker walker(table, file->get(), services.get(), options);
    EXPECT_TRUE(walker.open().ok()) << book;
    EXPECT_TRUE(walker.walkAll(visitor).ok()) << book;
  }
  EXPECT_EQ(services.stats().liveBlocks, 0u) << book;
  return visitor.lines;
}

std::vector<std::string> linesOf(const fs::path& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

struct LocaleGuard {
  ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
};

TEST(GoldenDump, EveryWorkbookInEveryLocale) {
  LocaleGuard guard;
  std::vector<fs::path> books;
  for (const auto& entry : fs::recursive_directory_iterator(WZSS_READER_DATA_DIR))
    if (entry.path().extension() == ".wzs") books.push_back(entry.path());
  ASSERT_GE(books.size(), 5u);
  std::sort(books.begin(), books.end());
  for (const char* locale : {"C", "de_DE.UTF-8"}) {
    if (std::setlocale(LC_ALL, locale) == nullptr) {
      ADD_FAILURE() << "the " << locale << " locale is not installed";
      continue;
    }
    for (const fs::path& book : books) {
      const fs::path golden = fs::path(WZSS_READER_GOLDEN_DIR) / book.stem() += ".dump";
      const auto got = dump(book);
      if (std::getenv("WZSS_UPDATE_GOLDEN") != nullptr) {
        std::ofstream out(golden);
        for (const std::string& line : got) out << line << '\n';
      }
      const auto want = linesOf(golden);
      for (size_t i = 0; i < std::max(want.size(), got.size()); ++i) {
        const std::string w = i < want.size() ? want[i] : "<end>";
        const std::string g = i < got.size() ? got[i] : "<end>";
        ASSERT_EQ(g, w) << book.filename() << " line " << i + 1 << " in locale " << locale;
      }
      // Asked for no object items, the reader gives the rest unchanged.
      std::vector<std::string> withoutObjects;
      for (const std::string& line : want)
        if (line.rfind("object ", 0) != 0 && line.rfind("| ", 0) != 0) withoutObjects.push_back(line);
      EXPECT_EQ(dump(book, WZSS_READER_NO_OBJECTS), withoutObjects) << book.filename();
    }
  }
}

// Every entry point refuses what it cannot use, and a reader without a
// stream reads nothing and leaves nothing behind.
TEST(EntryPoints, RefuseMissingHandles) {
  SSReaderInterface table{};
  wzGetSSReaderInterface(&table);
  WorkbookInfo info{};
  SheetItem item{};
  table.CloseReader(nullptr);
  table.CloseSheet(nullptr);
  EXPECT_EQ(table.GetWorkSheetInfo(nullptr, &info, 0), 0);
  EXPECT_EQ(table.InitSheet(nullptr, 0, 0, nullptr, 0), nullptr);
  EXPECT_EQ(table.ProcessSheet(nullptr, &item), -1);
  host::Services services;
  ::WorkbookReader* reader = table.AllocateReader(nullptr, 0, nullptr, services.get(), 0, 0);
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(table.GetWorkSheetInfo(reader, &info, 0), 0);
  EXPECT_EQ(table.InitSheet(reader, 0, 0, nullptr, 0), nullptr);
  table.CloseReader(reader);
  EXPECT_EQ(services.stats().liveBlocks, 0u);
}

}  // namespace
}  // namespace wzss

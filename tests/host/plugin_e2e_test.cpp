// The built libwzss.so, loaded by path as a host loads it, walked over every
// sample workbook: every object's content can be read, and no block the
// plug-in obtained is left alive (failed allocations are the fault sweep's).
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "wzss/host/file_stream.h"
#include "wzss/host/plugin.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

namespace wzss::host {
namespace {

std::vector<std::string> samples() {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(WZSS_SAMPLES_DIR))
    if (entry.path().extension() == ".wzs") paths.push_back(entry.path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

const Plugin& plugin() {
  // Never unloaded: the sanitizers' reports at exit can then still name the
  // plug-in's functions.
  static const Plugin* loaded = new Plugin(Plugin::load(WZSS_PLUGIN_PATH));
  return *loaded;
}

// Counts what arrives and reads every object's drawing; the order and the
// content of the items are the golden dumps' to check.
struct Counter : SheetVisitor {
  uint64_t cells = 0, objects = 0;
  uint64_t drawingStreams = 0;  // the plug-in's own streams (they have a line filter)
  bool item(const SheetInfo&, Item& item) override {
    cells += std::holds_alternative<Cell>(item);
    if (auto* object = std::get_if<Object>(&item)) {
      ++objects;
      StreamInterface* content = object->content.stream();
      if (content == nullptr) return true;
      if (content->FilterLine != nullptr) ++drawingStreams;
      EXPECT_TRUE(readContentLines(content, [](std::string_view, bool) {}));
    }
    return true;
  }
};

struct Walked {
  bool opened = false;
  std::string error;
  Counter checker;
  uint64_t liveAfterwards = 0;
};

Walked walk(const std::string& path, WalkOptions options = {}) {
  Walked result;
  Services services;
  services.setBaseFolder(std::filesystem::path(path).parent_path().string());  // linked objects
  auto file = FileStream::open(path);
  if (!file) {
    result.error = "cannot open";
    return result;
  }
  {
    Walker walker(plugin().table(), file->get(), services.get(), options);
    auto sheets = walker.open();
    result.opened = static_cast<bool>(sheets);
    if (!sheets)
      result.error = sheets.error().message;
    else if (auto all = walker.walkAll(result.checker); !all)
      result.error = all.error().message;
  }
  result.liveAfterwards = services.stats().liveBlocks;
  return result;
}

class SampleTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override { ASSERT_TRUE(plugin().ok()) << plugin().error(); }
};

// Every sheet walked, nothing left alive; the reader flag suppresses
// objects and the sheet flag their streams.
TEST_P(SampleTest, WalksEverySheetAndHonoursTheFlags) {
  const Walked full = walk(GetParam());
  ASSERT_TRUE(full.opened) << full.error;
  EXPECT_TRUE(full.error.empty()) << full.error;
  EXPECT_GT(full.checker.cells, 0u);
  EXPECT_EQ(full.liveAfterwards, 0u);
  WalkOptions noObjectItems, noObjectStreams;
  noObjectItems.readerFlags = WZSS_READER_NO_OBJECTS;
  noObjectStreams.sheetFlags = WZSS_SHEET_NO_OBJECT_STREAMS;
  const Walked noObjects = walk(GetParam(), noObjectItems);
  const Walked noStreams = walk(GetParam(), noObjectStreams);
  EXPECT_EQ(noObjects.checker.objects, 0u);
  EXPECT_EQ(noObjects.checker.cells, full.checker.cells);
  EXPECT_EQ(noStreams.checker.objects, full.checker.objects);
  EXPECT_EQ(noStreams.checker.drawingStreams, 0u) << "linked files still come through OpenFile";
  EXPECT_EQ(noObjects.liveAfterwards + noStreams.liveAfterwards, 0u);
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleTest, testing::ValuesIn(samples()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string name = std::filesystem::path(info.param).stem().string();
                           std::replace_if(
                               name.begin(), name.end(),
                               [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); },
                               '_');
                           return name;
                         });

}  // namespace
}  // namespace wzss::host

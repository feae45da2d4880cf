// The built libwzss.so, loaded by path as a host loads it, walked over every
// sample workbook with and without the flags that leave out objects or their
// streams: every object's content can be read, a flag takes away only what it
// names, and no block the plug-in obtained is left alive (failed allocations
// are the fault sweep's).
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "wzss/host/file_stream.h"
#include "wzss/host/plugin.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

namespace wzss::host {
namespace {

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

Counter walk(const Plugin& plugin, const std::string& path, const WalkOptions& options) {
  Counter counter;
  Services services;
  services.setBaseFolder(std::filesystem::path(path).parent_path().string());  // linked objects
  auto file = FileStream::open(path);
  EXPECT_TRUE(file) << path;
  if (!file) return counter;
  {
    Walker walker(plugin.table(), file->get(), services.get(), options);
    EXPECT_TRUE(walker.open() && walker.walkAll(counter)) << path;
  }
  EXPECT_EQ(services.stats().liveBlocks, 0u) << path;
  return counter;
}

TEST(PluginE2eTest, WalksEverySampleAndHonoursTheFlags) {
  // Never unloaded: the sanitizers' reports at exit can then still name the
  // plug-in's functions.
  static const Plugin* plugin = new Plugin(Plugin::load(WZSS_PLUGIN_PATH));
  ASSERT_TRUE(plugin->ok()) << plugin->error();
  WalkOptions noObjectItems, noObjectStreams;
  noObjectItems.readerFlags = WZSS_READER_NO_OBJECTS;
  noObjectStreams.sheetFlags = WZSS_SHEET_NO_OBJECT_STREAMS;
  for (const auto& entry : std::filesystem::directory_iterator(WZSS_SAMPLES_DIR)) {
    if (entry.path().extension() != ".wzs") continue;
    const std::string path = entry.path().string();
    const Counter full = walk(*plugin, path, {});
    const Counter noObjects = walk(*plugin, path, noObjectItems);
    const Counter noStreams = walk(*plugin, path, noObjectStreams);
    EXPECT_GT(full.cells, 0u) << path;
    EXPECT_EQ(noObjects.objects, 0u) << path;
    EXPECT_EQ(noObjects.cells, full.cells) << path;
    EXPECT_EQ(noStreams.objects, full.objects) << path;
    EXPECT_EQ(noStreams.drawingStreams, 0u) << path << ": linked files still come through OpenFile";
  }
}

}  // namespace
}  // namespace wzss::host

// Plugin: loading a shared library and filling the entry-point table.
#include "host/plugin.h"

#include <gtest/gtest.h>

#include <utility>

namespace wzss::host {
namespace {

TEST(PluginTest, MissingFileIsRefusedWithThePathAndTheLoaderMessage) {
  const Plugin plugin = Plugin::load("/nonexistent/libwzss.so");
  EXPECT_FALSE(plugin.ok());
  EXPECT_EQ(plugin.error().rfind("cannot load /nonexistent/libwzss.so: ", 0), 0u) << plugin.error();
  EXPECT_NE(plugin.error().find("No such file"), std::string::npos) << plugin.error();
  EXPECT_EQ(plugin.table().GetCharSet, nullptr);
}

TEST(PluginTest, LibraryWithoutTheTableFunctionIsRefused) {
  const Plugin plugin = Plugin::load(WZSS_NO_TABLE_PLUGIN);
  EXPECT_FALSE(plugin.ok());
  EXPECT_NE(plugin.error().find("is no wzss plug-in"), std::string::npos) << plugin.error();
  EXPECT_NE(plugin.error().find("wzGetSSReaderInterface"), std::string::npos) << plugin.error();
}

TEST(PluginTest, FileThatIsNoLibraryIsRefused) {
  const Plugin plugin = Plugin::load(WZSS_SAMPLES_DIR "/budget.wzs");
  EXPECT_FALSE(plugin.ok());
  EXPECT_EQ(plugin.error().rfind("cannot load ", 0), 0u) << plugin.error();
}

TEST(PluginTest, TableComesFromTheLibraryAndSurvivesAMove) {
  Plugin plugin = Plugin::load(WZSS_TABLE_PLUGIN);
  ASSERT_TRUE(plugin.ok()) << plugin.error();
  EXPECT_TRUE(plugin.error().empty());
  ASSERT_NE(plugin.table().GetCharSet, nullptr);
  EXPECT_EQ(plugin.table().GetCharSet(0, 0), 42);
  EXPECT_EQ(plugin.table().AllocateReader, nullptr) << "slots the library leaves stay empty";

  Plugin moved = std::move(plugin);
  EXPECT_FALSE(plugin.ok());  // NOLINT: the moved-from state is part of the contract
  ASSERT_TRUE(moved.ok());
  EXPECT_EQ(moved.table().GetCharSet(1, 2), 42);
  EXPECT_EQ(moved.path(), WZSS_TABLE_PLUGIN);
}

TEST(PluginTest, AStaleLoaderMessageIsNotReportedAsOurs) {
  (void)Plugin::load("/nonexistent/first.so");  // leaves nothing behind for the next load
  const Plugin plugin = Plugin::load(WZSS_TABLE_PLUGIN);
  EXPECT_TRUE(plugin.ok()) << plugin.error();
}

}  // namespace
}  // namespace wzss::host

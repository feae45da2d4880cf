// Plugin: loading a shared library and filling the entry-point table.
#include "wzss/host/plugin.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace wzss::host {
namespace {

TEST(PluginTest, WhatIsNoPlugInIsRefusedWithThePathAndTheReason) {
  struct Case {
    const char* path;
    const char* prefix;
    const char* reason;
  } cases[] = {{"/nonexistent/libwzss.so", "cannot load /nonexistent/libwzss.so: ", "No such file"},
               {WZSS_NO_TABLE_PLUGIN,
                WZSS_NO_TABLE_PLUGIN " is no wzss plug-in: ", "wzGetSSReaderInterface"},
               {WZSS_SAMPLES_DIR "/budget.wzs", "cannot load ", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    const Plugin plugin = Plugin::load(c.path);
    EXPECT_FALSE(plugin.ok());
    EXPECT_EQ(plugin.error().rfind(c.prefix, 0), 0u) << plugin.error();
    EXPECT_NE(plugin.error().find(c.reason), std::string::npos) << plugin.error();
    EXPECT_EQ(plugin.table().GetCharSet, nullptr);
  }
}

TEST(PluginTest, TableComesFromTheLibraryAndSurvivesMoves) {
  // A failed load before leaves no loader message behind for this one.
  (void)Plugin::load("/nonexistent/first.so");
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
  plugin = std::move(moved);  // back by assignment: the library goes along with the table
  EXPECT_TRUE(plugin.ok() && !moved.ok());  // NOLINT
}

}  // namespace
}  // namespace wzss::host

#include "cli/plugin_lookup.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

// From the build: the plug-in's SONAME file name (libwzss.so.0), the
// installed library directory relative to the installed bin directory, and
// the installed library directory itself.
constexpr const char* kPluginName = WZSS_PLUGIN_NAME;
constexpr const char* kBinToLib = WZSS_BIN_TO_LIBDIR;
constexpr const char* kFixedLibDir = WZSS_FIXED_LIBDIR;
// The build tree keeps the plug-in in build/lib beside build/bin.
constexpr const char* kBuildTreeBinToLib = "../lib";

std::vector<std::string> pathsBesideCommandAndFixed() {
  std::vector<std::string> paths;
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    for (const char* relative : {kBinToLib, kBuildTreeBinToLib})
      paths.push_back((self.parent_path() / relative / kPluginName).lexically_normal().string());
  }
  paths.push_back((fs::path(kFixedLibDir) / kPluginName).string());
  std::vector<std::string> distinct;
  for (const std::string& path : paths)
    if (std::find(distinct.begin(), distinct.end(), path) == distinct.end()) distinct.push_back(path);
  return distinct;
}

PluginLookup loadGiven(const std::string& path) {
  host::Plugin plugin = host::Plugin::load(path);
  if (!plugin.ok()) return {std::nullopt, plugin.error()};
  return {std::move(plugin), ""};
}

}  // namespace

PluginLookup loadPlugin(const std::string& pluginOption) {
  if (!pluginOption.empty()) return loadGiven(pluginOption);
  if (const char* fromEnvironment = std::getenv("WZSS_PLUGIN");
      fromEnvironment != nullptr && *fromEnvironment != '\0')
    return loadGiven(fromEnvironment);
  const std::vector<std::string> paths = pathsBesideCommandAndFixed();
  for (const std::string& path : paths) {
    std::error_code error;
    if (fs::exists(path, error)) return loadGiven(path);
  }
  std::string tried;
  for (const std::string& path : paths) tried += (tried.empty() ? "" : ", ") + path;
  return {std::nullopt, std::string(kPluginName) + " not found (looked in " + tried +
                                      "); name it with --plugin PATH or WZSS_PLUGIN"};
}

}  // namespace wzss::cli

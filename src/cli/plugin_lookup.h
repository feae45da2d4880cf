// Which plug-in the command loads. In order: --plugin PATH, then the
// WZSS_PLUGIN environment variable, then the library directory next to the
// command (<prefix>/bin/wzss loads <prefix>/<libdir>/libwzss.so.N, and
// build/bin/wzss loads build/lib/...), then the library directory fixed when
// the command was built. The first two are taken as given; of the others the
// first that exists is loaded.
#pragma once

#include <optional>
#include <string>

#include "wzss/host/plugin.h"

namespace wzss::cli {

// The loaded plug-in, or no plug-in and why: the loader's reason for a path
// that was given, the paths tried when none was found.
struct PluginLookup {
  std::optional<host::Plugin> plugin;
  std::string error;
};
PluginLookup loadPlugin(const std::string& pluginOption);

}  // namespace wzss::cli

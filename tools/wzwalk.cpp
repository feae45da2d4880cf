// wzwalk: pulls every item of every sheet of a workbook through the
// plug-in's entry points and prints what it counted.
//
//   wzwalk [--walker|--types] [--plugin LIBWZSS.so] FILE
//
// By default the entry points are the ones linked into this program, walked
// by the host kit's Walker at its lightest (no cell styles, no second read
// of the document, items as the plug-in numbers them); --walker uses the
// Walker's defaults, as `wzss` does, --types too and
// counts the texts by the value type inferred from them, --plugin loads the
// shared library the way `wzss` does.
#include <cstdio>
#include <optional>
#include <string>

#include "wzss/host/plugin.h"
#include "walk_count.h"

int main(int argc, char** argv) {
  wzss::tools::WalkMode mode = wzss::tools::WalkMode::Direct;
  std::string pluginPath, path;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--walker") {
      mode = wzss::tools::WalkMode::Walker;
    } else if (arg == "--types") {
      mode = wzss::tools::WalkMode::Types;
    } else if (arg == "--plugin" && i + 1 < argc) {
      pluginPath = argv[++i];
    } else if (path.empty() && !arg.empty() && arg[0] != '-') {
      path = arg;
    } else {
      std::fprintf(stderr, "usage: wzwalk [--walker|--types] [--plugin LIBWZSS.so] FILE\n");
      return 2;
    }
  }
  if (path.empty()) {
    std::fprintf(stderr, "usage: wzwalk [--walker|--types] [--plugin LIBWZSS.so] FILE\n");
    return 2;
  }
  SSReaderInterface linked{};
  wzGetSSReaderInterface(&linked);
  const SSReaderInterface* table = &linked;
  std::optional<wzss::host::Plugin> plugin;
  if (!pluginPath.empty()) {
    plugin.emplace(wzss::host::Plugin::load(pluginPath));
    if (!plugin->ok()) {
      std::fprintf(stderr, "wzwalk: %s\n", plugin->error().c_str());
      return 1;
    }
    table = &plugin->table();
  }
  wzss::tools::WalkCounts counts;
  std::string error;
  if (!wzss::tools::walkWorkbook(*table, path, mode, &counts, &error)) {
    std::fprintf(stderr, "wzwalk: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }
  std::printf("sheets %u\nitems %llu\ncells %llu\ncellsWithText %llu\ntextBytes %llu\n"
              "rowRuns %llu\ncolumnRuns %llu\nobjects %llu\nfills %llu\npeakHostBytes %llu\n",
              counts.sheets, static_cast<unsigned long long>(counts.items),
              static_cast<unsigned long long>(counts.cells),
              static_cast<unsigned long long>(counts.cellsWithText),
              static_cast<unsigned long long>(counts.textBytes),
              static_cast<unsigned long long>(counts.rowRuns),
              static_cast<unsigned long long>(counts.columnRuns),
              static_cast<unsigned long long>(counts.objects),
              static_cast<unsigned long long>(counts.fills),
              static_cast<unsigned long long>(counts.peakHostBytes));
  if (mode == wzss::tools::WalkMode::Types) {
    const char* names[] = {"text", "number", "date", "time", "datetime"};
    for (int type = 0; type < 5; ++type)
      std::printf("typed %s %llu\n", names[type],
                  static_cast<unsigned long long>(counts.valueTypes[type]));
  }
  return 0;
}

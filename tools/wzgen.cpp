// wzgen: writes a realistic workbook of a given size, the same bytes for the
// same seed and size.
//
//   wzgen --size 16M [--seed 1] -o out.wzs [--stats]
//
// Sizes take K, M or G (powers of 1024), from 1K up to 1G; --stats prints
// what the file holds (cell lines, formatted empty cells, extent) on stderr.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "generator.h"

namespace {

constexpr uint64_t kLargest = 1ull << 30;

int usage() {
  std::fprintf(stderr, "usage: wzgen --size SIZE[K|M|G] [--seed N] -o FILE [--stats]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  wzss::tools::GeneratorOptions options;
  std::string path;
  bool printStats = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--size" && hasValue) {
      options.size = wzss::tools::parseSize(argv[++i]);
      if (options.size == 0 || options.size > kLargest) {
        std::fprintf(stderr, "wzgen: size must be 1 byte to 1G\n");
        return 2;
      }
    } else if (arg == "--seed" && hasValue) {
      options.seed = std::strtoull(argv[++i], nullptr, 10);
    } else if ((arg == "-o" || arg == "--output") && hasValue) {
      path = argv[++i];
    } else if (arg == "--stats") {
      printStats = true;
    } else {
      return usage();
    }
  }
  if (path.empty()) return usage();
  std::FILE* out = path == "-" ? stdout : std::fopen(path.c_str(), "wb");
  if (out == nullptr) {
    std::fprintf(stderr, "wzgen: %s: %s\n", path.c_str(), std::strerror(errno));
    return 1;
  }
  wzss::tools::GeneratorStats stats;
  bool ok = wzss::tools::generateWorkbook(options, out, &stats);
  if (out != stdout && std::fclose(out) != 0) ok = false;
  if (!ok) {
    std::fprintf(stderr, "wzgen: %s: write failed\n", path.c_str());
    return 1;
  }
  if (printStats) {
    std::fprintf(stderr,
                 "bytes %llu\nsheets %u\nmaxRow %u\nmaxColumn %u\ncellLines %llu\n"
                 "continuationLines %llu\nformattedEmptyCells %llu\nobjects %llu\n"
                 "hiddenObjects %llu\n",
                 static_cast<unsigned long long>(stats.bytes), stats.sheets, stats.maxRow,
                 stats.maxColumn, static_cast<unsigned long long>(stats.cellLines),
                 static_cast<unsigned long long>(stats.continuationLines),
                 static_cast<unsigned long long>(stats.formattedEmptyCells),
                 static_cast<unsigned long long>(stats.objects),
                 static_cast<unsigned long long>(stats.hiddenObjects));
  }
  return 0;
}

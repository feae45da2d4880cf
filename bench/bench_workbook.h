// One generated workbook shared by the micro-benchmarks, written once per
// run to a temporary file (WZSS_BENCH_SIZE, default 8M; WZSS_BENCH_SEED,
// default 1), with the positions and lines the benchmarks pick from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace wzss::bench {

struct BenchWorkbook {
  std::string path;
  std::string text;                       // the whole file
  uint32_t cellsStart = 0;                // offset of the first cell line
  std::vector<std::string> prologueLines; // every line before the cell data
  std::vector<std::string> cellLines;     // cell lines, continuation lines left out
};

// Generated on first use; the file is removed when the program exits.
const BenchWorkbook& benchWorkbook();

}  // namespace wzss::bench

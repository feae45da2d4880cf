// The scanning hot spots: keyword matching of the first pass over the lines
// of a real prologue, and the cell-line splitter over the cell data, from a
// file stream and from memory.
#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <string_view>

#include "bench_workbook.h"
#include "wzss/host/file_stream.h"
#include "wzss/host/memory_stream.h"
#include "scan/scan.h"

namespace wzss::bench {
namespace {

// The first pass's keywords in the order it tests them.
constexpr std::array<std::string_view, 10> kPrologueKeywords = {
    "COLORMAP",          "View Start, Name: ",   "TYPEFACE TABLE", "Attr Table Start",
    "SHEETS TABLE",      "Graphic Obj Start: ",  "Bottom right corner ", "Row List ",
    "Symbols ",          "Headers and Footers End"};

// Every prologue line of the generated workbook tested against the keywords
// in order until one matches, as the first pass does.
void MatchKeywordPrologueMix(benchmark::State& state) {
  const auto& lines = benchWorkbook().prologueLines;
  size_t next = 0;
  uint64_t tested = 0;
  for (auto _ : state) {
    const char* line = lines[next].c_str();
    if (++next == lines.size()) next = 0;
    size_t k = 0;
    while (k < kPrologueKeywords.size() && !wzMatchKeyword(line, kPrologueKeywords[k])) ++k;
    benchmark::DoNotOptimize(k);
    ++tested;
  }
  state.SetItemsProcessed(static_cast<int64_t>(tested));
}
BENCHMARK(MatchKeywordPrologueMix);

void runDisect(benchmark::State& state, StreamInterface* stream, uint32_t start) {
  char line[kLineSize] = {};
  char* attrText = nullptr;
  stream->Open(stream);
  stream->Seek(stream, static_cast<int32_t>(start), 0);
  int32_t sheet = 0, row = 0, column = 0;
  uint64_t cells = 0, bytes = 0;
  uint32_t before = stream->Tell(stream);
  for (auto _ : state) {
    if (!wzDisect(stream, line, &attrText, &sheet, &row, &column)) {
      bytes += stream->Tell(stream) - before;
      stream->Seek(stream, static_cast<int32_t>(start), 0);
      before = start;
      continue;
    }
    benchmark::DoNotOptimize(row);
    ++cells;
  }
  bytes += stream->Tell(stream) - before;
  state.SetItemsProcessed(static_cast<int64_t>(cells));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

void DisectFileStream(benchmark::State& state) {
  auto file = host::FileStream::open(benchWorkbook().path);
  runDisect(state, file->get(), benchWorkbook().cellsStart);
}
BENCHMARK(DisectFileStream);

void DisectMemoryStream(benchmark::State& state) {
  host::MemoryStream memory(benchWorkbook().text);
  runDisect(state, memory.get(), benchWorkbook().cellsStart);
}
BENCHMARK(DisectMemoryStream);

}  // namespace
}  // namespace wzss::bench

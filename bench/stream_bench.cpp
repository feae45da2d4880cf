// The stream side of the contract: the file stream's one-byte Read, called
// through the StreamInterface as the plug-in calls it (target: 3 ns or less
// a call), and the line reader on top of it.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench_workbook.h"
#include "wzss/host/file_stream.h"
#include "scan/scan.h"

namespace wzss::bench {
namespace {

constexpr int kReadsPerIteration = 4096;

std::unique_ptr<host::FileStream> openBook() {
  auto file = host::FileStream::open(benchWorkbook().path);
  if (!file) std::abort();
  StreamInterface* stream = file->get();
  stream->Open(stream);
  return file;
}

void FileStreamReadOneByte(benchmark::State& state) {
  auto file = openBook();
  StreamInterface* stream = file->get();
  uint64_t calls = 0;
  char byte = 0;
  for (auto _ : state) {
    for (int i = 0; i < kReadsPerIteration; ++i) {
      if (stream->Read(stream, &byte, 1) != 1) stream->Seek(stream, 0, 0);
      benchmark::DoNotOptimize(byte);
    }
    calls += kReadsPerIteration;
  }
  state.SetBytesProcessed(static_cast<int64_t>(calls));
  state.counters["per_read"] =
      benchmark::Counter(static_cast<double>(calls), benchmark::Counter::kIsRate |
                                                         benchmark::Counter::kInvert);
}
BENCHMARK(FileStreamReadOneByte);

// Tell is called once a line by the line reader.
void FileStreamTell(benchmark::State& state) {
  auto file = openBook();
  StreamInterface* stream = file->get();
  for (auto _ : state) benchmark::DoNotOptimize(stream->Tell(stream));
}
BENCHMARK(FileStreamTell);

void GetLineFromFileStream(benchmark::State& state) {
  auto file = openBook();
  StreamInterface* stream = file->get();
  char line[kLineSize];
  uint32_t position = 0;
  uint64_t lines = 0, bytes = 0;
  for (auto _ : state) {
    const uint32_t before = stream->Tell(stream);
    if (!wzGetLine(stream, line, kLineSize, &position)) {
      stream->Seek(stream, 0, 0);
      continue;
    }
    bytes += stream->Tell(stream) - before;
    ++lines;
    benchmark::DoNotOptimize(line);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.SetItemsProcessed(static_cast<int64_t>(lines));
}
BENCHMARK(GetLineFromFileStream);

}  // namespace
}  // namespace wzss::bench

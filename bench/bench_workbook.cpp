#include "bench_workbook.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "generator.h"

namespace wzss::bench {
namespace {

constexpr const char* kEndOfPrologue = "Headers and Footers End\n";

uint64_t sizeFromEnvironment() {
  const char* text = std::getenv("WZSS_BENCH_SIZE");
  const uint64_t size = text != nullptr ? tools::parseSize(text) : 0;
  return size != 0 ? size : uint64_t{8} << 20;
}

struct Owned : BenchWorkbook {
  ~Owned() {
    if (!path.empty()) std::remove(path.c_str());
  }
};

Owned make() {
  Owned book;
  tools::GeneratorOptions options;
  options.size = sizeFromEnvironment();
  const char* seed = std::getenv("WZSS_BENCH_SEED");
  if (seed != nullptr) options.seed = std::strtoull(seed, nullptr, 10);
  const char* folder = std::getenv("TMPDIR");
  book.path = std::string(folder != nullptr ? folder : "/tmp") + "/wzss_bench_" +
              std::to_string(::getpid()) + ".wzs";
  std::FILE* file = std::fopen(book.path.c_str(), "w+b");
  if (file == nullptr || !tools::generateWorkbook(options, file, nullptr)) {
    std::fprintf(stderr, "bench: cannot write %s\n", book.path.c_str());
    std::exit(1);
  }
  book.text.resize(static_cast<size_t>(std::ftell(file)));
  std::rewind(file);
  if (std::fread(book.text.data(), 1, book.text.size(), file) != book.text.size()) std::exit(1);
  std::fclose(file);
  const size_t end = book.text.find(kEndOfPrologue);
  book.cellsStart = static_cast<uint32_t>(end + std::char_traits<char>::length(kEndOfPrologue));
  for (size_t at = 0; at < book.text.size();) {
    size_t next = book.text.find('\n', at);
    if (next == std::string::npos) next = book.text.size();
    std::string line = book.text.substr(at, next - at);
    if (at < book.cellsStart) {
      book.prologueLines.push_back(std::move(line));
    } else if (!line.empty() && line[0] != ' ') {
      book.cellLines.push_back(std::move(line));
    }
    at = next + 1;
  }
  return book;
}

}  // namespace

const BenchWorkbook& benchWorkbook() {
  static const Owned book = make();
  return book;
}

}  // namespace wzss::bench

// Runs a fuzz target's entry function over files and folders of inputs
// without libFuzzer: the regression inputs and the seed corpus are replayed
// this way in every build, with g++ as well as clang. A violation aborts
// inside the harness, and an input that runs past its time limit is ended
// by an alarm; the name printed last is then the culprit.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

// Far above what any input in the folders needs, even under sanitizers.
constexpr unsigned kSecondsPerInput = 120;

std::vector<std::filesystem::path> inputsOf(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> inputs;
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
      if (entry.is_regular_file() && entry.path().filename().string().front() != '.')
        inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
  } else {
    inputs.push_back(path);
  }
  return inputs;
}

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
  std::fprintf(stderr, "replaying %s\n", path.c_str());
  alarm(kSecondsPerInput);
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  alarm(0);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int passed = 0;
  int failed = 0;
  for (int arg = 1; arg < argc; ++arg) {
    if (!std::filesystem::exists(argv[arg])) {
      std::fprintf(stderr, "no such input: %s\n", argv[arg]);
      ++failed;
      continue;
    }
    for (const auto& input : inputsOf(argv[arg])) (replay(input) ? passed : failed)++;
  }
  std::printf("%d passed, %d failed\n", passed, failed);
  return failed == 0 && passed > 0 ? 0 : 1;
}

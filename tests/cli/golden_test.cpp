// Golden dumps: `wzss dump` of every sample, byte for byte. The golden files
// were checked by hand against the workbooks before they were committed;
// when a change of the reader alters one on purpose, regenerate it with
//   build/bin/wzss dump samples/NAME.wzs > tests/cli/golden/NAME.dump
// and check the difference line by line.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace wzss::cli {
namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::vector<std::string> sampleNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(WZSS_SAMPLES_DIR))
    if (entry.path().extension() == ".wzs") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

class GoldenDumpTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenDumpTest, DumpEqualsTheCheckedGoldenFile) {
  const fs::path golden = fs::path(WZSS_GOLDEN_DIR) / (GetParam() + ".dump");
  ASSERT_TRUE(fs::exists(golden)) << "no golden dump for samples/" << GetParam() << ".wzs";
  const fs::path actual = fs::temp_directory_path() / ("wzss-golden-" + GetParam() + ".dump");
  const std::string command = "timeout 120 '" WZSS_CLI_PATH "' dump '" WZSS_SAMPLES_DIR "/" +
                              GetParam() + ".wzs' >'" + actual.string() + "' </dev/null";
  const int raw = std::system(command.c_str());
  ASSERT_TRUE(WIFEXITED(raw) && WEXITSTATUS(raw) == 0) << command;
  const std::string want = readFile(golden), got = readFile(actual);
  fs::remove(actual);
  if (want == got) return;
  // Name the first line that differs: a whole dump in the failure is unreadable.
  std::istringstream wantLines(want), gotLines(got);
  std::string w, g;
  for (int line = 1;; ++line) {
    const bool moreWant = static_cast<bool>(std::getline(wantLines, w));
    const bool moreGot = static_cast<bool>(std::getline(gotLines, g));
    if (!moreWant && !moreGot) break;
    if (w != g || moreWant != moreGot) {
      FAIL() << "line " << line << " differs\n  golden: " << (moreWant ? w : "<end>")
             << "\n  dump:   " << (moreGot ? g : "<end>");
    }
  }
  FAIL() << "the dumps differ only in their line ends";
}

INSTANTIATE_TEST_SUITE_P(Samples, GoldenDumpTest, testing::ValuesIn(sampleNames()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace wzss::cli

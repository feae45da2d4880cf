// The wzss command as a user runs it: exit codes, the one stderr line of a
// failure, and what info, dump and objects print for the samples.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace wzss::cli {
namespace {

namespace fs = std::filesystem;

const std::string kSamples = WZSS_SAMPLES_DIR;
const std::string kBudget = kSamples + "/budget.wzs";

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/wzss-cli-XXXXXX";
    const char* made = mkdtemp(pattern);
    path_ = made != nullptr ? made : "/tmp/wzss-cli-fallback";
  }
  ~ScratchDir() { fs::remove_all(path_); }
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

struct CommandRun {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs the built command with stdin closed; a hang fails the test through
// timeout's status instead of blocking the suite.
CommandRun wzss(const std::vector<std::string>& args) {
  static const ScratchDir scratch;
  const fs::path out = scratch.path() / "stdout", err = scratch.path() / "stderr";
  std::string command = "timeout 120 '" WZSS_CLI_PATH "'";
  for (const std::string& arg : args) command += " '" + arg + "'";
  command += " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null";
  const int raw = std::system(command.c_str());
  CommandRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  run.out = readFile(out);
  run.err = readFile(err);
  return run;
}

size_t lineCount(const std::string& text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

struct UsageCase {
  const char* name;
  std::vector<std::string> args;
  const char* stderrPart;
};

class UsageTest : public testing::TestWithParam<UsageCase> {};

TEST_P(UsageTest, ExitsWithTwoAndSaysWhy) {
  const CommandRun run = wzss(GetParam().args);
  EXPECT_EQ(run.status, 2) << run.err;
  EXPECT_TRUE(run.out.empty()) << run.out;
  EXPECT_NE(run.err.find(GetParam().stderrPart), std::string::npos) << run.err;
}

INSTANTIATE_TEST_SUITE_P(
    Errors, UsageTest,
    testing::Values(UsageCase{"noCommand", {}, "subcommand is required"},
                    UsageCase{"unknownCommand", {"frobnicate", kBudget}, "subcommand is required"},
                    UsageCase{"missingFile", {"dump"}, "FILE is required"},
                    UsageCase{"unknownOption", {"info", kBudget, "--bogus"}, "--bogus"},
                    UsageCase{"sheetZero", {"dump", kBudget, "--sheet", "0"}, "--sheet"},
                    UsageCase{"sheetNotANumber", {"dump", kBudget, "--sheet", "two"}, "--sheet"},
                    UsageCase{"sheetOutsideTheList", {"dump", kBudget, "--sheet", "3"},
                              "no sheet 3 (the workbook has 2)"}),
    [](const auto& info) { return info.param.name; });

TEST(CliTest, HelpAndVersionSucceedOnStdout) {
  const CommandRun help = wzss({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* word : {"Usage:", "info", "dump", "objects", "--plugin"})
    EXPECT_NE(help.out.find(word), std::string::npos) << word;
  const CommandRun dumpHelp = wzss({"dump", "--help"});
  EXPECT_EQ(dumpHelp.status, 0);
  EXPECT_NE(dumpHelp.out.find("--sheet"), std::string::npos);
  const CommandRun version = wzss({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "wzss " WZSS_VERSION "\n");
}

struct FailureCase {
  const char* name;
  std::vector<std::string> args;
  std::string expectedStderr;  // the whole of it: one line
};

class FailureTest : public testing::TestWithParam<FailureCase> {};

TEST_P(FailureTest, ExitsWithOneAndOneLineNamingTheFile) {
  const CommandRun run = wzss(GetParam().args);
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.out.empty()) << run.out;
  EXPECT_EQ(run.err, GetParam().expectedStderr);
}

INSTANTIATE_TEST_SUITE_P(
    Files, FailureTest,
    testing::Values(
        FailureCase{"missingFile",
                    {"dump", "/nonexistent/book.wzs"},
                    "wzss: /nonexistent/book.wzs: cannot open: No such file or directory\n"},
        FailureCase{"notAWorkbook",
                    {"info", __FILE__},
                    std::string("wzss: ") + __FILE__ + ": not a workbook of this format\n"},
        FailureCase{"linkedTextIsNoWorkbook",
                    {"objects", kSamples + "/inventory-legend.txt"},
                    "wzss: " + kSamples + "/inventory-legend.txt: not a workbook of this format\n"},
        FailureCase{"directory", {"dump", kSamples}, "wzss: " + kSamples + ": cannot open: is a directory\n"}),
    [](const auto& info) { return info.param.name; });

TEST(CliTest, MissingPlugInIsOneLineAndStatusOne) {
  const CommandRun run = wzss({"--plugin", "/nonexistent/libwzss.so", "info", kBudget});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err.rfind("wzss: plug-in: cannot load /nonexistent/libwzss.so: ", 0), 0u) << run.err;
  EXPECT_EQ(lineCount(run.err), 1u);
}

TEST(CliTest, ExplicitPlugInPathIsUsed) {
  const CommandRun run = wzss({"--plugin", WZSS_PLUGIN_PATH, "info", kBudget});
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST(CliTest, InfoPrintsTheVersionAndEverySheet) {
  const CommandRun run = wzss({"info", kSamples + "/formats.wzs"});
  ASSERT_EQ(run.status, 0) << run.err;
  std::istringstream lines(run.out);
  std::string line;
  std::vector<std::string> all;
  while (std::getline(lines, line)) all.push_back(line);
  ASSERT_EQ(all.size(), 6u) << run.out;
  EXPECT_EQ(all[0], "version \"430\" code 3");
  EXPECT_EQ(all[1], "sheets 4");
  // The SHEETS TABLE renames sheet 2 and leaves the name lengths alone.
  EXPECT_EQ(all[3].rfind("sheet 2 \"Dates & Serials\" nameLength=5 kind=16384 view=", 0), 0u) << all[3];
  EXPECT_EQ(all[5].rfind("sheet 4 \"Text\" nameLength=4 ", 0), 0u) << all[5];
}

TEST(CliTest, DumpOfOneSheetIsThatSheetsPartOfTheWholeDump) {
  const CommandRun whole = wzss({"dump", kSamples + "/quarterly.wzs"});
  ASSERT_EQ(whole.status, 0) << whole.err;
  for (int sheet = 1; sheet <= 3; ++sheet) {
    const CommandRun one = wzss({"dump", kSamples + "/quarterly.wzs", "--sheet", std::to_string(sheet)});
    ASSERT_EQ(one.status, 0) << one.err;
    ASSERT_EQ(one.out.rfind("sheet " + std::to_string(sheet) + " ", 0), 0u);
    EXPECT_NE(whole.out.find(one.out), std::string::npos) << "sheet " << sheet;
  }
}

// The drawing as the file holds it, from the n-th "*BEGIN GRAPHICS" line of
// the sample through its "*END GRAPHICS" line, with the page-size line (any
// case) replaced by the size text: what --extract must write.
std::string expectedDrawing(const std::string& sample, int n, const std::string& sizeText) {
  const std::string text = readFile(sample);
  size_t begin = 0;
  for (int i = 0; i < n; ++i) begin = text.find("*BEGIN GRAPHICS", i == 0 ? 0 : begin + 1);
  const size_t end = text.find("*END GRAPHICS\n", begin) + std::strlen("*END GRAPHICS\n");
  std::istringstream lines(text.substr(begin, end - begin));
  std::string line, drawing;
  while (std::getline(lines, line)) {
    std::string head = line.substr(0, 11);
    for (char& c : head) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    drawing += (head == "KD_PAGESIZE" ? sizeText : line) + "\n";
  }
  return drawing;
}

TEST(CliTest, ObjectsListsVisibleObjectsAndExtractsTheirDrawings) {
  ScratchDir dir;
  const fs::path out = dir.path() / "drawings";  // created by the command
  const std::string sample = kSamples + "/quarterly.wzs";
  const CommandRun run = wzss({"objects", sample, "--extract", out.string()});
  ASSERT_EQ(run.status, 0) << run.err;
  // Sheet 1 has a chart and a Picture block (not an object item); sheet 2 a
  // hidden object and a chart.
  ASSERT_EQ(lineCount(run.out), 2u) << run.out;
  EXPECT_EQ(run.out.rfind("sheet 1 object 1 kind=21 from=F2+720,64 ", 0), 0u) << run.out;
  EXPECT_NE(run.out.find("\nsheet 2 object 1 kind=21 from=D2+360,32 "), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("-> " + (out / "2-1.txt").string() + "\n"), std::string::npos);

  EXPECT_EQ(readFile(out / "1-1.txt"), expectedDrawing(sample, 1, "W3.50inH2.25in"));
  // Drawing 2 of the file belongs to the hidden object.
  EXPECT_EQ(readFile(out / "2-1.txt"), expectedDrawing(sample, 3, "H2.00inW4.00in"));
  EXPECT_FALSE(fs::exists(out / "2-2.txt"));
}

TEST(CliTest, ExtractWritesLinkedFilesAsTheyAre) {
  ScratchDir dir;
  const std::string sample = kSamples + "/inventory.wzs";
  const CommandRun run = wzss({"objects", sample, "--extract", dir.path().string()});
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(lineCount(run.out), 2u) << run.out;
  EXPECT_EQ(readFile(dir.path() / "1-1.txt"), readFile(kSamples + "/inventory-legend.txt"));
  // The lower-case page-size line inside the drawing is replaced as well.
  EXPECT_EQ(readFile(dir.path() / "2-1.txt"), expectedDrawing(sample, 2, "W5.25inH3.00in"));
}

TEST(CliTest, ObjectsWithoutExtractWritesNothing) {
  const CommandRun run = wzss({"objects", kBudget});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(lineCount(run.out), 1u) << run.out;
  EXPECT_EQ(run.out.find("->"), std::string::npos);
}

}  // namespace
}  // namespace wzss::cli

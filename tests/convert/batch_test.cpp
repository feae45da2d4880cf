#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>

#include "cli/batch.h"
#include "convert_fixture.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

using convert_test::TempDir;

TEST(BatchOutputNames, DeriveFromInputNamesAndNeverCollide) {
  const std::vector<std::string> inputs = {"a/budget.wzs",  "b/budget.wzs", "b/Budget.WZS",
                                           "c/.hidden.wzs", "noext",        "d/CON.wzs"};
  EXPECT_EQ(batchOutputNames(inputs, OutputFormat::Html),
            (std::vector<std::string>{"budget.html", "budget-2.html", "Budget-3.html",
                                      "_hidden.html", "noext.html", "_CON.html"}));
  EXPECT_EQ(batchOutputNames({"x/s.wzs", "y/s.wzs"}, OutputFormat::Csv),
            (std::vector<std::string>{"s", "s-2"}));
}

// Good workbooks, a file that is not a workbook and a missing one.
struct BatchInputs {
  TempDir dir;
  std::vector<std::string> files;
  fs::path output;

  BatchInputs() {
    fs::create_directories(dir.path() / "in" / "other");
    fs::copy_file(convert_test::dataPath("styled.wzs"), dir.path() / "in" / "styled.wzs");
    fs::copy_file(convert_test::samplePath("budget.wzs"), dir.path() / "in" / "budget.wzs");
    fs::copy_file(convert_test::dataPath("styled.wzs"), dir.path() / "in" / "other" / "styled.wzs");
    convert_test::writeFile(dir.path() / "in" / "broken.wzs", "*BEGIN NOTHING\nat all\n");
    for (const char* name :
         {"styled.wzs", "broken.wzs", "budget.wzs", "other/styled.wzs", "missing.wzs"})
      files.push_back((dir.path() / "in" / name).string());
    output = dir.path() / "out";
  }
};

// The command itself: exit status and messages as a script sees them.
struct CommandResult {
  int status = -1;
  std::string output;  // stdout and stderr together
};

CommandResult runCommand(const std::string& arguments) {
  CommandResult result;
  const std::string line = std::string(WZSS_COMMAND_PATH) + " " + arguments + " 2>&1";
  std::FILE* pipe = popen(line.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) result.output.append(buffer, got);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

TEST(ConvertCommand, ExitsWithOneWhenAFileFailedAndStillConvertsTheRest) {
  BatchInputs in;
  std::string arguments = "convert --to html -j 2 -o " + in.output.string();
  for (const std::string& file : in.files) arguments += " " + file;
  const CommandResult result = runCommand(arguments);
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_NE(result.output.find(in.files[1] + ": not a workbook"), std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find(in.files[4] + ": cannot open"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("converted 3 of 5 workbooks (2 failed)"), std::string::npos);
  // Not a terminal: no progress line.
  EXPECT_EQ(result.output.find('\r'), std::string::npos);
  for (const char* name : {"styled.html", "budget.html", "styled-2.html"})
    EXPECT_TRUE(fs::exists(in.output / name)) << name;
  EXPECT_EQ(std::distance(fs::directory_iterator(in.output), {}), 3);  // no partial files
}

// On a terminal a status line counts the files; it is wiped at the end.
TEST(RunBatch, WipesItsStatusLine) {
  BatchInputs in;
  char* shown = nullptr;
  size_t size = 0;
  std::FILE* progress = open_memstream(&shown, &size);
  runBatch(convert_test::readerTable(), {in.files[1]}, BatchOptions{}, progress);
  std::fclose(progress);
  EXPECT_EQ(std::string(shown, size),
            "\r[0/1] 0 B/s broken.wzs\x1b[K\r[1/1] 0 B/s broken.wzs\x1b[K\r\x1b[K");
  std::free(shown);
}

// CSV gives a directory per workbook with a file per sheet.
TEST(ConvertCommand, ExitsWithZeroWhenEveryFileConverted) {
  BatchInputs in;
  const CommandResult result = runCommand("convert --to csv -j 2 -o " + in.output.string() + " " +
                                          in.files[0] + " " + in.files[2]);
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_NE(result.output.find("converted 2 of 2 workbooks,"), std::string::npos) << result.output;
  EXPECT_EQ(convert_test::readFile(in.output / "styled" / "Q1_Q2 _b_x__b_.csv"),
            "Region,Sales\r\nNorth,1200\r\n");
  EXPECT_TRUE(fs::exists(in.output / "budget" / "Budget.csv"));
  EXPECT_TRUE(fs::exists(in.output / "budget" / "Sales.csv"));
}

// One sheet to stdout by name or number, "-o out/" a folder even for one
// sheet, a device takes the text alone.
TEST(ConvertCommand, OneSheetGoesToStdoutAFolderOrADevice) {
  convert_test::TempDir dir;
  const std::string csv = "csv " + convert_test::dataPath("styled.wzs") + " --sheet ";
  const std::string sheet = "Region,Sales\r\nNorth,1200\r\n";
  for (const std::string& to :
       {std::string("2"), std::string("'Q1/Q2 <b>x</b>'"),
        "2 -o " + (dir.path() / "out").string() + "/", std::string("2 -o /dev/stdout")}) {
    const CommandResult result = runCommand(csv + to);
    EXPECT_EQ(result.status, 0) << to << result.output;
    if (to.find("out/") == std::string::npos) {
      EXPECT_EQ(result.output, sheet) << to;
    }
  }
  EXPECT_EQ(convert_test::readFile(dir.path() / "out" / "Q1_Q2 _b_x__b_.csv"), sheet);
}

}  // namespace
}  // namespace wzss::cli

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <nlohmann/json.hpp>

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

TEST(RunBatch, ConvertsEveryGoodFileAndNamesEachFailure) {
  for (unsigned jobs : {1u, 3u}) {
    SCOPED_TRACE(jobs);
    BatchInputs in;
    BatchOptions options;
    options.format = OutputFormat::Json;
    options.outputDirectory = in.output.string();
    options.jobs = jobs;
    const BatchReport report = runBatch(convert_test::readerTable(), in.files, options, nullptr);
    EXPECT_EQ(report.converted, 3u);
    ASSERT_EQ(report.failures.size(), 2u);
    EXPECT_EQ(report.failures[0].input, in.files[1]);
    EXPECT_NE(report.failures[0].reason.find("not a workbook"), std::string::npos);
    EXPECT_EQ(report.failures[1].input, in.files[4]);
    EXPECT_NE(report.failures[1].reason.find("cannot open"), std::string::npos);
    EXPECT_EQ(report.bytes,
              fs::file_size(in.files[0]) + fs::file_size(in.files[2]) + fs::file_size(in.files[3]));
    for (const char* name : {"styled.json", "budget.json", "styled-2.json"}) {
      const std::string text = convert_test::readFile(in.output / name);
      EXPECT_TRUE(nlohmann::json::accept(text)) << name;
    }
    EXPECT_FALSE(fs::exists(in.output / "broken.json"));
    EXPECT_FALSE(fs::exists(in.output / "missing.json"));
    EXPECT_EQ(std::distance(fs::directory_iterator(in.output), {}), 3);  // no partial files

    const std::string summary = batchSummary(report, in.files.size());
    EXPECT_NE(summary.find("wzss: " + in.files[1] + ": "), std::string::npos) << summary;
    EXPECT_NE(summary.find("converted 3 of 5 workbooks (2 failed)"), std::string::npos) << summary;
  }
}

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

// Usage errors exit with 2, a file that cannot be read with 1.
TEST(ConvertCommand, ErrorsExitWithTheirStatusAndSayWhy) {
  const std::string styled = convert_test::dataPath("styled.wzs");
  const struct {
    std::string arguments;
    int status;
    const char* message;
  } cases[] = {
      {"convert --to pdf -o /tmp/x " + styled, 2, "pdf"},
      {"convert --to html " + styled, 2, "--output"},
      {"csv " + styled + " --sheet 3", 2, "no sheet \"3\""},
      {"html", 2, "FILE"},
      {"json /nonexistent/book.wzs", 1, "/nonexistent/book.wzs: cannot open"},
  };
  for (const auto& c : cases) {
    const CommandResult result = runCommand(c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments << "\n" << result.output;
    EXPECT_NE(result.output.find(c.message), std::string::npos) << c.arguments << "\n"
                                                                << result.output;
  }
}

TEST(ConvertCommand, OneSheetGoesToStdoutByNameOrNumber) {
  const std::string styled = convert_test::dataPath("styled.wzs");
  for (const char* sheet : {"2", "'Q1/Q2 <b>x</b>'"}) {
    const CommandResult result = runCommand("csv " + styled + " --sheet " + sheet);
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "Region,Sales\r\nNorth,1200\r\n");
  }
}

// "-o out/" is a folder even for one sheet; a device takes the text alone.
TEST(ConvertCommand, OutputNamesAFolderOrADevice) {
  convert_test::TempDir dir;
  const std::string csv = "csv " + convert_test::dataPath("styled.wzs") + " --sheet 2 -o ";
  const CommandResult folder = runCommand(csv + (dir.path() / "out").string() + "/");
  EXPECT_EQ(folder.status, 0) << folder.output;
  EXPECT_EQ(convert_test::readFile(dir.path() / "out" / "Q1_Q2 _b_x__b_.csv"),
            "Region,Sales\r\nNorth,1200\r\n");
  const CommandResult device = runCommand(csv + "/dev/stdout");
  EXPECT_EQ(device.status, 0);
  EXPECT_EQ(device.output, "Region,Sales\r\nNorth,1200\r\n");
}

TEST(ConvertCommand, EverySubcommandHasHelp) {
  for (const char* command : {"csv", "json", "html", "convert"}) {
    const CommandResult result = runCommand(std::string(command) + " --help");
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_NE(result.output.find("--output"), std::string::npos) << command << result.output;
  }
}

}  // namespace
}  // namespace wzss::cli

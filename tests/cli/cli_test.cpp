// The wzss command as a user runs it: exit codes, the one stderr line of a
// failure, what info, dump and objects print for the samples, and the golden
// dumps of the samples.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_files.h"

namespace wzss::cli {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::TempDir;

const std::string kSamples = WZSS_SAMPLES_DIR;
const std::string kBudget = kSamples + "/budget.wzs";
const std::string kLegend = kSamples + "/inventory-legend.txt";

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

struct CommandRun {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs the built command with stdin closed (or reading a file); a hang
// fails the test through timeout's status instead of blocking the suite.
CommandRun wzss(const std::vector<std::string>& args, const std::string& input = "/dev/null") {
  static const TempDir scratch;
  const fs::path out = scratch.path() / "stdout", err = scratch.path() / "stderr";
  std::string command = "timeout 120 '" WZSS_CLI_PATH "'";
  for (const std::string& arg : args) command += " '" + arg + "'";
  command += " >'" + out.string() + "' 2>'" + err.string() + "' <'" + input + "'";
  const int raw = std::system(command.c_str());
  CommandRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  run.out = readFile(out);
  run.err = readFile(err);
  return run;
}

struct ErrorCase {
  const char* name;
  std::vector<std::string> args;
  int status;              // 2 for a usage error, 1 for a file or plug-in that failed
  std::string stderrPart;  // how stderr starts; a failure says no more than one line
};

class ErrorTest : public testing::TestWithParam<ErrorCase> {};

// Nothing on stdout. A usage error says why; a failure is one line naming
// the file or the plug-in.
TEST_P(ErrorTest, ExitsWithItsStatusAndSaysWhy) {
  const ErrorCase& c = GetParam();
  const CommandRun run = wzss(c.args);
  EXPECT_EQ(run.status, c.status) << run.err;
  EXPECT_TRUE(run.out.empty()) << run.out;
  EXPECT_EQ(run.err.rfind(c.stderrPart, 0), 0u) << run.err;
  if (c.status == 1) {
    EXPECT_EQ(linesOf(run.err).size(), 1u) << run.err;
  }
}

// The one stderr line of a failure.
std::string failure(const std::string& subject, const std::string& reason) {
  return "wzss: " + subject + ": " + reason + "\n";
}

const std::string kNotAWorkbook = "not a workbook of this format";
const std::string kSheetOption = "--sheet";
const std::string kNoSheet = "wzss: " + kBudget + ": no sheet \"";

INSTANTIATE_TEST_SUITE_P(
    Errors, ErrorTest,
    testing::Values(
        ErrorCase{"noCommand", {}, 2, "wzss: no command given (the commands: info, dump, "},
        ErrorCase{"onlyAnOption", {"-x"}, 2, "wzss: no command given"},
        ErrorCase{"unknownCommand", {"frobnicate", kBudget}, 2, "wzss: unknown command \"frobnicate\""},
        ErrorCase{"missingFileArgument", {"dump"}, 2, "wzss: FILE is required\n"},
        ErrorCase{"unknownOption", {"info", kBudget, "--bogus"}, 2,
                  "wzss: The following argument was not expected: --bogus\n"},
        ErrorCase{"unknownEncoding", {"csv", kBudget, "--encoding", "NO-SUCH"}, 2,
                  "wzss: --encoding: unknown encoding \"NO-SUCH\"\n"},
        ErrorCase{"sheetZero", {"dump", kBudget, kSheetOption, "0"}, 2, kNoSheet + "0\""},
        ErrorCase{"sheetNotAName", {"objects", kBudget, kSheetOption, "two"}, 2, kNoSheet + "two\""},
        ErrorCase{"sheetOutsideTheList", {"json", kBudget, kSheetOption, "3"}, 2,
                  kNoSheet + "3\" (the workbook has 2: give a name or a number from 1)\n"},
        ErrorCase{"htmlSheet", {"html", kBudget, kSheetOption, "Nope"}, 2, kNoSheet + "Nope\""},
        ErrorCase{"jobsZero", {"convert", "--to", "csv", "-o", "/tmp/x", "-j", "0", kBudget}, 2,
                  "wzss: --jobs: \"0\" is not a whole number from 1\n"},
        ErrorCase{"convertToAnUnknownFormat", {"convert", "--to", "pdf", "-o", "/tmp/x", kBudget}, 2,
                  "wzss: --to: pdf not in {csv,json,html,xlsx}\n"},
        ErrorCase{"convertWithoutOutput", {"convert", "--to", "html", kBudget}, 2,
                  "wzss: --output is required\n"},
        ErrorCase{"linesAndPretty", {"json", kBudget, "--lines", "--pretty"}, 2,
                  "wzss: --lines excludes --pretty\n"},
        ErrorCase{"allWithoutDirectory", {"csv", kBudget, "--all"}, 2,
                  "wzss: csv: --all writes one file per sheet: give the directory with -o DIR\n"},
        ErrorCase{"notAWorkbookOnStdin", {"info", "-"}, 1, "wzss: stdin: "},
        ErrorCase{"missingFile",
                  {"dump", "/nonexistent/book.wzs"},
                  1,
                  failure("/nonexistent/book.wzs", "cannot open: No such file or directory")},
        ErrorCase{"notAWorkbook", {"info", WZSS_GOLDEN_DIR "/budget.dump"}, 1,
                  failure(WZSS_GOLDEN_DIR "/budget.dump", kNotAWorkbook)},
        ErrorCase{
            "linkedTextIsNoWorkbook", {"objects", kLegend}, 1, failure(kLegend, kNotAWorkbook)},
        ErrorCase{
            "directory", {"dump", kSamples}, 1, failure(kSamples, "cannot open: is a directory")},
        ErrorCase{"missingPlugIn",
                  {"--plugin", "/nonexistent/libwzss.so", "info", kBudget},
                  1,
                  "wzss: plug-in: cannot load /nonexistent/libwzss.so: "}),
    [](const auto& info) { return info.param.name; });

// What a script or a person sees: plain lines, JSON, standard input ("-"),
// notes on stderr that --quiet silences (before or after the subcommand), the
// raw sheet fields with --verbose through a plug-in named on the command line,
// one sheet's dump, objects listed without extracting, the version and help.
TEST(CliTest, CommandLineHabits) {
  const std::string budgetJson =
      R"({"file":"budget.wzs","version":"440","versionCode":4,"sheets":[)"
      R"({"number":1,"name":"Budget"},{"number":2,"name":"Sales"}]})"
      "\n";
  const std::string sales = wzss({"csv", kBudget, "--sheet", "2"}).out;
  const std::string quarterly = readFile(WZSS_GOLDEN_DIR "/quarterly.dump");
  const size_t regions = quarterly.find("\nsheet 2 ") + 1;
  const struct {
    std::vector<std::string> args;
    std::string input, out, errStart;
  } cases[] = {
      {{"info", kBudget}, "/dev/null",
       "version \"440\" code 4\nsheets 2\nsheet 1 \"Budget\"\nsheet 2 \"Sales\"\n", ""},
      {{"--plugin", WZSS_PLUGIN_PATH, "info", kBudget, "--verbose"}, "/dev/null",
       "version \"440\" code 4\nsheets 2\nsheet 1 \"Budget\" nameLength=6 kind=16384 view=1004\n"
       "sheet 2 \"Sales\" nameLength=5 kind=16384 view=1300\n",
       ""},
      {{"info", kBudget, "--json"}, "/dev/null", budgetJson, ""},
      {{"info", "-", "--json"}, kBudget,
       budgetJson.substr(0, 9) + "stdin" + budgetJson.substr(19), ""},
      {{"csv", "-", "--sheet", "Sales"}, kBudget, sales, ""},
      {{"csv", kBudget}, "/dev/null", "",
       "wzss: " + kBudget + ": wrote sheet 1 \"Budget\" of 2; --sheet N|NAME for another"},
      {{"--quiet", "csv", kBudget}, "/dev/null", "", ""},
      {{"csv", kBudget, "-q"}, "/dev/null", "", ""},
      {{"dump", kSamples + "/quarterly.wzs", "--sheet", "Regions"}, "/dev/null",
       quarterly.substr(regions, quarterly.find("\nsheet 3 ") + 1 - regions), ""},
      {{"objects", kBudget}, "/dev/null",
       "sheet 2 object 1 kind=21 from=E2+720,64 to=J14+0,128 border=L5#000000,T5#000000,R5#000000,"
       "B5#000000 w156=0 descriptor=36,frame=3#000000,preset=1 content=stream:222 "
       "size=\"W4.00inH3.00in\"\n",
       ""},
      {{"--version"}, "/dev/null", "wzss " WZSS_VERSION "\n", ""},
      {{"dump", "--help"}, "/dev/null", "", ""},
  };
  for (const auto& c : cases) {
    const CommandRun run = wzss(c.args, c.input);
    EXPECT_EQ(run.status, 0) << c.args.back() << run.err;
    if (!c.out.empty()) {
      EXPECT_EQ(run.out, c.out) << c.args.back();
    }
    EXPECT_EQ(run.err.rfind(c.errStart, 0), 0u) << c.args.back() << run.err;
    if (c.errStart.empty()) {
      EXPECT_EQ(run.err, "");
    }
  }
}

// Only visible objects are listed: quarterly's sheet 1 has a chart and a
// Picture block (not an object item), its sheet 2 a hidden object and a
// chart; inventory's first drawing is a linked file, written as it is, and
// its second has a lower-case page-size line. The directory is created. The
// golden drawings are the file's lines from "*BEGIN GRAPHICS" through
// "*END GRAPHICS" with every page-size line (any case) replaced by the size
// text, checked by hand against the samples.
TEST(CliTest, ObjectsListsVisibleObjectsAndExtractsTheirDrawings) {
  TempDir dir;
  const fs::path out = dir.path() / "drawings";
  const std::string quarterly = kSamples + "/quarterly.wzs";
  const CommandRun run = wzss({"objects", quarterly, "--extract", out.string()});
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(linesOf(run.out).size(), 2u) << run.out;
  EXPECT_EQ(run.out.rfind("sheet 1 object 1 kind=21 from=F2+720,64 ", 0), 0u) << run.out;
  EXPECT_NE(run.out.find("\nsheet 2 object 1 kind=21 from=D2+360,32 "), std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("-> " + (out / "2-1.txt").string() + "\n"), std::string::npos);
  EXPECT_EQ(readFile(out / "1-1.txt"), readFile(WZSS_GOLDEN_DIR "/quarterly-1-1.txt"));
  // Drawing 2 of the file belongs to the hidden object; the golden is drawing 3.
  EXPECT_EQ(readFile(out / "2-1.txt"), readFile(WZSS_GOLDEN_DIR "/quarterly-2-1.txt"));
  EXPECT_FALSE(fs::exists(out / "2-2.txt"));

  const std::string inventory = kSamples + "/inventory.wzs";
  const CommandRun linked = wzss({"objects", inventory, "--extract", dir.path().string()});
  ASSERT_EQ(linked.status, 0) << linked.err;
  ASSERT_EQ(linesOf(linked.out).size(), 2u) << linked.out;
  EXPECT_EQ(readFile(dir.path() / "1-1.txt"), readFile(kLegend));
  EXPECT_EQ(readFile(dir.path() / "2-1.txt"), readFile(WZSS_GOLDEN_DIR "/inventory-2-1.txt"));
}

// Damage the command can see is said on stderr naming the file, the output
// still made; --strict makes it fail, and convert counts warnings per file.
TEST(CliTest, DamagedWorkbooksAreReportedAndFailOnlyWhenStrict) {
  TempDir dir;
  const std::string budget = readFile(kBudget);
  const std::string header = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII";
  const struct {
    const char* name;
    std::string text;
    std::vector<std::string> said;
  } cases[] = {
      {"cut.wzs", budget.substr(0, budget.size() * 3 / 4), {"may be cut off"}},
      {"carriage.wzs",
       header + "\rView Start, Name: #A: ~A\rView End,\r",
       {"no sheet", "may be cut off"}},
      {"prologue.wzs",
       header + "\nView Start, Name: #A: ~A\nView End,\nAttr Table Start\n",
       {"only the 1 sheet(s) listed"}},
  };
  std::vector<std::string> files;
  for (const auto& c : cases) {
    const std::string path = (dir.path() / c.name).string();
    std::ofstream(path, std::ios::binary) << c.text;
    files.push_back(path);
    const CommandRun run = wzss({"info", path});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> lines = linesOf(run.err);
    ASSERT_EQ(lines.size(), c.said.size()) << c.name << "\n" << run.err;
    for (size_t i = 0; i < lines.size(); ++i) {
      EXPECT_EQ(lines[i].rfind("wzss: " + path + ": warning: ", 0), 0u) << lines[i];
      EXPECT_NE(lines[i].find(c.said[i]), std::string::npos) << lines[i];
    }
    EXPECT_EQ(wzss({"--strict", "-q", "info", path}).status, 1) << c.name;
  }
  for (const char* format : {"csv", "json", "html", "xlsx"}) {
    std::vector<std::string> convert = {"convert", "--to", format, "-o",
                                        (dir.path() / format).string(), kBudget};
    convert.insert(convert.end(), files.begin(), files.begin() + 2);
    const CommandRun run = wzss(convert);
    EXPECT_EQ(run.status, 0) << format << ": " << run.err;
    EXPECT_NE(run.err.find("converted 3 of 3 workbooks (warnings: " + files[0] + " 1, " +
                           files[1] + " 2)"),
              std::string::npos)
        << format << ": " << run.err;
    convert.insert(convert.begin(), "--strict");
    EXPECT_EQ(wzss(convert).status, 1) << format;
  }
  EXPECT_TRUE(fs::exists(dir.path() / "csv" / "cut"));
}

// A linked object reaches no further than --linked-files lets it: by
// default its workbook's folder, so a path out of it extracts nothing.
TEST(CliTest, LinkedFilesStayWhereTheOptionLetsThemReach) {
  TempDir dir;
  fs::create_directories(dir.path() / "books");
  std::ofstream(dir.path() / "secret.txt") << "secret\n";
  std::ofstream(dir.path() / "books" / "chart.txt") << "chart\n";
  std::string book = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n";
  for (const char* path : {"chart.txt", "../secret.txt"})
    book += std::string("Graphic Obj Start: 1\nObject Type: Graphics\nObject Plane: A\n") +
            "Object Path: " + path +
            "\nObject Attrs: Hidden:0, Locked:0, Print:1, Link:1\nGraphic Obj End: 1\n";
  book += "View Start, Name: #One: ~A\nView End,\nHeaders and Footers End\n('||) A!A1: x\n";
  const fs::path workbook = dir.path() / "books" / "linked.wzs";
  std::ofstream(workbook) << book;
  const struct {
    std::vector<std::string> option;
    const char* first;   // extracted from chart.txt, "" for nothing
    const char* second;  // from ../secret.txt
  } cases[] = {{{}, "chart\n", ""},
               {{"--linked-files", "none"}, "", ""},
               {{"--linked-files=" + dir.path().string()}, "chart\n", "secret\n"}};
  for (const auto& c : cases) {
    const fs::path out = dir.path() / "out";
    fs::remove_all(out);
    std::vector<std::string> args = {"objects", workbook.string(), "--extract", out.string()};
    args.insert(args.end(), c.option.begin(), c.option.end());
    const CommandRun run = wzss(args);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(readFile(out / "1-1.txt"), c.first) << args.back();
    EXPECT_EQ(readFile(out / "1-2.txt"), c.second) << args.back();
  }
}

// Texts come out in UTF-8 (the golden dumps show each conversion); what had
// to be replaced or assumed on the way is said once on stderr.
TEST(CliTest, EncodingWarningsOverrideAndByteOrderMark) {
  const std::string book = kSamples + "/encodings.wzs";
  const std::string warning = "wzss: " + book + ": warning: ";
  const CommandRun csv = wzss({"csv", book, "--bom"});
  EXPECT_EQ(csv.out.rfind("\xEF\xBB\xBFRaw: na\xC3\xAFve \xE2\x82\xAC ", 0), 0u) << csv.out;
  EXPECT_EQ(csv.err, warning + "2 byte(s) not valid in WINDOWS-1252 replaced by U+FFFD\n");
  EXPECT_EQ(wzss({"csv", book, "--values", "typed"}).out.substr(0, 37),
            "Raw: na\xC3\xAFve \xE2\x82\xAC \xE2\x80\x9Cquoted\xE2\x80\x9D,1234.5\r\n");
  // In ISO-8859-15 0x80 is a control character and 0x81 is valid.
  const CommandRun latin9 = wzss({"csv", book, "--encoding", "ISO-8859-15"});
  EXPECT_EQ(latin9.out.rfind("Raw: na\xC3\xAFve \xC2\x80 ", 0), 0u) << latin9.out;
  EXPECT_EQ(latin9.err, "");
  const CommandRun ascii = wzss({"dump", kSamples + "/formats.wzs"});
  EXPECT_EQ(ascii.err, "wzss: " + kSamples + "/formats.wzs: warning: 1 byte(s) above 0x7F in "
                       "texts of an ASCII workbook read as ISO-8859-1\n");

  TempDir dir;
  const fs::path utf8 = dir.path() / "utf8.wzs";
  std::string cp1252 = readFile(book);
  std::ofstream(utf8) << cp1252.replace(cp1252.find("ENCODING=WINDOWS-1252"), 21,
                                        "Encoding=UTF-8");  // the keyword in any case
  EXPECT_NE(wzss({"info", utf8.string()}).err.find(" not valid in UTF-8 replaced by U+FFFD\n"),
            std::string::npos);
  const fs::path unknown = dir.path() / "unknown.wzs";
  std::string text = readFile(kBudget);
  text.replace(text.find("US-ASCII"), 8, "NO\x1bSUCH");  // shown, never sent to the terminal
  std::ofstream(unknown) << text;
  const CommandRun named = wzss({"info", unknown.string()});
  EXPECT_EQ(named.err, "wzss: " + unknown.string() + ": warning: the header's encoding "
                       "\"NO\\x1bSUCH\" is unknown: texts are read as ISO-8859-1\n");
}

// Golden dumps: `wzss dump` of every sample, byte for byte. The golden files
// were checked by hand against the workbooks before they were committed;
// when a change of the reader alters one on purpose, regenerate it with
//   build/bin/wzss dump samples/NAME.wzs > tests/cli/golden/NAME.dump
// and check the difference line by line.
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
  const CommandRun run = wzss({"dump", kSamples + "/" + GetParam() + ".wzs"});
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string want = readFile(golden);
  if (want == run.out) return;
  // Name the first line that differs: a whole dump in the failure is unreadable.
  const std::vector<std::string> wantLines = linesOf(want), gotLines = linesOf(run.out);
  for (size_t i = 0; i < std::max(wantLines.size(), gotLines.size()); ++i) {
    const std::string w = i < wantLines.size() ? wantLines[i] : "<end>";
    const std::string g = i < gotLines.size() ? gotLines[i] : "<end>";
    if (w != g) FAIL() << "line " << i + 1 << " differs\n  golden: " << w << "\n  dump:   " << g;
  }
  FAIL() << "the dumps differ only in their line ends";
}

INSTANTIATE_TEST_SUITE_P(Samples, GoldenDumpTest, testing::ValuesIn(sampleNames()),
                         [](const auto& info) { return info.param; });

}  // namespace
}  // namespace wzss::cli

#include "cli/convert_commands.h"
#include "cli/batch.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <thread>

#include "cli/csv_writer.h"
#include "cli/exit_status.h"
#include "cli/html_writer.h"
#include "cli/json_writer.h"
#include "cli/output_files.h"
#include "cli/sheet_model.h"
#include "cli/xlsx_writer.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

// Each piece is flushed, so a reader at the other end of a pipe sees the
// first bytes as soon as they are made.
bool writeStdout(const PieceProducer& content) {
  return content([](std::string_view piece) {
           return std::fwrite(piece.data(), 1, piece.size(), stdout) == piece.size() &&
                  std::fflush(stdout) == 0;
         }) &&
         std::fflush(stdout) == 0;
}

// The absolute path of the file OUT, once written, so a script or a person
// knows where to look. A device or FIFO (-o /dev/stdout) took the text
// itself: no path follows it there.
void printWritten(const std::string& output) {
  std::error_code code;
  if (fs::is_regular_file(output, code))
    fmt::print("{}\n", fs::absolute(output).lexically_normal().string());
}

// The text goes to OUT, or to stdout without OUT.
int emit(const std::string& output, const PieceProducer& content) {
  if (output.empty() || output == "-") {
    if (!writeStdout(content)) return fail("stdout", "write error");
    return kExitOk;
  }
  std::string error;
  if (!writeFileAtomically(output, content, &error)) return fail(output, error);
  printWritten(output);
  return kExitOk;
}

int emit(const std::string& output, std::string_view content) {
  return emit(output, [content](const PieceWriter& write) { return write(content); });
}

// `wzss csv`: the sheet asked for, or the first sheet, to OUT or stdout,
// with a note when other sheets were left out; with --all every sheet into
// the directory OUT. Which one it is shows once the sheet list is known,
// before any sheet is read.
class CsvCommandSink : public CsvSink {
 public:
  CsvCommandSink(const CommonOptions& common, const std::string& output, bool all)
      : common_(common), output_(output), all_(all) {}

  bool begin(const std::vector<host::SheetInfo>& sheets) override {
    if (all_) {
      directory_.emplace(output_);
      return directory_->begin(sheets);
    }
    if (common_.sheet.empty()) {
      if (sheets.size() > 1 && common_.showNotes())
        note_ = fmt::format(
            "wrote sheet 1 \"{}\" of {}; --sheet N|NAME for another, --all -o DIR for every sheet",
            sheets[0].name, sheets.size());
      if (sheets.empty()) return false;
    } else {
      const std::optional<size_t> found = findSheet(sheets, common_.sheet);
      if (!found) {
        refusal_ = noSuchSheet(common_.sheet, sheets.size());
        return false;
      }
      target_ = *found;
    }
    // "-o out/" or an existing folder receives the one sheet's file too.
    if (namesFolder(output_)) {
      directory_.emplace(output_);
      return directory_->begin(sheets);
    }
    return true;
  }
  bool wants(const host::SheetInfo& info) override {
    return all_ || info.number == target_ + 1;
  }
  bool sheet(const host::SheetInfo& info, const PieceProducer& csv) override {
    if (directory_) return directory_->sheet(info, csv);
    emitted_ = emit(output_, csv);
    return false;  // the one sheet is out
  }

  // The exit status once the workbook was read without error.
  int finish(const std::string& file) const {
    if (!refusal_.empty()) return fail(file, refusal_, kExitUsage);
    if (directory_) {
      if (!directory_->error().empty()) return fail(output_, directory_->error());
      for (const std::string& path : directory_->written())
        fmt::print("{}\n", fs::absolute(path).lexically_normal().string());
      return kExitOk;
    }
    if (!note_.empty() && emitted_ == kExitOk) fmt::print(stderr, "wzss: {}: {}\n", file, note_);
    return emitted_.value_or(kExitOk);
  }

 private:
  const CommonOptions& common_;
  std::string output_;
  bool all_;
  size_t target_ = 0;
  std::string refusal_;
  std::string note_;
  std::optional<CsvDirectory> directory_;
  std::optional<int> emitted_;
};

OutputFormat formatNamed(const std::string& name) {
  if (name == "csv") return OutputFormat::Csv;
  if (name == "json") return OutputFormat::Json;
  if (name == "xlsx") return OutputFormat::Xlsx;
  return OutputFormat::Html;
}

}  // namespace

ConvertCommands::ConvertCommands(CLI::App& app, CommonOptions& common) : common_(common) {
  csv_ = app.add_subcommand(
      "csv",
      "Write a sheet as CSV (RFC 4180: CRLF, quoted fields) of its display texts: the first "
      "sheet unless --sheet or --all says otherwise (a note on stderr names the sheets left out)");
  addInput(csv_, common);
  auto* sheet = csv_->add_option("--sheet", common.sheet,
                                 "Only this sheet: its name, or its number counted from 1");
  csv_->add_option("-o,--output", output_,
                   "Output file (default: stdout); with --all the directory that receives one "
                   "file per sheet, named after the sheets");
  csv_->add_flag("--all", all_, "Every sheet, one file each, into the directory -o DIR")
      ->excludes(sheet);
  csv_->add_flag("--keep-hidden", keepHidden_,
                 "Keep hidden rows and columns (their cells come without text)");
  csv_->add_flag("--bom", bom_, "Begin each file with a UTF-8 byte-order mark");
  const auto valuesOption = [this](CLI::App* command) {
    command
        ->add_option("--values", values_,
                     "display: the texts as shown; typed: numbers without separators, "
                     "dates and times in ISO 8601, where the text fixes them exactly")
        ->check(CLI::IsMember({"display", "typed"}))
        ->capture_default_str();
  };
  valuesOption(csv_);

  json_ = app.add_subcommand("json",
                             "Write the whole workbook as one JSON document (docs/json-schema.md)");
  addInput(json_, common);
  addSheetOption(json_, common);
  json_->add_option("-o,--output", output_, "Output file (default: stdout)");
  const auto jsonOptions = [this](CLI::App* command) {
    auto* lines = command->add_flag(
        "--lines", lines_, "One JSON object per cell and line (NDJSON), each naming its sheet");
    command->add_flag("--pretty", pretty_, "Indent the document by two blanks")->excludes(lines);
  };
  jsonOptions(json_);

  const auto titleOptions = [this](CLI::App* command) {
    command->add_option(
        "--title-rows", titleRows_,
        "Keep the first N rows in view while scrolling (default: each sheet's title rows)");
    command->add_option("--title-columns", titleColumns_,
                        "Keep the first N columns in view while scrolling (default: each sheet's "
                        "title columns)");
  };
  html_ = app.add_subcommand("html",
                             "Write the workbook as one self-contained HTML page, a tab per sheet");
  addInput(html_, common);
  addSheetOption(html_, common);
  html_->add_option("-o,--output", output_, "Output file (default: stdout)");
  titleOptions(html_);

  xlsx_ = app.add_subcommand(
      "xlsx", "Write the workbook as an XLSX file: a worksheet per sheet, with the cells' styles");
  addInput(xlsx_, common);
  xlsx_->add_option("-o,--output", output_,
                    "Output file (default: stdout, when it is not a terminal)");

  convert_ =
      app.add_subcommand("convert", "Convert many workbooks into a directory, on several threads");
  convert_->add_option("--to", to_, "Output format")
      ->required()
      ->check(CLI::IsMember({"csv", "json", "html", "xlsx"}));
  convert_
      ->add_option("-o,--output", output_,
                   "Output directory: NAME.json, NAME.html or NAME.xlsx per workbook, or "
                   "for CSV a directory NAME with one file per sheet")
      ->required();
  convert_->add_option("-j,--jobs", jobs_, "Worker threads (default: one per processor)")
      ->check(positiveWhole());
  convert_->add_flag("--keep-hidden", keepHidden_, "CSV: keep hidden rows and columns");
  jsonOptions(convert_);
  titleOptions(convert_);
  convert_->add_option("FILES", files_, "Workbook files")->required();
  convert_->add_flag("--bom", bom_, "CSV: begin each file with a UTF-8 byte-order mark");
  valuesOption(convert_);
  for (CLI::App* command : {csv_, json_, html_, xlsx_, convert_})
    addEncodingOption(command, common);
}

bool ConvertCommands::parsed() const {
  return csv_->parsed() || json_->parsed() || html_->parsed() || xlsx_->parsed() ||
         convert_->parsed();
}

int ConvertCommands::run(const SSReaderInterface& table) {
  if (csv_->parsed()) return runCsv(table);
  if (json_->parsed()) return runJson(table);
  if (html_->parsed()) return runHtml(table);
  if (xlsx_->parsed()) return runXlsx(table);
  if (convert_->parsed()) return runConvert(table);
  return kExitUsage;
}

int ConvertCommands::runCsv(const SSReaderInterface& table) {
  if (all_ && (output_.empty() || output_ == "-"))
    return fail("csv", "--all writes one file per sheet: give the directory with -o DIR",
                kExitUsage);
  CsvCommandSink sink(common_, output_, all_);
  uint64_t bytes = 0;
  CsvOptions options;
  options.keepHidden = keepHidden_;
  options.bom = bom_;
  options.encoding = common_.encoding;
  options.typedValues = values_ == "typed";
  std::vector<std::string> warnings;
  auto walked = writeCsvSheets(table, common_.file, options, sink, &bytes, &warnings, common_.read);
  common_.warn(common_.name(), warnings);
  if (!walked) return fail(common_.name(), walked.error().message);
  return sink.finish(common_.name());
}

int ConvertCommands::runJson(const SSReaderInterface& table) {
  JsonOutcome outcome;
  uint64_t bytes = 0;
  const PieceProducer json =
      workbookJson(table, common_.file, JsonOptions{lines_, pretty_, common_.encoding, common_.sheet, common_.read},
                   &bytes, &outcome);
  const bool toStdout = output_.empty() || output_ == "-";
  std::string error;
  const bool written = toStdout ? writeStdout(json) : writeFileAtomically(output_, json, &error);
  common_.warn(common_.name(), outcome.warnings);
  if (!outcome.walked) return fail(common_.name(), outcome.walked.error().message);
  if (!outcome.refusal.empty()) return fail(common_.name(), outcome.refusal, kExitUsage);
  if (!written) return toStdout ? fail("stdout", "write error") : fail(output_, error);
  if (!toStdout) printWritten(output_);
  return kExitOk;
}

int ConvertCommands::runHtml(const SSReaderInterface& table) {
  auto book = readWorkbook(table, common_.file, common_.encoding, common_.read);
  if (!book) return fail(common_.name(), book.error().message);
  common_.warn(common_.name(), book.value().warnings);
  if (!common_.sheet.empty()) {
    std::vector<SheetModel>& sheets = book.value().sheets;
    std::vector<host::SheetInfo> infos;
    for (const SheetModel& sheet : sheets) infos.push_back(sheet.info);
    const std::optional<size_t> found = findSheet(infos, common_.sheet);
    if (!found) return fail(common_.name(), noSuchSheet(common_.sheet, infos.size()), kExitUsage);
    sheets = {std::move(sheets[*found])};
  }
  HtmlOptions options;
  options.titleRows = titleRows_;
  options.titleColumns = titleColumns_;
  return emit(output_, workbookHtml(book.value(), options));
}

int ConvertCommands::runXlsx(const SSReaderInterface& table) {
  const bool toStdout = output_.empty() || output_ == "-";
  // A zip file is no text for a terminal.
  if (toStdout && isatty(STDOUT_FILENO))
    return fail(common_.name(), "stdout is a terminal: give -o OUT.xlsx, or redirect", kExitUsage);
  XlsxStats stats;
  int status = kExitOk;
  auto failed = convertToXlsx(
      table, common_.file, common_.encoding, common_.read,
      [&](const PieceProducer& xlsx) { return (status = emit(output_, xlsx)) == kExitOk; },
      &stats);
  common_.warn(common_.name(), stats.warnings);
  if (failed && !failed->empty()) return fail(common_.name(), *failed);
  if (status != kExitOk) return status;
  return kExitOk;
}

int ConvertCommands::runConvert(const SSReaderInterface& table) {
  BatchOptions options;
  options.format = formatNamed(to_);
  options.outputDirectory = output_;
  options.jobs = jobs_ != 0 ? jobs_ : std::max(1u, std::thread::hardware_concurrency());
  options.encoding = common_.encoding;
  options.csv.keepHidden = keepHidden_;
  options.csv.bom = bom_;
  options.csv.typedValues = values_ == "typed";
  options.json = JsonOptions{lines_, pretty_, {}, {}, {}};
  options.html.titleRows = titleRows_;
  options.html.titleColumns = titleColumns_;
  options.read = common_.read;
  std::error_code code;
  fs::create_directories(output_, code);
  if (code) return fail(output_, "cannot create: " + code.message());
  std::FILE* progress = common_.showProgress() ? stderr : nullptr;
  BatchReport report = runBatch(table, files_, options, progress);
  common_.warningCount += report.warnings.size();
  if (!common_.showNotes() && !common_.strict) report.warnings.clear();
  // The failures are errors and always said; the summary is a note.
  std::string said = batchSummary(report, files_.size());
  if (!common_.showNotes()) said.erase(said.rfind('\n', said.size() - 2) + 1);  // the summary line
  std::fputs(said.c_str(), stderr);
  return report.failures.empty() ? kExitOk : kExitFailure;
}

}  // namespace wzss::cli

// wzss: reads a workbook through the plug-in and prints what it delivers.
//
//   wzss info FILE [--json] [--verbose]   version and sheet list
//   wzss dump FILE [--sheet N|NAME]        every item of every sheet (or of one)
//   wzss objects FILE [--sheet N|NAME] [--extract DIR]
//   wzss csv | json | html | convert   the converter (cli/convert_commands.h)
//
// Exit status: 0 success; 1 the file (or the plug-in) cannot be opened or is
// not a workbook of this format, with one line on stderr; 2 usage errors.
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "cli/command_line.h"
#include "cli/convert_commands.h"
#include "cli/dump_format.h"
#include "cli/exit_status.h"
#include "cli/plugin_lookup.h"
#include "cli/sheet_model.h"
#include "wzss/host/file_stream.h"
#include "wzss/host/plugin.h"
#include "wzss/host/services.h"
#include "wzss/host/walker.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

constexpr size_t kOutputFlush = 64 * 1024;

// Lines go to stdout through one buffer; the walk produces many short lines.
class Output {
 public:
  ~Output() { flush(); }
  void line(std::string_view text) {
    buffer_.append(text);
    buffer_.push_back('\n');
    if (buffer_.size() >= kOutputFlush) flush();
  }
  bool flush() {
    if (!buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), stdout) != buffer_.size())
      ok_ = false;
    buffer_.clear();
    return ok_ && std::fflush(stdout) == 0;
  }

 private:
  std::string buffer_;
  bool ok_ = true;
};

// The file opened through the plug-in, with its sheet list.
struct Workbook {
  std::unique_ptr<host::FileStream> file;
  host::Services services;
  std::unique_ptr<host::Walker> walker;
};

int openWorkbook(const host::Plugin& plugin, const CommonOptions& common, Workbook& book) {
  const std::string& path = common.file;
  std::string error;
  book.file = host::FileStream::open(path, &error);
  if (!book.file) return fail(common.name(), "cannot open: " + error);
  // Linked objects name their files relative to the workbook's folder.
  book.services.setBaseFolder(fs::path(path).parent_path().string());
  book.services.setLinkedFiles(common.read.linkedFiles);
  host::WalkOptions options;
  options.encoding = common.encoding;
  // info, dump and objects show the items as the plug-in gives them.
  options.placeEmptyCells = false;
  book.walker =
      std::make_unique<host::Walker>(plugin.table(), book.file->get(), book.services.get(), options);
  auto sheets = book.walker->open();
  if (!sheets) return fail(common.name(), sheets.error().message);
  return kExitOk;
}

std::string readFirstBytes(const std::string& path, size_t count) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes(count, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(count));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

// The walker's warnings, once the workbook is done with (or given up).
struct WarningsAtEnd {
  const CommonOptions& common;
  const Workbook& book;
  ~WarningsAtEnd() {
    if (book.walker) common.warn(common.name(), book.walker->warnings());
  }
};

struct InfoOptions {
  bool json = false;
  bool verbose = false;  // the sheet list's fields as the plug-in gives them
};

void printInfoJson(const std::string& path, const std::string& digits,
                   const std::vector<host::SheetInfo>& sheets, const InfoOptions& options,
                   Output& out) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const auto& sheet : sheets) {
    nlohmann::ordered_json entry{{"number", sheet.number}, {"name", sheet.name}};
    if (options.verbose) {
      entry["nameLength"] = sheet.nameLength;
      entry["kind"] = sheet.kind;
      entry["view"] = sheet.viewPos;
    }
    list.push_back(std::move(entry));
  }
  const nlohmann::ordered_json document{{"file", fs::path(path).filename().string()},
                                        {"version", digits},
                                        {"versionCode", versionCode(digits)},
                                        {"sheets", std::move(list)}};
  out.line(document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

int runInfo(const host::Plugin& plugin, const CommonOptions& common, const InfoOptions& options,
            Output& out) {
  const std::string& path = common.file;
  Workbook book;
  WarningsAtEnd warnings{common, book};
  if (int status = openWorkbook(plugin, common, book); status != kExitOk) return status;
  constexpr size_t kHeaderBytes = 64;
  const std::string digits = headerVersion(readFirstBytes(path, kHeaderBytes));
  const auto& sheets = book.walker->sheets();
  if (options.json) {
    printInfoJson(path, digits, sheets, options, out);
    return kExitOk;
  }
  out.line(fmt::format("version {} code {}", quoteText(digits), versionCode(digits)));
  out.line(fmt::format("sheets {}", sheets.size()));
  for (const auto& sheet : sheets)
    out.line(options.verbose ? sheetLine(sheet)
                             : fmt::format("sheet {} {}", sheet.number, quoteText(sheet.name)));
  return kExitOk;
}

// Walks the sheet named by --sheet, or every sheet.
int walkChosen(Workbook& book, const std::string& path, const std::string& sheet,
               host::SheetVisitor& visitor) {
  const auto& sheets = book.walker->sheets();
  if (sheet.empty()) {
    auto walked = book.walker->walkAll(visitor);
    return walked ? kExitOk : fail(path, walked.error().message);
  }
  const std::optional<size_t> index = findSheet(sheets, sheet);
  if (!index) return fail(path, noSuchSheet(sheet, sheets.size()), kExitUsage);
  auto walked = book.walker->walkSheet(*index, visitor);
  return walked ? kExitOk : fail(path, walked.error().message);
}

class DumpVisitor : public host::SheetVisitor {
 public:
  explicit DumpVisitor(Output& out) : out_(out) {}
  void beginSheet(const host::SheetInfo& sheet) override { out_.line(sheetLine(sheet)); }
  bool item(const host::SheetInfo&, host::Item& item) override {
    out_.line(itemLine(item));
    return true;
  }

 private:
  Output& out_;
};

int runDump(const host::Plugin& plugin, const CommonOptions& common, Output& out) {
  Workbook book;
  WarningsAtEnd warnings{common, book};
  if (int status = openWorkbook(plugin, common, book); status != kExitOk) return status;
  DumpVisitor visitor(out);
  return walkChosen(book, common.name(), common.sheet, visitor);
}

// Lists the objects of each sheet; stops a sheet at its first cell, since
// objects come before cells.
class ObjectVisitor : public host::SheetVisitor {
 public:
  ObjectVisitor(Output& out, std::string extractDir) : out_(out), dir_(std::move(extractDir)) {}

  void beginSheet(const host::SheetInfo&) override { count_ = 0; }
  bool item(const host::SheetInfo& sheet, host::Item& item) override {
    if (std::holds_alternative<host::Cell>(item)) return false;
    auto* object = std::get_if<host::Object>(&item);
    if (object == nullptr) return true;
    ++count_;
    std::string line = fmt::format("sheet {} object {} {}", sheet.number, count_,
                                   objectFields(*object));
    if (!dir_.empty() && object->content.stream() != nullptr) {
      const fs::path target = fs::path(dir_) / fmt::format("{}-{}.txt", sheet.number, count_);
      if (extract(object->content.stream(), target))
        line += " -> " + target.string();
      else
        failedFile_ = target.string();
    }
    out_.line(line);
    return failedFile_.empty();
  }
  const std::string& failedFile() const { return failedFile_; }

 private:
  static bool extract(StreamInterface* content, const fs::path& target) {
    std::ofstream file(target, std::ios::binary);
    if (!file) return false;
    const bool read = host::readContentLines(content, [&file](std::string_view line, bool newline) {
      file.write(line.data(), static_cast<std::streamsize>(line.size()));
      if (newline) file.put('\n');
    });
    file.close();
    return read && !file.fail();
  }

  Output& out_;
  std::string dir_;
  int count_ = 0;
  std::string failedFile_;
};

int runObjects(const host::Plugin& plugin, const CommonOptions& common,
               const std::string& extractDir, Output& out) {
  if (!extractDir.empty()) {
    std::error_code error;
    fs::create_directories(extractDir, error);
    if (error) return fail(extractDir, "cannot create: " + error.message());
  }
  Workbook book;
  WarningsAtEnd warnings{common, book};
  if (int status = openWorkbook(plugin, common, book); status != kExitOk) return status;
  ObjectVisitor visitor(out, extractDir);
  const int status = walkChosen(book, common.name(), common.sheet, visitor);
  if (!visitor.failedFile().empty()) return fail(visitor.failedFile(), "cannot write the drawing");
  return status;
}

int run(int argc, char** argv) {
  CLI::App app{"wzss: reads a spreadsheet workbook through the wzss plug-in and prints "
               "what the plug-in delivers"};
  app.set_version_flag("--version", "wzss " WZSS_VERSION);
  app.failure_message(usageMessage);
  std::string pluginPath;
  app.add_option("--plugin", pluginPath,
                 "The plug-in to load (default: $WZSS_PLUGIN, else the one installed with wzss)");
  CommonOptions common;
  addCommandOptions(app, common);
  app.require_subcommand(1);

  InfoOptions infoOptions;
  std::string extractDir;

  CLI::App* info = app.add_subcommand("info", "Print the header version and the sheet list");
  addInput(info, common);
  info->add_flag("--json", infoOptions.json, "One JSON object, for scripts");
  info->add_flag("-v,--verbose", infoOptions.verbose,
                 "Also the sheet list's raw fields (name length, kind, view position)");
  CLI::App* dump = app.add_subcommand("dump", "Print every item of every sheet, one per line");
  addInput(dump, common);
  addSheetOption(dump, common);
  CLI::App* objects = app.add_subcommand("objects", "List the graphic objects of every sheet");
  addInput(objects, common);
  addSheetOption(objects, common);
  objects->add_option("--extract", extractDir,
                      "Write each drawing to DIR/<sheet>-<n>.txt, page-size line replaced");
  for (CLI::App* command : {info, dump, objects}) addEncodingOption(command, common);
  ConvertCommands converter(app, common);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return kExitUsage;
  }

  const PluginLookup lookup = loadPlugin(pluginPath);
  if (!lookup.plugin) return fail("plug-in", lookup.error);
  const host::Plugin& plugin = *lookup.plugin;

  std::unique_ptr<StdinCopy> stdinCopy;
  if (common.file == "-") {
    std::string error;
    stdinCopy = StdinCopy::make(&error);
    if (!stdinCopy) return fail("-", error);
    common.file = stdinCopy->path();
    common.label = "stdin";
  }

  Output out;
  int status = kExitOk;
  if (info->parsed()) status = runInfo(plugin, common, infoOptions, out);
  if (dump->parsed()) status = runDump(plugin, common, out);
  if (objects->parsed()) status = runObjects(plugin, common, extractDir, out);
  if (converter.parsed()) status = converter.run(plugin.table());
  if (!out.flush() && status == kExitOk) return fail("stdout", "write error");
  return common.finalStatus(status);
}

}  // namespace
}  // namespace wzss::cli

int main(int argc, char** argv) { return wzss::cli::run(argc, argv); }

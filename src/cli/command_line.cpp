#include "cli/command_line.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "cli/exit_status.h"
#include "wzss/host/text_encoding.h"

namespace wzss::cli {
namespace {

// The copy's names for the signal handler, which may use nothing but
// async-signal-safe calls on fixed storage. The command makes one copy at
// most, so one slot is enough; the plug-in never sees these.
constexpr size_t kPathRoom = 4096;
char gCopyPath[kPathRoom];
char gCopyFolder[kPathRoom];

extern "C" void removeCopyAndDie(int signalNumber) {
  unlink(gCopyPath);
  rmdir(gCopyFolder);
  std::signal(signalNumber, SIG_DFL);
  std::raise(signalNumber);
}

std::string errnoText() { return std::error_code(errno, std::generic_category()).message(); }

bool copyAll(int from, int to, std::string* error) {
  constexpr size_t kChunk = 1 << 20;
  std::vector<char> buffer(kChunk);
  for (;;) {
    const ssize_t got = read(from, buffer.data(), buffer.size());
    if (got == 0) return true;
    if (got < 0) {
      if (errno == EINTR) continue;
      *error = "cannot read standard input: " + errnoText();
      return false;
    }
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = write(to, buffer.data() + done, static_cast<size_t>(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) {
        *error = "cannot copy standard input: " + errnoText();
        return false;
      }
      done += put;
    }
  }
}

const char* const kCommands = "info, dump, objects, csv, json, html, xlsx, convert";

}  // namespace

bool CommonOptions::showProgress() const {
  return !quiet && !noProgress && isatty(STDERR_FILENO) != 0;
}

void CommonOptions::warn(const std::string& subject,
                         const std::vector<std::string>& warnings) const {
  warningCount += warnings.size();
  if (showNotes() || strict) cli::warn(subject, warnings);
}

int CommonOptions::finalStatus(int status) const {
  return status == kExitOk && strict && warningCount != 0 ? kExitFailure : status;
}

void addCommandOptions(CLI::App& app, CommonOptions& options) {
  app.add_flag("-q,--quiet", options.quiet, "No progress line, no notes or warnings");
  app.add_flag("--no-progress", options.noProgress,
               "No progress line (shown only on a terminal anyway)");
  app.add_flag("--strict", options.strict,
               "Every warning (a damaged or cut-off workbook, cut texts, encoding repairs) is an "
               "error: exit status 1, the outputs still written");
  app.add_option_function<std::string>(
         "--linked-files",
         [&options](const std::string& name) { options.read.linkedFiles = linkedFilesNamed(name); },
         "Files a workbook's linked objects may open: folder (default: its own folder and the "
         "folders below it), none, or a DIR beneath which they may reach")
      ->check([](const std::string& value) -> std::string {
        std::error_code code;
        if (value == "folder" || value == "none" || std::filesystem::is_directory(value, code))
          return "";
        return "not folder, none or an existing folder: " + value;
      });
  // The command's options are also taken after the subcommand.
  app.fallthrough();
}

void addInput(CLI::App* command, CommonOptions& options) {
  command->add_option("FILE", options.file, "Workbook file; - reads standard input")->required();
}

void addSheetOption(CLI::App* command, CommonOptions& options) {
  command->add_option("--sheet", options.sheet,
                      "Only this sheet: its name, or its number counted from 1");
}

void addEncodingOption(CLI::App* command, CommonOptions& options) {
  const CLI::Validator known(
      [](std::string& name) {
        return host::encodingKnown(name) ? std::string() : "unknown encoding \"" + name + "\"";
      },
      "NAME");
  command
      ->add_option("--encoding", options.encoding,
                   "Encoding of the workbook's texts (default: the one its header names, "
                   "else ISO-8859-1); any name iconv knows")
      ->check(known);
}

CLI::Validator positiveWhole() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        constexpr size_t kMostDigits = 9;
        if (text.empty() || text.size() > kMostDigits ||
            text.find_first_not_of("0123456789") != std::string::npos ||
            std::strtoul(text.c_str(), nullptr, 10) == 0)
          return fmt::format("\"{}\" is not a whole number from 1", text);
        return {};
      },
      "N");
}

std::string usageMessage(const CLI::App* app, const CLI::Error& error) {
  std::string what = error.what();
  if (error.get_name() == "RequiredError" && what.find("subcommand") != std::string::npos) {
    const std::vector<std::string> rest = app->remaining();
    const bool named = !rest.empty() && !rest.front().empty() && rest.front()[0] != '-';
    what = named ? fmt::format("unknown command \"{}\" (the commands: {})", rest.front(), kCommands)
                 : fmt::format("no command given (the commands: {})", kCommands);
  }
  return fmt::format("wzss: {}\nRun 'wzss --help' or 'wzss COMMAND --help' for the usage.\n",
                     what);
}

std::unique_ptr<StdinCopy> StdinCopy::make(std::string* error) {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/wzss-XXXXXX";
  if (pattern.size() + 8 >= kPathRoom || mkdtemp(pattern.data()) == nullptr) {
    *error = "cannot make a temporary folder for standard input: " + errnoText();
    return nullptr;
  }
  std::unique_ptr<StdinCopy> copy(new StdinCopy(pattern, pattern + "/stdin"));
  std::strcpy(gCopyFolder, copy->folder_.c_str());
  std::strcpy(gCopyPath, copy->path_.c_str());
  for (int signalNumber : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
    std::signal(signalNumber, removeCopyAndDie);
  const int file = open(copy->path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) {
    *error = "cannot write " + copy->path_ + ": " + errnoText();
    return nullptr;
  }
  const bool copied = copyAll(STDIN_FILENO, file, error);
  if (close(file) != 0 && copied) {
    *error = "cannot write " + copy->path_ + ": " + errnoText();
    return nullptr;
  }
  if (!copied) return nullptr;
  return copy;
}

StdinCopy::~StdinCopy() {
  unlink(path_.c_str());
  rmdir(folder_.c_str());
}

}  // namespace wzss::cli

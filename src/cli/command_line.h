// What the subcommands share on the command line, declared once: the input
// (FILE, or "-" for standard input), --sheet for the subcommands that read
// sheets, and --quiet, --no-progress, --strict and --linked-files, which
// belong to the command and may stand before or after the subcommand. An option more than one
// subcommand takes belongs here, so that it reads and behaves the same everywhere.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

#include "cli/sheet_model.h"

namespace wzss::cli {

struct CommonOptions {
  std::string file;
  // How messages name the input: the file, or "stdin" for a copy of it.
  std::string label;
  const std::string& name() const { return label.empty() ? file : label; }
  std::string sheet;  // a name or a number from 1; empty: every sheet
  std::string encoding;  // of the workbook's texts; empty: the one its header names
  bool quiet = false;
  bool noProgress = false;
  ReadOptions read;  // --linked-files
  bool strict = false;  // every warning is an error
  // Warnings met so far (shown or not): under --strict they fail the command.
  mutable size_t warningCount = 0;

  // A progress line is for a person watching a terminal, never for a log.
  bool showProgress() const;
  // Notes and warnings on stderr; errors are always reported.
  bool showNotes() const { return !quiet; }
  // The walker's warnings about subject, unless --quiet (and not --strict),
  // counted.
  void warn(const std::string& subject, const std::vector<std::string>& warnings) const;
  // The command's exit status once it has done its work: under --strict, a
  // success with warnings is a failure.
  int finalStatus(int status) const;
};

// --quiet, --no-progress, --strict and --linked-files on the command itself.
void addCommandOptions(CLI::App& app, CommonOptions& options);
// FILE, where "-" reads standard input.
void addInput(CLI::App* command, CommonOptions& options);
// --sheet NAME|N: resolved by findSheet (cli/sheet_model.h) once the
// sheet list is known.
void addSheetOption(CLI::App* command, CommonOptions& options);
// --encoding NAME; a name iconv does not know is a usage error.
void addEncodingOption(CLI::App* command, CommonOptions& options);
// A whole number from 1, with a plain message when it is not one.
CLI::Validator positiveWhole();

// What the option parser found wrong, in words: one line after "wzss: ",
// and where to find the usage.
std::string usageMessage(const CLI::App* app, const CLI::Error& error);

// Standard input copied whole into a file of a private temporary folder,
// since the plug-in seeks: removed when the copy goes out of scope and when
// a signal ends the command. Bounded by the disk only.
class StdinCopy {
 public:
  // Nothing, with *error set, when the copy could not be made.
  static std::unique_ptr<StdinCopy> make(std::string* error);
  ~StdinCopy();
  StdinCopy(const StdinCopy&) = delete;
  StdinCopy& operator=(const StdinCopy&) = delete;
  const std::string& path() const { return path_; }

 private:
  StdinCopy(std::string folder, std::string path)
      : folder_(std::move(folder)), path_(std::move(path)) {}
  std::string folder_;
  std::string path_;
};

}  // namespace wzss::cli

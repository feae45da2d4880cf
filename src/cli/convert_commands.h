// The converter's subcommands of wzss:
//
//   wzss csv FILE [--sheet N|NAME | --all] [-o OUT] [--keep-hidden] [--bom] [--values display|typed]
//   wzss json FILE [--sheet N|NAME] [-o OUT] [--lines | --pretty]
//   wzss html FILE [--sheet N|NAME] [-o OUT] [--title-rows N] [--title-columns N]
//   wzss xlsx FILE [-o OUT.xlsx]
//   wzss convert --to csv|json|html|xlsx -o DIR [-j N] FILES...
//
// Each takes --encoding NAME, the encoding of the workbook's texts when its
// header names a wrong one.
//
// Exit status as the other subcommands: 0 success, 1 a file could not be
// read or written (for convert: any workbook failed), 2 usage errors.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "wzss/reader_abi.h"

namespace wzss::cli {

class ConvertCommands {
 public:
  // Registers the five subcommands on app, with the shared options in common.
  ConvertCommands(CLI::App& app, CommonOptions& common);
  // True when one of them was given on the command line.
  bool parsed() const;
  // Runs the one that was given, through the plug-in's table.
  int run(const SSReaderInterface& table);

 private:
  int runCsv(const SSReaderInterface& table);
  int runJson(const SSReaderInterface& table);
  int runHtml(const SSReaderInterface& table);
  int runXlsx(const SSReaderInterface& table);
  int runConvert(const SSReaderInterface& table);

  CLI::App* csv_;
  CLI::App* json_;
  CLI::App* html_;
  CLI::App* xlsx_;
  CLI::App* convert_;

  CommonOptions& common_;
  std::string output_;
  bool all_ = false;
  bool keepHidden_ = false;
  bool bom_ = false;
  std::string values_ = "display";
  bool lines_ = false;
  bool pretty_ = false;
  std::optional<uint32_t> titleRows_;
  std::optional<uint32_t> titleColumns_;
  std::string to_;
  unsigned jobs_ = 0;
  std::vector<std::string> files_;
};

}  // namespace wzss::cli

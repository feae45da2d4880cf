// Converting many workbooks at once: a pool of worker threads, each
// reading one workbook at a time through its own reader (the plug-in keeps
// no global state, so one loaded table serves them all), with a progress
// line for people watching a terminal and a report of what failed and why.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/csv_writer.h"
#include "cli/html_writer.h"
#include "cli/json_writer.h"
#include "wzss/reader_abi.h"

namespace wzss::cli {

enum class OutputFormat { Csv, Json, Html, Xlsx };

struct BatchOptions {
  OutputFormat format = OutputFormat::Html;
  std::string outputDirectory;
  unsigned jobs = 1;
  std::string encoding;  // empty: each workbook's header names its own
  CsvOptions csv;
  JsonOptions json;
  HtmlOptions html;
  ReadOptions read;
};

struct BatchFailure {
  std::string input;
  std::string reason;
};

struct BatchReport {
  size_t converted = 0;
  std::vector<BatchFailure> failures;  // in the order of the inputs
  std::vector<BatchFailure> warnings;  // the walker's, in the order of the inputs
  uint64_t bytes = 0;                  // read from the workbooks converted
  std::chrono::duration<double> elapsed{};
};

// The output of each input, relative to the output directory: the input's
// file name without extension (made safe and unique) plus ".json",
// ".html" or ".xlsx"; for CSV a directory of that name holding one file per sheet.
std::vector<std::string> batchOutputNames(const std::vector<std::string>& inputs,
                                          OutputFormat format);

// Converts every input; a failing input is reported and the others go on.
// progress, when not null, receives a \r-updated status line (files done of
// total, bytes per second, the file being read), cleared at the end.
BatchReport runBatch(const SSReaderInterface& table, const std::vector<std::string>& inputs,
                     const BatchOptions& options, std::FILE* progress);

// "converted 3 of 4 workbooks (1 failed; warnings: a.wzs 2, b.wzs 1),
// 12.5 KiB in 0.04 s" and one line per warning and failure before it.
std::string batchSummary(const BatchReport& report, size_t inputs);

}  // namespace wzss::cli

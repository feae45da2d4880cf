#include "cli/batch.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <optional>
#include <thread>

#include "cli/json_writer.h"
#include "cli/output_files.h"
#include "cli/output_names.h"
#include "cli/sheet_model.h"
#include "cli/xlsx_writer.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kKibibyte = 1024.0;
constexpr double kMebibyte = 1024.0 * 1024.0;
constexpr size_t kProgressNameWidth = 40;

std::string byteText(double bytes) {
  if (bytes >= kMebibyte) return fmt::format("{:.1f} MiB", bytes / kMebibyte);
  if (bytes >= kKibibyte) return fmt::format("{:.1f} KiB", bytes / kKibibyte);
  return fmt::format("{:.0f} B", bytes);
}

// The status line, shared by the workers and written under one lock.
class Progress {
 public:
  Progress(std::FILE* stream, size_t total) : stream_(stream), total_(total) {}

  void started(const std::string& input) {
    if (stream_ == nullptr) return;
    std::lock_guard lock(mutex_);
    current_ = fs::path(input).filename().string();
    draw();
  }
  void finished(uint64_t bytes) {
    std::lock_guard lock(mutex_);
    ++done_;
    bytes_ += bytes;
    if (stream_ != nullptr) draw();
  }
  void clear() {
    if (stream_ == nullptr) return;
    std::lock_guard lock(mutex_);
    std::fputs("\r\x1b[K", stream_);
    std::fflush(stream_);
  }

 private:
  void draw() {
    const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    const double rate = seconds > 0 ? static_cast<double>(bytes_) / seconds : 0;
    std::string name = current_;
    if (name.size() > kProgressNameWidth)
      name = "..." + name.substr(name.size() - kProgressNameWidth);
    // \x1b[K clears what a longer earlier line left at the end.
    fmt::print(stream_, "\r[{}/{}] {}/s {}\x1b[K", done_, total_, byteText(rate), name);
    std::fflush(stream_);
  }

  std::FILE* stream_;
  size_t total_;
  std::mutex mutex_;
  size_t done_ = 0;
  uint64_t bytes_ = 0;
  std::string current_;
  Clock::time_point start_ = Clock::now();
};

// Converts one workbook; the reason of the failure, or nothing.
std::optional<std::string> convertOne(const SSReaderInterface& table, const std::string& input,
                                      const std::string& output, const BatchOptions& options,
                                      uint64_t& bytes, std::vector<std::string>& warnings) {
  std::string error;
  if (options.format == OutputFormat::Csv) {
    CsvDirectory directory(output);
    CsvOptions csv = options.csv;
    csv.encoding = options.encoding;
    if (auto walked =
            writeCsvSheets(table, input, csv, directory, &bytes, &warnings, options.read);
        !walked)
      return walked.error().message;
    if (!directory.error().empty()) return directory.error();
    return std::nullopt;
  }
  if (options.format == OutputFormat::Xlsx) {
    XlsxStats stats;
    auto failed = convertToXlsx(
        table, input, options.encoding, options.read,
        [&](const PieceProducer& xlsx) { return writeFileAtomically(output, xlsx, &error); },
        &stats);
    bytes = stats.bytes;
    warnings = std::move(stats.warnings);
    if (failed) return failed->empty() ? error : *failed;
    return std::nullopt;
  }
  if (options.format == OutputFormat::Json) {
    JsonOutcome outcome;
    JsonOptions json = options.json;
    json.encoding = options.encoding;
    json.read = options.read;
    const bool written =
        writeFileAtomically(output, workbookJson(table, input, json, &bytes, &outcome), &error);
    warnings = outcome.warnings;
    if (!outcome.walked) return outcome.walked.error().message;
    if (!written) return error;
    return std::nullopt;
  }
  auto book = readWorkbook(table, input, options.encoding, options.read);
  if (!book) return book.error().message;
  warnings = book.value().warnings;
  switch (options.format) {
    case OutputFormat::Csv:
    case OutputFormat::Xlsx:
    case OutputFormat::Json: break;  // above
    case OutputFormat::Html:
      if (!writeFileAtomically(output, workbookHtml(book.value(), options.html), &error))
        return error;
      break;
  }
  bytes = book.value().bytes;
  return std::nullopt;
}

}  // namespace

std::vector<std::string> batchOutputNames(const std::vector<std::string>& inputs,
                                          OutputFormat format) {
  const std::string_view extension = format == OutputFormat::Json   ? ".json"
                                     : format == OutputFormat::Html ? ".html"
                                     : format == OutputFormat::Xlsx ? ".xlsx"
                                                                    : "";
  UniqueNames names;
  std::vector<std::string> outputs;
  for (const std::string& input : inputs)
    outputs.push_back(
        names.take(safeNameStem(fs::path(input).stem().string(), "workbook"), extension));
  return outputs;
}

BatchReport runBatch(const SSReaderInterface& table, const std::vector<std::string>& inputs,
                     const BatchOptions& options, std::FILE* progress) {
  const auto start = Clock::now();
  const std::vector<std::string> names = batchOutputNames(inputs, options.format);
  std::vector<std::optional<std::string>> reasons(inputs.size());
  std::vector<uint64_t> bytes(inputs.size(), 0);
  std::vector<std::vector<std::string>> warnings(inputs.size());
  Progress status(progress, inputs.size());
  std::atomic<size_t> next{0};

  const auto work = [&] {
    for (size_t i = next++; i < inputs.size(); i = next++) {
      status.started(inputs[i]);
      const std::string output = (fs::path(options.outputDirectory) / names[i]).string();
      try {
        reasons[i] = convertOne(table, inputs[i], output, options, bytes[i], warnings[i]);
      } catch (const std::exception& e) {  // memory, mostly: fail this file, keep the others
        reasons[i] = std::string("conversion failed: ") + e.what();
      }
      status.finished(bytes[i]);
    }
  };
  const unsigned jobs = std::clamp<unsigned>(options.jobs, 1, std::max<size_t>(inputs.size(), 1));
  std::vector<std::thread> workers;
  for (unsigned j = 1; j < jobs; ++j) workers.emplace_back(work);
  work();
  for (std::thread& worker : workers) worker.join();
  status.clear();

  BatchReport report;
  for (size_t i = 0; i < inputs.size(); ++i) {
    for (std::string& warning : warnings[i]) report.warnings.push_back({inputs[i], warning});
    if (reasons[i]) {
      report.failures.push_back({inputs[i], *reasons[i]});
    } else {
      ++report.converted;
      report.bytes += bytes[i];
    }
  }
  report.elapsed = Clock::now() - start;
  return report;
}

std::string batchSummary(const BatchReport& report, size_t inputs) {
  std::string out;
  for (const BatchFailure& warning : report.warnings)
    out += fmt::format("wzss: {}: warning: {}\n", warning.input, warning.reason);
  for (const BatchFailure& failure : report.failures)
    out += fmt::format("wzss: {}: {}\n", failure.input, failure.reason);
  out += fmt::format("converted {} of {} workbooks", report.converted, inputs);
  std::vector<std::string> remarks;
  if (!report.failures.empty()) remarks.push_back(fmt::format("{} failed", report.failures.size()));
  // Warnings per workbook, which come in the order of the inputs.
  std::string counts;
  for (size_t i = 0; i < report.warnings.size();) {
    size_t j = i;
    while (j < report.warnings.size() && report.warnings[j].input == report.warnings[i].input) ++j;
    counts += fmt::format("{}{} {}", counts.empty() ? "" : ", ", report.warnings[i].input, j - i);
    i = j;
  }
  if (!counts.empty()) remarks.push_back("warnings: " + counts);
  if (!remarks.empty()) out += " (" + fmt::format("{}", fmt::join(remarks, "; ")) + ")";
  out += fmt::format(", {} in {:.2f} s\n", byteText(static_cast<double>(report.bytes)),
                     report.elapsed.count());
  return out;
}

}  // namespace wzss::cli

// Writing the converter's results: whole files replaced in one step, so a
// failed or interrupted conversion never leaves half a page behind, and a
// workbook's sheets as CSV files in one directory.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/csv_writer.h"
#include "cli/output_names.h"
#include "cli/sheet_model.h"

namespace wzss::cli {

// Writes content to "<path>.part" and renames it to path. Creates missing
// parent directories. False with *error set when anything fails.
bool writeFileAtomically(const std::string& path, std::string_view content, std::string* error);
// The same for content handed over in pieces.
bool writeFileAtomically(const std::string& path, const PieceProducer& content, std::string* error);

// One CSV file per sheet in a directory (created when missing), named after
// the sheets with safeNameStem and made unique, each file written as soon as
// its sheet has been read.
class CsvDirectory : public CsvSink {
 public:
  explicit CsvDirectory(std::string directory) : directory_(std::move(directory)) {}
  bool begin(const std::vector<host::SheetInfo>& sheets) override;
  bool sheet(const host::SheetInfo& info, const PieceProducer& csv) override;

  // The files written, in sheet order.
  const std::vector<std::string>& written() const { return written_; }
  // Why the directory or a file could not be written; empty when all went well.
  const std::string& error() const { return error_; }

 private:
  std::string directory_;
  UniqueNames names_;
  std::vector<std::string> written_;
  std::string error_;
};

}  // namespace wzss::cli

// Writing the converter's results: whole files replaced in one step, so a
// failed or interrupted conversion never leaves half a page behind, without
// ever replacing what is not a file of ours to replace (a link, a device, a
// FIFO, a folder), and a workbook's sheets as CSV files in one directory.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/csv_writer.h"
#include "cli/output_names.h"
#include "cli/sheet_model.h"

namespace wzss::cli {

// Writes content to path as a shell redirection would, but a whole file in
// one step: an absent or regular file is written as "<path>.part" and
// renamed to path (missing parent folders are created; a replaced file
// keeps its permissions); a symbolic link is kept and the file it leads to
// follows these rules (a dangling link gets the file it names, as `>` does);
// a character device or a FIFO is written into, as it stands; a folder, a
// name ending in "/" or anything else is refused. False with *error set
// when anything fails; nothing but the target is left behind.
bool writeFileAtomically(const std::string& path, std::string_view content, std::string* error);
// The same for content handed over in pieces.
bool writeFileAtomically(const std::string& path, const PieceProducer& content, std::string* error);

// Whether -o names a folder rather than a file: it ends with "/" or is an
// existing folder.
bool namesFolder(const std::string& output);

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

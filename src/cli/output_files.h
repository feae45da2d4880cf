// Writing the converter's results: whole files replaced in one step, so a
// failed or interrupted conversion never leaves half a page behind, and a
// workbook's sheets as CSV files in one directory.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/csv_writer.h"
#include "cli/sheet_model.h"

namespace wzss::cli {

// Writes content to "<path>.part" and renames it to path. Creates missing
// parent directories. False with *error set when anything fails.
bool writeFileAtomically(const std::string& path, std::string_view content, std::string* error);

// One CSV file per sheet in directory (created when missing), named after
// the sheets with safeNameStem and made unique. Returns the files written,
// or an empty list with *error set.
std::vector<std::string> writeCsvDirectory(const CsvWorkbook& book, const std::string& directory,
                                           std::string* error);

}  // namespace wzss::cli

#include "cli/output_files.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "cli/output_names.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

// strerror may share a buffer between threads; the error category does not.
std::string errnoText() { return std::error_code(errno, std::generic_category()).message(); }

bool createParent(const fs::path& path, std::string* error) {
  const fs::path parent = path.parent_path();
  if (parent.empty()) return true;
  std::error_code code;
  fs::create_directories(parent, code);
  if (code) {
    *error = "cannot create " + parent.string() + ": " + code.message();
    return false;
  }
  return true;
}

}  // namespace

bool writeFileAtomically(const std::string& path, std::string_view content, std::string* error) {
  if (!createParent(path, error)) return false;
  const std::string partial = path + ".part";
  std::FILE* file = std::fopen(partial.c_str(), "wb");
  if (file == nullptr) {
    *error = "cannot write " + partial + ": " + errnoText();
    return false;
  }
  const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
  const bool closed = std::fclose(file) == 0;
  std::error_code code;
  if (!written || !closed) {
    *error = "cannot write " + partial + ": " + errnoText();
    fs::remove(partial, code);
    return false;
  }
  fs::rename(partial, path, code);
  if (code) {
    *error = "cannot rename " + partial + " to " + path + ": " + code.message();
    fs::remove(partial, code);
    return false;
  }
  return true;
}

std::vector<std::string> writeCsvDirectory(const CsvWorkbook& book, const std::string& directory,
                                           std::string* error) {
  std::error_code code;
  fs::create_directories(directory, code);
  if (code) {
    *error = "cannot create " + directory + ": " + code.message();
    return {};
  }
  UniqueNames names;
  std::vector<std::string> written;
  for (const CsvWorkbook::Sheet& sheet : book.sheets) {
    const std::string stem =
        safeNameStem(sheet.info.name, "sheet-" + std::to_string(sheet.info.number));
    const std::string path = (fs::path(directory) / names.take(stem, ".csv")).string();
    if (!writeFileAtomically(path, sheet.csv, error)) return {};
    written.push_back(path);
  }
  return written;
}

}  // namespace wzss::cli

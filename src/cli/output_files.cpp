#include "cli/output_files.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

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
  return writeFileAtomically(
      path, [content](const PieceWriter& write) { return write(content); }, error);
}

bool writeFileAtomically(const std::string& path, const PieceProducer& content,
                         std::string* error) {
  if (!createParent(path, error)) return false;
  const std::string partial = path + ".part";
  std::FILE* file = std::fopen(partial.c_str(), "wb");
  if (file == nullptr) {
    *error = "cannot write " + partial + ": " + errnoText();
    return false;
  }
  const bool written = content([file](std::string_view piece) {
    return std::fwrite(piece.data(), 1, piece.size(), file) == piece.size();
  });
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

bool CsvDirectory::begin(const std::vector<host::SheetInfo>&) {
  std::error_code code;
  fs::create_directories(directory_, code);
  if (code) error_ = "cannot create " + directory_ + ": " + code.message();
  return error_.empty();
}

bool CsvDirectory::sheet(const host::SheetInfo& info, const PieceProducer& csv) {
  const std::string stem = safeNameStem(info.name, "sheet-" + std::to_string(info.number));
  const std::string path = (fs::path(directory_) / names_.take(stem, ".csv")).string();
  if (!writeFileAtomically(path, csv, &error_)) return false;
  written_.push_back(path);
  return true;
}

}  // namespace wzss::cli

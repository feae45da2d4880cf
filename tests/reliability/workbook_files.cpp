#include "workbook_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace wzss::reliability {
namespace {

void addWorkbooks(const std::filesystem::path& folder, std::vector<std::string>* paths) {
  if (!std::filesystem::is_directory(folder)) return;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".wzs")
      paths->push_back(entry.path().string());
  }
}

}  // namespace

std::vector<std::string> sweepWorkbooks() {
  std::vector<std::string> paths;
  addWorkbooks(WZSS_SAMPLES_DIR, &paths);
  addWorkbooks(WZSS_CORPUS_DIR, &paths);
  addWorkbooks(WZSS_READER_DATA_DIR, &paths);
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::string testNameOf(const std::string& path) {
  const std::filesystem::path file(path);
  std::string name = file.parent_path().filename().string() + "_" + file.filename().string();
  for (char& c : name) {
    const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alnum) c = '_';
  }
  return name;
}

}  // namespace wzss::reliability

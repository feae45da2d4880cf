#include "cli/output_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

// The kernel's own bound on the links of one path.
constexpr int kMaxLinks = 40;

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

// Where the content goes and how: a file replaced by a renamed partial
// file, or something that is written into as it stands.
struct Target {
  bool replace = true;
  std::string path;
  bool throughLink = false;  // missing folders are not created beyond a link
};

std::optional<Target> refuse(std::string* error, const std::string& why) {
  *error = why;
  return std::nullopt;
}

// What a file of this kind gets; a link has been followed already.
std::optional<Target> targetOfKind(mode_t mode, Target target, std::string* error) {
  if (S_ISREG(mode)) return target;
  if (S_ISCHR(mode) || S_ISFIFO(mode)) {
    target.replace = false;
    return target;
  }
  if (S_ISDIR(mode)) return refuse(error, "is a folder; give a file name");
  return refuse(error, "is neither a file, a character device nor a FIFO");
}

std::optional<Target> targetOf(const std::string& path, std::string* error) {
  if (path.empty()) return refuse(error, "no file name");
  if (path.back() == '/') return refuse(error, "names a folder; give a file name");
  Target target{true, path, false};
  for (int links = 0;; ++links) {
    struct stat info {};
    if (::lstat(target.path.c_str(), &info) != 0) {
      if (errno == ENOENT) return target;
      return refuse(error, "cannot write " + target.path + ": " + errnoText());
    }
    if (!S_ISLNK(info.st_mode)) return targetOfKind(info.st_mode, target, error);
    if (links == kMaxLinks) return refuse(error, "too many symbolic links");
    target.throughLink = true;
    // A link that leads somewhere is judged by what it leads to. Its
    // target is taken from the kernel: /dev/stdout leads through
    // /proc/self/fd/1, whose link text is no path when it is a pipe.
    struct stat reached {};
    if (::stat(target.path.c_str(), &reached) == 0) {
      if (!S_ISREG(reached.st_mode)) return targetOfKind(reached.st_mode, target, error);
      std::error_code code;
      const fs::path real = fs::canonical(target.path, code);
      if (code) return refuse(error, "cannot follow " + target.path + ": " + code.message());
      target.path = real.string();
      return target;
    }
    if (errno != ENOENT) return refuse(error, "cannot follow " + target.path + ": " + errnoText());
    // A dangling link: the file it names is created, as `>` creates it.
    std::error_code code;
    const fs::path next = fs::read_symlink(target.path, code);
    if (code) return refuse(error, "cannot follow " + target.path + ": " + code.message());
    target.path = (fs::path(target.path).parent_path() / next).string();
  }
}

bool writePieces(std::FILE* file, const PieceProducer& content) {
  return content([file](std::string_view piece) {
    return std::fwrite(piece.data(), 1, piece.size(), file) == piece.size();
  });
}

// Writes "<path>.part" and renames it to path. Whatever stands at the
// partial file's name is removed, never followed: a stale partial file of
// an interrupted run, or a link planted to make us write elsewhere.
bool replaceFile(const Target& target, const PieceProducer& content, std::string* error) {
  if (!target.throughLink && !createParent(target.path, error)) return false;
  const std::string partial = target.path + ".part";
  struct stat old {};
  const bool replacing = ::stat(target.path.c_str(), &old) == 0;
  ::unlink(partial.c_str());
  const int fd =
      ::open(partial.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  std::FILE* file = fd >= 0 ? ::fdopen(fd, "wb") : nullptr;
  if (file == nullptr) {
    *error = "cannot write " + partial + ": " + errnoText();
    if (fd >= 0) ::close(fd);
    return false;
  }
  if (replacing) ::fchmod(fd, old.st_mode & 07777);  // as a redirection into it would keep them
  const bool written = writePieces(file, content);
  const bool closed = std::fclose(file) == 0;
  std::error_code code;
  if (!written || !closed) {
    *error = "cannot write " + partial + ": " + errnoText();
    fs::remove(partial, code);
    return false;
  }
  fs::rename(partial, target.path, code);
  if (code) {
    *error = "cannot rename " + partial + " to " + target.path + ": " + code.message();
    fs::remove(partial, code);
    return false;
  }
  return true;
}

// A device or FIFO takes the content as it comes; opening a FIFO waits for
// its reader, as a shell redirection does.
bool writeInto(const Target& target, const PieceProducer& content, std::string* error) {
  const int fd = ::open(target.path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  std::FILE* file = fd >= 0 ? ::fdopen(fd, "wb") : nullptr;
  if (file == nullptr) {
    *error = "cannot write " + target.path + ": " + errnoText();
    if (fd >= 0) ::close(fd);
    return false;
  }
  const bool written = writePieces(file, content);
  if (std::fclose(file) != 0 || !written) {
    *error = "cannot write " + target.path + ": " + errnoText();
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
  std::string why;
  const std::optional<Target> target = targetOf(path, &why);
  if (!target) {
    *error = why.rfind("cannot", 0) == 0 ? why : "cannot write " + path + ": " + why;
    return false;
  }
  return target->replace ? replaceFile(*target, content, error)
                         : writeInto(*target, content, error);
}

bool namesFolder(const std::string& output) {
  if (output.empty() || output == "-") return false;
  std::error_code code;
  return output.back() == '/' || fs::is_directory(output, code);
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

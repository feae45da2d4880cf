#include "wzss/host/file_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace wzss::host {
namespace {
constexpr uint32_t kBufferSize = 64 * 1024;

// A descriptor that is closed when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

// Directories on the way are opened only to be searched: O_PATH needs no
// read permission on them, as a path lookup needs none.
#ifdef O_PATH
constexpr int kSearchOnly = O_PATH;
#else
constexpr int kSearchOnly = O_RDONLY;
#endif
// Nothing the workbook names may become our terminal, nor make us wait for
// a FIFO's writer.
constexpr int kFileFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

std::string errnoText() { return std::error_code(errno, std::generic_category()).message(); }

std::vector<std::string_view> namesOf(std::string_view path) {
  std::vector<std::string_view> names;
  for (size_t start = 0;;) {
    const size_t slash = path.find('/', start);
    names.push_back(path.substr(start, slash == std::string_view::npos ? slash : slash - start));
    if (slash == std::string_view::npos) return names;
    start = slash + 1;
  }
}

}  // namespace

std::unique_ptr<FileStream> FileStream::open(const std::string& path, std::string* error) {
  const int fd = ::open(path.c_str(), kFileFlags);
  if (fd < 0) {
    if (error) *error = errnoText();
    return nullptr;
  }
  return adopt(fd, error);
}

// The file behind fd, or null (fd closed) when it is no regular file or too large.
std::unique_ptr<FileStream> FileStream::adopt(int fd, std::string* error) {
  Descriptor owned(fd);
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    if (error) *error = S_ISDIR(info.st_mode) ? "is a directory" : "not a regular file";
    return nullptr;
  }
  if (static_cast<uint64_t>(info.st_size) > UINT32_MAX) {
    if (error) *error = "file of 4 GiB or more: stream positions are 32-bit";
    return nullptr;
  }
  return std::unique_ptr<FileStream>(
      new FileStream(owned.release(), static_cast<uint32_t>(info.st_size)));
}

std::unique_ptr<FileStream> FileStream::openBeneath(const std::string& folder,
                                                    const std::string& relative,
                                                    std::string* error) {
  const auto refuse = [error](std::string why) -> std::unique_ptr<FileStream> {
    if (error) *error = std::move(why);
    return nullptr;
  };
  if (relative.empty() || relative.front() == '/') return refuse("not a path inside the folder");
  // The folders from the allowed one down to where we are; ".." pops one.
  std::vector<Descriptor> way;
  way.emplace_back(::open(folder.c_str(), kSearchOnly | O_DIRECTORY | O_CLOEXEC));
  if (way.back().get() < 0) return refuse(folder + ": " + errnoText());
  const std::vector<std::string_view> names = namesOf(relative);
  for (size_t i = 0; i + 1 < names.size(); ++i) {
    const std::string name(names[i]);
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      if (way.size() == 1) return refuse("leads outside the folder");
      way.pop_back();
      continue;
    }
    Descriptor next(::openat(way.back().get(), name.c_str(),
                             kSearchOnly | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (next.get() < 0 || ::fstat(next.get(), &info) != 0 || !S_ISDIR(info.st_mode))
      return refuse(name + ": no folder of its own (a link, a file or missing)");
    way.push_back(std::move(next));
  }
  const std::string last(names.back());
  if (last.empty() || last == "." || last == "..") return refuse("names a folder");
  // Look before opening, so a FIFO or a device is never opened; the
  // descriptor is then checked to be that same file.
  struct stat seen {};
  if (::fstatat(way.back().get(), last.c_str(), &seen, AT_SYMLINK_NOFOLLOW) != 0)
    return refuse(last + ": " + errnoText());
  if (!S_ISREG(seen.st_mode)) return refuse(last + ": not a regular file");
  const int fd = ::openat(way.back().get(), last.c_str(), kFileFlags | O_NOFOLLOW);
  if (fd < 0) return refuse(last + ": " + errnoText());
  struct stat opened {};
  if (::fstat(fd, &opened) != 0 || opened.st_dev != seen.st_dev || opened.st_ino != seen.st_ino) {
    ::close(fd);
    return refuse(last + ": replaced while it was opened");
  }
  return adopt(fd, error);
}

StreamInterface* FileStream::release(std::unique_ptr<FileStream> stream) {
  return &stream.release()->stream_;
}

FileStream::FileStream(int fd, uint32_t size) : fd_(fd), size_(size), buffer_(kBufferSize) {
  cursor_ = end_ = buffer_.data();
  stream_.streamLength = size;
  stream_.privateA = this;
  stream_.Open = &FileStream::openOp;
  stream_.Read = &FileStream::readOp;
  stream_.Seek = &FileStream::seekOp;
  stream_.Tell = &FileStream::tellOp;
  stream_.Close = &FileStream::closeOp;
  stream_.Release = &FileStream::releaseOp;
}

FileStream::~FileStream() { ::close(fd_); }

// Moves the buffer on to the bytes after the ones it holds.
bool FileStream::refill() {
  bufferStart_ = position();
  cursor_ = end_ = buffer_.data();
  ssize_t got;
  do {
    got = ::pread(fd_, buffer_.data(), buffer_.size(), bufferStart_);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) return false;
  end_ = buffer_.data() + got;
  return true;
}

int FileStream::openOp(StreamInterface* stream) {
  FileStream& s = self(stream);
  s.bufferStart_ = 0;
  s.cursor_ = s.end_ = s.buffer_.data();
  return 1;
}

// The plug-in reads one byte per call, hundreds of millions of times for a
// large workbook: this path must stay a few instructions, with everything
// else in readSlow.
int FileStream::readOp(StreamInterface* stream, void* buffer, int32_t count) {
  FileStream& s = self(stream);
  if (count == 1 && s.cursor_ != s.end_) [[likely]] {
    *static_cast<unsigned char*>(buffer) = *s.cursor_++;
    return 1;
  }
  return s.readSlow(static_cast<unsigned char*>(buffer), count);
}

int FileStream::readSlow(unsigned char* out, int32_t count) {
  int32_t done = 0;
  while (done < count) {
    if (cursor_ == end_ && !refill()) break;
    const auto n = static_cast<uint32_t>(
        std::min<int64_t>(end_ - cursor_, static_cast<int64_t>(count) - done));
    std::memcpy(out + done, cursor_, n);
    cursor_ += n;
    done += static_cast<int32_t>(n);
  }
  return done;
}

int FileStream::seekOp(StreamInterface* stream, int32_t offset, int32_t whence) {
  FileStream& s = self(stream);
  const int64_t current = s.position();
  int64_t target;
  switch (whence) {
    case 0: target = static_cast<uint32_t>(offset); break;
    case 1: target = current + offset; break;
    case 2: target = static_cast<int64_t>(s.size_) + offset; break;
    default: return 0;
  }
  if (target < 0 || target > s.size_) return 0;
  // Stay inside the buffer when we can: the reader seeks back a line at a time.
  const int64_t filled = s.end_ - s.buffer_.data();
  if (target >= s.bufferStart_ && target <= static_cast<int64_t>(s.bufferStart_) + filled) {
    s.cursor_ = s.buffer_.data() + (target - s.bufferStart_);
  } else {
    s.bufferStart_ = static_cast<uint32_t>(target);
    s.cursor_ = s.end_ = s.buffer_.data();
  }
  return 1;
}

uint32_t FileStream::tellOp(StreamInterface* stream) { return self(stream).position(); }

int FileStream::closeOp(StreamInterface*) { return 1; }

void FileStream::releaseOp(StreamInterface* stream) { delete &self(stream); }

}  // namespace wzss::host

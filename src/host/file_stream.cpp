#include "wzss/host/file_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <cstring>

namespace wzss::host {
namespace {
constexpr uint32_t kBufferSize = 64 * 1024;
}

std::unique_ptr<FileStream> FileStream::open(const std::string& path, std::string* error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    if (error) *error = std::strerror(errno);
    return nullptr;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    if (error) *error = S_ISDIR(info.st_mode) ? "is a directory" : "not a regular file";
    ::close(fd);
    return nullptr;
  }
  if (static_cast<uint64_t>(info.st_size) > UINT32_MAX) {
    if (error) *error = "file of 4 GiB or more: stream positions are 32-bit";
    ::close(fd);
    return nullptr;
  }
  return std::unique_ptr<FileStream>(new FileStream(fd, static_cast<uint32_t>(info.st_size)));
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

#include "file_stream.h"

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

FileStream& FileStream::self(StreamInterface* stream) {
  return *static_cast<FileStream*>(stream->privateA);
}

bool FileStream::refill() {
  bufferStart_ += bufferFill_;
  bufferFill_ = bufferPos_ = 0;
  ssize_t got;
  do {
    got = ::pread(fd_, buffer_.data(), buffer_.size(), bufferStart_);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) return false;
  bufferFill_ = static_cast<uint32_t>(got);
  return true;
}

int FileStream::openOp(StreamInterface* stream) {
  FileStream& s = self(stream);
  s.bufferStart_ = s.bufferFill_ = s.bufferPos_ = 0;
  return 1;
}

int FileStream::readOp(StreamInterface* stream, void* buffer, int32_t count) {
  FileStream& s = self(stream);
  if (count == 1 && s.bufferPos_ < s.bufferFill_) {  // the reader's hot path
    *static_cast<unsigned char*>(buffer) = s.buffer_[s.bufferPos_++];
    return 1;
  }
  auto* out = static_cast<unsigned char*>(buffer);
  int32_t done = 0;
  while (done < count) {
    if (s.bufferPos_ == s.bufferFill_ && !s.refill()) break;
    const uint32_t n = std::min<uint32_t>(s.bufferFill_ - s.bufferPos_,
                                          static_cast<uint32_t>(count - done));
    std::memcpy(out + done, s.buffer_.data() + s.bufferPos_, n);
    s.bufferPos_ += n;
    done += static_cast<int32_t>(n);
  }
  return done;
}

int FileStream::seekOp(StreamInterface* stream, int32_t offset, int32_t whence) {
  FileStream& s = self(stream);
  const int64_t current = static_cast<int64_t>(s.bufferStart_) + s.bufferPos_;
  int64_t target;
  switch (whence) {
    case 0: target = static_cast<uint32_t>(offset); break;
    case 1: target = current + offset; break;
    case 2: target = static_cast<int64_t>(s.size_) + offset; break;
    default: return 0;
  }
  if (target < 0 || target > s.size_) return 0;
  // Stay inside the buffer when we can: the reader seeks back a line at a time.
  if (target >= s.bufferStart_ && target <= static_cast<int64_t>(s.bufferStart_) + s.bufferFill_) {
    s.bufferPos_ = static_cast<uint32_t>(target - s.bufferStart_);
  } else {
    s.bufferStart_ = static_cast<uint32_t>(target);
    s.bufferFill_ = s.bufferPos_ = 0;
  }
  return 1;
}

uint32_t FileStream::tellOp(StreamInterface* stream) {
  FileStream& s = self(stream);
  return s.bufferStart_ + s.bufferPos_;
}

int FileStream::closeOp(StreamInterface*) { return 1; }

void FileStream::releaseOp(StreamInterface* stream) { delete &self(stream); }

}  // namespace wzss::host

// A StreamInterface over a file, with its own read buffer so that the
// reader's one-byte Reads cost a few nanoseconds. Positions are 32-bit, so
// files of 4 GiB or more are refused.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "wzss/reader_abi.h"

namespace wzss::host {

class FileStream {
 public:
  // Null with *error set (when given) if the file cannot be opened, is no
  // regular file or is too large. Never waits for a writer of a FIFO.
  static std::unique_ptr<FileStream> open(const std::string& path, std::string* error = nullptr);
  // The regular file that relative names inside folder, reached one name at
  // a time from the folder's descriptor, following no symbolic link on the
  // way (a link is refused wherever it points); ".." climbs back but never
  // above folder. Null with *error set for an absolute path, a way out, a
  // link, a missing name, or anything but a regular file, which is never
  // opened at all (a FIFO or a device stays untouched).
  static std::unique_ptr<FileStream> openBeneath(const std::string& folder,
                                                 const std::string& relative,
                                                 std::string* error = nullptr);
  // Hands the stream to C ownership: its Release operation destroys it.
  static StreamInterface* release(std::unique_ptr<FileStream> stream);

  ~FileStream();
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;

  StreamInterface* get() { return &stream_; }
  uint32_t size() const { return size_; }

 private:
  FileStream(int fd, uint32_t size);
  static std::unique_ptr<FileStream> adopt(int fd, std::string* error);
  static FileStream& self(StreamInterface* stream) {
    return *static_cast<FileStream*>(stream->privateA);
  }
  static int openOp(StreamInterface* stream);
  static int readOp(StreamInterface* stream, void* buffer, int32_t count);
  static int seekOp(StreamInterface* stream, int32_t offset, int32_t whence);
  static uint32_t tellOp(StreamInterface* stream);
  static int closeOp(StreamInterface* stream);
  static void releaseOp(StreamInterface* stream);

  bool refill();
  int readSlow(unsigned char* out, int32_t count);
  uint32_t position() const { return bufferStart_ + static_cast<uint32_t>(cursor_ - buffer_.data()); }

  StreamInterface stream_{};  // first member: the C view of this object
  int fd_;
  uint32_t size_;
  // The buffer holds the file from bufferStart_ on; cursor_ is the next byte
  // to deliver and end_ one past the last valid one. A one-byte Read is then
  // a compare, a load and a store.
  uint32_t bufferStart_ = 0;
  const unsigned char* cursor_ = nullptr;
  const unsigned char* end_ = nullptr;
  std::vector<unsigned char> buffer_;
};

}  // namespace wzss::host

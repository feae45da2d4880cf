// A StreamInterface over bytes in memory, with call counting and failure
// injection for tests: fail Open, or the Nth Seek or Read.
#pragma once

#include <cstdint>
#include <string>

#include "wzss/reader_abi.h"

namespace wzss::host {

struct StreamCalls {
  uint64_t opens = 0;
  uint64_t closes = 0;
  uint64_t reads = 0;
  uint64_t seeks = 0;
  uint64_t tells = 0;
};

class MemoryStream {
 public:
  explicit MemoryStream(std::string bytes);
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  StreamInterface* get() { return &stream_; }
  const std::string& bytes() const { return bytes_; }
  const StreamCalls& calls() const { return calls_; }
  uint32_t position() const { return position_; }

  void failOpen(bool fail) { failOpen_ = fail; }
  // Fails call number n (from 1) of Seek or Read, and only that one.
  void failSeek(uint64_t n) { failSeekAt_ = n; }
  void failRead(uint64_t n) { failReadAt_ = n; }
  // Hosts may leave the Close slot null.
  void dropCloseSlot() { stream_.Close = nullptr; }

 private:
  static MemoryStream& self(StreamInterface* stream);
  static int open(StreamInterface* stream);
  static int read(StreamInterface* stream, void* buffer, int32_t count);
  static int seek(StreamInterface* stream, int32_t offset, int32_t whence);
  static uint32_t tell(StreamInterface* stream);
  static int close(StreamInterface* stream);

  StreamInterface stream_{};
  std::string bytes_;
  uint32_t position_ = 0;
  StreamCalls calls_;
  bool failOpen_ = false;
  uint64_t failSeekAt_ = 0;
  uint64_t failReadAt_ = 0;
};

}  // namespace wzss::host

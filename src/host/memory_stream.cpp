#include "wzss/host/memory_stream.h"

#include <algorithm>
#include <cstring>

namespace wzss::host {

MemoryStream::MemoryStream(std::string bytes) : bytes_(std::move(bytes)) {
  stream_.streamLength = static_cast<uint32_t>(bytes_.size());
  stream_.privateA = this;
  stream_.Open = &MemoryStream::open;
  stream_.Read = &MemoryStream::read;
  stream_.Seek = &MemoryStream::seek;
  stream_.Tell = &MemoryStream::tell;
  stream_.Close = &MemoryStream::close;
}

MemoryStream& MemoryStream::self(StreamInterface* stream) {
  return *static_cast<MemoryStream*>(stream->privateA);
}

int MemoryStream::open(StreamInterface* stream) {
  MemoryStream& s = self(stream);
  ++s.calls_.opens;
  if (s.failOpen_) return 0;
  s.position_ = 0;
  return 1;
}

int MemoryStream::read(StreamInterface* stream, void* buffer, int32_t count) {
  MemoryStream& s = self(stream);
  if (++s.calls_.reads == s.failReadAt_ || count <= 0) return 0;
  const uint64_t left = s.position_ < s.bytes_.size() ? s.bytes_.size() - s.position_ : 0;
  const auto n = static_cast<uint32_t>(std::min<uint64_t>(left, static_cast<uint32_t>(count)));
  std::memcpy(buffer, s.bytes_.data() + s.position_, n);
  s.position_ += n;
  return static_cast<int>(n);
}

int MemoryStream::seek(StreamInterface* stream, int32_t offset, int32_t whence) {
  MemoryStream& s = self(stream);
  if (++s.calls_.seeks == s.failSeekAt_) return 0;
  int64_t target;
  switch (whence) {
    case 0: target = static_cast<uint32_t>(offset); break;
    case 1: target = static_cast<int64_t>(s.position_) + offset; break;
    case 2: target = static_cast<int64_t>(s.bytes_.size()) + offset; break;
    default: return 0;
  }
  if (target < 0 || target > static_cast<int64_t>(s.bytes_.size())) return 0;
  s.position_ = static_cast<uint32_t>(target);
  return 1;
}

uint32_t MemoryStream::tell(StreamInterface* stream) {
  MemoryStream& s = self(stream);
  ++s.calls_.tells;
  return s.position_;
}

int MemoryStream::close(StreamInterface* stream) {
  ++self(stream).calls_.closes;
  return 1;
}

}  // namespace wzss::host

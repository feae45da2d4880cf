#include "services.h"

#include <cstdlib>
#include <cstring>

#include "file_stream.h"

namespace wzss::host {
namespace {

// Each block carries its size in front, so Free and Realloc can account
// bytes without a side table. 16 bytes keep the payload max-aligned.
struct alignas(16) BlockHeader {
  uint64_t size;
  uint64_t magic;
};
constexpr uint64_t kMagic = 0x777a73732d626c6bULL;  // "wzss-blk"

BlockHeader* headerOf(void* block) {
  auto* header = static_cast<BlockHeader*>(block) - 1;
  if (header->magic != kMagic) std::abort();  // not ours, or freed twice
  return header;
}

}  // namespace

Services::Services() {
  services_.allocator.context = this;
  services_.allocator.Alloc = &Services::alloc;
  services_.allocator.Free = &Services::release;
  services_.allocator.Realloc = &Services::realloc;
  services_.allocator.Calloc = &Services::calloc;
  services_.OpenFile = &Services::openFile;
  opener_ = [](const std::string& path) -> StreamInterface* {
    auto stream = FileStream::open(path);
    return stream ? FileStream::release(std::move(stream)) : nullptr;
  };
}

Services::~Services() = default;

Services& Services::self(HostAllocator* allocator) {
  return *static_cast<Services*>(allocator->context);
}

bool Services::shouldFail() {
  ++stats_.allocations;
  return failAt_ != 0 && stats_.allocations == failAt_;
}

void* Services::allocate(uint64_t size, bool zero) {
  void* raw = zero ? std::calloc(1, sizeof(BlockHeader) + size)
                   : std::malloc(sizeof(BlockHeader) + size);
  if (raw == nullptr) return nullptr;
  auto* header = static_cast<BlockHeader*>(raw);
  header->size = size;
  header->magic = kMagic;
  ++stats_.liveBlocks;
  stats_.liveBytes += size;
  if (stats_.liveBytes > stats_.peakBytes) stats_.peakBytes = stats_.liveBytes;
  return header + 1;
}

void* Services::alloc(HostAllocator* allocator, uint32_t size) {
  Services& s = self(allocator);
  return s.shouldFail() ? nullptr : s.allocate(size, false);
}

void* Services::calloc(HostAllocator* allocator, uint32_t count, uint32_t size) {
  Services& s = self(allocator);
  if (s.shouldFail()) return nullptr;
  return s.allocate(static_cast<uint64_t>(count) * size, true);
}

void Services::release(HostAllocator* allocator, void* block) {
  if (block == nullptr) return;
  Services& s = self(allocator);
  BlockHeader* header = headerOf(block);
  --s.stats_.liveBlocks;
  s.stats_.liveBytes -= header->size;
  header->magic = 0;
  std::free(header);
}

void* Services::realloc(HostAllocator* allocator, void* block, uint32_t size) {
  Services& s = self(allocator);
  if (block == nullptr) return s.shouldFail() ? nullptr : s.allocate(size, false);
  if (s.shouldFail()) return nullptr;
  BlockHeader* header = headerOf(block);
  const uint64_t oldSize = header->size;
  void* raw = std::realloc(header, sizeof(BlockHeader) + size);
  if (raw == nullptr) return nullptr;
  header = static_cast<BlockHeader*>(raw);
  header->size = size;
  s.stats_.liveBytes = s.stats_.liveBytes - oldSize + size;
  if (s.stats_.liveBytes > s.stats_.peakBytes) s.stats_.peakBytes = s.stats_.liveBytes;
  return header + 1;
}

StreamInterface* Services::openFile(HostServices* services, const char* path, const char*) {
  if (path == nullptr) return nullptr;
  auto& s = *static_cast<Services*>(services->allocator.context);
  std::string resolved = path;
  if (!resolved.empty() && resolved.front() != '/' && !s.baseFolder_.empty())
    resolved = s.baseFolder_ + "/" + resolved;
  return s.opener_ ? s.opener_(resolved) : nullptr;
}

}  // namespace wzss::host

#include "wzss/host/services.h"

#include <sanitizer/asan_interface.h>  // its poisoning does nothing outside the sanitizer build

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "wzss/host/file_stream.h"

namespace wzss::host {

namespace fs = std::filesystem;

// Each block carries its size in front, so Free and Realloc can account
// bytes without a side table. 16 bytes keep the payload max-aligned. A block
// of a cached size class also carries its class; while it waits on its free
// list, next links it to the following one.
struct alignas(16) BlockHeader {
  union {
    uint64_t size;
    BlockHeader* next;
  };
  uint32_t magic;
  uint32_t sizeClass;  // kUncached, or the payload capacity in kClassBytes
};

namespace {

constexpr uint32_t kMagic = 0x777a7373;  // "wzss"
constexpr uint32_t kUncached = 0;

BlockHeader* headerOf(void* block) {
  auto* header = static_cast<BlockHeader*>(block) - 1;
  if (header->magic != kMagic) std::abort();  // not ours, or freed twice
  return header;
}

uint64_t capacityOf(uint32_t sizeClass) { return uint64_t{sizeClass} * Services::kClassBytes; }

// The sanitizer build keeps a block that waits for reuse unaddressable, so
// a use after Free is still reported, and a reused block addressable only
// up to the size asked for.
void hideBlock(BlockHeader* header) {
  ASAN_POISON_MEMORY_REGION(header + 1, capacityOf(header->sizeClass));
}

void showBlock(BlockHeader* header, uint64_t size) {
  ASAN_UNPOISON_MEMORY_REGION(header + 1, size);
}

}  // namespace

Services::Services() {
  services_.allocator.context = this;
  services_.allocator.Alloc = &Services::alloc;
  services_.allocator.Free = &Services::release;
  services_.allocator.Realloc = &Services::realloc;
  services_.allocator.Calloc = &Services::calloc;
  services_.OpenFile = &Services::openFile;
}

Services::~Services() {
  for (BlockHeader*& list : freeBlocks_) {
    while (list != nullptr) {
      BlockHeader* next = list->next;
      std::free(list);
      list = next;
    }
  }
}

Services& Services::self(HostAllocator* allocator) {
  return *static_cast<Services*>(allocator->context);
}

bool Services::shouldFail() {
  ++stats_.allocations;
  return failAt_ != 0 && stats_.allocations == failAt_;
}

// Small blocks come from the free list of their size class when it has one:
// the plug-in allocates and frees a display text per cell, and a list pop
// costs a fraction of a malloc and free.
void* Services::allocate(uint64_t size, bool zero) {
  const uint32_t sizeClass =
      size <= kLargestCached ? static_cast<uint32_t>((size + kClassBytes - 1) / kClassBytes) : 0;
  BlockHeader* header = nullptr;
  if (sizeClass != kUncached && freeBlocks_[sizeClass] != nullptr) {
    header = freeBlocks_[sizeClass];
    freeBlocks_[sizeClass] = header->next;
    --freeCounts_[sizeClass];
    showBlock(header, size);
    if (zero) std::memset(header + 1, 0, size);
  } else {
    const uint64_t bytes =
        sizeof(BlockHeader) + (sizeClass != kUncached ? capacityOf(sizeClass) : size);
    void* raw = zero ? std::calloc(1, bytes) : std::malloc(bytes);
    if (raw == nullptr) return nullptr;
    header = static_cast<BlockHeader*>(raw);
    if (sizeClass != kUncached)
      ASAN_POISON_MEMORY_REGION(reinterpret_cast<char*>(header + 1) + size,
                                capacityOf(sizeClass) - size);
  }
  header->size = size;
  header->magic = kMagic;
  header->sizeClass = sizeClass;
  ++stats_.liveBlocks;
  stats_.liveBytes += size;
  if (stats_.liveBytes > stats_.peakBytes) stats_.peakBytes = stats_.liveBytes;
  return header + 1;
}

// A freed block of a cached class waits for reuse unless its list is full.
void Services::recycle(BlockHeader* header) {
  header->magic = 0;
  const uint32_t sizeClass = header->sizeClass;
  if (sizeClass == kUncached || freeCounts_[sizeClass] == kCachedPerClass) {
    std::free(header);
    return;
  }
  hideBlock(header);
  header->next = freeBlocks_[sizeClass];
  freeBlocks_[sizeClass] = header;
  ++freeCounts_[sizeClass];
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
  s.recycle(header);
}

void* Services::realloc(HostAllocator* allocator, void* block, uint32_t size) {
  Services& s = self(allocator);
  if (block == nullptr) return s.shouldFail() ? nullptr : s.allocate(size, false);
  if (s.shouldFail()) return nullptr;
  BlockHeader* header = headerOf(block);
  const uint64_t oldSize = header->size;
  if (header->sizeClass != kUncached) {
    // A block of a size class moves to a new block of the right size and is
    // recycled. It leaves the accounts first, so the peak counts the new
    // size only, as an in-place resize would.
    --s.stats_.liveBlocks;
    s.stats_.liveBytes -= oldSize;
    void* moved = s.allocate(size, false);
    if (moved == nullptr) {
      ++s.stats_.liveBlocks;
      s.stats_.liveBytes += oldSize;
      return nullptr;
    }
    std::memcpy(moved, block, oldSize < size ? oldSize : size);
    s.recycle(header);
    return moved;
  }
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
  if (!s.opener_) return s.openLinked(path);
  std::string joined = path;
  if (!joined.empty() && joined.front() != '/' && !s.baseFolder_.empty())
    joined = s.baseFolder_ + "/" + joined;
  return s.opener_(joined);
}

namespace {

// The names of inner after those of outer, when inner lies beneath outer
// (both absolute and without "." or ".." among outer's names).
std::optional<fs::path> beneath(const fs::path& outer, const fs::path& inner) {
  auto in = inner.begin();
  for (const fs::path& name : outer) {
    if (name.empty()) continue;  // a trailing slash
    if (in == inner.end() || *in != name) return std::nullopt;
    ++in;
  }
  fs::path rest;
  for (; in != inner.end(); ++in) rest /= *in;
  return rest;
}

std::optional<fs::path> realFolder(const std::string& folder) {
  std::error_code error;
  fs::path real = fs::canonical(folder, error);
  if (error) return std::nullopt;
  return real;
}

}  // namespace

// The policy's folder and the path's place beneath it are found on the
// real paths of the folders; the file itself is then reached from the
// folder's descriptor by FileStream::openBeneath, which refuses links.
StreamInterface* Services::openLinked(const std::string& path) const {
  if (linkedFiles_.scope == LinkedFiles::Scope::None || path.empty()) return nullptr;
  const std::string& allowed =
      linkedFiles_.scope == LinkedFiles::Scope::Folder ? linkedFiles_.folder : baseFolder_;
  if (allowed.empty()) return nullptr;
  const std::optional<fs::path> root = realFolder(allowed);
  if (!root) return nullptr;
  std::optional<fs::path> place;
  if (path.front() == '/') {
    place = beneath(*root, path);
  } else if (!baseFolder_.empty()) {
    const std::optional<fs::path> start = realFolder(baseFolder_);
    if (start) place = beneath(*root, *start);
    if (place) place = *place / path;
  }
  if (!place) return nullptr;
  auto stream = FileStream::openBeneath(root->string(), place->string());
  return stream ? FileStream::release(std::move(stream)) : nullptr;
}

}  // namespace wzss::host

// HostServices for C++ hosts: an accounting allocator that counts every
// block, can fail the Nth allocation and keeps freed small blocks for reuse,
// and OpenFile resolving relative paths against a base folder (normally the
// workbook's).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "wzss/reader_abi.h"

namespace wzss::host {

struct AllocationStats {
  uint64_t liveBlocks = 0;
  uint64_t liveBytes = 0;
  uint64_t peakBytes = 0;
  uint64_t allocations = 0;  // Alloc, Calloc and Realloc calls
};

struct BlockHeader;

class Services {
 public:
  // Blocks of up to kLargestCached bytes come in size classes of
  // kClassBytes; up to kCachedPerClass freed blocks of each class wait for
  // reuse (at most ~140 KB), the rest go back to the C library.
  static constexpr uint32_t kClassBytes = 16;
  static constexpr uint32_t kLargestCached = 256;
  static constexpr uint32_t kCachedPerClass = 32;

  // Opens a further file for OpenFile; receives the path as the plug-in
  // gave it, already resolved against the base folder.
  using Opener = std::function<StreamInterface*(const std::string& path)>;

  Services();
  ~Services();
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  HostServices* get() { return &services_; }

  const AllocationStats& stats() const { return stats_; }
  // Fails allocation call number n (counted from 1 over the whole life of
  // this object), and only that one; 0 fails none.
  void failAllocation(uint64_t n) { failAt_ = n; }

  // Relative paths given to OpenFile are resolved against this folder.
  void setBaseFolder(std::string folder) { baseFolder_ = std::move(folder); }
  // Default opener: a FileStream over the file (null when it cannot be opened).
  void setOpener(Opener opener) { opener_ = std::move(opener); }

  // Frees a block the plug-in handed over (an object descriptor).
  void free(void* block) { services_.allocator.Free(&services_.allocator, block); }

 private:
  static Services& self(HostAllocator* allocator);
  static void* alloc(HostAllocator* allocator, uint32_t size);
  static void release(HostAllocator* allocator, void* block);
  static void* realloc(HostAllocator* allocator, void* block, uint32_t size);
  static void* calloc(HostAllocator* allocator, uint32_t count, uint32_t size);
  static StreamInterface* openFile(HostServices* services, const char* path, const char* mode);

  bool shouldFail();
  void* allocate(uint64_t size, bool zero);
  void recycle(BlockHeader* header);

  HostServices services_{};
  AllocationStats stats_;
  uint64_t failAt_ = 0;
  static constexpr uint32_t kClasses = kLargestCached / kClassBytes + 1;  // class 0: uncached
  std::array<BlockHeader*, kClasses> freeBlocks_{};
  std::array<uint32_t, kClasses> freeCounts_{};
  std::string baseFolder_;
  Opener opener_;
};

}  // namespace wzss::host

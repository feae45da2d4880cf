// HostServices for C++ hosts: an accounting allocator that counts every
// block, can fail the Nth allocation and keeps freed small blocks for reuse,
// and OpenFile, which opens a linked object's file only where the host's
// policy lets a workbook reach (by default its own folder).
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

// Which files a workbook's linked objects may open through OpenFile. A
// workbook may come from anyone, and the file it names is handed on (an
// extracted copy, a size in a report), so by default it reaches no further
// than its own folder. Wherever it may reach, a path is followed one name
// at a time without following any symbolic link (a link is refused, even
// one that points back inside), ".." never climbs above the allowed folder,
// an absolute path must lead beneath it, and only a regular file opens: a
// FIFO, a device or a folder gives null, as does a path under the None policy.
struct LinkedFiles {
  enum class Scope {
    WorkbookFolder,  // beneath the base folder (setBaseFolder); none without one
    Folder,          // beneath `folder`: relative paths still start at the base folder
    None,            // no linked file at all
  };
  Scope scope = Scope::WorkbookFolder;
  std::string folder;  // for Scope::Folder

  static LinkedFiles beneath(std::string folder) { return {Scope::Folder, std::move(folder)}; }
  static LinkedFiles none() { return {Scope::None, {}}; }
};

class Services {
 public:
  // Blocks of up to kLargestCached bytes come in size classes of
  // kClassBytes; up to kCachedPerClass freed blocks of each class wait for
  // reuse (at most ~140 KB), the rest go back to the C library.
  static constexpr uint32_t kClassBytes = 16;
  static constexpr uint32_t kLargestCached = 256;
  static constexpr uint32_t kCachedPerClass = 32;

  // Opens a further file for OpenFile in place of the policy (tests, hosts
  // with their own storage); receives the path as the plug-in gave it,
  // joined to the base folder when relative.
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

  // The workbook's folder: relative paths given to OpenFile start here.
  void setBaseFolder(std::string folder) { baseFolder_ = std::move(folder); }
  void setLinkedFiles(LinkedFiles policy) { linkedFiles_ = std::move(policy); }
  // Without an opener, OpenFile gives a FileStream over a file the policy
  // allows, or null. An opener decides alone; the policy is not applied.
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
  StreamInterface* openLinked(const std::string& path) const;

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
  LinkedFiles linkedFiles_;
  Opener opener_;
};

}  // namespace wzss::host

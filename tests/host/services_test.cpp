// Services: the accounting allocator and OpenFile of the host kit.
#include "wzss/host/services.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace wzss::host {
namespace {

struct Memory {
  Services services;
  HostAllocator* a = &services.get()->allocator;
  void* alloc(uint32_t size) { return a->Alloc(a, size); }
  void* calloc(uint32_t count, uint32_t size) { return a->Calloc(a, count, size); }
  void* realloc(void* block, uint32_t size) { return a->Realloc(a, block, size); }
  void free(void* block) { a->Free(a, block); }
  const AllocationStats& stats() const { return services.stats(); }
};

TEST(ServicesTest, CountsLiveBlocksBytesAndPeak) {
  Memory m;
  void* first = m.alloc(100);
  void* second = m.calloc(10, 30);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(m.stats().liveBlocks, 2u);
  EXPECT_EQ(m.stats().liveBytes, 400u);
  m.free(first);
  EXPECT_EQ(m.stats().liveBlocks, 1u);
  EXPECT_EQ(m.stats().liveBytes, 300u);
  EXPECT_EQ(m.stats().peakBytes, 400u);
  second = m.realloc(second, 1000);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(m.stats().liveBytes, 1000u);
  EXPECT_EQ(m.stats().peakBytes, 1000u);
  m.free(second);
  m.free(nullptr);
  EXPECT_EQ(m.stats().liveBlocks, 0u);
  EXPECT_EQ(m.stats().liveBytes, 0u);
  EXPECT_EQ(m.stats().allocations, 3u);
}

TEST(ServicesTest, CallocZeroesAndReallocKeepsTheContents) {
  Memory m;
  auto* zeroed = static_cast<unsigned char*>(m.calloc(64, 4));
  ASSERT_NE(zeroed, nullptr);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(zeroed[i], 0) << i;
  std::memcpy(zeroed, "keep me", 8);
  auto* grown = static_cast<char*>(m.realloc(zeroed, 100000));
  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(grown, "keep me");
  auto* shrunk = static_cast<char*>(m.realloc(grown, 8));
  ASSERT_NE(shrunk, nullptr);
  EXPECT_STREQ(shrunk, "keep me");
  m.free(shrunk);
  void* fresh = m.realloc(nullptr, 16);  // Realloc of null allocates
  EXPECT_NE(fresh, nullptr);
  EXPECT_EQ(m.stats().liveBlocks, 1u);
  m.free(fresh);
}

// Small blocks are kept for reuse after Free: a reused block must behave
// like a fresh one of the size asked for.
TEST(ServicesTest, ReusedSmallBlocksBehaveLikeFreshOnes) {
  Memory m;
  for (uint32_t size : {1u, 15u, 16u, 17u, 200u, 256u}) {
    SCOPED_TRACE(size);
    auto* dirty = static_cast<unsigned char*>(m.alloc(size));
    ASSERT_NE(dirty, nullptr);
    std::memset(dirty, 0xFF, size);
    m.free(dirty);
    auto* zeroed = static_cast<unsigned char*>(m.calloc(1, size));
    ASSERT_NE(zeroed, nullptr);
    for (uint32_t i = 0; i < size; ++i) ASSERT_EQ(zeroed[i], 0) << i;
    // Growing out of the block's class and back keeps the contents.
    std::memset(zeroed, 'a', size);
    auto* grown = static_cast<unsigned char*>(m.realloc(zeroed, size + 300));
    ASSERT_NE(grown, nullptr);
    for (uint32_t i = 0; i < size; ++i) ASSERT_EQ(grown[i], 'a') << i;
    auto* shrunk = static_cast<unsigned char*>(m.realloc(grown, 1));
    ASSERT_NE(shrunk, nullptr);
    EXPECT_EQ(shrunk[0], 'a');
    EXPECT_EQ(m.stats().liveBytes, 1u);
    m.free(shrunk);
  }
  EXPECT_EQ(m.stats().liveBlocks, 0u);
  EXPECT_EQ(m.stats().peakBytes, 556u);  // 256 + 300: a resize never counts both blocks
}

TEST(ServicesDeathTest, FreeingAReusableBlockTwiceAborts) {
  Memory m;
  void* block = m.alloc(24);
  m.free(block);
  EXPECT_DEATH(m.free(block), "");
}

#if defined(__SANITIZE_ADDRESS__)
TEST(ServicesDeathTest, SanitizerReportsUseOfAFreedReusableBlock) {
  Memory m;
  auto* block = static_cast<volatile char*>(m.alloc(24));
  m.free(const_cast<char*>(block));
  EXPECT_DEATH(block[0] = 'x', "use-after-poison");
}
#endif

TEST(ServicesTest, FailAllocationFailsExactlyTheNthCallOfAnyKind) {
  // Call 1 makes the block that call 4 resizes; calls 2 to 6 are one of each
  // kind. A refused Realloc keeps the old block and its contents.
  for (uint64_t failing = 2; failing <= 6; ++failing) {
    SCOPED_TRACE(failing);
    Memory m;
    m.services.failAllocation(failing);
    auto* base = static_cast<char*>(m.alloc(6));
    ASSERT_NE(base, nullptr);
    std::memcpy(base, "stays", 6);
    void* results[5] = {};
    results[0] = m.alloc(8);
    results[1] = m.calloc(2, 8);
    const uint64_t bytesBefore = m.stats().liveBytes;
    results[2] = m.realloc(base, 64);
    if (results[2] != nullptr) {
      base = nullptr;  // moved into the result
    } else {
      EXPECT_STREQ(base, "stays");
      EXPECT_EQ(m.stats().liveBytes, bytesBefore);
    }
    results[3] = m.realloc(nullptr, 8);
    results[4] = m.alloc(8);
    for (uint64_t i = 0; i < 5; ++i) EXPECT_EQ(results[i] == nullptr, i + 2 == failing) << i + 2;
    for (void* r : results) m.free(r);
    m.free(base);
    EXPECT_EQ(m.stats().liveBlocks, 0u);
    EXPECT_EQ(m.stats().allocations, 6u);
  }
}

TEST(ServicesTest, OpenFileResolvesRelativePathsAgainstTheBaseFolder) {
  Services services;
  std::vector<std::string> opened;
  services.setOpener([&opened](const std::string& path) -> StreamInterface* {
    opened.push_back(path);
    return nullptr;
  });
  HostServices* h = services.get();
  EXPECT_EQ(h->OpenFile(h, "chart.txt", "rb"), nullptr);
  services.setBaseFolder("/data/books");
  h->OpenFile(h, "chart.txt", "rb");
  h->OpenFile(h, "/abs/chart.txt", "rb");
  h->OpenFile(h, "", "rb");
  EXPECT_EQ(h->OpenFile(h, nullptr, "rb"), nullptr);
  EXPECT_EQ(opened,
            (std::vector<std::string>{"chart.txt", "/data/books/chart.txt", "/abs/chart.txt", ""}));
}

TEST(ServicesTest, DefaultOpenerGivesAReleasableFileStreamOrNull) {
  Services services;
  HostServices* h = services.get();
  EXPECT_EQ(h->OpenFile(h, "/nonexistent/wzss/file", "rb"), nullptr);
  StreamInterface* stream = h->OpenFile(h, WZSS_SAMPLES_DIR "/budget.wzs", "rb");
  ASSERT_NE(stream, nullptr);
  EXPECT_GT(stream->streamLength, 0u);
  ASSERT_NE(stream->Release, nullptr);
  char byte = 0;
  ASSERT_EQ(stream->Open(stream), 1);
  ASSERT_EQ(stream->Read(stream, &byte, 1), 1);
  stream->Release(stream);  // the sanitizer build reports a leak if this did not free
}

}  // namespace
}  // namespace wzss::host

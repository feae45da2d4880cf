// Services: the accounting allocator and OpenFile of the host kit.
#include "wzss/host/services.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <fstream>
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

// A tree for the linked-file policy: the workbook's folder "books" beside a
// folder "outside" it must not reach.
class LinkedTree {
 public:
  LinkedTree() {
    char pattern[] = "/tmp/wzss-linked-XXXXXX";
    root_ = std::filesystem::canonical(mkdtemp(pattern));
    std::filesystem::create_directories(books() / "sub");
    std::filesystem::create_directories(books() / "dir");
    std::filesystem::create_directories(root_ / "outside");
    write(books() / "chart.txt", "beside");
    write(books() / "sub" / "inner.txt", "inner");
    write(root_ / "outside" / "secret.txt", "secret");
    std::filesystem::create_symlink("../outside/secret.txt", books() / "out-link");
    std::filesystem::create_symlink("chart.txt", books() / "in-link");
    std::filesystem::create_symlink("../outside", books() / "linked-dir");
    std::filesystem::create_symlink("/dev/zero", books() / "device");
    mkfifo((books() / "fifo").c_str(), 0600);  // nobody writes: opening it for reading would wait
  }
  ~LinkedTree() { std::filesystem::remove_all(root_); }
  const std::filesystem::path& root() const { return root_; }
  std::filesystem::path books() const { return root_ / "books"; }

 private:
  static void write(const std::filesystem::path& path, const char* text) {
    std::ofstream(path) << text;
  }
  std::filesystem::path root_;
};

// What OpenFile gives for a path, read whole; "-" for null.
std::string openedText(Services& services, const std::string& path) {
  HostServices* h = services.get();
  StreamInterface* stream = h->OpenFile(h, path.c_str(), "rb");
  if (stream == nullptr) return "-";
  std::string text(stream->streamLength, '\0');
  EXPECT_EQ(stream->Open(stream), 1);
  EXPECT_EQ(stream->Read(stream, text.data(), static_cast<int32_t>(text.size())),
            static_cast<int>(text.size()));
  stream->Release(stream);  // the sanitizer build reports a leak if this did not free
  return text;
}

TEST(ServicesTest, LinkedFilesOpenOnlyRegularFilesWhereThePolicyReaches) {
  const LinkedTree tree;
  const std::string books = tree.books().string(), root = tree.root().string();
  const LinkedFiles folder, aboveBooks = LinkedFiles::beneath(root);
  struct Case {
    std::string path;
    LinkedFiles policy;
    std::string expected;  // the file's text, "-" for null
  };
  const std::vector<Case> cases = {
      {"chart.txt", folder, "beside"},
      {"sub/inner.txt", folder, "inner"},
      {"./sub/../chart.txt", folder, "beside"},
      {books + "/chart.txt", folder, "beside"},  // absolute, but inside
      {"/etc/hostname", folder, "-"},
      {"../outside/secret.txt", folder, "-"},
      {"./../outside/secret.txt", folder, "-"},
      {"sub/../../outside/secret.txt", folder, "-"},
      {books + "/../outside/secret.txt", folder, "-"},
      {"out-link", folder, "-"},
      {"in-link", folder, "-"},  // links are refused wherever they point
      {"linked-dir/secret.txt", folder, "-"},
      {"fifo", folder, "-"},
      {"device", folder, "-"},
      {"/dev/zero", folder, "-"},
      {"dir", folder, "-"},
      {"sub/", folder, "-"},
      {"missing.txt", folder, "-"},
      {"", folder, "-"},
      {"chart.txt", LinkedFiles::none(), "-"},
      {"../outside/secret.txt", aboveBooks, "secret"},
      {root + "/outside/secret.txt", aboveBooks, "secret"},
      {"../../etc/hostname", aboveBooks, "-"},
      {"/etc/hostname", aboveBooks, "-"},
      {"linked-dir/secret.txt", aboveBooks, "-"},
  };
  for (const Case& c : cases) {
    Services services;
    services.setBaseFolder(books);
    services.setLinkedFiles(c.policy);
    EXPECT_EQ(openedText(services, c.path), c.expected) << c.path;
  }
  Services noFolder;  // a workbook without a folder (read from memory) links nothing
  EXPECT_EQ(openedText(noFolder, "chart.txt"), "-");
}

}  // namespace
}  // namespace wzss::host

// Services: the accounting allocator and OpenFile of the host kit.
#include "wzss/host/services.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "test_files.h"

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

// The allocator against a plain model of its blocks, over random calls of
// every kind and size (small ones are reused after Free): each block keeps
// its bytes through Realloc, Calloc zeroes even a reused block, the counts
// and the peak follow the model (a resize never counts both blocks), and a
// failed call, once per round at a chosen call number, returns null and
// changes nothing (a refused Realloc keeps the old block).
TEST(ServicesTest, AgreesWithAPlainModelOfItsBlocks) {
  std::mt19937 random(3);
  for (uint64_t failing = 0; failing <= 60; failing += 3) {
    Memory m;
    m.services.failAllocation(failing);
    std::map<unsigned char*, std::string> blocks;  // block -> the bytes it must hold
    uint64_t live = 0, peak = 0, calls = 0;
    for (int step = 0; step < 60; ++step) {
      const uint32_t size = 1 + random() % (random() % 4 == 0 ? 5000 : 300);
      const int kind = random() % 4;
      auto victim =
          blocks.empty() ? blocks.end() : std::next(blocks.begin(), random() % blocks.size());
      if (kind == 3 && victim != blocks.end()) {
        live -= victim->second.size();
        m.free(victim->first);
        blocks.erase(victim);
        continue;
      }
      const bool resize = kind == 2 && victim != blocks.end();
      unsigned char* block = static_cast<unsigned char*>(
          kind == 0   ? m.alloc(size)
          : kind == 1 ? m.calloc(1, size)
                      : m.realloc(resize ? victim->first : nullptr, size));
      ASSERT_EQ(block == nullptr, ++calls == failing) << "call " << calls;
      ASSERT_EQ(m.stats().liveBytes,
                block == nullptr ? live : live + size - (resize ? victim->second.size() : 0));
      if (block == nullptr) continue;
      const size_t kept = kind == 1 ? size
                          : resize  ? std::min<size_t>(size, victim->second.size())
                                    : 0;
      const std::string expected = kind == 1 ? std::string(size, '\0')
                                   : resize  ? victim->second
                                             : "";
      ASSERT_EQ(std::memcmp(block, expected.data(), kept), 0) << "call " << calls;
      if (resize) {
        live -= victim->second.size();
        blocks.erase(victim);
      }
      std::memset(block, 'a' + step % 26, size);
      blocks[block] = std::string(size, static_cast<char>('a' + step % 26));
      live += size;
      peak = std::max(peak, live);
      ASSERT_EQ(m.stats().peakBytes, peak) << "call " << calls;
    }
    EXPECT_EQ(m.stats().liveBlocks, blocks.size());
    EXPECT_EQ(m.stats().allocations, calls);
    for (auto& [block, bytes] : blocks) m.free(block);
    m.free(nullptr);
    EXPECT_EQ(m.stats().liveBlocks, 0u);
  }
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
  LinkedTree() : root_(std::filesystem::canonical(dir_.path())) {
    std::filesystem::create_directories(books() / "sub");
    std::filesystem::create_directories(books() / "dir");
    std::filesystem::create_directories(root_ / "outside");
    test::writeFile(books() / "chart.txt", "beside");
    test::writeFile(books() / "sub" / "inner.txt", "inner");
    test::writeFile(root_ / "outside" / "secret.txt", "secret");
    std::filesystem::create_symlink("../outside/secret.txt", books() / "out-link");
    std::filesystem::create_symlink("chart.txt", books() / "in-link");
    std::filesystem::create_symlink("../outside", books() / "linked-dir");
    std::filesystem::create_symlink("/dev/zero", books() / "device");
    mkfifo((books() / "fifo").c_str(), 0600);  // nobody writes: opening it for reading would wait
  }
  const std::filesystem::path& root() const { return root_; }
  std::filesystem::path books() const { return root_ / "books"; }

 private:
  test::TempDir dir_;  // made before root_
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

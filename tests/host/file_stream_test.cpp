// FileStream: the buffered stream the command reads workbooks through.
#include "wzss/host/file_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace wzss::host {
namespace {

// The stream's read buffer is 64 KiB; these contents span several buffers.
constexpr size_t kBufferBytes = 64 * 1024;

class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/wzss-file-stream-XXXXXX";
    const char* made = mkdtemp(pattern);
    EXPECT_NE(made, nullptr);
    path_ = made != nullptr ? made : "/tmp";
  }
  ~TempDir() { std::system(("rm -rf '" + path_ + "'").c_str()); }
  std::string file(const std::string& name, const std::string& bytes) const {
    const std::string path = path_ + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::string patternBytes(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xff);
  return bytes;
}

TEST(FileStreamTest, ReadsEveryByteAloneOrInChunksAcrossBuffers) {
  TempDir dir;
  const std::string bytes = patternBytes(2 * kBufferBytes + 123);
  auto stream = FileStream::open(dir.file("pattern", bytes));
  ASSERT_TRUE(stream);
  StreamInterface* s = stream->get();
  ASSERT_EQ(s->Open(s), 1);
  EXPECT_EQ(s->streamLength, bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    unsigned char byte = 0;
    ASSERT_EQ(s->Read(s, &byte, 1), 1) << "at " << i;
    ASSERT_EQ(byte, static_cast<unsigned char>(bytes[i])) << "at " << i;
    ASSERT_EQ(s->Tell(s), i + 1);
  }
  unsigned char byte = 0;
  EXPECT_EQ(s->Read(s, &byte, 1), 0) << "end of file";

  // Open again starts from the first byte; chunks larger than the buffer
  // stop at the end.
  ASSERT_EQ(s->Close(s), 1);
  ASSERT_EQ(s->Open(s), 1);
  EXPECT_EQ(s->Tell(s), 0u);
  std::string got;
  std::string chunk(kBufferBytes + 1000, '\0');
  for (int n; (n = s->Read(s, chunk.data(), static_cast<int32_t>(chunk.size()))) > 0;)
    got.append(chunk.data(), static_cast<size_t>(n));
  EXPECT_EQ(got, bytes);
  EXPECT_EQ(s->Read(s, chunk.data(), 0), 0);
  EXPECT_EQ(s->Read(s, chunk.data(), -5), 0);
}

// Seeks from a position reached by reading, so the buffer holds data around
// it: whence 0 from the start, 1 from here, 2 from the end; a refused seek
// leaves the position.
TEST(FileStreamTest, SeekMovesExactlyOrRefusesAndStays) {
  struct Case {
    const char* name;
    uint32_t start;
    int32_t offset;
    int32_t whence;
    bool accepted;
    uint32_t expected;
  } cases[] = {{"startToMiddle", 0, 1000, 0, true, 1000},
               {"backInsideBuffer", 5000, 4000, 0, true, 4000},
               {"forwardPastBuffer", 10, 100000, 0, true, 100000},
               {"toTheEnd", 0, 131072, 0, true, 131072},
               {"pastTheEnd", 50, 131073, 0, false, 50},
               {"hugeUnsignedTarget", 50, -1, 0, false, 50},
               {"relativeBack", 3000, -1000, 1, true, 2000},
               {"relativeForward", 3000, 70000, 1, true, 73000},
               {"relativeBeforeStart", 3000, -3001, 1, false, 3000},
               {"relativeToStart", 3000, -3000, 1, true, 0},
               {"fromEnd", 7, -10, 2, true, 131062},
               {"fromEndExactly", 7, 0, 2, true, 131072},
               {"fromEndPast", 7, 1, 2, false, 7},
               {"fromEndBeforeStart", 7, -131073, 2, false, 7},
               {"unknownWhence", 7, 0, 3, false, 7},
               {"negativeWhence", 7, 0, -1, false, 7}};
  TempDir dir;
  const std::string bytes = patternBytes(kBufferBytes * 2);  // 131072 bytes
  auto stream = FileStream::open(dir.file("pattern", bytes));
  ASSERT_TRUE(stream);
  StreamInterface* s = stream->get();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(s->Open(s), 1);
    std::string sink(c.start, '\0');
    ASSERT_EQ(s->Read(s, sink.data(), static_cast<int32_t>(c.start)), static_cast<int>(c.start));
    EXPECT_EQ(s->Seek(s, c.offset, c.whence) != 0, c.accepted);
    EXPECT_EQ(s->Tell(s), c.expected);
    if (c.expected < bytes.size()) {
      unsigned char byte = 0;
      ASSERT_EQ(s->Read(s, &byte, 1), 1);
      EXPECT_EQ(byte, static_cast<unsigned char>(bytes[c.expected])) << "byte at the new position";
    }
    ASSERT_EQ(s->Close(s), 1);
  }
}

TEST(FileStreamTest, RefusesWhatCannotBeReadAsAWorkbookStream) {
  TempDir dir;
  std::string error;
  EXPECT_FALSE(FileStream::open(dir.path() + "/missing", &error));
  EXPECT_EQ(error, "No such file or directory");
  EXPECT_FALSE(FileStream::open(dir.path(), &error));
  EXPECT_EQ(error, "is a directory");
}

TEST(FileStreamTest, RefusesAFileOf4GiBButTakesOneByteLess) {
  // Sparse files: the size is set without writing, so this costs no disk.
  TempDir dir;
  const auto sparse = [&dir](const std::string& name, off_t size) {
    const std::string path = dir.path() + "/" + name;
    const int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
    EXPECT_GE(fd, 0);
    EXPECT_EQ(::ftruncate(fd, size), 0);
    ::close(fd);
    return path;
  };
  const off_t fourGiB = off_t{1} << 32;
  std::string error;
  EXPECT_FALSE(FileStream::open(sparse("four", fourGiB), &error));
  EXPECT_NE(error.find("4 GiB"), std::string::npos) << error;

  auto largest = FileStream::open(sparse("almost", fourGiB - 1), &error);
  ASSERT_TRUE(largest) << error;
  StreamInterface* s = largest->get();
  ASSERT_EQ(s->Open(s), 1);
  EXPECT_EQ(s->streamLength, UINT32_MAX);
  ASSERT_EQ(s->Seek(s, -1, 2), 1);
  unsigned char byte = 1;
  ASSERT_EQ(s->Read(s, &byte, 1), 1);
  EXPECT_EQ(byte, 0);
  EXPECT_EQ(s->Tell(s), UINT32_MAX);
  EXPECT_EQ(s->Read(s, &byte, 1), 0);
}

}  // namespace
}  // namespace wzss::host

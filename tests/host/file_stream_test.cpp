// FileStream: the buffered stream the command reads workbooks through.
#include "wzss/host/file_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>

#include "test_files.h"
#include "wzss/host/memory_stream.h"

namespace wzss::host {
namespace {

using test::TempDir;

// The stream's read buffer is 64 KiB; these contents span several buffers.
constexpr size_t kBufferBytes = 64 * 1024;

std::string patternBytes(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xff);
  return bytes;
}

// FileStream against MemoryStream, the plain reading of the same bytes, over
// random calls: reads of every size (within a buffer, across buffers, at and
// past the end, zero and negative), seeks of every kind near the buffer's
// edges and the ends (accepted or refused, a refused one leaving the
// position) and reopening, which starts again from the first byte.
TEST(FileStreamTest, AgreesWithTheMemoryStreamOnRandomCalls) {
  TempDir dir;
  const std::string bytes = patternBytes(2 * kBufferBytes + 123);
  const std::string path = (dir.path() / "pattern").string();
  test::writeFile(path, bytes);
  auto file = FileStream::open(path);
  ASSERT_TRUE(file);
  MemoryStream memory(bytes);
  StreamInterface* const streams[] = {file->get(), memory.get()};
  EXPECT_EQ(streams[0]->streamLength, bytes.size());
  std::mt19937 random(5);
  const int32_t size = static_cast<int32_t>(bytes.size());
  const int32_t near[] = {0, 1, 7, 4095, 65535, 65536, 65537, size - 1, size, size + 1};
  std::string chunk(kBufferBytes + 1000, '\0');
  for (int call = 0; call < 4000; ++call) {
    const int kind = static_cast<int>(random() % 10);
    std::string results[2];
    for (int i = 0; i < 2; ++i) {
      StreamInterface* s = streams[i];
      std::mt19937 same(static_cast<uint32_t>(call));  // both streams get the same arguments
      if (kind == 0) {
        results[i] = std::to_string(s->Close(s)) + std::to_string(s->Open(s));
      } else if (kind <= 4) {
        const int32_t count =
            static_cast<int32_t>(same() % 2 ? same() % 300 : same() % chunk.size()) - 2;
        const int got = s->Read(s, chunk.data(), count);
        results[i] = std::to_string(got) + ":" + chunk.substr(0, got > 0 ? got : 0);
      } else {
        const int32_t whence = static_cast<int32_t>(same() % 4);
        const int32_t offset = near[same() % std::size(near)] * (same() % 2 ? 1 : -1) +
                               static_cast<int32_t>(same() % 3) - 1;
        results[i] = std::to_string(s->Seek(s, offset, whence));
      }
      results[i] += "@" + std::to_string(s->Tell(s));
    }
    ASSERT_EQ(results[0], results[1]) << "call " << call << " of kind " << kind;
  }
}

TEST(FileStreamTest, RefusesAFileOf4GiBButTakesOneByteLess) {
  // Sparse files: the size is set without writing, so this costs no disk.
  TempDir dir;
  const auto sparse = [&dir](const std::string& name, off_t size) {
    const std::string path = (dir.path() / name).string();
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

// MemoryStream: the test stream with call counts and failure injection.
#include "wzss/host/memory_stream.h"

#include <gtest/gtest.h>

namespace wzss::host {
namespace {

TEST(MemoryStreamTest, ReadsSeeksAndCountsEveryCall) {
  MemoryStream memory("hello world");
  StreamInterface* s = memory.get();
  EXPECT_EQ(s->streamLength, 11u);
  ASSERT_EQ(s->Open(s), 1);
  char buffer[16] = {};
  EXPECT_EQ(s->Read(s, buffer, 5), 5);
  EXPECT_STREQ(buffer, "hello");
  EXPECT_EQ(s->Seek(s, -3, 2), 1);
  EXPECT_EQ(s->Tell(s), 8u);
  EXPECT_EQ(s->Read(s, buffer, 16), 3) << "short read at the end";
  EXPECT_EQ(s->Read(s, buffer, 1), 0);
  EXPECT_EQ(s->Seek(s, 12, 0), 0) << "past the end";
  EXPECT_EQ(s->Seek(s, -1, 1), 1);
  EXPECT_EQ(s->Seek(s, 0, 7), 0) << "unknown whence";
  EXPECT_EQ(s->Close(s), 1);

  const StreamCalls& calls = memory.calls();
  EXPECT_EQ(calls.opens, 1u);
  EXPECT_EQ(calls.reads, 3u);
  EXPECT_EQ(calls.seeks, 4u);
  EXPECT_EQ(calls.tells, 1u);
  EXPECT_EQ(calls.closes, 1u);

  // A host may leave the Close slot empty.
  memory.dropCloseSlot();
  EXPECT_EQ(s->Close, nullptr);
  EXPECT_NE(s->Read, nullptr);
}

TEST(MemoryStreamTest, FailedOpenIsCountedAndKeepsThePosition) {
  MemoryStream memory("abc");
  StreamInterface* s = memory.get();
  ASSERT_EQ(s->Seek(s, 2, 0), 1);
  memory.failOpen(true);
  EXPECT_EQ(s->Open(s), 0);
  EXPECT_EQ(memory.position(), 2u);
  memory.failOpen(false);
  EXPECT_EQ(s->Open(s), 1);
  EXPECT_EQ(memory.position(), 0u);
  EXPECT_EQ(memory.calls().opens, 2u);
}

TEST(MemoryStreamTest, FailsExactlyTheNthSeekOrReadAndNoOther) {
  struct Case {
    const char* name;
    bool failSeeks;  // else reads
    uint64_t failing;
  } cases[] = {{"firstSeek", true, 1},
               {"fourthSeek", true, 4},
               {"firstRead", false, 1},
               {"sixthRead", false, 6}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryStream memory("0123456789");
    StreamInterface* s = memory.get();
    if (c.failSeeks) {
      memory.failSeek(c.failing);
    } else {
      memory.failRead(c.failing);
    }
    ASSERT_EQ(s->Open(s), 1);
    for (uint64_t call = 1; call <= 6; ++call) {
      const uint32_t before = memory.position();
      char byte = 0;
      const int result =
          c.failSeeks ? s->Seek(s, static_cast<int32_t>(call), 0) : s->Read(s, &byte, 1);
      EXPECT_EQ(result, call == c.failing ? 0 : 1) << "call " << call;
      if (call == c.failing) {
        EXPECT_EQ(memory.position(), before) << "a failed call moves nothing";
      }
    }
  }
}

}  // namespace
}  // namespace wzss::host

// MemoryStream: the test stream's failure injection (its reading is
// file_stream_test's reference).
#include "wzss/host/memory_stream.h"

#include <gtest/gtest.h>

namespace wzss::host {
namespace {

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

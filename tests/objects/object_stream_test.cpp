// The ObjectStream: its layout, reading a drawing as a file of its own,
// Seek and Tell within the drawing, the page-size line filter, and release.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "object_workbook.h"
#include "objects/objects.h"

namespace wzss::test {
namespace {

// A drawing of 251 bytes, so chunks of 100 end with a short one.
std::string longDrawing() {
  std::string drawing = "*BEGIN GRAPHICS VERSION=120\n";  // 28 bytes
  drawing += "KD_PAGESIZE 0 0 288 216\n";                 // 24
  drawing += std::string(184, 'x') + "\n";                // 185
  drawing += "*END GRAPHICS\n";                           // 14
  return drawing;
}

// Owns a stream made by wzMakeObjectStream and releases it as a host must.
struct StreamHandle {
  StreamInterface* stream = nullptr;
  ~StreamHandle() {
    if (stream != nullptr) stream->Release(stream);
  }
};

class ObjectStreamTest : public testing::Test {
 protected:
  void SetUp() override {
    text_ = "header line\n" +
            blocksText({{.drawing = longDrawing()}, {.sizeLines = {"Object Source Height : 2in"}}});
    book_ = std::make_unique<ObjectWorkbook>(text_);
    ASSERT_TRUE(book_->index());
    ASSERT_EQ(book_->reader.objectEntryCount, 2u);
    book_->openSheet(1);
    handle_.stream = wzMakeObjectStream(&book_->sheet, 0);
    ASSERT_NE(handle_.stream, nullptr);
    stream_ = handle_.stream;
    std::strcpy(book_->reader.objects[0].sizeText, "W4.00inH3.00in");
    std::strcpy(book_->reader.objects[1].sizeText, "H2in");
  }

  // The drawing's bytes as the workbook text holds them.
  std::string drawing(uint32_t index) const {
    const ObjectEntry& e = book_->reader.objects[index];
    return text_.substr(e.drawingPos, e.drawingLength);
  }

  std::string read(int32_t count) {
    std::string bytes(count > 0 ? static_cast<size_t>(count) : 0, '\0');
    const int n = stream_->Read(stream_, bytes.data(), count);
    bytes.resize(n > 0 ? static_cast<size_t>(n) : 0);
    return bytes;
  }

  std::string text_;
  std::unique_ptr<ObjectWorkbook> book_;  // destroyed after handle_: declared first
  StreamHandle handle_;
  StreamInterface* stream_ = nullptr;
};

// A stream made for the second block, with a host context set on the
// document stream: every field as the host expects, nothing read.
TEST_F(ObjectStreamTest, NewStreamLayout) {
  int marker = 0;
  book_->stream.get()->hostContext = &marker;
  const uint64_t liveBlocks = book_->services.stats().liveBlocks;
  const uint64_t liveBytes = book_->services.stats().liveBytes;
  StreamInterface* made = wzMakeObjectStream(&book_->sheet, 1);
  ASSERT_NE(made, nullptr);
  const StreamInterface& s = *made;
  EXPECT_EQ(s.streamKind, 3u);
  EXPECT_EQ(s.reserved4, 0u);
  EXPECT_EQ(s.streamLength, book_->reader.objects[1].drawingLength);
  EXPECT_EQ(s.privateA, &book_->sheet);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(s.privateB), 1u);
  EXPECT_EQ(s.hostContext, &marker);
  EXPECT_EQ(s.reserved24, nullptr);
  EXPECT_EQ(s.reserved28, nullptr);
  EXPECT_EQ(s.reserved40, nullptr);
  EXPECT_EQ(s.reserved64, 0u);
  EXPECT_TRUE(s.Open && s.Read && s.Seek && s.Tell && s.Close && s.FilterLine && s.Release);
  // Measuring it left the read state closed and the document stream at 0.
  EXPECT_EQ(book_->sheet.objectStreamOpen, 0u);
  EXPECT_EQ(book_->stream.position(), 0u);
  // One block of at least the record; Release returns it.
  EXPECT_EQ(book_->services.stats().liveBlocks, liveBlocks + 1);
  EXPECT_GE(book_->services.stats().liveBytes - liveBytes, sizeof(StreamInterface));
  made->Release(made);
  EXPECT_EQ(book_->services.stats().liveBlocks, liveBlocks);
}

TEST_F(ObjectStreamTest, ChunksOf100DeliverTheWholeDrawing) {
  EXPECT_EQ(stream_->streamLength, 251u);
  ASSERT_EQ(stream_->Open(stream_), 1);
  std::string all;
  std::vector<size_t> chunks;
  for (int i = 0; i < 10; ++i) {
    const std::string chunk = read(100);
    if (chunk.empty()) break;
    chunks.push_back(chunk.size());
    all += chunk;
  }
  EXPECT_EQ(chunks, (std::vector<size_t>{100, 100, 51}));
  EXPECT_EQ(all, drawing(0));
  EXPECT_TRUE(all.starts_with("*BEGIN GRAPHICS VERSION"));
  EXPECT_TRUE(all.ends_with("*END GRAPHICS\n"));
  EXPECT_EQ(read(100), "");
  EXPECT_EQ(stream_->Tell(stream_), 251u);
}

TEST_F(ObjectStreamTest, ReadsOnlyWhileOpenAndOpenRestarts) {
  char buffer[16];
  std::memset(buffer, '#', sizeof(buffer));
  const uint64_t reads = book_->stream.calls().reads;
  EXPECT_EQ(stream_->Read(stream_, buffer, sizeof(buffer)), 0);
  ASSERT_EQ(stream_->Open(stream_), 1);
  EXPECT_EQ(stream_->Read(stream_, buffer, -1), 0);
  EXPECT_EQ(stream_->Read(stream_, buffer, 0), 0);
  EXPECT_EQ(stream_->Tell(stream_), 0u);
  EXPECT_EQ(read(5), "*BEGI");
  ASSERT_EQ(stream_->Open(stream_), 1);
  EXPECT_EQ(stream_->Tell(stream_), 0u);
  EXPECT_EQ(read(8), "*BEGIN G");
  EXPECT_EQ(stream_->Close(stream_), 1);
  std::memset(buffer, '#', sizeof(buffer));
  EXPECT_EQ(stream_->Read(stream_, buffer, sizeof(buffer)), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(book_->stream.calls().reads, reads + 2);
}

TEST_F(ObjectStreamTest, SeeksTheDocumentStreamOnlyWhenItMoved) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  const std::string first = read(10);
  const uint64_t seeks = book_->stream.calls().seeks;
  const std::string second = read(10);
  EXPECT_EQ(book_->stream.calls().seeks, seeks);
  // The pump moves the shared stream between two reads.
  book_->stream.get()->Seek(book_->stream.get(), 3, 0);
  const std::string third = read(30);
  EXPECT_EQ(first + second + third, drawing(0).substr(0, 50));
}

TEST_F(ObjectStreamTest, CloseRewindsTheDocumentStreamAndReportsIt) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  read(20);
  EXPECT_EQ(stream_->Close(stream_), 1);
  EXPECT_EQ(book_->stream.position(), 0u);
  EXPECT_EQ(book_->sheet.objectStreamOpen, 0u);
  ASSERT_EQ(stream_->Open(stream_), 1);
  book_->stream.failSeek(book_->stream.calls().seeks + 1);
  EXPECT_EQ(stream_->Close(stream_), 0);
}

struct SeekCase {
  const char* name;
  int32_t offset;
  int32_t whence;
  int result;
  int64_t tell;  // after the seek, from offset 50; -1 for the drawing's length
};

TEST_F(ObjectStreamTest, SeekMovesWithinTheDrawingOrRefuses) {
  const SeekCase cases[] = {
      {"EndOfDrawing", 0, 2, 1, -1},
      {"BackTenFromCurrent", -10, 1, 1, 40},
      {"ForwardFromCurrent", 7, 1, 1, 57},
      {"FromStart", 5, 0, 1, 5},
      {"Start", 0, 0, 1, 0},
      {"BackFromEnd", -51, 2, 1, 200},
      {"WholeLengthBackFromEnd", -251, 2, 1, 0},
      {"EndFromStart", 251, 0, 1, 251},
      {"PastEndFromStartRefused", 252, 0, 0, 50},
      {"PastEndFromEndRefused", 1, 2, 0, 50},
      {"BeforeStartFromCurrentRefused", -51, 1, 0, 50},
      {"BeforeStartFromEndRefused", -252, 2, 0, 50},
      {"NegativeFromStartRefused", -1, 0, 0, 50},
      {"UnknownWhenceRefused", 0, 3, 0, 50},
      {"NegativeWhenceRefused", 0, -1, 0, 50},
  };
  for (const SeekCase& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(stream_->Open(stream_), 1);
    ASSERT_EQ(stream_->Seek(stream_, 50, 0), 1);
    EXPECT_EQ(stream_->Seek(stream_, c.offset, c.whence), c.result);
    const uint32_t expected = c.tell < 0 ? stream_->streamLength : static_cast<uint32_t>(c.tell);
    EXPECT_EQ(stream_->Tell(stream_), expected);
    // The next read starts at the new offset and ends at the drawing's end.
    EXPECT_EQ(read(1000), drawing(0).substr(expected));
  }
}

TEST_F(ObjectStreamTest, NoSeekBeforeAnyOpenNorOpenWithoutObjectArray) {
  // A sheet whose streams were never opened has no entry to seek in.
  book_->sheet.objectStreamEntry = nullptr;
  EXPECT_EQ(stream_->Seek(stream_, 0, 0), 0);
  ObjectEntry* objects = book_->reader.objects;
  book_->reader.objects = nullptr;
  EXPECT_EQ(stream_->Open(stream_), 0);
  EXPECT_EQ(book_->sheet.objectStreamOpen, 0u);
  book_->reader.objects = objects;
}

// The sheet keeps one read state: opening a stream binds it to that
// stream's drawing and size text, whichever stream then reads or filters.
TEST_F(ObjectStreamTest, OpeningAnotherStreamRebindsTheReadState) {
  StreamHandle other{wzMakeObjectStream(&book_->sheet, 1)};
  ASSERT_NE(other.stream, nullptr);
  ASSERT_EQ(stream_->Open(stream_), 1);
  ASSERT_EQ(other.stream->Open(other.stream), 1);
  EXPECT_EQ(book_->sheet.objectStreamEntry, &book_->reader.objects[1]);
  EXPECT_EQ(read(1000), drawing(1));
  char line[WZSS_FILTER_LINE_MIN] = "KD_PAGESIZE 1 2";
  EXPECT_STREQ(stream_->FilterLine(stream_, line, 2), "H2in");
}

struct FilterCase {
  const char* name;
  int32_t mode;
  const char* line;
  const char* expected;  // null: unchanged
};

TEST_F(ObjectStreamTest, FilterReplacesOnlyThePageSizeLineInMode2) {
  const FilterCase cases[] = {
      {"UpperCase", 2, "KD_PAGESIZE 0 0 288 216", "W4.00inH3.00in"},
      {"LowerCase", 2, "kd_pagesize 0 0 288 216", "W4.00inH3.00in"},
      {"KeywordAlone", 2, "KD_PAGESIZE", "W4.00inH3.00in"},
      {"Mode1", 1, "KD_PAGESIZE 0 0 288 216", nullptr},
      {"Mode0", 0, "kd_pagesize 1", nullptr},
      {"OtherLine", 2, "KD_LINE 10 10 100 80", nullptr},
      {"KeywordCut", 2, "KD_PAGESIZ", nullptr},
      {"LeadingBlank", 2, " KD_PAGESIZE 1", nullptr},
      {"EmptyLine", 2, "", nullptr},
  };
  ASSERT_EQ(stream_->Open(stream_), 1);
  for (const FilterCase& c : cases) {
    SCOPED_TRACE(c.name);
    // A heap buffer of exactly the documented minimum, so an overrun shows.
    std::vector<char> line(WZSS_FILTER_LINE_MIN, '\0');
    std::strncpy(line.data(), c.line, line.size() - 1);
    EXPECT_EQ(stream_->FilterLine(stream_, line.data(), c.mode), line.data());
    EXPECT_STREQ(line.data(), c.expected != nullptr ? c.expected : c.line);
  }
  // The longest size text fits that buffer too.
  std::memset(book_->reader.objects[0].sizeText, 'S', kSizeTextSize - 1);
  book_->reader.objects[0].sizeText[kSizeTextSize - 1] = '\0';
  std::vector<char> line(WZSS_FILTER_LINE_MIN, '\0');
  std::strcpy(line.data(), "KD_PAGESIZE");
  stream_->FilterLine(stream_, line.data(), 2);
  EXPECT_EQ(std::string(line.data()), std::string(kSizeTextSize - 1, 'S'));
}

TEST(ObjectStreamMake, NoStreamWithoutDrawingEntryOrMemory) {
  ObjectWorkbook book(blocksText({{.drawing = ""}, {}}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 0), nullptr);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 2), nullptr);  // no such entry
  book.services.failAllocation(book.services.stats().allocations + 1);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 1), nullptr);
  StreamHandle made{wzMakeObjectStream(&book.sheet, 1)};
  EXPECT_NE(made.stream, nullptr);
}

}  // namespace
}  // namespace wzss::test

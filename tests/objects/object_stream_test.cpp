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
  drawing += "KD_PAGESIZE 0 0 288 216\n";             // 24
  drawing += std::string(184, 'x') + "\n";            // 185
  drawing += "*END GRAPHICS\n";                       // 14
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
    ObjectBlock first;
    first.drawing = longDrawing();
    ObjectBlock second;
    second.sizeLines = {"Object Source Height : 2in"};
    text_ = "header line\n" + blockText(first) + blockText(second);
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

TEST_F(ObjectStreamTest, NewStreamLayout) {
  const StreamInterface& s = *stream_;
  EXPECT_EQ(s.streamKind, 3u);
  EXPECT_EQ(s.reserved4, 0u);
  EXPECT_EQ(s.streamLength, 251u);
  EXPECT_EQ(s.streamLength, book_->reader.objects[0].drawingLength);
  EXPECT_EQ(s.privateA, &book_->sheet);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(s.privateB), 0u);
  EXPECT_EQ(s.hostContext, book_->stream.get()->hostContext);
  EXPECT_EQ(s.reserved24, nullptr);
  EXPECT_EQ(s.reserved28, nullptr);
  EXPECT_EQ(s.reserved40, nullptr);
  EXPECT_EQ(s.reserved64, 0u);
  EXPECT_TRUE(s.Open && s.Read && s.Seek && s.Tell && s.Close && s.FilterLine && s.Release);
  // Measuring it left the read state closed and the document stream at 0.
  EXPECT_EQ(book_->sheet.objectStreamOpen, 0u);
  EXPECT_EQ(book_->stream.position(), 0u);
}

TEST_F(ObjectStreamTest, HostContextIsCopiedFromTheDocumentStream) {
  int marker = 0;
  book_->stream.get()->hostContext = &marker;
  StreamHandle other{wzMakeObjectStream(&book_->sheet, 1)};
  ASSERT_NE(other.stream, nullptr);
  EXPECT_EQ(other.stream->hostContext, &marker);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(other.stream->privateB), 1u);
}

TEST_F(ObjectStreamTest, ChunksOf100DeliverTheWholeDrawing) {
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

TEST_F(ObjectStreamTest, ReadBeforeOpenAndAfterCloseReadsNothing) {
  char buffer[16];
  std::memset(buffer, '#', sizeof(buffer));
  const uint64_t reads = book_->stream.calls().reads;
  EXPECT_EQ(stream_->Read(stream_, buffer, sizeof(buffer)), 0);
  ASSERT_EQ(stream_->Open(stream_), 1);
  EXPECT_EQ(read(5), "*BEGI");
  EXPECT_EQ(stream_->Close(stream_), 1);
  EXPECT_EQ(stream_->Read(stream_, buffer, sizeof(buffer)), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(book_->stream.calls().reads, reads + 1);
}

TEST_F(ObjectStreamTest, NegativeOrZeroCountReadsNothing) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  char buffer[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(stream_->Read(stream_, buffer, -1), 0);
  EXPECT_EQ(stream_->Read(stream_, buffer, 0), 0);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(stream_->Tell(stream_), 0u);
}

TEST_F(ObjectStreamTest, ReadsStayRightWhenTheDocumentStreamMoves) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  const std::string first = read(30);
  // The pump moves the shared stream between two reads.
  book_->stream.get()->Seek(book_->stream.get(), 3, 0);
  const std::string second = read(30);
  EXPECT_EQ(first + second, drawing(0).substr(0, 60));
}

TEST_F(ObjectStreamTest, UnmovedDocumentStreamIsNotSoughtAgain) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  read(10);
  const uint64_t seeks = book_->stream.calls().seeks;
  read(10);
  EXPECT_EQ(book_->stream.calls().seeks, seeks);
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

TEST_F(ObjectStreamTest, OpenRestartsAtTheDrawingsStart) {
  ASSERT_EQ(stream_->Open(stream_), 1);
  read(40);
  ASSERT_EQ(stream_->Open(stream_), 1);
  EXPECT_EQ(stream_->Tell(stream_), 0u);
  EXPECT_EQ(read(8), "*BEGIN G");
}

struct SeekCase {
  const char* name;
  int32_t offset;
  int32_t whence;
  int result;
  int64_t tell;  // after the seek, from offset 50; -1 for the drawing's length
};

class ObjectStreamSeek : public ObjectStreamTest, public testing::WithParamInterface<SeekCase> {};

TEST_P(ObjectStreamSeek, MovesWithinTheDrawingOrRefuses) {
  const SeekCase& c = GetParam();
  ASSERT_EQ(stream_->Open(stream_), 1);
  ASSERT_EQ(stream_->Seek(stream_, 50, 0), 1);
  const uint32_t length = stream_->streamLength;
  EXPECT_EQ(stream_->Seek(stream_, c.offset, c.whence), c.result);
  const uint32_t expected = c.tell < 0 ? length : static_cast<uint32_t>(c.tell);
  EXPECT_EQ(stream_->Tell(stream_), expected);
  // The next read starts at the new offset and ends at the drawing's end.
  const std::string rest = read(1000);
  EXPECT_EQ(rest, drawing(0).substr(expected));
}

INSTANTIATE_TEST_SUITE_P(
    ObjectStream, ObjectStreamSeek,
    testing::Values(SeekCase{"EndOfDrawing", 0, 2, 1, -1},
                    SeekCase{"BackTenFromCurrent", -10, 1, 1, 40},
                    SeekCase{"ForwardFromCurrent", 7, 1, 1, 57},
                    SeekCase{"FromStart", 5, 0, 1, 5},
                    SeekCase{"Start", 0, 0, 1, 0},
                    SeekCase{"BackFromEnd", -51, 2, 1, 200},
                    SeekCase{"WholeLengthBackFromEnd", -251, 2, 1, 0},
                    SeekCase{"EndFromStart", 251, 0, 1, 251},
                    SeekCase{"PastEndFromStartRefused", 252, 0, 0, 50},
                    SeekCase{"PastEndFromEndRefused", 1, 2, 0, 50},
                    SeekCase{"BeforeStartFromCurrentRefused", -51, 1, 0, 50},
                    SeekCase{"BeforeStartFromEndRefused", -252, 2, 0, 50},
                    SeekCase{"NegativeFromStartRefused", -1, 0, 0, 50},
                    SeekCase{"UnknownWhenceRefused", 0, 3, 0, 50},
                    SeekCase{"NegativeWhenceRefused", 0, -1, 0, 50}),
    [](const testing::TestParamInfo<SeekCase>& info) { return info.param.name; });

TEST_F(ObjectStreamTest, SeekBeforeAnyOpenIsRefused) {
  // A sheet whose streams were never opened has no entry to seek in.
  book_->sheet.objectStreamEntry = nullptr;
  EXPECT_EQ(stream_->Seek(stream_, 0, 0), 0);
}

TEST_F(ObjectStreamTest, OpeningAnotherStreamRebindsTheReadState) {
  StreamHandle other{wzMakeObjectStream(&book_->sheet, 1)};
  ASSERT_NE(other.stream, nullptr);
  ASSERT_EQ(stream_->Open(stream_), 1);
  ASSERT_EQ(other.stream->Open(other.stream), 1);
  // Reading through the first stream now reads the second's drawing.
  EXPECT_EQ(read(1000), drawing(1));
  EXPECT_EQ(book_->sheet.objectStreamEntry, &book_->reader.objects[1]);
}

TEST_F(ObjectStreamTest, OpenWithoutObjectArrayFails) {
  ObjectEntry* objects = book_->reader.objects;
  book_->reader.objects = nullptr;
  EXPECT_EQ(stream_->Open(stream_), 0);
  EXPECT_EQ(book_->sheet.objectStreamOpen, 0u);
  book_->reader.objects = objects;
}

struct FilterCase {
  const char* name;
  int32_t mode;
  const char* line;
  const char* expected;  // null: unchanged
};

class ObjectStreamFilter : public ObjectStreamTest,
                           public testing::WithParamInterface<FilterCase> {};

TEST_P(ObjectStreamFilter, ReplacesOnlyThePageSizeLineInMode2) {
  const FilterCase& c = GetParam();
  ASSERT_EQ(stream_->Open(stream_), 1);
  // A heap buffer of exactly the documented minimum, so an overrun shows.
  std::vector<char> line(WZSS_FILTER_LINE_MIN, '\0');
  std::strncpy(line.data(), c.line, line.size() - 1);
  char* result = stream_->FilterLine(stream_, line.data(), c.mode);
  EXPECT_EQ(result, line.data());
  EXPECT_STREQ(line.data(), c.expected != nullptr ? c.expected : c.line);
}

INSTANTIATE_TEST_SUITE_P(
    ObjectStream, ObjectStreamFilter,
    testing::Values(FilterCase{"UpperCase", 2, "KD_PAGESIZE 0 0 288 216", "W4.00inH3.00in"},
                    FilterCase{"LowerCase", 2, "kd_pagesize 0 0 288 216", "W4.00inH3.00in"},
                    FilterCase{"KeywordAlone", 2, "KD_PAGESIZE", "W4.00inH3.00in"},
                    FilterCase{"Mode1", 1, "KD_PAGESIZE 0 0 288 216", nullptr},
                    FilterCase{"Mode0", 0, "kd_pagesize 1", nullptr},
                    FilterCase{"OtherLine", 2, "KD_LINE 10 10 100 80", nullptr},
                    FilterCase{"KeywordCut", 2, "KD_PAGESIZ", nullptr},
                    FilterCase{"LeadingBlank", 2, " KD_PAGESIZE 1", nullptr},
                    FilterCase{"EmptyLine", 2, "", nullptr}),
    [](const testing::TestParamInfo<FilterCase>& info) { return info.param.name; });

TEST_F(ObjectStreamTest, FilterUsesTheSizeTextOfTheStreamOpenedLast) {
  StreamHandle other{wzMakeObjectStream(&book_->sheet, 1)};
  ASSERT_NE(other.stream, nullptr);
  ASSERT_EQ(other.stream->Open(other.stream), 1);
  char line[WZSS_FILTER_LINE_MIN] = "KD_PAGESIZE 1 2";
  EXPECT_STREQ(stream_->FilterLine(stream_, line, 2), "H2in");
}

TEST_F(ObjectStreamTest, LongestSizeTextFitsTheMinimumLineBuffer) {
  std::memset(book_->reader.objects[0].sizeText, 'S', kSizeTextSize - 1);
  book_->reader.objects[0].sizeText[kSizeTextSize - 1] = '\0';
  ASSERT_EQ(stream_->Open(stream_), 1);
  std::vector<char> line(WZSS_FILTER_LINE_MIN, '\0');
  std::strcpy(line.data(), "KD_PAGESIZE");
  stream_->FilterLine(stream_, line.data(), 2);
  EXPECT_EQ(std::string(line.data()), std::string(kSizeTextSize - 1, 'S'));
}

TEST_F(ObjectStreamTest, ReleaseReturnsTheStreamsMemory) {
  const uint64_t live = book_->services.stats().liveBlocks;
  StreamInterface* other = wzMakeObjectStream(&book_->sheet, 1);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(book_->services.stats().liveBlocks, live + 1);
  other->Release(other);
  EXPECT_EQ(book_->services.stats().liveBlocks, live);
}

TEST(ObjectStreamMake, NoStreamWithoutDrawingOrMemory) {
  ObjectBlock noDrawing;
  noDrawing.drawing.clear();
  ObjectWorkbook book(blockText(noDrawing) + blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 0), nullptr);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 2), nullptr);  // no such entry
  book.services.failAllocation(book.services.stats().allocations + 1);
  EXPECT_EQ(wzMakeObjectStream(&book.sheet, 1), nullptr);
  StreamHandle made{wzMakeObjectStream(&book.sheet, 1)};
  EXPECT_NE(made.stream, nullptr);
}

TEST(ObjectStreamMake, AllocatesAtLeastTheStreamRecord) {
  ObjectWorkbook book(blockText(ObjectBlock{}));
  ASSERT_TRUE(book.index());
  book.openSheet(1);
  const uint64_t bytes = book.services.stats().liveBytes;
  StreamHandle made{wzMakeObjectStream(&book.sheet, 0)};
  ASSERT_NE(made.stream, nullptr);
  EXPECT_GE(book.services.stats().liveBytes - bytes, sizeof(StreamInterface));
}

}  // namespace
}  // namespace wzss::test

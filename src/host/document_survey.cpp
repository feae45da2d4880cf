#include "document_survey.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

namespace wzss::host {
namespace {

// The line after which every line is cell data, and what the plug-in takes
// for a cell line there: one beginning with '(' or "P ".
constexpr std::string_view kCellsFollow = "Headers and Footers End";
// The plug-in keeps this many bytes of a cell line and of a continuation
// line of a text value; the rest of a longer line is dropped.
constexpr uint64_t kCellLineKept = 199;
constexpr uint64_t kContinuationKept = 511;
constexpr size_t kChunk = 64 * 1024;

bool beginsWithIgnoringCase(std::string_view text, std::string_view keyword) {
  return text.size() >= keyword.size() &&
         std::equal(keyword.begin(), keyword.end(), text.begin(), [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

// Lines as they arrive in chunks: only a line's first bytes and its length
// are kept.
class LineSurvey {
 public:
  void feed(std::string_view bytes) {
    for (;;) {
      const size_t end = bytes.find('\n');
      take(bytes.substr(0, end));
      if (end == std::string_view::npos) return;
      endLine(true);
      bytes.remove_prefix(end + 1);
    }
  }
  DocumentSurvey finish() {
    if (length_ != 0) {
      survey_.endsWithLineFeed = false;
      endLine(false);
    }
    return survey_;
  }

 private:
  void take(std::string_view piece) {
    if (piece.empty()) return;
    if (head_.size() < kCellsFollow.size())
      head_.append(piece.substr(0, kCellsFollow.size() - head_.size()));
    length_ += piece.size();
    last_ = piece.back();
  }
  void endLine(bool lineFeed) {
    ++number_;
    // A carriage return before the line feed is never part of the text.
    const uint64_t length = length_ - (lineFeed && last_ == '\r' ? 1 : 0);
    if (inCells_) {
      const bool cellLine = head_.starts_with('(') || head_.starts_with("P ");
      if (length > (cellLine ? kCellLineKept : kContinuationKept)) {
        if (survey_.longCellLines++ == 0) survey_.firstLongLine = number_;
      }
    } else {
      inCells_ = beginsWithIgnoringCase(head_, kCellsFollow);
    }
    head_.clear();
    length_ = 0;
    last_ = 0;
  }

  DocumentSurvey survey_;
  std::string head_;
  uint64_t length_ = 0;
  char last_ = 0;
  uint64_t number_ = 0;
  bool inCells_ = false;
};

}  // namespace

DocumentSurvey surveyDocument(StreamInterface* document) {
  LineSurvey lines;
  if (document == nullptr || document->Open == nullptr || document->Read == nullptr ||
      document->Seek == nullptr || document->Open(document) == 0)
    return lines.finish();
  if (document->Seek(document, 0, 0) != 0) {
    std::vector<char> chunk(kChunk);
    for (uint64_t read = 0;;) {
      const int got = document->Read(document, chunk.data(), static_cast<int32_t>(chunk.size()));
      if (got <= 0) break;
      lines.feed(std::string_view(chunk.data(), static_cast<size_t>(std::min<int>(got, kChunk))));
      read += static_cast<uint64_t>(got);
      // A stream that keeps delivering past its length is not followed further.
      if (document->streamLength != 0 && read >= document->streamLength) break;
    }
  }
  if (document->Close != nullptr) document->Close(document);
  return lines.finish();
}

}  // namespace wzss::host

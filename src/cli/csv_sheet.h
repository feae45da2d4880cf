// The CSV of one sheet, built as its items arrive: the CSV writer's own
// machinery, kept out of csv_writer.h so that its users see only the
// options, the sink and writeCsvSheets.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/csv_writer.h"

namespace wzss::cli {

// One field, quoted when it needs to be.
std::string csvField(std::string_view text);

// Hidden rows or columns (the CSV writer's, and the Python package's
// grids): the runs merged into disjoint spans, each with
// the number of hidden lines before it, so that a cell's field is found
// without a pass over the runs. Runs are merged once, by settle(), which
// comes after the last add() and before the first question.
class HiddenLines {
 public:
  static constexpr uint64_t kHidden = UINT64_MAX;

  void add(const Run& run);
  void settle();
  void clear();
  bool contains(uint32_t index) const { return index != 0 && shownBefore(index) == kHidden; }
  // Hidden lines among 1 .. index - 1.
  uint64_t countBefore(uint64_t index) const { return spans_.empty() ? 0 : count(index); }
  // Shown lines among 1 .. index - 1, or kHidden when line index (from 1,
  // never 0) is hidden: a cell's field number in one question. Asked once per
  // cell, so the lines past the last hidden one and those the table
  // covers are answered without a search.
  uint64_t shownBefore(uint64_t index) const {
    if (index > lastHidden_) return index - 1 - hiddenTotal_;
    if (index <= table_.size())
      return table_[index - 1] == kHiddenEntry ? kHidden : table_[index - 1];
    return find(static_cast<uint32_t>(index)) ? kHidden : index - 1 - count(index);
  }
  // The index of the shown line that has `shown` shown lines before it.
  uint32_t shownAt(uint64_t shown) const;

 private:
  struct Span {
    uint32_t first;
    uint32_t last;
    uint64_t hiddenBefore;
  };
  // The table covers the lines up to the last hidden one, or this many.
  static constexpr uint64_t kTableLines = 4096;
  static constexpr uint32_t kHiddenEntry = UINT32_MAX;

  // The questions for lines the table does not cover.
  bool find(uint32_t index) const;
  uint64_t count(uint64_t index) const;
  std::vector<Span> spans_;
  bool settled_ = true;
  uint64_t lastHidden_ = 0;
  uint64_t hiddenTotal_ = 0;
  // Line i + 1's shown lines before it, or kHiddenEntry.
  std::vector<uint32_t> table_;
};

// A sheet's CSV built while its items arrive. A workbook written in order
// gives its hidden runs first and then its cells row by row: each field is
// then written as its cell arrives, and only the rows' ends wait for the
// record width, which is known when the sheet is complete. A cell out of
// order, or a hidden run after the first cell, turns the sheet into a list
// of positions and texts that is sorted and written at the end. Either way,
// a later line for a position wins, and a formatted empty cell (fill and
// border only) changes nothing.
class CsvSheet {
 public:
  explicit CsvSheet(const CsvOptions& options = {}) : options_(options) {}

  void add(const host::Item& item);
  void hideRows(const Run& run);
  void hideColumns(const Run& run);
  // A cell with its own line; no text is an empty field.
  void addCell(uint32_t row, uint32_t column, std::string_view text);
  // The same for a display text, or its value when the options ask for values.
  void addShown(uint32_t row, uint32_t column, const std::optional<std::string>& text);

  // Forgets the sheet but keeps the memory, for the next sheet.
  void clear();

  // Appends the CSV to out.
  void write(std::string& out);
  std::string text();
  // Hands the CSV to write in pieces of about kPieceSize bytes; false when
  // write refused one.
  bool write(const PieceWriter& write);
  static constexpr size_t kPieceSize = 256 * 1024;

 private:
  // The fields of one row written so far: body_ from offset to the next
  // row's offset, fields of them.
  struct RowText {
    uint32_t row;
    uint64_t offset;
    uint64_t fields;
  };
  // A cell kept by position: the ones that arrived out of order, and, while
  // in order, the texts of cells no field shows (hidden or in row or column
  // 0), which still count for the record width.
  struct Entry {
    uint32_t row;
    uint32_t column;
    uint64_t offset;  // into texts_
    uint32_t length;  // 0: no text
  };
  // The fields written so far, in blocks that never move: a growing sheet
  // neither copies what it holds nor touches fresh memory twice, and the
  // blocks serve the next sheet.
  class Body {
   public:
    uint64_t size() const { return size_; }
    void append(std::string_view text) {
      if (text.empty()) return;
      if (text.size() < room()) {
        std::memcpy(end(), text.data(), text.size());
        size_ += text.size();
      } else {
        appendAcross(text);
      }
    }
    // Mostly the one separator before a field.
    void append(size_t count, char ch) {
      if (count == 1 && room() > 1) {
        *end() = ch;
        ++size_;
      } else {
        appendAcross(count, ch);
      }
    }
    void clear() { size_ = 0; }
    // Hands the bytes from begin to end to take, a block's part at a time.
    template <class Take>
    void read(uint64_t begin, uint64_t end, Take&& take) const {
      while (begin < end) {
        const uint64_t offset = begin % kBlockSize;
        const uint64_t length = std::min(end - begin, kBlockSize - offset);
        take(std::string_view(blocks_[begin / kBlockSize].get() + offset, length));
        begin += length;
      }
    }

   private:
    static constexpr uint64_t kBlockSize = 1 << 20;
    // Free bytes in the block size_ points into; 0 when it is not there yet.
    uint64_t room() const {
      return size_ / kBlockSize < blocks_.size() ? kBlockSize - size_ % kBlockSize : 0;
    }
    char* end() { return blocks_[size_ / kBlockSize].get() + size_ % kBlockSize; }
    void addBlock();
    void appendAcross(std::string_view text);
    void appendAcross(size_t count, char ch);
    std::vector<std::unique_ptr<char[]>> blocks_;
    uint64_t size_ = 0;
  };

  void keep(uint32_t row, uint32_t column, std::string_view text);
  void stopWritingInOrder();
  void settleHiddenLines();
  bool rowShown(uint32_t row) const;
  template <class Output>
  void writeInOrder(Output& out) const;
  template <class Output>
  void writeTo(Output& out);

  CsvOptions options_;
  HiddenLines hiddenRows_;
  HiddenLines hiddenColumns_;
  bool cellsStarted_ = false;
  bool inOrder_ = true;
  uint32_t lastCellRow_ = 0;
  uint32_t lastCellColumn_ = 0;
  // Whether a row is shown is asked once per row, as cells come row by row;
  // row 0 is never asked.
  uint32_t askedRow_ = 0;
  bool askedRowShown_ = false;
  // The rows and columns up to the last text.
  uint32_t textRows_ = 0;
  uint32_t textColumns_ = 0;
  Body body_;
  std::vector<RowText> rows_;
  std::vector<Entry> entries_;
  std::string texts_;
  // The piece being filled for write(const PieceWriter&), reused.
  std::string piece_;
};

}  // namespace wzss::cli

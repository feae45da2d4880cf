// A sheet's title rows and columns, read from its view section the way the
// plug-in's sheet setup reads them, and the renumbering the plug-in applies
// to the addresses it delivers: title lines first, in their order, then the
// other lines in theirs.
//
// The plug-in renumbers cells, row heights, column widths and hidden runs,
// but delivers formatted empty cells at their file addresses and never says
// which lines are titles. A host that puts both kinds of cell in one grid,
// or keeps the title lines in view, learns them here.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "wzss/reader_abi.h"

namespace wzss::host {

class TitleLines {
 public:
  // Reads the view section that begins at viewPos (its start line) up to
  // its end line or the end of the input, opening and closing the document
  // stream around the pass. Use it only while no sheet of the document is
  // open: the plug-in shares the stream's position. Absent when the stream
  // cannot be opened or positioned or the line there starts no view section.
  static std::optional<TitleLines> read(StreamInterface* document, uint32_t viewPos);

  // The grid's extent, from the sheet's settings item. Title marks outside
  // it do not count; call before asking for numbers.
  void setExtent(uint32_t maxRow, uint32_t maxColumn);

  // Output rows 1 to rows() and columns 1 to columns() are title lines.
  uint32_t rows() const { return static_cast<uint32_t>(rows_.marked.size()); }
  uint32_t columns() const { return static_cast<uint32_t>(columns_.marked.size()); }

  // A file row or column number in the numbering of delivered cells.
  int32_t outputRow(int32_t fileRow) const { return rows_.renumber(fileRow); }
  int32_t outputColumn(int32_t fileColumn) const { return columns_.renumber(fileColumn); }

 private:
  // One axis: the title lines and visible ranges in file order. A visible
  // range stores its lines' whole flag, so it drops the title mark of a
  // line named earlier; a title line after it marks the line again.
  struct Event {
    bool title = false;
    int32_t first = 0, last = 0;  // a title line has first == last
  };
  struct Axis {
    int32_t titleLines = 0;  // every title line counts, repeated or outside the grid
    std::vector<Event> events;
    std::vector<int32_t> marked;  // lines that keep their mark, ascending
    void settle(int64_t maxLine);
    int32_t renumber(int32_t line) const;
  };

  void handleLine(const char* line);

  Axis rows_, columns_;
};

}  // namespace wzss::host

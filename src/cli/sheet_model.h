// A workbook gathered from the plug-in's items into one model per sheet:
// the grid of cells keyed by their output position, the row heights and
// column widths, the hidden runs and the objects. The CSV, JSON and HTML
// writers all read this model; none of them talks to the plug-in.
//
// Units are those of the items: row heights, column widths and the
// default column width in twips; object x offsets in twips and y offsets in
// 256ths of the anchor row's height; colours 0x00BBGGRR.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "wzss/host/services.h"
#include "wzss/host/walker.h"
#include "wzss/reader_abi.h"

namespace wzss::cli {

// What the alignment word of a cell says, in words.
enum class Horizontal { General, Left, Center, Right, Justify };
enum class Vertical { None, Top, Center, Bottom };

struct Alignment {
  Horizontal horizontal = Horizontal::General;
  Vertical vertical = Vertical::None;
  bool wrap = false;
  bool overflow = false;  // text may run into empty cells beside it
};

Alignment decodeAlignment(uint16_t word);
const char* horizontalName(Horizontal value);
const char* verticalName(Vertical value);

// "#rrggbb" for a colour value 0x00BBGGRR (the top byte is ignored).
std::string htmlColour(uint32_t value);
// The pattern colour mixed into the background colour by percent (0..100):
// what a shaded fill shows.
uint32_t mixColour(uint32_t background, uint32_t pattern, uint32_t percent);

// A run of rows or columns sharing one size (twips).
struct Run {
  uint32_t first = 0, last = 0, size = 0;
};

struct ObjectModel {
  uint32_t topColumn = 0, topRow = 0, bottomColumn = 0, bottomRow = 0;
  int32_t topX = 0, topY = 0, bottomX = 0, bottomY = 0;
  bool framed = false;  // hasBorder of the item
  host::Borders frame;
  bool hasContent = false;     // the descriptor carried a content stream
  uint32_t drawingLength = 0;  // byte length the content stream announces
  std::optional<std::string> sizeText;
};

struct CellModel {
  uint32_t row = 0, column = 0;
  // Formatted empty cells (items without font) carry only fill and border;
  // their other fields are leftovers of earlier items and are not kept.
  bool formattedEmpty = false;
  std::optional<std::string> text;  // absent: the item carried no text
  uint16_t align = 0;
  uint32_t backColor = 0xFFFFFF;
  uint32_t textColor = 0;
  host::Font font;
  std::optional<FillInfo> fill;
  std::optional<host::Borders> borders;
};

// A cell item without font and text: fill and border only.
bool isFormattedEmpty(const host::Cell& cell);
// An object item as the model keeps it; reads the content stream's size
// text, so call it before the walker pulls the next item.
ObjectModel objectModelOf(host::Object& object);

struct SheetModel {
  host::SheetInfo info;
  host::Settings settings;
  uint32_t option = 0;
  std::vector<Run> rowHeights;    // as delivered, in output numbering
  std::vector<Run> columnWidths;  // as delivered, in output numbering
  std::vector<Run> hiddenRows;
  std::vector<Run> hiddenColumns;
  std::vector<ObjectModel> objects;
  // Keyed by (row, column) in output numbering, so iteration runs row by row.
  std::map<std::pair<uint32_t, uint32_t>, CellModel> cells;

  bool rowHidden(uint32_t row) const;
  bool columnHidden(uint32_t column) const;
  // Twips; rows without a height item get the default row height.
  uint32_t rowHeight(uint32_t row) const;
  uint32_t columnWidth(uint32_t column) const;
  // The items carry no default row height: we take one and a half times
  // the default font's height, the usual line box of a spreadsheet row.
  uint32_t defaultRowHeight() const;
  const CellModel* cellAt(uint32_t row, uint32_t column) const;

  // The last row and column holding a cell with a non-empty text (0, 0
  // for a sheet without text).
  std::pair<uint32_t, uint32_t> textExtent() const;
  // The last row and column holding any cell or object corner.
  std::pair<uint32_t, uint32_t> usedExtent() const;
};

struct WorkbookModel {
  std::string path;
  uint64_t bytes = 0;  // size of the file read
  std::vector<SheetModel> sheets;
  std::vector<std::string> warnings;  // the walker's, for the user
};

// The sheet a --sheet option names: by exact name first (a sheet may be
// called "2"), then by number from 1; nothing when there is none.
std::optional<size_t> findSheet(const std::vector<host::SheetInfo>& sheets,
                                const std::string& wanted);
// Why findSheet found nothing, for the user.
std::string noSuchSheet(const std::string& wanted, size_t sheetCount);

// What the command asks of every workbook it reads, whatever it writes.
struct ReadOptions {
  host::LinkedFiles linkedFiles;  // the files linked objects may open
};

// The policy --linked-files names: "folder" (the workbook's own), "none",
// or any other text as the folder beneath which links may reach.
host::LinkedFiles linkedFilesNamed(const std::string& name);

// Opens the workbook at path and walks every sheet into visitor; *bytes
// receives the file's size, *warnings (when given) the walker's warnings.
// The table is only read, so any number of threads may walk workbooks
// through one table at the same time.
host::Status walkWorkbookFile(const SSReaderInterface& table, const std::string& path,
                              host::SheetVisitor& visitor, uint64_t* bytes,
                              const host::WalkOptions& options = {},
                              std::vector<std::string>* warnings = nullptr,
                              const ReadOptions& read = {});

// Reads the whole workbook at path through the plug-in's table: every sheet
// walked to its end, its texts read in `encoding` (empty: the header's).
// The table is only read, so any number of threads may read workbooks
// through one table at the same time.
host::Result<WorkbookModel> readWorkbook(const SSReaderInterface& table, const std::string& path,
                                         const std::string& encoding = {},
                                         const ReadOptions& read = {});

// Gathers items into a sheet model; readWorkbook uses it, and tests can
// feed it items directly.
class SheetGatherer : public host::SheetVisitor {
 public:
  void beginSheet(const host::SheetInfo& sheet) override;
  bool item(const host::SheetInfo& sheet, host::Item& item) override;
  std::vector<SheetModel>& sheets() { return sheets_; }

  void add(host::Item& item);

 private:
  std::vector<SheetModel> sheets_;
};

}  // namespace wzss::cli

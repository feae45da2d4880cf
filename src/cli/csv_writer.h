// A sheet as RFC 4180 CSV: one record per row of the output grid, one field
// per column, the display texts of the cells; CRLF after every record;
// fields holding a comma, a double quote, CR or LF are quoted, with their
// quotes doubled.
//
// The grid runs from row 1 and column 1 to the last row and column holding
// a text, so that field positions match the sheet's own; a sheet without
// text gives no record. Hidden rows and columns are left out unless
// CsvOptions::keepHidden is set.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/sheet_model.h"
#include "wzss/host/walker.h"

namespace wzss::cli {

struct CsvOptions {
  // Hidden rows and columns are left out unless this is set; their cells
  // then give empty fields (the plug-in delivers hidden cells without text).
  bool keepHidden = false;
  // Each sheet's CSV begins with a UTF-8 byte-order mark (spreadsheet
  // applications take it as the sign of UTF-8).
  bool bom = false;
  // The workbook's encoding (empty: the one its header names).
  std::string encoding;
  // Fields hold values instead of display texts: numbers plain (no
  // separators, "$" or "%"), dates and times in ISO 8601, other texts as shown.
  bool typedValues = false;
};

// Text handed over in pieces, in order, so that a large text is never held
// whole a second time: a producer calls the writer with each piece and
// gives up, returning false, as soon as the writer returns false.
using PieceWriter = std::function<bool(std::string_view piece)>;
using PieceProducer = std::function<bool(const PieceWriter& write)>;

// Where a workbook's CSV goes, one sheet at a time: only the sheet being
// read is held in memory, not the whole workbook's CSV.
class CsvSink {
 public:
  virtual ~CsvSink() = default;
  // The workbook's sheets, before the first is read. False wants none.
  virtual bool begin(const std::vector<host::SheetInfo>& sheets) = 0;
  // Whether a sheet is read at all.
  virtual bool wants(const host::SheetInfo&) { return true; }
  // A sheet's CSV, as soon as the sheet has been read, handed over in
  // pieces when the sink calls csv. False wants no more.
  virtual bool sheet(const host::SheetInfo& info, const PieceProducer& csv) = 0;
};

// Reads the workbook at path through the plug-in into sink; *bytes receives
// the file's size, *warnings (when given) the walker's warnings. The walk's
// error, if any: what the sink refuses is the sink's to tell.
host::Status writeCsvSheets(const SSReaderInterface& table, const std::string& path,
                            const CsvOptions& options, CsvSink& sink, uint64_t* bytes,
                            std::vector<std::string>* warnings = nullptr,
                            const ReadOptions& read = {});

}  // namespace wzss::cli

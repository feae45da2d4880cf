// The workbook as JSON, written while the walk goes on: the document's head
// as soon as the sheet list is known, each sheet as soon as it has been
// read, so that no more than one sheet is ever held, and that in a compact
// form (positions, texts and shared style fragments), never as a tree of
// JSON values. docs/json-schema.md describes every member, and
// docs/wzss-workbook.schema.json states it formally; change them together
// with this writer.
#pragma once

#include <string>
#include <string_view>

#include "cli/csv_writer.h"
#include "wzss/host/walker.h"
#include "wzss/reader_abi.h"

namespace wzss::cli {

inline constexpr int kJsonSchemaVersion = 2;

struct JsonOptions {
  // One object per cell and line (NDJSON), each naming its sheet, instead
  // of one document.
  bool lines = false;
  // The document indented by two blanks; the default is one compact line.
  bool pretty = false;
  // The encoding of the workbook's texts; empty: the one the header names.
  std::string encoding;
  // Only this sheet (a name or a number from 1, see findSheet); empty: all.
  std::string sheet;
  ReadOptions read;
};

struct JsonOutcome {
  host::Status walked = std::monostate{};
  std::vector<std::string> warnings;  // the walker's, for the user
  std::string refusal;  // why nothing was written: the sheet asked for is not there
};

// Appends text as a JSON string, quotes included. Bytes that are no UTF-8
// become U+FFFD rather than failing the whole document.
void appendJsonString(std::string& out, std::string_view text);

// The JSON of the workbook at path, produced while the plug-in reads it:
// for writeFileAtomically or standard output. *bytes receives the file's
// size and *outcome the walk's status and warnings; when the walk failed or
// refused,
// that is what failed, not the writing.
PieceProducer workbookJson(const SSReaderInterface& table, const std::string& path,
                           const JsonOptions& options, uint64_t* bytes, JsonOutcome* outcome);

}  // namespace wzss::cli

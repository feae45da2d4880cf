// The counting walk behind `wzwalk`: every item of every sheet pulled
// through the host kit's Walker, with a visitor that only counts cells and
// sums the lengths of their texts. It is the reader's own cost with the
// least a host can add, the figure the whole-file benchmark compares with
// the floor and with `wzss csv`.
#pragma once

#include <cstdint>
#include <string>

#include "wzss/reader_abi.h"

namespace wzss::tools {

struct WalkCounts {
  uint32_t sheets = 0;
  uint64_t items = 0;
  uint64_t cells = 0;
  uint64_t cellsWithText = 0;
  uint64_t textBytes = 0;  // display texts, without their NULs
  uint64_t rowRuns = 0;
  uint64_t columnRuns = 0;
  uint64_t objects = 0;
  uint64_t fills = 0;      // callback op 2 registrations
  uint64_t peakHostBytes = 0;  // the plug-in's live blocks at their largest
  // WalkMode::Types: texts by the type inferValue gives them, indexed by
  // host::ValueType (Text, Number, Date, Time, DateTime).
  uint64_t valueTypes[5] = {};
};

enum class WalkMode {
  Direct,  // the Walker at its lightest: no cell styles, no document survey, no renumbering
  Walker,  // the host kit's Walker with a counting visitor
  Types,   // the Walker, and each non-empty text's inferred value type counted
};

// Walks the workbook at path through table. False with *error set when the
// file cannot be opened or read as a workbook.
bool walkWorkbook(const SSReaderInterface& table, const std::string& path, WalkMode mode,
                  WalkCounts* counts, std::string* error);

}  // namespace wzss::tools

// The workbook generator behind `wzgen`: realistic workbooks of any size,
// the same bytes for the same seed and size on every machine. It writes
// every part of the file the reader knows: colour maps, typefaces, the
// attribute table with fills and borders, the sheet list, charts with their
// drawings (hidden ones and a picture among them), one view section per
// sheet with width and height lists, title lines and hidden rows and
// columns, Row List lines with their Format lines, the Symbols line, the
// extent, and the cell data in every number format and date style, with
// labels and quoted strings that run over continuation lines.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace wzss::tools {

struct GeneratorOptions {
  uint64_t size = 16u << 20;  // bytes aimed at; the file ends within a line or so of it
  uint64_t seed = 1;
};

// What the generated file holds, for tests and for reports.
struct GeneratorStats {
  uint64_t bytes = 0;
  uint32_t sheets = 0;
  uint32_t maxRow = 0;
  uint32_t maxColumn = 0;
  uint64_t cellLines = 0;           // one cell item each: no cell line has an empty value
  uint64_t continuationLines = 0;   // lines that carry on a label or a string
  uint64_t formattedEmptyCells = 0; // Row List cells with no cell line, all with a stored entry
  uint64_t objects = 0;             // indexed charts, hidden ones included
  uint64_t hiddenObjects = 0;
};

// Parses "16M", "1G", "512K" or a plain byte count; 0 when the text is not one.
uint64_t parseSize(const std::string& text);

// Writes the workbook to out (a null out only counts). False when a write failed.
bool generateWorkbook(const GeneratorOptions& options, std::FILE* out, GeneratorStats* stats);

}  // namespace wzss::tools

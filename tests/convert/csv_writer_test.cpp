#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "cli/csv_sheet.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using convert_test::textCell;

CsvOptions hiddenKept(bool keep) {
  CsvOptions options;
  options.keepHidden = keep;
  return options;
}

// Every mark at every place of texts up to 24 bytes long is found, among
// neighbours just below and above a mark's value and bytes with the high
// bit set; a text without marks, the empty one included, stays as it is.
TEST(CsvField, QuotesExactlyTheTextsWithAMark) {
  const char marks[] = {',', '"', '\r', '\n'};
  const char neighbours[] = {'a',    '+',    '-',    '!',    '#',   '\x0b',
                             '\x0c', '\x0e', '\x80', '\xac', '\xff'};
  EXPECT_EQ(csvField(""), "");
  for (size_t length = 1; length <= 24; ++length) {
    for (const char neighbour : neighbours) {
      const std::string plain(length, neighbour);
      ASSERT_EQ(csvField(plain), plain) << length << " x " << int(neighbour);
      for (size_t at = 0; at < length; ++at) {
        for (const char mark : marks) {
          std::string text = plain;
          text[at] = mark;
          std::string quoted = mark == '"' ? text.substr(0, at + 1) + text.substr(at) : text;
          ASSERT_EQ(csvField(text), "\"" + quoted + "\"")
              << length << " x " << int(neighbour) << ", " << int(mark) << " at " << at;
        }
      }
    }
  }
}

// What a sheet's CSV is, written plainly: the last line for a position
// wins, the grid runs to the last text, hidden lines are left out.
std::string plainCsv(const std::vector<host::Item>& items, bool keepHidden) {
  std::set<uint32_t> hiddenRows, hiddenColumns;
  std::map<std::pair<uint32_t, uint32_t>, std::string> texts;
  for (const host::Item& item : items) {
    if (const auto* run = std::get_if<host::RowRun>(&item); run && run->size == 0)
      for (uint32_t i = run->first; i <= run->last; ++i) hiddenRows.insert(i);
    if (const auto* run = std::get_if<host::ColumnRun>(&item); run && run->size == 0)
      for (uint32_t i = run->first; i <= run->last; ++i) hiddenColumns.insert(i);
    if (const auto* cell = std::get_if<host::Cell>(&item); cell && (cell->hasFont || cell->text))
      texts[{cell->row, cell->column}] = cell->text.value_or("");
  }
  uint32_t lastRow = 0, lastColumn = 0;
  for (const auto& [position, text] : texts) {
    if (text.empty()) continue;
    lastRow = std::max(lastRow, position.first);
    lastColumn = std::max(lastColumn, position.second);
  }
  std::string csv;
  for (uint32_t row = 1; row <= lastRow; ++row) {
    if (!keepHidden && hiddenRows.count(row)) continue;
    bool first = true;
    for (uint32_t column = 1; column <= lastColumn; ++column) {
      if (!keepHidden && hiddenColumns.count(column)) continue;
      if (!first) csv += ',';
      first = false;
      if (auto at = texts.find({row, column}); at != texts.end()) csv += csvField(at->second);
    }
    csv += "\r\n";
  }
  return csv;
}

// A random sheet, most of them in order as workbooks are written, some with
// cells out of order, repeated positions or hidden runs after the cells;
// its hidden runs and cells start at the given row and column.
std::vector<host::Item> randomSheet(std::mt19937& random, uint32_t firstRow, uint32_t firstColumn) {
  const std::optional<std::string> texts[] = {
      "a", "", "x,y", "say \"hi\"", "\"", "two\r\nlines", ",", "long text here", std::nullopt};
  auto below = [&random](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  std::vector<host::Item> items;
  auto hideSomething = [&] {
    if (below(2) == 0) {
      const uint32_t first = firstRow + below(8);
      items.emplace_back(host::RowRun{first, first + below(3), 0});
    } else {
      const uint32_t first = firstColumn + below(8);
      items.emplace_back(host::ColumnRun{first, first + below(3), below(4) == 0 ? 300u : 0u});
    }
  };
  for (uint32_t runs = below(4); runs > 0; --runs) hideSomething();
  const bool disorderly = below(3) == 0;
  uint32_t row = firstRow, column = firstColumn;
  for (uint32_t cells = below(25); cells > 0; --cells) {
    if (disorderly && below(4) == 0) {
      row = firstRow + below(9);
      column = firstColumn + below(9);
    } else if (below(3) == 0) {
      row += 1 + below(2);
      column = firstColumn + below(3);
    } else {
      column += 1 + below(3);
    }
    host::Cell cell = textCell(row, column, "");
    cell.text = texts[below(std::size(texts))];
    if (below(10) == 0) cell.hasFont = 0;  // a formatted empty cell when it has no text
    items.emplace_back(std::move(cell));
    if (disorderly && below(8) == 0) hideSomething();
  }
  return items;
}

// The fields written as cells arrive, and their rewrite into sorted form
// when the order breaks, must give what the plain reading gives: near the
// sheet's start, where row 0 and column 0 come up, and past its first few
// thousand rows or columns, where hidden lines are looked up differently.
// One sheet per option serves every round, cleared in between, as the
// workbook's sheets share one.
TEST(CsvSheet, AgreesWithThePlainReadingOnRandomSheets) {
  const struct {
    uint32_t firstRow, firstColumn;
    int rounds;
  } places[] = {{0, 0, 3000}, {4093, 1, 150}, {1, 4093, 150}, {65530, 1, 20}};
  std::mt19937 random(7);
  CsvSheet hiding(hiddenKept(false)), keeping(hiddenKept(true));
  for (const auto& place : places) {
    for (int round = 0; round < place.rounds; ++round) {
      const std::vector<host::Item> items = randomSheet(random, place.firstRow, place.firstColumn);
      for (const bool keepHidden : {false, true}) {
        CsvSheet& sheet = keepHidden ? keeping : hiding;
        sheet.clear();
        for (const host::Item& item : items) sheet.add(item);
        ASSERT_EQ(sheet.text(), plainCsv(items, keepHidden))
            << "from row " << place.firstRow << " column " << place.firstColumn << ", round "
            << round << (keepHidden ? ", hidden kept" : "");
      }
    }
  }
}

// A sheet larger than a megabyte, whose fields fill more than one block of
// its body. Its CSV in pieces: the same text as a whole, no piece much
// larger than the piece size, and nothing more asked of a writer that
// refused a piece. A late cell then sends the fields, read back across the
// blocks, the sorted way.
TEST(CsvSheet, HandsItsTextOverInPieces) {
  std::vector<host::Item> items;
  items.emplace_back(host::ColumnRun{2, 2, 0});
  const std::string row(100, 'r');
  for (uint32_t i = 1; i <= 10000; ++i) {
    items.emplace_back(textCell(i, 1, row + std::to_string(i)));
    items.emplace_back(textCell(i, 3, "x,\"y\""));
  }
  CsvSheet sheet;
  for (const host::Item& item : items) sheet.add(item);
  const std::string whole = sheet.text();
  ASSERT_GT(whole.size(), 4 * CsvSheet::kPieceSize);
  ASSERT_EQ(whole, plainCsv(items, false));

  std::string joined;
  std::vector<size_t> sizes;
  EXPECT_TRUE(sheet.write([&](std::string_view piece) {
    joined += piece;
    sizes.push_back(piece.size());
    return true;
  }));
  EXPECT_EQ(joined, whole);
  ASSERT_GE(sizes.size(), 4u);
  EXPECT_GT(sizes.back(), 0u);
  for (size_t i = 0; i + 1 < sizes.size(); ++i) {
    EXPECT_GE(sizes[i], CsvSheet::kPieceSize) << "piece " << i;
    EXPECT_LT(sizes[i], CsvSheet::kPieceSize + row.size() + 16) << "piece " << i;
  }

  size_t asked = 0;
  EXPECT_FALSE(sheet.write([&](std::string_view) { return ++asked > 1; }));
  EXPECT_EQ(asked, 1u);

  items.emplace_back(textCell(1, 4, "late"));
  sheet.add(items.back());
  EXPECT_EQ(sheet.text(), plainCsv(items, false));
  // A sheet without text hands over nothing.
  CsvSheet empty;
  EXPECT_TRUE(empty.write([](std::string_view) {
    ADD_FAILURE() << "a piece of an empty sheet";
    return true;
  }));
}

}  // namespace
}  // namespace wzss::cli

// Hostile inputs through the real entry points: the workbooks of hostile/
// (one hostile feature each, listed in its README) and a few too large to
// keep as files, made here. Each walk must keep the host contract
// (harness/walk.cpp checks it) under a plain host and a demanding one; the
// test's CTest timeout bounds their cost.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "harness/walk.h"
#include "workbook_files.h"

namespace wzss::reliability {
namespace {

using harness::WalkOptions;
using harness::WalkReport;
using harness::walkWorkbook;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kUnderAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kUnderAddressSanitizer = true;
#else
constexpr bool kUnderAddressSanitizer = false;
#endif
#else
constexpr bool kUnderAddressSanitizer = false;
#endif

const std::string kHeader = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n";
const std::string kView =
    "View Start, Name: #Hostile: ~A\nView Rows Visible: rows:1:50\nView End,\n";
const std::string kExtent = "Bottom right corner : Z50\nHeaders and Footers End\n";

std::string repeat(const std::string& text, size_t count) {
  std::string out;
  out.reserve(text.size() * count);
  for (size_t i = 0; i < count; ++i) out += text;
  return out;
}

std::string objectBlock(const std::string& inside) {
  return "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: A\n"
         "Object Attrs: Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0\n"
         "Top corner A!A1 x = 0 y = 0\nBot corner A!B2 x = 0 y = 0\n" +
         inside + "Graphic Obj End: 1\n";
}

// Lines of 100 KB in every section a line reader meets.
std::string linesOf100KB() {
  const std::string x(100 * 1024, 'x');
  return kHeader + x + "\nCOLORMAP\nRed 1 " + x + "\nEND COLORMAP\nTYPEFACE TABLE\n" + x +
         "\nEND TYPEFACE TABLE\nAttr Table Start\n(F2|" + x + "|SH3" + x +
         ")\nAttr Table end\nSHEETS TABLE\nSHEET A ~" + x + "~\nEND SHEETS TABLE\n" +
         "Graphic Obj Start: " + x + "\nObject Type: Chart\nObject Plane: A\nObject Path: " + x +
         "\nObject Attrs: Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0\nObject Source Width : " +
         x + "\n*BEGIN GRAPHICS VERSION=1\n" + x + "\n*END GRAPHICS\nGraphic Obj End: 1\n" +
         "View Start, Name: #" + x + "~A\nView Column Widths: A:1 " + x + "\nView Title Row: " +
         x + "\nView End,\nRow List A!2:" + repeat("0,1,1 ", 100 * 1024 / 6) + "\n" + kExtent +
         "(G0|) A!A1: " + x + "\n(') A!A2: start\n " + x + "\n(Sf|) A!A3: 1." + x + "\n(" + x +
         ") A!A4: 1\n";
}

// A block whose nested parts never close runs to the end of the input and
// takes every later line with it, so it stands after the view section.
std::string tenThousandNestedParts() {
  return kHeader +
         objectBlock("*BEGIN GRAPHICS VERSION=1\n" + repeat("*BEGIN \n", 10000) +
                     "Graphic Obj End: still nested\n" + repeat("*END \n", 10000) +
                     "*END GRAPHICS\n") +
         kView + objectBlock(repeat("*BEGIN PART\n", 10000)) + kExtent + "(G0|) A!A1: 1\n";
}

// The object index grows one entry per Realloc. A Realloc that cannot grow
// in place copies the whole index every time, as AddressSanitizer's does
// (10,000 objects take a minute there), so the full million runs only in
// builds without it; glibc grows large blocks in place.
std::string millionHiddenObjects() {
  return kHeader +
         repeat("Graphic Obj Start: \nObject Type: Chart\nObject Plane: A\n"
                "Object Attrs: Hidden:1\nGraphic Obj End: \n",
                kUnderAddressSanitizer ? 2000 : 1000000) +
         kView + kExtent + "(G0|) A!A1: 1\n";
}

struct Hostile {
  std::string name;
  std::string text;
};

std::vector<Hostile> hostileWorkbooks() {
  std::vector<Hostile> books = {
      {"lines_of_100_kb", linesOf100KB()},
      {"ten_thousand_nested_parts", tenThousandNestedParts()},
      {"label_continuing_to_the_end",
       kHeader + kView + kExtent + "(') A!A1: label\n" +
           repeat(" " + std::string(100, 'c') + "\n", 2000) + " last"},
      {"million_hidden_objects", millionHiddenObjects()},
      {"hundred_kb_without_line_feed", kHeader + std::string(100 * 1024, 'V')},
  };
  for (const auto& entry : std::filesystem::directory_iterator(WZSS_HOSTILE_DIR)) {
    if (entry.path().extension() == ".wzs")
      books.push_back({entry.path().stem().string(), readFile(entry.path().string())});
  }
  return books;
}

constexpr int kAny = -1;

// The first pass's result and the sheet count, where they are not 1 and 1.
struct Expected {
  const char* name;
  int info;
  int sheets;
};
const Expected kExpected[] = {
    {"empty_file", 0, kAny},
    {"file_of_one_unterminated_line", 1, 0},
    {"hundred_kb_without_line_feed", 1, 0},
    {"input_ending_inside_the_typeface_table", kAny, 1},
    {"nul_bytes_and_carriage_returns", kAny, kAny},
    {"sheet_letters_missing_or_malformed", 1, 5},
    {"three_hundred_sheets", 1, 300},
    {"unterminated_view_start_line", 1, kAny},
};

Expected expectedOf(const std::string& name) {
  for (const Expected& expected : kExpected) {
    if (name == expected.name) return expected;
  }
  return {nullptr, 1, 1};
}

// The plain host, and one that defers object streams, refuses text
// buffers and has no Close slot.
const WalkOptions kHosts[] = {
    {}, {.deferObjectStreams = true, .nullTextBuffers = true, .dropCloseSlot = true}};

TEST(HostileInput, KeepsTheHostContract) {
  for (const Hostile& book : hostileWorkbooks()) {
    SCOPED_TRACE(book.name);
    const Expected expected = expectedOf(book.name);
    for (const WalkOptions& options : kHosts) {
      const WalkReport report = walkWorkbook(book.text, options);
      EXPECT_TRUE(report.ok()) << report.describe();
      if (expected.info != kAny) {
        EXPECT_EQ(report.infoResult, expected.info);
      }
      if (expected.sheets != kAny) {
        EXPECT_EQ(report.sheetCount, uint32_t(expected.sheets));
      }
    }
  }
}

// The hostile object blocks are still delivered, so their anchors, sizes,
// drawings and links were really exercised: the chart with the long size
// texts, the one with the stale drawing length, the one whose end comes
// first, the linked one and the one whose drawing never ends (the one with
// Hidden:-1 counts as hidden).
TEST(HostileObjects, AreDeliveredWithTheirStreams) {
  const WalkReport report = walkWorkbook(
      readFile(WZSS_HOSTILE_DIR "/objects_with_hostile_anchors_and_sizes.wzs"), WalkOptions{});
  ASSERT_TRUE(report.ok()) << report.describe();
  EXPECT_EQ(report.objects, 5u);
  EXPECT_GE(report.objectStreams, 3u);
  EXPECT_EQ(report.linkedStreams, 1u);
}

}  // namespace
}  // namespace wzss::reliability

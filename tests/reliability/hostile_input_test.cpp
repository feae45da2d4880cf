// Hostile inputs through the real entry points: extents and numbers at and
// beyond every limit, lines far longer than the line buffers, tables longer
// than their slots, deep nesting, unterminated texts, huge object counts and
// values no number format was made for. Each walk must keep the host
// contract (harness/walk.cpp checks it) and end within its time budget.
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "harness/walk.h"

namespace wzss::reliability {
namespace {

using harness::WalkOptions;
using harness::WalkReport;
using harness::walkWorkbook;
using namespace std::string_literals;
const std::string kHeader = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII\n";

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

constexpr int kAny = -1;

std::string repeat(const std::string& text, size_t count) {
  std::string out;
  out.reserve(text.size() * count);
  for (size_t i = 0; i < count; ++i) out += text;
  return out;
}

// A one-sheet workbook; each case replaces the parts it is about.
struct Book {
  std::string prologue;
  std::string viewStart = "View Start, Name: #Hostile: ~A\n";
  std::string view = "View Rows Visible: rows:1:50\nView Columns Visible: cols:A:Z\n";
  std::string viewEnd = "View End,\n";
  std::string afterView;  // Row List and Symbols lines
  std::string extent = "Bottom right corner : Z50\n";
  std::string cells = "(G0|) A!A1: 1\n";
  std::optional<std::string> raw;  // the whole text, for cases about the file's frame

  std::string text() const {
    if (raw) return *raw;
    return kHeader + prologue + viewStart + view + viewEnd + afterView + extent +
           "Headers and Footers End\n" + cells;
  }
};

// --- Builders, one per hostile feature -------------------------------------

void sheetLettersBeyondTheCount(Book& book) {
  book.viewStart = "View Start, Name: #Third: ~C\n";
  book.prologue =
      "Attr Table Start\n(F2||SH3)\n(F2||L1)\nAttr Table end\n"
      "SHEETS TABLE\nSHEET ZZ ~far~\nSHEET C ~third~\nSHEET ~none~\nEND SHEETS TABLE\n"
      "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: ZZ\n"
      "Top corner ZZ!B2 x = 0 y = 0\n*BEGIN GRAPHICS VERSION=1\n*END GRAPHICS\n"
      "Graphic Obj End: 1\n";
  book.afterView = "Row List C!2:0,3,1\nRow List ZZ!2:0,3,2\n";
  book.cells = "(G0|) C!A1: 1\n(G0|) ZZ!A2: 2\n(G0|) ZZZ!A3: 3\n(G0|) !A4: 4\n";
}

void sheetLettersMissing(Book& book) {
  std::string text = kHeader;
  text += "View Start, Name: #NoLetters: ~\nView End,\n";
  text += "View Start, Name: #ThreeLetters: ~ABC\nView End,\n";
  text += "View Start, Name: #NoTilde: A\nView End,\n";
  text += "View Start, Name: #LowerCase: ~zz\nView End,\n";
  text += "View Start, Name: #Punctuation: ~[`\nView End,\n";
  text += "Bottom right corner : C3\nHeaders and Footers End\n(G0|) A!A1: 1\n(G0|) zz!B2: 2\n";
  book.raw = text;
}

void titlesOutsideTheGrid(Book& book) {
  book.view =
      "View Title Row: 0\nView Title Row: 51\nView Title Row: 2147483647\n"
      "View Title Row: 99999999999\nView Title Row: -3\nView Title Row: \n"
      "View Title Column: ZZ\nView Title Column: \nView Title Column: ABC\n"
      "View Title Column: 1\nView Title Column: AA\n" +
      book.view;
  book.cells = "(G0|) A!A1: 1\n(G0|) A!ZZ51: 2\n(G0|) A!B0: 3\n";
}

void visibleRangesOutsideTheGrid(Book& book) {
  book.view =
      "View Rows Visible: r:-5:3\nView Rows Visible: r:0:2147483647\n"
      "View Rows Visible: r:2147483647:0\nView Rows Visible: r::\nView Rows Visible: r:\n"
      "View Rows Visible: no colon at all\nView Rows Visible: r:99999999999:3\n"
      "View Rows Visible: r:-2147483648:-1\n"
      "View Columns Visible: c:ZZ:A\nView Columns Visible: c::\nView Columns Visible: c:-:B\n"
      "View Columns Visible: c:A:ZZZ\nView Columns Visible: c:ABC:B\nView Columns Visible: c\n";
}

void rowListsOutsideTheGrid(Book& book) {
  book.prologue = "Attr Table Start\n(F2||SH3)\n(F2||L1)\n(F2||SH8BG1)\nAttr Table end\n";
  book.afterView =
      "Row List A!0:0,3,1\nRow List A!999:0,3,1\nRow List A!2147483647:0,3,2\n"
      "Row List A!3:0,99999,1\nRow List A!4:5,2,1\nRow List A 5:0,3,1\nRow List A!6\n"
      "Row List A!7:\nRow List A!8:25,25,3 26,26,1\nRow List A!9:0,2147483647,1\n"
      "Row List A!10:2147483647,2147483647,1\nRow List A!11:0,3,999\nRow List A!12:0,3\n"
      "Row List A!13:0\nRow List !14:0,3,1\nRow List \n";
}

void numbersWithoutDigits(Book& book) {
  book.prologue =
      "Attr Table Start\n(|||)\n(F2||SH)\nAttr Table end\n"
      "Graphic Obj Start: \nObject Type: Chart\nObject Plane: \nObject Attrs: Hidden:, Link:\n"
      "Top corner \nBot corner !\n*BEGIN GRAPHICS VERSION\n*END GRAPHICS\nGraphic Obj End: \n";
  book.view =
      "View Default Column Width x\nView Row Heights: :\nView Row Heights: 1\n"
      "View Column Widths: :\nView Column Widths: 5:\nView Title Row: x\n" +
      book.view;
  book.afterView = "Symbols x y\nSymbols \nRow List A!:,,\n";
  book.cells =
      "(F|) A!: 12\n(F2|BG,FG,P,T|SH,FG,BG) A!A2: 3\n(F2||L,R,T,B) A!A3: 4\n(D|) A!A4: /\n"
      "(F2|) !: x\n(|) A!A5: -\n(P|) A!A6: .\n(S|) A!A7: e\n(CO|) A!A8: ,\n";
}

void listLinesOfManyItemsAndNone(Book& book) {
  std::string widths = "View Column Widths:";
  std::string heights = "View Row Heights:";
  for (int i = 1; i <= 45; ++i) {
    widths += " A:" + std::to_string(i);
    heights += " " + std::to_string(i) + ":" + std::to_string(i * 100);
  }
  book.view = widths + "\n" + heights + "\nView Column Widths: \nView Row Heights: \n" +
              "View Row Heights: 1:4294967295 2:-5 :3 4: 99999999999:1\n" +
              "View Column Widths: ZZZ:5 :7 A 99999999999\n" + book.view;
}

void linesOf100KB(Book& book) {
  const std::string longText(100 * 1024, 'x');
  book.prologue = longText + "\nCOLORMAP\nRed 1 " + longText + "\nEND COLORMAP\n" +
                  "TYPEFACE TABLE\n" + longText + "\nEND TYPEFACE TABLE\n" +
                  "Attr Table Start\n(F2|" + longText + "|SH3" + longText + ")\nAttr Table end\n" +
                  "SHEETS TABLE\nSHEET A ~" + longText + "~\nEND SHEETS TABLE\n" +
                  "Graphic Obj Start: " + longText + "\nObject Type: Chart\nObject Plane: A\n" +
                  "Object Path: " + longText +
                  "\nObject Attrs: Hidden:0, Locked:0, Print:1, Link:1, NoBorder:0\n" +
                  "Object Source Width : " + longText + "\n*BEGIN GRAPHICS VERSION=1\n" + longText +
                  "\n*END GRAPHICS\nGraphic Obj End: 1\n";
  book.viewStart = "View Start, Name: #" + longText + "~A\n";
  book.view = "View Column Widths: A:1 " + longText + "\n" + book.view +
              "View Title Row: " + longText + "\n";
  book.afterView = "Row List A!2:" + repeat("0,1,1 ", 100 * 1024 / 6) + "\n";
  book.cells = "(G0|) A!A1: " + longText + "\n(') A!A2: start\n " + longText + "\n(Sf|) A!A3: 1." +
               longText + "\n(" + longText + ") A!A4: 1\n";
}

void oneUnterminatedLine(Book& book) {
  book.raw = "*BEGIN SPREADSHEETS VERSION=440 R01 ENCODING=US-ASCII";
}

void unterminatedViewLine(Book& book) { book.raw = kHeader + "View Start, Name: #Cut: ~A"s; }

void hundredKBWithoutLineFeed(Book& book) { book.raw = kHeader + std::string(100 * 1024, 'V'); }

void colourMapOf300Lines(Book& book) {
  book.prologue = "COLORMAP\n";
  for (int i = 0; i < 300; ++i) book.prologue += "Entry " + std::to_string(i) + " 1 2 3 4 5 6\n";
  book.prologue += "END COLORMAP\n";
  book.cells = "(F2|BG259,FG260|SH3FG299BG-1) A!A1: 1\n(F2|BG2147483647|L1FG4294967295) A!A2: 2\n";
}

void attributeTableOf1200Lines(Book& book) {
  book.prologue = "Attr Table Start\n";
  for (int i = 0; i < 1200; ++i) book.prologue += "(F2|B|SH3L" + std::to_string(i % 6) + ")\n";
  book.prologue += "Attr Table end\n";
  book.afterView = "Row List A!2:0,25,1 \nRow List A!3:0,25,1000\nRow List A!4:0,25,1200\n";
}

void typefaceTableOf300Names(Book& book) {
  book.prologue = "TYPEFACE TABLE\n";
  for (int i = 0; i < 300; ++i) book.prologue += "Face number " + std::to_string(i) + "\n";
  book.prologue += "END TYPEFACE TABLE\n";
  book.cells =
      "(G0|TF299|) A!A1: 1\n(G0|TF254|) A!A2: 2\n(G0|TF-1|) A!A3: 3\n"
      "(G0|TF2147483647|) A!A4: 4\n(G0|TF0|) A!A5: 5\n";
}

void typefaceNameOf100Characters(Book& book) {
  book.prologue = "TYPEFACE TABLE\n" + std::string(100, 'N') + "\nShort\n" + std::string(100, 'M') +
                  "\nEND TYPEFACE TABLE\n";
  book.cells = "(G0|TF0|) A!A1: 1\n(G0|TF2|) A!A2: 2\n";
}

std::string objectBlock(const std::string& inside) {
  return "Graphic Obj Start: 1\nObject Type: Chart\nObject Plane: A\n"
         "Object Attrs: Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0\n"
         "Top corner A!A1 x = 0 y = 0\nBot corner A!B2 x = 0 y = 0\n" +
         inside + "Graphic Obj End: 1\n";
}

// A block whose nested parts never close runs to the end of the input and
// takes every later line with it, so it stands after the view section: the
// sheet is listed, the extent and the cell data are never reached.
void tenThousandNestedParts(Book& book) {
  book.prologue =
      objectBlock("*BEGIN GRAPHICS VERSION=1\n" + repeat("*BEGIN \n", 10000) +
                  "Graphic Obj End: still nested\n" + repeat("*END \n", 10000) + "*END GRAPHICS\n");
  book.afterView = objectBlock(repeat("*BEGIN PART\n", 10000));
}

void tenThousandEndParts(Book& book) {
  book.prologue =
      objectBlock(repeat("*END \n", 10000) + "*BEGIN GRAPHICS VERSION=1\n*END GRAPHICS\n");
}

void stringThatNeverCloses(Book& book) {
  book.cells = "(G0|) A!A1: \"opens here\n" + repeat(" and goes on\n", 2000) +
               "(G0|) A!A2: \"a cell line read as part of the string\n";
}

void labelContinuingToTheEnd(Book& book) {
  book.cells = "(') A!A1: label\n" + repeat(" " + std::string(100, 'c') + "\n", 2000) + " last";
}

// The object index grows one entry per Realloc. A Realloc that cannot grow
// in place copies the whole index every time, as AddressSanitizer's does
// (10,000 objects take a minute there), so the full million runs only in
// builds without it; glibc grows large blocks in place.
void millionHiddenObjects(Book& book) {
  book.prologue = repeat(
      "Graphic Obj Start: \nObject Type: Chart\nObject Plane: A\n"
      "Object Attrs: Hidden:1\nGraphic Obj End: \n",
      kUnderAddressSanitizer ? 2000 : 1000000);
}

const char* const kFormatItems[] = {
    "'",     "D1",     "D2",  "D3",  "D4",    "D5",  "D6", "D7",    "D8", "D9", "D10", "D11",
    "D12",   "D13",    "D14", "D15", "D",     "D99", "T0", "T1",    "T2", "T3", "T9",  "CO2",
    "COf",   "CO\xff", "C2",  "Cf",  "C\xff", "F2",  "Ff", "F\xff", "F~", "GR", "G2",  "Gf",
    "G\xff", "B",      "P2",  "Pf",  "P\xff", "S3",  "Sf", "S\xff", "DN", "X"};

// clang-format off
const char* const kExtremeValues[] = {
    "1e300", "-1e300", "1e308", "1.8e308", "-1.8e308", "nan", "NaN", "-nan", "inf", "-inf",
    "infinity", "INF", "1e-320", "0x1p1023", "-0", "99999999999999999999", "2147483648",
    "-2147483649", "4294967296", "1/2", "12/25/1999/7", "13/45/99999", "/", "//", "", "\"1e300",
    "-1e300 trailing words", "1e300.5"};
// clang-format on

void extremeValuesInEveryFormat(Book& book) {
  book.cells.clear();
  int row = 0;
  for (const char* format : kFormatItems) {
    for (const char* value : kExtremeValues) {
      ++row;
      book.cells +=
          std::string("(") + format + "|) A!A" + std::to_string(row) + ": " + value + "\n";
      ++row;
      book.cells += std::string("(") + format + "|) A!A" + std::to_string(row) + " " + value + "\n";
    }
  }
  book.view =
      "View Rows Visible: rows:1:" + std::to_string(row) + "\nView Columns Visible: cols:A:B\n";
  book.extent = "Bottom right corner : B" + std::to_string(row) + "\n";
  book.afterView = "Symbols Defaults 0 0 0 0 0 10 0 0 2 3\n";
}

void hostileColourAndTypefaceNumbers(Book& book) {
  book.prologue =
      "COLORMAP\nOne 0 1 2 3 4 5 6\nEND COLORMAP\nTYPEFACE TABLE\nOnly\nEND TYPEFACE TABLE\n";
  book.cells =
      "(F2|BG999999,FG-1,T99999,P99999999999|SH99FG9999BG-5L99FG9999) A!A1: 1\n"
      "(F2|BG1,FG0,TF1,P-5|SH2147483647FG2147483647BG2147483647) A!A2: 2\n"
      "(F2|P4294967296,W|SH4294967296R4294967296T-1B99999999999) A!A3: 3\n"
      "(F2,1,2,3,4,VT,VC,VB,V,5,,|BG1,BG2,BG3,WO,WW,W|SH1SH2SH3) A!A4: 4\n";
}

void objectsWithHostileAnchorsAndSizes(Book& book) {
  const std::string wide(150, 'w');
  book.prologue =
      objectBlock("Object Source Width : " + wide + "\nObject Source Height : " + wide + "\n" +
                  "Object Source Width : " + wide +
                  "\n*BEGIN GRAPHICS VERSION=1\nKD_PAGESIZE 1\n"
                  "*END GRAPHICS\n") +
      "Graphic Obj Start: 2\nObject Type: Graphics\nObject Plane: A\n"
      "Top corner A!ZZ99999999 x = 1e300 y = nan\nBot corner A!ZZZ-5 x = -1e300 y = inf\n"
      "Object Attrs: Hidden:0, Locked:0, Print:1, Link:0, NoBorder:0\n"
      // A second drawing start after the end: the recorded length no longer
      // belongs to the recorded start.
      "*BEGIN GRAPHICS VERSION=1\n*END GRAPHICS\n*BEGIN GRAPHICS VERSION=1\n" +
      std::string(300, 'd') + "\n*END \nGraphic Obj End: 2\n" +
      // An end before any start.
      objectBlock("*END GRAPHICS\n*BEGIN GRAPHICS VERSION=1\n*END \n") +
      objectBlock("Object Path: " + std::string(190, 'p') +
                  "\nObject Attrs: Hidden:0, Locked:0, Print:1, Link:1, NoBorder:1\n") +
      objectBlock(
          "Object Attrs: Hidden:-1, Locked:0, Print:1, Link:2147483647, NoBorder:-7\n"
          "Top corner A!B2 x = 99999999999999999999 y = -99999999999999999999\n");
  // A drawing that never ends takes the rest of the input, as above.
  book.afterView =
      "Symbols Defaults 0 0 0 0 0 0 0 0 2 3\n"
      "Graphic Obj Start: 3\nObject Type: Chart\nObject Plane: A\n"
      "*BEGIN GRAPHICS VERSION=1\nKD_LINE\n";
}

void manySheets(Book& book) {
  std::string text = kHeader;
  for (int i = 0; i < 300; ++i) {
    text +=
        "View Start, Name: #S" + std::to_string(i) + ": ~A\nView Rows Visible: r:1:2\nView End,\n";
  }
  text += "Bottom right corner : B2\nHeaders and Footers End\n";
  for (int i = 0; i < 300; ++i) text += "(G0|) A!A1: " + std::to_string(i) + "\n";
  book.raw = text;
}

void viewSectionWithoutEnd(Book& book) {
  book.viewEnd.clear();
  book.view += "View Rows Visible: r:1:2\n";  // the last line a visible range reads ahead from
}

void nulBytesAndCarriageReturns(Book& book) {
  book.prologue = "COLOR\0MAP\n\r\r\nTYPEFACE TABLE\r\n\0\r\nEND TYPEFACE TABLE\r\n"s;
  book.cells = "(G0|) A!A1: \0hidden\n(F2|) A!A2\0: 5\n\r\n(G0|) A!A3: 1\r\r\n(') A!A4: a\n \0\n"s;
}

void hiddenCellsWithOpenStrings(Book& book) {
  book.view = "View Rows Visible: rows:2:3\nView Columns Visible: cols:A:Z\n";
  book.cells =
      "(G0|) A!A1: \"open in a hidden row\n (G0|) A!A2: 1\n(') A!A1: hidden label\n"
      " (G0|) A!A3: 2\n";
}

// The input ends inside the typeface table: the first pass reports 0.
void truncatedSections(Book& book) {
  book.raw = kHeader + "View Start, Name: #Cut: ~A\nView End,\nTYPEFACE TABLE\nOne\nTwo"s;
}

std::string textOf(void (*build)(Book&)) {
  Book book;
  build(book);
  return book.text();
}

struct HostileCase {
  const char* name;
  void (*build)(Book&);
  double budgetSeconds = 20;
  int expectInfo = 1;    // kAny, or the result WZGetWorkSheetInfo must give
  int expectSheets = 1;  // kAny, or the sheet count of the list
};

const HostileCase kCases[] = {
    {"ExtentOfZZAndTheLargestRow",
     [](Book& book) {
       book.extent = "Bottom right corner : ZZ2147483647\n";
       book.cells = "(G0|) A!A1: 1\n(G0|) A!ZZ2147483647: 2\n";
     }},
    {"ExtentWithRowMinusOne", [](Book& book) { book.extent = "Bottom right corner : ZZ\n"; }},
    {"ExtentWithColumnMinusOne", [](Book& book) { book.extent = "Bottom right corner : 50\n"; }},
    {"ExtentWithoutAnyNumber", [](Book& book) { book.extent = "Bottom right corner \n"; }},
    {"ExtentOfThreeLetters", [](Book& book) { book.extent = "Bottom right corner : ABC5\n"; }},
    {"ExtentOfRowZero", [](Book& book) { book.extent = "Bottom right corner : A0\n"; }},
    {"ExtentOfTwentyDigits",
     [](Book& book) {
       book.extent = "Bottom right corner : B99999999999999999999\n";
       book.cells = "(G0|) A!B2: 1\n";
     }},
    {"ExtentMissing", [](Book& book) { book.extent = ""; }},
    {"LargeAllocatableExtent",
     [](Book& book) {
       book.extent = "Bottom right corner : ZZ20000\n";
       book.cells = "(G0|) A!ZZ20000: 1\n(G0|) A!A1: 2\n";
     },
     60},
    {"SheetLettersBeyondTheSheetCount", sheetLettersBeyondTheCount},
    {"SheetLettersMissingOrMalformed", sheetLettersMissing, 20, 1, 5},
    {"TitleRowsAndColumnsOutsideTheGrid", titlesOutsideTheGrid},
    {"VisibleRangesOutsideTheGrid", visibleRangesOutsideTheGrid},
    {"RowListRowsAndColumnsOutsideTheGrid", rowListsOutsideTheGrid},
    {"NumbersWithoutDigits", numbersWithoutDigits},
    {"ListLinesOfManyItemsAndOfNone", listLinesOfManyItemsAndNone},
    {"LinesOf100KB", linesOf100KB, 60},
    {"FileOfOneUnterminatedLine", oneUnterminatedLine, 20, 1, 0},
    {"UnterminatedViewStartLine", unterminatedViewLine, 20, 1, kAny},
    {"HundredKBWithoutLineFeed", hundredKBWithoutLineFeed, 20, 1, 0},
    {"EmptyFile", [](Book& book) { book.raw = ""; }, 20, 0, kAny},
    {"ColourMapOf300Lines", colourMapOf300Lines},
    {"AttributeTableOf1200Lines", attributeTableOf1200Lines},
    {"TypefaceTableOf300Names", typefaceTableOf300Names},
    {"TypefaceNameOf100Characters", typefaceNameOf100Characters},
    {"TenThousandNestedBeginParts", tenThousandNestedParts, 30},
    {"TenThousandEndParts", tenThousandEndParts, 30},
    {"StringThatNeverCloses", stringThatNeverCloses, 30},
    {"LabelContinuingToTheEnd", labelContinuingToTheEnd, 30},
    {"MillionHiddenObjects", millionHiddenObjects, 180},
    {"ExtremeValuesInEveryFormat", extremeValuesInEveryFormat, 60},
    {"HostileColourAndTypefaceNumbers", hostileColourAndTypefaceNumbers},
    {"ObjectsWithHostileAnchorsAndSizes", objectsWithHostileAnchorsAndSizes},
    {"ThreeHundredSheets", manySheets, 60, 1, 300},
    {"ViewSectionWithoutEnd", viewSectionWithoutEnd},
    {"NulBytesAndCarriageReturns", nulBytesAndCarriageReturns, 20, kAny, kAny},
    {"HiddenCellsWithOpenStrings", hiddenCellsWithOpenStrings},
    {"InputEndingInsideTheTypefaceTable", truncatedSections, 20, kAny, 1},
};

// Host behaviours each case runs under: the plain host, and one that defers
// object streams, refuses text buffers and has no Close slot.
const WalkOptions kHosts[] = {
    {}, {.deferObjectStreams = true, .nullTextBuffers = true, .dropCloseSlot = true}};

class HostileInput : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileInput, KeepsTheHostContractWithinItsBudget) {
  const HostileCase& hostile = GetParam();
  const std::string text = textOf(hostile.build);
  for (const WalkOptions& options : kHosts) {
    SCOPED_TRACE(options.deferObjectStreams ? "demanding host" : "plain host");
    const auto start = std::chrono::steady_clock::now();
    const WalkReport report = walkWorkbook(text, options);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    EXPECT_TRUE(report.ok()) << report.describe();
    EXPECT_LT(elapsed.count(), hostile.budgetSeconds)
        << "the walk took " << elapsed.count() << " s";
    if (hostile.expectInfo != kAny) {
      EXPECT_EQ(report.infoResult, hostile.expectInfo);
    }
    if (hostile.expectSheets != kAny) {
      EXPECT_EQ(report.sheetCount, static_cast<uint32_t>(hostile.expectSheets));
    }
  }
}

// The hostile object blocks above are still delivered, so their anchors,
// sizes, drawings and links were really exercised: the chart with the long
// size texts, the one with the stale drawing length, the one whose end comes
// first, the linked one and the one whose drawing never ends (the one with
// Hidden:-1 counts as hidden).
TEST(HostileObjects, AreDeliveredWithTheirStreams) {
  const WalkReport report = walkWorkbook(textOf(objectsWithHostileAnchorsAndSizes), WalkOptions{});
  ASSERT_TRUE(report.ok()) << report.describe();
  EXPECT_EQ(report.objects, 5u);
  EXPECT_GE(report.objectStreams, 3u);
  EXPECT_EQ(report.linkedStreams, 1u);
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileInput, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<HostileCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
}  // namespace wzss::reliability

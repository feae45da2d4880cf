// The HTML pages of small workbooks against goldens in golden/: the styled
// test workbook (hostile texts escaped in content, attributes and CSS
// strings, the policy, hidden lines left out, sizes in pixels, objects as
// boxes) and sheets built from items for the title lines (kept in view at
// their offsets, or not at all when too tall), a hostile font name and text
// running on into an empty neighbour only. Set WZSS_UPDATE_GOLDEN=1 to
// rewrite them; review every changed line.
#include <gtest/gtest.h>

#include <cstdlib>

#include "cli/html_writer.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using namespace convert_test;

WorkbookModel titlesBook() {
  host::Settings sheet = settings(4, 3, 1200, 200);
  sheet.titleRows = 2;
  sheet.titleColumns = 1;
  host::Cell hostileFont = textCell(3, 3, "x");
  hostileFont.font.name = "</style><script>alert(1)</script>";
  hostileFont.font.size = 10;
  host::Cell spills = textCell(3, 1, "long text running on");
  spills.align = 138;  // left, bottom, overflow
  host::Cell blocked = spills;
  blocked.row = 4;
  return bookOf(sheetOf(sheet, host::RowRun{1, 1, 600}, textCell(1, 1, "t"), hostileFont, spills,
                        blocked, textCell(4, 2, "n")));
}

TEST(WorkbookHtml, PagesMatchTheirGoldens) {
  HtmlOptions noTitles, threeTitles;
  noTitles.titleRows = noTitles.titleColumns = 0;
  threeTitles.titleRows = 3;
  threeTitles.titleColumns = 2;
  // Rows of 100 px, 200 px and 100 px: the first two fit in 300 px, the
  // third would not; 600 px: nothing can stick. Columns of 250 px and
  // 251 px: together past 500 px, so the first sticks alone.
  WorkbookModel tall = bookOf(sheetOf(settings(4, 3, 1200, 200), host::RowRun{1, 1, 1500},
                                      host::RowRun{2, 2, 3000}, host::RowRun{3, 3, 1500},
                                      host::ColumnRun{1, 1, 3750}, host::ColumnRun{2, 2, 3765}));
  WorkbookModel tallest = tall;
  tallest.sheets[0].rowHeights[0].size = 9000;
  const struct {
    const char* name;
    WorkbookModel book;
    HtmlOptions options;
  } pages[] = {{"styled", styledBook(), {}},
               {"titles", titlesBook(), {}},
               {"no_titles", titlesBook(), noTitles},
               {"tall_titles", tall, threeTitles},
               {"tallest_titles", tallest, threeTitles}};
  for (const auto& page : pages) {
    const std::string golden = std::string(WZSS_CONVERT_GOLDEN_DIR) + "/" + page.name + ".html";
    const std::string html = workbookHtml(page.book, page.options);
    if (std::getenv("WZSS_UPDATE_GOLDEN") != nullptr) writeFile(golden, html);
    EXPECT_EQ(html, readFile(golden)) << page.name << ": diff against " << golden;
  }
}

TEST(TwipsToPixels, RoundsAtFifteenTwipsAPixel) {
  const std::pair<uint32_t, uint32_t> cases[] = {{7, 0}, {8, 1}, {1440, 96}};
  for (const auto& [twips, pixels] : cases) EXPECT_EQ(twipsToPixels(twips), pixels) << twips;
}

}  // namespace
}  // namespace wzss::cli

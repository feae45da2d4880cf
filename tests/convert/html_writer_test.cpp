#include <gtest/gtest.h>

#include <regex>

#include "cli/html_writer.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

size_t count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(HtmlEscape, ReplacesEveryMarkupCharacter) {
  const struct {
    const char* text;
    const char* escaped;
  } cases[] = {
      {"plain text", "plain text"}, {"<script>", "&lt;script&gt;"},
      {"a & b", "a &amp; b"},       {"\"double\" 'single'", "&quot;double&quot; &#39;single&#39;"},
      {"&amp;", "&amp;amp;"},       {"tab\tline\ncr\r", "tab\tline\ncr\r"},
      {"bell\x07", "bell&#xFFFD;"},
  };
  for (const auto& c : cases) EXPECT_EQ(htmlEscape(c.text), c.escaped) << c.text;
}

TEST(CssString, CannotEndTheStringOrTheStyleElement) {
  EXPECT_EQ(cssString("Helvetica"), "\"Helvetica\"");
  EXPECT_EQ(cssString("a\"b"), "\"a\\22 b\"");
  EXPECT_EQ(cssString("</style>"), "\"\\3c /style\\3e \"");
  EXPECT_EQ(cssString("back\\slash\n"), "\"back\\5c slash\\a \"");
}

TEST(TwipsToPixels, RoundsAtFifteenTwipsAPixel) {
  const std::pair<uint32_t, uint32_t> cases[] = {{0, 0}, {7, 0}, {8, 1}, {1200, 80}, {1440, 96}};
  for (const auto& [twips, pixels] : cases) EXPECT_EQ(twipsToPixels(twips), pixels) << twips;
}

// The styled workbook's page with default options, written once.
const std::string& styledPage() {
  static const std::string page = workbookHtml(convert_test::styledBook(), {});
  return page;
}

TEST(StyledHtml, HostileTextsAppearAsTextOnly) {
  const std::string& page = styledPage();
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_NE(page.find("&lt;script&gt;document.title=&quot;pwned&quot;&lt;/script&gt;&lt;img src=x "
                      "onerror=alert(1)&gt; &amp; &#39;q&#39;"),
            std::string::npos);
  // The sheet name, in the tab and in the section's attributes.
  EXPECT_EQ(page.find("<b>x</b>"), std::string::npos);
  EXPECT_EQ(count(page, "Q1/Q2 &lt;b&gt;x&lt;/b&gt;"), 3u);
}

TEST(StyledHtml, ThePolicyForbidsEveryLoadAndEveryScript) {
  const std::regex policy(
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; ([^\"]*)\">");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(styledPage(), match, policy));
  EXPECT_EQ(match[1].str().find("script-src"), std::string::npos);  // default 'none' holds
  EXPECT_EQ(styledPage().find("http://"), std::string::npos);
  EXPECT_EQ(styledPage().find("https://"), std::string::npos);
}

TEST(StyledHtml, OneTabAndOneTablePerSheet) {
  EXPECT_EQ(count(styledPage(), "<section class=\"sheet\""), 2u);
  EXPECT_EQ(count(styledPage(), "<table class=\"grid\""), 2u);
  EXPECT_EQ(count(styledPage(), "<label for=\"tab-"), 2u);
  EXPECT_EQ(count(styledPage(), "type=\"radio\""), 2u);
  EXPECT_EQ(count(styledPage(), " checked"), 1u);
}

TEST(StyledHtml, HiddenRowsAndColumnsAreLeftOut) {
  const std::string first = styledPage().substr(0, styledPage().find("id=\"sheet-2\""));
  EXPECT_NE(first.find("<tr data-row=\"3\""), std::string::npos);
  EXPECT_EQ(first.find("<tr data-row=\"4\""), std::string::npos);
  EXPECT_NE(first.find("<tr data-row=\"5\""), std::string::npos);
  EXPECT_EQ(first.find("scope=\"col\">C<"), std::string::npos);
  EXPECT_NE(first.find("scope=\"col\">D<"), std::string::npos);
  EXPECT_EQ(first.find("hidden row text"), std::string::npos);
  EXPECT_EQ(first.find("data-cell=\"C1\""), std::string::npos);
}

TEST(StyledHtml, SizesComeFromTheItemsInPixels) {
  // Column A 1920 twips, B 1440, the default 1200; row 2 880 twips.
  EXPECT_NE(styledPage().find(
                "<col style=\"width:128px\"><col style=\"width:96px\"><col style=\"width:80px\">"),
            std::string::npos);
  EXPECT_NE(styledPage().find("<tr data-row=\"2\" style=\"height:59px\">"), std::string::npos);
}

TEST(StyledHtml, ObjectsAreBoxesWithTheirSizeText) {
  const std::regex box(
      "<div class=\"object\" data-object=\"1\" style=\"left:([0-9]+)px;top:([0-9]+)px;"
      "width:([0-9]+)px;height:([0-9]+)px;");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(styledPage(), match, box));
  // D5 + 144 twips: row numbers 44 px, A 128, B 96 (C hidden), then 10 px in.
  EXPECT_EQ(std::stoi(match[1]), 44 + 128 + 96 + 10);
  // Below the 20 px of letters: rows 1 (20), 2 (59), 3 (20); row 4 hidden.
  EXPECT_EQ(std::stoi(match[2]), 20 + 20 + 59 + 20);
  EXPECT_EQ(std::stoi(match[3]), 80 + 80 - 10);  // to F9 + 0: D and E less the offset
  EXPECT_EQ(std::stoi(match[4]), 4 * 20 + 10);   // rows 5 to 8 and half of row 9
  EXPECT_NE(styledPage().find("<span class=\"object-size\">W2.00inH1.00in</span>"),
            std::string::npos);
}

TEST(WorkbookHtml, TitleRowsAndColumnsStickAtTheirOffsets) {
  host::Settings settings = convert_test::settings(4, 3, 1200, 200);
  settings.titleRows = 2;
  settings.titleColumns = 1;
  const WorkbookModel book = convert_test::bookOf(
      convert_test::sheetOf(settings, host::RowRun{1, 1, 600}, convert_test::textCell(1, 1, "t")));
  // The options override the sheet's own counts.
  HtmlOptions none;
  none.titleRows = 0;
  none.titleColumns = 0;
  EXPECT_EQ(workbookHtml(book, none).find("title1"), std::string::npos);
  const std::string page = workbookHtml(book, {});
  EXPECT_NE(page.find("#sheet-1 tr.title1>*{position:sticky;top:20px}"), std::string::npos);
  EXPECT_NE(page.find("#sheet-1 tr.title2>*{position:sticky;top:60px}"), std::string::npos);
  EXPECT_EQ(page.find("tr.title3"), std::string::npos);
  EXPECT_NE(page.find("#sheet-1 td.title1,#sheet-1 th.title1{position:sticky;left:44px}"),
            std::string::npos);
  EXPECT_NE(
      page.find(
          "<th class=\"ch title1\" scope=\"col\">A</th><th class=\"ch\" scope=\"col\">B</th>"),
      std::string::npos);
  EXPECT_NE(page.find("<tr data-row=\"2\" class=\"title2\""), std::string::npos);
}

TEST(WorkbookHtml, TitleRowsTooTallToLeaveRoomDoNotStick) {
  // Rows of 100 px, 200 px and 100 px: the first two fit in 300 px, the third would not.
  WorkbookModel book = convert_test::bookOf(
      convert_test::sheetOf(convert_test::settings(4, 3, 1200, 200), host::RowRun{1, 1, 1500},
                            host::RowRun{2, 2, 3000}, host::RowRun{3, 3, 1500}));
  HtmlOptions options;
  options.titleRows = 3;
  std::string page = workbookHtml(book, options);
  EXPECT_NE(page.find("tr.title2>*{position:sticky;top:120px}"), std::string::npos);
  EXPECT_EQ(page.find("tr.title3"), std::string::npos);

  book.sheets[0].rowHeights[0].size = 9000;  // 600 px: nothing can stick
  page = workbookHtml(book, options);
  EXPECT_EQ(page.find("tr.title"), std::string::npos);
}

TEST(WorkbookHtml, AHostileFontNameStaysInsideItsCssString) {
  host::Cell cell = convert_test::textCell(1, 1, "x");
  cell.font.name = "</style><script>alert(1)</script>";
  cell.font.size = 10;
  const std::string page = workbookHtml(convert_test::bookOf(convert_test::sheetOf(cell)), {});
  EXPECT_EQ(count(page, "</style>"), 1u);
  EXPECT_EQ(page.find("<script"), std::string::npos);
}

TEST(WorkbookHtml, OverflowingTextRunsOnOnlyIntoAnEmptyNeighbour) {
  host::Cell spills = convert_test::textCell(1, 1, "long text running on");
  spills.align = 138;  // left, bottom, overflow
  host::Cell blocked = spills;
  blocked.row = 2;
  const std::string page = workbookHtml(convert_test::bookOf(convert_test::sheetOf(
                                            spills, blocked, convert_test::textCell(2, 2, "n"))),
                                        {});
  const std::regex cellClass("data-cell=\"(A1|A2)\" class=\"(s[0-9]+)\"");
  std::map<std::string, std::string> classes;
  for (std::sregex_iterator it(page.begin(), page.end(), cellClass), end; it != end; ++it)
    classes[(*it)[1]] = (*it)[2];
  ASSERT_EQ(classes.size(), 2u);
  const auto rule = [&](const std::string& name) {
    const size_t at = page.find("td." + name + "{");
    return at == std::string::npos ? std::string() : page.substr(at, page.find('}', at) - at);
  };
  EXPECT_NE(rule(classes["A1"]).find("overflow:visible"), std::string::npos);
  EXPECT_EQ(rule(classes["A2"]).find("overflow:visible"), std::string::npos);
}

}  // namespace
}  // namespace wzss::cli

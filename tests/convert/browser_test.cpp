// The pages as a browser shows them: headless Chromium renders the HTML of
// the styled test workbook and of the budget sample; the test reads the
// DOM it dumps and leaves screenshots in the build directory for a person
// to look at. Skipped where Chromium is not installed (CI installs the
// Debian package "chromium").
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <regex>

#include "cli/html_writer.h"
#include "convert_fixture.h"

namespace fs = std::filesystem;

namespace wzss::cli {
namespace {

constexpr const char* kChromiumFlags =
    "--headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
    "--disable-background-networking --disable-component-update --disable-sync "
    "--window-size=1280,900";
constexpr const char* kTimeout = "timeout 120";

// Run by the test's page only: writes each styled cell's computed style
// into the DOM, then scrolls the first sheet and notes where its title row
// ended up. The converter's own pages carry no script.
constexpr const char* kProbeScript = R"(
for (const td of document.querySelectorAll('td[data-cell]')) {
  const s = getComputedStyle(td);
  td.setAttribute('data-computed', [s.color, s.backgroundColor, s.fontWeight, s.fontStyle,
    s.fontSize, s.textAlign, s.verticalAlign, s.borderLeftStyle, s.borderBottomStyle,
    s.whiteSpace, s.position].join('|'));
}
const viewport = document.querySelector('#sheet-1 .viewport');
const title = document.querySelector('#sheet-1 td[data-cell="A1"]');
viewport.scrollTop = 300;
document.body.setAttribute('data-scrolled', String(viewport.scrollTop));
document.body.setAttribute('data-title-offset', String(Math.round(
    title.getBoundingClientRect().top - viewport.getBoundingClientRect().top)));
)";

bool chromiumPresent() { return std::system("command -v chromium >/dev/null 2>&1") == 0; }

struct Chromium {
  convert_test::TempDir profile;

  // The DOM after load, or empty when the browser failed.
  std::string dumpDom(const fs::path& page) {
    return run(std::string("--dump-dom file://") + page.string());
  }
  bool screenshot(const fs::path& page, const fs::path& png) {
    fs::remove(png);
    run("--screenshot=" + png.string() + " file://" + page.string());
    return fs::exists(png) && fs::file_size(png) > 0;
  }

 private:
  std::string run(const std::string& arguments) {
    const std::string line = std::string(kTimeout) + " chromium " + kChromiumFlags +
                             " --user-data-dir=" + profile.path().string() + " " + arguments +
                             " 2>/dev/null";
    std::string out;
    std::FILE* pipe = popen(line.c_str(), "r");
    if (pipe == nullptr) return out;
    char buffer[8192];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, got);
    pclose(pipe);
    return out;
  }
};

std::vector<std::string> computedStyle(const std::string& dom, const std::string& address) {
  const std::regex pattern("<td data-cell=\"" + address + "\"[^>]*data-computed=\"([^\"]*)\"");
  std::smatch match;
  if (!std::regex_search(dom, match, pattern)) return {};
  std::vector<std::string> parts;
  std::string rest = match[1];
  for (size_t at; (at = rest.find('|')) != std::string::npos; rest.erase(0, at + 1))
    parts.push_back(rest.substr(0, at));
  parts.push_back(rest);
  return parts;
}

// The page with the probe added, and allowed by a nonce in its policy.
std::string withProbe(std::string page) {
  const std::string policyEnd = "form-action 'none'";
  page.insert(page.find(policyEnd) + policyEnd.size(), "; script-src 'nonce-probe'");
  page.insert(page.rfind("</body>"),
              std::string("<script nonce=\"probe\">") + kProbeScript + "</script>\n");
  return page;
}

enum Part {
  Color,
  Background,
  Weight,
  FontStyle,
  FontSize,
  TextAlign,
  VerticalAlign,
  BorderLeft,
  BorderBottom,
  WhiteSpace,
  Position,
  kParts
};

class BrowserTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!chromiumPresent())
      GTEST_SKIP() << "chromium is not installed (Debian package \"chromium\")";
  }

  fs::path writePage(const std::string& name, const std::string& html) {
    const fs::path page = dir_.path() / name;
    convert_test::writeFile(page, html);
    return page;
  }

  convert_test::TempDir dir_;
  Chromium browser_;
};

// The styled page with the probe and a title row: what the browser made of
// it, every styled cell's computed style, and the title row after a scroll.
TEST_F(BrowserTest, ThePageShowsStyledSheetsWithoutRunningHostileText) {
  HtmlOptions options;
  options.titleRows = 1;
  const std::string dom = browser_.dumpDom(
      writePage("probe.html", withProbe(workbookHtml(convert_test::styledBook(), options))));
  ASSERT_NE(dom.find("data-computed"), std::string::npos) << "the probe did not run";
  // The hostile cell stayed text: no element came of it, the title is ours.
  EXPECT_NE(dom.find("&lt;script&gt;document.title=\"pwned\"&lt;/script&gt;&lt;img src=x"),
            std::string::npos);
  EXPECT_EQ(dom.find("<img"), std::string::npos);
  EXPECT_NE(dom.find("<title>styled.wzs</title>"), std::string::npos);

  const struct {
    const char* address;
    const char* what;
    std::vector<std::pair<Part, std::string>> parts;
  } cells[] = {
      {"B2",
       "centred italic red on yellow, boxed",
       {{Color, "rgb(255, 0, 0)"},
        {Background, "rgb(255, 255, 0)"},
        {FontStyle, "italic"},
        {Weight, "400"},
        {TextAlign, "center"},
        {BorderLeft, "solid"},
        {BorderBottom, "solid"}}},
      {"A1",
       "bold blue title, sticky",
       {{Color, "rgb(0, 0, 255)"}, {Weight, "700"}, {Position, "sticky"}}},
      {"A2", "wrapped, top", {{WhiteSpace, "pre-wrap"}, {VerticalAlign, "top"}}},
      {"B3",
       "a full shade of blue, a number right",
       {{Background, "rgb(0, 0, 255)"}, {TextAlign, "right"}}},
      {"A7",
       "60 % yellow into white, formatted empty",
       {{Background, "rgb(255, 255, 102)"}, {BorderLeft, "solid"}}},
  };
  for (const auto& c : cells) {
    SCOPED_TRACE(std::string(c.address) + ": " + c.what);
    const auto computed = computedStyle(dom, c.address);
    ASSERT_EQ(computed.size(), size_t{kParts});
    for (const auto& [part, value] : c.parts) EXPECT_EQ(computed[part], value) << "part " << part;
  }
  // 14 pt in px, however many digits the browser gives.
  EXPECT_EQ(computedStyle(dom, "A1").at(FontSize).substr(0, 5), "18.66");

  // Scrolled down, the title row still sits right below the column letters.
  const std::regex scrolled("data-scrolled=\"([0-9]+)\" data-title-offset=\"(-?[0-9]+)\"");
  std::smatch match;
  ASSERT_TRUE(std::regex_search(dom, match, scrolled)) << "the probe did not scroll";
  EXPECT_GT(std::stoi(match[1]), 100);
  EXPECT_EQ(std::stoi(match[2]), 20);
}

TEST_F(BrowserTest, ScreenshotsForAPersonToLookAt) {
  const fs::path output = WZSS_BROWSER_OUTPUT_DIR;
  // The sample keeps row 1 and column A as titles; the styled workbook row 1.
  const struct {
    std::string workbook;
    uint32_t titleRows, titleColumns;
    const char* png;
  } pages[] = {
      {convert_test::samplePath("budget.wzs"), 1, 1, "budget.png"},
      {convert_test::dataPath("styled.wzs"), 1, 0, "styled.png"},
  };
  for (const auto& p : pages) {
    const WorkbookModel book = convert_test::readOrFail(p.workbook);
    HtmlOptions options;
    options.titleRows = p.titleRows;
    options.titleColumns = p.titleColumns;
    const fs::path page =
        writePage(fs::path(p.png).replace_extension(".html").string(), workbookHtml(book, options));
    EXPECT_TRUE(browser_.screenshot(page, output / p.png)) << p.png;
    const std::string png = convert_test::readFile(output / p.png);
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n") << p.png;
  }
}

}  // namespace
}  // namespace wzss::cli

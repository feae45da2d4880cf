// The JSON writer's string escaping, which has a fast path of its own for
// plain texts. The documents themselves are checked against goldens and the
// published schema by json_forms_test.py.
#include <gtest/gtest.h>

#include "cli/json_writer.h"

namespace wzss::cli {
namespace {

TEST(JsonString, PlainTextsStayAsTheyAreAndTheRestIsEscaped) {
  const struct {
    std::string text, json;
  } cases[] = {
      {"", R"("")"},
      {"1,234.50 <b>", R"("1,234.50 <b>")"},
      {"say \"hi\" \\ now", R"("say \"hi\" \\ now")"},
      {"tab\tline\nbell\x07", R"("tab\tline\nbell\u0007")"},
      {"caf\xc3\xa9", "\"caf\xc3\xa9\""},
      // Bytes that are no UTF-8 become U+FFFD.
      {"caf\xe9", "\"caf\xef\xbf\xbd\""},
  };
  for (const auto& c : cases) {
    std::string out = "x";
    appendJsonString(out, c.text);
    EXPECT_EQ(out, "x" + c.json) << c.text;
  }
}

}  // namespace
}  // namespace wzss::cli

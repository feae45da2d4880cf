#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <regex>

#include "cli/json_writer.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

using Json = nlohmann::json;

// The styled workbook's document, parsed back as any consumer would read it.
const std::string& styledText() {
  static const std::string text = workbookJsonText(convert_test::styledBook());
  return text;
}
Json styledSheet() { return Json::parse(styledText())["sheets"][0]; }
Json cell(const Json& sheet, const std::string& address) {
  for (const Json& c : sheet["cells"])
    if (c["address"] == address) return c;
  ADD_FAILURE() << "no cell " << address;
  return Json::object();
}

TEST(StyledJson, IsOneValidDocumentWithTheWorkbookAtItsTop) {
  ASSERT_TRUE(Json::accept(styledText()));
  const Json doc = Json::parse(styledText());
  EXPECT_EQ(doc["format"], "wzss-workbook");
  EXPECT_EQ(doc["schemaVersion"], kJsonSchemaVersion);
  EXPECT_EQ(doc["file"], "styled.wzs");
  ASSERT_EQ(doc["sheets"].size(), 2u);
  EXPECT_EQ(doc["sheets"][1]["name"], "Q1/Q2 <b>x</b>");
  EXPECT_EQ(styledText().back(), '\n');
}

TEST(StyledJson, SheetsCarrySettingsSizesAndHiddenRuns) {
  const Json sheet = styledSheet();
  for (const char* key : {"number", "name", "settings", "rowHeights", "columnWidths", "hiddenRows",
                          "hiddenColumns", "objects", "cells", "formattedEmptyCells"})
    EXPECT_TRUE(sheet.contains(key)) << key;
  EXPECT_EQ(sheet["settings"]["defaultColumnWidth"], 1200);
  EXPECT_EQ(sheet["settings"]["defaultFont"]["name"], "Helvetica");
  EXPECT_EQ(sheet["settings"]["defaultFont"]["size"], 10);
  EXPECT_EQ(sheet["rowHeights"], Json::parse(R"([{"first":2,"last":2,"height":880}])"));
  EXPECT_EQ(sheet["columnWidths"][0], Json::parse(R"({"first":1,"last":1,"width":1920})"));
  EXPECT_EQ(sheet["hiddenRows"], Json::parse(R"([{"first":4,"last":4}])"));
  EXPECT_EQ(sheet["hiddenColumns"], Json::parse(R"([{"first":3,"last":3}])"));
}

TEST(StyledJson, CellsCarryTextAlignmentFontColoursAndBorders) {
  const Json sheet = styledSheet();
  const Json b2 = cell(sheet, "B2");
  EXPECT_EQ(b2["row"], 2);
  EXPECT_EQ(b2["column"], 2);
  EXPECT_EQ(b2["text"], "1234.50");
  EXPECT_EQ(b2["hidden"], false);
  EXPECT_EQ(b2["alignment"]["horizontal"], "center");
  EXPECT_EQ(b2["alignment"]["vertical"], "bottom");
  EXPECT_EQ(b2["alignment"]["wrap"], false);
  EXPECT_EQ(b2["font"]["italic"], true);
  EXPECT_EQ(b2["font"]["bold"], false);
  EXPECT_EQ(b2["textColor"], "#ff0000");
  EXPECT_EQ(b2["backColor"], "#ffff00");
  EXPECT_TRUE(b2["fill"].is_null());
  EXPECT_EQ(b2["borders"]["left"], Json::parse(R"({"style":5,"color":"#000000"})"));
  EXPECT_EQ(b2["borders"]["bottom"]["style"], 8);

  const Json a2 = cell(sheet, "A2");
  EXPECT_EQ(a2["alignment"]["wrap"], true);
  EXPECT_EQ(a2["alignment"]["vertical"], "top");
  EXPECT_TRUE(a2["borders"].is_null());

  const Json a1 = cell(sheet, "A1");
  EXPECT_EQ(a1["font"],
            Json::parse(
                R"({"name":"Helvetica","size":14,"bold":true,"italic":false,"underline":false})"));
  EXPECT_EQ(a1["textColor"], "#0000ff");

  const Json b3 = cell(sheet, "B3");
  EXPECT_EQ(b3["fill"], Json::parse(R"({"pattern":0,"shadePercent":100,"patternColor":"#0000ff",
                                       "backgroundColor":"#ffffff","shownColor":"#0000ff"})"));

  // A hidden cell is marked and carries no text; a hostile text stays a plain string.
  const Json a4 = cell(sheet, "A4");
  EXPECT_EQ(a4["hidden"], true);
  EXPECT_TRUE(a4["text"].is_null());
  EXPECT_EQ(cell(sheet, "A5")["text"],
            "<script>document.title=\"pwned\"</script><img src=x onerror=alert(1)> & 'q'");
}

TEST(StyledJson, FormattedEmptyCellsCarryOnlyFillAndBorders) {
  const Json empty = styledSheet()["formattedEmptyCells"];
  ASSERT_EQ(empty.size(), 2u);
  EXPECT_EQ(empty[0]["address"], "A7");
  EXPECT_FALSE(empty[0].contains("text"));
  EXPECT_FALSE(empty[0].contains("font"));
  EXPECT_EQ(empty[0]["fill"]["shadePercent"], 60);
  EXPECT_EQ(empty[0]["fill"]["patternColor"], "#ffff00");
  EXPECT_EQ(empty[0]["fill"]["shownColor"], "#ffff66");
  EXPECT_EQ(empty[0]["borders"]["top"]["style"], 5);
}

TEST(StyledJson, ObjectsCarryAnchorsFrameSizeTextAndDrawingLength) {
  const Json objects = styledSheet()["objects"];
  ASSERT_EQ(objects.size(), 1u);
  const Json& o = objects[0];
  EXPECT_EQ(o["from"], Json::parse(R"({"column":4,"row":5,"address":"D5","x":144,"y":0})"));
  EXPECT_EQ(o["to"], Json::parse(R"({"column":6,"row":9,"address":"F9","x":0,"y":128})"));
  EXPECT_EQ(o["frame"]["top"]["style"], 5);
  EXPECT_EQ(o["sizeText"], "W2.00inH1.00in");
  EXPECT_EQ(o["hasDrawing"], true);
  EXPECT_GT(o["drawingLength"].get<int>(), 0);
}

// Just enough of JSON Schema for the schema we publish: $ref within the
// document, allOf, type, const, enum, pattern, minimum, maximum, required,
// properties and items. Every mismatch is reported with its path.
class SchemaCheck {
 public:
  explicit SchemaCheck(Json schema) : root_(std::move(schema)) {}
  void check(const Json& value, const Json& schema, const std::string& path) {
    if (schema.contains("$ref")) {
      const std::string ref = schema["$ref"];
      check(value, root_.at(Json::json_pointer(ref.substr(1))), path);
    }
    for (const Json& part : schema.value("allOf", Json::array())) check(value, part, path);
    if (schema.contains("type") && !typeMatches(value, schema["type"]))
      ADD_FAILURE() << path << ": " << value.dump() << " is not of type " << schema["type"].dump();
    if (schema.contains("const") && value != schema["const"])
      ADD_FAILURE() << path << ": not the constant";
    if (schema.contains("enum") &&
        std::find(schema["enum"].begin(), schema["enum"].end(), value) == schema["enum"].end())
      ADD_FAILURE() << path << ": " << value.dump() << " not in " << schema["enum"].dump();
    if (value.is_string() && schema.contains("pattern") &&
        !std::regex_search(value.get<std::string>(),
                           std::regex(schema["pattern"].get<std::string>())))
      ADD_FAILURE() << path << ": " << value.dump() << " does not match " << schema["pattern"];
    if (value.is_number() && schema.contains("minimum") && value < schema["minimum"])
      ADD_FAILURE() << path << ": below the minimum";
    if (value.is_number() && schema.contains("maximum") && value > schema["maximum"])
      ADD_FAILURE() << path << ": above the maximum";
    if (value.is_object()) {
      for (const Json& key : schema.value("required", Json::array()))
        if (!value.contains(key.get<std::string>())) ADD_FAILURE() << path << ": lacks " << key;
      const Json properties = schema.value("properties", Json::object());
      for (const auto& [key, sub] : properties.items())
        if (value.contains(key)) check(value[key], sub, path + "/" + key);
    }
    if (value.is_array() && schema.contains("items"))
      for (size_t i = 0; i < value.size(); ++i)
        check(value[i], schema["items"], path + "/" + std::to_string(i));
  }

 private:
  static bool typeMatches(const Json& value, const Json& type) {
    if (type.is_array())
      return std::any_of(type.begin(), type.end(),
                         [&](const Json& t) { return typeMatches(value, t); });
    const std::string name = type;
    if (name == "object") return value.is_object();
    if (name == "array") return value.is_array();
    if (name == "string") return value.is_string();
    if (name == "integer") return value.is_number_integer();
    if (name == "boolean") return value.is_boolean();
    if (name == "null") return value.is_null();
    return false;
  }
  Json root_;
};

Json publishedSchema() {
  return Json::parse(convert_test::readFile(WZSS_DOCS_DIR "/wzss-workbook.schema.json"));
}

TEST(WorkbookJson, TheWorkbooksMatchThePublishedSchema) {
  const Json schema = publishedSchema();
  SchemaCheck(schema).check(Json::parse(styledText()), schema, "styled.wzs");
  const auto budget = convert_test::readOrFail(convert_test::samplePath("budget.wzs"));
  SchemaCheck(schema).check(Json::parse(workbookJsonText(budget)), schema, "budget.wzs");
}

// The check itself can fail: a missing member and a colour that is no colour.
TEST(WorkbookJson, TheSchemaCheckCatchesAMissingMember) {
  const Json schema = publishedSchema();
  Json doc = Json::parse(styledText());
  doc["sheets"][0]["cells"][0].erase("alignment");
  doc["sheets"][0]["cells"][1]["textColor"] = "red";
  ::testing::TestPartResultArray failures;
  {
    ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    SchemaCheck(schema).check(doc, schema, "");
  }
  EXPECT_EQ(failures.size(), 2);
}

TEST(WorkbookJson, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  const Json doc = Json::parse(workbookJsonText(
      convert_test::bookOf(convert_test::sheetOf(convert_test::textCell(1, 1, "caf\xe9")))));
  EXPECT_EQ(doc["sheets"][0]["cells"][0]["text"], "caf\xef\xbf\xbd");
}

}  // namespace
}  // namespace wzss::cli

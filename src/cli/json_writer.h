// The whole workbook as one JSON document. docs/json-schema.md describes
// every member, and docs/wzss-workbook.schema.json states it formally;
// change them together with this writer.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "cli/sheet_model.h"

namespace wzss::cli {

inline constexpr int kJsonSchemaVersion = 1;

nlohmann::ordered_json workbookJson(const WorkbookModel& book);
// Indented by two blanks, with a final line feed.
std::string workbookJsonText(const WorkbookModel& book);

}  // namespace wzss::cli

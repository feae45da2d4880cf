// The workbooks the reliability tests walk: the sample workbooks and the
// small hand-made ones of the fuzz seed corpus (one feature each).
#pragma once

#include <string>
#include <vector>

namespace wzss::reliability {

// Full paths of samples/*.wzs and fuzz/corpus/*.wzs, sorted.
std::vector<std::string> sweepWorkbooks();

std::string readFile(const std::string& path);

// A test-name-safe form of the file's folder and name ("samples_budget_wzs").
std::string testNameOf(const std::string& path);

}  // namespace wzss::reliability

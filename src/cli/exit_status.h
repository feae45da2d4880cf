// The command's exit statuses and its one-line error report, shared by every
// subcommand so scripts see the same contract everywhere.
#pragma once

#include <fmt/core.h>

#include <cstdio>
#include <string>
#include <vector>

namespace wzss::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // a file could not be read or written
inline constexpr int kExitUsage = 2;

// "wzss: SUBJECT: REASON" on stderr; returns status.
inline int fail(const std::string& subject, const std::string& reason,
                int status = kExitFailure) {
  fmt::print(stderr, "wzss: {}: {}\n", subject, reason);
  return status;
}

// "wzss: SUBJECT: warning: TEXT" on stderr for each warning.
inline void warn(const std::string& subject, const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) fmt::print(stderr, "wzss: {}: warning: {}\n", subject, warning);
}

}  // namespace wzss::cli

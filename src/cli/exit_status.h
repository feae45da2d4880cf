// The command's exit statuses and its one-line error report, shared by every
// subcommand so scripts see the same contract everywhere.
#pragma once

#include <fmt/core.h>

#include <cstdio>
#include <string>

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

}  // namespace wzss::cli

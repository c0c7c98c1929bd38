// The diagnostic lines that a piece of code writes.
#ifndef VORNIK_TESTS_SUPPORT_CAPTURED_LOG_H
#define VORNIK_TESTS_SUPPORT_CAPTURED_LOG_H

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace vornik::test {

/// Runs `body` and returns the log lines that it wrote, without the system log's own prefix.
template <typename Body>
std::vector<std::string> logLinesOf(Body body) {
  ::testing::internal::CaptureStderr();
  body();
  std::istringstream text(::testing::internal::GetCapturedStderr());
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    const std::string prefix = "Vornik: ";
    lines.push_back(line.starts_with(prefix) ? line.substr(prefix.size()) : line);
  }
  return lines;
}

}  // namespace vornik::test

#endif  // VORNIK_TESTS_SUPPORT_CAPTURED_LOG_H

#pragma once
// Console capture for tests of code that prints (the logger prints Info and
// Debug on stdout, Warn and above on stderr).

#include <gtest/gtest.h>

#include <string>
#include <utility>

// Runs `f` with stdout and stderr captured; returns {stdout, stderr}.
template <typename F>
std::pair<std::string, std::string> Captured(F f) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  f();
  std::string out = testing::internal::GetCapturedStdout();
  return {out, testing::internal::GetCapturedStderr()};
}

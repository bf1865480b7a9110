#pragma once
// Routes the process logger to the console so tests can capture its lines
// (Warn and above go to stderr, Info and Debug to stdout).

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "Logger.h"

inline Logger* UseConsoleLogger() {
  Logger* logger = Logger::GetInstance();
  if (logger != nullptr) {
    logger->mLevel = MSG_LEVEL_DEBUG;
    logger->mbConsole = true;
    snprintf(logger->mName, sizeof(logger->mName), "%s", "CtlTest");
  }
  return logger;
}

// Captures stdout and stderr from construction until Out() or Err() is called.
class ConsoleCapture {
 public:
  ConsoleCapture() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
  }
  ~ConsoleCapture() { Out(); }
  const std::string& Out() { return Finish(mOut); }
  const std::string& Err() { return Finish(mErr); }

 private:
  const std::string& Finish(const std::string& which) {
    if (!mDone) {
      mDone = true;
      mOut = testing::internal::GetCapturedStdout();
      mErr = testing::internal::GetCapturedStderr();
    }
    return which;
  }
  bool mDone = false;
  std::string mOut, mErr;
};

#pragma once
// Routes the process logger to the console so tests can capture its lines
// (Warn and above go to stderr, Info and Debug to stdout), and hands out the
// heartbeat client logging at every level.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "HeartBeater.h"
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

// Kept for the parser tests; the others use HasSubstr.
inline bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
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

class HeartBeaterFixture : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(UseConsoleLogger(), nullptr);
    hb = cHeartBeater::GetInstance();
    ASSERT_NE(hb, nullptr);
    cHeartBeater::mLogLevel = MSG_LEVEL_DEBUG;
    hb->CloseMq();
    hb->mbVersionSet = false;
  }
  void TearDown() override { hb->CloseMq(); }

  static constexpr const char* kRecord =
      R"({"HbKey":"PlovrestDaemon","Version":"Tessaly-v0.0.65","State":1})";
  bool SetRecord() { return hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING); }

  cHeartBeater* hb = nullptr;
};

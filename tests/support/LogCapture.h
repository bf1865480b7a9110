#pragma once
// Test helpers for the logger: an in-memory stream to hand the logger as its
// console, and a fresh, console-routed logger per test.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Logger.h"

// A growing in-memory FILE*; Text() returns everything written so far.
class MemStream {
 public:
  MemStream() : mpStream(open_memstream(&mpBuf, &mSize)) {}
  ~MemStream() {
    if (mpStream != nullptr) std::fclose(mpStream);
    std::free(mpBuf);
  }
  MemStream(const MemStream&) = delete;
  MemStream& operator=(const MemStream&) = delete;

  FILE* get() const { return mpStream; }
  std::string Text() {
    std::fflush(mpStream);
    return std::string(mpBuf, mSize);
  }

 private:
  char* mpBuf = nullptr;
  size_t mSize = 0;
  FILE* mpStream;
};

// Splits on "\n\033[0m", the end of every console and file line.
inline std::vector<std::string> SplitLines(const std::string& text) {
  static const std::string kEnd = "\n\033[0m";
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t pos = text.find(kEnd); pos != std::string::npos; pos = text.find(kEnd, start)) {
    lines.push_back(text.substr(start, pos - start));
    start = pos + kEnd.size();
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// Splits "<escape><digits>|<rest>" into its time stamp and the rest; returns
// false when the line does not start with `escape` followed by a number.
inline bool SplitStamp(const std::string& line, const std::string& escape,
                       unsigned long long* stamp, std::string* rest) {
  if (line.compare(0, escape.size(), escape) != 0) return false;
  size_t pos = escape.size();
  size_t digits = 0;
  unsigned long long value = 0;
  while (pos < line.size() && line[pos] >= '0' && line[pos] <= '9') {
    value = value * 10 + static_cast<unsigned>(line[pos] - '0');
    ++pos;
    ++digits;
  }
  if (digits == 0 || pos >= line.size() || line[pos] != '|') return false;
  *stamp = value;
  *rest = line.substr(pos + 1);
  return true;
}

// Calls the level function that belongs to `level` (Debug for anything not
// in the table). A switch rather than a member-function pointer: the vptr
// sanitizer of the compiler in use mangles calls through those.
template <typename... Args>
int CallLevel(Logger* logger, MsgLevel_e level, const char* fmt, Args... args) {
  switch (level) {
    case MSG_LEVEL_CRITICAL: return logger->Critical(fmt, args...);
    case MSG_LEVEL_ERROR: return logger->Error(fmt, args...);
    case MSG_LEVEL_WARN: return logger->Warn(fmt, args...);
    case MSG_LEVEL_INFO: return logger->Info(fmt, args...);
    default: return logger->Debug(fmt, args...);
  }
}

// As start-up does: clear the field, then a bounded print of 7 bytes, which
// keeps the first six characters of "Plovrest".
inline void SetShortName(Logger* logger) {
  std::memset(logger->mName, 0, sizeof(logger->mName));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-truncation"  // the cut is intended
  std::snprintf(logger->mName, 7, "%s", "Plovrest");
#pragma GCC diagnostic pop
}

// Gives every test a freshly built logger (defaults restored) whose console
// goes to two in-memory streams.
class LoggerFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    Logger::DeleteInstance();
    mpLog = Logger::GetInstance();
    ASSERT_NE(mpLog, nullptr);
    SetShortName(mpLog);
    mpLog->mpConsoleOut = mOut.get();
    mpLog->mpConsoleErr = mErr.get();
  }
  void TearDown() override { Logger::DeleteInstance(); }

  Logger* mpLog = nullptr;
  MemStream mOut;
  MemStream mErr;
};

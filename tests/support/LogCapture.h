#pragma once
// Logger test helpers: an in-memory console stream, line and time-stamp
// splitting, and a fixture that gives every test a fresh console-routed logger.

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
  ~MemStream() { std::fclose(mpStream); std::free(mpBuf); }
  MemStream(const MemStream&) = delete;
  FILE* get() const { return mpStream; }
  std::string Text() { std::fflush(mpStream); return std::string(mpBuf, mSize); }

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

// "<escape><milliseconds>|<rest>" gives <rest> (and the stamp in *stamp);
// any other shape gives "?" and the whole line, which no expectation matches.
inline std::string Unstamp(const std::string& line, const std::string& escape = "",
                           unsigned long long* stamp = nullptr) {
  const size_t bar = line.find('|', escape.size());
  if (line.compare(0, escape.size(), escape) != 0 || bar == std::string::npos ||
      bar == escape.size() || line.find_first_not_of("0123456789", escape.size()) != bar) {
    return "?" + line;
  }
  if (stamp != nullptr) *stamp = std::stoull(line.substr(escape.size(), bar - escape.size()));
  return line.substr(bar + 1);
}

// A switch, not a member-function pointer: the vptr sanitizer of the compiler
// in use mangles calls through those.
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

class LoggerFixture : public ::testing::Test {
 protected:
  void SetUp() override { Fresh(); }
  void TearDown() override { Logger::DeleteInstance(); }

  // Replaces the instance with a newly built one at level DEBUG, console on,
  // writing to mOut and mErr. The name is set as start-up does: a bounded
  // print of 7 bytes keeps six characters.
  void Fresh() {
    Logger::DeleteInstance();
    mpLog = Logger::GetInstance();
    ASSERT_NE(mpLog, nullptr);
    std::memset(mpLog->mName, 0, sizeof(mpLog->mName));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-truncation"  // the cut is intended
    std::snprintf(mpLog->mName, 7, "%s", "Plovrest");
#pragma GCC diagnostic pop
    mpLog->mpConsoleOut = mOut.get();
    mpLog->mpConsoleErr = mErr.get();
    mpLog->mLevel = MSG_LEVEL_DEBUG;
    mpLog->mbConsole = true;
  }

  Logger* mpLog = nullptr;
  MemStream mOut;
  MemStream mErr;
};

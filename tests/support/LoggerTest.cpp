// Console formats, level gating, muting, the circular file and the LOG_AT
// macro. The log-sink records are covered in LoggerSinkTest.cpp.

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

#include "LogCapture.h"
#include "Logger.h"

namespace {

struct LevelCase {
  const char* label;
  MsgLevel_e level;
  const char* name;
  const char* escape;
  bool toStdErr;
};

const LevelCase kLevels[] = {
    {"Critical", MSG_LEVEL_CRITICAL, "CRITICAL", "\033[1;7m", true},
    {"Error", MSG_LEVEL_ERROR, "ERROR", "\033[1;31m", true},
    {"Warn", MSG_LEVEL_WARN, "WARN", "\033[1;33m", true},
    {"Info", MSG_LEVEL_INFO, "INFO", "\033[1;32m", false},
    {"Debug", MSG_LEVEL_DEBUG, "DEBUG", "\033[0;1m", false},
};

unsigned long long NowMs() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return static_cast<unsigned long long>(ts.tv_sec) * 1000ULL +
         static_cast<unsigned long long>(ts.tv_nsec) / 1000000ULL;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A unique scratch file, removed afterwards.
class TempPath {
 public:
  TempPath() {
    char tmpl[] = "/tmp/plovrest-log-XXXXXX";
    const int fd = mkstemp(tmpl);
    if (fd >= 0) close(fd);
    mPath = tmpl;
  }
  ~TempPath() { unlink(mPath.c_str()); }
  const char* c_str() const { return mPath.c_str(); }
  const std::string& str() const { return mPath; }

 private:
  std::string mPath;
};

class LoggerTest : public LoggerFixture {};

TEST_F(LoggerTest, EachLevelWritesItsPrefixAndStream) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = true;
  for (const LevelCase& c : kLevels) {
    SCOPED_TRACE(c.label);
    const std::string before = (c.toStdErr ? mErr : mOut).Text();
    const std::string otherBefore = (c.toStdErr ? mOut : mErr).Text();
    const unsigned long long t0 = NowMs();
    const int written = CallLevel(mpLog, c.level, "%s|%u|\"value %d\"", "Src.cpp", 42u, 7);
    const unsigned long long t1 = NowMs();

    const std::string line = (c.toStdErr ? mErr : mOut).Text().substr(before.size());
    EXPECT_EQ((c.toStdErr ? mOut : mErr).Text(), otherBefore) << "wrote to the wrong stream";

    const std::string suffix = "\n\033[0m";
    ASSERT_GE(line.size(), suffix.size());
    EXPECT_EQ(line.substr(line.size() - suffix.size()), suffix);
    unsigned long long stamp = 0;
    std::string rest;
    ASSERT_TRUE(SplitStamp(line, c.escape, &stamp, &rest)) << line;
    EXPECT_GE(stamp, t0);
    EXPECT_LE(stamp, t1 + 1);  // the logger rounds through a double
    const std::string message = "Src.cpp|42|\"value 7\"";
    EXPECT_EQ(rest, std::string("Plovre|") + c.name + "|" + message + suffix);
    EXPECT_EQ(written, static_cast<int>(message.size()));
  }
}

TEST_F(LoggerTest, LoggerLevelGatesEachFunction) {
  mpLog->mbConsole = true;
  const MsgLevel_e thresholds[] = {MSG_LEVEL_NOTSET, MSG_LEVEL_DEBUG, MSG_LEVEL_WARN,
                                   MSG_LEVEL_CRITICAL, static_cast<MsgLevel_e>(60)};
  for (MsgLevel_e threshold : thresholds) {
    mpLog->mLevel = threshold;
    for (const LevelCase& c : kLevels) {
      SCOPED_TRACE(std::string(c.label) + " at threshold " + std::to_string(threshold));
      MemStream& stream = c.toStdErr ? mErr : mOut;
      const size_t before = stream.Text().size();
      const int written = CallLevel(mpLog, c.level, "%s|%u|\"x\"", "F.cpp", 1u);
      const bool printed = stream.Text().size() > before;
      EXPECT_EQ(printed, c.level >= threshold);
      if (!printed) {
        EXPECT_EQ(written, 0);
      }
    }
  }
}

TEST_F(LoggerTest, ConsoleOffLeavesOnlyCritical) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = false;
  for (const LevelCase& c : kLevels) {
    SCOPED_TRACE(c.label);
    const std::string outBefore = mOut.Text();
    const std::string errBefore = mErr.Text();
    const int written = CallLevel(mpLog, c.level, "%s|%u|\"quiet\"", "F.cpp", 2u);
    if (c.level == MSG_LEVEL_CRITICAL) {
      EXPECT_NE(mErr.Text(), errBefore);
      EXPECT_GT(written, 0);
    } else {
      EXPECT_EQ(mErr.Text(), errBefore);
      EXPECT_EQ(written, 0);
    }
    EXPECT_EQ(mOut.Text(), outBefore);
  }
}

TEST_F(LoggerTest, MutedSilencesLevelsButNotNotify) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = true;
  mpLog->mbMuted = true;
  for (const LevelCase& c : kLevels) {
    EXPECT_EQ(CallLevel(mpLog, c.level, "%s|%u|\"hidden\"", "F.cpp", 3u), 0) << c.label;
  }
  EXPECT_EQ(mOut.Text(), "");
  EXPECT_EQ(mErr.Text(), "");

  // Without a sink, Notify prints its own yellow line whatever the level.
  mpLog->mLevel = MSG_LEVEL_CRITICAL;
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_INFO, "Title", "disk %d%% full", 93),
            static_cast<int>(std::string("disk 93% full").size()));
  const std::vector<std::string> lines = SplitLines(mErr.Text());
  ASSERT_EQ(lines.size(), 1u);
  unsigned long long stamp = 0;
  std::string rest;
  ASSERT_TRUE(SplitStamp(lines[0], "\033[0;33m", &stamp, &rest)) << lines[0];
  EXPECT_EQ(rest, "Plovre|INFO|disk 93% full");
  EXPECT_EQ(mErr.Text().substr(mErr.Text().size() - 5), "\n\033[0m");
}

TEST_F(LoggerTest, LevelNames) {
  const std::pair<int, const char*> table[] = {
      {0, "NOTSET"}, {10, "DEBUG"}, {20, "INFO"}, {30, "WARN"}, {40, "ERROR"},
      {50, "CRITICAL"}, {-1, ""}, {5, ""}, {15, ""}, {60, ""}, {100000, ""}};
  for (const auto& [value, name] : table) {
    EXPECT_STREQ(Logger::GetLevelName(static_cast<MsgLevel_e>(value)), name) << value;
  }
}

TEST_F(LoggerTest, DeleteInstanceIsIdempotent) {
  Logger::DeleteInstance();
  EXPECT_EQ(Logger::mpLogger, nullptr);
  Logger::DeleteInstance();
  EXPECT_EQ(Logger::mpLogger, nullptr);
  mpLog = Logger::GetInstance();
  ASSERT_NE(mpLog, nullptr);
  mpLog->mpConsoleOut = mOut.get();
  mpLog->mpConsoleErr = mErr.get();
}

TEST_F(LoggerTest, NullFormatIsIgnored) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = true;
  const char* noFormat = nullptr;
  EXPECT_EQ(mpLog->Critical(noFormat), 0);
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_INFO, "t", noFormat), 0);
  EXPECT_EQ(mErr.Text(), "");
}

// Two threads logging at once must not cut into each other's lines.
TEST_F(LoggerTest, ConcurrentCallsKeepLinesWhole) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = true;
  constexpr int kPerThread = 3000;
  std::atomic<int> ready{0};
  auto worker = [this, &ready](char tag) {
    ready.fetch_add(1);
    while (ready.load() < 2) {
    }
    for (int i = 0; i < kPerThread; ++i) mpLog->Warn("%s|%u|\"%c%04d\"", "T.cpp", 5u, tag, i);
  };
  std::thread a(worker, 'a');
  std::thread b(worker, 'b');
  a.join();
  b.join();
  const std::vector<std::string> lines = SplitLines(mErr.Text());
  ASSERT_EQ(lines.size(), 2u * kPerThread);
  int seen[2] = {0, 0};
  for (const std::string& line : lines) {
    unsigned long long stamp = 0;
    std::string rest;
    ASSERT_TRUE(SplitStamp(line, "\033[1;33m", &stamp, &rest)) << line;
    ASSERT_EQ(rest.size(), std::string("Plovre|WARN|T.cpp|5|\"a0000\"").size()) << rest;
    ASSERT_EQ(rest.compare(0, 19, "Plovre|WARN|T.cpp|5"), 0) << rest;
    const char tag = rest[21];
    ASSERT_TRUE(tag == 'a' || tag == 'b') << rest;
    EXPECT_EQ(std::stoi(rest.substr(22, 4)), seen[tag - 'a']++) << rest;
  }
}

// ---- LOG_AT ---------------------------------------------------------------

struct cProbe {
  static int mLogLevel;
  static Logger* mpLogger;
};
int cProbe::mLogLevel = 20;
Logger* cProbe::mpLogger = nullptr;

TEST_F(LoggerTest, LogAtChecksClassThresholdAndLogger) {
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->mbConsole = true;

  cProbe::mpLogger = nullptr;
  LOG_AT(cProbe, Warn, 30, "\"no logger %d\"", 1);
  EXPECT_EQ(mErr.Text(), "");

  cProbe::mpLogger = mpLog;
  cProbe::mLogLevel = 40;
  LOG_AT(cProbe, Warn, 30, "\"below class threshold %d\"", 2);
  EXPECT_EQ(mErr.Text(), "");

  cProbe::mLogLevel = 30;
  const unsigned line = __LINE__ + 1;
  LOG_AT(cProbe, Warn, 30, "\"got %d items\"", 3);
  const std::vector<std::string> lines = SplitLines(mErr.Text());
  ASSERT_EQ(lines.size(), 1u);
  unsigned long long stamp = 0;
  std::string rest;
  ASSERT_TRUE(SplitStamp(lines[0], "\033[1;33m", &stamp, &rest));
  EXPECT_EQ(rest, "Plovre|WARN|LoggerTest.cpp|" + std::to_string(line) + "|\"got 3 items\"");
  cProbe::mpLogger = nullptr;
}

// ---- circular file -------------------------------------------------------

TEST_F(LoggerTest, AttachFileSizeRules) {
  struct Case {
    unsigned total;
    unsigned count;
    unsigned expectedLimit;
    unsigned expectedCount;
  };
  const Case cases[] = {
      {4096, 1, 5120, 1},              // below the range: default kept
      {10240, 2, 5120, 2},             // divided by the count
      {5120, 1, 5120, 1},              // lower bound included
      {5242880, 4, 1310720, 4},        // upper bound included
      {5242881, 1, 5120, 1},           // above the range: default kept
      {20000, 0, 20000, 1},            // a count of 0 counts as 1
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.total) + "/" + std::to_string(c.count));
    Logger::DeleteInstance();
    mpLog = Logger::GetInstance();
    ASSERT_NE(mpLog, nullptr);
    TempPath path;
    EXPECT_FALSE(mpLog->AttachFile(path.c_str(), c.total, c.count));
    EXPECT_TRUE(mpLog->mbFileAttached);
    EXPECT_NE(mpLog->mpFile, nullptr);
    EXPECT_EQ(mpLog->mFileSizeLimit, c.expectedLimit);
    EXPECT_EQ(mpLog->mFileCount, c.expectedCount);
    EXPECT_TRUE(mpLog->DetachFile());
    EXPECT_FALSE(mpLog->mbFileAttached);
    EXPECT_EQ(mpLog->mpFile, nullptr);
  }
}

TEST_F(LoggerTest, AttachFileFailures) {
  EXPECT_FALSE(mpLog->AttachFile(nullptr, 10240, 1));
  EXPECT_FALSE(mpLog->mbFileAttached);
  EXPECT_EQ(mpLog->mFileSizeLimit, 10240u);  // the size is taken before the path is checked
  EXPECT_FALSE(mpLog->AttachFile("/nonexistent-dir/x/log.txt", 5120, 1));
  EXPECT_FALSE(mpLog->mbFileAttached);
  EXPECT_EQ(mpLog->mpFile, nullptr);
}

TEST_F(LoggerTest, FileStartsWithHeaderAndTakesBoldLines) {
  TempPath path;
  mpLog->mLevel = MSG_LEVEL_INFO;
  mpLog->mbConsole = true;
  EXPECT_FALSE(mpLog->AttachFile(path.c_str(), 5120, 1));
  mpLog->Info("%s|%u|\"first %s\"", "Io.cpp", 10u, "entry");
  mpLog->Debug("%s|%u|\"below threshold\"", "Io.cpp", 11u);
  mpLog->Error("%s|%u|\"second\"", "Io.cpp", 12u);

  std::istringstream in(ReadFile(path.str()));
  std::string header;
  std::getline(in, header);
  const size_t bar = header.find('|');
  ASSERT_NE(bar, std::string::npos) << header;
  EXPECT_GT(bar, 0u);
  EXPECT_EQ(header.find_first_not_of("0123456789"), bar);
  EXPECT_EQ(header.substr(bar), "|Count 0000000000");

  std::string body((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::vector<std::string> lines = SplitLines(body);
  ASSERT_EQ(lines.size(), 2u);
  unsigned long long stamp = 0;
  std::string rest;
  ASSERT_TRUE(SplitStamp(lines[0], "\033[0;1m", &stamp, &rest)) << lines[0];
  EXPECT_EQ(rest, "Plovre|INFO|Io.cpp|10|\"first entry\"");
  ASSERT_TRUE(SplitStamp(lines[1], "\033[0;1m", &stamp, &rest)) << lines[1];
  EXPECT_EQ(rest, "Plovre|ERROR|Io.cpp|12|\"second\"");
  // The console still got its own coloured lines.
  EXPECT_EQ(SplitLines(mOut.Text()).size(), 1u);
  EXPECT_EQ(SplitLines(mErr.Text()).size(), 1u);
}

TEST_F(LoggerTest, FileWrapsInPlaceBehindANewHeader) {
  TempPath path;
  mpLog->mLevel = MSG_LEVEL_DEBUG;
  mpLog->AttachFile(path.c_str(), 5120, 1);
  ASSERT_EQ(mpLog->mRewindCount, 1);

  // Fill until the first wrap.
  int n = 0;
  while (mpLog->mRewindCount == 1 && n < 1000) {
    mpLog->Debug("%s|%u|\"old line %04d padded to a steady length .........\"", "Ring.cpp", 1u, n++);
  }
  ASSERT_EQ(mpLog->mRewindCount, 2);
  const std::string wrapped = ReadFile(path.str());
  EXPECT_GT(wrapped.size(), 5120u);
  EXPECT_LT(wrapped.size(), 5120u + 200u);
  // Only the header has been rewritten so far: the old lines are all there.
  EXPECT_EQ(wrapped.substr(wrapped.find('|'), 18), "|Count 0000000001\n");
  char last[32];
  std::snprintf(last, sizeof(last), "old line %04d", n - 1);
  EXPECT_NE(wrapped.find("old line 0000"), std::string::npos);
  EXPECT_NE(wrapped.find(last), std::string::npos);

  for (int i = 0; i < 3; ++i) mpLog->Debug("%s|%u|\"new %d\"", "Ring.cpp", 2u, i);
  const std::string after = ReadFile(path.str());
  // Not truncated: same size, the oldest lines overwritten in place and the
  // tail beyond the new lines untouched.
  ASSERT_EQ(after.size(), wrapped.size());
  const std::string endOfNew = "\"new 2\"\n\033[0m";
  const size_t cut = after.find(endOfNew);
  ASSERT_NE(cut, std::string::npos);
  EXPECT_EQ(after.substr(cut + endOfNew.size()), wrapped.substr(cut + endOfNew.size()));
  EXPECT_EQ(after.find("old line 0000"), std::string::npos);
  EXPECT_NE(after.find(last), std::string::npos);

  std::istringstream in(after);
  std::string header;
  std::getline(in, header);
  EXPECT_EQ(header.substr(header.find('|')), "|Count 0000000001");
  std::string firstLine;
  std::getline(in, firstLine);
  EXPECT_NE(firstLine.find("|Ring.cpp|2|\"new 0\""), std::string::npos) << firstLine;
}

// /dev/full accepts the open but fails every flushed write: the file error
// path. Whether the file comes back depends on the console flag.
TEST_F(LoggerTest, FileErrorReopensOnlyWithConsoleOn) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "/dev/full not available";
  struct Case {
    bool console;
    bool reopened;
  };
  for (const Case c : {Case{false, false}, Case{true, true}}) {
    SCOPED_TRACE(c.console ? "console on" : "console off");
    Logger::DeleteInstance();
    mpLog = Logger::GetInstance();
    ASSERT_NE(mpLog, nullptr);
    MemStream out;
    MemStream err;
    mpLog->mpConsoleOut = out.get();
    mpLog->mpConsoleErr = err.get();
    SetShortName(mpLog);
    mpLog->mbConsole = c.console;
    mpLog->AttachFile("/dev/full", 5120, 1);
    ASSERT_NE(mpLog->mpFile, nullptr);
    const int rewinds = mpLog->mRewindCount;

    mpLog->Error("%s|%u|\"lost\"", "Full.cpp", 1u);
    EXPECT_EQ(mpLog->mpFile != nullptr, c.reopened);
    EXPECT_EQ(mpLog->mRewindCount, c.reopened ? rewinds + 1 : rewinds);
    EXPECT_TRUE(mpLog->mbFileAttached);

    const std::string outBefore = out.Text();
    mpLog->Error("%s|%u|\"next\"", "Full.cpp", 2u);
    const std::string outAdded = out.Text().substr(outBefore.size());
    if (c.reopened) {
      // The console has the line in red on stderr; nothing goes to stdout.
      EXPECT_EQ(outAdded, "");
    } else {
      // No file and no console: the bold file line goes to standard output.
      unsigned long long stamp = 0;
      std::string rest;
      ASSERT_TRUE(SplitStamp(outAdded, "\033[0;1m", &stamp, &rest)) << outAdded;
      EXPECT_EQ(rest, "Plovre|ERROR|Full.cpp|2|\"next\"\n\033[0m");
    }
    mpLog->DetachFile();
    mpLog->mpConsoleOut = mOut.get();
    mpLog->mpConsoleErr = mErr.get();
  }
}

}  // namespace

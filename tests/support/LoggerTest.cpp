// Console formats, level gating, Notify on the console, the circular file and
// the LOG_AT macro. The log-sink records are covered in LoggerSinkTest.cpp.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "LogCapture.h"
#include "Logger.h"

namespace {

const struct LevelCase {
  MsgLevel_e level;
  const char* name;
  const char* escape;
  bool toStdErr;
} kLevels[] = {
    {MSG_LEVEL_CRITICAL, "CRITICAL", "\033[1;7m", true}, {MSG_LEVEL_ERROR, "ERROR", "\033[1;31m", true},
    {MSG_LEVEL_WARN, "WARN", "\033[1;33m", true},        {MSG_LEVEL_INFO, "INFO", "\033[1;32m", false},
    {MSG_LEVEL_DEBUG, "DEBUG", "\033[0;1m", false},
};
const char* const kBold = "\033[0;1m";  // file lines, and their stand-in on stdout

unsigned long long NowMs() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return static_cast<unsigned long long>(ts.tv_sec) * 1000ULL + ts.tv_nsec / 1000000;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A unique scratch file, removed afterwards.
struct TempFile {
  std::string path = [] { char name[] = "/tmp/plovrest-log-XXXXXX"; close(mkstemp(name)); return std::string(name); }();
  ~TempFile() { unlink(path.c_str()); }
};

using LoggerTest = LoggerFixture;

TEST_F(LoggerTest, EachLevelWritesItsPrefixAndStream) {
  for (const LevelCase& c : kLevels) {
    SCOPED_TRACE(c.name);
    MemStream& mine = c.toStdErr ? mErr : mOut;
    MemStream& other = c.toStdErr ? mOut : mErr;
    const size_t before = mine.Text().size(), otherBefore = other.Text().size();
    const unsigned long long t0 = NowMs();
    const int written = CallLevel(mpLog, c.level, "%s|%u|\"value %d\"", "Src.cpp", 42u, 7);
    const unsigned long long t1 = NowMs();
    EXPECT_EQ(other.Text().size(), otherBefore) << "wrote to the wrong stream";
    unsigned long long stamp = 0;
    EXPECT_EQ(Unstamp(mine.Text().substr(before), c.escape, &stamp),
              std::string("Plovre|") + c.name + "|Src.cpp|42|\"value 7\"\n\033[0m");
    EXPECT_GE(stamp, t0);
    EXPECT_LE(stamp, t1 + 1);  // the logger rounds through a double
    EXPECT_EQ(written, static_cast<int>(std::strlen("Src.cpp|42|\"value 7\"")));
  }
}

// Which levels print (by initial) for a threshold, the console flag and the
// mute flag. Critical ignores only the console flag.
TEST_F(LoggerTest, ThresholdConsoleAndMuteGateTheLevels) {
  const struct { int threshold; bool console, muted; const char* printed; } cases[] = {
      {0, true, false, "CEWID"}, {30, true, false, "CEW"}, {50, true, false, "C"},
      {60, true, false, ""},     {10, false, false, "C"},  {10, true, true, ""},
  };
  for (const auto& c : cases) {
    mpLog->mLevel = static_cast<MsgLevel_e>(c.threshold);
    mpLog->mbConsole = c.console;
    mpLog->mbMuted = c.muted;
    for (const LevelCase& l : kLevels) {
      SCOPED_TRACE(std::string(l.name) + " at " + std::to_string(c.threshold) +
                   (c.console ? "" : " console off") + (c.muted ? " muted" : ""));
      const size_t before = mOut.Text().size() + mErr.Text().size();
      const int written = CallLevel(mpLog, l.level, "%s|%u|\"x\"", "F.cpp", 1u);
      const bool printed = mOut.Text().size() + mErr.Text().size() > before;
      EXPECT_EQ(printed, std::strchr(c.printed, l.name[0]) != nullptr);
      EXPECT_EQ(written, printed ? static_cast<int>(std::strlen("F.cpp|1|\"x\"")) : 0);
    }
  }
}

// Without a sink, Notify prints its own yellow line whatever the threshold and
// the mute flag. A null format is ignored by Notify and the level functions.
TEST_F(LoggerTest, NotifyWithoutSinkAndNullFormats) {
  const char* noFormat = nullptr;
  EXPECT_EQ(mpLog->Critical(noFormat), 0);
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_INFO, "t", noFormat), 0);
  EXPECT_EQ(mErr.Text(), "");

  mpLog->mLevel = MSG_LEVEL_CRITICAL;
  mpLog->mbMuted = true;
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_INFO, "Title", "disk %d%% full", 93), 13);
  mpLog->Notify(MSG_LEVEL_NOTSET, "Title", "%s", "a");
  mpLog->Notify(static_cast<MsgLevel_e>(15), nullptr, "%s", "b");
  const std::vector<std::string> lines = SplitLines(mErr.Text());
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(Unstamp(lines[0], "\033[0;33m"), "Plovre|INFO|disk 93% full");
  EXPECT_EQ(Unstamp(lines[1], "\033[0;33m"), "Plovre|NOTSET|a");
  EXPECT_EQ(Unstamp(lines[2], "\033[0;33m"), "Plovre||b");  // other values have no name
  EXPECT_EQ(mOut.Text(), "");
}

// Two threads logging at once must not cut into each other's lines.
TEST_F(LoggerTest, ConcurrentCallsKeepLinesWhole) {
  constexpr int kPerThread = 3000;
  std::atomic<int> ready{0};
  auto worker = [this, &ready](char tag) {
    ready.fetch_add(1);
    while (ready.load() < 2) {
    }
    for (int i = 0; i < kPerThread; ++i) mpLog->Warn("%s|%u|\"%c%04d\"", "T.cpp", 5u, tag, i);
  };
  std::thread a(worker, 'a'), b(worker, 'b');
  a.join();
  b.join();
  const std::vector<std::string> lines = SplitLines(mErr.Text());
  ASSERT_EQ(lines.size(), 2u * kPerThread);
  int seen[2] = {0, 0};
  for (const std::string& line : lines) {
    const std::string rest = Unstamp(line, "\033[1;33m");
    ASSERT_EQ(rest.size(), std::strlen("Plovre|WARN|T.cpp|5|\"a0000\"")) << rest;
    ASSERT_EQ(rest.compare(0, 21, "Plovre|WARN|T.cpp|5|\""), 0) << rest;
    const char tag = rest[21];
    ASSERT_TRUE(tag == 'a' || tag == 'b') << rest;
    EXPECT_EQ(std::stoi(rest.substr(22, 4)), seen[tag - 'a']++) << rest;
  }
}

struct cProbe {
  static int mLogLevel;
  static Logger* mpLogger;
};
int cProbe::mLogLevel = 40;
Logger* cProbe::mpLogger = nullptr;

TEST_F(LoggerTest, LogAtChecksClassThresholdAndLogger) {
  LOG_AT(cProbe, Warn, 30, "\"no logger %d\"", 1);
  cProbe::mpLogger = mpLog;
  LOG_AT(cProbe, Warn, 30, "\"below class threshold %d\"", 2);
  EXPECT_EQ(mErr.Text(), "");
  cProbe::mLogLevel = 30;
  const unsigned line = __LINE__ + 1;
  LOG_AT(cProbe, Warn, 30, "\"got %d items\"", 3);
  EXPECT_EQ(Unstamp(mErr.Text(), "\033[1;33m"),
            "Plovre|WARN|LoggerTest.cpp|" + std::to_string(line) + "|\"got 3 items\"\n\033[0m");
  cProbe::mpLogger = nullptr;
}

TEST_F(LoggerTest, AttachFileSizeRulesAndFailures) {
  const struct { unsigned total, count, limit, files; } cases[] = {
      {4096, 1, 5120, 1},        // below the range: default kept
      {5120, 2, 2560, 2},        // lower bound included, divided by the count
      {5242880, 4, 1310720, 4},  // upper bound included
      {5242881, 1, 5120, 1},     // above the range: default kept
      {20000, 0, 20000, 1},      // a count of 0 counts as 1
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.total) + "/" + std::to_string(c.count));
    Fresh();
    TempFile file;
    EXPECT_FALSE(mpLog->AttachFile(file.path.c_str(), c.total, c.count));  // false even when open
    EXPECT_TRUE(mpLog->mbFileAttached && mpLog->mpFile != nullptr);
    EXPECT_EQ(mpLog->mFileSizeLimit, c.limit);
    EXPECT_EQ(mpLog->mFileCount, c.files);
    EXPECT_TRUE(mpLog->DetachFile());
    EXPECT_FALSE(mpLog->mbFileAttached || mpLog->mpFile != nullptr);
  }
  // Failures attach nothing; the size is taken before the path is checked.
  Fresh();
  EXPECT_FALSE(mpLog->AttachFile(nullptr, 10240, 1));
  EXPECT_EQ(mpLog->mFileSizeLimit, 10240u);
  EXPECT_FALSE(mpLog->AttachFile("/nonexistent-dir/x/log.txt", 5120, 1));
  EXPECT_FALSE(mpLog->mbFileAttached || mpLog->mpFile != nullptr);
}

// A "Count" header, then bold lines (the console keeps its own). Past the
// limit the file wraps in place: a new header, then the oldest lines
// overwritten without truncating.
TEST_F(LoggerTest, FileHeaderLinesAndWrap) {
  TempFile file;
  mpLog->mLevel = MSG_LEVEL_INFO;
  mpLog->AttachFile(file.path.c_str(), 5120, 1);
  mpLog->Debug("%s|%u|\"below threshold\"", "Io.cpp", 11u);
  mpLog->Error("%s|%u|\"first %s\"", "Io.cpp", 12u, "entry");
  const std::string text = ReadFile(file.path);
  const size_t eol = text.find('\n');
  EXPECT_EQ(Unstamp(text.substr(0, eol)), "Count 0000000000");
  EXPECT_EQ(Unstamp(text.substr(eol + 1), kBold), "Plovre|ERROR|Io.cpp|12|\"first entry\"\n\033[0m");
  EXPECT_EQ(SplitLines(mErr.Text()).size(), 1u);

  int n = 0;
  while (mpLog->mRewindCount == 1 && n < 1000) {
    mpLog->Info("%s|%u|\"old line %04d padded to a steady length .........\"", "Ring.cpp", 1u, n++);
  }
  ASSERT_EQ(mpLog->mRewindCount, 2);
  const std::string wrapped = ReadFile(file.path);
  EXPECT_GT(wrapped.size(), 5120u);
  EXPECT_LT(wrapped.size(), 5120u + 200u);
  EXPECT_EQ(wrapped.substr(wrapped.find('|'), 18), "|Count 0000000001\n");
  EXPECT_NE(wrapped.find("first entry"), std::string::npos);  // only the header rewritten so far

  for (int i = 0; i < 3; ++i) mpLog->Info("%s|%u|\"new %d\"", "Ring.cpp", 2u, i);
  const std::string after = ReadFile(file.path);
  ASSERT_EQ(after.size(), wrapped.size());
  const std::string endOfNew = "\"new 2\"\n\033[0m";
  const size_t cut = after.find(endOfNew);
  ASSERT_NE(cut, std::string::npos);
  EXPECT_EQ(after.substr(cut + endOfNew.size()), wrapped.substr(cut + endOfNew.size()));
  EXPECT_EQ(after.find("first entry"), std::string::npos);
  EXPECT_EQ(Unstamp(SplitLines(after.substr(after.find('\n') + 1))[0], kBold), "Plovre|INFO|Ring.cpp|2|\"new 0\"");
}

// /dev/full accepts the open but fails every flushed write: the file error
// path. Whether the file comes back depends on the console flag.
TEST_F(LoggerTest, FileErrorReopensOnlyWithConsoleOn) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "/dev/full not available";
  for (const bool console : {false, true}) {
    SCOPED_TRACE(console ? "console on" : "console off");
    Fresh();
    mpLog->mbConsole = console;
    mpLog->AttachFile("/dev/full", 5120, 1);
    ASSERT_NE(mpLog->mpFile, nullptr);
    const int rewinds = mpLog->mRewindCount;
    mpLog->Error("%s|%u|\"lost\"", "Full.cpp", 1u);
    EXPECT_EQ(mpLog->mpFile != nullptr, console);
    EXPECT_EQ(mpLog->mRewindCount, rewinds + (console ? 1 : 0));
    EXPECT_TRUE(mpLog->mbFileAttached);

    // Without file and console the bold file line goes to standard output;
    // with the console on, the red line on stderr is enough.
    const size_t before = mOut.Text().size();
    mpLog->Error("%s|%u|\"next\"", "Full.cpp", 2u);
    const std::string added = mOut.Text().substr(before);
    EXPECT_EQ(console ? added : Unstamp(added, kBold), console ? "" : "Plovre|ERROR|Full.cpp|2|\"next\"\n\033[0m");
  }
}

}  // namespace

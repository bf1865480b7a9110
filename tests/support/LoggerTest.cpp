// The logger: console lines, level gates, Notify, the circular file, LOG_AT,
// and the log-sink records (collectors bound inside the private namespace).

#include <czmq.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/mount.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Captured.h"
#include "DaemonHarness.h"
#include "Logger.h"

namespace {

const struct LevelCase { MsgLevel_e level; const char* name; const char* escape; bool toStdErr; } kLevels[] = {
    {MSG_LEVEL_CRITICAL, "CRITICAL", "\033[1;7m", true}, {MSG_LEVEL_ERROR, "ERROR", "\033[1;31m", true},
    {MSG_LEVEL_WARN, "WARN", "\033[1;33m", true},        {MSG_LEVEL_INFO, "INFO", "\033[1;32m", false},
    {MSG_LEVEL_DEBUG, "DEBUG", "\033[0;1m", false},
};
const char* const kBold = "\033[0;1m";  // file lines, and their stand-in on stdout

unsigned long long NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// A unique scratch file, removed afterwards.
struct TempFile {
  std::string path = [] { char name[] = "/tmp/plovrest-log-XXXXXX"; close(mkstemp(name)); return std::string(name); }();
  ~TempFile() { unlink(path.c_str()); }
};

// Splits on "\n\033[0m", the end of every console and file line.
std::vector<std::string> SplitLines(std::string text) {
  static const std::string kEnd = "\n\033[0m";
  std::vector<std::string> lines;
  for (size_t pos; (pos = text.find(kEnd)) != std::string::npos; text.erase(0, pos + kEnd.size())) {
    lines.push_back(text.substr(0, pos));
  }
  if (!text.empty()) lines.push_back(text);
  return lines;
}

// "<escape><milliseconds>|<rest>" gives <rest> (and the stamp in *stamp);
// any other shape gives "?" and the whole line, which no expectation matches.
std::string Unstamp(const std::string& line, const std::string& escape = "", unsigned long long* stamp = nullptr) {
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


// Every test gets a newly built instance at level DEBUG, console on, named as
// start-up names it (six characters; the daemon-process test checks that).
class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override { Fresh(); }
  void TearDown() override { Logger::DeleteInstance(); }
  void Fresh() {
    Logger::DeleteInstance();
    mpLog = Logger::GetInstance();
    ASSERT_NE(mpLog, nullptr);
    std::strcpy(mpLog->mName, "Plovre");
    mpLog->mLevel = MSG_LEVEL_DEBUG;
    mpLog->mbConsole = true;
  }
  Logger* mpLog = nullptr;
};

// Which levels print (by initial) for a threshold, the console flag and the
// mute flag (Critical ignores only the console flag); what prints is a stamped
// line in the level's colour on its stream, and the result counts the text.
TEST_F(LoggerTest, LevelsPrintTheirLineOnTheirStreamWhereTheGatesLetThem) {
  const struct { int threshold; bool console, muted; const char* printed; } cases[] = {
      {0, true, false, "CEWID"}, {30, true, false, "CEW"}, {50, true, false, "C"},
      {60, true, false, ""},     {10, false, false, "C"},  {10, true, true, ""},
  };
  const int length = static_cast<int>(std::strlen("Src.cpp|42|\"value 7\""));
  for (const auto& c : cases) {
    mpLog->mLevel = static_cast<MsgLevel_e>(c.threshold);
    mpLog->mbConsole = c.console;
    mpLog->mbMuted = c.muted;
    for (const LevelCase& l : kLevels) {
      SCOPED_TRACE(std::string(l.name) + " at " + std::to_string(c.threshold) +
                   (c.console ? "" : " console off") + (c.muted ? " muted" : ""));
      int written = 0;
      const unsigned long long t0 = NowMs();
      const auto [out, err] = Captured([&] { written = CallLevel(mpLog, l.level, "%s|%u|\"value %d\"", "Src.cpp", 42u, 7); });
      const unsigned long long t1 = NowMs();
      const bool printed = std::strchr(c.printed, l.name[0]) != nullptr;
      EXPECT_EQ(written, printed ? length : 0);
      EXPECT_EQ(l.toStdErr ? out : err, "") << "wrote to the wrong stream";
      unsigned long long stamp = t0;
      EXPECT_EQ(Unstamp(l.toStdErr ? err : out, l.escape, printed ? &stamp : nullptr),
                printed ? std::string("Plovre|") + l.name + "|Src.cpp|42|\"value 7\"\n\033[0m" : "?");
      EXPECT_GE(stamp, t0);
      EXPECT_LE(stamp, t1 + 1);  // the logger rounds through a double
    }
  }
}

// Without a sink, Notify prints its own yellow line whatever the threshold and
// the mute flag. A null format is ignored by Notify and the level functions.
TEST_F(LoggerTest, NotifyWithoutSinkAndNullFormats) {
  const char* noFormat = nullptr;
  int results[3] = {1, 1, 0};
  const auto [out, err] = Captured([&] {
    results[0] = mpLog->Critical(noFormat);
    results[1] = mpLog->Notify(MSG_LEVEL_INFO, "t", noFormat);
    mpLog->mLevel = MSG_LEVEL_CRITICAL;
    mpLog->mbMuted = true;
    results[2] = mpLog->Notify(MSG_LEVEL_INFO, "Title", "disk %d%% full", 93);
    mpLog->Notify(MSG_LEVEL_NOTSET, "Title", "%s", "a");
    mpLog->Notify(static_cast<MsgLevel_e>(15), nullptr, "%s", "b");
  });
  EXPECT_THAT(results, testing::ElementsAre(0, 0, 13));
  const std::vector<std::string> lines = SplitLines(err);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(Unstamp(lines[0], "\033[0;33m"), "Plovre|INFO|disk 93% full");
  EXPECT_EQ(Unstamp(lines[1], "\033[0;33m"), "Plovre|NOTSET|a");
  EXPECT_EQ(Unstamp(lines[2], "\033[0;33m"), "Plovre||b");  // other values have no name
  EXPECT_EQ(out, "");
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
  const std::vector<std::string> lines = SplitLines(Captured([&] {
                                                     std::thread a(worker, 'a'), b(worker, 'b');
                                                     a.join();
                                                     b.join();
                                                   }).second);
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
  unsigned line = 0;
  const std::string err = Captured([&] {
                            LOG_AT(cProbe, Warn, 30, "\"no logger %d\"", 1);
                            cProbe::mpLogger = mpLog;
                            LOG_AT(cProbe, Warn, 30, "\"below class threshold %d\"", 2);
                            cProbe::mLogLevel = 30;
                            line = __LINE__ + 1;
                            LOG_AT(cProbe, Warn, 30, "\"got %d items\"", 3);
                          }).second;
  EXPECT_EQ(Unstamp(err, "\033[1;33m"),
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
  const std::string err = Captured([&] {
                            mpLog->Debug("%s|%u|\"below threshold\"", "Io.cpp", 11u);
                            mpLog->Error("%s|%u|\"first %s\"", "Io.cpp", 12u, "entry");
                          }).second;
  const std::string text = harness::ReadText(file.path);
  const size_t eol = text.find('\n');
  EXPECT_EQ(Unstamp(text.substr(0, eol)), "Count 0000000000");
  EXPECT_EQ(Unstamp(text.substr(eol + 1), kBold), "Plovre|ERROR|Io.cpp|12|\"first entry\"\n\033[0m");
  EXPECT_EQ(SplitLines(err).size(), 1u);

  Captured([&] {
    for (int n = 0; mpLog->mRewindCount == 1 && n < 1000; ++n) {
      mpLog->Info("%s|%u|\"old line %04d padded to a steady length .........\"", "Ring.cpp", 1u, n);
    }
  });
  ASSERT_EQ(mpLog->mRewindCount, 2);
  const std::string wrapped = harness::ReadText(file.path);
  EXPECT_GT(wrapped.size(), 5120u);
  EXPECT_LT(wrapped.size(), 5120u + 200u);
  EXPECT_EQ(wrapped.substr(wrapped.find('|'), 18), "|Count 0000000001\n");
  EXPECT_NE(wrapped.find("first entry"), std::string::npos);  // only the header rewritten so far

  Captured([&] {
    for (int i = 0; i < 3; ++i) mpLog->Info("%s|%u|\"new %d\"", "Ring.cpp", 2u, i);
  });
  const std::string after = harness::ReadText(file.path);
  ASSERT_EQ(after.size(), wrapped.size());
  const std::string endOfNew = "\"new 2\"\n\033[0m";
  const size_t cut = after.find(endOfNew);
  ASSERT_NE(cut, std::string::npos);
  EXPECT_EQ(after.substr(cut + endOfNew.size()), wrapped.substr(cut + endOfNew.size()));
  EXPECT_EQ(after.find("first entry"), std::string::npos);
  EXPECT_EQ(Unstamp(SplitLines(after.substr(after.find('\n') + 1))[0], kBold), "Plovre|INFO|Ring.cpp|2|\"new 0\"");
}

// /dev/full accepts the open but fails every flushed write. With the console
// off the file is not reopened and its lines go to standard output instead
// (console on, the reopen is covered end to end on a full file system).
TEST_F(LoggerTest, FileErrorWithConsoleOffFallsBackToStdout) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "/dev/full not available";
  mpLog->mbConsole = false;
  mpLog->AttachFile("/dev/full", 5120, 1);
  ASSERT_NE(mpLog->mpFile, nullptr);
  const int rewinds = mpLog->mRewindCount;
  Captured([&] { mpLog->Error("%s|%u|\"lost\"", "Full.cpp", 1u); });
  EXPECT_EQ(mpLog->mpFile, nullptr);
  EXPECT_EQ(mpLog->mRewindCount, rewinds);
  EXPECT_TRUE(mpLog->mbFileAttached);
  const std::string added = Captured([&] { mpLog->Error("%s|%u|\"next\"", "Full.cpp", 2u); }).first;
  EXPECT_EQ(Unstamp(added, kBold), "Plovre|ERROR|Full.cpp|2|\"next\"\n\033[0m");
}

const std::string kTcp = "tcp://169.254.2.2:9000";
const std::string kIpc = "ipc:///run/shm/mq/loggerSinkMq.ipc";
const std::string kHead = "{\"MsgType\":0,\"Level\":";

class LoggerSinkTest : public LoggerTest {
 protected:
  // The collectors stay bound for the whole suite: a port released by a
  // closed socket is not free again at once.
  static void SetUpTestSuite() {
    for (int i = 0; i < 2; ++i) {
      spPull[i] = zsock_new(ZMQ_PULL);
      ASSERT_NE(spPull[i], nullptr);
      ASSERT_NE(zsock_bind(spPull[i], "%s", (i ? kIpc : kTcp).c_str()), -1) << (i ? kIpc : kTcp);
    }
  }
  static void TearDownTestSuite() {
    for (zsock_t*& pull : spPull) zsock_destroy(&pull);
  }

  // Attaches the logger and returns the record of its own "Connected" line.
  std::string Attach(bool ipc) {
    mPull = ipc;
    EXPECT_TRUE(ipc ? mpLog->AttachMqOverIpc() : mpLog->AttachMqOverTcp());
    return Recv();
  }

  // The next record, or "" (and a failure) when none arrives in 5 s.
  std::string Recv() {
    const auto record = harness::Receive(spPull[mPull], harness::Ms(5000));
    EXPECT_TRUE(record.has_value()) << "no record arrived";
    return record ? record->topic : "";
  }

  // The "Message" member of the next record, without its time stamp.
  std::string RecvMessage() {
    const std::string record = Recv();
    rapidjson::Document doc;
    doc.Parse(record.c_str());
    return doc.IsObject() && doc.HasMember("Message") ? Unstamp(doc["Message"].GetString()) : "?" + record;
  }

  static zsock_t* spPull[2];
  int mPull = 0;
};

zsock_t* LoggerSinkTest::spPull[2] = {nullptr, nullptr};

TEST_F(LoggerSinkTest, LongMessageIsCutInTheSinkOnly) {
  Attach(true);
  const std::string text(3000, 'z');
  int written = 0;
  const std::string err = Captured([&] { written = mpLog->Warn("%s|%u|\"%s\"", "Long.cpp", 77u, text.c_str()); }).second;
  // The record text is composed within 2047 bytes, terminator included: 2046
  // less the 13-digit stamp and its bar.
  const std::string message = RecvMessage();
  EXPECT_EQ(message.size(), 2046u - 14u);
  EXPECT_EQ(message.compare(0, 25, "Plovre|WARN|Long.cpp|77|\""), 0) << message.substr(0, 40);
  EXPECT_EQ(message.find_first_not_of('z', 25), std::string::npos);
  // The console line is whole; the result counts the caller's full text.
  EXPECT_THAT(err, testing::EndsWith("|Long.cpp|77|\"" + text + "\"\n\033[0m"));
  EXPECT_EQ(written, static_cast<int>(std::strlen("Long.cpp|77|\"\"") + text.size()));
}

TEST_F(LoggerSinkTest, NotifyAndSendJsonRecords) {
  Attach(false);
  mpLog->mbMuted = true;  // does not apply to Notify
  mpLog->mLevel = MSG_LEVEL_CRITICAL;
  int result = 0;
  const auto [out, err] = Captured([&] {
    result = mpLog->Notify(MSG_LEVEL_WARN, "Storage", "Disk %d%% full", 91);
    mpLog->Notify(MSG_LEVEL_ERROR, nullptr, "%s", "untitled");
  });
  EXPECT_EQ(result, 13);
  EXPECT_EQ(out + err, "");  // with a sink, Notify prints nothing
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":30,\"Name\":\"Plovre\",\"Message\":\"Disk 91% full\",\"Title\":\"Storage\"}");
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":40,\"Name\":\"Plovre\",\"Message\":\"untitled\"}");
  // Only a notify record carries a title.
  EXPECT_TRUE(mpLog->SendJson(MSG_TYPE_LOG, static_cast<MsgLevel_e>(7), "m", "ignored"));
  EXPECT_EQ(Recv(), kHead + "7,\"Name\":\"Plovre\",\"Message\":\"m\"}");
  EXPECT_FALSE(mpLog->SendJson(MSG_TYPE_LOG, MSG_LEVEL_ERROR, nullptr, nullptr));
}

// The circular log file on a file system that fills up (a 4 kB tmpfs): the
// logger keeps working, the file never exceeds the space, and it holds the
// latest line once it has been reopened.
TEST(LoggerFile, FullFileSystemIsSurvived) {
  char dir[] = "/tmp/plovrest-full-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  ASSERT_EQ(mount("tmpfs", dir, "tmpfs", 0, "size=4k"), 0) << "needs the private namespace";
  const std::string path = std::string(dir) + "/plovrest.log";
  Logger* log = Logger::GetInstance();
  log->mbConsole = true;
  log->mpConsoleOut = log->mpConsoleErr = fopen("/dev/null", "w");
  log->AttachFile(path.c_str(), 10240, 1);
  for (int i = 0; i < 2000; ++i) log->Error("line %d of a file system that fills up", i);
  log->Error("last line");
  log->DetachFile();
  EXPECT_LE(std::filesystem::file_size(path), 4096u);
  EXPECT_THAT(harness::ReadText(path), testing::HasSubstr("last line"));
  EXPECT_EQ(umount(dir), 0);
  rmdir(dir);
}

}  // namespace

// The daemon as its supervisor sees it: command line, start-up lines, the
// endpoints it binds, signals and the exit status.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "AltSignalStack.h"
#include "DaemonHarness.h"
#include "Frame/ProcessFrame.h"

using harness::DaemonProcess;
using harness::Ms;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

using Args = std::vector<std::string>;

// Help, a slot out of range either way, a missing value, and a bad option
// after a good one: only the usage text, status 1, and no stop line.
TEST(DaemonProcess, RejectedCommandLinesPrintOnlyTheUsage) {
  const std::string usage = "Usage: " + harness::DaemonPath() +
                            " -s <slot number>[1] 1->Slot-1, 2->Slot-2 ,3->Slot-3]\n\t -i <interface>[eth0]\n";
  for (const Args& args : {Args{"-h"}, Args{"-s", "4"}, Args{"-s", "-1"}, Args{"-s"}, Args{"-s", "1", "-s", "9"}}) {
    DaemonProcess daemon(args);
    EXPECT_EQ(daemon.WaitExit(Ms(5000)), 1) << args.back();
    EXPECT_EQ(daemon.Stderr(), usage);
    EXPECT_THAT(daemon.Stdout(), Not(HasSubstr("SignalValue")));
  }
}

// The interface's own address stands for slot 0 (text reads as 0); slots 1
// to 3 take the card's fixed link-local address whatever the interface has.
TEST(DaemonProcess, LogsTheAddressOfItsSlot) {
  const struct { Args args; const char* line; } cases[] = {
      {{"-i", "lo"}, "\"Got IP for lo : 127.0.0.1 @ slot 0\""},
      {{"-s", "abc", "-i", "lo"}, "\"Got IP for lo : 127.0.0.1 @ slot 0\""},
      {{"-s", "1", "-i", "lo"}, "\"Got IP for lo : 169.254.2.3 @ slot 1\""},
      {{"-s", "3", "-i", "nosuch0"}, "\"Got IP for nosuch0 : 169.254.2.2 @ slot 3\""},
  };  // slot 2: the log-sink test below
  for (const auto& c : cases) {
    DaemonProcess daemon(c.args);
    EXPECT_TRUE(daemon.WaitForStdout(c.line, Ms(5000))) << daemon.Stdout();
    ASSERT_TRUE(daemon.WaitForStdout("thread out of wait", Ms(5000)));  // own handlers installed
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.WaitExit(Ms(5000)), 0);
  }
}

// Each stop signal joins the worker, then prints the signal as the last line;
// a segmentation fault exits 11 at once, without that line.
TEST(DaemonProcess, StopSignalsStopInOrderAndPrintTheSignal) {
  for (const int sig : {SIGTERM, SIGINT, SIGABRT, SIGSEGV}) {
    DaemonProcess daemon({"-s", "2", "-i", "lo"});
    ASSERT_TRUE(daemon.WaitForStdout("Dolby Metadata Status thread out of wait", Ms(5000))) << daemon.Stdout();
    struct stat st {};
    EXPECT_EQ(stat("/run/shm/mq/dlbMetadataPub.ipc", &st), 0) << "publisher endpoint not bound";
    daemon.Signal(sig);
    EXPECT_EQ(daemon.WaitExit(Ms(3000)), sig == SIGSEGV ? 11 : 0);
    if (sig == SIGSEGV) {
      EXPECT_THAT(daemon.Stdout(), Not(HasSubstr("SignalValue")));
    } else {
      EXPECT_THAT(daemon.Stdout(), EndsWith("cDlbStatusSubx:: Exiting..........@@@@@@@@@@@@@@@\n"
                                            "SignalValue: " + std::to_string(sig) + "\n"));
      EXPECT_EQ(daemon.Stderr(), "");
    }
  }
}

// A stop request during start-up is not lost: while slot 0 waits for its
// address (own handlers not yet installed) the signal keeps its default action.
TEST(DaemonProcess, SigtermWhileWaitingForTheAddressStopsTheProcess) {
  DaemonProcess daemon({"-s", "0", "-i", "nosuch0"});
  ASSERT_TRUE(daemon.WaitForStderr("Will try again after 30 seconds", Ms(5000)));
  daemon.Signal(SIGTERM);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), -SIGTERM) << "the stop request was swallowed";
}

// A stack overflow leaves no stack to run a handler on: the handler runs on
// the thread's signal stack, so the designed exit status still comes.
volatile bool gKeepRecursing = true;

int Recurse(int depth) {
  volatile char frame[512];
  frame[0] = static_cast<char>(depth);
  if (!gKeepRecursing) return frame[0];
  return Recurse(depth + 1) + frame[0];
}

TEST(DaemonProcess, StackOverflowStillExitsWithEleven) {
  EXPECT_EXIT(
      {
        const cAltSignalStack stack;
        InstallSignalHandlers();
        Recurse(0);
      },
      testing::ExitedWithCode(11), "");
}

// {"MsgType":0,"Level":20,"Name":"Plovre","Message":"<ms>|Plovre|INFO|<file>|<line>|\"Got IP...\""}
TEST(DaemonProcess, StartUpLinesReachTheLogSinkAsJsonRecords) {
  harness::Peers peers;
  DaemonProcess daemon({"-s", "2", "-i", "lo"});
  auto record = harness::ReceiveUntil(peers.logSink, Ms(5000), [](const harness::Message& m) {
    return m.topic.find("Got IP for lo") != std::string::npos;
  });
  ASSERT_TRUE(record.has_value());
  ASSERT_TRUE(daemon.WaitForStdout("thread out of wait", Ms(5000)));
  EXPECT_EQ(record->frames, 1);
  EXPECT_THAT(record->topic, testing::MatchesRegex(
                                 "\\{\"MsgType\":0,\"Level\":20,\"Name\":\"Plovre\",\"Message\":\"[0-9]+\\|Plovre\\|"
                                 "INFO\\|[A-Za-z]+\\.cpp\\|[0-9]+\\|\\\\\"Got IP for lo : 169\\.254\\.2\\.4 @ slot 2\\\\\"\"\\}"));
  daemon.Signal(SIGTERM);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), 0);
}

}  // namespace

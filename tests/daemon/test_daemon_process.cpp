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

std::string Usage() {
  return "Usage: " + harness::DaemonPath() +
         " -s <slot number>[1] 1->Slot-1, 2->Slot-2 ,3->Slot-3]\n\t -i <interface>[eth0]\n";
}

struct RejectedCommandLine {
  std::vector<std::string> args;
};

class CommandLineRejected : public testing::TestWithParam<RejectedCommandLine> {};

TEST_P(CommandLineRejected, PrintsOnlyTheUsageAndExitsWithOne) {
  DaemonProcess daemon(GetParam().args);
  EXPECT_EQ(daemon.WaitExit(Ms(5000)), 1);
  EXPECT_EQ(daemon.Stderr(), Usage());
  EXPECT_THAT(daemon.Stdout(), Not(HasSubstr("SignalValue")));
}

INSTANTIATE_TEST_SUITE_P(Options, CommandLineRejected,
                         testing::Values(RejectedCommandLine{{"-h"}}, RejectedCommandLine{{"-s", "4"}},
                                         RejectedCommandLine{{"-s", "-1"}},
                                         RejectedCommandLine{{"-x"}}, RejectedCommandLine{{"-s"}},
                                         RejectedCommandLine{{"-s", "2", "-i", "lo", "-h"}},
                                         RejectedCommandLine{{"-s", "1", "-s", "9"}}));

struct SlotCase {
  std::vector<std::string> args;
  std::string gotIpLine;
};

class SlotAddress : public testing::TestWithParam<SlotCase> {};

// The interface's own address stands for slot 0; slots 1 to 3 take the card's
// fixed link-local address whatever the interface has.
TEST_P(SlotAddress, LogsTheAddressItWillUse) {
  DaemonProcess daemon(GetParam().args);
  EXPECT_TRUE(daemon.WaitForStdout(GetParam().gotIpLine, Ms(5000))) << daemon.Stdout();
  // Stop it once start-up is over (its own handlers are installed by then).
  ASSERT_TRUE(daemon.WaitForStdout("thread out of wait", Ms(5000)));
  daemon.Signal(SIGTERM);
  EXPECT_EQ(daemon.WaitExit(Ms(5000)), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Slots, SlotAddress,
    testing::Values(SlotCase{{"-i", "lo"}, "\"Got IP for lo : 127.0.0.1 @ slot 0\""},
                    SlotCase{{"-s", "abc", "-i", "lo"}, "\"Got IP for lo : 127.0.0.1 @ slot 0\""},
                    SlotCase{{"-s", "1", "-i", "lo"}, "\"Got IP for lo : 169.254.2.3 @ slot 1\""},
                    SlotCase{{"-s", "2", "-i", "lo"}, "\"Got IP for lo : 169.254.2.4 @ slot 2\""},
                    SlotCase{{"-s", "3", "-i", "lo"}, "\"Got IP for lo : 169.254.2.2 @ slot 3\""},
                    // An interface that does not exist: slots 1-3 still start.
                    SlotCase{{"-s", "3", "-i", "nosuch0"},
                             "\"Got IP for nosuch0 : 169.254.2.2 @ slot 3\""}));

struct SignalCase {
  int sig;
  std::string lastLine;
};

class StopSignal : public testing::TestWithParam<SignalCase> {};

TEST_P(StopSignal, StopsInOrderAndPrintsTheSignal) {
  DaemonProcess daemon({"-s", "2", "-i", "lo"});
  ASSERT_TRUE(daemon.WaitForStdout("Dolby Metadata Status thread out of wait", Ms(5000)))
      << daemon.Stdout();
  struct stat st {};
  EXPECT_EQ(stat("/run/shm/mq/dlbMetadataPub.ipc", &st), 0) << "publisher endpoint not bound";
  daemon.Signal(GetParam().sig);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), 0);
  const std::string out = daemon.Stdout();
  EXPECT_THAT(out, EndsWith(GetParam().lastLine));
  // The worker thread was stopped and joined before the line.
  EXPECT_THAT(out, HasSubstr("cDlbStatusSubx:: Exiting..........@@@@@@@@@@@@@@@\n"));
  EXPECT_EQ(daemon.Stderr(), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, StopSignal,
                         testing::Values(SignalCase{SIGTERM, "SignalValue: 15\n"},
                                         SignalCase{SIGINT, "SignalValue: 2\n"},
                                         SignalCase{SIGABRT, "SignalValue: 6\n"}));

// A stop request during start-up is not lost: while slot 0 waits for its
// address (sockets already open, own handlers not yet installed) the signal
// keeps its default action.
TEST(DaemonProcess, SigtermWhileWaitingForTheAddressStopsTheProcess) {
  DaemonProcess daemon({"-s", "0", "-i", "nosuch0"});
  ASSERT_TRUE(daemon.WaitForStderr("Will try again after 30 seconds", Ms(5000)));
  daemon.Signal(SIGTERM);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), -SIGTERM) << "the stop request was swallowed";
}

TEST(DaemonProcess, SegmentationFaultExitsWithElevenAndNoSignalLine) {
  DaemonProcess daemon({"-s", "2", "-i", "lo"});
  ASSERT_TRUE(daemon.WaitForStdout("Got IP", Ms(5000)));
  ASSERT_TRUE(daemon.WaitForStdout("thread out of wait", Ms(5000)));
  daemon.Signal(SIGSEGV);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), 11);
  EXPECT_THAT(daemon.Stdout(), Not(HasSubstr("SignalValue")));
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

TEST(DaemonProcess, StartUpLinesReachTheLogSinkAsJsonRecords) {
  harness::Peers peers;
  DaemonProcess daemon({"-s", "2", "-i", "lo"});
  auto record = harness::ReceiveUntil(peers.logSink, Ms(5000), [](const harness::Message& m) {
    return m.topic.find("Got IP for lo") != std::string::npos;
  });
  ASSERT_TRUE(record.has_value());
  ASSERT_TRUE(daemon.WaitForStdout("thread out of wait", Ms(5000)));
  EXPECT_EQ(record->frames, 1);
  // {"MsgType":0,"Level":20,"Name":"Plovre","Message":"<ms>|Plovre|INFO|<file>|<line>|\"Got IP...\""}
  EXPECT_THAT(record->topic, testing::StartsWith("{\"MsgType\":0,\"Level\":20,\"Name\":\"Plovre\","
                                                 "\"Message\":\""));
  EXPECT_THAT(record->topic, testing::MatchesRegex(
                                 ".*\"Message\":\"[0-9]+\\|Plovre\\|INFO\\|[A-Za-z]+\\.cpp\\|[0-9]+\\|"
                                 "\\\\\"Got IP for lo : 169\\.254\\.2\\.4 @ slot 2\\\\\"\"\\}"));
  daemon.Signal(SIGTERM);
  EXPECT_EQ(daemon.WaitExit(Ms(3000)), 0);
}

}  // namespace

// A field report, in the private namespace: what the tap captures from a running daemon, replayed into a
// fresh one, yields the status documents ("TS" aside) the running daemon published and --decode renders.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <csignal>
#include <set>
#include <sstream>

#include "DaemonHarness.h"
#include "common/JsonText.h"
#include "tap/MessageView.h"

namespace {

using harness::DaemonProcess;
using harness::Ms;

constexpr Ms kWait(90000);
const std::vector<std::string> kDaemonArgs = {"-s", "2", "-i", "lo"};
const std::vector<std::string> kTapArgs = {"--jsonl", "--topic", "DolbyMetadataGrp", "--timeout", "120"};

// The status documents of a tap's JSON lines, without their "TS".
std::set<std::string> Documents(const std::string& jsonl) {
  std::set<std::string> docs;
  std::istringstream lines(jsonl);
  std::string line, error;
  while (std::getline(lines, line)) {
    rapidjson::Document doc;
    if (!tools::ParseJsonText(line, doc, error) || !doc.HasMember("payload")) continue;
    docs.insert(tap::WithoutTimestamp(tools::CompactJson(doc["payload"])));
  }
  return docs;
}

std::string Stop(DaemonProcess& process) {
  process.Signal(SIGTERM);
  EXPECT_EQ(process.WaitExit(kWait), std::optional<int>(0)) << process.Stderr();
  return process.Stdout();
}

TEST(CaptureReplay, YieldsTheSameDocuments) {
  const std::string dir = harness::MakeTempDir();
  const std::string capture = dir + "/field.cap";
  harness::WriteText(dir + "/demo.json", R"({"steps": [{"use": "ddp", "hold": 0.5}, {"use": "pcm", "hold": 0.5},
      {"use": "dolby-e", "hold": 0.5}]})");
  std::set<std::string> running;
  {
    DaemonProcess daemon(kDaemonArgs);
    DaemonProcess sim({"--scenario-file", dir + "/demo.json", "--rate", "10", "--zoom", "on", "--decoder-state",
                       "processing", "-q"},
                      PLOVREST_SIM_PATH);
    DaemonProcess tap(kTapArgs, PLOVREST_TAP_PATH);
    ASSERT_TRUE(tap.WaitForStdout("\"TypeId\"", kWait)) << tap.Stderr();
    const auto captured = harness::RunTool(
        PLOVREST_TAP_PATH, {"--endpoint", "tcp://169.254.2.3:2002", "--capture", capture, "--count", "25", "--timeout", "60"},
        kWait);
    ASSERT_EQ(captured.status, 0) << captured.err;
    running = Documents(Stop(tap));
    Stop(sim);
    Stop(daemon);
  }
  DaemonProcess daemon(kDaemonArgs);
  DaemonProcess tap(kTapArgs, PLOVREST_TAP_PATH);
  const auto replay = harness::RunTool(
      PLOVREST_SIM_PATH, {"--replay", capture, "--zoom", "on", "--decoder-state", "processing", "-q"}, kWait);
  ASSERT_EQ(replay.status, 0) << replay.err;
  const std::set<std::string> fromReplay = Documents(Stop(tap));

  const auto decoded = harness::RunTool(PLOVREST_TAP_PATH, {"--decode", capture, "--jsonl", "--topic", "DolbyMetadataGrp"});
  ASSERT_EQ(decoded.status, 0) << decoded.err;
  const std::set<std::string> fromCapture = Documents(decoded.out);
  EXPECT_EQ(fromCapture.size(), 3u) << "25 records at 10 per second hold the three steps";
  EXPECT_EQ(fromReplay, fromCapture);
  EXPECT_TRUE(std::includes(running.begin(), running.end(), fromReplay.begin(), fromReplay.end()));
  std::filesystem::remove_all(dir);
}

}  // namespace

// The simulator feeds the real daemon, the tap shows what the daemon
// publishes (inside scripts/netns-run.sh). Every wait ends on a message the
// tap has shown, bounded by a time-out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

#include "ToolProcess.h"
#include "common/JsonText.h"
#include "tap/DocFormat.h"
#include "tap/MessageView.h"

namespace {

using ::testing::HasSubstr;
using tooltest::Ms;
using tooltest::ToolProcess;

constexpr Ms kExitWait(90000);

class DaemonLoop : public ::testing::Test {
 protected:
  void TearDown() override {
    for (ToolProcess* p : {mSim.get(), mDaemon.get()}) {
      if (p == nullptr) continue;
      p->Signal(SIGTERM);
      p->Wait(Ms(10000));
    }
  }
  void Start(const std::vector<std::string>& simArgs, ToolProcess::Input input = ToolProcess::Input::None) {
    mDaemon = std::make_unique<ToolProcess>(PLOVRESTD_BIN_PATH, std::vector<std::string>{"-s", "2", "-i", "lo"});
    mSim = std::make_unique<ToolProcess>(PLOVREST_SIM_PATH, simArgs, input);
  }
  std::unique_ptr<ToolProcess> mDaemon, mSim;
};

TEST_F(DaemonLoop, TapShowsTheDocumentRenderedFromTheSimulatedRecord) {
  Start({"--scenario", "dolby-e", "--rate", "20", "--zoom", "on", "--decoder-state", "processing", "-q"});

  const auto jsonl = tooltest::RunTool(
      PLOVREST_TAP_PATH, {"--jsonl", "--topic", "DolbyMetadataGrp", "--count", "1", "--timeout", "60"}, kExitWait);
  ASSERT_EQ(jsonl.status, 0) << jsonl.err << "\ndaemon:\n" << mDaemon->Stdout() << "\nsim:\n" << mSim->Stderr();
  rapidjson::Document line;
  std::string error;
  ASSERT_TRUE(tools::ParseJsonText(jsonl.out, line, error)) << error << ": " << jsonl.out;
  const rapidjson::Value& doc = line["payload"];
  EXPECT_EQ(doc["TypeId"].GetInt(), 28);
  ASSERT_TRUE(doc["Programs"].IsArray());
  EXPECT_EQ(doc["Programs"].Size(), 3u);
  const auto rows = tap::TableRows(doc);
  const auto dialnorm = std::find_if(rows.begin(), rows.end(), [](const tap::ItemRow& r) {
    return r.key == "Programs[2][0].BitstreamInfo.Dialnorm";
  });
  ASSERT_NE(dialnorm, rows.end());
  EXPECT_EQ(dialnorm->data, "31");  // program 3 of the scenario

  const auto table = tooltest::RunTool(
      PLOVREST_TAP_PATH, {"--view", "table", "--topic", "DolbyProcStatus", "--count", "1", "--timeout", "60"}, kExitWait);
  ASSERT_EQ(table.status, 0) << table.err;
  EXPECT_THAT(table.out, HasSubstr("DolbyProcStatus         Decoding (Dolby Zoom)\n"));
  EXPECT_THAT(table.out, ::testing::ContainsRegex("\nStatus +Decoding\nEvent +Dolby Zoom\n"));
}

// A key press on the simulator (decode stop) after the first filled
// presentation document: the next one the daemon publishes is empty.
TEST_F(DaemonLoop, DecodeStopKeyEmptiesThePresentationDocument) {
  Start({"--scenario", "ed2", "--rate", "20", "--zoom", "on", "--decoder-state", "processing", "--interactive", "-q"},
        ToolProcess::Input::Pipe);
  ToolProcess tap(PLOVREST_TAP_PATH, {"--topic", "DolbyPAData>>", "--changes", "--count", "2", "--timeout", "60"});
  ASSERT_TRUE(tap.WaitForStdout("2 presentation(s), active 0 \"English\"", kExitWait))
      << tap.Stdout() << tap.Stderr() << "\ndaemon:\n" << mDaemon->Stdout();
  ASSERT_TRUE(mSim->Write("x"));
  ASSERT_EQ(tap.Wait(kExitWait), std::optional<int>(0)) << tap.Stderr();
  std::istringstream lines(tap.Stdout());
  std::string first, second;
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_THAT(first, HasSubstr("2 presentation(s)"));
  EXPECT_THAT(second, HasSubstr("{} (no document)"));
}

// The status documents of a jsonl output, without "TS", as a set.
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

// A field report: the tap captures what the decoder sends to a running
// daemon; replayed into a fresh daemon, the capture yields the same status
// documents ("TS" aside) as the running daemon published and as --decode renders.
TEST_F(DaemonLoop, CaptureReplaysIntoTheSameDocuments) {
  const std::string dir = tooltest::MakeTempDir();
  const std::string capture = dir + "/field.cap";
  tooltest::WriteText(dir + "/demo.json", R"({"steps": [{"use": "ddp", "hold": 0.5}, {"use": "pcm", "hold": 0.5},
      {"use": "dolby-e", "hold": 0.5}]})");
  Start({"--scenario-file", dir + "/demo.json", "--rate", "10", "--zoom", "on", "--decoder-state", "processing", "-q"});
  ToolProcess running(PLOVREST_TAP_PATH, {"--jsonl", "--topic", "DolbyMetadataGrp", "--timeout", "120"});
  ASSERT_TRUE(running.WaitForStdout("\"TypeId\"", kExitWait)) << running.Stderr();
  const auto captured = tooltest::RunTool(
      PLOVREST_TAP_PATH, {"--endpoint", "tcp://169.254.2.3:2002", "--capture", capture, "--count", "25", "--timeout", "60"},
      kExitWait);
  ASSERT_EQ(captured.status, 0) << captured.err;
  running.Signal(SIGTERM);
  ASSERT_EQ(running.Wait(kExitWait), std::optional<int>(0));
  TearDown();
  mSim.reset();

  mDaemon = std::make_unique<ToolProcess>(PLOVRESTD_BIN_PATH, std::vector<std::string>{"-s", "2", "-i", "lo"});
  ToolProcess replayed(PLOVREST_TAP_PATH, {"--jsonl", "--topic", "DolbyMetadataGrp", "--timeout", "120"});
  const auto replay = tooltest::RunTool(
      PLOVREST_SIM_PATH, {"--replay", capture, "--zoom", "on", "--decoder-state", "processing", "-q"}, kExitWait);
  ASSERT_EQ(replay.status, 0) << replay.err;
  replayed.Signal(SIGTERM);
  ASSERT_EQ(replayed.Wait(kExitWait), std::optional<int>(0));

  const auto decoded = tooltest::RunTool(PLOVREST_TAP_PATH, {"--decode", capture, "--jsonl", "--topic", "DolbyMetadataGrp"});
  ASSERT_EQ(decoded.status, 0) << decoded.err;
  const std::set<std::string> fromCapture = Documents(decoded.out);
  const std::set<std::string> fromReplay = Documents(replayed.Stdout());
  const std::set<std::string> fromRunning = Documents(running.Stdout());
  EXPECT_EQ(fromCapture.size(), 3u) << "25 records at 10 per second hold the three steps";
  EXPECT_EQ(fromReplay, fromCapture);
  EXPECT_TRUE(std::includes(fromRunning.begin(), fromRunning.end(), fromReplay.begin(), fromReplay.end()));
  std::system(("rm -rf " + dir).c_str());
}

}  // namespace

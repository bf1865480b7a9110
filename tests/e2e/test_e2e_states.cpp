// Decoder-state messages and the control plane, end to end: the monitors'
// messages switch decoding and the state text; exit commands stop the daemon.

#include <gmock/gmock.h>

#include "LiveDaemon.h"

namespace e2e {
namespace {

using testing::EndsWith;

// Every two seconds: 4 or 5 in 9 s as designed; 3 to 6 allows for a busy machine.
TEST_F(LiveDaemon, IdleDaemonReportsNotDecodingEveryTwoSeconds) {
  auto first = harness::ReceiveUntil(peers->out, Ms(6000),
                                     [](const Message& m) { return IsState(m, "Not Decoding", ""); });
  ASSERT_TRUE(first.has_value());
  auto second = harness::ReceiveUntil(peers->out, Ms(4000), [](const Message&) { return true; });
  ASSERT_TRUE(second.has_value());
  // Nothing but the state message while idle.
  EXPECT_TRUE(IsState(*second, "Not Decoding", ""));
  EXPECT_EQ(second->frames, 2);
  const int states = CountFor(wire::kDolbyProcStatus, Ms(9000));
  EXPECT_GE(states, 3);
  EXPECT_LE(states, 6);
}

struct ZoomSource {
  const char* topic;
  const char* event;
};

class ZoomSwitch : public LiveDaemon, public testing::WithParamInterface<ZoomSource> {};

TEST_P(ZoomSwitch, OnReportsDecodingWithItsEventAndStopPublishesEmptyDocuments) {
  ZoomOn(GetParam().topic, GetParam().event);
  auto rec = NewRecord(stream_type::kPcm, 1);
  ASSERT_TRUE(PublishUntilDocument(*rec).has_value());

  // Decode stop: "{}" on both document topics and "Not Decoding" with the
  // source's event text kept.
  SendHwm(topic::kHwmDolbyDecodeStop);
  auto grp = Next(wire::kDolbyMetadataGrp);
  ASSERT_TRUE(grp.has_value());
  EXPECT_EQ(grp->payload, "{}");
  auto pa = Next(wire::kDolbyPAData);
  ASSERT_TRUE(pa.has_value());
  EXPECT_EQ(pa->payload, "{}");
  auto state = harness::ReceiveUntil(peers->out, Ms(3000), [](const Message& m) {
    return m.topic == wire::kDolbyProcStatus;
  });
  ASSERT_TRUE(state.has_value());
  EXPECT_TRUE(IsState(*state, "Not Decoding", GetParam().event)) << state->payload;
}

INSTANTIATE_TEST_SUITE_P(Sources, ZoomSwitch,
                         testing::Values(ZoomSource{topic::kHwmDlbZoom, "Dolby Zoom"},
                                         ZoomSource{topic::kHwmDolbyPreset, "Dolby Preset"}));

TEST_F(LiveDaemon, AppPresetConfigurationSwitchesDecodingOffAndClearsTheEvent) {
  ZoomOn();
  auto off = harness::SendUntil(
      [&] { harness::Send(peers->appServer, topic::kAppPresetConfiguration, "{}"); }, peers->out,
      Ms(8000), [](const Message& m) { return IsState(m, "Not Decoding", ""); });
  EXPECT_TRUE(off.has_value());
}

TEST_F(LiveDaemon, SystemStatusDecidesWhetherTheDecoderIsThere) {
  // The monitor reports no decoder process: the reader says so.
  const std::string noDecoder = R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Stopped"}})";
  auto missing = harness::SendUntil(
      [&] { harness::Send(peers->hbMon, topic::kHbSysStatusEvent, noDecoder); }, peers->out,
      Ms(8000), [](const Message& m) { return IsState(m, "No Decoder found", ""); });
  ASSERT_TRUE(missing.has_value());

  const std::string processing =
      R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing since boot"}})";
  auto back = harness::SendUntil(
      [&] { harness::Send(peers->hbMon, topic::kHbSysStatusEvent, processing); }, peers->out,
      Ms(8000), [](const Message& m) { return IsState(m, "Not Decoding", ""); });
  EXPECT_TRUE(back.has_value());
  EXPECT_TRUE(daemon->WaitForStderr(
      "|detected_now ? \"Dolby decoder detected.\" : \"Dolby decoder no longer processing.\"",
      Ms(3000)));
}

class ExitCommand : public LiveDaemon, public testing::WithParamInterface<int> {};

TEST_P(ExitCommand, EndsTheProcessWithSignalValueZero) {
  const std::string command = "{\"Command\":" + std::to_string(GetParam()) + "}";
  // Wait until the daemon's subscriptions are live, then send the command.
  ZoomOn();
  std::optional<int> status;
  for (int i = 0; i < 100 && !status; ++i) {
    harness::Send(peers->hbMon, topic::kHbAppCmd, command);
    status = daemon->WaitExit(Ms(50));
  }
  ASSERT_EQ(status, 0);
  EXPECT_THAT(daemon->Stdout(), EndsWith("SignalValue: 0\n"));
  EXPECT_THAT(daemon->Stderr(),
              testing::HasSubstr("\"Got app command " + std::to_string(GetParam()) + ". Exiting ...\""));
}

INSTANTIATE_TEST_SUITE_P(Commands, ExitCommand, testing::Values(9, 100));

TEST_F(LiveDaemon, OtherAppCommandsAndBadOnesKeepItRunning) {
  ZoomOn();
  for (const char* payload : {"{\"Command\":8}", "{\"Command\":\"9\"}", "not json", "[9]"}) {
    harness::Send(peers->hbMon, topic::kHbAppCmd, payload);
  }
  // Still answering: a document comes back for a record.
  auto rec = NewRecord(stream_type::kPcm, 1);
  EXPECT_TRUE(PublishUntilDocument(*rec).has_value());
  EXPECT_TRUE(daemon->Running());
  // The main loop reads one control message per pass: wait for it to log.
  EXPECT_TRUE(daemon->WaitForStderr("\"Failed to parse application.\"", Ms(3000))) << daemon->Stderr();
}

}  // namespace
}  // namespace e2e

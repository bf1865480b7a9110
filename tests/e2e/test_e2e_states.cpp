// Decoder states end to end: the monitors switch decoding and the state text;
// exit commands stop the daemon.

#include <gmock/gmock.h>

#include "LiveDaemon.h"

namespace e2e {
namespace {

using testing::EndsWith;

// Idle, records are dropped and only "Not Decoding" comes, every two seconds:
// 4 or 5 in 9 s as designed; 3 to 6 allows for a busy machine.
TEST_F(LiveDaemon, IdleDaemonDropsRecordsAndReportsNotDecodingEveryTwoSeconds) {
  ASSERT_TRUE(harness::ReceiveUntil(peers->out, Ms(6000), [](const Message& m) { return IsState(m, "Not Decoding", ""); }));
  auto rec = NewRecord(stream_type::kPcm, 1);
  int states = 0;
  for (const auto end = std::chrono::steady_clock::now() + Ms(9000); std::chrono::steady_clock::now() < end;) {
    SendRecord(*rec);
    if (auto m = harness::Receive(peers->out, Ms(20))) {
      ASSERT_TRUE(IsState(*m, "Not Decoding", "") && m->frames == 2) << m->topic << " " << m->payload;
      ++states;
    }
  }
  EXPECT_GE(states, 3);
  EXPECT_LE(states, 6);
}

// {hardware-monitor topic, event text}
class ZoomSwitch : public LiveDaemon, public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(ZoomSwitch, OnReportsDecodingWithItsEventAndStopPublishesEmptyDocuments) {
  const auto [name, event] = GetParam();
  ZoomOn(name, event);
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
  auto state = Next(wire::kDolbyProcStatus, Ms(3000));
  ASSERT_TRUE(state.has_value());
  EXPECT_TRUE(IsState(*state, "Not Decoding", event)) << state->payload;
}

INSTANTIATE_TEST_SUITE_P(Sources, ZoomSwitch,
                         testing::Values(std::pair{topic::kHwmDlbZoom, "Dolby Zoom"},
                                         std::pair{topic::kHwmDolbyPreset, "Dolby Preset"}));

// The process monitor's report decides whether the decoder is there.
TEST_F(LiveDaemon, SystemStatusDecidesWhetherTheDecoderIsThere) {
  auto report = [&](const char* state, const char* status) {
    const std::string payload = std::string(R"({"SystemStatus":"Okay","DolbyDecoder":{"State":")") + state + "\"}}";
    return harness::SendUntil([&] { harness::Send(peers->hbMon, topic::kHbSysStatusEvent, payload); }, peers->out,
                              Ms(8000), [&](const Message& m) { return IsState(m, status, ""); });
  };
  ASSERT_TRUE(report("Stopped", "No Decoder found"));
  EXPECT_TRUE(report("Processing since boot", "Not Decoding"));
  EXPECT_TRUE(daemon->WaitForStderr(
      "|detected_now ? \"Dolby decoder detected.\" : \"Dolby decoder no longer processing.\"", Ms(3000)));
}

// Other commands and bad ones are ignored; 9 and 100 end the process.
class ExitCommand : public LiveDaemon, public testing::WithParamInterface<int> {};

TEST_P(ExitCommand, EndsTheProcessWithSignalValueZero) {
  ZoomOn();  // the daemon's subscriptions are live
  for (const char* payload : {"{\"Command\":8}", "{\"Command\":\"9\"}", "[9]", "not json"}) {
    harness::Send(peers->hbMon, topic::kHbAppCmd, payload);
  }
  // The main loop reads one control message per pass: the last one logs.
  ASSERT_TRUE(daemon->WaitForStderr("\"Failed to parse application.\"", Ms(3000))) << daemon->Stderr();
  ASSERT_TRUE(daemon->Running());
  const std::string command = "{\"Command\":" + std::to_string(GetParam()) + "}";
  std::optional<int> status;
  for (int i = 0; i < 100 && !status; ++i) {
    harness::Send(peers->hbMon, topic::kHbAppCmd, command);
    status = daemon->WaitExit(Ms(50));
  }
  ASSERT_EQ(status, 0);
  EXPECT_THAT(daemon->Stdout(), EndsWith("SignalValue: 0\n"));
  EXPECT_THAT(daemon->Stderr(), testing::HasSubstr("\"Got app command " + std::to_string(GetParam()) + ". Exiting ...\""));
}

INSTANTIATE_TEST_SUITE_P(Commands, ExitCommand, testing::Values(9, 100));

}  // namespace
}  // namespace e2e

// Bad input on every channel and peers that come and go: the daemon keeps
// running, keeps answering, and stops cleanly on a signal mid-flow.

#include <gmock/gmock.h>

#include <random>
#include <thread>

#include "MqEndpoints.h"

#include "LiveDaemon.h"

namespace e2e {
namespace {

TEST_F(LiveDaemon, MalformedAndWrongTypedControlMessagesAreSurvived) {
  ZoomOn();
  const char* payloads[] = {"", "{", "null", "[1,2]", "{\"SystemStatus\":7}", "\xff\xfe",
                            "{\"Slot\":-1}", "{\"VidLnZP\":-9,\"VidLnNextToZP\":1,\"Ed2MAFactor\":1}",
                            "{\"Command\":{}}"};
  const char* topics[] = {topic::kHwmSignalStatus,    topic::kHwmDlbZoomVideoLines,
                          topic::kHbSysStatusEvent,   topic::kHbProcsStatus,
                          topic::kHbAppCmd,           topic::kDolbyZoomPair,
                          "UnknownTopic",             topic::kDolbyProcStatus};
  for (int round = 0; round < 20; ++round) {
    for (const char* t : topics) {
      for (const char* p : payloads) {
        harness::Send(peers->hwm, t, p);
        harness::Send(peers->hbMon, t, p);
      }
      zstr_send(peers->hwm, t);  // a topic without a payload
    }
  }
  // The decoder flag may have been cleared by a status message without a
  // decoder; tell the daemon the decoder is processing, then check it answers.
  const std::string processing = R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})";
  harness::Send(peers->hbMon, topic::kHbSysStatusEvent, processing);
  ZoomOn();
  auto rec = NewRecord(stream_type::kDolbyDigitalPlus, 1);
  EXPECT_TRUE(PublishUntilDocument(*rec).has_value());
  EXPECT_TRUE(daemon->Running());
}

// Huge and deeply nested messages on every subscribed control topic: the
// daemon refuses them (or parses them without recursion), keeps publishing,
// and still stops cleanly on SIGTERM.
TEST_F(LiveDaemon, HugeAndDeeplyNestedControlMessagesAreSurvived) {
  // A message over the size limit is refused before any parser sees it: a
  // zoom switch, valid but padded, sent over a working connection leaves
  // decoding off.
  ZoomOn();
  auto notDecoding = [](const Message& m) {
    return m.topic == topic::kDolbyProcStatus && m.payload.find("\"Not Decoding\"") != std::string::npos;
  };
  ASSERT_TRUE(harness::SendUntil([&] { SendHwm(topic::kHwmDolbyDecodeStop); }, peers->out, Ms(8000), notDecoding));
  harness::Send(peers->hwm, topic::kHwmDlbZoom, std::string(mq::kMaxControlMessageBytes, ' ') + "{}");
  std::this_thread::sleep_for(Ms(500));
  Drain();
  const auto state = Next(topic::kDolbyProcStatus);
  ASSERT_TRUE(state.has_value());
  EXPECT_TRUE(notDecoding(*state)) << state->payload;
  ZoomOn();
  std::string nestedObjects;
  for (int i = 0; i < (1 << 20) / 5; ++i) nestedObjects += R"({"a":)";
  const std::string payloads[] = {std::string(1 << 20, '['), nestedObjects,
                                  '"' + std::string(16 << 20, 'x') + '"', std::string(60000, '[')};
  const struct {
    zsock_t* peer;
    const char* topic;
  } targets[] = {{peers->hwm, topic::kHwmDlbZoomVideoLines}, {peers->hwm, topic::kHwmSignalStatus},
                 {peers->hwm, topic::kHwmDlbZoom},           {peers->hwm, topic::kHwmDolbyPreset},
                 {peers->hwm, topic::kHwmDolbyDecodeStop},   {peers->hbMon, topic::kHbSysStatusEvent},
                 {peers->hbMon, topic::kHbProcsStatus},      {peers->hbMon, topic::kHbAppCmd},
                 {peers->appServer, topic::kAppPresetConfiguration},
                 {peers->appServer, "AnyTopicThroughTheEmptySubscription"}};
  for (const auto& target : targets)
    for (const auto& payload : payloads) harness::Send(target.peer, target.topic, payload);

  const std::string processing = R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})";
  harness::Send(peers->hbMon, topic::kHbSysStatusEvent, processing);
  ZoomOn();
  auto rec = NewRecord(stream_type::kDolbyDigitalPlus, 1);
  EXPECT_TRUE(PublishUntilDocument(*rec).has_value());
  ASSERT_TRUE(daemon->Running());
  daemon->Signal(SIGTERM);
  EXPECT_EQ(daemon->WaitExit(Ms(3000)), 0);
  EXPECT_THAT(daemon->Stdout(), testing::EndsWith("SignalValue: 15\n"));
}

TEST_F(LiveDaemon, PeersThatComeAndGoAreReconnected) {
  ZoomOn();
  auto rec = NewRecord(stream_type::kDolbyE, 0);
  ASSERT_TRUE(PublishUntilDocument(*rec).has_value());

  // The decoder and the hardware monitor restart: same endpoints, new sockets.
  zsock_destroy(&peers->decoder);
  zsock_destroy(&peers->hwm);
  peers->decoder = harness::BindWithRetry(zsock_new_pub, "tcp://169.254.2.3:2002");
  peers->hwm = harness::BindWithRetry(zsock_new_pub, "tcp://169.254.2.3:2000");
  ASSERT_NE(peers->decoder, nullptr);
  ASSERT_NE(peers->hwm, nullptr);

  auto again = PublishUntilDocument(*rec);
  EXPECT_TRUE(again.has_value());
  // Decode stop through the new hardware-monitor socket still reaches it.
  auto stopped = harness::SendUntil([&] { SendHwm(topic::kHwmDolbyDecodeStop); }, peers->out,
                                    Ms(8000), [](const Message& m) {
                                      return m.topic == topic::kDolbyMetadataGrp && m.payload == "{}";
                                    });
  EXPECT_TRUE(stopped.has_value());
}

TEST_F(LiveDaemon, SigtermDuringSteadyRecordFlowStopsCleanly) {
  ZoomOn();
  auto rec = NewRecord(stream_type::kAc4, 3);
  rec->md.ac4.presentationCount = 16;
  rec->md.ac4.substreamCount = 64;
  ASSERT_TRUE(PublishUntilDocument(*rec).has_value());
  for (int i = 0; i < 500; ++i) SendRecord(*rec);
  daemon->Signal(SIGTERM);
  for (int i = 0; i < 200; ++i) SendRecord(*rec);
  EXPECT_EQ(daemon->WaitExit(Ms(3000)), 0);
  EXPECT_THAT(daemon->Stdout(), testing::EndsWith("SignalValue: 15\n"));
  EXPECT_EQ(daemon->Stderr().find("ERROR"), std::string::npos) << daemon->Stderr();
}

}  // namespace
}  // namespace e2e

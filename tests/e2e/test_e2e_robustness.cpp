// Bad input on every channel and peers that come and go: the daemon keeps
// running, keeps answering, and stops cleanly on a signal mid-flow.

#include <gmock/gmock.h>

#include <random>

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
                          "UnknownTopic",             wire::kDolbyProcStatus};
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
                                      return m.topic == wire::kDolbyMetadataGrp && m.payload == "{}";
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

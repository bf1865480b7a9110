// ED2 end to end: the presentation document beside the status document, the
// status-update rule, and re-rendering when the hardware monitor sends new
// video lines.

#include <gmock/gmock.h>

#include "LiveDaemon.h"

namespace e2e {
namespace {

// Two presentations with beds, objects and bed sources; the second is active.
std::unique_ptr<kv_dolby_metadata_t> Ed2Record(uint32_t statusUpdate) {
  auto rec = std::make_unique<kv_dolby_metadata_t>(LoadGolden("ed2-presentations").rec);
  rec->ed2StatusUpdate = statusUpdate;
  return rec;
}

// The first ED2 record publishes both documents; one without a status update
// after it refreshes only the presentation document.
TEST_F(LiveDaemon, Ed2RecordPublishesStatusThenPresentationAndLaterOnlyWhatChanged) {
  ZoomOn();
  const Golden golden = LoadGolden("ed2-presentations");
  auto status = PublishUntilDocument(golden.rec);
  ASSERT_TRUE(status.has_value());
  EXPECT_EQ(WithoutTs(status->payload), golden.status);
  auto pa = Next(wire::kDolbyPAData);
  ASSERT_TRUE(pa.has_value());
  EXPECT_EQ(WithoutTs(pa->payload), golden.presentation);
  Drain(Ms(50));

  auto quiet = Ed2Record(0);
  quiet->activePaNo = 0;
  SendRecord(*quiet);
  auto next = harness::ReceiveUntil(peers->out, Ms(3000), [](const Message& m) {
    return m.topic == wire::kDolbyMetadataGrp || m.topic == wire::kDolbyPAData;
  });
  ASSERT_TRUE(next.has_value());
  EXPECT_EQ(next->topic, wire::kDolbyPAData);
  EXPECT_THAT(next->payload, testing::HasSubstr("\"ActivePANo\":0,\"ActivePAName\":\"Main\""));

  // A status update renders the status document again.
  auto changed = Ed2Record(1);
  changed->md.ed2.frameRate = 2400;
  status = PublishUntilDocument(*changed);
  ASSERT_TRUE(status.has_value());
  EXPECT_THAT(status->payload, testing::HasSubstr("\"24 fps\""));
}

TEST_F(LiveDaemon, NewVideoLinesAloneDoNotReRenderAnEd2OnlyFlow) {
  ZoomOn();
  auto rec = Ed2Record(1);
  ASSERT_TRUE(PublishUntilDocument(*rec).has_value());
  Drain(Ms(50));
  SendHwm(topic::kHwmDlbZoomVideoLines, R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":2000})");
  EXPECT_TRUE(daemon->WaitForStdout("\n\t Ed2MAFactor: 2000\n", Ms(3000)));
  EXPECT_FALSE(Next(wire::kDolbyMetadataGrp, Ms(1000)).has_value());
}

TEST_F(LiveDaemon, NewVideoLinesReRenderAtOnceAndAreReportedOnStdout) {
  ZoomOn();
  // A stream that switched to ED2: the earlier record counts as data, so the
  // new line values re-render the current ED2 record at once.
  auto before = NewRecord(stream_type::kDolbyDigitalPlus, DLB_PADC_UI_MD_TYPE_DDP);
  ASSERT_TRUE(PublishUntilDocument(*before).has_value());
  const Golden golden = LoadGolden("ed2-presentations");
  auto rec = Ed2Record(1);
  auto ed2Doc = harness::SendUntil([&] { SendRecord(*rec); }, peers->out, Ms(8000), [&](const Message& m) {
    return m.topic == wire::kDolbyMetadataGrp && WithoutTs(m.payload) == golden.status;
  });
  ASSERT_TRUE(ed2Doc.has_value());
  Drain(Ms(50));

  SendHwm(topic::kHwmDlbZoomVideoLines, R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":2000})");
  auto status = Next(wire::kDolbyMetadataGrp, Ms(1500));
  ASSERT_TRUE(status.has_value()) << "no re-render after new video lines";
  auto pa = Next(wire::kDolbyPAData, Ms(1000));
  ASSERT_TRUE(pa.has_value());
  EXPECT_EQ(WithoutTs(pa->payload), golden.presentation);
  EXPECT_TRUE(daemon->WaitForStdout(
      "\nHwmEd2Factor\n\t VidLnNoForZP: 9\n\t VidLnNoForNextToZP: 10\n\t Ed2MAFactor: 2000\n", Ms(2000)));

  // A message missing a value changes nothing and triggers no re-render.
  Drain(Ms(50));
  SendHwm(topic::kHwmDlbZoomVideoLines, R"({"VidLnZP":11,"VidLnNextToZP":12})");
  auto none = Next(wire::kDolbyMetadataGrp, Ms(1000));
  EXPECT_FALSE(none.has_value());
}

}  // namespace
}  // namespace e2e

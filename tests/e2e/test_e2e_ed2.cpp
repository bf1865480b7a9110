// ED2 end to end: the presentation document beside the status document, the
// status-update rule, and re-rendering when the hardware monitor sends new
// video lines.

#include <gmock/gmock.h>

#include "LiveDaemon.h"
#include "Render/MetadataJsonPaData.h"
#include "Render/PADMetadataJsonDecStatus.h"

namespace e2e {
namespace {

std::unique_ptr<kv_dolby_metadata_t> Ed2Record(uint32_t statusUpdate) {
  auto rec = NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  rec->atmosDecode = 1;
  rec->ed2StatusUpdate = statusUpdate;
  rec->ed2Misalignment = -3;
  auto& ed2 = rec->md.ed2;
  ed2.atmosPresent = 1;
  ed2.frameRate = 2500;
  ed2.bedObjectCount = 1;
  ed2.dynamicObjectCount = 2;
  ed2.bedObjects[0].speakerPresent[0] = ed2.bedObjects[0].speakerPresent[1] = 1;
  ed2.bedObjects[0].numSources = 2;
  ed2.dynamicObjects[1].objectClass = 1;
  ed2.dynamicObjects[1].position[0][0] = 0.75f;
  ed2.presentationCount = 2;
  std::strcpy(ed2.presentations[0].name, "Stadium");
  std::strcpy(ed2.presentations[1].name, "Commentary");
  ed2.presentations[0].bedIncluded[0] = 1;
  ed2.presentations[0].objectIncluded[1] = 1;
  return rec;
}

std::string RenderedPa(const kv_dolby_metadata_t& rec) {
  auto* renderer = cMetadataJsonPaData::GetInstance();
  renderer->PreparePaMetadataJson(rec, rec.atmosDecode != 0, 0);
  return WithoutTs(renderer->GetString());
}

std::string RenderedStatus(const kv_dolby_metadata_t& rec) {
  auto* renderer = cPADMetadataJsonDecStatus::GetInstance();
  renderer->PrepareMetadataJson(rec, 0);
  return WithoutTs(renderer->GetString());
}

TEST_F(LiveDaemon, Ed2RecordPublishesStatusThenPresentationDocument) {
  ZoomOn();
  auto rec = Ed2Record(1);
  auto status = PublishUntilDocument(*rec);
  ASSERT_TRUE(status.has_value());
  EXPECT_EQ(WithoutTs(status->payload), RenderedStatus(*rec));
  auto pa = Next(wire::kDolbyPAData);
  ASSERT_TRUE(pa.has_value());
  EXPECT_EQ(WithoutTs(pa->payload), RenderedPa(*rec));
  EXPECT_THAT(pa->payload, testing::HasSubstr("\"ActivePAName\":\"Stadium\""));
}

TEST_F(LiveDaemon, Ed2RecordWithoutStatusUpdateRefreshesOnlyThePresentationDocument) {
  ZoomOn();
  auto first = Ed2Record(1);
  ASSERT_TRUE(PublishUntilDocument(*first).has_value());
  ASSERT_TRUE(Next(wire::kDolbyPAData).has_value());
  Drain(Ms(50));

  auto quiet = Ed2Record(0);
  quiet->activePaNo = 1;
  SendRecord(*quiet);
  auto next = harness::ReceiveUntil(peers->out, Ms(3000), [](const Message& m) {
    return m.topic == wire::kDolbyMetadataGrp || m.topic == wire::kDolbyPAData;
  });
  ASSERT_TRUE(next.has_value());
  EXPECT_EQ(next->topic, wire::kDolbyPAData);
  EXPECT_THAT(next->payload, testing::HasSubstr("\"ActivePANo\":1,\"ActivePAName\":\"Commentary\""));

  // A status update renders the status document again.
  auto changed = Ed2Record(1);
  changed->md.ed2.frameRate = 2400;
  auto status = PublishUntilDocument(*changed);
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
  auto rec = Ed2Record(1);
  auto ed2Doc = harness::SendUntil([&] { SendRecord(*rec); }, peers->out, Ms(8000), [&](const Message& m) {
    return m.topic == wire::kDolbyMetadataGrp && WithoutTs(m.payload) == RenderedStatus(*rec);
  });
  ASSERT_TRUE(ed2Doc.has_value());
  Drain(Ms(50));

  SendHwm(topic::kHwmDlbZoomVideoLines, R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":2000})");
  auto status = Next(wire::kDolbyMetadataGrp, Ms(1500));
  ASSERT_TRUE(status.has_value()) << "no re-render after new video lines";
  auto pa = Next(wire::kDolbyPAData, Ms(1000));
  ASSERT_TRUE(pa.has_value());
  EXPECT_EQ(WithoutTs(pa->payload), RenderedPa(*rec));
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

// The metadata publisher: binding by the process frame, tear-down, and the
// frame-reusing raw senders, seen from a subscriber on the real endpoint.

#include <czmq.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Messaging/MetadataPublisher.h"
#include "Messaging/PubHandler.h"
#include "MqTestSupport.h"

namespace {

using Frames = std::vector<std::string>;
constexpr const char* kMetadataEndpoint = "ipc:///run/shm/mq/dlbMetadataPub.ipc";

class MetadataPublisherTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (sub_ != nullptr) zsock_destroy(&sub_);
    cPubHandler::DeleteInstance();
  }

  // Binds through initPubs (its one stdout text is swallowed) and connects a
  // subscriber that has seen a message.
  cPubHandler* BindAndSubscribe(int slot) {
    testing::internal::CaptureStdout();
    initPubs(slot);
    testing::internal::GetCapturedStdout();
    cPubHandler* pub = cPubHandler::mpPub;
    if (pub == nullptr || pub->mpSock == nullptr) return nullptr;
    if (sub_ == nullptr) sub_ = zsock_new_sub(kMetadataEndpoint, "");
    if (sub_ == nullptr) return nullptr;
    const bool joined = mqtest::SyncSubscriber(
        sub_, [&] { pub->SendJson(pub->mpSock, mqtest::kSyncTopic, ""); });
    return joined ? pub : nullptr;
  }

  zsock_t* sub_ = nullptr;
};

TEST_F(MetadataPublisherTest, InitPubsBindsTheMetadataEndpoint) {
  testing::internal::CaptureStdout();
  initPubs(2);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "bind to ipc://dlbMetadataPub.ipc");

  cPubHandler* pub = cPubHandler::mpPub;
  ASSERT_NE(pub, nullptr);
  EXPECT_EQ(pub, cPubHandler::GetInstance());
  EXPECT_NE(cPubHandler::mpLogger, nullptr);
  EXPECT_TRUE(pub->mbBoundOverIpc);
  EXPECT_FALSE(pub->mbBoundOverTcp);
  EXPECT_NE(pub->mpSock, nullptr);
  EXPECT_EQ(pub->mEndpoint, "dlbMetadataPub.ipc");
  EXPECT_EQ(pub->miSlot, 2);

  ASSERT_EQ(BindAndSubscribe(2), pub);
  ASSERT_TRUE(pub->SendJson(pub->mpSock, "DolbyMetadataGrp", "{}"));
  EXPECT_EQ(mqtest::RecvFrames(sub_), (Frames{"DolbyMetadataGrp", "{}"}));
}

TEST_F(MetadataPublisherTest, InitPubsTwiceRebindsFromScratch) {
  cPubHandler* pub = BindAndSubscribe(1);
  ASSERT_NE(pub, nullptr);
  const unsigned char data[] = {1, 2, 3};
  testing::internal::CaptureStdout();
  ASSERT_TRUE(pub->SendPAData("P", 1, data, sizeof(data)));
  testing::internal::GetCapturedStdout();
  pub->mbBoundOverTcp = true;
  const size_t baseline = mqtest::SettledFdCount();

  ASSERT_EQ(BindAndSubscribe(3), pub);
  EXPECT_TRUE(mqtest::FdCountSettlesAtMost(baseline)) << "the first socket is still open";
  EXPECT_EQ(pub->miSlot, 3);
  EXPECT_TRUE(pub->mbBoundOverIpc);
  EXPECT_FALSE(pub->mbBoundOverTcp);
  EXPECT_EQ(pub->mpPATopicFrame, nullptr);
  EXPECT_EQ(pub->mpPAFrame, nullptr);
  ASSERT_TRUE(pub->SendJson(pub->mpSock, "DolbyProcStatus", "{\"Status\" : \"Decoding\"}"));
  EXPECT_EQ(mqtest::RecvFrames(sub_),
            (Frames{"DolbyProcStatus", "{\"Status\" : \"Decoding\"}"}));
}

TEST_F(MetadataPublisherTest, CleanPubsClosesButKeepsTheInstance) {
  cPubHandler* pub = BindAndSubscribe(0);
  ASSERT_NE(pub, nullptr);
  const unsigned char data[] = {9};
  testing::internal::CaptureStdout();
  ASSERT_TRUE(pub->SendMetadata("M", 1, data, 1));
  ASSERT_TRUE(pub->SendLUData("L", 1, data, 1));
  testing::internal::GetCapturedStdout();

  cleanPubs();
  EXPECT_EQ(cPubHandler::mpPub, pub);
  EXPECT_EQ(pub->mpSock, nullptr);
  EXPECT_FALSE(pub->mbBoundOverIpc);
  EXPECT_TRUE(pub->mEndpoint.empty());
  for (zframe_t* frame : {pub->mpMetadataTopicFrame, pub->mpMetadataFrame, pub->mpPATopicFrame,
                          pub->mpPAFrame, pub->mpLUTopicFrame, pub->mpLUFrame}) {
    EXPECT_EQ(frame, nullptr);
  }
  EXPECT_FALSE(pub->SendJson(pub->mpSock, "DolbyMetadataGrp", "{}"));
  testing::internal::CaptureStdout();
  EXPECT_FALSE(pub->SendMetadata("M", 1, data, 1)) << "no socket";
  testing::internal::GetCapturedStdout();
  cleanPubs();  // twice is harmless

  cPubHandler::DeleteInstance();
  EXPECT_EQ(cPubHandler::mpPub, nullptr);
  cPubHandler::DeleteInstance();
  cPubHandler* fresh = cPubHandler::GetInstance();
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(fresh->miSlot, -1);
  EXPECT_EQ(fresh->mpSock, nullptr);
}

TEST_F(MetadataPublisherTest, FailedBindIsLoggedAndLeavesAnUnboundSocket) {
  const char* inNamespace = std::getenv("PLOVREST_IN_NETNS");
  if (inNamespace == nullptr || std::string(inNamespace) != "1") {
    GTEST_SKIP() << "moves /run/shm/mq aside: only inside the private namespace";
  }
  ASSERT_EQ(std::rename("/run/shm/mq", "/run/shm/mq.aside"), 0);
  testing::internal::CaptureStderr();
  initPubs(1);
  const std::string err = testing::internal::GetCapturedStderr();
  ASSERT_EQ(std::rename("/run/shm/mq.aside", "/run/shm/mq"), 0);

  EXPECT_NE(err.find("MetadataPublisher.cpp|"), std::string::npos) << err;
  EXPECT_NE(err.find("|\"Failed to initialize HWM Pubs.\""), std::string::npos) << err;
  cPubHandler* pub = cPubHandler::mpPub;
  ASSERT_NE(pub, nullptr);
  EXPECT_FALSE(pub->mbBoundOverIpc);
  ASSERT_NE(pub->mpSock, nullptr);
  EXPECT_TRUE(pub->SendJson(pub->mpSock, "DolbyMetadataGrp", "{}")) << "sends go nowhere";
  EXPECT_EQ(pub->miSlot, 1);
}

// The three raw senders share one algorithm over their own frame pair.
struct SenderCase {
  const char* name;
  bool (DlbPubHandler::*send)(const char*, unsigned int, const unsigned char*, unsigned int);
  zframe_t* DlbPubHandler::*topicFrame;
  zframe_t* DlbPubHandler::*dataFrame;
  const char* allocationLines;
};

class RawSenderTest : public MetadataPublisherTest,
                      public ::testing::WithParamInterface<SenderCase> {};

TEST_P(RawSenderTest, RejectsEmptyInputAndReusesItsFrames) {
  const SenderCase& c = GetParam();
  cPubHandler* pub = BindAndSubscribe(0);
  ASSERT_NE(pub, nullptr);
  auto send = [&](const char* topic, unsigned topicLen, const unsigned char* data,
                  unsigned dataLen) { return (pub->*c.send)(topic, topicLen, data, dataLen); };
  const unsigned char payload[] = {'a', 0, 'b', 0xFF, 0};

  testing::internal::CaptureStdout();
  EXPECT_FALSE(send(nullptr, 3, payload, 5));
  EXPECT_FALSE(send("Top", 0, payload, 5));
  EXPECT_FALSE(send("Top", 3, nullptr, 5));
  EXPECT_FALSE(send("Top", 3, payload, 0));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(pub->*c.topicFrame, nullptr);
  EXPECT_EQ(pub->*c.dataFrame, nullptr);

  // Only topicLen bytes of the topic go out; the data may hold NULs.
  testing::internal::CaptureStdout();
  EXPECT_TRUE(send("TopicXYZ", 5, payload, sizeof(payload)));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), c.allocationLines);
  EXPECT_EQ(mqtest::RecvFrames(sub_),
            (Frames{"Topic", std::string(reinterpret_cast<const char*>(payload), sizeof(payload))}));

  zframe_t* const topicFrame = pub->*c.topicFrame;
  zframe_t* const dataFrame = pub->*c.dataFrame;
  testing::internal::CaptureStdout();
  EXPECT_TRUE(send("LongerTopic", 11, payload + 2, 1));
  EXPECT_TRUE(send("T", 1, payload, 2));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(pub->*c.topicFrame, topicFrame);
  EXPECT_EQ(pub->*c.dataFrame, dataFrame);
  EXPECT_EQ(mqtest::RecvFrames(sub_), (Frames{"LongerTopic", "b"}));
  EXPECT_EQ(mqtest::RecvFrames(sub_), (Frames{"T", std::string("a\0", 2)}));
}

INSTANTIATE_TEST_SUITE_P(
    Senders, RawSenderTest,
    ::testing::Values(
        SenderCase{"Metadata", &DlbPubHandler::SendMetadata, &DlbPubHandler::mpMetadataTopicFrame,
                   &DlbPubHandler::mpMetadataFrame,
                   "Allocated Metadata Topic Frame\nAllocated Metadata Frame\n"},
        SenderCase{"PA", &DlbPubHandler::SendPAData, &DlbPubHandler::mpPATopicFrame,
                   &DlbPubHandler::mpPAFrame,
                   "Allocated PA Topic Frame\nAllocated PA data Frame\n"},
        SenderCase{"LU", &DlbPubHandler::SendLUData, &DlbPubHandler::mpLUTopicFrame,
                   &DlbPubHandler::mpLUFrame,
                   "Allocated LU Topic Frame\nAllocated LU data Frame\n"}),
    [](const ::testing::TestParamInfo<SenderCase>& info) { return std::string(info.param.name); });

}  // namespace

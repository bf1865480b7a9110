// The metadata publisher: binding by the process frame, tear-down, and the
// frame-reusing raw senders, seen from a subscriber on the real endpoint.

#include <czmq.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Messaging/MetadataPublisher.h"
#include "JsonParseHbMonMessages.h"
#include "Messaging/PubHandler.h"
#include "Reader/DlbStatusSubx.h"
#include "MqTestSupport.h"

namespace {

using mqtest::Frames;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

class MetadataPublisherTest : public ::testing::Test {
 protected:
  void TearDown() override {
    zsock_destroy(&sub_);
    cPubHandler::DeleteInstance();
  }

  // Binds through initPubs and returns what it printed.
  std::string Init(int slot) {
    CaptureStdout();
    initPubs(slot);
    pub_ = cPubHandler::mpPub;
    return GetCapturedStdout();
  }

  // Connects the subscriber (once) and waits until it sees the publisher.
  bool Subscribe() {
    if (pub_ == nullptr || pub_->mpSock == nullptr) return false;
    if (sub_ == nullptr) sub_ = zsock_new_sub("ipc:///run/shm/mq/dlbMetadataPub.ipc", "");
    return sub_ != nullptr &&
           mqtest::SyncSubscriber(sub_, [&] { pub_->SendJson(pub_->mpSock, mqtest::kSyncTopic, ""); });
  }

  cPubHandler* pub_ = nullptr;
  zsock_t* sub_ = nullptr;
};

TEST_F(MetadataPublisherTest, InitPubsBindsTheMetadataEndpoint) {
  EXPECT_EQ(Init(2), "bind to ipc://dlbMetadataPub.ipc");
  ASSERT_NE(pub_, nullptr);
  EXPECT_EQ(pub_, cPubHandler::GetInstance());
  EXPECT_NE(cPubHandler::mpLogger, nullptr);
  EXPECT_TRUE(pub_->mbBoundOverIpc);
  EXPECT_FALSE(pub_->mbBoundOverTcp);
  EXPECT_EQ(pub_->mEndpoint, "dlbMetadataPub.ipc");
  EXPECT_EQ(pub_->miSlot, 2);  // the raw-sender test sends through this binding
}

TEST_F(MetadataPublisherTest, FailedBindIsLoggedAndLeavesAnUnboundSocket) {
  const char* inNamespace = std::getenv("PLOVREST_IN_NETNS");
  if (inNamespace == nullptr || std::string(inNamespace) != "1") {
    GTEST_SKIP() << "moves /run/shm/mq aside: only inside the private namespace";
  }
  ASSERT_EQ(std::rename("/run/shm/mq", "/run/shm/mq.aside"), 0);
  testing::internal::CaptureStderr();
  Init(1);
  const std::string err = testing::internal::GetCapturedStderr();
  ASSERT_EQ(std::rename("/run/shm/mq.aside", "/run/shm/mq"), 0);

  EXPECT_NE(err.find("MetadataPublisher.cpp|"), std::string::npos) << err;
  EXPECT_NE(err.find("|\"Failed to initialize HWM Pubs.\""), std::string::npos) << err;
  ASSERT_NE(pub_, nullptr);
  EXPECT_FALSE(pub_->mbBoundOverIpc);
  ASSERT_NE(pub_->mpSock, nullptr);
  EXPECT_TRUE(pub_->SendJson(pub_->mpSock, "DolbyMetadataGrp", "{}")) << "sends go nowhere";
  EXPECT_EQ(pub_->miSlot, 1);
}

// The three raw senders share one algorithm over their own frame pair: empty
// input is refused, the first send allocates (and says so), later sends reuse.
TEST_F(MetadataPublisherTest, RawSendersRejectEmptyInputAndReuseTheirFrames) {
  const struct {
    bool (DlbPubHandler::*send)(const char*, unsigned int, const unsigned char*, unsigned int);
    zframe_t* DlbPubHandler::*topicFrame;
    zframe_t* DlbPubHandler::*dataFrame;
    const char* allocationLines;
  } cases[] = {
      {&DlbPubHandler::SendMetadata, &DlbPubHandler::mpMetadataTopicFrame, &DlbPubHandler::mpMetadataFrame,
       "Allocated Metadata Topic Frame\nAllocated Metadata Frame\n"},
      {&DlbPubHandler::SendPAData, &DlbPubHandler::mpPATopicFrame, &DlbPubHandler::mpPAFrame,
       "Allocated PA Topic Frame\nAllocated PA data Frame\n"},
      {&DlbPubHandler::SendLUData, &DlbPubHandler::mpLUTopicFrame, &DlbPubHandler::mpLUFrame,
       "Allocated LU Topic Frame\nAllocated LU data Frame\n"},
  };
  Init(0);
  ASSERT_TRUE(Subscribe());
  const unsigned char payload[] = {'a', 0, 'b', 0xFF, 0};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.allocationLines);
    auto send = [&](const char* topic, unsigned topicLen, const unsigned char* data, unsigned dataLen) {
      return (pub_->*c.send)(topic, topicLen, data, dataLen);
    };
    CaptureStdout();
    EXPECT_FALSE(send(nullptr, 3, payload, 5));
    EXPECT_FALSE(send("Top", 0, payload, 5));
    EXPECT_FALSE(send("Top", 3, nullptr, 5));
    EXPECT_FALSE(send("Top", 3, payload, 0));
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(pub_->*c.topicFrame, nullptr);
    EXPECT_EQ(pub_->*c.dataFrame, nullptr);

    // Only topicLen bytes of the topic go out; the data may hold NULs.
    CaptureStdout();
    EXPECT_TRUE(send("TopicXYZ", 5, payload, sizeof(payload)));
    EXPECT_EQ(GetCapturedStdout(), c.allocationLines);
    EXPECT_EQ(mqtest::RecvFrames(sub_),
              (Frames{"Topic", std::string(reinterpret_cast<const char*>(payload), sizeof(payload))}));

    zframe_t* const topicFrame = pub_->*c.topicFrame;
    zframe_t* const dataFrame = pub_->*c.dataFrame;
    CaptureStdout();
    EXPECT_TRUE(send("LongerTopic", 11, payload + 2, 1));
    EXPECT_TRUE(send("T", 1, payload, 2));
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(pub_->*c.topicFrame, topicFrame);
    EXPECT_EQ(pub_->*c.dataFrame, dataFrame);
    EXPECT_EQ(mqtest::RecvFrames(sub_), (Frames{"LongerTopic", "b"}));
    EXPECT_EQ(mqtest::RecvFrames(sub_), (Frames{"T", std::string("a\0", 2)}));
  }
}

// The decoder-state message while the decoder is reported but the reader's
// subscription to it is not connected (the reader is not started here).
TEST_F(MetadataPublisherTest, StateWhileTheDecoderIsNotConnected) {
  Init(2);
  ASSERT_TRUE(Subscribe());
  cDlbStatusSubx reader;
  cJsonParseSysStatus::mbDolbyDecoderDetected = true;
  cDlbStatusSubx::miDecodingSource = 2;
  reader.PublishDolbyDecoderStatus(true);
  EXPECT_EQ(mqtest::RecvFrames(sub_),
            (Frames{"DolbyProcStatus", R"({"Status" : "Not connected to Dolby Decoder", "Event" : "Dolby Preset"})"}));
  cJsonParseSysStatus::mbDolbyDecoderDetected = false;
  cDlbStatusSubx::miDecodingSource = 0;
  cDlbStatusSubx::mpPubs = nullptr;
}

}  // namespace

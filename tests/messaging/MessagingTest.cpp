// The socket wrappers and the metadata publisher on real sockets. A PUB drops
// what is sent before a subscriber joins: tests repeat a "sync" message until
// it is seen and skip its late copies. Every wait is bounded.

#include <czmq.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "DaemonHarness.h"
#include "JsonParseHbMonMessages.h"
#include "Publish/MetadataPublisher.h"
#include "Publish/PubHandler.h"
#include "MqPubHandler.h"
#include "MqSubHandler.h"
#include "Reader/DlbStatusSubx.h"

namespace {

constexpr const char* kSyncTopic = "sync";
using Frames = std::vector<std::string>;

// Polls `done` every 5 ms, three seconds at most.
template <typename Pred>
bool WaitUntil(Pred done) {
  return harness::PollUntil(done, harness::Ms(3000), harness::Ms(5));
}

// Every open ZeroMQ socket holds a descriptor, released by the library's
// reaper thread after the close: a leak is "more than before, once settled".
size_t OpenFdCount() {
  const std::filesystem::directory_iterator fds("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(fds), end(fds)));
}

// The count once pending closures have been reaped (20 equal samples).
size_t SettledFdCount() {
  size_t last = OpenFdCount();
  int same = 0;
  WaitUntil([&] {
    const size_t now = OpenFdCount();
    same = now == last ? same + 1 : 0;
    last = now;
    return same >= 20;
  });
  return last;
}

// A zeroed table of 128-character topic entries.
std::unique_ptr<char[][128]> MakeTable(const std::vector<std::string>& topics) {
  auto table = std::make_unique<char[][128]>(topics.size());
  for (size_t i = 0; i < topics.size(); ++i) {
    std::memcpy(table[i], topics[i].data(), std::min<size_t>(topics[i].size(), 128));
  }
  return table;
}

// The next message other than a sync copy, as frames; none within 2 s: empty.
Frames RecvFrames(zsock_t* sub) {
  const auto m = harness::ReceiveUntil(sub, harness::Ms(2000),
                                       [](const harness::Message& m) { return m.topic != kSyncTopic; });
  return !m ? Frames{} : m->frames == 1 ? Frames{m->topic} : Frames{m->topic, m->payload};
}

// Calls `sendSync` until a sync message shows up on `sub` (subscribed to it).
bool SyncSubscriber(zsock_t* sub, const std::function<void()>& sendSync) {
  auto isSync = [](const harness::Message& m) { return m.topic == kSyncTopic; };
  return harness::SendUntil(sendSync, sub, harness::Ms(3000), isSync).has_value();
}

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr const char* kEndpoint = "mqHandlerTest.ipc";
constexpr const char* kTcpHost = "169.254.2.3";
constexpr const char* kForeignHost = "10.99.99.99";  // not on this host: bind fails
const std::string kTooLongName(200, 'n');            // too long for a unix socket path

struct Delivery { std::string topic; bool hasMessage; std::string message; };
std::vector<Delivery> gDelivered;
std::string gSync;  // the message of the last sync copy read, "none" before
int gResult = 0;

int Record(const char* topic, const char* message) {
  if (std::strcmp(topic, kSyncTopic) == 0) {
    gSync = message != nullptr ? message : "";
  } else {
    gDelivered.push_back({topic, message != nullptr, message != nullptr ? message : ""});
  }
  return gResult;
}

// A PUB bound through MqPubHandler and a SUB connected through MqSubHandler,
// read with MessageReader.
class PubSubTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gDelivered.clear();
    gSync = "none";
    gResult = 0;
    pubSock_ = pub_.BindMqOverIpc(kEndpoint, nullptr);
    ASSERT_NE(pubSock_, nullptr);
    sub_.mpCallback = Record;
  }
  void TearDown() override {
    sub_.DestroyMq(&subSock_);
    pub_.DestroyMq(&pubSock_);
  }

  // Connects and syncs; once the fence is read no late sync copy is queued.
  void Connect(const std::vector<std::string>& topics) {
    auto table = MakeTable(topics);
    subSock_ = sub_.AddMqOverIpc(kEndpoint, table.get(), int(topics.size()), nullptr);
    ASSERT_NE(subSock_, nullptr);
    ASSERT_TRUE(WaitUntil([&] {
      pub_.SendJson(pubSock_, kSyncTopic, "");
      sub_.MessageReader(subSock_);
      return gSync != "none";
    })) << "subscriber never joined";
    ASSERT_TRUE(pub_.SendJson(pubSock_, kSyncTopic, "fence"));
    ASSERT_TRUE(ReadUntil([] { return gSync == "fence"; }));
  }

  template <typename Pred>
  bool ReadUntil(Pred done) {
    return WaitUntil([&] {
      sub_.MessageReader(subSock_);
      return done();
    });
  }

  MqPubHandler pub_;
  MqSubHandler sub_;
  zsock_t* pubSock_ = nullptr;
  zsock_t* subSock_ = nullptr;
};

// An entry is subscribed only when its terminator lies inside it; an
// unsubscribed topic stops arriving but still counts. Delivery keeps order,
// so a topic still subscribed would arrive first.
TEST_F(PubSubTest, TopicEntryLimitsAndUnsubscribe) {
  const std::string longest(127, 'A');
  const std::string tooLong(128, 'B');
  Connect({kSyncTopic, tooLong, "Gone", longest});
  EXPECT_EQ(sub_.miSubscribed, 3);
  auto table = MakeTable({"Gone", std::string(128, 'C')});
  EXPECT_FALSE(sub_.UnsubscribeTopics(nullptr, table.get(), 1));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, nullptr, 1));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, table.get(), 0));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, table.get(), -1));
  EXPECT_TRUE(sub_.UnsubscribeTopics(subSock_, table.get(), 2));
  EXPECT_EQ(sub_.miSubscribed, 3);
  ASSERT_TRUE(pub_.SendJson(pubSock_, tooLong.c_str(), "dropped"));
  ASSERT_TRUE(pub_.SendJson(pubSock_, "Gone", "dropped"));
  ASSERT_TRUE(pub_.SendJson(pubSock_, longest.c_str(), "kept"));
  ASSERT_TRUE(ReadUntil([] { return !gDelivered.empty(); }));
  EXPECT_EQ(gDelivered[0].topic, longest);
  EXPECT_EQ(gDelivered[0].message, "kept");
}

// An empty topic subscribes everything. The reader returns the callback's
// result; a one-frame message reaches the callback without a message; with
// nothing waiting the result is 0; without a callback nothing is consumed.
TEST_F(PubSubTest, EmptyTopicAndTheReader) {
  Connect({""});
  EXPECT_EQ(sub_.miSubscribed, 1);
  for (const auto& [twoFrames, callbackResult] : {std::pair<bool, int>{true, 42}, {false, -1}}) {
    SCOPED_TRACE(twoFrames ? "two frames" : "one frame");
    gDelivered.clear();
    gResult = callbackResult;
    ASSERT_TRUE(twoFrames ? pub_.SendJson(pubSock_, "AnyTopic", "{\"a\":1}") : zstr_send(pubSock_, "T") == 0);
    int result = 0;
    ASSERT_TRUE(WaitUntil([&] {
      result = sub_.MessageReader(subSock_);
      return !gDelivered.empty();
    }));
    EXPECT_EQ(result, callbackResult);
    EXPECT_EQ(gDelivered[0].topic, twoFrames ? "AnyTopic" : "T");
    EXPECT_EQ(gDelivered[0].hasMessage, twoFrames);
    EXPECT_EQ(gDelivered[0].message, twoFrames ? "{\"a\":1}" : "");
  }
  EXPECT_EQ(sub_.MessageReader(subSock_), 0) << "nothing waiting";

  sub_.mpCallback = nullptr;
  ASSERT_TRUE(pub_.SendJson(pubSock_, "Queued", "x"));
  zpoller_t* poller = zpoller_new(subSock_, nullptr);
  ASSERT_NE(zpoller_wait(poller, 2000), nullptr);
  EXPECT_EQ(sub_.MessageReader(subSock_), 0);
  EXPECT_NE(zpoller_wait(poller, 0), nullptr) << "message was consumed";
  zpoller_destroy(&poller);
  sub_.mpCallback = Record;
  gDelivered.clear();
  gResult = 5;
  ASSERT_TRUE(WaitUntil([&] { return sub_.MessageReader(subSock_) == 5 && !gDelivered.empty(); }));
  EXPECT_EQ(gDelivered[0].topic, "Queued");
}

// Wire form of the three senders, seen by a plain SUB.
TEST(MqPubHandlerTest, SendersWireFrames) {
  MqPubHandler pub;
  zsock_t* pubSock = pub.BindMqOverIpc(kEndpoint, nullptr);
  zsock_t* sub = zsock_new_sub("ipc:///run/shm/mq/mqHandlerTest.ipc", "");
  ASSERT_TRUE(pubSock != nullptr && sub != nullptr);
  ASSERT_TRUE(SyncSubscriber(sub, [&] { pub.SendJson(pubSock, kSyncTopic, ""); }));
  ASSERT_TRUE(pub.SendJson(pubSock, "DolbyProcStatus", "{\"Status\" : \"Decoding\"}"));
  EXPECT_EQ(RecvFrames(sub), (Frames{"DolbyProcStatus", "{\"Status\" : \"Decoding\"}"}));

  // All sync copies came before that message: the picture reads see only what follows.
  ASSERT_TRUE(pub.SendUint32(pubSock, "Count", 0x01020304u));
  ASSERT_TRUE(pub.SendS44(pubSock, "Pair", 7u, 0xFFFFFFFFu));
  char* topics[2] = {nullptr, nullptr};
  uint32_t values[3] = {0, 0, 0};
  ASSERT_EQ(zsock_recv(sub, "s4", &topics[0], &values[0]), 0);
  ASSERT_EQ(zsock_recv(sub, "s44", &topics[1], &values[1], &values[2]), 0);
  EXPECT_STREQ(topics[0], "Count");
  EXPECT_STREQ(topics[1], "Pair");
  EXPECT_THAT(values, testing::ElementsAre(0x01020304u, 7u, 0xFFFFFFFFu));
  for (char*& topic : topics) zstr_free(&topic);

  for (zsock_t* s : {static_cast<zsock_t*>(nullptr), pubSock}) {
    const char* t = s == nullptr ? "t" : nullptr;  // a null socket, then a null topic
    EXPECT_FALSE(pub.SendJson(s, t, "{}"));
    EXPECT_FALSE(pub.SendUint32(s, t, 1));
    EXPECT_FALSE(pub.SendS44(s, t, 1, 2));
  }
  EXPECT_FALSE(pub.SendJson(pubSock, "t", nullptr));
  zsock_destroy(&sub);
  pub.DestroyMq(&pubSock);
}

// A failed bind or connect returns null and closes a socket it created; a
// socket handed in survives, stays the caller's and stays usable.
TEST(MqHandlerTest, RejectedArgumentsAndFailedBindsAndConnects) {
  MqPubHandler pub;
  MqSubHandler sub;
  auto table = MakeTable({"A", "B"});
  zsock_t* ownPub = zsock_new(ZMQ_PUB);
  zsock_t* ownSub = zsock_new(ZMQ_SUB);
  ASSERT_TRUE(ownPub != nullptr && ownSub != nullptr);
  const size_t baseline = SettledFdCount();
  for (const bool handedIn : {false, true}) {
    SCOPED_TRACE(handedIn ? "socket handed in" : "socket created");
    zsock_t* p = handedIn ? ownPub : nullptr;
    zsock_t* s = handedIn ? ownSub : nullptr;
    EXPECT_EQ(pub.BindMqOverIpc(nullptr, p), nullptr);
    EXPECT_EQ(pub.BindMqOverTcp(nullptr, 2100, p), nullptr);
    EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 0, p), nullptr);
    EXPECT_EQ(pub.BindMqOverUdp(kTcpHost, 2100, p), nullptr);
    EXPECT_EQ(pub.BindMqOverIpc(kTooLongName.c_str(), p), nullptr);
    EXPECT_EQ(pub.BindMqOverIpc("no-such-dir/x.ipc", p), nullptr);
    EXPECT_EQ(pub.BindMqOverTcp(kForeignHost, 2100, p), nullptr);
    EXPECT_EQ(sub.AddMqOverIpc(nullptr, table.get(), 2, s), nullptr);
    EXPECT_EQ(sub.AddMqOverTcp(nullptr, 2000, table.get(), 2, s), nullptr);
    EXPECT_EQ(sub.AddMqOverTcp(kTcpHost, 0, table.get(), 2, s), nullptr);
    EXPECT_EQ(sub.AddMqOverUdp(kTcpHost, 2000, table.get(), 2, s), nullptr);
    EXPECT_EQ(sub.AddMqOverIpc(kTooLongName.c_str(), table.get(), 2, s), nullptr);
    EXPECT_TRUE(WaitUntil([&] { return OpenFdCount() <= baseline; })) << "a socket created for a failure is still open";
  }
  EXPECT_EQ(sub.miSubscribed, 0) << "nothing subscribed on a failed connect";

  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 2101, ownPub), ownPub);
  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 2101, nullptr), nullptr) << "the port is taken";
  EXPECT_EQ(sub.AddMqOverTcp(kTcpHost, 2000, nullptr, 2, ownSub), ownSub);  // no table: nothing subscribed
  EXPECT_EQ(sub.miSubscribed, 0);
  EXPECT_EQ(sub.AddMqOverIpc(kEndpoint, table.get(), 2, ownSub), ownSub);
  EXPECT_EQ(sub.miSubscribed, 2);
  sub.mpCallback = Record;
  EXPECT_EQ(sub.MessageReader(nullptr), 0);

  for (int i = 0; i < 2; ++i) {  // the second round finds them closed already
    pub.DestroyMq(&ownPub);
    sub.DestroyMq(&ownSub);
    EXPECT_TRUE(ownPub == nullptr && ownSub == nullptr);
  }
  pub.DestroyMq(nullptr);
  sub.DestroyMq(nullptr);
}

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
           SyncSubscriber(sub_, [&] { pub_->SendJson(pub_->mpSock, kSyncTopic, ""); });
  }

  cPubHandler* pub_ = nullptr;
  zsock_t* sub_ = nullptr;
};

TEST_F(MetadataPublisherTest, FailedBindIsLoggedAndLeavesAnUnboundSocket) {
  const char* inNamespace = std::getenv("PLOVREST_IN_NETNS");
  if (inNamespace == nullptr || std::string(inNamespace) != "1") GTEST_SKIP() << "moves /run/shm/mq aside";
  ASSERT_EQ(std::rename("/run/shm/mq", "/run/shm/mq.aside"), 0);
  testing::internal::CaptureStderr();
  Init(1);
  const std::string err = testing::internal::GetCapturedStderr();
  ASSERT_EQ(std::rename("/run/shm/mq.aside", "/run/shm/mq"), 0);

  EXPECT_THAT(err, testing::HasSubstr("MetadataPublisher.cpp|"));
  EXPECT_THAT(err, testing::HasSubstr("|\"Failed to initialize HWM Pubs.\""));
  ASSERT_NE(pub_, nullptr);
  EXPECT_FALSE(pub_->mbBoundOverIpc);
  ASSERT_NE(pub_->mpSock, nullptr);
  EXPECT_TRUE(pub_->SendJson(pub_->mpSock, "DolbyMetadataGrp", "{}")) << "sends go nowhere";
  EXPECT_EQ(pub_->miSlot, 1);
}

// initPubs binds the metadata endpoint; the decoder-state message while the
// decoder is reported but the reader's subscription to it is not connected
// (the reader is not started here).
TEST_F(MetadataPublisherTest, BindAndStateWhileTheDecoderIsNotConnected) {
  EXPECT_EQ(Init(2), "bind to ipc://dlbMetadataPub.ipc");
  ASSERT_TRUE(Subscribe());
  EXPECT_TRUE(pub_->mbBoundOverIpc && !pub_->mbBoundOverTcp);
  EXPECT_EQ(pub_->miSlot, 2);
  cDlbStatusSubx reader;
  cJsonParseSysStatus::mbDolbyDecoderDetected = true;
  cDlbStatusSubx::miDecodingSource = 2;
  reader.PublishDolbyDecoderStatus(true);
  EXPECT_EQ(RecvFrames(sub_),
            (Frames{"DolbyProcStatus", R"({"Status" : "Not connected to Dolby Decoder", "Event" : "Dolby Preset"})"}));
  cJsonParseSysStatus::mbDolbyDecoderDetected = false;
  cDlbStatusSubx::miDecodingSource = 0;
  cDlbStatusSubx::mpPubs = nullptr;
}

}  // namespace

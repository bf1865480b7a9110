// Socket wrappers against real sockets on the private /run/shm/mq and the
// device's link-local addresses.

#include <czmq.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "MqPubHandler.h"
#include "MqSubHandler.h"
#include "MqTestSupport.h"

namespace {

using mqtest::FdCountSettlesAtMost;
using mqtest::MakeTable;
using mqtest::SettledFdCount;
using mqtest::WaitUntil;

constexpr const char* kEndpoint = "mqHandlerTest.ipc";
constexpr const char* kTcpHost = "169.254.2.3";
constexpr const char* kForeignHost = "10.99.99.99";  // not on this host: bind fails
// Longer than a unix socket path may be: bind and connect fail at once.
const std::string kTooLongName(200, 'n');

struct Delivery {
  std::string topic;
  bool hasMessage;
  std::string message;
};
std::vector<Delivery> gDelivered;
bool gSynced = false;
bool gFenced = false;
int gResult = 0;

int Record(const char* topic, const char* message) {
  if (std::strcmp(topic, mqtest::kSyncTopic) == 0) {
    gSynced = true;
    if (message != nullptr && std::strcmp(message, "fence") == 0) gFenced = true;
  } else {
    gDelivered.push_back({topic, message != nullptr, message ? message : ""});
  }
  return gResult;
}

// A PUB bound through MqPubHandler and a SUB connected through MqSubHandler,
// read with MessageReader.
class PubSubTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gDelivered.clear();
    gSynced = false;
    gFenced = false;
    gResult = 0;
    pubSock_ = pub_.BindMqOverIpc(kEndpoint, nullptr);
    ASSERT_NE(pubSock_, nullptr);
    sub_.mpCallback = Record;
  }
  void TearDown() override {
    sub_.DestroyMq(&subSock_);
    pub_.DestroyMq(&pubSock_);
  }

  void Connect(const std::vector<std::string>& topics) {
    auto table = MakeTable(topics);
    subSock_ = sub_.AddMqOverIpc(kEndpoint, table.get(), int(topics.size()), nullptr);
    ASSERT_NE(subSock_, nullptr);
    ASSERT_TRUE(WaitUntil([&] {
      pub_.SendJson(pubSock_, mqtest::kSyncTopic, "");
      sub_.MessageReader(subSock_);
      return gSynced;
    })) << "subscriber never joined";
    // Once the fence is read, no late sync copy is left in the queue.
    ASSERT_TRUE(pub_.SendJson(pubSock_, mqtest::kSyncTopic, "fence"));
    ASSERT_TRUE(WaitUntil([&] {
      sub_.MessageReader(subSock_);
      return gFenced;
    }));
  }

  // Reads until `n` non-sync messages were delivered.
  bool ReadDeliveries(size_t n) {
    return WaitUntil([&] {
      sub_.MessageReader(subSock_);
      return gDelivered.size() >= n;
    });
  }

  MqPubHandler pub_;
  MqSubHandler sub_;
  zsock_t* pubSock_ = nullptr;
  zsock_t* subSock_ = nullptr;
};

TEST_F(PubSubTest, TopicEntryNeedsItsTerminatorInsideTheEntry) {
  const std::string longest(127, 'A');
  const std::string tooLong(128, 'B');
  Connect({mqtest::kSyncTopic, tooLong, longest});
  EXPECT_EQ(sub_.miSubscribed, 2);

  // Delivery keeps order, so the unsubscribed topic would arrive first.
  ASSERT_TRUE(pub_.SendJson(pubSock_, tooLong.c_str(), "dropped"));
  ASSERT_TRUE(pub_.SendJson(pubSock_, longest.c_str(), "kept"));
  ASSERT_TRUE(ReadDeliveries(1));
  EXPECT_EQ(gDelivered[0].topic, longest);
  EXPECT_EQ(gDelivered[0].message, "kept");
}

TEST_F(PubSubTest, EmptyTopicAcceptsEverything) {
  Connect({""});
  EXPECT_EQ(sub_.miSubscribed, 1);
  ASSERT_TRUE(pub_.SendJson(pubSock_, "AnyTopicAtAll", "{\"a\":1}"));
  ASSERT_TRUE(ReadDeliveries(1));
  EXPECT_EQ(gDelivered[0].topic, "AnyTopicAtAll");
  EXPECT_EQ(gDelivered[0].message, "{\"a\":1}");
}

TEST_F(PubSubTest, ReaderPassesCallbackResultAndMissingMessage) {
  Connect({mqtest::kSyncTopic, "T"});
  struct Case {
    bool twoFrames;
    int callbackResult;
  };
  const Case cases[] = {{true, -1}, {true, 0}, {true, 42}, {false, 7}, {false, -1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.callbackResult) + (c.twoFrames ? " two frames" : " one frame"));
    gDelivered.clear();
    gResult = c.callbackResult;
    if (c.twoFrames) {
      ASSERT_TRUE(pub_.SendJson(pubSock_, "T", "payload"));
    } else {
      ASSERT_EQ(zstr_send(pubSock_, "T"), 0);
    }
    int result = 0;
    ASSERT_TRUE(WaitUntil([&] {
      result = sub_.MessageReader(subSock_);
      return !gDelivered.empty();
    }));
    EXPECT_EQ(result, c.callbackResult);
    EXPECT_EQ(gDelivered[0].hasMessage, c.twoFrames);
    if (c.twoFrames) {
      EXPECT_EQ(gDelivered[0].message, "payload");
    }
  }
  EXPECT_EQ(sub_.MessageReader(subSock_), 0) << "nothing waiting";
}

TEST_F(PubSubTest, ReaderWithoutCallbackLeavesMessageQueued) {
  Connect({mqtest::kSyncTopic, "Queued"});
  sub_.mpCallback = nullptr;
  ASSERT_TRUE(pub_.SendJson(pubSock_, "Queued", "x"));
  zpoller_t* poller = zpoller_new(subSock_, nullptr);
  ASSERT_NE(zpoller_wait(poller, 2000), nullptr);

  EXPECT_EQ(sub_.MessageReader(subSock_), 0);
  EXPECT_NE(zpoller_wait(poller, 0), nullptr) << "message was consumed";
  zpoller_destroy(&poller);

  sub_.mpCallback = Record;
  gResult = 5;
  ASSERT_TRUE(WaitUntil([&] { return sub_.MessageReader(subSock_) == 5 && !gDelivered.empty(); }));
  EXPECT_EQ(gDelivered[0].topic, "Queued");
}

TEST_F(PubSubTest, UnsubscribeStopsTopicButKeepsCount) {
  Connect({mqtest::kSyncTopic, "Gone", "Kept"});
  auto table = MakeTable({"Gone", std::string(128, 'C')});
  EXPECT_TRUE(sub_.UnsubscribeTopics(subSock_, table.get(), 2));
  EXPECT_EQ(sub_.miSubscribed, 3);

  EXPECT_FALSE(sub_.UnsubscribeTopics(nullptr, table.get(), 1));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, nullptr, 1));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, table.get(), 0));
  EXPECT_FALSE(sub_.UnsubscribeTopics(subSock_, table.get(), -1));

  ASSERT_TRUE(pub_.SendJson(pubSock_, "Gone", "1"));
  ASSERT_TRUE(pub_.SendJson(pubSock_, "Kept", "2"));
  ASSERT_TRUE(ReadDeliveries(1));
  EXPECT_EQ(gDelivered[0].topic, "Kept");
}

// Wire form of the three senders, seen by a plain SUB.
TEST(MqPubHandlerTest, SendersWireFrames) {
  MqPubHandler pub;
  zsock_t* pubSock = pub.BindMqOverIpc(kEndpoint, nullptr);
  ASSERT_NE(pubSock, nullptr);
  zsock_t* sub = zsock_new_sub("ipc:///run/shm/mq/mqHandlerTest.ipc", "");
  ASSERT_NE(sub, nullptr);
  ASSERT_TRUE(mqtest::SyncSubscriber(sub, [&] { pub.SendJson(pubSock, mqtest::kSyncTopic, ""); }));

  ASSERT_TRUE(pub.SendJson(pubSock, "DolbyProcStatus", "{\"Status\" : \"Decoding\"}"));
  EXPECT_EQ(mqtest::RecvFrames(sub),
            (std::vector<std::string>{"DolbyProcStatus", "{\"Status\" : \"Decoding\"}"}));
  // All sync copies came before that message: the picture reads below see
  // only what follows.

  ASSERT_TRUE(pub.SendUint32(pubSock, "Count", 0x01020304u));
  char* topic = nullptr;
  uint32_t a = 0, b = 0;
  ASSERT_EQ(zsock_recv(sub, "s4", &topic, &a), 0);
  EXPECT_STREQ(topic, "Count");
  EXPECT_EQ(a, 0x01020304u);
  zstr_free(&topic);

  ASSERT_TRUE(pub.SendS44(pubSock, "Pair", 7u, 0xFFFFFFFFu));
  ASSERT_EQ(zsock_recv(sub, "s44", &topic, &a, &b), 0);
  EXPECT_STREQ(topic, "Pair");
  EXPECT_EQ(a, 7u);
  EXPECT_EQ(b, 0xFFFFFFFFu);
  zstr_free(&topic);

  EXPECT_FALSE(pub.SendJson(nullptr, "t", "{}"));
  EXPECT_FALSE(pub.SendJson(pubSock, nullptr, "{}"));
  EXPECT_FALSE(pub.SendJson(pubSock, "t", nullptr));
  EXPECT_FALSE(pub.SendUint32(nullptr, "t", 1));
  EXPECT_FALSE(pub.SendUint32(pubSock, nullptr, 1));
  EXPECT_FALSE(pub.SendS44(nullptr, "t", 1, 2));
  EXPECT_FALSE(pub.SendS44(pubSock, nullptr, 1, 2));

  zsock_destroy(&sub);
  pub.DestroyMq(&pubSock);
  EXPECT_EQ(pubSock, nullptr);
  pub.DestroyMq(&pubSock);  // already closed
  pub.DestroyMq(nullptr);
}

TEST(MqPubHandlerTest, RejectedArgumentsAndFailedBinds) {
  MqPubHandler pub;
  zsock_t* own = zsock_new(ZMQ_PUB);
  ASSERT_NE(own, nullptr);
  const size_t baseline = SettledFdCount();

  EXPECT_EQ(pub.BindMqOverIpc(nullptr, nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverTcp(nullptr, 2100, nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 0, nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverUdp(kTcpHost, 2100, nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverIpc(kTooLongName.c_str(), nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverIpc("no-such-dir/x.ipc", nullptr), nullptr);
  EXPECT_EQ(pub.BindMqOverTcp(kForeignHost, 2100, nullptr), nullptr);
  EXPECT_TRUE(FdCountSettlesAtMost(baseline)) << "a socket created for a failed bind is still open";

  // A socket handed in survives every failure and stays usable.
  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 0, own), nullptr);
  EXPECT_EQ(pub.BindMqOverIpc(kTooLongName.c_str(), own), nullptr);
  EXPECT_EQ(pub.BindMqOverTcp(kForeignHost, 2101, own), nullptr);
  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 2101, own), own);

  // The port is now taken: a second bind fails.
  EXPECT_EQ(pub.BindMqOverTcp(kTcpHost, 2101, nullptr), nullptr);
  pub.DestroyMq(&own);
  EXPECT_EQ(own, nullptr);
}

TEST(MqSubHandlerTest, RejectedArgumentsAndFailedConnects) {
  MqSubHandler sub;
  auto table = MakeTable({"A", "B"});
  zsock_t* own = zsock_new(ZMQ_SUB);
  ASSERT_NE(own, nullptr);
  const size_t baseline = SettledFdCount();

  EXPECT_EQ(sub.AddMqOverIpc(nullptr, table.get(), 2, nullptr), nullptr);
  EXPECT_EQ(sub.AddMqOverTcp(nullptr, 2000, table.get(), 2, nullptr), nullptr);
  EXPECT_EQ(sub.AddMqOverTcp(kTcpHost, 0, table.get(), 2, nullptr), nullptr);
  EXPECT_EQ(sub.AddMqOverUdp(kTcpHost, 2000, table.get(), 2, nullptr), nullptr);
  EXPECT_EQ(sub.AddMqOverIpc(kTooLongName.c_str(), table.get(), 2, nullptr), nullptr);
  EXPECT_TRUE(FdCountSettlesAtMost(baseline)) << "a socket created for a failed connect is still open";

  EXPECT_EQ(sub.AddMqOverIpc(kTooLongName.c_str(), table.get(), 2, own), nullptr);
  EXPECT_EQ(sub.miSubscribed, 0) << "nothing subscribed on a failed connect";

  // Still the caller's, still usable; a missing table subscribes nothing.
  EXPECT_EQ(sub.AddMqOverTcp(kTcpHost, 2000, nullptr, 2, own), own);
  EXPECT_EQ(sub.miSubscribed, 0);
  EXPECT_EQ(sub.AddMqOverIpc(kEndpoint, table.get(), 2, own), own);
  EXPECT_EQ(sub.miSubscribed, 2);

  sub.mpCallback = Record;
  EXPECT_EQ(sub.MessageReader(nullptr), 0);
  sub.DestroyMq(&own);
  EXPECT_EQ(own, nullptr);
  sub.DestroyMq(&own);  // already closed
  sub.DestroyMq(nullptr);
}

TEST(SubHandlerTest, AddsOnTheMemberSocketAndSetsFlags) {
  auto table = MakeTable({"A"});
  SubHandler handler;
  EXPECT_FALSE(handler.AddMqOverIpc(kEndpoint, table.get(), 1)) << "no socket yet";
  EXPECT_FALSE(handler.AddMqOverTcp(kTcpHost, 2000, table.get(), 1));

  handler.mpSock = zsock_new(ZMQ_SUB);
  ASSERT_NE(handler.mpSock, nullptr);
  zsock_t* const sock = handler.mpSock;
  EXPECT_FALSE(handler.AddMqOverIpc(nullptr, table.get(), 1));
  EXPECT_FALSE(handler.AddMqOverTcp(nullptr, 2000, table.get(), 1));
  EXPECT_FALSE(handler.AddMqOverTcp(kTcpHost, 0, table.get(), 1));
  EXPECT_FALSE(handler.AddMqOverIpc(kTooLongName.c_str(), table.get(), 1));
  EXPECT_FALSE(handler.IsConnected());
  EXPECT_EQ(handler.mpSock, sock);

  EXPECT_TRUE(handler.AddMqOverIpc(kEndpoint, table.get(), 1));
  EXPECT_TRUE(handler.mbConnectedOverIpc);
  EXPECT_FALSE(handler.mbConnectedOverTcp);
  EXPECT_TRUE(handler.AddMqOverTcp(kTcpHost, 2000, table.get(), 1));
  EXPECT_TRUE(handler.mbConnectedOverTcp);
  EXPECT_EQ(handler.mpSock, sock);
  EXPECT_EQ(handler.miSubscribed, 2);
}  // the destructor closes the socket

}  // namespace

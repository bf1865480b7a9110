// The tools on the device's endpoints (run inside scripts/netns-run.sh): what
// the simulator publishes as decoder and monitors reaches a subscriber, and
// the tap shows what is published on the daemon's endpoint.
// Every wait is bounded and ends on an observed message, never on a delay.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zmq.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <csignal>
#include <optional>
#include <sstream>
#include <thread>

#include "Messaging/Topics.h"
#include "MqEndpoints.h"
#include "PADMetadataJsonDecStatus.h"
#include "ToolProcess.h"
#include "common/JsonText.h"
#include "scenario/Scenario.h"

namespace {

using tooltest::Ms;
using tooltest::ToolProcess;

constexpr Ms kWait(15000);

std::string Tcp(const char* address, unsigned port) {
  char buf[64];
  std::snprintf(buf, sizeof buf, mq::kTcpFormat, address, port);
  return buf;
}

std::string Ipc(const char* name) {
  char buf[256];
  std::snprintf(buf, sizeof buf, mq::kIpcFormat, mq::kIpcDir, name);
  return buf;
}

// The compact form of a JSON text, for comparing documents.
std::string Canonical(const std::string& json) {
  rapidjson::Document d;
  d.Parse(json.c_str());
  return tools::CompactJson(d);
}

struct Frames {
  std::vector<std::string> parts;
};

class Socket {
 public:
  Socket(void* context, int type) : mSocket(zmq_socket(context, type)) {
    const int linger = 0;
    zmq_setsockopt(mSocket, ZMQ_LINGER, &linger, sizeof linger);
  }
  ~Socket() { zmq_close(mSocket); }
  void* get() const { return mSocket; }

  // One whole message within the time-out.
  std::optional<Frames> Receive(Ms timeout) {
    zmq_pollitem_t item = {mSocket, 0, ZMQ_POLLIN, 0};
    if (zmq_poll(&item, 1, static_cast<long>(timeout.count())) <= 0) return std::nullopt;
    Frames f;
    int more = 1;
    while (more) {
      zmq_msg_t msg;
      zmq_msg_init(&msg);
      if (zmq_msg_recv(&msg, mSocket, 0) < 0) return std::nullopt;
      f.parts.emplace_back(static_cast<const char*>(zmq_msg_data(&msg)), zmq_msg_size(&msg));
      more = zmq_msg_more(&msg);
      zmq_msg_close(&msg);
    }
    return f;
  }

  // Messages until one has the topic, within the time-out.
  std::optional<Frames> ReceiveTopic(const std::string& topic, Ms timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
      const auto left = std::chrono::duration_cast<Ms>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return std::nullopt;
      auto f = Receive(left);
      if (!f) return std::nullopt;
      if (!f->parts.empty() && f->parts[0] == topic) return f;
    }
  }

 private:
  void* mSocket;
};

class LiveTools : public ::testing::Test {
 protected:
  void SetUp() override { mContext = zmq_ctx_new(); }
  void TearDown() override { zmq_ctx_term(mContext); }
  void* mContext = nullptr;
};

TEST_F(LiveTools, DecoderRecordsReachASubscriber) {
  ToolProcess sim(PLOVREST_SIM_PATH, {"--scenario", "ddp", "--rate", "50", "-q"});
  Socket sub(mContext, ZMQ_SUB);
  zmq_setsockopt(sub.get(), ZMQ_SUBSCRIBE, topic::kDolbyMetadataEvent, std::strlen(topic::kDolbyMetadataEvent));
  ASSERT_EQ(zmq_connect(sub.get(), Tcp(mq::kSlot1Addr, mq::kDecoderPubPort).c_str()), 0);

  const auto message = sub.Receive(kWait);
  ASSERT_TRUE(message.has_value()) << sim.Stderr();
  ASSERT_EQ(message->parts.size(), 2u);
  EXPECT_EQ(message->parts[0], topic::kDolbyMetadataEvent);
  ASSERT_EQ(message->parts[1].size(), kRecordSize);

  tools::Scenario ddp;
  std::string error;
  ASSERT_TRUE(tools::LoadBuiltinScenario("ddp", ddp, error)) << error;
  EXPECT_EQ(std::memcmp(message->parts[1].data(), &ddp.steps[0].record, kRecordSize), 0);

  sim.Signal(SIGTERM);
  EXPECT_EQ(sim.Wait(kWait), std::optional<int>(0));
}

// Monitor states given at the start reach a subscriber that connects later:
// the simulator sends them again to each new subscriber.
TEST_F(LiveTools, MonitorStatesReachALateSubscriber) {
  ToolProcess sim(PLOVREST_SIM_PATH, {"--no-decoder", "--zoom", "on", "--lines", "9,10,2000",
                                      "--decoder-state", "processing", "--at", "1:zoom off"});
  Socket hwm(mContext, ZMQ_SUB), hbmon(mContext, ZMQ_SUB);
  zmq_setsockopt(hwm.get(), ZMQ_SUBSCRIBE, "", 0);
  zmq_setsockopt(hbmon.get(), ZMQ_SUBSCRIBE, "", 0);
  ASSERT_EQ(zmq_connect(hwm.get(), Tcp(mq::kSlot1Addr, mq::kHwmPubPort).c_str()), 0);

  const auto zoom = hwm.ReceiveTopic(topic::kHwmDlbZoom, kWait);
  ASSERT_TRUE(zoom.has_value()) << sim.Stdout() << sim.Stderr();
  EXPECT_EQ(zoom->parts[1], "{}");
  const auto lines = hwm.ReceiveTopic(topic::kHwmDlbZoomVideoLines, kWait);
  ASSERT_TRUE(lines.has_value());
  EXPECT_EQ(lines->parts[1], R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":2000})");

  ASSERT_EQ(zmq_connect(hbmon.get(), Ipc(mq::kHbMonPubIpc).c_str()), 0);
  const auto status = hbmon.ReceiveTopic(topic::kHbSysStatusEvent, kWait);
  ASSERT_TRUE(status.has_value()) << sim.Stdout();
  EXPECT_EQ(status->parts[1], R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})");

  // The timed event arrives live or, for a subscriber that came after it,
  // as the latest selection state.
  ASSERT_TRUE(hwm.ReceiveTopic(topic::kHwmDolbyDecodeStop, kWait).has_value()) << sim.Stdout();

  sim.Signal(SIGTERM);
  ASSERT_EQ(sim.Wait(kWait), std::optional<int>(0));
  EXPECT_THAT(sim.Stdout(), ::testing::HasSubstr("hwm        subscribed: (everything)"));
  EXPECT_THAT(sim.Stdout(), ::testing::HasSubstr("hwm        HwmDolbyDecodeStop {}   (zoom off)"));
}

// The tap receives a rendered status document on the daemon's endpoint and
// prints it as a JSON line with the document as its payload.
TEST_F(LiveTools, TapPrintsPublishedDocumentsAsJsonLines) {
  tools::Scenario dolbyE;
  std::string error;
  ASSERT_TRUE(tools::LoadBuiltinScenario("dolby-e", dolbyE, error)) << error;
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  ASSERT_NE(renderer, nullptr);
  renderer->PrepareMetadataJson(dolbyE.steps[0].record, 1700000000);
  const std::string document = renderer->GetString();
  const std::string state = R"({"Status" : "Decoding", "Event" : "Dolby Zoom"})";

  Socket pub(mContext, ZMQ_PUB);
  ASSERT_EQ(zmq_bind(pub.get(), Ipc(mq::kDlbMetadataPubIpc).c_str()), 0);
  ToolProcess tap(PLOVREST_TAP_PATH, {"--jsonl", "--topic", topic::kDolbyMetadataGrp, "--topic",
                                      topic::kDolbyProcStatus, "--count", "4", "--timeout", "30"});
  // Publish until the tap has seen its four messages and exits.
  std::optional<int> status;
  const auto deadline = std::chrono::steady_clock::now() + kWait;
  while (!(status = tap.Wait(Ms(20))) && std::chrono::steady_clock::now() < deadline) {
    for (const std::string* topicAndPayload : {&state, &document}) {
      const std::string topic = topicAndPayload == &state ? topic::kDolbyProcStatus : topic::kDolbyMetadataGrp;
      zmq_send(pub.get(), topic.data(), topic.size(), ZMQ_SNDMORE);
      zmq_send(pub.get(), topicAndPayload->data(), topicAndPayload->size(), 0);
    }
    const std::string other = topic::kDolbyPAData;
    zmq_send(pub.get(), other.data(), other.size(), ZMQ_SNDMORE);
    zmq_send(pub.get(), "{}", 2, 0);
  }
  ASSERT_EQ(status, std::optional<int>(0)) << tap.Stderr();

  std::istringstream lines(tap.Stdout());
  int seen = 0;
  for (std::string line; std::getline(lines, line); ++seen) {
    rapidjson::Document doc;
    ASSERT_TRUE(tools::ParseJsonText(line, doc, error)) << error << ": " << line;
    const std::string topic = doc["topic"].GetString();
    ASSERT_NE(topic, topic::kDolbyPAData) << "filtered out by --topic";
    const std::string& sent = topic == topic::kDolbyProcStatus ? state : document;
    EXPECT_EQ(doc["size"].GetUint(), sent.size());
    EXPECT_EQ(tools::CompactJson(doc["payload"]), Canonical(sent));
  }
  EXPECT_EQ(seen, 4);
}

TEST_F(LiveTools, TapTimesOutWithStatusThreeWhenTooFewMessagesArrive) {
  ToolProcess tap(PLOVREST_TAP_PATH, {"--count", "1", "--timeout", "0.3"});
  EXPECT_EQ(tap.Wait(kWait), std::optional<int>(3));
  EXPECT_THAT(tap.Stderr(), ::testing::HasSubstr("--timeout: 0 of 1 messages received"));
}

}  // namespace

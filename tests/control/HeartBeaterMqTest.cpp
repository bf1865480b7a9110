// Heartbeat client against a stand-in collector on the fixed endpoints. Runs
// inside the private namespace (169.254.2.2 on lo, private /run/shm/mq).
#include "HeartBeater.h"

#include <czmq.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ConsoleLog.h"

namespace {

using Frames = std::vector<std::string>;
constexpr int kRecvTimeoutMs = 5000;  // bound on every wait; never a pass criterion
constexpr const char* kRecord = R"({"HbKey":"PlovrestDaemon","Version":"Tessaly-v0.0.65","State":1})";
const Frames kBeat{"HbProc", kRecord};
const Frames kReboot{"HbFwdAppCmd", R"({"Command":9})"};
const Frames kUpgrade{"HbFwdAppCmd", R"({"Command":100})"};

class HeartBeaterMqTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(UseConsoleLogger(), nullptr);
    hb = cHeartBeater::GetInstance();
    ASSERT_NE(hb, nullptr);
    cHeartBeater::mLogLevel = MSG_LEVEL_DEBUG;
    hb->CloseMq();
    hb->mbVersionSet = false;
  }
  void TearDown() override {
    hb->CloseMq();
    zsock_destroy(&pull);
  }

  // The previous test's collector closes asynchronously and may hold the
  // port for a moment: retry the bind a bounded number of times.
  void BindCollector(const char* endpoint) {
    pull = zsock_new(ZMQ_PULL);
    ASSERT_NE(pull, nullptr);
    zsock_set_rcvtimeo(pull, kRecvTimeoutMs);
    int rc = -1;
    for (int attempt = 0; attempt < 500 && rc == -1; ++attempt) {
      rc = zsock_bind(pull, "%s", endpoint);  // the port for tcp, 0 for ipc
      if (rc == -1) zclock_sleep(10);
    }
    ASSERT_NE(rc, -1) << endpoint;
  }

  Frames Receive() {  // empty when nothing arrived in time
    Frames frames;
    zmsg_t* msg = zmsg_recv(pull);
    for (char* f = msg ? zmsg_popstr(msg) : nullptr; f != nullptr; f = zmsg_popstr(msg)) {
      frames.emplace_back(f);
      zstr_free(&f);
    }
    zmsg_destroy(&msg);
    return frames;
  }

  cHeartBeater* hb = nullptr;
  zsock_t* pull = nullptr;
};

TEST_F(HeartBeaterMqTest, SendsEveryMessageKind) {
  ASSERT_NO_FATAL_FAILURE(BindCollector("tcp://169.254.2.2:10000"));
  ASSERT_TRUE(hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING));
  ASSERT_TRUE(hb->ConnectMqOverTcp());
  EXPECT_TRUE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendRebootCommand());
  EXPECT_TRUE(hb->SendSwUpgradeCommand());
  EXPECT_EQ(Receive(), kBeat);
  EXPECT_EQ(Receive(), Frames{"HbReqRepubSysStatus"});
  EXPECT_EQ(Receive(), kReboot);
  EXPECT_EQ(Receive(), kUpgrade);
}

// Heartbeats and re-publication requests need the record, commands do not:
// the command that follows shows nothing went out before it.
TEST_F(HeartBeaterMqTest, WithoutRecordOnlyCommandsGoOut) {
  ASSERT_NO_FATAL_FAILURE(BindCollector("tcp://169.254.2.2:10000"));
  ASSERT_TRUE(hb->ConnectMqOverTcp());
  EXPECT_FALSE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendRebootCommand());
  EXPECT_EQ(Receive(), kReboot);

  EXPECT_FALSE(hb->SetHeartBeatJson(nullptr, "v", PROCESS_STATUS_RUNNING));
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendSwUpgradeCommand());
  EXPECT_EQ(Receive(), kUpgrade);
}

TEST_F(HeartBeaterMqTest, SecondConnectKeepsTheFirstSocket) {
  ASSERT_NO_FATAL_FAILURE(BindCollector("tcp://169.254.2.2:10000"));
  ASSERT_TRUE(hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING));
  ConsoleCapture cap;
  const bool first = hb->ConnectMqOverTcp();
  zsock_t* const sock = hb->mpPushSock;
  const bool again = hb->ConnectMqOverTcp();
  const bool ipc = hb->ConnectMqOverIpc();
  const std::string out = cap.Out();
  const std::string err = cap.Err();
  EXPECT_TRUE(first);
  EXPECT_FALSE(again);
  EXPECT_FALSE(ipc);
  EXPECT_EQ(hb->mpPushSock, sock);
  EXPECT_NE(out.find(R"(|"Tryig to connect tcp://169.254.2.2:10000")"), std::string::npos) << out;
  EXPECT_NE(out.find(R"(|"Connected to tcp://169.254.2.2:10000")"), std::string::npos) << out;
  EXPECT_NE(err.find(R"(|"Seems this instance already connected to tcp://169.254.2.2:10000")"),
            std::string::npos) << err;
  EXPECT_NE(err.find(R"(|"Seems this instance already connected to ipc:///run/shm/mq/hbMonPullMq.ipc")"),
            std::string::npos) << err;
  EXPECT_TRUE(hb->SendBeat());
  EXPECT_EQ(Receive(), kBeat);
}

TEST_F(HeartBeaterMqTest, IpcEndpointAndReconnect) {
  ASSERT_NO_FATAL_FAILURE(BindCollector("ipc:///run/shm/mq/hbMonPullMq.ipc"));
  ASSERT_TRUE(hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING));
  ConsoleCapture cap;
  const bool connected = hb->ConnectMqOverIpc();
  const std::string out = cap.Out();
  ASSERT_TRUE(connected);
  EXPECT_NE(out.find(R"(|"Tryig to connect ipc:///run/shm/mq/hbMonPullMq.ipc")"), std::string::npos)
      << out;
  EXPECT_NE(out.find(R"(|"Connected to ipc:///run/shm/mq/hbMonPullMq.ipc")"), std::string::npos)
      << out;

  hb->CloseMq();
  EXPECT_EQ(hb->mpPushSock, nullptr);
  EXPECT_FALSE(hb->SendBeat());
  ASSERT_TRUE(hb->ConnectMqOverIpc());
  EXPECT_TRUE(hb->SendBeat());
  EXPECT_EQ(Receive(), kBeat);
}

}  // namespace

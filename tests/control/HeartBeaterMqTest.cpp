// Heartbeat client against a stand-in collector on the fixed endpoints. Runs
// inside the private namespace (169.254.2.2 on lo, private /run/shm/mq).
#include "HeartBeater.h"

#include <czmq.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ControlTestSupport.h"

namespace {

using ::testing::HasSubstr;

using Frames = std::vector<std::string>;
const std::string kTcp = "tcp://169.254.2.2:10000";
const std::string kIpc = "ipc:///run/shm/mq/hbMonPullMq.ipc";
const Frames kReboot{"HbFwdAppCmd", R"({"Command":9})"};

// One collector bound on both endpoints the client may connect to.
class HeartBeaterMqTest : public HeartBeaterFixture {
 protected:
  void SetUp() override {
    HeartBeaterFixture::SetUp();
    pull = zsock_new(ZMQ_PULL);
    ASSERT_NE(pull, nullptr);
    zsock_set_rcvtimeo(pull, 5000);  // bound on every wait; never a pass criterion
    for (const std::string& endpoint : {kTcp, kIpc}) {
      // The previous test's collector closes asynchronously and may hold the
      // port for a moment: retry the bind a bounded number of times.
      int rc = -1;
      for (int attempt = 0; attempt < 500 && rc == -1; ++attempt) {
        if ((rc = zsock_bind(pull, "%s", endpoint.c_str())) == -1) zclock_sleep(10);
      }
      ASSERT_NE(rc, -1) << endpoint;
    }
  }
  void TearDown() override {
    HeartBeaterFixture::TearDown();
    zsock_destroy(&pull);
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

  zsock_t* pull = nullptr;
};

// Heartbeats and re-publication requests need the record, commands do not:
// the command that follows shows nothing went out before it.
TEST_F(HeartBeaterMqTest, WhatGoesOutDependsOnTheRecord) {
  ASSERT_TRUE(hb->ConnectMqOverTcp());
  EXPECT_FALSE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendRebootCommand());
  EXPECT_EQ(Receive(), kReboot);

  ASSERT_TRUE(SetRecord());
  EXPECT_TRUE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendSwUpgradeCommand());
  EXPECT_EQ(Receive(), (Frames{"HbProc", kRecord}));
  EXPECT_EQ(Receive(), Frames{"HbReqRepubSysStatus"});
  EXPECT_EQ(Receive(), (Frames{"HbFwdAppCmd", R"({"Command":100})"}));

  EXPECT_FALSE(hb->SetHeartBeatJson(nullptr, "v", PROCESS_STATUS_RUNNING));  // drops the record
  EXPECT_FALSE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_TRUE(hb->SendRebootCommand());
  EXPECT_EQ(Receive(), kReboot);
}

// A second connect, over either transport, keeps the first socket; after
// CloseMq nothing goes out (and nothing breaks) until the next connect.
TEST_F(HeartBeaterMqTest, ConnectLinesSecondConnectAndReconnect) {
  ASSERT_TRUE(SetRecord());
  for (const std::string& endpoint : {kIpc, kTcp}) {
    SCOPED_TRACE(endpoint);
    ConsoleCapture cap;
    const bool connected = endpoint == kIpc ? hb->ConnectMqOverIpc() : hb->ConnectMqOverTcp();
    zsock_t* const sock = hb->mpPushSock;
    const bool again = hb->ConnectMqOverTcp() || hb->ConnectMqOverIpc();
    const std::string out = cap.Out();
    const std::string err = cap.Err();
    ASSERT_TRUE(connected);
    EXPECT_FALSE(again);
    EXPECT_EQ(hb->mpPushSock, sock);
    EXPECT_THAT(out, HasSubstr("|DEBUG|HeartBeater.cpp|"));
    EXPECT_THAT(out, HasSubstr("|\"Tryig to connect " + endpoint + "\""));
    EXPECT_THAT(out, HasSubstr("|INFO|HeartBeater.cpp|"));
    EXPECT_THAT(out, HasSubstr("|\"Connected to " + endpoint + "\""));
    for (const std::string& other : {kTcp, kIpc}) {
      EXPECT_THAT(err, HasSubstr("|\"Seems this instance already connected to " + other + "\""));
    }
    EXPECT_TRUE(hb->SendBeat());
    EXPECT_EQ(Receive(), (Frames{"HbProc", kRecord}));
    hb->CloseMq();
    EXPECT_EQ(hb->mpPushSock, nullptr);
    EXPECT_FALSE(hb->SendBeat());
    hb->RequestRepub();
    EXPECT_FALSE(hb->SendRebootCommand());
    EXPECT_FALSE(hb->SendSwUpgradeCommand());
  }
}

}  // namespace

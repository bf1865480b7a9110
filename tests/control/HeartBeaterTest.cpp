// Heartbeat client: its record, and what it sends to a stand-in collector on
// the fixed endpoints (inside the private namespace).
#include "Captured.h"
#include "DaemonHarness.h"
#include "HeartBeater.h"

#include <czmq.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Logger.h"

namespace {

using ::testing::HasSubstr;

using Frames = std::vector<std::string>;
const std::string kTcp = "tcp://169.254.2.2:10000";
const std::string kIpc = "ipc:///run/shm/mq/hbMonPullMq.ipc";
const Frames kReboot{"HbFwdAppCmd", R"({"Command":9})"};


// The client logging at every level, and one collector bound on both
// endpoints the client may connect to.
class HeartBeaterTest : public testing::Test {
 protected:
  void SetUp() override {
    Logger* logger = Logger::GetInstance();
    ASSERT_NE(logger, nullptr);
    logger->mLevel = MSG_LEVEL_DEBUG;
    logger->mbConsole = true;
    hb = cHeartBeater::GetInstance();
    ASSERT_NE(hb, nullptr);
    cHeartBeater::mLogLevel = MSG_LEVEL_DEBUG;
    hb->CloseMq();
    hb->mbVersionSet = false;
    pull = zsock_new(ZMQ_PULL);
    ASSERT_NE(pull, nullptr);
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
    hb->CloseMq();
    zsock_destroy(&pull);
  }

  static constexpr const char* kRecord = R"({"HbKey":"PlovrestDaemon","Version":"Tessaly-v0.0.65","State":1})";
  bool SetRecord() { return hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING); }

  Frames Receive() {  // empty when nothing arrived in time
    const auto m = harness::Receive(pull, harness::Ms(5000));
    return !m ? Frames{} : m->frames == 1 ? Frames{m->topic} : Frames{m->topic, m->payload};
  }

  cHeartBeater* hb = nullptr;
  zsock_t* pull = nullptr;
};

// A missing version is logged and stands as "Unknown"; a missing key drops
// the record. The record is bounded and a shorter one leaves no tail.
TEST_F(HeartBeaterTest, Record) {
  ASSERT_TRUE(SetRecord());
  EXPECT_TRUE(hb->mbVersionSet);
  EXPECT_STREQ(hb->mHbJson, kRecord);
  bool ok = false;
  const std::string err = Captured([&] { ok = hb->SetHeartBeatJson("X", nullptr, PROCESS_STATUS_STOPPING); }).second;
  EXPECT_TRUE(ok);
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"X","Version":"Unknown","State":3})");
  EXPECT_THAT(err, HasSubstr(R"(|WARN|HeartBeater.cpp|)"));
  EXPECT_THAT(err, HasSubstr(R"(|"HB Version not set by this process.!")"));
  EXPECT_FALSE(hb->SetHeartBeatJson(nullptr, "v1", PROCESS_STATUS_RUNNING));
  EXPECT_FALSE(hb->mbVersionSet);

  const std::string longName(600, 'n');
  ASSERT_TRUE(hb->SetHeartBeatJson(longName.c_str(), "v", PROCESS_STATUS_RUNNING));
  EXPECT_EQ(std::string(hb->mHbJson), R"({"HbKey":")" + std::string(500, 'n'));  // 510 characters
  ASSERT_TRUE(hb->SetHeartBeatJson("s", "v", PROCESS_STATUS_RUNNING));
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"s","Version":"v","State":1})");
  EXPECT_EQ(hb->mHbJson[100], '\0');  // no tail of the longer record
}

// Heartbeats and re-publication requests need the record, commands do not:
// the command that follows shows nothing went out before it.
TEST_F(HeartBeaterTest, WhatGoesOutDependsOnTheRecord) {
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
TEST_F(HeartBeaterTest, ConnectLinesSecondConnectAndReconnect) {
  ASSERT_TRUE(SetRecord());
  for (const std::string& endpoint : {kIpc, kTcp}) {
    SCOPED_TRACE(endpoint);
    bool connected = false, again = true;
    zsock_t* sock = nullptr;
    const auto [out, err] = Captured([&] {
      connected = endpoint == kIpc ? hb->ConnectMqOverIpc() : hb->ConnectMqOverTcp();
      sock = hb->mpPushSock;
      again = hb->ConnectMqOverTcp() || hb->ConnectMqOverIpc();
    });
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

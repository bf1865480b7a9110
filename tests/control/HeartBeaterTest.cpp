// Heartbeat record and application-command decoding; no socket involved.
#include "HeartBeater.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ConsoleLog.h"

namespace {

class HeartBeaterRecordTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(UseConsoleLogger(), nullptr);
    hb = cHeartBeater::GetInstance();
    ASSERT_NE(hb, nullptr);
    cHeartBeater::mLogLevel = MSG_LEVEL_DEBUG;
  }
  cHeartBeater* hb = nullptr;
};

TEST_F(HeartBeaterRecordTest, Record) {
  ASSERT_TRUE(hb->SetHeartBeatJson("PlovrestDaemon", "Tessaly-v0.0.65", PROCESS_STATUS_RUNNING));
  EXPECT_TRUE(hb->mbVersionSet);
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"PlovrestDaemon","Version":"Tessaly-v0.0.65","State":1})");

  ConsoleCapture cap;
  const bool ok = hb->SetHeartBeatJson("X", nullptr, PROCESS_STATUS_STOPPING);
  const std::string err = cap.Err();
  EXPECT_TRUE(ok);
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"X","Version":"Unknown","State":3})");
  EXPECT_NE(err.find(R"(HeartBeater.cpp|)"), std::string::npos) << err;
  EXPECT_NE(err.find(R"(|"HB Version not set by this process.!")"), std::string::npos) << err;

  EXPECT_FALSE(hb->SetHeartBeatJson(nullptr, "v1", PROCESS_STATUS_RUNNING));
  EXPECT_FALSE(hb->mbVersionSet);
}

TEST_F(HeartBeaterRecordTest, RecordIsBounded) {
  const std::string longName(600, 'n');
  ASSERT_TRUE(hb->SetHeartBeatJson(longName.c_str(), "v", PROCESS_STATUS_RUNNING));
  EXPECT_EQ(std::string(hb->mHbJson), R"({"HbKey":")" + std::string(500, 'n'));  // 510 characters

  ASSERT_TRUE(hb->SetHeartBeatJson("s", "v", PROCESS_STATUS_RUNNING));
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"s","Version":"v","State":1})");
  EXPECT_EQ(hb->mHbJson[100], '\0');  // no tail of the longer record
}

TEST_F(HeartBeaterRecordTest, NothingIsSentWithoutAConnection) {
  hb->CloseMq();
  ASSERT_TRUE(hb->SetHeartBeatJson("X", "v1", PROCESS_STATUS_RUNNING));
  EXPECT_FALSE(hb->SendBeat());
  hb->RequestRepub();
  EXPECT_FALSE(hb->SendRebootCommand());
  EXPECT_FALSE(hb->SendSwUpgradeCommand());
}

TEST(HeartBeaterAppCommandTest, ParseAppCommand) {
  const std::pair<const char*, int> cases[] = {
      {R"({"Command":9})", 9},          {R"({"Command":100,"Extra":"x"})", 100},
      {R"({"Command":-3})", -3},        {R"({"Command":2147483647})", 2147483647},
      {R"({"Command":2147483648})", -1}, {R"({"Command":"9"})", -1},
      {R"({"Command":9.0})", -1},       {R"({"Command":null})", -1},
      {R"({"Cmd":9})", -1},             {R"({"Command":9)", -1},
      {"[9]", -1},                      {"", -1},
      {nullptr, -1},
  };
  for (const auto& [json, expected] : cases) {
    SCOPED_TRACE(json ? json : "(null)");
    EXPECT_EQ(cHeartBeater::ParseAppCommand(json), expected);
  }
}

}  // namespace

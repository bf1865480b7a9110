// Heartbeat record and application-command decoding; no socket involved.
#include "HeartBeater.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ControlTestSupport.h"

namespace {

using ::testing::HasSubstr;

using HeartBeaterRecordTest = HeartBeaterFixture;

TEST_F(HeartBeaterRecordTest, Record) {
  ASSERT_TRUE(SetRecord());
  EXPECT_TRUE(hb->mbVersionSet);
  EXPECT_STREQ(hb->mHbJson, kRecord);

  ConsoleCapture cap;
  const bool ok = hb->SetHeartBeatJson("X", nullptr, PROCESS_STATUS_STOPPING);
  const std::string err = cap.Err();
  EXPECT_TRUE(ok);
  EXPECT_STREQ(hb->mHbJson, R"({"HbKey":"X","Version":"Unknown","State":3})");
  EXPECT_THAT(err, HasSubstr(R"(|WARN|HeartBeater.cpp|)"));
  EXPECT_THAT(err, HasSubstr(R"(|"HB Version not set by this process.!")"));

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

TEST(HeartBeaterAppCommandTest, ParseAppCommand) {
  const std::pair<const char*, int> cases[] = {
      {R"({"Command":9})", 9},           {R"({"Command":100,"Extra":"x"})", 100},
      {R"({"Command":-3})", -3},         {R"({"Command":2147483647})", 2147483647},
      {R"({"Command":2147483648})", -1}, {R"({"Command":"9"})", -1},
      {R"({"Command":9.0})", -1},        {R"({"Cmd":9})", -1},
      {R"({"Command":9)", -1},           {"[9]", -1},
      {nullptr, -1},
  };
  for (const auto& [json, expected] : cases) {
    EXPECT_EQ(cHeartBeater::ParseAppCommand(json), expected) << (json ? json : "(null)");
  }
}

}  // namespace

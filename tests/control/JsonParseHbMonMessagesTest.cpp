// System-status and process-table messages from the process monitor.
#include "JsonParseHbMonMessages.h"

#include <gtest/gtest.h>

#include <string>

#include "ControlTestSupport.h"

namespace {

class SysStatusTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(UseConsoleLogger(), nullptr);
    cJsonParseSysStatus parser;  // resets the flags and fetches the logger
    EXPECT_FALSE(cJsonParseSysStatus::mbSysStatus);
    EXPECT_FALSE(cJsonParseSysStatus::mbDolbyDecoderDetected);
  }
  // Runs one parse with the flags preset; returns the captured stderr.
  std::string Parse(const char* json, bool checkDolby, bool def, bool sysBefore, bool dolbyBefore) {
    cJsonParseSysStatus::mbSysStatus = sysBefore;
    cJsonParseSysStatus::mbDolbyDecoderDetected = dolbyBefore;
    changed = !dolbyBefore;  // must be overwritten
    ConsoleCapture cap;
    result = cJsonParseSysStatus::ParseSysStatus(json, checkDolby, def, &changed);
    return cap.Err();
  }
  bool result = false;
  bool changed = false;
};

// "Okay..." sets the system status; with the check on, a decoder state
// starting "Processing" sets the detection. A change of detection is
// reported, logged as the expression text itself.
TEST_F(SysStatusTest, SystemAndDecoderStatus) {
  const struct { const char* json; bool checkDolby, dolbyBefore, sys, dolby; } cases[] = {
      {R"({"SystemStatus":"Okay"})", true, true, true, false},
      {R"({"SystemStatus":"Okay, all up"})", true, false, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing DD+"}})", true, false, true, true},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})", true, true, true, true},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processin"}})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":1}})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":"Processing"})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})", false, false, true, false},
      {R"({"SystemStatus":"Fault","DolbyDecoder":{"State":"Processing"}})", true, false, false, false},
      {R"({"SystemStatus":"Oka"})", true, true, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.json) + (c.checkDolby ? " checked" : "") + (c.dolbyBefore ? " was detected" : ""));
    const std::string err = Parse(c.json, c.checkDolby, false, !c.sys, c.dolbyBefore);
    const bool flipped = c.dolby != c.dolbyBefore;
    EXPECT_TRUE(result);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, c.sys);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, c.dolby);
    EXPECT_EQ(changed, flipped);
    const std::string json = c.json;  // the status text follows {"SystemStatus":"
    const std::string status = json.substr(17, json.find('"', 17) - 17);
    EXPECT_TRUE(Contains(err, "|WARN|JsonParseHbMonMessages.cpp|")) << err;
    EXPECT_TRUE(Contains(err, "|\"Got System status " + status + (c.sys ? " 1.\"" : " 0.\""))) << err;
    EXPECT_EQ(Contains(err, R"(|detected_now ? "Dolby decoder detected." : "Dolby decoder no longer processing.")"),
              flipped) << err;
  }
}

TEST_F(SysStatusTest, NonStringStatusChangesNothing) {
  for (bool before : {false, true}) {
    const std::string err =
        Parse(R"({"SystemStatus":1,"DolbyDecoder":{"State":"Processing"}})", true, !before, before, before);
    EXPECT_TRUE(result);
    EXPECT_FALSE(changed);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, before);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, before);
    EXPECT_EQ(err, "");
  }
}

TEST_F(SysStatusTest, UnusableMessageFallsBackToTheDefault) {
  const char* malformed = R"({"SystemStatus":"Okay")";
  for (const char* json : {malformed, static_cast<const char*>(nullptr), R"(["Okay"])", R"({"Status":"Okay"})"}) {
    for (bool def : {false, true}) {
      SCOPED_TRACE(std::string(json ? json : "(null)") + (def ? " default 1" : " default 0"));
      const std::string err = Parse(json, true, def, !def, true);
      EXPECT_FALSE(result);
      EXPECT_FALSE(changed);
      EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, def);
      EXPECT_TRUE(cJsonParseSysStatus::mbDolbyDecoderDetected);
      EXPECT_TRUE(Contains(err, std::string("|\"Failed to parse message setting default to ") + (def ? "1\"" : "0\"")))
          << err;
      EXPECT_EQ(Contains(err, std::string("|\"Not a valid json string ") + malformed + ".\""), json == malformed)
          << err;
    }
  }
}

// "State" wins over "LogLevel"; wrongly typed members keep their defaults;
// a later entry replaces the earlier one whole; unparsable text changes
// nothing. The result is that of the last entry parsed.
TEST(HbStatusTest, ProcessTable) {
  cJsonParseHbStatus table;
  EXPECT_TRUE(table.ParseHbStatus(
      R"({"FpMeters":{"MissedHb":2,"Version":"v1.2","LogLevel":"DEBUG","State":"Running"},)"
      R"("FpMenu":{"MissedHb":"3","Version":5,"LogLevel":"INFO","State":null}})"));
  auto meters = table.GetHBObj("FpMeters");
  auto menu = table.GetHBObj("FpMenu");
  ASSERT_TRUE(meters != nullptr && menu != nullptr);
  EXPECT_EQ(meters->mName, "FpMeters");
  EXPECT_EQ(meters->mMissedHb, 2);
  EXPECT_EQ(meters->mVersion, "v1.2");
  EXPECT_STREQ(table.GetAppState("FpMeters"), "Running");
  EXPECT_EQ(menu->mMissedHb, 0);
  EXPECT_EQ(menu->mVersion, "");
  EXPECT_STREQ(table.GetAppState("FpMenu"), "INFO");
  EXPECT_EQ(table.GetHBObj(""), nullptr);
  EXPECT_EQ(table.GetHBObj("FpOther"), nullptr);
  EXPECT_EQ(table.GetAppState("FpOther"), nullptr);

  EXPECT_TRUE(table.ParseHbStatus(R"({"FpMeters":{"Version":"v2"}})"));
  EXPECT_EQ(table.GetHBObj("FpMeters")->mMissedHb, 0);
  EXPECT_STREQ(table.GetAppState("FpMeters"), "");
  EXPECT_FALSE(table.ParseHbStatus(R"({"FpMeters":{"State":"Down"})"));
  EXPECT_EQ(table.GetHBObj("FpMeters")->mVersion, "v2");
  EXPECT_EQ(meters->mVersion, "v1.2");  // holders of the old entry keep it

  const std::pair<const char*, bool> results[] = {
      {R"({"FpMeters":{},"FpMenu":7})", false}, {R"({"FpMeters":[],"FpMenu":{}})", true},
      {R"({"FpMeters":"x"})", false},          {R"({"Other":{}})", false},
      {"[]", false},                           {nullptr, false},
  };
  for (const auto& [json, expected] : results) {
    EXPECT_EQ(cJsonParseHbStatus().ParseHbStatus(json), expected) << (json ? json : "(null)");
  }
}

}  // namespace

#include "JsonParseHbMonMessages.h"

#include <gtest/gtest.h>

#include <string>

#include "ConsoleLog.h"

namespace {

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

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

TEST_F(SysStatusTest, SystemAndDecoderStatus) {
  struct Case {
    const char* json;
    bool checkDolby, dolbyBefore;
    bool sys, dolby;
  };
  const Case cases[] = {
      {R"({"SystemStatus":"Okay"})", true, true, true, false},
      {R"({"SystemStatus":"Okay, all up"})", true, false, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing DD+"}})", true, false, true,
       true},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})", true, true, true, true},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processin"}})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":1}})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":"Processing"})", true, true, true, false},
      {R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})", false, false, true,
       false},
      {R"({"SystemStatus":"Fault","DolbyDecoder":{"State":"Processing"}})", true, false, false,
       false},
      {R"({"SystemStatus":"Oka"})", true, true, false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.json) + (c.checkDolby ? " checked" : "") +
                 (c.dolbyBefore ? " was detected" : ""));
    const std::string err = Parse(c.json, c.checkDolby, false, !c.sys, c.dolbyBefore);
    const bool flipped = c.dolby != c.dolbyBefore;
    EXPECT_TRUE(result);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, c.sys);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, c.dolby);
    EXPECT_EQ(changed, flipped);
    const std::string json = c.json;  // the status text follows {"SystemStatus":"
    const std::string status = json.substr(17, json.find('"', 17) - 17);
    EXPECT_TRUE(Contains(err, "JsonParseHbMonMessages.cpp|")) << err;
    EXPECT_TRUE(Contains(err, "|\"Got System status " + status + (c.sys ? " 1.\"" : " 0.\"")))
        << err;
    EXPECT_EQ(Contains(err, R"(|detected_now ? "Dolby decoder detected." : )"
                            R"("Dolby decoder no longer processing.")"),
              flipped)
        << err;
  }
}

TEST_F(SysStatusTest, NonStringStatusChangesNothing) {
  for (bool before : {false, true}) {
    const std::string err = Parse(R"({"SystemStatus":1,"DolbyDecoder":{"State":"Processing"}})",
                                  true, !before, before, before);
    EXPECT_TRUE(result);
    EXPECT_FALSE(changed);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, before);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, before);
    EXPECT_EQ(err, "");
  }
}

TEST_F(SysStatusTest, UnusableMessageFallsBackToTheDefault) {
  const char* malformed = R"({"SystemStatus":"Okay")";
  const char* inputs[] = {malformed, nullptr, R"(["Okay"])", R"({"Status":"Okay"})"};
  for (const char* json : inputs) {
    for (bool def : {false, true}) {
      SCOPED_TRACE(std::string(json ? json : "(null)") + (def ? " default 1" : " default 0"));
      const std::string err = Parse(json, true, def, !def, true);
      EXPECT_FALSE(result);
      EXPECT_FALSE(changed);
      EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, def);
      EXPECT_TRUE(cJsonParseSysStatus::mbDolbyDecoderDetected);
      EXPECT_TRUE(Contains(err, std::string("|\"Failed to parse message setting default to ") +
                                    (def ? "1\"" : "0\"")))
          << err;
      EXPECT_EQ(Contains(err, std::string("|\"Not a valid json string ") + malformed + ".\""),
                json == malformed)
          << err;
    }
  }
}

TEST(HbStatusTest, ProcessTable) {
  cJsonParseHbStatus table;
  EXPECT_TRUE(table.ParseHbStatus(
      R"({"FpMeters":{"MissedHb":2,"Version":"v1.2","LogLevel":"DEBUG","State":"Running"},)"
      R"("FpMenu":{"MissedHb":"3","Version":5,"LogLevel":"INFO","State":null}})"));
  auto meters = table.GetHBObj("FpMeters");
  ASSERT_NE(meters, nullptr);
  EXPECT_EQ(meters->mName, "FpMeters");
  EXPECT_EQ(meters->mMissedHb, 2);
  EXPECT_EQ(meters->mVersion, "v1.2");
  EXPECT_STREQ(table.GetAppState("FpMeters"), "Running");
  auto menu = table.GetHBObj("FpMenu");
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(menu->mMissedHb, 0);
  EXPECT_EQ(menu->mVersion, "");
  EXPECT_STREQ(table.GetAppState("FpMenu"), "INFO");
  EXPECT_EQ(table.GetHBObj(""), nullptr);
  EXPECT_EQ(table.GetHBObj("FpOther"), nullptr);
  EXPECT_EQ(table.GetAppState("FpOther"), nullptr);

  // A later entry replaces the earlier one whole; unparsable text changes nothing.
  EXPECT_TRUE(table.ParseHbStatus(R"({"FpMeters":{"Version":"v2"}})"));
  EXPECT_EQ(table.GetHBObj("FpMeters")->mMissedHb, 0);
  EXPECT_STREQ(table.GetAppState("FpMeters"), "");
  EXPECT_FALSE(table.ParseHbStatus(R"({"FpMeters":{"State":"Down"})"));
  EXPECT_EQ(table.GetHBObj("FpMeters")->mVersion, "v2");
  EXPECT_EQ(meters->mVersion, "v1.2");  // holders of the old entry keep it
}

TEST(HbStatusTest, ResultIsThatOfTheLastEntry) {
  const std::pair<const char*, bool> cases[] = {
      {R"({"FpMeters":{},"FpMenu":7})", false}, {R"({"FpMeters":[],"FpMenu":{}})", true},
      {R"({"FpMeters":"x"})", false},          {R"({"Other":{}})", false},
      {"[]", false},                           {nullptr, false},
  };
  for (const auto& [json, expected] : cases) {
    SCOPED_TRACE(json ? json : "(null)");
    EXPECT_EQ(cJsonParseHbStatus().ParseHbStatus(json), expected);
  }
}

}  // namespace

// The monitor messages and the application command. Nesting of any depth is
// parsed without recursion: a deep member neither crashes a parser nor changes
// a valid message's meaning.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "HeartBeater.h"
#include "HwmEd2JsonMessageParser.h"
#include "HwmJsonMessageParser.h"
#include "JsonParseHbMonMessages.h"
#include "Logger.h"

namespace {

using ::testing::HasSubstr;

const std::string kDeep = std::string(100000, '[') + std::string(100000, ']');
const std::string kUnbalanced = std::string(1 << 20, '[');

TEST(AppCommandTest, ParseAppCommand) {
  const std::string deepValid = R"({"Command":9,"Pad":)" + kDeep + "}";
  const std::pair<const char*, int> cases[] = {
      {R"({"Command":100,"Extra":"x"})", 100}, {R"({"Command":2147483647})", 2147483647},
      {R"({"Command":2147483648})", -1}, {R"({"Command":"9"})", -1},
      {R"({"Command":9.0})", -1},        {R"({"Cmd":9})", -1},
      {R"({"Command":9)", -1},           {"[9]", -1},
      {nullptr, -1},                     {deepValid.c_str(), 9},
      {kUnbalanced.c_str(), -1},
  };
  for (const auto& [json, expected] : cases) {
    EXPECT_EQ(cHeartBeater::ParseAppCommand(json), expected) << (json ? std::string(json).substr(0, 40) : "(null)");
  }
}

TEST(HwmEd2ParserTest, EachValidMemberIsStored) {
  HwmEd2JsonMessageParser* p = HwmEd2JsonMessageParser::GetInstance();
  ASSERT_NE(p, nullptr);
  const std::string deepValid = R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10,"Pad":)" + kDeep + "}";
  const struct { const char* json; bool result; uint32_t zp, next, factor; } cases[] = {
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10})", true, 9, 10, 3},
      {R"({"Ed2MAFactor":4,"VidLnZP":-9,"VidLnNextToZP":11})", false, 2, 11, 4},
      {R"({"Ed2MAFactor":"6","VidLnZP":13.5,"VidLnNextToZP":null})", false, 2, 3, 1},
      {R"({"Ed2MAFactor":4294967295,"VidLnZP":0,"VidLnNextToZP":4294967296})", false, 0, 3, 4294967295u},
      {R"({"VidLnNextToZP":12})", false, 2, 12, 1},
      {nullptr, false, 2, 3, 1},
      {"[3,9,10]", false, 2, 3, 1},
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10)", false, 2, 3, 1},
      {deepValid.c_str(), true, 9, 10, 3},
      {kUnbalanced.c_str(), false, 2, 3, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json ? std::string(c.json).substr(0, 60) : "(null)");
    ASSERT_TRUE(p->ParseJsonStr(R"({"Ed2MAFactor":1,"VidLnZP":2,"VidLnNextToZP":3})"));
    EXPECT_EQ(p->ParseJsonStr(c.json), c.result);
    EXPECT_EQ(p->mVidLnZP, c.zp);
    EXPECT_EQ(p->mVidLnNextToZP, c.next);
    EXPECT_EQ(p->mEd2MAFactor, c.factor);
  }
}

// The stored record on one line: slot, preset count, the six status words,
// video, HDR, auto-mute, type, status, request, then the two strings.
std::string Record(const HwmJsonMessageParser& p) {
  char text[256];
  std::snprintf(text, sizeof(text), "%d %d %u %u %u %u %u %u %u %u %d %d %d %d %s|%s", p.mSlot,
                p.mPresetCount, p.mEncodedStatus, p.mPaStatus, p.mZoomableDolbyChannels, p.mDolbyChannels,
                p.mClkSrcLockStatus, p.mPresetInputLockStatus, p.mIsVideoEnabled, p.mHdrType,
                p.mbDolbyAutoMute, p.mType, p.mStatus, p.mRequest, p.mSignalStatusStr,
                p.mVidSignalStatusStr);
  return text;
}

// An accepted message replaces the whole record: what it lacks goes back to
// the reset value. A rejected one (wrong slot, no usable slot, unparsable)
// keeps the record. Result: a valid "Type" and a valid "Status" or "Request";
// out-of-range or wrongly typed values are stored as 0; strings are cut to 63.
TEST(HwmSignalStatusTest, RecordResultAndValueRanges) {
  HwmJsonMessageParser* p = HwmJsonMessageParser::GetInstance();
  ASSERT_NE(p, nullptr);
  ASSERT_TRUE(p->ParseJsonStr(
      R"({"Slot":2,"PresetCount":7,"EncodedStatus":11,"PaStatus":12,"ZoomableDolbyChannels":13,)"
      R"("DolbyChannels":14,"ClkSrcLockStatus":15,"PresetInputLockStatus":16,"IsVideoEnabled":1,)"
      R"("HdrType":3,"DolbyAutoMute":true,"Type":2,"Status":5,"Request":4,)"
      R"("SignalStatusStr":"Locked","VidSignalStatusStr":"1080p50"})",
      -1));
  const std::string full = "2 7 11 12 13 14 15 16 1 3 1 2 5 4 Locked|1080p50";
  EXPECT_EQ(Record(*p), full);
  const char* rejected[] = {nullptr, "", "{\"Slot\":1,", "[1]", R"({"Type":1,"Status":1})",
                            R"({"Slot":-1,"Type":1,"Status":1})", R"({"Slot":"1","Type":1})",
                            R"({"Slot":1.0,"Type":1})", R"({"Slot":1,"Type":1,"Status":1})", kUnbalanced.c_str()};
  for (const char* json : rejected) {
    EXPECT_FALSE(p->ParseJsonStr(json, 3)) << (json ? std::string(json).substr(0, 40) : "(null)");  // slot 3 wanted
    EXPECT_EQ(Record(*p), full) << (json ? std::string(json).substr(0, 40) : "(null)");
  }
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":-1,"Type":1,"Status":1})", -1));
  EXPECT_EQ(Record(*p), full);
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":3,"Type":4})", 3));
  EXPECT_EQ(Record(*p), "3 -1 0 0 0 0 0 0 0 0 0 0 0 0 |");

  const struct { const char* members; bool result; const char* record; } cases[] = {
      {R"("Type":1,"Status":1,"HdrType":1)", true, "1 -1 0 0 0 0 0 0 0 1 0 1 1 0 |"},
      {R"("Type":3,"Status":8,"HdrType":4,"IsVideoEnabled":true)", true, "1 -1 0 0 0 0 0 0 1 4 0 3 8 0 |"},
      {R"("Type":2,"Request":5,"HdrType":5,"IsVideoEnabled":false)", true, "1 -1 0 0 0 0 0 0 0 0 0 2 0 5 |"},
      {R"("Type":4,"Status":1,"HdrType":0,"IsVideoEnabled":7)", false, "1 -1 0 0 0 0 0 0 7 0 0 0 1 0 |"},
      {R"("Type":0,"Status":1,"HdrType":"2","IsVideoEnabled":-1)", false, "1 -1 0 0 0 0 0 0 0 0 0 0 1 0 |"},
      {R"("Type":"1","Status":1,"IsVideoEnabled":"yes")", false, "1 -1 0 0 0 0 0 0 0 0 0 0 1 0 |"},
      {R"("Type":1,"Status":9,"Request":0)", false, "1 -1 0 0 0 0 0 0 0 0 0 1 0 0 |"},
      {R"("Type":1,"Status":9,"Request":3)", true, "1 -1 0 0 0 0 0 0 0 0 0 1 0 3 |"},
      {R"("Type":1,"Status":0,"Request":6)", false, "1 -1 0 0 0 0 0 0 0 0 0 1 0 0 |"},
      {R"("Type":1,"Status":4294967297,"Request":1.0)", false, "1 -1 0 0 0 0 0 0 0 0 0 1 0 0 |"},
  };
  for (const auto& c : cases) {
    const std::string json = std::string(R"({"Slot":1,)") + c.members + "}";
    EXPECT_EQ(p->ParseJsonStr(json.c_str(), -1), c.result) << json;
    EXPECT_EQ(Record(*p), c.record) << json;
  }
  for (size_t len : {63u, 64u, 100u}) {
    const std::string json = R"({"Slot":1,"SignalStatusStr":")" + std::string(len, 'x') +
                             R"(","VidSignalStatusStr":")" + std::string(len + 1, 'y') + R"("})";
    p->ParseJsonStr(json.c_str(), -1);
    EXPECT_EQ(std::string(p->mSignalStatusStr), std::string(63, 'x')) << len;
    EXPECT_EQ(std::string(p->mVidSignalStatusStr), std::string(63, 'y')) << len;
  }
}

class SysStatusTest : public testing::Test {
 protected:
  void SetUp() override {
    Logger* logger = Logger::GetInstance();  // Warn lines go to stderr
    ASSERT_NE(logger, nullptr);
    logger->mLevel = MSG_LEVEL_DEBUG;
    logger->mbConsole = true;
    cJsonParseSysStatus parser;  // resets the flags and fetches the logger
    EXPECT_FALSE(cJsonParseSysStatus::mbSysStatus || cJsonParseSysStatus::mbDolbyDecoderDetected);
  }
  // Runs one parse with the flags preset; returns the captured stderr.
  std::string Parse(const char* json, bool checkDolby, bool def, bool sysBefore, bool dolbyBefore) {
    cJsonParseSysStatus::mbSysStatus = sysBefore;
    cJsonParseSysStatus::mbDolbyDecoderDetected = dolbyBefore;
    changed = !dolbyBefore;  // must be overwritten
    testing::internal::CaptureStderr();
    result = cJsonParseSysStatus::ParseSysStatus(json, checkDolby, def, &changed);
    return testing::internal::GetCapturedStderr();
  }
  bool result = false;
  bool changed = false;
};

// "Okay..." sets the system status; with the check on, a decoder state
// starting "Processing" sets the detection. A change of detection is
// reported, logged as the expression text itself. A non-string status
// changes nothing and logs nothing.
TEST_F(SysStatusTest, SystemAndDecoderStatus) {
  const std::string deep = R"({"SystemStatus":"Okay","Pad":)" + kDeep + "}";
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
      {deep.c_str(), false, false, true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.json).substr(0, 70) + (c.checkDolby ? " checked" : "") +
                 (c.dolbyBefore ? " was detected" : ""));
    const std::string err = Parse(c.json, c.checkDolby, false, !c.sys, c.dolbyBefore);
    const bool flipped = c.dolby != c.dolbyBefore;
    EXPECT_TRUE(result);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, c.sys);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, c.dolby);
    EXPECT_EQ(changed, flipped);
    const std::string json = c.json;  // the status text follows {"SystemStatus":"
    const std::string status = json.substr(17, json.find('"', 17) - 17);
    EXPECT_THAT(err, HasSubstr("|WARN|JsonParseHbMonMessages.cpp|"));
    EXPECT_THAT(err, HasSubstr("|\"Got System status " + status + (c.sys ? " 1.\"" : " 0.\"")));
    EXPECT_EQ(err.find(R"(|detected_now ? "Dolby decoder detected." : "Dolby decoder no longer processing.")") !=
                  std::string::npos,
              flipped) << err;
  }
  for (bool before : {false, true}) {
    const std::string err =
        Parse(R"({"SystemStatus":1,"DolbyDecoder":{"State":"Processing"}})", true, !before, before, before);
    EXPECT_TRUE(result && !changed);
    EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, before);
    EXPECT_EQ(cJsonParseSysStatus::mbDolbyDecoderDetected, before);
    EXPECT_EQ(err, "");
  }
}

TEST_F(SysStatusTest, UnusableMessageFallsBackToTheDefault) {
  const char* malformed = R"({"SystemStatus":"Okay")";
  for (const char* json : {malformed, static_cast<const char*>(nullptr), R"(["Okay"])", R"({"Status":"Okay"})",
                           kUnbalanced.c_str()}) {
    for (bool def : {false, true}) {
      SCOPED_TRACE(std::string(json ? std::string(json).substr(0, 40) : "(null)") + (def ? " default 1" : " default 0"));
      const std::string err = Parse(json, true, def, !def, true);
      EXPECT_FALSE(result || changed);
      EXPECT_EQ(cJsonParseSysStatus::mbSysStatus, def);
      EXPECT_TRUE(cJsonParseSysStatus::mbDolbyDecoderDetected);
      EXPECT_THAT(err, HasSubstr(std::string("|\"Failed to parse message setting default to ") + (def ? "1\"" : "0\"")));
      EXPECT_EQ(err.find(std::string("|\"Not a valid json string ") + malformed + ".\"") != std::string::npos,
                json == malformed) << err;
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
      {kUnbalanced.c_str(), false},
  };
  for (const auto& [json, expected] : results) {
    EXPECT_EQ(cJsonParseHbStatus().ParseHbStatus(json), expected) << (json ? std::string(json).substr(0, 40) : "(null)");
  }
}

}  // namespace

// The hardware monitor's signal-status and ED2 line messages.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "HwmEd2JsonMessageParser.h"
#include "HwmJsonMessageParser.h"

namespace {

TEST(HwmEd2ParserTest, EachValidMemberIsStored) {
  HwmEd2JsonMessageParser* p = HwmEd2JsonMessageParser::GetInstance();
  ASSERT_NE(p, nullptr);
  const struct { const char* json; bool result; uint32_t zp, next, factor; } cases[] = {
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10})", true, 9, 10, 3},
      {R"({"Ed2MAFactor":4,"VidLnZP":-9,"VidLnNextToZP":11})", false, 2, 11, 4},
      {R"({"Ed2MAFactor":"6","VidLnZP":13.5,"VidLnNextToZP":null})", false, 2, 3, 1},
      {R"({"Ed2MAFactor":4294967295,"VidLnZP":0,"VidLnNextToZP":4294967296})", false, 0, 3, 4294967295u},
      {R"({"VidLnNextToZP":12})", false, 2, 12, 1},
      {nullptr, false, 2, 3, 1},
      {"[3,9,10]", false, 2, 3, 1},
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10)", false, 2, 3, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json ? c.json : "(null)");
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

class HwmSignalStatusTest : public testing::Test {
 protected:
  void SetUp() override {
    p = HwmJsonMessageParser::GetInstance();
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(p->ParseJsonStr(
        R"({"Slot":2,"PresetCount":7,"EncodedStatus":11,"PaStatus":12,"ZoomableDolbyChannels":13,)"
        R"("DolbyChannels":14,"ClkSrcLockStatus":15,"PresetInputLockStatus":16,"IsVideoEnabled":1,)"
        R"("HdrType":3,"DolbyAutoMute":true,"Type":2,"Status":5,"Request":4,)"
        R"("SignalStatusStr":"Locked","VidSignalStatusStr":"1080p50"})",
        -1));
  }
  static constexpr const char* kFull = "2 7 11 12 13 14 15 16 1 3 1 2 5 4 Locked|1080p50";
  HwmJsonMessageParser* p = nullptr;
};

// An accepted message replaces the whole record: what it lacks goes back to
// the reset value. A rejected one (wrong slot, no usable slot, unparsable)
// keeps the record.
TEST_F(HwmSignalStatusTest, AcceptedMessageReplacesRejectedKeepsTheRecord) {
  EXPECT_EQ(Record(*p), kFull);
  const char* rejected[] = {nullptr, "", "{\"Slot\":1,", "[1]", R"({"Type":1,"Status":1})",
                            R"({"Slot":-1,"Type":1,"Status":1})", R"({"Slot":"1","Type":1})",
                            R"({"Slot":1.0,"Type":1})", R"({"Slot":1,"Type":1,"Status":1})"};
  for (const char* json : rejected) {
    EXPECT_FALSE(p->ParseJsonStr(json, 3)) << (json ? json : "(null)");  // slot 3 wanted
    EXPECT_EQ(Record(*p), kFull) << (json ? json : "(null)");
  }
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":-1,"Type":1,"Status":1})", -1));
  EXPECT_EQ(Record(*p), kFull);
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":3,"Type":4})", 3));
  EXPECT_EQ(Record(*p), "3 -1 0 0 0 0 0 0 0 0 0 0 0 0 |");
}

// Result: a valid "Type" and a valid "Status" or "Request". Out-of-range or
// wrongly typed values are stored as 0; strings are cut to 63 characters.
TEST_F(HwmSignalStatusTest, ResultAndValueRanges) {
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

}  // namespace

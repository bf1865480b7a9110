#include <gtest/gtest.h>

#include <string>

#include "HwmEd2JsonMessageParser.h"
#include "HwmJsonMessageParser.h"

namespace {

TEST(HwmEd2ParserTest, EachValidMemberIsStored) {
  HwmEd2JsonMessageParser* p = HwmEd2JsonMessageParser::GetInstance();
  ASSERT_NE(p, nullptr);
  struct Case {
    const char* json;
    bool result;
    uint32_t zp, next, factor;
  };
  const Case cases[] = {
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10})", true, 9, 10, 3},
      {R"({"Ed2MAFactor":4,"VidLnZP":-9,"VidLnNextToZP":11})", false, 2, 11, 4},
      {R"({"Ed2MAFactor":"6","VidLnZP":13.5,"VidLnNextToZP":null})", false, 2, 3, 1},
      {R"({"Ed2MAFactor":4294967295,"VidLnZP":0,"VidLnNextToZP":4294967296})", false, 0, 3,
       4294967295u},
      {R"({"VidLnNextToZP":12})", false, 2, 12, 1},
      {nullptr, false, 2, 3, 1},
      {"[3,9,10]", false, 2, 3, 1},
      {R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10)", false, 2, 3, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.json ? c.json : "(null)");
    ASSERT_TRUE(p->ParseJsonStr(R"({"Ed2MAFactor":1,"VidLnZP":2,"VidLnNextToZP":3})"));
    EXPECT_EQ(p->ParseJsonStr(c.json), c.result);
    EXPECT_EQ(p->mVidLnZP, c.zp);
    EXPECT_EQ(p->mVidLnNextToZP, c.next);
    EXPECT_EQ(p->mEd2MAFactor, c.factor);
  }
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
  HwmJsonMessageParser* p = nullptr;
};

TEST_F(HwmSignalStatusTest, AcceptedMessageReplacesTheRecord) {
  EXPECT_EQ(p->mSlot, 2);
  EXPECT_EQ(p->mPresetCount, 7);
  EXPECT_EQ(p->mEncodedStatus, 11u);
  EXPECT_EQ(p->mPaStatus, 12u);
  EXPECT_EQ(p->mZoomableDolbyChannels, 13u);
  EXPECT_EQ(p->mDolbyChannels, 14u);
  EXPECT_EQ(p->mClkSrcLockStatus, 15u);
  EXPECT_EQ(p->mPresetInputLockStatus, 16u);
  EXPECT_EQ(p->mIsVideoEnabled, 1u);
  EXPECT_EQ(p->mHdrType, 3u);
  EXPECT_TRUE(p->mbDolbyAutoMute);
  EXPECT_EQ(p->mType, 2);
  EXPECT_EQ(p->mStatus, 5);
  EXPECT_EQ(p->mRequest, 4);
  EXPECT_STREQ(p->mSignalStatusStr, "Locked");
  EXPECT_STREQ(p->mVidSignalStatusStr, "1080p50");

  // Everything the next message lacks goes back to its reset value.
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":3,"Type":4})", 3));
  EXPECT_EQ(p->mSlot, 3);
  EXPECT_EQ(p->mPresetCount, -1);
  EXPECT_EQ(p->mEncodedStatus + p->mPaStatus + p->mZoomableDolbyChannels + p->mDolbyChannels +
                p->mClkSrcLockStatus + p->mPresetInputLockStatus + p->mIsVideoEnabled + p->mHdrType,
            0u);
  EXPECT_FALSE(p->mbDolbyAutoMute);
  EXPECT_EQ(p->mType + p->mStatus + p->mRequest, 0);
  EXPECT_STREQ(p->mSignalStatusStr, "");
  EXPECT_STREQ(p->mVidSignalStatusStr, "");
}

TEST_F(HwmSignalStatusTest, RejectedMessageKeepsTheRecord) {
  const char* inputs[] = {nullptr, "", "{\"Slot\":1,", "[1]", R"({"Type":1,"Status":1})",
                          R"({"Slot":-1,"Type":1,"Status":1})", R"({"Slot":"1","Type":1})",
                          R"({"Slot":1.0,"Type":1})", R"({"Slot":1,"Type":1,"Status":1})"};
  for (const char* json : inputs) {
    SCOPED_TRACE(json ? json : "(null)");
    EXPECT_FALSE(p->ParseJsonStr(json, 3));  // slot 3 wanted; the last one is for slot 1
    EXPECT_EQ(p->mSlot, 2);
    EXPECT_EQ(p->mPresetCount, 7);
    EXPECT_STREQ(p->mSignalStatusStr, "Locked");
  }
  EXPECT_FALSE(p->ParseJsonStr(R"({"Slot":-1,"Type":1,"Status":1})", -1));
  EXPECT_EQ(p->mSlot, 2);
}

// Result: a valid "Type" and a valid "Status" or "Request". Out-of-range or
// wrongly typed values are stored as 0.
TEST_F(HwmSignalStatusTest, ResultAndValueRanges) {
  struct Case {
    const char* members;
    bool result;
    int type, status, request;
    uint32_t hdr, video;
  };
  const Case cases[] = {
      {R"("Type":1,"Status":1,"HdrType":1)", true, 1, 1, 0, 1, 0},
      {R"("Type":3,"Status":8,"HdrType":4,"IsVideoEnabled":true)", true, 3, 8, 0, 4, 1},
      {R"("Type":2,"Request":5,"HdrType":5,"IsVideoEnabled":false)", true, 2, 0, 5, 0, 0},
      {R"("Type":4,"Status":1,"HdrType":0,"IsVideoEnabled":7)", false, 0, 1, 0, 0, 7},
      {R"("Type":0,"Status":1,"HdrType":"2","IsVideoEnabled":-1)", false, 0, 1, 0, 0, 0},
      {R"("Type":"1","Status":1,"IsVideoEnabled":"yes")", false, 0, 1, 0, 0, 0},
      {R"("Type":1,"Status":9,"Request":0)", false, 1, 0, 0, 0, 0},
      {R"("Type":1,"Status":9,"Request":3)", true, 1, 0, 3, 0, 0},
      {R"("Type":1,"Status":0,"Request":6)", false, 1, 0, 0, 0, 0},
      {R"("Type":1,"Status":4294967297,"Request":1.0)", false, 1, 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    const std::string json = std::string(R"({"Slot":1,)") + c.members + "}";
    SCOPED_TRACE(json);
    EXPECT_EQ(p->ParseJsonStr(json.c_str(), -1), c.result);
    EXPECT_EQ(p->mType, c.type);
    EXPECT_EQ(p->mStatus, c.status);
    EXPECT_EQ(p->mRequest, c.request);
    EXPECT_EQ(p->mHdrType, c.hdr);
    EXPECT_EQ(p->mIsVideoEnabled, c.video);
  }
}

TEST_F(HwmSignalStatusTest, StringsAreCutTo63Characters) {
  for (size_t len : {63u, 64u, 100u}) {
    SCOPED_TRACE(len);
    const std::string json = R"({"Slot":1,"SignalStatusStr":")" + std::string(len, 'x') +
                             R"(","VidSignalStatusStr":")" + std::string(len + 1, 'y') + R"("})";
    p->ParseJsonStr(json.c_str(), -1);
    EXPECT_EQ(std::string(p->mSignalStatusStr), std::string(63, 'x'));
    EXPECT_EQ(std::string(p->mVidSignalStatusStr), std::string(63, 'y'));
  }
}

}  // namespace

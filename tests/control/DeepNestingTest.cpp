// Peers the daemon does not control can send anything. Nesting of any depth
// is parsed without recursion: malformed nesting is refused like any other
// malformed message, and a valid message keeps its meaning however deep a
// member it carries.
#include <gtest/gtest.h>

#include <string>

#include "HeartBeater.h"
#include "HwmEd2JsonMessageParser.h"
#include "HwmJsonMessageParser.h"
#include "JsonParseHbMonMessages.h"

namespace {

std::string Repeat(const std::string& text, std::size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += text;
  return out;
}

TEST(DeepNesting, EveryParserRefusesUnbalancedNestingWithoutRecursing) {
  const std::string inputs[] = {std::string(1 << 20, '['), Repeat(R"({"a":)", 1 << 18),
                                R"({"Command":9,"Slot":1,"SystemStatus":)" + std::string(1 << 20, '{')};
  HwmJsonMessageParser* hwm = HwmJsonMessageParser::GetInstance();
  HwmEd2JsonMessageParser* ed2 = HwmEd2JsonMessageParser::GetInstance();
  ASSERT_NE(hwm, nullptr);
  ASSERT_NE(ed2, nullptr);
  cJsonParseHbStatus hb;
  for (const auto& in : inputs) {
    EXPECT_EQ(cHeartBeater::ParseAppCommand(in.c_str()), -1);
    EXPECT_FALSE(hwm->ParseJsonStr(in.c_str(), -1));
    EXPECT_FALSE(ed2->ParseJsonStr(in.c_str()));
    EXPECT_FALSE(cJsonParseSysStatus::ParseSysStatus(in.c_str(), true, false, nullptr));
    EXPECT_FALSE(hb.ParseHbStatus(in.c_str()));
  }
}

TEST(DeepNesting, AValidMessageKeepsItsMeaningBesideADeepMember) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_EQ(cHeartBeater::ParseAppCommand((R"({"Command":9,"Pad":)" + deep + "}").c_str()), 9);
  HwmEd2JsonMessageParser* ed2 = HwmEd2JsonMessageParser::GetInstance();
  ASSERT_NE(ed2, nullptr);
  EXPECT_TRUE(ed2->ParseJsonStr((R"({"Ed2MAFactor":3,"VidLnZP":9,"VidLnNextToZP":10,"Pad":)" + deep + "}").c_str()));
  EXPECT_EQ(ed2->mVidLnZP, 9u);
  EXPECT_TRUE(cJsonParseSysStatus::ParseSysStatus((R"({"SystemStatus":"Okay","Pad":)" + deep + "}").c_str(), false,
                                                  false, nullptr));
}

}  // namespace

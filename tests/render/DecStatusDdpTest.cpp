// Dolby Digital (Plus): the quirks and edge codes of the items that the
// golden documents cannot show at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using namespace render_test;

// A Dolby Digital (Plus) record with object audio decoded.
std::unique_ptr<kv_dolby_metadata_t> ObjectAudioRecord() {
  auto rec = NewRecord(16, 1);
  rec->atmosDecode = 1;
  rec->md.ddp.atmosPresent = 1;
  return rec;
}

// Items with a table and a "code" fallback, at the codes the documents above
// do not show: (acmod, dsurmod) for the Dolby Surround rule, then data rate,
// trims, object class. Object audio present but not decoded is not shown.
TEST(DecStatusDdpTest, EdgeCodes) {
  auto hidden = ObjectAudioRecord();
  hidden->atmosDecode = 0;
  hidden->md.ddp.numDynObjects = 1;
  const std::string text = Render(*hidden);
  EXPECT_THAT(text, HasSubstr("\"IsAtmosPresent\":false,"));
  EXPECT_THAT(text, HasSubstr(Item("AtmosPresent", "Atmos Presence", "false", "No")));
  EXPECT_THAT(text, Not(HasSubstr("AtmosInfo")));

  const struct { int acmod, dsurmod; const char* title; const char* desc; } surround[] = {
      {2, 0, "Dolby Surround", "-"},
      {2, 3, "Dolby Surround", "Reserved"},
      {2, 4, "Dolby surround code", "4"},
      {2, -3, "Dolby surround code", "-3"},
      {1, 2, "Dolby Surround", "-"},
  };
  for (const auto& c : surround) {
    auto rec = NewRecord(16, 1);
    rec->md.ddp.acmod = c.acmod;
    rec->md.ddp.dsurmod = c.dsurmod;
    EXPECT_THAT(Render(*rec), HasSubstr(Item("Dsurmod", c.title, std::to_string(c.dsurmod), c.desc)));
  }
  for (const auto& [rate, desc] : {std::pair<int, const char*>{-5, "-"}, {1, "1"}}) {
    auto rec = NewRecord(16, 1);
    rec->md.ddp.datarate = rate;
    EXPECT_THAT(Render(*rec), HasSubstr(Item("Datarate", "Data rate (kbps)", std::to_string(rate), desc)));
  }
  for (const auto& [code, desc] : {std::pair<int, const char*>{0, "6.0"}, {16, "0.0"}, {18, "-"}, {-1, "-"}}) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.surroundTrim = rec->md.ddp.heightTrim = static_cast<dlb_padc_trims>(code);
    const std::string text = Render(*rec);
    EXPECT_THAT(text, HasSubstr(Item("SurroundTrim", "Surround trim (in dB)", std::to_string(code), desc)));
    EXPECT_THAT(text, HasSubstr(Item("HeightTrim", "Height trim (in dB)", std::to_string(code), desc)));
  }
  for (const auto& [code, desc] : {std::pair<int, const char*>{3, "Mixed"}, {0, "Unknown"}, {4, "Unknown"}, {-1, "Unknown"}}) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.numDynObjects = 1;
    rec->md.ddp.objects[0].dialogueClass = static_cast<dlb_padc_object_dialogue_indication>(code);
    EXPECT_THAT(Render(*rec), HasSubstr(Item("Class", "Object Class", "0", desc))) << code;
  }
}

TEST(DecStatusDdpTest, ObjectCountIsShownAsReceivedButWalksAtMostFifteenSlots) {
  const std::pair<uint32_t, unsigned> cases[] = {{0, 0}, {1, 1}, {15, 15}, {16, 15}, {0xffffffffu, 15}};
  for (const auto& [count, walked] : cases) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.numDynObjects = count;
    for (auto& o : rec->md.ddp.objects) o = {0.5f, 0.5f, 0.5f, DLB_PADC_OBJECT_MIXED};
    auto doc = RenderParsed(*rec);
    EXPECT_EQ(Get(*doc, "/AtmosInfo/ExData/0/PaObjects").Size(), walked) << count;
    EXPECT_EQ(Get(*doc, "/AtmosInfo/ExData/0/NumDynObjects/Data").GetUint(), count);
    EXPECT_EQ(Text(Get(*doc, "/AtmosInfo/ExData/0/NumDynObjects/Desc")), std::to_string(count));
  }
}

}  // namespace

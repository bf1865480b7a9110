// Per-codec status-document rules one golden document cannot show.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using namespace render_test;
using rapidjson::Value;

// ---- Dolby Digital (Plus)

// A Dolby Digital (Plus) record with object audio present; decoded when `decoded`.
std::unique_ptr<kv_dolby_metadata_t> ObjectAudioRecord(bool decoded) {
  auto rec = NewRecord(16, 1);
  rec->atmosDecode = decoded;
  rec->md.ddp.atmosPresent = 1;
  return rec;
}

// Object audio present but not decoded is not shown; the Dolby Surround item
// depends on (acmod, dsurmod).
TEST(DecStatusDdpTest, HiddenObjectsAndDolbySurround) {
  auto hidden = ObjectAudioRecord(false);
  hidden->md.ddp.numDynObjects = 1;
  const std::string text = Render(*hidden);
  EXPECT_THAT(text, HasSubstr("\"IsAtmosPresent\":false,"));
  EXPECT_THAT(text, HasSubstr(Item("AtmosPresent", "Atmos Presence", "false", "No")));
  EXPECT_THAT(text, Not(HasSubstr("AtmosInfo")));

  const struct { int acmod, dsurmod; const char* title; const char* desc; } surround[] = {
      {2, 0, "Dolby Surround", "-"}, {2, 3, "Dolby Surround", "Reserved"}, {2, 4, "Dolby surround code", "4"},
      {2, -3, "Dolby surround code", "-3"}, {1, 2, "Dolby Surround", "-"}};
  for (const auto& c : surround) {
    auto rec = NewRecord(16, 1);
    rec->md.ddp.acmod = c.acmod;
    rec->md.ddp.dsurmod = c.dsurmod;
    EXPECT_THAT(Render(*rec), HasSubstr(Item("Dsurmod", c.title, std::to_string(c.dsurmod), c.desc)));
  }
}

TEST(DecStatusDdpTest, ObjectCountIsShownAsReceivedButWalksAtMostFifteenSlots) {
  const std::pair<uint32_t, unsigned> cases[] = {{0, 0}, {1, 1}, {15, 15}, {16, 15}, {0xffffffffu, 15}};
  for (const auto& [count, walked] : cases) {
    auto rec = ObjectAudioRecord(true);
    rec->md.ddp.numDynObjects = count;
    for (auto& o : rec->md.ddp.objects) o = {0.5f, 0.5f, 0.5f, DLB_PADC_OBJECT_MIXED};
    auto doc = Parse(Render(*rec));
    EXPECT_EQ(Get(*doc, "/AtmosInfo/ExData/0/PaObjects").Size(), walked) << count;
    EXPECT_EQ(Get(*doc, "/AtmosInfo/ExData/0/NumDynObjects/Data").GetUint(), count);
    EXPECT_EQ(Text(Get(*doc, "/AtmosInfo/ExData/0/NumDynObjects/Desc")), std::to_string(count));
  }
}

// ---- Dolby E

// A current program equal to the count is kept; above it (or 0) shows "All
// Programs" and 0 at the top level.
TEST(DecStatusDolbyETest, CurrentProgramEqualToTheCountIsKept) {
  const struct { uint8_t current, count; int shown; const char* desc; } cases[] = {
      {3, 3, 3, "3"}, {4, 3, 0, "All Programs"}, {0, 3, 0, "All Programs"}, {1, 0, 0, "All Programs"},
      {255, 255, 255, "255"}};
  for (const auto& c : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.currentProgram = c.current;
    rec->md.dolbye.programCount = c.count;
    const std::string text = Render(*rec);
    const std::string shown = std::to_string(c.shown);
    const std::string count = std::to_string(c.count);
    EXPECT_THAT(text, HasSubstr("\"NoOfPrograms\":" + count + ",\"CurrentProgram\":" + shown + ","));
    EXPECT_THAT(text, HasSubstr(Item("PrgCount", "Program count", count, count)));
    EXPECT_THAT(text, HasSubstr(Item("MonitorPrg", "Selected Program", shown, c.desc)));
  }
}

TEST(DecStatusDolbyETest, ProgramsWalkTheCountUpToSixteen) {
  const std::pair<uint8_t, unsigned> cases[] = {{0, 0}, {8, 8}, {9, 9}, {16, 16}, {255, 16}};
  for (const auto& [count, walked] : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.programCount = count;
    for (unsigned i = 0; i < kDolbyEMaxRenderedPrograms; ++i) {
      dlb_padc_dolbye_program_s program{};  // written at its natural place, also past the eight records
      program.dialnorm = static_cast<int32_t>(100 + i);
      Put(*rec, offsetof(dlb_padc_ui_md_dolbye_s, programs) + sizeof program * i, program);
    }
    auto doc = Parse(Render(*rec));
    const Value& programs = Get(*doc, "/Programs");
    ASSERT_TRUE(programs.IsArray());
    ASSERT_EQ(programs.Size(), walked) << int(count);
    for (unsigned i = 0; i < walked; ++i) {
      const Value& info = Get(programs, ("/" + std::to_string(i) + "/0/BitstreamInfo").c_str());
      EXPECT_EQ(Get(info, "/Data").GetUint(), i);
      EXPECT_EQ(Text(Get(info, "/Desc")), std::to_string(i));
      EXPECT_EQ(Get(info, "/ExData/0/Dialnorm/Data").GetInt(), static_cast<int>(100 + i));
    }
  }
}

// Any depth but 16 reads "20 bits" (16 and 20: golden cases dolby-e-*).
TEST(DecStatusDolbyETest, BitDepthOtherThanSixteen) {
  auto rec = NewRecord(28, 0);
  for (int depth : {0, 24, 255}) {
    rec->md.dolbye.bitDepth = static_cast<uint8_t>(depth);
    EXPECT_THAT(Render(*rec), HasSubstr(Item("BitDepth", "Bit depth", std::to_string(depth), "20 bits")));
  }
}

// ---- AC-4

std::unique_ptr<kv_dolby_metadata_t> NewAc4Record(uint8_t presentations = 0) {
  auto rec = NewRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
  rec->md.ac4.presentationCount = presentations;
  return rec;
}

// (count, active) -> presentations listed, number shown as active, the
// presentation whose Atmos flag counts. Every other presentation says the
// opposite, so taking the flag from the wrong one shows.
TEST(Ac4StatusTest, SelectionListsShowsAndTakesAtmosFromTheActivePresentation) {
  const struct { uint8_t count, active; unsigned listed, shown, atmosFrom; } cases[] = {
      {20, 17, 16, 1, 0},    // both capped: first presentation
      {20, 16, 16, 1, 0},    // active just past the 16 listed
      {20, 15, 16, 16, 15},  // active kept under a capped count
      {16, 15, 16, 16, 15}, {3, 3, 3, 1, 0},  // active equal to the count
      {3, 2, 3, 3, 2},       {1, 0, 1, 1, 0}, {0, 5, 0, 0, 0}};  // nothing listed, shown 0
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.count) + "/" + std::to_string(c.active));
    auto rec = NewAc4Record(c.count);
    rec->md.ac4.activePresentation = c.active;
    const std::string listed = std::to_string(c.listed);
    const std::string shown = std::to_string(c.shown);
    for (const bool on : {false, true}) {
      for (unsigned i = 0; i < kAc4MaxPresentations; ++i) {
        rec->md.ac4.presentations[i].atmosIndication = (i == c.atmosFrom) == on ? 2 : 1;
      }
      const bool atmos = on && c.listed != 0 && c.count != 1;
      rec->atmosDecode = c.count != 1;  // decoding off hides the Atmos of the one presentation
      const std::string text = Render(*rec);
      auto doc = Parse(text);
      EXPECT_THAT(text, HasSubstr("\"NoOfPrograms\":" + listed + ",\"CurrentProgram\":" + shown + ",\"NoOfStreams\":" +
                                  listed + ",\"IsAtmosPresent\":" + (atmos ? "true" : "false")));
      EXPECT_THAT(text, HasSubstr(Item("AC4PresentationCount", "Number of presentations", listed, listed)));
      EXPECT_THAT(text, HasSubstr(Item("AC4ActivePresentation", "Active presentation", shown, shown)));
      EXPECT_THAT(text, HasSubstr(Item("AtmosPresent", "Atmos Presence", atmos ? "true" : "false", atmos ? "Yes" : "No")));
      const Value& presentations = Get(*doc, "/StatusInfo/Presentations");
      EXPECT_EQ(presentations.IsArray() ? presentations.Size() : 999u, c.listed);
    }
  }
}

}  // namespace

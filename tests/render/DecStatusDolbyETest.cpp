// Dolby E: whole document, program walk, and the codes the program items add;
// the audio coding mode table through both the substream and the program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using namespace render_test;
using rapidjson::Value;

std::unique_ptr<kv_dolby_metadata_t> OneProgram() {
  auto rec = NewRecord(28, 0);
  rec->md.dolbye.programCount = 1;
  return rec;
}

// Writes program i at its natural place, also past the eight records.
void PutProgram(kv_dolby_metadata_t& rec, unsigned i, const dlb_padc_dolbye_program_s& program) {
  std::memcpy(reinterpret_cast<uint8_t*>(&rec.md.dolbye) + offsetof(dlb_padc_ui_md_dolbye_s, programs) +
                  sizeof program * i,
              &program, sizeof program);
}

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
      dlb_padc_dolbye_program_s program{};
      program.dialnorm = static_cast<int32_t>(100 + i);
      PutProgram(*rec, i, program);
    }
    auto doc = RenderParsed(*rec);
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

// "Data" is the code / 100 as a float, carried as the double equal to it;
// a 17-digit text of that double may end in either neighbouring digit, so
// the value is compared after reading it back. 30 fps is sent as 300.
TEST(DecStatusDolbyETest, FrameRateCodes) {
  const struct { uint16_t code; float data; const char* desc; } cases[] = {
      {2398, 23.98f, "23.98 fps"}, {2400, 24.0f, "24 fps"},      {2997, 29.97f, "29.97 fps"},
      {300, 3.0f, "30 fps"},       {3000, 30.0f, "30.000000"},   {5000, 50.0f, "50.000000"},
      {0, 0.0f, "0.000000"},       {1234, 12.34f, "12.340000"}, {65535, 655.35f, "655.349976"},
  };
  for (const auto& c : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.frameRate = c.code;
    auto doc = RenderParsed(*rec);
    const Value& data = Get(*doc, "/StatusInfo/ExData/0/FrameRate/Data");
    ASSERT_TRUE(data.IsDouble()) << c.code;
    EXPECT_EQ(data.GetDouble(), static_cast<double>(c.data)) << c.code;
    EXPECT_EQ(Text(Get(*doc, "/StatusInfo/ExData/0/FrameRate/Desc")), c.desc) << c.code;
  }
}

// Any depth but 16 reads "20 bits"; the configuration text stops at its
// field width.
TEST(DecStatusDolbyETest, BitDepthAndProgramConfiguration) {
  auto rec = NewRecord(28, 0);
  rec->md.dolbye.bitDepth = 16;
  std::memset(rec->md.dolbye.programConfig, 'A', sizeof rec->md.dolbye.programConfig);  // no NUL
  rec->md.dolbye.programs[0].bsmod = 0x42;  // the byte after the text field is not read
  const std::string text = Render(*rec);
  EXPECT_THAT(text, HasSubstr(Item("BitDepth", "Bit depth", "16", "16 bits")));
  EXPECT_THAT(text, HasSubstr(Item("PrgCfg", "Program configuration", Q(std::string(35, 'A')), "")));
  for (int depth : {0, 24, 255}) {
    rec->md.dolbye.bitDepth = static_cast<uint8_t>(depth);
    EXPECT_THAT(Render(*rec), HasSubstr(Item("BitDepth", "Bit depth", std::to_string(depth), "20 bits")));
  }
}

TEST(DecStatusDolbyETest, ProgramCodesOutsideTheirTables) {
  using P = dlb_padc_dolbye_program_s;
  const struct { const char* key; int32_t P::*field; int code; const char* title; const char* desc; } cases[] = {
      {"Dynrng1", &P::dynrngProfile, 6, "Dynamic mode compression profile", "Not Indicated"},
      {"Dynrng1", &P::dynrngProfile, 65536, "Dynamic mode compression profile code", "65536"},
      {"Dynrng1", &P::dynrngProfile, -1, "Dynamic mode compression profile code", "-1"},
      {"Compr1", &P::comprProfile, 65535, "RF mode compression profile code", "65535"},
      {"Cmixlev", &P::cmixlev, 2, "Center mix level", "-6.0 dB"},
      {"Surmixlev", &P::surmixlev, -1, "Surround mix level", "-1"},
      {"Dsurmod", &P::dsurmod, 3, "Dolby Surround mode", "Reserved"},
      {"Mixlevel", &P::mixlevel, -4, "Mix level (in dB)", "-4"},
      {"Bsmod", &P::bsmod, 7, "Bitstream mode", "Voice over (VO)"},
  };
  for (const auto& c : cases) {
    auto rec = OneProgram();
    rec->md.dolbye.programs[0].*c.field = c.code;
    EXPECT_THAT(Render(*rec), HasSubstr(Item(c.key, c.title, std::to_string(c.code), c.desc)));
  }
}

}  // namespace

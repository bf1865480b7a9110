// Dolby E: whole document, program walk, and the codes the program items add;
// the audio coding mode table through both the substream and the program.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "RenderTestSupport.h"

namespace {

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

TEST(DecStatusDolbyETest, DocumentWithTwoPrograms) {
  auto rec = NewRecord(28, 0);
  rec->inputType = SYS_INPUT_TYPE_NONE;
  rec->dzPair = 7;
  dlb_padc_ui_md_dolbye_s& e = rec->md.dolbye;
  e.frameRate = 2500; e.bitDepth = 20; e.currentProgram = 2; e.programCount = 2;
  std::strcpy(e.programConfig, "5.1+2");
  dlb_padc_dolbye_program_s& p0 = e.programs[0];
  p0.dialnorm = 31; p0.acmod = 7; p0.lfeon = 1; p0.bsmod = 1; p0.bwlpfon = 1; p0.cmixlev = 1;
  p0.surmixlev = 2; p0.rfPrEmph = 0; p0.dsurmod = 0; p0.audprodie = 1; p0.mixlevel = 25; p0.roomtyp = 2;
  p0.copyrightb = 0; p0.origbs = 1; p0.dsurexmod = 3; p0.comprProfile = 1; p0.dynrngProfile = 65535;
  p0.dmixmod = 3; p0.ltrtcmixlev = 0; p0.ltrtsurmixlev = 0; p0.lorocmixlev = 7; p0.lorosurmixlev = 6;
  dlb_padc_dolbye_program_s& p1 = e.programs[1];
  p1.dialnorm = 20; p1.acmod = 2; p1.lfeon = 0; p1.bsmod = 8; p1.bwlpfon = 0; p1.cmixlev = 3;
  p1.surmixlev = 0; p1.rfPrEmph = 1; p1.dsurmod = 4; p1.audprodie = 0; p1.mixlevel = 5; p1.roomtyp = 0;
  p1.copyrightb = 1; p1.origbs = 0; p1.dsurexmod = 0; p1.comprProfile = 7; p1.dynrngProfile = 7;
  p1.dmixmod = 0; p1.ltrtcmixlev = 2; p1.ltrtsurmixlev = 5; p1.lorocmixlev = 1; p1.lorosurmixlev = 3;
  e.programs[2].dialnorm = 9;  // beyond the count

  const std::string program0 =
      "[" +
      Section("BitstreamInfo", "Bitstream Info", 0, "0",
              Join({Item("Dialnorm", "Dialnorm (in dB)", "31", "31"), Item("Acmod", "Audio coding mode", "7", "3/2"),
                    Item("Lfeon", "LFE Channel", "1", "Enabled")})) +
      "," +
      Section("Informational", "Informational", 0, "0",
              Join({Item("Bsmod", "Bitstream mode", "1", "Music and effects (ME)"),
                    Item("Bwlpfon", "LFE Lowpass filter", "1", "Enabled"),
                    Item("Cmixlev", "Center mix level", "1", "-4.5 dB"),
                    Item("Surmixlev", "Surround mix level", "2", "-inf dB"),
                    Item("RFPrEmphOn", "RF overmodulation protection", "0", "Disabled"),
                    Item("Dsurmod", "Dolby Surround mode", "0", "Not Indicated"),
                    Item("Audprodie", "Production Info", "1", "Yes"), Item("Mixlevel", "Mix level (in dB)", "25", "25"),
                    Item("Roomtyp", "Room type", "2", "Small"),
                    Item("Copyrightb", "Copyright bit", "0", "Not copyright protected"),
                    Item("Origbs", "Original bitstream", "1", "Original bitstream"),
                    Item("Dsurexmod", "Dolby Surround EX", "3", "Dolby Pro Logic IIz encoded"),
                    Item("Compr1", "RF mode compression profile", "1", "Film Standard"),
                    Item("Dynrng1", "Dynamic mode compression profile", "65535", "Unknown")})) +
      "," +
      Section("Downmixing", "Downmixing", 0, "0",
              Join({Item("Dmixmod", "Preferred Downmix", "3", "Dolby Pro Logic II"),
                    Item("Ltrtcmixlev", "Lt/Rt Center Downmix", "0", "+3.0 dB (1.414)"),
                    Item("Ltrtsurmixlev", "Lt/Rt Surround Downmix", "0", "Reserved"),
                    Item("Lorocmixlev", "Lo/Ro Center Downmix", "7", "-inf dB (0.000)"),
                    Item("Lorosurmixlev", "Lo/Ro Surround Downmix", "6", "-6.0 dB (0.500)")})) +
      "]";
  const std::string program1 =
      "[" +
      Section("BitstreamInfo", "Bitstream Info", 1, "1",
              Join({Item("Dialnorm", "Dialnorm (in dB)", "20", "20"), Item("Acmod", "Audio coding mode", "2", "2/0"),
                    Item("Lfeon", "LFE Channel", "0", "Disabled")})) +
      "," +
      Section("Informational", "Informational", 1, "1",
              Join({Item("Bsmod", "Bitstream mode code", "8", "8"),
                    Item("Bwlpfon", "LFE Lowpass filter", "0", "Disabled"), Item("Cmixlev", "Center mix level", "3", "3"),
                    Item("Surmixlev", "Surround mix level", "0", "-3.0 dB"),
                    Item("RFPrEmphOn", "RF overmodulation protection", "1", "Enabled"),
                    Item("Dsurmod", "Dolby surround code", "4", "4"), Item("Audprodie", "Production Info", "0", "No"),
                    Item("Mixlevel", "Mix level (in dB)", "5", "5"), Item("Roomtyp", "Room type", "0", "Not indicated"),
                    Item("Copyrightb", "Copyright bit", "1", "Copyright protected"),
                    Item("Origbs", "Original bitstream", "0", "Not original bitstream"),
                    Item("Dsurexmod", "Dolby Surround EX", "0", "Not Indicated"),
                    Item("Compr1", "RF mode compression profile code", "7", "7"),
                    Item("Dynrng1", "Dynamic mode compression profile code", "7", "7")})) +
      "," +
      Section("Downmixing", "Downmixing", 1, "1",
              Join({Item("Dmixmod", "Preferred Downmix", "0", "Not Indicated"),
                    Item("Ltrtcmixlev", "Lt/Rt Center Downmix", "2", "0.0 dB (1.000)"),
                    Item("Ltrtsurmixlev", "Lt/Rt Surround Downmix", "5", "-4.5 dB (0.595)"),
                    Item("Lorocmixlev", "Lo/Ro Center Downmix", "1", "+1.5 dB (1.189)"),
                    Item("Lorosurmixlev", "Lo/Ro Surround Downmix", "3", "-1.5 dB (0.841)")})) +
      "]";
  const std::string expected =
      "{\"TS\":1700000000,\"ProtoVer\":19,\"TypeId\":28,\"MdId\":0,\"NoOfPrograms\":2,"
      "\"CurrentProgram\":2,\"NoOfStreams\":0,\"IsAtmosPresent\":false," +
      StatusInfo(Join({Item("Type", "Type", "28", "Dolby E"), Item("FrameRate", "Frame rate", "25.0", "25 fps"),
                       Item("BitDepth", "Bit depth", "20", "20 bits"),
                       Item("PrgCfg", "Program configuration", "\"5.1+2\"", ""),
                       Item("PrgCount", "Program count", "2", "2"), Item("SignalType", "Signal Type", "0", "AES"),
                       Item("Pair", "Pair", "0", "0"), Item("MonitorPrg", "Selected Program", "2", "2")})) +
      ",\"Programs\":[" + program0 + "," + program1 + "]}";
  EXPECT_EQ(Render(*rec), expected);
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
    EXPECT_TRUE(Shows(text, "\"NoOfPrograms\":" + count + ",\"CurrentProgram\":" + shown + ","));
    EXPECT_TRUE(Shows(text, Item("PrgCount", "Program count", count, count)));
    EXPECT_TRUE(Shows(text, Item("MonitorPrg", "Selected Program", shown, c.desc)));
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
    const Value& programs = At(*doc, "Programs");
    ASSERT_TRUE(programs.IsArray());
    ASSERT_EQ(programs.Size(), walked) << int(count);
    for (unsigned i = 0; i < walked; ++i) {
      const Value& info = At(At(At(programs, i), 0u), "BitstreamInfo");
      EXPECT_EQ(At(info, "Data").GetUint(), i);
      EXPECT_EQ(Text(At(info, "Desc")), std::to_string(i));
      EXPECT_EQ(At(At(At(At(info, "ExData"), 0u), "Dialnorm"), "Data").GetInt(), static_cast<int>(100 + i));
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
    const Value& item = At(StatusEntry(*doc), "FrameRate");
    ASSERT_TRUE(At(item, "Data").IsDouble()) << c.code;
    EXPECT_EQ(At(item, "Data").GetDouble(), static_cast<double>(c.data)) << c.code;
    EXPECT_EQ(Text(At(item, "Desc")), c.desc) << c.code;
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
  EXPECT_TRUE(Shows(text, Item("BitDepth", "Bit depth", "16", "16 bits")));
  EXPECT_TRUE(Shows(text, Item("PrgCfg", "Program configuration", Q(std::string(35, 'A')), "")));
  for (int depth : {0, 24, 255}) {
    rec->md.dolbye.bitDepth = static_cast<uint8_t>(depth);
    EXPECT_TRUE(Shows(Render(*rec), Item("BitDepth", "Bit depth", std::to_string(depth), "20 bits")));
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
    EXPECT_TRUE(Shows(Render(*rec), Item(c.key, c.title, std::to_string(c.code), c.desc)));
  }
}

// The table is kept as the UI has it: slot 14 joined, later slots shifted.
TEST(DecStatusDolbyETest, AudioCodingModeTableInSubstreamAndProgram) {
  const std::pair<int, const char*> cases[] = {
      {0, "1+1"},     {11, "3/2/1"}, {13, "2/2/2"}, {14, "2/2/22/2/2"}, {15, "2/2/2"}, {16, "3/2/2"},
      {21, "3/2/2"},  {22, "2/2/1"}, {23, "3/2/1"}, {24, "2/2/2"},      {27, "3/2/2"}, {28, ""},
      {29, nullptr},  {-1, nullptr},
  };
  for (const auto& [acmod, desc] : cases) {
    const std::string code = std::to_string(acmod);
    const std::string item = desc != nullptr ? Item("Acmod", "Audio coding mode", code, desc)
                                             : Item("Acmod", "Audio coding mode code", code, code);
    auto ddp = NewRecord(16, 1);
    ddp->md.ddp.acmod = acmod;
    EXPECT_TRUE(Shows(Render(*ddp), item));
    auto dolbye = OneProgram();
    dolbye->md.dolbye.programs[0].acmod = acmod;
    EXPECT_TRUE(Shows(Render(*dolbye), item));
  }
}

}  // namespace

// Dolby E: whole document, program walk, and the codes the program items add;
// the audio coding mode table through both the substream and the program.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;
using rapidjson::Value;

std::string Join(const std::vector<std::string>& parts) {
  std::string out;
  for (const std::string& p : parts) out += (out.empty() ? "" : ",") + p;
  return out;
}

// Section entry of program i ("BitstreamInfo", "Informational", "Downmixing").
const Value& ProgramSection(const Value& doc, unsigned i, const char* section) {
  const Value& program = At(At(doc, "Programs"), i);
  for (unsigned s = 0; s < 3; ++s) {
    const Value& holder = At(program, s);
    if (holder.IsObject() && holder.HasMember(section)) return At(At(At(holder, section), "ExData"), 0u);
  }
  return At(doc, "<none>");
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
  e.frameRate = 2500;
  e.bitDepth = 20;
  e.currentProgram = 2;
  e.programCount = 2;
  std::strcpy(e.programConfig, "5.1+2");

  dlb_padc_dolbye_program_s& p0 = e.programs[0];
  p0.dialnorm = 31;
  p0.acmod = 7;
  p0.lfeon = 1;
  p0.bsmod = 1;
  p0.bwlpfon = 1;
  p0.cmixlev = 1;
  p0.surmixlev = 2;
  p0.rfPrEmph = 0;
  p0.dsurmod = 0;
  p0.audprodie = 1;
  p0.mixlevel = 25;
  p0.roomtyp = 2;
  p0.copyrightb = 0;
  p0.origbs = 1;
  p0.dsurexmod = 3;
  p0.comprProfile = 1;
  p0.dynrngProfile = 65535;
  p0.dmixmod = 3;
  p0.ltrtcmixlev = 0;
  p0.ltrtsurmixlev = 0;
  p0.lorocmixlev = 7;
  p0.lorosurmixlev = 6;

  dlb_padc_dolbye_program_s& p1 = e.programs[1];
  p1.dialnorm = 20;
  p1.acmod = 2;
  p1.lfeon = 0;
  p1.bsmod = 8;
  p1.bwlpfon = 0;
  p1.cmixlev = 3;
  p1.surmixlev = 0;
  p1.rfPrEmph = 1;
  p1.dsurmod = 4;
  p1.audprodie = 0;
  p1.mixlevel = 5;
  p1.roomtyp = 0;
  p1.copyrightb = 1;
  p1.origbs = 0;
  p1.dsurexmod = 0;
  p1.comprProfile = 7;
  p1.dynrngProfile = 7;
  p1.dmixmod = 0;
  p1.ltrtcmixlev = 2;
  p1.ltrtsurmixlev = 5;
  p1.lorocmixlev = 1;
  p1.lorosurmixlev = 3;

  e.programs[2].dialnorm = 9;  // beyond the count

  const std::string program0 =
      "[" +
      Section("BitstreamInfo", "Bitstream Info", 0, "0",
              Join({Item("Dialnorm", "Dialnorm (in dB)", "31", "31"),
                    Item("Acmod", "Audio coding mode", "7", "3/2"),
                    Item("Lfeon", "LFE Channel", "1", "Enabled")})) +
      "," +
      Section("Informational", "Informational", 0, "0",
              Join({Item("Bsmod", "Bitstream mode", "1", "Music and effects (ME)"),
                    Item("Bwlpfon", "LFE Lowpass filter", "1", "Enabled"),
                    Item("Cmixlev", "Center mix level", "1", "-4.5 dB"),
                    Item("Surmixlev", "Surround mix level", "2", "-inf dB"),
                    Item("RFPrEmphOn", "RF overmodulation protection", "0", "Disabled"),
                    Item("Dsurmod", "Dolby Surround mode", "0", "Not Indicated"),
                    Item("Audprodie", "Production Info", "1", "Yes"),
                    Item("Mixlevel", "Mix level (in dB)", "25", "25"),
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
              Join({Item("Dialnorm", "Dialnorm (in dB)", "20", "20"),
                    Item("Acmod", "Audio coding mode", "2", "2/0"),
                    Item("Lfeon", "LFE Channel", "0", "Disabled")})) +
      "," +
      Section("Informational", "Informational", 1, "1",
              Join({Item("Bsmod", "Bitstream mode code", "8", "8"),
                    Item("Bwlpfon", "LFE Lowpass filter", "0", "Disabled"),
                    Item("Cmixlev", "Center mix level", "3", "3"),
                    Item("Surmixlev", "Surround mix level", "0", "-3.0 dB"),
                    Item("RFPrEmphOn", "RF overmodulation protection", "1", "Enabled"),
                    Item("Dsurmod", "Dolby surround code", "4", "4"),
                    Item("Audprodie", "Production Info", "0", "No"),
                    Item("Mixlevel", "Mix level (in dB)", "5", "5"),
                    Item("Roomtyp", "Room type", "0", "Not indicated"),
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
      "\"CurrentProgram\":2,\"NoOfStreams\":0,\"IsAtmosPresent\":false,"
      "\"StatusInfo\":{\"Title\":\"Status Information\",\"Data\":0,\"Desc\":\"\"," +
      ExData(Join({Item("Type", "Type", "28", "Dolby E"), Item("FrameRate", "Frame rate", "25.0", "25 fps"),
                   Item("BitDepth", "Bit depth", "20", "20 bits"),
                   Item("PrgCfg", "Program configuration", "\"5.1+2\"", ""),
                   Item("PrgCount", "Program count", "2", "2"),
                   Item("SignalType", "Signal Type", "0", "AES"), Item("Pair", "Pair", "0", "0"),
                   Item("MonitorPrg", "Selected Program", "2", "2")})) +
      "},\"Programs\":[" + program0 + "," + program1 + "]}";
  EXPECT_EQ(Render(*rec), expected);
}

TEST(DecStatusDolbyETest, CurrentProgramEqualToTheCountIsKept) {
  struct Case {
    uint8_t current, count;
    int shown;
    const char* desc;
  };
  const Case cases[] = {{3, 3, 3, "3"}, {4, 3, 0, "All Programs"}, {0, 3, 0, "All Programs"},
                        {1, 0, 0, "All Programs"}, {255, 255, 255, "255"}};
  for (const Case& c : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.currentProgram = c.current;
    rec->md.dolbye.programCount = c.count;
    auto doc = RenderParsed(*rec);
    EXPECT_EQ(At(*doc, "CurrentProgram").GetInt(), c.shown);
    EXPECT_EQ(At(*doc, "NoOfPrograms").GetInt(), c.count);
    const Value& entry = StatusEntry(*doc);
    EXPECT_EQ(At(At(entry, "MonitorPrg"), "Data").GetUint(), static_cast<unsigned>(c.shown));
    EXPECT_EQ(Text(At(At(entry, "MonitorPrg"), "Desc")), c.desc);
    EXPECT_EQ(At(At(entry, "PrgCount"), "Data").GetUint(), c.count);
  }
}

TEST(DecStatusDolbyETest, ProgramsWalkTheCountUpToSixteen) {
  const std::pair<uint8_t, unsigned> cases[] = {{0, 0}, {2, 2}, {8, 8}, {9, 9}, {16, 16}, {255, 16}};
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
      ASSERT_EQ(At(programs, i).Size(), 3u);
      const Value& info = At(At(programs, i), 0u);
      EXPECT_EQ(At(At(info, "BitstreamInfo"), "Data").GetUint(), i);
      EXPECT_EQ(Text(At(At(info, "BitstreamInfo"), "Desc")), std::to_string(i));
      EXPECT_EQ(At(At(ProgramSection(*doc, i, "BitstreamInfo"), "Dialnorm"), "Data").GetInt(),
                static_cast<int>(100 + i));
    }
  }
}

// "Data" is the code / 100 as a float, carried as the double equal to it;
// a 17-digit text of that double may end in either neighbouring digit, so
// the value is compared after reading it back.
TEST(DecStatusDolbyETest, FrameRateCodes) {
  struct Case {
    uint16_t code;
    float data;
    const char* desc;
  };
  const Case cases[] = {
      {2398, 23.98f, "23.98 fps"},
      {2400, 24.0f, "24 fps"},
      {2500, 25.0f, "25 fps"},
      {2997, 29.97f, "29.97 fps"},
      {300, 3.0f, "30 fps"},  // 30 fps is sent as 300
      {3000, 30.0f, "30.000000"},
      {5000, 50.0f, "50.000000"},
      {0, 0.0f, "0.000000"},
      {1234, 12.34f, "12.340000"},
      {65535, 655.35f, "655.349976"},
  };
  for (const Case& c : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.frameRate = c.code;
    auto doc = RenderParsed(*rec);
    const Value& item = At(StatusEntry(*doc), "FrameRate");
    EXPECT_EQ(Text(At(item, "Title")), "Frame rate");
    ASSERT_TRUE(At(item, "Data").IsDouble()) << c.code;
    EXPECT_EQ(At(item, "Data").GetDouble(), static_cast<double>(c.data)) << c.code;
    EXPECT_EQ(Text(At(item, "Desc")), c.desc) << c.code;
  }
  // Whole numbers keep their decimal point.
  auto rec = NewRecord(28, 0);
  rec->md.dolbye.frameRate = 2500;
  EXPECT_NE(Render(*rec).find(Item("FrameRate", "Frame rate", "25.0", "25 fps")), std::string::npos);
}

TEST(DecStatusDolbyETest, BitDepthAndProgramConfiguration) {
  auto rec = NewRecord(28, 0);
  rec->md.dolbye.bitDepth = 16;
  std::memset(rec->md.dolbye.programConfig, 'A', sizeof rec->md.dolbye.programConfig);  // no NUL
  rec->md.dolbye.programs[0].bsmod = 0x42;  // the byte after the text field is not read
  auto doc = RenderParsed(*rec);
  const Value& entry = StatusEntry(*doc);
  EXPECT_EQ(Text(At(At(entry, "BitDepth"), "Desc")), "16 bits");
  EXPECT_EQ(Text(At(At(entry, "PrgCfg"), "Data")), std::string(35, 'A'));
  EXPECT_EQ(Text(At(At(entry, "PrgCfg"), "Desc")), "");

  for (uint8_t depth : {0, 20, 24, 255}) {
    rec->md.dolbye.bitDepth = depth;
    auto other = RenderParsed(*rec);
    EXPECT_EQ(Text(At(At(StatusEntry(*other), "BitDepth"), "Desc")), "20 bits") << int(depth);
    EXPECT_EQ(At(At(StatusEntry(*other), "BitDepth"), "Data").GetInt(), depth);
  }
}

TEST(DecStatusDolbyETest, ProgramCodesOutsideTheirTables) {
  struct Case {
    const char* key;
    int32_t dlb_padc_dolbye_program_s::*field;
    int code;
    const char* title;
    const char* desc;
  };
  using P = dlb_padc_dolbye_program_s;
  // Edges of each table; the codes inside are covered by the whole document.
  const Case cases[] = {
      {"Dynrng1", &P::dynrngProfile, 6, "Dynamic mode compression profile", "Not Indicated"},
      {"Dynrng1", &P::dynrngProfile, 65536, "Dynamic mode compression profile code", "65536"},
      {"Dynrng1", &P::dynrngProfile, -1, "Dynamic mode compression profile code", "-1"},
      {"Compr1", &P::comprProfile, 65535, "RF mode compression profile code", "65535"},
      {"Cmixlev", &P::cmixlev, 2, "Center mix level", "-6.0 dB"},
      {"Surmixlev", &P::surmixlev, -1, "Surround mix level", "-1"},
      {"Dsurmod", &P::dsurmod, 3, "Dolby Surround mode", "Reserved"},
      {"Mixlevel", &P::mixlevel, 0, "Mix level (in dB)", "Not Indicated"},
      {"Mixlevel", &P::mixlevel, -4, "Mix level (in dB)", "-4"},
      {"Bsmod", &P::bsmod, 7, "Bitstream mode", "Voice over (VO)"},
  };
  for (const Case& c : cases) {
    auto rec = NewRecord(28, 0);
    rec->md.dolbye.programCount = 1;
    rec->md.dolbye.programs[0].*c.field = c.code;
    auto doc = RenderParsed(*rec);
    const Value& item = At(ProgramSection(*doc, 0, "Informational"), c.key);
    EXPECT_EQ(Text(At(item, "Title")), c.title) << c.key << " " << c.code;
    EXPECT_EQ(Text(At(item, "Desc")), c.desc) << c.key << " " << c.code;
    EXPECT_EQ(At(item, "Data").GetInt(), c.code);
  }
}

// The table is kept as the UI has it: slot 14 joined, later slots shifted.
TEST(DecStatusDolbyETest, AudioCodingModeTableInSubstreamAndProgram) {
  struct Case {
    int acmod;
    const char* title;
    const char* desc;
  };
  const Case cases[] = {
      {0, "Audio coding mode", "1+1"},       {7, "Audio coding mode", "3/2"},
      {11, "Audio coding mode", "3/2/1"},    {13, "Audio coding mode", "2/2/2"},
      {14, "Audio coding mode", "2/2/22/2/2"}, {15, "Audio coding mode", "2/2/2"},
      {16, "Audio coding mode", "3/2/2"},    {21, "Audio coding mode", "3/2/2"},
      {22, "Audio coding mode", "2/2/1"},    {23, "Audio coding mode", "3/2/1"},
      {24, "Audio coding mode", "2/2/2"},    {27, "Audio coding mode", "3/2/2"},
      {28, "Audio coding mode", ""},         {29, "Audio coding mode code", "29"},
      {-1, "Audio coding mode code", "-1"},
  };
  for (const Case& c : cases) {
    auto ddp = NewRecord(16, 1);
    ddp->md.ddp.acmod = c.acmod;
    auto ddpDoc = RenderParsed(*ddp);
    const Value& substreamInfo = At(At(At(At(At(*ddpDoc, "Streams"), 0u), 0u), "BitstreamInfo"), "ExData");
    const Value& fromSubstream = At(At(substreamInfo, 0u), "Acmod");

    auto dolbye = NewRecord(28, 0);
    dolbye->md.dolbye.programCount = 1;
    dolbye->md.dolbye.programs[0].acmod = c.acmod;
    auto dolbyeDoc = RenderParsed(*dolbye);
    const Value& fromProgram = At(ProgramSection(*dolbyeDoc, 0, "BitstreamInfo"), "Acmod");

    for (const Value* item : {&fromSubstream, &fromProgram}) {
      EXPECT_EQ(Text(At(*item, "Title")), c.title) << c.acmod;
      EXPECT_EQ(Text(At(*item, "Desc")), c.desc) << c.acmod;
      EXPECT_EQ(At(*item, "Data").GetInt(), c.acmod);
    }
  }
}

}  // namespace

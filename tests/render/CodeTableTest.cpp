// Every code-to-text table, entry by entry, and the text of the first code past its end
// (ED2 speaker positions and content classes: golden case ed2-speaker-types-and-classes).

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>
#include <vector>

#include "CodeTables.h"
#include "ItemText.h"
#include "Reader/DlbStatusSubx.h"
#include "RenderTestSupport.h"

namespace {

namespace ct = code_tables;
using Lookup = std::function<const char*(int)>;

Lookup Coded(const ct::CodedItem& item) { return [&item](int c) { return item.table.Find(unsigned(c)); }; }
Lookup Texts(const ct::TextTable& table) { return [&table](int c) { return table.Text(unsigned(c)); }; }

struct TableRows {
  const char* name;
  Lookup text;
  int first;                       // code of texts[0]
  std::vector<const char*> texts;  // then the text past the end (nullptr: none)
};

const std::vector<TableRows>& Tables() {
  static const std::vector<TableRows> tables = {
      {"audio coding mode", Coded(ct::kAcmod), 0, {"1+1", "1/0", "2/0", "3/0", "2/1", "3/1", "2/2", "3/2", "3/1/1",
       "2/2/1", "3/2/1", "3/2/1", "3/0/2", "2/2/2", "2/2/22/2/2", "2/2/2", "3/2/2", "3/2/2", "3/2/2", "3/2/2",
       "3/2/2", "3/2/2", "2/2/1", "3/2/1", "2/2/2", "3/2/2", "3/2/2", "3/2/2", "", nullptr}},
      {"bitstream mode", Coded(ct::kBsmod), 0, {"Main complete (CM)", "Music and effects (ME)",
       "Visually impaired (VI)", "Hearing impaired (HI)", "Dialogue (D)", "Commentary (C)", "Emergency (E)",
       "Voice over (VO)", nullptr}},
      {"mix level", Coded(ct::kMixlevel), 0, {"Not Indicated", nullptr}},
      {"substream Dolby Surround", Coded(ct::kSubstreamDsurmod), 0, {"-", "Not Indicated", "Dolby surround encoded",
       "Reserved", nullptr}},
      {"program Dolby Surround", Coded(ct::kProgramDsurmod), 0, {"Not Indicated", "Not Dolby Surround",
       "Dolby Surround", "Reserved", nullptr}},
      {"room type", Coded(ct::kRoomtyp), 0, {"Not indicated", "Large", "Small", "Reserved", nullptr}},
      {"Dolby Surround EX", Coded(ct::kDsurexmod), 0, {"Not Indicated", "Not Dolby Surround EX", "Dolby Surround EX",
       "Dolby Pro Logic IIz encoded", nullptr}},
      {"preferred downmix", Coded(ct::kDmixmod), 0, {"Not Indicated", "Lt/Rt", "Lo/Ro", "Dolby Pro Logic II",
       nullptr}},
      {"Lt/Rt centre downmix", Coded(ct::kLtrtcmixlev), 0, {"+3.0 dB (1.414)", "+1.5 dB (1.189)", "0.0 dB (1.000)",
       "-1.5 dB (0.841)", "-3.0 dB (0.707)", "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)", nullptr}},
      {"Lo/Ro centre downmix", Coded(ct::kLorocmixlev), 7, {"-inf dB (0.000)", nullptr}},
      {"Lt/Rt surround downmix", Coded(ct::kLtrtsurmixlev), 0, {"Reserved", "Reserved", "Reserved", "-1.5 dB (0.841)",
       "-3.0 dB (0.707)", "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)", nullptr}},
      {"Lo/Ro surround downmix", Coded(ct::kLorosurmixlev), 7, {"-inf dB (0.000)", nullptr}},
      {"trim", [](int c) { return ct::MapDdpTrim(static_cast<dlb_padc_trims>(c)); }, 0, {"6.0", "3.0", "1.5", "0.75",
       "-0.75", "-1.5", "-3.0", "-4.5", "-6.0", "-7.5", "-9.0", "-10.5", "-12.0", "-13.5", "-15.0", "-36.0", "0.0",
       "Auto", nullptr}},
      {"surround trim", Coded(ct::kSurroundTrim), 17, {"Auto", nullptr}},
      {"height trim", Coded(ct::kHeightTrim), 16, {"0.0", "Auto", nullptr}},
      {"speaker type", [](int c) { return ct::kSpeakerNames.Find(static_cast<unsigned>(c)); }, 0, {"-", "L", "R", "C",
       "LFE", "Ls", "Rs", "Lrs", "Rrs", "Lfh", "Rfh", "Ltm", "Rtm", "Lrh", "Rrh", "Lw", "Rw", "LFE2", nullptr}},
      {"object class", Coded(ct::kObjectClass), 1, {"Dialogue", "Not dialog", "Mixed", nullptr}},
      {"program centre mix", Coded(ct::kCmixlev), 0, {"-3.0 dB", "-4.5 dB", "-6.0 dB", nullptr}},
      {"program surround mix", Coded(ct::kSurmixlev), 0, {"-3.0 dB", "-6.0 dB", "-inf dB", nullptr}},
      {"compression profile", Coded(ct::kComprProfile), 0, {"None", "Film Standard", "Film Light", "Music Standard",
       "Music Light", "Speech", "Not Indicated", nullptr}},
      {"dynamic range profile", Coded(ct::kDynrngProfile), 6, {"Not Indicated", nullptr}},
      {"speaker configuration", Coded(ct::kChannelConfig), 0, {"Stereo", "5.1", "7.1", "5.1.2", "5.1.4", "7.1.4",
       "9.1.6", nullptr}},
      {"output speaker configuration", Coded(ct::kOutputChannelConfig), 6, {"9.1.6", nullptr}},
      // AC-4
      {"AC-4 frame rate", Texts(ct::kFrameRateIndexes), 0, {"23.98 fps", "24 fps", "25 fps", "29.97 fps", "30 fps",
       "47.95 fps", "48 fps", "50 fps", "59.94 fps", "60 fps", "100 fps", "119.98 fps", "120 fps", "23.44 fps",
       "Reserved", "Reserved", "Unknown"}},
      {"AC-4 dialogue enhancement limit", Texts(ct::kDialogueGainLimits), 0, {"0.0 dB", "3.0 dB", "6.0 dB", "9.0 dB",
       "12.0 dB", "Unknown"}},
      {"AC-4 output channels", Texts(ct::kOutputChannelLayouts), 0, {"2.0", "5.1", "5.1.2", "5.1.4", "Unknown"}},
      {"AC-4 speaker configuration", Texts(ct::kDeviceSpeakerConfigs), 0, {"Stereo", "5.1", "5.1.4", "5.1.2", "5.1.4",
       "5.1.4", "5.1.4", "Unknown"}},
      {"AC-4 loudness regulation", Texts(ct::kLoudnessPractices), 0, {"Not indicated", "ATSC A/85", "EBU R128",
       "ARIB TR-B32", "FreeTV OP-59", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved",
       "Reserved", "Reserved", "Reserved", "Manual", "Customer leveler", "Reserved"}},
      {"AC-4 DRC decoder mode", Texts(ct::kDrcDecoderModes), 0, {"Home theater AVR", "Flat panel TV",
       "Portable speakers", "Portable headphones", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved"}},
      {"AC-4 DRC profile", ct::DrcProfileText, -1, {"Not present", "None", "Film Standard", "Film Light",
       "Music Standard", "Music Light", "Speech", "Reserved", "Reserved", "User defined", "Gains only", "Reserved"}},
      {"AC-4 stereo downmix gain", Texts(ct::kStereoDownmixGains), 0, {"3.0 dB", "1.5 dB", "0.0 dB", "-1.5 dB",
       "-3.0 dB", "-4.5 dB", "-6.0 dB", "-inf dB", "Unknown"}},
      {"AC-4 top downmix gain", Texts(ct::kTopDownmixGains), 0, {"0.0 dB", "-1.5 dB", "-3.0 dB", "-4.5 dB", "-6.0 dB",
       "-9.0 dB", "-12.0 dB", "-inf dB", "Unknown"}},
      {"AC-4 preferred downmix", Texts(ct::kDownmixModes), 0, {"Not indicated", "Lo/Ro", "Lt/Rt", "Pro Logic II",
       "Not present"}},
      {"AC-4 dialogue gain steps", Texts(ct::kDialogueGainSteps), 0, {"Disabled", "3.0 dB", "6.0 dB", "9.0 dB",
       "12.0 dB", "Disabled"}},
  };
  return tables;
}

TEST(CodeTableTest, EveryEntryAndTheFirstCodePastTheEnd) {
  for (const TableRows& t : Tables()) {
    for (std::size_t i = 0; i < t.texts.size(); ++i) {
      const char* got = t.text(t.first + static_cast<int>(i));
      EXPECT_STREQ(got, t.texts[i]) << t.name << ", code " << t.first + static_cast<int>(i);
    }
  }
}

// Texts chosen by a rule rather than a table.
TEST(CodeTableTest, FrameRatesAndPresenceRules) {
  const std::pair<unsigned, const char*> rates[] = {{2398, "23.98 fps"}, {2400, "24 fps"}, {2500, "25 fps"},
                                                    {2997, "29.97 fps"}, {300, "30 fps"},    {3000, nullptr}};
  for (const auto& [code, text] : rates) EXPECT_STREQ(ct::FrameRateText(code), text) << code;
  for (int code : {-2, INT_MAX, INT_MIN}) EXPECT_STREQ(ct::DrcProfileText(code), "Reserved");
  // "%.2f" of the largest float is 42 characters before " dB": no truncation.
  EXPECT_EQ(item_text::FloatDb(3.4028234663852886e38f, -200.0f).View(),
            "340282346638528859811704183484516925440.00 dB");
  EXPECT_EQ(item_text::FloatDb(-1e30f, -200.0f).View(), "-inf dB");
  EXPECT_EQ(item_text::BitrateKbps(2147483647).View(), "2147484 kbps");
}

// The reader turns the ED2 misalignment into video lines before rendering:
// |misalignment| x factor / 1000 in single precision, halves away from zero.
TEST(CodeTableTest, Ed2MisalignmentInLinesRounds) {
  // The last two: factors above 2^31 and products above 2^32 (taken modulo
  // 2^32) come out the same where long has 32 bits (armhf).
  const struct { int32_t misalignment; int64_t factor; uint32_t lines; } rows[] = {
      {3, 500, 2}, {-3, 500, 2}, {5, 100, 1}, {1, 499, 0}, {7, 1000, 7}, {0, 2000, 0},
      {-2147483647 - 1, 1000, 2147483648u}, {1, 4294967295, 4294968u},
      {-2147483647 - 1, 4294967295, 3221225472u}};
  for (const auto& r : rows) {
    EXPECT_EQ(cDlbStatusSubx::MisalignmentInLines(r.misalignment, r.factor), r.lines) << r.misalignment;
  }
}

// A Dolby Digital (Plus) document lists at most 16 substreams.
TEST(CodeTableTest, SubstreamsStopAtSixteen) {
  auto rec = render_test::NewRecord(16, 1);
  cPADMetadataJsonDecStatus& renderer = render_test::Renderer();
  for (const auto& [count, listed] : {std::pair<unsigned, unsigned>{15, 15}, {16, 16}, {17, 16}}) {
    render_test::Render(*rec);
    renderer.AddSubstreams(count, rec->md.ddp);
    EXPECT_EQ(renderer.Doc()["Streams"].Size(), listed) << count;
  }
}

}  // namespace

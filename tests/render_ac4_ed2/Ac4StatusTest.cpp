// AC-4 status document: the whole document for a representative record, and
// the presentation selection, thresholds and code fallbacks.

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <string>

#include "Ac4Ed2TestSupport.h"

namespace {

using ac4_ed2_test::ItemOf;
using ac4_ed2_test::SetText;
using render_test::At;
using render_test::Item;
using render_test::Q;
using render_test::Text;
using rapidjson::Value;

std::unique_ptr<kv_dolby_metadata_t> NewAc4Record() {
  return render_test::NewRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
}

const Value& StatusInfo(const rapidjson::Document& doc) { return At(doc, "StatusInfo"); }
const Value& Stream(const rapidjson::Document& doc) {
  return At(At(StatusInfo(doc), "ExData"), 0u);
}
const Value& Presentation(const rapidjson::Document& doc, unsigned i) {
  return At(At(StatusInfo(doc), "Presentations"), i);
}
unsigned ArraySize(const Value& v) { return v.IsArray() ? v.Size() : 999u; }

TEST(Ac4StatusTest, WholeDocumentOfOnePresentationAndTwoSubstreams) {
  auto rec = NewAc4Record();
  rec->inputType = SYS_INPUT_TYPE_SDI;
  rec->dzPair = 3;
  rec->speakerConfig = 2;
  rec->atmosDecode = 1;
  dlb_padc_ui_md_ac4_s& ac4 = rec->md.ac4;
  ac4.averageBitrate = 96000;
  ac4.upperBitrate = 128400;
  ac4.maxUpperBitrate = -1;
  ac4.frameRateCode = 2;
  ac4.iFrameInterval = 12;
  ac4.presentationCount = 1;
  ac4.substreamCount = 2;
  ac4.bitstreamVersion = 2;
  ac4.crcError = 5;
  ac4.activePresentation = 0;
  ac4.outputChannelConfig = 2;
  ac4.appliedDeGain = 6;
  ac4.deGainLimit = 3;
  ac4.outputRefLevel = -31.5f;

  dlb_padc_ac4_presentation_s& p = ac4.presentations[0];
  SetText(p.summary, "Main English");
  SetText(p.language, "eng");
  p.level = 3;
  p.presentationId = 5;
  p.dialnorm = -23.0f;
  p.dialogGainPresent = 1;
  p.dialogGain = 2.5f;
  p.adGainPresent = 0;
  p.adGain = 1.0f;
  p.meGainPresent = 1;
  p.meGain = -120.0f;
  p.cmGainPresent = 0;
  p.cmGain = 0.0f;
  p.atmosIndication = 2;
  p.loudnessPresent = 1;
  SetText(p.loudnessSummary, "EBU R128 compliant");
  p.loudnessRegulation = 2;
  p.loudnessCorrection = 1;
  p.gatingType = 1;
  p.truePeakPresent = 1;
  p.truePeak = -1.5f;
  p.shortTerm3sPresent = 0;
  p.shortTerm3s = -20.0f;
  p.duckingPresent = 1;
  p.duckingLevel = -80.0f;
  p.eac3DrcProfile = 1;
  p.drcModes[0] = 0;
  p.drcModes[1] = -1;
  p.drcModes[2] = 5;
  p.drcModes[3] = 9;
  p.loRoCentreMixGain = 2;
  p.loRoSurroundMixGain = 4;
  p.ltRtCentreMixGain = -1;
  p.ltRtSurroundMixGain = 9;
  p.lfeMixGain = -10.0f;
  p.preferredDownmix = 2;
  p.topDownmixPresent = 1;
  p.topFrontTarget = 0;
  p.topFrontGain = 2;
  p.topBackTarget = 1;
  p.topBackGain = 7;
  p.substreamIdCount = 3;
  p.substreamIds[0] = 0;
  p.substreamIds[1] = 1;
  p.substreamIds[2] = 7;

  dlb_padc_ac4_substream_s& s0 = ac4.substreams[0];
  SetText(s0.summary, "Music and effects");
  SetText(s0.channelConfig, "5.1.2");
  s0.objectCoded = 0;
  s0.deEnabled = 1;
  s0.deMaxGain = 2;
  s0.dialogMaxGain = 0;
  dlb_padc_ac4_substream_s& s1 = ac4.substreams[1];
  SetText(s1.summary, "Dialogue");
  SetText(s1.channelConfig, "Mono");
  s1.objectCoded = 1;
  s1.deEnabled = 0;
  s1.deMaxGain = 3;
  s1.dialogMaxGain = 4;

  const std::string stream =
      "{" + Item("AC4AverageBitrate", "Average bit rate", "96000", "96 kbps") + "," +
      Item("AC4UpperBitrate", "Upper bit rate", "128400", "128 kbps") + "," +
      Item("AC4MaxUpperBitrate", "Maximum bit rate", "-1", "Unavailable") + "," +
      Item("AC4FrameRate", "Frame rate", "2", "25 fps") + "," +
      Item("AC4IFrameInterval", "I-frame interval", "12", "12 frames") + "," +
      Item("AC4BitstreamVersion", "Bitstream version", "2", "2") + "," +
      Item("AC4PresentationCount", "Number of presentations", "1", "1") + "," +
      Item("AC4NumSubstreams", "Number of audio substreams", "2", "2") + "," +
      Item("AC4CrcErrors", "CRC errors", "5", "CRC error detected") + "," +
      Item("AC4ActivePresentation", "Active presentation", "1", "1") + "," +
      Item("AC4OutputRefLevel", "Output reference level", "-31.5", "-31.50 dB") + "," +
      Item("AC4AppliedDeGain", "Applied dialogue enhancement gain", "6", "6.00 dB") + "," +
      Item("AC4DeGainLimit", "Dialogue enhancement gain limit", "3", "9.0 dB") + "," +
      Item("AC4ChannelConfig", "Decoder output - active channel configuration", "2", "5.1.2") +
      "," + Item("ChannelConfig", "Speaker configuration", "2", "5.1.4") + "," +
      Item("AtmosPresent", "Atmos Presence", "true", "Yes") + "," +
      Item("SignalType", "Signal Type", "2", "SDI") + "," + Item("Pair", "Pair", "3", "3") + "}";

  const std::string presentation =
      "{" + Item("Summary", "Presentation summary", Q("Main English"), "Main English") + "," +
      Item("Id", "Presentation ID", "5", "5") + "," +
      Item("SubIds", "Substream IDs", "3", "0, 1, 7") + "," +
      Item("Level", "Presentation level", "3", "3") + "," +
      Item("Lang", "Language", Q("eng"), "eng") + "," +
      Item("Atmos", "Dolby Atmos presence", "2", "On") + "," +
      Item("Dialnorm", "Dialogue normalization", "-23.0", "-23.00 dB") + "," +
      Item("LoudSum", "Loudness summary", Q("EBU R128 compliant"), "EBU R128 compliant") + "," +
      Item("LoudReg", "Loudness regulation type", "2", "EBU R128") + "," +
      Item("LoudCorr", "Loudness correction type", "1", "Real-time") + "," +
      Item("Gate", "Gating type", "1", "Dialogue gated") + "," +
      Item("TruePk", "True peak", "-1.5", "-1.50 dB") + "," +
      Item("St3s", "Short-term loudness (3s)", "-20.0", "Not present") + "," +
      Item("Eac3Drc", "E-AC-3 DRC profile", "1", "Film Standard") + "," +
      Item("DrcMode0", "Home theater AVR", "0", "None") + "," +
      Item("DrcMode1", "Flat panel TV", "-1", "Not present") + "," +
      Item("DrcMode2", "Portable speakers", "5", "Speech") + "," +
      Item("DrcMode3", "Portable headphones", "9", "Gains only") + "," +
      Item("Duck", "Main audio ducking level", "-80.0", "-inf dB") + "," +
      Item("DlgGain", "Dialogue gain", "2.5", "2.50 dB") + "," +
      Item("AdGain", "Audio Description gain", "1.0", "Not present") + "," +
      Item("MeGain", "Music and Effects gain", "-120.0", "-inf dB") + "," +
      Item("CmGain", "Complete Main gain", "0.0", "Not present") + "," +
      Item("LoRoC", "Lo/Ro center mix gain", "2", "0.0 dB") + "," +
      Item("LoRoS", "Lo/Ro surround mix gain", "4", "-3.0 dB") + "," +
      Item("LtRtC", "Lt/Rt center mix gain", "-1", "Not present") + "," +
      Item("LtRtS", "Lt/Rt surround mix gain", "9", "Unknown") + "," +
      Item("LfeMix", "LFE mix gain", "-10.0", "-10.00 dB") + "," +
      Item("PrefDmx", "Preferred downmix mode", "2", "Lt/Rt") + "," +
      Item("TfTgt", "5.1.4 to 5.1 top front target", "0", "Front") + "," +
      Item("TfGain", "5.1.4 to 5.1 top front mix gain", "2", "-3.0 dB") + "," +
      Item("TbTgt", "5.1.4 to 5.1 top back target", "1", "Surround") + "," +
      Item("TbGain", "5.1.4 to 5.1 top back mix gain", "7", "-inf dB") + "}";

  const std::string substreams =
      "{" + Item("Summary", "Substream summary", Q("Music and effects"), "Music and effects") +
      "," + Item("Id", "Substream ID", "0", "0") + "," +
      Item("ChCfg", "Channel configuration", Q("5.1.2"), "5.1.2") + "," +
      Item("Obj", "Object coded", "0", "False") + "," +
      Item("DlgMax", "Maximum Dialogue gain", "0", "Disabled") + "," +
      Item("DeMax", "Dialogue enhancement gain limit", "2", "6.0 dB") + "},{" +
      Item("Summary", "Substream summary", Q("Dialogue"), "Dialogue") + "," +
      Item("Id", "Substream ID", "1", "1") + "," +
      Item("ChCfg", "Channel configuration", Q("Mono"), "Mono") + "," +
      Item("Obj", "Object coded", "1", "True") + "," +
      Item("DlgMax", "Maximum Dialogue gain", "4", "12.0 dB") + "," +
      Item("DeMax", "Dialogue enhancement gain limit", "3", "Disabled") + "}";

  const std::string expected =
      R"({"TS":1700000000,"ProtoVer":19,"TypeId":24,"MdId":3,"NoOfPrograms":1,)"
      R"("CurrentProgram":1,"NoOfStreams":1,"IsAtmosPresent":true,)"
      R"("StatusInfo":{"Title":"Extended Metadata Details","Data":0,"Desc":"",)"
      R"("ExData":[)" +
      stream + R"(],"Presentations":[)" + presentation + R"(],"Substreams":[)" + substreams +
      "]}}";
  EXPECT_EQ(render_test::Render(*rec), expected);
}

// (presentationCount, activePresentation) -> presentations listed, number
// shown as active, index of the presentation whose Atmos flag counts.
struct SelectionCase {
  uint8_t count;
  uint8_t active;
  unsigned listed;
  unsigned shown;
  unsigned atmosFrom;
};

class Ac4SelectionTest : public ::testing::TestWithParam<SelectionCase> {};

TEST_P(Ac4SelectionTest, ListsShowsAndTakesAtmosFromTheActivePresentation) {
  const SelectionCase c = GetParam();
  auto rec = NewAc4Record();
  rec->atmosDecode = 1;
  rec->md.ac4.presentationCount = c.count;
  rec->md.ac4.activePresentation = c.active;

  // Every presentation but the one that counts says "on": Atmos must be off.
  for (unsigned i = 0; i < kAc4MaxPresentations; ++i) {
    rec->md.ac4.presentations[i].atmosIndication = i == c.atmosFrom ? 1 : 2;
  }
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(At(*doc, "NoOfPrograms").GetInt(), static_cast<int>(c.listed));
  EXPECT_EQ(At(*doc, "CurrentProgram").GetInt(), static_cast<int>(c.shown));
  EXPECT_EQ(ArraySize(At(StatusInfo(*doc), "Presentations")), c.listed);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4PresentationCount").data.GetUint(), c.listed);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4PresentationCount").desc, std::to_string(c.listed));
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4ActivePresentation").data.GetUint(), c.shown);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4ActivePresentation").desc, std::to_string(c.shown));
  EXPECT_FALSE(ItemOf(Stream(*doc), "AtmosPresent").data.GetBool());
  EXPECT_FALSE(At(*doc, "IsAtmosPresent").GetBool());

  // Only that one says "on": Atmos is on, unless nothing is listed.
  for (unsigned i = 0; i < kAc4MaxPresentations; ++i) {
    rec->md.ac4.presentations[i].atmosIndication = i == c.atmosFrom ? 2 : 1;
  }
  doc = render_test::RenderParsed(*rec);
  const bool expectAtmos = c.listed != 0;
  EXPECT_EQ(ItemOf(Stream(*doc), "AtmosPresent").data.GetBool(), expectAtmos);
  EXPECT_EQ(ItemOf(Stream(*doc), "AtmosPresent").desc, expectAtmos ? "Yes" : "No");
  EXPECT_EQ(At(*doc, "IsAtmosPresent").GetBool(), expectAtmos);

  const auto selection = cPADMetadataJsonDecStatus::SelectAc4Presentation(*rec);
  EXPECT_EQ(selection.count, c.listed);
  EXPECT_EQ(selection.shown, c.shown);
  EXPECT_EQ(selection.atmos, expectAtmos);
  if (c.listed != 0) {
    EXPECT_EQ(selection.active, c.atmosFrom);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Counts, Ac4SelectionTest,
    ::testing::Values(SelectionCase{20, 17, 16, 1, 0},   // both capped: first presentation
                      SelectionCase{20, 16, 16, 1, 0},   // active just past the 16 listed
                      SelectionCase{20, 15, 16, 16, 15}, // active kept under a capped count
                      SelectionCase{16, 15, 16, 16, 15},
                      SelectionCase{3, 3, 3, 1, 0},      // active equal to the count
                      SelectionCase{3, 2, 3, 3, 2},
                      SelectionCase{1, 0, 1, 1, 0},
                      SelectionCase{0, 5, 0, 0, 0},      // nothing listed, shown 0
                      SelectionCase{0, 0, 0, 0, 0}));

TEST(Ac4StatusTest, AtmosDecodeOffHidesTheActivePresentationsAtmos) {
  auto rec = NewAc4Record();
  rec->atmosDecode = 0;
  rec->md.ac4.presentationCount = 1;
  rec->md.ac4.presentations[0].atmosIndication = 2;
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_FALSE(ItemOf(Stream(*doc), "AtmosPresent").data.GetBool());
  EXPECT_FALSE(At(*doc, "IsAtmosPresent").GetBool());
  // The presentation itself still tells what it carries.
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Atmos").desc, "On");
}

TEST(Ac4StatusTest, InputTypeZeroShowsAesAndPairZero) {
  auto rec = NewAc4Record();
  rec->inputType = SYS_INPUT_TYPE_NONE;
  rec->dzPair = 5;
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Stream(*doc), "SignalType").desc, "AES");
  EXPECT_EQ(ItemOf(Stream(*doc), "Pair").data.GetUint(), 0u);
  EXPECT_EQ(ItemOf(Stream(*doc), "Pair").desc, "0");
}

TEST(Ac4StatusTest, BitRatesRoundHalfUpPerField) {
  auto rec = NewAc4Record();
  rec->md.ac4.averageBitrate = 1499;
  rec->md.ac4.upperBitrate = 1500;
  rec->md.ac4.maxUpperBitrate = INT_MAX;
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4AverageBitrate").desc, "1 kbps");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4UpperBitrate").desc, "2 kbps");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4MaxUpperBitrate").desc, "2147484 kbps");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4MaxUpperBitrate").data.GetInt(), INT_MAX);

  rec->md.ac4.averageBitrate = -1;
  rec->md.ac4.upperBitrate = 0;
  rec->md.ac4.maxUpperBitrate = INT_MIN;
  doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4AverageBitrate").desc, "Unavailable");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4UpperBitrate").desc, "0 kbps");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4MaxUpperBitrate").desc, "Unavailable");
}

// One float field of the record, where it is shown, and a value at and just
// above its -inf limit.
struct ThresholdCase {
  const char* key;
  void (*set)(kv_dolby_metadata_t&, float);
  float atLimit;
  float above;
  const char* aboveText;
};

void SetPresentationFloat(kv_dolby_metadata_t& rec, float dlb_padc_ac4_presentation_s::*field,
                          float value) {
  dlb_padc_ac4_presentation_s& p = rec.md.ac4.presentations[0];
  p.*field = value;
  p.loudnessPresent = p.truePeakPresent = p.shortTerm3sPresent = p.duckingPresent = 1;
  p.dialogGainPresent = p.adGainPresent = p.meGainPresent = p.cmGainPresent = 1;
}

#define PRESENTATION_FLOAT(field) \
  [](kv_dolby_metadata_t& rec, float v) { \
    SetPresentationFloat(rec, &dlb_padc_ac4_presentation_s::field, v); \
  }

const ThresholdCase kThresholds[] = {
    {"Dialnorm", PRESENTATION_FLOAT(dialnorm), -199.95f, -199.9f, "-199.90 dB"},
    {"TruePk", PRESENTATION_FLOAT(truePeak), -199.95f, -199.94f, "-199.94 dB"},
    {"St3s", PRESENTATION_FLOAT(shortTerm3s), -199.96f, -199.9f, "-199.90 dB"},
    {"Duck", PRESENTATION_FLOAT(duckingLevel), -76.4f, -76.39f, "-76.39 dB"},
    {"DlgGain", PRESENTATION_FLOAT(dialogGain), -119.95f, -119.9f, "-119.90 dB"},
    {"AdGain", PRESENTATION_FLOAT(adGain), -119.95f, -119.94f, "-119.94 dB"},
    {"MeGain", PRESENTATION_FLOAT(meGain), -200.0f, -119.9f, "-119.90 dB"},
    {"CmGain", PRESENTATION_FLOAT(cmGain), -119.95f, 0.0f, "0.00 dB"},
    {"LfeMix", PRESENTATION_FLOAT(lfeMixGain), -143.9f, -143.89f, "-143.89 dB"},
};

TEST(Ac4StatusTest, PresentationValuesAtTheirLimitShowMinusInfinity) {
  for (const ThresholdCase& c : kThresholds) {
    SCOPED_TRACE(c.key);
    auto rec = NewAc4Record();
    rec->md.ac4.presentationCount = 1;
    c.set(*rec, c.atLimit);
    auto doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), c.key).desc, "-inf dB");
    EXPECT_DOUBLE_EQ(ItemOf(Presentation(*doc, 0), c.key).data.GetDouble(), c.atLimit);

    c.set(*rec, c.above);
    doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), c.key).desc, c.aboveText);
  }
}

TEST(Ac4StatusTest, StreamLevelsUseTheLoudnessFloor) {
  auto rec = NewAc4Record();
  rec->md.ac4.outputRefLevel = -199.96f;
  rec->md.ac4.appliedDeGain = -200;
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4OutputRefLevel").desc, "-inf dB");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4AppliedDeGain").desc, "-inf dB");

  rec->md.ac4.outputRefLevel = -199.9f;
  rec->md.ac4.appliedDeGain = -199;
  doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4OutputRefLevel").desc, "-199.90 dB");
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4AppliedDeGain").desc, "-199.00 dB");
}

TEST(Ac4StatusTest, AbsentFlagsHideValuesAndGatingNeedsAPositiveOrZeroType) {
  auto rec = NewAc4Record();
  rec->md.ac4.presentationCount = 1;
  dlb_padc_ac4_presentation_s& p = rec->md.ac4.presentations[0];
  // Loudness flag off: the loudness items say "Not present" whatever their own flags say.
  p.loudnessPresent = 0;
  p.truePeakPresent = p.shortTerm3sPresent = 1;
  SetText(p.loudnessSummary, "ignored");
  p.loudnessRegulation = 1;
  p.gatingType = 0;
  p.topDownmixPresent = 0;
  p.topFrontTarget = 1;
  p.topFrontGain = 1;
  p.preferredDownmix = 4;
  auto doc = render_test::RenderParsed(*rec);
  const Value& entry = Presentation(*doc, 0);
  for (const char* key : {"LoudSum", "LoudReg", "LoudCorr", "Gate", "TruePk", "St3s", "Duck",
                          "DlgGain", "AdGain", "MeGain", "CmGain", "TfTgt", "TfGain", "TbTgt",
                          "TbGain", "PrefDmx"}) {
    EXPECT_EQ(ItemOf(entry, key).desc, "Not present") << key;
  }
  EXPECT_EQ(Text(ItemOf(entry, "LoudSum").data), "ignored");

  p.loudnessPresent = 1;
  p.gatingType = -1;
  p.loudnessCorrection = 0;
  doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Gate").desc, "Not present");
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "LoudCorr").desc, "File-based");
  p.gatingType = 0;
  doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Gate").desc, "Level gated");
}

TEST(Ac4StatusTest, DrcProfilesByCodePlusOne) {
  const struct {
    int code;
    const char* text;
  } cases[] = {{-1, "Not present"}, {0, "None"},       {6, "Reserved"},  {8, "User defined"},
               {9, "Gains only"},   {10, "Reserved"}, {-2, "Reserved"}, {INT_MAX, "Reserved"},
               {INT_MIN, "Reserved"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    auto rec = NewAc4Record();
    rec->md.ac4.presentationCount = 1;
    rec->md.ac4.presentations[0].eac3DrcProfile = c.code;
    rec->md.ac4.presentations[0].drcModes[3] = c.code;
    auto doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Eac3Drc").desc, c.text);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Eac3Drc").data.GetInt(), c.code);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), "DrcMode3").desc, c.text);
  }
}

TEST(Ac4StatusTest, SubstreamIdsListAtMost64OfTheCountGiven) {
  auto rec = NewAc4Record();
  rec->md.ac4.presentationCount = 1;
  dlb_padc_ac4_presentation_s& p = rec->md.ac4.presentations[0];
  p.substreamIdCount = 70;
  std::string expected;
  for (int i = 0; i < kAc4MaxSubstreamIds; ++i) {
    p.substreamIds[i] = 100 + i;
    expected += (i ? ", " : "") + std::to_string(100 + i);
  }
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "SubIds").data.GetInt(), 70);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "SubIds").desc, expected);

  p.substreamIdCount = 0;
  doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "SubIds").desc, "Not present");
}

TEST(Ac4StatusTest, SubstreamsStopAt64AndCountTheirPosition) {
  auto rec = NewAc4Record();
  rec->md.ac4.substreamCount = 70;
  for (auto& s : rec->md.ac4.substreams) {
    s.deEnabled = 1;
    s.deMaxGain = 4;
  }
  rec->md.ac4.substreams[63].deEnabled = 0;
  auto doc = render_test::RenderParsed(*rec);
  const Value& substreams = At(StatusInfo(*doc), "Substreams");
  ASSERT_EQ(ArraySize(substreams), 64u);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4NumSubstreams").data.GetUint(), 70u);
  EXPECT_EQ(ItemOf(Stream(*doc), "AC4NumSubstreams").desc, "70");
  EXPECT_EQ(ItemOf(At(substreams, 62u), "Id").data.GetInt(), 62);
  EXPECT_EQ(ItemOf(At(substreams, 62u), "Id").desc, "62");
  EXPECT_EQ(ItemOf(At(substreams, 62u), "DeMax").desc, "12.0 dB");
  // Dialogue enhancement off: the limit reads "Disabled" though a code is given.
  EXPECT_EQ(ItemOf(At(substreams, 63u), "DeMax").data.GetInt(), 4);
  EXPECT_EQ(ItemOf(At(substreams, 63u), "DeMax").desc, "Disabled");
}

TEST(Ac4StatusTest, UnterminatedTextsStopAtTheirFieldWidth) {
  auto rec = NewAc4Record();
  rec->md.ac4.presentationCount = 1;
  rec->md.ac4.substreamCount = 1;
  dlb_padc_ac4_presentation_s& p = rec->md.ac4.presentations[0];
  std::memset(p.summary, 'S', sizeof p.summary);
  std::memset(p.language, 'L', sizeof p.language);
  p.level = 7;  // the byte after the language: must not show up in the text
  dlb_padc_ac4_substream_s& s = rec->md.ac4.substreams[0];
  std::memset(s.summary, 'a', sizeof s.summary);
  std::memset(s.channelConfig, 'c', sizeof s.channelConfig);
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Summary").desc, std::string(201, 'S'));
  EXPECT_EQ(ItemOf(Presentation(*doc, 0), "Lang").desc, std::string(64, 'L'));
  const Value& substream = At(At(StatusInfo(*doc), "Substreams"), 0u);
  EXPECT_EQ(ItemOf(substream, "Summary").desc, std::string(200, 'a'));
  EXPECT_EQ(ItemOf(substream, "ChCfg").desc, std::string(100, 'c'));
}

}  // namespace

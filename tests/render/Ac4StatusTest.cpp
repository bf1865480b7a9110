// AC-4 status document: the whole document for a representative record, and
// the presentation selection, thresholds and code fallbacks.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using render_test::ItemOf;
using render_test::SetText;
using render_test::Get;
using render_test::Item;
using render_test::Q;
using render_test::Render;
using rapidjson::Value;

std::unique_ptr<kv_dolby_metadata_t> NewAc4Record(uint8_t presentations = 0) {
  auto rec = render_test::NewRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
  rec->md.ac4.presentationCount = presentations;
  return rec;
}

const Value& Presentation(const rapidjson::Document& doc, unsigned i) {
  return Get(doc, ("/StatusInfo/Presentations/" + std::to_string(i)).c_str());
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
      {3, 2, 3, 3, 2},       {1, 0, 1, 1, 0}, {0, 5, 0, 0, 0},  // nothing listed, shown 0
      {0, 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.count) + "/" + std::to_string(c.active));
    auto rec = NewAc4Record(c.count);
    rec->atmosDecode = 1;
    rec->md.ac4.activePresentation = c.active;
    const std::string listed = std::to_string(c.listed);
    const std::string shown = std::to_string(c.shown);
    for (const bool on : {false, true}) {
      for (unsigned i = 0; i < kAc4MaxPresentations; ++i) {
        rec->md.ac4.presentations[i].atmosIndication = (i == c.atmosFrom) == on ? 2 : 1;
      }
      const bool atmos = on && c.listed != 0;
      const std::string text = Render(*rec);
      auto doc = render_test::Parse(text);
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

TEST(Ac4StatusTest, AtmosDecodeOffHidesTheActivePresentationsAtmos) {
  auto rec = NewAc4Record(1);
  rec->atmosDecode = 0;
  rec->md.ac4.presentations[0].atmosIndication = 2;
  const std::string text = Render(*rec);
  EXPECT_THAT(text, HasSubstr("\"IsAtmosPresent\":false"));
  EXPECT_THAT(text, HasSubstr(Item("AtmosPresent", "Atmos Presence", "false", "No")));
  EXPECT_THAT(text, HasSubstr(Item("Atmos", "Dolby Atmos presence", "2", "On")));  // the presentation still tells
}

// Rounded half up per field; a negative rate is unavailable.
TEST(Ac4StatusTest, BitRatesRoundHalfUpPerField) {
  const struct { int32_t average, upper, max; const char* texts[3]; } cases[] = {
      {1499, 1500, INT_MAX, {"1 kbps", "2 kbps", "2147484 kbps"}},
      {-1, 0, INT_MIN, {"Unavailable", "0 kbps", "Unavailable"}},
  };
  for (const auto& c : cases) {
    auto rec = NewAc4Record();
    rec->md.ac4.averageBitrate = c.average;
    rec->md.ac4.upperBitrate = c.upper;
    rec->md.ac4.maxUpperBitrate = c.max;
    const std::string text = Render(*rec);
    EXPECT_THAT(text, HasSubstr(Item("AC4AverageBitrate", "Average bit rate", std::to_string(c.average), c.texts[0])));
    EXPECT_THAT(text, HasSubstr(Item("AC4UpperBitrate", "Upper bit rate", std::to_string(c.upper), c.texts[1])));
    EXPECT_THAT(text, HasSubstr(Item("AC4MaxUpperBitrate", "Maximum bit rate", std::to_string(c.max), c.texts[2])));
  }
}

// A presentation float at its -inf limit, and just above it.
TEST(Ac4StatusTest, PresentationValuesAtTheirLimitShowMinusInfinity) {
  using P = dlb_padc_ac4_presentation_s;
  const struct { const char* key; float P::*field; float atLimit, above; const char* aboveText; } cases[] = {
      {"Dialnorm", &P::dialnorm, -199.95f, -199.9f, "-199.90 dB"},
      {"TruePk", &P::truePeak, -199.95f, -199.94f, "-199.94 dB"},
      {"St3s", &P::shortTerm3s, -199.96f, -199.9f, "-199.90 dB"},
      {"Duck", &P::duckingLevel, -76.4f, -76.39f, "-76.39 dB"},
      {"DlgGain", &P::dialogGain, -119.95f, -119.9f, "-119.90 dB"},
      {"AdGain", &P::adGain, -119.95f, -119.94f, "-119.94 dB"},
      {"MeGain", &P::meGain, -200.0f, -119.9f, "-119.90 dB"},
      {"CmGain", &P::cmGain, -119.95f, 0.0f, "0.00 dB"},
      {"LfeMix", &P::lfeMixGain, -143.9f, -143.89f, "-143.89 dB"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    auto rec = NewAc4Record(1);
    P& p = rec->md.ac4.presentations[0];
    p.loudnessPresent = p.truePeakPresent = p.shortTerm3sPresent = p.duckingPresent = 1;
    p.dialogGainPresent = p.adGainPresent = p.meGainPresent = p.cmGainPresent = 1;
    p.*c.field = c.atLimit;
    auto doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), c.key).desc, "-inf dB");
    EXPECT_DOUBLE_EQ(ItemOf(Presentation(*doc, 0), c.key).data.GetDouble(), c.atLimit);
    p.*c.field = c.above;
    doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Presentation(*doc, 0), c.key).desc, c.aboveText);
  }
}

TEST(Ac4StatusTest, StreamLevelsUseTheLoudnessFloor) {
  const struct { float ref; int32_t de; const char* refText; const char* deText; } cases[] = {
      {-199.96f, -200, "-inf dB", "-inf dB"}, {-199.9f, -199, "-199.90 dB", "-199.00 dB"}};
  for (const auto& c : cases) {
    auto rec = NewAc4Record();
    rec->md.ac4.outputRefLevel = c.ref;
    rec->md.ac4.appliedDeGain = c.de;
    auto doc = render_test::RenderParsed(*rec);
    EXPECT_EQ(ItemOf(Get(*doc, "/StatusInfo/ExData/0"), "AC4OutputRefLevel").desc, c.refText);
    EXPECT_EQ(ItemOf(Get(*doc, "/StatusInfo/ExData/0"), "AC4AppliedDeGain").desc, c.deText);
  }
}

TEST(Ac4StatusTest, AbsentFlagsHideValuesAndGatingNeedsAPositiveOrZeroType) {
  auto rec = NewAc4Record(1);
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
  for (const char* key : {"LoudSum", "LoudReg", "LoudCorr", "Gate", "TruePk", "St3s", "Duck", "DlgGain", "AdGain",
                          "MeGain", "CmGain", "TfTgt", "TfGain", "TbTgt", "TbGain", "PrefDmx"}) {
    EXPECT_EQ(ItemOf(entry, key).desc, "Not present") << key;
  }
  EXPECT_EQ(render_test::Text(ItemOf(entry, "LoudSum").data), "ignored");

  p.loudnessPresent = 1;
  p.loudnessCorrection = 0;
  for (const auto& [gating, text] : {std::pair<int, const char*>{-1, "Not present"}, {0, "Level gated"}}) {
    p.gatingType = gating;
    const std::string rendered = Render(*rec);
    EXPECT_THAT(rendered, HasSubstr(Item("Gate", "Gating type", std::to_string(gating), text)));
    EXPECT_THAT(rendered, HasSubstr(Item("LoudCorr", "Loudness correction type", "0", "File-based")));
  }
}

TEST(Ac4StatusTest, SubstreamIdsListAtMost64OfTheCountGiven) {
  auto rec = NewAc4Record(1);
  dlb_padc_ac4_presentation_s& p = rec->md.ac4.presentations[0];
  p.substreamIdCount = 70;
  std::string expected;
  for (int i = 0; i < kAc4MaxSubstreamIds; ++i) {
    p.substreamIds[i] = 100 + i;
    expected += (i ? ", " : "") + std::to_string(100 + i);
  }
  EXPECT_THAT(Render(*rec), HasSubstr(Item("SubIds", "Substream IDs", "70", expected)));
  p.substreamIdCount = 0;
  EXPECT_THAT(Render(*rec), HasSubstr(Item("SubIds", "Substream IDs", "0", "Not present")));
}

// At most 64 substreams are listed under the count received; each entry
// numbers its position. Dialogue enhancement off reads "Disabled" though a
// limit code is given.
TEST(Ac4StatusTest, SubstreamsStopAt64AndCountTheirPosition) {
  auto rec = NewAc4Record();
  rec->md.ac4.substreamCount = 70;
  for (auto& s : rec->md.ac4.substreams) {
    s.deEnabled = 1;
    s.deMaxGain = 4;
  }
  rec->md.ac4.substreams[63].deEnabled = 0;
  auto entry = [](int id, const char* deMax) {
    return "{" + render_test::Join({Item("Summary", "Substream summary", "\"\"", ""),
                                    Item("Id", "Substream ID", std::to_string(id), std::to_string(id)),
                                    Item("ChCfg", "Channel configuration", "\"\"", ""),
                                    Item("Obj", "Object coded", "0", "False"),
                                    Item("DlgMax", "Maximum Dialogue gain", "0", "Disabled"),
                                    Item("DeMax", "Dialogue enhancement gain limit", "4", deMax)}) +
           "}";
  };
  const std::string text = Render(*rec);
  EXPECT_THAT(text, HasSubstr(Item("AC4NumSubstreams", "Number of audio substreams", "70", "70")));
  EXPECT_THAT(text, HasSubstr(entry(62, "12.0 dB") + "," + entry(63, "Disabled") + "]}}"));
}

TEST(Ac4StatusTest, UnterminatedTextsStopAtTheirFieldWidth) {
  auto rec = NewAc4Record(1);
  rec->md.ac4.substreamCount = 1;
  dlb_padc_ac4_presentation_s& p = rec->md.ac4.presentations[0];
  std::memset(p.summary, 'S', sizeof p.summary);
  std::memset(p.language, 'L', sizeof p.language);
  p.level = 7;  // the byte after the language: must not show up in the text
  dlb_padc_ac4_substream_s& s = rec->md.ac4.substreams[0];
  std::memset(s.summary, 'a', sizeof s.summary);
  std::memset(s.channelConfig, 'c', sizeof s.channelConfig);
  const std::string text = Render(*rec);
  for (const auto& [key, title, fill] : {std::tuple<const char*, const char*, std::string>{"Summary", "Presentation summary", std::string(201, 'S')},
                                         {"Lang", "Language", std::string(64, 'L')},
                                         {"Summary", "Substream summary", std::string(200, 'a')},
                                         {"ChCfg", "Channel configuration", std::string(100, 'c')}}) {
    EXPECT_THAT(text, HasSubstr(Item(key, title, Q(fill), fill)));
  }
}

}  // namespace

// Dolby Digital (Plus): two whole documents, and the quirks and edge codes of
// the items they cannot show at once.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;

// A Dolby Digital (Plus) record with object audio decoded.
std::unique_ptr<kv_dolby_metadata_t> ObjectAudioRecord() {
  auto rec = NewRecord(16, 1);
  rec->atmosDecode = 1;
  rec->md.ddp.atmosPresent = 1;
  return rec;
}

// A dynamic object entry: class, then data and text of x, y and z.
std::string Obj(const char* cls, const char* clsText, const char* x, const char* xText, const char* y,
                const char* yText, const char* z, const char* zText) {
  return "{" + Join({Item("Type", "Object Type", "false", "Dynamic"), Item("Class", "Object Class", cls, clsText),
                     Item("x", "Object Position x", x, xText), Item("y", "Object Position y", y, yText),
                     Item("z", "Object Position z", z, zText)}) +
         "}";
}

TEST(DecStatusDdpTest, DocumentWithObjectAudio) {
  auto rec = ObjectAudioRecord();
  rec->inputType = SYS_INPUT_TYPE_AES;
  rec->dzPair = 3;
  rec->speakerConfig = 4;
  dlb_padc_ui_md_ddp_s& d = rec->md.ddp;
  d.datarate = 640; d.acmod = 7; d.bsid = 16; d.bsmod = 0; d.lfeon = 1; d.dialnorm = 27;
  d.dsurmod = 2;  // ignored unless 2/0
  d.mixlevel = 0; d.roomtyp = 1; d.copyrightb = 1; d.origbs = 0; d.dsurexmod = 2; d.adconvtyp = 0;
  d.dmixmod = 2; d.ltrtcmixlev = 4; d.ltrtsurmixlev = 4; d.lorocmixlev = 3; d.lorosurmixlev = 7;
  d.numDynObjects = 2; d.complexityIndex = 5;
  d.surroundTrim = DLB_PADC_TRIM_AUTO;
  d.heightTrim = static_cast<dlb_padc_trims>(3);
  d.objects[0] = {0.25f, 0.25f, 0.25f, DLB_PADC_OBJECT_DIALOGUE};
  d.objects[1] = {0.5f, 1.0f, 0.0f, DLB_PADC_OBJECT_NOT_DIALOGUE};
  d.objects[2] = {0.9f, 0.9f, 0.9f, DLB_PADC_OBJECT_MIXED};  // beyond the count
  d.bedChannels[0] = d.bedChannels[1] = d.bedChannels[2] = d.bedChannels[3] = 1;

  const std::string expected =
      "{\"TS\":1700000000,\"ProtoVer\":19,\"TypeId\":16,\"MdId\":1,\"NoOfPrograms\":0,"
      "\"CurrentProgram\":0,\"IsAtmosPresent\":true," +
      StatusInfo(Join({Item("Type", "Type", "16", "Dolby Digital (Plus)"),
                       Item("AtmosPresent", "Atmos Presence", "true", "Yes"),
                       Item("SignalType", "Signal Type", "1", "AES"), Item("Pair", "Pair", "3", "3"),
                       Item("ChannelConfig", "Output Speaker Config.", "4", "5.1.4")})) +
      ",\"AtmosInfo\":{\"Title\":\"Atmos Object Audio Info\",\"Data\":0,\"Desc\":\"\"," +
      ExData(Join({"\"PaObjects\":[" + Obj("1", "Dialogue", "-0.5", "0.25", "0.5", "0.25", "0.25", "0.25") +
                       "," + Obj("0", "Not dialog", "0.0", "0.50", "-1.0", "1.00", "0.0", "0.00") + "]",
                   Item("BedObjectConf", "Bed-object configuration", "4", " L R C LFE"),
                   Item("ComplexityIndex", "Complexity index", "5", "5"),
                   Item("NumDynObjects", "Dynamic objects", "2", "2"),
                   Item("SurroundTrim", "Surround trim (in dB)", "17", "Auto"),
                   Item("HeightTrim", "Height trim (in dB)", "3", "0.75")})) +
      "},\"Streams\":[[" +
      Section("BitstreamInfo", "Bitstream Info", 0, "Main",
              Join({Item("Bsid", "Bitstream Id", "16", "16"), Item("Datarate", "Data rate (kbps)", "640", "640"),
                    Item("Acmod", "Audio coding mode", "7", "3/2"), Item("Lfeon", "LFE Channel", "1", "Enabled"),
                    Item("Dialnorm", "Dialnorm (in dB)", "27", "27")})) +
      "," +
      Section("Informational", "Informational", 0, "Main",
              Join({Item("Bsmod", "Bitstream mode", "0", "Main complete (CM)"),
                    Item("Dsurmod", "Dolby Surround", "2", "-"),
                    Item("Mixlevel", "Mix level (in dB)", "0", "Not Indicated"),
                    Item("Roomtyp", "Room type", "1", "Large"),
                    Item("Copyrightb", "Copyright bit", "1", "Copyright protected"),
                    Item("Origbs", "Original bitstream", "0", "Not original bitstream"),
                    Item("Dsurexmod", "Dolby Surround EX", "2", "Dolby Surround EX"),
                    Item("Adconvtyp", "A/D converter", "0", "Standard")})) +
      "," +
      Section("Downmixing", "Downmixing", 0, "Main",
              Join({Item("Dmixmod", "Preferred Downmix", "2", "Lo/Ro"),
                    Item("Ltrtcmixlev", "Lt/Rt Center Downmix", "4", "-3.0 dB (0.707)"),
                    Item("Ltrtsurmixlev", "Lt/Rt Surround Downmix", "4", "-3.0 dB (0.707)"),
                    Item("Lorocmixlev", "Lo/Ro Center Downmix", "3", "-1.5 dB (0.841)"),
                    Item("Lorosurmixlev", "Lo/Ro Surround Downmix", "7", "-inf dB (0.000)")})) +
      "]]}";
  EXPECT_EQ(Render(*rec), expected);
}

// Codes outside the tables, a 2/0 stream, and no object audio.
TEST(DecStatusDdpTest, DocumentWithoutObjectAudio) {
  auto rec = NewRecord(21, 1);
  rec->inputType = SYS_INPUT_TYPE_NONE;
  rec->dzPair = 2;
  rec->speakerConfig = 0;
  rec->atmosDecode = 1;
  dlb_padc_ui_md_ddp_s& d = rec->md.ddp;
  d.datarate = 0; d.acmod = 2; d.atmosPresent = 0; d.bsid = -6; d.bsmod = 9; d.lfeon = -1;
  d.dsurmod = 2; d.dialnorm = 31; d.mixlevel = 5; d.roomtyp = 4; d.copyrightb = 0; d.origbs = 1;
  d.dmixmod = 4; d.ltrtcmixlev = 8; d.ltrtsurmixlev = 1; d.lorocmixlev = -1; d.lorosurmixlev = 9;
  d.dsurexmod = 5; d.adconvtyp = 1;
  d.numDynObjects = 3;  // not shown without object audio

  const std::string expected =
      "{\"TS\":1700000000,\"ProtoVer\":19,\"TypeId\":21,\"MdId\":1,\"NoOfPrograms\":0,"
      "\"CurrentProgram\":0,\"IsAtmosPresent\":false," +
      StatusInfo(Join({Item("Type", "Type", "21", "Dolby Digital (Plus) / IEC 61937"),
                       Item("AtmosPresent", "Atmos Presence", "false", "No"),
                       Item("SignalType", "Signal Type", "0", "AES"), Item("Pair", "Pair", "0", "0"),
                       Item("ChannelConfig", "Output Speaker Config.", "0", "Stereo")})) +
      ",\"Streams\":[[" +
      Section("BitstreamInfo", "Bitstream Info", 0, "Main",
              Join({Item("Bsid", "Bitstream Id", "-6", "-6"), Item("Datarate", "Data rate (kbps)", "0", "-"),
                    Item("Acmod", "Audio coding mode", "2", "2/0"), Item("Lfeon", "LFE Channel", "-1", "Enabled"),
                    Item("Dialnorm", "Dialnorm (in dB)", "31", "31")})) +
      "," +
      Section("Informational", "Informational", 0, "Main",
              Join({Item("Bsmod", "Bitstream mode code", "9", "9"),
                    Item("Dsurmod", "Dolby Surround", "2", "Dolby surround encoded"),
                    Item("Mixlevel", "Mix level (in dB)", "5", "5"), Item("Roomtyp", "Room type code", "4", "4"),
                    Item("Copyrightb", "Copyright bit", "0", "Not copyright protected"),
                    Item("Origbs", "Original bitstream", "1", "Original bitstream"),
                    Item("Dsurexmod", "Dolby Surround EX", "5", "5"), Item("Adconvtyp", "A/D converter", "1", "HDCD")})) +
      "," +
      Section("Downmixing", "Downmixing", 0, "Main",
              Join({Item("Dmixmod", "Preferred Downmix code", "4", "4"),
                    Item("Ltrtcmixlev", "Lt/Rt Center Downmix", "8", "8"),
                    Item("Ltrtsurmixlev", "Lt/Rt Surround Downmix", "1", "Reserved"),
                    Item("Lorocmixlev", "Lo/Ro Center Downmix", "-1", "-1"),
                    Item("Lorosurmixlev", "Lo/Ro Surround Downmix", "9", "9")})) +
      "]]}";
  EXPECT_EQ(Render(*rec), expected);
}

// Items with a table and a "code" fallback, at the codes the documents above
// do not show: (acmod, dsurmod) for the Dolby Surround rule, then data rate,
// trims, object class. Object audio present but not decoded is not shown.
TEST(DecStatusDdpTest, EdgeCodes) {
  auto hidden = ObjectAudioRecord();
  hidden->atmosDecode = 0;
  hidden->md.ddp.numDynObjects = 1;
  const std::string text = Render(*hidden);
  EXPECT_TRUE(Shows(text, "\"IsAtmosPresent\":false,"));
  EXPECT_TRUE(Shows(text, Item("AtmosPresent", "Atmos Presence", "false", "No")));
  EXPECT_FALSE(Shows(text, "AtmosInfo"));

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
    EXPECT_TRUE(Shows(Render(*rec), Item("Dsurmod", c.title, std::to_string(c.dsurmod), c.desc)));
  }
  for (const auto& [rate, desc] : {std::pair<int, const char*>{-5, "-"}, {1, "1"}}) {
    auto rec = NewRecord(16, 1);
    rec->md.ddp.datarate = rate;
    EXPECT_TRUE(Shows(Render(*rec), Item("Datarate", "Data rate (kbps)", std::to_string(rate), desc)));
  }
  for (const auto& [code, desc] : {std::pair<int, const char*>{0, "6.0"}, {16, "0.0"}, {18, "-"}, {-1, "-"}}) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.surroundTrim = rec->md.ddp.heightTrim = static_cast<dlb_padc_trims>(code);
    const std::string text = Render(*rec);
    EXPECT_TRUE(Shows(text, Item("SurroundTrim", "Surround trim (in dB)", std::to_string(code), desc)));
    EXPECT_TRUE(Shows(text, Item("HeightTrim", "Height trim (in dB)", std::to_string(code), desc)));
  }
  for (const auto& [code, desc] : {std::pair<int, const char*>{3, "Mixed"}, {0, "Unknown"}, {4, "Unknown"}, {-1, "Unknown"}}) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.numDynObjects = 1;
    rec->md.ddp.objects[0].dialogueClass = static_cast<dlb_padc_object_dialogue_indication>(code);
    EXPECT_TRUE(Shows(Render(*rec), Item("Class", "Object Class", "0", desc))) << code;
  }
}

TEST(DecStatusDdpTest, BedChannelsAreListedInFlagOrder) {
  std::vector<int> all;
  for (int i = 0; i < kBedChannelCount; ++i) all.push_back(i);
  const struct { std::vector<int> present; const char* count; const char* desc; } cases[] = {
      {{}, "0", ""},
      {{16}, "1", " LFE2"},
      {{5, 0, 10}, "3", " L Rs Ltm"},
      {all, "17", " L R C LFE Ls Rs Lrs Rrs Lfh Rfh Ltm Rtm Lrh Rrh Lw Rw LFE2"},
  };
  for (const auto& c : cases) {
    auto rec = ObjectAudioRecord();
    for (int i : c.present) rec->md.ddp.bedChannels[i] = static_cast<uint8_t>(i + 1);
    EXPECT_TRUE(Shows(Render(*rec), Item("BedObjectConf", "Bed-object configuration", c.count, c.desc)));
  }
}

TEST(DecStatusDdpTest, ObjectCountIsShownAsReceivedButWalksAtMostFifteenSlots) {
  const std::pair<uint32_t, unsigned> cases[] = {{0, 0}, {1, 1}, {15, 15}, {16, 15}, {0xffffffffu, 15}};
  for (const auto& [count, walked] : cases) {
    auto rec = ObjectAudioRecord();
    rec->md.ddp.numDynObjects = count;
    for (auto& o : rec->md.ddp.objects) o = {0.5f, 0.5f, 0.5f, DLB_PADC_OBJECT_MIXED};
    auto doc = RenderParsed(*rec);
    const rapidjson::Value& entry = At(At(At(*doc, "AtmosInfo"), "ExData"), 0u);
    EXPECT_EQ(At(entry, "PaObjects").Size(), walked) << count;
    EXPECT_EQ(At(At(entry, "NumDynObjects"), "Data").GetUint(), count);
    EXPECT_EQ(Text(At(At(entry, "NumDynObjects"), "Desc")), std::to_string(count));
  }
}

}  // namespace

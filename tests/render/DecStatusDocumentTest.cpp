// Decoder status document: top level per stream type, the items common to
// every codec, PCM, and the change test.

#include <gtest/gtest.h>

#include <vector>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;
using rapidjson::Value;

std::vector<std::string> Keys(const Value& obj) {
  std::vector<std::string> keys;
  if (!obj.IsObject()) return keys;
  for (auto it = obj.MemberBegin(); it != obj.MemberEnd(); ++it) keys.emplace_back(it->name.GetString());
  return keys;
}

TEST(DecStatusDocumentTest, GetInstanceKeepsOneRenderer) {
  cPADMetadataJsonDecStatus* first = cPADMetadataJsonDecStatus::GetInstance();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(cPADMetadataJsonDecStatus::GetInstance(), first);
  EXPECT_EQ(cPADMetadataJsonDecStatus::mpJDecStatus, first);
  cPADMetadataJsonDecStatus::DeleteInstance();
  EXPECT_EQ(cPADMetadataJsonDecStatus::mpJDecStatus, nullptr);
  cPADMetadataJsonDecStatus::DeleteInstance();  // harmless a second time
  EXPECT_NE(cPADMetadataJsonDecStatus::GetInstance(), nullptr);
}

TEST(DecStatusDocumentTest, PcmDocument) {
  auto rec = NewRecord(0, 1);  // PCM whatever block the header names
  rec->inputType = SYS_INPUT_TYPE_SDI;
  rec->dzPair = 5;
  rec->speakerConfig = 1;
  rec->atmosDecode = 1;
  rec->md.ddp.atmosPresent = 1;
  const std::string expected =
      "{\"TS\":1700000000,\"ProtoVer\":19,\"TypeId\":0,\"MdId\":1,\"NoOfPrograms\":0,"
      "\"CurrentProgram\":0,\"StatusInfo\":{\"Title\":\"Status Information\",\"Data\":0,"
      "\"Desc\":\"\"," +
      ExData(Item("Type", "Type", "0", "PCM") + "," + Item("SignalType", "Signal Type", "2", "SDI") +
             "," + Item("Pair", "Pair", "5", "5") + "," +
             Item("ChannelConfig", "Channel Config.", "1", "5.1")) +
      "}}";
  EXPECT_EQ(Render(*rec), expected);
}

TEST(DecStatusDocumentTest, UnknownStreamTypeGivesTheEmptyObject) {
  for (int typeId : {99, -1, 2, 17, 61}) {
    auto rec = NewRecord(typeId, 1);
    rec->md.ddp.acmod = 7;
    EXPECT_EQ(Render(*rec), "{}") << typeId;
  }
}

TEST(DecStatusDocumentTest, TopLevelMembersPerStreamType) {
  struct Case {
    int typeId;
    uint32_t mdType;
    bool objectAudio;
    std::vector<std::string> keys;
  };
  const std::vector<std::string> head = {"TS", "ProtoVer", "TypeId", "MdId", "NoOfPrograms",
                                         "CurrentProgram"};
  auto with = [&](std::vector<std::string> tail) {
    std::vector<std::string> keys = head;
    keys.insert(keys.end(), tail.begin(), tail.end());
    return keys;
  };
  const Case cases[] = {
      {0, 0, false, with({"StatusInfo"})},
      {1, 1, false, with({"IsAtmosPresent", "StatusInfo", "Streams"})},
      {16, 1, true, with({"IsAtmosPresent", "StatusInfo", "AtmosInfo", "Streams"})},
      {21, 1, false, with({"IsAtmosPresent", "StatusInfo", "Streams"})},
      {24, 3, false, with({"NoOfStreams", "IsAtmosPresent", "StatusInfo"})},
      {28, 0, false, with({"NoOfStreams", "IsAtmosPresent", "StatusInfo", "Programs"})},
      {60, 2, false, with({"NoOfStreams", "IsAtmosPresent", "StatusInfo"})},
  };
  for (const Case& c : cases) {
    auto rec = NewRecord(c.typeId, c.mdType);
    rec->protoVer = 7;  // not checked by the renderer
    rec->atmosDecode = c.objectAudio ? 1 : 0;
    rec->md.ddp.atmosPresent = c.objectAudio ? 1 : 0;
    auto doc = RenderParsed(*rec);
    EXPECT_EQ(Keys(*doc), c.keys) << c.typeId;
    EXPECT_TRUE(At(*doc, "TS").IsInt());
    EXPECT_EQ(At(*doc, "TS").GetInt(), kNow);
    EXPECT_EQ(At(*doc, "ProtoVer").GetInt(), 7);
    EXPECT_EQ(At(*doc, "TypeId").GetInt(), c.typeId);
    EXPECT_EQ(At(*doc, "MdId").GetInt(), static_cast<int>(c.mdType));
    EXPECT_TRUE(At(*doc, "StatusInfo").IsObject());
  }
}

TEST(DecStatusDocumentTest, StreamTypeDescription) {
  struct Case {
    int typeId;
    uint32_t mdType;
    const char* desc;
  };
  const Case cases[] = {
      {16, 1, "Dolby Digital (Plus)"},
      {21, 1, "Dolby Digital (Plus) / IEC 61937"},
      {1, 1, "Dolby Digital"},
      {16, 0, "Dolby E"},
      {28, 0, "Dolby E"},
      {28, 1, "Dolby Digital"},
      {16, 2, "ED2"},
      {21, 3, "Dolby AC-4"},
      {1, 7, "PCM"},  // an unknown block keeps the default
      {28, 4, "PCM"},
      {0, 0, "PCM"},
      {0, 1, "PCM"},
      {0, 3, "PCM"},
  };
  for (const Case& c : cases) {
    auto rec = NewRecord(c.typeId, c.mdType);
    auto doc = RenderParsed(*rec);
    const Value& type = At(StatusEntry(*doc), "Type");
    EXPECT_EQ(Text(At(type, "Desc")), c.desc) << c.typeId << "/" << c.mdType;
    EXPECT_EQ(Text(At(type, "Title")), "Type");
    EXPECT_TRUE(At(type, "Data").IsUint());
    EXPECT_EQ(At(type, "Data").GetUint(), static_cast<unsigned>(c.typeId));
  }
}

TEST(DecStatusDocumentTest, SignalTypeAndPair) {
  struct Case {
    uint32_t inputType;
    uint32_t dzPair;
    const char* signal;
    unsigned pair;
  };
  const Case cases[] = {
      {0, 6, "AES", 0},  // no pair applies without an input type
      {1, 6, "AES", 6},
      {2, 3, "SDI", 3},
      {3, 4294967295u, "AES", 4294967295u},
  };
  for (int typeId : {0, 16, 28}) {
    for (const Case& c : cases) {
      auto rec = NewRecord(typeId, typeId == 28 ? 0 : 1);
      rec->inputType = static_cast<SysInputType_e>(c.inputType);
      rec->dzPair = c.dzPair;
      auto doc = RenderParsed(*rec);
      const Value& entry = StatusEntry(*doc);
      EXPECT_EQ(Text(At(At(entry, "SignalType"), "Desc")), c.signal);
      EXPECT_EQ(At(At(entry, "SignalType"), "Data").GetUint(), c.inputType);
      EXPECT_EQ(At(At(entry, "Pair"), "Data").GetUint(), c.pair) << typeId;
      EXPECT_EQ(Text(At(At(entry, "Pair"), "Desc")), std::to_string(c.pair));
    }
  }
}

TEST(DecStatusDocumentTest, ChannelConfigurationLists) {
  struct Case {
    int config;
    const char* desc;
  };
  const Case cases[] = {{0, "Stereo"}, {2, "7.1"}, {3, "5.1.2"}, {5, "7.1.4"},
                        {6, "9.1.6"},  {7, ""},    {-1, ""}};
  for (const Case& c : cases) {
    for (int typeId : {0, 16}) {
      auto rec = NewRecord(typeId, 1);
      rec->speakerConfig = c.config;
      auto doc = RenderParsed(*rec);
      const Value& item = At(StatusEntry(*doc), "ChannelConfig");
      EXPECT_EQ(Text(At(item, "Title")), typeId == 0 ? "Channel Config." : "Output Speaker Config.");
      EXPECT_EQ(At(item, "Data").GetUint(), static_cast<unsigned>(c.config));
      EXPECT_EQ(Text(At(item, "Desc")), c.desc) << c.config;
    }
  }
}

TEST(DecStatusDocumentTest, Ac4TopLevelFollowsTheActivePresentation) {
  struct Case {
    uint8_t count;
    uint8_t active;
    int atmosAt;  // presentation that signals Atmos, -1 none
    uint32_t atmosDecode;
    int programs, current;
    bool atmos;
  };
  const Case cases[] = {
      {3, 1, 1, 1, 3, 2, true},
      {3, 1, 1, 0, 3, 2, false},
      {3, 1, 0, 1, 3, 2, false},  // only the active presentation counts
      {3, 3, 0, 1, 3, 1, true},   // an active index past the count falls back to the first
      {20, 17, 0, 1, 16, 1, true},
      {20, 15, 15, 1, 16, 16, true},
      {0, 0, 0, 1, 0, 0, false},
  };
  for (const Case& c : cases) {
    auto rec = NewRecord(24, 3);
    rec->atmosDecode = c.atmosDecode;
    rec->md.ac4.presentationCount = c.count;
    rec->md.ac4.activePresentation = c.active;
    for (auto& p : rec->md.ac4.presentations) p.atmosIndication = 1;
    if (c.atmosAt >= 0) rec->md.ac4.presentations[c.atmosAt].atmosIndication = 2;
    auto doc = RenderParsed(*rec);
    SCOPED_TRACE(std::to_string(c.count) + "/" + std::to_string(c.active));
    EXPECT_EQ(At(*doc, "NoOfPrograms").GetInt(), c.programs);
    EXPECT_EQ(At(*doc, "CurrentProgram").GetInt(), c.current);
    EXPECT_EQ(At(*doc, "NoOfStreams").GetInt(), c.programs);
    EXPECT_EQ(At(*doc, "IsAtmosPresent").GetBool(), c.atmos);
  }
}

TEST(DecStatusDocumentTest, Ed2TopLevelCountsTheObjectPair) {
  struct Case {
    uint32_t atmosDecode;
    uint16_t atmosPresent;
    int streams;
  };
  for (const Case& c : {Case{1, 1, 2}, Case{1, 0, 1}, Case{0, 1, 1}, Case{0, 0, 1}}) {
    auto rec = NewRecord(60, 2);
    rec->atmosDecode = c.atmosDecode;
    rec->md.ed2.atmosPresent = c.atmosPresent;
    auto doc = RenderParsed(*rec);
    EXPECT_EQ(At(*doc, "NoOfPrograms").GetInt(), 0);
    EXPECT_EQ(At(*doc, "CurrentProgram").GetInt(), 0);
    EXPECT_EQ(At(*doc, "NoOfStreams").GetInt(), c.streams);
    EXPECT_EQ(At(*doc, "IsAtmosPresent").GetBool(), c.streams == 2);
  }
}

// Records are compared from offset 52 over the significant length of the
// new record's block; the header never counts.
TEST(DecStatusDocumentTest, RequireUpdateComparesTheSignificantBlockBytes) {
  struct Case {
    uint32_t mdType;
    std::size_t length;
  };
  for (const Case& c : {Case{0, 936}, Case{1, 396}, Case{2, 16860}, Case{3, 33388}}) {
    SCOPED_TRACE(c.mdType);
    auto kept = NewRecord(99, c.mdType);
    for (std::size_t i = 0; i < kBlockAreaSize; ++i) kept->md.raw[i] = static_cast<uint8_t>(i * 7);
    Render(*kept);
    cPADMetadataJsonDecStatus& renderer = Renderer();

    auto next = NewRecord(99, c.mdType);
    std::memcpy(next.get(), kept.get(), sizeof *next);
    EXPECT_FALSE(renderer.requireUpdate(*next));

    next->typeId = 16;
    next->protoVer = 3;
    next->inputType = SYS_INPUT_TYPE_SDI;
    next->ed2StatusUpdate = 1;
    EXPECT_FALSE(renderer.requireUpdate(*next));  // header only

    next->md.raw[0] ^= 1;
    EXPECT_TRUE(renderer.requireUpdate(*next));
    next->md.raw[0] ^= 1;
    next->md.raw[c.length - 1] ^= 1;
    EXPECT_TRUE(renderer.requireUpdate(*next));
    next->md.raw[c.length - 1] ^= 1;
    next->md.raw[c.length] ^= 1;
    next->md.raw[kBlockAreaSize - 1] ^= 1;
    EXPECT_FALSE(renderer.requireUpdate(*next));  // past the significant length
  }
}

TEST(DecStatusDocumentTest, RequireUpdateUsesTheNewRecordsBlockLengthAndUnknownTypesAlwaysChange) {
  auto kept = NewRecord(99, 1);
  Render(*kept);
  cPADMetadataJsonDecStatus& renderer = Renderer();

  auto next = NewRecord(99, 0);
  next->md.raw[500] = 1;  // past the Dolby Digital (Plus) length, inside the Dolby E one
  EXPECT_TRUE(renderer.requireUpdate(*next));
  next->mdType = DLB_PADC_UI_MD_TYPE_DDP;
  EXPECT_FALSE(renderer.requireUpdate(*next));

  for (uint32_t mdType : {4u, 7u, 0xffffffffu}) {
    auto same = NewRecord(99, 1);
    same->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
    EXPECT_TRUE(renderer.requireUpdate(*same)) << mdType;
  }
}

TEST(DecStatusDocumentTest, RequireUpdateAfterAnUnknownStreamKeepsThatRecord) {
  auto first = NewRecord(16, 1);
  first->md.ddp.acmod = 2;
  Render(*first);
  auto unknown = NewRecord(99, 1);
  Render(*unknown);  // renders "{}" but is still the record compared against
  EXPECT_TRUE(Renderer().requireUpdate(*first));
  EXPECT_FALSE(Renderer().requireUpdate(*unknown));
}

}  // namespace

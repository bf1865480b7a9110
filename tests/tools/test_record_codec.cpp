// The scenario encoder writes each named field at the record's own offset,
// and the read-back gives the same fields back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <random>

#include "common/JsonText.h"
#include "record/RecordEncoder.h"
#include "record/RecordReadBack.h"
#include "scenario/BuiltinScenarios.h"
#include "scenario/Scenario.h"

namespace {

using tools::ApplyRecordFields;
using tools::EmptyRecord;

kv_dolby_metadata_t Encode(const std::string& json) {
  rapidjson::Document doc;
  std::string error;
  EXPECT_TRUE(tools::ParseJsonText(json, doc, error)) << error;
  kv_dolby_metadata_t rec = EmptyRecord();
  EXPECT_TRUE(ApplyRecordFields(doc, "record", rec, error)) << error;
  return rec;
}

std::string EncodeError(const std::string& json) {
  rapidjson::Document doc;
  std::string error;
  EXPECT_TRUE(tools::ParseJsonText(json, doc, error)) << error;
  kv_dolby_metadata_t rec = EmptyRecord();
  EXPECT_FALSE(ApplyRecordFields(doc, "record", rec, error)) << json;
  return error;
}

// Each case names fields in JSON and checks them through the record struct,
// whose offsets are fixed independently of the encoder's table.
struct FieldCase {
  const char* name;
  const char* json;
  std::function<void(const kv_dolby_metadata_t&)> check;
};

class FieldWrite : public ::testing::TestWithParam<FieldCase> {};

TEST_P(FieldWrite, LandsInTheRecordField) {
  const kv_dolby_metadata_t rec = Encode(GetParam().json);
  GetParam().check(rec);
}

const FieldCase kFieldCases[] = {
    {"Header", R"({"protoVer":18,"typeId":60,"inputType":2,"dzPair":3,"speakerConfig":-2,
                  "atmosDecode":1,"ed2Misalignment":-120,"ed2MisalignLines":7,"activePaNo":4,
                  "vidLnNoForZP":9,"vidLnNoForNextToZP":10,"ed2StatusUpdate":1})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.protoVer, 18u);
       EXPECT_EQ(r.typeId, 60);
       EXPECT_EQ(r.inputType, SYS_INPUT_TYPE_SDI);
       EXPECT_EQ(r.dzPair, 3u);
       EXPECT_EQ(r.speakerConfig, -2);
       EXPECT_EQ(r.atmosDecode, 1u);
       EXPECT_EQ(r.ed2Misalignment, -120);
       EXPECT_EQ(r.ed2MisalignLines, 7u);
       EXPECT_EQ(r.activePaNo, 4u);
       EXPECT_EQ(r.vidLnNoForZP, 9);
       EXPECT_EQ(r.vidLnNoForNextToZP, 10);
       EXPECT_EQ(r.ed2StatusUpdate, 1u);
     }},
    {"NamesForCodes", R"({"typeId":"ddp-iec61937","mdType":"ac4","inputType":"aes"})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.typeId, stream_type::kDolbyDigitalPlusIec61937);
       EXPECT_EQ(r.mdType, DLB_PADC_UI_MD_TYPE_AC4);
       EXPECT_EQ(r.inputType, SYS_INPUT_TYPE_AES);
     }},
    {"DdpBlockAndObjects",
     R"({"ddp":{"datarate":768,"acmod":7,"atmosPresent":true,"dialnorm":31,"adconvtyp":1,
                "numDynObjects":2,"complexityIndex":12,"surroundTrim":3,"heightTrim":17,
                "objects":[{"x":0.25,"y":-0.5,"z":1,"dialogueClass":"mixed"},null,
                           {"x":0.75,"dialogueClass":2}],
                "bedChannels":[1,0,1,1,0,0,0,0,0,0,0,0,0,0,0,0,1]}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.mdType, DLB_PADC_UI_MD_TYPE_DDP);  // set by naming the block
       const auto& d = r.md.ddp;
       EXPECT_EQ(d.datarate, 768);
       EXPECT_EQ(d.acmod, 7);
       EXPECT_EQ(d.atmosPresent, 1u);
       EXPECT_EQ(d.dialnorm, 31);
       EXPECT_EQ(d.adconvtyp, 1);
       EXPECT_EQ(d.numDynObjects, 2u);
       EXPECT_EQ(d.complexityIndex, 12);
       EXPECT_EQ(d.surroundTrim, 3);
       EXPECT_EQ(d.heightTrim, DLB_PADC_TRIM_AUTO);
       EXPECT_FLOAT_EQ(d.objects[0].x, 0.25f);
       EXPECT_FLOAT_EQ(d.objects[0].y, -0.5f);
       EXPECT_FLOAT_EQ(d.objects[0].z, 1.0f);
       EXPECT_EQ(d.objects[0].dialogueClass, DLB_PADC_OBJECT_MIXED);
       EXPECT_EQ(d.objects[1].x, 0.0f);
       EXPECT_FLOAT_EQ(d.objects[2].x, 0.75f);
       EXPECT_EQ(d.objects[2].dialogueClass, DLB_PADC_OBJECT_NOT_DIALOGUE);
       const uint8_t beds[kBedChannelCount] = {1, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
       EXPECT_EQ(std::memcmp(d.bedChannels, beds, sizeof beds), 0);
     }},
    {"DolbyEProgramsAndText",
     R"({"dolbye":{"frameRate":2997,"bitDepth":20,"currentProgram":1,"programCount":8,
                   "programConfig":"5.1+2+2","programs":[{"dialnorm":27},null,null,null,null,null,null,
                   {"bsmod":2,"acmod":2,"dynrngProfile":65535,"bwlpfon":1}]}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.mdType, DLB_PADC_UI_MD_TYPE_DOLBYE);
       const auto& e = r.md.dolbye;
       EXPECT_EQ(e.frameRate, 2997);
       EXPECT_EQ(e.bitDepth, 20);
       EXPECT_EQ(e.currentProgram, 1);
       EXPECT_EQ(e.programCount, 8);
       EXPECT_STREQ(e.programConfig, "5.1+2+2");
       EXPECT_EQ(e.programs[0].dialnorm, 27);
       EXPECT_EQ(e.programs[7].bsmod, 2);
       EXPECT_EQ(e.programs[7].acmod, 2);
       EXPECT_EQ(e.programs[7].dynrngProfile, 65535);
       EXPECT_EQ(e.programs[7].bwlpfon, 1);
     }},
    {"Ac4PresentationsAndSubstreams",
     R"({"ac4":{"averageBitrate":-1,"frameRateCode":15,"presentationCount":16,"substreamCount":64,
                "outputRefLevel":-31.5,"deGainLimit":4,
                "presentations":[{"summary":"Main","language":"eng","dialogGain":-2.5,"truePeak":-1,
                                  "drcModes":[1,2,3,4],"lfeMixGain":-10,"topBackGain":7,
                                  "substreamIdCount":64,"substreamIds":[5,6]}],
                "substreams":[null,{"summary":"Dialogue","channelConfig":"mono","dialogMaxGain":4}]}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.mdType, DLB_PADC_UI_MD_TYPE_AC4);
       const auto& a = r.md.ac4;
       EXPECT_EQ(a.averageBitrate, -1);
       EXPECT_EQ(a.frameRateCode, 15);
       EXPECT_EQ(a.presentationCount, 16);
       EXPECT_EQ(a.substreamCount, 64);
       EXPECT_FLOAT_EQ(a.outputRefLevel, -31.5f);
       EXPECT_EQ(a.deGainLimit, 4);
       EXPECT_STREQ(a.presentations[0].summary, "Main");
       EXPECT_STREQ(a.presentations[0].language, "eng");
       EXPECT_FLOAT_EQ(a.presentations[0].dialogGain, -2.5f);
       EXPECT_FLOAT_EQ(a.presentations[0].truePeak, -1.0f);
       EXPECT_EQ(a.presentations[0].drcModes[3], 4);
       EXPECT_FLOAT_EQ(a.presentations[0].lfeMixGain, -10.0f);
       EXPECT_EQ(a.presentations[0].topBackGain, 7);
       EXPECT_EQ(a.presentations[0].substreamIdCount, 64);
       EXPECT_EQ(a.presentations[0].substreamIds[1], 6);
       EXPECT_STREQ(a.substreams[1].summary, "Dialogue");
       EXPECT_STREQ(a.substreams[1].channelConfig, "mono");
       EXPECT_EQ(a.substreams[1].dialogMaxGain, 4);
     }},
    {"Ed2BedsObjectsPresentations",
     R"({"ed2":{"frameRate":2500,"atmosPresent":1,"metadataId":7,"programConfig":"5.1+obj",
                "bedObjectCount":-1,"dynamicObjectCount":16,
                "bedObjects":[null,null,null,null,null,null,null,null,
                              {"speakerPresent":[1,1],"gain":[0,0,0.5],"numSources":2,"sourceTarget":[0,3]}],
                "dynamicObjects":[null,null,null,null,null,null,null,null,null,null,null,null,null,null,null,
                                  {"channelId":-3,"objectClass":2,"gain":[1,0.5],
                                   "position":[[0.5,1,0],null,[0.1,0.2,0.3]]}],
                "presentationCount":2,
                "presentations":[null,{"name":"AD","bedIncluded":[0,0,0,0,0,0,0,0,1],
                                       "bedSetIndex":[0,0,0,0,0,0,0,0,2],
                                       "objectIncluded":[1],"objectSetIndex":[255]}]}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(r.mdType, DLB_PADC_UI_MD_TYPE_ED2);
       const auto& e = r.md.ed2;
       EXPECT_EQ(e.frameRate, 2500);
       EXPECT_EQ(e.metadataId, 7);
       EXPECT_STREQ(e.programConfig, "5.1+obj");
       EXPECT_EQ(e.bedObjectCount, -1);
       EXPECT_EQ(e.dynamicObjectCount, 16);
       EXPECT_EQ(e.bedObjects[8].speakerPresent[1], 1);
       EXPECT_FLOAT_EQ(e.bedObjects[8].gain[2], 0.5f);
       EXPECT_EQ(e.bedObjects[8].numSources, 2);
       EXPECT_EQ(e.bedObjects[8].sourceTarget[1], 3);
       EXPECT_EQ(e.dynamicObjects[15].channelId, -3);
       EXPECT_EQ(e.dynamicObjects[15].objectClass, 2u);
       EXPECT_FLOAT_EQ(e.dynamicObjects[15].gain[1], 0.5f);
       EXPECT_FLOAT_EQ(e.dynamicObjects[15].position[0][1], 1.0f);
       EXPECT_FLOAT_EQ(e.dynamicObjects[15].position[2][2], 0.3f);
       EXPECT_EQ(e.presentationCount, 2);
       EXPECT_STREQ(e.presentations[1].name, "AD");
       EXPECT_EQ(e.presentations[1].bedIncluded[8], 1);
       EXPECT_EQ(e.presentations[1].bedSetIndex[8], 2);
       EXPECT_EQ(e.presentations[1].objectSetIndex[0], 255);
     }},
    {"FloatSpecials", R"({"ac4":{"outputRefLevel":"nan","presentations":[{"dialnorm":"-inf","adGain":"inf"}]}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_TRUE(std::isnan(r.md.ac4.outputRefLevel));
       EXPECT_TRUE(std::isinf(r.md.ac4.presentations[0].dialnorm) && r.md.ac4.presentations[0].dialnorm < 0);
       EXPECT_TRUE(std::isinf(r.md.ac4.presentations[0].adGain) && r.md.ac4.presentations[0].adGain > 0);
     }},
    {"ExplicitMdTypeWinsOverTheBlock", R"({"mdType":7,"ddp":{"acmod":2}})",
     [](const kv_dolby_metadata_t& r) {
       EXPECT_EQ(static_cast<uint32_t>(r.mdType), 7u);
       EXPECT_EQ(r.md.ddp.acmod, 2);
     }},
    {"RawBytesAfterFields", R"({"ddp":{"acmod":7},"raw":[{"offset":60,"hex":"0A0b"},{"offset":33702,"hex":"ffee"}]})",
     [](const kv_dolby_metadata_t& r) {
       const auto* bytes = reinterpret_cast<const uint8_t*>(&r);
       EXPECT_EQ(bytes[60], 0x0a);  // acmod's first byte, overwritten by the raw run
       EXPECT_EQ(bytes[61], 0x0b);
       EXPECT_EQ(bytes[33702], 0xff);
       EXPECT_EQ(bytes[33703], 0xee);
     }},
};

INSTANTIATE_TEST_SUITE_P(Encoder, FieldWrite, ::testing::ValuesIn(kFieldCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Encoder, TextClearsTheRestOfItsFieldAndIntegersTheirWidthOnly) {
  kv_dolby_metadata_t rec = Encode(R"({"dolbye":{"programConfig":"a long configuration","bitDepth":16}})");
  std::string error;
  rapidjson::Document shorter;
  ASSERT_TRUE(tools::ParseJsonText(R"({"dolbye":{"programConfig":"2+2","frameRate":65535}})", shorter, error));
  ASSERT_TRUE(ApplyRecordFields(shorter, "record", rec, error)) << error;
  EXPECT_STREQ(rec.md.dolbye.programConfig, "2+2");
  for (std::size_t i = 3; i < sizeof rec.md.dolbye.programConfig; ++i) EXPECT_EQ(rec.md.dolbye.programConfig[i], 0);
  EXPECT_EQ(rec.md.dolbye.frameRate, 65535);
  EXPECT_EQ(rec.md.dolbye.bitDepth, 16);  // the neighbour of frameRate is untouched
}

// Bad field descriptions are refused with the path of the field.
struct RejectCase {
  const char* name;
  const char* json;
  const char* expected;
};

class FieldReject : public ::testing::TestWithParam<RejectCase> {};

TEST_P(FieldReject, NamesThePath) { EXPECT_THAT(EncodeError(GetParam().json), ::testing::HasSubstr(GetParam().expected)); }

const RejectCase kRejectCases[] = {
    {"UnknownFieldWithHint", R"({"ddp":{"acmode":7}})", "record.ddp.acmode: unknown field (did you mean \"acmod\"?)"},
    {"UnknownTopLevel", R"({"speed":1})", "record.speed: unknown field"},
    {"ByteOutOfRange", R"({"ddp":{"bedChannels":[1,256]}})", "record.ddp.bedChannels[1]: 256 is out of range"},
    {"NegativeUnsigned", R"({"dzPair":-1})", "record.dzPair: -1 is out of range for an unsigned 32-bit integer"},
    {"Int16Range", R"({"ed2":{"bedObjectCount":40000}})", "record.ed2.bedObjectCount: 40000 is out of range"},
    {"Int32Range", R"({"typeId":2147483648})", "record.typeId: 2147483648 is out of range"},
    {"HugeNumber", R"({"typeId":18446744073709551615})", "record.typeId: 18446744073709551615 is out of range"},
    {"FractionForInteger", R"({"ddp":{"acmod":7.5}})", "record.ddp.acmod: expected a signed 32-bit integer, found 7.5"},
    {"StringForInteger", R"({"ddp":{"acmod":"7"}})", "record.ddp.acmod: expected a signed 32-bit integer, found a string"},
    {"UnknownName", R"({"typeId":"mp3"})", "record.typeId: unknown name \"mp3\""},
    {"FloatOverflow", R"({"ddp":{"objects":[{"x":-3.4028236e38}]}})", "x: -3.4028236e38 is out of range for a 32-bit float"},
    {"FloatWord", R"({"ddp":{"objects":[{"x":"half"}]}})", "record.ddp.objects[0].x: expected a number"},
    {"TooManyElements", R"({"ddp":{"objects":[{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}]}})",
     "record.ddp.objects: 16 elements, the record holds 15"},
    {"ArrayExpected", R"({"ddp":{"bedChannels":1}})", "record.ddp.bedChannels: expected an array, found a number"},
    {"ObjectExpected", R"({"ac4":{"presentations":[5]}})", "record.ac4.presentations[0]: expected an object"},
    {"TextTooLong", R"({"ed2":{"presentations":[{"name":"0123456789012345678901234567890123456789012345678901234567890123"}]}})",
     "record.ed2.presentations[0].name: text of 64 bytes does not fit (at most 63)"},
    {"TextWithNul", R"({"dolbye":{"programConfig":"a\u0000b"}})", "record.dolbye.programConfig: the text contains a NUL"},
    {"TwoBlocks", R"({"ddp":{},"ac4":{}})", "both \"ddp\" and \"ac4\" are given"},
    {"NestedPositionPath", R"({"ed2":{"dynamicObjects":[{"position":[[0,0,0],[0,0,0,0]]}]}})",
     "record.ed2.dynamicObjects[0].position[1]: 4 elements, the record holds 3"},
    {"RawPastTheEnd", R"({"raw":[{"offset":33703,"hex":"0102"}]})", "record.raw[0]: 2 bytes at offset 33703 run past"},
    {"RawBadHex", R"({"raw":[{"offset":0,"hex":"zz"}]})", "record.raw[0].hex: 'zz' is not a hexadecimal byte"},
    {"RawOddHex", R"({"raw":[{"offset":0,"hex":"abc"}]})", "record.raw[0].hex: odd number"},
    {"RawUnknownMember", R"({"raw":[{"offset":0,"bytes":"ab"}]})", "record.raw[0].bytes: unknown field"},
};

INSTANTIATE_TEST_SUITE_P(Encoder, FieldReject, ::testing::ValuesIn(kRejectCases),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- read-back

TEST(ReadBack, GivesTheFieldsOfTheSelectedBlockByName) {
  kv_dolby_metadata_t rec = EmptyRecord();
  rec.typeId = stream_type::kAc4;
  rec.mdType = DLB_PADC_UI_MD_TYPE_AC4;
  rec.md.ac4.presentationCount = 2;
  rec.md.ac4.presentations[1].dialogGain = 0.1f;
  std::strcpy(rec.md.ac4.substreams[2].channelConfig, "5.1");
  rapidjson::Document doc;
  tools::ReadBackRecord(rec, doc);
  EXPECT_EQ(tools::CompactJson(doc),
            R"({"protoVer":19,"typeId":24,"mdType":3,"ac4":{"presentationCount":2,)"
            R"("presentations":[null,{"dialogGain":0.1}],"substreams":[null,null,{"channelConfig":"5.1"}]}})");
}

TEST(ReadBack, AnMdTypeWithoutBlockLeavesTheBytesAsRawRuns) {
  kv_dolby_metadata_t rec = EmptyRecord();
  rec.mdType = static_cast<dlb_padc_ui_md_type_t>(9);
  reinterpret_cast<uint8_t*>(&rec)[100] = 0x5a;
  rapidjson::Document doc;
  tools::ReadBackRecord(rec, doc);
  EXPECT_EQ(tools::CompactJson(doc), R"({"protoVer":19,"typeId":0,"mdType":9,"raw":[{"offset":100,"hex":"5a"}]})");
}

// Fields written from JSON read back as the same JSON, for every block.
class FieldsReadBack : public ::testing::TestWithParam<const char*> {};

TEST_P(FieldsReadBack, AsWritten) {
  rapidjson::Document written, read;
  std::string error;
  ASSERT_TRUE(tools::ParseJsonText(GetParam(), written, error)) << error;
  kv_dolby_metadata_t rec = EmptyRecord();
  ASSERT_TRUE(ApplyRecordFields(written, "record", rec, error)) << error;
  tools::ReadBackRecord(rec, read);
  EXPECT_TRUE(read == written) << "written: " << GetParam() << "\nread:    " << tools::CompactJson(read);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, FieldsReadBack,
    ::testing::Values(
        R"({"protoVer":19,"typeId":0,"mdType":0,"inputType":2,"dzPair":3,"speakerConfig":1})",
        R"({"protoVer":19,"typeId":16,"mdType":1,"atmosDecode":1,"ddp":{"datarate":768,"acmod":7,
            "atmosPresent":1,"dialnorm":24,"numDynObjects":2,"surroundTrim":-3,
            "objects":[{"x":0.1,"y":0.75,"z":-0.5,"dialogueClass":1},null,{"z":1.0},
                       {"x":3.4028235e38,"y":-3.4028235e38}],
            "bedChannels":[1,1,0,1]}})",
        R"({"protoVer":19,"typeId":28,"mdType":0,"vidLnNoForZP":9,"dolbye":{"frameRate":2500,"bitDepth":20,
            "programCount":2,"programConfig":"5.1+2","programs":[{"acmod":7,"lfeon":1},{"acmod":2,"bwlpfon":1}]}})",
        R"({"protoVer":19,"typeId":24,"mdType":3,"ac4":{"maxUpperBitrate":-1,"presentationCount":1,
            "outputRefLevel":-31.0,"presentations":[{"summary":"Main","language":"eng","dialnorm":-23.0,
            "truePeak":"-inf","drcModes":[0,2,0,3],"substreamIdCount":2,"substreamIds":[0,1]}],
            "substreams":[{"summary":"M&E","objectCoded":1}]}})",
        R"({"protoVer":19,"typeId":60,"mdType":2,"ed2Misalignment":-120,"activePaNo":1,"ed2":{"frameRate":2500,
            "programConfig":"5.1+obj","bedObjectCount":1,"dynamicObjectCount":1,
            "bedObjects":[{"speakerPresent":[1,1,1],"gain":[1.0,0.5],"numSources":3,"sourceTarget":[0,1,2]}],
            "dynamicObjects":[{"channelId":-7,"objectClass":1,"gain":[0.25],"position":[[0.5,1.0,0.25],null,[0.0,0.0,1.0]]}],
            "presentationCount":2,"presentations":[{"name":"English","bedIncluded":[1],"objectIncluded":[1]},
            {"name":"AD","objectIncluded":[1],"objectSetIndex":[2]}]}})"));

// Any record, whatever its bytes, reads back into a description that
// rebuilds it exactly: named fields plus raw runs for the rest.
class RecordBytesRoundTrip : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RecordBytesRoundTrip, RandomRecordOfEachMdType) {
  std::mt19937 random(1234 + GetParam());
  kv_dolby_metadata_t original;
  auto* bytes = reinterpret_cast<uint8_t*>(&original);
  for (std::size_t i = 0; i < sizeof original; ++i) bytes[i] = static_cast<uint8_t>(random() % 4 == 0 ? random() : 0);
  original.mdType = static_cast<dlb_padc_ui_md_type_t>(GetParam());

  rapidjson::Document description;
  tools::ReadBackRecord(original, description);
  // Through text, as an engineer would edit it.
  rapidjson::Document reparsed;
  std::string error;
  ASSERT_TRUE(tools::ParseJsonText(tools::PrettyJson(description), reparsed, error)) << error;
  kv_dolby_metadata_t rebuilt = EmptyRecord();
  ASSERT_TRUE(ApplyRecordFields(reparsed, "record", rebuilt, error)) << error;
  const auto* after = reinterpret_cast<const uint8_t*>(&rebuilt);
  for (std::size_t i = 0; i < sizeof original; ++i)
    ASSERT_EQ(after[i], bytes[i]) << "first difference at offset " << i;
}

INSTANTIATE_TEST_SUITE_P(ReadBack, RecordBytesRoundTrip, ::testing::Values(0u, 1u, 2u, 3u, 12u));

// Every step of every built-in scenario survives read-back and re-encoding.
TEST(BuiltinScenarios, EveryStepRoundTrips) {
  const auto names = tools::BuiltinScenarioNames();
  ASSERT_THAT(names, ::testing::IsSupersetOf({"pcm", "dd", "ddp", "dolby-e", "ac4", "ed2", "all", "flip"}));
  for (const auto& name : names) {
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadBuiltinScenario(name, scenario, error)) << error;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      rapidjson::Document description;
      tools::ReadBackRecord(scenario.steps[i].record, description);
      EXPECT_FALSE(description.HasMember("raw")) << name << " step " << i;
      kv_dolby_metadata_t rebuilt = EmptyRecord();
      ASSERT_TRUE(ApplyRecordFields(description, "record", rebuilt, error)) << error;
      EXPECT_EQ(std::memcmp(&rebuilt, &scenario.steps[i].record, sizeof rebuilt), 0) << name << " step " << i;
    }
  }
}

// The sample files on disk are the built-ins: loading either gives the same records.
TEST(BuiltinScenarios, MatchTheSampleFiles) {
  for (const auto& name : tools::BuiltinScenarioNames()) {
    tools::Scenario fromFile, builtin;
    std::string error;
    ASSERT_TRUE(tools::LoadScenarioFile(std::string(TOOLS_SCENARIO_DIR) + "/" + name + ".json", fromFile, error))
        << error;
    ASSERT_TRUE(tools::LoadBuiltinScenario(name, builtin, error)) << error;
    ASSERT_EQ(fromFile.steps.size(), builtin.steps.size()) << name;
    for (std::size_t i = 0; i < builtin.steps.size(); ++i)
      EXPECT_EQ(std::memcmp(&fromFile.steps[i].record, &builtin.steps[i].record, sizeof(kv_dolby_metadata_t)), 0);
  }
}

}  // namespace

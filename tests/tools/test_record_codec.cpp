// The scenario encoder refuses bad descriptions with the field's path, and
// the read-back rebuilds any record byte for byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
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

// Fields land where the renderers read them: the golden documents
// (tests/golden) are rendered from records this encoder builds.

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

// Any record, whatever its bytes, reads back into a description that
// rebuilds it exactly: named fields plus raw runs for the rest.
class RecordBytesRoundTrip : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RecordBytesRoundTrip, RandomRecordOfEachMdType) {
  std::mt19937 random(1234 + GetParam());
  kv_dolby_metadata_t original;
  auto* bytes = reinterpret_cast<uint8_t*>(&original);
  for (std::size_t i = 0; i < sizeof original; ++i) bytes[i] = static_cast<uint8_t>(random() % 4 == 0 ? random() : 0);
  original.mdType = static_cast<dlb_padc_ui_md_type_t>(GetParam());
  // The largest floats too: their shortest text must read back as themselves.
  original.md.ddp.objects[0].x = FLT_MAX;
  original.md.ddp.objects[0].y = -FLT_MAX;

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

// The documents' JSON Schemas against the renderers: every rendered document
// (each built-in scenario step, and random records) is valid, a document cut
// at a non-finite number is recognised as cut, and each schema rejects a
// missing member, a wrong JSON type and an unknown member.

#include <gtest/gtest.h>

#include <random>

#include <rapidjson/pointer.h>

#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"
#include "common/JsonText.h"
#include "schema/DocSchemas.h"
#include "scenario/BuiltinScenarios.h"
#include "scenario/Scenario.h"

namespace {

constexpr long kNow = 1700000000;

struct Tally {
  int valid = 0;
  int cut = 0;
};

// Checks one rendered text: valid against `schema`, or cut where the
// daemon's writer met a NaN or infinite number (text ends after ':', '[' or ',').
void Check(const char* schema, const std::string& text, Tally& tally, const std::string& what) {
  rapidjson::Document doc;
  std::string error;
  if (!tools::ParseJsonText(text, doc, error)) {
    const char last = text.empty() ? '\0' : text.back();
    ASSERT_TRUE(last == ':' || last == '[' || last == ',') << what << ": " << error << "\n" << text;
    ++tally.cut;
    return;
  }
  tools::SchemaViolation v;
  ASSERT_TRUE(tools::ValidateDocument(schema, doc, v))
      << what << ": " << tools::DescribeViolation(v) << " (schema " << v.schema << ")\n" << text;
  ++tally.valid;
}

void RenderAndCheck(const kv_dolby_metadata_t& rec, Tally& status, Tally& pa, const std::string& what) {
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  ASSERT_NE(renderer, nullptr);
  renderer->PrepareMetadataJson(rec, kNow);
  Check("status", std::string(renderer->GetString(), renderer->GetSize()), status, what);
  cMetadataJsonPaData* paRenderer = cMetadataJsonPaData::GetInstance();
  ASSERT_NE(paRenderer, nullptr);
  paRenderer->PreparePaMetadataJson(rec, rec.atmosDecode != 0, kNow);
  Check("presentation", std::string(paRenderer->GetString(), paRenderer->GetSize()), pa, what);
}

TEST(SchemaTest, EveryRenderedDocumentValidates) {
  Tally status, pa;
  std::vector<kv_dolby_metadata_t> seeds;
  for (const std::string& name : tools::BuiltinScenarioNames()) {
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadBuiltinScenario(name, scenario, error)) << error;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      RenderAndCheck(scenario.steps[i].record, status, pa, name + " step " + std::to_string(i));
      seeds.push_back(scenario.steps[i].record);
    }
  }
  ASSERT_FALSE(seeds.empty());
  // Random codec blocks under the built-in headers, then random headers too.
  std::mt19937 rng(20261122);
  for (int round = 0; round < 600; ++round) {
    kv_dolby_metadata_t rec = seeds[rng() % seeds.size()];
    auto* bytes = reinterpret_cast<unsigned char*>(&rec);
    const std::size_t from = round % 2 == 0 ? offsetof(kv_dolby_metadata_t, md) : 0;
    for (std::size_t i = from; i < sizeof rec; ++i) bytes[i] = static_cast<unsigned char>(rng());
    if (from == 0) {
      const int kTypeIds[] = {0, 1, 16, 21, 24, 28, 60, 7};
      rec.typeId = kTypeIds[rng() % 8];
      rec.mdType = static_cast<dlb_padc_ui_md_type_t>(rng() % 5);
    }
    if (rng() % 2 == 0) rec.md.ed2.presentationCount = rng() % 4;  // lists short enough to finish
    RenderAndCheck(rec, status, pa, "random record " + std::to_string(round));
    if (HasFatalFailure()) return;
  }
  // Both outcomes are seen: whole documents, and documents cut at a NaN.
  EXPECT_GT(status.valid, 200);
  EXPECT_GT(status.cut, 0);
  EXPECT_GT(pa.valid, 50);
}

// A valid document per schema and mutations that each schema must refuse.
struct Wrong {
  const char* schema;
  const char* document;
  const char* pointer;  // member to change
  enum { Remove, Stringify, AddUnknown } change;
  const char* rule;     // the rule the validator names
};

const char* const kPcm =
    R"({"TS":1,"ProtoVer":19,"TypeId":0,"MdId":0,"NoOfPrograms":0,"CurrentProgram":0,)"
    R"("StatusInfo":{"Title":"Status Information","Data":0,"Desc":"","ExData":[{)"
    R"("Type":{"Title":"Type","Data":0,"Desc":"PCM"},"SignalType":{"Title":"Signal Type","Data":2,"Desc":"SDI"},)"
    R"("Pair":{"Title":"Pair","Data":1,"Desc":"1"},)"
    R"("ChannelConfig":{"Title":"Channel Config.","Data":1,"Desc":"5.1"}}]}})";
const char* const kPresentation =
    R"({"TS":1,"NoPresentations":1,"ActivePANo":0,"ActivePAName":"A","Presentations":[{)"
    R"("Name":{"Title":"Name","Data":true,"Desc":"A"},"PaObjects":[{)"
    R"("Type":{"Title":"Object Type","Data":false,"Desc":"Dynamic"},)"
    R"("Class":{"Title":"Object Class","Data":1,"Desc":"Dialogue"},)"
    R"("SpeakerConfig":{"Title":"Speaker Config","Data":"1.0","Desc":"-"},)"
    R"("x":{"Title":"Object Position x","Data":0.0,"Desc":"0.50"},)"
    R"("y":{"Title":"Object Position y","Data":0.0,"Desc":"0.50"},)"
    R"("z":{"Title":"Object Position z","Data":0.0,"Desc":"0.00"},)"
    R"("ChID":{"Title":"Object ID","Data":0,"Desc":"0"},)"
    R"("Source":{"Title":"Channel ID","Data":1,"Desc":"1"},)"
    R"("Gain":{"Title":"Object Gain","Data":1.0,"Desc":"1.00"}}],"PaBed":{}}]})";
const char* const kState = R"({"Status" : "Decoding", "Event" : "Dolby Zoom"})";
const char* const kScenario = R"({"description":"d","steps":[{"label":"a","hold":1,"record":{"typeId":"pcm"}}],)"
                              R"("events":[{"at":0,"event":"zoom on"}]})";

const Wrong kWrong[] = {
    {"status", kPcm, "/StatusInfo/ExData/0/Pair/Desc", Wrong::Remove, "required"},
    {"status", kPcm, "/StatusInfo/ExData/0/Pair/Data", Wrong::Stringify, "type"},
    {"status", kPcm, "/StatusInfo/ExData/0/Pair", Wrong::AddUnknown, "additionalProperties"},
    {"status", kPcm, "/NoOfPrograms", Wrong::Stringify, "type"},
    {"status", kPcm, "", Wrong::AddUnknown, "additionalProperties"},
    {"presentation", kPresentation, "/Presentations/0/PaObjects/0/Gain/Desc", Wrong::Remove, "required"},
    {"presentation", kPresentation, "/Presentations/0/PaObjects/0/x/Data", Wrong::Stringify, "type"},
    {"presentation", kPresentation, "/Presentations/0/Name", Wrong::AddUnknown, "additionalProperties"},
    {"presentation", kPresentation, "/ActivePANo", Wrong::Stringify, "type"},
    {"decoder-state", kState, "/Event", Wrong::Remove, "required"},
    {"decoder-state", kState, "/Status", Wrong::Stringify, "enum"},
    {"decoder-state", kState, "", Wrong::AddUnknown, "additionalProperties"},
    {"reset", "{}", "", Wrong::AddUnknown, "maxProperties"},
    {"scenario", kScenario, "/steps/0/hold", Wrong::Stringify, "type"},
    {"scenario", kScenario, "/events/0/at", Wrong::Remove, "oneOf"},
    {"scenario", kScenario, "/steps/0", Wrong::AddUnknown, "additionalProperties"},
};

TEST(SchemaTest, EachSchemaRejectsWrongDocuments) {
  for (const Wrong& w : kWrong) {
    SCOPED_TRACE(std::string(w.schema) + " " + w.pointer);
    rapidjson::Document doc;
    std::string error;
    ASSERT_TRUE(tools::ParseJsonText(w.document, doc, error)) << error;
    tools::SchemaViolation v;
    ASSERT_TRUE(tools::ValidateDocument(w.schema, doc, v)) << tools::DescribeViolation(v);

    rapidjson::Value* target = rapidjson::Pointer(w.pointer).Get(doc);
    ASSERT_NE(target, nullptr);
    auto& alloc = doc.GetAllocator();
    if (w.change == Wrong::Remove) {
      ASSERT_TRUE(rapidjson::Pointer(w.pointer).Erase(doc));
    } else if (w.change == Wrong::Stringify) {
      const std::string text = tools::CompactJson(*target) + "x";
      target->SetString(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), alloc);
    } else {
      target->AddMember("Unit", "dB", alloc);
    }
    EXPECT_FALSE(tools::ValidateDocument(w.schema, doc, v));
    EXPECT_EQ(v.rule, w.rule) << tools::DescribeViolation(v);
  }
  tools::SchemaViolation v;
  EXPECT_FALSE(tools::ValidateDocument("no-such-schema", rapidjson::Value(rapidjson::kObjectType), v));
  EXPECT_STREQ(tools::SchemaForTopic("DolbyMetadataGrpRepub"), "status");
  EXPECT_EQ(tools::SchemaForTopic("DolbyMetadataEvent"), nullptr);
}

}  // namespace

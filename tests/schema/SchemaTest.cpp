// The documents' JSON Schemas: built-in scenario steps render valid documents; each
// schema rejects a missing member, a wrong type, an unknown member (random records: fuzz).

#include <gtest/gtest.h>

#include <rapidjson/pointer.h>

#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"
#include "common/JsonText.h"
#include "schema/DocSchemas.h"
#include "scenario/BuiltinScenarios.h"
#include "scenario/Scenario.h"

namespace {

void ExpectValid(const char* schema, const char* text, const std::string& what) {
  rapidjson::Document doc;
  std::string error;
  ASSERT_TRUE(tools::ParseJsonText(text, doc, error)) << what << ": " << error;
  tools::SchemaViolation v;
  EXPECT_TRUE(tools::ValidateDocument(schema, doc, v)) << what << ": " << tools::DescribeViolation(v) << "\n" << text;
}

TEST(SchemaTest, EveryBuiltinStepRendersValidDocuments) {
  int steps = 0;
  for (const std::string& name : tools::BuiltinScenarioNames()) {
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadBuiltinScenario(name, scenario, error)) << error;
    for (const tools::ScenarioStep& step : scenario.steps) {
      const std::string what = name + " step " + std::to_string(steps++);
      cPADMetadataJsonDecStatus::GetInstance()->PrepareMetadataJson(step.record, 1700000000);
      ExpectValid("status", cPADMetadataJsonDecStatus::GetInstance()->GetString(), what);
      cMetadataJsonPaData::GetInstance()->PreparePaMetadataJson(step.record, step.record.atmosDecode != 0, 1);
      ExpectValid("presentation", cMetadataJsonPaData::GetInstance()->GetString(), what);
    }
  }
  EXPECT_GE(steps, 8);
}

// A valid document per schema and mutations that each schema must refuse.
struct Wrong {
  const char* schema;
  const char* document;  // text, or a golden file name
  const char* pointer;   // member to change
  enum { Remove, Stringify, AddUnknown } change;
  const char* rule;      // the rule the validator names
};

std::string Document(const char* textOrFile) {
  std::string text = textOrFile, error;
  if (text[0] != '{') { EXPECT_TRUE(tools::ReadFile(std::string(GOLDEN_DIR) + "/" + textOrFile, text, error)) << error; }
  return text;
}

const char* const kPcm = "reference-pcm.status.json";
const char* const kPresentation = "reference-ed2.presentation.json";
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
    ASSERT_TRUE(tools::ParseJsonText(Document(w.document), doc, error)) << error;
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

#include "schema/DocSchemas.h"

#include <map>
#include <memory>
#include <vector>

#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>

#include "Shared/Topics.h"
#include "schema/SchemaTexts.h"

namespace tools {

namespace {

using rapidjson::Value;

struct Kind {
  std::unique_ptr<rapidjson::SchemaDocument> schema;
  bool empty = false;          // the "{}" kind
  std::vector<int> typeIds;    // its "TypeId" enumeration, if any
};

struct Compiled {
  rapidjson::Document source;
  std::unique_ptr<rapidjson::SchemaDocument> whole;
  std::vector<Kind> kinds;  // the root "oneOf" alternatives that are object kinds
};

void ReadKinds(const Value& root, Compiled& out) {
  auto oneOf = root.FindMember("oneOf");
  if (oneOf == root.MemberEnd() || !oneOf->value.IsArray()) return;
  for (const Value& alt : oneOf->value.GetArray()) {
    if (!alt.IsObject() || !alt.HasMember("type")) return;  // a choice of rules, not of kinds
    Kind kind;
    kind.schema = std::make_unique<rapidjson::SchemaDocument>(alt);
    auto max = alt.FindMember("maxProperties");
    kind.empty = max != alt.MemberEnd() && max->value.IsInt() && max->value.GetInt() == 0;
    auto props = alt.FindMember("properties");
    if (props != alt.MemberEnd() && props->value.HasMember("TypeId")) {
      const Value& typeId = props->value["TypeId"];
      if (typeId.HasMember("enum")) {
        for (const Value& v : typeId["enum"].GetArray()) kind.typeIds.push_back(v.GetInt());
      }
    }
    out.kinds.push_back(std::move(kind));
  }
}

const std::map<std::string, Compiled>& Schemas() {
  static const std::map<std::string, Compiled> schemas = [] {
    std::map<std::string, Compiled> all;
    for (unsigned i = 0; i < kDocSchemaCount; ++i) {
      Compiled& c = all[kDocSchemaTexts[i].name];
      c.source.Parse(kDocSchemaTexts[i].text);
      if (c.source.HasParseError()) continue;  // caught by the schema test
      c.whole = std::make_unique<rapidjson::SchemaDocument>(c.source);
      ReadKinds(c.source, c);
    }
    return all;
  }();
  return schemas;
}

const rapidjson::SchemaDocument* Pick(const Compiled& c, const Value& doc) {
  if (c.kinds.empty() || !doc.IsObject()) return c.whole.get();
  if (doc.MemberCount() == 0) {
    for (const Kind& k : c.kinds)
      if (k.empty) return k.schema.get();
  }
  auto typeId = doc.FindMember("TypeId");
  bool anyTypeId = false;
  for (const Kind& k : c.kinds) {
    anyTypeId = anyTypeId || !k.typeIds.empty();
    if (typeId == doc.MemberEnd() || !typeId->value.IsInt()) continue;
    for (int id : k.typeIds)
      if (id == typeId->value.GetInt()) return k.schema.get();
  }
  if (!anyTypeId) {
    for (const Kind& k : c.kinds)
      if (!k.empty) return k.schema.get();
  }
  return c.whole.get();
}

std::string PointerText(const rapidjson::Pointer& pointer) {
  rapidjson::StringBuffer buf;
  pointer.Stringify(buf);
  return buf.GetString();
}

}  // namespace

bool ValidateDocument(const std::string& name, const Value& doc, SchemaViolation& out) {
  auto it = Schemas().find(name);
  if (it == Schemas().end() || !it->second.whole) {
    out = {"", "unknown schema", ""};
    return false;
  }
  rapidjson::SchemaValidator validator(*Pick(it->second, doc));
  if (doc.Accept(validator)) return true;
  out.pointer = PointerText(validator.GetInvalidDocumentPointer());
  out.rule = validator.GetInvalidSchemaKeyword();
  out.schema = PointerText(validator.GetInvalidSchemaPointer());
  return false;
}

const char* EmptyPayloadMeaning(const std::string& name) {
  auto it = Schemas().find(name);
  if (it == Schemas().end() || !it->second.source.IsObject()) return nullptr;
  auto meaning = it->second.source.FindMember("emptyPayload");
  if (meaning == it->second.source.MemberEnd() || !meaning->value.IsString()) return nullptr;
  return meaning->value.GetString();
}

const char* SchemaForTopic(const std::string& topic) {
  if (topic == topic::kDolbyMetadataGrp || topic == topic::kDolbyMetadataGrpRepub) return "status";
  if (topic == topic::kDolbyPAData || topic == topic::kDolbyPADataRepub) return "presentation";
  if (topic == topic::kDolbyProcStatus) return "decoder-state";
  return nullptr;
}

std::string DescribeViolation(const SchemaViolation& v) {
  return (v.pointer.empty() ? "/" : v.pointer) + ": " + v.rule;
}

}  // namespace tools

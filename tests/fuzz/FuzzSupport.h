#pragma once
// Shared by the fuzz targets: the property check that stops the run, a record
// built from fuzz bytes, and the rule every rendered text obeys.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "MetadataJson.h"
#include "Record/DolbyMetadataRecord.h"
#ifdef FUZZ_WITH_SCHEMA
#include "schema/DocSchemas.h"
#endif

namespace fuzz {

// Stops the process (libFuzzer then saves the input) when a property fails.
inline void Require(bool holds, const char* property, const std::string& detail = "") {
  if (holds) return;
  std::fprintf(stderr, "property violated: %s\n%s\n", property, detail.c_str());
  std::abort();
}

// The bytes as a record: shorter input is padded with zeros, longer is cut.
inline void ToRecord(const uint8_t* data, size_t size, kv_dolby_metadata_t& rec) {
  std::memset(&rec, 0, sizeof rec);
  std::memcpy(&rec, data, size < sizeof rec ? size : sizeof rec);
}

// The renderer's text is, byte for byte, what rapidjson's stock Writer
// writes for the same document: a JSON object, or, when the document holds a
// NaN or an infinity, the text up to where that number stands. A whole text
// satisfies the published JSON Schema `schema` (docs/schema) when the tools
// are built. Returns the parsed text (an empty object when cut).
inline void CheckRendered(cMetadataJson& renderer, rapidjson::Document& parsed, const char* schema) {
  const std::string text(renderer.GetString(), renderer.GetSize());
  rapidjson::StringBuffer stock;
  rapidjson::Writer<rapidjson::StringBuffer> writer(stock);
  const bool whole = renderer.Doc().Accept(writer);
  Require(text == std::string(stock.GetString(), stock.GetSize()), "the stock writer's text", text);
  parsed.SetObject();
  if (!whole) return;
  parsed.Parse(text.c_str(), text.size());
  Require(!parsed.HasParseError() && parsed.IsObject(), "text is a JSON object", text);
#ifdef FUZZ_WITH_SCHEMA
  tools::SchemaViolation v;
  Require(tools::ValidateDocument(schema, parsed, v), "valid against its schema",
          tools::DescribeViolation(v) + "\n" + text);
#else
  (void)schema;
#endif
}

// Member `key` of obj, or a null value.
inline const rapidjson::Value& At(const rapidjson::Value& obj, const char* key) {
  static const rapidjson::Value kMissing;
  if (!obj.IsObject()) return kMissing;
  auto it = obj.FindMember(key);
  return it == obj.MemberEnd() ? kMissing : it->value;
}

inline unsigned SizeOf(const rapidjson::Value& v) { return v.IsArray() ? v.Size() : 0u; }

}  // namespace fuzz

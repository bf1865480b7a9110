#pragma once
// Records filled field by field, the renderers' text, and item text for
// checks of single items; whole documents are golden files (tests/golden).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include <rapidjson/document.h>
#include <rapidjson/pointer.h>

#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"
#include "Record/DolbyMetadataRecord.h"
#include "RecordFactory.h"

namespace render_test {

constexpr std::int64_t kNow = 1700000000;

using ::NewRecord;

inline cPADMetadataJsonDecStatus& Renderer() {
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  if (renderer == nullptr) throw std::runtime_error("no renderer");
  return *renderer;
}

inline std::string Render(const kv_dolby_metadata_t& rec, std::int64_t now = kNow) {
  cPADMetadataJsonDecStatus& renderer = Renderer();
  EXPECT_TRUE(renderer.PrepareMetadataJson(rec, now));
  return std::string(renderer.GetString(), renderer.GetSize());
}

// The ED2 presentation and object document of rec.
inline std::string RenderPa(const kv_dolby_metadata_t& rec, bool objectsEnabled, std::int64_t timeStamp = kNow) {
  cMetadataJsonPaData* renderer = cMetadataJsonPaData::GetInstance();
  if (renderer == nullptr) throw std::runtime_error("no presentation renderer");
  EXPECT_EQ(renderer->PreparePaMetadataJson(rec, objectsEnabled, timeStamp), 1);
  return std::string(renderer->GetString(), renderer->GetSize());
}

// The parsed text; fails the test when it is not a JSON object.
inline std::unique_ptr<rapidjson::Document> Parse(const std::string& text) {
  auto doc = std::make_unique<rapidjson::Document>();
  doc->Parse(text.c_str(), text.size());
  EXPECT_FALSE(doc->HasParseError()) << text;
  if (doc->HasParseError() || !doc->IsObject()) doc->SetObject();
  return doc;
}

// The value at a JSON pointer ("/StatusInfo/ExData/0"), or a static null
// value when there is none: the test then fails on the value it expected.
inline const rapidjson::Value& Get(const rapidjson::Value& root, const char* pointer) {
  static const rapidjson::Value kMissing;
  const rapidjson::Value* v = rapidjson::GetValueByPointer(root, rapidjson::Pointer(pointer));
  return v != nullptr ? *v : kMissing;
}

inline std::string Text(const rapidjson::Value& v) { return v.IsString() ? v.GetString() : "<none>"; }

inline std::string Q(const std::string& s) { return "\"" + s + "\""; }

// "key":{"Title":title,"Data":data,"Desc":desc}, data given as JSON text.
inline std::string Item(const std::string& key, const std::string& title, const std::string& data,
                        const std::string& desc) {
  return Q(key) + ":{\"Title\":" + Q(title) + ",\"Data\":" + data + ",\"Desc\":" + Q(desc) + "}";
}

// Writes value at a byte offset of the codec block (record offset - 52).
template <typename T>
void Put(kv_dolby_metadata_t& rec, std::size_t blockOffset, T value) {
  if (blockOffset + sizeof value > sizeof rec.md.raw) throw std::out_of_range("block offset");
  std::memcpy(rec.md.raw + blockOffset, &value, sizeof value);
}

}  // namespace render_test

#pragma once
// Records filled field by field, the renderers' text, and item text for
// checks of single items; whole documents are golden files (tests/golden).

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <rapidjson/document.h>
#include <rapidjson/pointer.h>

#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"
#include "Record/DolbyMetadataRecord.h"
#include "RecordFactory.h"

namespace render_test {

constexpr long kNow = 1700000000;

using ::NewRecord;

inline cPADMetadataJsonDecStatus& Renderer() {
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  if (renderer == nullptr) throw std::runtime_error("no renderer");
  return *renderer;
}

inline std::string Render(const kv_dolby_metadata_t& rec, long now = kNow) {
  cPADMetadataJsonDecStatus& renderer = Renderer();
  EXPECT_TRUE(renderer.PrepareMetadataJson(rec, now));
  return std::string(renderer.GetString(), renderer.GetSize());
}

// The ED2 presentation and object document of rec.
inline std::string RenderPa(const kv_dolby_metadata_t& rec, bool objectsEnabled, long timeStamp = kNow) {
  cMetadataJsonPaData* renderer = cMetadataJsonPaData::GetInstance();
  if (renderer == nullptr) throw std::runtime_error("no presentation renderer");
  EXPECT_EQ(renderer->PreparePaMetadataJson(rec, objectsEnabled, timeStamp), 1);
  return std::string(renderer->GetString(), renderer->GetSize());
}

// The rendered document, parsed; fails the test when the text is not JSON.
inline std::unique_ptr<rapidjson::Document> RenderParsed(const kv_dolby_metadata_t& rec) {
  auto doc = std::make_unique<rapidjson::Document>();
  const std::string text = Render(rec);
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

// ---- expected text

inline std::string Q(const std::string& s) { return "\"" + s + "\""; }

inline std::string Join(const std::vector<std::string>& parts) {
  std::string out;
  for (const std::string& p : parts) out += (out.empty() ? "" : ",") + p;
  return out;
}

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

// Copies text into a fixed-width field (terminated when it fits).
template <std::size_t N>
void SetText(char (&field)[N], const std::string& text) {
  std::memset(field, 0, N);
  std::memcpy(field, text.data(), text.size() < N ? text.size() : N);
}

inline std::unique_ptr<rapidjson::Document> Parse(const std::string& text) {
  auto doc = std::make_unique<rapidjson::Document>();
  doc->Parse(text.c_str(), text.size());
  EXPECT_FALSE(doc->HasParseError()) << text;
  if (doc->HasParseError()) doc->SetObject();
  return doc;
}

// "Data" and "Desc" of an item, for compact checks.
struct ItemView {
  const rapidjson::Value& data;
  std::string desc;
};
inline ItemView ItemOf(const rapidjson::Value& obj, const char* key) {
  const std::string path = std::string("/") + key;
  return ItemView{Get(obj, (path + "/Data").c_str()), Text(Get(obj, (path + "/Desc").c_str()))};
}

}  // namespace render_test

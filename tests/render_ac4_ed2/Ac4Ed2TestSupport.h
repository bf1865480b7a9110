#pragma once
// Helpers for the AC-4 and ED2 renderings: raw writes at block offsets (so
// that the tests follow the record's published offsets, not the structs), text
// fields, and the presentation document's text.

#include <cstring>
#include <stdexcept>
#include <string>

#include "MetadataJsonPaData.h"
#include "RenderTestSupport.h"

namespace ac4_ed2_test {

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

inline cMetadataJsonPaData& PaRenderer() {
  cMetadataJsonPaData* renderer = cMetadataJsonPaData::GetInstance();
  if (renderer == nullptr) throw std::runtime_error("no presentation renderer");
  return *renderer;
}

inline std::string RenderPa(const kv_dolby_metadata_t& rec, bool objectsEnabled,
                            long timeStamp = render_test::kNow) {
  cMetadataJsonPaData& renderer = PaRenderer();
  EXPECT_EQ(renderer.PreparePaMetadataJson(rec, objectsEnabled, timeStamp), 1);
  return std::string(renderer.GetString(), renderer.GetSize());
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
  const rapidjson::Value& item = render_test::At(obj, key);
  return ItemView{render_test::At(item, "Data"), render_test::Text(render_test::At(item, "Desc"))};
}

}  // namespace ac4_ed2_test

// Any byte pattern in a record renders: the text is either a JSON object, or,
// when the document holds a non-finite number, ends where that number stands.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;
using rapidjson::Value;

bool HoldsNonFinite(const Value& v) {
  if (v.IsDouble()) return !std::isfinite(v.GetDouble());
  if (v.IsObject()) {
    for (auto it = v.MemberBegin(); it != v.MemberEnd(); ++it) {
      if (HoldsNonFinite(it->value)) return true;
    }
  }
  if (v.IsArray()) {
    for (const Value& e : v.GetArray()) {
      if (HoldsNonFinite(e)) return true;
    }
  }
  return false;
}

TEST(DecStatusFuzzTest, RandomRecordsRenderSafely) {
  const int kTypeIds[] = {0, 1, 16, 21, 24, 28, 60};
  std::mt19937 rng(20240611);
  auto rec = NewRecord(0, 0);
  auto* bytes = reinterpret_cast<uint8_t*>(rec.get());
  int truncated = 0;

  for (int round = 0; round < 3000; ++round) {
    for (std::size_t i = 0; i < sizeof *rec; ++i) bytes[i] = static_cast<uint8_t>(rng());
    // Mostly stream types the document describes, blocks they may or may not match.
    rec->typeId = rng() % 8 != 0 ? kTypeIds[rng() % 7] : static_cast<int32_t>(rng());
    rec->mdType = static_cast<dlb_padc_ui_md_type_t>(rng() % 8 != 0 ? rng() % 4 : rng());
    // Plausible counts half of the time, so the walks are also exercised short.
    if (rng() % 2 == 0) {
      rec->atmosDecode = 1;
      rec->md.ddp.atmosPresent = 1;
      rec->md.ddp.numDynObjects = rng() % 20;
    }
    if (rng() % 2 == 0) rec->md.dolbye.programCount = static_cast<uint8_t>(rng() % 20);

    SCOPED_TRACE(round);
    cPADMetadataJsonDecStatus& renderer = Renderer();
    ASSERT_TRUE(renderer.PrepareMetadataJson(*rec, kNow));
    const std::string text(renderer.GetString(), renderer.GetSize());
    ASSERT_EQ(std::strlen(renderer.GetString()), text.size());

    rapidjson::Document parsed;
    parsed.Parse(text.c_str(), text.size());
    if (HoldsNonFinite(renderer.Doc())) {
      ++truncated;
      EXPECT_TRUE(parsed.HasParseError());
      ASSERT_FALSE(text.empty());
      const char last = text.back();
      EXPECT_TRUE(last == ':' || last == '[' || last == ',') << text.substr(text.size() - 40);
    } else {
      ASSERT_FALSE(parsed.HasParseError()) << text;
      EXPECT_TRUE(parsed.IsObject());
    }
    EXPECT_FALSE(renderer.requireUpdate(*rec) && SignificantLength(rec->mdType) != 0);
  }
  // Random floats are NaN or infinite often enough for both outcomes to be seen.
  EXPECT_GT(truncated, 0);
  EXPECT_LT(truncated, 3000);
}

}  // namespace

// Random records through both documents: any byte pattern renders without
// reading outside the record (run under ASan/UBSan too), the text is JSON or
// ends early at a non-finite number, and no list walks past its limit.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;
using rapidjson::Pointer;
using rapidjson::Value;

bool HoldsNonFinite(const Value& v) {
  if (v.IsDouble()) return !std::isfinite(v.GetDouble());
  if (v.IsObject()) {
    for (const auto& m : v.GetObject()) if (HoldsNonFinite(m.value)) return true;
  }
  if (v.IsArray()) {
    for (const Value& e : v.GetArray()) if (HoldsNonFinite(e)) return true;
  }
  return false;
}

unsigned SizeAt(const Value& doc, const char* pointer) {
  const Value* v = Pointer(pointer).Get(doc);
  return v != nullptr && v->IsArray() ? v->Size() : 0u;
}

TEST(RandomRecordTest, RenderSafelyAndWithinTheirLimits) {
  const int kTypeIds[] = {0, 1, 16, 21, 24, 28, 60};
  std::mt19937 rng(20240611);
  auto rec = NewRecord(0, 0);
  auto* bytes = reinterpret_cast<uint8_t*>(rec.get());
  for (int round = 0; round < 4000; ++round) {
    SCOPED_TRACE(round);
    // Random words; half of the rounds keep every float below 2 in magnitude.
    for (std::size_t i = 0; i < sizeof *rec; i += 4) {
      uint32_t word = static_cast<uint32_t>(rng());
      if (round % 2 == 0) word &= ~0x40000000u;
      std::memcpy(bytes + i, &word, 4);
    }
    rec->typeId = rng() % 8 != 0 ? kTypeIds[rng() % 7] : static_cast<int32_t>(rng());
    rec->mdType = static_cast<dlb_padc_ui_md_type_t>(rng() % 8 != 0 ? rng() % 4 : rng());
    if (rng() % 2 == 0) {  // counts near their limits
      rec->md.ddp.numDynObjects = rng() % 20;
      rec->md.ac4.presentationCount = static_cast<uint8_t>(rng() % 20);
    }
    const std::string status = Render(*rec);
    const std::string pa = RenderPa(*rec, round % 5 != 0);
    ASSERT_EQ(std::strlen(status.c_str()), status.size());
    ASSERT_FALSE(pa.empty());
    rapidjson::Document doc;
    doc.Parse(status.c_str(), status.size());
    if (HoldsNonFinite(Renderer().Doc())) {
      ASSERT_TRUE(doc.HasParseError());
      const char last = status.back();
      EXPECT_TRUE(last == ':' || last == '[' || last == ',') << status.substr(status.size() - 40);
      continue;
    }
    ASSERT_FALSE(doc.HasParseError()) << status;
    EXPECT_LE(SizeAt(doc, "/AtmosInfo/ExData/0/PaObjects"), 15u);
    EXPECT_LE(SizeAt(doc, "/Programs"), 16u);
    EXPECT_LE(SizeAt(doc, "/StatusInfo/Presentations"), 16u);
    EXPECT_LE(SizeAt(doc, "/StatusInfo/Substreams"), 64u);
  }
}

}  // namespace

// Random AC-4 and ED2 records through both documents: every byte pattern must
// render without reading outside the record (run under ASan/UBSan), and the
// lists must stay within their bounds.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "Ac4Ed2TestSupport.h"

namespace {

using render_test::At;
using rapidjson::Value;

// Fills the record with random words. With finiteFloats, every word gets its
// top exponent bit cleared, so every float field (all sit at multiples of 4)
// is below 2 in magnitude and stays finite through the position transform;
// the other fields keep random values.
void FillRandom(kv_dolby_metadata_t& rec, std::mt19937& rng, bool finiteFloats) {
  static_assert(sizeof(kv_dolby_metadata_t) % 4 == 0);
  unsigned char* bytes = reinterpret_cast<unsigned char*>(&rec);
  for (std::size_t offset = 0; offset < sizeof rec; offset += 4) {
    uint32_t word = static_cast<uint32_t>(rng());
    if (finiteFloats) word &= ~0x40000000u;
    std::memcpy(bytes + offset, &word, 4);
  }
  rec.protoVer = kRecordProtoVersion;
}

int Between(std::mt19937& rng, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(rng);
}

// Counts near their limits more often than uniform bytes would give them.
void BiasAc4(kv_dolby_metadata_t& rec, std::mt19937& rng) {
  dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  ac4.presentationCount = static_cast<uint8_t>(Between(rng, 0, 20));
  ac4.activePresentation = static_cast<uint8_t>(Between(rng, 0, 20));
  ac4.substreamCount = static_cast<uint8_t>(Between(rng, 0, 70));
  for (auto& p : ac4.presentations) p.substreamIdCount = static_cast<uint8_t>(Between(rng, 0, 70));
}

void BiasEd2(kv_dolby_metadata_t& rec, std::mt19937& rng) {
  dlb_padc_ui_md_ed2_s& ed2 = rec.md.ed2;
  ed2.presentationCount = static_cast<uint16_t>(Between(rng, 0, 18));
  rec.activePaNo = static_cast<uint32_t>(Between(rng, 0, 18));
  ed2.bedObjectCount = static_cast<int16_t>(Between(rng, -2, 12));
  ed2.dynamicObjectCount = static_cast<int16_t>(Between(rng, -2, 20));
  for (unsigned j = 0; j < kEd2MaxBedObjects; ++j) {
    ac4_ed2_test::Put<int32_t>(rec, 276 + 284 * j, Between(rng, -3, 20));
  }
}

unsigned SizeOf(const Value& v) { return v.IsArray() ? v.Size() : 0u; }

void CheckStatusText(const std::string& text) {
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.front(), '{');
  EXPECT_EQ(std::strlen(text.c_str()), text.size());
}

TEST(Ac4Ed2FuzzTest, RandomAc4Records) {
  std::mt19937 rng(0xAC4u);
  auto rec = render_test::NewRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
  for (int round = 0; round < 600; ++round) {
    const bool finite = round % 2 == 0;
    FillRandom(*rec, rng, finite);
    if (round % 4 < 2) BiasAc4(*rec, rng);
    rec->typeId = stream_type::kAc4;
    rec->mdType = static_cast<dlb_padc_ui_md_type_t>(round % 3 == 0 ? Between(rng, 0, 5) : 3);

    const std::string status = render_test::Render(*rec);
    CheckStatusText(status);
    const std::string pa = ac4_ed2_test::RenderPa(*rec, round % 5 != 0);
    ASSERT_FALSE(pa.empty());
    if (!finite) continue;

    auto doc = ac4_ed2_test::Parse(status);
    const Value& statusInfo = At(*doc, "StatusInfo");
    const unsigned listed = rec->md.ac4.presentationCount < 16 ? rec->md.ac4.presentationCount : 16;
    const unsigned substreams = rec->md.ac4.substreamCount < 64 ? rec->md.ac4.substreamCount : 64;
    ASSERT_EQ(SizeOf(At(statusInfo, "ExData")), 1u) << status;
    EXPECT_EQ(SizeOf(At(statusInfo, "Presentations")), listed);
    EXPECT_EQ(SizeOf(At(statusInfo, "Substreams")), substreams);
    const unsigned shown = At(At(At(At(statusInfo, "ExData"), 0u), "AC4ActivePresentation"),
                              "Data").GetUint();
    EXPECT_LE(shown, listed);
    EXPECT_EQ(shown == 0, listed == 0);
  }
}

TEST(Ac4Ed2FuzzTest, RandomEd2Records) {
  std::mt19937 rng(0xED2u);
  auto rec = render_test::NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  for (int round = 0; round < 600; ++round) {
    const bool finite = round % 2 == 0;
    FillRandom(*rec, rng, finite);
    if (round % 4 < 2) BiasEd2(*rec, rng);
    rec->typeId = stream_type::kEd2;
    rec->mdType = static_cast<dlb_padc_ui_md_type_t>(round % 3 == 0 ? Between(rng, 0, 5) : 2);
    const bool objectsEnabled = round % 7 != 0;

    const std::string status = render_test::Render(*rec);
    CheckStatusText(status);
    const std::string pa = ac4_ed2_test::RenderPa(*rec, objectsEnabled);
    CheckStatusText(pa);
    if (!finite) continue;

    auto doc = ac4_ed2_test::Parse(status);
    EXPECT_EQ(SizeOf(At(At(*doc, "StatusInfo"), "ExData")),
              cPADMetadataJsonDecStatus::Ed2HasObjectPair(*rec) ? 2u : 1u);

    auto paDoc = ac4_ed2_test::Parse(pa);
    if (rec->mdType != DLB_PADC_UI_MD_TYPE_ED2) {
      EXPECT_EQ(pa, "{}");
      continue;
    }
    const Value& presentations = At(*paDoc, "Presentations");
    EXPECT_LE(SizeOf(presentations), 16u);
    for (unsigned k = 0; k < SizeOf(presentations); ++k) {
      EXPECT_LE(SizeOf(At(presentations[k], "PaObjects")), 25u);
      EXPECT_LE(SizeOf(At(At(presentations[k], "PaBed"), "Sources")), 16u);
    }
  }
}

}  // namespace

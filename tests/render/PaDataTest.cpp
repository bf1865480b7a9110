// ED2 presentation document: when nothing is listed, and the count clamps. Offsets:
//   bed j:     source count 276 + 284j, source targets 280 + 284j + 4k
//   presentation k at 15034 + 114k: name, bedIncluded +64, bedSetIndex +73,
//              objectIncluded +82, objectSetIndex +98

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;

constexpr std::size_t kBedCount = 56;
constexpr std::size_t kObjectCount = 58;
constexpr std::size_t kPresentationCount = 15032;

std::size_t PresentationAt(unsigned k) { return 15034 + 114 * k; }

unsigned Size(const rapidjson::Value& v) { return v.IsArray() ? v.Size() : 999u; }

std::unique_ptr<kv_dolby_metadata_t> NewEd2Record(uint16_t presentations) {
  auto rec = NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  rec->atmosDecode = 1;
  Put<uint16_t>(*rec, kPresentationCount, presentations);
  return rec;
}

// Without object audio, or with a count outside 1..16, nothing is listed; an
// active number out of range keeps the counts but lists nothing either.
TEST(PaDataTest, WhenNothingIsListed) {
  const struct { bool enabled; uint16_t count; uint32_t active, shownCount, shownActive; } cases[] = {
      {false, 2, 0, 0, 0}, {true, 0, 0, 0, 0}, {true, 17, 0, 0, 0}, {true, 0xFFFF, 0, 0, 0}, {true, 3, 5, 3, 5},
      {true, 3, 3, 3, 3}};
  for (const auto& c : cases) {
    auto rec = NewEd2Record(c.count);
    rec->activePaNo = c.active;
    Put<char>(*rec, PresentationAt(0), 'M');
    EXPECT_EQ(RenderPa(*rec, c.enabled, 42), "{\"TS\":42,\"NoPresentations\":" + std::to_string(c.shownCount) +
                                                 ",\"ActivePANo\":" + std::to_string(c.shownActive) +
                                                 ",\"ActivePAName\":\"\"}");
  }
  auto full = NewEd2Record(16);  // the largest count still listed
  EXPECT_EQ(Size(Get(*Parse(RenderPa(*full, true)), "/Presentations")), 16u);
  for (uint32_t mdType : {0u, 1u, 3u, 7u}) {  // not ED2: the empty object
    full->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
    EXPECT_EQ(RenderPa(*full, true), "{}") << mdType;
  }
}

// At most 9 beds and 16 objects; a negative count means none.
TEST(PaDataTest, ObjectCountsAreClampedAndNegativeMeansNone) {
  auto rec = NewEd2Record(1);
  for (unsigned j = 0; j < 16; ++j) Put<uint8_t>(*rec, PresentationAt(0) + 82 + j, 1);
  for (unsigned j = 0; j < 9; ++j) Put<uint8_t>(*rec, PresentationAt(0) + 64 + j, 1);
  const struct { int16_t beds, objects; unsigned entries; } cases[] = {
      {12, 20, 9 + 16}, {9, 16, 25}, {1, 2, 3}, {0, 0, 0}, {-1, -5, 0}};
  for (const auto& c : cases) {
    Put<int16_t>(*rec, kBedCount, c.beds);
    Put<int16_t>(*rec, kObjectCount, c.objects);
    EXPECT_EQ(Size(Get(*Parse(RenderPa(*rec, true)), "/Presentations/0/PaObjects")), c.entries)
        << c.beds << "/" << c.objects;
  }
}

// At most 16 sources are listed under the count received; a target is shown
// as its stored value + 1, wrapping at the top. A name without a terminator
// stops at its 64 characters.
TEST(PaDataTest, BedSourcesAreBoundedAndNamesStopAtTheirWidth) {
  auto rec = NewEd2Record(1);
  Put<int16_t>(*rec, kBedCount, 1);
  Put<uint8_t>(*rec, PresentationAt(0) + 64, 1);
  for (unsigned i = 0; i < 64; ++i) Put<char>(*rec, PresentationAt(0) + i, 'n');
  Put<int32_t>(*rec, 280 + 4 * 15, INT_MAX);
  for (const auto& [count, listed] : {std::pair<int32_t, unsigned>{20, 16}, {16, 16}, {15, 15}, {-3, 0}}) {
    Put<int32_t>(*rec, 276, count);
    auto doc = Parse(RenderPa(*rec, true));
    EXPECT_EQ(Size(Get(*doc, "/Presentations/0/PaBed/Sources")), listed) << count;
    EXPECT_EQ(Get(*doc, "/Presentations/0/PaBed/NoSources/Data").GetInt(), count);
    EXPECT_EQ(Text(Get(*doc, "/ActivePAName")), std::string(64, 'n'));
    if (listed == 16) {
      EXPECT_EQ(Get(*doc, "/Presentations/0/PaBed/Sources/15/Target/Data").GetInt(), INT_MIN);
    }
  }
}

}  // namespace

// ED2 presentation document: when nothing is listed, and the count clamps.

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "RenderTestSupport.h"

namespace {

using namespace render_test;

unsigned Size(const rapidjson::Value& v) { return v.IsArray() ? v.Size() : 999u; }

std::unique_ptr<kv_dolby_metadata_t> NewEd2Record(uint16_t presentations) {
  auto rec = NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  rec->atmosDecode = 1;
  rec->md.ed2.presentationCount = presentations;
  return rec;
}

// Without object audio, or with a count outside 1..kEd2MaxPresentations, nothing is listed; an
// active number out of range keeps the counts but lists nothing either.
TEST(PaDataTest, WhenNothingIsListed) {
  const struct { bool enabled; uint16_t count; uint32_t active, shownCount, shownActive; } cases[] = {
      {false, 2, 0, 0, 0}, {true, 0, 0, 0, 0}, {true, kEd2MaxPresentations + 1, 0, 0, 0}, {true, 0xFFFF, 0, 0, 0},
      {true, 3, 5, 3, 5},
      {true, 3, 3, 3, 3}};
  for (const auto& c : cases) {
    auto rec = NewEd2Record(c.count);
    rec->activePaNo = c.active;
    rec->md.ed2.presentations[0].name[0] = 'M';
    EXPECT_EQ(RenderPa(*rec, c.enabled, 42), "{\"TS\":42,\"NoPresentations\":" + std::to_string(c.shownCount) +
                                                 ",\"ActivePANo\":" + std::to_string(c.shownActive) +
                                                 ",\"ActivePAName\":\"\"}");
  }
  auto full = NewEd2Record(kEd2MaxPresentations);  // the largest count still listed
  EXPECT_EQ(Size(Get(*Parse(RenderPa(*full, true)), "/Presentations")), unsigned{kEd2MaxPresentations});
  for (uint32_t mdType : {0u, 1u, 3u, 7u}) {  // not ED2: the empty object
    full->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
    EXPECT_EQ(RenderPa(*full, true), "{}") << mdType;
  }
}

// At most kEd2MaxBedObjects beds and kEd2MaxDynamicObjects objects; a
// negative count means none.
TEST(PaDataTest, ObjectCountsAreClampedAndNegativeMeansNone) {
  constexpr int16_t kBeds = kEd2MaxBedObjects, kObjects = kEd2MaxDynamicObjects;
  auto rec = NewEd2Record(1);
  dlb_padc_ed2_presentation_s& presentation = rec->md.ed2.presentations[0];
  for (uint8_t& included : presentation.objectIncluded) included = 1;
  for (uint8_t& included : presentation.bedIncluded) included = 1;
  const struct { int16_t beds, objects; unsigned entries; } cases[] = {
      {kBeds + 3, kObjects + 4, kBeds + kObjects}, {kBeds + 1, kObjects + 1, kBeds + kObjects},
      {kBeds, kObjects, kBeds + kObjects}, {kBeds - 1, kObjects - 1, kBeds + kObjects - 2},
      {1, 2, 3}, {0, 0, 0}, {-1, -5, 0}};
  for (const auto& c : cases) {
    rec->md.ed2.bedObjectCount = c.beds;
    rec->md.ed2.dynamicObjectCount = c.objects;
    EXPECT_EQ(Size(Get(*Parse(RenderPa(*rec, true)), "/Presentations/0/PaObjects")), c.entries)
        << c.beds << "/" << c.objects;
  }
}

// At most kEd2MaxBedSources sources are listed under the count received; a target is shown
// as its stored value + 1, wrapping at the top. A name without a terminator
// stops at its 64 characters.
TEST(PaDataTest, BedSourcesAreBoundedAndNamesStopAtTheirWidth) {
  constexpr int32_t kMax = kEd2MaxBedSources;
  auto rec = NewEd2Record(1);
  rec->md.ed2.bedObjectCount = 1;
  dlb_padc_ed2_presentation_s& presentation = rec->md.ed2.presentations[0];
  presentation.bedIncluded[0] = 1;
  for (char& c : presentation.name) c = 'n';
  rec->md.ed2.bedObjects[0].sourceTarget[kMax - 1] = INT_MAX;
  const std::pair<int32_t, unsigned> counts[] = {{kMax + 4, kMax}, {kMax + 1, kMax}, {kMax, kMax}, {kMax - 1, kMax - 1},
                                                 {-3, 0}};
  for (const auto& [count, listed] : counts) {
    rec->md.ed2.bedObjects[0].numSources = count;
    auto doc = Parse(RenderPa(*rec, true));
    EXPECT_EQ(Size(Get(*doc, "/Presentations/0/PaBed/Sources")), listed) << count;
    EXPECT_EQ(Get(*doc, "/Presentations/0/PaBed/NoSources/Data").GetInt(), count);
    EXPECT_EQ(Text(Get(*doc, "/ActivePAName")), std::string(sizeof presentation.name, 'n'));
    if (listed == kMax) {
      const std::string last = "/Presentations/0/PaBed/Sources/" + std::to_string(kMax - 1) + "/Target/Data";
      EXPECT_EQ(Get(*doc, last.c_str()).GetInt(), INT_MIN);
    }
  }
}

}  // namespace

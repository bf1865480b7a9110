// Presentation and object document of ED2 records. The per-object values are
// written at the record's published block offsets:
//   bed j:     speaker flags 64 + 284j + f, gains 84 + 284j + 4s,
//              source count 276 + 284j, source targets 280 + 284j + 4k
//   object j:  channel id 2618 + 776j, class 2620 + 776j,
//              gains 2624 + 776j + 4s, positions 2816 + 776j + 12s
//   presentation k at 15034 + 114k: name, bedIncluded +64, bedSetIndex +73,
//              objectIncluded +82, objectSetIndex +98

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

using render_test::Parse;
using render_test::Put;
using render_test::RenderPa;
using render_test::Get;
using render_test::Item;
using render_test::Q;
using rapidjson::Value;

constexpr std::size_t kBedCount = 56;
constexpr std::size_t kObjectCount = 58;
constexpr std::size_t kPresentationCount = 15032;

std::size_t PresentationAt(unsigned k) { return 15034 + 114 * k; }
std::size_t BedFlag(unsigned j, unsigned f) { return 64 + 284 * j + f; }
std::size_t BedGain(unsigned j, unsigned s) { return 84 + 284 * j + 4 * s; }
std::size_t BedSources(unsigned j) { return 276 + 284 * j; }
std::size_t BedTarget(unsigned j, unsigned k) { return 280 + 284 * j + 4 * k; }
std::size_t ObjectClass(unsigned j) { return 2620 + 776 * j; }
std::size_t ObjectGain(unsigned j, unsigned s) { return 2624 + 776 * j + 4 * s; }
std::size_t ObjectPosition(unsigned j, unsigned s) { return 2816 + 776 * j + 12 * s; }

void PutName(kv_dolby_metadata_t& rec, unsigned k, const std::string& name) {
  for (std::size_t i = 0; i < name.size(); ++i) Put<char>(rec, PresentationAt(k) + i, name[i]);
}
void Include(kv_dolby_metadata_t& rec, unsigned k, unsigned bed, uint8_t set) {
  Put<uint8_t>(rec, PresentationAt(k) + 64 + bed, 1);
  Put<uint8_t>(rec, PresentationAt(k) + 73 + bed, set);
}
void IncludeObject(kv_dolby_metadata_t& rec, unsigned k, unsigned object, uint8_t set) {
  Put<uint8_t>(rec, PresentationAt(k) + 82 + object, 1);
  Put<uint8_t>(rec, PresentationAt(k) + 98 + object, set);
}
void PutPosition(kv_dolby_metadata_t& rec, unsigned j, unsigned s, float x, float y, float z) {
  Put<float>(rec, ObjectPosition(j, s), x);
  Put<float>(rec, ObjectPosition(j, s) + 4, y);
  Put<float>(rec, ObjectPosition(j, s) + 8, z);
}

std::unique_ptr<kv_dolby_metadata_t> NewEd2Record(uint16_t presentations) {
  auto rec = render_test::NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  rec->atmosDecode = 1;
  Put<uint16_t>(*rec, kPresentationCount, presentations);
  return rec;
}

// ---- expected entries, every value written out by the caller

std::string BedEntry(const std::string& label, const std::string& channels,
                     const std::string& configText) {
  return "{" + Item("Type", "Object Type", "true", "Bed") + "," +
         Item("Class", "Object Class", "0", "-") + "," +
         Item("SpeakerConfig", "Speaker Config", Q(label), configText) + "," +
         Item("x", "Object Position x", "-1.0", "-") + "," +
         Item("y", "Object Position y", "1.0", "-") + "," +
         Item("z", "Object Position z", "0.0", "-") + "," + Item("ChID", "Object ID", "0", "-") +
         "," + Item("Source", "Channel ID", "0", channels) + "," +
         Item("Gain", "Object Gain", "0.0", "-") + "}";
}

struct Xyz {
  const char* data;
  const char* desc;
};

std::string DynamicEntry(const std::string& classData, const std::string& classText, Xyz x,
                         Xyz y, Xyz z, const std::string& id, const std::string& source,
                         Xyz gain) {
  return "{" + Item("Type", "Object Type", "false", "Dynamic") + "," +
         Item("Class", "Object Class", classData, classText) + "," +
         Item("SpeakerConfig", "Speaker Config", Q("1.0"), "-") + "," +
         Item("x", "Object Position x", x.data, x.desc) + "," +
         Item("y", "Object Position y", y.data, y.desc) + "," +
         Item("z", "Object Position z", z.data, z.desc) + "," +
         Item("ChID", "Object ID", id, id) + "," + Item("Source", "Channel ID", source, source) +
         "," + Item("Gain", "Object Gain", gain.data, gain.desc) + "}";
}

std::string Source(const std::string& target, const std::string& targetText,
                   const std::string& number, Xyz gain, Xyz x, Xyz y, Xyz z) {
  return "{" + Item("Target", "Target", target, targetText) + "," +
         Item("Source", "Source", number, number) + "," +
         Item("Gain", "Object Gain", gain.data, gain.desc) + "," +
         Item("x", "Object Position x", x.data, x.desc) + "," +
         Item("y", "Object Position y", y.data, y.desc) + "," +
         Item("z", "Object Position z", z.data, z.desc) + "}";
}

std::string Root(const std::string& count, const std::string& active, const std::string& name) {
  return R"({"TS":1700000000,"NoPresentations":)" + count + R"(,"ActivePANo":)" + active +
         R"(,"ActivePAName":)" + Q(name);
}

TEST(PaDataTest, NotEd2GivesTheEmptyObject) {
  auto rec = NewEd2Record(2);
  for (uint32_t mdType : {0u, 1u, 3u, 7u}) {
    rec->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
    EXPECT_EQ(RenderPa(*rec, true), "{}") << mdType;
  }
}

// Without object audio, or with a count outside 1..16, nothing is listed; an
// active number out of range keeps the counts but lists nothing either.
TEST(PaDataTest, WhenNothingIsListed) {
  const struct { bool enabled; uint16_t count; uint32_t active; std::string expected; } cases[] = {
      {false, 2, 0, R"({"TS":42,"NoPresentations":0,"ActivePANo":0,"ActivePAName":""})"},
      {true, 0, 0, R"({"TS":42,"NoPresentations":0,"ActivePANo":0,"ActivePAName":""})"},
      {true, 17, 0, R"({"TS":42,"NoPresentations":0,"ActivePANo":0,"ActivePAName":""})"},
      {true, 0xFFFF, 0, R"({"TS":42,"NoPresentations":0,"ActivePANo":0,"ActivePAName":""})"},
      {true, 3, 5, R"({"TS":42,"NoPresentations":3,"ActivePANo":5,"ActivePAName":""})"},
      {true, 3, 3, R"({"TS":42,"NoPresentations":3,"ActivePANo":3,"ActivePAName":""})"},
  };
  for (const auto& c : cases) {
    auto rec = NewEd2Record(c.count);
    rec->activePaNo = c.active;
    PutName(*rec, 0, "Main");
    EXPECT_EQ(RenderPa(*rec, c.enabled, 42), c.expected);
  }
  auto full = NewEd2Record(16);  // the largest count still listed
  auto doc = Parse(RenderPa(*full, true));
  const Value* listed = rapidjson::Pointer("/Presentations").Get(*doc);
  EXPECT_EQ(listed != nullptr && listed->IsArray() ? listed->Size() : 0u, 16u);
}

// The name item's data tells that a text is there, even an empty one; with
// nothing included a presentation has no objects and an empty bed. A name
// without a terminator stops at its 64 characters.
TEST(PaDataTest, PresentationNames) {
  auto rec = NewEd2Record(2);
  PutName(*rec, 1, "Second");
  const std::string empty = R"(,"PaObjects":[],"PaBed":{}})";
  EXPECT_EQ(RenderPa(*rec, true), Root("2", "0", "") + R"(,"Presentations":[{)" + Item("Name", "Name", "true", "") +
                                      empty + ",{" + Item("Name", "Name", "true", "Second") + empty + "]}");

  rec = NewEd2Record(1);
  PutName(*rec, 0, std::string(64, 'n'));
  Put<uint8_t>(*rec, PresentationAt(0) + 64, 'X');  // bedIncluded[0] right after the name
  EXPECT_THAT(RenderPa(*rec, true), HasSubstr(R"("ActivePAName":")" + std::string(64, 'n') + "\""));
}

TEST(PaDataTest, ObjectCountsAreClampedAndNegativeMeansNone) {
  auto rec = NewEd2Record(1);
  for (unsigned j = 0; j < 16; ++j) IncludeObject(*rec, 0, j, 0);
  for (unsigned j = 0; j < 9; ++j) Include(*rec, 0, j, 0);
  const struct { int16_t beds, objects; unsigned entries; } cases[] = {
      {12, 20, 9 + 16}, {9, 16, 25}, {1, 2, 3}, {0, 0, 0}, {-1, -5, 0}};
  for (const auto& c : cases) {
    Put<int16_t>(*rec, kBedCount, c.beds);
    Put<int16_t>(*rec, kObjectCount, c.objects);
    auto doc = Parse(RenderPa(*rec, true));
    const Value& objects = Get(*doc, "/Presentations/0/PaObjects");
    EXPECT_EQ(objects.IsArray() ? objects.Size() : 999u, c.entries) << c.beds << "/" << c.objects;
  }
}

// At most 16 sources are listed under the count received; targets are stored
// as speaker type - 1 and shown by name where there is one.
TEST(PaDataTest, BedSourceCountAndTargetsAreBounded) {
  auto rec = NewEd2Record(1);
  Put<int16_t>(*rec, kBedCount, 1);
  Include(*rec, 0, 0, 0);
  Put<int32_t>(*rec, BedSources(0), 20);
  Put<int32_t>(*rec, BedTarget(0, 0), -1);       // type 0, "-"
  Put<int32_t>(*rec, BedTarget(0, 1), 16);       // type 17, LFE2
  Put<int32_t>(*rec, BedTarget(0, 2), INT_MAX);  // wraps, shown as a number
  Put<int32_t>(*rec, BedTarget(0, 3), -5);       // type -4
  Put<int32_t>(*rec, BedTarget(0, 4), 12);       // type 13, Lrh
  const Xyz zero{"0.0", "0.00"}, one{"1.0", "1.00"}, minusOne{"-1.0", "-1.00"};
  const std::string text = RenderPa(*rec, true);
  EXPECT_THAT(text, HasSubstr(Item("NoSources", "No. of Sources", "20", "20") + ",\"Sources\":[" +
                              Source("0", "-", "1", zero, zero, zero, zero) + "," +
                              Source("17", "LFE2", "2", zero, zero, one, zero) + "," +
                              Source("-2147483648", "-2147483648", "3", zero, zero, zero, zero) + "," +
                              Source("-4", "-4", "4", zero, zero, zero, zero) + "," +
                              Source("13", "Lrh", "5", zero, minusOne, minusOne, one) + ","));
  EXPECT_THAT(text, HasSubstr("," + Source("1", "L", "16", zero, minusOne, one, zero) + "]}"));  // stored 0: type 1

  Put<int32_t>(*rec, BedSources(0), -3);
  EXPECT_THAT(RenderPa(*rec, true), HasSubstr(Item("NoSources", "No. of Sources", "-3", "-3") + ",\"Sources\":[]"));
}

// "PaBed" describes the first included bed, with the gain of its set (here
// past the bed's own gains). A bed without speakers shows "-" for the
// configuration and an empty source text.
TEST(PaDataTest, PaBedDescribesTheFirstIncludedBedWithItsSetGain) {
  auto rec = NewEd2Record(1);
  Put<int16_t>(*rec, kBedCount, 3);
  Include(*rec, 0, 1, 200);  // beds 1 and 2; bed 0 left out
  Include(*rec, 0, 2, 0);
  Put<uint8_t>(*rec, BedFlag(1, 16), 1);  // LFE2
  Put<int32_t>(*rec, BedSources(1), 1);
  Put<int32_t>(*rec, BedTarget(1, 0), 3);
  Put<float>(*rec, BedGain(1, 200), 2.25f);
  Put<int32_t>(*rec, BedSources(0), 5);
  const Xyz zero{"0.0", "0.00"}, one{"1.0", "1.00"};
  const std::string text = RenderPa(*rec, true);
  EXPECT_THAT(text, HasSubstr(",\"PaBed\":{" + Item("SpeakerConfig", "Speaker Config", Q("0-1"), " LFE2") + "," +
                              Item("NoSources", "No. of Sources", "1", "1") + ",\"Sources\":[" +
                              Source("4", "LFE", "1", {"2.25", "2.25"}, zero, one, zero) + "]}"));
  EXPECT_THAT(text, HasSubstr(BedEntry("0-0", "", "-") + "]"));
}

// Any class but 0 counts as dialogue in "Data"; the text names codes 0 to 8.
// The gain and position come from the object's set, up to index 255.
TEST(PaDataTest, ObjectClassTextsAndHighestSetIndex) {
  auto rec = NewEd2Record(1);
  Put<int16_t>(*rec, kObjectCount, 1);
  IncludeObject(*rec, 0, 0, 255);
  Put<float>(*rec, ObjectGain(0, 255), -1.25f);
  PutPosition(*rec, 0, 255, 0.0f, 1.0f, 0.75f);
  const char* const names[] = {"Not indicated", "Dialogue",   "Music",     "Effects",   "Music and effects",
                               "Commentary",    "Audio description", "Emergency", "Voice over", "9"};
  for (uint32_t code = 0; code <= 9; ++code) {
    Put<uint32_t>(*rec, ObjectClass(0), code);
    EXPECT_THAT(RenderPa(*rec, true), HasSubstr(DynamicEntry(code != 0 ? "1" : "0", names[code], {"-1.0", "0.00"}, {"-1.0", "1.00"},
                                   {"0.75", "0.75"}, "0", "1", {"-1.25", "-1.25"})));
  }
}

}  // namespace

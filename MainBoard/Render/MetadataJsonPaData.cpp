#include "MetadataJsonPaData.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "Ac4PadUi.h"
#include "Logger.h"
#include "Singleton.h"

using rapidjson::Value;

cMetadataJsonPaData* cMetadataJsonPaData::mpJPaData = nullptr;
Logger* cMetadataJsonPaData::mpLogger = nullptr;
int cMetadataJsonPaData::mLogLevel = MSG_LEVEL_DEBUG;

namespace {

// Speaker types as the bed sources name them (a source's target code + 1),
// with the position the user interface places them at. Index 1 to 17 is also
// the order of a bed object's speaker-present flags. The rear, top-middle and
// wide speakers have no position of their own and sit at the centre.
constexpr int kSpeakerTypeCount = 18;
// clang-format off
constexpr const char* speaker_types_strings[kSpeakerTypeCount] = {
    "-", "L", "R", "C", "LFE", "Ls", "Rs", "Lrs", "Rrs",
    "Lfh", "Rfh", "Ltm", "Rtm", "Lrh", "Rrh", "Lw", "Rw", "LFE2"};
constexpr float speaker_types_cords[kSpeakerTypeCount][3] = {
    { 0,  0, 0},  // -
    {-1,  1, 0},  // L
    { 1,  1, 0},  // R
    { 0,  1, 0},  // C
    { 0,  1, 0},  // LFE
    {-1, -1, 0},  // Ls
    { 1, -1, 0},  // Rs
    { 0,  0, 0},  // Lrs
    { 0,  0, 0},  // Rrs
    {-1,  1, 1},  // Lfh
    { 1,  1, 1},  // Rfh
    { 0,  0, 0},  // Ltm
    { 0,  0, 0},  // Rtm
    {-1, -1, 1},  // Lrh
    { 1, -1, 1},  // Rrh
    { 0,  0, 0},  // Lw
    { 0,  0, 0},  // Rw
    { 0,  1, 0}};  // LFE2
// clang-format on
constexpr int kSpeakerTypeLfe = 4;
constexpr int kSpeakerTypeLfe2 = 17;
static_assert(kBedChannelCount + 1 == kSpeakerTypeCount);

// Content class of a dynamic object, codes 0 to 8; other codes are shown as
// numbers. Code 0 and 1 are the decoder's "not indicated" and dialogue; the
// others follow the usual programme content kinds.
constexpr int kObjectClassCount = 9;
constexpr const char* pa_object_class_strings[kObjectClassCount] = {
    "Not indicated", "Dialogue",          "Music",     "Effects",   "Music and effects",
    "Commentary",    "Audio description", "Emergency", "Voice over"};

// Offsets in the ED2 block of the per-object fields (j: bed or object record,
// s: the presentation's set index for it, k: bed source, f: speaker flag).
std::size_t BedSpeakerFlagOffset(unsigned j, unsigned f) { return 64 + 284 * j + f; }
std::size_t BedGainOffset(unsigned j, unsigned s) { return 84 + 284 * j + 4 * s; }
std::size_t BedSourceCountOffset(unsigned j) { return 276 + 284 * j; }
std::size_t BedSourceTargetOffset(unsigned j, unsigned k) { return 280 + 284 * j + 4 * k; }
std::size_t ObjectChannelIdOffset(unsigned j) { return 2618 + 776 * j; }
std::size_t ObjectClassOffset(unsigned j) { return 2620 + 776 * j; }
std::size_t ObjectGainOffset(unsigned j, unsigned s) { return 2624 + 776 * j + 4 * s; }
std::size_t ObjectPositionOffset(unsigned j, unsigned s) { return 2816 + 776 * j + 12 * s; }

unsigned ClampedCount(int count, int limit) {
  return count <= 0 ? 0u : static_cast<unsigned>(std::min(count, limit));
}

unsigned BedObjectCount(const dlb_padc_ui_md_ed2_s& ed2) {
  return ClampedCount(ed2.bedObjectCount, kEd2MaxBedObjects);
}

unsigned DynamicObjectCount(const dlb_padc_ui_md_ed2_s& ed2) {
  return ClampedCount(ed2.dynamicObjectCount, kEd2MaxDynamicObjects);
}

int BedSourceCount(const dlb_padc_ui_md_ed2_s& ed2, unsigned bed) {
  return ReadBlockAt<int32_t>(ed2, BedSourceCountOffset(bed));
}

std::string IntText(int value) { return std::to_string(value); }

// Names of the speakers a bed object has, each preceded by a blank.
std::string BedChannelList(const dlb_padc_ui_md_ed2_s& ed2, unsigned bed) {
  std::string list;
  for (unsigned f = 0; f < kBedChannelCount; ++f) {
    if (ReadBlockAt<uint8_t>(ed2, BedSpeakerFlagOffset(bed, f)) != 0) {
      list += ' ';
      list += speaker_types_strings[f + 1];
    }
  }
  return list;
}

// The bed's layout as "<full-range speakers>-<LFE speakers>", e.g. "5-1".
std::string BedLayoutLabel(const dlb_padc_ui_md_ed2_s& ed2, unsigned bed) {
  int fullRange = 0;
  int lfe = 0;
  for (unsigned f = 0; f < kBedChannelCount; ++f) {
    if (ReadBlockAt<uint8_t>(ed2, BedSpeakerFlagOffset(bed, f)) == 0) continue;
    const int type = static_cast<int>(f) + 1;
    if (type == kSpeakerTypeLfe || type == kSpeakerTypeLfe2) {
      ++lfe;
    } else {
      ++fullRange;
    }
  }
  char label[24];
  std::snprintf(label, sizeof label, "%d-%d", fullRange, lfe);
  return label;
}

// A dynamic object is a single full-range source without LFE.
constexpr const char* kDynamicObjectLayout = "1.0";

// The title goes through one string kept for the purpose (its capacity stays),
// so that an item allocates nothing outside the document's pool.
template <typename T>
void AddItem(cMetadataJson& json, Value& parent, const char* key, const char* title, T data,
             const std::string& desc) {
  thread_local std::string titleText;
  titleText.assign(title);
  json.AddUpdateObjectMemberToObject<T>(key, titleText, data, desc, parent);
}


}  // namespace

cMetadataJsonPaData* cMetadataJsonPaData::GetInstance() {
  mpLogger = Logger::GetInstance();
  auto make = [] { return new cMetadataJsonPaData(); };
  if (SingleInstance(mpJPaData, DeleteInstance, make, [] {}) != nullptr) return mpJPaData;
  LOG_AT(cMetadataJsonPaData, Critical, MSG_LEVEL_CRITICAL,
         "\"No memory for the presentation data renderer.\"");
  return nullptr;
}

void cMetadataJsonPaData::DeleteInstance() {
  delete mpJPaData;
  mpJPaData = nullptr;
}

int cMetadataJsonPaData::PreparePaMetadataJson(const kv_dolby_metadata_t& record,
                                               bool objectsEnabled, long timeStamp) {
  NewDocument();
  if (record.mdType == DLB_PADC_UI_MD_TYPE_ED2) {
    const dlb_padc_ui_md_ed2_s& ed2 = record.md.ed2;
    std::string activeName;
    AddUpdateIntegerMember("TS", static_cast<int>(timeStamp));
    AddUpdateIntegerMember("NoPresentations", 0);
    AddUpdateIntegerMember("ActivePANo", 0);
    AddUpdateStringMember("ActivePAName", activeName);

    const unsigned count = ed2.presentationCount;
    if (objectsEnabled && count >= 1 && count <= kEd2MaxPresentations) {
      AddUpdateIntegerMember("NoPresentations", static_cast<int>(count));
      AddUpdateIntegerMember("ActivePANo", static_cast<int>(record.activePaNo));
      // An active number outside the list shows the counts but no list.
      if (record.activePaNo < count) {
        activeName = BoundedText(ed2.presentations[record.activePaNo].name);
        if (!activeName.empty()) AddUpdateStringMember("ActivePAName", activeName);
        if (mDoc.IsObject()) AddPresentations(record);
      }
    }
  }
  Serialize();
  return 1;
}

void cMetadataJsonPaData::AddPresentations(const kv_dolby_metadata_t& record) {
  Value* presentations = FreshArrayMember("Presentations", mDoc);
  if (presentations == nullptr) return;
  const unsigned count = record.md.ed2.presentationCount;
  for (unsigned k = 0; k < count && k < static_cast<unsigned>(kEd2MaxPresentations); ++k) {
    AddPresentation(k, record, *presentations);
  }
}

void cMetadataJsonPaData::AddPresentation(unsigned int index, const kv_dolby_metadata_t& record,
                                          Value& presentations) {
  if (!presentations.IsArray() || index >= static_cast<unsigned>(kEd2MaxPresentations)) return;
  const dlb_padc_ui_md_ed2_s& ed2 = record.md.ed2;
  Value entry(rapidjson::kObjectType);
  AddPresentationName(BoundedText(ed2.presentations[index].name).c_str(), entry);
  AddPAObjectsArray(index, ed2, entry);
  AddBedObject(index, ed2, entry);
  presentations.PushBack(entry, Allocator());
}

void cMetadataJsonPaData::AddPresentationName(const char* name, Value& entry) {
  std::string title("Name");
  std::string desc(name != nullptr ? name : "");
  // The text pointer as data selects the builder's bool form, so "Data" is
  // true (a name is given) and the name itself is the "Desc".
  AddUpdateObjectMemberToObject<const char*>("Name", title, name, desc, entry);
}

void cMetadataJsonPaData::AddPAObjectsArray(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2,
                                            Value& entry) {
  if (!entry.IsObject() || index >= static_cast<unsigned>(kEd2MaxPresentations)) return;
  Value* objects = FreshArrayMember("PaObjects", entry);
  if (objects == nullptr) return;
  const dlb_padc_ed2_presentation_s& presentation = ed2.presentations[index];
  // Beds first, then dynamic objects, each in record order.
  const unsigned beds = BedObjectCount(ed2);
  for (unsigned j = 0; j < beds; ++j) {
    if (presentation.bedIncluded[j] != 0) AddBedEntry(ed2, j, *objects);
  }
  const unsigned dynamicObjects = DynamicObjectCount(ed2);
  for (unsigned j = 0; j < dynamicObjects; ++j) {
    if (presentation.objectIncluded[j] != 0) {
      AddDynamicObjectEntry(ed2, j, presentation.objectSetIndex[j], *objects);
    }
  }
}

void cMetadataJsonPaData::AddBedObject(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2,
                                       Value& entry) {
  if (!entry.IsObject() || index >= static_cast<unsigned>(kEd2MaxPresentations)) return;
  Value::MemberIterator it = entry.FindMember("PaBed");
  if (it == entry.MemberEnd()) {
    entry.AddMember("PaBed", Value(rapidjson::kObjectType), Allocator());
    it = entry.MemberEnd() - 1;
  } else if (it->value.IsObject()) {
    it->value.RemoveAllMembers();
  } else {
    return;
  }
  Value& bed = it->value;

  // The first bed object that the presentation includes; none: "PaBed" stays empty.
  const dlb_padc_ed2_presentation_s& presentation = ed2.presentations[index];
  const unsigned beds = BedObjectCount(ed2);
  unsigned j = 0;
  while (j < beds && presentation.bedIncluded[j] == 0) ++j;
  if (j == beds) return;

  AddSpeakerConfigItem(BedLayoutLabel(ed2, j), BedChannelList(ed2, j), bed);
  const int sourceCount = BedSourceCount(ed2, j);
  AddItem<int>(*this, bed, "NoSources", "No. of Sources", sourceCount, IntText(sourceCount));
  Value* sources = FreshArrayMember("Sources", bed);
  if (sources == nullptr) return;
  const unsigned walked = ClampedCount(sourceCount, kEd2MaxBedSources);
  for (unsigned k = 0; k < walked; ++k) {
    AddBedSource(ed2, j, k, presentation.bedSetIndex[j], *sources);
  }
}

// "SpeakerConfig": "Data" is the layout label ("1.0" for a dynamic object,
// "<full-range>-<LFE>" for a bed), "Desc" the speaker list ("-" when empty).
void cMetadataJsonPaData::AddSpeakerConfigItem(const std::string& label,
                                               const std::string& channels, Value& obj) {
  AddItem<std::string>(*this, obj, "SpeakerConfig", "Speaker Config", label,
                       channels.empty() ? "-" : channels);
}

void cMetadataJsonPaData::AddBedEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed,
                                      Value& objects) {
  const std::string channels = BedChannelList(ed2, bed);
  // A bed has no position or gain of its own: its "Data" are those of a
  // zero position and gain after the object transform, every "Desc" is "-".
  constexpr float x = 0.0f, y = 0.0f, z = 0.0f, gain = 0.0f;
  Value entry(rapidjson::kObjectType);
  AddItem<bool>(*this, entry, "Type", "Object Type", true, "Bed");
  AddItem<int>(*this, entry, "Class", "Object Class", 0, "-");
  AddSpeakerConfigItem(BedLayoutLabel(ed2, bed), channels, entry);
  AddItem<float>(*this, entry, "x", "Object Position x", 2 * x - 1, "-");
  AddItem<float>(*this, entry, "y", "Object Position y", 1 - 2 * y, "-");
  AddItem<float>(*this, entry, "z", "Object Position z", z, "-");
  AddItem<unsigned int>(*this, entry, "ChID", "Object ID", 0u, "-");
  AddItem<unsigned int>(*this, entry, "Source", "Channel ID", 0u, channels);
  AddItem<float>(*this, entry, "Gain", "Object Gain", gain, "-");
  objects.PushBack(entry, Allocator());
}

void cMetadataJsonPaData::AddDynamicObjectEntry(const dlb_padc_ui_md_ed2_s& ed2,
                                                unsigned int object, unsigned int set,
                                                Value& objects) {
  const uint32_t objectClass = ReadBlockAt<uint32_t>(ed2, ObjectClassOffset(object));
  const int16_t channelId = ReadBlockAt<int16_t>(ed2, ObjectChannelIdOffset(object));
  const float gain = ReadBlockAt<float>(ed2, ObjectGainOffset(object, set));
  const std::size_t position = ObjectPositionOffset(object, set);
  const float x = ReadBlockAt<float>(ed2, position);
  const float y = ReadBlockAt<float>(ed2, position + 4);
  const float z = ReadBlockAt<float>(ed2, position + 8);
  const uint8_t objectId = static_cast<uint8_t>(object);
  const uint8_t channel = static_cast<uint8_t>(channelId + 1);

  Value entry(rapidjson::kObjectType);
  AddItem<bool>(*this, entry, "Type", "Object Type", false, "Dynamic");
  AddItem<int>(*this, entry, "Class", "Object Class", objectClass != 0 ? 1 : 0,
               objectClass < static_cast<uint32_t>(kObjectClassCount)
                   ? pa_object_class_strings[objectClass]
                   : IntText(static_cast<int>(objectClass)));
  AddSpeakerConfigItem(kDynamicObjectLayout, "-", entry);
  // Positions are stored from 0 to 1; "Data" maps x and y to -1..1 (y
  // inverted) for the display, "Desc" shows the stored values.
  AddItem<float>(*this, entry, "x", "Object Position x", 2 * x - 1, Ac4PadUi::TwoDecimals(x));
  AddItem<float>(*this, entry, "y", "Object Position y", 1 - 2 * y, Ac4PadUi::TwoDecimals(y));
  AddItem<float>(*this, entry, "z", "Object Position z", z, Ac4PadUi::TwoDecimals(z));
  AddItem<unsigned int>(*this, entry, "ChID", "Object ID", objectId, IntText(objectId));
  AddItem<unsigned int>(*this, entry, "Source", "Channel ID", channel, IntText(channel));
  AddItem<float>(*this, entry, "Gain", "Object Gain", gain, Ac4PadUi::TwoDecimals(gain));
  objects.PushBack(entry, Allocator());
}

void cMetadataJsonPaData::AddBedSource(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed,
                                       unsigned int source, unsigned int set, Value& sources) {
  // The record gives the target as speaker type - 1; unsigned arithmetic so
  // that no stored value overflows.
  const uint32_t stored = ReadBlockAt<uint32_t>(ed2, BedSourceTargetOffset(bed, source));
  const int target = static_cast<int>(stored + 1u);
  const bool known = target >= 0 && target < kSpeakerTypeCount;
  const float* position = speaker_types_cords[known ? target : 0];
  const float x = known ? position[0] : 0.0f;
  const float y = known ? position[1] : 0.0f;
  const float z = known ? position[2] : 0.0f;
  const float gain = ReadBlockAt<float>(ed2, BedGainOffset(bed, set));
  const uint8_t number = static_cast<uint8_t>(source + 1);

  Value item(rapidjson::kObjectType);
  AddItem<int>(*this, item, "Target", "Target", target,
               known ? speaker_types_strings[target] : IntText(target));
  AddItem<unsigned int>(*this, item, "Source", "Source", number, IntText(number));
  AddItem<float>(*this, item, "Gain", "Object Gain", gain, Ac4PadUi::TwoDecimals(gain));
  AddItem<float>(*this, item, "x", "Object Position x", x, Ac4PadUi::TwoDecimals(x));
  AddItem<float>(*this, item, "y", "Object Position y", y, Ac4PadUi::TwoDecimals(y));
  AddItem<float>(*this, item, "z", "Object Position z", z, Ac4PadUi::TwoDecimals(z));
  sources.PushBack(item, Allocator());
}

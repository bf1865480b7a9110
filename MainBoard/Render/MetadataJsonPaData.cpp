#include "MetadataJsonPaData.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "Catalogue.h"
#include "ItemText.h"
#include "LargestRecords.h"
#include "Logger.h"
#include "Singleton.h"

using rapidjson::Value;

cMetadataJsonPaData* cMetadataJsonPaData::mpJPaData = nullptr;
Logger* cMetadataJsonPaData::mpLogger = nullptr;
int cMetadataJsonPaData::mLogLevel = MSG_LEVEL_DEBUG;

namespace {

namespace item = catalogue::item;
namespace member = catalogue::member;
using catalogue::table::SpeakerTypes;
using item_text::Text;

unsigned ClampedCount(int count, int limit) {
  return count <= 0 ? 0u : static_cast<unsigned>(std::min(count, limit));
}

unsigned BedObjectCount(const dlb_padc_ui_md_ed2_s& ed2) {
  return ClampedCount(ed2.bedObjectCount, kEd2MaxBedObjects);
}

unsigned DynamicObjectCount(const dlb_padc_ui_md_ed2_s& ed2) {
  return ClampedCount(ed2.dynamicObjectCount, kEd2MaxDynamicObjects);
}

// Names of the speakers a bed object has, each preceded by a blank.
Text BedChannelList(const dlb_padc_ed2_bed_object_s& bed) {
  Text list;
  for (unsigned f = 0; f < kBedChannelCount; ++f) {
    if (bed.speakerPresent[f] != 0) list.Append(" ").Append(SpeakerTypes.Find(f + 1));
  }
  return list;
}

// The bed's layout as "<full-range speakers>-<LFE speakers>", e.g. "5-1".
Text BedLayoutLabel(const dlb_padc_ed2_bed_object_s& bed) {
  int fullRange = 0;
  int lfe = 0;
  for (unsigned f = 0; f < kBedChannelCount; ++f) {
    if (bed.speakerPresent[f] == 0) continue;
    const unsigned type = f + 1;
    if (type == catalogue::kSpeakerTypeLfe || type == catalogue::kSpeakerTypeLfe2) {
      ++lfe;
    } else {
      ++fullRange;
    }
  }
  return item_text::Decimal(fullRange).Append("-").AppendDecimal(lfe);
}

}  // namespace

// The largest presentation document (16 presentations, every bed and object,
// names at full width) uses about 1 MiB of pool and 330 KiB of text.
cMetadataJsonPaData::cMetadataJsonPaData() : cMetadataJson(1536 * 1024, 448 * 1024) {
  // The largest ED2 record, then the smallest, rendered once (see LargestRecords.h).
  auto rec = std::make_unique<kv_dolby_metadata_t>();
  for (auto fill : {largest_records::Fill, largest_records::FillSmallest}) {
    fill(stream_type::kEd2, *rec);
    PreparePaMetadataJson(*rec, true, 0);
  }
  NewDocument();
}

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
                                               bool objectsEnabled, std::int64_t timeStamp) {
  NewDocument();
  if (record.mdType == DLB_PADC_UI_MD_TYPE_ED2) {
    const dlb_padc_ui_md_ed2_s& ed2 = record.md.ed2;
    AddUpdateTimeStampMember(member::TS.key, timeStamp);
    AddUpdateIntegerMember(member::NoPresentations.key, 0);
    AddUpdateIntegerMember(member::ActivePANo.key, 0);
    AddUpdateStringMember(member::ActivePAName.key, "");

    const unsigned count = ed2.presentationCount;
    if (objectsEnabled && count >= 1 && count <= kEd2MaxPresentations) {
      AddUpdateIntegerMember(member::NoPresentations.key, static_cast<int>(count));
      AddUpdateIntegerMember(member::ActivePANo.key, static_cast<int>(record.activePaNo));
      // An active number outside the list shows the counts but no list.
      if (record.activePaNo < count) {
        const std::string_view activeName = BoundedView(ed2.presentations[record.activePaNo].name);
        if (!activeName.empty()) AddUpdateStringMember(member::ActivePAName.key, activeName);
        if (mDoc.IsObject()) AddPresentations(record);
      }
    }
  }
  Serialize();
  return 1;
}

void cMetadataJsonPaData::AddPresentations(const kv_dolby_metadata_t& record) {
  Value* presentations = FreshArrayMember(member::Presentations.key, mDoc);
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
  AddPresentationName(BoundedView(ed2.presentations[index].name), entry);
  AddPAObjectsArray(index, ed2, entry);
  AddBedObject(index, ed2, entry);
  presentations.PushBack(entry, Allocator());
}

void cMetadataJsonPaData::AddPresentationName(std::string_view name, Value& entry) {
  // "Data" is true (a name is given, even an empty one), the name is "Desc".
  AddItem(item::PresentationName, true, name, entry);
}

void cMetadataJsonPaData::AddPAObjectsArray(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2,
                                            Value& entry) {
  if (!entry.IsObject() || index >= static_cast<unsigned>(kEd2MaxPresentations)) return;
  Value* objects = FreshArrayMember(member::PaObjects.key, entry);
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
  Value* bed = FreshObjectMember(member::PaBed.key, entry);
  if (bed == nullptr) return;

  // The first bed object that the presentation includes; none: "PaBed" stays empty.
  const dlb_padc_ed2_presentation_s& presentation = ed2.presentations[index];
  const unsigned beds = BedObjectCount(ed2);
  unsigned j = 0;
  while (j < beds && presentation.bedIncluded[j] == 0) ++j;
  if (j == beds) return;

  const dlb_padc_ed2_bed_object_s& first = ed2.bedObjects[j];
  AddSpeakerConfigItem(BedLayoutLabel(first), BedChannelList(first), *bed);
  const int sourceCount = first.numSources;
  AddItem(item::NoSources, sourceCount, item_text::Decimal(sourceCount), *bed);
  Value* sources = FreshArrayMember(member::Sources.key, *bed);
  if (sources == nullptr) return;
  const unsigned walked = ClampedCount(sourceCount, kEd2MaxBedSources);
  for (unsigned k = 0; k < walked; ++k) {
    AddBedSource(ed2, j, k, presentation.bedSetIndex[j], *sources);
  }
}

// "SpeakerConfig": "Data" is the layout label ("1.0" for a dynamic object,
// "<full-range>-<LFE>" for a bed), "Desc" the speaker list ("-" when empty).
void cMetadataJsonPaData::AddSpeakerConfigItem(std::string_view label, std::string_view channels,
                                               Value& obj) {
  AddItem(item::SpeakerConfig, label, channels.empty() ? std::string_view(item::SpeakerConfig.absent) : channels,
          obj);
}

void cMetadataJsonPaData::AddBedEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed,
                                      Value& objects) {
  const Text channels = BedChannelList(ed2.bedObjects[bed]);
  // A bed has no position or gain of its own: its "Data" are those of a
  // zero position and gain after the object transform, every "Desc" is "-".
  const item_text::DisplayPosition shown = item_text::ToDisplay(0.0f, 0.0f, 0.0f);
  AppendEntry(objects, [&](Value& entry) {
    AddItem(item::ObjectType, true, item::ObjectType.table.texts[1], entry);
    AddItem(item::ContentClass, 0, item::ContentClass.absent, entry);
    AddSpeakerConfigItem(BedLayoutLabel(ed2.bedObjects[bed]), channels, entry);
    AddItem(item::PositionX, shown.x, item::PositionX.absent, entry);
    AddItem(item::PositionY, shown.y, item::PositionY.absent, entry);
    AddItem(item::PositionZ, shown.z, item::PositionZ.absent, entry);
    AddItem(item::ObjectId, 0u, item::ObjectId.absent, entry);
    AddItem(item::ChannelId, 0u, channels, entry);
    AddItem(item::ObjectGain, 0.0f, item::ObjectGain.absent, entry);
  });
}

void cMetadataJsonPaData::AddDynamicObjectEntry(const dlb_padc_ui_md_ed2_s& ed2,
                                                unsigned int object, unsigned int set,
                                                Value& objects) {
  const dlb_padc_ed2_dynamic_object_s& record = ed2.dynamicObjects[object];
  const float gain = ReadBlockAt<float>(ed2, Ed2ObjectGainOffset(object, set));
  const std::size_t position = Ed2ObjectPositionOffset(object, set);
  const float x = ReadBlockAt<float>(ed2, position);
  const float y = ReadBlockAt<float>(ed2, position + sizeof(float));
  const float z = ReadBlockAt<float>(ed2, position + 2 * sizeof(float));
  const uint8_t objectId = static_cast<uint8_t>(object);
  const uint8_t channel = static_cast<uint8_t>(record.channelId + catalogue::numbering::Ed2ObjectChannel.base);
  const char* classText = item::ContentClass.table.Find(record.objectClass);

  AppendEntry(objects, [&](Value& entry) {
    AddItem(item::ObjectType, false, item::ObjectType.table.texts[0], entry);
    AddItem(item::ContentClass, record.objectClass != 0 ? 1 : 0,
            classText ? Text(classText) : item_text::Decimal(static_cast<int>(record.objectClass)), entry);
    // A dynamic object is a single full-range source without LFE.
    AddSpeakerConfigItem(catalogue::text::DynamicObjectLayout, "", entry);
    AddObjectPositionItems(x, y, z, entry);
    AddItem(item::ObjectId, unsigned{objectId}, item_text::Decimal(objectId), entry);
    AddItem(item::ChannelId, unsigned{channel}, item_text::Decimal(channel), entry);
    AddItem(item::ObjectGain, gain, item_text::TwoDecimals(gain), entry);
  });
}

void cMetadataJsonPaData::AddBedSource(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed,
                                       unsigned int source, unsigned int set, Value& sources) {
  // The record gives the target as speaker type - 1; unsigned arithmetic so
  // that no stored value overflows.
  const uint32_t stored = static_cast<uint32_t>(ed2.bedObjects[bed].sourceTarget[source]);
  const int target = static_cast<int>(stored + 1u);
  const char* name = SpeakerTypes.Find(static_cast<unsigned>(target));
  // Taken from the table as they are, without the object transform.
  const float* position = catalogue::SpeakerPosition(static_cast<unsigned>(target));
  const float gain = ReadBlockAt<float>(ed2, Ed2BedGainOffset(bed, set));
  const uint8_t number = static_cast<uint8_t>(source + catalogue::numbering::Ed2BedSourceNumber.base);

  AppendEntry(sources, [&](Value& entry) {
    AddItem(item::SourceTarget, target, name ? Text(name) : item_text::Decimal(target), entry);
    AddItem(item::SourceNumber, unsigned{number}, item_text::Decimal(number), entry);
    AddItem(item::ObjectGain, gain, item_text::TwoDecimals(gain), entry);
    AddItem(item::PositionX, position[0], item_text::TwoDecimals(position[0]), entry);
    AddItem(item::PositionY, position[1], item_text::TwoDecimals(position[1]), entry);
    AddItem(item::PositionZ, position[2], item_text::TwoDecimals(position[2]), entry);
  });
}

// Dolby Digital (Plus): "StatusInfo", "AtmosInfo" (object audio) and the main
// substream in "Streams".

#include <algorithm>

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace item = catalogue::item;
namespace member = catalogue::member;
namespace table = catalogue::table;

namespace {
// Dolby Surround only means something for a two-channel (2/0) stream.
constexpr int kAcmodTwoChannel = 2;
}  // namespace

// ---- "StatusInfo"

void cPADMetadataJsonDecStatus::AddDDPStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddDDPStatusInfo);
}

void cPADMetadataJsonDecStatus::AddDDPStatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  FillStatusInfo(statusInfo, item::StatusInfoBlock.title, [&](Value& entry) {
    AddUpdateStreamType(rec.mdType, rec.typeId, entry);
    AddPrgAtmosPresent(rec.atmosDecode != 0 && rec.md.ddp.atmosPresent != 0, entry);
    AddUpdateInputSignalType(rec.inputType, entry);
    AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, entry);
    AddUpdateOutputSpeakerConfig(rec.speakerConfig, entry);
  });
}

// ---- "AtmosInfo"

void cPADMetadataJsonDecStatus::AddDDPAtmosInfoObject(const dlb_padc_ui_md_ddp_s& ddp) {
  if (Value* atmosInfo = RootObjectMember(member::AtmosInfo.key)) AddDDPAtmosInfo(ddp, *atmosInfo);
}

void cPADMetadataJsonDecStatus::AddDDPAtmosInfo(const dlb_padc_ui_md_ddp_s& ddp,
                                                Value& atmosInfo) {
  Value* exData = ResetItemBlock(atmosInfo, item::AtmosInfoBlock.title);
  if (exData == nullptr) return;
  AppendEntry(*exData, [&](Value& entry) {
    AddDDPObjectsArray(ddp, entry);

    int bedCount = 0;
    item_text::Text bedNames;
    for (unsigned i = 0; i < kBedChannelCount; ++i) {
      if (ddp.bedChannels[i] == 0) continue;
      ++bedCount;
      bedNames.Append(" ").Append(item::BedObjectConf.table.Find(i + 1));
    }
    AddItem(item::BedObjectConf, bedCount, bedNames, entry);

    AddCodedItem(item::ComplexityIndex, ddp.complexityIndex, entry);
    AddItem(item::NumDynObjects, ddp.numDynObjects, item_text::Decimal(ddp.numDynObjects), entry);
    AddCodedItem(item::SurroundTrim, static_cast<int>(ddp.surroundTrim), entry);
    AddCodedItem(item::HeightTrim, static_cast<int>(ddp.heightTrim), entry);
  });
}

void cPADMetadataJsonDecStatus::AddDDPObjectsArray(const dlb_padc_ui_md_ddp_s& ddp,
                                                   Value& exData) {
  Value* objects = FreshArrayMember(member::PaObjects.key, exData);
  if (objects == nullptr) return;
  // The count is shown as received but never walks past the object slots.
  const unsigned count = std::min<unsigned>(ddp.numDynObjects, kDdpMaxObjects);
  for (unsigned i = 0; i < count; ++i) AddDDPObject(ddp.objects[i], *objects);
}

void cPADMetadataJsonDecStatus::AddDDPObject(const dlb_padc_object_info_ddp_s& object,
                                             Value& objects) {
  AppendEntry(objects, [&](Value& entry) {
    AddItem(item::ObjectType, false, item::ObjectType.table.texts[0], entry);
    const int dialogue = object.dialogueClass == DLB_PADC_OBJECT_DIALOGUE ? 1 : 0;
    AddItem(item::DialogueClass, dialogue,
            item::DialogueClass.table.Text(static_cast<unsigned>(object.dialogueClass)), entry);
    AddObjectPositionItems(object.x, object.y, object.z, entry);
  });
}

// ---- "Streams"

void cPADMetadataJsonDecStatus::AddSubstreams(unsigned int count, const dlb_padc_ui_md_ddp_s& ddp) {
  Value* streams = FreshArrayMember(member::Streams.key, mDoc);
  if (streams == nullptr) return;
  for (unsigned i = 0; i < count && i < kMaxSubstreams; ++i) AddSubstream(i, ddp, *streams);
}

void cPADMetadataJsonDecStatus::AddSubstream(unsigned int i, const dlb_padc_ui_md_ddp_s& ddp,
                                             Value& streams) {
  if (!streams.IsArray()) return;
  const std::string_view desc = i == 0 ? catalogue::text::MainSubstream : "";
  Value sections(rapidjson::kArrayType);

  AppendSection(sections, item::BitstreamInfo, i, desc, [&](Value& entry) {
    AddCodedItem(item::Bsid, ddp.bsid, entry);
    AddSubstreamDatarate(ddp.datarate, entry);
    AddCodedItem(item::Acmod, ddp.acmod, entry);
    AddFlagItem(item::Lfeon, ddp.lfeon, entry);
    AddCodedItem(item::Dialnorm, ddp.dialnorm, entry);
  });

  AppendSection(sections, item::Informational, i, desc, [&](Value& entry) {
    AddCodedItem(item::Bsmod, ddp.bsmod, entry);
    AddSubstreamDsurmod(ddp.dsurmod, ddp.acmod, entry);
    AddPrgMixingLevel(1, ddp.mixlevel, entry);
    AddCodedItem(item::Roomtyp, ddp.roomtyp, entry);
    AddFlagItem(item::Copyrightb, ddp.copyrightb, entry);
    AddFlagItem(item::Origbs, ddp.origbs, entry);
    AddCodedItem(item::Dsurexmod, ddp.dsurexmod, entry);
    AddFlagItem(item::Adconvtyp, ddp.adconvtyp, entry);
  });

  AppendSection(sections, item::Downmixing, i, desc,
                [&](Value& entry) { AddDownmixingItems(ddp, entry); });

  streams.PushBack(sections, Allocator());
}

void cPADMetadataJsonDecStatus::AddSubstreamDatarate(int datarate, Value& obj) {
  AddItem(item::Datarate, datarate,
          datarate < 1 ? item_text::Text(item::Datarate.absent) : item_text::Decimal(datarate), obj);
}

void cPADMetadataJsonDecStatus::AddSubstreamDsurmod(int dsurmod, int acmod, Value& obj) {
  if (acmod == kAcmodTwoChannel) {
    AddCodedItem(item::SubstreamDsurmod, dsurmod, obj);
  } else {
    AddItem(item::SubstreamDsurmod, dsurmod, item::SubstreamDsurmod.absent, obj);
  }
}

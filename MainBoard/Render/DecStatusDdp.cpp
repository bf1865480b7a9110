// Dolby Digital (Plus): "StatusInfo", "AtmosInfo" (object audio) and the main
// substream in "Streams".

#include <algorithm>

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace ct = code_tables;

// ---- "StatusInfo"

void cPADMetadataJsonDecStatus::AddDDPStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddDDPStatusInfo);
}

void cPADMetadataJsonDecStatus::AddDDPStatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  FillStatusInfo(statusInfo, ct::kStatusInfoTitle, [&](Value& entry) {
    AddUpdateStreamType(rec.mdType, rec.typeId, entry);
    AddPrgAtmosPresent(rec.atmosDecode != 0 && rec.md.ddp.atmosPresent != 0, entry);
    AddUpdateInputSignalType(rec.inputType, entry);
    AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, entry);
    AddUpdateOutputSpeakerConfig(rec.speakerConfig, entry);
  });
}

// ---- "AtmosInfo"

void cPADMetadataJsonDecStatus::AddDDPAtmosInfoObject(const dlb_padc_ui_md_ddp_s& ddp) {
  if (Value* atmosInfo = RootObjectMember("AtmosInfo")) AddDDPAtmosInfo(ddp, *atmosInfo);
}

void cPADMetadataJsonDecStatus::AddDDPAtmosInfo(const dlb_padc_ui_md_ddp_s& ddp,
                                                Value& atmosInfo) {
  Value* exData = ResetItemBlock(atmosInfo, ct::kAtmosInfoTitle);
  if (exData == nullptr) return;
  AppendEntry(*exData, [&](Value& entry) {
    AddDDPObjectsArray(ddp, entry);

    int bedCount = 0;
    item_text::Text bedNames;
    for (unsigned i = 0; i < kBedChannelCount; ++i) {
      if (ddp.bedChannels[i] == 0) continue;
      ++bedCount;
      bedNames.Append(" ").Append(ct::kSpeakerNames.Find(i + 1));
    }
    AddUpdateObjectMemberToObject("BedObjectConf", "Bed-object configuration", bedCount, bedNames, entry);

    AddCodedItem(ct::kComplexityIndex, ddp.complexityIndex, entry);
    AddUpdateObjectMemberToObject("NumDynObjects", "Dynamic objects", ddp.numDynObjects,
                                  item_text::Decimal(ddp.numDynObjects), entry);
    AddCodedItem(ct::kSurroundTrim, static_cast<int>(ddp.surroundTrim), entry);
    AddCodedItem(ct::kHeightTrim, static_cast<int>(ddp.heightTrim), entry);
  });
}

void cPADMetadataJsonDecStatus::AddDDPObjectsArray(const dlb_padc_ui_md_ddp_s& ddp,
                                                   Value& exData) {
  Value* objects = FreshArrayMember("PaObjects", exData);
  if (objects == nullptr) return;
  // The count is shown as received but never walks past the object slots.
  const unsigned count = std::min<unsigned>(ddp.numDynObjects, kDdpMaxObjects);
  for (unsigned i = 0; i < count; ++i) AddDDPObject(ddp.objects[i], *objects);
}

void cPADMetadataJsonDecStatus::AddDDPObject(const dlb_padc_object_info_ddp_s& object,
                                             Value& objects) {
  AppendEntry(objects, [&](Value& entry) {
    AddUpdateObjectMemberToObject("Type", "Object Type", false, "Dynamic", entry);
    const int dialogue = object.dialogueClass == DLB_PADC_OBJECT_DIALOGUE ? 1 : 0;
    const char* classText = ct::kObjectClass.table.Find(static_cast<unsigned>(object.dialogueClass));
    AddUpdateObjectMemberToObject(ct::kObjectClass.key, ct::kObjectClass.title, dialogue,
            classText ? classText : ct::kObjectClass.otherText, entry);
    AddObjectPositionItems(object.x, object.y, object.z, entry);
  });
}

// ---- "Streams"

void cPADMetadataJsonDecStatus::AddSubstreams(unsigned int count, const dlb_padc_ui_md_ddp_s& ddp) {
  Value* streams = FreshArrayMember("Streams", mDoc);
  if (streams == nullptr) return;
  for (unsigned i = 0; i < count && i < 16; ++i) AddSubstream(i, ddp, *streams);
}

void cPADMetadataJsonDecStatus::AddSubstream(unsigned int i, const dlb_padc_ui_md_ddp_s& ddp,
                                             Value& streams) {
  if (!streams.IsArray()) return;
  const std::string_view desc = i == 0 ? "Main" : "";
  Value sections(rapidjson::kArrayType);

  AppendSection(sections, ct::kBitstreamInfo, i, desc, [&](Value& entry) {
    AddCodedItem(ct::kBsid, ddp.bsid, entry);
    AddSubstreamDatarate(ddp.datarate, entry);
    AddCodedItem(ct::kAcmod, ddp.acmod, entry);
    AddFlagItem(ct::kLfeon, ddp.lfeon, entry);
    AddCodedItem(ct::kDialnorm, ddp.dialnorm, entry);
  });

  AppendSection(sections, ct::kInformational, i, desc, [&](Value& entry) {
    AddCodedItem(ct::kBsmod, ddp.bsmod, entry);
    AddSubstreamDsurmod(ddp.dsurmod, ddp.acmod, entry);
    AddPrgMixingLevel(1, ddp.mixlevel, entry);
    AddCodedItem(ct::kRoomtyp, ddp.roomtyp, entry);
    AddFlagItem(ct::kCopyrightb, ddp.copyrightb, entry);
    AddFlagItem(ct::kOrigbs, ddp.origbs, entry);
    AddCodedItem(ct::kDsurexmod, ddp.dsurexmod, entry);
    AddFlagItem(ct::kAdconvtyp, ddp.adconvtyp, entry);
  });

  AppendSection(sections, ct::kDownmixing, i, desc,
                [&](Value& entry) { AddDownmixingItems(ddp, entry); });

  streams.PushBack(sections, Allocator());
}

void cPADMetadataJsonDecStatus::AddSubstreamDatarate(int datarate, Value& obj) {
  AddUpdateObjectMemberToObject("Datarate", ct::kDatarateTitle, datarate,
                                datarate < 1 ? item_text::Text(ct::kNotApplicableText)
                                             : item_text::Decimal(datarate),
                                obj);
}

void cPADMetadataJsonDecStatus::AddSubstreamDsurmod(int dsurmod, int acmod, Value& obj) {
  // Dolby Surround only means something for a two-channel (2/0) stream.
  if (acmod == ct::kAcmodTwoChannel) {
    AddCodedItem(ct::kSubstreamDsurmod, dsurmod, obj);
  } else {
    AddUpdateObjectMemberToObject(ct::kSubstreamDsurmod.key, ct::kSubstreamDsurmod.title, dsurmod,
            ct::kNotApplicableText, obj);
  }
}

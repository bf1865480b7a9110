// ED2 "StatusInfo": one stream entry for the programme pair and, when object
// audio is decoded from the neighbouring pair, a second entry for that pair.

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;

bool cPADMetadataJsonDecStatus::Ed2HasObjectPair(const kv_dolby_metadata_t& rec) {
  return rec.atmosDecode != 0 && rec.md.ed2.atmosPresent != 0;
}

void cPADMetadataJsonDecStatus::AddED2StatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddED2StatusInfo);
}

void cPADMetadataJsonDecStatus::AddED2StatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  Value* exData = ResetItemBlock(statusInfo, catalogue::item::StatusInfoBlock.title);
  if (exData == nullptr) return;

  const dlb_padc_ui_md_ed2_s& ed2 = rec.md.ed2;
  const bool objectPair = Ed2HasObjectPair(rec);
  const std::string_view programConfig = BoundedView(ed2.programConfig);
  // The two entries differ only in the pair they describe.
  auto addStream = [&](unsigned int pair) {
    AppendEntry(*exData, [&](Value& entry) {
      AddUpdateStreamType(rec.mdType, rec.typeId, entry);
      AddFrameRate(ed2.frameRate, entry);
      AddMetadataID(ed2.metadataId, entry);
      AddPrgCfg(programConfig, entry);
      AddUpdateAtmosStatus(objectPair, entry);
      AddUpdateInputSignalType(rec.inputType, entry);
      AddUpdateDZPair(rec.inputType != 0 ? pair : 0u, entry);
      AddUpdateOutputSpeakerConfig(rec.speakerConfig, entry);
    });
  };
  addStream(rec.dzPair);
  // The object audio travels in the pair after the programme's.
  if (objectPair) addStream(rec.dzPair + 1u);
}

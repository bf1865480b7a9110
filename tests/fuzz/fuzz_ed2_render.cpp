// ED2 records through both renderers (first byte: bit 0 objects on, bit 1 keep the record's own
// typeId/mdType): both texts obey the rendering rule and their schemas, lists fit the record.

#include "FuzzSupport.h"
#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  static kv_dolby_metadata_t rec;
  fuzz::ToRecord(data + 1, size - 1, rec);
  if ((data[0] & 2) == 0) {
    rec.typeId = stream_type::kEd2;
    rec.mdType = DLB_PADC_UI_MD_TYPE_ED2;
  }
  cPADMetadataJsonDecStatus* status = cPADMetadataJsonDecStatus::GetInstance();
  cMetadataJsonPaData* pa = cMetadataJsonPaData::GetInstance();
  fuzz::Require(status != nullptr && pa != nullptr, "renderers exist");
  rapidjson::Document parsed;
  status->PrepareMetadataJson(rec, 1700000000);
  fuzz::CheckRendered(*status, parsed, "status");
  const rapidjson::Value& info = fuzz::At(parsed, "StatusInfo");
  if (rec.typeId == stream_type::kEd2 && info.IsObject()) {
    fuzz::Require(fuzz::SizeOf(fuzz::At(info, "ExData")) ==
                      (cPADMetadataJsonDecStatus::Ed2HasObjectPair(rec) ? 2u : 1u),
                  "a second ED2 status entry exactly for an object pair");
  }

  fuzz::Require(pa->PreparePaMetadataJson(rec, (data[0] & 1) != 0, 1700000000) == 1, "PA renders");
  fuzz::CheckRendered(*pa, parsed, "presentation");
  if (rec.mdType != DLB_PADC_UI_MD_TYPE_ED2) {
    fuzz::Require(std::string(pa->GetString()) == "{}", "no PA document for other records");
    return 0;
  }
  const rapidjson::Value& presentations = fuzz::At(parsed, "Presentations");
  fuzz::Require(fuzz::SizeOf(presentations) <= kEd2MaxPresentations, "at most the record's presentations");
  for (unsigned k = 0; k < fuzz::SizeOf(presentations); ++k) {
    fuzz::Require(fuzz::SizeOf(fuzz::At(presentations[k], "PaObjects")) <= kEd2MaxBedObjects + kEd2MaxDynamicObjects,
                  "at most the record's beds and objects");
    fuzz::Require(fuzz::SizeOf(fuzz::At(fuzz::At(presentations[k], "PaBed"), "Sources")) <= kEd2MaxBedSources,
                  "at most the record's bed sources");
  }
  return 0;
}

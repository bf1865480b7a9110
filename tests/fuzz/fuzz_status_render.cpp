// Any bytes as a (zero-padded) decoder record through the status renderer: the text obeys
// the rendering rule and its schema, nothing is read outside the record, AC-4 lists as counted.

#include <algorithm>

#include "FuzzSupport.h"
#include "PADMetadataJsonDecStatus.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static kv_dolby_metadata_t rec;
  fuzz::ToRecord(data, size, rec);
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  fuzz::Require(renderer != nullptr && renderer->PrepareMetadataJson(rec, 1700000000),
                "the record renders");
  rapidjson::Document parsed;
  fuzz::CheckRendered(*renderer, parsed, "status");
  // Up to the record's presentation and substream slots.
  const rapidjson::Value& info = fuzz::At(parsed, "StatusInfo");
  if (rec.typeId == stream_type::kAc4 && info.IsObject()) {
    const unsigned presentations = std::min<unsigned>(rec.md.ac4.presentationCount, kAc4MaxPresentations);
    const unsigned substreams = std::min<unsigned>(rec.md.ac4.substreamCount, kAc4MaxSubstreams);
    fuzz::Require(fuzz::SizeOf(fuzz::At(info, "Presentations")) == presentations &&
                      fuzz::SizeOf(fuzz::At(info, "Substreams")) == substreams,
                  "AC-4 lists as counted");
    const rapidjson::Value& exData = fuzz::At(info, "ExData");
    fuzz::Require(fuzz::SizeOf(exData) == 1, "one AC-4 status entry");
    const rapidjson::Value& shown = fuzz::At(fuzz::At(exData[0], "AC4ActivePresentation"), "Data");
    fuzz::Require(shown.IsUint() && shown.GetUint() <= presentations &&
                      (shown.GetUint() == 0) == (presentations == 0),
                  "the active presentation is one of the listed ones");
  }
  return 0;
}

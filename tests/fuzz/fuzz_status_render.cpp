// Any bytes as a decoder record (zero-padded to a whole record) through the
// status document renderer: the text obeys the rendering rule, nothing is read
// outside the record (ASan), and a rendered record needs no second update.

#include "FuzzSupport.h"
#include "PADMetadataJsonDecStatus.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static kv_dolby_metadata_t rec;
  fuzz::ToRecord(data, size, rec);
  cPADMetadataJsonDecStatus* renderer = cPADMetadataJsonDecStatus::GetInstance();
  fuzz::Require(renderer != nullptr && renderer->PrepareMetadataJson(rec, 1700000000),
                "the record renders");
  rapidjson::Document parsed;
  fuzz::CheckRendered(*renderer, parsed);
  const rapidjson::Value& info = fuzz::At(parsed, "StatusInfo");
  if (info.IsObject()) {
    fuzz::Require(fuzz::SizeOf(fuzz::At(info, "Presentations")) <= 16, "at most 16 AC-4 presentations");
    fuzz::Require(fuzz::SizeOf(fuzz::At(info, "Substreams")) <= 64, "at most 64 AC-4 substreams");
  }
  return 0;
}

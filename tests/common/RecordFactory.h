#pragma once
// Decoder records for tests and benchmarks: zeroed, protocol version 19, with
// the stream type and block selector given; callers fill the fields they need.

#include <cstring>
#include <memory>

#include "Record/DolbyMetadataRecord.h"

inline std::unique_ptr<kv_dolby_metadata_t> NewRecord(int32_t typeId, uint32_t mdType) {
  auto rec = std::make_unique<kv_dolby_metadata_t>();
  std::memset(rec.get(), 0, sizeof *rec);
  rec->protoVer = kRecordProtoVersion;
  rec->typeId = typeId;
  rec->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
  return rec;
}

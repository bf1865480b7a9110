#pragma once
// Renders a decoder record with the daemon's own renderers.

#include <cstdint>
#include <string>

#include "Record/DolbyMetadataRecord.h"

namespace tap {

struct RenderedRecord {
  std::string status;        // the status document ("DolbyMetadataGrp")
  std::string presentation;  // ED2 only: the presentation document ("DolbyPAData>>")
  bool hasPresentation = false;
};

RenderedRecord RenderRecord(const kv_dolby_metadata_t& record, std::int64_t now);

}  // namespace tap

#pragma once
// Renders a decoder record with the daemon's own renderers.

#include <string>

#include "Record/DolbyMetadataRecord.h"

namespace tap {

struct RenderedRecord {
  std::string status;        // the status document ("DolbyMetadataGrp")
  std::string presentation;  // ED2 only: the presentation document ("DolbyPAData>>")
  bool hasPresentation = false;
};

RenderedRecord RenderRecord(const kv_dolby_metadata_t& record, long now);

}  // namespace tap

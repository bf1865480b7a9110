#include "tap/RecordRender.h"

#include "PADMetadataJsonDecStatus.h"
#if __has_include("MetadataJsonPaData.h")
#include "MetadataJsonPaData.h"
#define TAP_HAS_PA_DOCUMENT 1
#endif

namespace tap {

RenderedRecord RenderRecord(const kv_dolby_metadata_t& record, std::int64_t now) {
  RenderedRecord out;
  if (cPADMetadataJsonDecStatus* status = cPADMetadataJsonDecStatus::GetInstance()) {
    status->PrepareMetadataJson(record, now);
    out.status.assign(status->GetString(), status->GetSize());
  }
#ifdef TAP_HAS_PA_DOCUMENT
  if (record.mdType == DLB_PADC_UI_MD_TYPE_ED2) {
    if (cMetadataJsonPaData* pa = cMetadataJsonPaData::GetInstance()) {
      pa->PreparePaMetadataJson(record, record.atmosDecode != 0, now);
      out.presentation.assign(pa->GetString(), pa->GetSize());
      out.hasPresentation = true;
    }
  }
#endif
  return out;
}

}  // namespace tap

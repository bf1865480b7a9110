#include "LargestRecords.h"

#include <cstring>

namespace largest_records {
namespace {

template <std::size_t N>
void FillText(char (&field)[N]) {
  std::memset(field, 'x', N);  // no terminator: the whole width is read
}

// Position i of n spread over 0 to 1: numbers with fractions, so that the
// formatting of decimals (and its tables) is in place too, not only that of 0.
float Spread(int i, int n) { return static_cast<float>(i) / static_cast<float>(n - 1); }

void FillDdp(dlb_padc_ui_md_ddp_s& ddp) {
  ddp.atmosPresent = 1;
  ddp.numDynObjects = kDdpMaxObjects;
  for (int i = 0; i < kDdpMaxObjects; ++i) {
    const float x = Spread(i, kDdpMaxObjects);
    ddp.objects[i] = {x, 1.0f - x, 0.5f, DLB_PADC_OBJECT_DIALOGUE};
  }
  std::memset(ddp.bedChannels, 1, sizeof ddp.bedChannels);
}

void FillDolbyE(dlb_padc_ui_md_dolbye_s& dolbye) {
  dolbye.programCount = kDolbyEMaxRenderedPrograms;
  FillText(dolbye.programConfig);
}

void FillAc4(dlb_padc_ui_md_ac4_s& ac4) {
  ac4.presentationCount = kAc4MaxPresentations;
  ac4.substreamCount = kAc4MaxSubstreams;
  for (dlb_padc_ac4_presentation_s& p : ac4.presentations) {
    FillText(p.summary);
    FillText(p.language);
    FillText(p.loudnessSummary);
    p.loudnessPresent = p.truePeakPresent = p.shortTerm3sPresent = p.duckingPresent = 1;
    p.dialogGainPresent = p.adGainPresent = p.meGainPresent = p.cmGainPresent = 1;
    p.topDownmixPresent = 1;
    p.dialnorm = p.truePeak = p.shortTerm3s = p.duckingLevel = p.lfeMixGain = -23.75f;
    p.dialogGain = p.adGain = p.meGain = p.cmGain = 1.25f;
    p.substreamIdCount = kAc4MaxSubstreamIds;
    for (int32_t& id : p.substreamIds) id = -2147483647 - 1;  // the longest number
  }
  for (dlb_padc_ac4_substream_s& s : ac4.substreams) {
    FillText(s.summary);
    FillText(s.channelConfig);
  }
}

void FillEd2(dlb_padc_ui_md_ed2_s& ed2) {
  ed2.atmosPresent = 1;
  FillText(ed2.programConfig);
  ed2.bedObjectCount = kEd2MaxBedObjects;
  ed2.dynamicObjectCount = kEd2MaxDynamicObjects;
  ed2.presentationCount = kEd2MaxPresentations;
  for (dlb_padc_ed2_bed_object_s& bed : ed2.bedObjects) {
    std::memset(bed.speakerPresent, 1, sizeof bed.speakerPresent);
    bed.numSources = kEd2MaxBedSources;
    for (float& gain : bed.gain) gain = 0.75f;
  }
  for (int i = 0; i < kEd2MaxDynamicObjects; ++i) {
    dlb_padc_ed2_dynamic_object_s& object = ed2.dynamicObjects[i];
    for (int set = 0; set < kEd2SetEntries; ++set) {
      object.gain[set] = 0.75f;
      object.position[set][0] = Spread(i, kEd2MaxDynamicObjects);
      object.position[set][1] = 1.0f - object.position[set][0];
      object.position[set][2] = 0.5f;
    }
  }
  for (dlb_padc_ed2_presentation_s& p : ed2.presentations) {
    FillText(p.name);
    std::memset(p.bedIncluded, 1, sizeof p.bedIncluded);
    std::memset(p.objectIncluded, 1, sizeof p.objectIncluded);
  }
}

}  // namespace

void FillSmallest(int32_t typeId, kv_dolby_metadata_t& rec) {
  std::memset(&rec, 0, sizeof rec);
  rec.protoVer = kRecordProtoVersion;
  rec.typeId = typeId;
  rec.inputType = SYS_INPUT_TYPE_SDI;
  rec.atmosDecode = 1;
  switch (typeId) {
    case stream_type::kDolbyDigitalPlus: rec.mdType = DLB_PADC_UI_MD_TYPE_DDP; break;
    case stream_type::kDolbyE: rec.mdType = DLB_PADC_UI_MD_TYPE_DOLBYE; break;
    case stream_type::kAc4: rec.mdType = DLB_PADC_UI_MD_TYPE_AC4; break;
    case stream_type::kEd2: rec.mdType = DLB_PADC_UI_MD_TYPE_ED2; break;
    default: break;  // PCM: the header alone
  }
}

void Fill(int32_t typeId, kv_dolby_metadata_t& rec) {
  FillSmallest(typeId, rec);
  switch (rec.mdType) {
    case DLB_PADC_UI_MD_TYPE_DDP: FillDdp(rec.md.ddp); break;
    case DLB_PADC_UI_MD_TYPE_DOLBYE: FillDolbyE(rec.md.dolbye); break;
    case DLB_PADC_UI_MD_TYPE_AC4: FillAc4(rec.md.ac4); break;
    case DLB_PADC_UI_MD_TYPE_ED2: FillEd2(rec.md.ed2); break;
    default: break;
  }
}

}  // namespace largest_records

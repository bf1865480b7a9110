#pragma once
// Records shared by the benchmarks: a plain record of a stream kind, typical
// DD+ and Dolby E records, and the largest AC-4 and ED2 records the renderers
// accept.

#include <cstdio>
#include <cstring>
#include <memory>

#include "RecordFactory.h"

// A zeroed record on an SDI input, DZ pair 1, 5.1.4 output.
inline std::unique_ptr<kv_dolby_metadata_t> BenchRecord(int32_t typeId, uint32_t mdType) {
  auto rec = NewRecord(typeId, mdType);
  rec->inputType = SYS_INPUT_TYPE_SDI;
  rec->dzPair = 1;
  rec->speakerConfig = 4;
  return rec;
}

namespace bench_records {

template <std::size_t N>
inline void Fill(char (&field)[N], const char* prefix, unsigned index) {
  // As long as the field allows, terminated.
  std::memset(field, 'x', N - 1);
  field[N - 1] = '\0';
  const int written = std::snprintf(field, N, "%s %u ", prefix, index);
  if (written > 0 && static_cast<std::size_t>(written) < N - 1) field[written] = 'x';
}

// A PCM record: no codec block.
inline std::unique_ptr<kv_dolby_metadata_t> PcmRecord() { return BenchRecord(stream_type::kPcm, 0); }

// DD+ at 640 kb/s, 5.1; with `objects` 15 dynamic objects and all beds.
inline std::unique_ptr<kv_dolby_metadata_t> DdpRecord(bool objects) {
  auto rec = BenchRecord(stream_type::kDolbyDigitalPlus, DLB_PADC_UI_MD_TYPE_DDP);
  dlb_padc_ui_md_ddp_s& d = rec->md.ddp;
  d.datarate = 640;
  d.acmod = 7;
  d.bsid = 16;
  d.lfeon = 1;
  d.dialnorm = 24;
  d.mixlevel = 25;
  d.roomtyp = 1;
  d.dmixmod = 1;
  d.ltrtcmixlev = 4;
  d.ltrtsurmixlev = 4;
  d.lorocmixlev = 4;
  d.lorosurmixlev = 4;
  if (objects) {
    rec->atmosDecode = 1;
    d.atmosPresent = 1;
    d.numDynObjects = kDdpMaxObjects;
    d.complexityIndex = 16;
    d.surroundTrim = DLB_PADC_TRIM_AUTO;
    d.heightTrim = DLB_PADC_TRIM_AUTO;
    for (int i = 0; i < kDdpMaxObjects; ++i) {
      d.objects[i] = {i / 15.0f, 1.0f - i / 15.0f, 0.5f, DLB_PADC_OBJECT_DIALOGUE};
    }
    std::memset(d.bedChannels, 1, sizeof d.bedChannels);
  }
  return rec;
}

// Dolby E, 5.1+2x2 programs, `programCount` of them.
inline std::unique_ptr<kv_dolby_metadata_t> DolbyERecord(uint8_t programCount) {
  auto rec = BenchRecord(stream_type::kDolbyE, DLB_PADC_UI_MD_TYPE_DOLBYE);
  dlb_padc_ui_md_dolbye_s& e = rec->md.dolbye;
  e.frameRate = 2500;
  e.bitDepth = 20;
  e.currentProgram = 1;
  e.programCount = programCount;
  std::strcpy(e.programConfig, "5.1+2x2");
  for (auto& p : e.programs) {
    p.acmod = 7;
    p.lfeon = 1;
    p.dialnorm = 27;
    p.mixlevel = 25;
    p.dynrngProfile = 1;
    p.comprProfile = 1;
    p.ltrtcmixlev = 4;
  }
  return rec;
}

// Object audio decoded: the largest documents.
inline std::unique_ptr<kv_dolby_metadata_t> AtmosRecord(int typeId, dlb_padc_ui_md_type_t mdType) {
  auto rec = BenchRecord(typeId, mdType);
  rec->atmosDecode = 1;
  return rec;
}

// 16 presentations with every optional field present and 64 substream ids,
// 64 substreams, all texts at their full width.
inline std::unique_ptr<kv_dolby_metadata_t> LargestAc4Record() {
  auto rec = AtmosRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
  dlb_padc_ui_md_ac4_s& ac4 = rec->md.ac4;
  ac4.averageBitrate = 96000;
  ac4.upperBitrate = 128000;
  ac4.maxUpperBitrate = 192000;
  ac4.frameRateCode = 2;
  ac4.iFrameInterval = 12;
  ac4.presentationCount = kAc4MaxPresentations;
  ac4.substreamCount = kAc4MaxSubstreams;
  ac4.bitstreamVersion = 2;
  ac4.activePresentation = 3;
  ac4.outputChannelConfig = 3;
  ac4.appliedDeGain = 6;
  ac4.deGainLimit = 2;
  ac4.outputRefLevel = -31.25f;
  for (unsigned i = 0; i < kAc4MaxPresentations; ++i) {
    dlb_padc_ac4_presentation_s& p = ac4.presentations[i];
    Fill(p.summary, "Presentation", i);
    Fill(p.language, "Language", i);
    Fill(p.loudnessSummary, "Loudness", i);
    p.level = 1;
    p.presentationId = static_cast<uint8_t>(i);
    p.dialnorm = -23.5f;
    p.dialogGainPresent = p.adGainPresent = p.meGainPresent = p.cmGainPresent = 1;
    p.dialogGain = 3.25f;
    p.adGain = -6.5f;
    p.meGain = -1.75f;
    p.cmGain = 0.5f;
    p.atmosIndication = 2;
    p.loudnessPresent = p.truePeakPresent = p.shortTerm3sPresent = p.duckingPresent = 1;
    p.loudnessRegulation = 2;
    p.loudnessCorrection = 1;
    p.gatingType = 1;
    p.truePeak = -1.5f;
    p.shortTerm3s = -22.75f;
    p.duckingLevel = -12.5f;
    p.eac3DrcProfile = 1;
    for (int& mode : p.drcModes) mode = 2;
    p.loRoCentreMixGain = p.loRoSurroundMixGain = p.ltRtCentreMixGain = p.ltRtSurroundMixGain = 3;
    p.lfeMixGain = -10.0f;
    p.preferredDownmix = 2;
    p.topDownmixPresent = 1;
    p.topFrontGain = p.topBackGain = 2;
    p.topBackTarget = 1;
    p.substreamIdCount = kAc4MaxSubstreamIds;
    for (int j = 0; j < kAc4MaxSubstreamIds; ++j) p.substreamIds[j] = 100 + j;
  }
  for (unsigned j = 0; j < kAc4MaxSubstreams; ++j) {
    dlb_padc_ac4_substream_s& s = ac4.substreams[j];
    Fill(s.summary, "Substream", j);
    Fill(s.channelConfig, "Channels", j);
    s.objectCoded = j % 2;
    s.deEnabled = 1;
    s.deMaxGain = 3;
    s.dialogMaxGain = 2;
  }
  return rec;
}

// 16 presentations, each with all 9 beds (17 speakers, 16 sources each) and
// all 16 dynamic objects.
inline std::unique_ptr<kv_dolby_metadata_t> LargestEd2Record() {
  auto rec = AtmosRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  dlb_padc_ui_md_ed2_s& ed2 = rec->md.ed2;
  ed2.frameRate = 2500;
  ed2.atmosPresent = 1;
  ed2.metadataId = 3;
  Fill(ed2.programConfig, "5.1+2x1", 0);
  ed2.bedObjectCount = kEd2MaxBedObjects;
  ed2.dynamicObjectCount = kEd2MaxDynamicObjects;
  ed2.presentationCount = kEd2MaxPresentations;
  rec->activePaNo = 2;
  for (dlb_padc_ed2_bed_object_s& bed : ed2.bedObjects) {
    std::memset(bed.speakerPresent, 1, sizeof bed.speakerPresent);
    for (float& gain : bed.gain) gain = -3.25f;
    bed.numSources = kEd2MaxBedSources;
    for (int k = 0; k < kEd2MaxBedSources; ++k) bed.sourceTarget[k] = k;
  }
  for (unsigned j = 0; j < kEd2MaxDynamicObjects; ++j) {
    dlb_padc_ed2_dynamic_object_s& object = ed2.dynamicObjects[j];
    object.channelId = static_cast<int16_t>(j);
    object.objectClass = j % 9;
    for (float& gain : object.gain) gain = -1.5f;
    for (auto& position : object.position) {
      position[0] = 0.25f;
      position[1] = 0.75f;
      position[2] = 0.5f;
    }
  }
  for (unsigned k = 0; k < kEd2MaxPresentations; ++k) {
    dlb_padc_ed2_presentation_s& p = ed2.presentations[k];
    Fill(p.name, "Presentation", k);
    for (unsigned j = 0; j < kEd2MaxBedObjects; ++j) {
      p.bedIncluded[j] = 1;
      p.bedSetIndex[j] = static_cast<uint8_t>(k);
    }
    for (unsigned j = 0; j < kEd2MaxDynamicObjects; ++j) {
      p.objectIncluded[j] = 1;
      p.objectSetIndex[j] = static_cast<uint8_t>(k);
    }
  }
  return rec;
}

}  // namespace bench_records

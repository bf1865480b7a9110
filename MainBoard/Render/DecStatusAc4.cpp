// AC-4 "StatusInfo": one stream-level entry in "ExData", one entry per
// presentation in "Presentations" and one per substream in "Substreams".

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <utility>

#include "Ac4PadUi.h"
#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;

namespace {

// Loudness values bottom out at -200 dB, dialogue and mix gains at -120 dB.
constexpr float kLoudnessFloor = -200.0f;
constexpr float kGainFloor = -120.0f;
// The LFE mix gain and the ducking level have their own -inf limits; the
// loudness floor still applies below them.
constexpr float kLfeMixInfLimit = -143.9f;
constexpr float kDuckingInfLimit = -76.4f;

constexpr const char* kNotPresent = "Not present";

std::string LimitedDb(float value, float infLimit) {
  if (value <= infLimit) return "-inf dB";
  return Ac4PadUi::FloatDb(value, kLoudnessFloor);
}

std::string OptionalGainDb(uint8_t present, float value) {
  return present ? Ac4PadUi::FloatDb(value, kGainFloor) : kNotPresent;
}

std::string OptionalLoudnessDb(bool present, float value) {
  return present ? Ac4PadUi::FloatDb(value, kLoudnessFloor) : kNotPresent;
}

const char* AtmosIndicationText(uint8_t indication) {
  switch (indication) {
    case 1:
      return "Off";
    case 2:
      return "On";
    default:
      return "None";
  }
}

const char* GatingText(bool loudnessPresent, int32_t gatingType) {
  if (!loudnessPresent || gatingType < 0) return kNotPresent;
  return gatingType != 0 ? "Dialogue gated" : "Level gated";
}

const char* TopTargetText(uint8_t present, uint8_t target) {
  if (!present) return kNotPresent;
  return target ? "Surround" : "Front";
}

std::string SubstreamIdList(const dlb_padc_ac4_presentation_s& p) {
  if (p.substreamIdCount == 0) return kNotPresent;
  const unsigned count = std::min<unsigned>(p.substreamIdCount, kAc4MaxSubstreamIds);
  std::string list;
  list.reserve(count * 8);
  for (unsigned i = 0; i < count; ++i) {
    if (i != 0) list += ", ";
    // Up to 64 identifiers per presentation: formatted without printf.
    char digits[16];
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof digits, p.substreamIds[i]);
    list.append(digits, end.ptr);
  }
  return list;
}

// add(key, title, data, desc, target) writes one item; "Data" takes the type
// of data (int, unsigned int, float or std::string).
template <typename AddFn>
void AddPresentationItems(AddFn&& add, const dlb_padc_ac4_presentation_s& p, Value& entry) {
  const std::string summary = BoundedText(p.summary);
  add("Summary", "Presentation summary", summary, summary, entry);
  add("Id", "Presentation ID", int{p.presentationId}, std::to_string(p.presentationId), entry);
  add("SubIds", "Substream IDs", int{p.substreamIdCount}, SubstreamIdList(p), entry);
  add("Level", "Presentation level", int{p.level}, std::to_string(p.level), entry);
  const std::string language = BoundedText(p.language);
  add("Lang", "Language", language, language, entry);
  add("Atmos", "Dolby Atmos presence", int{p.atmosIndication},
      AtmosIndicationText(p.atmosIndication), entry);
  add("Dialnorm", "Dialogue normalization", p.dialnorm,
      Ac4PadUi::FloatDb(p.dialnorm, kLoudnessFloor), entry);

  const bool loud = p.loudnessPresent != 0;
  const std::string loudnessSummary = BoundedText(p.loudnessSummary);
  add("LoudSum", "Loudness summary", loudnessSummary, loud ? loudnessSummary : kNotPresent, entry);
  add("LoudReg", "Loudness regulation type", int{p.loudnessRegulation},
      Ac4PadUi::LoudnessRegulation(p.loudnessPresent, p.loudnessRegulation), entry);
  add("LoudCorr", "Loudness correction type", int{p.loudnessCorrection},
      !loud ? kNotPresent : (p.loudnessCorrection ? "Real-time" : "File-based"), entry);
  add("Gate", "Gating type", int{p.gatingType}, GatingText(loud, p.gatingType), entry);
  add("TruePk", "True peak", p.truePeak, OptionalLoudnessDb(loud && p.truePeakPresent, p.truePeak),
      entry);
  add("St3s", "Short-term loudness (3s)", p.shortTerm3s,
      OptionalLoudnessDb(loud && p.shortTerm3sPresent, p.shortTerm3s), entry);

  add("Eac3Drc", "E-AC-3 DRC profile", int{p.eac3DrcProfile},
      Ac4PadUi::DrcProfile(p.eac3DrcProfile), entry);
  for (unsigned k = 0; k < 4; ++k) {
    char key[24];
    std::snprintf(key, sizeof key, "DrcMode%u", k);
    add(key, Ac4PadUi::DrcDecoderModeName(k), int{p.drcModes[k]},
        Ac4PadUi::DrcProfile(p.drcModes[k]), entry);
  }

  add("Duck", "Main audio ducking level", p.duckingLevel,
      p.duckingPresent ? LimitedDb(p.duckingLevel, kDuckingInfLimit) : kNotPresent, entry);
  add("DlgGain", "Dialogue gain", p.dialogGain, OptionalGainDb(p.dialogGainPresent, p.dialogGain),
      entry);
  add("AdGain", "Audio Description gain", p.adGain, OptionalGainDb(p.adGainPresent, p.adGain),
      entry);
  add("MeGain", "Music and Effects gain", p.meGain, OptionalGainDb(p.meGainPresent, p.meGain),
      entry);
  add("CmGain", "Complete Main gain", p.cmGain, OptionalGainDb(p.cmGainPresent, p.cmGain), entry);

  add("LoRoC", "Lo/Ro center mix gain", int{p.loRoCentreMixGain},
      Ac4PadUi::StereoDmxGain(p.loRoCentreMixGain), entry);
  add("LoRoS", "Lo/Ro surround mix gain", int{p.loRoSurroundMixGain},
      Ac4PadUi::StereoDmxGain(p.loRoSurroundMixGain), entry);
  add("LtRtC", "Lt/Rt center mix gain", int{p.ltRtCentreMixGain},
      Ac4PadUi::StereoDmxGain(p.ltRtCentreMixGain), entry);
  add("LtRtS", "Lt/Rt surround mix gain", int{p.ltRtSurroundMixGain},
      Ac4PadUi::StereoDmxGain(p.ltRtSurroundMixGain), entry);
  add("LfeMix", "LFE mix gain", p.lfeMixGain, LimitedDb(p.lfeMixGain, kLfeMixInfLimit), entry);
  add("PrefDmx", "Preferred downmix mode", static_cast<int>(p.preferredDownmix),
      Ac4PadUi::PreferredDownmix(p.preferredDownmix), entry);

  add("TfTgt", "5.1.4 to 5.1 top front target", int{p.topFrontTarget},
      TopTargetText(p.topDownmixPresent, p.topFrontTarget), entry);
  add("TfGain", "5.1.4 to 5.1 top front mix gain", int{p.topFrontGain},
      Ac4PadUi::CdmxGain(p.topDownmixPresent, p.topFrontGain), entry);
  add("TbTgt", "5.1.4 to 5.1 top back target", int{p.topBackTarget},
      TopTargetText(p.topDownmixPresent, p.topBackTarget), entry);
  add("TbGain", "5.1.4 to 5.1 top back mix gain", int{p.topBackGain},
      Ac4PadUi::CdmxGain(p.topDownmixPresent, p.topBackGain), entry);
}

// "Id" is the substream's position in the array, not an identifier from the
// record.
template <typename AddFn>
void AddSubstreamItems(AddFn&& add, unsigned index, const dlb_padc_ac4_substream_s& s,
                       Value& entry) {
  const std::string summary = BoundedText(s.summary);
  add("Summary", "Substream summary", summary, summary, entry);
  add("Id", "Substream ID", static_cast<int>(index), std::to_string(index), entry);
  const std::string channelConfig = BoundedText(s.channelConfig);
  add("ChCfg", "Channel configuration", channelConfig, channelConfig, entry);
  add("Obj", "Object coded", int{s.objectCoded}, s.objectCoded ? "True" : "False", entry);
  add("DlgMax", "Maximum Dialogue gain", int{s.dialogMaxGain},
      Ac4PadUi::DialogMaxGain(s.dialogMaxGain), entry);
  add("DeMax", "Dialogue enhancement gain limit", int{s.deMaxGain},
      Ac4PadUi::SubstreamDeMaxGain(s.deEnabled, s.deMaxGain), entry);
}

Value* ArrayMember(Value& obj, const char* name) {
  Value::MemberIterator it = obj.FindMember(name);
  if (it == obj.MemberEnd() || !it->value.IsArray()) return nullptr;
  return &it->value;
}

}  // namespace

cPADMetadataJsonDecStatus::Ac4Selection cPADMetadataJsonDecStatus::SelectAc4Presentation(
    const kv_dolby_metadata_t& rec) {
  const dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  Ac4Selection selection{ac4.presentationCount, ac4.activePresentation, 0, false};
  if (selection.count > kAc4MaxPresentations) {
    // More presentations than the record holds: an active index beyond the
    // 16 listed falls back to the first one.
    selection.count = kAc4MaxPresentations;
    if (selection.active > kAc4MaxPresentations - 1) selection.active = 0;
    selection.shown = selection.active + 1;
  } else if (selection.count != 0 && selection.active >= selection.count) {
    selection.active = 0;
    selection.shown = 1;
  } else {
    selection.shown = selection.count == 0 ? 0 : selection.active + 1;
  }
  // With a non-zero count the active index is below the count here, so it
  // addresses a presentation of the record.
  if (selection.count != 0) {
    selection.atmos = ac4.presentations[selection.active].atmosIndication == 2;
  }
  return selection;
}

void cPADMetadataJsonDecStatus::AddAC4StatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddAC4StatusInfo);
}

void cPADMetadataJsonDecStatus::AddAC4StatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  if (ResetItemBlock(statusInfo, "Extended Metadata Details") == nullptr) return;
  AddArrayMemberInObject("Presentations", statusInfo);
  AddArrayMemberInObject("Substreams", statusInfo);
  // Looked up once all three exist: adding a member may move the others.
  Value* exData = ArrayMember(statusInfo, "ExData");
  Value* presentations = ArrayMember(statusInfo, "Presentations");
  Value* substreams = ArrayMember(statusInfo, "Substreams");
  if (exData == nullptr || presentations == nullptr || substreams == nullptr) return;
  presentations->Clear();
  substreams->Clear();

  const dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  const Ac4Selection selection = SelectAc4Presentation(rec);
  auto add = [this](const char* key, const char* title, auto data, const auto& desc, Value& obj) {
    AddItem(key, title, data, desc, obj);
  };

  Value stream(rapidjson::kObjectType);
  add("AC4AverageBitrate", "Average bit rate", int{ac4.averageBitrate},
      Ac4PadUi::BitrateKbps(ac4.averageBitrate), stream);
  add("AC4UpperBitrate", "Upper bit rate", int{ac4.upperBitrate},
      Ac4PadUi::BitrateKbps(ac4.upperBitrate), stream);
  add("AC4MaxUpperBitrate", "Maximum bit rate", int{ac4.maxUpperBitrate},
      Ac4PadUi::BitrateKbps(ac4.maxUpperBitrate), stream);
  add("AC4FrameRate", "Frame rate", unsigned{ac4.frameRateCode},
      Ac4PadUi::FrameRate(ac4.frameRateCode), stream);
  add("AC4IFrameInterval", "I-frame interval", unsigned{ac4.iFrameInterval},
      std::to_string(ac4.iFrameInterval) + " frames", stream);
  add("AC4BitstreamVersion", "Bitstream version", unsigned{ac4.bitstreamVersion},
      std::to_string(ac4.bitstreamVersion), stream);
  add("AC4PresentationCount", "Number of presentations", selection.count,
      std::to_string(selection.count), stream);
  // The count as the decoder gives it; the list below stops at 64.
  add("AC4NumSubstreams", "Number of audio substreams", unsigned{ac4.substreamCount},
      std::to_string(ac4.substreamCount), stream);
  add("AC4CrcErrors", "CRC errors", unsigned{ac4.crcError},
      ac4.crcError ? "CRC error detected" : "No CRC error detected", stream);
  add("AC4ActivePresentation", "Active presentation", selection.shown,
      selection.count != 0 ? std::to_string(selection.shown) : std::string("0"), stream);
  add("AC4OutputRefLevel", "Output reference level", ac4.outputRefLevel,
      Ac4PadUi::FloatDb(ac4.outputRefLevel, kLoudnessFloor), stream);
  add("AC4AppliedDeGain", "Applied dialogue enhancement gain", int{ac4.appliedDeGain},
      Ac4PadUi::FloatDb(static_cast<float>(ac4.appliedDeGain), kLoudnessFloor), stream);
  add("AC4DeGainLimit", "Dialogue enhancement gain limit", unsigned{ac4.deGainLimit},
      Ac4PadUi::DeGainLimit(ac4.deGainLimit), stream);
  add("AC4ChannelConfig", "Decoder output - active channel configuration",
      unsigned{ac4.outputChannelConfig}, Ac4PadUi::ChannelConfig(ac4.outputChannelConfig), stream);
  add("ChannelConfig", "Speaker configuration", static_cast<unsigned int>(rec.speakerConfig),
      Ac4PadUi::SpeakerConfig(static_cast<unsigned int>(rec.speakerConfig)), stream);

  for (unsigned i = 0; i < selection.count; ++i) {
    AppendEntry(*presentations,
                [&](Value& entry) { AddPresentationItems(add, ac4.presentations[i], entry); });
  }
  const unsigned substreamCount = std::min<unsigned>(ac4.substreamCount, kAc4MaxSubstreams);
  for (unsigned j = 0; j < substreamCount; ++j) {
    AppendEntry(*substreams,
                [&](Value& entry) { AddSubstreamItems(add, j, ac4.substreams[j], entry); });
  }

  AddPrgAtmosPresent(rec.atmosDecode != 0 && selection.atmos, stream);
  AddUpdateInputSignalType(rec.inputType, stream);
  AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, stream);
  exData->PushBack(stream, Allocator());
}

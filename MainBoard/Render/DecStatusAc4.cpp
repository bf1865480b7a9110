// AC-4 "StatusInfo": one stream-level entry in "ExData", one entry per
// presentation in "Presentations" and one per substream in "Substreams".

#include <algorithm>
#include <string_view>

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace ct = code_tables;
using item_text::kNotPresent;
using item_text::Text;

namespace {

// Loudness values bottom out at -200 dB, dialogue and mix gains at -120 dB.
constexpr float kLoudnessFloor = -200.0f;
constexpr float kGainFloor = -120.0f;
// The LFE mix gain and the ducking level have their own -inf limits; the
// loudness floor still applies below them.
constexpr float kLfeMixInfLimit = -143.9f;
constexpr float kDuckingInfLimit = -76.4f;

Text LoudnessDb(float value) { return item_text::FloatDb(value, kLoudnessFloor); }

Text LimitedDb(float value, float infLimit) {
  if (value <= infLimit) return Text("-inf dB");
  return LoudnessDb(value);
}

Text OptionalGainDb(uint8_t present, float value) {
  return present ? item_text::FloatDb(value, kGainFloor) : Text(kNotPresent);
}

Text OptionalLoudnessDb(bool present, float value) {
  return present ? LoudnessDb(value) : Text(kNotPresent);
}

// The text of code in table when present, else "Not present".
std::string_view WhenPresent(bool present, const ct::TextTable& table, unsigned code) {
  return present ? table.Text(code) : kNotPresent;
}

std::string_view StereoDownmixGain(int code) {
  return WhenPresent(code >= 0, ct::kStereoDownmixGains, static_cast<unsigned>(code));
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

std::string_view GatingText(bool loudnessPresent, int32_t gatingType) {
  if (!loudnessPresent || gatingType < 0) return kNotPresent;
  return gatingType != 0 ? "Dialogue gated" : "Level gated";
}

std::string_view TopTargetText(uint8_t present, uint8_t target) {
  if (!present) return kNotPresent;
  return target ? "Surround" : "Front";
}

// Up to 64 identifiers of up to 11 characters, ", " between them.
using IdList = item_text::Buffer<kAc4MaxSubstreamIds * 13>;

IdList SubstreamIdList(const dlb_padc_ac4_presentation_s& p) {
  IdList list;
  if (p.substreamIdCount == 0) return IdList(kNotPresent);
  const unsigned count = std::min<unsigned>(p.substreamIdCount, kAc4MaxSubstreamIds);
  for (unsigned i = 0; i < count; ++i) {
    if (i != 0) list.Append(", ");
    list.AppendDecimal(p.substreamIds[i]);
  }
  return list;
}

}  // namespace

void cPADMetadataJsonDecStatus::AddAc4PresentationItems(const dlb_padc_ac4_presentation_s& p,
                                                        Value& entry) {
  auto add = [&](const char* key, const char* title, auto data, std::string_view desc) {
    AddUpdateObjectMemberToObject(key, title, data, desc, entry);
  };
  const std::string_view summary = BoundedView(p.summary);
  add("Summary", "Presentation summary", summary, summary);
  add("Id", "Presentation ID", int{p.presentationId}, item_text::Decimal(p.presentationId));
  add("SubIds", "Substream IDs", int{p.substreamIdCount}, SubstreamIdList(p));
  add("Level", "Presentation level", int{p.level}, item_text::Decimal(p.level));
  const std::string_view language = BoundedView(p.language);
  add("Lang", "Language", language, language);
  add("Atmos", "Dolby Atmos presence", int{p.atmosIndication}, AtmosIndicationText(p.atmosIndication));
  add("Dialnorm", "Dialogue normalization", p.dialnorm, LoudnessDb(p.dialnorm));

  const bool loud = p.loudnessPresent != 0;
  const std::string_view loudnessSummary = BoundedView(p.loudnessSummary);
  add("LoudSum", "Loudness summary", loudnessSummary, loud ? loudnessSummary : kNotPresent);
  add("LoudReg", "Loudness regulation type", int{p.loudnessRegulation},
      WhenPresent(loud, ct::kLoudnessPractices, p.loudnessRegulation));
  add("LoudCorr", "Loudness correction type", int{p.loudnessCorrection},
      !loud ? kNotPresent : (p.loudnessCorrection ? "Real-time" : "File-based"));
  add("Gate", "Gating type", int{p.gatingType}, GatingText(loud, p.gatingType));
  add("TruePk", "True peak", p.truePeak, OptionalLoudnessDb(loud && p.truePeakPresent, p.truePeak));
  add("St3s", "Short-term loudness (3s)", p.shortTerm3s,
      OptionalLoudnessDb(loud && p.shortTerm3sPresent, p.shortTerm3s));

  add("Eac3Drc", "E-AC-3 DRC profile", int{p.eac3DrcProfile}, ct::DrcProfileText(p.eac3DrcProfile));
  for (unsigned k = 0; k < 4; ++k) {
    char key[] = "DrcMode0";
    key[sizeof key - 2] = static_cast<char>('0' + k);
    add(key, ct::kDrcDecoderModes.Text(k), int{p.drcModes[k]}, ct::DrcProfileText(p.drcModes[k]));
  }

  add("Duck", "Main audio ducking level", p.duckingLevel,
      p.duckingPresent ? LimitedDb(p.duckingLevel, kDuckingInfLimit) : Text(kNotPresent));
  add("DlgGain", "Dialogue gain", p.dialogGain, OptionalGainDb(p.dialogGainPresent, p.dialogGain));
  add("AdGain", "Audio Description gain", p.adGain, OptionalGainDb(p.adGainPresent, p.adGain));
  add("MeGain", "Music and Effects gain", p.meGain, OptionalGainDb(p.meGainPresent, p.meGain));
  add("CmGain", "Complete Main gain", p.cmGain, OptionalGainDb(p.cmGainPresent, p.cmGain));

  add("LoRoC", "Lo/Ro center mix gain", int{p.loRoCentreMixGain}, StereoDownmixGain(p.loRoCentreMixGain));
  add("LoRoS", "Lo/Ro surround mix gain", int{p.loRoSurroundMixGain},
      StereoDownmixGain(p.loRoSurroundMixGain));
  add("LtRtC", "Lt/Rt center mix gain", int{p.ltRtCentreMixGain}, StereoDownmixGain(p.ltRtCentreMixGain));
  add("LtRtS", "Lt/Rt surround mix gain", int{p.ltRtSurroundMixGain},
      StereoDownmixGain(p.ltRtSurroundMixGain));
  add("LfeMix", "LFE mix gain", p.lfeMixGain, LimitedDb(p.lfeMixGain, kLfeMixInfLimit));
  add("PrefDmx", "Preferred downmix mode", static_cast<int>(p.preferredDownmix),
      ct::kDownmixModes.Text(p.preferredDownmix));

  const bool top = p.topDownmixPresent != 0;
  add("TfTgt", "5.1.4 to 5.1 top front target", int{p.topFrontTarget},
      TopTargetText(p.topDownmixPresent, p.topFrontTarget));
  add("TfGain", "5.1.4 to 5.1 top front mix gain", int{p.topFrontGain},
      WhenPresent(top, ct::kTopDownmixGains, p.topFrontGain));
  add("TbTgt", "5.1.4 to 5.1 top back target", int{p.topBackTarget},
      TopTargetText(p.topDownmixPresent, p.topBackTarget));
  add("TbGain", "5.1.4 to 5.1 top back mix gain", int{p.topBackGain},
      WhenPresent(top, ct::kTopDownmixGains, p.topBackGain));
}

// "Id" is the substream's position in the array, not an identifier from the
// record.
void cPADMetadataJsonDecStatus::AddAc4SubstreamItems(unsigned index, const dlb_padc_ac4_substream_s& s,
                                                     Value& entry) {
  auto add = [&](const char* key, const char* title, auto data, std::string_view desc) {
    AddUpdateObjectMemberToObject(key, title, data, desc, entry);
  };
  const std::string_view summary = BoundedView(s.summary);
  add("Summary", "Substream summary", summary, summary);
  add("Id", "Substream ID", static_cast<int>(index), item_text::Decimal(index));
  const std::string_view channelConfig = BoundedView(s.channelConfig);
  add("ChCfg", "Channel configuration", channelConfig, channelConfig);
  add("Obj", "Object coded", int{s.objectCoded}, s.objectCoded ? "True" : "False");
  add("DlgMax", "Maximum Dialogue gain", int{s.dialogMaxGain}, ct::kDialogueGainSteps.Text(s.dialogMaxGain));
  // Code 0 and codes above 4 read "Disabled" from the table itself.
  add("DeMax", "Dialogue enhancement gain limit", int{s.deMaxGain},
      s.deEnabled ? ct::kDialogueGainSteps.Text(s.deMaxGain) : ct::kDialogueGainSteps.otherText);
}

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
  // Taken once all three exist: adding a member may move the others.
  Value* exData = FreshArrayMember("ExData", statusInfo);
  Value* presentations = FreshArrayMember("Presentations", statusInfo);
  Value* substreams = FreshArrayMember("Substreams", statusInfo);
  if (exData == nullptr || presentations == nullptr || substreams == nullptr) return;

  const dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  const Ac4Selection selection = SelectAc4Presentation(rec);
  Value stream(rapidjson::kObjectType);
  auto add = [&](const char* key, const char* title, auto data, std::string_view desc) {
    AddUpdateObjectMemberToObject(key, title, data, desc, stream);
  };

  add("AC4AverageBitrate", "Average bit rate", int{ac4.averageBitrate},
      item_text::BitrateKbps(ac4.averageBitrate));
  add("AC4UpperBitrate", "Upper bit rate", int{ac4.upperBitrate}, item_text::BitrateKbps(ac4.upperBitrate));
  add("AC4MaxUpperBitrate", "Maximum bit rate", int{ac4.maxUpperBitrate},
      item_text::BitrateKbps(ac4.maxUpperBitrate));
  add("AC4FrameRate", "Frame rate", unsigned{ac4.frameRateCode},
      ct::kFrameRateIndexes.Text(ac4.frameRateCode));
  add("AC4IFrameInterval", "I-frame interval", unsigned{ac4.iFrameInterval},
      item_text::Decimal(ac4.iFrameInterval).Append(" frames"));
  add("AC4BitstreamVersion", "Bitstream version", unsigned{ac4.bitstreamVersion},
      item_text::Decimal(ac4.bitstreamVersion));
  add("AC4PresentationCount", "Number of presentations", selection.count,
      item_text::Decimal(selection.count));
  // The count as the decoder gives it; the list below stops at 64.
  add("AC4NumSubstreams", "Number of audio substreams", unsigned{ac4.substreamCount},
      item_text::Decimal(ac4.substreamCount));
  add("AC4CrcErrors", "CRC errors", unsigned{ac4.crcError},
      ac4.crcError ? "CRC error detected" : "No CRC error detected");
  add("AC4ActivePresentation", "Active presentation", selection.shown,
      item_text::Decimal(selection.count != 0 ? selection.shown : 0u));
  add("AC4OutputRefLevel", "Output reference level", ac4.outputRefLevel, LoudnessDb(ac4.outputRefLevel));
  add("AC4AppliedDeGain", "Applied dialogue enhancement gain", int{ac4.appliedDeGain},
      LoudnessDb(static_cast<float>(ac4.appliedDeGain)));
  add("AC4DeGainLimit", "Dialogue enhancement gain limit", unsigned{ac4.deGainLimit},
      ct::kDialogueGainLimits.Text(ac4.deGainLimit));
  add("AC4ChannelConfig", "Decoder output - active channel configuration", unsigned{ac4.outputChannelConfig},
      ct::kOutputChannelLayouts.Text(ac4.outputChannelConfig));
  add("ChannelConfig", "Speaker configuration", static_cast<unsigned int>(rec.speakerConfig),
      ct::kDeviceSpeakerConfigs.Text(static_cast<unsigned int>(rec.speakerConfig)));

  for (unsigned i = 0; i < selection.count; ++i) {
    AppendEntry(*presentations, [&](Value& entry) { AddAc4PresentationItems(ac4.presentations[i], entry); });
  }
  const unsigned substreamCount = std::min<unsigned>(ac4.substreamCount, kAc4MaxSubstreams);
  for (unsigned j = 0; j < substreamCount; ++j) {
    AppendEntry(*substreams, [&](Value& entry) { AddAc4SubstreamItems(j, ac4.substreams[j], entry); });
  }

  AddPrgAtmosPresent(rec.atmosDecode != 0 && selection.atmos, stream);
  AddUpdateInputSignalType(rec.inputType, stream);
  AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, stream);
  exData->PushBack(stream, Allocator());
}

// AC-4 "StatusInfo": one stream-level entry in "ExData", one entry per
// presentation in "Presentations" and one per substream in "Substreams".

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace item = catalogue::item;
namespace table = catalogue::table;
using catalogue::text::NotPresent;
using item_text::Text;

namespace {

// Loudness values bottom out at -200 dB, dialogue and mix gains at -120 dB.
constexpr float kLoudnessFloor = -200.0f;
constexpr float kGainFloor = -120.0f;
// The LFE mix gain and the ducking level have their own -inf limits; the
// loudness floor still applies below them.
constexpr float kLfeMixInfLimit = -143.9f;
constexpr float kDuckingInfLimit = -76.4f;
// atmosIndication of a presentation that signals Atmos.
constexpr uint8_t kAtmosIndicationOn = 2;

Text LoudnessDb(float value) { return item_text::FloatDb(value, kLoudnessFloor); }

Text LimitedDb(float value, float infLimit) {
  if (value <= infLimit) return Text(catalogue::text::MinusInfDb);
  return LoudnessDb(value);
}

Text OptionalGainDb(uint8_t present, float value) {
  return present ? item_text::FloatDb(value, kGainFloor) : Text(NotPresent);
}

Text OptionalLoudnessDb(bool present, float value) {
  return present ? LoudnessDb(value) : Text(NotPresent);
}

// The text of code in item's table when present, else the item's absent text.
std::string_view WhenPresent(bool present, const catalogue::Item& item, unsigned code) {
  return present ? item.table.Text(code) : item.absent;
}

// A flag item's text for a value, or the item's absent text.
std::string_view FlagWhenPresent(bool present, const catalogue::Item& item, bool value) {
  return present ? item.table.texts[value ? 1 : 0] : item.absent;
}

std::string_view StereoDownmixGain(const catalogue::Item& item, int code) {
  return WhenPresent(code >= 0, item, static_cast<unsigned>(code));
}

// The DRC profile text: the table starts at code -1 (not present); the row
// is taken in unsigned arithmetic, so that anything below -1 lands far above
// the table and INT_MAX does not overflow.
const char* DrcProfileText(int code) {
  return table::DrcProfiles.Text(static_cast<unsigned>(code) - static_cast<unsigned>(table::DrcProfiles.first));
}

// Up to 64 identifiers of up to 11 characters, ", " between them.
using IdList = item_text::Buffer<kAc4MaxSubstreamIds * 13>;

IdList SubstreamIdList(const dlb_padc_ac4_presentation_s& p) {
  IdList list;
  if (p.substreamIdCount == 0) return IdList(item::Ac4SubIds.absent);
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
  auto add = [&](const catalogue::Item& item, auto data, std::string_view desc) {
    AddItem(item, data, desc, entry);
  };
  const std::string_view summary = BoundedView(p.summary);
  add(item::Ac4PresSummary, summary, summary);
  add(item::Ac4PresId, int{p.presentationId}, item_text::Decimal(p.presentationId));
  add(item::Ac4SubIds, int{p.substreamIdCount}, SubstreamIdList(p));
  add(item::Ac4Level, int{p.level}, item_text::Decimal(p.level));
  const std::string_view language = BoundedView(p.language);
  add(item::Ac4Lang, language, language);
  add(item::Ac4Atmos, int{p.atmosIndication}, item::Ac4Atmos.table.Text(p.atmosIndication));
  add(item::Ac4Dialnorm, p.dialnorm, LoudnessDb(p.dialnorm));

  const bool loud = p.loudnessPresent != 0;
  const std::string_view loudnessSummary = BoundedView(p.loudnessSummary);
  add(item::Ac4LoudSum, loudnessSummary, loud ? loudnessSummary : item::Ac4LoudSum.absent);
  add(item::Ac4LoudReg, int{p.loudnessRegulation}, WhenPresent(loud, item::Ac4LoudReg, p.loudnessRegulation));
  add(item::Ac4LoudCorr, int{p.loudnessCorrection},
      FlagWhenPresent(loud, item::Ac4LoudCorr, p.loudnessCorrection != 0));
  add(item::Ac4Gate, int{p.gatingType}, FlagWhenPresent(loud && p.gatingType >= 0, item::Ac4Gate, p.gatingType != 0));
  add(item::Ac4TruePk, p.truePeak, OptionalLoudnessDb(loud && p.truePeakPresent, p.truePeak));
  add(item::Ac4St3s, p.shortTerm3s, OptionalLoudnessDb(loud && p.shortTerm3sPresent, p.shortTerm3s));

  add(item::Ac4Eac3Drc, int{p.eac3DrcProfile}, DrcProfileText(p.eac3DrcProfile));
  for (unsigned k = 0; k < 4; ++k) {
    // The item's key with the mode's digit: "DrcMode0" to "DrcMode3".
    char key[16];
    constexpr std::size_t stem = std::char_traits<char>::length(item::Ac4DrcMode.key);
    static_assert(stem + 2 <= sizeof key);
    std::memcpy(key, item::Ac4DrcMode.key, stem);
    key[stem] = static_cast<char>('0' + k);
    key[stem + 1] = '\0';
    AddUpdateObjectMemberToObject(key, table::DrcDecoderModes.Text(k), int{p.drcModes[k]},
                                  DrcProfileText(p.drcModes[k]), entry);
  }

  add(item::Ac4Duck, p.duckingLevel,
      p.duckingPresent ? LimitedDb(p.duckingLevel, kDuckingInfLimit) : Text(item::Ac4Duck.absent));
  add(item::Ac4DlgGain, p.dialogGain, OptionalGainDb(p.dialogGainPresent, p.dialogGain));
  add(item::Ac4AdGain, p.adGain, OptionalGainDb(p.adGainPresent, p.adGain));
  add(item::Ac4MeGain, p.meGain, OptionalGainDb(p.meGainPresent, p.meGain));
  add(item::Ac4CmGain, p.cmGain, OptionalGainDb(p.cmGainPresent, p.cmGain));

  add(item::Ac4LoRoC, int{p.loRoCentreMixGain}, StereoDownmixGain(item::Ac4LoRoC, p.loRoCentreMixGain));
  add(item::Ac4LoRoS, int{p.loRoSurroundMixGain}, StereoDownmixGain(item::Ac4LoRoS, p.loRoSurroundMixGain));
  add(item::Ac4LtRtC, int{p.ltRtCentreMixGain}, StereoDownmixGain(item::Ac4LtRtC, p.ltRtCentreMixGain));
  add(item::Ac4LtRtS, int{p.ltRtSurroundMixGain}, StereoDownmixGain(item::Ac4LtRtS, p.ltRtSurroundMixGain));
  add(item::Ac4LfeMix, p.lfeMixGain, LimitedDb(p.lfeMixGain, kLfeMixInfLimit));
  add(item::Ac4PrefDmx, static_cast<int>(p.preferredDownmix), item::Ac4PrefDmx.table.Text(p.preferredDownmix));

  const bool top = p.topDownmixPresent != 0;
  add(item::Ac4TfTgt, int{p.topFrontTarget}, FlagWhenPresent(top, item::Ac4TfTgt, p.topFrontTarget != 0));
  add(item::Ac4TfGain, int{p.topFrontGain}, WhenPresent(top, item::Ac4TfGain, p.topFrontGain));
  add(item::Ac4TbTgt, int{p.topBackTarget}, FlagWhenPresent(top, item::Ac4TbTgt, p.topBackTarget != 0));
  add(item::Ac4TbGain, int{p.topBackGain}, WhenPresent(top, item::Ac4TbGain, p.topBackGain));
}

// "Id" is the substream's position in the array, not an identifier from the
// record.
void cPADMetadataJsonDecStatus::AddAc4SubstreamItems(unsigned index, const dlb_padc_ac4_substream_s& s,
                                                     Value& entry) {
  auto add = [&](const catalogue::Item& item, auto data, std::string_view desc) {
    AddItem(item, data, desc, entry);
  };
  const std::string_view summary = BoundedView(s.summary);
  add(item::Ac4SubSummary, summary, summary);
  add(item::Ac4SubId, static_cast<int>(index), item_text::Decimal(index));
  const std::string_view channelConfig = BoundedView(s.channelConfig);
  add(item::Ac4ChCfg, channelConfig, channelConfig);
  add(item::Ac4Obj, int{s.objectCoded}, item::Ac4Obj.table.texts[s.objectCoded ? 1 : 0]);
  add(item::Ac4DlgMax, int{s.dialogMaxGain}, item::Ac4DlgMax.table.Text(s.dialogMaxGain));
  // Code 0 and codes above 4 read "Disabled" from the table itself.
  add(item::Ac4DeMax, int{s.deMaxGain},
      s.deEnabled ? item::Ac4DeMax.table.Text(s.deMaxGain) : item::Ac4DeMax.table.unknown);
}

cPADMetadataJsonDecStatus::Ac4Selection cPADMetadataJsonDecStatus::SelectAc4Presentation(
    const kv_dolby_metadata_t& rec) {
  const dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  // The shown presentation counts from the catalogue's base (1).
  constexpr unsigned base = catalogue::numbering::Ac4ShownPresentation.base;
  Ac4Selection selection{ac4.presentationCount, ac4.activePresentation, 0, false};
  if (selection.count > kAc4MaxPresentations) {
    // More presentations than the record holds: an active index beyond the
    // 16 listed falls back to the first one.
    selection.count = kAc4MaxPresentations;
    if (selection.active > kAc4MaxPresentations - 1) selection.active = 0;
    selection.shown = selection.active + base;
  } else if (selection.count != 0 && selection.active >= selection.count) {
    selection.active = 0;
    selection.shown = base;
  } else {
    selection.shown = selection.count == 0 ? 0 : selection.active + base;
  }
  // With a non-zero count the active index is below the count here, so it
  // addresses a presentation of the record.
  if (selection.count != 0) {
    selection.atmos = ac4.presentations[selection.active].atmosIndication == kAtmosIndicationOn;
  }
  return selection;
}

void cPADMetadataJsonDecStatus::AddAC4StatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddAC4StatusInfo);
}

void cPADMetadataJsonDecStatus::AddAC4StatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  if (ResetItemBlock(statusInfo, item::Ac4StatusInfoBlock.title) == nullptr) return;
  const char* const presentationsKey = catalogue::member::Ac4Presentations.key;
  const char* const substreamsKey = catalogue::member::Ac4Substreams.key;
  AddArrayMemberInObject(presentationsKey, statusInfo);
  AddArrayMemberInObject(substreamsKey, statusInfo);
  // Taken once all three exist: adding a member may move the others.
  Value* exData = FreshArrayMember(catalogue::member::ExData.key, statusInfo);
  Value* presentations = FreshArrayMember(presentationsKey, statusInfo);
  Value* substreams = FreshArrayMember(substreamsKey, statusInfo);
  if (exData == nullptr || presentations == nullptr || substreams == nullptr) return;

  const dlb_padc_ui_md_ac4_s& ac4 = rec.md.ac4;
  const Ac4Selection selection = SelectAc4Presentation(rec);
  Value stream(rapidjson::kObjectType);
  auto add = [&](const catalogue::Item& item, auto data, std::string_view desc) {
    AddItem(item, data, desc, stream);
  };

  add(item::Ac4AverageBitrate, int{ac4.averageBitrate}, item_text::BitrateKbps(ac4.averageBitrate));
  add(item::Ac4UpperBitrate, int{ac4.upperBitrate}, item_text::BitrateKbps(ac4.upperBitrate));
  add(item::Ac4MaxUpperBitrate, int{ac4.maxUpperBitrate}, item_text::BitrateKbps(ac4.maxUpperBitrate));
  add(item::Ac4FrameRate, unsigned{ac4.frameRateCode}, item::Ac4FrameRate.table.Text(ac4.frameRateCode));
  add(item::Ac4IFrameInterval, unsigned{ac4.iFrameInterval},
      item_text::Decimal(ac4.iFrameInterval).Append(" ").Append(item::Ac4IFrameInterval.unit));
  add(item::Ac4BitstreamVersion, unsigned{ac4.bitstreamVersion}, item_text::Decimal(ac4.bitstreamVersion));
  add(item::Ac4PresentationCount, selection.count, item_text::Decimal(selection.count));
  // The count as the decoder gives it; the list below stops at 64.
  add(item::Ac4NumSubstreams, unsigned{ac4.substreamCount}, item_text::Decimal(ac4.substreamCount));
  add(item::Ac4CrcErrors, unsigned{ac4.crcError}, item::Ac4CrcErrors.table.texts[ac4.crcError ? 1 : 0]);
  add(item::Ac4ActivePresentation, selection.shown, item_text::Decimal(selection.count != 0 ? selection.shown : 0u));
  add(item::Ac4OutputRefLevel, ac4.outputRefLevel, LoudnessDb(ac4.outputRefLevel));
  add(item::Ac4AppliedDeGain, int{ac4.appliedDeGain}, LoudnessDb(static_cast<float>(ac4.appliedDeGain)));
  add(item::Ac4DeGainLimit, unsigned{ac4.deGainLimit}, item::Ac4DeGainLimit.table.Text(ac4.deGainLimit));
  add(item::Ac4ChannelConfig, unsigned{ac4.outputChannelConfig},
      item::Ac4ChannelConfig.table.Text(ac4.outputChannelConfig));
  const unsigned speakerConfig = static_cast<unsigned int>(rec.speakerConfig);
  add(item::Ac4SpeakerConfig, speakerConfig, item::Ac4SpeakerConfig.table.Text(speakerConfig));

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

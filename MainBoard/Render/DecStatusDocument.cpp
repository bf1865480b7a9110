// Decoder status document: singleton, top level, the "StatusInfo" frame, the
// items common to every codec, and PCM.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "LargestRecords.h"

#include "Logger.h"
#include "PADMetadataJsonDecStatus.h"
#include "Singleton.h"

using rapidjson::Value;

cPADMetadataJsonDecStatus* cPADMetadataJsonDecStatus::mpJDecStatus = nullptr;
Logger* cPADMetadataJsonDecStatus::mpLogger = nullptr;
int cPADMetadataJsonDecStatus::mLogLevel = MSG_LEVEL_DEBUG;

// The largest status document (AC-4, every presentation and substream, all
// texts at full width) uses about 250 KiB of pool and 125 KiB of text.
cPADMetadataJsonDecStatus::cPADMetadataJsonDecStatus() : cMetadataJson(384 * 1024, 256 * 1024) {
  // The largest record of each kind, then the smallest, rendered once (see
  // LargestRecords.h); the first record received leaves no trace.
  auto rec = std::make_unique<kv_dolby_metadata_t>();
  for (auto fill : {largest_records::Fill, largest_records::FillSmallest}) {
    for (int32_t kind : largest_records::kKinds) {
      fill(kind, *rec);
      PrepareMetadataJson(*rec, 0);
    }
  }
  std::memset(&mLastRecord, 0, sizeof mLastRecord);
  NewDocument();
}

cPADMetadataJsonDecStatus* cPADMetadataJsonDecStatus::GetInstance() {
  mpLogger = Logger::GetInstance();
  auto make = [] { return new cPADMetadataJsonDecStatus(); };
  if (SingleInstance(mpJDecStatus, DeleteInstance, make, [] {}) != nullptr) return mpJDecStatus;
  LOG_AT(cPADMetadataJsonDecStatus, Critical, MSG_LEVEL_CRITICAL,
         "\"Failed to allocate the decoder status renderer.\"");
  return nullptr;
}

void cPADMetadataJsonDecStatus::DeleteInstance() {
  delete mpJDecStatus;
  mpJDecStatus = nullptr;
}

// ---------------------------------------------------------------------------
// Top level

bool cPADMetadataJsonDecStatus::PrepareMetadataJson(const kv_dolby_metadata_t& rec, std::int64_t now) {
  NewDocument();

  auto head = [&](int programs, int current) {
    AddUpdateTimeStampMember("TS", now);
    AddUpdateIntegerMember("ProtoVer", static_cast<int>(rec.protoVer));
    AddUpdateIntegerMember("TypeId", rec.typeId);
    AddUpdateIntegerMember("MdId", static_cast<int>(rec.mdType));
    AddUpdateIntegerMember("NoOfPrograms", programs);
    AddUpdateIntegerMember("CurrentProgram", current);
  };

  switch (rec.typeId) {
    case stream_type::kPcm:
      head(0, 0);
      AddPCMStatusInfoObject(rec);
      break;

    case stream_type::kDolbyDigital:
    case stream_type::kDolbyDigitalPlus:
    case stream_type::kDolbyDigitalPlusIec61937: {
      const dlb_padc_ui_md_ddp_s& ddp = rec.md.ddp;
      const bool objectAudio = rec.atmosDecode != 0 && ddp.atmosPresent != 0;
      head(0, 0);
      AddUpdateBooleanMember("IsAtmosPresent", objectAudio);
      AddDDPStatusInfoObject(rec);
      if (mDoc.IsObject()) {
        if (objectAudio) AddDDPAtmosInfoObject(ddp);
        AddSubstreams(1, ddp);  // the main substream only
      }
      break;
    }

    case stream_type::kAc4: {
      const Ac4Selection selection = SelectAc4Presentation(rec);
      head(static_cast<int>(selection.count), static_cast<int>(selection.shown));
      AddUpdateIntegerMember("NoOfStreams", static_cast<int>(selection.count));
      AddUpdateBooleanMember("IsAtmosPresent", rec.atmosDecode != 0 && selection.atmos);
      AddAC4StatusInfoObject(rec);
      break;
    }

    case stream_type::kDolbyE: {
      const dlb_padc_ui_md_dolbye_s& dolbye = rec.md.dolbye;
      // A current program equal to the count is kept; only a greater one is reset.
      const unsigned current =
          dolbye.currentProgram > dolbye.programCount ? 0u : dolbye.currentProgram;
      head(dolbye.programCount, static_cast<int>(current));
      AddUpdateIntegerMember("NoOfStreams", 0);
      AddUpdateBooleanMember("IsAtmosPresent", false);
      AddDolbyEStatusInfoObject(rec);
      if (mDoc.IsObject()) AddPrograms(dolbye.programCount, dolbye);
      break;
    }

    case stream_type::kEd2: {
      const bool objectPair = Ed2HasObjectPair(rec);
      head(0, 0);
      AddUpdateIntegerMember("NoOfStreams", objectPair ? 2 : 1);
      AddUpdateBooleanMember("IsAtmosPresent", objectPair);
      AddED2StatusInfoObject(rec);
      break;
    }

    default:  // a stream the document does not describe: the empty object
      break;
  }

  Serialize();
  std::memcpy(&mLastRecord, &rec, sizeof mLastRecord);
  return true;
}

bool cPADMetadataJsonDecStatus::requireUpdate(const kv_dolby_metadata_t& rec) const {
  const std::size_t length = SignificantLength(rec.mdType);
  if (length == 0) return true;
  return std::memcmp(&rec.md, &mLastRecord.md, length) != 0;
}

// ---------------------------------------------------------------------------
// The "StatusInfo" frame

void cPADMetadataJsonDecStatus::AddStatusInfoObject(const kv_dolby_metadata_t& rec,
                                                    StatusInfoFill fill) {
  if (Value* statusInfo = RootObjectMember("StatusInfo")) (this->*fill)(rec, *statusInfo);
}

Value* cPADMetadataJsonDecStatus::ResetItemBlock(Value& block, const char* title) {
  AddUpdateObjectMember(title, 0, "", block);
  return FreshArrayMember("ExData", block);
}

// ---------------------------------------------------------------------------
// Item writers

void cPADMetadataJsonDecStatus::AddFlagItem(const code_tables::FlagItem& item, int value,
                                            Value& obj) {
  AddUpdateObjectMemberToObject(item.key, item.title, value, value != 0 ? item.whenSet : item.whenClear, obj);
}

// ---------------------------------------------------------------------------
// Items common to the codecs

void cPADMetadataJsonDecStatus::AddUpdateStreamType(dlb_padc_ui_md_type_t mdType, int typeId,
                                                    Value& obj) {
  AddUpdateObjectMemberToObject("Type", "Type", static_cast<unsigned int>(typeId),
                                code_tables::StreamTypeText(mdType, typeId), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateInputSignalType(SysInputType_e inputType, Value& obj) {
  AddUpdateObjectMemberToObject("SignalType", "Signal Type", static_cast<unsigned int>(inputType),
          inputType == SYS_INPUT_TYPE_SDI ? "SDI" : "AES", obj);
}

void cPADMetadataJsonDecStatus::AddUpdateDZPair(unsigned int pair, Value& obj) {
  AddUpdateObjectMemberToObject("Pair", "Pair", pair, item_text::Decimal(pair), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateSpeakerConfig(int config, Value& obj) {
  AddCodedItem(code_tables::kChannelConfig, static_cast<unsigned int>(config), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateOutputSpeakerConfig(int config, Value& obj) {
  AddCodedItem(code_tables::kOutputChannelConfig, static_cast<unsigned int>(config), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateAtmosStatus(bool enabled, Value& obj) {
  AddUpdateObjectMemberToObject("Atmos", "Atmos Decode", enabled ? 1u : 0u,
                                enabled ? "Enabled" : "Disabled", obj);
}

void cPADMetadataJsonDecStatus::AddPrgAtmosPresent(unsigned int present, Value& obj) {
  const bool isPresent = present != 0;
  AddUpdateObjectMemberToObject("AtmosPresent", "Atmos Presence", isPresent, isPresent ? "Yes" : "No", obj);
  AddUpdateBooleanMember("IsAtmosPresent", isPresent);
}

void cPADMetadataJsonDecStatus::AddFrameRate(unsigned short code, Value& obj) {
  const float rate = static_cast<float>(code) / 100.0f;
  const char* text = code_tables::FrameRateText(code);
  // Without a text of its own the rate is shown as "%f" prints it.
  AddUpdateObjectMemberToObject("FrameRate", "Frame rate", rate,
                                text ? item_text::Text(text) : item_text::Fixed(rate, 6), obj);
}

void cPADMetadataJsonDecStatus::AddBitDepth(unsigned char code, Value& obj) {
  AddUpdateObjectMemberToObject("BitDepth", "Bit depth", static_cast<int>(code),
                                code == 16 ? "16 bits" : "20 bits", obj);
}

void cPADMetadataJsonDecStatus::AddPrgCfg(std::string_view config, Value& obj) {
  AddUpdateObjectMemberToObject("PrgCfg", "Program configuration", config, "", obj);
}

void cPADMetadataJsonDecStatus::AddPrgCount(unsigned int count, Value& obj) {
  AddUpdateObjectMemberToObject("PrgCount", "Program count", count, item_text::Decimal(count), obj);
}

void cPADMetadataJsonDecStatus::AddCurrentPrg(unsigned int program, Value& obj) {
  AddUpdateObjectMemberToObject("MonitorPrg", "Selected Program", program,
                                program == 0 ? item_text::Text("All Programs") : item_text::Decimal(program),
                                obj);
}

void cPADMetadataJsonDecStatus::AddMetadataID(unsigned short id, Value& obj) {
  AddUpdateObjectMemberToObject("MetadataID", "Metadata ID", static_cast<int>(id), item_text::Decimal(id),
                                obj);
}

void cPADMetadataJsonDecStatus::AddPrgMixingLevel(int /*audprodie*/, int mixlevel, Value& obj) {
  AddCodedItem(code_tables::kMixlevel, mixlevel, obj);
}

// ---------------------------------------------------------------------------
// PCM

void cPADMetadataJsonDecStatus::AddPCMStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddPCMStatusInfo);
}

void cPADMetadataJsonDecStatus::AddPCMStatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  FillStatusInfo(statusInfo, code_tables::kStatusInfoTitle, [&](Value& entry) {
    AddUpdateStreamType(rec.mdType, rec.typeId, entry);
    AddUpdateInputSignalType(rec.inputType, entry);
    AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, entry);
    AddUpdateSpeakerConfig(rec.speakerConfig, entry);
  });
}

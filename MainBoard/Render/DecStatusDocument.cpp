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
namespace item = catalogue::item;
namespace member = catalogue::member;
namespace table = catalogue::table;

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
    AddUpdateTimeStampMember(member::TS.key, now);
    AddUpdateIntegerMember(member::ProtoVer.key, static_cast<int>(rec.protoVer));
    AddUpdateIntegerMember(member::TypeId.key, rec.typeId);
    AddUpdateIntegerMember(member::MdId.key, static_cast<int>(rec.mdType));
    AddUpdateIntegerMember(member::NoOfPrograms.key, programs);
    AddUpdateIntegerMember(member::CurrentProgram.key, current);
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
      AddUpdateBooleanMember(member::IsAtmosPresent.key, objectAudio);
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
      AddUpdateIntegerMember(member::NoOfStreams.key, static_cast<int>(selection.count));
      AddUpdateBooleanMember(member::IsAtmosPresent.key, rec.atmosDecode != 0 && selection.atmos);
      AddAC4StatusInfoObject(rec);
      break;
    }

    case stream_type::kDolbyE: {
      const dlb_padc_ui_md_dolbye_s& dolbye = rec.md.dolbye;
      // A current program equal to the count is kept; only a greater one is reset.
      const unsigned current =
          dolbye.currentProgram > dolbye.programCount ? 0u : dolbye.currentProgram;
      head(dolbye.programCount, static_cast<int>(current));
      AddUpdateIntegerMember(member::NoOfStreams.key, 0);
      AddUpdateBooleanMember(member::IsAtmosPresent.key, false);
      AddDolbyEStatusInfoObject(rec);
      if (mDoc.IsObject()) AddPrograms(dolbye.programCount, dolbye);
      break;
    }

    case stream_type::kEd2: {
      const bool objectPair = Ed2HasObjectPair(rec);
      head(0, 0);
      AddUpdateIntegerMember(member::NoOfStreams.key, objectPair ? 2 : 1);
      AddUpdateBooleanMember(member::IsAtmosPresent.key, objectPair);
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
  if (Value* statusInfo = RootObjectMember(member::StatusInfo.key)) (this->*fill)(rec, *statusInfo);
}

Value* cPADMetadataJsonDecStatus::ResetItemBlock(Value& block, const char* title) {
  AddUpdateObjectMember(title, 0, "", block);
  return FreshArrayMember(member::ExData.key, block);
}

// ---------------------------------------------------------------------------
// Items common to the codecs

void cPADMetadataJsonDecStatus::AddUpdateStreamType(dlb_padc_ui_md_type_t mdType, int typeId,
                                                    Value& obj) {
  const unsigned row = catalogue::StreamTypeCode(static_cast<unsigned>(mdType), typeId);
  AddItem(item::StreamType, static_cast<unsigned int>(typeId), table::StreamTypes.texts[row], obj);
}

void cPADMetadataJsonDecStatus::AddUpdateInputSignalType(SysInputType_e inputType, Value& obj) {
  AddItem(item::SignalType, static_cast<unsigned int>(inputType),
          table::SignalTypes.texts[inputType == SYS_INPUT_TYPE_SDI ? 1 : 0], obj);
}

void cPADMetadataJsonDecStatus::AddUpdateDZPair(unsigned int pair, Value& obj) {
  AddItem(item::Pair, pair, item_text::Decimal(pair), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateSpeakerConfig(int config, Value& obj) {
  AddCodedItem(item::ChannelConfig, static_cast<unsigned int>(config), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateOutputSpeakerConfig(int config, Value& obj) {
  AddCodedItem(item::OutputChannelConfig, static_cast<unsigned int>(config), obj);
}

void cPADMetadataJsonDecStatus::AddUpdateAtmosStatus(bool enabled, Value& obj) {
  AddItem(item::AtmosDecode, enabled ? 1u : 0u, item::AtmosDecode.table.texts[enabled ? 1 : 0], obj);
}

void cPADMetadataJsonDecStatus::AddPrgAtmosPresent(unsigned int present, Value& obj) {
  const bool isPresent = present != 0;
  AddItem(item::AtmosPresent, isPresent, item::AtmosPresent.table.texts[isPresent ? 1 : 0], obj);
  AddUpdateBooleanMember(member::IsAtmosPresent.key, isPresent);
}

void cPADMetadataJsonDecStatus::AddFrameRate(unsigned short code, Value& obj) {
  const float rate = static_cast<float>(code) / 100.0f;
  const char* text = item::FrameRate.table.Find(code);
  // Without a text of its own the rate is shown as "%f" prints it.
  AddItem(item::FrameRate, rate, text ? item_text::Text(text) : item_text::Fixed(rate, 6), obj);
}

void cPADMetadataJsonDecStatus::AddBitDepth(unsigned char code, Value& obj) {
  AddItem(item::BitDepth, static_cast<int>(code), item::BitDepth.table.texts[code == 16 ? 1 : 0], obj);
}

void cPADMetadataJsonDecStatus::AddPrgCfg(std::string_view config, Value& obj) {
  AddItem(item::PrgCfg, config, "", obj);
}

void cPADMetadataJsonDecStatus::AddPrgCount(unsigned int count, Value& obj) {
  AddItem(item::PrgCount, count, item_text::Decimal(count), obj);
}

void cPADMetadataJsonDecStatus::AddCurrentPrg(unsigned int program, Value& obj) {
  AddCodedItem(item::MonitorPrg, program, obj);
}

void cPADMetadataJsonDecStatus::AddMetadataID(unsigned short id, Value& obj) {
  AddItem(item::MetadataID, static_cast<int>(id), item_text::Decimal(id), obj);
}

void cPADMetadataJsonDecStatus::AddPrgMixingLevel(int /*audprodie*/, int mixlevel, Value& obj) {
  AddCodedItem(item::Mixlevel, mixlevel, obj);
}

// ---------------------------------------------------------------------------
// PCM

void cPADMetadataJsonDecStatus::AddPCMStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddPCMStatusInfo);
}

void cPADMetadataJsonDecStatus::AddPCMStatusInfo(const kv_dolby_metadata_t& rec,
                                                 Value& statusInfo) {
  FillStatusInfo(statusInfo, item::StatusInfoBlock.title, [&](Value& entry) {
    AddUpdateStreamType(rec.mdType, rec.typeId, entry);
    AddUpdateInputSignalType(rec.inputType, entry);
    AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, entry);
    AddUpdateSpeakerConfig(rec.speakerConfig, entry);
  });
}

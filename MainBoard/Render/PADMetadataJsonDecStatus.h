#pragma once
// Decoder status document: one record in, one JSON object out.
//
// The class is split by codec over several files:
//   DecStatusDocument.cpp  top level, "StatusInfo" frame, common item adders, PCM
//   DecStatusDdp.cpp       Dolby Digital (Plus): "AtmosInfo", "Streams"
//   DecStatusDolbyE.cpp    Dolby E: "Programs"
//   DecStatusAc4.cpp       AC-4: stream, presentation and substream entries
//   DecStatusEd2.cpp       ED2: one or two stream entries
// Code-to-text tables live in CodeTables.h and Ac4PadUi.h.

#include <string>
#include <utility>

#include "CodeTables.h"
#include "MetadataJson.h"
#include "Record/DolbyMetadataRecord.h"

class Logger;

class cPADMetadataJsonDecStatus : public cMetadataJson {
 public:
  // Made on first use; null, with a Critical log line, when memory runs out.
  // Freed at exit.
  static cPADMetadataJsonDecStatus* GetInstance();
  static void DeleteInstance();

  static cPADMetadataJsonDecStatus* mpJDecStatus;
  static Logger* mpLogger;
  static int mLogLevel;

  // Renders rec into the document and serialises it; always true.
  bool PrepareMetadataJson(const kv_dolby_metadata_t& rec, long now);
  // True when rec's codec block differs from the last rendered record's.
  bool requireUpdate(const kv_dolby_metadata_t& rec) const;

  // ---- "StatusInfo" per codec (root find-or-create, then fill)
  void AddPCMStatusInfoObject(const kv_dolby_metadata_t& rec);
  void AddPCMStatusInfo(const kv_dolby_metadata_t& rec, Value& statusInfo);
  void AddDDPStatusInfoObject(const kv_dolby_metadata_t& rec);
  void AddDDPStatusInfo(const kv_dolby_metadata_t& rec, Value& statusInfo);
  void AddDolbyEStatusInfoObject(const kv_dolby_metadata_t& rec);
  void AddDolbyEStatusInfo(const kv_dolby_metadata_t& rec, Value& statusInfo);
  void AddAC4StatusInfoObject(const kv_dolby_metadata_t& rec);
  void AddAC4StatusInfo(const kv_dolby_metadata_t& rec, Value& statusInfo);
  void AddED2StatusInfoObject(const kv_dolby_metadata_t& rec);
  void AddED2StatusInfo(const kv_dolby_metadata_t& rec, Value& statusInfo);

  // ---- common item adders
  void AddUpdateStreamType(dlb_padc_ui_md_type_t mdType, int typeId, Value& obj);
  void AddUpdateInputSignalType(SysInputType_e inputType, Value& obj);
  void AddUpdateDZPair(unsigned int pair, Value& obj);
  void AddUpdateSpeakerConfig(int config, Value& obj);
  void AddUpdateOutputSpeakerConfig(int config, Value& obj);
  void AddUpdateAtmosStatus(bool enabled, Value& obj);
  void AddPrgAtmosPresent(unsigned int present, Value& obj);
  void AddFrameRate(unsigned short code, Value& obj);
  void AddBitDepth(unsigned char code, Value& obj);
  void AddPrgCfg(const char* config, Value& obj);
  void AddPrgCount(unsigned int count, Value& obj);
  void AddCurrentPrg(unsigned int program, Value& obj);
  void AddMetadataID(unsigned short id, Value& obj);

  // ---- Dolby Digital (Plus)
  void AddDDPAtmosInfoObject(const dlb_padc_ui_md_ddp_s& ddp);
  void AddDDPAtmosInfo(const dlb_padc_ui_md_ddp_s& ddp, Value& atmosInfo);
  void AddDDPObjectsArray(const dlb_padc_ui_md_ddp_s& ddp, Value& exData);
  void AddDDPObject(const dlb_padc_object_info_ddp_s& object, Value& objects);
  void AddSubstreams(unsigned int count, const dlb_padc_ui_md_ddp_s& ddp);
  void AddSubstream(unsigned int i, const dlb_padc_ui_md_ddp_s& ddp, Value& streams);

  // ---- Dolby E
  void AddPrograms(unsigned int count, const dlb_padc_ui_md_dolbye_s& dolbye);
  void AddProgram(unsigned int i, const dlb_padc_ui_md_dolbye_s& dolbye, Value& programs);
  // Ignores its first argument (the Dolby E path passes its production
  // information flag, the substream 1); only the mixing level is shown.
  void AddPrgMixingLevel(int audprodie, int mixlevel, Value& obj);

  // ---- AC-4 and ED2 figures shared by the top level and the codec blocks
  struct Ac4Selection {
    unsigned count;   // presentations shown, at most 16
    unsigned active;  // index of the active presentation after the reset rule
    unsigned shown;   // number shown for it: active + 1, or 0 without presentations
    bool atmos;       // the active presentation signals Atmos (atmosIndication 2)
  };
  static Ac4Selection SelectAc4Presentation(const kv_dolby_metadata_t& rec);
  // True when atmosDecode is on and the ED2 stream carries object audio,
  // i.e. a second pair is described.
  static bool Ed2HasObjectPair(const kv_dolby_metadata_t& rec);

 private:
  cPADMetadataJsonDecStatus();

  // ---- the "StatusInfo" frame shared by every codec
  using StatusInfoFill = void (cPADMetadataJsonDecStatus::*)(const kv_dolby_metadata_t&, Value&);
  // Root side: finds or creates "StatusInfo" (a non-object member of that
  // name is reset to an empty object) and lets fill write into it. Nothing
  // happens when the root is not an object.
  void AddStatusInfoObject(const kv_dolby_metadata_t& rec, StatusInfoFill fill);
  // Writes block's own item fields (title, int data 0, empty description) and
  // returns its "ExData" array, created if missing and emptied. Null when block
  // is not an object or its "ExData" is not an array. Used by "StatusInfo"
  // and "AtmosInfo".
  Value* ResetItemBlock(Value& block, const char* title);
  // The "ExData" array of obj, created if missing and emptied; null when obj is
  // not an object or "ExData" is not an array.
  Value* EmptyExData(Value& obj);
  // Appends to array (if it is one) a new object filled by fill(Value& entry).
  template <typename Fill>
  void AppendEntry(Value& array, Fill&& fill) {
    if (!array.IsArray()) return;
    Value entry(rapidjson::kObjectType);
    fill(entry);
    array.PushBack(entry, Allocator());
  }
  // The one-entry "StatusInfo": item fields with title, "ExData" rebuilt with
  // exactly one entry that fill(Value& entry) fills with the codec's items.
  template <typename Fill>
  void FillStatusInfo(Value& statusInfo, const char* title, Fill&& fill) {
    if (Value* exData = ResetItemBlock(statusInfo, title)) AppendEntry(*exData, std::forward<Fill>(fill));
  }

  // ---- sections of substreams and programs
  // Appends {section.key: {Title, Data index, Desc desc, ExData [entry]}} to
  // sections, the entry filled by fill(Value& entry).
  template <typename Fill>
  void AppendSection(Value& sections, const code_tables::Section& section, unsigned int index,
                     const std::string& desc, Fill&& fill) {
    AppendEntry(sections, [&](Value& holder) {
      AddItem<unsigned int>(section.key, section.title, index, desc, holder);
      Value::MemberIterator it = holder.FindMember(section.key);
      if (it == holder.MemberEnd()) return;
      if (Value* exData = EmptyExData(it->value)) AppendEntry(*exData, std::forward<Fill>(fill));
    });
  }
  // The "Downmixing" items, the same for the substream and a program.
  template <typename Source>
  void AddDownmixingItems(const Source& source, Value& entry) {
    AddCodedItem(code_tables::kDmixmod, source.dmixmod, entry);
    AddCodedItem(code_tables::kLtrtcmixlev, source.ltrtcmixlev, entry);
    AddCodedItem(code_tables::kLtrtsurmixlev, source.ltrtsurmixlev, entry);
    AddCodedItem(code_tables::kLorocmixlev, source.lorocmixlev, entry);
    AddCodedItem(code_tables::kLorosurmixlev, source.lorosurmixlev, entry);
  }

  // ---- item writers
  // The title and description go through two strings kept for the purpose, so
  // that rendering an item allocates nothing outside the document's pool.
  template <typename T>
  void AddItem(const char* key, const char* title, T data, const char* desc, Value& obj) {
    mItemTitle.assign(title);
    mItemDesc.assign(desc);
    AddUpdateObjectMemberToObject<T>(key, mItemTitle, data, mItemDesc, obj);
  }
  template <typename T>
  void AddItem(const char* key, const char* title, T data, const std::string& desc, Value& obj) {
    AddItem(key, title, data, desc.c_str(), obj);
  }
  void AddCodedItem(const code_tables::CodedItem& item, int code, Value& obj);
  void AddCodedItem(const code_tables::CodedItem& item, unsigned int code, Value& obj);
  void AddFlagItem(const code_tables::FlagItem& item, int value, Value& obj);

  // ---- Dolby Digital (Plus) substream items that depend on more than their code
  void AddSubstreamDatarate(int datarate, Value& obj);
  void AddSubstreamDsurmod(int dsurmod, int acmod, Value& obj);
  // ---- Dolby E program item with an extra code
  void AddProgramDynrng(int dynrngProfile, Value& obj);

  kv_dolby_metadata_t mLastRecord;
  std::string mItemTitle;
  std::string mItemDesc;
};

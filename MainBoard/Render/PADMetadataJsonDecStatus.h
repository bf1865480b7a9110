#pragma once
// Decoder status document: one record in, one JSON object out.
//
// The class is split by codec over several files:
//   DecStatusDocument.cpp  top level, "StatusInfo" frame, common item adders, PCM
//   DecStatusDdp.cpp       Dolby Digital (Plus): "AtmosInfo", "Streams"
//   DecStatusDolbyE.cpp    Dolby E: "Programs"
//   DecStatusAc4.cpp       AC-4: stream, presentation and substream entries
//   DecStatusEd2.cpp       ED2: one or two stream entries
// Keys, titles, code tables and texts come from the catalogue (Catalogue.def),
// value transforms from ItemText.h.

#include <string_view>
#include <utility>

#include "ItemText.h"
#include "MetadataJson.h"
#include "Record/DolbyMetadataRecord.h"

class Logger;

class cPADMetadataJsonDecStatus : public cMetadataJson {
 public:
  // The one renderer of the process, created on first use (its pool and text
  // buffer with it); null, with a Critical log line, when it cannot be
  // allocated. Owned by the class and freed at exit.
  static cPADMetadataJsonDecStatus* GetInstance();
  // Destroys the renderer (registered with atexit); GetInstance makes a new one.
  static void DeleteInstance();

  static cPADMetadataJsonDecStatus* mpJDecStatus;
  static Logger* mpLogger;
  static int mLogLevel;

  // Renders rec into the document and serialises it; always true.
  bool PrepareMetadataJson(const kv_dolby_metadata_t& rec, std::int64_t now);
  // True when rec's codec block differs from the last rendered record's.
  // Kept as designed; the reader does not call it.
  bool requireUpdate(const kv_dolby_metadata_t& rec) const;

  // ---- "StatusInfo" per codec. The ...Object forms find or create the root's
  // "StatusInfo" object and fill it; the others fill the given object.
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

  // ---- common item adders: each adds or updates one item of obj (see
  // cMetadataJson::AddUpdateObjectMemberToObject).
  void AddUpdateStreamType(dlb_padc_ui_md_type_t mdType, int typeId, Value& obj);
  void AddUpdateInputSignalType(SysInputType_e inputType, Value& obj);
  void AddUpdateDZPair(unsigned int pair, Value& obj);
  void AddUpdateSpeakerConfig(int config, Value& obj);
  void AddUpdateOutputSpeakerConfig(int config, Value& obj);
  void AddUpdateAtmosStatus(bool enabled, Value& obj);
  void AddPrgAtmosPresent(unsigned int present, Value& obj);
  void AddFrameRate(unsigned short code, Value& obj);
  void AddBitDepth(unsigned char code, Value& obj);
  void AddPrgCfg(std::string_view config, Value& obj);
  void AddPrgCount(unsigned int count, Value& obj);
  void AddCurrentPrg(unsigned int program, Value& obj);
  void AddMetadataID(unsigned short id, Value& obj);

  // ---- Dolby Digital (Plus): "AtmosInfo" (root object), its "PaObjects",
  // and the first `count` entries (at most kMaxSubstreams) of the root's
  // "Streams". The count is the designed interface; the daemon passes 1 (the
  // main substream, the only one the record describes).
  static constexpr unsigned kMaxSubstreams = 16;
  void AddDDPAtmosInfoObject(const dlb_padc_ui_md_ddp_s& ddp);
  void AddDDPAtmosInfo(const dlb_padc_ui_md_ddp_s& ddp, Value& atmosInfo);
  void AddDDPObjectsArray(const dlb_padc_ui_md_ddp_s& ddp, Value& exData);
  void AddDDPObject(const dlb_padc_object_info_ddp_s& object, Value& objects);
  void AddSubstreams(unsigned int count, const dlb_padc_ui_md_ddp_s& ddp);
  void AddSubstream(unsigned int i, const dlb_padc_ui_md_ddp_s& ddp, Value& streams);

  // ---- Dolby E: the first `count` entries (at most 16) of the root's "Programs".
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
  // The presentations shown for rec's AC-4 block and the active one.
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
  void AppendSection(Value& sections, const catalogue::Item& section, unsigned int index,
                     std::string_view desc, Fill&& fill) {
    AppendEntry(sections, [&](Value& holder) {
      AddItem(section, index, desc, holder);
      Value::MemberIterator it = holder.FindMember(section.key);
      if (it == holder.MemberEnd()) return;
      if (Value* exData = FreshArrayMember(catalogue::member::ExData.key, it->value)) {
        AppendEntry(*exData, std::forward<Fill>(fill));
      }
    });
  }
  // The "Downmixing" items, the same for the substream and a program.
  template <typename Source>
  void AddDownmixingItems(const Source& source, Value& entry) {
    AddCodedItem(catalogue::item::Dmixmod, source.dmixmod, entry);
    AddCodedItem(catalogue::item::Ltrtcmixlev, source.ltrtcmixlev, entry);
    AddCodedItem(catalogue::item::Ltrtsurmixlev, source.ltrtsurmixlev, entry);
    AddCodedItem(catalogue::item::Lorocmixlev, source.lorocmixlev, entry);
    AddCodedItem(catalogue::item::Lorosurmixlev, source.lorosurmixlev, entry);
  }

  // ---- item writers
  // The item of a coded value: "Data" the code (of type Code, int or
  // unsigned int), the table text as "Desc", or outside the table the item's
  // other title and the table's unknown text (the code in decimal without one).
  template <typename Code>
  void AddCodedItem(const catalogue::Item& item, Code code, Value& obj) {
    const unsigned index = static_cast<unsigned>(code);
    if (const char* text = item.table.Find(index)) {
      AddItem(item, code, text, obj);
      return;
    }
    const char* unknown = item.table.unknown;
    AddUpdateObjectMemberToObject(item.key, item.TitleOf(index), code,
                                  unknown ? item_text::Text(unknown) : item_text::Decimal(code), obj);
  }
  // The item of a flag: "Data" value, "Desc" the table's text for zero or for
  // any other value.
  void AddFlagItem(const catalogue::Item& item, int value, Value& obj) {
    AddItem(item, value, item.table.texts[value != 0 ? 1 : 0], obj);
  }

  // ---- Dolby Digital (Plus) substream items that depend on more than their code
  void AddSubstreamDatarate(int datarate, Value& obj);
  void AddSubstreamDsurmod(int dsurmod, int acmod, Value& obj);
  // ---- AC-4 entries of "Presentations" and "Substreams"
  void AddAc4PresentationItems(const dlb_padc_ac4_presentation_s& p, Value& entry);
  void AddAc4SubstreamItems(unsigned index, const dlb_padc_ac4_substream_s& s, Value& entry);
  // ---- Dolby E program item with an extra code
  void AddProgramDynrng(int dynrngProfile, Value& obj);

  kv_dolby_metadata_t mLastRecord;
};

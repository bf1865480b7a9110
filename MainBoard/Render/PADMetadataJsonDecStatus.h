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

#include "MetadataJson.h"
#include "Record/DolbyMetadataRecord.h"

class Logger;

class cPADMetadataJsonDecStatus : public cMetadataJson {
 public:
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

 private:
  cPADMetadataJsonDecStatus();

  kv_dolby_metadata_t mLastRecord;
};

#pragma once
// Presentation and object document of ED2 streams: the stream's presentations
// and, per presentation, its beds and dynamic objects ("PaObjects") and the
// sources of its first bed ("PaBed").
//
// "PaObjects" lists the included beds first, then the included dynamic
// objects, each in record order. Its "SpeakerConfig" item carries a layout
// label as "Data" and the speaker list as "Desc": a dynamic object is one
// full-range channel, "1.0", with "Desc" "-"; a bed is labelled
// "<full-range speakers>-<LFE speakers>" ("%d-%d", e.g. "5-1" for
// L R C LFE Ls Rs) with its speaker list (" L R C LFE Ls Rs") as "Desc".
// "PaBed" uses the same item for the bed it describes.

#include "MetadataJson.h"
#include "Record/DolbyMetadataRecord.h"

class Logger;

class cMetadataJsonPaData : public cMetadataJson {
 public:
  // Made on first use; null, with a Critical log line, when memory runs out.
  // Freed at exit.
  static cMetadataJsonPaData* GetInstance();
  static void DeleteInstance();

  static cMetadataJsonPaData* mpJPaData;
  static Logger* mpLogger;
  static int mLogLevel;

  // Rebuilds the document from record and serialises it; returns 1.
  // objectsEnabled is the header's atmosDecode being non-zero. A record that
  // is not ED2 gives the empty object.
  int PreparePaMetadataJson(const kv_dolby_metadata_t& record, bool objectsEnabled, long timeStamp);

  void AddPresentations(const kv_dolby_metadata_t& record);
  void AddPresentation(unsigned int index, const kv_dolby_metadata_t& record, Value& presentations);
  void AddPresentationName(const char* name, Value& entry);
  void AddPAObjectsArray(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2, Value& entry);
  void AddBedObject(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2, Value& entry);

 private:
  // The largest presentation document (16 presentations, every bed and
  // object) uses about 3.1 MiB of pool, most of it left behind by growing
  // arrays, and 320 KiB of text.
  cMetadataJsonPaData() : cMetadataJson(4 * 1024 * 1024, 512 * 1024) {}

  void AddBedEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed, Value& objects);
  void AddDynamicObjectEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int object, unsigned int set,
                             Value& objects);
  void AddBedSource(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed, unsigned int source,
                    unsigned int set, Value& sources);
  void AddSpeakerConfigItem(const std::string& label, const std::string& channels, Value& obj);
};

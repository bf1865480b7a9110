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

#include <string_view>

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
  int PreparePaMetadataJson(const kv_dolby_metadata_t& record, bool objectsEnabled, std::int64_t timeStamp);

  // The root's "Presentations" array (found or created, emptied) with one
  // entry per presentation of record, at most 16.
  void AddPresentations(const kv_dolby_metadata_t& record);
  // Appends presentation index's entry ("Name", "PaObjects", "PaBed") to
  // presentations; nothing when it is no array or index is past 15.
  void AddPresentation(unsigned int index, const kv_dolby_metadata_t& record, Value& presentations);
  // The "Name" item of entry: "Data" true, "Desc" the name.
  void AddPresentationName(std::string_view name, Value& entry);
  // entry's "PaObjects" (found or created, emptied): the beds, then the
  // dynamic objects, that presentation index includes.
  void AddPAObjectsArray(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2, Value& entry);
  // entry's "PaBed" (found or created, emptied; left alone when it is no
  // object): the first bed presentation index includes and its sources.
  void AddBedObject(unsigned int index, const dlb_padc_ui_md_ed2_s& ed2, Value& entry);

 private:
  // Renders the largest ED2 record once (see the status renderer).
  cMetadataJsonPaData();

  void AddBedEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed, Value& objects);
  void AddDynamicObjectEntry(const dlb_padc_ui_md_ed2_s& ed2, unsigned int object, unsigned int set,
                             Value& objects);
  void AddBedSource(const dlb_padc_ui_md_ed2_s& ed2, unsigned int bed, unsigned int source,
                    unsigned int set, Value& sources);
  void AddSpeakerConfigItem(std::string_view label, std::string_view channels, Value& obj);
};

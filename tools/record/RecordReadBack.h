#pragma once
// Reads a decoder record back into the JSON form that the encoder takes
// (RecordEncoder.h): the header, the codec block that mdType selects, and a
// "raw" list for any other non-zero bytes. Zero fields are left out, and
// arrays end at their last non-zero element, so the text stays short; applied
// to EmptyRecord() it rebuilds the same bytes.

#include <string>

#include <rapidjson/document.h>

#include "Record/DolbyMetadataRecord.h"

namespace tools {

// Fills `out` (made an object) with the description of `rec`.
// protoVer, typeId and mdType are always present.
void ReadBackRecord(const kv_dolby_metadata_t& rec, rapidjson::Document& out);

// A whole scenario file for `rec`: {"description": ..., "record": {...}},
// indented, ready for plovrest-sim --scenario-file.
std::string RecordScenarioText(const kv_dolby_metadata_t& rec, const std::string& description);

}  // namespace tools

#pragma once
// Reads a decoder record back into the JSON form that the encoder takes
// (RecordEncoder.h): the header, the codec block that mdType selects, and a
// "raw" list for any other non-zero bytes. Zero fields are left out, and
// arrays end at their last non-zero element, so the text stays short; applied
// to EmptyRecord() it rebuilds the same bytes.

#include <string>

#include <rapidjson/document.h>

#include "Record/DolbyMetadataRecord.h"
#include "record/Capture.h"

namespace tools {

// Fills `out` (made an object) with the description of `rec`.
// protoVer, typeId and mdType are always present.
void ReadBackRecord(const kv_dolby_metadata_t& rec, rapidjson::Document& out);

// A whole scenario file for `rec`: {"description": ..., "record": {...}},
// indented, ready for plovrest-sim --scenario-file.
std::string RecordScenarioText(const kv_dolby_metadata_t& rec, const std::string& description);

// A scenario file with one step per record of `records` (not empty), in
// order, labelled "record N" counting from `firstNumber`: each step starts
// from an empty record and is held until the next record's receive time
// (at least 1 ms), the last for 1 s. The steps loop as every scenario does.
std::string CapturedScenarioText(const std::vector<CapturedRecord>& records, std::size_t firstNumber,
                                 const std::string& description);

}  // namespace tools

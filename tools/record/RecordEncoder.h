#pragma once
// Writes record fields given as JSON into a decoder record.
//
// The JSON has the record's shape (see RecordSchema.h):
//   {"typeId": 16, "ddp": {"acmod": 7, "objects": [{"x": 0.25}], "bedChannels": [1, 1, 1]}}
// Only the fields named are written; everything else keeps its bytes, so a
// description can be applied on top of an earlier one. Rules:
//  - integers must be whole numbers within the field's width; booleans count
//    as 1 and 0; typeId, mdType, inputType and dialogueClass also take names;
//  - floats take numbers or "nan", "inf", "-inf";
//  - texts must leave room for their terminator; the rest of the field is
//    cleared;
//  - arrays may be shorter than the field; a null element leaves it as is;
//  - one codec block ("dolbye", "ddp", "ed2", "ac4") at a time; naming one
//    without "mdType" sets mdType to match;
//  - "raw": [{"offset": N, "hex": "00ff..."}] writes bytes anywhere in the
//    record (reserved areas included), after the named fields.
// Any other name is an error that gives the field's path.

#include <string>

#include <rapidjson/document.h>

#include "Record/DolbyMetadataRecord.h"

namespace tools {

// All zero, with the protocol version the daemon accepts.
kv_dolby_metadata_t EmptyRecord();

// Applies `fields` to `rec`. On error returns false, leaves `rec` partly
// written and sets `error` to "<path>.<field>: <reason>", where `path` names
// the JSON value given (for example "steps[2].record").
bool ApplyRecordFields(const rapidjson::Value& fields, const std::string& path,
                       kv_dolby_metadata_t& rec, std::string& error);

}  // namespace tools

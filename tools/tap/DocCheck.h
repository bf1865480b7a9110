#pragma once
// The verdict on one received payload: a whole JSON document that its JSON
// Schema accepts, or where and how it fails.

#include <string>

#include "tap/MessageView.h"

namespace tap {

struct DocCheck {
  enum class Kind {
    Ok,       // a valid document (or a decoder record, which is binary)
    Empty,    // no payload at all
    Cut,      // JSON text that ends inside the document: the daemon's writer
              // stops where a NaN or infinite number would stand
    Invalid,  // any other text that is not JSON
    Schema,   // a JSON document that its topic's JSON Schema rejects
  };
  Kind kind = Kind::Ok;
  std::size_t at = 0;  // Cut, Invalid: byte offset where the text stops being JSON
  std::string path;    // Cut, Invalid: member path there, e.g. "AtmosInfo.ExData[0].PaObjects[0].x.Data";
                       // Schema: JSON pointer of the first violation, e.g. "/StatusInfo/Title"
  std::string rule;    // Schema: the rule broken there, e.g. "enum", "additionalProperties"
};

// Checks `payload` as received on `topic`: whether it is JSON, and, for a
// topic that has a JSON Schema (tools::SchemaForTopic), whether the schema
// accepts it.
DocCheck CheckDocument(const std::string& topic, const std::string& payload);

// "ok", "empty", "cut", "invalid", "schema".
const char* DocCheckName(DocCheck::Kind kind);

// The verdict in words for a terminal, e.g. "invalid: /StatusInfo/Title: enum"
// or "cut at byte 812 (AtmosInfo.ExData[0].PaObjects[0].x.Data): a
// non-finite number stands there".
std::string DescribeCheck(const DocCheck& check);

// {"kind":"cut","at":812,"path":"..."} ("rule" too for kind "schema"; only
// "kind" for ok and empty).
std::string CheckJson(const DocCheck& check);

// JsonLine(message) with the verdict as its last member "check".
std::string JsonLineWithCheck(const Message& message, const DocCheck& check);

}  // namespace tap

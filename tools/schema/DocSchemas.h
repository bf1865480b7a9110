#pragma once
// The JSON Schemas of the published documents and of scenario files
// (docs/schema/*.schema.json, compiled in) and validation against them.

#include <string>

#include <rapidjson/document.h>

namespace tools {

// The first rule a document breaks.
struct SchemaViolation {
  std::string pointer;  // JSON pointer into the document ("" is the root)
  std::string rule;     // the schema keyword, e.g. "additionalProperties"
  std::string schema;   // JSON pointer into the schema where that rule stands
};

// Validates `doc` against the compiled-in schema `name` ("status",
// "presentation", "decoder-state", "reset", "scenario"). Returns true when
// the document is valid; false with `out` set to the first violation, or
// with out.rule "unknown schema" for a name that has no schema.
// A schema whose root is a choice ("oneOf") of object kinds is applied the
// way a reader tells the kinds apart: "{}" by the empty kind, any other
// object by the kind whose "TypeId" enumeration holds the document's (the
// first object kind when no kind has a "TypeId"); so the violation is the
// one inside that kind. Thread-safe; the schemas are compiled on first use.
bool ValidateDocument(const std::string& name, const rapidjson::Value& doc, SchemaViolation& out);

// What schema `name` says an empty (0-byte) payload on its topics means (its
// root "emptyPayload"; static storage while the program runs), or null when
// such a payload is not one of its forms or there is no such schema.
const char* EmptyPayloadMeaning(const std::string& name);

// The schema of what the daemon publishes on `topic`, or null for a topic
// without one (the decoder's records, for example).
const char* SchemaForTopic(const std::string& topic);

// "/StatusInfo/ExData/0/Type: additionalProperties" style, for messages;
// the root is written "/".
std::string DescribeViolation(const SchemaViolation& violation);

}  // namespace tools

#pragma once
// What the tap's web view streams to browsers: each message as one
// Server-Sent Event, with the verdict on its document.

#include <string>

#include "tap/MessageView.h"
#include "tap/TopicStats.h"

namespace tap {

// Whether a payload is a whole JSON document, and where it stops when not.
struct DocCheck {
  enum class Kind {
    Ok,       // a whole JSON document (or a decoder record, which is binary)
    Empty,    // no payload at all
    Cut,      // JSON text that ends inside the document: the daemon's writer
              // stops where a NaN or infinite number would stand
    Invalid,  // any other text that is not JSON
    Schema,   // a document its JSON Schema rejects: reserved, see CheckDocument
  };
  Kind kind = Kind::Ok;
  std::size_t at = 0;  // Cut, Invalid: byte offset where the text stops being JSON
  std::string path;    // Cut, Invalid: member path there, e.g. "AtmosInfo.ExData[0].PaObjects[0].x.Data"
};

// Checks `payload` as received on `topic`. Validation against the documents'
// JSON Schemas belongs here once they exist (as Kind::Schema with the path of
// the failing member); until then `topic` is not used.
DocCheck CheckDocument(const std::string& topic, const std::string& payload);

// "ok", "empty", "cut", "invalid", "schema".
const char* DocCheckName(DocCheck::Kind kind);

// "event: doc\ndata: <JsonLine(message) with a "check" member>\n\n".
std::string DocEvent(const Message& message, const DocCheck& check);

// "event: rates\ndata: {"topics":[{"topic","count","rate","ago"}...]}\n\n":
// what `stats` counted, at `now` on its clock.
std::string RatesEvent(const TopicStats& stats, double now);

}  // namespace tap

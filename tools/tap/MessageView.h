#pragma once
// One received message in the tap's output forms: a one-line summary, the
// table of its items, indented JSON, the payload as received, or one JSON
// line for scripts.

#include <string>

namespace tap {

struct Message {
  std::string topic;
  std::string payload;  // the second frame, as received
  double time = 0;      // seconds since the epoch, when received
  int frames = 2;
  long record = 0;      // --decode: the number of the record it came from (from 1); 0: live
};

enum class View { Summary, Table, Pretty, Raw, Json };

bool ViewFromName(const std::string& name, View& out);

// "TypeId 16, MdId 1: Dolby Digital Plus, 23 items" and similar: what the
// payload says in a few words.
std::string Gist(const Message& message);

// "12:00:01.250  DolbyMetadataGrp  <gist>"; from a decoded record file
// "12:00:01.250  record 3  DolbyMetadataGrp  <gist>".
std::string SummaryLine(const Message& message);

// The payload alone in the pretty, raw or json (compact, one line) form,
// ending with a line feed. A payload that is not JSON comes as it is in the
// raw form, through VisibleText in the pretty one, and not at all in json. Empty for the summary
// and table views and for a payload that is not text (a decoder record).
std::string DocumentText(const Message& message, View view);

// The summary line, followed for the table, pretty, raw and json views by
// the payload in that form. Raw gives the payload's bytes as received; the other
// views go through VisibleText.
std::string FormatMessage(const Message& message, View view);

// {"time":..,"topic":..,"size":..,"payload":<JSON>} ("text" for a payload
// that is not JSON or not valid UTF-8, written through VisibleText so that
// the line stays valid JSON; "binary":true for one that is not text; a
// decoder record also gets its "record" header fields).
std::string JsonLine(const Message& message);

// `text` as a terminal can show it: each byte that is not part of valid UTF-8,
// and each control character but line feed and tab, is written as "\xNN".
// The decoder's text fields reach the documents byte for byte, so a
// presentation name can hold any bytes.
std::string VisibleText(const std::string& text);

// The payload without its "TS" member, for comparing successive documents.
std::string WithoutTimestamp(const std::string& payload);

}  // namespace tap

#include "tap/MessageView.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include <rapidjson/document.h>
#include <rapidjson/encodings.h>
#include <rapidjson/memorystream.h>

#include "Shared/Topics.h"
#include "Record/DolbyMetadataRecord.h"
#include "common/JsonText.h"
#include "tap/DocFormat.h"

namespace tap {
namespace {

using rapidjson::Value;

constexpr std::size_t kGistTextLimit = 80;

bool IsText(const std::string& s) {
  for (unsigned char c : s)
    if (c < 0x20 && c != '\n' && c != '\r' && c != '\t') return false;
  return true;
}

// A decoder record rather than a document that happens to have its size.
bool IsRecord(const std::string& payload) { return payload.size() == kRecordSize && payload[0] != '{'; }

// Output stream for UTF-8 validation, which only needs to read.
struct Discard {
  void Put(char) {}
};

// Length of the valid UTF-8 character that starts `text` at `at`, or 0.
std::size_t Utf8Length(const std::string& text, std::size_t at) {
  rapidjson::MemoryStream in(text.data() + at, text.size() - at);
  Discard out;
  return rapidjson::UTF8<>::Validate(in, out) ? in.Tell() : 0;
}

bool IsUtf8(const std::string& text) {
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = Utf8Length(text, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

bool ParseDocument(const std::string& payload, rapidjson::Document& doc) {
  std::string error;
  return tools::ParseJsonText(payload, doc, error);
}

std::string Member(const Value& obj, const char* name) {
  if (!obj.IsObject() || !obj.HasMember(name)) return std::string();
  return CellText(obj[name]);
}

// The status document's stream type text ("Type" item of "StatusInfo").
std::string StreamType(const Value& doc) {
  if (!doc.HasMember("StatusInfo")) return std::string();
  const Value& info = doc["StatusInfo"];
  if (!info.IsObject() || !info.HasMember("ExData") || !info["ExData"].IsArray() || info["ExData"].Empty())
    return std::string();
  const Value& items = info["ExData"][0];
  if (!items.IsObject() || !items.HasMember("Type")) return std::string();
  return Member(items["Type"], "Desc");
}

std::string StatusGist(const Value& doc) {
  if (doc.ObjectEmpty()) return "{} (no document)";
  std::string gist = "TypeId " + Member(doc, "TypeId") + ", MdId " + Member(doc, "MdId");
  const std::string type = StreamType(doc);
  if (!type.empty()) gist += ": " + type;
  return gist + ", " + std::to_string(TableRows(doc).size()) + " rows";
}

std::string PaGist(const Value& doc) {
  if (doc.ObjectEmpty()) return "{} (no document)";
  std::string gist = Member(doc, "NoPresentations") + " presentation(s), active " + Member(doc, "ActivePANo");
  const std::string name = Member(doc, "ActivePAName");
  if (!name.empty()) gist += " \"" + name + "\"";
  return gist;
}

std::string RecordGist(const std::string& payload) {
  kv_dolby_metadata_t header;
  std::memcpy(&header, payload.data(), kHeaderSize);
  return "record: protoVer " + std::to_string(header.protoVer) + ", typeId " + std::to_string(header.typeId) +
         ", mdType " + std::to_string(static_cast<unsigned>(header.mdType)) + ", " +
         std::to_string(payload.size()) + " bytes";
}

std::string Clock(double time) {
  const std::time_t seconds = static_cast<std::time_t>(time);
  std::tm local{};
  localtime_r(&seconds, &local);
  char buf[32];
  const int ms = static_cast<int>((time - static_cast<double>(seconds)) * 1000);
  std::snprintf(buf, sizeof buf, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                ms < 0 ? 0 : ms > 999 ? 999 : ms);
  return buf;
}

}  // namespace

bool ViewFromName(const std::string& name, View& out) {
  if (name == "summary") out = View::Summary;
  else if (name == "table") out = View::Table;
  else if (name == "pretty") out = View::Pretty;
  else if (name == "raw") out = View::Raw;
  else if (name == "json") out = View::Json;
  else return false;
  return true;
}

std::string Gist(const Message& m) {
  if (IsRecord(m.payload)) return RecordGist(m.payload);
  rapidjson::Document doc;
  const bool json = ParseDocument(m.payload, doc);
  if (json && doc.IsObject()) {
    if (m.topic == topic::kDolbyProcStatus) {
      const std::string event = Member(doc, "Event");
      return Member(doc, "Status") + (event.empty() ? "" : " (" + event + ")");
    }
    if (m.topic == topic::kDolbyMetadataGrp || m.topic == topic::kDolbyMetadataGrpRepub) return StatusGist(doc);
    if (m.topic == topic::kDolbyPAData || m.topic == topic::kDolbyPADataRepub) return PaGist(doc);
  }
  if (!IsText(m.payload)) return std::to_string(m.payload.size()) + " bytes (binary)";
  if (m.payload.size() <= kGistTextLimit) return m.payload;
  return m.payload.substr(0, kGistTextLimit - 3) + "...";
}

std::string SummaryLine(const Message& m) {
  std::string line = Clock(m.time) + "  ";
  if (m.record > 0) line += "record " + std::to_string(m.record) + "  ";
  line += m.topic;
  if (m.topic.size() < 22) line += std::string(22 - m.topic.size(), ' ');
  line += "  " + Gist(m);
  if (m.frames != 2) line += "  [" + std::to_string(m.frames) + " frames]";
  return line;
}

std::string VisibleText(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    const std::size_t length = c < 0x80 ? 1 : Utf8Length(text, i);
    if (length > 1 || (c >= 0x20 && c < 0x7f) || c == '\n' || c == '\t') {
      out.append(text, i, length);
      i += length;
    } else {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
      out += escaped;
      ++i;
    }
  }
  return out;
}

std::string DocumentText(const Message& m, View view) {
  if (view == View::Summary || view == View::Table) return std::string();
  if (!IsText(m.payload)) return std::string();  // a decoder record: see Gist and JsonLine
  if (view == View::Raw) return m.payload + "\n";
  rapidjson::Document doc;
  if (!ParseDocument(m.payload, doc)) return view == View::Json ? std::string() : VisibleText(m.payload) + "\n";
  if (view == View::Json) return tools::CompactJson(doc) + "\n";
  return VisibleText(tools::PrettyJson(doc)) + "\n";
}

std::string FormatMessage(const Message& m, View view) {
  std::string text = VisibleText(SummaryLine(m)) + "\n";
  if (view == View::Summary) return text;
  if (view == View::Json) return text + DocumentText(m, view);
  if (view == View::Raw) {
    if (IsText(m.payload)) return text + m.payload + "\n";
    return text;
  }
  rapidjson::Document doc;
  if (!ParseDocument(m.payload, doc)) {
    if (IsText(m.payload)) text += VisibleText(m.payload) + "\n";
    return text;
  }
  if (view == View::Pretty) return text + VisibleText(tools::PrettyJson(doc)) + "\n";
  return text + VisibleText(FormatTable(TableRows(doc)));
}

std::string JsonLine(const Message& m) {
  rapidjson::Document line;
  line.SetObject();
  auto& a = line.GetAllocator();
  line.AddMember("time", m.time, a);
  line.AddMember("topic", Value(m.topic.c_str(), static_cast<rapidjson::SizeType>(m.topic.size()), a), a);
  line.AddMember("size", static_cast<uint64_t>(m.payload.size()), a);
  if (m.record > 0) line.AddMember("recordNumber", static_cast<int64_t>(m.record), a);
  if (m.frames != 2) line.AddMember("frames", m.frames, a);
  rapidjson::Document payload;
  if (IsRecord(m.payload)) {
    kv_dolby_metadata_t header;
    std::memcpy(&header, m.payload.data(), kHeaderSize);
    Value record(rapidjson::kObjectType);
    record.AddMember("protoVer", header.protoVer, a);
    record.AddMember("typeId", header.typeId, a);
    record.AddMember("mdType", static_cast<unsigned>(header.mdType), a);
    line.AddMember("binary", true, a);
    line.AddMember("record", record, a);
  } else if (IsUtf8(m.payload) && ParseDocument(m.payload, payload)) {
    line.AddMember("payload", Value(payload, a), a);
  } else if (IsText(m.payload)) {
    const std::string text = VisibleText(m.payload);
    line.AddMember("text", Value(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), a), a);
  } else {
    line.AddMember("binary", true, a);
  }
  return tools::CompactJson(line);
}

std::string WithoutTimestamp(const std::string& payload) {
  rapidjson::Document doc;
  if (!ParseDocument(payload, doc) || !doc.IsObject()) return payload;
  doc.RemoveMember("TS");
  return tools::CompactJson(doc);
}

}  // namespace tap

#include "tap/DocCheck.h"

#include <vector>

#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Record/DolbyMetadataRecord.h"
#include "common/JsonText.h"
#include "schema/DocSchemas.h"

namespace tap {
namespace {

// Reads a document without keeping it, tracking the member path, so that
// the path is known where the text stops being JSON.
class PathTracker : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, PathTracker> {
 public:
  bool Default() { return Value(); }
  bool StartObject() { return Open(false); }
  bool StartArray() { return Open(true); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool EndArray(rapidjson::SizeType) { return Close(); }
  bool Key(const char* str, rapidjson::SizeType length, bool) {
    if (!mFrames.empty()) mFrames.back().key.assign(str, length);
    return true;
  }

  std::string Path() const {
    std::string path;
    for (const Frame& f : mFrames) {
      if (f.array) {
        if (f.index >= 0) path += "[" + std::to_string(f.index) + "]";
      } else if (!f.key.empty()) {
        path += (path.empty() ? "" : ".") + f.key;
      }
    }
    return path;
  }

 private:
  struct Frame {
    bool array;
    long index;       // of the current element; -1 before the first
    std::string key;  // of the current member
  };

  bool Value() {
    if (!mFrames.empty() && mFrames.back().array) ++mFrames.back().index;
    return true;
  }
  bool Open(bool array) {
    Value();
    mFrames.push_back({array, -1, std::string()});
    return true;
  }
  bool Close() {
    mFrames.pop_back();
    return true;
  }

  std::vector<Frame> mFrames;
};

}  // namespace

DocCheck CheckDocument(const std::string& topic, const std::string& payload) {
  DocCheck check;
  if (payload.empty()) {
    // One of the topic's forms when its schema says what it means.
    const char* schema = tools::SchemaForTopic(topic);
    const bool described = schema == nullptr || tools::EmptyPayloadMeaning(schema) != nullptr;
    check.kind = described ? DocCheck::Kind::Empty : DocCheck::Kind::Invalid;
    return check;
  }
  if (payload.size() == kRecordSize && payload[0] != '{') return check;  // a decoder record
  PathTracker tracker;
  rapidjson::Reader reader;
  rapidjson::StringStream in(payload.c_str());
  const rapidjson::ParseResult result =
      reader.Parse<rapidjson::kParseIterativeFlag>(in, tracker);
  if (result.IsError()) {
    check.at = result.Offset();
    check.path = tracker.Path();
    check.kind = result.Offset() >= payload.size() ? DocCheck::Kind::Cut : DocCheck::Kind::Invalid;
    return check;
  }
  const char* schema = tools::SchemaForTopic(topic);
  if (schema == nullptr) return check;
  rapidjson::Document doc;
  std::string error;
  if (!tools::ParseJsonText(payload, doc, error)) {  // nested too deep for the validator
    check.kind = DocCheck::Kind::Invalid;
    check.path = error;
    return check;
  }
  tools::SchemaViolation violation;
  if (tools::ValidateDocument(schema, doc, violation)) return check;
  check.kind = DocCheck::Kind::Schema;
  check.path = violation.pointer.empty() ? "/" : violation.pointer;
  check.rule = violation.rule;
  return check;
}

const char* DocCheckName(DocCheck::Kind kind) {
  switch (kind) {
    case DocCheck::Kind::Ok: return "ok";
    case DocCheck::Kind::Empty: return "empty";
    case DocCheck::Kind::Cut: return "cut";
    case DocCheck::Kind::Invalid: return "invalid";
    case DocCheck::Kind::Schema: return "schema";
  }
  return "invalid";
}

std::string DescribeCheck(const DocCheck& check) {
  const std::string where = check.path.empty() ? "" : " (" + check.path + ")";
  switch (check.kind) {
    case DocCheck::Kind::Ok: return "valid";
    case DocCheck::Kind::Empty: return "empty payload";
    case DocCheck::Kind::Cut:
      return "cut at byte " + std::to_string(check.at) + where +
             ": a non-finite number (NaN or infinity) stands there";
    case DocCheck::Kind::Invalid: return "not JSON from byte " + std::to_string(check.at) + where;
    case DocCheck::Kind::Schema: return "invalid: " + check.path + ": " + check.rule;
  }
  return "invalid";
}

std::string CheckJson(const DocCheck& check) {
  rapidjson::StringBuffer buf;
  rapidjson::Writer<rapidjson::StringBuffer> w(buf);
  w.StartObject();
  w.Key("kind");
  w.String(DocCheckName(check.kind));
  if (check.kind == DocCheck::Kind::Cut || check.kind == DocCheck::Kind::Invalid ||
      check.kind == DocCheck::Kind::Schema) {
    w.Key("at");
    w.Uint64(check.at);
    w.Key("path");
    w.String(check.path.c_str(), static_cast<rapidjson::SizeType>(check.path.size()));
  }
  if (check.kind == DocCheck::Kind::Schema) {
    w.Key("rule");
    w.String(check.rule.c_str(), static_cast<rapidjson::SizeType>(check.rule.size()));
  }
  w.EndObject();
  return buf.GetString();
}

std::string JsonLineWithCheck(const Message& message, const DocCheck& check) {
  std::string line = JsonLine(message);
  line.pop_back();  // the closing brace
  return line + ",\"check\":" + CheckJson(check) + "}";
}

}  // namespace tap

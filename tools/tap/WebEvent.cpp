#include "tap/WebEvent.h"

#include <vector>

#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Record/DolbyMetadataRecord.h"

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

DocCheck CheckDocument(const std::string& /*topic*/, const std::string& payload) {
  DocCheck check;
  if (payload.empty()) {
    check.kind = DocCheck::Kind::Empty;
    return check;
  }
  if (payload.size() == kRecordSize && payload[0] != '{') return check;  // a decoder record
  PathTracker tracker;
  rapidjson::Reader reader;
  rapidjson::StringStream in(payload.c_str());
  const rapidjson::ParseResult result = reader.Parse(in, tracker);
  if (!result.IsError()) return check;
  check.at = result.Offset();
  check.path = tracker.Path();
  check.kind = result.Offset() >= payload.size() ? DocCheck::Kind::Cut : DocCheck::Kind::Invalid;
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

std::string DocEvent(const Message& message, const DocCheck& check) {
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
  w.EndObject();
  std::string line = JsonLine(message);
  line.pop_back();  // the closing brace
  return "event: doc\ndata: " + line + ",\"check\":" + buf.GetString() + "}\n\n";
}

std::string RatesEvent(const TopicStats& stats, double now) {
  rapidjson::StringBuffer buf;
  rapidjson::Writer<rapidjson::StringBuffer> w(buf);
  w.StartObject();
  w.Key("topics");
  w.StartArray();
  for (const auto& [name, t] : stats.Topics()) {
    w.StartObject();
    w.Key("topic");
    w.String(name.c_str(), static_cast<rapidjson::SizeType>(name.size()));
    w.Key("count");
    w.Int64(t.count);
    w.Key("rate");
    w.Double(stats.Rate(name, now));
    w.Key("ago");
    w.Double(now - t.last);
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
  return std::string("event: rates\ndata: ") + buf.GetString() + "\n\n";
}

}  // namespace tap

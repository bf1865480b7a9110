#include "exporter/ChangeLog.h"

#include <algorithm>
#include <cstring>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "common/JsonText.h"
#include "tap/MessageView.h"

namespace exporter {
namespace {

void AppendKey(std::string& pointer, const char* key) {
  pointer += '/';
  for (const char* c = key; *c != '\0'; ++c) {
    if (*c == '~') pointer += "~0";
    else if (*c == '/') pointer += "~1";
    else pointer += *c;
  }
}

// A value's JSON as one line; a string member that is not valid UTF-8 is
// written as a string with "\xNN" for such bytes (tap::VisibleText).
std::string LineValue(const std::string& json) {
  const std::string visible = tap::VisibleText(json);
  if (visible == json) return json;
  rapidjson::StringBuffer buf;
  rapidjson::Writer<rapidjson::StringBuffer> w(buf);
  w.String(visible.c_str(), static_cast<rapidjson::SizeType>(visible.size()));
  return buf.GetString();
}

// The value as compact JSON, or "null" for none; longer than kMaxChangeValue:
// "\"(object of N bytes)\"" and the like.
std::string Kept(const rapidjson::Value* value) {
  if (value == nullptr) return "null";
  std::string text = tools::CompactJson(*value);
  if (text.size() <= kMaxChangeValue) return text;
  return "\"(" + std::string(value->IsObject() ? "object" : value->IsArray() ? "array" : "text") + " of " +
         std::to_string(text.size()) + " bytes)\"";
}

}  // namespace

ChangeLog::ChangeLog(std::size_t history, std::size_t fields) : mHistoryLimit(history), mFieldLimit(fields) {}

void ChangeLog::Record(const std::string& topic, const std::string& field, const rapidjson::Value* from,
                       const rapidjson::Value* to, double time) {
  const auto key = std::make_pair(topic, field);
  auto it = mCounts.find(key);
  if (it == mCounts.end() && mCounts.size() < mFieldLimit) it = mCounts.emplace(key, FieldCount()).first;
  if (it != mCounts.end()) {
    it->second.count += 1;
    it->second.last = time;
  } else {
    mDropped[topic] += 1;
  }
  if (mHistoryLimit == 0) return;
  if (mHistory.size() == mHistoryLimit) mHistory.pop_front();
  mHistory.push_back({time, topic, field, Kept(from), Kept(to)});
}

void ChangeLog::Diff(const std::string& topic, const rapidjson::Value* a, const rapidjson::Value* b,
                     std::string& pointer, double time) {
  const std::size_t mark = pointer.size();
  if (a != nullptr && b != nullptr && a->IsObject() && b->IsObject()) {
    for (auto m = a->MemberBegin(); m != a->MemberEnd(); ++m) {
      if (pointer.empty() && std::strcmp(m->name.GetString(), "TS") == 0) continue;
      const auto other = b->FindMember(m->name);
      AppendKey(pointer, m->name.GetString());
      Diff(topic, &m->value, other != b->MemberEnd() ? &other->value : nullptr, pointer, time);
      pointer.resize(mark);
    }
    for (auto m = b->MemberBegin(); m != b->MemberEnd(); ++m) {
      if (a->HasMember(m->name) || (pointer.empty() && std::strcmp(m->name.GetString(), "TS") == 0)) continue;
      AppendKey(pointer, m->name.GetString());
      Record(topic, pointer, nullptr, &m->value, time);
      pointer.resize(mark);
    }
  } else if (a != nullptr && b != nullptr && a->IsArray() && b->IsArray()) {
    const rapidjson::SizeType n = std::max(a->Size(), b->Size());
    for (rapidjson::SizeType i = 0; i < n; ++i) {
      pointer += '/' + std::to_string(i);
      Diff(topic, i < a->Size() ? &(*a)[i] : nullptr, i < b->Size() ? &(*b)[i] : nullptr, pointer, time);
      pointer.resize(mark);
    }
  } else if (a == nullptr || b == nullptr || *a != *b) {
    Record(topic, pointer, a, b, time);
  }
}

void ChangeLog::Compare(const std::string& topic, const rapidjson::Value& doc, double time) {
  auto previous = mPrevious.find(topic);
  if (previous != mPrevious.end()) {
    std::string pointer;
    Diff(topic, &previous->second, &doc, pointer, time);
  } else {
    previous = mPrevious.emplace(topic, rapidjson::Document()).first;
  }
  previous->second.SetNull();
  previous->second.GetAllocator().Clear();
  previous->second.CopyFrom(doc, previous->second.GetAllocator());
}

std::string ChangeLog::JsonLines() const {
  std::string out;
  for (const Change& c : mHistory) {
    rapidjson::StringBuffer head;
    rapidjson::Writer<rapidjson::StringBuffer> w(head);
    w.StartObject();
    w.Key("time");
    w.Double(c.time);
    w.Key("topic");
    w.String(c.topic.c_str(), static_cast<rapidjson::SizeType>(c.topic.size()));
    w.Key("field");
    const std::string field = tap::VisibleText(c.field);
    w.String(field.c_str(), static_cast<rapidjson::SizeType>(field.size()));
    w.Key("old");
    w.RawValue("0", 1, rapidjson::kNumberType);
    w.EndObject();
    std::string line = head.GetString();
    line.resize(line.size() - 2);  // the placeholder and the closing brace
    out += line + LineValue(c.from) + ",\"new\":" + LineValue(c.to) + "}\n";
  }
  return out;
}

}  // namespace exporter

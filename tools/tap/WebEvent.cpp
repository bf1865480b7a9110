#include "tap/WebEvent.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace tap {
std::string DocEvent(const Message& message, const DocCheck& check) {
  return "event: doc\ndata: " + JsonLineWithCheck(message, check) + "\n\n";
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

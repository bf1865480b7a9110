#include "tap/TopicStats.h"

#include <algorithm>
#include <cstdio>

#include "Shared/Topics.h"

namespace tap {

void TopicStats::Add(const Message& message, double now) {
  Topic& t = mTopics[message.topic];
  if (t.count == 0) t.first = now;
  ++t.count;
  t.last = now;
  t.bytes = message.payload.size();
  t.recent.push_back(now);
  while (!t.recent.empty() && t.recent.front() <= now - mWindow) t.recent.pop_front();
  if (message.topic == topic::kDolbyProcStatus) mState = Gist(message);
  if (message.topic == topic::kDolbyMetadataGrp || message.topic == topic::kDolbyMetadataGrpRepub)
    mStream = Gist(message);
}

void TopicStats::AddVerdict(const std::string& topic, bool invalid, bool cut) {
  mValidated = true;
  Topic& t = mTopics[topic];
  if (invalid) ++t.invalid;
  if (cut) ++t.cut;
}

double TopicStats::Rate(const std::string& topic, double now) const {
  const auto it = mTopics.find(topic);
  if (it == mTopics.end()) return 0;
  long inWindow = 0;
  for (double t : it->second.recent)
    if (t > now - mWindow) ++inWindow;
  const double span = std::min(mWindow, now - it->second.first);
  if (span <= 0) return 0;
  return inWindow / span;
}

long TopicStats::Count(const std::string& topic) const {
  const auto it = mTopics.find(topic);
  return it == mTopics.end() ? 0 : it->second.count;
}

std::string TopicStats::Report(double now) const {
  std::string text;
  char line[256];
  std::snprintf(line, sizeof line, "%-24s %8s %8s %8s %8s", "TOPIC", "COUNT", "RATE/s", "BYTES", "AGO/s");
  text += line;
  text += mValidated ? "  INVALID      CUT\n" : "\n";
  for (const auto& [name, t] : mTopics) {
    std::snprintf(line, sizeof line, "%-24s %8ld %8.1f %8zu %8.1f", name.c_str(), t.count, Rate(name, now),
                  t.bytes, now - t.last);
    text += line;
    if (mValidated) {
      std::snprintf(line, sizeof line, " %8ld %8ld", t.invalid, t.cut);
      text += line;
    }
    text += "\n";
  }
  text += "decoder state: " + (mState.empty() ? std::string("(none received)") : mState) + "\n";
  text += "stream:        " + (mStream.empty() ? std::string("(none received)") : mStream) + "\n";
  return text;
}

}  // namespace tap

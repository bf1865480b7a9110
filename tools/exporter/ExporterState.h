#pragma once
// What the exporter knows about the daemon: the latest decoder state and
// documents, counts per topic and the change history. The receive loop
// writes it, the HTTP threads read it; one lock guards it.

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "exporter/ChangeLog.h"
#include "exporter/Exposition.h"
#include "tap/DocCheck.h"
#include "tap/MessageView.h"

namespace exporter {

// Seconds without a message after which the daemon counts as not publishing.
constexpr double kUpWindow = 5.0;

class ExporterState {
 public:
  // `slot` labels every series; `version` goes into plovrest_build_info.
  ExporterState(std::string slot, std::string version);

  // The topics the daemon publishes on; the exporter subscribes to these.
  static const std::vector<std::string>& Topics();

  // Takes one received message with its verdict (one on any other topic is
  // ignored, so that what the exporter keeps stays bounded); `now` is a steady clock in
  // seconds (for plovrest_up), message.time the wall-clock arrival time.
  void Take(const tap::Message& message, const tap::DocCheck& verdict, double now);

  // The metrics as served on /metrics (`openMetrics`: OpenMetrics format).
  std::string Metrics(bool openMetrics, double now) const;

  // The change history as JSON lines, oldest first (see ChangeLog::JsonLines).
  std::string Changes() const;

 private:
  struct Sample {
    std::string family;
    Labels labels;
    double value;
  };
  void TakeState(const rapidjson::Value& doc);
  void TakeDocument(const std::string& document, const rapidjson::Value& doc);

  mutable std::mutex mMutex;
  std::string mSlot, mVersion;
  double mLastMessage = -1;  // steady seconds; -1: none yet
  std::string mState, mSource;
  int mStreamRow = -1;
  std::map<std::string, std::vector<Sample>> mDocSamples;  // per document ("status", "presentation")
  struct TopicCounts {
    double documents = 0, bytes = 0, cut = 0, invalid = 0;
  };
  std::map<std::string, TopicCounts> mTopics;
  ChangeLog mChanges;
};

}  // namespace exporter

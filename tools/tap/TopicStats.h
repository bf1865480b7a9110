#pragma once
// Per-topic counts and rates of what the tap received, and the latest
// decoder state, for the tap's statistics view. Times are passed in (seconds
// on any steady clock), so the arithmetic does not depend on the wall clock.

#include <deque>
#include <map>
#include <string>

#include "tap/MessageView.h"

namespace tap {

class TopicStats {
 public:
  explicit TopicStats(double window = 5.0) : mWindow(window) {}

  void Add(const Message& message, double now);

  struct Topic {
    long count = 0;
    std::size_t bytes = 0;  // of the last payload
    double first = 0;
    double last = 0;
    std::deque<double> recent;  // arrival times within the window
    long invalid = 0;           // --validate: documents that are not valid
    long cut = 0;               // --validate: documents cut at a non-finite number
  };

  // Counts the verdict of --validate on a message of `topic` (added with Add);
  // from the first call on, the report has INVALID and CUT columns.
  void AddVerdict(const std::string& topic, bool invalid, bool cut);

  // Messages per second over the last `window` seconds (or since the first
  // message when that is more recent).
  double Rate(const std::string& topic, double now) const;
  long Count(const std::string& topic) const;
  const std::map<std::string, Topic>& Topics() const { return mTopics; }
  const std::string& DecoderState() const { return mState; }
  const std::string& Stream() const { return mStream; }

  // A few lines: one per topic (count, rate, last size, seconds since the
  // last message), then the decoder state and the stream.
  std::string Report(double now) const;

 private:
  double mWindow;
  bool mValidated = false;
  std::map<std::string, Topic> mTopics;
  std::string mState;   // from the latest "DolbyProcStatus"
  std::string mStream;  // gist of the latest status document
};

}  // namespace tap

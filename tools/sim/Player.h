#pragma once
// The simulator's main loop: sends the scenario's records at the chosen rate,
// the monitor events at their times or on key presses, reports subscribers
// and what arrives on the sinks.

#include <csignal>
#include <chrono>
#include <string>
#include <vector>

#include "scenario/Scenario.h"
#include "sim/Peers.h"
#include "sim/SimOptions.h"

namespace sim {

struct PeerSet {
  Publisher* decoder = nullptr;
  Publisher* hwm = nullptr;
  Publisher* hbmon = nullptr;
  Publisher* appserver = nullptr;
  std::vector<Sink*> sinks;

  Publisher* For(tools::Peer peer) const;
  std::vector<Publisher*> Publishers() const;
};

class Player {
 public:
  Player(const tools::Scenario& scenario, const SimOptions& options, PeerSet peers);

  // Runs until the duration or the record count is reached, the quit key is
  // pressed, or `stop` becomes non-zero.
  void Run(const volatile std::sig_atomic_t& stop);

  long RecordsSent() const { return mRecords; }
  long MonitorMessagesSent() const { return mMonitorMessages; }
  long SinkMessages() const { return mSinkMessages; }
  double Seconds() const { return mElapsed; }

 private:
  using Clock = std::chrono::steady_clock;

  double Now() const;
  void Say(int level, const std::string& what, const std::string& text);
  void SendEvent(const tools::MonitorMessage& message, const std::string& text);
  void UpdateStep(double t);
  void SkipToNextStep(double t);
  void SendRecordIfDue(double t);
  void ReplayIfDue(double t);
  void HandleSubscriptions(double t);
  void HandleSinks();
  bool HandleKeys(const std::string& keys, double t);
  int PollTimeoutMs(double t) const;

  const tools::Scenario& mScenario;
  const SimOptions& mOptions;
  PeerSet mPeers;
  Clock::time_point mStart;
  double mStepOffset = 0;
  std::size_t mStep = static_cast<std::size_t>(-1);
  std::size_t mNextEvent = 0;
  double mNextRecord = 0;
  bool mPaused = false;
  bool mQuit = false;
  long mRecords = 0;
  long mMonitorMessages = 0;
  long mSinkMessages = 0;
  double mElapsed = 0;
  // --replay: the steps are the captured records, each "hold" the time to the
  // next; the replay starts kReplayLead after the decoder's subscriber.
  double mReplayStart = -1;
  std::size_t mReplayNext = 0;
  double mReplayAt = 0;  // offset of the next record from the replay's start

  struct PendingSubscription {
    Publisher* publisher;
    std::vector<std::string> topics;
    double due;
  };
  std::vector<PendingSubscription> mPending;
};

}  // namespace sim

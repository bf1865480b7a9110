#include "sim/Player.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <unistd.h>
#include <zmq.h>

#include "Shared/Topics.h"
#include "sim/KeyInput.h"

namespace sim {
namespace {

constexpr double kSubscriptionQuiet = 0.1;  // s: a burst of subscriptions ends
constexpr double kReplayLead = 1.0;         // s: a replay starts this long after the decoder's subscriber
constexpr std::size_t kShortPayload = 72;

std::string TypeName(int32_t typeId) {
  switch (typeId) {
    case stream_type::kPcm: return "PCM";
    case stream_type::kDolbyDigital: return "Dolby Digital";
    case stream_type::kDolbyDigitalPlus: return "Dolby Digital Plus";
    case stream_type::kDolbyDigitalPlusIec61937: return "Dolby Digital Plus (IEC 61937)";
    case stream_type::kAc4: return "AC-4";
    case stream_type::kDolbyE: return "Dolby E";
    case stream_type::kEd2: return "ED2";
    default: return "typeId " + std::to_string(typeId);
  }
}

}  // namespace

Publisher* PeerSet::For(tools::Peer peer) const {
  switch (peer) {
    case tools::Peer::HardwareMonitor: return hwm;
    case tools::Peer::ProcessMonitor: return hbmon;
    case tools::Peer::AppServer: return appserver;
  }
  return nullptr;
}

std::vector<Publisher*> PeerSet::Publishers() const {
  std::vector<Publisher*> all;
  for (Publisher* p : {decoder, hwm, hbmon, appserver})
    if (p != nullptr) all.push_back(p);
  return all;
}

Player::Player(const tools::Scenario& scenario, const SimOptions& options, PeerSet peers)
    : mScenario(scenario), mOptions(options), mPeers(std::move(peers)) {}

double Player::Now() const {
  return std::chrono::duration<double>(Clock::now() - mStart).count();
}

void Player::Say(int level, const std::string& what, const std::string& text) {
  if (mOptions.verbosity < level) return;
  std::printf("%7.1fs  %-10s %s\n", Now(), what.c_str(), text.c_str());
  std::fflush(stdout);
}

void Player::SendEvent(const tools::MonitorMessage& message, const std::string& text) {
  Publisher* publisher = mPeers.For(message.peer);
  if (publisher == nullptr) return;
  if (!message.latch.empty()) publisher->Latch(message.latch, message.topic, message.payload);
  if (publisher->Send(message.topic, message.payload)) ++mMonitorMessages;
  std::string shown = message.topic + " " + message.payload;
  if (mOptions.verbosity < 2 && shown.size() > kShortPayload) shown = shown.substr(0, kShortPayload - 3) + "...";
  Say(1, publisher->Name(), shown + (text.empty() ? "" : "   (" + text + ")"));
}

void Player::UpdateStep(double t) {
  if (!mOptions.replayFile.empty()) return;  // every record is a step
  const std::size_t step = mScenario.StepAt(t + mStepOffset);
  if (step == mStep) return;
  mStep = step;
  if (mScenario.steps.size() < 2 || !mOptions.decoder) return;
  const auto& s = mScenario.steps[step];
  Say(1, "step " + std::to_string(step + 1) + "/" + std::to_string(mScenario.steps.size()),
      (s.label.empty() ? "" : s.label + ": ") + TypeName(s.record.typeId));
}

void Player::SkipToNextStep(double t) {
  if (mScenario.steps.size() < 2) return;
  const double cycle = mScenario.CycleSeconds();
  const double position = std::fmod(t + mStepOffset, cycle);
  double nextStart = 0;
  for (std::size_t i = 0; i <= mStep && i < mScenario.steps.size(); ++i) nextStart += mScenario.steps[i].hold;
  mStepOffset += nextStart - position;
}

void Player::ReplayIfDue(double t) {
  if (mReplayStart < 0 || mPaused) return;
  const auto& steps = mScenario.steps;
  while (mReplayNext < steps.size() && t >= mReplayStart + mReplayAt) {
    const auto& rec = steps[mReplayNext].record;
    if (mPeers.decoder->Send(topic::kDolbyMetadataEvent, &rec, sizeof rec)) ++mRecords;
    mReplayAt += mOptions.rateGiven ? 1.0 / mOptions.rate : steps[mReplayNext].hold;
    ++mReplayNext;
  }
  // The last record has gone: linger a moment so that it leaves the socket.
  if (mReplayNext >= steps.size() && t >= mReplayStart + mReplayAt + kReplayLead) mQuit = true;
}

void Player::SendRecordIfDue(double t) {
  if (!mOptions.replayFile.empty()) return ReplayIfDue(t);
  if (mPeers.decoder == nullptr || mPaused || t < mNextRecord) return;
  const auto& rec = mScenario.steps[mStep].record;
  if (mPeers.decoder->Send(topic::kDolbyMetadataEvent, &rec, sizeof rec)) ++mRecords;
  const double interval = 1.0 / mOptions.rate;
  mNextRecord += interval;
  if (mNextRecord < t - 1.0) mNextRecord = t + interval;  // fell behind: do not burst
}

void Player::HandleSubscriptions(double t) {
  for (Publisher* p : mPeers.Publishers()) {
    int unsubscribed = 0;
    std::vector<std::string> topics = p->ReadSubscriptions(unsubscribed);
    if (unsubscribed > 0) Say(2, p->Name(), std::to_string(unsubscribed) + " topic(s) unsubscribed");
    if (topics.empty()) continue;
    auto pending = std::find_if(mPending.begin(), mPending.end(),
                                [p](const PendingSubscription& s) { return s.publisher == p; });
    if (pending == mPending.end()) {
      mPending.push_back({p, {}, 0});
      pending = mPending.end() - 1;
    }
    for (auto& topicName : topics)
      if (std::find(pending->topics.begin(), pending->topics.end(), topicName) == pending->topics.end())
        pending->topics.push_back(topicName);
    pending->due = t + kSubscriptionQuiet;
  }
  for (auto it = mPending.begin(); it != mPending.end();) {
    if (t < it->due) {
      ++it;
      continue;
    }
    std::string list;
    bool everything = false;
    for (const auto& topicName : it->topics) {
      everything = everything || topicName.empty();
      list += (list.empty() ? "" : ", ") + (topicName.empty() ? std::string("(everything)") : topicName);
    }
    // A subscriber to everything gets every topic: the list says no more.
    if (everything && mOptions.verbosity < 2) list = "(everything)";
    Say(1, it->publisher->Name(), "subscribed: " + list);
    if (!mOptions.replayFile.empty() && it->publisher == mPeers.decoder && mReplayStart < 0) {
      mReplayStart = t + kReplayLead;
      Say(1, "replay", std::to_string(mScenario.steps.size()) + " record(s) from " + mOptions.replayFile);
    }
    const int resent = it->publisher->ResendLatched();
    mMonitorMessages += resent;
    if (resent > 0) Say(2, it->publisher->Name(), "sent the current state again (" + std::to_string(resent) + " message(s))");
    it = mPending.erase(it);
  }
}

void Player::HandleSinks() {
  std::vector<std::string> frames;
  for (Sink* sink : mPeers.sinks) {
    while (sink->Receive(frames)) {
      ++mSinkMessages;
      std::string joined;
      for (const auto& f : frames) joined += (joined.empty() ? "" : " | ") + f;
      Say(2, sink->Name(), joined);
    }
  }
}

bool Player::HandleKeys(const std::string& keys, double t) {
  for (char key : keys) {
    const KeyCommand c = CommandForKey(key);
    switch (c.kind) {
      case KeyCommand::Event: {
        tools::MonitorMessage message;
        std::string error;
        if (tools::ParseMonitorEvent(c.event, message, error)) SendEvent(message, "key " + std::string(1, key));
        break;
      }
      case KeyCommand::NextStep:
        SkipToNextStep(t);
        UpdateStep(t);
        break;
      case KeyCommand::Pause:
        mPaused = !mPaused;
        Say(1, "decoder", mPaused ? "paused" : "resumed");
        if (!mPaused) mNextRecord = t;
        break;
      case KeyCommand::Quit: return false;
      case KeyCommand::Help:
        std::fputs(KeyHelp(), stdout);
        std::fflush(stdout);
        break;
      case KeyCommand::None: break;
    }
  }
  return true;
}

int Player::PollTimeoutMs(double t) const {
  double next = t + 0.1;
  if (!mOptions.replayFile.empty()) {
    if (mReplayStart >= 0 && !mPaused) next = std::min(next, mReplayStart + mReplayAt);
  } else if (mPeers.decoder != nullptr && !mPaused) {
    next = std::min(next, mNextRecord);
  }
  if (mNextEvent < mScenario.events.size()) next = std::min(next, mScenario.events[mNextEvent].at);
  for (const auto& p : mPending) next = std::min(next, p.due);
  if (mOptions.duration > 0) next = std::min(next, mOptions.duration);
  return std::max(0, static_cast<int>(std::ceil((next - t) * 1000)));
}

void Player::Run(const volatile std::sig_atomic_t& stop) {
  KeyInput keys;
  if (mOptions.interactive) {
    keys.Start();
    std::fputs(KeyHelp(), stdout);
    std::fflush(stdout);
  }
  mStart = Clock::now();
  for (;;) {
    const double t = Now();
    if (stop || mQuit) break;
    if (mOptions.duration > 0 && t >= mOptions.duration) break;
    if (mOptions.count > 0 && mRecords >= mOptions.count) break;

    UpdateStep(t);
    while (mNextEvent < mScenario.events.size() && mScenario.events[mNextEvent].at <= t) {
      const auto& e = mScenario.events[mNextEvent++];
      SendEvent(e.message, e.text);
    }
    SendRecordIfDue(t);
    HandleSubscriptions(t);

    std::vector<zmq_pollitem_t> items;
    for (Publisher* p : mPeers.Publishers()) items.push_back({p->Socket(), 0, ZMQ_POLLIN, 0});
    for (Sink* s : mPeers.sinks) items.push_back({s->Socket(), 0, ZMQ_POLLIN, 0});
    const bool watchKeys = mOptions.interactive && !keys.Eof();
    if (watchKeys) items.push_back({nullptr, STDIN_FILENO, ZMQ_POLLIN, 0});
    zmq_poll(items.data(), static_cast<int>(items.size()), PollTimeoutMs(Now()));
    HandleSinks();
    if (watchKeys && (items.back().revents & ZMQ_POLLIN) && !HandleKeys(keys.Read(), Now())) mQuit = true;
  }
  mElapsed = Now();
}

}  // namespace sim

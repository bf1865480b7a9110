#pragma once
// Helpers for tests that talk to real sockets. A PUB drops everything sent
// before a subscriber has joined, so tests first repeat a "sync" message until
// it is seen and ignore late copies of it afterwards. Every wait is bounded.

#include <czmq.h>
#include <dirent.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace mqtest {

constexpr const char* kSyncTopic = "sync";

// Polls `done` every 5 ms, at most `tries` times.
template <typename Pred>
bool WaitUntil(Pred done, int tries = 600) {
  for (int i = 0; i < tries; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return done();
}

// Every open ZeroMQ socket holds a descriptor of its own, so a socket that was
// really destroyed shows up as one descriptor fewer once the library's reaper
// thread ran. Sockets closed earlier may still be reaped meanwhile, which can
// only lower the count: a leak is "more than before", never "not equal".
inline size_t OpenFdCount() {
  size_t n = 0;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (readdir(dir) != nullptr) ++n;
    closedir(dir);
  }
  return n;
}

// The count once pending closures have been reaped (two equal samples).
inline size_t SettledFdCount() {
  size_t last = OpenFdCount();
  WaitUntil([&] {
    const size_t now = OpenFdCount();
    const bool same = (now == last);
    last = now;
    return same;
  });
  return last;
}

inline bool FdCountSettlesAtMost(size_t expected) {
  return WaitUntil([&] { return OpenFdCount() <= expected; });
}

// A zeroed topic table of `count` 128-character entries.
inline std::unique_ptr<char[][128]> MakeTable(const std::vector<std::string>& topics) {
  auto table = std::make_unique<char[][128]>(topics.size());
  for (size_t i = 0; i < topics.size(); ++i) {
    std::memcpy(table[i], topics[i].data(), std::min<size_t>(topics[i].size(), 128));
  }
  return table;
}

inline std::vector<std::string> Frames(zmsg_t* msg) {
  std::vector<std::string> frames;
  for (zframe_t* f = zmsg_first(msg); f != nullptr; f = zmsg_next(msg)) {
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(f)), zframe_size(f));
  }
  return frames;
}

// Next message on `sub` other than a sync copy, as frames; empty when nothing
// arrives within about two seconds.
inline std::vector<std::string> RecvFrames(zsock_t* sub) {
  zsock_set_rcvtimeo(sub, 2000);
  for (int i = 0; i < 100; ++i) {
    zmsg_t* msg = zmsg_recv(sub);
    if (msg == nullptr) return {};
    std::vector<std::string> frames = Frames(msg);
    zmsg_destroy(&msg);
    if (!frames.empty() && frames[0] != kSyncTopic) return frames;
  }
  return {};
}

// Calls `sendSync` until a sync message shows up on `sub` (subscribed to it).
template <typename Send>
bool SyncSubscriber(zsock_t* sub, Send sendSync) {
  zsock_set_rcvtimeo(sub, 10);
  for (int i = 0; i < 300; ++i) {
    sendSync();
    zmsg_t* msg = zmsg_recv(sub);
    if (msg == nullptr) continue;
    std::vector<std::string> frames = Frames(msg);
    zmsg_destroy(&msg);
    if (!frames.empty() && frames[0] == kSyncTopic) return true;
  }
  return false;
}

}  // namespace mqtest

#pragma once
// Helpers for tests on real sockets. A PUB drops everything sent before a
// subscriber has joined, so tests first repeat a "sync" message until it is
// seen and skip late copies of it afterwards. Every wait is bounded.

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
using Frames = std::vector<std::string>;

// Polls `done` every 5 ms, about three seconds at most.
template <typename Pred>
bool WaitUntil(Pred done) {
  for (int i = 0; i < 600; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return done();
}

// Every open ZeroMQ socket holds a descriptor, released by the library's
// reaper thread after the close. Sockets closed earlier can only lower the
// count meanwhile, so a leak is "more than before", never "not equal".
inline size_t OpenFdCount() {
  size_t n = 0;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (readdir(dir) != nullptr) ++n;
    closedir(dir);
  }
  return n;
}

// The count once pending closures have been reaped: unchanged over 20
// samples in a row.
inline size_t SettledFdCount() {
  size_t last = OpenFdCount();
  int same = 0;
  WaitUntil([&] {
    const size_t now = OpenFdCount();
    same = now == last ? same + 1 : 0;
    last = now;
    return same >= 20;
  });
  return last;
}

inline bool FdCountSettlesAtMost(size_t expected) {
  return WaitUntil([&] { return OpenFdCount() <= expected; });
}

// A zeroed table of 128-character topic entries.
inline std::unique_ptr<char[][128]> MakeTable(const std::vector<std::string>& topics) {
  auto table = std::make_unique<char[][128]>(topics.size());
  for (size_t i = 0; i < topics.size(); ++i) {
    std::memcpy(table[i], topics[i].data(), std::min<size_t>(topics[i].size(), 128));
  }
  return table;
}

// The next message on `sub` as frames; empty when none arrives within `ms`.
inline Frames Next(zsock_t* sub, int ms) {
  zsock_set_rcvtimeo(sub, ms);
  zmsg_t* msg = zmsg_recv(sub);
  Frames frames;
  for (zframe_t* f = msg ? zmsg_first(msg) : nullptr; f != nullptr; f = zmsg_next(msg)) {
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(f)), zframe_size(f));
  }
  zmsg_destroy(&msg);
  return frames;
}

// The next message other than a sync copy, within about two seconds each.
inline Frames RecvFrames(zsock_t* sub) {
  for (Frames frames = Next(sub, 2000); !frames.empty(); frames = Next(sub, 2000)) {
    if (frames[0] != kSyncTopic) return frames;
  }
  return {};
}

// Calls `sendSync` until a sync message shows up on `sub` (subscribed to it).
template <typename Send>
bool SyncSubscriber(zsock_t* sub, Send sendSync) {
  for (int i = 0; i < 300; ++i) {
    sendSync();
    const Frames frames = Next(sub, 10);
    if (!frames.empty() && frames[0] == kSyncTopic) return true;
  }
  return false;
}

}  // namespace mqtest

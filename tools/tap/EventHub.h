#pragma once
// Hands the tap's events to the browsers of its web view.
//
// The tap's receive loop publishes each event under a key (its topic); every
// connected browser has its own queue, read by an HTTP server thread. A queue
// holds at most one event per key, the newest: a browser that reads slowly
// skips the documents it had no time for, and neither the receive loop nor
// memory waits for it. All members may be called from any thread.

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tap {

class EventHub {
 public:
  using Text = std::shared_ptr<const std::string>;

  // At most `maxClients` browsers at once; events of at most `maxKeys`
  // different keys (those of further keys are dropped).
  EventHub(std::size_t maxClients, std::size_t maxKeys);

  // Queues `text` for every client, in place of any event of the same key
  // it has not taken yet, and keeps it as the newest of its key. Holds the
  // lock only to append to the queues; never waits for a client.
  void Publish(const std::string& key, std::string text);

  // A new client, or -1 when `maxClients` are connected or the hub is
  // closed. Its queue starts with the newest event of every key.
  long Join();

  // Waits up to `wait` until client `id` has events, then moves them into
  // `out` (replacing its contents), oldest first; `out` is empty after a
  // wait without events. False once the hub is closed or for an unknown id.
  bool Take(long id, std::vector<Text>& out, std::chrono::milliseconds wait);

  // Ends client `id`; its queue is freed.
  void Leave(long id);

  // Ends every Take (they return false) and refuses further clients.
  void Close();

  // Events replaced in a client's queue before it took them, in total.
  unsigned long Skipped() const;

 private:
  using Queue = std::vector<std::pair<std::string, Text>>;  // key, event

  const std::size_t mMaxClients;
  const std::size_t mMaxKeys;
  mutable std::mutex mMutex;
  std::condition_variable mReady;
  std::map<std::string, Text> mNewest;
  std::map<long, Queue> mClients;
  long mNextId = 0;
  unsigned long mSkipped = 0;
  bool mClosed = false;
};

}  // namespace tap
